import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Strataloom.Style

// The sections of the open repository, in their fixed order; the selection is the model's
// selectedSection (the row index is the section's value).
Rectangle {
    id: sidebar

    required property var appModel

    // Icons of the sections, in the order of the model's sections.
    readonly property var sections: [
        { symbol: "rectangle.grid.2x2" },
        { symbol: "chart.bar.fill" },
        { symbol: "timeline.selection" },
        { symbol: "clock.arrow.circlepath" },
        { symbol: "arrow.triangle.branch" },
        { symbol: "tag" },
        { symbol: "folder" },
        { symbol: "magnifyingglass" },
        { symbol: "sparkles" }
    ]

    color: Theme.sidebar

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: Theme.spacing + 2
        spacing: Theme.spacingSmall

        // Navigation title: the open repository.
        ColumnLayout {
            Layout.fillWidth: true
            Layout.leftMargin: Theme.spacing
            Layout.topMargin: Theme.spacing
            Layout.bottomMargin: Theme.spacing
            spacing: 2
            Label {
                Layout.fillWidth: true
                text: sidebar.appModel.session.repository ? sidebar.appModel.session.repository.name : ""
                font.pixelSize: Theme.fontHeadline + 1
                font.weight: Font.Bold
                color: Theme.text
                elide: Text.ElideRight
            }
            Label {
                Layout.fillWidth: true
                text: sidebar.appModel.session.repository ? sidebar.appModel.session.repository.currentBranch : ""
                visible: text !== ""
                font.pixelSize: Theme.fontCaption
                color: Theme.secondaryText
                elide: Text.ElideRight
            }
        }

        ListView {
            id: list
            objectName: "sidebarList"
            Layout.fillWidth: true
            Layout.fillHeight: true
            model: sidebar.sections.length
            currentIndex: sidebar.appModel.selectedSection
            interactive: false
            spacing: 2
            keyNavigationEnabled: true
            activeFocusOnTab: true
            Keys.onUpPressed: if (currentIndex > 0) sidebar.appModel.selectedSection = currentIndex - 1
            Keys.onDownPressed: if (currentIndex < count - 1) sidebar.appModel.selectedSection = currentIndex + 1

            delegate: ItemDelegate {
                id: row
                required property int index
                readonly property bool selected: ListView.isCurrentItem

                objectName: "section_" + text
                width: ListView.view.width
                height: 34
                hoverEnabled: true
                text: sidebar.appModel.sectionTitle(index)
                leftPadding: 10
                onClicked: sidebar.appModel.selectedSection = index

                background: Rectangle {
                    radius: Theme.radius - 2
                    color: row.selected ? Theme.selection : row.hovered ? Theme.hover : "transparent"
                }
                contentItem: RowLayout {
                    spacing: 10
                    SymbolIcon {
                        symbol: sidebar.sections[row.index].symbol
                        size: 18
                        color: row.selected ? Theme.accent : Theme.secondaryText
                        Layout.preferredWidth: 20
                    }
                    Label {
                        Layout.fillWidth: true
                        text: row.text
                        font.pixelSize: Theme.fontBody
                        font.weight: row.selected ? Font.DemiBold : Font.Normal
                        color: Theme.text
                        elide: Text.ElideRight
                    }
                }
            }
        }
    }

    Rectangle {
        anchors.right: parent.right
        width: 1
        height: parent.height
        color: Theme.separator
    }
}
