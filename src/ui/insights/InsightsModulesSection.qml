import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Strataloom.Style
import Strataloom.Insights

// The directories with the most changed lines.
DashboardSection {
    id: section
    Layout.alignment: Qt.AlignTop
    Layout.preferredWidth: 1
    title: "Module churn concentration"
    symbol: "square.3.layers.3d"
    tint: InsightColors.named("teal")
    BarChart {
        objectName: "moduleChart"
        readonly property var rows: section.insights ? section.insights.directories.slice(0, 10) : []
        labels: rows.map(d => d.path)
        sets: rows.length ? [{ name: "Churn", colorName: "teal",
                               values: rows.map(d => d.additions + d.deletions) }] : []
        valueTitle: "Churn"
        categoryTitle: "Module"
        emptyText: "No module history data"
    }
}
