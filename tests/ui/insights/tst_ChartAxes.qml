import QtQuick
import QtTest
import Strataloom.Insights

// A chart's value axis depends only on its width and its data: a chart that got there through
// resizes and new data has the same ticks as one created in that state.
TestCase {
    id: testCase
    name: "ChartAxes"
    when: windowShown
    width: 800
    height: 600

    Component {
        id: chartComponent
        BarChart { height: 240; valueTitle: "Commits"; categoryTitle: "Type" }
    }

    function chartAt(step) {
        return createTemporaryObject(chartComponent, testCase, {
            width: step.width, labels: step.values.map((_, i) => "c" + i),
            sets: [{ name: "Commits", values: step.values }] })
    }

    function axisOf(chart) {
        return { min: chart.valueAxis.min, max: chart.valueAxis.max, ticks: chart.valueAxis.tickCount }
    }

    function test_ticksFollowWidthAndData_data() {
        return [
            { tag: "small range then larger data", steps: [
                { width: 600, values: [1, 2] }, { width: 600, values: [10, 40] } ] },
            { tag: "small range then narrow", steps: [
                { width: 600, values: [2, 3] }, { width: 300, values: [2, 3] },
                { width: 300, values: [30, 70] } ] },
            { tag: "narrow then wide again", steps: [
                { width: 300, values: [1] }, { width: 600, values: [1] }, { width: 600, values: [95, 7] },
                { width: 300, values: [95, 7] }, { width: 600, values: [5, 4] } ] }
        ]
    }

    function test_ticksFollowWidthAndData(row) {
        const live = chartAt(row.steps[0])
        for (const step of row.steps) {
            live.width = step.width
            live.labels = step.values.map((_, i) => "c" + i)
            live.sets = [{ name: "Commits", values: step.values }]
            const fresh = chartAt(step)
            // Charts rebuild once per event loop turn after their data changes.
            const largest = Math.max(...step.values)
            tryVerify(() => live.valueAxis.largest === largest && fresh.valueAxis.largest === largest)
            compare(JSON.stringify(axisOf(live)), JSON.stringify(axisOf(fresh)), JSON.stringify(step))
            const axis = axisOf(live)
            compare(axis.min, 0)
            if (axis.max <= 6)
                compare(axis.ticks, axis.max + 1, "a small range has a tick per whole unit")
        }
    }
}
