import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Strataloom.Style
import Strataloom.Model
import Strataloom.Screens
import "Format.js" as Format

// The side pane with the details of the current selection: a commit with its changed files, a
// file with its history facts, or an author (AuthorInspector).
Rectangle {
    id: inspector

    property var appModel
    // "commit", "file" or "author". Follows the section and the latest selection unless set.
    property string pane: automaticPane
    property string automaticPane: "commit"

    readonly property var commit: appModel ? appModel.selection.selectedCommit : null
    readonly property var file: appModel ? appModel.selection.selectedFile : null
    readonly property var fileDetails: appModel ? appModel.selection.selectedFileDetails : null
    readonly property string fileDetailsError: appModel ? appModel.selection.fileDetailsError : ""
    // The selected file's commits under all its names, once the index is ready.
    readonly property var fileHistory: appModel ? appModel.selection.fileHistory : null
    readonly property bool fileDeleted: !!file && file.status === "deleted"

    function paneForSection(section) {
        switch (section) {
        case AppViewModel.Files: return "file"
        case AppViewModel.Statistics: return "author"
        case AppViewModel.Timeline:
        case AppViewModel.History:
        case AppViewModel.Search: return "commit"
        }
        return automaticPane
    }

    color: "transparent"
    implicitWidth: 300

    Connections {
        target: inspector.appModel
        function onSelectedSectionChanged() {
            inspector.automaticPane = inspector.paneForSection(inspector.appModel.selectedSection)
        }
    }
    // The latest choice of a row turns the pane, a choice of the row already shown included.
    Connections {
        target: inspector.appModel ? inspector.appModel.selection : null
        function onSelectedCommitChanged() {
            if (inspector.appModel.selection.selectedCommit
                    && inspector.appModel.selectedSection !== AppViewModel.Files
                    && inspector.appModel.selectedSection !== AppViewModel.Statistics)
                inspector.automaticPane = "commit"
        }
        function onSelectedFileChanged() {
            if (inspector.appModel.selection.selectedFile)
                inspector.automaticPane = "file"
        }
        function onSelectedAuthorChanged() {
            if (inspector.appModel.selection.selectedAuthor)
                inspector.automaticPane = "author"
        }
    }
    Component.onCompleted: if (appModel) automaticPane = paneForSection(appModel.selectedSection)

    StackLayout {
        anchors.fill: parent
        currentIndex: inspector.pane === "file" ? 1 : inspector.pane === "author" ? 2 : 0

        // Commit pane.
        Item {
            objectName: "commitPane"

            EmptyStateView {
                objectName: "commitEmpty"
                anchors.fill: parent
                visible: !inspector.commit
                symbol: "clock.arrow.circlepath"
                title: "No commit selected"
                message: "Select a commit to inspect its changes."
            }

            ColumnLayout {
                anchors.fill: parent
                anchors.margins: Theme.padding
                spacing: Theme.spacing + 4
                visible: !!inspector.commit

                Label {
                    objectName: "commitSubject"
                    Layout.fillWidth: true
                    text: inspector.commit ? inspector.commit.subject : ""
                    font.pixelSize: Theme.fontHeadline
                    font.weight: Font.DemiBold
                    color: Theme.text
                    wrapMode: Text.Wrap
                    maximumLineCount: 4
                    elide: Text.ElideRight
                }
                Label {
                    Layout.fillWidth: true
                    visible: text !== ""
                    // Hard-wrapped paragraphs reflow to the pane's width; lists and code keep
                    // their lines.
                    text: inspector.commit ? CommitText.reflowed(String(inspector.commit.body || "")) : ""
                    font.pixelSize: Theme.fontBody
                    color: Theme.secondaryText
                    wrapMode: Text.Wrap
                    maximumLineCount: 6
                    elide: Text.ElideRight
                }

                DetailsBox {
                    LabeledValue {
                        objectName: "commitHash"
                        label: "Commit"
                        value: inspector.commit ? inspector.commit.id : ""
                        monospace: true
                    }
                    LabeledValue {
                        label: "Author"
                        value: inspector.commit ? inspector.commit.author : ""
                    }
                    LabeledValue {
                        label: "Date"
                        value: inspector.commit ? Format.dateTime(inspector.commit.date) : ""
                    }
                }

                RowLayout {
                    objectName: "lineSummary"
                    Layout.fillWidth: true
                    spacing: Theme.spacing + 4
                    Label {
                        objectName: "additions"
                        text: "+" + Format.count(inspector.commit ? inspector.commit.additions : 0)
                        color: Theme.named("green")
                        font.pixelSize: Theme.fontBody
                        font.weight: Font.DemiBold
                    }
                    Label {
                        objectName: "deletions"
                        text: "−" + Format.count(inspector.commit ? inspector.commit.deletions : 0)
                        color: Theme.named("red")
                        font.pixelSize: Theme.fontBody
                        font.weight: Font.DemiBold
                    }
                    Item { Layout.fillWidth: true }
                    SymbolLabel {
                        readonly property int files: inspector.appModel && inspector.appModel.selection.commitChanges.count > 0
                                                     ? inspector.appModel.selection.commitChanges.count
                                                     : (inspector.commit ? inspector.commit.filesChanged : 0)
                        symbol: "doc.on.doc"
                        text: Format.count(files) + (files === 1 ? " file" : " files")
                        color: Theme.secondaryText
                    }
                }

                Label {
                    text: "Changed files"
                    font.pixelSize: Theme.fontBody
                    font.weight: Font.DemiBold
                    color: Theme.text
                }

                ListView {
                    id: changes
                    objectName: "changedFiles"
                    Layout.fillWidth: true
                    Layout.fillHeight: true
                    Layout.minimumHeight: 60
                    clip: true
                    model: inspector.appModel ? inspector.appModel.selection.commitChanges : null
                    boundsBehavior: Flickable.StopAtBounds
                    ScrollBar.vertical: ScrollBar { }
                    delegate: ItemDelegate {
                        id: change
                        required property string status
                        required property string path
                        width: ListView.view.width
                        height: 28
                        hoverEnabled: true
                        padding: 4
                        background: Rectangle {
                            radius: 5
                            color: change.hovered ? Theme.hover : "transparent"
                        }
                        contentItem: RowLayout {
                            spacing: Theme.spacing
                            Rectangle {
                                readonly property color tint: Theme.named(Format.statusColorName(change.status))
                                objectName: "statusBadge"
                                Layout.preferredWidth: 22
                                Layout.preferredHeight: 18
                                radius: 4
                                color: Theme.tint(tint)
                                Label {
                                    anchors.centerIn: parent
                                    text: change.status.charAt(0)
                                    color: parent.tint
                                    font.pixelSize: Theme.fontCaption
                                    font.weight: Font.Bold
                                    font.family: Theme.monospace
                                }
                            }
                            ElidedPath {
                                Layout.fillWidth: true
                                text: change.path
                            }
                        }
                    }
                    // Changes are read when a commit is selected, not for the one shown after opening.
                    Column {
                        anchors.centerIn: parent
                        visible: changes.count === 0
                        spacing: Theme.spacing
                        Label {
                            anchors.horizontalCenter: parent.horizontalCenter
                            visible: !!inspector.commit && inspector.commit.filesChanged === 0
                            text: "No file changes"
                            color: Theme.tertiaryText
                            font.pixelSize: Theme.fontBody
                        }
                        SymbolButton {
                            objectName: "loadChanges"
                            anchors.horizontalCenter: parent.horizontalCenter
                            visible: !!inspector.commit && inspector.commit.filesChanged > 0
                            flat: true
                            symbol: "doc.on.doc"
                            text: "Show changed files"
                            onClicked: inspector.appModel.selection.selectCommit(inspector.commit)
                        }
                    }
                }

                SymbolButton {
                    objectName: "openDiff"
                    Layout.fillWidth: true
                    prominent: true
                    symbol: "doc.text.magnifyingglass"
                    text: "Open full diff"
                    onClicked: inspector.appModel.selection.presentDiff(inspector.commit)
                }
            }
        }

        // File pane.
        Item {
            objectName: "filePane"

            EmptyStateView {
                objectName: "fileEmpty"
                anchors.fill: parent
                visible: !inspector.file
                symbol: "doc"
                title: "No file selected"
                message: "Select a file to inspect it. Double-click to open it."
            }
            EmptyStateView {
                objectName: "fileLoading"
                anchors.fill: parent
                visible: !!inspector.file && !inspector.fileDetails && inspector.fileDetailsError === ""
                busy: true
                title: "Reading file history…"
            }
            EmptyStateView {
                objectName: "fileFailed"
                anchors.fill: parent
                visible: !!inspector.file && !inspector.fileDetails && inspector.fileDetailsError !== ""
                symbol: "exclamationmark.triangle"
                title: "File history unavailable"
                message: inspector.fileDetailsError
            }

            ScrollView {
                anchors.fill: parent
                visible: !!inspector.file && !!inspector.fileDetails
                contentWidth: availableWidth

                ColumnLayout {
                    width: parent.width
                    spacing: Theme.spacing + 4

                    RowLayout {
                        Layout.fillWidth: true
                        Layout.margins: Theme.padding
                        Layout.bottomMargin: 0
                        spacing: Theme.spacing
                        SymbolIcon {
                            Layout.alignment: Qt.AlignTop
                            symbol: "doc.text"
                            size: 28
                            color: Theme.accent
                        }
                        Label {
                            objectName: "filePath"
                            Layout.fillWidth: true
                            text: inspector.fileDetails ? inspector.fileDetails.path : ""
                            font.pixelSize: Theme.fontHeadline
                            font.weight: Font.DemiBold
                            color: Theme.text
                            wrapMode: Text.WrapAnywhere
                            maximumLineCount: 4
                            elide: Text.ElideMiddle
                        }
                        Badge {
                            objectName: "fileDeletedMark"
                            Layout.alignment: Qt.AlignTop
                            visible: inspector.fileDeleted
                            text: "deleted"
                            tint: Theme.secondaryText
                        }
                    }
                    Label {
                        Layout.fillWidth: true
                        Layout.leftMargin: Theme.padding
                        Layout.rightMargin: Theme.padding
                        visible: inspector.fileDeleted
                        text: "The file no longer exists in the working tree; its history remains."
                        font.pixelSize: Theme.fontCaption
                        color: Theme.secondaryText
                        wrapMode: Text.Wrap
                    }

                    DetailsBox {
                        Layout.leftMargin: Theme.padding
                        Layout.rightMargin: Theme.padding
                        LabeledValue {
                            objectName: "fileSize"
                            visible: !inspector.fileDeleted
                            label: "Size"
                            value: inspector.fileDetails ? Format.bytes(inspector.fileDetails.sizeBytes) : ""
                        }
                        LabeledValue {
                            objectName: "fileCommits"
                            label: "Commits"
                            value: inspector.fileDetails ? Format.count(inspector.fileDetails.commitCount) : ""
                        }
                        LabeledValue {
                            label: "Last author"
                            value: inspector.fileDetails ? inspector.fileDetails.lastAuthor : ""
                        }
                        LabeledValue {
                            label: "First change"
                            value: inspector.fileDetails ? Format.date(inspector.fileDetails.firstCommitDate) : ""
                        }
                        LabeledValue {
                            label: "Last change"
                            value: inspector.fileDetails ? Format.date(inspector.fileDetails.lastCommitDate) : ""
                        }
                    }

                    Label {
                        Layout.leftMargin: Theme.padding
                        text: "Contributors"
                        font.pixelSize: Theme.fontBody
                        font.weight: Font.DemiBold
                        color: Theme.text
                    }
                    ColumnLayout {
                        objectName: "contributors"
                        Layout.fillWidth: true
                        Layout.leftMargin: Theme.padding
                        Layout.rightMargin: Theme.padding
                        spacing: 6
                        Repeater {
                            model: inspector.fileDetails ? inspector.fileDetails.authors : []
                            delegate: SymbolLabel {
                                required property string modelData
                                Layout.fillWidth: true
                                symbol: "person.circle"
                                symbolColor: Theme.secondaryText
                                text: modelData
                            }
                        }
                    }

                    Label {
                        objectName: "fileHistoryTitle"
                        Layout.leftMargin: Theme.padding
                        Layout.rightMargin: Theme.padding
                        Layout.fillWidth: true
                        readonly property bool available: !!inspector.fileHistory && inspector.fileHistory.isAvailable
                        text: !available ? "History"
                              : "History · " + Format.count(inspector.fileHistory.total)
                                + (inspector.fileHistory.total === 1 ? " commit" : " commits")
                        font.pixelSize: Theme.fontBody
                        font.weight: Font.DemiBold
                        color: Theme.text
                    }
                    Label {
                        objectName: "fileHistoryNote"
                        Layout.fillWidth: true
                        Layout.leftMargin: Theme.padding
                        Layout.rightMargin: Theme.padding
                        visible: !inspector.fileHistory || !inspector.fileHistory.isAvailable
                                 || inspector.fileHistory.error !== ""
                        text: inspector.fileHistory && inspector.fileHistory.error !== ""
                              ? inspector.fileHistory.error
                              : "The file's commits under all its names appear when indexing finishes."
                        font.pixelSize: Theme.fontCaption
                        color: Theme.secondaryText
                        wrapMode: Text.Wrap
                    }
                    ListSurface {
                        Layout.fillWidth: true
                        Layout.leftMargin: Theme.padding
                        Layout.rightMargin: Theme.padding
                        // Up to six rows at once; the list scrolls and reads further pages itself.
                        Layout.preferredHeight: Math.min(fileHistoryList.count, 6) * 54 + 8
                        visible: fileHistoryList.count > 0
                        ListView {
                            id: fileHistoryList
                            objectName: "fileHistoryList"
                            anchors.fill: parent
                            clip: true
                            model: inspector.fileHistory && inspector.fileHistory.isAvailable ? inspector.fileHistory : null
                            boundsBehavior: Flickable.StopAtBounds
                            ScrollBar.vertical: ScrollBar { }
                            delegate: CommitRow {
                                showsCounts: false
                                onSelectRequested: (commit) => inspector.appModel.selection.selectCommit(commit)
                                onDiffRequested: (commit) => inspector.appModel.selection.presentDiff(commit)
                            }
                        }
                    }

                    SymbolButton {
                        objectName: "openFile"
                        visible: !inspector.fileDeleted
                        Layout.fillWidth: true
                        Layout.margins: Theme.padding
                        symbol: "arrow.up.forward.app"
                        text: "Open in Default Application"
                        onClicked: inspector.appModel.selection.openFile(inspector.file)
                    }
                }
            }
        }

        AuthorInspector {
            appModel: inspector.appModel
        }
    }
}
