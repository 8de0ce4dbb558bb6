import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Strataloom.Style

// What a list or screen shows when it has nothing to show, is busy or failed: a large symbol
// (or a busy indicator), a title, a message, and optional actions given as children.
Control {
    id: empty

    property string symbol
    property string title
    property string message
    property bool busy: false
    property color tint: Theme.tertiaryText
    default property alias actions: actionRow.data

    padding: Theme.paddingLarge
    implicitWidth: implicitContentWidth + leftPadding + rightPadding
    implicitHeight: implicitContentHeight + topPadding + bottomPadding

    // The column is centred in the content item, so that the view can fill any area.
    contentItem: Item {
        implicitWidth: column.implicitWidth
        implicitHeight: column.implicitHeight

        ColumnLayout {
            id: column
            anchors.centerIn: parent
            width: Math.min(implicitWidth, parent.width)
            spacing: Theme.spacing

            BusyIndicator {
                objectName: "emptyStateBusy"
                Layout.alignment: Qt.AlignHCenter
                visible: empty.busy
                running: empty.busy
            }
            SymbolIcon {
                objectName: "emptyStateSymbol"
                Layout.alignment: Qt.AlignHCenter
                visible: !empty.busy && empty.symbol !== ""
                symbol: empty.symbol
                size: 44
                color: empty.tint
            }
            // Both texts take the column's width, so that they wrap in a narrow pane instead of
            // running past its edge.
            Label {
                Layout.alignment: Qt.AlignHCenter
                Layout.fillWidth: true
                Layout.maximumWidth: 420
                Layout.topMargin: Theme.spacingSmall
                visible: empty.title !== ""
                text: empty.title
                font.pixelSize: Theme.fontHeadline + 1
                font.weight: Font.DemiBold
                color: Theme.text
                horizontalAlignment: Text.AlignHCenter
                wrapMode: Text.Wrap
            }
            Label {
                Layout.alignment: Qt.AlignHCenter
                Layout.fillWidth: true
                Layout.maximumWidth: 420
                visible: empty.message !== ""
                text: empty.message
                font.pixelSize: Theme.fontBody
                color: Theme.secondaryText
                horizontalAlignment: Text.AlignHCenter
                wrapMode: Text.Wrap
            }
            RowLayout {
                id: actionRow
                Layout.alignment: Qt.AlignHCenter
                Layout.topMargin: children.length > 0 ? Theme.spacing : 0
                spacing: Theme.spacing
            }
        }
    }
}
