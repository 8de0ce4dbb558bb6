import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Strataloom.Style
import Strataloom.Insights
import Strataloom.Screens

// The authors with the largest share of commits; each opens the author's details.
DashboardSection {
    id: section
    Layout.alignment: Qt.AlignTop
    Layout.preferredWidth: 1
    title: "Contributor ownership"
    symbol: "person.3.fill"
    tint: InsightColors.named("pink")
    headerExtra: CsvExportButton {
        text: "CSV…"
        fileName: "contributors.csv"
        rows: section.insights ? section.insights.topAuthors : []
        columns: [{ role: "name" }, { role: "commits" }, { role: "additions" }, { role: "deletions" },
                  { role: "commitShare" }, { role: "firstCommitAt" }, { role: "lastCommitAt" }]
    }
    EmptyNote {
        visible: !section.insights || section.insights.topAuthors.length === 0
        text: "No contributor data"
    }
    Repeater {
        model: section.insights ? section.insights.topAuthors.slice(0, 10) : []
        delegate: ItemDelegate {
            id: authorRow
            objectName: "authorRow"
            required property var modelData
            required property int index
            Layout.fillWidth: true
            padding: 6
            hoverEnabled: true
            // The theme's own hover: the style's row background stays light
            // on a dark palette.
            background: Rectangle {
                radius: 6
                color: authorRow.down ? Theme.separator : authorRow.hovered ? Theme.hover : "transparent"
            }
            onClicked: section.appModel.openInsightAuthor(modelData.name)
            contentItem: RowLayout {
                spacing: 10
                Rectangle {
                    width: 8; height: 8; radius: 4
                    color: InsightColors.paletteColor(authorRow.index)
                }
                ColumnLayout {
                    Layout.fillWidth: true
                    spacing: 1
                    MiddleElidedLabel {
                        Layout.fillWidth: true
                        text: authorRow.modelData.name
                        font.weight: Font.DemiBold
                        color: Theme.text
                    }
                    Label {
                        Layout.fillWidth: true
                        text: section.presenter.count(authorRow.modelData.commits) + " commits · "
                              + section.presenter.count(authorRow.modelData.additions
                                                        + authorRow.modelData.deletions)
                              + " lines changed"
                        font.pixelSize: 11
                        color: Theme.secondaryText
                        elide: Text.ElideRight
                    }
                }
                Label {
                    text: section.presenter.percent(authorRow.modelData.commitShare)
                    font.weight: Font.DemiBold
                    color: InsightColors.named("pink")
                }
                SymbolIcon { symbol: "chevron.right"; color: Theme.secondaryText }
            }
        }
    }
}
