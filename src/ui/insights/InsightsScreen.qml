import QtQuick
import QtQuick.Controls
import QtQuick.Dialogs
import QtQuick.Layouts
import Strataloom.Style
import Strataloom.Insights

// The insights dashboard of the open repository: what the analytics index says about its whole
// reachable history, with the observations and risk signals derived from it.
Item {
    id: screen

    property var appModel

    readonly property var insights: presenter.insightsValue
    readonly property bool hasRepository: !!appModel && !!appModel.session.repository
    readonly property var indexState: appModel ? appModel.analytics.analyticsIndexState : null
    /// "noRepository", "indexing", "failed" or "ready".
    readonly property string phase: !hasRepository ? "noRepository"
                                    : insights ? "ready"
                                    : indexState && indexState.isFailed ? "failed" : "indexing"
    readonly property real contentWidth: flick.width - 2 * 24
    readonly property bool wide: contentWidth >= 900

    InsightsPresenter { id: presenter; appModel: screen.appModel }

    InsightOptionsSheet {
        id: optionsSheet
        objectName: "insightOptionsSheet"
        appModel: screen.appModel
        parent: Overlay.overlay
        x: parent ? (parent.width - width) / 2 : 0
        y: 80
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

    FileDialog {
        id: reportDialog
        title: "Export Report"
        fileMode: FileDialog.SaveFile
        nameFilters: ["HTML files (*.html)", "All files (*)"]
        onAccepted: presenter.exportReport(selectedFile)
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

            RowLayout {
                Layout.fillWidth: true
                spacing: 12
                ScreenHeader {
                    title: "Repository Insights"
                    subtitle: "Evidence from the complete reachable Git history, calculated locally."
                    contentWidth: screen.contentWidth - optionsButton.implicitWidth - 12
                    appModel: screen.appModel
                    presenter: presenter
                }
                SymbolButton {
                    id: optionsButton
                    objectName: "insightOptionsButton"
                    Layout.alignment: Qt.AlignTop
                    symbol: "slider.horizontal.3"
                    text: screen.appModel && screen.appModel.analytics.insightOptions.asRecorded
                          ? "As recorded" : "Corrections"
                    toolTip: "How the insights read the history"
                    onClicked: optionsSheet.open()
                }
            }

            // Sharing what the screen shows: one HTML page with the statistics and insights.
            RowLayout {
                Layout.fillWidth: true
                spacing: Theme.spacing
                Item { Layout.fillWidth: true }
                Label {
                    objectName: "reportExportMessage"
                    Layout.maximumWidth: 360
                    visible: text !== ""
                    text: presenter.reportExport.message
                    elide: Text.ElideMiddle
                    font.pixelSize: 12
                    color: presenter.reportExport.failed ? Theme.danger : Theme.secondaryText
                }
                BusyIndicator {
                    visible: presenter.reportExport.busy
                    running: visible
                    implicitWidth: 20
                    implicitHeight: 20
                    padding: 0
                }
                SymbolButton {
                    objectName: "exportReportButton"
                    symbol: "doc.text"
                    text: "Export Report…"
                    toolTip: "One HTML page with these insights and the statistics"
                    enabled: !presenter.reportExport.busy
                    onClicked: {
                        // Suggest a name in the folder the dialog opens on.
                        if (String(reportDialog.currentFolder) !== "")
                            reportDialog.selectedFile = reportDialog.currentFolder + "/"
                                    + presenter.suggestedReportName()
                        reportDialog.open()
                    }
                }
            }

            InsightsHeadlineFigures { presenter: presenter; contentWidth: screen.contentWidth }

            GridLayout {
                Layout.fillWidth: true
                columns: screen.wide ? 2 : 1
                columnSpacing: 16
                rowSpacing: 16
                InsightsSignalsSection { presenter: presenter; contentWidth: screen.contentWidth }
                InsightsRiskSection { presenter: presenter; contentWidth: screen.contentWidth }
            }

            InsightsMilestonesSection { presenter: presenter; contentWidth: screen.contentWidth }
            InsightsActivitySection { presenter: presenter; contentWidth: screen.contentWidth }

            GridLayout {
                Layout.fillWidth: true
                columns: screen.wide ? 2 : 1
                columnSpacing: 16
                rowSpacing: 16
                InsightsTaxonomySection { presenter: presenter; contentWidth: screen.contentWidth }
                InsightsOwnershipSection { presenter: presenter; contentWidth: screen.contentWidth }
                InsightsHotspotsSection { presenter: presenter; contentWidth: screen.contentWidth }
                InsightsModulesSection { presenter: presenter; contentWidth: screen.contentWidth }
                InsightsTechnologySection { presenter: presenter; contentWidth: screen.contentWidth }
                InsightsCouplingSection { presenter: presenter; contentWidth: screen.contentWidth }
            }
        }
    }
}
