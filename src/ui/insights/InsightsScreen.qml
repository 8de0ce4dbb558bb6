import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import QtCharts
import Strataloom.Style
import Strataloom.Insights

// The insights dashboard of the open repository: what the analytics index says about its whole
// reachable history, with the observations and risk signals derived from it.
Item {
    id: screen

    property var appModel

    readonly property var insights: appModel ? appModel.analyticsInsights : null
    readonly property bool hasRepository: !!appModel && !!appModel.repository
    readonly property var indexState: appModel ? appModel.analyticsIndexState : null
    /// "noRepository", "indexing", "failed" or "ready".
    readonly property string phase: !hasRepository ? "noRepository"
                                    : insights ? "ready"
                                    : indexState && indexState.isFailed ? "failed" : "indexing"
    readonly property real total: insights ? insights.totalCommits : 0
    readonly property real contentWidth: flick.width - 2 * 24
    readonly property bool wide: contentWidth >= 900

    InsightsPresenter { id: presenter; appModel: screen.appModel }

    function trendSymbol(value) {
        return value >= 0 ? "arrow.up.right.circle.fill" : "arrow.down.right.circle.fill"
    }

    StatePlaceholder {
        objectName: "insightsPlaceholder"
        anchors.fill: parent
        visible: screen.phase !== "ready"
        symbol: screen.phase === "noRepository" ? "folder.badge.plus"
              : screen.phase === "failed" ? "exclamationmark.triangle" : "cylinder.split.1x2"
        title: screen.phase === "noRepository" ? "Open a repository"
             : screen.phase === "failed" ? "Insights unavailable" : "Building repository intelligence"
        text: screen.phase === "noRepository"
              ? "Insights are generated after a repository is indexed."
              : screen.phase === "failed" ? screen.indexState.message
              : "Strataloom is indexing all reachable commits, authors and file changes. Insights will appear automatically."
        busy: screen.phase === "indexing"
        RetryIndexButton { appModel: screen.appModel; visible: screen.phase === "failed" }
    }

    Flickable {
        id: flick
        objectName: "insightsFlick"
        anchors.fill: parent
        visible: screen.phase === "ready"
        contentWidth: width
        contentHeight: page.implicitHeight + 48
        clip: true
        boundsBehavior: Flickable.StopAtBounds
        ScrollBar.vertical: ScrollBar { policy: ScrollBar.AsNeeded }

        ColumnLayout {
            id: page
            x: 24
            y: 24
            width: screen.contentWidth
            spacing: 16

            // Header
            GridLayout {
                Layout.fillWidth: true
                // The badge moves under the title when the column is narrow.
                columns: screen.contentWidth >= 620 ? 2 : 1
                columnSpacing: 12
                rowSpacing: 8
                ColumnLayout {
                    Layout.fillWidth: true
                    spacing: 2
                    Label {
                        Layout.fillWidth: true
                        text: "Repository Insights"
                        font.pixelSize: 24
                        font.weight: Font.Bold
                        color: Theme.text
                        elide: Text.ElideRight
                    }
                    Label {
                        Layout.fillWidth: true
                        text: "Evidence from the complete reachable Git history, calculated locally."
                        color: Theme.secondaryText
                        wrapMode: Text.WordWrap
                    }
                }
                IndexBadge {
                    objectName: "indexBadge"
                    Layout.alignment: Qt.AlignTop
                    appModel: screen.appModel
                    presenter: presenter
                }
            }

            // Metric cards
            GridLayout {
                Layout.fillWidth: true
                columns: screen.contentWidth >= 1100 ? 6 : screen.contentWidth >= 540 ? 3 : 2
                columnSpacing: 10
                rowSpacing: 10
                Repeater {
                    model: screen.insights ? [
                        { title: "Commits", value: presenter.count(screen.total),
                          caption: "reachable on all refs", symbol: "clock.arrow.circlepath", color: "blue" },
                        { title: "Code churn",
                          value: presenter.count(screen.insights.additions + screen.insights.deletions),
                          caption: "+" + presenter.count(screen.insights.additions) + " / −"
                                   + presenter.count(screen.insights.deletions) + " lines",
                          symbol: "arrow.up.arrow.down", color: "purple" },
                        { title: "Merge share", value: presenter.ratio(screen.insights.mergeCommits, screen.total),
                          caption: presenter.count(screen.insights.mergeCommits) + " merge commits",
                          symbol: "arrow.triangle.merge", color: "teal" },
                        { title: "Conventional",
                          value: presenter.ratio(screen.insights.conventionalCommits, screen.total),
                          caption: "typed commit messages", symbol: "text.badge.checkmark", color: "green" },
                        { title: "Reverts", value: presenter.count(screen.insights.revertCommits),
                          caption: presenter.ratio(screen.insights.revertCommits, screen.total) + " of history",
                          symbol: "arrow.uturn.backward.circle", color: "orange" },
                        { title: "Top ownership",
                          value: presenter.percent(screen.insights.topAuthors.length > 0
                                                   ? screen.insights.topAuthors[0].commitShare : 0),
                          caption: screen.insights.topAuthors.length > 0
                                   ? screen.insights.topAuthors[0].name : "No authors",
                          symbol: "person.crop.circle.badge.checkmark", color: "pink" }
                    ] : []
                    delegate: MetricCard {
                        required property var modelData
                        objectName: "metric:" + modelData.title
                        title: modelData.title
                        value: modelData.value
                        caption: modelData.caption
                        symbol: modelData.symbol
                        colorName: modelData.color
                    }
                }
            }

            // Trend tiles
            GridLayout {
                Layout.fillWidth: true
                columns: screen.contentWidth >= 540 ? 3 : 1
                columnSpacing: 10
                rowSpacing: 10
                Repeater {
                    model: screen.insights ? [
                        { title: "Activity trend", value: screen.insights.activityTrendPercent,
                          caption: "Commit volume between history halves" },
                        { title: "Churn trend", value: screen.insights.churnTrendPercent,
                          caption: "Line additions and removals" },
                        { title: "Contributor trend", value: screen.insights.contributorTrendPercent,
                          caption: "Distinct authors in the later half" }
                    ] : []
                    delegate: MetricCard {
                        required property var modelData
                        objectName: "trend:" + modelData.title
                        title: modelData.title
                        value: presenter.signedPercent(modelData.value)
                        caption: modelData.caption
                        symbol: screen.trendSymbol(modelData.value)
                        colorName: modelData.value >= 0 ? "green" : "red"
                    }
                }
            }

            GridLayout {
                Layout.fillWidth: true
                columns: screen.wide ? 2 : 1
                columnSpacing: 16
                rowSpacing: 16

                SectionPanel {
                    Layout.alignment: Qt.AlignTop
                    Layout.preferredWidth: 1
                    title: "Signals worth attention"
                    symbol: "sparkles"
                    tint: InsightColors.named("orange")
                    Repeater {
                        model: presenter.observations
                        delegate: RowLayout {
                            objectName: "observation"
                            required property var modelData
                            readonly property string title: modelData.title
                            Layout.fillWidth: true
                            spacing: 10
                            Rectangle {
                                Layout.alignment: Qt.AlignTop
                                readonly property color tint: InsightColors.named(modelData.color)
                                width: 30; height: 30; radius: 15
                                color: Qt.rgba(tint.r, tint.g, tint.b, 0.16)
                                SymbolIcon {
                                    anchors.centerIn: parent
                                    symbol: modelData.icon
                                    color: parent.tint
                                    size: 17
                                }
                            }
                            ColumnLayout {
                                Layout.fillWidth: true
                                spacing: 1
                                Label {
                                    Layout.fillWidth: true
                                    text: modelData.title
                                    font.weight: Font.DemiBold
                                    color: Theme.text
                                    wrapMode: Text.WordWrap
                                }
                                Label {
                                    Layout.fillWidth: true
                                    text: modelData.detail
                                    color: Theme.secondaryText
                                    font.pixelSize: 12
                                    wrapMode: Text.Wrap
                                }
                            }
                        }
                    }
                }

                SectionPanel {
                    Layout.alignment: Qt.AlignTop
                    Layout.preferredWidth: 1
                    title: "Relative risk signals"
                    symbol: "gauge.with.dots.needle.50percent"
                    tint: InsightColors.named("purple")
                    RiskSignalChart {
                        objectName: "riskChart"
                        riskSignals: presenter.riskSignals
                    }
                }
            }

            SectionPanel {
                title: "Project milestones"
                symbol: "flag.checkered"
                tint: InsightColors.named("green")
                GridLayout {
                    id: milestoneGrid
                    Layout.fillWidth: true
                    columns: Math.max(1, Math.floor(screen.contentWidth / 210))
                    columnSpacing: 10
                    rowSpacing: 10
                    Repeater {
                        model: presenter.milestones
                        delegate: Rectangle {
                            objectName: "milestone"
                            required property var modelData
                            readonly property color tint: InsightColors.named(modelData.color)
                            Layout.fillWidth: true
                            Layout.preferredWidth: 1
                            implicitHeight: 78
                            radius: 10
                            color: Qt.rgba(tint.r, tint.g, tint.b, Theme.dark ? 0.13 : 0.07)
                            border.color: Qt.rgba(tint.r, tint.g, tint.b, 0.3)
                            RowLayout {
                                anchors.fill: parent
                                anchors.margins: 10
                                spacing: 8
                                SymbolIcon {
                                    Layout.alignment: Qt.AlignTop
                                    symbol: modelData.icon
                                    color: parent.parent.tint
                                    size: 20
                                }
                                ColumnLayout {
                                    Layout.fillWidth: true
                                    spacing: 1
                                    MiddleElidedLabel {
                                        Layout.fillWidth: true
                                        text: modelData.title
                                        font.weight: Font.DemiBold
                                        color: Theme.text
                                    }
                                    Label {
                                        Layout.fillWidth: true
                                        text: modelData.detail
                                        font.pixelSize: 11
                                        color: Theme.secondaryText
                                        elide: Text.ElideRight
                                    }
                                    Label {
                                        Layout.fillWidth: true
                                        text: modelData.date
                                        font.pixelSize: 11
                                        color: parent.parent.parent.tint
                                    }
                                }
                            }
                        }
                    }
                }
            }

            SectionPanel {
                title: "Activity over time"
                symbol: "waveform.path.ecg"
                tint: InsightColors.named("blue")
                EmptyNote {
                    visible: !screen.insights || screen.insights.dailyActivity.length === 0
                    text: "No daily activity data"
                }
                ChartView {
                    id: activityChart
                    objectName: "activityChart"
                    visible: !!screen.insights && screen.insights.dailyActivity.length > 0
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
                        upperSeries: LineSeries { id: activityLine }
                    }

                    function refill() {
                        const range = presenter.fillDailyActivity(activityLine)
                        presenter.applyVerticalGradient(activityArea, InsightColors.named("blue"))
                        if (range.maxX === undefined)
                            return
                        activityDates.min = new Date(range.minX)
                        activityDates.max = new Date(range.maxX)
                        activityCounts.largest = range.maxY
                        activityCounts.fit()
                    }
                    Component.onCompleted: refill()
                    Connections {
                        target: presenter
                        function onInsightsChanged() { activityChart.refill() }
                    }
                    Connections {
                        target: Theme
                        function onDarkChanged() { activityChart.refill() }
                    }
                }
            }

            GridLayout {
                Layout.fillWidth: true
                columns: screen.wide ? 2 : 1
                columnSpacing: 16
                rowSpacing: 16

                SectionPanel {
                    Layout.alignment: Qt.AlignTop
                    Layout.preferredWidth: 1
                    title: "Commit taxonomy"
                    symbol: "chart.pie.fill"
                    tint: InsightColors.named("purple")
                    BarChart {
                        objectName: "taxonomyChart"
                        labels: screen.insights ? screen.insights.commitTypes.map(t => t.type) : []
                        sets: screen.insights ? [{ name: "Commits", colorName: "purple",
                                                   values: screen.insights.commitTypes.map(t => t.count) }] : []
                        valueTitle: "Commits"
                        categoryTitle: "Type"
                        emptyText: "No commit messages to classify"
                    }
                }

                SectionPanel {
                    Layout.alignment: Qt.AlignTop
                    Layout.preferredWidth: 1
                    title: "Contributor ownership"
                    symbol: "person.3.fill"
                    tint: InsightColors.named("pink")
                    EmptyNote {
                        visible: !screen.insights || screen.insights.topAuthors.length === 0
                        text: "No contributor data"
                    }
                    Repeater {
                        model: screen.insights ? screen.insights.topAuthors.slice(0, 10) : []
                        delegate: ItemDelegate {
                            id: authorRow
                            objectName: "authorRow"
                            required property var modelData
                            required property int index
                            Layout.fillWidth: true
                            padding: 6
                            hoverEnabled: true
                            // The theme's own hover: the style's row background stays light
                            // on a dark palette.
                            background: Rectangle {
                                radius: 6
                                color: authorRow.down ? Theme.separator : authorRow.hovered ? Theme.hover : "transparent"
                            }
                            onClicked: screen.appModel.openInsightAuthor(modelData.name)
                            contentItem: RowLayout {
                                spacing: 10
                                Rectangle {
                                    width: 8; height: 8; radius: 4
                                    color: InsightColors.paletteColor(authorRow.index)
                                }
                                ColumnLayout {
                                    Layout.fillWidth: true
                                    spacing: 1
                                    MiddleElidedLabel {
                                        Layout.fillWidth: true
                                        text: authorRow.modelData.name
                                        font.weight: Font.DemiBold
                                        color: Theme.text
                                    }
                                    Label {
                                        Layout.fillWidth: true
                                        text: presenter.count(authorRow.modelData.commits) + " commits · "
                                              + presenter.count(authorRow.modelData.additions
                                                                + authorRow.modelData.deletions)
                                              + " lines changed"
                                        font.pixelSize: 11
                                        color: Theme.secondaryText
                                        elide: Text.ElideRight
                                    }
                                }
                                Label {
                                    text: presenter.percent(authorRow.modelData.commitShare)
                                    font.weight: Font.DemiBold
                                    color: InsightColors.named("pink")
                                }
                                SymbolIcon { symbol: "chevron.right"; color: Theme.secondaryText }
                            }
                        }
                    }
                }

                SectionPanel {
                    Layout.alignment: Qt.AlignTop
                    Layout.preferredWidth: 1
                    title: "History hotspots"
                    symbol: "flame.fill"
                    tint: InsightColors.named("orange")
                    EmptyNote {
                        visible: !screen.insights || screen.insights.hotspots.length === 0
                        text: "No file history data"
                    }
                    Repeater {
                        model: screen.insights ? screen.insights.hotspots.slice(0, 10) : []
                        delegate: ItemDelegate {
                            id: hotspotRow
                            objectName: "hotspotRow"
                            required property var modelData
                            required property int index
                            Layout.fillWidth: true
                            padding: 6
                            hoverEnabled: true
                            // The theme's own hover: the style's row background stays light
                            // on a dark palette.
                            background: Rectangle {
                                radius: 6
                                color: hotspotRow.down ? Theme.separator : hotspotRow.hovered ? Theme.hover : "transparent"
                            }
                            onClicked: screen.appModel.openInsightFile(modelData.path)
                            contentItem: RowLayout {
                                spacing: 10
                                SymbolIcon {
                                    symbol: hotspotRow.index < 3 ? "flame.fill" : "doc.text"
                                    color: hotspotRow.index < 3 ? InsightColors.named("orange")
                                                                : Theme.secondaryText
                                    size: 18
                                }
                                ColumnLayout {
                                    Layout.fillWidth: true
                                    spacing: 2
                                    MiddleElidedLabel {
                                        Layout.fillWidth: true
                                        text: hotspotRow.modelData.path
                                        font.weight: Font.DemiBold
                                        color: Theme.text
                                    }
                                    RowLayout {
                                        Layout.fillWidth: true
                                        spacing: 4
                                        SymbolIcon { symbol: "arrow.triangle.2.circlepath"; size: 12; color: Theme.secondaryText }
                                        Label { text: presenter.count(hotspotRow.modelData.changes); font.pixelSize: 11; color: Theme.secondaryText }
                                        SymbolIcon { symbol: "person.2"; size: 12; color: Theme.secondaryText; Layout.leftMargin: 6 }
                                        Label { text: presenter.count(hotspotRow.modelData.authors); font.pixelSize: 11; color: Theme.secondaryText }
                                        Label {
                                            Layout.fillWidth: true
                                            Layout.leftMargin: 6
                                            text: "Last changed " + presenter.shortDate(hotspotRow.modelData.lastChangedAt,
                                                                                        "at an unknown date")
                                            font.pixelSize: 11
                                            color: Theme.secondaryText
                                            elide: Text.ElideRight
                                        }
                                    }
                                }
                                SymbolIcon { symbol: "chevron.right"; color: Theme.secondaryText }
                            }
                        }
                    }
                }

                SectionPanel {
                    Layout.alignment: Qt.AlignTop
                    Layout.preferredWidth: 1
                    title: "Module churn concentration"
                    symbol: "square.3.layers.3d"
                    tint: InsightColors.named("teal")
                    BarChart {
                        objectName: "moduleChart"
                        readonly property var rows: screen.insights ? screen.insights.directories.slice(0, 10) : []
                        labels: rows.map(d => d.path)
                        sets: rows.length ? [{ name: "Churn", colorName: "teal",
                                               values: rows.map(d => d.additions + d.deletions) }] : []
                        valueTitle: "Churn"
                        categoryTitle: "Module"
                        emptyText: "No module history data"
                    }
                }

                SectionPanel {
                    Layout.alignment: Qt.AlignTop
                    Layout.preferredWidth: 1
                    title: "Technology share by churn"
                    symbol: "chevron.left.forwardslash.chevron.right"
                    tint: InsightColors.named("blue")
                    BarChart {
                        objectName: "technologyChart"
                        readonly property var rows: screen.insights ? screen.insights.technologies.slice(0, 10) : []
                        labels: rows.map(t => t.name)
                        sets: rows.length ? [{ name: "Churn", colorName: "blue",
                                               values: rows.map(t => t.additions + t.deletions) }] : []
                        valueTitle: "Churn"
                        categoryTitle: "Technology"
                        emptyText: "No technology data"
                    }
                }

                SectionPanel {
                    Layout.alignment: Qt.AlignTop
                    Layout.preferredWidth: 1
                    title: "Historical coupling"
                    symbol: "link"
                    tint: InsightColors.named("indigo")
                    EmptyNote {
                        visible: !screen.insights || screen.insights.coChanges.length === 0
                        text: "No file pair repeats in at least two commits"
                    }
                    Repeater {
                        model: screen.insights ? screen.insights.coChanges : []
                        delegate: RowLayout {
                            objectName: "couplingRow"
                            required property var modelData
                            Layout.fillWidth: true
                            spacing: 10
                            SymbolIcon { symbol: "link.circle.fill"; color: InsightColors.named("indigo"); size: 18 }
                            ColumnLayout {
                                Layout.fillWidth: true
                                spacing: 0
                                MiddleElidedLabel { Layout.fillWidth: true; text: modelData.firstPath; color: Theme.text; font.pixelSize: 12 }
                                MiddleElidedLabel { Layout.fillWidth: true; text: modelData.secondPath; color: Theme.text; font.pixelSize: 12 }
                            }
                            Label {
                                text: presenter.count(modelData.commits) + " commits"
                                font.pixelSize: 11
                                font.weight: Font.DemiBold
                                color: InsightColors.named("indigo")
                            }
                        }
                    }
                }
            }
        }
    }
}
