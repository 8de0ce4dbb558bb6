import QtQuick
import QtCharts
import Strataloom.Style
import Strataloom.Insights

// A value axis for counts, starting at zero and rounded to nice numbers, its labels compact and
// in the user's locale ("250K", "1.5M"). Its range and ticks are worked out again from the
// largest value and the tick count the chart's width allows whenever either changes, so neither
// new data nor a resize keeps ticks meant for the previous state. The labels are categories
// placed on the tick values, since a value axis can only print through a printf format.
CategoryAxis {
    id: axis

    /// The largest value drawn.
    property real largest: 0
    /// How many ticks the axis aims for before rounding to nice numbers.
    property int preferredTickCount: 5
    /// A range of at most six gets one tick per whole unit instead of repeated labels.
    property bool wholeUnits: true

    function fit() {
        min = 0
        max = Math.max(largest, 1)
        tickCount = preferredTickCount
        applyNiceNumbers()
        if (wholeUnits && max <= 6)
            tickCount = max + 1
        relabel()
    }

    function relabel() {
        for (const label of categoriesLabels.slice())
            remove(label)
        const steps = Math.max(tickCount - 1, 1)
        for (let tick = 0; tick <= steps; ++tick) {
            const value = min + (max - min) * tick / steps
            append(ChartNumbers.compact(value), value)
        }
    }

    onLargestChanged: fit()
    onPreferredTickCountChanged: fit()
    onWholeUnitsChanged: fit()
    Component.onCompleted: fit()

    startValue: 0
    labelsPosition: CategoryAxis.AxisLabelsPositionOnValue
    titleBrush: Theme.secondaryText
    labelsColor: InsightColors.axisLabel
    gridLineColor: InsightColors.grid
    color: InsightColors.axisLine
    labelsFont.pixelSize: 11
    titleFont.pixelSize: 11
}
