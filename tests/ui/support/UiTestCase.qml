import QtQuick
import QtTest
import QtQuick.Window

// The base of every window and screen test: finding items by object name (popups' content
// included), fixture histories and models that have opened them.
TestCase {
    id: testCase
    when: windowShown
    visible: true
    width: 1100
    height: 760

    function collect(object, accept, found, seen) {
        if (!object || seen.has(object))
            return found
        seen.add(object)
        if (accept(object))
            found.push(object)
        if (object.contentItem && object.contentItem !== object)
            collect(object.contentItem, accept, found, seen)
        for (const list of [object.children, object.data, object.contentData])
            for (let i = 0; list && i < list.length; ++i)
                collect(list[i], accept, found, seen)
        return found
    }

    function findAll(root, name) { return collect(root, object => object.objectName === name, [], new Set()) }

    /// The one item named @p name under @p root, once it is there (loaders build late).
    function findOne(root, name) {
        tryVerify(() => findAll(root, name).length === 1, 5000, name + " is not there exactly once")
        return findAll(root, name)[0]
    }

    /// A new repository with one commit per entry: { files: { path: content or null }, message, author }.
    function history(commits) {
        const repo = fixtures.newRepository()
        for (const commit of commits) {
            for (const path in commit.files)
                commit.files[path] === null ? fixtures.remove(repo, path) : fixtures.write(repo, path, commit.files[path])
            const author = commit.author || "Ada Lovelace"
            fixtures.commit(repo, commit.message, author, author.split(" ")[0].toLowerCase() + "@example.com",
                            commit.date || "")
        }
        return repo
    }

    /// @p model once it has opened @p repo.
    function openIn(model, repo) {
        model.session.openRepository(repo)
        tryCompare(model.session, "isLoading", false, 20000)
        verify(!!model.session.repository, model.errorMessage)
        return model
    }

    function openModel(repo) { return openIn(fixtures.newModel(), repo) }

    /// A new screen of @p component over a new model, which starts opening @p repo when given.
    function open(component, repo) {
        const model = fixtures.newModel()
        const screen = createTemporaryObject(component, testCase.Window.window.contentItem,
                                             { appModel: model, width: width, height: height })
        if (repo)
            model.session.openRepository(repo)
        return { model: model, screen: screen }
    }

    /// As open(), once the analytics index is ready.
    function openIndexed(component, repo) {
        const opened = open(component, repo)
        tryVerify(() => opened.model.analytics.analyticsIndexState.isReady, 120000)
        return opened
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
