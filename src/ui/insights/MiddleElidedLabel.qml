import QtQuick
import QtQuick.Controls

// A label for paths and names: shortened in the middle, the full text in a tooltip on hover.
Label {
    id: label

    elide: Text.ElideMiddle
    maximumLineCount: 1
    textFormat: Text.PlainText

    HoverHandler { id: hover }
    ToolTip.text: label.text
    ToolTip.visible: hover.hovered && label.truncated
    ToolTip.delay: 500
}
