import QtQuick
import QtTest
import Strataloom.Screens
import Strataloom.Model

TestCase {
    id: testCase
    name: "HistoryScreen"
    when: windowShown
    visible: true
    width: 800
    height: 600

    Component { id: screenComponent; HistoryScreen { width: 800; height: 600 } }

    function openFixture() {
        const repo = fixtures.newRepository()
        const subjects = [["Fix crash on start", "Ada Lovelace"], ["Add parser", "Grace Hopper"],
                          ["FIX typo in readme", "Ada Lovelace"], ["Refactor prefix handling", "Grace Hopper"],
                          ["Write docs", "Fixie Bot"], ["Tidy build", "Grace Hopper"]]
        for (let i = 0; i < subjects.length; ++i) {
            fixtures.write(repo, "file" + i + ".txt", "line " + i + "\n")
            fixtures.commit(repo, subjects[i][0], subjects[i][1], "dev" + i + "@example.com")
        }
        const model = fixtures.newModel()
        model.session.openRepository(repo)
        tryCompare(model.session, "isLoading", false, 20000)
        compare(model.session.commits.count, subjects.length)
        return model
    }

    function shownSubjects(list) {
        const subjects = []
        for (let i = 0; i < list.count; ++i)
            subjects.push(list.model.get(i).subject)
        return subjects
    }

    function test_filterMatchesSubjectOrAuthorWithoutCaseAndKeepsOrder() {
        const model = openFixture()
        const screen = createTemporaryObject(screenComponent, testCase, { appModel: model })
        const list = findChild(screen, "historyList")
        compare(list.count, 6)

        screen.filter = "fix"
        tryCompare(list, "count", 4)
        // Newest first as git gives them: Fix, FIX and prefix in subjects, Fixie as an author.
        compare(shownSubjects(list), ["Write docs", "Refactor prefix handling", "FIX typo in readme",
                                      "Fix crash on start"])

        screen.filter = "GRACE"
        compare(shownSubjects(list), ["Tidy build", "Refactor prefix handling", "Add parser"])

        screen.filter = ""
        compare(list.count, 6)
        compare(shownSubjects(list)[0], "Tidy build")

        screen.filter = "no such commit"
        compare(list.count, 0)
    }

    function test_clickSelectsAndDoubleClickOpensTheDiff() {
        const model = openFixture()
        const screen = createTemporaryObject(screenComponent, testCase, { appModel: model })
        const list = findChild(screen, "historyList")
        screen.filter = "parser"
        tryCompare(list, "count", 1)
        // The list applies model changes when it next lays out; wait for the row to be rebuilt.
        tryVerify(() => list.height > 0 && list.itemAtIndex(0) && list.itemAtIndex(0).subject === "Add parser")
        const row = list.itemAtIndex(0)

        mouseClick(row)
        tryVerify(() => model.selection.selectedCommit && model.selection.selectedCommit.subject === "Add parser")
        tryVerify(() => row.selected)

        mouseDoubleClickSequence(row)
        tryCompare(model.selection, "isDiffPresented", true, 10000)
        verify(model.selection.presentedDiff.indexOf("Add parser") >= 0)
    }
}
