import QtQuick
import QtTest
import Strataloom.Style
import Strataloom.Screens

TestCase {
    id: testCase
    name: "AuthorHeatmap"
    when: windowShown
    visible: true

    Component { id: heatmapComponent; AuthorHeatmap { } }

    // Wednesday, March 13, 2024: the grid ends on Saturday the 16th.
    readonly property date wednesday: new Date(2024, 2, 13)

    function day(offset, count) {
        return { date: new Date(2024, 2, 13 + offset), count: count }
    }

    function cellFor(heatmap, date) {
        const cells = heatmap.grid.cells
        for (let i = 0; i < cells.length; ++i) {
            if (cells[i].date.getTime() === date.getTime())
                return heatmap.cellAt(i)
        }
        return null
    }

    // The theme's green, as a colour of full opacity.
    function green() {
        return Qt.color(Theme.named("green"))
    }

    function test_gridEndsWithTheCurrentWeek() {
        const heatmap = createTemporaryObject(heatmapComponent, testCase, { today: wednesday })
        const cells = heatmap.grid.cells
        compare(cells.length, 53 * 7)
        compare(cells[cells.length - 1].date, new Date(2024, 2, 16))
        compare(cells[0].date, new Date(2023, 2, 12))
        compare(cells[0].date.getDay(), 0, "columns start on Sunday")
        // Today sits in the last column, on its weekday's row.
        const today = cellFor(heatmap, wednesday)
        compare(today.x, 52 * (heatmap.cellSize + heatmap.cellSpacing))
        compare(today.y, 3 * (heatmap.cellSize + heatmap.cellSpacing))
    }

    function test_colourStepsByShareOfTheBusiestDay() {
        // Two points on one day add up: the busiest day has 8 commits.
        const activity = [day(0, 5), day(0, 3), day(-1, 1), day(-2, 2), day(-3, 4), day(-4, 6), day(-5, 7)]
        const heatmap = createTemporaryObject(heatmapComponent, testCase, { today: wednesday, activity: activity })
        compare(heatmap.grid.maximum, 8)
        const expectations = [[0, 1], [-1, 0.3], [-2, 0.5], [-3, 0.72], [-4, 1], [-5, 1]]
        for (const [offset, opacity] of expectations) {
            const cell = cellFor(heatmap, new Date(2024, 2, 13 + offset))
            compare(cell.count, [8, 1, 2, 4, 6, 7][-offset], "count on day " + offset)
            fuzzyCompare(cell.color.a, opacity, 0.01, "opacity on day " + offset)
            for (const channel of ["r", "g", "b"])
                fuzzyCompare(cell.color[channel], green()[channel], 0.01, channel + " on day " + offset)
        }
        const empty = cellFor(heatmap, new Date(2024, 2, 1))
        compare(empty.count, 0)
        fuzzyCompare(empty.color.a, 0.12, 0.01)
        verify(!Qt.colorEqual(Qt.rgba(empty.color.r, empty.color.g, empty.color.b, 1), green()),
               "an empty day is not green")
        compare(heatmap.tooltip(heatmap.grid.cells[367]), "Mar 13, 2024: 8 commits")
    }

    function test_singleCommitDaysAreFullGreen() {
        // With a busiest day below two commits, one commit is the whole scale.
        const heatmap = createTemporaryObject(heatmapComponent, testCase,
                                              { today: wednesday, activity: [day(-1, 1)] })
        fuzzyCompare(cellFor(heatmap, new Date(2024, 2, 12)).color.a, 1, 0.01)
        fuzzyCompare(cellFor(heatmap, wednesday).color.a, 0.12, 0.01)
    }

    function test_daysOutsideTheGridAreLeftOut() {
        const heatmap = createTemporaryObject(heatmapComponent, testCase,
                                              { today: wednesday, activity: [day(-400, 9), day(0, 2)] })
        let total = 0
        for (const cell of heatmap.grid.cells)
            total += cell.count
        compare(total, 2)
    }
}
