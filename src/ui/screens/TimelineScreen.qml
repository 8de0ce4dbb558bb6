import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Strataloom.Style
import Strataloom.Screens

// The commit graph over all refs as git draws it, one row per line: lanes, joins and commit
// dots on the left, then the commit with its refs as badges.
Item {
    id: screen

    property var appModel

    readonly property var graphModel: appModel ? appModel.session.graphCommits : null
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

    function graphAt(row) {
        if (!graphModel || row < 0 || row >= graphModel.count)
            return ""
        return graphModel.get(row).graph
    }

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: Theme.paddingLarge
        spacing: Theme.padding

        SectionHeader {
            Layout.fillWidth: true
            symbol: "point.3.connected.trianglepath.dotted"
            title: "Timeline"
            subtitle: "Commit graph of all branches and tags"
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

                delegate: Item {
                    id: line
                    required property int index
                    required property string graph
                    required property string shortHash
                    required property string subject
                    required property string author
                    required property string relativeDate
                    required property string decorations
                    required property bool isConnector

                    width: ListView.view.width
                    height: isConnector ? 14 : 46

                    HoverHandler { id: hover; enabled: !line.isConnector }
                    Rectangle {
                        anchors.fill: parent
                        anchors.rightMargin: 4
                        radius: 6
                        color: hover.hovered ? Theme.hover : "transparent"
                    }

                    GraphRow {
                        id: graphRow
                        objectName: "graphRow"
                        x: 4
                        height: parent.height
                        width: Math.min(implicitWidth, line.width * 0.35)
                        clip: true
                        graph: line.graph
                        graphAbove: screen.graphAt(line.index - 1)
                        graphBelow: screen.graphAt(line.index + 1)
                        columnWidth: 10
                        lineWidth: 2
                        dotRadius: 5
                        laneColors: screen.laneColors
                        backgroundColor: Theme.card
                    }

                    ColumnLayout {
                        visible: !line.isConnector
                        anchors.left: graphRow.right
                        anchors.leftMargin: Theme.spacing
                        anchors.right: parent.right
                        anchors.rightMargin: Theme.spacing + 4
                        anchors.verticalCenter: parent.verticalCenter
                        spacing: 3

                        RowLayout {
                            Layout.fillWidth: true
                            spacing: 6
                            RefBadges {
                                objectName: "refBadges"
                                Layout.maximumWidth: line.width * 0.4
                                clip: true
                                visible: line.decorations !== ""
                                decorations: line.decorations
                                remoteNames: screen.remoteNames
                            }
                            Label {
                                Layout.fillWidth: true
                                text: line.subject
                                font.pixelSize: Theme.fontBody
                                font.weight: Font.Medium
                                color: Theme.text
                                elide: Text.ElideRight
                            }
                        }
                        RowLayout {
                            Layout.fillWidth: true
                            spacing: 6
                            Label {
                                text: line.shortHash
                                font.family: Theme.monospace
                                font.pixelSize: Theme.fontCaption
                                color: Theme.accent
                            }
                            Label {
                                Layout.fillWidth: true
                                text: line.author + "  ·  " + line.relativeDate
                                font.pixelSize: Theme.fontCaption
                                color: Theme.secondaryText
                                elide: Text.ElideRight
                            }
                        }
                    }
                }
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
