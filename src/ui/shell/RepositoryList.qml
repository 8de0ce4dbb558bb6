import QtQuick
import QtQuick.Controls
import Strataloom.Style

// Rows of repositories (recent or discovered): folder, name, path, chevron. A click opens the
// repository; a right click shows the context menu (Open, Reveal, and for recents Remove).
ListView {
    id: list

    // Called with the row's record when the row is opened or removed.
    property var openRepository: function(record) {}
    property var revealRepository: function(record) {}
    property var removeRepository: null

    clip: true
    spacing: 2
    boundsBehavior: Flickable.StopAtBounds
    ScrollBar.vertical: ScrollBar { policy: ScrollBar.AsNeeded }

    delegate: ListRow {
        id: row
        required property int index
        required property string name
        required property string path

        objectName: "repository_" + name
        width: ListView.view.width
        symbol: "folder.fill"
        title: name
        subtitle: path
        showsChevron: true
        onClicked: list.openRepository(list.model.get(index))
        onContextMenuRequested: (x, y) => contextMenu.popup(row, x, y)

        Menu {
            id: contextMenu
            MenuItem {
                text: "Open"
                onTriggered: list.openRepository(list.model.get(row.index))
            }
            MenuItem {
                text: "Reveal in File Manager"
                onTriggered: list.revealRepository(list.model.get(row.index))
            }
            MenuSeparator { visible: list.removeRepository !== null; height: visible ? implicitHeight : 0 }
            MenuItem {
                visible: list.removeRepository !== null
                height: visible ? implicitHeight : 0
                text: "Remove from Recents"
                onTriggered: list.removeRepository(list.model.get(row.index))
            }
        }
    }
}
