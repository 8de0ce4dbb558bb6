import QtQuick
import Strataloom.Insights

// One section of the statistics or insights screen: a panel that reads the open repository's
// insights through the screen's presenter and lays its content out for the screen's width.
SectionPanel {
    id: section

    required property InsightsPresenter presenter
    /// The width of the screen's column: sections switch between one and two columns by it.
    property real contentWidth: width

    readonly property var appModel: presenter.appModel
    /// The insights the section shows. New ones that replace shown ones (another reading of the
    /// history, a refresh) reach the sections of a screen one after the other, higher ones first,
    /// so that the screen is rebuilt over several frames rather than in one that freezes the
    /// window; the first ones are shown at once.
    property var insights: null
    readonly property real total: insights ? insights.totalCommits : 0
    readonly property bool wide: contentWidth >= 900
    readonly property int cardColumns: Math.max(2, Math.min(6, Math.floor(contentWidth / 175)))

    function currentInsights() { return presenter.insightsValue }

    Component.onCompleted: insights = currentInsights()

    Connections {
        target: section.presenter
        // One section takes new insights when its turn comes; the presenter makes their script
        // object once for the whole screen.
        function onInsightsChanged() {
            if (section.insights)
                staged.restart()
            else
                section.insights = section.currentInsights()
        }
    }
    Timer {
        id: staged
        // The place on the screen decides the turn: about a frame per 100 pixels down.
        interval: 1 + Math.min(600, Math.max(0, section.y + (section.parent ? section.parent.y : 0)) / 6)
        onTriggered: section.insights = section.currentInsights()
    }
}
