import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Strataloom.Style
import Strataloom.Screens
import "Format.js" as Format

// The tracked files, found by path. Once the index is ready they stand in their folder tree with
// each file's and folder's commits, authors and last change; until then git's list of the first
// files. A click selects a file for the inspector; a double click opens it in its default
// application.
Item {
    id: screen

    property var appModel
    property alias filter: filterField.text
    readonly property var tree: appModel ? appModel.fileTree : null
    readonly property bool fromIndex: !!tree && tree.isReady

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

    Binding {
        target: screen.tree
        property: "filter"
        value: filterField.text
        when: !!screen.tree
    }

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: Theme.paddingLarge
        spacing: Theme.padding

        SectionHeader {
            Layout.fillWidth: true
            symbol: "folder"
            title: "Files"
            subtitle: screen.fromIndex
                      ? (screen.tree.matchCount !== screen.tree.fileCount
                         ? Format.count(screen.tree.matchCount) + " of " + Format.count(screen.tree.fileCount) + " files"
                         : Format.count(screen.tree.fileCount) + " tracked files")
                      : filtered.count !== screen.fileCount
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
            CsvExportButton {
                model: screen.fromIndex ? screen.tree.listing : filtered
                columns: screen.fromIndex
                         ? [{ role: "path", header: "Path" }, { role: "commits", header: "Commits" },
                            { role: "authors", header: "Authors" }, { role: "lastChange", header: "Last Change" },
                            { role: "lastAuthor", header: "Last Author" }]
                         : []
                fileName: "files.csv"
            }
        }

        QueryNote {
            objectName: "filesNote"
            Layout.fillWidth: true
            error: screen.tree && screen.tree.isAvailable ? screen.tree.error : ""
            notice: screen.fromIndex || !screen.appModel || !screen.appModel.session.repository ? ""
                    : screen.appModel.analytics.analyticsIndexState.isFailed
                    ? "The folder tree with each file's commits and authors needs the index, which could not be built"
                    : "The folder tree with each file's commits and authors appears when indexing finishes"
        }

        ListSurface {
            Layout.fillWidth: true
            Layout.fillHeight: true

            FileTreeList {
                id: treeList
                objectName: "fileTree"
                anchors.fill: parent
                visible: screen.fromIndex
                appModel: screen.appModel
            }

            ListView {
                id: list
                objectName: "fileList"
                anchors.fill: parent
                visible: !screen.fromIndex
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
                visible: screen.fromIndex ? screen.tree.count === 0 : filtered.count === 0
                symbol: "doc"
                title: (screen.fromIndex ? screen.tree.fileCount : screen.fileCount) === 0 ? "No files" : "No matching files"
                message: (screen.fromIndex ? screen.tree.fileCount : screen.fileCount) === 0
                         ? (screen.fromIndex ? "The newest commit holds no files." : "The work tree has no tracked files.")
                         : "Try a different filter."
            }
        }
    }
}
