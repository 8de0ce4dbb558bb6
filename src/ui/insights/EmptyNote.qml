import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Strataloom.Style

// What a chart or list shows instead of blank space when it has nothing to draw.
Rectangle {
    property alias text: label.text

    objectName: "emptyNote"
    Layout.fillWidth: true
    implicitHeight: 64
    radius: 8
    color: "transparent"
    border.color: Theme.separator

    Label {
        id: label
        anchors.fill: parent
        anchors.margins: 8
        horizontalAlignment: Text.AlignHCenter
        verticalAlignment: Text.AlignVCenter
        wrapMode: Text.WordWrap
        color: Theme.secondaryText
        font.pixelSize: 13
    }
}
