// Helpers shared by the window tests: finding items by name or by text in a window's tree.
.pragma library

function children(object) {
    const result = []
    if (!object)
        return result
    if (object.contentItem && object.contentItem !== object)
        result.push(object.contentItem)
    if (object.children)
        for (let i = 0; i < object.children.length; ++i)
            result.push(object.children[i])
    if (object.data)
        for (let i = 0; i < object.data.length; ++i)
            result.push(object.data[i])
    if (object.contentData)
        for (let i = 0; i < object.contentData.length; ++i)
            result.push(object.contentData[i])
    return result
}

// The first object under @p root (visual tree and popups' content) with that objectName.
function byName(root, name) {
    const seen = new Set()
    const queue = [root]
    while (queue.length > 0) {
        const object = queue.shift()
        if (!object || seen.has(object))
            continue
        seen.add(object)
        if (object.objectName === name)
            return object
        for (const child of children(object))
            queue.push(child)
    }
    return null
}

// Every visible text under @p root (labels, text areas), in tree order.
function texts(root) {
    const result = []
    const seen = new Set()
    const queue = [root]
    while (queue.length > 0) {
        const object = queue.shift()
        if (!object || seen.has(object))
            continue
        seen.add(object)
        if (typeof object.text === "string" && object.text !== "" && object.visible !== false)
            result.push(object.text)
        for (const child of children(object))
            queue.push(child)
    }
    return result
}
