import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Strataloom.Style
import Strataloom.Insights

// Files and directories: file record figures, the most changed directories and the file
// hotspots (each opens its file).
DashboardSection {
    id: section
    objectName: "section:files"
    title: "Files and directories"
    symbol: "folder.fill"
    tint: InsightColors.named("orange")
    CardGrid {
        columns: Math.min(section.cardColumns, 4)
        cards: section.insights ? [
            { title: "Added records", value: section.presenter.count(section.insights.filesAdded),
              symbol: "doc.badge.plus", color: "green" },
            { title: "Deleted records", value: section.presenter.count(section.insights.filesDeleted),
              symbol: "doc.badge.minus", color: "red" },
            { title: "Renames", value: section.presenter.count(section.insights.filesRenamed),
              symbol: "arrow.left.arrow.right", color: "blue" },
            { title: "Binary files", value: section.presenter.count(section.insights.binaryFiles),
              symbol: "doc.zipper", color: "orange" }
        ] : []
    }
    GridLayout {
        Layout.fillWidth: true
        columns: section.wide ? 2 : 1
        columnSpacing: 16
        SectionColumn {
            SubTitle { text: "Most active modules" }
            BarChart {
                readonly property var rows: section.insights ? section.insights.directories.slice(0, 10) : []
                labels: rows.map(d => d.path)
                sets: rows.length ? [{ name: "Changes", colorName: "orange",
                                       values: rows.map(d => d.changes) }] : []
                valueTitle: "Changes"
                categoryTitle: "Directory"
                emptyText: "No module history data"
            }
        }
        SectionColumn {
            spacing: 2
            SubTitle { text: "File hotspots" }
            EmptyNote {
                visible: !section.insights || section.insights.hotspots.length === 0
                text: "No file history data"
            }
            Repeater {
                model: section.insights ? section.insights.hotspots.slice(0, 10) : []
                delegate: RankedRow {
                    required property var modelData
                    required property int index
                    objectName: "statisticsHotspotRow"
                    opens: true
                    symbol: index < 3 ? "flame.fill" : "doc.text"
                    symbolColor: index < 3 ? InsightColors.named("orange") : Theme.secondaryText
                    label: modelData.path
                    trailing: section.presenter.count(modelData.changes) + " changes"
                    onClicked: section.appModel.openInsightFile(modelData.path)
                }
            }
        }
    }
}
