import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Strataloom.Style
import Strataloom.Insights

// The repository overview of the statistics screen: the figures of git's summary, with the
// analytics index's where it has them.
DashboardSection {
    id: section

    readonly property var summary: appModel ? appModel.session.repository : null
    // With identities merged, the authors are people, as everywhere the index counts them.
    readonly property int people: appModel ? appModel.analytics.peopleCount : -1

    objectName: "section:overview"
    title: "Repository overview"
    symbol: "externaldrive.fill"
    tint: InsightColors.named("blue")
    CardGrid {
        columns: section.cardColumns
        cards: section.summary ? [
            { title: "Commits", value: section.presenter.count(section.summary.commitCount),
              symbol: "clock.arrow.circlepath", color: "blue" },
            section.people >= 0
                ? { title: "Authors", value: section.presenter.count(section.people),
                    caption: section.people !== section.summary.authorCount
                             ? section.presenter.count(section.summary.authorCount) + " as recorded" : "",
                    symbol: "person.2.fill", color: "purple" }
                : { title: "Authors", value: section.presenter.count(section.summary.authorCount),
                    symbol: "person.2.fill", color: "purple" },
            { title: "Tracked files", value: section.presenter.count(section.summary.trackedFileCount),
              symbol: "doc.on.doc.fill", color: "orange" },
            { title: "Working tree", value: section.presenter.bytes(section.summary.repositorySizeBytes),
              symbol: "internaldrive", color: "teal" },
            { title: "Git database", value: section.presenter.bytes(section.summary.gitSizeBytes),
              symbol: "cylinder.split.1x2", color: "indigo" },
            { title: "Repository age",
              value: section.presenter.repositoryAge(section.summary.firstCommitDate,
                                                     section.summary.latestCommitDate),
              symbol: "calendar", color: "pink" },
            { title: "First commit", value: section.presenter.shortDate(section.summary.firstCommitDate),
              symbol: "calendar.day.timeline.left", color: "green" },
            { title: "Latest commit", value: section.presenter.shortDate(section.summary.latestCommitDate),
              symbol: "calendar.badge.checkmark", color: "blue" },
            { title: "Commits / month", value: section.presenter.decimal(section.summary.commitsPerMonth, 1),
              symbol: "speedometer", color: "purple" },
            { title: "Longest pause",
              value: section.presenter.count(section.insights ? section.insights.longestGapDays
                                                              : section.summary.longestInactivityDays)
                     + " days",
              symbol: "calendar.badge.clock", color: "orange" },
            { title: "Active days",
              value: section.insights ? section.presenter.count(section.insights.activeDays) : "—",
              symbol: "chart.bar.fill", color: "teal" },
            { title: "Peak day",
              value: section.insights && section.insights.peakDay
                     ? section.presenter.count(section.insights.peakDay.commits) + " commits" : "—",
              caption: section.insights && section.insights.peakDay
                       ? section.presenter.shortDate(section.insights.peakDay.date) : "",
              symbol: "flame.fill", color: "red" }
        ] : []
    }
}
