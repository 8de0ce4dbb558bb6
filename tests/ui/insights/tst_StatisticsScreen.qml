import QtQuick
import QtTest
import Strataloom.Insights
import Strataloom.Style

// The statistics screen: the placeholder until the first insights, the figures of a known
// history, the period picker, and the rows and heatmap over it.
ScreenTestCase {
    name: "StatisticsScreen"

    Component { id: screenComponent; StatisticsScreen {} }

    function test_placeholderUntilTheFirstInsightsThenBadgeAndSections() {
        const repo = fixtures.newRepository()
        fixtures.importHistory(repo, 3000)
        const opened = open(screenComponent, repo)
        const placeholder = findOne(opened.screen, "statisticsPlaceholder")
        const sections = findOne(opened.screen, "historySections")
        const badge = findOne(opened.screen, "indexBadge")
        tryVerify(() => opened.model.analytics.analyticsIndexState.isIndexing, 20000)
        verify(placeholder.visible && placeholder.busy)
        verify(!sections.visible)
        verify(!findOne(opened.screen, "retryIndex").visible)

        tryVerify(() => opened.model.analytics.analyticsIndexState.isReady, 120000)
        verify(!placeholder.visible)
        verify(sections.visible)
        verify(badge.titleText.startsWith("3,000 "), badge.titleText)
        verify(badge.detailText.startsWith("3,000 "), badge.detailText)
        compare(findOne(opened.screen, "card:Commits").value, "3,000")

        // Nothing new on a refresh: no "imported now".
        opened.model.session.refresh()
        tryVerify(() => opened.model.analytics.analyticsIndexState.isIndexing, 20000)
        tryVerify(() => opened.model.analytics.analyticsIndexState.isReady, 120000)
        compare(badge.detailText, "")
        verify(sections.visible)
    }

    function test_periodPickerSwitchesTheSeriesAndItsAxis() {
        const repo = fixtures.newRepository()
        fixtures.importHistory(repo, 600)
        const opened = open(screenComponent, repo)
        tryVerify(() => opened.model.analytics.analyticsIndexState.isReady, 120000)
        const insights = opened.model.analytics.analyticsInsights
        const chart = findOne(opened.screen, "periodChart")
        const axis = () => [chart.commitsAxis.max, chart.commitsAxis.tickCount]
        compare(opened.screen.activityPeriod, "monthly")
        compare(chart.plottedPeriods, insights.monthlyActivity.length)
        const monthlyAxis = axis()

        scrollTo(opened.screen, "statisticsFlick", findOne(opened.screen, "periodPicker"))
        for (const period of ["daily", "yearly", "monthly"]) {
            mouseClick(findOne(opened.screen, "period:" + period))
            compare(opened.screen.activityPeriod, period)
            compare(chart.plottedPeriods, insights[period + "Activity"].length)
        }
        // Back where it started, the axis is the same as before the other periods.
        compare(axis(), monthlyAxis)
    }

    function test_cardsShowTheKnownFigures() {
        const repo = fixtures.newRepository()
        fixtures.write(repo, "src/app.cpp", "one\n")
        fixtures.commit(repo, "feat: add app")
        fixtures.write(repo, "src/app.cpp", "one\ntwo\n")
        fixtures.write(repo, "logo.png", "\u0000\u0001binary")
        fixtures.commit(repo, "ok", "Grace Hopper", "grace@example.org")
        fixtures.git(repo, ["tag", "v1.0"])
        const opened = open(screenComponent, repo)
        tryVerify(() => opened.model.analytics.analyticsIndexState.isReady, 60000)
        const expected = {
            "Commits": "2", "Authors": "2", "Active days": "1", "Peak day": "2 commits",
            "Lines added": "2", "Net change": "2", "Added records": "2", "Binary files": "1",
            "Conventional": "50%", "Very short": "1", "Bus factor": "1", "Tags / releases": "1",
            "Merge share": "0%", "Repository age": "0y 0m"
        }
        for (const name in expected)
            compare(findOne(opened.screen, "card:" + name).value, expected[name], name)
        verify(textsOf(opened.screen).indexOf("v1.0") >= 0, "the release timeline lists the tag")
    }

    function test_authorRowOpensTheInspector() {
        const repo = fixtures.newRepository()
        fixtures.write(repo, "a.txt", "a\n")
        fixtures.commit(repo, "Add a", "Grace Hopper", "grace@example.org")
        const opened = open(screenComponent, repo)
        tryVerify(() => opened.model.analytics.analyticsIndexState.isReady, 60000)
        tryCompare(opened.model.session, "isLoading", false)
        const row = findOne(opened.screen, "statisticsAuthorRow")
        scrollTo(opened.screen, "statisticsFlick", row)
        mouseClick(row)
        tryVerify(() => opened.model.selection.selectedAuthor && opened.model.selection.selectedAuthor.name === "Grace Hopper")
    }

    function test_heatmapShowsTheLastYearAtFullIntensityOnTheBusiestDay() {
        const repo = fixtures.newRepository()
        fixtures.write(repo, "a.txt", "a\n")
        fixtures.commit(repo, "Add a") // dated long ago: outside the grid
        const recent = new Date()
        recent.setDate(recent.getDate() - 3)
        recent.setHours(12, 0, 0, 0)
        for (const message of ["One", "Two"])
            fixtures.commit(repo, message, "Ada Lovelace", "ada@example.com", recent.toISOString())
        const opened = open(screenComponent, repo)
        tryVerify(() => opened.model.analytics.analyticsIndexState.isReady, 60000)
        const heatmap = findOne(opened.screen, "heatmap")
        tryCompare(heatmap, "commitsShown", 2)
        recent.setHours(0, 0, 0, 0)
        const cell = heatmap.grid.cells.find(c => c.date.getTime() === recent.getTime())
        verify(cell !== undefined, "the day three days ago is on the grid")
        compare(cell.count, 2)
        const full = Qt.color(Theme.named("green"))
        const drawn = findAll(findOne(opened.screen, "repositoryHeatmapGrid"), "")
        verify(drawn.some(item => item.color !== undefined && Qt.colorEqual(item.color, full)))
    }
}
