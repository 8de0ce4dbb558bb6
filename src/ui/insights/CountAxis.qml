import QtQuick
import QtCharts
import Strataloom.Style

// A value axis for counts, starting at zero and rounded to nice numbers. Its range and ticks are
// worked out again from the largest value and the tick count the chart's width allows whenever
// either changes, so neither new data nor a resize keeps ticks meant for the previous state.
ValueAxis {
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
    }

    onLargestChanged: fit()
    onPreferredTickCountChanged: fit()
    onWholeUnitsChanged: fit()
    Component.onCompleted: fit()

    titleBrush: Theme.secondaryText
    labelFormat: "%.0f"
    labelsColor: InsightColors.axisLabel
    gridLineColor: InsightColors.grid
    color: InsightColors.axisLine
    labelsFont.pixelSize: 11
    titleFont.pixelSize: 11
}
