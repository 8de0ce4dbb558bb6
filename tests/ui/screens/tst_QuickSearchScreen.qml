import QtQuick
import QtTest
import Strataloom.Screens
import Strataloom.Model

TestCase {
    id: testCase
    name: "QuickSearchScreen"
    when: windowShown
    visible: true
    width: 640
    height: 520

    Component { id: screenComponent; QuickSearchScreen { width: 640; height: 520 } }

    function openModel() {
        const repo = fixtures.newRepository()
        const subjects = ["alpha one", "beta two", "alpha three", "gamma four"]
        for (let i = 0; i < subjects.length; ++i) {
            fixtures.write(repo, "f" + i, String(i))
            fixtures.commit(repo, subjects[i])
        }
        const model = fixtures.newModel()
        model.session.openRepository(repo)
        tryCompare(model.session, "isLoading", false, 20000)
        return model
    }

    function resultSubjects(model) {
        const subjects = []
        for (let i = 0; i < model.session.searchResults.count; ++i)
            subjects.push(model.session.searchResults.get(i).subject)
        return subjects
    }

    function test_typingSearchesAndResultsAppear() {
        const model = openModel()
        const screen = createTemporaryObject(screenComponent, testCase, { appModel: model })
        const hint = findChild(screen, "searchHint")
        verify(hint.visible)

        const field = findChild(screen, "searchField")
        field.forceActiveFocus()
        keyClick(Qt.Key_A)
        keyClick(Qt.Key_L)
        keyClick(Qt.Key_P)
        compare(field.text, "alp")
        tryCompare(model.session.searchResults, "count", 2, 10000)
        compare(model.session.searchText, "alp")
        compare(resultSubjects(model), ["alpha three", "alpha one"])
        tryCompare(findChild(screen, "searchResults"), "count", 2)
        verify(!hint.visible)
    }
}
