import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Strataloom.Style

// The search section: commit messages over all refs, up to 100 results, newest first.
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
            subtitle: searchPanel.resultCount > 0 ? searchPanel.resultCount + " matching commits"
                                                  : "Search commit messages across all branches"
            CsvExportButton {
                model: screen.appModel ? screen.appModel.session.searchResults : null
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
