import QtQuick
import QtTest
import Strataloom.Style
import Strataloom.Screens
import "../support"

UiTestCase {
    id: testCase
    name: "AuthorHeatmap"

    Component { id: heatmapComponent; AuthorHeatmap { } }

    // Wednesday, March 13, 2024: the grid ends on Saturday the 16th.
    readonly property date wednesday: new Date(2024, 2, 13)

    function heatmapOf(activity) {
        return createTemporaryObject(heatmapComponent, testCase, {
            today: wednesday, activity: activity.map(([offset, count]) => ({ date: new Date(2024, 2, 13 + offset), count: count })) })
    }

    function cellFor(heatmap, offset) {
        const time = new Date(2024, 2, 13 + offset).getTime()
        return heatmap.cellAt(heatmap.grid.cells.findIndex(cell => cell.date.getTime() === time))
    }

    function test_gridEndsWithTheCurrentWeek() {
        const heatmap = heatmapOf([])
        const cells = heatmap.grid.cells
        compare(cells.length, 53 * 7)
        compare(cells[cells.length - 1].date, new Date(2024, 2, 16))
        compare(cells[0].date, new Date(2023, 2, 12))
        // Today sits in the last column, on its weekday's row.
        const today = cellFor(heatmap, 0)
        compare(today.x, 52 * (heatmap.cellSize + heatmap.cellSpacing))
        compare(today.y, 3 * (heatmap.cellSize + heatmap.cellSpacing))
    }

    // Two points on one day add up; days outside the grid are left out; a busiest day below two
    // commits makes one commit the whole scale.
    function test_colourStepsByShareOfTheBusiestDay_data() {
        return [
            { tag: "busiest day of 8", activity: [[0, 5], [0, 3], [-1, 1], [-2, 2], [-3, 4], [-4, 6], [-5, 7]],
              cells: [[0, 8, 1], [-1, 1, 0.3], [-2, 2, 0.5], [-3, 4, 0.72], [-4, 6, 1], [-5, 7, 1], [-12, 0, 0.12]] },
            { tag: "single commit", activity: [[-1, 1]], cells: [[-1, 1, 1], [0, 0, 0.12]] },
            { tag: "days outside the grid", activity: [[-400, 9], [0, 2]], cells: [] },
        ]
    }

    function test_colourStepsByShareOfTheBusiestDay(data) {
        const heatmap = heatmapOf(data.activity)
        const green = Qt.color(Theme.named("green"))
        const total = heatmap.grid.cells.reduce((sum, cell) => sum + cell.count, 0)
        compare(total, data.activity.filter(([offset]) => offset > -370).reduce((sum, [, count]) => sum + count, 0))
        for (const [offset, count, opacity] of data.cells) {
            const cell = cellFor(heatmap, offset)
            compare(cell.count, count, "count on day " + offset)
            fuzzyCompare(cell.color.a, opacity, 0.01, "opacity on day " + offset)
            const isGreen = ["r", "g", "b"].every(channel => Math.abs(cell.color[channel] - green[channel]) < 0.01)
            compare(isGreen, count > 0, "green only where there are commits, day " + offset)
        }
    }
}
