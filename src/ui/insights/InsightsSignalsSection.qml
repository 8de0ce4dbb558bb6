import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Strataloom.Style
import Strataloom.Insights

// The observations worth attention, most telling first, each with its evidence.
DashboardSection {
    id: section
    Layout.alignment: Qt.AlignTop
    Layout.preferredWidth: 1
    title: "Signals worth attention"
    symbol: "sparkles"
    tint: InsightColors.named("orange")
    Repeater {
        model: section.presenter.observations
        delegate: RowLayout {
            objectName: "observation"
            required property var modelData
            readonly property string title: modelData.title
            Layout.fillWidth: true
            spacing: 10
            Rectangle {
                Layout.alignment: Qt.AlignTop
                readonly property color tint: InsightColors.named(modelData.color)
                width: 30; height: 30; radius: 15
                color: Qt.rgba(tint.r, tint.g, tint.b, 0.16)
                SymbolIcon {
                    anchors.centerIn: parent
                    symbol: modelData.icon
                    color: parent.tint
                    size: 17
                }
            }
            ColumnLayout {
                Layout.fillWidth: true
                spacing: 1
                Label {
                    Layout.fillWidth: true
                    text: modelData.title
                    font.weight: Font.DemiBold
                    color: Theme.text
                    wrapMode: Text.WordWrap
                }
                Label {
                    Layout.fillWidth: true
                    text: modelData.detail
                    color: Theme.secondaryText
                    font.pixelSize: 12
                    wrapMode: Text.Wrap
                }
            }
        }
    }
}
