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
}
