import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Strataloom.Style
import Strataloom.Insights

// The dated milestones of the history: start, peak, releases, latest activity.
DashboardSection {
    id: section
    title: "Project milestones"
    symbol: "flag.checkered"
    tint: InsightColors.named("green")
    GridLayout {
        id: milestoneGrid
        Layout.fillWidth: true
        columns: Math.max(1, Math.floor(section.contentWidth / 210))
        columnSpacing: 10
        rowSpacing: 10
        Repeater {
            model: section.presenter.milestones
            delegate: Rectangle {
                objectName: "milestone"
                required property var modelData
                readonly property color tint: InsightColors.named(modelData.color)
                Layout.fillWidth: true
                Layout.preferredWidth: 1
                implicitHeight: 78
                radius: 10
                color: Qt.rgba(tint.r, tint.g, tint.b, Theme.dark ? 0.13 : 0.07)
                border.color: Qt.rgba(tint.r, tint.g, tint.b, 0.3)
                RowLayout {
                    anchors.fill: parent
                    anchors.margins: 10
                    spacing: 8
                    SymbolIcon {
                        Layout.alignment: Qt.AlignTop
                        symbol: modelData.icon
                        color: parent.parent.tint
                        size: 20
                    }
                    ColumnLayout {
                        Layout.fillWidth: true
                        spacing: 1
                        MiddleElidedLabel {
                            Layout.fillWidth: true
                            text: modelData.title
                            font.weight: Font.DemiBold
                            color: Theme.text
                        }
                        Label {
                            Layout.fillWidth: true
                            text: modelData.detail
                            font.pixelSize: 11
                            color: Theme.secondaryText
                            elide: Text.ElideRight
                        }
                        Label {
                            Layout.fillWidth: true
                            text: modelData.date
                            font.pixelSize: 11
                            color: parent.parent.parent.tint
                        }
                    }
                }
            }
        }
    }
}
