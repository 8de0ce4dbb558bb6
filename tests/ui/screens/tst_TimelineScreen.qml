import QtQuick
import QtTest
import Strataloom.Screens
import Strataloom.Model

TestCase {
    id: testCase
    name: "TimelineScreen"
    when: windowShown
    visible: true
    width: 900
    height: 700

    Component { id: screenComponent; TimelineScreen { width: 900; height: 700 } }

    // main: Start, then Main work; feature: Feature work; then a merge of feature into main.
    function openMergeFixture() {
        const repo = fixtures.newRepository()
        fixtures.write(repo, "a.txt", "a\n")
        fixtures.commit(repo, "Start")
        fixtures.git(repo, ["checkout", "-q", "-b", "feature"])
        fixtures.write(repo, "b.txt", "b\n")
        fixtures.commit(repo, "Feature work")
        fixtures.git(repo, ["checkout", "-q", "main"])
        fixtures.write(repo, "c.txt", "c\n")
        fixtures.commit(repo, "Main work")
        fixtures.git(repo, ["merge", "-q", "--no-ff", "feature", "-m", "Merge feature"])
        const model = fixtures.newModel()
        model.session.openRepository(repo)
        tryCompare(model.session, "isLoading", false, 20000)
        return model
    }

    function hasSegment(segments, kind, x1, y1, x2, y2, lane) {
        return segments.some(s => s.kind === kind && s.x1 === x1 && s.y1 === y1 && s.x2 === x2
                                  && s.y2 === y2 && (lane === undefined || s.lane === lane))
    }

    function test_mergeDrawsTwoLanesThatSplitAndJoinUnderTheBranch() {
        const model = openMergeFixture()
        const screen = createTemporaryObject(screenComponent, testCase, { appModel: model })
        const list = findChild(screen, "timelineList")
        tryVerify(() => list.count >= 6 && list.height > 0 && list.itemAtIndex(list.count - 1) !== null)
        const rows = {}
        for (let i = 0; i < list.count; ++i) {
            const row = list.itemAtIndex(i)
            verify(row, "row " + i + " is built")
            rows[row.isConnector ? "connector " + row.graph : row.subject] = findChild(row, "graphRow")
        }

        // The merge: a dot on the first lane, joined downwards only (it is the newest commit).
        const merge = rows["Merge feature"].segments
        verify(hasSegment(merge, "dot", 0.5, 0.5, 0.5, 0.5, 0))
        verify(hasSegment(merge, "line", 0.5, 0.5, 0.5, 1, 0))
        verify(!hasSegment(merge, "line", 0.5, 0, 0.5, 0.5))

        // The merge opens a second lane ("|\"), the feature commit sits on it ("| *")...
        verify(rows["connector |\\  "], "split connector")
        verify(hasSegment(rows["connector |\\  "].segments, "line", 0.5, 0, 2.5, 1, 1))
        // (git puts either commit of the two lanes first; find the feature commit's lane.)
        const feature = rows["Feature work"]
        verify(hasSegment(feature.segments, "dot", 2.5, 0.5, 2.5, 0.5, 1)
               || hasSegment(feature.segments, "dot", 0.5, 0.5, 0.5, 0.5, 0))
        // ...and the lanes join again above the first commit ("|/").
        verify(rows["connector |/  "], "join connector")
        verify(hasSegment(rows["connector |/  "].segments, "line", 2.5, 0, 0.5, 1, 1))
        // The first commit ends the history: its dot has no line below.
        const start = rows["Start"].segments
        verify(hasSegment(start, "dot", 0.5, 0.5, 0.5, 0.5, 0))
        verify(!hasSegment(start, "line", 0.5, 0.5, 0.5, 1))

        // Every row draws as wide as its prefix.
        compare(rows["Merge feature"].implicitWidth, rows["Merge feature"].graph.length * rows["Merge feature"].columnWidth)
        // The newest commit carries the branch that points at it.
        compare(list.itemAtIndex(0).subject, "Merge feature")
        compare(findChild(list.itemAtIndex(0), "refBadges").refs, [{ name: "main", kind: "head" }])
    }

    function test_emptyRepositoryShowsNoHistory() {
        const model = fixtures.newModel()
        model.session.openRepository(fixtures.newRepository())
        tryCompare(model.session, "isLoading", false, 20000)
        const screen = createTemporaryObject(screenComponent, testCase, { appModel: model })
        const empty = findChild(screen, "timelineEmpty")
        verify(empty.visible)
    }
}
