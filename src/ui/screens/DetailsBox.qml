import QtQuick
import QtQuick.Layouts
import Strataloom.Style

// A rounded box that groups labelled values.
Rectangle {
    default property alias rows: box.data
    Layout.fillWidth: true
    implicitHeight: box.implicitHeight + 2 * Theme.spacing + 4
    radius: Theme.radius
    color: Theme.card
    border.width: 1
    border.color: Theme.cardBorder
    ColumnLayout {
        id: box
        anchors.fill: parent
        anchors.margins: Theme.spacing + 2
        anchors.leftMargin: Theme.spacing + 4
        anchors.rightMargin: Theme.spacing + 4
        spacing: 6
    }
}
