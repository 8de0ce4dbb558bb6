import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Strataloom.Style
import Strataloom.Insights
import Strataloom.Screens

// Changed lines per technology.
DashboardSection {
    id: section
    Layout.alignment: Qt.AlignTop
    Layout.preferredWidth: 1
    title: "Technology share by churn"
    symbol: "chevron.left.forwardslash.chevron.right"
    tint: InsightColors.named("blue")
    headerExtra: CsvExportButton {
        text: "CSV…"
        fileName: "technologies.csv"
        rows: section.insights ? section.insights.technologies : []
        columns: [{ role: "name" }, { role: "files" }, { role: "changes" }, { role: "additions" },
                  { role: "deletions" }]
    }
    BarChart {
        objectName: "technologyChart"
        readonly property var rows: section.insights ? section.insights.technologies.slice(0, 10) : []
        labels: rows.map(t => t.name)
        sets: rows.length ? [{ name: "Churn", colorName: "blue",
                               values: rows.map(t => t.additions + t.deletions) }] : []
        valueTitle: "Churn"
        categoryTitle: "Technology"
        emptyText: "No technology data"
    }
}
