import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Strataloom.Style
import Strataloom.Insights

// Detailed measurements of the open repository: the summary from git, and everything
// history-wide from the analytics index once its first insights exist.
Item {
    id: screen

    property var appModel
    /// "daily", "monthly" or "yearly": which activity series the chart shows.
    property alias activityPeriod: activitySection.activityPeriod

    readonly property var summary: appModel ? appModel.session.repository : null
    readonly property var insights: presenter.insightsValue
    readonly property var indexState: appModel ? appModel.analytics.analyticsIndexState : null
    readonly property bool indexFailed: !insights && !!indexState && indexState.isFailed
    readonly property real contentWidth: flick.width - 2 * 24

    InsightsPresenter { id: presenter; appModel: screen.appModel }

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

            ScreenHeader {
                title: "Repository Statistics"
                subtitle: "Detailed measurements from Git and the complete local history index."
                contentWidth: screen.contentWidth
                appModel: screen.appModel
                presenter: presenter
                statisticsWording: true
            }

            StatisticsOverviewSection { presenter: presenter; contentWidth: screen.contentWidth }

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

                StatisticsTrendsSection { presenter: presenter; contentWidth: screen.contentWidth }
                StatisticsActivitySection {
                    id: activitySection
                    presenter: presenter
                    contentWidth: screen.contentWidth
                }
                StatisticsAuthorsSection { presenter: presenter; contentWidth: screen.contentWidth }
                StatisticsIntegrationSection { presenter: presenter; contentWidth: screen.contentWidth }
                StatisticsFilesSection { presenter: presenter; contentWidth: screen.contentWidth }
                StatisticsChangesSection { presenter: presenter; contentWidth: screen.contentWidth }
                StatisticsMessagesSection { presenter: presenter; contentWidth: screen.contentWidth }
                StatisticsTechnologySection { presenter: presenter; contentWidth: screen.contentWidth }
            }
        }
    }
}
