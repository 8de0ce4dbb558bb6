import QtQuick
import QtQuick.Controls
import Strataloom.Style

// A path that may not fit: elided in the middle, the whole text in a tooltip when it is cut.
Label {
    id: path

    elide: Text.ElideMiddle
    maximumLineCount: 1
    color: Theme.text
    font.pixelSize: Theme.fontBody

    HoverHandler { id: hover }
    ToolTip.visible: hover.hovered && path.truncated
    ToolTip.text: path.text
    ToolTip.delay: 500
}
