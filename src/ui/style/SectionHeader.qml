import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Strataloom.Style

// The heading of a section of a screen: symbol, title, optional subtitle, and trailing items
// (buttons) given as children.
Control {
    id: header

    property string title
    property string subtitle
    property string symbol
    property color tint: Theme.text
    default property alias trailing: trailingRow.data

    contentItem: RowLayout {
        spacing: Theme.spacing

        SymbolIcon {
            visible: header.symbol !== ""
            symbol: header.symbol
            size: 20
            color: header.tint
        }
        ColumnLayout {
            Layout.fillWidth: true
            spacing: 0
            Label {
                Layout.fillWidth: true
                text: header.title
                font.pixelSize: Theme.fontTitle - 2
                font.weight: Font.DemiBold
                color: Theme.text
                elide: Text.ElideRight
            }
            Label {
                Layout.fillWidth: true
                visible: header.subtitle !== ""
                text: header.subtitle
                font.pixelSize: Theme.fontBody
                color: Theme.secondaryText
                elide: Text.ElideRight
            }
        }
        RowLayout {
            id: trailingRow
            spacing: Theme.spacing
        }
    }
}
