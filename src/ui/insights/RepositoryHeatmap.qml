import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Strataloom.Style

// The repository's commits of the last year as a calendar grid: one column per week, one row per
// weekday (Sunday first), ending with the current week; darker green for busier days.
Item {
    id: root

    required property var appModel
    readonly property int columns: 53
    readonly property int rows: 7
    readonly property real gap: 3
    readonly property real cell: Math.max(4, Math.min(14, (width - 24 - gap * (columns - 1)) / columns))
    property var cells: []

    Layout.fillWidth: true
    implicitHeight: rows * (cell + gap) + 26

    function dayKey(date) {
        return date.getFullYear() * 10000 + (date.getMonth() + 1) * 100 + date.getDate()
    }

    function rebuild() {
        const counts = {}
        const activity = appModel ? appModel.activity : null
        for (let row = 0; activity && row < activity.count; ++row) {
            const point = activity.get(row)
            if (!point.date)
                continue
            const key = dayKey(new Date(point.date))
            counts[key] = (counts[key] || 0) + point.count
        }
        let largest = 1
        for (const key in counts)
            largest = Math.max(largest, counts[key])
        const today = new Date()
        today.setHours(0, 0, 0, 0)
        const end = new Date(today)
        end.setDate(end.getDate() + 6 - today.getDay())
        const day = new Date(end)
        day.setDate(day.getDate() + 1 - columns * rows)
        const result = []
        for (let index = 0; index < columns * rows; ++index) {
            const count = counts[dayKey(day)] || 0
            result.push({
                count: count,
                ratio: count / largest,
                tip: day.toLocaleDateString(Qt.locale(), Locale.ShortFormat) + ": " + count
                     + " commits"
            })
            day.setDate(day.getDate() + 1)
        }
        cells = result
    }

    function cellColor(count, ratio) {
        const green = Qt.color(InsightColors.named("green"))
        if (count < 1)
            return Qt.rgba(Theme.secondaryText.r, Theme.secondaryText.g, Theme.secondaryText.b, 0.12)
        const opacity = ratio < 0.25 ? 0.3 : ratio < 0.5 ? 0.5 : ratio < 0.75 ? 0.72 : 1
        return Qt.rgba(green.r, green.g, green.b, opacity)
    }

    Component.onCompleted: rebuild()
    Connections {
        target: root.appModel
        function onActivityChanged() { root.rebuild() }
    }
    Connections {
        target: root.appModel ? root.appModel.activity : null
        function onModelReset() { root.rebuild() }
    }

    Grid {
        id: grid
        anchors.horizontalCenter: parent.horizontalCenter
        rows: root.rows
        flow: Grid.TopToBottom
        spacing: root.gap
        Repeater {
            model: root.cells
            delegate: Rectangle {
                required property var modelData
                width: root.cell
                height: root.cell
                radius: 2
                color: root.cellColor(modelData.count, modelData.ratio)
                HoverHandler { id: cellHover }
                ToolTip.text: modelData.tip
                ToolTip.visible: cellHover.hovered
                ToolTip.delay: 200
            }
        }
    }
    RowLayout {
        anchors.top: grid.bottom
        anchors.topMargin: 6
        anchors.right: grid.right
        spacing: 4
        Label { text: "Less"; font.pixelSize: 10; color: Theme.secondaryText }
        Repeater {
            model: [[0, 0], [1, 0.1], [1, 0.3], [1, 0.6], [1, 1]]
            delegate: Rectangle {
                required property var modelData
                width: 10; height: 10; radius: 2
                color: root.cellColor(modelData[0], modelData[1])
            }
        }
        Label { text: "More"; font.pixelSize: 10; color: Theme.secondaryText }
    }
}
