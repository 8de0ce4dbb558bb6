import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Strataloom.Style
import "Format.js" as Format

// The refs of a graph line's decorations as badges: the checked-out branch filled, tags with a
// tag symbol, remote branches with a cloud.
Row {
    id: badges

    property string decorations
    property var remoteNames: []
    readonly property var refs: Format.refs(decorations, remoteNames)

    spacing: 4

    Repeater {
        model: badges.refs
        delegate: Rectangle {
            id: badge
            required property var modelData
            readonly property color tint: modelData.kind === "tag" ? Theme.named("orange")
                                        : modelData.kind === "remote" ? Theme.named("purple")
                                        : modelData.kind === "head" ? Theme.accent
                                        : Theme.named("teal")
            implicitWidth: content.implicitWidth + 12
            implicitHeight: 20
            radius: 5
            color: Theme.tint(tint)
            border.width: modelData.kind === "head" ? 1 : 0
            border.color: tint

            Row {
                id: content
                anchors.centerIn: parent
                spacing: 3
                SymbolIcon {
                    anchors.verticalCenter: parent.verticalCenter
                    symbol: badge.modelData.kind === "tag" ? "tag"
                          : badge.modelData.kind === "remote" ? "icloud" : "arrow.triangle.branch"
                    size: 12
                    color: badge.tint
                }
                Label {
                    anchors.verticalCenter: parent.verticalCenter
                    text: badge.modelData.name
                    font.pixelSize: Theme.fontCaption
                    font.weight: Font.DemiBold
                    color: badge.tint
                }
            }
        }
    }
}
