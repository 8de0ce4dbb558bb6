import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Strataloom.Style
import Strataloom.Screens

// The latest commits of the current branch, filtered by subject or author. A click selects a
// commit for the inspector; a double click opens its diff.
Item {
    id: screen

    property var appModel
    property alias filter: filterField.text

    RecordFilterModel {
        id: filtered
        sourceModel: screen.appModel ? screen.appModel.session.commits : null
        filterRoles: ["subject", "author"]
        filterText: filterField.text
    }

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: Theme.paddingLarge
        spacing: Theme.padding

        SectionHeader {
            Layout.fillWidth: true
            symbol: "clock.arrow.circlepath"
            title: "History"
            subtitle: filtered.count === (screen.appModel ? screen.appModel.session.commits.count : 0)
                      ? filtered.count + " commits"
                      : filtered.count + " of " + screen.appModel.session.commits.count + " commits"
            FilterField {
                id: filterField
                objectName: "historyFilter"
                Layout.preferredWidth: Math.min(240, screen.width * 0.4)
                placeholderText: "Filter commits"
            }
            CsvExportButton { model: filtered; fileName: "history.csv" }
        }

        ListSurface {
            Layout.fillWidth: true
            Layout.fillHeight: true

            ListView {
                id: list
                objectName: "historyList"
                anchors.fill: parent
                clip: true
                model: filtered
                boundsBehavior: Flickable.StopAtBounds
                ScrollBar.vertical: ScrollBar { }
                delegate: CommitRow {
                    selected: !!screen.appModel.selection.selectedCommit && screen.appModel.selection.selectedCommit.id === commitId
                    onSelectRequested: (commit) => screen.appModel.selection.selectCommit(commit)
                    onDiffRequested: (commit) => screen.appModel.selection.presentDiff(commit)
                }
            }

            EmptyStateView {
                anchors.fill: parent
                visible: filtered.count === 0
                symbol: "clock.arrow.circlepath"
                title: filterField.text !== "" ? "No matching commits" : "No commits"
                message: filterField.text !== "" ? "Try a different filter." : "The current branch has no commits yet."
            }
        }
    }
}
