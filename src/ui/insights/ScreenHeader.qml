import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Strataloom.Style
import Strataloom.Insights

// The title of a dashboard screen with its index badge, which moves under the title when the
// column is narrow.
GridLayout {
    id: header

    property string title
    property string subtitle
    property real contentWidth
    property var appModel
    property InsightsPresenter presenter
    property bool statisticsWording: false

    Layout.fillWidth: true
    columns: contentWidth >= 620 ? 2 : 1
    columnSpacing: 12
    rowSpacing: 8

    ColumnLayout {
        Layout.fillWidth: true
        spacing: 2
        Label {
            Layout.fillWidth: true
            text: header.title
            font.pixelSize: 24
            font.weight: Font.Bold
            color: Theme.text
            elide: Text.ElideRight
        }
        Label {
            Layout.fillWidth: true
            text: header.subtitle
            color: Theme.secondaryText
            wrapMode: Text.WordWrap
        }
    }
    IndexBadge {
        objectName: "indexBadge"
        Layout.alignment: Qt.AlignTop
        appModel: header.appModel
        presenter: header.presenter
        statisticsWording: header.statisticsWording
    }
}
