import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Strataloom.Style

// The branches of the repository in two groups, the current one checked. Choosing another
// branch asks for the checkout confirmation (pendingCheckoutBranch); nothing switches here.
Menu {
    id: menu

    required property var appModel

    // Headings and branches as one flat list: {heading} or {branch}.
    readonly property var entries: {
        const branches = appModel.session.branches
        const local = []
        const remote = []
        for (let i = 0; i < branches.count; ++i) {
            const branch = branches.get(i)
            ;(branch.isRemote ? remote : local).push({ branch: branch })
        }
        let result = []
        if (local.length > 0)
            result = result.concat([{ heading: "Local Branches" }], local)
        if (remote.length > 0)
            result = result.concat([{ heading: "Remote Branches" }], remote)
        return result
    }

    function choose(branch) {
        if (!branch.isCurrent)
            appModel.session.pendingCheckoutBranch = branch
    }

    Instantiator {
        model: menu.entries
        delegate: MenuItem {
            id: item
            required property var modelData
            readonly property bool isHeading: modelData.heading !== undefined

            objectName: isHeading ? "heading_" + modelData.heading : "branch_" + modelData.branch.name
            text: isHeading ? modelData.heading : modelData.branch.name
            enabled: !isHeading
            onTriggered: menu.choose(modelData.branch)

            contentItem: RowLayout {
                spacing: 6
                SymbolIcon {
                    visible: !item.isHeading
                    symbol: "checkmark"
                    size: 16
                    color: Theme.accent
                    opacity: !item.isHeading && item.modelData.branch.isCurrent ? 1 : 0
                    Layout.preferredWidth: 18
                }
                Label {
                    Layout.fillWidth: true
                    text: item.text
                    font.pixelSize: item.isHeading ? Theme.fontCaption : Theme.fontBody
                    font.weight: item.isHeading ? Font.DemiBold : Font.Normal
                    font.capitalization: item.isHeading ? Font.AllUppercase : Font.MixedCase
                    color: item.isHeading ? Theme.secondaryText : (item.highlighted ? Theme.accentText : Theme.text)
                    elide: Text.ElideRight
                }
            }
        }
        onObjectAdded: (index, object) => menu.insertItem(index, object)
        onObjectRemoved: (index, object) => menu.removeItem(object)
    }
}
