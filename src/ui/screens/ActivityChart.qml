import QtQuick
import QtQuick.Controls
import Strataloom.Style
import "Format.js" as Format

// Commits per day as bars over the last twelve months; the time axis itself is not drawn.
// Hovering a bar shows its date and count.
Item {
    id: chart

    // Activity points: a list model with `date` and `count` roles.
    property var activity
    property date end: new Date()
    property int months: 12

    readonly property date start: new Date(end.getFullYear(), end.getMonth() - months, end.getDate())
    readonly property real span: Math.max(1, end.getTime() - start.getTime())
    readonly property int maximum: {
        let m = 1
        const points = activity
        if (!points)
            return m
        for (let i = 0; i < points.count; ++i)
            m = Math.max(m, points.get(i).count)
        return m
    }
    property int hoveredIndex: -1
    property var hoveredPoint: null

    implicitHeight: 150

    // Grid lines at the maximum and half of it.
    Repeater {
        model: [0, 0.5, 1]
        delegate: Rectangle {
            required property real modelData
            x: 0
            width: chart.width
            y: Math.round((chart.height - 16) * (1 - modelData))
            height: 1
            color: Theme.separator
        }
    }
    Label {
        anchors.right: parent.right
        y: -2
        text: Format.count(chart.maximum)
        font.pixelSize: Theme.fontCaption
        color: Theme.tertiaryText
    }

    Item {
        id: plot
        anchors.fill: parent
        anchors.bottomMargin: 16
        anchors.rightMargin: 28

        Repeater {
            model: chart.activity
            delegate: Rectangle {
                required property int index
                required property var date
                required property int count
                readonly property real position: Format.isDate(date) ? (date.getTime() - chart.start.getTime()) / chart.span : -1
                visible: position >= 0 && position <= 1
                width: Math.max(2, plot.width / 370 * 1.6)
                height: Math.max(2, plot.height * count / chart.maximum)
                x: position * (plot.width - width)
                y: plot.height - height
                radius: Math.min(2, width / 2)
                color: chart.hoveredIndex === index ? Theme.named("teal") : Theme.accent
                opacity: chart.hoveredIndex < 0 || chart.hoveredIndex === index ? 1 : 0.55
            }
        }

        HoverHandler {
            id: hover
            onPointChanged: {
                if (!hovered || !chart.activity) {
                    chart.hoveredIndex = -1
                    return
                }
                // The bar nearest to the pointer, within a few pixels.
                let best = -1
                let bestDistance = 8
                for (let i = 0; i < chart.activity.count; ++i) {
                    const point = chart.activity.get(i)
                    const x = (point.date.getTime() - chart.start.getTime()) / chart.span * plot.width
                    const distance = Math.abs(x - hover.point.position.x)
                    if (distance < bestDistance) {
                        bestDistance = distance
                        best = i
                    }
                }
                chart.hoveredIndex = best
                chart.hoveredPoint = best >= 0 ? chart.activity.get(best) : null
            }
            onHoveredChanged: if (!hovered) chart.hoveredIndex = -1
        }
    }

    Label {
        anchors.left: parent.left
        anchors.bottom: parent.bottom
        anchors.bottomMargin: -2
        text: chart.hoveredIndex >= 0 && chart.hoveredPoint
              ? "Date  " + Format.date(chart.hoveredPoint.date) + "  ·  " + Format.count(chart.hoveredPoint.count)
                + (chart.hoveredPoint.count === 1 ? " commit" : " commits")
              : Format.date(chart.start) + " – " + Format.date(chart.end)
        font.pixelSize: Theme.fontCaption
        color: Theme.secondaryText
    }
}
