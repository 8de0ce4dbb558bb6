import QtQuick
import QtTest
import Strataloom
import "../support"

UiTestCase {
    id: testCase
    name: "WelcomeScreen"
    width: 900
    height: 640

    Component { id: welcomeComponent; WelcomeScreen { anchors.fill: parent } }

    function welcomeOver(home, tab) {
        const model = fixtures.newModel(home || fixtures.newFolder())
        const welcome = createTemporaryObject(welcomeComponent, testCase, { appModel: model, selectedTab: tab || 0 })
        return { model: model, welcome: welcome, shown: names => names.map(name => findOne(welcome, name).visible) }
    }

    function test_scanShowsProgressThenTheRepositoriesFound_data() {
        return [{ tag: "one found", button: "scanHomeFolderButton", found: true },
                { tag: "nothing found", button: "scanButton", found: false }]
    }

    function test_scanShowsProgressThenTheRepositoriesFound(data) {
        const home = fixtures.newFolder()
        const repo = history([{ files: { "a.txt": "a\n" }, message: "Add a" }])
        if (data.found)
            fixtures.git(repo, ["clone", "-q", repo, home + "/projects/demo"])
        const { model, welcome, shown } = welcomeOver(home, 1)
        mouseClick(findOne(welcome, data.button))
        verify(model.catalog.isScanningRepositories && findOne(welcome, "scanningState").visible, "the scan shows")
        verify(!findOne(welcome, "scanButton").enabled, "one scan at a time")

        tryCompare(model.catalog, "isScanningRepositories", false, 20000)
        compare(shown(["discoveredList", "nothingFoundState", "neverScannedState"]), [data.found, !data.found, false])
        if (!data.found)
            return
        mouseClick(findOne(welcome, "repository_demo"))
        compare(model.session.isLoading, true, "a click opens the repository")
        tryCompare(model.session, "isLoading", false, 20000)
        compare(model.session.repository.name, "demo")
    }

    function test_recentsListOpensAndRemoves() {
        const { model, welcome, shown } = welcomeOver()
        for (const name of ["a", "b"])
            openIn(model, history([{ files: { [name]: name }, message: "Add " + name }]))
        const recents = model.catalog.recentRepositories
        compare(shown(["recentList", "recentEmpty"]), [true, false])
        compare(findOne(welcome, "recentList").count, 2)

        const newest = recents.get(0)
        findOne(welcome, "recentList").removeRepository(recents.get(1))
        compare(recents.count, 1)
        compare(recents.get(0).path, newest.path)

        mouseClick(findOne(welcome, "repository_" + newest.name))
        compare(model.session.isLoading, true, "a click opens the repository")
        tryCompare(model.session, "isLoading", false, 20000)

        mouseClick(findOne(welcome, "clearRecentsButton"))
        compare(recents.count, 0)
        verify(findOne(welcome, "recentEmpty").visible)
    }
}
