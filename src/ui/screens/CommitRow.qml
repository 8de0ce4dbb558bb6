import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Strataloom.Style
import "Format.js" as Format

// A commit in a list: avatar, subject, hash, author and age, and its line counts. A click
// selects the commit, a double click opens its diff.
ItemDelegate {
    id: row

    // The row's roles; `id` is no property name in QML, so the hash is read from here.
    required property var model
    required property int index
    readonly property string commitId: model.id
    required property string shortHash
    required property string subject
    required property string author
    required property var date
    required property int additions
    required property int deletions
    required property int filesChanged
    property bool selected: false
    property bool showsCounts: true

    signal selectRequested(var commit)
    signal diffRequested(var commit)

    // The whole commit, every role of the row, as the model's operations take it back.
    function record() {
        return ListView.view.model.get(index)
    }

    width: ListView.view ? ListView.view.width : implicitWidth
    implicitHeight: 54
    hoverEnabled: true
    leftPadding: Theme.spacing + 4
    rightPadding: Theme.spacing + 4
    Accessible.name: subject

    background: Rectangle {
        radius: Theme.radius
        color: row.selected ? Theme.selection : row.down ? Theme.pressed : row.hovered ? Theme.hover : "transparent"
    }

    contentItem: RowLayout {
        spacing: Theme.spacing + 2
        AuthorAvatar {
            name: row.author
            size: 30
        }
        ColumnLayout {
            Layout.fillWidth: true
            spacing: 2
            Label {
                Layout.fillWidth: true
                text: row.subject
                font.pixelSize: Theme.fontBody
                font.weight: Font.Medium
                color: Theme.text
                elide: Text.ElideRight
            }
            RowLayout {
                Layout.fillWidth: true
                spacing: 6
                Label {
                    text: row.shortHash
                    font.family: Theme.monospace
                    font.pixelSize: Theme.fontCaption
                    color: Theme.accent
                }
                Label {
                    Layout.fillWidth: true
                    text: row.author + "  ·  " + Format.age(row.date)
                    font.pixelSize: Theme.fontCaption
                    color: Theme.secondaryText
                    elide: Text.ElideRight
                }
            }
        }
        Row {
            objectName: "lineCounts"
            visible: row.showsCounts
            spacing: 6
            Label {
                text: "+" + Format.count(row.additions)
                color: Theme.named("green")
                font.pixelSize: Theme.fontCaption
                font.family: Theme.monospace
            }
            Label {
                text: "−" + Format.count(row.deletions)
                color: Theme.named("red")
                font.pixelSize: Theme.fontCaption
                font.family: Theme.monospace
            }
        }
    }

    onClicked: row.selectRequested(row.record())
    onDoubleClicked: row.diffRequested(row.record())
}
