import QtQuick
import QtTest
import Strataloom.Insights
import Strataloom.Model

// The insights dashboard over a history whose insights are known: five commits on 2024-01-01,
// three by Ada (one a revert), one by Grace, one by Linus on a side branch only.
ScreenTestCase {
    name: "InsightsScreen"

    Component { id: screenComponent; InsightsScreen {} }

    property string knownRepository: ""

    function knownFixture() {
        if (knownRepository !== "")
            return knownRepository
        const repo = fixtures.newRepository()
        fixtures.write(repo, "src/app.cpp", "one\n")
        fixtures.commit(repo, "feat: add app")
        fixtures.write(repo, "src/app.cpp", "one\ntwo\n")
        fixtures.write(repo, "README.md", "read\n")
        fixtures.commit(repo, "fix: handle two")
        fixtures.write(repo, "src/app.cpp", "one\ntwo\nthree\n")
        fixtures.commit(repo, "Update app", "Grace Hopper", "grace@example.org")
        fixtures.write(repo, "src/app.cpp", "one\nthree\n")
        fixtures.commit(repo, "revert: drop two")
        // Only on a side branch: in the index, but neither in HEAD's authors nor in the work tree.
        fixtures.git(repo, ["switch", "-q", "-c", "feature"])
        fixtures.write(repo, "feature/only.txt", "x\n")
        fixtures.commit(repo, "feat: side file", "Linus Side", "linus@example.net")
        fixtures.git(repo, ["switch", "-q", "main"])
        knownRepository = repo
        return repo
    }

    function openReady(repo) {
        const opened = open(screenComponent, repo)
        tryVerify(() => opened.model.analytics.analyticsIndexState.isReady, 60000)
        tryCompare(opened.screen, "phase", "ready")
        return opened
    }

    function test_phasesFollowTheModel() {
        const opened = open(screenComponent)
        const placeholder = findOne(opened.screen, "insightsPlaceholder")
        compare(opened.screen.phase, "noRepository")
        verify(placeholder.visible && !placeholder.busy)
        // A long history keeps the index busy long enough to see the indexing state.
        const repo = fixtures.newRepository()
        fixtures.importHistory(repo, 3000)
        opened.model.session.openRepository(repo)
        tryCompare(opened.screen, "phase", "indexing", 20000)
        verify(placeholder.visible && placeholder.busy)
        tryCompare(opened.screen, "phase", "ready", 120000)
        verify(!placeholder.visible)
    }

    function test_figuresObservationsAndMilestonesOfTheKnownHistory() {
        const opened = openReady(knownFixture())
        const screen = opened.screen
        const expected = {
            "metric:Commits": ["5"], "metric:Code churn": ["6", "+5 / −1 lines"],
            "metric:Merge share": ["0%", "0 merge commits"], "metric:Conventional": ["80%"],
            "metric:Reverts": ["1", "20% of history"], "metric:Top ownership": ["60%", "Ada Lovelace"],
            "trend:Activity trend": ["+0%"], "trend:Contributor trend": ["+200%"]
        }
        for (const name in expected) {
            const card = findOne(screen, name)
            compare(card.value, expected[name][0], name)
            if (expected[name].length > 1)
                compare(card.caption, expected[name][1], name)
        }
        compare(findAll(screen, "observation").length, 5)
        compare(findAll(screen, "milestone").length, 3)
        const bars = findAll(screen, "riskSignal")
        compare(bars.length, 6)
        compare([0, 3].map(i => Math.round(bars[i].value)), [80, 40])
        verify(bars.every(bar => bar.tooltipText !== ""), "every bar says what 100 means")

        // The first run imported everything; a refresh finds the index up to date.
        const badge = findOne(screen, "indexBadge")
        verify(badge.detailText.startsWith("+5 commits"), badge.detailText)
        opened.model.session.refresh()
        tryVerify(() => badge.detailText.startsWith("5 commits"), 60000)
        verify(opened.model.analytics.analyticsIndexState.isReady)
    }

    function test_rowsOpenTheAuthorOrTheFile() {
        const opened = openReady(knownFixture())
        const model = opened.model
        const screen = opened.screen
        tryCompare(model.session, "isLoading", false)
        const authors = findAll(screen, "authorRow")
        const files = findAll(screen, "hotspotRow")
        compare(authors.map(r => r.modelData.name), ["Ada Lovelace", "Grace Hopper", "Linus Side"])
        compare(files.map(r => r.modelData.path), ["src/app.cpp", "README.md", "feature/only.txt"])

        scrollTo(screen, "insightsFlick", authors[1])
        mouseClick(authors[1])
        tryVerify(() => model.selection.selectedAuthor && model.selection.selectedAuthor.name === "Grace Hopper")
        compare(model.selectedSection, AppViewModel.Statistics)
        compare(model.errorMessage, "")
        scrollTo(screen, "insightsFlick", files[0])
        mouseClick(files[0])
        tryVerify(() => model.selection.selectedFile && model.selection.selectedFile.path === "src/app.cpp")
        compare(model.selectedSection, AppViewModel.Files)

        // Linus and his file exist only on the side branch: each says why nothing opens.
        for (const row of [authors[2], files[2]]) {
            model.errorMessage = ""
            scrollTo(screen, "insightsFlick", row)
            mouseClick(row)
            verify(model.errorMessage !== "", row.objectName)
        }
    }
}
