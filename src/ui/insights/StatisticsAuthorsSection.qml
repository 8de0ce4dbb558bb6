import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Strataloom.Style
import Strataloom.Insights

// Authors and contributors: ownership figures, the ranked authors (each opens its details) and
// the e-mail domains.
DashboardSection {
    id: section
    objectName: "section:authors"
    title: "Authors and contributors"
    symbol: "person.3.fill"
    tint: InsightColors.named("purple")
    CardGrid {
        columns: section.contentWidth >= 540 ? 3 : 2
        cards: section.insights ? [
            { title: "Bus factor", value: section.presenter.count(section.insights.busFactor),
              symbol: "person.crop.circle.badge.exclamationmark", color: "pink" },
            { title: "One-time contributors",
              value: section.presenter.count(section.insights.oneTimeContributors),
              symbol: "person.badge.clock", color: "orange" },
            { title: "Top ownership",
              value: section.presenter.percent(section.insights.topAuthors.length
                                               ? section.insights.topAuthors[0].commitShare : 0),
              caption: section.insights.topAuthors.length
                       ? section.insights.topAuthors[0].name : "No authors",
              symbol: "person.crop.circle.badge.checkmark", color: "purple" }
        ] : []
    }
    GridLayout {
        Layout.fillWidth: true
        columns: section.wide ? 2 : 1
        columnSpacing: 16
        SectionColumn {
            spacing: 2
            SubTitle {
                text: "Bus factor: " + (section.insights ? section.insights.busFactor : 0)
            }
            EmptyNote {
                visible: !section.insights || section.insights.topAuthors.length === 0
                text: "No contributor data"
            }
            Repeater {
                model: section.insights ? section.insights.topAuthors.slice(0, 12) : []
                delegate: RankedRow {
                    required property var modelData
                    objectName: "statisticsAuthorRow"
                    opens: true
                    symbol: "person.crop.circle.fill"
                    symbolColor: InsightColors.named("purple")
                    label: modelData.name
                    detail: "+" + section.presenter.count(modelData.additions) + " · "
                            + section.presenter.count(modelData.deletions) + " removed"
                    trailing: section.presenter.count(modelData.commits) + " commits"
                    onClicked: section.appModel.openInsightAuthor(modelData.name)
                }
            }
        }
        SectionColumn {
            SubTitle { text: "E-mail domains" }
            BarChart {
                readonly property var rows: section.insights ? section.insights.emailDomains : []
                labels: rows.map(d => d.name)
                sets: rows.length ? [{ name: "Commits", colorName: "teal",
                                       values: rows.map(d => d.count) }] : []
                valueTitle: "Commits"
                categoryTitle: "Domain"
                emptyText: "No e-mail domains"
            }
        }
    }
}
