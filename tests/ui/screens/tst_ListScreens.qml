import QtQuick
import QtTest
import Strataloom.Screens
import "../support"

// The screens that list a repository's records: history, timeline, branches, tags, quick search,
// a diff.
UiTestCase {
    id: testCase
    name: "ListScreens"

    Component { id: overviewScreen; OverviewScreen {} }
    Component { id: historyScreen; HistoryScreen {} }
    Component { id: branchesScreen; BranchesScreen {} }
    Component { id: tagsScreen; TagsScreen {} }
    Component { id: searchScreen; QuickSearchScreen {} }
    Component { id: diffScreen; DiffScreen {} }
    Component { id: timelineScreen; TimelineScreen {} }

    function screenOf(component, model, properties) {
        return createTemporaryObject(component, testCase, Object.assign({ appModel: model, width: 900, height: 700 }, properties))
    }

    function rowsOf(list, field) {
        return Array.from({ length: list.count }, (_, i) => list.model.get(i)[field])
    }

    function historyScreenOf() {
        const subjects = [["Fix crash on start", "Ada Lovelace"], ["Add parser", "Grace Hopper"],
                          ["FIX typo in readme", "Ada Lovelace"], ["Refactor prefix handling", "Grace Hopper"],
                          ["Write docs", "Fixie Bot"], ["Tidy build", "Grace Hopper"]]
        // git's window, before an index is ready: this history is never indexed.
        const indexes = fixtures.setIndexDirectory("/dev/null/no-index")
        const model = openModel(history(subjects.map(([message, author], i) => (
            { files: { ["file" + i + ".txt"]: "line " + i + "\n" }, message: message, author: author }))))
        tryVerify(() => model.analytics.analyticsIndexState.isFailed, 20000)
        fixtures.setIndexDirectory(indexes)
        const screen = screenOf(historyScreen, model)
        return { model: model, screen: screen, list: findChild(screen, "historyList") }
    }

    // Two spellings of one person (one e-mail): git counts two authors, the index one person.
    function test_overviewCountsPeopleOnceTheIndexKnowsThem() {
        const repo = history([{ files: { "a.txt": "1\n" }, message: "One", author: "Ada Lovelace" },
                              { files: { "a.txt": "2\n" }, message: "Two", author: "Ada L." }])
        const { model, screen } = openIndexed(overviewScreen, repo)
        const authors = () => collect(screen, item => item.title === "Authors" && item.value !== undefined,
                                      [], new Set())[0]
        tryVerify(() => authors() && authors().value === "1", 30000, "one person")
        model.analytics.setInsightOption("asRecorded", true)
        tryVerify(() => authors() && authors().value === "2", 30000, "as recorded: two authors")
    }

    function test_historyFilterMatchesSubjectOrAuthorWithoutCaseAndKeepsOrder() {
        const { screen, list } = historyScreenOf()
        compare(list.count, 6)
        // Newest first as git gives them: Fix, FIX and prefix in subjects, Fixie as an author.
        for (const [filter, shown] of [["fix", ["Write docs", "Refactor prefix handling", "FIX typo in readme", "Fix crash on start"]],
                                       ["GRACE", ["Tidy build", "Refactor prefix handling", "Add parser"]],
                                       ["no such commit", []]]) {
            screen.filter = filter
            tryCompare(list, "count", shown.length)
            compare(rowsOf(list, "subject"), shown, filter)
        }
        screen.filter = ""
        compare(list.count, 6)
    }

    function test_historyClickSelectsAndDoubleClickOpensTheDiff() {
        const { model, screen, list } = historyScreenOf()
        screen.filter = "parser"
        // The list applies model changes when it next lays out; wait for the row to be rebuilt.
        tryVerify(() => list.count === 1 && list.height > 0 && list.itemAtIndex(0) && list.itemAtIndex(0).subject === "Add parser")
        const row = list.itemAtIndex(0)
        mouseClick(row)
        tryVerify(() => model.selection.selectedCommit && model.selection.selectedCommit.subject === "Add parser")
        tryVerify(() => row.selected)
        mouseDoubleClickSequence(row)
        tryCompare(model.selection, "isDiffPresented", true, 10000)
        verify(model.selection.presentedDiff.indexOf("Add parser") >= 0)
    }

    function test_branchClickOnlyAsksToCheckOut() {
        const repo = history([{ files: { "a.txt": "a\n" }, message: "First" }])
        fixtures.git(repo, ["branch", "feature"])
        const model = openModel(repo)
        const list = findChild(screenOf(branchesScreen, model), "branchList")
        tryVerify(() => list.count === 2 && list.height > 0 && list.itemAtIndex(1) !== null)
        const rows = [0, 1].map(i => list.itemAtIndex(i))
        const feature = rows.find(row => row.name === "feature")
        verify(rows.find(row => row.name === "main").isCurrent && !feature.isCurrent)

        mouseClick(feature)
        compare(model.session.pendingCheckoutBranch.name, "feature")
        // Asking is all a click does: nothing is switched.
        compare(fixtures.git(repo, ["branch", "--show-current"]).trim(), "main")
        verify(!model.session.isLoading)
    }

    function test_tagFilterMatchesNameOrSubject() {
        const repo = history([{ files: { "a.txt": "a\n" }, message: "First" }, { files: { "b.txt": "b\n" }, message: "Second" }])
        const screen = screenOf(tagsScreen, openModel(repo))
        compare(findChild(screen, "tagsEmpty").visible, true, "no tags")
        fixtures.git(repo, ["tag", "-a", "v1.0", "-m", "Release one", "HEAD~1"])
        fixtures.git(repo, ["tag", "-a", "v2.0", "-m", "Second release", "HEAD"])
        screen.appModel.session.refresh()
        tryCompare(screen.appModel.session, "isLoading", false, 20000)
        // The name or the subject, in any case.
        for (const [filter, shown] of [["", ["v1.0", "v2.0"]], ["V1", ["v1.0"]], ["RELEASE", ["v1.0", "v2.0"]],
                                       ["nothing like it", []]]) {
            screen.filter = filter
            compare(rowsOf(findChild(screen, "tagList"), "name").sort(), shown, filter)
            compare(findChild(screen, "tagsEmpty").visible, shown.length === 0, filter)
        }
    }

    function test_typingSearchesAndResultsAppear() {
        const model = openModel(history(["alpha one", "beta two", "alpha three", "gamma four"].map(
            (message, i) => ({ files: { ["f" + i]: String(i) }, message: message }))))
        const screen = screenOf(searchScreen, model)
        const hint = findChild(screen, "searchHint")
        verify(hint.visible)
        findChild(screen, "searchField").forceActiveFocus()
        for (const key of [Qt.Key_A, Qt.Key_L, Qt.Key_P])
            keyClick(key)
        const results = model.session.searchResults
        tryCompare(results, "count", 2, 10000)
        compare(model.session.searchText, "alp")
        compare([0, 1].map(i => results.get(i).subject), ["alpha three", "alpha one"])
        tryCompare(findChild(screen, "searchResults"), "count", 2)
        verify(!hint.visible)
    }

    // Selectable text, or one line per row when the text is too large for a text area.
    function test_diffShowsTheCommitsChanges() {
        const model = openModel(history([{ files: { "notes.txt": "first line\n" }, message: "Start notes" },
                                         { files: { "notes.txt": "first line\nsecond line\n" }, message: "Add a second line" }]))
        for (const [threshold, asText] of [[100000, true], [10, false]]) {
            model.selection.presentDiff(model.session.commits.get(0))
            tryCompare(model.selection, "isDiffPresented", true, 10000)
            const screen = screenOf(diffScreen, model, { largeTextThreshold: threshold })
            const area = findChild(screen, "diffText")
            const lines = findChild(screen, "diffLines")
            compare([area.visible, lines.visible], [asText, !asText])
            let texts = []
            if (asText) {
                compare(area.text, model.selection.presentedDiff)
                area.selectAll()
                compare(area.selectedText.length, area.length)
                texts = area.text.split("\n")
            } else {
                tryVerify(() => lines.height > 0 && lines.itemAtIndex(lines.count - 1) !== null)
                compare(area.text, "")
                compare(lines.count, model.selection.presentedDiff.split("\n").length)
                texts = Array.from({ length: lines.count }, (_, i) => lines.itemAtIndex(i).text)
            }
            verify(texts.indexOf("diff --git a/notes.txt b/notes.txt") >= 0 && texts.indexOf("+second line") >= 0)
            mouseClick(findChild(screen, "doneButton"))
            compare(model.selection.isDiffPresented, false)
        }
    }

    // main: Start, then Main work; feature: Feature work; then a merge of feature into main.
    function test_timelineMergeDrawsTwoLanesThatSplitAndJoinUnderTheBranch() {
        const repo = history([{ files: { "a.txt": "a\n" }, message: "Start" }])
        fixtures.git(repo, ["checkout", "-q", "-b", "feature"])
        fixtures.write(repo, "b.txt", "b\n")
        fixtures.commit(repo, "Feature work")
        fixtures.git(repo, ["checkout", "-q", "main"])
        fixtures.write(repo, "c.txt", "c\n")
        fixtures.commit(repo, "Main work")
        fixtures.git(repo, ["merge", "-q", "--no-ff", "feature", "-m", "Merge feature"])
        // git's drawing, before an index is ready: this history is never indexed.
        const indexes = fixtures.setIndexDirectory("/dev/null/no-index")
        const model = openModel(repo)
        tryVerify(() => model.analytics.analyticsIndexState.isFailed, 20000)
        fixtures.setIndexDirectory(indexes)
        const screen = screenOf(timelineScreen, model)
        const list = findChild(screen, "timelineList")
        tryVerify(() => list.count >= 6 && list.height > 0 && list.itemAtIndex(list.count - 1) !== null)
        const rows = {}
        for (const row of Array.from({ length: list.count }, (_, i) => list.itemAtIndex(i)))
            rows[row.isConnector ? row.graph.trim() : row.subject] = findChild(row, "graphRow").segments
        const has = (row, kind, x1, y1, x2, y2) => rows[row].some(s => s.kind === kind && s.x1 === x1 && s.y1 === y1
                                                                   && s.x2 === x2 && s.y2 === y2)
        verify(has("Merge feature", "dot", 0.5, 0.5, 0.5, 0.5) && has("Merge feature", "line", 0.5, 0.5, 0.5, 1)
               && !has("Merge feature", "line", 0.5, 0, 0.5, 0.5), "the newest commit is joined downwards only")
        verify(has("|\\", "line", 0.5, 0, 2.5, 1), "the merge opens a second lane")
        verify(has("|/", "line", 2.5, 0, 0.5, 1), "the lanes join again above the first commit")
        verify(has("Start", "dot", 0.5, 0.5, 0.5, 0.5) && !has("Start", "line", 0.5, 0.5, 0.5, 1), "the first commit ends the history")
        // The newest commit carries the branch that points at it.
        compare(list.itemAtIndex(0).subject, "Merge feature")
        compare(findChild(list.itemAtIndex(0), "refBadges").refs, [{ name: "main", kind: "head" }])
    }
}
