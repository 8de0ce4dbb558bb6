import QtQuick
import QtTest
import Strataloom.Screens
import "../support"

// History, Search and the Timeline over the index: the whole history a page at a time, the query
// language in their fields with mistakes named under them, and git's window with its note until
// then.
UiTestCase {
    id: testCase
    name: "HistoryIndex"

    Component { id: historyScreen; HistoryScreen {} }
    Component { id: searchScreen; SearchScreen {} }
    Component { id: timelineScreen; TimelineScreen {} }

    function indexedHistory(count) {
        const repo = fixtures.newRepository()
        fixtures.importHistory(repo, count)
        return repo
    }

    function test_historyScrollsThroughTheWholeHistory() {
        const opened = openIndexed(historyScreen, indexedHistory(230))
        const list = findOne(opened.screen, "historyList")
        tryCompare(list, "count", 230, 20000)
        verify(!findOne(opened.screen, "historyNote").visible)
        // Every row is there at once: the end shows the first commit without scrolling through.
        list.positionViewAtEnd()
        tryVerify(() => list.itemAtIndex(229) !== null, 5000)
        compare(list.model.get(229).subject, "Change 1")
        compare(opened.model.history.total, 230)
    }

    function test_historyFieldTakesTheQueryAndNamesMistakes() {
        const opened = openIndexed(historyScreen, indexedHistory(30))
        const list = findOne(opened.screen, "historyList")
        const field = findOne(opened.screen, "historyFilter")
        const note = findOne(opened.screen, "historyNote")
        tryCompare(list, "count", 30, 20000)
        // "Author 3" wrote changes 3, 10, 17 and 24 of 30.
        for (const [filter, count, mistake] of [["author:author3", 4, false], ["change 1 author:author3", 2, false],
                                                ["change colour:red", 0, true]]) {
            field.forceActiveFocus()
            field.text = filter
            keyClick(Qt.Key_Return)
            tryCompare(list, "count", count, 10000)
            compare([field.invalid, note.visible], [mistake, mistake], filter)
            compare(note.text, opened.model.history.error)
        }
    }

    function test_historyShowsGitsWindowWithANoteWithoutAnIndex() {
        const indexes = fixtures.setIndexDirectory("/dev/null/no-index")
        const opened = open(historyScreen, indexedHistory(12))
        tryVerify(() => opened.model.analytics.analyticsIndexState.isFailed, 20000)
        fixtures.setIndexDirectory(indexes)
        const list = findOne(opened.screen, "historyList")
        tryCompare(list, "count", 12)
        verify(list.model !== opened.model.history)
        verify(findOne(opened.screen, "historyNote").visible)
    }

    function test_searchFindsEveryMatchWithItsCount() {
        const opened = openIndexed(searchScreen, indexedHistory(250))
        const field = findOne(opened.screen, "searchField")
        const results = findOne(opened.screen, "searchResults")
        field.forceActiveFocus()
        // Changes 1, 10 to 19 and 100 to 199: more than a page, counted in full at once.
        field.text = "change 1"
        keyClick(Qt.Key_Return)
        tryCompare(opened.screen.panel, "resultCount", 111, 10000)
        tryCompare(results, "count", 111)
        field.text = "type:bogus"
        keyClick(Qt.Key_Return)
        tryCompare(results, "count", 0)
        verify(findOne(opened.screen, "searchNote").visible)
        verify(field.invalid)
    }

    function test_timelineDrawsTheWholeHistoryFromTheIndex() {
        const opened = openIndexed(timelineScreen, indexedHistory(230))
        const list = findOne(opened.screen, "timelineList")
        // git's window of 230 lines first, then the index's 230 commits.
        tryVerify(() => list.model === opened.model.timeline, 20000)
        compare(list.count, 230)
        verify(!findOne(opened.screen, "timelineNote").visible)
        // The far end is read when it is shown: the first commit, a root, ends at its dot.
        list.positionViewAtEnd()
        tryVerify(() => { const row = list.itemAtIndex(229); return row !== null && row.isLoaded }, 20000)
        const root = list.itemAtIndex(229)
        compare(root.subject, "Change 1")
        const segments = findChild(root, "graphRow").segments
        verify(segments.some(s => s.kind === "dot") && !segments.some(s => s.y2 === 1), "nothing leaves the root downwards")
    }

    // A click shows the row's commit in the inspector; the keys move on from there, to either end.
    function test_rowsAreChosenByClickAndKeys_data() {
        return [{ tag: "history", component: historyScreen, list: "historyList", model: m => m.history },
                { tag: "timeline", component: timelineScreen, list: "timelineList", model: m => m.timeline }]
    }

    function test_rowsAreChosenByClickAndKeys(data) {
        const opened = openIndexed(data.component, indexedHistory(30))
        const list = findOne(opened.screen, data.list)
        tryVerify(() => list.model === data.model(opened.model) && list.count === 30, 20000)
        tryVerify(() => list.itemAtIndex(1) !== null && list.itemAtIndex(1).subject === "Change 29", 20000)
        const chosen = () => opened.model.selection.selectedCommit ? opened.model.selection.selectedCommit.subject : ""
        mouseClick(list.itemAtIndex(1))
        compare(chosen(), "Change 29")
        for (const [key, subject] of [[Qt.Key_Down, "Change 28"], [Qt.Key_End, "Change 1"],
                                      [Qt.Key_Up, "Change 2"], [Qt.Key_Home, "Change 30"]]) {
            keyClick(key)
            compare(chosen(), subject)
        }
    }
}
