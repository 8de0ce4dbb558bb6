import QtQuick
import QtQuick.Layouts
import Strataloom.Insights

// A grid of metric cards given as data: [{title, value, caption, symbol, color}]. Each card is
// named by @c namePrefix and its title.
GridLayout {
    id: grid

    property var cards: []
    property string namePrefix: "card:"

    Layout.fillWidth: true
    columnSpacing: 10
    rowSpacing: 10

    Repeater {
        model: grid.cards
        delegate: MetricCard {
            required property var modelData
            objectName: grid.namePrefix + modelData.title
            title: modelData.title
            value: modelData.value
            caption: modelData.caption || ""
            symbol: modelData.symbol
            colorName: modelData.color
        }
    }
}
