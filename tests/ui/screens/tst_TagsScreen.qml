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

    function open(repo) {
        const model = fixtures.newModel()
        model.openRepository(repo)
        tryCompare(model, "isLoading", false, 20000)
        return model
    }

    function emptyState(screen) {
        return findChild(screen, "tagsEmpty")
    }

    function test_repositoryWithoutTagsSaysSo() {
        const repo = fixtures.newRepository()
        fixtures.write(repo, "a.txt", "a\n")
        fixtures.commit(repo, "First")
        const screen = createTemporaryObject(screenComponent, testCase, { appModel: open(repo) })
        const empty = emptyState(screen)
        verify(empty.visible)
        compare(empty.title, "No tags")
        compare(empty.message, "This repository does not contain tags.")
    }

    function test_filterByNameOrSubjectAndNoMatch() {
        const repo = fixtures.newRepository()
        fixtures.write(repo, "a.txt", "a\n")
        fixtures.commit(repo, "First")
        fixtures.git(repo, ["tag", "-a", "v1.0", "-m", "Release one"])
        fixtures.write(repo, "b.txt", "b\n")
        fixtures.commit(repo, "Second")
        fixtures.git(repo, ["tag", "-a", "v2.0", "-m", "Second release"])
        const model = open(repo)
        compare(model.tags.count, 2)
        const screen = createTemporaryObject(screenComponent, testCase, { appModel: model })
        const list = findChild(screen, "tagList")
        const empty = emptyState(screen)
        compare(list.count, 2)
        verify(!empty.visible)

        screen.filter = "V1"
        compare(list.count, 1)
        compare(list.model.get(0).name, "v1.0")

        screen.filter = "RELEASE"
        compare(list.count, 2)

        screen.filter = "nothing like it"
        compare(list.count, 0)
        verify(empty.visible)
        compare(empty.title, "No matching tags")
        compare(empty.message, "Try a different filter.")

        screen.filter = ""
        compare(list.count, 2)
        verify(!empty.visible)
    }
}
