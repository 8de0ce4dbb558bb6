import QtQuick
import Strataloom.Style

// A symbol drawn from the icon font, by the symbol name the screens use ("tag", "folder").
Text {
    id: icon

    property string symbol
    property real size: 16

    text: Icons.glyph(symbol)
    font.family: Icons.fontFamily()
    font.pixelSize: size
    color: Theme.text
    verticalAlignment: Text.AlignVCenter
    horizontalAlignment: Text.AlignHCenter
    renderType: Text.QtRendering
    Accessible.ignored: true
}
