import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import QtCharts
import Strataloom.Style

// A bar chart of a few named values (horizontal by default), or the empty text when there is
// nothing to draw. Long category names are shortened in the middle; hovering a bar shows the full
// name and value.
Item {
    id: root

    /// Category names, one per bar position.
    property var labels: []
    /// [{name, values, colorName}]: one entry per series of bars.
    property var sets: []
    property bool horizontal: true
    property bool stacked: false
    property string valueTitle
    property string categoryTitle
    property string emptyText
    property bool showLegend: sets.length > 1
    property int maxLabelLength: 22
    readonly property bool empty: labels.length === 0 || sets.length === 0
    readonly property alias chart: chart
    readonly property alias valueAxis: valueAxis

    Layout.fillWidth: true
    implicitHeight: empty ? note.implicitHeight
                          : horizontal ? 70 + labels.length * (stacked || sets.length < 2 ? 26 : 38)
                                                  + (showLegend ? 24 : 0)
                                       : 240

    function shortened(text) {
        const value = String(text)
        if (value.length <= maxLabelLength)
            return value
        const keep = Math.floor((maxLabelLength - 1) / 2)
        return value.slice(0, keep) + "…" + value.slice(value.length - keep)
    }

    function rebuild() {
        chart.removeAllSeries()
        if (empty)
            return
        let maximum = 0
        for (const set of sets) {
            for (let i = 0; i < set.values.length; ++i) {
                if (stacked) {
                    let sum = 0
                    for (const other of sets) sum += other.values[i] || 0
                    maximum = Math.max(maximum, sum)
                } else {
                    maximum = Math.max(maximum, set.values[i])
                }
            }
        }
        // Horizontal charts draw their first category at the bottom: reverse so the list reads
        // from the top.
        const order = labels.map((_, i) => horizontal ? labels.length - 1 - i : i)
        categoryAxis.categories = order.map(i => shortened(labels[i]))
        valueAxis.largest = maximum
        valueAxis.fit()
        const type = horizontal
            ? (stacked ? ChartView.SeriesTypeStackedBar : ChartView.SeriesTypeHorizontalBar)
            : (stacked ? ChartView.SeriesTypeStackedBar : ChartView.SeriesTypeBar)
        const series = horizontal
            ? chart.createSeries(stacked ? ChartView.SeriesTypeHorizontalStackedBar : type, "",
                                 valueAxis, categoryAxis)
            : chart.createSeries(type, "", categoryAxis, valueAxis)
        series.barWidth = sets.length > 1 && !stacked ? 0.8 : 0.65
        for (let index = 0; index < sets.length; ++index) {
            const set = sets[index]
            const barSet = series.append(set.name, order.map(i => set.values[i]))
            const tint = InsightColors.named(set.colorName || InsightColors.palette[index])
            barSet.color = tint
            barSet.borderColor = tint
        }
        series.hovered.connect(function(status, position, barSet) {
            if (status) {
                const label = root.labels[root.horizontal ? root.labels.length - 1 - position : position]
                tip.text = label + ": "
                        + Number(barSet.at(position)).toLocaleString(Qt.locale(), "f", 0)
                        + (root.sets.length > 1 ? " (" + barSet.label + ")" : "")
                tip.visible = true
            } else {
                tip.visible = false
            }
        })
    }

    onLabelsChanged: Qt.callLater(rebuild)
    onSetsChanged: Qt.callLater(rebuild)
    Component.onCompleted: rebuild()
    // The bars take their colours when built: build them again when the appearance changes.
    Connections {
        target: Theme
        function onDarkChanged() { Qt.callLater(root.rebuild) }
    }

    EmptyNote {
        id: note
        anchors.left: parent.left
        anchors.right: parent.right
        visible: root.empty
        text: root.emptyText
    }

    ChartView {
        id: chart
        anchors.fill: parent
        visible: !root.empty
        antialiasing: true
        backgroundColor: "transparent"
        plotAreaColor: "transparent"
        backgroundRoundness: 0
        dropShadowEnabled: false
        margins { left: 0; right: 4; top: 0; bottom: 0 }
        legend.visible: root.showLegend
        legend.alignment: Qt.AlignBottom
        legend.labelColor: Theme.text
        animationOptions: ChartView.NoAnimation

        CountAxis {
            id: valueAxis
            titleText: root.valueTitle
            preferredTickCount: root.width < 420 ? 3 : 5
            minorGridVisible: false
        }
        BarCategoryAxis {
            id: categoryAxis
            titleText: root.categoryTitle
            titleBrush: Theme.secondaryText
            labelsColor: Theme.text
            gridVisible: false
            color: InsightColors.axisLine
            labelsFont.pixelSize: 11
            titleFont.pixelSize: 11
        }
    }

    ToolTip { id: tip; parent: chart; x: 8; y: 8 }
}
