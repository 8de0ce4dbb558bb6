import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Strataloom.Style
import Strataloom.Screens
import Strataloom.Insights

ApplicationWindow {
    id: window

    required property var appModel
    required property var desktopActions

    width: 1280
    height: 800
    minimumWidth: 980
    minimumHeight: 680
    visible: true
    title: appModel.repository ? appModel.repository.name + " — Strataloom" : "Strataloom"
    color: Theme.window

    PlaceholderScreen {
        anchors.fill: parent
        title: appModel.repository ? appModel.repository.name : "Strataloom"
    }
}
