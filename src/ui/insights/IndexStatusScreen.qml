import QtQuick
import QtQuick.Controls
import Strataloom.Style

// Until the dashboards exist: what the analytics index is doing.
Item {
    property var appModel
    Label {
        anchors.centerIn: parent
        text: appModel ? appModel.analytics.analyticsIndexState.kind.toString() : ""
        color: Theme.secondaryText
    }
}
