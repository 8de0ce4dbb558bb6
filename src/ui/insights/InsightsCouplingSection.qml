import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Strataloom.Style
import Strataloom.Insights
import Strataloom.Screens

// Pairs of files that change together in several commits.
DashboardSection {
    id: section
    Layout.alignment: Qt.AlignTop
    Layout.preferredWidth: 1
    title: "Historical coupling"
    symbol: "link"
    tint: InsightColors.named("indigo")
    headerExtra: CsvExportButton {
        text: "CSV…"
        fileName: "coupling.csv"
        rows: section.insights ? section.insights.coChanges : []
        columns: [{ role: "firstPath" }, { role: "secondPath" }, { role: "commits" }]
    }
    EmptyNote {
        visible: !section.insights || section.insights.coChanges.length === 0
        text: "No file pair repeats in at least two commits"
    }
    Repeater {
        model: section.insights ? section.insights.coChanges : []
        delegate: RowLayout {
            objectName: "couplingRow"
            required property var modelData
            Layout.fillWidth: true
            spacing: 10
            SymbolIcon { symbol: "link.circle.fill"; color: InsightColors.named("indigo"); size: 18 }
            ColumnLayout {
                Layout.fillWidth: true
                spacing: 0
                Repeater {
                    model: [{ path: modelData.firstPath, deleted: !!modelData.firstDeleted },
                            { path: modelData.secondPath, deleted: !!modelData.secondDeleted }]
                    delegate: RowLayout {
                        required property var modelData
                        Layout.fillWidth: true
                        spacing: 6
                        MiddleElidedLabel { Layout.fillWidth: true; text: modelData.path; color: Theme.text; font.pixelSize: 12 }
                        Badge {
                            objectName: "deletedMark"
                            visible: modelData.deleted
                            text: "deleted"
                            tint: Theme.secondaryText
                        }
                    }
                }
            }
            Label {
                text: section.presenter.count(modelData.commits) + " commits"
                font.pixelSize: 11
                font.weight: Font.DemiBold
                color: InsightColors.named("indigo")
            }
        }
    }
}
