import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Strataloom.Style
import Strataloom.Model
import "Format.js" as Format

// The repository at a glance: its key figures, a year of commit activity, the latest commits
// and the most active authors.
Item {
    id: screen

    property var appModel

    readonly property var repository: appModel ? appModel.session.repository : null

    function firstRows(list, count) {
        const rows = []
        if (!list)
            return rows
        for (let i = 0; i < Math.min(count, list.count); ++i)
            rows.push(list.get(i))
        return rows
    }
    readonly property var recentCommits: appModel && appModel.session.commits.count >= 0 ? firstRows(appModel.session.commits, 6) : []
    readonly property var topAuthors: appModel && appModel.session.authorStats.count >= 0 ? firstRows(appModel.session.authorStats, 5) : []
    // With identities merged, the authors are people, as everywhere the index counts them.
    readonly property int people: appModel ? appModel.analytics.peopleCount : -1
    readonly property int mostCommits: topAuthors.length > 0 ? Math.max(1, topAuthors[0].commits) : 1

    ScrollView {
        id: scroll
        anchors.fill: parent
        contentWidth: availableWidth

        ColumnLayout {
            id: column
            width: scroll.availableWidth - 2 * Theme.paddingLarge
            x: Theme.paddingLarge
            spacing: Theme.paddingLarge

            Item { Layout.preferredHeight: 1 }

            // The repository's name, where it lives and what is checked out.
            RowLayout {
                Layout.fillWidth: true
                spacing: Theme.padding
                Rectangle {
                    implicitWidth: 52
                    implicitHeight: 52
                    radius: 14
                    color: Theme.tint(Theme.accent)
                    SymbolIcon {
                        anchors.centerIn: parent
                        symbol: "folder"
                        size: 28
                        color: Theme.accent
                    }
                }
                ColumnLayout {
                    Layout.fillWidth: true
                    spacing: 2
                    Label {
                        objectName: "repositoryName"
                        Layout.fillWidth: true
                        text: screen.repository ? screen.repository.name : ""
                        font.pixelSize: Theme.fontLargeTitle
                        font.weight: Font.Bold
                        color: Theme.text
                        elide: Text.ElideRight
                    }
                    ElidedPath {
                        Layout.fillWidth: true
                        text: screen.repository ? screen.repository.path : ""
                        color: Theme.secondaryText
                    }
                    RowLayout {
                        Layout.fillWidth: true
                        spacing: Theme.spacing
                        Badge {
                            text: screen.repository ? screen.repository.currentBranch : ""
                            visible: text !== ""
                            tint: Theme.accent
                        }
                        ElidedPath {
                            Layout.fillWidth: true
                            visible: !!screen.repository && !!screen.repository.remoteURL
                            text: screen.repository && screen.repository.remoteURL ? screen.repository.remoteURL : ""
                            font.pixelSize: Theme.fontCaption
                            color: Theme.tertiaryText
                        }
                    }
                }
            }

            // Key figures.
            GridLayout {
                objectName: "metricCards"
                Layout.fillWidth: true
                columns: Math.max(2, Math.min(6, Math.floor((column.width + columnSpacing) / (150 + columnSpacing))))
                columnSpacing: Theme.spacing + 4
                rowSpacing: Theme.spacing + 4

                Repeater {
                    model: screen.repository ? [
                        { title: "Commits", value: Format.count(screen.repository.commitCount), symbol: "clock.arrow.circlepath", tint: "blue",
                          detail: Format.count(Math.round(screen.repository.commitsPerMonth)) + " per month" },
                        { title: "Branches", value: Format.count(screen.repository.branchCount), symbol: "arrow.triangle.branch", tint: "teal",
                          detail: "on " + screen.repository.currentBranch },
                        { title: "Tags", value: Format.count(screen.repository.tagCount), symbol: "tag", tint: "orange", detail: "" },
                        { title: "Files", value: Format.count(screen.repository.trackedFileCount), symbol: "doc.on.doc", tint: "purple",
                          detail: Format.bytes(screen.repository.repositorySizeBytes) },
                        { title: "Authors", value: Format.count(screen.people >= 0 ? screen.people : screen.repository.authorCount),
                          symbol: "person.2", tint: "pink",
                          detail: screen.people >= 0 && screen.people !== screen.repository.authorCount
                                  ? Format.count(screen.repository.authorCount) + " as recorded" : "" },
                        screen.repository.statusUnavailableReason
                            ? { title: "Status", value: "Status unavailable", symbol: "info.circle", tint: "gray",
                                detail: screen.repository.statusUnavailableReason }
                            : { title: "Status", value: screen.repository.isClean ? "Clean" : "Modified",
                                symbol: screen.repository.isClean ? "checkmark.circle" : "exclamationmark.triangle",
                                tint: screen.repository.isClean ? "green" : "orange", detail: "" }
                    ] : []
                    delegate: StatCard {
                        required property var modelData
                        Layout.fillWidth: true
                        Layout.fillHeight: true
                        Layout.preferredWidth: 150
                        Layout.minimumWidth: 0
                        title: modelData.title
                        value: modelData.value
                        detail: modelData.detail
                        symbol: modelData.symbol
                        tint: Theme.named(modelData.tint)
                    }
                }
            }

            Card {
                Layout.fillWidth: true
                title: "Commit activity"
                symbol: "chart.xyaxis.line"
                Label {
                    visible: screen.repository !== null
                    Layout.fillWidth: true
                    text: screen.repository
                          ? "First commit " + Format.date(screen.repository.firstCommitDate) + "  ·  latest "
                            + Format.date(screen.repository.latestCommitDate)
                          : ""
                    font.pixelSize: Theme.fontCaption
                    color: Theme.secondaryText
                    elide: Text.ElideRight
                }
                ActivityChart {
                    objectName: "activityChart"
                    Layout.fillWidth: true
                    Layout.preferredHeight: 150
                    activity: screen.appModel ? screen.appModel.session.activity : null

                    Label {
                        anchors.centerIn: parent
                        visible: !!screen.appModel && screen.appModel.session.activity.count === 0
                        text: "No commits in the last 12 months"
                        color: Theme.secondaryText
                        font.pixelSize: Theme.fontBody
                    }
                }
            }

            GridLayout {
                Layout.fillWidth: true
                columns: column.width > 760 ? 2 : 1
                columnSpacing: Theme.spacing + 4
                rowSpacing: Theme.paddingLarge

                Card {
                    Layout.fillWidth: true
                    Layout.fillHeight: true
                    Layout.preferredWidth: 3
                    Layout.alignment: Qt.AlignTop
                    title: "Recent history"
                    symbol: "clock.arrow.circlepath"

                    Repeater {
                        model: screen.recentCommits
                        delegate: ItemDelegate {
                            id: recent
                            required property var modelData
                            Layout.fillWidth: true
                            implicitHeight: 44
                            hoverEnabled: true
                            leftPadding: 6
                            rightPadding: 6
                            background: Rectangle {
                                radius: Theme.radius
                                color: recent.hovered ? Theme.hover : "transparent"
                            }
                            contentItem: RowLayout {
                                spacing: Theme.spacing + 2
                                AuthorAvatar { name: recent.modelData.author; size: 26 }
                                ColumnLayout {
                                    Layout.fillWidth: true
                                    spacing: 1
                                    Label {
                                        Layout.fillWidth: true
                                        text: recent.modelData.subject
                                        font.pixelSize: Theme.fontBody
                                        color: Theme.text
                                        elide: Text.ElideRight
                                    }
                                    Label {
                                        Layout.fillWidth: true
                                        text: recent.modelData.shortHash + "  ·  " + recent.modelData.author + "  ·  " + Format.age(recent.modelData.date)
                                        font.pixelSize: Theme.fontCaption
                                        color: Theme.secondaryText
                                        elide: Text.ElideRight
                                    }
                                }
                            }
                            onClicked: {
                                screen.appModel.selection.selectCommit(recent.modelData)
                                screen.appModel.selectedSection = AppViewModel.History
                            }
                        }
                    }
                    Label {
                        visible: screen.recentCommits.length === 0
                        text: "No commits yet."
                        color: Theme.secondaryText
                        font.pixelSize: Theme.fontBody
                    }
                }

                Card {
                    Layout.fillWidth: true
                    Layout.fillHeight: true
                    Layout.preferredWidth: 2
                    Layout.alignment: Qt.AlignTop
                    title: "Top authors"
                    symbol: "person.2"

                    Repeater {
                        model: screen.topAuthors
                        delegate: ItemDelegate {
                            id: person
                            required property var modelData
                            Layout.fillWidth: true
                            implicitHeight: 44
                            hoverEnabled: true
                            leftPadding: 6
                            rightPadding: 6
                            background: Rectangle {
                                radius: Theme.radius
                                color: person.hovered ? Theme.hover : "transparent"
                            }
                            contentItem: RowLayout {
                                spacing: Theme.spacing + 2
                                AuthorAvatar { name: person.modelData.name; size: 26 }
                                ColumnLayout {
                                    Layout.fillWidth: true
                                    spacing: 4
                                    RowLayout {
                                        Layout.fillWidth: true
                                        Label {
                                            Layout.fillWidth: true
                                            text: person.modelData.name
                                            font.pixelSize: Theme.fontBody
                                            color: Theme.text
                                            elide: Text.ElideRight
                                        }
                                        Label {
                                            text: Format.count(person.modelData.commits)
                                            font.pixelSize: Theme.fontCaption
                                            color: Theme.secondaryText
                                        }
                                    }
                                    Rectangle {
                                        Layout.fillWidth: true
                                        implicitHeight: 4
                                        radius: 2
                                        color: Theme.separator
                                        Rectangle {
                                            width: parent.width * person.modelData.commits / screen.mostCommits
                                            height: parent.height
                                            radius: 2
                                            color: Theme.accent
                                        }
                                    }
                                }
                            }
                            onClicked: screen.appModel.selection.selectAuthor(person.modelData)
                        }
                    }
                }
            }

            Item { Layout.preferredHeight: 1 }
        }
    }

    EmptyStateView {
        anchors.fill: parent
        visible: !screen.repository
        busy: !!screen.appModel && screen.appModel.session.isLoading
        symbol: "folder"
        title: busy ? "Opening repository…" : "No repository"
        message: busy ? "" : "Open a repository to see its overview."
    }
}
