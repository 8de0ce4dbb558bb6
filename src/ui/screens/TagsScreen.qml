import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Strataloom.Style
import Strataloom.Screens
import "Format.js" as Format

// The repository's tags, filtered by name or subject.
Item {
    id: screen

    property var appModel
    property alias filter: filterField.text

    readonly property int tagCount: appModel ? appModel.session.tags.count : 0

    RecordFilterModel {
        id: filtered
        sourceModel: screen.appModel ? screen.appModel.session.tags : null
        filterRoles: ["name", "subject"]
        filterText: filterField.text
    }

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: Theme.paddingLarge
        spacing: Theme.padding

        SectionHeader {
            Layout.fillWidth: true
            symbol: "tag"
            title: "Tags"
            subtitle: filtered.count === screen.tagCount ? screen.tagCount + " tags"
                                                         : filtered.count + " of " + screen.tagCount + " tags"
            FilterField {
                id: filterField
                objectName: "tagFilter"
                Layout.preferredWidth: Math.min(240, screen.width * 0.4)
                placeholderText: "Filter tags"
            }
            CsvExportButton { model: filtered; fileName: "tags.csv" }
        }

        ListSurface {
            Layout.fillWidth: true
            Layout.fillHeight: true

            ListView {
                id: list
                objectName: "tagList"
                anchors.fill: parent
                clip: true
                model: filtered
                boundsBehavior: Flickable.StopAtBounds
                ScrollBar.vertical: ScrollBar { }

                delegate: ItemDelegate {
                    id: row
                    required property string name
                    required property string objectHash
                    required property var date
                    required property string subject

                    width: ListView.view.width
                    implicitHeight: 52
                    hoverEnabled: true
                    leftPadding: Theme.spacing + 4
                    rightPadding: Theme.spacing + 4
                    Accessible.name: name

                    background: Rectangle {
                        radius: Theme.radius
                        color: row.hovered ? Theme.hover : "transparent"
                    }

                    contentItem: RowLayout {
                        spacing: Theme.spacing + 2
                        Rectangle {
                            implicitWidth: 30
                            implicitHeight: 30
                            radius: 8
                            color: Theme.tint(Theme.named("orange"))
                            SymbolIcon {
                                anchors.centerIn: parent
                                symbol: "tag"
                                size: 17
                                color: Theme.named("orange")
                            }
                        }
                        ColumnLayout {
                            Layout.fillWidth: true
                            spacing: 2
                            ElidedPath {
                                Layout.fillWidth: true
                                text: row.name
                                font.weight: Font.DemiBold
                            }
                            Label {
                                Layout.fillWidth: true
                                text: row.subject
                                font.pixelSize: Theme.fontCaption
                                color: Theme.secondaryText
                                elide: Text.ElideRight
                            }
                        }
                        ColumnLayout {
                            spacing: 2
                            Label {
                                Layout.alignment: Qt.AlignRight
                                text: row.objectHash
                                font.family: Theme.monospace
                                font.pixelSize: Theme.fontCaption
                                color: Theme.accent
                            }
                            Label {
                                Layout.alignment: Qt.AlignRight
                                text: Format.date(row.date)
                                font.pixelSize: Theme.fontCaption
                                color: Theme.secondaryText
                            }
                        }
                    }
                }
            }

            EmptyStateView {
                objectName: "tagsEmpty"
                anchors.fill: parent
                visible: filtered.count === 0
                symbol: "tag"
                title: screen.tagCount === 0 ? "No tags" : "No matching tags"
                message: screen.tagCount === 0 ? "This repository does not contain tags." : "Try a different filter."
            }
        }
    }
}
