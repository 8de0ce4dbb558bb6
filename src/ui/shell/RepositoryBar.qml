import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Strataloom.Style

// Above every section: the working-tree state, the branch menu, quick search, refresh, the
// desktop hand-offs and the index status of the open repository.
Rectangle {
    id: bar

    required property var appModel
    // Text of the quick search shortcut in the platform's notation ("Ctrl+K").
    property string quickSearchShortcut: "Ctrl+K"
    property string refreshShortcut: "Ctrl+R"

    readonly property var repository: appModel.session.repository

    implicitHeight: Theme.barHeight + 4
    color: Theme.bar

    RowLayout {
        anchors.fill: parent
        anchors.leftMargin: Theme.padding
        anchors.rightMargin: Theme.spacing + 4
        spacing: Theme.spacing

        SymbolLabel {
            objectName: "workingTreeState"
            readonly property bool clean: bar.repository ? bar.repository.isClean : true
            // Set when a filter the repository's own configuration names had to stay switched off.
            readonly property string unavailableReason:
                bar.repository && bar.repository.statusUnavailableReason
                    ? bar.repository.statusUnavailableReason : ""
            readonly property bool known: unavailableReason === ""
            symbol: !known ? "info.circle" : clean ? "checkmark.circle" : "exclamationmark.triangle"
            text: !known ? "Status unavailable" : clean ? "Clean" : "Modified"
            symbolColor: !known ? Theme.secondaryText : clean ? Theme.success : Theme.warning
            font.weight: Font.Medium
            Layout.fillWidth: false

            HoverHandler { id: stateHover }
            ToolTip.visible: stateHover.hovered && !known
            ToolTip.text: unavailableReason
            ToolTip.delay: 300
        }

        Rectangle { width: 1; height: 20; color: Theme.separator }

        SymbolButton {
            id: branchButton
            objectName: "branchButton"
            flat: true
            symbol: "arrow.triangle.branch"
            text: bar.repository ? bar.repository.currentBranch : ""
            toolTip: "Switch branch"
            Layout.maximumWidth: 260
            onClicked: branchMenu.open()

            BranchMenu {
                id: branchMenu
                objectName: "branchMenu"
                appModel: bar.appModel
                y: branchButton.height + 4
            }
        }

        Item { Layout.fillWidth: true }

        IndexStatus {
            objectName: "indexStatus"
            appModel: bar.appModel
        }

        SymbolButton {
            objectName: "quickSearchButton"
            flat: true
            symbol: "magnifyingglass"
            toolTip: "Quick Search (" + bar.quickSearchShortcut + ")"
            onClicked: bar.appModel.isSearchPresented = true
        }
        SymbolButton {
            objectName: "refreshButton"
            flat: true
            symbol: "arrow.clockwise"
            toolTip: "Refresh " + (bar.repository ? bar.repository.name : "") + " (" + bar.refreshShortcut + ")"
            enabled: !bar.appModel.session.isLoading
            onClicked: bar.appModel.session.refresh()
        }
        SymbolButton {
            id: moreButton
            objectName: "moreButton"
            flat: true
            symbol: "ellipsis.circle"
            toolTip: "More"
            onClicked: moreMenu.open()

            Menu {
                id: moreMenu
                objectName: "moreMenu"
                y: moreButton.height + 4
                x: moreButton.width - width
                MenuItem {
                    text: "Reveal in File Manager"
                    onTriggered: bar.appModel.session.revealInFinder()
                }
                MenuItem {
                    text: "Open in Terminal"
                    onTriggered: bar.appModel.session.openInTerminal()
                }
            }
        }
    }

    Rectangle {
        anchors.bottom: parent.bottom
        width: parent.width
        height: 1
        color: Theme.separator
    }
}
