import QtQuick
import Strataloom.Style

// A whole-area message: a large icon, a title and an explanation.
EmptyStateView {
    property alias text: view.message
    id: view
}
