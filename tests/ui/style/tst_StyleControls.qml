import QtQuick
import QtQuick.Controls
import QtTest
import Strataloom.Style
import "../support"

UiTestCase {
    id: testCase
    name: "StyleControls"

    Component { id: iconComponent; SymbolIcon { size: 20 } }

    function test_everyMappedSymbolDrawsOneGlyphOfTheFont() {
        // A ligature the font does not know is drawn letter by letter: many times wider.
        const names = Icons.symbolNames()
        verify(names.length > 50)
        const broken = names.map(name => createTemporaryObject(iconComponent, this, { symbol: name }))
                            .filter(icon => icon.text === "" || icon.implicitWidth > 30)
                            .map(icon => icon.symbol + " (" + icon.implicitWidth + " px)")
        compare(broken, [])
        // A name the table does not know draws nothing rather than its letters.
        compare(createTemporaryObject(iconComponent, this, { symbol: "no.such.symbol" }).text, "")
    }

    Component { id: statCardComponent; StatCard { symbol: "calendar"; title: "Latest commit"; value: "19 Jun 2024" } }

    // A narrower card shrinks its value first; too narrow even for the smallest size, it shortens
    // the texts and shows them whole in its tooltip.
    function test_statCardShrinksItsTextBeforeShorteningIt_data() {
        return [{ tag: "wide", width: 260, shortened: false }, { tag: "narrow", width: 150, shortened: false },
                { tag: "tiny", width: 80, detail: "a long detail line", shortened: true }]
    }

    function test_statCardShrinksItsTextBeforeShorteningIt(data) {
        const card = createTemporaryObject(statCardComponent, testCase, { width: data.width, detail: data.detail || "" })
        waitForRendering(card)
        compare(collect(card, o => o !== card && o.truncated === true, [], new Set()).length > 0, data.shortened)
        const whole = [card.title, card.value, card.detail].every(text => card.ToolTip.text.indexOf(text) >= 0)
        compare(whole, data.shortened, card.ToolTip.text)
    }
}
