import QtQuick
import QtQuick.Controls
import QtTest
import Strataloom.Style
import Strataloom.Screens
import Strataloom.Model

TestCase {
    id: testCase
    name: "InspectorPane"
    when: windowShown
    visible: true
    width: 320
    height: 700

    Component { id: paneComponent; InspectorPane { width: 320; height: 700 } }

    // A history whose newest commit adds, modifies, deletes and renames a file.
    function openModel() {
        const repo = fixtures.newRepository()
        fixtures.write(repo, "keep.txt", "keep\n")
        fixtures.write(repo, "gone.txt", "gone\n")
        fixtures.write(repo, "old-name.txt", "a file that moves somewhere else\nwith some lines\nof text\n")
        fixtures.commit(repo, "Start", "Ada Lovelace", "ada@example.com")
        fixtures.write(repo, "keep.txt", "keep\nand more\n")
        fixtures.remove(repo, "gone.txt")
        fixtures.remove(repo, "old-name.txt")
        fixtures.write(repo, "new-name.txt", "a file that moves somewhere else\nwith some lines\nof text\n")
        fixtures.write(repo, "added.txt", "new\n")
        fixtures.commit(repo, "Reshuffle files", "Grace Hopper", "grace@example.com")
        const model = fixtures.newModel()
        model.openRepository(repo)
        tryCompare(model, "isLoading", false, 20000)
        return model
    }

    function test_emptyStatesOfTheThreePanes() {
        const pane = createTemporaryObject(paneComponent, testCase, { appModel: fixtures.newModel() })
        const cases = [["commit", "commitEmpty", "clock.arrow.circlepath", "No commit selected",
                        "Select a commit to inspect its changes."],
                       ["file", "fileEmpty", "doc", "No file selected",
                        "Select a file to inspect it. Double-click to open it."],
                       ["author", "authorEmpty", "person.2", "No author selected",
                        "Select an author to inspect contribution activity."]]
        for (const [which, name, symbol, title, message] of cases) {
            pane.pane = which
            const empty = findChild(pane, name)
            verify(empty.visible, which)
            compare(empty.symbol, symbol)
            compare(empty.title, title)
            compare(empty.message, message)
        }
    }

    function test_commitPaneShowsTheCommitAndItsChangedFiles() {
        const model = openModel()
        const pane = createTemporaryObject(paneComponent, testCase, { appModel: model })
        compare(pane.pane, "commit")
        verify(!findChild(pane, "commitEmpty").visible)
        compare(findChild(pane, "commitSubject").text, "Reshuffle files")
        compare(findChild(pane, "commitHash").value, model.selectedCommit.id)

        model.selectCommit(model.commits.get(0))
        const changes = findChild(pane, "changedFiles")
        tryCompare(changes, "count", 4, 10000)
        const colours = {}
        for (let i = 0; i < changes.count; ++i) {
            const row = changes.itemAtIndex(i)
            colours[row.status.charAt(0)] = findChild(row, "statusBadge").tint
        }
        compare(Object.keys(colours).sort(), ["A", "D", "M", "R"])
        compare(colours["A"], Theme.named("green"))
        compare(colours["D"], Theme.named("red"))
        compare(colours["R"], Theme.named("orange"))
        compare(colours["M"], Theme.named("blue"))

        mouseClick(findChild(pane, "openDiff"))
        tryCompare(model, "isDiffPresented", true, 10000)
    }

    function test_filePaneReadsTheFileHistory() {
        const model = openModel()
        const pane = createTemporaryObject(paneComponent, testCase, { appModel: model })
        let keep = null
        for (let i = 0; i < model.files.count; ++i) {
            if (model.files.get(i).path === "keep.txt")
                keep = model.files.get(i)
        }
        verify(keep)
        model.selectFile(keep)
        compare(pane.pane, "file")
        tryVerify(() => model.selectedFileDetails !== null && model.selectedFileDetails !== undefined, 10000)
        verify(!findChild(pane, "fileLoading").visible)
        compare(findChild(pane, "filePath").text, "keep.txt")
        compare(findChild(pane, "fileCommits").value, "2")
        compare(findChild(pane, "fileSize").value, "14 bytes")
        const contributors = findChild(pane, "contributors")
        tryVerify(() => contributors.children.length >= 2)
    }

    function test_authorPaneShowsStatisticsAndTheHeatMap() {
        const model = openModel()
        const pane = createTemporaryObject(paneComponent, testCase, { appModel: model })
        let grace = null
        for (let i = 0; i < model.authorStats.count; ++i) {
            if (model.authorStats.get(i).name === "Grace Hopper")
                grace = model.authorStats.get(i)
        }
        verify(grace)
        model.selectAuthor(grace)
        compare(pane.pane, "author")
        tryVerify(() => model.selectedAuthorDetails !== null && model.selectedAuthorDetails !== undefined, 10000)
        compare(findChild(pane, "authorName").text, "Grace Hopper")
        compare(findChild(pane, "authorCommits").value, "1")
        verify(findChild(pane, "authorAdded").value.startsWith("+"))
        const heatmap = findChild(pane, "heatmap")
        compare(heatmap.columns, 53)
        compare(heatmap.rows, 7)
        compare(heatmap.grid.cells.length, 371)
    }
}
