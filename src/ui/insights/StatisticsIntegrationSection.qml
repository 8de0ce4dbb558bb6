import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Strataloom.Style
import Strataloom.Insights

// Branches and integration: branch and merge figures, branches by the year of their tip and
// the newest tags.
DashboardSection {
    id: section
    objectName: "section:integration"
    title: "Branches and integration"
    symbol: "arrow.triangle.merge"
    tint: InsightColors.named("teal")
    CardGrid {
        columns: section.cardColumns
        cards: section.insights ? [
            { title: "Local branches", value: section.presenter.count(section.insights.localBranches),
              symbol: "arrow.triangle.branch", color: "blue" },
            { title: "Remote branches", value: section.presenter.count(section.insights.remoteBranches),
              symbol: "network", color: "indigo" },
            { title: "Merge commits", value: section.presenter.count(section.insights.mergeCommits),
              symbol: "arrow.triangle.merge", color: "teal" },
            { title: "Merge share", value: section.presenter.ratio(section.insights.mergeCommits, section.total),
              symbol: "percent", color: "green" },
            { title: "Reverts", value: section.presenter.count(section.insights.revertCommits),
              symbol: "arrow.uturn.backward.circle", color: "orange" },
            { title: "Tags / releases", value: section.presenter.count(section.insights.tagCount),
              symbol: "tag.fill", color: "purple" }
        ] : []
    }
    GridLayout {
        Layout.fillWidth: true
        columns: section.wide ? 2 : 1
        columnSpacing: 16
        SectionColumn {
            RowLayout {
                SymbolIcon { symbol: "arrow.triangle.branch"; color: InsightColors.named("blue") }
                SubTitle { text: "Branch activity"; Layout.topMargin: 0 }
            }
            BarChart {
                objectName: "branchChart"
                // Branches by the year of their tip, local and remote stacked.
                readonly property var years: {
                    const result = {}
                    const branches = section.insights ? section.insights.branches : []
                    for (const branch of branches) {
                        const year = branch.lastCommitAt
                                ? String(new Date(branch.lastCommitAt).getUTCFullYear()) : "Unknown"
                        if (!result[year]) result[year] = [0, 0]
                        result[year][branch.isRemote ? 1 : 0] += 1
                    }
                    return result
                }
                readonly property var keys: Object.keys(years).sort()
                horizontal: false
                stacked: true
                implicitHeight: 220
                labels: keys
                sets: keys.length ? [
                    { name: "Local", colorName: "blue", values: keys.map(k => years[k][0]) },
                    { name: "Remote", colorName: "cyan", values: keys.map(k => years[k][1]) }
                ] : []
                valueTitle: "Branches"
                categoryTitle: "Last commit"
                emptyText: "No branches in indexed refs"
            }
        }
        SectionColumn {
            spacing: 2
            SubTitle { text: "Release timeline" }
            EmptyNote {
                visible: !section.insights || section.insights.tags.length === 0
                text: "No tags in indexed refs"
            }
            Repeater {
                // Newest first; the rest is in the tags section.
                model: section.insights ? section.insights.tags.slice(-10).reverse() : []
                delegate: RankedRow {
                    required property var modelData
                    symbol: "tag.fill"
                    symbolColor: InsightColors.named("purple")
                    label: modelData.name
                    trailing: section.presenter.shortDate(modelData.commitAt)
                }
            }
        }
    }
}
