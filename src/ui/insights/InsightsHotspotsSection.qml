import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Strataloom.Style
import Strataloom.Insights
import Strataloom.Screens

// The most often changed files; each opens the file's details (a deleted one its history).
DashboardSection {
    id: section
    Layout.alignment: Qt.AlignTop
    Layout.preferredWidth: 1
    title: "History hotspots"
    symbol: "flame.fill"
    tint: InsightColors.named("orange")
    headerExtra: CsvExportButton {
        text: "CSV…"
        fileName: "hotspots.csv"
        rows: section.insights ? section.insights.hotspots : []
        columns: [{ role: "path" }, { role: "changes" }, { role: "authors" }, { role: "additions" },
                  { role: "deletions" }, { role: "firstChangedAt" }, { role: "lastChangedAt" }]
    }
    EmptyNote {
        visible: !section.insights || section.insights.hotspots.length === 0
        text: "No file history data"
    }
    Repeater {
        model: section.insights ? section.insights.hotspots.slice(0, 10) : []
        delegate: ItemDelegate {
            id: hotspotRow
            objectName: "hotspotRow"
            required property var modelData
            required property int index
            Layout.fillWidth: true
            padding: 6
            hoverEnabled: true
            // The theme's own hover: the style's row background stays light
            // on a dark palette.
            background: Rectangle {
                radius: 6
                color: hotspotRow.down ? Theme.separator : hotspotRow.hovered ? Theme.hover : "transparent"
            }
            onClicked: section.appModel.openInsightFile(modelData.path)
            contentItem: RowLayout {
                spacing: 10
                SymbolIcon {
                    symbol: hotspotRow.index < 3 ? "flame.fill" : "doc.text"
                    color: hotspotRow.index < 3 ? InsightColors.named("orange")
                                                : Theme.secondaryText
                    size: 18
                }
                ColumnLayout {
                    Layout.fillWidth: true
                    spacing: 2
                    RowLayout {
                        Layout.fillWidth: true
                        spacing: 6
                        MiddleElidedLabel {
                            Layout.fillWidth: true
                            text: hotspotRow.modelData.path
                            font.weight: Font.DemiBold
                            color: Theme.text
                        }
                        // Shown only when the corrections let deleted files in.
                        Badge {
                            objectName: "deletedMark"
                            visible: !!hotspotRow.modelData.deleted
                            text: "deleted"
                            tint: Theme.secondaryText
                        }
                    }
                    RowLayout {
                        Layout.fillWidth: true
                        spacing: 4
                        SymbolIcon { symbol: "arrow.triangle.2.circlepath"; size: 12; color: Theme.secondaryText }
                        Label { text: section.presenter.count(hotspotRow.modelData.changes); font.pixelSize: 11; color: Theme.secondaryText }
                        SymbolIcon { symbol: "person.2"; size: 12; color: Theme.secondaryText; Layout.leftMargin: 6 }
                        Label { text: section.presenter.count(hotspotRow.modelData.authors); font.pixelSize: 11; color: Theme.secondaryText }
                        Label {
                            Layout.fillWidth: true
                            Layout.leftMargin: 6
                            text: "Last changed "
                                  + section.presenter.shortDate(hotspotRow.modelData.lastChangedAt,
                                                                "at an unknown date")
                            font.pixelSize: 11
                            color: Theme.secondaryText
                            elide: Text.ElideRight
                        }
                    }
                }
                SymbolIcon { symbol: "chevron.right"; color: Theme.secondaryText }
            }
        }
    }
}
