import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Strataloom.Style

// A titled card that groups one part of a dashboard: icon, title, optional subtitle, then the
// content laid out in a column.
Rectangle {
    id: panel

    property string title
    property string subtitle
    property string symbol
    property color tint: Theme.accent
    default property alias content: body.data
    property alias headerExtra: extra.data

    Layout.fillWidth: true
    implicitHeight: column.implicitHeight + 2 * Theme.padding
    radius: 12
    color: Theme.card
    border.color: Theme.cardBorder

    ColumnLayout {
        id: column
        anchors.fill: parent
        anchors.margins: Theme.padding
        spacing: 12

        RowLayout {
            Layout.fillWidth: true
            spacing: 8
            SymbolIcon {
                symbol: panel.symbol
                size: 18
                color: panel.tint
                visible: panel.symbol !== ""
            }
            ColumnLayout {
                Layout.fillWidth: true
                spacing: 1
                Label {
                    Layout.fillWidth: true
                    text: panel.title
                    font.pixelSize: 15
                    font.weight: Font.DemiBold
                    color: Theme.text
                    elide: Text.ElideRight
                }
                Label {
                    Layout.fillWidth: true
                    visible: panel.subtitle !== ""
                    text: panel.subtitle
                    font.pixelSize: 12
                    color: Theme.secondaryText
                    wrapMode: Text.WordWrap
                }
            }
            Item { id: extra; implicitWidth: childrenRect.width; implicitHeight: childrenRect.height }
        }

        ColumnLayout {
            id: body
            Layout.fillWidth: true
            spacing: 8
        }
    }
}
