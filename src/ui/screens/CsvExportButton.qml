import QtQuick
import QtQuick.Controls
import QtQuick.Dialogs
import QtQuick.Layouts
import Strataloom.Style
import Strataloom.Screens

// "Export CSV…" for one table: a save dialog, then the rows as the table shows them (filtered
// and in its order) written in the background; what happened shows beside the button.
RowLayout {
    id: root

    /// The list model to save, or null to save `rows`.
    property var model: null
    /// The rows as a list of objects, when there is no model.
    property var rows: []
    /// [{role, header}] in column order; empty: every role of the model.
    property var columns: []
    /// The name the save dialog suggests.
    property string fileName: "table.csv"
    property string text: "Export CSV…"
    readonly property int rowCount: model ? model.count : rows.length
    readonly property alias exporter: exporter

    spacing: Theme.spacing

    TableExport { id: exporter }

    Label {
        objectName: "exportMessage"
        Layout.maximumWidth: 260
        visible: text !== ""
        text: exporter.message
        elide: Text.ElideMiddle
        font.pixelSize: Theme.fontCaption
        color: exporter.failed ? Theme.danger : Theme.secondaryText
        ToolTip.visible: hover.hovered && truncated
        ToolTip.text: exporter.message
        HoverHandler { id: hover }
    }
    BusyIndicator {
        visible: exporter.busy
        running: exporter.busy
        implicitWidth: 20
        implicitHeight: 20
        padding: 0
    }
    SymbolButton {
        objectName: "exportCsvButton"
        symbol: "doc.text"
        // In a narrow window the symbol alone, so that the screen's title keeps its room.
        text: root.Window.width > 0 && root.Window.width < 1100 ? "" : root.text
        toolTip: text === "" ? root.text : ""
        flat: true
        enabled: !exporter.busy && root.rowCount > 0
        onClicked: dialog.open()
    }

    FileDialog {
        id: dialog
        title: "Export CSV"
        fileMode: FileDialog.SaveFile
        nameFilters: ["CSV files (*.csv)", "All files (*)"]
        onAccepted: root.model
                    ? exporter.saveModel(root.model, root.columns, selectedFile)
                    : exporter.saveRows(root.rows, root.columns, selectedFile)
    }
}
