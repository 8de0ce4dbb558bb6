import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Strataloom.Style

// Shown while a repository is read: a card with a progress indicator above whatever the window
// showed before, which stays visible (dimmed a little) underneath. Over the welcome screen it
// covers the content instead: the welcome screen's own centred empty states would otherwise show
// around the card and compete with it.
Item {
    id: overlay

    property bool active: false
    /// Hide what is underneath rather than dim it.
    property bool covering: false

    visible: active
    opacity: active ? 1 : 0
    Behavior on opacity { NumberAnimation { duration: 120 } }

    Rectangle {
        anchors.fill: parent
        color: Qt.rgba(Theme.window.r, Theme.window.g, Theme.window.b, overlay.covering ? 0.94 : 0.35)
    }
    // Clicks do not reach the content while it is being replaced.
    MouseArea {
        anchors.fill: parent
        acceptedButtons: Qt.AllButtons
        hoverEnabled: true
        onWheel: (wheel) => wheel.accepted = true
    }

    Rectangle {
        objectName: "loadingCard"
        anchors.centerIn: parent
        width: row.implicitWidth + 48
        height: row.implicitHeight + 48
        radius: Theme.radiusLarge
        color: Theme.card
        border.color: Theme.cardBorder

        RowLayout {
            id: row
            anchors.centerIn: parent
            spacing: 12
            BusyIndicator {
                running: overlay.active
                implicitWidth: 28
                implicitHeight: 28
                padding: 0
            }
            Label {
                text: "Reading repository…"
                font.pixelSize: Theme.fontHeadline
                color: Theme.text
            }
        }
    }
}
