import QtQuick
import QtQuick.Controls
import QtTest
import Strataloom.Style

TestCase {
    id: testCase
    name: "StyleControls"
    visible: true
    when: windowShown
    width: 600
    height: 400

    Component {
        id: iconComponent
        SymbolIcon { size: 20 }
    }

    function test_everyMappedSymbolDrawsOneGlyphOfTheFont() {
        // A ligature the font does not know is drawn letter by letter: many times wider.
        const names = Icons.symbolNames()
        verify(names.length > 50)
        const broken = []
        for (const name of names) {
            const icon = createTemporaryObject(iconComponent, this, { symbol: name })
            if (icon.text === "" || icon.implicitWidth > 30)
                broken.push(name + " → " + icon.text + " (" + icon.implicitWidth + " px)")
        }
        compare(broken, [])
        // A name the table does not know draws nothing rather than its letters.
        const unknown = createTemporaryObject(iconComponent, this, { symbol: "no.such.symbol" })
        compare(unknown.text, "")
        verify(!Icons.contains("no.such.symbol"))
    }

    Component {
        id: cardComponent
        Card {
            width: 300
            title: "Recent commits"
            symbol: "clock.arrow.circlepath"
            Label { objectName: "first"; text: "one" }
            Label { objectName: "second"; text: "two" }
        }
    }

    function test_cardStacksItsChildrenBelowTheHeader() {
        const card = createTemporaryObject(cardComponent, this)
        waitForRendering(card)
        const first = findChild(card, "first")
        const second = findChild(card, "second")
        const firstInCard = first.mapToItem(card, 0, 0)
        const secondInCard = second.mapToItem(card, 0, 0)
        verify(firstInCard.y > 20, "below the header")
        verify(secondInCard.y >= firstInCard.y + first.height, "stacked in a column")
        verify(card.implicitHeight >= secondInCard.y + second.height)
    }

    Component {
        id: emptyComponent
        EmptyStateView {
            width: 400
            height: 300
            symbol: "clock.arrow.circlepath"
            title: "No recent repositories"
            message: "Repositories opened in Strataloom will appear here."
        }
    }

    function test_emptyStateShowsEitherItsSymbolOrABusyIndicator() {
        const view = createTemporaryObject(emptyComponent, this)
        const symbol = findChild(view, "emptyStateSymbol")
        const busy = findChild(view, "emptyStateBusy")
        compare(symbol.symbol, "clock.arrow.circlepath")
        verify(symbol.visible && !busy.visible)
        view.busy = true
        verify(!symbol.visible && busy.visible && busy.running)
    }

    Component {
        id: buttonComponent
        SymbolButton { symbol: "arrow.clockwise"; toolTip: "Refresh" }
    }

    function test_symbolButtonWithoutTextIsNamedByItsToolTipAndStaysSquare() {
        const button = createTemporaryObject(buttonComponent, this)
        compare(button.Accessible.name, "Refresh")
        fuzzyCompare(button.implicitWidth, button.implicitHeight, 4)
        button.text = "Refresh now"
        compare(button.Accessible.name, "Refresh now")
        tryVerify(() => button.implicitWidth > button.implicitHeight * 2)
    }

    Component {
        id: statCardComponent
        StatCard { symbol: "calendar"; title: "Latest commit"; value: "19 Jun 2024" }
    }

    function findTruncated(item, found) {
        found = found || []
        if (item.truncated === true)
            found.push(item.text)
        for (let i = 0; i < item.children.length; ++i)
            findTruncated(item.children[i], found)
        return found
    }

    function test_statCardShrinksItsTextBeforeShorteningIt() {
        const wide = createTemporaryObject(statCardComponent, testCase, { width: 260 })
        waitForRendering(wide)
        compare(findTruncated(wide), [])
        compare(wide.ToolTip.text, "", "nothing hidden, nothing to tell")

        // A narrow card: the value shrinks and stays whole.
        const narrow = createTemporaryObject(statCardComponent, testCase, { width: 150 })
        waitForRendering(narrow)
        compare(findTruncated(narrow), [])

        // Too narrow even for the smallest size: shortened, and whole in the tooltip.
        const tiny = createTemporaryObject(statCardComponent, testCase, { width: 80, detail: "a long detail line" })
        waitForRendering(tiny)
        verify(findTruncated(tiny).length > 0)
        compare(tiny.ToolTip.text, "Latest commit\n19 Jun 2024\na long detail line")
    }
}
