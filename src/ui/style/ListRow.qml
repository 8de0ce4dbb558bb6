import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Strataloom.Style

// One row of a list: a leading symbol, a title, a subtitle, trailing items (children) and an
// optional chevron. Highlights on hover and when `selected`; `clicked` on a left click,
// `contextMenuRequested` on a right click.
ItemDelegate {
    id: row

    property string symbol
    property color symbolColor: Theme.accent
    property string title
    property string subtitle
    property bool selected: false
    property bool showsChevron: false
    default property alias trailing: trailingRow.data

    signal contextMenuRequested(real x, real y)

    hoverEnabled: true
    padding: Theme.spacing
    leftPadding: Theme.padding - 4
    rightPadding: Theme.padding - 4
    implicitHeight: Math.max(subtitle !== "" ? 52 : 36, implicitContentHeight + topPadding + bottomPadding)
    Accessible.name: title

    background: Rectangle {
        radius: Theme.radius
        color: row.selected ? Theme.selection : row.down ? Theme.pressed : row.hovered ? Theme.hover : "transparent"

        TapHandler {
            acceptedButtons: Qt.RightButton
            onTapped: (point) => row.contextMenuRequested(point.position.x, point.position.y)
        }
    }

    contentItem: RowLayout {
        spacing: Theme.spacing + 2
        SymbolIcon {
            visible: row.symbol !== ""
            symbol: row.symbol
            size: 20
            color: row.symbolColor
            Layout.preferredWidth: 24
        }
        ColumnLayout {
            Layout.fillWidth: true
            spacing: 1
            Label {
                Layout.fillWidth: true
                text: row.title
                font.pixelSize: Theme.fontBody
                font.weight: Font.Medium
                color: Theme.text
                elide: Text.ElideRight
            }
            Label {
                Layout.fillWidth: true
                visible: row.subtitle !== ""
                text: row.subtitle
                font.pixelSize: Theme.fontCaption
                color: Theme.secondaryText
                elide: Text.ElideMiddle
            }
        }
        RowLayout {
            id: trailingRow
            spacing: Theme.spacing
        }
        SymbolIcon {
            visible: row.showsChevron
            symbol: "chevron.right"
            size: 18
            color: Theme.tertiaryText
        }
    }
}
