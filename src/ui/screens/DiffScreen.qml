import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Strataloom.Style
import Strataloom.Screens

// The diff sheet's content: the commit's text as git prints it, monospace, selectable, with
// added and removed lines coloured. Very large diffs are shown as a list of lines, which builds
// only the lines on screen.
Item {
    id: screen

    property var appModel
    property string diff: appModel ? appModel.selection.presentedDiff : ""
    // Above this many characters, the line list replaces the text area.
    property int largeTextThreshold: 400000

    readonly property bool large: diff.length > largeTextThreshold
    readonly property var commit: appModel ? appModel.selection.selectedCommit : null

    implicitWidth: 900
    implicitHeight: 640

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: Theme.paddingLarge
        spacing: Theme.padding

        SectionHeader {
            Layout.fillWidth: true
            symbol: "doc.text.magnifyingglass"
            tint: Theme.accent
            title: "Commit Diff"
            subtitle: screen.commit ? screen.commit.shortHash + "  ·  " + screen.commit.subject : ""
            SymbolButton {
                objectName: "doneButton"
                text: "Done"
                prominent: true
                onClicked: screen.appModel.selection.isDiffPresented = false
            }
        }

        ListSurface {
            Layout.fillWidth: true
            Layout.fillHeight: true

            ScrollView {
                id: textScroll
                anchors.fill: parent
                visible: !screen.large

                TextArea {
                    id: area
                    objectName: "diffText"
                    text: screen.large ? "" : screen.diff
                    readOnly: true
                    selectByMouse: true
                    persistentSelection: true
                    textFormat: TextEdit.PlainText
                    wrapMode: TextEdit.NoWrap
                    font.family: Theme.monospace
                    font.pixelSize: 12
                    color: Theme.text
                    selectionColor: Theme.selection
                    selectedTextColor: Theme.text
                    padding: Theme.spacing + 4
                    background: null
                }
            }

            DiffHighlighter {
                id: highlighter
                document: area.textDocument
                added: Theme.named("green")
                removed: Theme.named("red")
                hunk: Theme.named("blue")
                header: Theme.text
            }

            ListView {
                id: lines
                objectName: "diffLines"
                anchors.fill: parent
                anchors.margins: Theme.spacing
                visible: screen.large
                clip: true
                model: screen.large ? screen.diff.split("\n") : []
                boundsBehavior: Flickable.StopAtBounds
                flickableDirection: Flickable.AutoFlickDirection
                contentWidth: Math.max(width, 2400)
                ScrollBar.vertical: ScrollBar { }
                ScrollBar.horizontal: ScrollBar { }
                delegate: TextEdit {
                    required property string modelData
                    readonly property string kind: highlighter.lineKind(modelData)
                    text: modelData
                    readOnly: true
                    selectByMouse: true
                    textFormat: TextEdit.PlainText
                    font.family: Theme.monospace
                    font.pixelSize: 12
                    color: kind === "added" ? Theme.named("green") : kind === "removed" ? Theme.named("red")
                         : kind === "hunk" ? Theme.named("blue") : Theme.text
                    selectionColor: Theme.selection
                    selectedTextColor: Theme.text
                }
            }

            EmptyStateView {
                anchors.fill: parent
                visible: screen.diff === ""
                symbol: "doc.text.magnifyingglass"
                title: "No changes"
                message: "This commit has no diff to show."
            }
        }
    }
}
