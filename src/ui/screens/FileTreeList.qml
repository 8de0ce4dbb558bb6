import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Strataloom.Style
import Strataloom.Screens
import "Format.js" as Format

// The files as a folder tree, with commits, authors and the last change of each file and
// folder. A click on a folder opens or closes it, on a file selects it for the inspector; a
// double click opens the file. Keys: Up and Down move, Right opens a folder (or enters it),
// Left closes it (or goes to its folder), Return and Space do what a click does.
ListView {
    id: list

    property var appModel
    readonly property var tree: appModel ? appModel.fileTree : null
    readonly property string selectedPath: appModel && appModel.selection.selectedFile
                                           ? appModel.selection.selectedFile.path : ""
    // The figure columns give way to the names only in a very narrow pane; the folders' file
    // counts go first.
    readonly property bool wide: width > 380
    readonly property bool roomy: width > 640
    readonly property int figureWidth: roomy ? 68 : 54
    readonly property int dateWidth: roomy ? 96 : 84

    clip: true
    model: tree
    // The keys reach the tree once it is clicked or tabbed to; the filter field keeps them first.
    activeFocusOnTab: true
    keyNavigationEnabled: true
    highlightMoveDuration: 0
    boundsBehavior: Flickable.StopAtBounds
    ScrollBar.vertical: ScrollBar { }
    Accessible.role: Accessible.Tree
    Accessible.name: "Files"

    function activate(row) {
        if (row < 0 || row >= count)
            return
        currentIndex = row
        const file = tree.fileAt(row)
        if (file.path === undefined)
            tree.toggle(row)
        else
            appModel.selection.selectFile(file)
    }

    Keys.onRightPressed: event => {
        const row = currentIndex
        if (row < 0)
            return
        const item = itemAtIndex(row)
        if (item && item.isFolder) {
            if (!item.isExpanded)
                tree.setExpanded(row, true)
            else if (row + 1 < count)
                currentIndex = row + 1
        }
        event.accepted = true
    }
    Keys.onLeftPressed: event => {
        const row = currentIndex
        if (row < 0)
            return
        const item = itemAtIndex(row)
        if (item && item.isFolder && item.isExpanded)
            tree.setExpanded(row, false)
        else if (tree.parentRow(row) >= 0)
            currentIndex = tree.parentRow(row)
        event.accepted = true
    }
    Keys.onReturnPressed: activate(currentIndex)
    Keys.onEnterPressed: activate(currentIndex)
    Keys.onSpacePressed: activate(currentIndex)

    header: RowLayout {
        width: list.width
        height: 26
        spacing: Theme.spacing
        z: 2
        Label {
            Layout.fillWidth: true
            Layout.leftMargin: Theme.spacing + 4
            text: "Name"
            font.pixelSize: Theme.fontCaption
            color: Theme.secondaryText
        }
        Repeater {
            model: list.wide ? [["Commits", list.figureWidth], ["Authors", list.figureWidth],
                                ["Last change", list.dateWidth]] : []
            Label {
                required property var modelData
                Layout.preferredWidth: modelData[1]
                horizontalAlignment: Text.AlignRight
                text: modelData[0]
                font.pixelSize: Theme.fontCaption
                color: Theme.secondaryText
            }
        }
        Item { Layout.preferredWidth: Theme.spacing + 4 - Theme.spacing }
    }

    delegate: ItemDelegate {
        id: row

        required property int index
        required property string name
        required property string path
        required property int depth
        required property bool isFolder
        required property bool isExpanded
        required property int fileCount
        required property var commits
        required property var authors
        required property var lastChange
        required property string lastAuthor

        readonly property bool selected: !isFolder && path === list.selectedPath
        readonly property bool current: ListView.isCurrentItem && list.activeFocus

        width: ListView.view.width
        implicitHeight: 30
        hoverEnabled: true
        leftPadding: Theme.spacing + 4 + depth * 18
        rightPadding: Theme.spacing + 4
        Accessible.role: Accessible.TreeItem
        Accessible.name: path

        background: Rectangle {
            radius: Theme.radius
            color: row.selected ? Theme.selection : row.down ? Theme.pressed : row.hovered || row.current ? Theme.hover : "transparent"
            border.width: row.current ? 1 : 0
            border.color: Theme.separator
        }

        contentItem: RowLayout {
            spacing: Theme.spacing
            SymbolIcon {
                Layout.preferredWidth: 14
                symbol: row.isExpanded ? "chevron.down" : "chevron.right"
                size: 14
                color: Theme.secondaryText
                opacity: row.isFolder ? 1 : 0
            }
            SymbolIcon {
                symbol: row.isFolder ? "folder.fill" : "doc"
                size: 16
                color: row.isFolder ? Theme.accent : Theme.secondaryText
            }
            ElidedPath {
                Layout.fillWidth: true
                text: row.name
                font.weight: row.isFolder ? Font.Medium : Font.Normal
            }
            Label {
                visible: row.isFolder && list.roomy
                text: Format.count(row.fileCount) + (row.fileCount === 1 ? " file" : " files")
                font.pixelSize: Theme.fontCaption
                color: Theme.tertiaryText
            }
            Label {
                visible: list.wide
                Layout.preferredWidth: list.figureWidth
                horizontalAlignment: Text.AlignRight
                text: Format.count(row.commits)
                font.pixelSize: Theme.fontCaption
                color: Theme.secondaryText
            }
            Label {
                visible: list.wide
                Layout.preferredWidth: list.figureWidth
                horizontalAlignment: Text.AlignRight
                text: Format.count(row.authors)
                font.pixelSize: Theme.fontCaption
                color: Theme.secondaryText
            }
            Label {
                visible: list.wide
                Layout.preferredWidth: list.dateWidth
                horizontalAlignment: Text.AlignRight
                text: Format.isDate(row.lastChange) ? Format.age(row.lastChange) : "—"
                font.pixelSize: Theme.fontCaption
                color: Theme.secondaryText
                elide: Text.ElideRight
            }
        }

        ToolTip.visible: hovered && Format.isDate(lastChange) && lastAuthor !== ""
        ToolTip.delay: 800
        ToolTip.text: "Last changed by " + lastAuthor + ", " + Format.date(lastChange)

        onClicked: {
            list.forceActiveFocus()
            list.activate(index)
        }
        onDoubleClicked: {
            if (!isFolder)
                list.appModel.selection.openFile(list.tree.fileAt(index))
        }
    }
}
