import QtQuick
import QtTest
import QtQuick.Window

// What the screen tests share: finding items by object name, the texts a user sees, opening a
// repository in a new screen, and scrolling an item into view before clicking it.
TestCase {
    id: testCase
    when: windowShown
    width: 1100
    height: 760

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

    /// The non-empty texts of the visible items below @p item.
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

    /// A new screen of @p component over a new model, which opens @p repo when given.
    function open(component, repo) {
        const model = fixtures.newModel()
        const screen = createTemporaryObject(component, testCase.Window.window.contentItem,
                                             { appModel: model, width: width, height: height })
        if (repo)
            model.session.openRepository(repo)
        return { model: model, screen: screen }
    }

    /// Brings @p item into the view of the flickable named @p flickName so that a click lands on it.
    function scrollTo(screen, flickName, item) {
        const flick = findOne(screen, flickName)
        // Twice: charts above may still settle their height after the first move.
        for (let pass = 0; pass < 2; ++pass) {
            waitForRendering(screen)
            const y = item.mapToItem(flick.contentItem, 0, 0).y
            flick.contentY = Math.max(0, Math.min(y - 40, flick.contentHeight - flick.height))
        }
        waitForRendering(screen)
        const top = item.mapToItem(screen, 0, 0).y
        verify(top >= 0 && top + item.height <= screen.height, "item is in view")
    }
}
