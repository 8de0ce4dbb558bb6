import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Strataloom.Style

// How the insights read the history: one switch per correction and one that turns them all off,
// remembered for the open repository. Every change computes the insights again.
Popup {
    id: sheet

    property var appModel

    readonly property var analytics: appModel ? appModel.analytics : null
    readonly property var options: analytics ? analytics.insightOptions : ({})
    readonly property var corrections: [
        { key: "mergeIdentities", title: "One person, one author",
          detail: "Apply the repository's mailmap; names sharing an e-mail address are one person." },
        { key: "followRenames", title: "Follow renames",
          detail: "A renamed file keeps its history under its current name." },
        { key: "hideDeletedFiles", title: "Hide deleted files",
          detail: "Files gone from the newest commit stay out of hotspots and coupling." },
        { key: "excludeGenerated", title: "Leave out generated files",
          detail: "Generated, vendored and lock files stay out of churn, hotspots and technologies." },
        { key: "separateBots", title: "Keep bots apart",
          detail: "Automation accounts are listed on their own, outside ownership and trends." },
        { key: "excludeMerges", title: "Leave out merges",
          detail: "Merge commits stay out of empty commits and common words; origin/HEAD is no branch." }
    ]

    modal: true
    focus: true
    padding: 20
    width: 420
    closePolicy: Popup.CloseOnEscape | Popup.CloseOnPressOutside

    background: Rectangle {
        radius: Theme.radiusLarge
        color: Theme.card
        border.color: Theme.cardBorder
    }

    contentItem: ColumnLayout {
        spacing: Theme.spacing

        RowLayout {
            Layout.fillWidth: true
            Label {
                Layout.fillWidth: true
                text: "Reading the History"
                font.pixelSize: Theme.fontHeadline
                font.weight: Font.DemiBold
                color: Theme.text
            }
            BusyIndicator {
                objectName: "insightOptionsBusy"
                implicitWidth: 20
                implicitHeight: 20
                running: !!sheet.analytics && sheet.analytics.recomputingInsights
                visible: running
            }
        }

        Switch {
            objectName: "insightOption:asRecorded"
            Layout.fillWidth: true
            text: "As recorded"
            checked: !!sheet.options.asRecorded
            // A click sets `checked` and so ends its binding: the options decide again.
            onToggled: {
                sheet.analytics.setInsightOption("asRecorded", checked)
                checked = Qt.binding(() => !!sheet.options.asRecorded)
            }
        }
        Label {
            Layout.fillWidth: true
            text: "Every figure exactly as the history records it, with no correction."
            color: Theme.secondaryText
            font.pixelSize: Theme.fontCaption
            wrapMode: Text.WordWrap
        }

        Rectangle { Layout.fillWidth: true; implicitHeight: 1; color: Theme.separator }

        Repeater {
            model: sheet.corrections
            delegate: ColumnLayout {
                id: row
                required property var modelData
                Layout.fillWidth: true
                spacing: 0
                Switch {
                    objectName: "insightOption:" + row.modelData.key
                    Layout.fillWidth: true
                    text: row.modelData.title
                    checked: !!sheet.options[row.modelData.key]
                    onToggled: {
                        sheet.analytics.setInsightOption(row.modelData.key, checked)
                        checked = Qt.binding(() => !!sheet.options[row.modelData.key])
                    }
                }
                Label {
                    Layout.fillWidth: true
                    Layout.leftMargin: 4
                    text: row.modelData.detail
                    color: Theme.secondaryText
                    font.pixelSize: Theme.fontCaption
                    wrapMode: Text.WordWrap
                }
            }
        }
    }
}
