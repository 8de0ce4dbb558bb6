import QtQuick
import QtQuick.Controls
import Strataloom.Style
import "Format.js" as Format

// A round badge with a person's initials, in a colour that stays the same for the same name.
Rectangle {
    id: avatar

    property string name
    property real size: 28

    readonly property var tints: ["blue", "purple", "teal", "orange", "pink", "green", "indigo", "cyan"]
    readonly property color tint: Theme.named(tints[hash(name) % tints.length])

    function hash(text) {
        let h = 0
        for (let i = 0; i < text.length; ++i)
            h = (h * 31 + text.charCodeAt(i)) % 2147483647
        return h
    }

    implicitWidth: size
    implicitHeight: size
    radius: size / 2
    color: Theme.tint(tint, Theme.dark ? 0.30 : 0.18)

    Label {
        anchors.centerIn: parent
        text: Format.initials(avatar.name)
        color: avatar.tint
        font.pixelSize: Math.round(avatar.size * 0.4)
        font.weight: Font.DemiBold
    }
}
