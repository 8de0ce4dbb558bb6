#pragma once

#include "app/AnalyticsIndexController.h"
#include "app/FileTreeModel.h"
#include "app/HistoryListModel.h"
#include "app/IndexedGraphModel.h"
#include "app/RepositoryCatalog.h"
#include "app/RepositorySelection.h"
#include "app/RepositorySession.h"

#include <QObject>
#include <QString>

#include <optional>

namespace strataloom {

class DesktopActions;

/**
 * @brief The application model: four rooms and what belongs to the whole window.
 *
 * - session: the open repository, its lists, loading, search, checkout, desktop hand-offs;
 * - selection: the chosen commit, file and author with their details, and the diff sheet;
 * - catalog: the recent repositories and the home scan;
 * - analytics: the background index of the open repository and its insights.
 *
 * The window keeps here the selected section, the error alert (where every room's failures end)
 * and the sheets. The model wires the rooms: a published load resets the selection, returns to
 * the overview, is remembered among the recents and indexed. Everything lives on the GUI thread;
 * background results come back there.
 */
class AppViewModel : public QObject
{
    Q_OBJECT

    Q_PROPERTY(strataloom::RepositorySession *session READ session CONSTANT)
    Q_PROPERTY(strataloom::RepositorySelection *selection READ selection CONSTANT)
    Q_PROPERTY(strataloom::RepositoryCatalog *catalog READ catalog CONSTANT)
    Q_PROPERTY(strataloom::AnalyticsIndexController *analytics READ analytics CONSTANT)
    /// The whole history from the index, filtered by the History field's query.
    Q_PROPERTY(strataloom::HistoryListModel *history READ history CONSTANT)
    /// Search's results from the index, for the query of the search field.
    Q_PROPERTY(strataloom::HistoryListModel *historySearch READ historySearch CONSTANT)
    /// The commit graph of the whole history from the index, for the Timeline.
    Q_PROPERTY(strataloom::IndexedGraphModel *timeline READ timeline CONSTANT)
    /// HEAD's files as a folder tree with their figures from the index, for Files.
    Q_PROPERTY(strataloom::FileTreeModel *fileTree READ fileTree CONSTANT)
    /// The Timeline lists one line per commit (true, the default) or two; kept in the
    /// preferences under timelineRowStyle.
    Q_PROPERTY(bool timelineOneLine READ timelineOneLine WRITE setTimelineOneLine NOTIFY
                   timelineOneLineChanged)

    Q_PROPERTY(SidebarSection selectedSection READ selectedSection WRITE setSelectedSection NOTIFY
                   selectedSectionChanged)
    /// The error alert's text; empty when there is no alert. Writing "" closes the alert.
    Q_PROPERTY(QString errorMessage READ errorMessageText WRITE setErrorMessageText NOTIFY
                   errorMessageChanged)
    Q_PROPERTY(bool isSearchPresented READ isSearchPresented WRITE setSearchPresented NOTIFY
                   isSearchPresentedChanged)
    Q_PROPERTY(bool isAboutPresented READ isAboutPresented WRITE setAboutPresented NOTIFY
                   isAboutPresentedChanged)

public:
    /// @brief The sections of the sidebar, in their order.
    enum class SidebarSection {
        None = -1,
        Overview,
        Statistics,
        Timeline,
        History,
        Branches,
        Tags,
        Files,
        Search,
        Insights,
    };
    Q_ENUM(SidebarSection)

    /**
     * @brief Loads the recents and the last scan's catalog from the stores; opens nothing.
     * @param desktopActions not owned; must outlive the model. Null: the desktop hand-offs and
     * the folder picker do nothing.
     */
    AppViewModel(RecentRepositoryStore recentStore, DiscoveredRepositoryStore discoveredStore,
                 RepositoryScanner repositoryScanner, DesktopActions *desktopActions = nullptr,
                 QObject *parent = nullptr);

    RepositorySession *session() const { return m_session; }
    RepositorySelection *selection() const { return m_selection; }
    RepositoryCatalog *catalog() const { return m_catalog; }
    AnalyticsIndexController *analytics() const { return m_analytics; }
    HistoryListModel *history() const { return m_history; }
    HistoryListModel *historySearch() const { return m_historySearch; }
    IndexedGraphModel *timeline() const { return m_timeline; }
    FileTreeModel *fileTree() const { return m_fileTree; }
    bool timelineOneLine() const { return m_timelineOneLine; }
    void setTimelineOneLine(bool oneLine);

    /// @brief Background tasks of every room whose results have not been handled yet.
    int runningTaskCount() const;

    /// @brief The title of @p section as the sidebar shows it ("Overview", ...).
    Q_INVOKABLE QString sectionTitle(SidebarSection section) const;

    SidebarSection selectedSection() const { return m_selectedSection; }
    const std::optional<QString> &errorMessage() const { return m_errorMessage; }
    bool isSearchPresented() const { return m_isSearchPresented; }
    bool isAboutPresented() const { return m_isAboutPresented; }

    void setSelectedSection(SidebarSection section);
    void setErrorMessage(const std::optional<QString> &message);
    void setSearchPresented(bool presented);
    void setAboutPresented(bool presented);

    /// @brief Jumps from the insights to the author of exactly that name among authorStats.
    Q_INVOKABLE void openInsightAuthor(const QString &name);
    /// @brief Jumps from the insights to the file of exactly that path among files; a file the
    /// working tree no longer holds opens too, with its history and the status "deleted".
    Q_INVOKABLE void openInsightFile(const QString &path);

Q_SIGNALS:
    void selectedSectionChanged();
    void errorMessageChanged();
    void isSearchPresentedChanged();
    void isAboutPresentedChanged();
    void timelineOneLineChanged();

private:
    void published();
    void indexStateChanged();
    QString errorMessageText() const { return m_errorMessage.value_or(QString()); }
    void setErrorMessageText(const QString &message);

    RepositorySession *m_session;
    RepositorySelection *m_selection;
    RepositoryCatalog *m_catalog;
    AnalyticsIndexController *m_analytics;
    HistoryListModel *m_history;
    HistoryListModel *m_historySearch;
    IndexedGraphModel *m_timeline;
    FileTreeModel *m_fileTree;
    bool m_timelineOneLine = true;
    /// The repository whose index the history lists read; they keep it while it is brought
    /// up to date again.
    QString m_historyRepository;
    SidebarSection m_selectedSection = SidebarSection::Overview;
    std::optional<QString> m_errorMessage;
    bool m_isSearchPresented = false;
    bool m_isAboutPresented = false;
};

} // namespace strataloom
