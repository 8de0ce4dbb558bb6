import QtQuick
import QtTest
import Strataloom.Insights
import "../support"

// What both screens do in the states around the figures: an index still being built, one that
// cannot be built, and a history with nothing to draw.
UiTestCase {
    name: "ScreenStates"

    Component { id: statistics; StatisticsScreen {} }
    Component { id: insights; InsightsScreen {} }

    function screens() {
        return [
            { tag: "statistics", component: statistics, placeholder: "statisticsPlaceholder",
              content: "historySections", flick: "statisticsFlick", notes: 13 },
            { tag: "insights", component: insights, placeholder: "insightsPlaceholder", content: "insightsFlick", notes: 7 }
        ]
    }

    function test_busyWhileIndexingThenTheFigures_data() { return screens() }

    function test_busyWhileIndexingThenTheFigures(row) {
        const opened = open(row.component)
        const state = () => opened.model.analytics.analyticsIndexState
        const content = findOne(opened.screen, row.content)
        verify(!content.visible, "no figures without a repository")
        // A long history keeps the index busy long enough to see the indexing state.
        const repo = fixtures.newRepository()
        fixtures.importHistory(repo, 3000)
        opened.model.session.openRepository(repo)
        tryVerify(() => state().isIndexing, 20000)
        const placeholder = findOne(opened.screen, row.placeholder)
        verify(placeholder.visible && placeholder.busy && !content.visible)
        verify(!findOne(opened.screen, "retryIndex").visible)
        tryVerify(() => state().isReady, 120000)
        tryVerify(() => !placeholder.visible && content.visible)
    }

    function test_failureShowsItsReasonAndRetries_data() { return screens() }

    function test_failureShowsItsReasonAndRetries(row) {
        const repo = history([{ files: { "a.txt": "a\n" }, message: "Add a" }])
        // An index folder below a regular file cannot be created.
        const previous = fixtures.setIndexDirectory(repo + "/a.txt/indexes")
        const opened = open(row.component, repo)
        const state = () => opened.model.analytics.analyticsIndexState
        tryVerify(() => state().isFailed, 60000)
        fixtures.setIndexDirectory(previous)
        tryCompare(opened.model.session, "isLoading", false)

        const placeholder = findOne(opened.screen, row.placeholder)
        verify(placeholder.visible && !placeholder.busy, "the reason shows, nothing is running")
        verify(state().message !== "" && placeholder.text === state().message, placeholder.text)

        const retry = findOne(opened.screen, "retryIndex")
        if (row.tag === "statistics")
            scrollTo(opened.screen, row.flick, retry)
        waitForRendering(opened.screen)
        mouseClick(retry)
        tryVerify(() => state().isReady, 60000)
        tryVerify(() => !placeholder.visible && !retry.visible)
    }

    // One note per chart or list, instead of blank space.
    function test_emptyHistoryShowsANoteForEveryChartAndList_data() { return screens() }

    function test_emptyHistoryShowsANoteForEveryChartAndList(row) {
        const opened = openIndexed(row.component, fixtures.newRepository())
        tryVerify(() => !!opened.model.analytics.analyticsInsights)
        waitForRendering(opened.screen)
        const notes = findAll(opened.screen, "emptyNote").filter(note => note.visible && note.text !== "")
        compare(notes.length, row.notes, notes.map(note => note.text).join(" | "))
    }
}
