import QtQuick
import QtTest
import Strataloom.Screens
import "../support"

// History and Search over the index: the whole history a page at a time, the query language in
// their fields with mistakes named under them, and git's window with its note until then.
UiTestCase {
    id: testCase
    name: "HistoryIndex"

    Component { id: historyScreen; HistoryScreen {} }
    Component { id: searchScreen; SearchScreen {} }

    function indexedHistory(count) {
        const repo = fixtures.newRepository()
        fixtures.importHistory(repo, count)
        return repo
    }

    function test_historyScrollsThroughTheWholeHistory() {
        const opened = openIndexed(historyScreen, indexedHistory(230))
        const list = findOne(opened.screen, "historyList")
        tryCompare(list, "count", 100, 20000)
        verify(!findOne(opened.screen, "historyNote").visible)
        // Scrolling to the end loads the pages after it, up to the first commit.
        tryVerify(() => { list.positionViewAtEnd(); return list.count === 230 }, 20000)
        compare(list.model.get(229).subject, "Change 1")
        compare(opened.model.history.total, 230)
    }

    function test_historyFieldTakesTheQueryAndNamesMistakes_data() {
        // "Author 3" wrote changes 3, 10, 17 and 24 of 30.
        return [
            { tag: "author", filter: "author:author3", count: 4, mistake: false },
            { tag: "words and author", filter: "change 1 author:author3", count: 2, mistake: false },
            { tag: "unknown key", filter: "change colour:red", count: 0, mistake: true },
        ]
    }

    function test_historyFieldTakesTheQueryAndNamesMistakes(data) {
        const opened = openIndexed(historyScreen, indexedHistory(30))
        const list = findOne(opened.screen, "historyList")
        const field = findOne(opened.screen, "historyFilter")
        const note = findOne(opened.screen, "historyNote")
        tryCompare(list, "count", 30, 20000)
        field.forceActiveFocus()
        field.text = data.filter
        keyClick(Qt.Key_Return)
        tryCompare(list, "count", data.count, 10000)
        compare(field.invalid, data.mistake)
        compare(note.visible, data.mistake)
        compare(note.text, opened.model.history.error)
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
        tryCompare(results, "count", 100)
        tryVerify(() => { results.positionViewAtEnd(); return results.count === 111 }, 20000)
        field.text = "type:bogus"
        keyClick(Qt.Key_Return)
        tryCompare(results, "count", 0)
        verify(findOne(opened.screen, "searchNote").visible)
        verify(field.invalid)
    }
}
