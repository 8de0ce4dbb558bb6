import QtQuick
import QtQuick.Controls
import QtTest
import "ShellTestSupport.js" as Find

TestCase {
    id: testCase
    name: "MainWindow"
    when: windowShown

    Component {
        id: desktopStub
        QtObject {
            signal folderRequested(string title)
            property var chosenPaths: []
            property var shownFolders: []
            function folderChosen(path) { chosenPaths = chosenPaths.concat([path]) }
            function showFolder(path) { shownFolders = shownFolders.concat([path]) }
        }
    }

    Component {
        id: spyComponent
        SignalSpy {}
    }

    property var desktop: null

    function createMain(model) {
        const component = Qt.createComponent("qrc:/qt/qml/Strataloom/Main.qml")
        compare(component.status, Component.Ready, component.errorString())
        desktop = createTemporaryObject(desktopStub, testCase)
        const window = createTemporaryObject(component, testCase, { appModel: model, desktopActions: desktop })
        verify(window !== null)
        window.requestActivate()
        tryVerify(() => window.active, 5000)
        return window
    }

    function named(window, name) {
        const find = () => Find.byName(window.contentItem, name) || Find.byName(window, name)
        tryVerify(() => find() !== null, 5000, "no item named " + name)
        return find()
    }

    // Synthetic mouse clicks do not reach menu items in the offscreen window's overlay; the
    // test triggers the item as a click would.
    function clickMenuItem(item) {
        verify(item.visible && item.enabled, item.text)
        item.triggered()
    }

    function repositoryWithHistory() {
        const repo = fixtures.newRepository()
        fixtures.write(repo, "README.md", "# Demo\n")
        fixtures.commit(repo, "Add the readme")
        fixtures.write(repo, "src/main.c", "int main(void) { return 0; }\n")
        fixtures.commit(repo, "Add the entry point")
        return repo
    }

    function openAndWait(window, model, repo) {
        model.session.openRepository(repo)
        tryCompare(model.session, "isLoading", false, 20000)
        verify(model.session.repository !== null && model.session.repository !== undefined, model.errorMessage)
        waitForRendering(window.contentItem)
    }

    function test_opensARepositoryIntoTheThreeColumns() {
        const repo = repositoryWithHistory()
        const model = fixtures.newModel()
        const window = createMain(model)
        verify(named(window, "welcomeLoader").item !== null, "the welcome screen fills the window")
        verify(Find.byName(window.contentItem, "workspace") === null)

        model.session.openRepository(repo)
        verify(named(window, "loadingOverlay").visible, "the overlay shows at once")
        tryCompare(model.session, "isLoading", false, 20000)

        compare(named(window, "welcomeLoader").item, null)
        verify(named(window, "workspace").visible)
        verify(!named(window, "loadingOverlay").visible)
        verify(window.title.startsWith(model.session.repository.name))
        compare(named(window, "workingTreeState").text, "Clean")
        verify(named(window, "inspectorLoader").item !== null)

        // A reload keeps the repository on screen under the overlay.
        fixtures.write(repo, "README.md", "# Changed\n")
        model.session.refresh()
        verify(named(window, "loadingOverlay").visible)
        verify(named(window, "workspace").visible, "previous content stays")
        tryCompare(model.session, "isLoading", false, 20000)
        compare(named(window, "workingTreeState").text, "Modified")
    }

    function test_sidebarSwitchesEverySectionToAScreen() {
        const model = fixtures.newModel()
        const window = createMain(model)
        openAndWait(window, model, repositoryWithHistory())
        const titles = ["Overview", "Statistics", "Timeline", "History", "Branches", "Tags", "Files", "Search", "Insights"]
        const loaders = titles.map((title, section) => named(window, "sectionLoader_" + section))
        for (let section = titles.length - 1; section >= 0; --section) {
            mouseClick(named(window, "section_" + titles[section]))
            compare(model.selectedSection, section, titles[section])
            const loader = loaders[section]
            verify(loader.item !== null, "a screen (or its stand-in) for " + titles[section])
            compare(loader.status, Loader.Ready)
            verify(loader.item.appModel === model, "the screen of " + titles[section] + " has the model")
            // Only the chosen section's screen shows.
            compare(loaders.filter(other => other.visible).length, 1)
            verify(loader.visible)
        }
        compare(named(window, "sidebarList").currentIndex, 0)
    }

    function test_screensAreKeptAndStartAfreshForAnotherRepository() {
        const model = fixtures.newModel()
        const window = createMain(model)
        openAndWait(window, model, repositoryWithHistory())
        mouseClick(named(window, "section_History"))
        const history = named(window, "sectionLoader_3").item
        verify(history !== null)
        tryVerify(() => Find.texts(history).indexOf("2 commits") >= 0, 5000, "the history lists the commits")
        mouseClick(named(window, "section_Tags"))
        mouseClick(named(window, "section_History"))
        compare(named(window, "sectionLoader_3").item, history, "coming back shows the same screen")

        // Statistics and Insights are built ahead once the insights are there.
        tryVerify(() => !!model.analytics.analyticsInsights, 30000)
        tryVerify(() => named(window, "sectionLoader_1").status === Loader.Ready
                        && named(window, "sectionLoader_8").status === Loader.Ready, 20000)
        verify(!named(window, "sectionLoader_8").visible)

        // New insights are not poured into a hidden screen: it is built again around them.
        const hiddenInsights = named(window, "sectionLoader_8").item
        const insightsSpy = createTemporaryObject(spyComponent, testCase,
                                                  { target: model.analytics, signalName: "analyticsInsightsChanged" })
        model.session.refresh()
        insightsSpy.wait(30000)
        tryVerify(() => named(window, "sectionLoader_8").status === Loader.Ready, 20000)
        verify(named(window, "sectionLoader_8").item !== hiddenInsights)
        compare(named(window, "sectionLoader_3").item, history, "other screens stay")

        mouseClick(named(window, "section_Insights"))
        const insightsItem = named(window, "sectionLoader_8").item
        verify(Find.byName(insightsItem, "insightsFlick") !== null)

        // Another repository: the screens of the first one are gone, but the chosen one.
        openAndWait(window, model, repositoryWithHistory())
        compare(named(window, "sectionLoader_3").item, null)
        verify(named(window, "sectionLoader_" + model.selectedSection).item !== null)
    }

    function test_branchChoiceAsksFirstThenCancelsOrSwitches() {
        const repo = repositoryWithHistory()
        fixtures.git(repo, ["branch", "feature"])
        const model = fixtures.newModel()
        const window = createMain(model)
        openAndWait(window, model, repo)

        mouseClick(named(window, "branchButton"))
        const menu = named(window, "branchMenu")
        tryCompare(menu, "opened", true)
        verify(Find.byName(menu, "heading_Local Branches") !== null)
        compare(Find.byName(menu, "heading_Remote Branches"), null, "no remote branches here")

        // The current branch is checked; choosing it asks nothing.
        clickMenuItem(Find.byName(menu, "branch_main"))
        verify(!model.session.pendingCheckoutBranch)

        mouseClick(named(window, "branchButton"))
        tryCompare(menu, "opened", true)
        clickMenuItem(Find.byName(menu, "branch_feature"))
        compare(model.session.pendingCheckoutBranch.name, "feature")
        const dialog = named(window, "checkoutDialog")
        tryCompare(dialog, "opened", true)

        mouseClick(named(window, "checkoutCancelButton"))
        tryCompare(dialog, "visible", false)
        verify(!model.session.pendingCheckoutBranch)
        compare(model.session.isLoading, false)
        compare(fixtures.git(repo, ["branch", "--show-current"]).trim(), "main")

        // Asked again, "Switch to feature" checks the branch out and reloads.
        mouseClick(named(window, "branchButton"))
        tryCompare(menu, "opened", true)
        clickMenuItem(Find.byName(menu, "branch_feature"))
        tryCompare(dialog, "opened", true)
        mouseClick(named(window, "checkoutSwitchButton"))
        tryCompare(dialog, "visible", false)
        tryVerify(() => model.session.repository.currentBranch === "feature", 20000, "reloaded on the branch")
        tryCompare(model.session, "isLoading", false, 20000)
        compare(fixtures.git(repo, ["branch", "--show-current"]).trim(), "feature")
        verify(!model.session.pendingCheckoutBranch)
        compare(model.errorMessage, "")
    }

    function test_folderThatIsNotARepositoryShowsTheAlertOverTheWelcomeScreen() {
        const model = fixtures.newModel()
        const window = createMain(model)
        model.session.openRepository(fixtures.newFolder())
        tryCompare(model.session, "isLoading", false, 20000)
        const alert = named(window, "errorAlert")
        tryCompare(alert, "opened", true)
        // Outside any repository git itself answers.
        verify(model.errorMessage.startsWith("fatal: not a git repository"), model.errorMessage)
        compare(named(window, "errorMessage").text, model.errorMessage)
        verify(named(window, "welcomeLoader").item !== null)

        mouseClick(named(window, "errorOkButton"))
        tryCompare(alert, "visible", false)
        compare(model.errorMessage, "")
    }

    function test_sheetsOpenOnlyWithARepositoryAndCloseByTheirButton_data() {
        return [
            { tag: "diff", sheet: "diffSheet", close: "doneButton", minimum: [900, 680],
              open: model => model.selection.presentDiff(model.session.commits.get(0)),
              presented: model => model.selection.isDiffPresented },
            { tag: "quick search", sheet: "quickSearchSheet", close: "doneButton", minimum: [700, 500],
              open: model => keyClick(Qt.Key_K, Qt.ControlModifier),
              presented: model => model.isSearchPresented },
        ]
    }

    function test_sheetsOpenOnlyWithARepositoryAndCloseByTheirButton(data) {
        const model = fixtures.newModel()
        const window = createMain(model)
        data.open(model)
        wait(50)
        verify(!data.presented(model), "nothing to show before a repository is open")

        openAndWait(window, model, repositoryWithHistory())
        window.requestActivate()
        tryVerify(() => window.active)
        data.open(model)
        tryVerify(() => data.presented(model), 20000)
        const sheet = named(window, data.sheet)
        tryCompare(sheet, "visible", true)
        verify(sheet.minimumWidth >= data.minimum[0] && sheet.minimumHeight >= data.minimum[1])
        // One way to close: the screen's button, not a second bar of the sheet's own.
        verify(!Find.byName(sheet.contentItem, "sheetCloseButton").visible)
        mouseClick(Find.byName(sheet.contentItem, data.close))
        verify(!data.presented(model))
        tryCompare(sheet, "visible", false)
    }

    function test_aboutSheetCloses() {
        const model = fixtures.newModel()
        const window = createMain(model)
        model.isAboutPresented = true
        const about = named(window, "aboutSheet")
        tryCompare(about, "opened", true)
        mouseClick(named(window, "aboutCloseButton"))
        tryCompare(about, "visible", false)
        compare(model.isAboutPresented, false)
    }

    function test_folderPickerHandsTheChosenPathBack() {
        const model = fixtures.newModel()
        const window = createMain(model)
        const folder = fixtures.newFolder()
        desktop.folderRequested("Open Repository")
        const dialog = named(window, "folderDialog")
        tryCompare(dialog, "visible", true)
        compare(dialog.title, "Open Repository")
        dialog.selectedFolder = "file://" + folder
        dialog.accept()
        compare(desktop.chosenPaths, [folder])
    }

    function test_indexStatusReportsTheIndex() {
        const repo = repositoryWithHistory()
        const model = fixtures.newModel()
        const window = createMain(model)
        openAndWait(window, model, repo)
        const status = named(window, "indexStatus")
        tryVerify(() => model.analytics.analyticsIndexState.isReady || model.analytics.analyticsIndexState.isFailed, 30000)
        verify(model.analytics.analyticsIndexState.isReady, model.analytics.analyticsIndexState.message)
        compare(status.text, "2 indexed")
        compare(status.helpText, "Imported 2 new commits")

        model.session.refresh()
        tryCompare(status, "helpText", "Analytics index is up to date", 30000)
        compare(status.text, "2 indexed")

        fixtures.write(repo, "b.txt", "b\n")
        fixtures.commit(repo, "Add b")
        model.session.refresh()
        tryVerify(() => model.analytics.analyticsIndexState.isReady && model.analytics.analyticsIndexState.indexedCommits === 3, 30000)
        compare(status.text, "3 indexed")
        compare(status.helpText, "Imported 1 new commits")
    }

    function test_indexStatusShowsTheImportsProgress_data() {
        return [
            { tag: "before the commits are listed", bar: false, busy: true,
              state: { isIndexing: true, progressCommits: 0, progressTotal: 0, progressText: "", timeLeftText: "" } },
            { tag: "a quarter imported", bar: true, busy: false, position: 0.25,
              state: { isIndexing: true, progressCommits: 1000, progressTotal: 4000, progressText: "1,000 of 4,000",
                       timeLeftText: "about 2 min left" } },
            { tag: "ready", bar: false, busy: false,
              state: { isIndexing: false, isReady: true, indexedCommits: 4000, importedCommits: 4000, progressCommits: 0, progressTotal: 0 } },
        ]
    }

    function test_indexStatusShowsTheImportsProgress(data) {
        const component = Qt.createComponent("qrc:/qt/qml/Strataloom/IndexStatus.qml")
        compare(component.status, Component.Ready, component.errorString())
        // The test case itself is never shown; its parent is the window's visible root.
        const status = createTemporaryObject(component, testCase.parent,
                                             { appModel: { analytics: { analyticsIndexState: data.state } } })
        verify(status !== null)
        const bar = Find.byName(status, "indexProgress")
        verify(bar !== null)
        compare(bar.visible, data.bar)
        compare(Find.byName(status, "indexBusy").visible, data.busy)
        if (data.bar) {
            compare(bar.position, data.position)
            verify(status.text.indexOf(data.state.progressText) > 0, status.text)
            verify(status.text.indexOf(data.state.timeLeftText) > 0, status.text)
        }
    }
}
