import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import QtCharts
import Strataloom.Style
import Strataloom.Insights

// Commits over the whole indexed history, one bar per day, week or month as the span suits:
// thousands of daily bars over decades would read as noise.
DashboardSection {
    id: section
    property string bucket: "day"
    title: "Activity over time"
    subtitle: "Commits per " + bucket
    symbol: "waveform.path.ecg"
    tint: InsightColors.named("blue")
    EmptyNote {
        visible: !section.insights || section.insights.dailyActivity.length === 0
        text: "No daily activity data"
    }
    ChartView {
        id: activityChart
        objectName: "activityChart"
        readonly property alias countAxis: activityCounts
        visible: !!section.insights && section.insights.dailyActivity.length > 0
        Layout.fillWidth: true
        Layout.preferredHeight: 240
        antialiasing: true
        backgroundColor: "transparent"
        plotAreaColor: "transparent"
        dropShadowEnabled: false
        legend.visible: false
        animationOptions: ChartView.NoAnimation
        margins { left: 0; right: 8; top: 4; bottom: 0 }

        DateTimeAxis {
            id: activityDates
            titleText: "Date"
            titleBrush: Theme.secondaryText
            format: "MMM yyyy"
            tickCount: activityChart.width < 520 ? 3 : 6
            labelsColor: InsightColors.axisLabel
            gridLineColor: InsightColors.grid
            color: InsightColors.axisLine
            labelsFont.pixelSize: 11
            titleFont.pixelSize: 11
        }
        CountAxis {
            id: activityCounts
            titleText: "Commits"
        }
        AreaSeries {
            id: activityArea
            name: "Commits"
            axisX: activityDates
            axisY: activityCounts
            color: InsightColors.named("blue")
            borderColor: InsightColors.named("blue")
            borderWidth: 0.5
            upperSeries: LineSeries { id: activityLine }
        }

        function refill() {
            const range = section.presenter.fillActivityBuckets(activityLine)
            if (range.maxX === undefined)
                return
            section.bucket = range.bucket
            activityDates.min = new Date(range.minX)
            activityDates.max = new Date(range.maxX)
            activityCounts.largest = range.maxCommits
            activityCounts.fit()
        }
        Component.onCompleted: refill()
        Connections {
            target: section.presenter
            function onInsightsChanged() { activityChart.refill() }
        }
        Connections {
            target: Theme
            function onDarkChanged() { activityChart.refill() }
        }
    }
}
