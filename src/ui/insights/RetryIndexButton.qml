import QtQuick
import Strataloom.Style

// The way out of a failed analytics index: open the repository again, which builds its index
// again.
SymbolButton {
    property var appModel

    objectName: "retryIndex"
    symbol: "arrow.clockwise"
    text: "Try Again"
    prominent: true
    onClicked: appModel.session.refresh()
}
