import QtQuick
import QtQuick.Controls
import Strataloom.Style
import "Format.js" as Format

// An author's commits per day over the last 53 weeks: one column per week, one row per weekday
// (Sunday on top), ending with the last day of the current week. Darker green means more
// commits relative to the author's busiest day.
Item {
    id: heatmap

    // Activity points: {date, count}, several per day allowed.
    property var activity: []
    property int columns: 53
    property int rows: 7
    property real cellSize: 9
    property real cellSpacing: 2
    // The day the grid is built around; tests pin it.
    property date today: new Date()

    // Opacity of the green for a day with `count` commits when the busiest day has `maximum`:
    // 0 for no commits (drawn as a faint grey instead), then four steps by share of the maximum.
    function level(count, maximum) {
        if (count < 1)
            return 0
        const m = maximum < 2 ? 1 : maximum
        const r = count / m
        if (r < 0.25) return 0.3
        if (r < 0.5) return 0.5
        if (r < 0.75) return 0.72
        return 1
    }

    function cellColor(count, maximum) {
        const green = Qt.color(Theme.named("green"))
        if (count < 1) {
            const grey = Theme.secondaryText
            return Qt.rgba(grey.r, grey.g, grey.b, 0.12)
        }
        return Qt.rgba(green.r, green.g, green.b, level(count, maximum))
    }

    function dayKey(d) {
        return d.getFullYear() * 10000 + (d.getMonth() + 1) * 100 + d.getDate()
    }

    function startOfDay(d) {
        return new Date(d.getFullYear(), d.getMonth(), d.getDate())
    }

    function addDays(d, n) {
        return new Date(d.getFullYear(), d.getMonth(), d.getDate() + n)
    }

    // The cells, day by day from the start: {date, count, key}; plus the largest day count.
    readonly property var grid: {
        const counts = {}
        let maximum = 0
        const points = activity || []
        for (let i = 0; i < points.length; ++i) {
            const point = points[i]
            if (!Format.isDate(point.date))
                continue
            const key = dayKey(point.date)
            counts[key] = (counts[key] || 0) + Number(point.count || 0)
        }
        for (const key in counts)
            maximum = Math.max(maximum, counts[key])
        const start0 = startOfDay(today)
        // getDay() counts from Sunday = 0; the grid's weekday number counts from Sunday = 1.
        const end = addDays(start0, 7 - (start0.getDay() + 1))
        const start = addDays(end, 1 - columns * rows)
        const cells = []
        for (let i = 0; i < columns * rows; ++i) {
            const day = addDays(start, i)
            const key = dayKey(day)
            cells.push({ date: day, count: counts[key] || 0 })
        }
        return { cells: cells, maximum: maximum }
    }

    // Commits on the days the grid shows.
    readonly property int commitsShown: {
        let total = 0
        for (const cell of grid.cells)
            total += cell.count
        return total
    }

    function tooltip(cell) {
        return Format.date(cell.date) + ": " + Format.count(cell.count) + " commits"
    }

    implicitWidth: columns * cellSize + (columns - 1) * cellSpacing
    implicitHeight: rows * cellSize + (rows - 1) * cellSpacing

    Repeater {
        id: cells
        model: heatmap.grid.cells.length
        delegate: Rectangle {
            required property int index
            readonly property var cell: heatmap.grid.cells[index]
            readonly property int count: cell.count
            x: Math.floor(index / heatmap.rows) * (heatmap.cellSize + heatmap.cellSpacing)
            y: (index % heatmap.rows) * (heatmap.cellSize + heatmap.cellSpacing)
            width: heatmap.cellSize
            height: heatmap.cellSize
            radius: 2
            color: heatmap.cellColor(count, heatmap.grid.maximum)
        }
    }

    // One tooltip for the whole grid: the cell under the pointer.
    HoverHandler { id: hover }
    readonly property int hoveredIndex: {
        if (!hover.hovered)
            return -1
        const step = cellSize + cellSpacing
        const column = Math.floor(hover.point.position.x / step)
        const row = Math.floor(hover.point.position.y / step)
        if (column < 0 || column >= columns || row < 0 || row >= rows)
            return -1
        return column * rows + row
    }
    ToolTip.visible: hoveredIndex >= 0
    ToolTip.text: hoveredIndex >= 0 ? tooltip(grid.cells[hoveredIndex]) : ""
    ToolTip.delay: 150

    // Lets tests find a cell: the delegate of cell `index`.
    function cellAt(index) {
        return cells.itemAt(index)
    }
}
