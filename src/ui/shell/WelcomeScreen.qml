import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Strataloom
import Strataloom.Style

// The window while no repository is open: open one with the folder picker, from the recents,
// or from the repositories that the home scan found.
Rectangle {
    id: welcome

    required property var appModel
    property var desktopActions: null
    property string openShortcut: "Ctrl+O"

    // 0: recent, 1: repositories (found by the home scan).
    property int selectedTab: 0

    readonly property bool scanning: appModel.catalog.isScanningRepositories
    readonly property bool scanned: !isNaN(appModel.catalog.repositoriesScannedAt.getTime())

    function reveal(record) {
        if (desktopActions && desktopActions.showFolder)
            desktopActions.showFolder(record.path)
    }

    color: Theme.window

    ColumnLayout {
        anchors.fill: parent
        anchors.topMargin: 40
        anchors.bottomMargin: Theme.paddingLarge
        anchors.leftMargin: Theme.paddingLarge
        anchors.rightMargin: Theme.paddingLarge
        spacing: Theme.spacingLarge

        // Header.
        RowLayout {
            Layout.alignment: Qt.AlignHCenter
            Layout.maximumWidth: 760
            Layout.fillWidth: true
            spacing: Theme.spacingLarge

            Image {
                source: "qrc:/qt/qml/Strataloom/icons/strataloom.svg"
                sourceSize: Qt.size(72, 72)
                Layout.preferredWidth: 72
                Layout.preferredHeight: 72
            }
            ColumnLayout {
                Layout.fillWidth: true
                spacing: 4
                Label {
                    text: "Strataloom"
                    font.pixelSize: Theme.fontLargeTitle + 4
                    font.weight: Font.Bold
                    color: Theme.text
                }
                Label {
                    Layout.fillWidth: true
                    text: "Open a Git repository and explore how the project evolved."
                    font.pixelSize: Theme.fontHeadline
                    color: Theme.secondaryText
                    wrapMode: Text.Wrap
                }
            }
            SymbolButton {
                objectName: "openRepositoryButton"
                prominent: true
                symbol: "folder.badge.plus"
                text: "Open Repository…"
                toolTip: "Open Repository… (" + welcome.openShortcut + ")"
                onClicked: welcome.appModel.session.openRepositoryPicker()
            }
        }

        // Source tabs.
        TabBar {
            id: tabs
            objectName: "sourceTabs"
            Layout.alignment: Qt.AlignHCenter
            Layout.preferredWidth: 340
            currentIndex: welcome.selectedTab
            onCurrentIndexChanged: welcome.selectedTab = currentIndex
            Accessible.name: "Repository source"
            spacing: 2
            background: Rectangle {
                radius: Theme.radius + 1
                color: Theme.hover
                border.color: Theme.cardBorder
            }
            Repeater {
                model: [
                    { title: "Recent", symbol: "clock.arrow.circlepath" },
                    { title: "Repositories", symbol: "externaldrive.fill" }
                ]
                TabButton {
                    id: tab
                    required property var modelData
                    required property int index
                    objectName: "tab_" + modelData.title
                    text: modelData.title
                    topPadding: 6
                    bottomPadding: 6
                    background: Rectangle {
                        anchors.fill: parent
                        anchors.margins: 2
                        radius: Theme.radius - 1
                        color: tab.checked ? Theme.card : tab.hovered ? Theme.hover : "transparent"
                        border.color: tab.checked ? Theme.cardBorder : "transparent"
                    }
                    contentItem: SymbolLabel {
                        symbol: tab.modelData.symbol
                        text: tab.text
                        symbolColor: tab.checked ? Theme.accent : Theme.secondaryText
                        font.weight: tab.checked ? Font.DemiBold : Font.Normal
                    }
                }
            }
        }

        // The chosen tab's section.
        Card {
            objectName: "sourceCard"
            Layout.alignment: Qt.AlignHCenter
            Layout.maximumWidth: 760
            Layout.fillWidth: true
            Layout.fillHeight: true
            padding: Theme.padding

            StackLayout {
                Layout.fillWidth: true
                Layout.fillHeight: true
                currentIndex: welcome.selectedTab

                // Recent repositories.
                ColumnLayout {
                    spacing: Theme.spacing
                    SectionHeader {
                        Layout.fillWidth: true
                        title: "Recent Repositories"
                        SymbolButton {
                            objectName: "clearRecentsButton"
                            flat: true
                            text: "Clear"
                            enabled: welcome.appModel.catalog.recentRepositories.count > 0
                            onClicked: welcome.appModel.catalog.clearRecentRepositories()
                        }
                    }
                    EmptyStateView {
                        objectName: "recentEmpty"
                        Layout.fillWidth: true
                        Layout.fillHeight: true
                        visible: welcome.appModel.catalog.recentRepositories.count === 0
                        symbol: "clock.arrow.circlepath"
                        title: "No recent repositories"
                        message: "Repositories opened in Strataloom will appear here."
                    }
                    RepositoryList {
                        objectName: "recentList"
                        Layout.fillWidth: true
                        Layout.fillHeight: true
                        visible: welcome.appModel.catalog.recentRepositories.count > 0
                        model: welcome.appModel.catalog.recentRepositories
                        openRepository: (record) => welcome.appModel.catalog.openRecentRepository(record)
                        revealRepository: (record) => welcome.reveal(record)
                        removeRepository: (record) => welcome.appModel.catalog.removeRecentRepository(record)
                    }
                }

                // Repositories found in the home folder.
                ColumnLayout {
                    spacing: Theme.spacing
                    SectionHeader {
                        Layout.fillWidth: true
                        title: "Repositories"
                        subtitle: welcome.scanned && !welcome.scanning && welcome.appModel.catalog.discoveredRepositories.count > 0
                                  ? "Scanned " + welcome.appModel.catalog.repositoriesScannedAt.toLocaleString(Qt.locale(), Locale.ShortFormat)
                                    + " · " + welcome.appModel.catalog.discoveredRepositories.count + " found"
                                  : ""
                        SymbolButton {
                            objectName: "scanButton"
                            flat: true
                            symbol: welcome.scanned ? "arrow.clockwise" : "magnifyingglass"
                            text: welcome.scanning ? "Scanning" : welcome.scanned ? "Rescan" : "Scan Home"
                            enabled: !welcome.scanning
                            onClicked: welcome.appModel.catalog.scanHomeForRepositories()
                        }
                    }
                    EmptyStateView {
                        objectName: "scanningState"
                        Layout.fillWidth: true
                        Layout.fillHeight: true
                        visible: welcome.scanning
                        busy: true
                        title: "Searching for Git repositories…"
                        message: "Only " + ShellSupport.homeFolder + " is scanned"
                    }
                    EmptyStateView {
                        objectName: "neverScannedState"
                        Layout.fillWidth: true
                        Layout.fillHeight: true
                        visible: !welcome.scanning && !welcome.scanned
                        symbol: "externaldrive.badge.magnifyingglass"
                        title: "Find repositories in your home directory"
                        message: "The list is stored locally and shown again the next time Strataloom starts."
                        SymbolButton {
                            objectName: "scanHomeFolderButton"
                            symbol: "magnifyingglass"
                            text: "Scan Home Folder"
                            onClicked: welcome.appModel.catalog.scanHomeForRepositories()
                        }
                    }
                    EmptyStateView {
                        objectName: "nothingFoundState"
                        Layout.fillWidth: true
                        Layout.fillHeight: true
                        visible: !welcome.scanning && welcome.scanned && welcome.appModel.catalog.discoveredRepositories.count === 0
                        symbol: "folder.badge.questionmark"
                        title: "No repositories found"
                        message: "Rescan after creating or cloning a repository in your home directory."
                    }
                    RepositoryList {
                        objectName: "discoveredList"
                        Layout.fillWidth: true
                        Layout.fillHeight: true
                        visible: !welcome.scanning && welcome.scanned && welcome.appModel.catalog.discoveredRepositories.count > 0
                        model: welcome.appModel.catalog.discoveredRepositories
                        openRepository: (record) => welcome.appModel.catalog.openDiscoveredRepository(record)
                        revealRepository: (record) => welcome.reveal(record)
                    }
                }
            }
        }

        // Footer.
        SymbolLabel {
            Layout.alignment: Qt.AlignHCenter
            Layout.fillWidth: false
            symbol: "lock.shield"
            text: "Only local Git data is read. Home scanning never leaves your home directory."
            color: Theme.secondaryText
            pixelSize: Theme.fontCaption + 1
        }
    }
}
