import QtQuick
import QtTest
import Strataloom.Screens
import "../support"

// Files over the index: the folder tree with its figures, opened and closed by click and keys,
// a file selected for the inspector, the filter keeping the folders of what it finds; git's
// list with a note without an index.
UiTestCase {
    id: testCase
    name: "FilesTree"

    Component { id: filesScreen; FilesScreen {} }

    function nested() {
        return history([
            { files: { "README": "r\n", "src/app/main.c": "m\n", "src/lib/util.c": "u\n" }, message: "Start" },
            { files: { "src/app/main.c": "m2\n", "src/lib/util.c": "u2\n" }, message: "Both", author: "Grace Hopper" },
            { files: { "docs/guide.md": "g\n" }, message: "Docs" },
        ])
    }

    // Names of the rows in view, indented by depth.
    function rows(tree) {
        tree.forceLayout()
        const names = []
        for (let row = 0; row < tree.count; ++row) {
            const item = tree.itemAtIndex(row)
            names.push(" ".repeat(item.depth) + item.name)
        }
        return names.join("|")
    }

    function test_treeOpensWithItsFiguresFoldsByClickAndKeysAndFilters() {
        const opened = openIndexed(filesScreen, nested())
        const tree = findOne(opened.screen, "fileTree")
        tryVerify(() => tree.visible, 20000)
        verify(!findOne(opened.screen, "filesNote").visible)
        compare(rows(tree), "docs|src|README")
        const src = tree.itemAtIndex(1)
        // Two commits touched src/, "Both" changed two of its files: two commits, two authors.
        compare([src.commits, src.authors, src.fileCount], [2, 2, 2])

        mouseClick(src)
        tryCompare(tree, "count", 5)
        compare(rows(tree), "docs|src| app| lib|README")
        keyClick(Qt.Key_Down)
        keyClick(Qt.Key_Right)
        tryCompare(tree, "count", 6)
        keyClick(Qt.Key_Right) // into the folder: its file
        tree.forceLayout()
        compare(tree.itemAtIndex(tree.currentIndex).path, "src/app/main.c")
        keyClick(Qt.Key_Return)
        tryCompare(opened.model.selection.selectedFile, "path", "src/app/main.c")
        keyClick(Qt.Key_Left) // back to its folder
        compare(tree.currentIndex, 2)
        keyClick(Qt.Key_Left) // closes it
        tryCompare(tree, "count", 5)
        keyClick(Qt.Key_Left) // up to src
        keyClick(Qt.Key_Space) // closes src
        tryCompare(tree, "count", 3)

        // The filter keeps the folders of what it finds.
        opened.screen.filter = "util"
        tryCompare(tree, "count", 3)
        compare(rows(tree), "src| lib|  util.c")
        compare(opened.model.fileTree.listing.count, 1)
        opened.screen.filter = "zzz"
        tryCompare(tree, "count", 0)
        opened.screen.filter = ""
        tryCompare(tree, "count", 3)
    }

    function test_gitsListStaysWithANoteWithoutAnIndex() {
        const indexes = fixtures.setIndexDirectory("/dev/null/no-index")
        const opened = open(filesScreen, nested())
        tryVerify(() => opened.model.analytics.analyticsIndexState.isFailed, 20000)
        fixtures.setIndexDirectory(indexes)
        tryCompare(findOne(opened.screen, "fileList"), "count", 4)
        verify(!findOne(opened.screen, "fileTree").visible)
        verify(findOne(opened.screen, "filesNote").visible)
    }
}
