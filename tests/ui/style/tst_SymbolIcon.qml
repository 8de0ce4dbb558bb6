import QtQuick
import QtTest
import Strataloom.Style
import Strataloom.Model

TestCase {
    name: "SymbolIcon"
    when: windowShown

    SymbolIcon { id: icon; symbol: "arrow.triangle.branch" }

    function test_symbolDrawsItsGlyphFromTheIconFont() {
        compare(icon.text, "call_split")
        compare(icon.font.family, "Material Icons")
        verify(icon.implicitWidth > 0 && icon.implicitWidth < 40, "drawn as one glyph, not as the word")
    }

    function test_unknownSymbolDrawsNothing() {
        icon.symbol = "no.such.symbol"
        compare(icon.text, "")
        verify(!Icons.contains("no.such.symbol"))
    }

    function test_modelAndFixturesAreAvailable() {
        const repo = fixtures.newRepository()
        fixtures.write(repo, "a.txt", "hello\n")
        fixtures.commit(repo, "Add a")
        const model = fixtures.newModel()
        model.openRepository(repo)
        tryCompare(model, "isLoading", false, 20000)
        verify(model.repository !== null && model.repository !== undefined)
        compare(model.commits.count, 1)
    }
}
