import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Strataloom.Style

// A rounded surface that groups related content, with an optional header (symbol, title and
// trailing items). Children are laid out in a column:
//
//   Card { title: "Recent commits"; symbol: "clock.arrow.circlepath"; Label { text: "…" } }
Control {
    id: card

    property string title
    property string symbol
    property color tint: Theme.accent
    // Items placed at the trailing end of the header (buttons, badges).
    property alias headerItems: headerTrailing.data
    default property alias content: body.data

    padding: Theme.padding
    implicitWidth: Math.max(implicitBackgroundWidth, implicitContentWidth + leftPadding + rightPadding)
    implicitHeight: implicitContentHeight + topPadding + bottomPadding

    background: Rectangle {
        radius: Theme.radiusLarge
        color: Theme.card
        border.color: Theme.cardBorder
        border.width: 1
    }

    contentItem: ColumnLayout {
        spacing: Theme.spacing + 4

        RowLayout {
            Layout.fillWidth: true
            visible: card.title !== "" || card.symbol !== "" || headerTrailing.children.length > 0
            spacing: Theme.spacing
            SymbolIcon {
                visible: card.symbol !== ""
                symbol: card.symbol
                size: 18
                color: card.tint
            }
            Label {
                Layout.fillWidth: true
                text: card.title
                font.pixelSize: Theme.fontHeadline
                font.weight: Font.DemiBold
                color: Theme.text
                elide: Text.ElideRight
            }
            RowLayout {
                id: headerTrailing
                spacing: Theme.spacing
            }
        }

        ColumnLayout {
            id: body
            Layout.fillWidth: true
            Layout.fillHeight: true
            spacing: Theme.spacing
        }
    }
}
