import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Strataloom.Style
import Strataloom.Screens
import "Format.js" as Format

// The inspector's author pane: who the author is, their figures and activity, and once the
// index is ready the files they changed most and every commit they made.
Item {
    id: inspector

    property var appModel

    readonly property var author: appModel ? appModel.selection.selectedAuthor : null
    readonly property var authorDetails: appModel ? appModel.selection.selectedAuthorDetails : null
    readonly property string authorDetailsError: appModel ? appModel.selection.authorDetailsError : ""
    readonly property var authorHistory: appModel ? appModel.selection.authorHistory : null
    // The person the insights know under several names or addresses, when the inspected author
    // is one of them.
    readonly property var authorIdentity: appModel && author && appModel.analytics.hasAnalyticsInsights
                                          ? appModel.analytics.identityOf(author.name) : null

    objectName: "authorPane"

    EmptyStateView {
        objectName: "authorEmpty"
        anchors.fill: parent
        visible: !inspector.author
        symbol: "person.2"
        title: "No author selected"
        message: "Select an author to inspect contribution activity."
    }
    EmptyStateView {
        objectName: "authorLoading"
        anchors.fill: parent
        visible: !!inspector.author && !inspector.authorDetails && inspector.authorDetailsError === ""
        busy: true
        title: "Calculating author statistics…"
    }
    EmptyStateView {
        objectName: "authorFailed"
        anchors.fill: parent
        visible: !!inspector.author && !inspector.authorDetails && inspector.authorDetailsError !== ""
        symbol: "exclamationmark.triangle"
        title: "Author statistics unavailable"
        message: inspector.authorDetailsError
    }

    ScrollView {
        id: authorScroll
        anchors.fill: parent
        visible: !!inspector.author && !!inspector.authorDetails
        contentWidth: availableWidth

        ColumnLayout {
            width: authorScroll.availableWidth
            spacing: Theme.spacing + 4

            RowLayout {
                Layout.fillWidth: true
                Layout.margins: Theme.padding
                Layout.bottomMargin: 0
                spacing: Theme.spacing + 2
                SymbolIcon {
                    symbol: "person.crop.circle.fill"
                    size: 40
                    color: Theme.accent
                }
                Label {
                    objectName: "authorName"
                    Layout.fillWidth: true
                    text: inspector.authorDetails ? inspector.authorDetails.name : ""
                    font.pixelSize: Theme.fontHeadline + 2
                    font.weight: Font.DemiBold
                    color: Theme.text
                    wrapMode: Text.Wrap
                    maximumLineCount: 2
                    elide: Text.ElideRight
                }
            }
            ColumnLayout {
                Layout.fillWidth: true
                Layout.leftMargin: Theme.padding
                Layout.rightMargin: Theme.padding
                spacing: 4
                Repeater {
                    model: inspector.authorDetails ? inspector.authorDetails.emails : []
                    delegate: SymbolLabel {
                        required property string modelData
                        Layout.fillWidth: true
                        symbol: "envelope"
                        symbolColor: Theme.secondaryText
                        color: Theme.secondaryText
                        text: modelData
                    }
                }
            }

            ColumnLayout {
                objectName: "authorIdentity"
                Layout.fillWidth: true
                Layout.leftMargin: Theme.padding
                Layout.rightMargin: Theme.padding
                visible: !!inspector.authorIdentity
                spacing: 4
                Label {
                    Layout.fillWidth: true
                    text: inspector.authorIdentity
                          ? "The insights count one person, " + inspector.authorIdentity.name + ", known as:"
                          : ""
                    color: Theme.secondaryText
                    font.pixelSize: Theme.fontCaption
                    wrapMode: Text.WordWrap
                }
                Repeater {
                    model: inspector.authorIdentity
                           ? inspector.authorIdentity.names.concat(inspector.authorIdentity.emails) : []
                    delegate: SymbolLabel {
                        required property string modelData
                        required property int index
                        objectName: "authorAlias"
                        Layout.fillWidth: true
                        symbol: index < inspector.authorIdentity.names.length ? "person.circle" : "envelope"
                        symbolColor: Theme.tertiaryText
                        color: Theme.secondaryText
                        text: modelData
                    }
                }
            }

            DetailsBox {
                Layout.leftMargin: Theme.padding
                Layout.rightMargin: Theme.padding
                LabeledValue {
                    objectName: "authorCommits"
                    label: "Commits"
                    value: inspector.authorDetails ? Format.count(inspector.authorDetails.commits) : ""
                }
                LabeledValue {
                    objectName: "authorAdded"
                    label: "Lines added"
                    value: inspector.authorDetails ? "+" + Format.count(inspector.authorDetails.additions) : ""
                    valueColor: Theme.named("green")
                }
                LabeledValue {
                    objectName: "authorRemoved"
                    label: "Lines removed"
                    value: inspector.authorDetails ? Format.count(inspector.authorDetails.deletions) : ""
                    valueColor: Theme.named("red")
                }
                LabeledValue {
                    label: "First commit"
                    value: inspector.authorDetails ? Format.date(inspector.authorDetails.firstCommitDate) : ""
                }
                LabeledValue {
                    label: "Last commit"
                    value: inspector.authorDetails ? Format.date(inspector.authorDetails.lastCommitDate) : ""
                }
            }

            Label {
                Layout.leftMargin: Theme.padding
                text: "Contribution activity"
                font.pixelSize: Theme.fontBody
                font.weight: Font.DemiBold
                color: Theme.text
            }
            // The year of weeks is wider than the pane: it scrolls sideways and starts
            // at the current week.
            Flickable {
                id: heatmapScroll
                Layout.fillWidth: true
                Layout.leftMargin: Theme.padding
                Layout.rightMargin: Theme.padding
                implicitHeight: heatmap.implicitHeight + 10
                contentWidth: heatmap.implicitWidth
                contentHeight: heatmap.implicitHeight
                clip: true
                flickableDirection: Flickable.HorizontalFlick
                boundsBehavior: Flickable.StopAtBounds
                onContentWidthChanged: contentX = Math.max(0, contentWidth - width)
                onWidthChanged: contentX = Math.max(0, contentWidth - width)
                ScrollBar.horizontal: ScrollBar { policy: ScrollBar.AsNeeded }

                AuthorHeatmap {
                    id: heatmap
                    objectName: "heatmap"
                    activity: inspector.authorDetails ? inspector.authorDetails.activity : []
                }
            }
            RowLayout {
                Layout.fillWidth: true
                Layout.leftMargin: Theme.padding
                Layout.rightMargin: Theme.padding
                Layout.bottomMargin: Theme.padding
                spacing: 3
                Label {
                    Layout.fillWidth: true
                    text: heatmap.commitsShown === 0 ? "None this year" : Format.count(heatmap.commitsShown) + " this year"
                    font.pixelSize: Theme.fontCaption
                    color: Theme.secondaryText
                    elide: Text.ElideRight
                    HoverHandler { id: captionHover }
                    ToolTip.visible: captionHover.hovered && truncated
                    ToolTip.text: text
                }
                Label {
                    text: "Less"
                    font.pixelSize: Theme.fontCaption
                    color: Theme.tertiaryText
                }
                Repeater {
                    model: [0, 1, 2, 3, 4]
                    delegate: Rectangle {
                        required property int modelData
                        implicitWidth: 9
                        implicitHeight: 9
                        radius: 2
                        color: heatmap.cellColor([0, 1, 3, 5, 8][modelData], 8)
                    }
                }
                Label {
                    text: "More"
                    font.pixelSize: Theme.fontCaption
                    color: Theme.tertiaryText
                }
            }

            Label {
                objectName: "authorFilesTitle"
                Layout.leftMargin: Theme.padding
                visible: authorFiles.count > 0
                text: "Most changed files"
                font.pixelSize: Theme.fontBody
                font.weight: Font.DemiBold
                color: Theme.text
            }
            DetailsBox {
                Layout.leftMargin: Theme.padding
                Layout.rightMargin: Theme.padding
                visible: authorFiles.count > 0
                Repeater {
                    id: authorFiles
                    objectName: "authorFiles"
                    model: inspector.appModel ? inspector.appModel.selection.authorFiles : []
                    // A file opens in Files, with its own history.
                    delegate: RowLayout {
                        required property var modelData
                        Layout.fillWidth: true
                        spacing: Theme.spacing
                        SymbolIcon {
                            symbol: "doc"
                            size: 13
                            color: Theme.secondaryText
                        }
                        ElidedPath {
                            objectName: "authorFilePath"
                            Layout.fillWidth: true
                            text: modelData.path
                            color: fileHover.hovered ? Theme.accent : Theme.text
                            HoverHandler { id: fileHover; cursorShape: Qt.PointingHandCursor }
                            TapHandler { onTapped: inspector.appModel.openInsightFile(modelData.path) }
                        }
                        Label {
                            text: Format.count(modelData.commits)
                            font.pixelSize: Theme.fontCaption
                            color: Theme.secondaryText
                        }
                    }
                }
            }

            Label {
                objectName: "authorHistoryTitle"
                Layout.leftMargin: Theme.padding
                Layout.rightMargin: Theme.padding
                Layout.fillWidth: true
                readonly property bool available: !!inspector.authorHistory && inspector.authorHistory.isAvailable
                text: !available ? "History"
                      : "History · " + Format.count(inspector.authorHistory.total)
                        + (inspector.authorHistory.total === 1 ? " commit" : " commits")
                font.pixelSize: Theme.fontBody
                font.weight: Font.DemiBold
                color: Theme.text
            }
            Label {
                objectName: "authorHistoryNote"
                Layout.fillWidth: true
                Layout.leftMargin: Theme.padding
                Layout.rightMargin: Theme.padding
                visible: !inspector.authorHistory || !inspector.authorHistory.isAvailable
                         || inspector.authorHistory.error !== ""
                text: inspector.authorHistory && inspector.authorHistory.error !== ""
                      ? inspector.authorHistory.error
                      : "The author's commits and files appear when indexing finishes."
                font.pixelSize: Theme.fontCaption
                color: Theme.secondaryText
                wrapMode: Text.Wrap
            }
            ListSurface {
                Layout.fillWidth: true
                Layout.leftMargin: Theme.padding
                Layout.rightMargin: Theme.padding
                Layout.bottomMargin: Theme.padding
                // Up to six rows at once; the list scrolls and reads further pages itself.
                Layout.preferredHeight: Math.min(authorHistoryList.count, 6) * 54 + 8
                visible: authorHistoryList.count > 0
                ListView {
                    id: authorHistoryList
                    objectName: "authorHistoryList"
                    anchors.fill: parent
                    clip: true
                    model: inspector.authorHistory && inspector.authorHistory.isAvailable ? inspector.authorHistory : null
                    boundsBehavior: Flickable.StopAtBounds
                    ScrollBar.vertical: ScrollBar { }
                    delegate: CommitRow {
                        showsCounts: false
                        onSelectRequested: (commit) => inspector.appModel.selection.selectCommit(commit)
                        onDiffRequested: (commit) => inspector.appModel.selection.presentDiff(commit)
                    }
                }
            }
        }
    }
}
