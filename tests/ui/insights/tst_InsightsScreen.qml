import QtQuick
import QtTest
import QtQuick.Window
import Strataloom.Insights
import Strataloom.Model
import Strataloom.InsightTests

// The insights dashboard over fixture repositories whose insights are known: five commits on
// 2024-01-01, three by Ada (one a revert), one by Grace, one by Linus on a side branch only.
TestCase {
    id: testCase
    name: "InsightsScreen"
    when: windowShown
    width: 1100
    height: 760

    Component {
        id: screenComponent
        InsightsScreen { width: testCase.width; height: testCase.height }
    }

    property var knownRepository: ""

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
        const model = fixtures.newModel()
        const screen = createTemporaryObject(screenComponent, testCase.Window.window.contentItem, { appModel: model })
        model.session.openRepository(repo)
        tryVerify(() => model.analytics.analyticsIndexState.isReady, 60000)
        tryCompare(screen, "phase", "ready")
        return { model: model, screen: screen }
    }

    function findAll(item, name, found) {
        found = found || []
        if (item.objectName === name)
            found.push(item)
        for (let i = 0; i < item.children.length; ++i)
            findAll(item.children[i], name, found)
        return found
    }

    function findOne(item, name) {
        const found = findAll(item, name)
        verify(found.length === 1, name + " found " + found.length + " times")
        return found[0]
    }

    function textsOf(item, texts) {
        texts = texts || []
        if (item.visible === false)
            return texts
        if (item.text !== undefined && typeof item.text === "string" && item.text !== "")
            texts.push(item.text)
        for (let i = 0; i < item.children.length; ++i)
            textsOf(item.children[i], texts)
        return texts
    }

    // Brings @p item into the flickable's view so that a click lands on it.
    function scrollTo(screen, item) {
        const flick = findOne(screen, "insightsFlick")
        // Twice: charts above may still settle their height after the first move.
        for (let pass = 0; pass < 2; ++pass) {
            waitForRendering(screen)
            const y = item.mapToItem(flick.contentItem, 0, 0).y
            flick.contentY = Math.max(0, Math.min(y - 40, flick.contentHeight - flick.height))
        }
        waitForRendering(screen)
        const top = item.mapToItem(screen, 0, 0).y
        verify(top >= 0 && top + item.height <= screen.height, "row is in view")
    }

    function card(screen, name) {
        const item = findOne(screen, name)
        return { value: item.value, caption: item.caption }
    }

    function test_placeholdersFollowTheModel() {
        const model = fixtures.newModel()
        const screen = createTemporaryObject(screenComponent, testCase.Window.window.contentItem, { appModel: model })
        const placeholder = findOne(screen, "insightsPlaceholder")
        compare(screen.phase, "noRepository")
        compare(placeholder.title, "Open a repository")
        compare(placeholder.text, "Insights are generated after a repository is indexed.")
        compare(placeholder.symbol, "folder.badge.plus")

        // A long history keeps the index busy long enough to see the indexing state.
        const repo = fixtures.newRepository()
        fixtures.importHistory(repo, 3000)
        model.session.openRepository(repo)
        tryCompare(screen, "phase", "indexing", 20000)
        compare(placeholder.title, "Building repository intelligence")
        compare(placeholder.text, "Strataloom is indexing all reachable commits, authors and file changes. Insights will appear automatically.")
        compare(placeholder.symbol, "cylinder.split.1x2")
        tryCompare(screen, "phase", "ready", 120000)
        verify(!placeholder.visible)
    }

    function test_failedIndexShowsItsMessage() {
        const repo = knownFixture()
        // An index folder below a regular file cannot be created.
        const previous = InsightTestHelper.setIndexDirectory(repo + "/README.md/indexes")
        const model = fixtures.newModel()
        const screen = createTemporaryObject(screenComponent, testCase.Window.window.contentItem, { appModel: model })
        model.session.openRepository(repo)
        tryVerify(() => model.analytics.analyticsIndexState.isFailed, 60000)
        InsightTestHelper.setIndexDirectory(previous)
        compare(screen.phase, "failed")
        const placeholder = findOne(screen, "insightsPlaceholder")
        compare(placeholder.title, "Insights unavailable")
        compare(placeholder.symbol, "exclamationmark.triangle")
        verify(placeholder.text !== "")
        compare(placeholder.text, model.analytics.analyticsIndexState.message)
    }

    function test_cardsTilesAndBadgeShowTheKnownFigures() {
        const opened = openReady(knownFixture())
        const screen = opened.screen
        compare(card(screen, "metric:Commits").value, "5")
        compare(card(screen, "metric:Commits").caption, "reachable on all refs")
        compare(card(screen, "metric:Code churn").value, "6")
        compare(card(screen, "metric:Code churn").caption, "+5 / −1 lines")
        compare(card(screen, "metric:Merge share").value, "0%")
        compare(card(screen, "metric:Merge share").caption, "0 merge commits")
        compare(card(screen, "metric:Conventional").value, "80%")
        compare(card(screen, "metric:Reverts").value, "1")
        compare(card(screen, "metric:Reverts").caption, "20% of history")
        compare(card(screen, "metric:Top ownership").value, "60%")
        compare(card(screen, "metric:Top ownership").caption, "Ada Lovelace")

        compare(card(screen, "trend:Activity trend").value, "+0%")
        compare(findOne(screen, "trend:Activity trend").symbol, "arrow.up.right.circle.fill")
        compare(card(screen, "trend:Contributor trend").value, "+200%")
        compare(card(screen, "trend:Contributor trend").caption, "Distinct authors in the later half")

        const observations = findAll(screen, "observation").map(o => o.title)
        compare(observations, ["Distributed contribution", "Structured history", "Primary hotspot",
                               "Elevated revert signal", "Bus factor warning"])
        const milestones = findAll(screen, "milestone").map(m => m.modelData.title)
        compare(milestones, ["Project started", "Peak activity", "Latest activity"])

        // The first run imported everything; a refresh finds the index up to date.
        const badge = findOne(screen, "indexBadge")
        compare(badge.titleText, "Index ready")
        compare(badge.detailText, "+5 commits · 6 changes")
        // On a small repository the indexing state may pass between two polls: wait for the
        // outcome, not for the transition.
        opened.model.session.refresh()
        tryCompare(badge, "detailText", "5 commits · up to date", 60000)
        verify(opened.model.analytics.analyticsIndexState.isReady)
        compare(badge.titleText, "Index ready")
    }

    function test_riskBarsCarryTheirThresholdTooltips() {
        const screen = openReady(knownFixture()).screen
        const bars = findAll(screen, "riskSignal")
        compare(bars.map(b => b.name), ["Ownership", "Reverts", "Wide commits", "Multi-owner hotspot",
                                       "Message inconsistency", "Hotspot churn"])
        compare(bars.map(b => b.tooltipText), [
            "100 = leading author owns 75% of commits",
            "100 = reverts are 10% of commits",
            "100 = 15% of commits touch 10+ files",
            "100 = a hotspot has at least 5 authors",
            "100 = no Conventional Commit messages",
            "100 = top hotspot owns 25% of churn"])
        compare(Math.round(bars[0].value), 80)
        compare(Math.round(bars[3].value), 40)
        verify(textsOf(screen).indexOf(
            "Each bar uses the explicit threshold shown in its tooltip; this is not a health score.") >= 0)
    }

    function test_rowsOpenTheAuthorOrTheFile() {
        const opened = openReady(knownFixture())
        const model = opened.model
        const screen = opened.screen
        tryCompare(model.session, "isLoading", false)

        const authors = findAll(screen, "authorRow")
        compare(authors.map(r => r.modelData.name), ["Ada Lovelace", "Grace Hopper", "Linus Side"])
        scrollTo(screen, authors[1])
        mouseClick(authors[1])
        tryVerify(() => model.selection.selectedAuthor && model.selection.selectedAuthor.name === "Grace Hopper")
        compare(model.selectedSection, AppViewModel.Statistics)
        compare(model.errorMessage, "")

        const files = findAll(screen, "hotspotRow")
        compare(files.map(r => r.modelData.path), ["src/app.cpp", "README.md", "feature/only.txt"])
        scrollTo(screen, files[0])
        mouseClick(files[0])
        tryVerify(() => model.selection.selectedFile && model.selection.selectedFile.path === "src/app.cpp")
        compare(model.selectedSection, AppViewModel.Files)

        // Linus and his file exist only on the side branch.
        scrollTo(screen, authors[2])
        mouseClick(authors[2])
        compare(model.errorMessage, "Author details are not available in the current repository view.")
        model.errorMessage = ""
        scrollTo(screen, files[2])
        mouseClick(files[2])
        compare(model.errorMessage, "The file is no longer present in the current working tree.")
    }

    function test_emptyRepositoryShowsEveryEmptyText() {
        const repo = fixtures.newRepository()
        const opened = openReady(repo)
        const texts = textsOf(opened.screen)
        for (const expected of ["No daily activity data", "No commit messages to classify",
                                "No contributor data", "No file history data",
                                "No module history data", "No technology data",
                                "No file pair repeats in at least two commits"]) {
            verify(texts.indexOf(expected) >= 0, expected)
        }
        compare(card(opened.screen, "metric:Commits").value, "0")
        compare(card(opened.screen, "metric:Top ownership").caption, "No authors")
        compare(findAll(opened.screen, "riskSignal").map(b => Math.round(b.value)), [0, 0, 0, 0, 100, 0])
    }
}
