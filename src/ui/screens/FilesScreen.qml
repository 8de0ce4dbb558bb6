import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Strataloom.Style
import Strataloom.Screens
import "Format.js" as Format

// The tracked files, found by path. A click selects a file for the inspector; a double click
// opens it in its default application.
Item {
    id: screen

    property var appModel
    property alias filter: filterField.text

    readonly property int fileCount: appModel ? appModel.session.files.count : 0
    // The list stops at the loader's limit; the summary knows how many files there are.
    readonly property int trackedCount: appModel && appModel.session.repository
                                        ? Math.max(fileCount, appModel.session.repository.trackedFileCount) : fileCount

    RecordFilterModel {
        id: filtered
        sourceModel: screen.appModel ? screen.appModel.session.files : null
        filterRoles: ["path"]
        filterText: filterField.text
    }

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: Theme.paddingLarge
        spacing: Theme.padding

        SectionHeader {
            Layout.fillWidth: true
            symbol: "folder"
            title: "Files"
            subtitle: filtered.count !== screen.fileCount
                      ? Format.count(filtered.count) + " of " + Format.count(screen.fileCount) + " files"
                        + (screen.fileCount < screen.trackedCount ? " listed" : "")
                      : screen.fileCount < screen.trackedCount
                      ? "The first " + Format.count(screen.fileCount) + " of " + Format.count(screen.trackedCount) + " tracked files"
                      : Format.count(screen.fileCount) + " tracked files"
            FilterField {
                id: filterField
                objectName: "fileFilter"
                Layout.preferredWidth: Math.min(240, screen.width * 0.4)
                placeholderText: "Find file"
            }
            CsvExportButton { model: filtered; fileName: "files.csv" }
        }

        ListSurface {
            Layout.fillWidth: true
            Layout.fillHeight: true

            ListView {
                id: list
                objectName: "fileList"
                anchors.fill: parent
                clip: true
                model: filtered
                boundsBehavior: Flickable.StopAtBounds
                ScrollBar.vertical: ScrollBar { }

                delegate: ItemDelegate {
                    id: row
                    required property int index
                    required property string path
                    required property string status
                    required property var lastCommitDate
                    required property string lastAuthor

                    readonly property int slash: path.lastIndexOf("/")
                    readonly property string fileName: slash >= 0 ? path.substring(slash + 1) : path
                    readonly property string folder: slash >= 0 ? path.substring(0, slash) : ""
                    readonly property bool selected: !!screen.appModel.selection.selectedFile && screen.appModel.selection.selectedFile.path === path

                    width: ListView.view.width
                    implicitHeight: 46
                    hoverEnabled: true
                    leftPadding: Theme.spacing + 4
                    rightPadding: Theme.spacing + 4
                    Accessible.name: path

                    background: Rectangle {
                        radius: Theme.radius
                        color: row.selected ? Theme.selection : row.down ? Theme.pressed : row.hovered ? Theme.hover : "transparent"
                    }

                    contentItem: RowLayout {
                        spacing: Theme.spacing + 2
                        SymbolIcon {
                            symbol: "doc"
                            size: 18
                            color: Theme.secondaryText
                        }
                        ColumnLayout {
                            Layout.fillWidth: true
                            spacing: 1
                            ElidedPath {
                                Layout.fillWidth: true
                                text: row.fileName
                                font.weight: Font.Medium
                            }
                            ElidedPath {
                                Layout.fillWidth: true
                                visible: row.folder !== ""
                                text: row.folder
                                font.pixelSize: Theme.fontCaption
                                color: Theme.secondaryText
                            }
                        }
                        Badge {
                            visible: row.status !== "" && row.status !== "tracked"
                            text: row.status
                            tint: row.status.indexOf("?") >= 0 ? Theme.named("gray")
                                                               : Theme.named(Format.statusColorName(row.status.trim()))
                        }
                        Label {
                            visible: screen.width > 620
                            Layout.preferredWidth: 150
                            horizontalAlignment: Text.AlignRight
                            text: row.lastAuthor + (Format.isDate(row.lastCommitDate) ? "  ·  " + Format.age(row.lastCommitDate) : "")
                            font.pixelSize: Theme.fontCaption
                            color: Theme.secondaryText
                            elide: Text.ElideRight
                        }
                    }

                    onClicked: screen.appModel.selection.selectFile(filtered.get(row.index))
                    onDoubleClicked: screen.appModel.selection.openFile(filtered.get(row.index))
                }
            }

            EmptyStateView {
                anchors.fill: parent
                visible: filtered.count === 0
                symbol: "doc"
                title: screen.fileCount === 0 ? "No files" : "No matching files"
                message: screen.fileCount === 0 ? "The work tree has no tracked files." : "Try a different filter."
            }
        }
    }
}
