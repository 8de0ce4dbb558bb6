import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Strataloom.Style
import Strataloom.Insights

// The state of the analytics index as a small pill in a screen's header. The insights wording
// ("Index ready", "Analysing history…") or the statistics wording ("… indexed", "Indexing").
Rectangle {
    id: badge

    required property var appModel
    required property InsightsPresenter presenter
    property bool statisticsWording: false

    readonly property var state: appModel ? appModel.analytics.analyticsIndexState : null
    readonly property bool indexing: !!state && state.isIndexing
    readonly property bool ready: !!state && state.isReady
    readonly property bool failed: !!state && state.isFailed
    readonly property string titleText: {
        if (indexing)
            return statisticsWording ? "Indexing" : "Analysing history…"
        if (failed)
            return "Index unavailable"
        if (ready)
            return statisticsWording ? presenter.count(state.indexedCommits) + " indexed"
                                     : "Index ready"
        return ""
    }
    readonly property string detailText: {
        // While the first build imports: how far it has come, and the time left once known.
        if (indexing && state.progressTotal > 0)
            return state.progressText + (state.timeLeftText ? " · " + state.timeLeftText : "")
        if (!ready)
            return ""
        if (statisticsWording)
            return state.importedCommits > 0
                    ? presenter.count(state.importedCommits) + " imported now" : ""
        if (state.importedCommits > 0)
            return "+" + presenter.count(state.importedCommits) + " commits · "
                    + presenter.count(state.snapshot.changes || 0) + " changes"
        return presenter.count(state.indexedCommits) + " commits · up to date"
    }
    readonly property color tint: failed ? InsightColors.named("orange")
                                         : ready && !statisticsWording ? InsightColors.named("green")
                                                                       : Theme.secondaryText

    visible: titleText !== ""
    implicitWidth: row.implicitWidth + 20
    implicitHeight: Math.max(row.implicitHeight + 10, 30)
    radius: height / 2
    color: Qt.rgba(tint.r, tint.g, tint.b, Theme.dark ? 0.16 : 0.10)
    border.color: Qt.rgba(tint.r, tint.g, tint.b, 0.35)
    ToolTip.text: failed ? state.message : ""
    ToolTip.visible: failed && hover.hovered
    HoverHandler { id: hover }

    RowLayout {
        id: row
        anchors.centerIn: parent
        spacing: 6
        BusyIndicator {
            visible: badge.indexing
            running: visible
            Layout.preferredWidth: 16
            Layout.preferredHeight: 16
        }
        SymbolIcon {
            visible: badge.failed || (badge.ready && !badge.statisticsWording)
            symbol: badge.failed ? (badge.statisticsWording ? "exclamationmark.triangle"
                                                            : "exclamationmark.triangle.fill")
                                 : "checkmark.circle.fill"
            color: badge.tint
            size: 15
        }
        Label {
            objectName: "badgeTitle"
            text: badge.titleText
            font.pixelSize: 12
            font.weight: Font.DemiBold
            color: badge.failed ? badge.tint : Theme.text
        }
        Label {
            objectName: "badgeDetail"
            visible: text !== ""
            text: badge.detailText
            font.pixelSize: 12
            color: badge.statisticsWording && badge.ready ? InsightColors.named("green")
                                                          : Theme.secondaryText
        }
    }
}
