import QtQuick
import QtQuick.Controls
import QtTest
import Strataloom.Screens
import Strataloom.Model

TestCase {
    id: testCase
    name: "TagsScreen"
    when: windowShown
    visible: true
    width: 800
    height: 600

    Component { id: screenComponent; TagsScreen { width: 800; height: 600 } }

    function open(tags) {
        const repo = fixtures.newRepository()
        for (let i = 0; i < 2; ++i) {
            fixtures.write(repo, "file" + i + ".txt", "line\n")
            fixtures.commit(repo, "Commit " + i)
            if (i < tags.length)
                fixtures.git(repo, ["tag", "-a", tags[i][0], "-m", tags[i][1]])
        }
        const model = fixtures.newModel()
        model.session.openRepository(repo)
        tryCompare(model.session, "isLoading", false, 20000)
        return model
    }

    function test_filterByNameOrSubject_data() {
        const both = [["v1.0", "Release one"], ["v2.0", "Second release"]]
        return [
            { tag: "no tags", tags: [], filter: "", shown: [] },
            { tag: "no filter", tags: both, filter: "", shown: ["v2.0", "v1.0"] },
            { tag: "name, any case", tags: both, filter: "V1", shown: ["v1.0"] },
            { tag: "subject, any case", tags: both, filter: "RELEASE", shown: ["v2.0", "v1.0"] },
            { tag: "nothing matches", tags: both, filter: "nothing like it", shown: [] },
        ]
    }

    function test_filterByNameOrSubject(data) {
        const screen = createTemporaryObject(screenComponent, testCase, { appModel: open(data.tags) })
        const list = findChild(screen, "tagList")
        screen.filter = data.filter
        const shown = []
        for (let i = 0; i < list.count; ++i)
            shown.push(list.model.get(i).name)
        compare(shown.sort(), data.shown.slice().sort())
        compare(findChild(screen, "tagsEmpty").visible, data.shown.length === 0)
    }
}
