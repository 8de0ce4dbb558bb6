import QtQuick
import QtQuick.Controls
import Strataloom.Style

// A search field for filtering a list in place: a magnifying glass, the text and a clear button.
TextField {
    id: field

    /// The text cannot be used as it stands (a query with a mistake): the frame says so.
    property bool invalid: false

    implicitWidth: 240
    leftPadding: 30
    rightPadding: text.length > 0 ? 30 : 10
    selectByMouse: true
    font.pixelSize: Theme.fontBody
    color: Theme.text
    placeholderTextColor: Theme.tertiaryText

    background: Rectangle {
        implicitHeight: 32
        radius: Theme.radius
        color: Theme.card
        border.width: field.activeFocus || field.invalid ? 2 : 1
        border.color: field.invalid ? Theme.danger : field.activeFocus ? Theme.accent : Theme.cardBorder
    }

    SymbolIcon {
        anchors.left: parent.left
        anchors.leftMargin: 9
        anchors.verticalCenter: parent.verticalCenter
        symbol: "magnifyingglass"
        size: 16
        color: Theme.tertiaryText
    }

    SymbolButton {
        anchors.right: parent.right
        anchors.rightMargin: 3
        anchors.verticalCenter: parent.verticalCenter
        visible: field.text.length > 0
        flat: true
        symbol: "xmark.circle.fill"
        toolTip: "Clear"
        padding: 3
        leftPadding: 3
        rightPadding: 3
        implicitWidth: 24
        implicitHeight: 24
        onClicked: field.clear()
    }

    Keys.onEscapePressed: (event) => {
        if (field.text.length > 0) {
            field.clear()
            event.accepted = true
        } else {
            event.accepted = false
        }
    }
}
