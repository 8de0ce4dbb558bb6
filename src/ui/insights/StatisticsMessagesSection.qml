import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Strataloom.Style
import Strataloom.Insights

// Commit messages: conventional share and lengths, the commit types and the frequent words.
DashboardSection {
    id: section
    objectName: "section:messages"
    title: "Commit messages"
    symbol: "text.quote"
    tint: InsightColors.named("green")
    CardGrid {
        columns: section.contentWidth >= 540 ? 3 : 2
        cards: section.insights ? [
            { title: "Conventional",
              value: section.presenter.ratio(section.insights.conventionalCommits, section.total),
              symbol: "text.badge.checkmark", color: "green" },
            { title: "Average length",
              value: section.presenter.decimal(section.insights.averageSubjectLength, 1),
              caption: "characters per subject", symbol: "textformat.size", color: "blue" },
            { title: "Very short", value: section.presenter.count(section.insights.shortMessages),
              caption: "subjects under 10 characters", symbol: "text.badge.xmark",
              color: "orange" }
        ] : []
    }
    GridLayout {
        Layout.fillWidth: true
        columns: section.wide ? 2 : 1
        columnSpacing: 16
        SectionColumn {
            SubTitle { text: "Commit taxonomy" }
            BarChart {
                readonly property var rows: section.insights ? section.insights.commitTypes : []
                labels: rows.map(t => t.type)
                sets: rows.length ? [{ name: "Commits", colorName: "green",
                                       values: rows.map(t => t.count) }] : []
                valueTitle: "Commits"
                categoryTitle: "Type"
                emptyText: "No commit messages to classify"
            }
        }
        SectionColumn {
            SubTitle { text: "Frequent descriptive words" }
            EmptyNote {
                visible: !section.insights || section.insights.commonWords.length === 0
                text: "No descriptive words yet"
            }
            Flow {
                Layout.fillWidth: true
                spacing: 6
                Repeater {
                    model: section.insights ? section.insights.commonWords : []
                    delegate: Rectangle {
                        required property var modelData
                        readonly property color tint: InsightColors.named("green")
                        width: chip.implicitWidth + 16
                        height: 26
                        radius: 13
                        color: Qt.rgba(tint.r, tint.g, tint.b, Theme.dark ? 0.18 : 0.1)
                        Label {
                            id: chip
                            anchors.centerIn: parent
                            text: modelData.name + "  " + section.presenter.count(modelData.count)
                            font.pixelSize: 12
                            color: Theme.text
                        }
                    }
                }
            }
        }
    }
}
