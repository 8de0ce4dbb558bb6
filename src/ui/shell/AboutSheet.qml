import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Strataloom.Style

// The about box: the application, its version and its tagline.
Dialog {
    id: about

    property string version: Qt.application.version

    modal: true
    anchors.centerIn: parent
    padding: 28
    topPadding: 32
    closePolicy: Popup.CloseOnEscape

    background: Rectangle {
        radius: Theme.radiusLarge + 2
        color: Theme.card
        border.color: Theme.cardBorder
    }

    contentItem: ColumnLayout {
        spacing: Theme.spacing
        Image {
            Layout.alignment: Qt.AlignHCenter
            source: "qrc:/qt/qml/Strataloom/icons/strataloom.svg"
            sourceSize: Qt.size(88, 88)
        }
        Label {
            Layout.alignment: Qt.AlignHCenter
            Layout.topMargin: Theme.spacing
            text: "Strataloom"
            font.pixelSize: Theme.fontTitle + 4
            font.weight: Font.Bold
            color: Theme.text
        }
        Label {
            objectName: "aboutVersion"
            Layout.alignment: Qt.AlignHCenter
            text: "Strataloom version: " + about.version
            font.pixelSize: Theme.fontBody
            color: Theme.secondaryText
        }
        Label {
            Layout.alignment: Qt.AlignHCenter
            Layout.maximumWidth: 360
            Layout.topMargin: Theme.spacing
            text: "Timeline, history, insights, just a beautiful way to explore your Git repositories"
            font.pixelSize: Theme.fontBody + 1
            color: Theme.text
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.Wrap
        }
        Label {
            Layout.alignment: Qt.AlignHCenter
            text: "Built with ❤️for developers."
            font.pixelSize: Theme.fontBody
            color: Theme.secondaryText
        }
        SymbolButton {
            objectName: "aboutCloseButton"
            Layout.alignment: Qt.AlignHCenter
            Layout.topMargin: Theme.spacingLarge
            prominent: true
            text: "Close"
            onClicked: about.close()
        }
    }
}
