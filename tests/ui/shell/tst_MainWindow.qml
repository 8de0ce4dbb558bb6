import QtQuick
import QtQuick.Controls
import QtTest
import "../support"

UiTestCase {
    id: testCase
    name: "MainWindow"
    // The window under test has the focus, not the test's own.
    visible: false

    // What the window hands folders to: the picker's question and the chosen paths.
    Component {
        id: desktopStub
        QtObject { signal folderRequested(string title); property var chosenPaths: []
                   function folderChosen(path) { chosenPaths = chosenPaths.concat([path]) } }
    }

    property var desktop: null

    function newWindow() {
        const model = fixtures.newModel()
        const component = Qt.createComponent("qrc:/qt/qml/Strataloom/Main.qml")
        compare(component.status, Component.Ready, component.errorString())
        desktop = createTemporaryObject(desktopStub, testCase)
        const window = createTemporaryObject(component, testCase, { appModel: model, desktopActions: desktop })
        window.requestActivate()
        tryVerify(() => window.active, 5000)
        return { model: model, window: window }
    }

    function repositoryWithHistory() {
        return history([{ files: { "README.md": "# Demo\n" }, message: "Add the readme" },
                        { files: { "src/main.c": "int main(void) { return 0; }\n" }, message: "Add the entry point" }])
    }

    function openedWindow(repo) {
        const opened = newWindow()
        openIn(opened.model, repo || repositoryWithHistory())
        return opened
    }

    function test_opensARepositoryIntoTheThreeColumns() {
        const repo = repositoryWithHistory()
        const { model, window } = newWindow()
        verify(findOne(window, "welcomeLoader").item !== null, "the welcome screen fills the window")
        compare(findAll(window, "workspace").length, 0)

        model.session.openRepository(repo)
        verify(findOne(window, "loadingOverlay").visible, "the overlay shows at once")
        tryCompare(model.session, "isLoading", false, 20000)
        compare(findOne(window, "welcomeLoader").item, null)
        verify(findOne(window, "workspace").visible && !findOne(window, "loadingOverlay").visible)
        verify(findOne(window, "inspectorLoader").item !== null)
        const state = findOne(window, "workingTreeState")
        const clean = state.text

        // A reload keeps the repository on screen under the overlay.
        fixtures.write(repo, "README.md", "# Changed\n")
        model.session.refresh()
        verify(findOne(window, "loadingOverlay").visible && findOne(window, "workspace").visible)
        tryCompare(model.session, "isLoading", false, 20000)
        verify(state.text !== clean, "the work tree shows as modified")
    }

    function test_sidebarSwitchesEverySectionToAScreen() {
        const { model, window } = openedWindow()
        const titles = ["Overview", "Statistics", "Timeline", "History", "Branches", "Tags", "Files", "Search", "Insights"]
        const loaders = titles.map((title, section) => findOne(window, "sectionLoader_" + section))
        for (let section = titles.length - 1; section >= 0; --section) {
            mouseClick(findOne(window, "section_" + titles[section]))
            compare(model.selectedSection, section, titles[section])
            const loader = loaders[section]
            compare(loader.status, Loader.Ready)
            verify(loader.item.appModel === model, "the screen of " + titles[section] + " has the model")
            // Only the chosen section's screen shows.
            verify(loaders.every(other => other.visible === (other === loader)))
        }
        compare(findOne(window, "sidebarList").currentIndex, 0)
    }

    function test_screensAreKeptAndStartAfreshForAnotherRepository() {
        const { model, window } = openedWindow()
        const loader = section => findOne(window, "sectionLoader_" + section)
        mouseClick(findOne(window, "section_History"))
        const history = loader(3).item
        tryVerify(() => findOne(history, "historyList").count === 2, 5000, "the history lists the commits")
        mouseClick(findOne(window, "section_Tags"))
        mouseClick(findOne(window, "section_History"))
        compare(loader(3).item, history, "coming back shows the same screen")

        // Statistics and Insights are built ahead once the insights are there; new insights are
        // not poured into a hidden screen: it is built again around them.
        tryVerify(() => !!model.analytics.analyticsInsights && loader(1).status === Loader.Ready
                        && loader(8).status === Loader.Ready, 30000)
        verify(!loader(8).visible)
        const hiddenInsights = loader(8).item
        model.session.refresh()
        tryVerify(() => loader(8).status === Loader.Ready && loader(8).item !== hiddenInsights, 30000)
        compare(loader(3).item, history, "other screens stay")

        // Another repository: the screens of the first one are gone, but the chosen one.
        openIn(model, repositoryWithHistory())
        compare(loader(3).item, null)
        verify(loader(model.selectedSection).item !== null)
    }

    function test_branchChoiceAsksFirstThenCancelsOrSwitches() {
        const repo = repositoryWithHistory()
        fixtures.git(repo, ["branch", "feature"])
        const { model, window } = openedWindow(repo)
        const menu = findOne(window, "branchMenu")
        const dialog = findOne(window, "checkoutDialog")
        const current = () => fixtures.git(repo, ["branch", "--show-current"]).trim()
        // Synthetic clicks do not reach menu items in the offscreen window's overlay: the test
        // triggers the item as a click would.
        function choose(name) {
            mouseClick(findOne(window, "branchButton"))
            tryCompare(menu, "opened", true)
            const item = findOne(menu, "branch_" + name)
            verify(item.visible && item.enabled, name)
            item.triggered()
        }
        // Choosing the current branch asks nothing.
        choose("main")
        verify(!model.session.pendingCheckoutBranch)

        for (const button of ["checkoutCancelButton", "checkoutSwitchButton"]) {
            choose("feature")
            compare(model.session.pendingCheckoutBranch.name, "feature")
            tryCompare(dialog, "opened", true)
            compare(current(), "main", "nothing switches before the answer")
            mouseClick(findOne(window, button))
            tryCompare(dialog, "visible", false)
            verify(!model.session.pendingCheckoutBranch)
        }
        tryVerify(() => model.session.repository.currentBranch === "feature", 20000, "reloaded on the branch")
        tryCompare(model.session, "isLoading", false, 20000)
        compare(current(), "feature")
        compare(model.errorMessage, "")
    }

    // Dialogs over the welcome screen (a folder that is not a repository: git's reason), and the
    // sheets, which need a repository; each closes by its own button.
    function test_presentationsOpenAndCloseByTheirButton_data() {
        return [
            { tag: "error", name: "errorAlert", button: "errorOkButton",
              open: m => m.session.openRepository(fixtures.newFolder()), shown: m => m.errorMessage !== "" },
            { tag: "about", name: "aboutSheet", button: "aboutCloseButton", open: m => m.isAboutPresented = true,
              shown: m => m.isAboutPresented },
            { tag: "diff", name: "diffSheet", sheet: true, open: m => m.selection.presentDiff(m.session.commits.get(0)),
              shown: m => m.selection.isDiffPresented },
            { tag: "quick search", name: "quickSearchSheet", sheet: true, open: m => keyClick(Qt.Key_K, Qt.ControlModifier),
              shown: m => m.isSearchPresented },
        ]
    }

    function test_presentationsOpenAndCloseByTheirButton(data) {
        const { model, window } = newWindow()
        if (data.sheet) {
            data.open(model)
            wait(50)
            verify(!data.shown(model), "nothing to show before a repository is open")
            openIn(model, repositoryWithHistory())
            window.requestActivate()
            tryVerify(() => window.active)
        }
        const presentation = findOne(window, data.name)
        data.open(model)
        tryVerify(() => data.shown(model) && presentation.visible, 20000)
        if (data.sheet) {
            // One way to close: the screen's button, not a second bar of the sheet's own.
            verify(!findOne(presentation.contentItem, "sheetCloseButton").visible)
            mouseClick(findOne(presentation.contentItem, "doneButton"))
        } else {
            compare(findOne(window, "errorMessage").visible, data.tag === "error")
            compare(findOne(window, "errorMessage").text, model.errorMessage)
            verify(findOne(window, "welcomeLoader").item !== null)
            mouseClick(findOne(window, data.button))
        }
        tryVerify(() => !data.shown(model) && !presentation.visible)
    }

    function test_folderPickerHandsTheChosenPathBack() {
        const dialog = findOne(newWindow().window, "folderDialog")
        const folder = fixtures.newFolder()
        desktop.folderRequested("Open Repository")
        tryCompare(dialog, "visible", true)
        dialog.selectedFolder = "file://" + folder
        dialog.accept()
        compare(desktop.chosenPaths, [folder])
    }

    // The window's footer counts the indexed commits and tells how many the last run imported.
    function test_indexStatusFollowsTheIndex() {
        const repo = repositoryWithHistory()
        const { model, window } = openedWindow(repo)
        const status = findOne(window, "indexStatus")
        const state = () => model.analytics.analyticsIndexState
        const shows = (count, imported) => state().isReady && status.text.startsWith(count + " ")
                                           && (imported ? new RegExp("\\b" + imported + "\\b").test(status.helpText)
                                                        : !/\d/.test(status.helpText))
        tryVerify(() => shows(2, 2), 30000, "two indexed, two imported: " + status.helpText)
        model.session.refresh()
        tryVerify(() => shows(2, 0), 30000, "nothing new to import")
        fixtures.write(repo, "b.txt", "b\n")
        fixtures.commit(repo, "Add b")
        model.session.refresh()
        tryVerify(() => shows(3, 1), 30000, "three indexed, one imported")
    }

    // Busy before the commits are listed, a bar with the count and the time left while they are
    // imported, neither once ready.
    function test_indexStatusShowsTheImportsProgress() {
        const component = Qt.createComponent("qrc:/qt/qml/Strataloom/IndexStatus.qml")
        compare(component.status, Component.Ready, component.errorString())
        const quarter = { isIndexing: true, progressCommits: 1000, progressTotal: 4000, progressText: "1,000 of 4,000",
                          timeLeftText: "about 2 min left" }
        const listing = { isIndexing: true, progressCommits: 0, progressTotal: 0, progressText: "", timeLeftText: "" }
        const ready = { isIndexing: false, isReady: true, indexedCommits: 4000, importedCommits: 4000, progressCommits: 0,
                        progressTotal: 0 }
        for (const [state, bar, busy] of [[listing, false, true], [quarter, true, false], [ready, false, false]]) {
            // The test case itself is never shown; its parent is the window's visible root.
            const status = createTemporaryObject(component, testCase.parent,
                                                 { appModel: { analytics: { analyticsIndexState: state } } })
            compare([findOne(status, "indexProgress").visible, findOne(status, "indexBusy").visible], [bar, busy])
        }
        const status = createTemporaryObject(component, testCase.parent,
                                             { appModel: { analytics: { analyticsIndexState: quarter } } })
        compare(findOne(status, "indexProgress").position, 0.25)
        verify(status.text.indexOf(quarter.progressText) > 0 && status.text.indexOf(quarter.timeLeftText) > 0, status.text)
    }
}
