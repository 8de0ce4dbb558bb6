import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Strataloom.Style

// The search field and its results, shared by the search section and the quick search sheet.
// Once the index is ready, the field takes the query language (words, "phrases", author:,
// path:, after:, before:, type:, ref:, merges:) and the results are every matching commit,
// read a page at a time; until then it searches commit messages over all refs with git, up to
// 100 results. Submitting the field searches; with `searchesWhileTyping` a pause in typing
// searches too. The models keep only the newest search's results.
ColumnLayout {
    id: panel

    property var appModel
    property bool searchesWhileTyping: false
    property alias field: searchField

    readonly property var indexed: appModel ? appModel.historySearch : null
    readonly property bool fromIndex: !!indexed && indexed.isAvailable
    readonly property int resultCount: fromIndex ? (indexed.query.trim() !== "" ? indexed.total : 0)
                                                 : appModel ? appModel.session.searchResults.count : 0
    readonly property string error: fromIndex ? indexed.error : ""

    function search() {
        if (!appModel)
            return
        pause.stop()
        appModel.session.searchText = searchField.text
        if (fromIndex)
            indexed.query = searchField.text
        else
            appModel.session.performSearch()
    }

    // A search made with git carries over to the index once it is ready.
    onFromIndexChanged: if (fromIndex && appModel.session.searchText !== "" && indexed.query === "")
                            indexed.query = appModel.session.searchText

    spacing: Theme.padding

    Timer {
        id: pause
        interval: 300
        onTriggered: panel.search()
    }

    FilterField {
        id: searchField
        objectName: "searchField"
        Layout.fillWidth: true
        placeholderText: panel.fromIndex ? "Search: words, \"a phrase\", author:, path:, after:, before:, type:, ref:, merges:no"
                                         : "Search commit messages…"
        invalid: panel.error !== ""
        text: panel.appModel ? panel.appModel.session.searchText : ""
        onTextEdited: if (panel.searchesWhileTyping) pause.restart()
        onAccepted: panel.search()
    }

    QueryNote {
        objectName: "searchNote"
        Layout.fillWidth: true
        error: panel.error
    }

    ListSurface {
        Layout.fillWidth: true
        Layout.fillHeight: true

        ListView {
            id: results
            objectName: "searchResults"
            anchors.fill: parent
            clip: true
            // An empty query lists nothing here: the whole history is History's.
            model: panel.fromIndex ? (panel.indexed.query.trim() !== "" ? panel.indexed : null)
                                   : panel.appModel ? panel.appModel.session.searchResults : null
            boundsBehavior: Flickable.StopAtBounds
            ScrollBar.vertical: ScrollBar { }
            delegate: CommitRow {
                showsCounts: false
                selected: !!panel.appModel.selection.selectedCommit && panel.appModel.selection.selectedCommit.id === commitId
                onSelectRequested: (commit) => panel.appModel.selection.selectCommit(commit)
                onDiffRequested: (commit) => panel.appModel.selection.presentDiff(commit)
            }
        }

        EmptyStateView {
            objectName: "searchHint"
            anchors.fill: parent
            visible: results.count === 0
            busy: panel.fromIndex && panel.indexed.isLoading
            symbol: panel.error !== "" ? "exclamationmark.triangle" : "magnifyingglass"
            title: panel.error !== "" ? "The search has a mistake"
                   : panel.fromIndex && !busy && panel.indexed.query.trim() !== "" ? "No matching commits" : ""
            message: panel.error !== "" ? panel.error
                     : panel.fromIndex ? "Try words of a message, author:name, path:folder/, after:2024-01-01 or type:fix."
                                       : "Try a commit message, author, or phrase."
        }
    }
}
