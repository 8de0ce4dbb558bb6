import QtQuick
import QtQuick.Controls
import Strataloom.Style

// Shown for a section whose screen is not built yet.
Item {
    property string title
    Label {
        anchors.centerIn: parent
        text: title
        color: Theme.secondaryText
        font.pixelSize: 20
    }
}
