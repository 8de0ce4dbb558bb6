import QtQuick
import QtQuick.Controls
import Strataloom.Style

// A segmented picker of the activity period, drawn with the theme's colours (the style's tab bar
// keeps light buttons on a dark palette).
Rectangle {
    id: picker

    /// "daily", "monthly" or "yearly".
    property string period: "monthly"
    readonly property int currentIndex: ["daily", "monthly", "yearly"].indexOf(period)
    signal chosen(string period)

    implicitWidth: periodRow.implicitWidth + 4
    implicitHeight: periodRow.implicitHeight + 4
    radius: 7
    color: Theme.separator

    Row {
        id: periodRow
        anchors.centerIn: parent
        spacing: 2
        Repeater {
            model: ["daily", "monthly", "yearly"]
            delegate: AbstractButton {
                id: periodButton
                required property string modelData
                required property int index
                readonly property bool selected: picker.currentIndex === index
                objectName: "period:" + modelData
                text: modelData
                hoverEnabled: true
                padding: 4
                leftPadding: 12
                rightPadding: 12
                checkable: false
                Accessible.role: Accessible.RadioButton
                Accessible.checked: selected
                contentItem: Label {
                    text: periodButton.text
                    font.pixelSize: Theme.fontCaption + 1
                    font.weight: periodButton.selected ? Font.DemiBold : Font.Normal
                    color: periodButton.selected ? Theme.text : Theme.secondaryText
                    horizontalAlignment: Text.AlignHCenter
                }
                background: Rectangle {
                    radius: 5
                    color: periodButton.selected ? Theme.card
                           : periodButton.hovered ? Theme.hover : "transparent"
                    border.color: periodButton.selected ? Theme.cardBorder : "transparent"
                }
                onClicked: picker.chosen(modelData)
            }
        }
    }
}
