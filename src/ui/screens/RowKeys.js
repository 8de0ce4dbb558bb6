.pragma library

// Keyboard moves through a list: where @p key takes the current row of a list of @p count rows
// that shows about @p visible of them; -1 when the key is not one that moves it. With no current
// row yet, the first key down starts at the top.
function target(key, current, count, visible) {
    if (count <= 0)
        return -1
    const page = Math.max(1, visible - 1)
    const from = Math.max(current, 0)
    switch (key) {
    case Qt.Key_Up: return current < 0 ? 0 : Math.max(0, current - 1)
    case Qt.Key_Down: return current < 0 ? 0 : Math.min(count - 1, current + 1)
    case Qt.Key_PageUp: return Math.max(0, from - page)
    case Qt.Key_PageDown: return Math.min(count - 1, from + page)
    case Qt.Key_Home: return 0
    case Qt.Key_End: return count - 1
    }
    return -1
}
