import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Strataloom.Style
import Strataloom.Insights

// One entry of a ranked list: a symbol, a label (shortened in the middle) with an optional detail
// line, and a trailing figure. Rows that open something show a chevron and a hover.
ItemDelegate {
    id: row

    property string symbol
    property color symbolColor: Theme.secondaryText
    property string label
    property string detail
    property string trailing
    property color trailingColor: Theme.secondaryText
    property bool opens: false

    Layout.fillWidth: true
    padding: 4
    hoverEnabled: opens
    down: opens && pressed
    background: Rectangle {
        radius: 6
        color: row.opens && row.hovered ? Theme.separator : "transparent"
    }
    contentItem: RowLayout {
        spacing: 8
        SymbolIcon { symbol: row.symbol; color: row.symbolColor; size: 16; visible: row.symbol !== "" }
        ColumnLayout {
            Layout.fillWidth: true
            spacing: 0
            MiddleElidedLabel { Layout.fillWidth: true; text: row.label; color: Theme.text; font.pixelSize: 12 }
            Label {
                Layout.fillWidth: true
                visible: row.detail !== ""
                text: row.detail
                color: Theme.secondaryText
                font.pixelSize: 11
                elide: Text.ElideRight
            }
        }
        Label { text: row.trailing; color: row.trailingColor; font.pixelSize: 11; font.weight: Font.DemiBold }
        SymbolIcon { visible: row.opens; symbol: "chevron.right"; color: Theme.secondaryText; size: 14 }
    }
}
