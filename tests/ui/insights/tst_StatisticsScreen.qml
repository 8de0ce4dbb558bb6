import QtQuick
import QtTest
import QtQuick.Window
import Strataloom.Insights
import Strataloom.Style
import Strataloom.Model

// The statistics screen: its placeholder while the first insights are built, its badge, its
// cards, the period picker and its empty texts.
TestCase {
    id: testCase
    name: "StatisticsScreen"
    when: windowShown
    width: 1100
    height: 760

    Component {
        id: screenComponent
        StatisticsScreen { width: testCase.width; height: testCase.height }
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
        if (typeof item.text === "string" && item.text !== "")
            texts.push(item.text)
        for (let i = 0; i < item.children.length; ++i)
            textsOf(item.children[i], texts)
        return texts
    }

    function open(repo) {
        const model = fixtures.newModel()
        const screen = createTemporaryObject(screenComponent, testCase.Window.window.contentItem, { appModel: model })
        model.session.openRepository(repo)
        return { model: model, screen: screen }
    }

    function test_placeholderUntilTheFirstInsightsThenBadgeAndSections() {
        const repo = fixtures.newRepository()
        fixtures.importHistory(repo, 3000)
        const opened = open(repo)
        const screen = opened.screen
        const placeholder = findOne(screen, "statisticsPlaceholder")
        const sections = findOne(screen, "historySections")
        const badge = findOne(screen, "indexBadge")
        tryVerify(() => opened.model.analytics.analyticsIndexState.isIndexing, 20000)
        verify(placeholder.visible)
        verify(!sections.visible)
        compare(placeholder.title, "Building detailed statistics")
        compare(placeholder.text, "The complete history is being indexed. Statistics will update automatically.")
        compare(badge.titleText, "Indexing")

        tryVerify(() => opened.model.analytics.analyticsIndexState.isReady, 120000)
        verify(!placeholder.visible)
        verify(sections.visible)
        compare(badge.titleText, "3,000 indexed")
        compare(badge.detailText, "3,000 imported now")
        compare(findOne(screen, "card:Commits").value, "3,000")

        opened.model.session.refresh()
        tryVerify(() => opened.model.analytics.analyticsIndexState.isIndexing, 20000)
        tryVerify(() => opened.model.analytics.analyticsIndexState.isReady, 120000)
        compare(badge.detailText, "")
        verify(sections.visible)
    }

    function test_periodPickerSwitchesTheSeries() {
        const repo = fixtures.newRepository()
        fixtures.importHistory(repo, 600)
        const opened = open(repo)
        tryVerify(() => opened.model.analytics.analyticsIndexState.isReady, 120000)
        const screen = opened.screen
        const insights = opened.model.analytics.analyticsInsights
        verify(insights.dailyActivity.length > insights.monthlyActivity.length)
        verify(insights.monthlyActivity.length >= insights.yearlyActivity.length)
        const chart = findOne(screen, "periodChart")
        compare(screen.activityPeriod, "monthly")
        compare(chart.plottedPeriods, insights.monthlyActivity.length)

        const flick = findOne(screen, "statisticsFlick")
        const picker = findOne(screen, "periodPicker")
        flick.contentY = picker.mapToItem(flick.contentItem, 0, 0).y - 40
        wait(50)
        mouseClick(findOne(screen, "period:daily"))
        compare(screen.activityPeriod, "daily")
        compare(chart.plottedPeriods, insights.dailyActivity.length)
        mouseClick(findOne(screen, "period:yearly"))
        compare(screen.activityPeriod, "yearly")
        compare(chart.plottedPeriods, insights.yearlyActivity.length)
    }

    function test_cardsShowTheKnownFigures() {
        const repo = fixtures.newRepository()
        fixtures.write(repo, "src/app.cpp", "one\n")
        fixtures.commit(repo, "feat: add app")
        fixtures.write(repo, "src/app.cpp", "one\ntwo\n")
        fixtures.write(repo, "logo.png", "\u0000\u0001binary")
        fixtures.commit(repo, "ok", "Grace Hopper", "grace@example.org")
        fixtures.git(repo, ["tag", "v1.0"])
        const opened = open(repo)
        tryVerify(() => opened.model.analytics.analyticsIndexState.isReady, 60000)
        const screen = opened.screen
        const value = name => findOne(screen, "card:" + name).value
        compare(value("Commits"), "2")
        compare(value("Authors"), "2")
        compare(value("Active days"), "1")
        compare(value("Peak day"), "2 commits")
        compare(value("Lines added"), "2")
        compare(value("Net change"), "2")
        compare(value("Added records"), "2")
        compare(value("Binary files"), "1")
        compare(value("Conventional"), "50%")
        compare(value("Very short"), "1")
        compare(value("Bus factor"), "1")
        compare(value("Tags / releases"), "1")
        compare(value("Merge share"), "0%")
        compare(value("Repository age"), "0y 0m")
        const texts = textsOf(screen)
        verify(texts.indexOf("Bus factor: 1") >= 0)
        verify(texts.indexOf("v1.0") >= 0, "the release timeline lists the tag")
    }

    function test_authorRowOpensTheInspector() {
        const repo = fixtures.newRepository()
        fixtures.write(repo, "a.txt", "a\n")
        fixtures.commit(repo, "Add a", "Grace Hopper", "grace@example.org")
        const opened = open(repo)
        tryVerify(() => opened.model.analytics.analyticsIndexState.isReady, 60000)
        tryCompare(opened.model.session, "isLoading", false)
        const row = findOne(opened.screen, "statisticsAuthorRow")
        const flick = findOne(opened.screen, "statisticsFlick")
        flick.contentY = row.mapToItem(flick.contentItem, 0, 0).y - 40
        wait(50)
        mouseClick(row)
        tryVerify(() => opened.model.selection.selectedAuthor && opened.model.selection.selectedAuthor.name === "Grace Hopper")
    }

    function test_heatmapShowsTheLastYearInGreen() {
        const repo = fixtures.newRepository()
        fixtures.write(repo, "a.txt", "a\n")
        fixtures.commit(repo, "Add a") // dated long ago: outside the grid
        const recent = new Date()
        recent.setDate(recent.getDate() - 3)
        recent.setHours(12, 0, 0, 0)
        for (const message of ["One", "Two"])
            fixtures.commit(repo, message, "Ada Lovelace", "ada@example.com", recent.toISOString())
        const opened = open(repo)
        tryVerify(() => opened.model.analytics.analyticsIndexState.isReady, 60000)
        tryCompare(opened.model.session, "isLoading", false)
        const heatmap = findOne(opened.screen, "heatmap")
        tryCompare(heatmap, "commitsShown", 2)
        compare(findOne(opened.screen, "heatmapCaption").text, "2 commits in the last year")
        const day = new Date(recent)
        day.setHours(0, 0, 0, 0)
        const cell = heatmap.grid.cells.find(c => c.date.getTime() === day.getTime())
        verify(cell !== undefined, "the day three days ago is on the grid")
        compare(cell.count, 2)
        const green = Qt.color(Theme.named("green"))
        const drawn = findAll(findOne(opened.screen, "repositoryHeatmapGrid"), "").filter(item => item.color !== undefined)
        verify(drawn.some(item => Qt.colorEqual(item.color, green)), "the busiest day is full green")
    }

    function test_emptyRepositoryShowsEveryEmptyText() {
        const opened = open(fixtures.newRepository())
        tryVerify(() => opened.model.analytics.analyticsIndexState.isReady, 60000)
        const texts = textsOf(opened.screen)
        for (const expected of ["No activity in the indexed history", "No commits to bucket by weekday",
                                "No contributor data", "No e-mail domains",
                                "No branches in indexed refs", "No tags in indexed refs",
                                "No module history data", "No file history data",
                                "No commits with line changes", "No commit messages to classify",
                                "No descriptive words yet", "No technology data",
                                "No file pair appears together in at least two commits",
                                "No commits in the last year"]) {
            verify(texts.indexOf(expected) >= 0, expected)
        }
    }
}
