import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Strataloom.Style

// One labelled value of the inspector: the label on the left, the value on the right.
RowLayout {
    id: row

    property string label
    property string value
    property color valueColor: Theme.text
    property bool monospace: false

    spacing: Theme.spacing
    Layout.fillWidth: true

    Label {
        text: row.label
        color: Theme.secondaryText
        font.pixelSize: Theme.fontBody
        Layout.alignment: Qt.AlignTop
    }
    Label {
        id: valueLabel
        Layout.fillWidth: true
        text: row.value
        color: row.valueColor
        font.pixelSize: Theme.fontBody
        font.family: row.monospace ? Theme.monospace : Qt.application.font.family
        horizontalAlignment: Text.AlignRight
        elide: Text.ElideMiddle
        HoverHandler { id: hover }
        ToolTip.visible: hover.hovered && valueLabel.truncated
        ToolTip.text: row.value
        ToolTip.delay: 500
    }
}
