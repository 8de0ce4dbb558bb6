import QtQuick
import QtQuick.Controls
import Strataloom.Style

// The diff as git wrote it, in a monospaced, selectable text.
ScrollView {
    id: view

    property var appModel

    TextArea {
        objectName: "diffText"
        readOnly: true
        selectByMouse: true
        text: view.appModel ? view.appModel.selection.presentedDiff : ""
        font.family: Theme.monospace
        font.pixelSize: Theme.fontBody
        wrapMode: TextEdit.NoWrap
        color: Theme.text
        background: Rectangle { color: Theme.base }
        padding: Theme.padding
    }
}
