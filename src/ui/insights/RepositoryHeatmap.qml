import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Strataloom.Style
import Strataloom.Screens

// The repository's commits of the last year on the same calendar grid as an author's (one
// column per week, one row per weekday, ending with the current week), its cells sized to the
// width available, with a caption that says how many commits it shows and the colour legend.
ColumnLayout {
    id: root

    required property var appModel
    readonly property alias grid: heatmap.grid
    readonly property alias commitsShown: heatmap.commitsShown

    spacing: 6
    Layout.fillWidth: true

    // The model's activity points as the plain list the grid reads.
    function points() {
        const activity = appModel ? appModel.session.activity : null
        const result = []
        for (let row = 0; activity && row < activity.count; ++row) {
            const point = activity.get(row)
            if (point.date)
                result.push({ date: point.date, count: point.count })
        }
        return result
    }

    AuthorHeatmap {
        id: heatmap
        objectName: "repositoryHeatmapGrid"
        cellSize: Math.max(4, Math.min(14, (root.width - cellSpacing * (columns - 1)) / columns))
        cellSpacing: 3
        activity: root.points()
        // The list keeps its identity when a repository is read again: follow its rows.
        Connections {
            target: root.appModel ? root.appModel.session : null
            function onActivityChanged() { heatmap.activity = root.points() }
        }
        Connections {
            target: root.appModel ? root.appModel.session.activity : null
            function onModelReset() { heatmap.activity = root.points() }
            function onDataChanged() { heatmap.activity = root.points() }
        }
    }
    RowLayout {
        Layout.fillWidth: true
        spacing: 4
        Label {
            objectName: "heatmapCaption"
            Layout.fillWidth: true
            text: heatmap.commitsShown === 0 ? "No commits in the last year"
                                             : Number(heatmap.commitsShown).toLocaleString(Qt.locale(), "f", 0)
                                               + (heatmap.commitsShown === 1 ? " commit" : " commits") + " in the last year"
            font.pixelSize: Theme.fontCaption
            color: Theme.secondaryText
            elide: Text.ElideRight
        }
        Label { text: "Less"; font.pixelSize: Theme.fontCaption; color: Theme.secondaryText }
        Repeater {
            model: [0, 1, 3, 5, 8]
            delegate: Rectangle {
                required property int modelData
                width: 10; height: 10; radius: 2
                color: heatmap.cellColor(modelData, 8)
            }
        }
        Label { text: "More"; font.pixelSize: Theme.fontCaption; color: Theme.secondaryText }
    }
}
