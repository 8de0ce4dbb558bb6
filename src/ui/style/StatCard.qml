import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Strataloom.Style

// A figure with its label: a tinted symbol, the label, the value large, an optional detail line.
// In a narrow card the label and the value shrink to fit before they are shortened; whatever is
// still shortened shows whole in the tooltip.
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
    readonly property bool truncated: titleLabel.truncated || valueLabel.truncated || detailLabel.truncated
    ToolTip.visible: hovered && (stat.ToolTip.text !== "" || truncated)
    ToolTip.delay: 600
    ToolTip.text: truncated ? [title, value, detail].filter(text => text !== "").join("\n") : ""

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
                id: titleLabel
                Layout.fillWidth: true
                text: stat.title
                color: Theme.secondaryText
                font.pixelSize: Theme.fontBody
                fontSizeMode: Text.HorizontalFit
                minimumPixelSize: Theme.fontCaption
                elide: Text.ElideRight
            }
        }
        Label {
            id: valueLabel
            Layout.fillWidth: true
            // The height of the full size, so that cards in a row keep their values aligned.
            Layout.preferredHeight: valueMetrics.height
            text: stat.value
            color: Theme.text
            font.pixelSize: 24
            font.weight: Font.DemiBold
            fontSizeMode: Text.HorizontalFit
            minimumPixelSize: 15
            verticalAlignment: Text.AlignVCenter
            elide: Text.ElideRight
            FontMetrics { id: valueMetrics; font: valueLabel.font }
        }
        Label {
            id: detailLabel
            Layout.fillWidth: true
            visible: stat.detail !== ""
            text: stat.detail
            color: Theme.tertiaryText
            font.pixelSize: Theme.fontCaption
            elide: Text.ElideRight
        }
    }
}
