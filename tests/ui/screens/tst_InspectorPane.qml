import QtQuick
import QtTest
import Strataloom.Model
import Strataloom.Screens
import "../support"

UiTestCase {
    id: testCase
    name: "InspectorPane"
    width: 320
    height: 700

    Component { id: paneComponent; InspectorPane { width: 320; height: 700 } }

    // A history whose newest commit adds, modifies, deletes and renames a file.
    function openPane() {
        const moved = "a file that moves somewhere else\nwith some lines\nof text\n"
        const repo = history([
            { files: { "keep.txt": "keep\n", "gone.txt": "gone\n", "old-name.txt": moved }, message: "Start" },
            { files: { "keep.txt": "keep\nand more\n", "gone.txt": null, "old-name.txt": null, "new-name.txt": moved,
                       "added.txt": "new\n" }, message: "Reshuffle files", author: "Grace Hopper" }])
        const model = openModel(repo)
        return { repo: repo, model: model, pane: createTemporaryObject(paneComponent, testCase, { appModel: model }) }
    }

    function rowOf(list, field, value) {
        return Array.from({ length: list.count }, (_, i) => list.get(i)).find(row => row[field] === value)
    }

    function selectGrace(m) { m.selection.selectAuthor(rowOf(m.session.authorStats, "name", "Grace Hopper")) }
    function selectKeep(m) { m.selection.selectFile(rowOf(m.session.files, "path", "keep.txt")) }

    // The inspector's column is 240 pixels at its narrowest: every text wraps inside it.
    function test_emptyStatesFitTheNarrowestPane() {
        const pane = createTemporaryObject(paneComponent, testCase, { appModel: fixtures.newModel(), width: 240 })
        for (const kind of ["commit", "file", "author"]) {
            pane.pane = kind
            const empty = findChild(pane, kind + "Empty")
            verify(empty.visible, kind)
            waitForRendering(pane)
            const labels = collect(empty, item => item.visible && typeof item.text === "string" && item.text !== "", [], new Set())
            verify(labels.length >= 2, kind)
            for (const label of labels) {
                const left = label.mapToItem(pane, 0, 0).x
                verify(left >= 0 && left + label.width <= pane.width, label.text + " spans " + left + "…" + (left + label.width))
                verify(label.contentWidth <= label.width + 1 && !label.truncated, label.text)
            }
        }
    }

    function test_choosingTheSelectedRowAgainTurnsThePane() {
        const { model, pane } = openPane()
        const commit = m => m.selection.selectCommit(m.session.commits.get(1))
        for (const [kind, select, other] of [["author", selectGrace, commit], ["file", selectKeep, selectGrace],
                                             ["commit", commit, selectGrace]]) {
            select(model)
            compare(pane.pane, kind)
            other(model)
            verify(pane.pane !== kind, kind)
            select(model)
            compare(pane.pane, kind)
        }
    }

    function test_detailsOfTheChosenRowOrWhyNot_data() {
        const rows = [
            { tag: "file", select: selectKeep, details: m => m.selection.selectedFileDetails,
              fields: { filePath: "keep.txt", fileCommits: "2", fileSize: "14 bytes" }, list: "contributors" },
            { tag: "author", select: selectGrace, details: m => m.selection.selectedAuthorDetails,
              fields: { authorName: "Grace Hopper", authorCommits: "1" }, list: "heatmap" }]
        return rows.concat(rows.map(row => Object.assign({}, row, { tag: row.tag + " in a broken repository", pane: row.tag, broken: true })))
    }

    function test_detailsOfTheChosenRowOrWhyNot(data) {
        const { repo, model, pane } = openPane()
        const kind = data.pane || data.tag
        // The repository breaks under the open window: git refuses every later read.
        if (data.broken)
            fixtures.write(repo, ".git/HEAD", "not a reference\n")
        data.select(model)
        compare(pane.pane, kind)
        const loading = findChild(pane, kind + "Loading")
        verify(loading.visible || !data.broken, "busy at first")
        tryVerify(() => !!data.details(model) || model.errorMessage !== "", 10000)
        verify(!loading.visible, "the spinner ends")
        const failed = findChild(pane, kind + "Failed")
        compare(failed.visible, !!data.broken)
        if (data.broken)
            return compare(failed.message, model.errorMessage)
        for (const name in data.fields)
            compare(findChild(pane, name).value || findChild(pane, name).text, data.fields[name], name)
        verify(findChild(pane, data.list).visible)
    }

    // Once the index is ready the file pane lists the file's commits under all its names; a file
    // the working tree lost opens from the insights all the same, marked as deleted.
    function test_fileHistoryFromTheIndex() {
        const { model, pane } = openPane()
        tryVerify(() => model.analytics.analyticsIndexState.isReady, 120000)
        for (const [path, deleted] of [["new-name.txt", false], ["gone.txt", true]]) {
            model.openInsightFile(path)
            compare(model.errorMessage, "")
            compare(pane.pane, "file")
            const list = findChild(pane, "fileHistoryList")
            tryVerify(() => !!pane.fileDetails && pane.fileDetails.path === path && list.count === 2, 60000, path)
            compare([0, 1].map(i => list.model.get(i).subject), ["Reshuffle files", "Start"])
            compare(pane.fileDetails.commitCount, 2)
            compare(findChild(pane, "fileDeletedMark").visible, deleted)
            compare(findChild(pane, "openFile").visible, !deleted)
        }
    }

    // Once the index is ready the author pane lists the author's commits and the files they
    // changed most; a file opens in Files.
    function test_authorHistoryAndFilesFromTheIndex() {
        const { model, pane } = openPane()
        const note = findChild(pane, "authorHistoryNote")
        selectGrace(model)
        tryVerify(() => !!model.selection.selectedAuthorDetails, 10000)
        tryVerify(() => model.analytics.analyticsIndexState.isReady, 120000)
        const list = findChild(pane, "authorHistoryList")
        const files = findChild(pane, "authorFiles")
        tryVerify(() => list.count === 1 && files.count === 4, 60000)
        verify(!note.visible)
        compare(list.model.get(0).subject, "Reshuffle files")
        compare(findChild(pane, "authorHistoryTitle").text.indexOf("1 commit") >= 0, true)

        const path = findChild(files.itemAt(0), "authorFilePath")
        waitForRendering(pane)
        mouseClick(path)
        tryCompare(model, "selectedSection", AppViewModel.Files, 10000)
        tryVerify(() => !!model.selection.selectedFile && model.selection.selectedFile.path === path.text, 10000)
    }

    function test_commitPaneShowsTheCommitAndItsChangedFiles() {
        const { model, pane } = openPane()
        compare(pane.pane, "commit")
        verify(!findChild(pane, "commitEmpty").visible)
        compare(findChild(pane, "commitSubject").text, model.selection.selectedCommit.subject)

        model.selection.selectCommit(model.session.commits.get(0))
        const changes = findChild(pane, "changedFiles")
        tryCompare(changes, "count", 4, 10000)
        const rows = Array.from({ length: 4 }, (_, i) => changes.itemAtIndex(i))
        compare(rows.map(row => row.status.charAt(0)).sort(), ["A", "D", "M", "R"])
        compare(new Set(rows.map(row => String(findChild(row, "statusBadge").tint))).size, 4, "a tint of its own for each kind")

        mouseClick(findChild(pane, "openDiff"))
        tryCompare(model.selection, "isDiffPresented", true, 10000)
    }
}
