import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Strataloom.Style

// The search section: the whole history by the query language once the index is ready
// (every match, with the count), commit messages over all refs with git until then.
Item {
    id: screen

    property var appModel
    property alias panel: searchPanel

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: Theme.paddingLarge
        spacing: Theme.padding

        SectionHeader {
            Layout.fillWidth: true
            symbol: "magnifyingglass"
            title: "Search"
            subtitle: searchPanel.resultCount > 0
                      ? Number(searchPanel.resultCount).toLocaleString(Qt.locale(), "f", 0) + " matching commits"
                      : searchPanel.fromIndex ? "Search the whole history: message, author, path, dates, type, ref"
                                              : "Search commit messages across all branches"
            CsvExportButton {
                model: searchPanel.fromIndex ? searchPanel.indexed
                       : screen.appModel ? screen.appModel.session.searchResults : null
                fileName: "search.csv"
            }
        }

        SearchPanel {
            id: searchPanel
            Layout.fillWidth: true
            Layout.fillHeight: true
            appModel: screen.appModel
        }
    }
}
