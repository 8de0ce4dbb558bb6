import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Strataloom.Style
import Strataloom.Screens
import "Format.js" as Format

// Local and remote branches. A click asks to check the branch out: it sets the model's pending
// branch, and the window's confirmation does the rest.
Item {
    id: screen

    property var appModel

    readonly property int branchCount: appModel ? appModel.session.branches.count : 0

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: Theme.paddingLarge
        spacing: Theme.padding

        SectionHeader {
            Layout.fillWidth: true
            symbol: "arrow.triangle.branch"
            title: "Branches"
            subtitle: screen.appModel && screen.appModel.session.repository
                      ? screen.branchCount + " branches · on " + screen.appModel.session.repository.currentBranch
                      : screen.branchCount + " branches"
            CsvExportButton {
                model: screen.appModel ? screen.appModel.session.branches : null
                fileName: "branches.csv"
            }
        }

        ListSurface {
            Layout.fillWidth: true
            Layout.fillHeight: true

            // Local branches, then remote ones, each latest first: one section of each.
            RecordFilterModel {
                id: grouped
                sourceModel: screen.appModel ? screen.appModel.session.branches : null
                groupRole: "isRemote"
            }

            ListView {
                id: list
                objectName: "branchList"
                anchors.fill: parent
                clip: true
                model: grouped
                boundsBehavior: Flickable.StopAtBounds
                ScrollBar.vertical: ScrollBar { }

                section.property: "isRemote"
                section.delegate: Label {
                    required property string section
                    width: ListView.view.width
                    topPadding: Theme.spacing + 2
                    bottomPadding: 4
                    leftPadding: Theme.spacing + 4
                    text: section === "true" ? "REMOTE" : "LOCAL"
                    font.pixelSize: Theme.fontCaption
                    font.weight: Font.DemiBold
                    font.letterSpacing: 0.6
                    color: Theme.tertiaryText
                }

                delegate: ItemDelegate {
                    id: row
                    required property int index
                    required property string name
                    required property bool isCurrent
                    required property bool isRemote
                    required property string lastCommitHash
                    required property var lastCommitDate
                    required property string lastAuthor

                    width: ListView.view.width
                    implicitHeight: 52
                    hoverEnabled: true
                    leftPadding: Theme.spacing + 4
                    rightPadding: Theme.spacing + 4
                    Accessible.name: name
                    ToolTip.visible: hovered && !isCurrent
                    ToolTip.text: "Check out " + name + "…"
                    ToolTip.delay: 800

                    background: Rectangle {
                        radius: Theme.radius
                        color: row.down ? Theme.pressed : row.hovered ? Theme.hover : "transparent"
                    }

                    contentItem: RowLayout {
                        spacing: Theme.spacing + 2
                        Rectangle {
                            implicitWidth: 30
                            implicitHeight: 30
                            radius: 8
                            color: Theme.tint(row.isCurrent ? Theme.accent : row.isRemote ? Theme.named("purple") : Theme.named("teal"))
                            SymbolIcon {
                                anchors.centerIn: parent
                                symbol: row.isRemote ? "icloud" : "arrow.triangle.branch"
                                size: 17
                                color: row.isCurrent ? Theme.accent : row.isRemote ? Theme.named("purple") : Theme.named("teal")
                            }
                        }
                        ColumnLayout {
                            Layout.fillWidth: true
                            spacing: 2
                            // The name takes what it needs; the badge follows it.
                            Item {
                                id: nameLine
                                Layout.fillWidth: true
                                implicitHeight: Math.max(nameLabel.implicitHeight, currentBadge.implicitHeight)
                                ElidedPath {
                                    id: nameLabel
                                    anchors.verticalCenter: parent.verticalCenter
                                    width: Math.min(implicitWidth, nameLine.width - (currentBadge.visible ? currentBadge.implicitWidth + Theme.spacing : 0))
                                    text: row.name
                                    font.weight: row.isCurrent ? Font.DemiBold : Font.Medium
                                }
                                Badge {
                                    id: currentBadge
                                    anchors.verticalCenter: parent.verticalCenter
                                    x: nameLabel.width + Theme.spacing
                                    visible: row.isCurrent
                                    text: "CURRENT"
                                    tint: Theme.accent
                                }
                            }
                            RowLayout {
                                Layout.fillWidth: true
                                spacing: 6
                                Label {
                                    text: row.lastCommitHash
                                    font.family: Theme.monospace
                                    font.pixelSize: Theme.fontCaption
                                    color: Theme.accent
                                }
                                Label {
                                    Layout.fillWidth: true
                                    text: row.lastAuthor + (Format.isDate(row.lastCommitDate) ? "  ·  " + Format.age(row.lastCommitDate) : "")
                                    font.pixelSize: Theme.fontCaption
                                    color: Theme.secondaryText
                                    elide: Text.ElideRight
                                }
                            }
                        }
                    }

                    onClicked: screen.appModel.session.pendingCheckoutBranch = grouped.get(index)
                }
            }

            EmptyStateView {
                anchors.fill: parent
                visible: list.count === 0
                symbol: "arrow.triangle.branch"
                title: "No branches"
                message: "This repository has no branches yet."
            }
        }
    }
}
