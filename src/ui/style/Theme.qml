pragma Singleton
import QtQuick

// Colours and metrics shared by every screen. The palette follows the system's light or dark
// appearance through the application palette; named colours match the names the insights use.
QtObject {
    id: theme

    readonly property SystemPalette palette: SystemPalette { colorGroup: SystemPalette.Active }
    readonly property bool dark: palette.window.hslLightness < 0.5

    readonly property color window: palette.window
    readonly property color base: palette.base
    readonly property color text: palette.windowText
    readonly property color secondaryText: Qt.rgba(text.r, text.g, text.b, 0.62)
    readonly property color separator: Qt.rgba(text.r, text.g, text.b, 0.12)
    readonly property color card: dark ? Qt.lighter(window, 1.25) : Qt.darker(window, 1.03)
    readonly property color accent: palette.highlight

    // Named colours, tuned to stay readable on both appearances.
    function named(name) {
        switch (name) {
        case "purple": return dark ? "#bf8cff" : "#8e44ad"
        case "red": return dark ? "#ff6b6b" : "#d63031"
        case "orange": return dark ? "#ffa94d" : "#e67e22"
        case "pink": return dark ? "#ff8fc7" : "#d63384"
        case "blue": return dark ? "#6cb4ff" : "#1f6feb"
        case "teal": return dark ? "#5fd3c6" : "#0f9d8a"
        case "green": return dark ? "#69db7c" : "#2f9e44"
        }
        return text
    }

    readonly property int spacing: 8
    readonly property int padding: 16
    readonly property int radius: 8
}
