import QtQuick
import QtQuick.Controls
import QtQuick.Dialogs
import QtQuick.Layouts
import Strataloom
import Strataloom.Style

// The one window: the welcome screen while no repository is open, else the sidebar, the
// repository bar above the selected section's screen, and the inspector. It also owns the
// window-wide presentations (loading, error alert, checkout confirmation, sheets) and the menus.
ApplicationWindow {
    id: window

    required property var appModel
    required property var desktopActions

    readonly property bool hasRepository: !!appModel.session.repository

    // The section screens by section value: module and name, and what stands in for them.
    readonly property var sectionScreens: [
        { module: "Strataloom.Screens", name: "OverviewScreen" },
        { module: "Strataloom.Insights", name: "StatisticsScreen" },
        { module: "Strataloom.Screens", name: "TimelineScreen" },
        { module: "Strataloom.Screens", name: "HistoryScreen" },
        { module: "Strataloom.Screens", name: "BranchesScreen" },
        { module: "Strataloom.Screens", name: "TagsScreen" },
        { module: "Strataloom.Screens", name: "FilesScreen" },
        { module: "Strataloom.Screens", name: "SearchScreen" },
        { module: "Strataloom.Insights", name: "InsightsScreen" }
    ]

    width: 1280
    height: 800
    minimumWidth: 980
    minimumHeight: 680
    visible: true
    title: hasRepository ? appModel.session.repository.name + " — Strataloom" : "Strataloom"
    color: Theme.window

    // Menus. Shortcuts go through key sequences that each platform spells its own way.
    menuBar: MenuBar {
        delegate: MenuBarItem {
            id: menuBarItem
            contentItem: Label {
                text: menuBarItem.text.replace("&", "")
                font.pixelSize: Theme.fontBody
                color: Theme.text
                verticalAlignment: Text.AlignVCenter
            }
            background: Rectangle {
                radius: 4
                color: menuBarItem.highlighted ? Theme.hover : "transparent"
            }
        }
        background: Rectangle {
            implicitHeight: 28
            color: Theme.bar
            Rectangle {
                anchors.bottom: parent.bottom
                width: parent.width
                height: 1
                color: Theme.separator
            }
        }
        Menu {
            title: "&File"
            Action {
                objectName: "openRepositoryAction"
                text: "Open Repository…"
                shortcut: StandardKey.Open
                onTriggered: window.appModel.session.openRepositoryPicker()
            }
            Menu {
                id: recentMenu
                objectName: "openRecentMenu"
                title: "Open Recent"
                readonly property int recentCount: window.appModel.catalog.recentRepositories.count

                Instantiator {
                    model: window.appModel.catalog.recentRepositories
                    delegate: MenuItem {
                        required property int index
                        required property string name
                        text: name
                        onTriggered: window.appModel.catalog.openRecentRepository(window.appModel.catalog.recentRepositories.get(index))
                    }
                    onObjectAdded: (index, object) => recentMenu.insertItem(index, object)
                    onObjectRemoved: (index, object) => recentMenu.removeItem(object)
                }
                MenuItem {
                    text: "No Recent Repositories"
                    enabled: false
                    visible: recentMenu.recentCount === 0
                    height: visible ? implicitHeight : 0
                }
                MenuSeparator {
                    visible: recentMenu.recentCount > 0
                    height: visible ? implicitHeight : 0
                }
                MenuItem {
                    objectName: "clearMenuItem"
                    text: "Clear Menu"
                    visible: recentMenu.recentCount > 0
                    height: visible ? implicitHeight : 0
                    onTriggered: window.appModel.catalog.clearRecentRepositories()
                }
            }
            MenuSeparator {}
            Action {
                text: "Quit"
                shortcut: StandardKey.Quit
                onTriggered: Qt.quit()
            }
        }
        Menu {
            title: "&Repository"
            Action {
                id: refreshAction
                objectName: "refreshAction"
                text: "Refresh"
                shortcut: "Ctrl+R"
                enabled: window.hasRepository
                onTriggered: window.appModel.session.refresh()
            }
            Action {
                id: quickSearchAction
                objectName: "quickSearchAction"
                text: "Quick Search"
                shortcut: "Ctrl+K"
                enabled: window.hasRepository
                onTriggered: window.appModel.isSearchPresented = true
            }
        }
        Menu {
            title: "&Help"
            Action {
                objectName: "aboutAction"
                text: "About Strataloom"
                onTriggered: window.appModel.isAboutPresented = true
            }
        }
    }

    // The platform's refresh key (F5 here) refreshes too.
    Shortcut {
        sequence: StandardKey.Refresh
        enabled: window.hasRepository
        onActivated: window.appModel.session.refresh()
    }
    // Texts of the shortcuts as this platform writes them, for the help texts.
    Shortcut { id: quickSearchKeys; sequence: "Ctrl+K"; enabled: false }
    Shortcut { id: refreshKeys; sequence: "Ctrl+R"; enabled: false }
    Shortcut { id: openKeys; sequence: StandardKey.Open; enabled: false }

    // The folder picker that the model asks for.
    FolderDialog {
        id: folderDialog
        objectName: "folderDialog"
        title: "Open Repository"
        onAccepted: window.desktopActions.folderChosen(ShellSupport.localPath(selectedFolder))
    }
    Connections {
        target: window.desktopActions
        ignoreUnknownSignals: true
        function onFolderRequested(title) {
            folderDialog.title = title
            folderDialog.open()
        }
    }

    // No repository: the welcome screen fills the window.
    Loader {
        id: welcomeLoader
        objectName: "welcomeLoader"
        anchors.fill: parent
        active: !window.hasRepository
        sourceComponent: WelcomeScreen {
            objectName: "welcomeScreen"
            appModel: window.appModel
            desktopActions: window.desktopActions
            openShortcut: openKeys.nativeText
        }
    }

    // An open repository: sidebar, content and inspector.
    Loader {
        id: workspaceLoader
        objectName: "workspaceLoader"
        anchors.fill: parent
        active: window.hasRepository
        sourceComponent: SplitView {
            objectName: "workspace"
            orientation: Qt.Horizontal

            handle: Rectangle {
                implicitWidth: 1
                color: SplitHandle.hovered || SplitHandle.pressed ? Theme.accent : Theme.separator
            }

            Sidebar {
                objectName: "sidebar"
                appModel: window.appModel
                SplitView.preferredWidth: 210
                SplitView.minimumWidth: 170
                SplitView.maximumWidth: 320
            }

            ColumnLayout {
                objectName: "content"
                SplitView.fillWidth: true
                SplitView.minimumWidth: 430
                spacing: 0

                RepositoryBar {
                    objectName: "repositoryBar"
                    Layout.fillWidth: true
                    appModel: window.appModel
                    quickSearchShortcut: quickSearchKeys.nativeText
                    refreshShortcut: refreshKeys.nativeText
                }

                Item {
                    id: sectionArea
                    objectName: "sectionArea"
                    Layout.fillWidth: true
                    Layout.fillHeight: true
                    clip: true

                    readonly property int section: window.appModel.selectedSection
                    readonly property bool hasInsights: window.appModel.analytics.hasAnalyticsInsights
                    readonly property string repositoryPath: window.hasRepository ? window.appModel.session.repository.path : ""

                    // One loader per section. A screen is built the first time its section is
                    // chosen and then kept, hidden, so that coming back to it is immediate (the
                    // filters and scroll positions stay too). Statistics and Insights, the costly
                    // ones, are built ahead in the background once the first insights arrive.
                    Repeater {
                        id: sectionLoaders
                        model: window.sectionScreens

                        ScreenLoader {
                            id: sectionLoader
                            required property int index
                            required property var modelData
                            readonly property bool current: index === sectionArea.section
                            readonly property bool prebuilt: modelData.module === "Strataloom.Insights"
                            // Whether this section's screen exists (or is being built).
                            property bool kept: current

                            objectName: "sectionLoader_" + index
                            anchors.fill: parent
                            visible: current
                            appModel: window.appModel
                            moduleUri: kept ? modelData.module : ""
                            screenName: kept ? modelData.name : ""
                            fallbackModuleUri: prebuilt ? "Strataloom.Insights" : "Strataloom.Screens"
                            fallbackName: prebuilt ? "IndexStatusScreen" : "PlaceholderScreen"
                            fallbackProperties: prebuilt ? ({}) : ({ title: window.appModel.sectionTitle(index) })

                            // Built in the background while hidden; choosing the section
                            // builds it (or finishes building it) at once. Set here rather than
                            // bound, so that it has changed before the screen is asked for.
                            onCurrentChanged: {
                                asynchronous = !current
                                if (current)
                                    kept = true
                            }
                            Connections {
                                target: sectionArea
                                // Another repository starts with fresh screens.
                                function onRepositoryPathChanged() { sectionLoader.kept = sectionLoader.current }
                            }
                            // A hidden Statistics or Insights screen is not updated in place when
                            // new insights come (that would stall the window for a moment): it is
                            // dropped when an index run starts and built again in the background
                            // once the run's insights are there.
                            Connections {
                                target: sectionLoader.prebuilt ? window.appModel.analytics : null
                                function onAnalyticsIndexStateChanged() {
                                    if (!sectionLoader.current && window.appModel.analytics.analyticsIndexState.isIndexing)
                                        sectionLoader.kept = false
                                }
                                function onAnalyticsInsightsChanged() {
                                    if (sectionArea.hasInsights)
                                        sectionLoader.kept = true
                                }
                            }
                            Component.onCompleted: {
                                asynchronous = !current
                                if (prebuilt && sectionArea.hasInsights)
                                    kept = true
                            }
                        }
                    }
                    EmptyStateView {
                        anchors.fill: parent
                        visible: sectionArea.section < 0 || sectionArea.section >= window.sectionScreens.length
                        symbol: "sidebar.left"
                        title: "Choose a section"
                        message: "Pick a section in the sidebar to explore this repository."
                    }
                }
            }

            Rectangle {
                objectName: "inspectorColumn"
                SplitView.preferredWidth: 300
                SplitView.minimumWidth: 240
                SplitView.maximumWidth: 460
                color: Theme.sidebar

                ScreenLoader {
                    objectName: "inspectorLoader"
                    anchors.fill: parent
                    appModel: window.appModel
                    moduleUri: "Strataloom.Screens"
                    screenName: "InspectorPane"
                    fallbackProperties: ({ title: "Inspector" })
                }
            }
        }
    }

    // While a repository is read; what was shown before stays visible underneath.
    LoadingOverlay {
        objectName: "loadingOverlay"
        anchors.fill: parent
        active: window.appModel.session.isLoading
        covering: !window.hasRepository
        z: 10
    }

    // Error alert.
    Dialog {
        id: errorAlert
        objectName: "errorAlert"
        padding: 20
        background: Rectangle {
            radius: Theme.radiusLarge
            color: Theme.card
            border.color: Theme.cardBorder
        }
        header: Label {
            text: errorAlert.title
            padding: 20
            bottomPadding: 0
            font.pixelSize: Theme.fontHeadline
            font.weight: Font.DemiBold
            color: Theme.text
        }
        title: "Strataloom"
        modal: true
        anchors.centerIn: parent
        width: Math.min(440, window.width - 80)
        closePolicy: Popup.CloseOnEscape
        readonly property string message: window.appModel.errorMessage

        Label {
            objectName: "errorMessage"
            width: parent.width
            text: errorAlert.message
            wrapMode: Text.Wrap
            color: Theme.text
        }
        footer: DialogButtonBox {
            padding: 16
            background: Item {}
            // The theme's buttons: the style's own stay light on a dark palette in popups.
            SymbolButton {
                objectName: "errorOkButton"
                text: "OK"
                prominent: true
                DialogButtonBox.buttonRole: DialogButtonBox.AcceptRole
            }
        }
        onMessageChanged: message !== "" ? open() : close()
        Component.onCompleted: if (message !== "") open()
        onClosed: window.appModel.errorMessage = ""
    }

    // Checkout confirmation.
    Dialog {
        id: checkoutDialog
        objectName: "checkoutDialog"
        padding: 20
        background: Rectangle {
            radius: Theme.radiusLarge
            color: Theme.card
            border.color: Theme.cardBorder
        }
        header: Label {
            text: checkoutDialog.title
            padding: 20
            bottomPadding: 0
            font.pixelSize: Theme.fontHeadline
            font.weight: Font.DemiBold
            color: Theme.text
        }
        title: "Switch branch?"
        modal: true
        anchors.centerIn: parent
        width: Math.min(460, window.width - 80)
        closePolicy: Popup.CloseOnEscape

        readonly property var branch: window.appModel.session.pendingCheckoutBranch
        readonly property string branchName: branch ? branch.name : ""
        property bool switching: false

        Label {
            objectName: "checkoutMessage"
            width: parent.width
            text: "Git will switch the working tree to " + checkoutDialog.branchName
                  + ". Uncommitted changes that prevent checkout will be left untouched and reported as an error."
            wrapMode: Text.Wrap
            color: Theme.text
        }
        footer: DialogButtonBox {
            padding: 16
            background: Item {}
            SymbolButton {
                objectName: "checkoutCancelButton"
                text: "Cancel"
                DialogButtonBox.buttonRole: DialogButtonBox.RejectRole
            }
            SymbolButton {
                objectName: "checkoutSwitchButton"
                text: "Switch to " + checkoutDialog.branchName
                prominent: true
                DialogButtonBox.buttonRole: DialogButtonBox.AcceptRole
            }
        }
        onBranchChanged: {
            if (branch) {
                switching = false
                open()
            } else {
                close()
            }
        }
        onAccepted: {
            switching = true
            window.appModel.session.confirmCheckout()
        }
        onClosed: {
            if (!switching && window.appModel.session.pendingCheckoutBranch)
                window.appModel.session.pendingCheckoutBranch = null
            switching = false
        }
    }

    // Sheets.
    Sheet {
        objectName: "quickSearchSheet"
        transientParent: window
        title: "Quick Search"
        width: 720
        height: 520
        minimumWidth: 700
        minimumHeight: 500
        presented: window.appModel.isSearchPresented
        closeBar: quickSearchLoader.loadingFallback
        onDismissed: window.appModel.isSearchPresented = false

        ScreenLoader {
            id: quickSearchLoader
            objectName: "quickSearchLoader"
            anchors.fill: parent
            appModel: window.appModel
            moduleUri: "Strataloom.Screens"
            screenName: "QuickSearchScreen"
            fallbackProperties: ({ title: "Quick Search" })
        }
    }
    Sheet {
        objectName: "diffSheet"
        transientParent: window
        title: "Diff"
        width: 960
        height: 720
        minimumWidth: 900
        minimumHeight: 680
        presented: window.appModel.selection.isDiffPresented
        closeBar: diffLoader.loadingFallback
        onDismissed: window.appModel.selection.isDiffPresented = false

        ScreenLoader {
            id: diffLoader
            objectName: "diffLoader"
            anchors.fill: parent
            appModel: window.appModel
            moduleUri: "Strataloom.Screens"
            screenName: "DiffScreen"
            fallbackModuleUri: "Strataloom"
            fallbackName: "PlainDiffView"
        }
    }
    AboutSheet {
        id: aboutSheet
        objectName: "aboutSheet"
        readonly property bool presented: window.appModel.isAboutPresented
        onPresentedChanged: presented ? open() : close()
        onClosed: window.appModel.isAboutPresented = false
    }
}
