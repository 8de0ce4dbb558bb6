import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Strataloom.Style

// The search field and its results, shared by the search section and the quick search sheet.
// Submitting the field searches commit messages over all refs; with `searchesWhileTyping` a
// pause in typing searches too. The model keeps only the newest search's results.
ColumnLayout {
    id: panel

    property var appModel
    property bool searchesWhileTyping: false
    property alias field: searchField

    readonly property int resultCount: appModel ? appModel.session.searchResults.count : 0

    function search() {
        if (!appModel)
            return
        pause.stop()
        appModel.session.searchText = searchField.text
        appModel.session.performSearch()
    }

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
        placeholderText: "Search commit messages…"
        text: panel.appModel ? panel.appModel.session.searchText : ""
        onTextEdited: if (panel.searchesWhileTyping) pause.restart()
        onAccepted: panel.search()
    }

    ListSurface {
        Layout.fillWidth: true
        Layout.fillHeight: true

        ListView {
            id: results
            objectName: "searchResults"
            anchors.fill: parent
            clip: true
            model: panel.appModel ? panel.appModel.session.searchResults : null
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
            symbol: "magnifyingglass"
            message: "Try a commit message, author, or phrase."
        }
    }
}
