import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Strataloom.Style

// The quick search sheet's content: search as you type, "Done" closes the sheet.
Item {
    id: screen

    property var appModel
    property alias panel: searchPanel

    implicitWidth: 640
    implicitHeight: 520

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: Theme.paddingLarge
        spacing: Theme.padding

        SectionHeader {
            Layout.fillWidth: true
            symbol: "magnifyingglass"
            title: "Search Git history"
            subtitle: searchPanel.resultCount > 0 ? searchPanel.resultCount + " matching commits" : ""
            SymbolButton {
                objectName: "doneButton"
                text: "Done"
                prominent: true
                onClicked: screen.appModel.isSearchPresented = false
            }
        }

        SearchPanel {
            id: searchPanel
            Layout.fillWidth: true
            Layout.fillHeight: true
            appModel: screen.appModel
            searchesWhileTyping: true
        }
    }

    // The field takes the keyboard as soon as the sheet opens.
    Component.onCompleted: searchPanel.field.forceActiveFocus()
}
