import QtQuick
import QtTest
import Strataloom.Insights
import Strataloom.InsightTests

// What both screens do in the states around the figures: an index that cannot be built, and a
// history with nothing to draw.
ScreenTestCase {
    name: "ScreenStates"

    Component { id: statistics; StatisticsScreen {} }
    Component { id: insights; InsightsScreen {} }

    function test_failureShowsItsReasonAndRetries_data() {
        return [
            { tag: "statistics", component: statistics, placeholder: "statisticsPlaceholder",
              flick: "statisticsFlick" },
            { tag: "insights", component: insights, placeholder: "insightsPlaceholder", flick: "" }
        ]
    }

    function test_failureShowsItsReasonAndRetries(row) {
        const repo = fixtures.newRepository()
        fixtures.write(repo, "a.txt", "a\n")
        fixtures.commit(repo, "Add a")
        // An index folder below a regular file cannot be created.
        const previous = InsightTestHelper.setIndexDirectory(repo + "/a.txt/indexes")
        const opened = open(row.component, repo)
        tryVerify(() => opened.model.analytics.analyticsIndexState.isFailed, 60000)
        InsightTestHelper.setIndexDirectory(previous)
        tryCompare(opened.model.session, "isLoading", false)

        const placeholder = findOne(opened.screen, row.placeholder)
        verify(placeholder.visible)
        verify(!placeholder.busy, "nothing is running")
        verify(opened.model.analytics.analyticsIndexState.message !== "")
        compare(placeholder.text, opened.model.analytics.analyticsIndexState.message)

        const retry = findOne(opened.screen, "retryIndex")
        verify(retry.visible)
        if (row.flick !== "")
            scrollTo(opened.screen, row.flick, retry)
        waitForRendering(opened.screen)
        mouseClick(retry)
        tryVerify(() => opened.model.analytics.analyticsIndexState.isReady, 60000)
        tryVerify(() => !placeholder.visible)
        verify(!retry.visible)
    }

    // One note per chart or list, instead of blank space.
    function test_emptyHistoryShowsANoteForEveryChartAndList_data() {
        return [
            { tag: "statistics", component: statistics, notes: 13 },
            { tag: "insights", component: insights, notes: 7 }
        ]
    }

    function test_emptyHistoryShowsANoteForEveryChartAndList(row) {
        const opened = open(row.component, fixtures.newRepository())
        tryVerify(() => opened.model.analytics.analyticsIndexState.isReady, 60000)
        tryVerify(() => !!opened.model.analytics.analyticsInsights)
        waitForRendering(opened.screen)
        const notes = findAll(opened.screen, "emptyNote").filter(note => note.visible && note.text !== "")
        compare(notes.length, row.notes, notes.map(note => note.text).join(" | "))
    }
}
