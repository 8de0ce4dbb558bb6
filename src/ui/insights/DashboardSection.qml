import QtQuick
import Strataloom.Insights

// One section of the statistics or insights screen: a panel that reads the open repository's
// insights through the screen's presenter and lays its content out for the screen's width.
SectionPanel {
    required property InsightsPresenter presenter
    /// The width of the screen's column: sections switch between one and two columns by it.
    property real contentWidth: width

    readonly property var appModel: presenter.appModel
    readonly property var insights: appModel ? appModel.analytics.analyticsInsights : null
    readonly property real total: insights ? insights.totalCommits : 0
    readonly property bool wide: contentWidth >= 900
    readonly property int cardColumns: Math.max(2, Math.min(6, Math.floor(contentWidth / 175)))
}
