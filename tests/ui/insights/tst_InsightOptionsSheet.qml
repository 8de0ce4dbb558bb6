import QtQuick
import QtTest
import Strataloom.Insights
import "../support"

// The reading options of the insights screen: the sheet's switches reach the insights and "As
// recorded" turns every correction off (that the choice stays with the repository: see the
// options' model test).
UiTestCase {
    name: "InsightOptionsSheet"

    Component { id: screenComponent; InsightsScreen {} }

    function authorNames(screen) {
        return findAll(screen, "authorRow").map(row => row.modelData.name)
    }

    function test_switchesRecomputeTheInsights() {
        // Two spellings of one address: one person with every correction, two as recorded.
        const repo = history([
            { files: { "a.txt": "1\n" }, message: "feat: one", author: "TJ Holowaychuk" },
            { files: { "a.txt": "2\n" }, message: "fix: two", author: "Tj Holowaychuk" }])
        const { model, screen } = openIndexed(screenComponent, repo)
        tryCompare(screen, "phase", "ready")
        tryCompare(model.session, "isLoading", false)
        compare(authorNames(screen), ["TJ Holowaychuk"])

        const button = findOne(screen, "insightOptionsButton")
        mouseClick(button)
        const sheet = findOne(screen, "insightOptionsSheet")
        tryCompare(sheet, "opened", true)
        const asRecorded = findOne(screen, "insightOption:asRecorded")
        const identities = findOne(screen, "insightOption:mergeIdentities")
        compare([asRecorded.checked, identities.checked], [false, true])

        mouseClick(asRecorded)
        tryVerify(() => authorNames(screen).length === 2, 60000)
        compare([asRecorded.checked, identities.checked], [true, false])

        mouseClick(identities)
        tryVerify(() => authorNames(screen).length === 1, 60000)
        compare([asRecorded.checked, identities.checked], [false, true])
        tryCompare(model.analytics, "recomputingInsights", false)
    }
}
