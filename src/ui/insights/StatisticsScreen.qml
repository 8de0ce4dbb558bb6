import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import QtCharts
import Strataloom.Style
import Strataloom.Insights

// Detailed measurements of the open repository: the summary from git, and everything
// history-wide from the analytics index once its first insights exist.
Item {
    id: screen

    property var appModel
    /// "daily", "monthly" or "yearly": which activity series the chart shows.
    property string activityPeriod: "monthly"

    readonly property var summary: appModel ? appModel.repository : null
    readonly property var insights: appModel ? appModel.analyticsInsights : null
    readonly property var indexState: appModel ? appModel.analyticsIndexState : null
    readonly property bool indexFailed: !insights && !!indexState && indexState.isFailed
    readonly property real total: insights ? insights.totalCommits : 0
    readonly property real contentWidth: flick.width - 2 * 24
    readonly property int cardColumns: Math.max(2, Math.min(6, Math.floor(contentWidth / 175)))
    readonly property bool wide: contentWidth >= 900

    InsightsPresenter { id: presenter; appModel: screen.appModel }

    function trendCard(title, value, caption) {
        return { title: title, value: presenter.signedPercent(value), caption: caption,
                 symbol: value >= 0 ? "arrow.up.right" : "arrow.down.right",
                 color: value >= 0 ? "green" : "red" }
    }

    component CardGrid: GridLayout {
        property var cards: []
        Layout.fillWidth: true
        columns: screen.cardColumns
        columnSpacing: 10
        rowSpacing: 10
        Repeater {
            model: parent.cards
            delegate: MetricCard {
                required property var modelData
                objectName: "card:" + modelData.title
                title: modelData.title
                value: modelData.value
                caption: modelData.caption || ""
                symbol: modelData.symbol
                colorName: modelData.color
            }
        }
    }

    component SubTitle: Label {
        Layout.fillWidth: true
        Layout.topMargin: 6
        font.pixelSize: 13
        font.weight: Font.DemiBold
        color: Theme.text
    }

    component RankedRow: ItemDelegate {
        id: row
        property string symbol
        property color symbolColor: Theme.secondaryText
        property string label
        property string detail
        property string trailing
        property color trailingColor: Theme.secondaryText
        property bool opens: false
        Layout.fillWidth: true
        padding: 4
        hoverEnabled: opens
        down: opens && pressed
        background: Rectangle {
            radius: 6
            color: row.opens && row.hovered ? Theme.separator : "transparent"
        }
        contentItem: RowLayout {
            spacing: 8
            SymbolIcon { symbol: row.symbol; color: row.symbolColor; size: 16; visible: row.symbol !== "" }
            ColumnLayout {
                Layout.fillWidth: true
                spacing: 0
                MiddleElidedLabel { Layout.fillWidth: true; text: row.label; color: Theme.text; font.pixelSize: 12 }
                Label {
                    Layout.fillWidth: true
                    visible: row.detail !== ""
                    text: row.detail
                    color: Theme.secondaryText
                    font.pixelSize: 11
                    elide: Text.ElideRight
                }
            }
            Label { text: row.trailing; color: row.trailingColor; font.pixelSize: 11; font.weight: Font.DemiBold }
            SymbolIcon { visible: row.opens; symbol: "chevron.right"; color: Theme.secondaryText; size: 14 }
        }
    }

    StatePlaceholder {
        anchors.fill: parent
        visible: !screen.summary
        symbol: "folder.badge.plus"
        title: "Open a repository"
        text: "Statistics are shown for the open repository."
    }

    Flickable {
        id: flick
        objectName: "statisticsFlick"
        anchors.fill: parent
        visible: !!screen.summary
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
                        text: "Repository Statistics"
                        font.pixelSize: 24
                        font.weight: Font.Bold
                        color: Theme.text
                        elide: Text.ElideRight
                    }
                    Label {
                        Layout.fillWidth: true
                        text: "Detailed measurements from Git and the complete local history index."
                        color: Theme.secondaryText
                        wrapMode: Text.WordWrap
                    }
                }
                IndexBadge {
                    objectName: "indexBadge"
                    Layout.alignment: Qt.AlignTop
                    appModel: screen.appModel
                    presenter: presenter
                    statisticsWording: true
                }
            }

            // 1. Repository overview: the summary's figures, with the index's where it has them.
            SectionPanel {
                objectName: "section:overview"
                title: "Repository overview"
                symbol: "externaldrive.fill"
                tint: InsightColors.named("blue")
                CardGrid {
                    cards: screen.summary ? [
                        { title: "Commits", value: presenter.count(screen.summary.commitCount),
                          symbol: "clock.arrow.circlepath", color: "blue" },
                        { title: "Authors", value: presenter.count(screen.summary.authorCount),
                          symbol: "person.2.fill", color: "purple" },
                        { title: "Tracked files", value: presenter.count(screen.summary.trackedFileCount),
                          symbol: "doc.on.doc.fill", color: "orange" },
                        { title: "Working tree", value: presenter.bytes(screen.summary.repositorySizeBytes),
                          symbol: "internaldrive", color: "teal" },
                        { title: "Git database", value: presenter.bytes(screen.summary.gitSizeBytes),
                          symbol: "cylinder.split.1x2", color: "indigo" },
                        { title: "Repository age", value: presenter.repositoryAge(screen.summary.firstCommitDate, screen.summary.latestCommitDate),
                          symbol: "calendar", color: "pink" },
                        { title: "First commit", value: presenter.shortDate(screen.summary.firstCommitDate),
                          symbol: "calendar.day.timeline.left", color: "green" },
                        { title: "Latest commit", value: presenter.shortDate(screen.summary.latestCommitDate),
                          symbol: "calendar.badge.checkmark", color: "blue" },
                        { title: "Commits / month", value: presenter.decimal(screen.summary.commitsPerMonth, 1),
                          symbol: "speedometer", color: "purple" },
                        { title: "Longest pause",
                          value: presenter.count(screen.insights ? screen.insights.longestGapDays
                                                                 : screen.summary.longestInactivityDays) + " days",
                          symbol: "calendar.badge.clock", color: "orange" },
                        { title: "Active days",
                          value: screen.insights ? presenter.count(screen.insights.activeDays) : "—",
                          symbol: "chart.bar.fill", color: "teal" },
                        { title: "Peak day",
                          value: screen.insights && screen.insights.peakDay
                                 ? presenter.count(screen.insights.peakDay.commits) + " commits" : "—",
                          caption: screen.insights && screen.insights.peakDay
                                   ? presenter.shortDate(screen.insights.peakDay.date) : "",
                          symbol: "flame.fill", color: "red" }
                    ] : []
                }
            }

            // Until the first insights exist: the index at work, or why it failed and a retry.
            StatePlaceholder {
                objectName: "statisticsPlaceholder"
                Layout.fillWidth: true
                Layout.preferredHeight: 260
                visible: !screen.insights
                symbol: screen.indexFailed ? "exclamationmark.triangle" : "chart.xyaxis.line"
                title: screen.indexFailed ? "Detailed statistics unavailable" : "Building detailed statistics"
                text: screen.indexFailed
                      ? screen.indexState.message
                      : "The complete history is being indexed. Statistics will update automatically."
                busy: !!screen.indexState && screen.indexState.isIndexing
                RetryIndexButton { appModel: screen.appModel; visible: screen.indexFailed }
            }

            ColumnLayout {
                objectName: "historySections"
                Layout.fillWidth: true
                visible: !!screen.insights
                spacing: 16

                // 2. Historical trends
                SectionPanel {
                    objectName: "section:trends"
                    title: "Historical trends"
                    subtitle: "Comparison of equally sized halves of indexed history"
                    symbol: "chart.line.uptrend.xyaxis"
                    tint: InsightColors.named("green")
                    CardGrid {
                        columns: screen.contentWidth >= 540 ? 3 : 1
                        cards: screen.insights ? [
                            screen.trendCard("Commit activity", screen.insights.activityTrendPercent, ""),
                            screen.trendCard("Code churn", screen.insights.churnTrendPercent,
                                             "Added and removed lines across both history halves"),
                            screen.trendCard("Contributors", screen.insights.contributorTrendPercent,
                                             "Distinct contributors in the later half")
                        ] : []
                    }
                }

                // 3. Activity over time
                SectionPanel {
                    objectName: "section:activity"
                    title: "Activity over time"
                    symbol: "waveform.path.ecg"
                    tint: InsightColors.named("blue")
                    // A segmented picker drawn with the theme's colours (the style's tab bar
                    // keeps light buttons on a dark palette).
                    headerExtra: Rectangle {
                        id: periodPicker
                        objectName: "periodPicker"
                        readonly property int currentIndex: ["daily", "monthly", "yearly"].indexOf(screen.activityPeriod)
                        implicitWidth: periodRow.implicitWidth + 4
                        implicitHeight: periodRow.implicitHeight + 4
                        radius: 7
                        color: Theme.separator
                        Row {
                            id: periodRow
                            anchors.centerIn: parent
                            spacing: 2
                            Repeater {
                                model: ["daily", "monthly", "yearly"]
                                delegate: AbstractButton {
                                    id: periodButton
                                    required property string modelData
                                    required property int index
                                    readonly property bool selected: periodPicker.currentIndex === index
                                    objectName: "period:" + modelData
                                    text: modelData
                                    hoverEnabled: true
                                    padding: 4
                                    leftPadding: 12
                                    rightPadding: 12
                                    checkable: false
                                    Accessible.role: Accessible.RadioButton
                                    Accessible.checked: selected
                                    contentItem: Label {
                                        text: periodButton.text
                                        font.pixelSize: Theme.fontCaption + 1
                                        font.weight: periodButton.selected ? Font.DemiBold : Font.Normal
                                        color: periodButton.selected ? Theme.text : Theme.secondaryText
                                        horizontalAlignment: Text.AlignHCenter
                                    }
                                    background: Rectangle {
                                        radius: 5
                                        color: periodButton.selected ? Theme.card
                                               : periodButton.hovered ? Theme.hover : "transparent"
                                        border.color: periodButton.selected ? Theme.cardBorder : "transparent"
                                    }
                                    onClicked: screen.activityPeriod = modelData
                                }
                            }
                        }
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
                            format: screen.activityPeriod === "yearly" ? "yyyy" : "MMM yyyy"
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
                            name: "Orange line: churn"
                            axisX: periodAxis
                            axisYRight: churnAxis
                            color: InsightColors.named("orange")
                            width: 2
                        }

                        function refill() {
                            const range = presenter.fillPeriodSeries(commitOutline, churnLine,
                                                                     screen.activityPeriod)
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
                            target: presenter
                            function onInsightsChanged() { periodChart.refill() }
                        }
                        Connections {
                            target: screen
                            function onActivityPeriodChanged() { periodChart.refill() }
                        }
                    }

                    GridLayout {
                        Layout.fillWidth: true
                        columns: screen.wide ? 2 : 1
                        columnSpacing: 16
                        ColumnLayout {
                            Layout.fillWidth: true
                            Layout.preferredWidth: 1
                            Layout.alignment: Qt.AlignTop
                            SubTitle { text: "Activity by weekday" }
                            BarChart {
                                objectName: "weekdayChart"
                                horizontal: false
                                implicitHeight: 200
                                labels: presenter.weekdayCommits.map(d => d.name)
                                sets: presenter.hasInsights && screen.total > 0
                                      ? [{ name: "Commits", colorName: "blue",
                                           values: presenter.weekdayCommits.map(d => d.commits) }] : []
                                valueTitle: "Commits"
                                categoryTitle: "Weekday"
                                emptyText: "No commits to bucket by weekday"
                            }
                        }
                        ColumnLayout {
                            Layout.fillWidth: true
                            Layout.preferredWidth: 1
                            Layout.alignment: Qt.AlignTop
                            SubTitle { text: "Commit activity — last year" }
                            RepositoryHeatmap {
                                objectName: "heatmap"
                                appModel: screen.appModel
                            }
                        }
                    }
                }

                // 4. Authors and contributors
                SectionPanel {
                    objectName: "section:authors"
                    title: "Authors and contributors"
                    symbol: "person.3.fill"
                    tint: InsightColors.named("purple")
                    CardGrid {
                        columns: screen.contentWidth >= 540 ? 3 : 2
                        cards: screen.insights ? [
                            { title: "Bus factor", value: presenter.count(screen.insights.busFactor),
                              symbol: "person.crop.circle.badge.exclamationmark", color: "pink" },
                            { title: "One-time contributors",
                              value: presenter.count(screen.insights.oneTimeContributors),
                              symbol: "person.badge.clock", color: "orange" },
                            { title: "Top ownership",
                              value: presenter.percent(screen.insights.topAuthors.length
                                                       ? screen.insights.topAuthors[0].commitShare : 0),
                              caption: screen.insights.topAuthors.length
                                       ? screen.insights.topAuthors[0].name : "No authors",
                              symbol: "person.crop.circle.badge.checkmark", color: "purple" }
                        ] : []
                    }
                    GridLayout {
                        Layout.fillWidth: true
                        columns: screen.wide ? 2 : 1
                        columnSpacing: 16
                        ColumnLayout {
                            Layout.fillWidth: true
                            Layout.preferredWidth: 1
                            Layout.alignment: Qt.AlignTop
                            spacing: 2
                            SubTitle {
                                text: "Bus factor: " + (screen.insights ? screen.insights.busFactor : 0)
                            }
                            EmptyNote {
                                visible: !screen.insights || screen.insights.topAuthors.length === 0
                                text: "No contributor data"
                            }
                            Repeater {
                                model: screen.insights ? screen.insights.topAuthors.slice(0, 12) : []
                                delegate: RankedRow {
                                    required property var modelData
                                    objectName: "statisticsAuthorRow"
                                    opens: true
                                    symbol: "person.crop.circle.fill"
                                    symbolColor: InsightColors.named("purple")
                                    label: modelData.name
                                    detail: "+" + presenter.count(modelData.additions) + " · "
                                            + presenter.count(modelData.deletions) + " removed"
                                    trailing: presenter.count(modelData.commits) + " commits"
                                    onClicked: screen.appModel.openInsightAuthor(modelData.name)
                                }
                            }
                        }
                        ColumnLayout {
                            Layout.fillWidth: true
                            Layout.preferredWidth: 1
                            Layout.alignment: Qt.AlignTop
                            SubTitle { text: "E-mail domains" }
                            BarChart {
                                readonly property var rows: screen.insights ? screen.insights.emailDomains : []
                                labels: rows.map(d => d.name)
                                sets: rows.length ? [{ name: "Commits", colorName: "teal",
                                                       values: rows.map(d => d.count) }] : []
                                valueTitle: "Commits"
                                categoryTitle: "Domain"
                                emptyText: "No e-mail domains"
                            }
                        }
                    }
                }

                // 5. Branches and integration
                SectionPanel {
                    objectName: "section:integration"
                    title: "Branches and integration"
                    symbol: "arrow.triangle.merge"
                    tint: InsightColors.named("teal")
                    CardGrid {
                        cards: screen.insights ? [
                            { title: "Local branches", value: presenter.count(screen.insights.localBranches),
                              symbol: "arrow.triangle.branch", color: "blue" },
                            { title: "Remote branches", value: presenter.count(screen.insights.remoteBranches),
                              symbol: "network", color: "indigo" },
                            { title: "Merge commits", value: presenter.count(screen.insights.mergeCommits),
                              symbol: "arrow.triangle.merge", color: "teal" },
                            { title: "Merge share", value: presenter.ratio(screen.insights.mergeCommits, screen.total),
                              symbol: "percent", color: "green" },
                            { title: "Reverts", value: presenter.count(screen.insights.revertCommits),
                              symbol: "arrow.uturn.backward.circle", color: "orange" },
                            { title: "Tags / releases", value: presenter.count(screen.insights.tagCount),
                              symbol: "tag.fill", color: "purple" }
                        ] : []
                    }
                    GridLayout {
                        Layout.fillWidth: true
                        columns: screen.wide ? 2 : 1
                        columnSpacing: 16
                        ColumnLayout {
                            Layout.fillWidth: true
                            Layout.preferredWidth: 1
                            Layout.alignment: Qt.AlignTop
                            RowLayout {
                                SymbolIcon { symbol: "arrow.triangle.branch"; color: InsightColors.named("blue") }
                                SubTitle { text: "Branch activity"; Layout.topMargin: 0 }
                            }
                            BarChart {
                                objectName: "branchChart"
                                // Branches by the year of their tip, local and remote stacked.
                                readonly property var years: {
                                    const result = {}
                                    const branches = screen.insights ? screen.insights.branches : []
                                    for (const branch of branches) {
                                        const year = branch.lastCommitAt
                                                ? String(new Date(branch.lastCommitAt).getUTCFullYear()) : "Unknown"
                                        if (!result[year]) result[year] = [0, 0]
                                        result[year][branch.isRemote ? 1 : 0] += 1
                                    }
                                    return result
                                }
                                readonly property var keys: Object.keys(years).sort()
                                horizontal: false
                                stacked: true
                                implicitHeight: 220
                                labels: keys
                                sets: keys.length ? [
                                    { name: "Local", colorName: "blue", values: keys.map(k => years[k][0]) },
                                    { name: "Remote", colorName: "cyan", values: keys.map(k => years[k][1]) }
                                ] : []
                                valueTitle: "Branches"
                                categoryTitle: "Last commit"
                                emptyText: "No branches in indexed refs"
                            }
                        }
                        ColumnLayout {
                            Layout.fillWidth: true
                            Layout.preferredWidth: 1
                            Layout.alignment: Qt.AlignTop
                            spacing: 2
                            SubTitle { text: "Release timeline" }
                            EmptyNote {
                                visible: !screen.insights || screen.insights.tags.length === 0
                                text: "No tags in indexed refs"
                            }
                            Repeater {
                                // Newest first; the rest is in the tags section.
                                model: screen.insights ? screen.insights.tags.slice(-10).reverse() : []
                                delegate: RankedRow {
                                    required property var modelData
                                    symbol: "tag.fill"
                                    symbolColor: InsightColors.named("purple")
                                    label: modelData.name
                                    trailing: presenter.shortDate(modelData.commitAt)
                                }
                            }
                        }
                    }
                }

                // 6. Files and directories
                SectionPanel {
                    objectName: "section:files"
                    title: "Files and directories"
                    symbol: "folder.fill"
                    tint: InsightColors.named("orange")
                    CardGrid {
                        columns: Math.min(screen.cardColumns, 4)
                        cards: screen.insights ? [
                            { title: "Added records", value: presenter.count(screen.insights.filesAdded),
                              symbol: "doc.badge.plus", color: "green" },
                            { title: "Deleted records", value: presenter.count(screen.insights.filesDeleted),
                              symbol: "doc.badge.minus", color: "red" },
                            { title: "Renames", value: presenter.count(screen.insights.filesRenamed),
                              symbol: "arrow.left.arrow.right", color: "blue" },
                            { title: "Binary files", value: presenter.count(screen.insights.binaryFiles),
                              symbol: "doc.zipper", color: "orange" }
                        ] : []
                    }
                    GridLayout {
                        Layout.fillWidth: true
                        columns: screen.wide ? 2 : 1
                        columnSpacing: 16
                        ColumnLayout {
                            Layout.fillWidth: true
                            Layout.preferredWidth: 1
                            Layout.alignment: Qt.AlignTop
                            SubTitle { text: "Most active modules" }
                            BarChart {
                                readonly property var rows: screen.insights ? screen.insights.directories.slice(0, 10) : []
                                labels: rows.map(d => d.path)
                                sets: rows.length ? [{ name: "Changes", colorName: "orange",
                                                       values: rows.map(d => d.changes) }] : []
                                valueTitle: "Changes"
                                categoryTitle: "Directory"
                                emptyText: "No module history data"
                            }
                        }
                        ColumnLayout {
                            Layout.fillWidth: true
                            Layout.preferredWidth: 1
                            Layout.alignment: Qt.AlignTop
                            spacing: 2
                            SubTitle { text: "File hotspots" }
                            EmptyNote {
                                visible: !screen.insights || screen.insights.hotspots.length === 0
                                text: "No file history data"
                            }
                            Repeater {
                                model: screen.insights ? screen.insights.hotspots.slice(0, 10) : []
                                delegate: RankedRow {
                                    required property var modelData
                                    required property int index
                                    objectName: "statisticsHotspotRow"
                                    opens: true
                                    symbol: index < 3 ? "flame.fill" : "doc.text"
                                    symbolColor: index < 3 ? InsightColors.named("orange") : Theme.secondaryText
                                    label: modelData.path
                                    trailing: presenter.count(modelData.changes) + " changes"
                                    onClicked: screen.appModel.openInsightFile(modelData.path)
                                }
                            }
                        }
                    }
                }

                // 7. Changes
                SectionPanel {
                    objectName: "section:changes"
                    title: "Changes"
                    symbol: "plusminus"
                    tint: InsightColors.named("purple")
                    CardGrid {
                        cards: screen.insights ? [
                            { title: "Lines added", value: presenter.count(screen.insights.additions),
                              symbol: "plus", color: "green" },
                            { title: "Lines removed", value: presenter.count(screen.insights.deletions),
                              symbol: "minus", color: "red" },
                            { title: "Net change",
                              value: presenter.count(screen.insights.additions - screen.insights.deletions),
                              symbol: "equal", color: "blue" },
                            { title: "Code churn",
                              value: presenter.count(screen.insights.additions + screen.insights.deletions),
                              symbol: "arrow.up.arrow.down", color: "purple" },
                            { title: "Average commit",
                              value: presenter.decimal(screen.insights.averageCommitChurn, 1),
                              caption: "lines per commit", symbol: "scalemass", color: "teal" },
                            { title: "Wide commits", value: presenter.count(screen.insights.wideCommits),
                              caption: "10 or more files", symbol: "rectangle.3.group.bubble.left.fill",
                              color: "orange" },
                            { title: "Without changes",
                              value: presenter.count(screen.insights.commitsWithoutChanges),
                              caption: "commits touching no file", symbol: "circle.dashed", color: "gray" }
                        ] : []
                    }
                    SubTitle { text: "Largest commits" }
                    EmptyNote {
                        visible: !screen.insights || screen.insights.largestCommits.length === 0
                        text: "No commits with line changes"
                    }
                    Repeater {
                        model: screen.insights ? screen.insights.largestCommits : []
                        delegate: RankedRow {
                            required property var modelData
                            symbol: "arrow.up.arrow.down"
                            symbolColor: InsightColors.named("purple")
                            label: modelData.subject
                            detail: (modelData.author || "Unknown") + " · "
                                    + presenter.shortDate(modelData.date) + " · "
                                    + presenter.count(modelData.files) + " files"
                            trailing: "+" + presenter.count(modelData.additions) + " / −"
                                      + presenter.count(modelData.deletions)
                        }
                    }
                }

                // 8. Commit messages
                SectionPanel {
                    objectName: "section:messages"
                    title: "Commit messages"
                    symbol: "text.quote"
                    tint: InsightColors.named("green")
                    CardGrid {
                        columns: screen.contentWidth >= 540 ? 3 : 2
                        cards: screen.insights ? [
                            { title: "Conventional",
                              value: presenter.ratio(screen.insights.conventionalCommits, screen.total),
                              symbol: "text.badge.checkmark", color: "green" },
                            { title: "Average length",
                              value: presenter.decimal(screen.insights.averageSubjectLength, 1),
                              caption: "characters per subject", symbol: "textformat.size", color: "blue" },
                            { title: "Very short", value: presenter.count(screen.insights.shortMessages),
                              caption: "subjects under 10 characters", symbol: "text.badge.xmark",
                              color: "orange" }
                        ] : []
                    }
                    GridLayout {
                        Layout.fillWidth: true
                        columns: screen.wide ? 2 : 1
                        columnSpacing: 16
                        ColumnLayout {
                            Layout.fillWidth: true
                            Layout.preferredWidth: 1
                            Layout.alignment: Qt.AlignTop
                            SubTitle { text: "Commit taxonomy" }
                            BarChart {
                                readonly property var rows: screen.insights ? screen.insights.commitTypes : []
                                labels: rows.map(t => t.type)
                                sets: rows.length ? [{ name: "Commits", colorName: "green",
                                                       values: rows.map(t => t.count) }] : []
                                valueTitle: "Commits"
                                categoryTitle: "Type"
                                emptyText: "No commit messages to classify"
                            }
                        }
                        ColumnLayout {
                            Layout.fillWidth: true
                            Layout.preferredWidth: 1
                            Layout.alignment: Qt.AlignTop
                            SubTitle { text: "Frequent descriptive words" }
                            EmptyNote {
                                visible: !screen.insights || screen.insights.commonWords.length === 0
                                text: "No descriptive words yet"
                            }
                            Flow {
                                Layout.fillWidth: true
                                spacing: 6
                                Repeater {
                                    model: screen.insights ? screen.insights.commonWords : []
                                    delegate: Rectangle {
                                        required property var modelData
                                        readonly property color tint: InsightColors.named("green")
                                        width: chip.implicitWidth + 16
                                        height: 26
                                        radius: 13
                                        color: Qt.rgba(tint.r, tint.g, tint.b, Theme.dark ? 0.18 : 0.1)
                                        Label {
                                            id: chip
                                            anchors.centerIn: parent
                                            text: modelData.name + "  " + presenter.count(modelData.count)
                                            font.pixelSize: 12
                                            color: Theme.text
                                        }
                                    }
                                }
                            }
                        }
                    }
                }

                // 9. Technology and coupling
                SectionPanel {
                    objectName: "section:technology"
                    title: "Technology and coupling"
                    symbol: "chevron.left.forwardslash.chevron.right"
                    tint: InsightColors.named("cyan")
                    GridLayout {
                        Layout.fillWidth: true
                        columns: screen.wide ? 2 : 1
                        columnSpacing: 16
                        ColumnLayout {
                            Layout.fillWidth: true
                            Layout.preferredWidth: 1
                            Layout.alignment: Qt.AlignTop
                            SubTitle { text: "Technology churn" }
                            BarChart {
                                readonly property var rows: screen.insights ? screen.insights.technologies.slice(0, 10) : []
                                labels: rows.map(t => t.name)
                                stacked: true
                                showLegend: rows.length > 0
                                sets: rows.length ? [
                                    { name: "Added", colorName: "cyan", values: rows.map(t => t.additions) },
                                    { name: "Removed", colorName: "blue", values: rows.map(t => t.deletions) }
                                ] : []
                                valueTitle: "Churn"
                                categoryTitle: "Technology"
                                emptyText: "No technology data"
                            }
                        }
                        ColumnLayout {
                            Layout.fillWidth: true
                            Layout.preferredWidth: 1
                            Layout.alignment: Qt.AlignTop
                            spacing: 2
                            SubTitle { text: "Files commonly changed together" }
                            EmptyNote {
                                visible: !screen.insights || screen.insights.coChanges.length === 0
                                text: "No file pair appears together in at least two commits"
                            }
                            Repeater {
                                model: screen.insights ? screen.insights.coChanges.slice(0, 10) : []
                                delegate: RankedRow {
                                    required property var modelData
                                    symbol: "link"
                                    symbolColor: InsightColors.named("indigo")
                                    label: modelData.firstPath
                                    detail: modelData.secondPath
                                    trailing: presenter.count(modelData.commits) + " commits"
                                }
                            }
                        }
                    }
                }
            }
        }
    }
}
