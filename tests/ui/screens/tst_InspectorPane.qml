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
        model.session.openRepository(repo)
        tryCompare(model.session, "isLoading", false, 20000)
        return model
    }

    function descendants(item) {
        let all = [item]
        for (let i = 0; i < item.children.length; ++i)
            all = all.concat(descendants(item.children[i]))
        return all
    }

    function rowNamed(list, field, value) {
        for (let i = 0; i < list.count; ++i) {
            if (list.get(i)[field] === value)
                return list.get(i)
        }
        return null
    }

    function test_emptyStatesFitTheNarrowestPane_data() {
        return [{ tag: "commit", name: "commitEmpty" }, { tag: "file", name: "fileEmpty" },
                { tag: "author", name: "authorEmpty" }]
    }

    // The inspector's column is 240 pixels at its narrowest: every text wraps inside it.
    function test_emptyStatesFitTheNarrowestPane(data) {
        const pane = createTemporaryObject(paneComponent, testCase,
                                           { appModel: fixtures.newModel(), width: 240 })
        pane.pane = data.tag
        const empty = findChild(pane, data.name)
        verify(empty.visible)
        waitForRendering(pane)
        const labels = descendants(empty).filter(item => item.visible && typeof item.text === "string"
                                                  && item.text !== "")
        verify(labels.length >= 2)
        for (const label of labels) {
            const left = label.mapToItem(pane, 0, 0).x
            verify(left >= 0 && left + label.width <= pane.width,
                   label.text + " spans " + left + "…" + (left + label.width))
            verify(label.contentWidth <= label.width + 1, label.text)
            verify(!label.truncated, label.text)
        }
    }

    function test_choosingTheSelectedRowAgainTurnsThePane_data() {
        return [
            { tag: "author", pane: "author", select: m => m.selection.selectAuthor(rowNamed(m.session.authorStats, "name", "Grace Hopper")) },
            { tag: "file", pane: "file", select: m => m.selection.selectFile(rowNamed(m.session.files, "path", "keep.txt")) },
            { tag: "commit", pane: "commit", select: m => m.selection.selectCommit(m.session.commits.get(1)) },
        ]
    }

    function test_choosingTheSelectedRowAgainTurnsThePane(data) {
        const model = openModel()
        const pane = createTemporaryObject(paneComponent, testCase, { appModel: model })
        data.select(model)
        compare(pane.pane, data.pane)
        // Something else, then the same row again.
        if (data.pane === "author")
            model.selection.selectCommit(model.session.commits.get(1))
        else
            model.selection.selectAuthor(rowNamed(model.session.authorStats, "name", "Ada Lovelace"))
        verify(pane.pane !== data.pane)
        data.select(model)
        compare(pane.pane, data.pane)
    }

    function test_failedDetailsEndTheSpinner_data() {
        return [
            { tag: "file", loading: "fileLoading",
              select: m => m.selection.selectFile(rowNamed(m.session.files, "path", "keep.txt")) },
            { tag: "author", loading: "authorLoading",
              select: m => m.selection.selectAuthor(rowNamed(m.session.authorStats, "name", "Grace Hopper")) },
        ]
    }

    function test_failedDetailsEndTheSpinner(data) {
        const repo = fixtures.newRepository()
        fixtures.write(repo, "keep.txt", "keep\n")
        fixtures.commit(repo, "Start", "Grace Hopper", "grace@example.com")
        const model = fixtures.newModel()
        model.session.openRepository(repo)
        tryCompare(model.session, "isLoading", false, 20000)
        const pane = createTemporaryObject(paneComponent, testCase, { appModel: model })
        // The repository breaks under the open window: git refuses every later read.
        fixtures.write(repo, ".git/HEAD", "not a reference\n")
        data.select(model)
        verify(findChild(pane, data.loading).visible, "busy at first")
        tryVerify(() => model.errorMessage !== "", 10000)
        verify(!findChild(pane, data.loading).visible, "the spinner ends")
        const failed = findChild(pane, data.tag + "Failed")
        verify(failed.visible)
        compare(failed.message, model.errorMessage)
    }

    function test_commitPaneShowsTheCommitAndItsChangedFiles() {
        const model = openModel()
        const pane = createTemporaryObject(paneComponent, testCase, { appModel: model })
        compare(pane.pane, "commit")
        verify(!findChild(pane, "commitEmpty").visible)
        compare(findChild(pane, "commitSubject").text, "Reshuffle files")
        compare(findChild(pane, "commitHash").value, model.selection.selectedCommit.id)

        model.selection.selectCommit(model.session.commits.get(0))
        const changes = findChild(pane, "changedFiles")
        tryCompare(changes, "count", 4, 10000)
        const colours = {}
        for (let i = 0; i < changes.count; ++i) {
            const row = changes.itemAtIndex(i)
            colours[row.status.charAt(0)] = findChild(row, "statusBadge").tint
        }
        compare(Object.keys(colours).sort(), ["A", "D", "M", "R"])
        compare(new Set(Object.values(colours).map(String)).size, 4, "a tint of its own for each kind")

        mouseClick(findChild(pane, "openDiff"))
        tryCompare(model.selection, "isDiffPresented", true, 10000)
    }

    function test_filePaneReadsTheFileHistory() {
        const model = openModel()
        const pane = createTemporaryObject(paneComponent, testCase, { appModel: model })
        let keep = null
        for (let i = 0; i < model.session.files.count; ++i) {
            if (model.session.files.get(i).path === "keep.txt")
                keep = model.session.files.get(i)
        }
        verify(keep)
        model.selection.selectFile(keep)
        compare(pane.pane, "file")
        tryVerify(() => model.selection.selectedFileDetails !== null && model.selection.selectedFileDetails !== undefined, 10000)
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
        for (let i = 0; i < model.session.authorStats.count; ++i) {
            if (model.session.authorStats.get(i).name === "Grace Hopper")
                grace = model.session.authorStats.get(i)
        }
        verify(grace)
        model.selection.selectAuthor(grace)
        compare(pane.pane, "author")
        tryVerify(() => model.selection.selectedAuthorDetails !== null && model.selection.selectedAuthorDetails !== undefined, 10000)
        compare(findChild(pane, "authorName").text, "Grace Hopper")
        compare(findChild(pane, "authorCommits").value, "1")
        verify(findChild(pane, "authorAdded").value.startsWith("+"))
        const heatmap = findChild(pane, "heatmap")
        compare(heatmap.columns, 53)
        compare(heatmap.rows, 7)
        compare(heatmap.grid.cells.length, 371)
    }
}
