import QtQuick
import QtQuick.Controls
import QtTest
import Strataloom
import "ShellTestSupport.js" as Find

TestCase {
    id: testCase
    name: "WelcomeScreen"
    when: windowShown
    visible: true
    width: 900
    height: 640

    Component {
        id: welcomeComponent
        WelcomeScreen { anchors.fill: parent }
    }

    function named(root, name) {
        tryVerify(() => Find.byName(root, name) !== null, 5000, "no item named " + name)
        return Find.byName(root, name)
    }

    function shown(root, name) {
        const item = named(root, name)
        return item.visible
    }

    function homeWithRepository() {
        const home = fixtures.newFolder()
        const repo = fixtures.newRepository()
        fixtures.write(repo, "a.txt", "a\n")
        fixtures.commit(repo, "Add a")
        fixtures.git(repo, ["clone", "-q", repo, home + "/projects/demo"])
        return home
    }

    function test_nothingRecentAndNeverScanned() {
        const model = fixtures.newModel(fixtures.newFolder())
        const welcome = createTemporaryObject(welcomeComponent, testCase, { appModel: model })
        verify(shown(welcome, "recentEmpty"))
        verify(!shown(welcome, "recentList"))

        mouseClick(named(welcome, "tab_Repositories"))
        verify(shown(welcome, "neverScannedState"))
        verify(!shown(welcome, "scanningState") && !shown(welcome, "discoveredList"))
    }

    function test_scanShowsProgressThenTheRepositoriesFound() {
        const model = fixtures.newModel(homeWithRepository())
        const welcome = createTemporaryObject(welcomeComponent, testCase, { appModel: model, selectedTab: 1 })
        mouseClick(named(welcome, "scanHomeFolderButton"))
        compare(model.catalog.isScanningRepositories, true)
        verify(shown(welcome, "scanningState"))
        verify(!named(welcome, "scanButton").enabled, "one scan at a time")

        tryCompare(model.catalog, "isScanningRepositories", false, 20000)
        verify(shown(welcome, "discoveredList"))
        const subtitle = Find.texts(welcome).find(text => text.startsWith("Scanned "))
        verify(subtitle !== undefined && subtitle.endsWith("1 found"), subtitle)

        mouseClick(named(welcome, "repository_demo"))
        compare(model.session.isLoading, true, "a click opens the repository")
        tryCompare(model.session, "isLoading", false, 20000)
        compare(model.session.repository.name, "demo")
    }

    function test_scanThatFindsNothing() {
        const model = fixtures.newModel(fixtures.newFolder())
        const welcome = createTemporaryObject(welcomeComponent, testCase, { appModel: model, selectedTab: 1 })
        mouseClick(named(welcome, "scanButton"))
        tryCompare(model.catalog, "isScanningRepositories", false, 20000)
        verify(shown(welcome, "nothingFoundState"))
        verify(!shown(welcome, "discoveredList") && !shown(welcome, "neverScannedState"))
    }

    function test_recentsListOpensAndRemoves() {
        const model = fixtures.newModel(fixtures.newFolder())
        const first = fixtures.newRepository()
        fixtures.write(first, "a.txt", "a\n")
        fixtures.commit(first, "Add a")
        const second = fixtures.newRepository()
        fixtures.write(second, "b.txt", "b\n")
        fixtures.commit(second, "Add b")
        for (const repo of [first, second]) {
            model.session.openRepository(repo)
            tryCompare(model.session, "isLoading", false, 20000)
        }
        const welcome = createTemporaryObject(welcomeComponent, testCase, { appModel: model })
        verify(shown(welcome, "recentList"))
        verify(!shown(welcome, "recentEmpty"))
        compare(named(welcome, "recentList").count, 2)

        const newest = model.catalog.recentRepositories.get(0)
        const oldest = model.catalog.recentRepositories.get(1)
        named(welcome, "recentList").removeRepository(oldest)
        compare(model.catalog.recentRepositories.count, 1)
        compare(model.catalog.recentRepositories.get(0).path, newest.path)

        mouseClick(named(welcome, "repository_" + newest.name))
        compare(model.session.isLoading, true)
        tryCompare(model.session, "isLoading", false, 20000)

        mouseClick(named(welcome, "clearRecentsButton"))
        compare(model.catalog.recentRepositories.count, 0)
        verify(shown(welcome, "recentEmpty"))
    }
}
