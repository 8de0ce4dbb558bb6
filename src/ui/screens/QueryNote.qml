import QtQuick
import QtQuick.Controls
import Strataloom.Style

// One line under a list's field: what is wrong with its query, or what the list holds while
// the whole history is not ready. Takes no room when there is nothing to say.
Label {
    id: note

    property string error
    property string notice

    visible: text !== ""
    text: error !== "" ? error : notice
    color: error !== "" ? Theme.danger : Theme.secondaryText
    font.pixelSize: Theme.fontCaption + 1
    wrapMode: Text.Wrap
    Accessible.role: Accessible.StaticText
}
