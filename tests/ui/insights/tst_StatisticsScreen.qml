import QtQuick
import QtTest
import Strataloom.Insights
import "../support"

// The statistics screen over a known history: its figures, the period picker, the author rows
// and the heatmap.
UiTestCase {
    name: "StatisticsScreen"

    Component { id: screenComponent; StatisticsScreen {} }

    function test_periodPickerSwitchesTheSeriesAndItsAxis() {
        const repo = fixtures.newRepository()
        fixtures.importHistory(repo, 600)
        const { model, screen } = openIndexed(screenComponent, repo)
        const insights = model.analytics.analyticsInsights
        const chart = findOne(screen, "periodChart")
        const axis = () => [chart.commitsAxis.max, chart.commitsAxis.tickCount]
        compare(chart.plottedPeriods, insights.monthlyActivity.length)
        const monthlyAxis = axis()

        scrollTo(screen, "statisticsFlick", findOne(screen, "periodPicker"))
        for (const period of ["daily", "yearly", "monthly"]) {
            mouseClick(findOne(screen, "period:" + period))
            compare(screen.activityPeriod, period)
            compare(chart.plottedPeriods, insights[period + "Activity"].length)
        }
        // Back where it started, the axis is the same as before the other periods.
        compare(axis(), monthlyAxis)
    }

    function test_cardsShowTheKnownFiguresAndAnAuthorRowOpensTheInspector() {
        const repo = history([
            { files: { "src/app.cpp": "one\n" }, message: "feat: add app" },
            { files: { "src/app.cpp": "one\ntwo\n", "logo.png": "\u0000\u0001binary" }, message: "ok",
              author: "Grace Hopper" }])
        fixtures.git(repo, ["tag", "v1.0"])
        const { model, screen } = openIndexed(screenComponent, repo)
        const expected = { "Commits": "2", "Authors": "2", "Active days": "1", "Peak day": "2 commits",
                           "Lines added": "2", "Net change": "2", "Added records": "2", "Binary files": "1",
                           "Conventional": "50%", "Very short": "1", "Bus factor": "1", "Tags / releases": "1",
                           "Merge share": "0%", "Repository age": "0y 0m" }
        for (const name in expected)
            compare(findOne(screen, "card:" + name).value, expected[name], name)
        verify(collect(screen, o => o.visible && o.text === "v1.0", [], new Set()).length > 0, "the release timeline lists the tag")

        tryCompare(model.session, "isLoading", false)
        const row = findAll(screen, "statisticsAuthorRow").find(r => r.modelData.name === "Grace Hopper")
        scrollTo(screen, "statisticsFlick", row)
        mouseClick(row)
        tryVerify(() => model.selection.selectedAuthor && model.selection.selectedAuthor.name === "Grace Hopper")
    }

    function test_heatmapShowsTheLastYearOfTheIndex() {
        const recent = new Date()
        recent.setDate(recent.getDate() - 3)
        recent.setHours(12, 0, 0, 0)
        const repo = history([{ files: { "a.txt": "a\n" }, message: "Add a" }, // dated long ago: outside the grid
                              { message: "One", date: recent.toISOString() },
                              { message: "Two", date: recent.toISOString() }])
        const { screen } = openIndexed(screenComponent, repo)
        const heatmap = findOne(screen, "heatmap")
        tryCompare(heatmap, "commitsShown", 2)
        recent.setHours(0, 0, 0, 0)
        const cell = heatmap.grid.cells.find(c => c.date.getTime() === recent.getTime())
        verify(cell !== undefined, "the day three days ago is on the grid")
        compare(cell.count, 2)
    }
}
