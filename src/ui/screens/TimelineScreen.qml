import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Strataloom.Style
import Strataloom.Screens
import "RowKeys.js" as RowKeys

// The commit graph over all refs: lanes, joins and commit dots on the left, then the commit
// with its refs as badges. Once the index is ready, the whole history, one row per commit, read
// a page at a time as the list scrolls; until then git's drawing of the latest lines, one row
// per line of it. Rows take one line per commit or two, as the header's toggle says.
Item {
    id: screen

    property var appModel

    readonly property var timeline: appModel ? appModel.timeline : null
    // The index's rows once they are counted; git's window until then (and when the index fails).
    readonly property bool fromIndex: !!timeline && timeline.isAvailable && timeline.count > 0
    readonly property var graphModel: fromIndex ? timeline : appModel ? appModel.session.graphCommits : null
    readonly property bool oneLine: appModel ? appModel.timelineOneLine : true
    readonly property int commitHeight: oneLine ? 26 : 46
    readonly property string selectedHash: appModel && appModel.selection.selectedCommit
                                           ? appModel.selection.selectedCommit.id : ""

    // Shows the commit of the index's row in the inspector.
    function selectRow(row) {
        const commit = timeline.commitAt(row)
        if (commit.id !== undefined)
            appModel.selection.selectCommit(commit)
    }
    readonly property var laneColors: [Theme.named("blue"), Theme.named("purple"), Theme.named("teal"),
        Theme.named("orange"), Theme.named("pink"), Theme.named("green"), Theme.named("indigo"),
        Theme.named("cyan")]
    // Remote names, to tell "origin/main" (a remote branch) from "feature/x" (a local one).
    readonly property var remoteNames: {
        const names = []
        const branches = appModel ? appModel.session.branches : null
        if (!branches)
            return names
        for (let i = 0; i < branches.count; ++i) {
            const branch = branches.get(i)
            if (branch.isRemote) {
                const remote = String(branch.name).split("/")[0]
                if (names.indexOf(remote) < 0)
                    names.push(remote)
            }
        }
        return names
    }

    // The index's rows share one graph column, fitted to the widest of the rows in view, so
    // that lines join and the texts of neighbouring rows line up. In a busy region the lanes
    // beyond what fits are packed closer rather than pushing the commits' texts aside.
    property int widestColumns: 0
    readonly property real laneGraphWidth: list.width * 0.25
    function measureColumns() {
        let widest = 0
        const items = list.contentItem.children
        for (let i = 0; i < items.length; ++i) {
            const item = items[i]
            if (item.laneColumns !== undefined && item.y + item.height > list.contentY
                    && item.y < list.contentY + list.height)
                widest = Math.max(widest, item.laneColumns)
        }
        widestColumns = widest
    }
    Timer {
        id: measure
        interval: 0
        onTriggered: screen.measureColumns()
    }

    function graphAt(row) {
        if (fromIndex || !graphModel || row < 0 || row >= graphModel.count)
            return ""
        return graphModel.get(row).graph
    }

    function subtitle() {
        if (!fromIndex)
            return "Commit graph of all branches and tags"
        return Number(timeline.count).toLocaleString(Qt.locale(), "f", 0) + " commits on all branches and tags"
    }

    // New commits from the index reset the rows: the view stays on the commit it showed at its top.
    property string topHash: ""
    Connections {
        target: screen.timeline
        function onModelAboutToBeReset() {
            const row = list.indexAt(10, list.contentY + 1)
            screen.topHash = screen.fromIndex && row > 0 ? screen.timeline.hashAt(row) : ""
        }
        function onModelReset() {
            if (screen.topHash === "")
                return
            const hash = screen.topHash
            screen.topHash = ""
            Qt.callLater(() => {
                const row = screen.timeline.rowOfHash(hash)
                if (row > 0 && screen.fromIndex)
                    list.positionViewAtIndex(row, ListView.Beginning)
            })
        }
    }

    // The commit's texts, on one line (hash, refs, subject, author, date) or on two.
    component CommitTexts: Item {
        id: texts
        property string shortHash
        property string subject
        property string author
        property string relativeDate
        property string decorations
        property bool loaded: true
        property real rowWidth
        readonly property bool narrow: rowWidth < 600

        GridLayout {
            anchors.fill: parent
            columns: screen.oneLine ? 5 : 1
            rowSpacing: 3
            columnSpacing: 8

            // A narrow row leaves the hash and the author to the inspector, for the subject's sake.
            Label {
                visible: screen.oneLine && !texts.narrow
                text: texts.shortHash
                font.family: Theme.monospace
                font.pixelSize: Theme.fontCaption
                color: texts.loaded ? Theme.accent : Theme.secondaryText
            }
            RowLayout {
                Layout.fillWidth: true
                spacing: 6
                RefBadges {
                    objectName: "refBadges"
                    Layout.maximumWidth: texts.rowWidth * 0.4
                    clip: true
                    visible: texts.decorations !== ""
                    decorations: texts.decorations
                    remoteNames: screen.remoteNames
                }
                Label {
                    Layout.fillWidth: true
                    visible: texts.loaded
                    text: texts.subject
                    font.pixelSize: Theme.fontBody
                    font.weight: screen.oneLine ? Font.Normal : Font.Medium
                    color: Theme.text
                    elide: Text.ElideRight
                }
                // A row whose page is still being read: a light bar where its subject goes.
                Rectangle {
                    objectName: "rowPlaceholder"
                    visible: !texts.loaded
                    Layout.preferredWidth: texts.rowWidth * 0.3
                    Layout.preferredHeight: 8
                    radius: 4
                    color: Theme.separator
                }
                Item { visible: !texts.loaded; Layout.fillWidth: true }
            }
            Label {
                visible: screen.oneLine && !texts.narrow
                Layout.maximumWidth: texts.rowWidth * 0.18
                text: texts.author
                font.pixelSize: Theme.fontCaption
                color: Theme.secondaryText
                elide: Text.ElideRight
            }
            Label {
                visible: screen.oneLine
                text: texts.relativeDate
                font.pixelSize: Theme.fontCaption
                color: Theme.secondaryText
            }
            RowLayout {
                visible: !screen.oneLine
                Layout.fillWidth: true
                spacing: 6
                Label {
                    text: texts.shortHash
                    font.family: Theme.monospace
                    font.pixelSize: Theme.fontCaption
                    color: Theme.accent
                }
                Label {
                    Layout.fillWidth: true
                    text: texts.loaded ? texts.author + "  ·  " + texts.relativeDate : ""
                    font.pixelSize: Theme.fontCaption
                    color: Theme.secondaryText
                    elide: Text.ElideRight
                }
            }
        }
    }

    // One delegate for both lists. The index's rows are commits drawn from their lanes (the
    // lines to the next commit are part of the row) and may still be loading; git's rows are
    // lines of its drawing, commits or connectors that only draw.
    Component {
        id: graphLine
        Item {
            id: line
            required property int index
            required property var model
            readonly property bool fromLanes: model.laneRow !== undefined
            readonly property string graph: model.graph ?? ""
            readonly property string hash: model.hash ?? ""
            readonly property string shortHash: model.shortHash ?? ""
            readonly property string subject: model.subject ?? ""
            readonly property string author: model.author ?? ""
            readonly property string relativeDate: model.relativeDate ?? ""
            readonly property string decorations: model.decorations ?? ""
            readonly property bool isConnector: !!model.isConnector
            readonly property bool isLoaded: model.isLoaded ?? true
            // Two columns per lane, as GraphRow draws them.
            readonly property int laneColumns: {
                const lanes = fromLanes ? model.laneRow : null
                if (!lanes || lanes.edges === undefined)
                    return 0
                let count = Math.max(lanes.laneCount, lanes.lanesAbove)
                for (let i = 1; i < lanes.edges.length; i += 2)
                    count = Math.max(count, lanes.edges[i] + 1)
                return 2 * count
            }
            onLaneColumnsChanged: measure.restart()
            Component.onCompleted: measure.restart()

            width: ListView.view.width
            height: isConnector ? 14 : screen.commitHeight

            HoverHandler { id: hover; enabled: !line.isConnector }
            TapHandler {
                enabled: line.fromLanes
                onTapped: {
                    list.currentIndex = line.index
                    list.forceActiveFocus()
                    screen.selectRow(line.index)
                }
            }
            Rectangle {
                anchors.fill: parent
                anchors.rightMargin: 4
                radius: 6
                color: line.fromLanes && line.hash !== "" && line.hash === screen.selectedHash ? Theme.selection
                       : hover.hovered ? Theme.hover : "transparent"
            }
            GraphRow {
                id: graphRow
                objectName: "graphRow"
                x: 4
                height: parent.height
                width: Math.min(implicitWidth, line.fromLanes ? screen.laneGraphWidth : line.width * 0.35)
                clip: true
                graph: line.fromLanes ? "" : line.graph
                graphAbove: line.fromLanes ? "" : screen.graphAt(line.index - 1)
                graphBelow: line.fromLanes ? "" : screen.graphAt(line.index + 1)
                laneRow: line.fromLanes ? line.model.laneRow : ({})
                columnWidth: line.fromLanes ? (screen.oneLine ? 6 : 8) : 10
                fitWidth: line.fromLanes ? screen.laneGraphWidth : 0
                fitColumns: line.fromLanes ? screen.widestColumns : 0
                dotRadius: screen.oneLine ? 4 : 5
                laneColors: screen.laneColors
                backgroundColor: Theme.card
            }
            CommitTexts {
                visible: !line.isConnector
                anchors.left: graphRow.right
                anchors.leftMargin: Theme.spacing
                anchors.right: parent.right
                anchors.rightMargin: Theme.spacing + 4
                anchors.verticalCenter: parent.verticalCenter
                height: screen.oneLine ? 20 : 40
                rowWidth: line.width
                loaded: line.isLoaded
                shortHash: line.isLoaded ? line.shortHash : line.hash.substring(0, 7)
                subject: line.subject
                author: line.author
                relativeDate: line.relativeDate
                decorations: line.decorations
            }
        }
    }

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: Theme.paddingLarge
        spacing: Theme.padding

        SectionHeader {
            Layout.fillWidth: true
            symbol: "point.3.connected.trianglepath.dotted"
            title: "Timeline"
            subtitle: screen.subtitle()
            SymbolButton {
                objectName: "timelineRowStyle"
                symbol: "textformat.size"
                text: "One line per commit"
                flat: true
                checkable: true
                checked: screen.oneLine
                toolTip: "One line per commit, or two with the author and date under the subject"
                onToggled: if (screen.appModel) screen.appModel.timelineOneLine = checked
            }
        }

        QueryNote {
            objectName: "timelineNote"
            Layout.fillWidth: true
            error: screen.fromIndex ? screen.timeline.error : ""
            notice: screen.fromIndex || !screen.appModel || !screen.appModel.session.repository ? ""
                    : screen.appModel.analytics.analyticsIndexState.isFailed
                    ? "Showing the latest " + list.count + " lines of the graph; the whole history needs the index, which could not be built"
                    : "Showing the latest " + list.count + " lines of the graph; the whole history appears when indexing finishes"
        }

        ListSurface {
            Layout.fillWidth: true
            Layout.fillHeight: true

            ListView {
                id: list
                objectName: "timelineList"
                anchors.fill: parent
                anchors.leftMargin: 6
                clip: true
                model: screen.graphModel
                boundsBehavior: Flickable.StopAtBounds
                ScrollBar.vertical: ScrollBar { }
                delegate: graphLine
                currentIndex: -1
                activeFocusOnTab: true
                keyNavigationEnabled: false
                Keys.onPressed: (event) => {
                    const row = screen.fromIndex
                        ? RowKeys.target(event.key, currentIndex, count, Math.floor(height / screen.commitHeight)) : -1
                    if (row < 0)
                        return
                    currentIndex = row
                    positionViewAtIndex(row, ListView.Contain)
                    screen.selectRow(row)
                    event.accepted = true
                }
                onContentYChanged: measure.restart()
                onHeightChanged: measure.restart()
            }

            EmptyStateView {
                objectName: "timelineEmpty"
                anchors.fill: parent
                visible: list.count === 0
                symbol: "point.3.connected.trianglepath.dotted"
                title: "No history"
                message: "The repository does not contain graph data."
            }
        }
    }
}
