import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Strataloom.Style
import Strataloom.Insights

// How the later half of the indexed history compares with the earlier one.
DashboardSection {
    id: section

    function trendCard(title, value, caption) {
        return { title: title, value: presenter.signedPercent(value), caption: caption,
                 symbol: value >= 0 ? "arrow.up.right" : "arrow.down.right",
                 color: value >= 0 ? "green" : "red" }
    }

    objectName: "section:trends"
    title: "Historical trends"
    subtitle: "Comparison of equally sized halves of indexed history"
    symbol: "chart.line.uptrend.xyaxis"
    tint: InsightColors.named("green")
    CardGrid {
        columns: section.contentWidth >= 540 ? 3 : 1
        cards: section.insights ? [
            section.trendCard("Commit activity", section.insights.activityTrendPercent, ""),
            section.trendCard("Code churn", section.insights.churnTrendPercent,
                              "Added and removed lines across both history halves"),
            section.trendCard("Contributors", section.insights.contributorTrendPercent,
                              "Distinct contributors in the later half")
        ] : []
    }
}
