import QtQuick
import QtTest
import Strataloom.Insights
import "../support"

// A chart's value axis depends only on its width and its data: a chart that got there through
// resizes and new data has the same ticks as one created in that state.
UiTestCase {
    id: testCase
    name: "ChartAxes"

    Component { id: chartComponent; BarChart { height: 240; valueTitle: "Commits"; categoryTitle: "Type" } }

    function test_ticksFollowWidthAndData_data() {
        return [
            { tag: "small range then larger data", steps: [[600, [1, 2]], [600, [10, 40]]] },
            { tag: "small range then narrow", steps: [[600, [2, 3]], [300, [2, 3]], [300, [30, 70]]] },
            { tag: "narrow then wide again", steps: [[300, [1]], [600, [1]], [600, [95, 7]], [300, [95, 7]], [600, [5, 4]]] }
        ]
    }

    function test_ticksFollowWidthAndData(row) {
        const stateOf = ([width, values]) => ({ width: width, labels: values.map((_, i) => "c" + i),
                                                sets: [{ name: "Commits", values: values }] })
        const axisOf = chart => [chart.valueAxis.min, chart.valueAxis.max, chart.valueAxis.tickCount]
        const live = createTemporaryObject(chartComponent, testCase, stateOf(row.steps[0]))
        for (const step of row.steps) {
            Object.assign(live, stateOf(step))
            const fresh = createTemporaryObject(chartComponent, testCase, stateOf(step))
            // Charts rebuild once per event loop turn after their data changes.
            const largest = Math.max(...step[1])
            tryVerify(() => live.valueAxis.largest === largest && fresh.valueAxis.largest === largest)
            compare(axisOf(live), axisOf(fresh), JSON.stringify(step))
            const [min, max, ticks] = axisOf(live)
            compare(min, 0)
            if (max <= 6)
                compare(ticks, max + 1, "a small range has a tick per whole unit")
        }
    }
}
