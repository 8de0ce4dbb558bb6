import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Strataloom.Style
import Strataloom.Insights
import Strataloom.Screens

// The directories with the most changed lines. The index ranks directories by commits; the
// chart ranks the same directories by the lines it draws, so the longest bar comes first.
DashboardSection {
    id: section
    Layout.alignment: Qt.AlignTop
    Layout.preferredWidth: 1
    title: "Module churn concentration"
    subtitle: "Lines changed per top-level directory, most first"
    symbol: "square.3.layers.3d"
    tint: InsightColors.named("teal")
    headerExtra: CsvExportButton {
        text: "CSV…"
        fileName: "modules.csv"
        rows: section.insights ? section.insights.directories : []
        columns: [{ role: "path" }, { role: "changes" }, { role: "authors" }, { role: "additions" },
                  { role: "deletions" }]
    }
    BarChart {
        objectName: "moduleChart"
        readonly property var rows: section.insights
            ? section.insights.directories.slice()
                  .sort((a, b) => (b.additions + b.deletions) - (a.additions + a.deletions))
                  .slice(0, 10)
            : []
        labels: rows.map(d => d.path)
        sets: rows.length ? [{ name: "Lines changed", colorName: "teal",
                               values: rows.map(d => d.additions + d.deletions) }] : []
        valueTitle: "Lines changed"
        categoryTitle: "Module"
        emptyText: "No module history data"
    }
}
