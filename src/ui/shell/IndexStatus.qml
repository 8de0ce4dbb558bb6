import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Strataloom.Style

// A compact indicator of the analytics index: indexing (with how many commits a first build's
// walk has found, then how far the import has come and the time it may still take, once known), how many commits are indexed, or that the index is
// unavailable (the reason as the help text). Shows nothing while idle.
Control {
    id: status

    required property var appModel
    readonly property var state: appModel.analytics.analyticsIndexState
    readonly property bool showsProgress: state.isIndexing && state.progressTotal > 0

    readonly property string text: state.isIndexing
                                   ? "Indexing" + (state.progressText
                                                   ? (showsProgress ? " " : " \u00b7 ") + state.progressText : "")
                                     + (state.timeLeftText ? " \u00b7 " + state.timeLeftText : "")
                                 : state.isReady ? count(state.indexedCommits) + " indexed"
                                 : state.isFailed ? "Index unavailable" : ""
    readonly property string helpText: state.isReady
                                       ? (state.importedCommits < 1 ? "Analytics index is up to date"
                                                                    : "Imported " + count(state.importedCommits) + " new commits")
                                       : state.isFailed ? state.message : ""

    // Counts with the locale's grouping, as everywhere else ("85,361 indexed").
    function count(value) { return Number(value || 0).toLocaleString(Qt.locale(), "f", 0) }

    visible: text !== ""
    hoverEnabled: true
    leftPadding: 10
    rightPadding: 10
    topPadding: 4
    bottomPadding: 4
    ToolTip.visible: hovered && helpText !== ""
    ToolTip.text: helpText
    ToolTip.delay: 300
    Accessible.name: text
    Accessible.description: helpText

    background: Rectangle {
        radius: height / 2
        color: status.state.isFailed ? Theme.tint(Theme.warning) : Theme.hover
    }

    contentItem: RowLayout {
        spacing: 6
        BusyIndicator {
            objectName: "indexBusy"
            visible: status.state.isIndexing && !status.showsProgress
            running: visible
            implicitWidth: 16
            implicitHeight: 16
            padding: 0
        }
        ProgressBar {
            objectName: "indexProgress"
            visible: status.showsProgress
            from: 0
            to: Math.max(status.state.progressTotal, 1)
            value: status.state.progressCommits
            implicitWidth: 72
            Layout.alignment: Qt.AlignVCenter
        }
        SymbolIcon {
            visible: !status.state.isIndexing
            symbol: "cylinder.split.1x2.fill"
            size: 15
            color: status.state.isFailed ? Theme.warning : Theme.secondaryText
        }
        Label {
            text: status.text
            font.pixelSize: Theme.fontCaption + 1
            color: status.state.isFailed ? Theme.warning : Theme.secondaryText
        }
    }
}
