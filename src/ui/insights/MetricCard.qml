import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Strataloom.Style

// One figure of a dashboard: the style's stat card, tinted by a named colour, filling its cell.
StatCard {
    property string caption
    property string colorName: "blue"

    Layout.fillWidth: true
    Layout.fillHeight: true
    Layout.preferredWidth: 200
    detail: caption
    tint: InsightColors.named(colorName)
}
