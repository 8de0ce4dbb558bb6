import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Strataloom.Style
import Strataloom.Screens
import "RowKeys.js" as RowKeys

// Every commit of every ref, newest first, from the index once it is ready: the list loads
// pages as it scrolls and the field filters it with the query language. Until then, the latest
// commits of the current branch from git, filtered by subject or author. A click selects a
// commit for the inspector; a double click opens its diff.
Item {
    id: screen

    property var appModel
    property alias filter: filterField.text

    readonly property var history: appModel ? appModel.history : null
    readonly property bool fromIndex: !!history && history.isAvailable
    readonly property var rows: fromIndex ? history : filtered
    readonly property int loadedCount: appModel ? appModel.session.commits.count : 0

    function applyFilter() {
        pause.stop()
        if (screen.history)
            screen.history.query = filterField.text
    }

    function subtitle() {
        if (screen.fromIndex) {
            if (screen.history.error !== "")
                return ""
            if (screen.history.isLoading && screen.history.total === 0)
                return "Loading…"
            const total = Number(screen.history.total).toLocaleString(Qt.locale(), "f", 0)
            return total + (screen.history.query.trim() !== "" ? " matching commits" : " commits")
        }
        return filtered.count === screen.loadedCount
                ? filtered.count + " commits"
                : filtered.count + " of " + screen.loadedCount + " commits"
    }

    // The model outlives the screen: the field shows the query the list answers.
    Component.onCompleted: if (history) filterField.text = history.query
    onFromIndexChanged: if (fromIndex && history.query !== filterField.text) applyFilter()

    RecordFilterModel {
        id: filtered
        sourceModel: screen.appModel && !screen.fromIndex ? screen.appModel.session.commits : null
        filterRoles: ["subject", "author"]
        filterText: screen.fromIndex ? "" : filterField.text
    }

    // A pause in typing runs the query; Enter runs it at once.
    Timer {
        id: pause
        interval: 300
        onTriggered: screen.applyFilter()
    }

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: Theme.paddingLarge
        spacing: Theme.padding

        SectionHeader {
            Layout.fillWidth: true
            symbol: "clock.arrow.circlepath"
            title: "History"
            subtitle: screen.subtitle()
            FilterField {
                id: filterField
                objectName: "historyFilter"
                Layout.preferredWidth: Math.min(screen.fromIndex ? 360 : 240, screen.width * 0.4)
                placeholderText: screen.fromIndex ? "Filter: words, author:, path:, after:…" : "Filter commits"
                invalid: screen.fromIndex && screen.history.error !== ""
                onTextChanged: if (screen.fromIndex) pause.restart()
                onAccepted: screen.applyFilter()
                ToolTip.visible: hovered && screen.fromIndex
                ToolTip.delay: 800
                ToolTip.text: "Words of the message, \"a phrase\", author:name, path:folder/ or path:file, after:YYYY-MM-DD, before:YYYY-MM-DD, type:fix, ref:branch, merges:no"
            }
            CsvExportButton { model: screen.rows; fileName: "history.csv" }
        }

        QueryNote {
            objectName: "historyNote"
            Layout.fillWidth: true
            error: screen.fromIndex ? screen.history.error : ""
            notice: screen.fromIndex || !screen.appModel || !screen.appModel.session.repository ? ""
                    : screen.appModel.analytics.analyticsIndexState.isFailed
                    ? "Showing the latest " + screen.loadedCount + " commits; the full history needs the index, which could not be built"
                    : "Showing the latest " + screen.loadedCount + " commits; the full history appears when indexing finishes"
        }

        ListSurface {
            Layout.fillWidth: true
            Layout.fillHeight: true

            ListView {
                id: list
                objectName: "historyList"
                anchors.fill: parent
                clip: true
                model: screen.rows
                boundsBehavior: Flickable.StopAtBounds
                ScrollBar.vertical: ScrollBar { }
                currentIndex: -1
                activeFocusOnTab: true
                // The keys below move the current row and show it in the inspector.
                keyNavigationEnabled: false
                Keys.onPressed: (event) => {
                    const row = RowKeys.target(event.key, currentIndex, count, Math.floor(height / 54))
                    if (row < 0)
                        return
                    currentIndex = row
                    positionViewAtIndex(row, ListView.Contain)
                    screen.appModel.selection.selectCommit(model.get(row))
                    event.accepted = true
                }
                delegate: CommitRow {
                    selected: !!screen.appModel.selection.selectedCommit && screen.appModel.selection.selectedCommit.id === commitId
                    onSelectRequested: (commit) => {
                        list.currentIndex = index
                        list.forceActiveFocus()
                        screen.appModel.selection.selectCommit(commit)
                    }
                    onDiffRequested: (commit) => screen.appModel.selection.presentDiff(commit)
                }
            }

            EmptyStateView {
                anchors.fill: parent
                visible: list.count === 0
                busy: screen.fromIndex && screen.history.isLoading
                symbol: screen.fromIndex && screen.history.error !== "" ? "exclamationmark.triangle" : "clock.arrow.circlepath"
                title: screen.fromIndex && screen.history.error !== "" ? "The filter has a mistake"
                       : busy ? "Reading the history…"
                       : filterField.text !== "" ? "No matching commits" : "No commits"
                message: screen.fromIndex && screen.history.error !== "" ? screen.history.error
                         : busy ? ""
                         : filterField.text !== "" ? "Try a different filter."
                         : screen.fromIndex ? "The repository has no commits yet." : "The current branch has no commits yet."
            }
        }
    }
}
