import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Strataloom.Style

// The heading of a chart or list inside a section.
Label {
    Layout.fillWidth: true
    Layout.topMargin: 6
    font.pixelSize: 13
    font.weight: Font.DemiBold
    color: Theme.text
}
