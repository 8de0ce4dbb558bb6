import QtQuick
import QtTest
import Strataloom.Insights
import Strataloom.Model
import "../support"

// The insights dashboard over a history whose insights are known: five commits on one day,
// three by Ada (one a revert), one by Grace, one by Linus on a side branch only.
UiTestCase {
    name: "InsightsScreen"

    Component { id: screenComponent; InsightsScreen {} }

    property string knownRepository: ""

    function openKnown() {
        if (knownRepository === "") {
            knownRepository = history([
                { files: { "src/app.cpp": "one\n" }, message: "feat: add app" },
                { files: { "src/app.cpp": "one\ntwo\n", "README.md": "read\n" }, message: "fix: handle two" },
                { files: { "src/app.cpp": "one\ntwo\nthree\n" }, message: "Update app", author: "Grace Hopper" },
                { files: { "src/app.cpp": "one\nthree\n" }, message: "revert: drop two" }])
            // Only on a side branch: in the index, but neither in HEAD's authors nor in the work tree.
            fixtures.git(knownRepository, ["switch", "-q", "-c", "feature"])
            fixtures.write(knownRepository, "feature/only.txt", "x\n")
            fixtures.commit(knownRepository, "feat: side file", "Linus Side", "linus@example.net")
            fixtures.git(knownRepository, ["switch", "-q", "main"])
        }
        const opened = openIndexed(screenComponent, knownRepository)
        tryCompare(opened.screen, "phase", "ready")
        tryCompare(opened.model.session, "isLoading", false)
        return opened
    }

    function test_figuresObservationsAndMilestonesOfTheKnownHistory() {
        const opened = openKnown()
        const screen = opened.screen
        const expected = {
            "metric:Commits": ["5"], "metric:Code churn": ["6", "+5 / −1 lines"],
            "metric:Merge share": ["0%"], "metric:Conventional": ["80%"],
            "metric:Reverts": ["1", "20% of history"], "metric:Top ownership": ["60%", "Ada Lovelace"],
            "trend:Activity trend": ["+0%"], "trend:Contributor trend": ["+200%"]
        }
        for (const name in expected)
            compare([findOne(screen, name).value, findOne(screen, name).caption].slice(0, expected[name].length), expected[name], name)
        compare(findAll(screen, "observation").length, 5)
        compare(findAll(screen, "milestone").length, 3)
        const bars = findAll(screen, "riskSignal")
        compare(bars.length, 6)
        compare([0, 3].map(i => Math.round(bars[i].value)), [80, 40])

        // The first run to open the history imported everything (another test of this file may
        // have been first); a refresh finds the index up to date.
        const badge = findOne(screen, "indexBadge")
        verify(/^\+?5 commits/.test(badge.detailText), badge.detailText)
        opened.model.session.refresh()
        tryVerify(() => badge.detailText.startsWith("5 commits"), 60000)
    }

    function test_rowsOpenTheAuthorOrTheFile() {
        const { model, screen } = openKnown()
        const authors = findAll(screen, "authorRow")
        const files = findAll(screen, "hotspotRow")
        compare(authors.map(r => r.modelData.name), ["Ada Lovelace", "Grace Hopper", "Linus Side"])
        // The side branch's file is not at HEAD: the hotspots leave it out by default.
        compare(files.map(r => r.modelData.path), ["src/app.cpp", "README.md"])

        // Linus exists only on the side branch: his row says why nothing opens.
        const clicks = [[authors[1], AppViewModel.Statistics], [files[0], AppViewModel.Files], [authors[2]]]
        for (const [row, section] of clicks) {
            model.errorMessage = ""
            scrollTo(screen, "insightsFlick", row)
            mouseClick(row)
            if (section === undefined) {
                verify(model.errorMessage !== "", row.modelData.name || row.modelData.path)
                continue
            }
            tryCompare(model, "selectedSection", section)
            compare(model.errorMessage, "")
        }
        compare(model.selection.selectedAuthor.name, "Grace Hopper")
        compare(model.selection.selectedFile.path, "src/app.cpp")
    }

    // Shown on request, the side branch's file carries the deleted mark (opening a deleted file:
    // see the inspector's tests).
    function test_deletedFilesAreMarked() {
        const { model, screen } = openKnown()
        // Remembered for the repository, which the other tests share: set back however this ends.
        model.analytics.setInsightOption("hideDeletedFiles", false)
        try {
            tryVerify(() => findAll(screen, "hotspotRow").length === 3, 60000)
            const rows = findAll(screen, "hotspotRow")
            const marked = rows.filter(r => findOne(r, "deletedMark").visible).map(r => r.modelData.path)
            compare(marked, ["feature/only.txt"])
        } finally {
            model.analytics.setInsightOption("hideDeletedFiles", true)
        }
    }
}
