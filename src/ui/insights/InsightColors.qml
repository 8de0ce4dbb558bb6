pragma Singleton
import QtQuick
import Strataloom.Style

// The dashboards' colours: the style's named colours, and the palette that chart series and list
// markers take in turn.
QtObject {
    function named(name) {
        return Theme.named(name)
    }

    readonly property var palette: ["blue", "purple", "teal", "orange", "pink", "green", "indigo",
                                    "red", "cyan"]

    function paletteColor(index) {
        return named(palette[index % palette.length])
    }

    // Chart chrome that reads on both appearances.
    readonly property color axisLabel: Theme.secondaryText
    readonly property color grid: Theme.separator
    readonly property color axisLine: Qt.rgba(Theme.text.r, Theme.text.g, Theme.text.b, 0.25)
}
