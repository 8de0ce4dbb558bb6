import QtQuick
import QtQuick.Controls
import Strataloom.Style

// The rounded card that holds a screen's list; children fill it, inset by a few pixels.
Rectangle {
    default property alias content: inner.data

    radius: Theme.radiusLarge
    color: Theme.card
    border.width: 1
    border.color: Theme.cardBorder

    Item {
        id: inner
        anchors.fill: parent
        anchors.margins: 4
    }
}
