pragma Singleton
import QtQuick

// Colours, type and metrics shared by every screen. The palette follows the system's light or
// dark appearance through the application palette (the application sets a dark one when the
// desktop prefers dark); named colours match the names the insights use.
QtObject {
    id: theme

    readonly property SystemPalette palette: SystemPalette { colorGroup: SystemPalette.Active }
    readonly property bool dark: palette.window.hslLightness < 0.5

    // Surfaces, from the window down to the controls on it.
    readonly property color window: palette.window
    readonly property color base: palette.base
    readonly property color sidebar: dark ? Qt.darker(window, 1.12) : Qt.darker(window, 1.035)
    readonly property color card: dark ? Qt.lighter(window, 1.28) : palette.base
    readonly property color cardBorder: Qt.rgba(text.r, text.g, text.b, dark ? 0.10 : 0.09)
    readonly property color bar: dark ? Qt.lighter(window, 1.12) : Qt.lighter(window, 1.02)

    // Text.
    readonly property color text: palette.windowText
    readonly property color secondaryText: Qt.rgba(text.r, text.g, text.b, 0.62)
    readonly property color tertiaryText: Qt.rgba(text.r, text.g, text.b, 0.42)
    readonly property color separator: Qt.rgba(text.r, text.g, text.b, 0.12)

    // Interaction.
    readonly property color accent: palette.highlight
    readonly property color accentText: palette.highlightedText
    readonly property color hover: Qt.rgba(text.r, text.g, text.b, dark ? 0.08 : 0.05)
    readonly property color pressed: Qt.rgba(text.r, text.g, text.b, dark ? 0.14 : 0.10)
    readonly property color selection: Qt.rgba(accent.r, accent.g, accent.b, dark ? 0.32 : 0.16)

    // States.
    readonly property color success: named("green")
    readonly property color warning: named("orange")
    readonly property color danger: named("red")

    // Named colours, tuned to stay readable on both appearances.
    function named(name) {
        switch (name) {
        case "purple": return dark ? "#bf8cff" : "#8e44ad"
        case "red": return dark ? "#ff6b6b" : "#d63031"
        case "orange": return dark ? "#ffa94d" : "#d9730d"
        case "pink": return dark ? "#ff8fc7" : "#d63384"
        case "blue": return dark ? "#6cb4ff" : "#1f6feb"
        case "teal": return dark ? "#5fd3c6" : "#0f9d8a"
        case "green": return dark ? "#69db7c" : "#2f9e44"
        case "indigo": return dark ? "#9fa8ff" : "#4c5bd4"
        case "cyan": return dark ? "#67e8f9" : "#06b6d4"
        case "yellow": return dark ? "#ffd43b" : "#b08800"
        case "gray": case "secondary": return secondaryText
        }
        return text
    }

    // A translucent wash of @p colour, for badges and icon backgrounds.
    function tint(colour, amount) {
        const c = Qt.color(colour)
        return Qt.rgba(c.r, c.g, c.b, amount === undefined ? (dark ? 0.22 : 0.13) : amount)
    }

    // Type scale (pixel sizes).
    readonly property int fontLargeTitle: 28
    readonly property int fontTitle: 20
    readonly property int fontHeadline: 15
    readonly property int fontBody: 13
    readonly property int fontCaption: 11
    readonly property string monospace: "monospace"

    // Metrics.
    readonly property int spacing: 8
    readonly property int spacingSmall: 4
    readonly property int spacingLarge: 16
    readonly property int padding: 16
    readonly property int paddingLarge: 24
    readonly property int radius: 8
    readonly property int radiusLarge: 12
    readonly property int rowHeight: 32
    readonly property int barHeight: 48
}
