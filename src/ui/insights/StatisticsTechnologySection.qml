import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Strataloom.Style
import Strataloom.Insights

// Technology churn and the pairs of files that change together.
DashboardSection {
    id: section
    objectName: "section:technology"
    title: "Technology and coupling"
    symbol: "chevron.left.forwardslash.chevron.right"
    tint: InsightColors.named("cyan")
    GridLayout {
        Layout.fillWidth: true
        columns: section.wide ? 2 : 1
        columnSpacing: 16
        SectionColumn {
            SubTitle { text: "Technology churn" }
            BarChart {
                readonly property var rows: section.insights ? section.insights.technologies.slice(0, 10) : []
                labels: rows.map(t => t.name)
                stacked: true
                showLegend: rows.length > 0
                sets: rows.length ? [
                    { name: "Added", colorName: "cyan", values: rows.map(t => t.additions) },
                    { name: "Removed", colorName: "blue", values: rows.map(t => t.deletions) }
                ] : []
                valueTitle: "Churn"
                categoryTitle: "Technology"
                emptyText: "No technology data"
            }
        }
        SectionColumn {
            spacing: 2
            SubTitle { text: "Files commonly changed together" }
            EmptyNote {
                visible: !section.insights || section.insights.coChanges.length === 0
                text: "No file pair appears together in at least two commits"
            }
            Repeater {
                model: section.insights ? section.insights.coChanges.slice(0, 10) : []
                delegate: RankedRow {
                    required property var modelData
                    symbol: "link"
                    symbolColor: InsightColors.named("indigo")
                    label: modelData.firstPath
                    detail: modelData.secondPath
                    trailing: section.presenter.count(modelData.commits) + " commits"
                }
            }
        }
    }
}
