import QtQuick
import QtQuick.Layouts
import Strataloom.Insights

// The headline figures of the insights screen: six metric cards, then the three trend tiles that
// compare the later half of the history with the earlier one.
ColumnLayout {
    id: figures

    required property InsightsPresenter presenter
    property real contentWidth: width

    readonly property var insights: presenter.insightsValue
    readonly property real total: insights ? insights.totalCommits : 0

    function trendTile(title, value, caption) {
        return { title: title, value: presenter.signedPercent(value), caption: caption,
                 symbol: value >= 0 ? "arrow.up.right.circle.fill" : "arrow.down.right.circle.fill",
                 color: value >= 0 ? "green" : "red" }
    }

    Layout.fillWidth: true
    spacing: 16

    CardGrid {
        namePrefix: "metric:"
        columns: figures.contentWidth >= 1100 ? 6 : figures.contentWidth >= 540 ? 3 : 2
        cards: figures.insights ? [
            { title: "Commits", value: figures.presenter.count(figures.total),
              caption: "reachable on all refs", symbol: "clock.arrow.circlepath", color: "blue" },
            { title: "Code churn",
              value: figures.presenter.count(figures.insights.additions + figures.insights.deletions),
              caption: "+" + figures.presenter.count(figures.insights.additions) + " / −"
                       + figures.presenter.count(figures.insights.deletions) + " lines",
              symbol: "arrow.up.arrow.down", color: "purple" },
            { title: "Merge share",
              value: figures.presenter.ratio(figures.insights.mergeCommits, figures.total),
              caption: figures.presenter.count(figures.insights.mergeCommits) + " merge commits",
              symbol: "arrow.triangle.merge", color: "teal" },
            { title: "Conventional",
              value: figures.presenter.ratio(figures.insights.conventionalCommits, figures.total),
              caption: "typed commit messages", symbol: "text.badge.checkmark", color: "green" },
            { title: "Reverts", value: figures.presenter.count(figures.insights.revertCommits),
              caption: figures.presenter.ratio(figures.insights.revertCommits, figures.total)
                       + " of history",
              symbol: "arrow.uturn.backward.circle", color: "orange" },
            { title: "Top ownership",
              value: figures.presenter.percent(figures.insights.topAuthors.length > 0
                                               ? figures.insights.topAuthors[0].commitShare : 0),
              caption: figures.insights.topAuthors.length > 0
                       ? figures.insights.topAuthors[0].name : "No authors",
              symbol: "person.crop.circle.badge.checkmark", color: "pink" }
        ] : []
    }

    CardGrid {
        namePrefix: "trend:"
        columns: figures.contentWidth >= 540 ? 3 : 1
        cards: figures.insights ? [
            figures.trendTile("Activity trend", figures.insights.activityTrendPercent,
                              "Commit volume between history halves"),
            figures.trendTile("Churn trend", figures.insights.churnTrendPercent,
                              "Line additions and removals"),
            figures.trendTile("Contributor trend", figures.insights.contributorTrendPercent,
                              "Distinct authors in the later half")
        ] : []
    }
}
