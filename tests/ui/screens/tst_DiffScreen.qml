import QtQuick
import QtTest
import Strataloom.Screens
import Strataloom.Model

TestCase {
    id: testCase
    name: "DiffScreen"
    when: windowShown
    visible: true
    width: 900
    height: 640

    Component { id: screenComponent; DiffScreen { width: 900; height: 640 } }

    function presentedModel() {
        const repo = fixtures.newRepository()
        fixtures.write(repo, "notes.txt", "first line\n")
        fixtures.commit(repo, "Start notes")
        fixtures.write(repo, "notes.txt", "first line\nsecond line\n")
        fixtures.commit(repo, "Add a second line")
        const model = fixtures.newModel()
        model.session.openRepository(repo)
        tryCompare(model.session, "isLoading", false, 20000)
        model.selection.presentDiff(model.session.commits.get(0))
        tryCompare(model.selection, "isDiffPresented", true, 10000)
        return model
    }

    function test_showsTheCommitsTextSelectable() {
        const model = presentedModel()
        const screen = createTemporaryObject(screenComponent, testCase, { appModel: model })
        const area = findChild(screen, "diffText")
        verify(area.visible)
        compare(area.text, model.selection.presentedDiff)
        verify(area.text.indexOf("diff --git a/notes.txt b/notes.txt") >= 0)
        verify(area.text.indexOf("+second line") >= 0)
        verify(area.readOnly)
        area.selectAll()
        compare(area.selectedText.length, area.length)

        mouseClick(findChild(screen, "doneButton"))
        compare(model.selection.isDiffPresented, false)
    }

    function test_largeTextIsShownAsLines() {
        const model = presentedModel()
        const screen = createTemporaryObject(screenComponent, testCase,
                                             { appModel: model, largeTextThreshold: 10 })
        const lines = findChild(screen, "diffLines")
        verify(lines.visible)
        tryVerify(() => lines.height > 0 && lines.itemAtIndex(lines.count - 1) !== null)
        compare(findChild(screen, "diffText").text, "")
        compare(lines.count, model.selection.presentedDiff.split("\n").length)
        const texts = []
        for (let i = 0; i < lines.count; ++i) {
            const line = lines.itemAtIndex(i)
            if (line)
                texts.push(line.text)
        }
        verify(texts.indexOf("+second line") >= 0)
    }
}
