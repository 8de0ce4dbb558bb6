import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Strataloom.Style

// A symbol followed by a text, the way labels with icons read everywhere ("Clean", "Indexing").
RowLayout {
    id: label

    property string symbol
    property string text
    property color color: Theme.text
    property color symbolColor: color
    property int pixelSize: Theme.fontBody
    property alias font: textItem.font

    spacing: 5

    SymbolIcon {
        visible: label.symbol !== ""
        symbol: label.symbol
        size: label.pixelSize + 3
        color: label.symbolColor
    }
    Label {
        id: textItem
        Layout.fillWidth: true
        text: label.text
        color: label.color
        font.pixelSize: label.pixelSize
        elide: Text.ElideRight
    }
}
