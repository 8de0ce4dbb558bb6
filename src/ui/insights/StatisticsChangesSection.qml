import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Strataloom.Style
import Strataloom.Insights

// Line changes: totals, commit sizes and the largest commits.
DashboardSection {
    id: section
    objectName: "section:changes"
    title: "Changes"
    symbol: "plusminus"
    tint: InsightColors.named("purple")
    CardGrid {
        columns: section.cardColumns
        cards: section.insights ? [
            { title: "Lines added", value: section.presenter.count(section.insights.additions),
              symbol: "plus", color: "green" },
            { title: "Lines removed", value: section.presenter.count(section.insights.deletions),
              symbol: "minus", color: "red" },
            { title: "Net change",
              value: section.presenter.count(section.insights.additions - section.insights.deletions),
              symbol: "equal", color: "blue" },
            { title: "Code churn",
              value: section.presenter.count(section.insights.additions + section.insights.deletions),
              symbol: "arrow.up.arrow.down", color: "purple" },
            { title: "Average commit",
              value: section.presenter.decimal(section.insights.averageCommitChurn, 1),
              caption: "lines per commit", symbol: "scalemass", color: "teal" },
            { title: "Wide commits", value: section.presenter.count(section.insights.wideCommits),
              caption: "10 or more files", symbol: "rectangle.3.group.bubble.left.fill",
              color: "orange" },
            { title: "Without changes",
              value: section.presenter.count(section.insights.commitsWithoutChanges),
              caption: "commits touching no file", symbol: "circle.dashed", color: "gray" }
        ] : []
    }
    SubTitle { text: "Largest commits" }
    EmptyNote {
        visible: !section.insights || section.insights.largestCommits.length === 0
        text: "No commits with line changes"
    }
    Repeater {
        model: section.insights ? section.insights.largestCommits : []
        delegate: RankedRow {
            required property var modelData
            symbol: "arrow.up.arrow.down"
            symbolColor: InsightColors.named("purple")
            label: modelData.subject
            detail: (modelData.author || "Unknown") + " · "
                    + section.presenter.shortDate(modelData.date) + " · "
                    + section.presenter.count(modelData.files) + (modelData.files === 1 ? " file" : " files")
            trailing: "+" + section.presenter.count(modelData.additions) + " / −"
                      + section.presenter.count(modelData.deletions)
        }
    }
}
