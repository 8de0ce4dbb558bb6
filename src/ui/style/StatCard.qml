import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Strataloom.Style

// A figure with its label: a tinted symbol, the label, the value large, an optional detail line.
Control {
    id: stat

    property string title
    property string value
    property string detail
    property string symbol
    property color tint: Theme.accent

    padding: Theme.padding
    implicitWidth: 180
    implicitHeight: implicitContentHeight + topPadding + bottomPadding
    ToolTip.visible: hovered && stat.ToolTip.text !== ""
    ToolTip.delay: 600

    background: Rectangle {
        radius: Theme.radiusLarge
        color: Theme.card
        border.color: Theme.cardBorder
        border.width: 1
    }

    contentItem: ColumnLayout {
        spacing: Theme.spacingSmall + 2
        RowLayout {
            spacing: Theme.spacing
            Layout.fillWidth: true
            Rectangle {
                visible: stat.symbol !== ""
                implicitWidth: 26
                implicitHeight: 26
                radius: 7
                color: Theme.tint(stat.tint)
                SymbolIcon {
                    anchors.centerIn: parent
                    symbol: stat.symbol
                    size: 16
                    color: stat.tint
                }
            }
            Label {
                Layout.fillWidth: true
                text: stat.title
                color: Theme.secondaryText
                font.pixelSize: Theme.fontBody
                elide: Text.ElideRight
            }
        }
        Label {
            Layout.fillWidth: true
            text: stat.value
            color: Theme.text
            font.pixelSize: 24
            font.weight: Font.DemiBold
            elide: Text.ElideRight
        }
        Label {
            Layout.fillWidth: true
            visible: stat.detail !== ""
            text: stat.detail
            color: Theme.tertiaryText
            font.pixelSize: Theme.fontCaption
            elide: Text.ElideRight
        }
    }
}
