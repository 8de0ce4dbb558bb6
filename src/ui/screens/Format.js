.pragma library

// Display texts shared by the screens: counts with the locale's grouping, byte counts, dates.

function count(value) {
    return Number(value || 0).toLocaleString(Qt.locale(), "f", 0)
}

// Decimal units, the way file managers show sizes: "980 bytes", "12 KB", "3.4 MB".
function bytes(value) {
    const n = Number(value || 0)
    if (n < 1000)
        return count(n) + (n === 1 ? " byte" : " bytes")
    const units = ["KB", "MB", "GB", "TB"]
    let scaled = n / 1000
    let unit = 0
    while (scaled >= 1000 && unit < units.length - 1) {
        scaled /= 1000
        ++unit
    }
    const digits = unit === 0 || scaled >= 100 ? 0 : 1
    return scaled.toLocaleString(Qt.locale(), "f", digits) + " " + units[unit]
}

function isDate(value) {
    return value !== null && value !== undefined && value instanceof Date && !isNaN(value.getTime())
}

// The abbreviated date without time ("Mar 1, 2024"), or "Unknown" when there is none.
function date(value) {
    if (!isDate(value))
        return "Unknown"
    return value.toLocaleDateString(Qt.locale(), "MMM d, yyyy")
}

// Date and time, for a commit ("Mar 1, 2024 at 09:20").
function dateTime(value) {
    if (!isDate(value))
        return "Unknown"
    return value.toLocaleDateString(Qt.locale(), "MMM d, yyyy") + " at "
            + value.toLocaleTimeString(Qt.locale(), "HH:mm")
}

// A short relative age for list rows ("today", "3 days ago", "5 months ago", "2 years ago").
function age(value) {
    if (!isDate(value))
        return ""
    const days = Math.floor((Date.now() - value.getTime()) / 86400000)
    if (days < 1)
        return "today"
    if (days === 1)
        return "yesterday"
    if (days < 30)
        return days + " days ago"
    const months = Math.floor(days / 30.44)
    if (months < 12)
        return months === 1 ? "1 month ago" : months + " months ago"
    const years = Math.floor(days / 365.25)
    return years === 1 ? "1 year ago" : years + " years ago"
}

// Initials of a person's name for an avatar ("Ada Lovelace" -> "AL").
function initials(name) {
    const words = String(name || "").trim().split(/\s+/).filter(w => w.length > 0)
    if (words.length === 0)
        return "?"
    if (words.length === 1)
        return words[0].charAt(0).toUpperCase()
    return (words[0].charAt(0) + words[words.length - 1].charAt(0)).toUpperCase()
}

// The colour of a change's status letter: A green, D red, R orange, anything else blue.
function statusColorName(status) {
    switch (String(status || "").charAt(0)) {
    case "A": return "green"
    case "D": return "red"
    case "R": return "orange"
    }
    return "blue"
}

// The ref names of a decoration text " (HEAD -> main, origin/main, tag: v1.0)", each as
// {name, kind} with kind "head", "tag", "remote" or "branch".
function refs(decorations, remoteNames) {
    let text = String(decorations || "").trim()
    if (text.startsWith("("))
        text = text.substring(1)
    if (text.endsWith(")"))
        text = text.substring(0, text.length - 1)
    const result = []
    for (const part of text.split(",")) {
        const ref = part.trim()
        if (ref === "")
            continue
        if (ref.startsWith("HEAD -> "))
            result.push({ name: ref.substring(8), kind: "head" })
        else if (ref === "HEAD")
            result.push({ name: "HEAD", kind: "head" })
        else if (ref.startsWith("tag: "))
            result.push({ name: ref.substring(5), kind: "tag" })
        else if (ref.indexOf("/") > 0 && (remoteNames || ["origin", "upstream"]).indexOf(ref.split("/")[0]) >= 0)
            result.push({ name: ref, kind: "remote" })
        else
            result.push({ name: ref, kind: "branch" })
    }
    return result
}
