import QtQuick
import QtQuick.Layouts

// One of the equal columns a section splits into on a wide screen.
ColumnLayout {
    Layout.fillWidth: true
    Layout.preferredWidth: 1
    Layout.alignment: Qt.AlignTop
}
