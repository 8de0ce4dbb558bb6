import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import QtCharts
import Strataloom.Style
import Strataloom.Insights

// Commits and churn per day, month or year, the weekday totals and the last year's heatmap.
DashboardSection {
    id: section

    /// "daily", "monthly" or "yearly": which activity series the chart shows.
    property string activityPeriod: "monthly"

    objectName: "section:activity"
    title: "Activity over time"
    symbol: "waveform.path.ecg"
    tint: InsightColors.named("blue")
    headerExtra: PeriodPicker {
        objectName: "periodPicker"
        period: section.activityPeriod
        onChosen: period => section.activityPeriod = period
    }

    SubTitle { text: "Commits and churn" }
    EmptyNote {
        visible: periodChart.plottedPeriods === 0
        text: "No activity in the indexed history"
    }
    ChartView {
        id: periodChart
        objectName: "periodChart"
        property int plottedPeriods: 0
        readonly property alias commitsAxis: commitsAxis
        visible: plottedPeriods > 0
        Layout.fillWidth: true
        Layout.preferredHeight: 280
        antialiasing: true
        backgroundColor: "transparent"
        plotAreaColor: "transparent"
        dropShadowEnabled: false
        animationOptions: ChartView.NoAnimation
        legend.alignment: Qt.AlignBottom
        legend.labelColor: Theme.text
        margins { left: 0; right: 0; top: 4; bottom: 0 }

        DateTimeAxis {
            id: periodAxis
            titleText: "Period"
            titleBrush: Theme.secondaryText
            format: section.activityPeriod === "yearly" ? "yyyy" : "MMM yyyy"
            tickCount: periodChart.width < 520 ? 3 : 6
            labelsColor: InsightColors.axisLabel
            gridLineColor: InsightColors.grid
            color: InsightColors.axisLine
            labelsFont.pixelSize: 11
            titleFont.pixelSize: 11
        }
        CountAxis {
            id: commitsAxis
            titleText: "Commits"
        }
        CountAxis {
            id: churnAxis
            titleText: "Churn"
            wholeUnits: false
            gridVisible: false
            labelsColor: InsightColors.named("orange")
        }
        AreaSeries {
            id: commitBars
            name: "Commits"
            axisX: periodAxis
            axisY: commitsAxis
            color: InsightColors.named("blue")
            borderColor: InsightColors.named("blue")
            borderWidth: 0.5
            upperSeries: LineSeries { id: commitOutline }
        }
        LineSeries {
            id: churnLine
            name: "Churn (lines added and removed)"
            axisX: periodAxis
            axisYRight: churnAxis
            color: InsightColors.named("orange")
            width: 2
        }

        function refill() {
            const range = section.presenter.fillPeriodSeries(commitOutline, churnLine,
                                                             section.activityPeriod)
            plottedPeriods = commitOutline.count / 4
            if (range.maxX === undefined)
                return
            periodAxis.min = new Date(range.minX)
            periodAxis.max = new Date(range.maxX)
            commitsAxis.largest = range.maxCommits
            commitsAxis.fit()
            churnAxis.largest = range.maxChurn
            churnAxis.fit()
            // A thin line reads better than a marker-sized one over thousands of days.
            churnLine.width = plottedPeriods > 400 ? 1 : 2
        }
        Component.onCompleted: refill()
        Connections {
            target: section.presenter
            function onInsightsChanged() { periodChart.refill() }
        }
        Connections {
            target: section
            function onActivityPeriodChanged() { periodChart.refill() }
        }
    }

    GridLayout {
        Layout.fillWidth: true
        columns: section.wide ? 2 : 1
        columnSpacing: 16
        SectionColumn {
            SubTitle { text: "Activity by weekday" }
            BarChart {
                objectName: "weekdayChart"
                horizontal: false
                implicitHeight: 200
                labels: section.presenter.weekdayCommits.map(d => d.name)
                sets: section.presenter.hasInsights && section.total > 0
                      ? [{ name: "Commits", colorName: "blue",
                           values: section.presenter.weekdayCommits.map(d => d.commits) }] : []
                valueTitle: "Commits"
                categoryTitle: "Weekday"
                emptyText: "No commits to bucket by weekday"
            }
        }
        SectionColumn {
            SubTitle { text: "Commit activity — last year" }
            RepositoryHeatmap {
                objectName: "heatmap"
                appModel: section.appModel
            }
        }
    }
}
