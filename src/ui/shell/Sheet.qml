import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Strataloom.Style

// A window-modal sheet over the main window, shown while `presented` is true. Closing it (its
// "Close" bar, Escape or the window manager) calls `dismissed`, which clears the model's flag.
Window {
    id: sheet

    property bool presented: false
    // Whether the sheet adds its own "Close" bar (content with its own "Done" needs none).
    property bool closeBar: true
    default property alias content: body.data

    signal dismissed()

    flags: Qt.Dialog
    modality: Qt.WindowModal
    color: Theme.window

    function sync() {
        if (presented && !visible) {
            if (transientParent) {
                x = transientParent.x + Math.max(0, (transientParent.width - width) / 2)
                y = transientParent.y + Math.max(0, (transientParent.height - height) / 3)
            }
            show()
            requestActivate()
        } else if (!presented && visible) {
            close()
        }
    }

    onPresentedChanged: sync()
    Component.onCompleted: sync()
    onClosing: if (presented) sheet.dismissed()

    Shortcut {
        sequence: StandardKey.Cancel
        onActivated: sheet.dismissed()
    }

    ColumnLayout {
        anchors.fill: parent
        spacing: 0

        Item {
            id: body
            Layout.fillWidth: true
            Layout.fillHeight: true
        }

        Rectangle {
            visible: sheet.closeBar
            Layout.fillWidth: true
            implicitHeight: 52
            color: Theme.bar
            Rectangle { width: parent.width; height: 1; color: Theme.separator }
            SymbolButton {
                objectName: "sheetCloseButton"
                anchors.right: parent.right
                anchors.rightMargin: Theme.padding
                anchors.verticalCenter: parent.verticalCenter
                text: "Close"
                onClicked: sheet.dismissed()
            }
        }
    }
}
