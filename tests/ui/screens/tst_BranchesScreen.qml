import QtQuick
import QtTest
import Strataloom.Screens
import Strataloom.Model

TestCase {
    id: testCase
    name: "BranchesScreen"
    when: windowShown
    visible: true
    width: 800
    height: 600

    Component { id: screenComponent; BranchesScreen { width: 800; height: 600 } }

    function rowNamed(list, name) {
        for (let i = 0; i < list.count; ++i) {
            const row = list.itemAtIndex(i)
            if (row && row.name === name)
                return row
        }
        return null
    }

    function test_clickOnlyAsksToCheckOut() {
        const repo = fixtures.newRepository()
        fixtures.write(repo, "a.txt", "a\n")
        fixtures.commit(repo, "First")
        fixtures.git(repo, ["branch", "feature"])
        const model = fixtures.newModel()
        model.session.openRepository(repo)
        tryCompare(model.session, "isLoading", false, 20000)
        compare(model.session.branches.count, 2)

        const screen = createTemporaryObject(screenComponent, testCase, { appModel: model })
        const list = findChild(screen, "branchList")
        tryCompare(list, "count", 2)
        tryVerify(() => list.height > 0 && list.itemAtIndex(1) !== null)
        const feature = rowNamed(list, "feature")
        verify(feature)
        verify(rowNamed(list, "main").isCurrent)

        mouseClick(feature)
        verify(model.session.pendingCheckoutBranch)
        compare(model.session.pendingCheckoutBranch.name, "feature")
        // Asking is all a click does: nothing is switched.
        compare(fixtures.git(repo, ["branch", "--show-current"]).trim(), "main")
        verify(!model.session.isLoading)
    }
}
