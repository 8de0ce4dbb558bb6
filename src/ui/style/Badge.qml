import QtQuick
import QtQuick.Controls
import Strataloom.Style

// A small pill with a short text ("CURRENT", "R100"), tinted by @p tint.
Label {
    id: badge

    property color tint: Theme.accent

    leftPadding: 7
    rightPadding: 7
    topPadding: 2
    bottomPadding: 2
    font.pixelSize: Theme.fontCaption
    font.weight: Font.DemiBold
    color: tint
    background: Rectangle {
        radius: height / 2
        color: Theme.tint(badge.tint)
    }
}
