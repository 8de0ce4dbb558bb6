import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Strataloom.Style

// A button with a symbol and an optional text. `flat` buttons (toolbars) show a background only
// on hover; `prominent` ones are filled with the accent colour. `toolTip` is shown on hover.
AbstractButton {
    id: control

    property string symbol
    property string toolTip
    property bool flat: false
    property bool prominent: false
    property color symbolColor: prominent ? Theme.accentText : (flat ? Theme.secondaryText : Theme.accent)

    hoverEnabled: true
    focusPolicy: Qt.StrongFocus
    padding: text === "" ? 6 : 8
    leftPadding: text === "" ? 6 : 12
    rightPadding: text === "" ? 6 : 14
    implicitWidth: Math.max(28, implicitContentWidth + leftPadding + rightPadding)
    implicitHeight: Math.max(28, implicitContentHeight + topPadding + bottomPadding)
    opacity: enabled ? 1 : 0.45

    ToolTip.visible: hovered && toolTip !== ""
    ToolTip.text: toolTip
    ToolTip.delay: 500
    Accessible.name: text !== "" ? text : toolTip

    contentItem: RowLayout {
        spacing: 6
        SymbolIcon {
            visible: control.symbol !== ""
            symbol: control.symbol
            size: 18
            color: control.symbolColor
        }
        Label {
            visible: control.text !== ""
            text: control.text
            font.pixelSize: Theme.fontBody
            font.weight: control.prominent ? Font.DemiBold : Font.Medium
            color: control.prominent ? Theme.accentText : Theme.text
            elide: Text.ElideRight
        }
    }

    background: Rectangle {
        radius: Theme.radius
        color: control.prominent
               ? (control.down ? Qt.darker(Theme.accent, 1.15) : control.hovered ? Qt.lighter(Theme.accent, 1.08) : Theme.accent)
               : control.down ? Theme.pressed
               : (control.hovered || control.checked) ? Theme.hover
               : control.flat ? "transparent" : Theme.card
        border.width: control.flat || control.prominent ? 0 : 1
        border.color: Theme.cardBorder
        Rectangle {
            anchors.fill: parent
            anchors.margins: -2
            radius: parent.radius + 2
            color: "transparent"
            border.width: 2
            border.color: Theme.accent
            visible: control.visualFocus
        }
    }
}
