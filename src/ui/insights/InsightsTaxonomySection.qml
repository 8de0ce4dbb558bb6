import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Strataloom.Style
import Strataloom.Insights

// Commits by the type their message declares.
DashboardSection {
    id: section
    Layout.alignment: Qt.AlignTop
    Layout.preferredWidth: 1
    title: "Commit taxonomy"
    symbol: "chart.pie.fill"
    tint: InsightColors.named("purple")
    BarChart {
        objectName: "taxonomyChart"
        labels: section.insights ? section.insights.commitTypes.map(t => t.type) : []
        sets: section.insights ? [{ name: "Commits", colorName: "purple",
                                   values: section.insights.commitTypes.map(t => t.count) }] : []
        valueTitle: "Commits"
        categoryTitle: "Type"
        emptyText: "No commit messages to classify"
    }
}
