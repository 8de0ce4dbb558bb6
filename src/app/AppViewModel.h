#pragma once

#include "app/AnalyticsIndex.h"
#include "git/GitService.h"
#include "app/RecordModels.h"
#include "app/RepositoryRecords.h"
#include "app/RepositoryScanner.h"
#include "app/RepositoryStores.h"

#include <QDateTime>
#include <QFuture>
#include <QObject>
#include <QString>
#include <QUuid>
#include <QVariant>

#include <atomic>
#include <functional>
#include <memory>
#include <optional>

class QThreadPool;

namespace strataloom {

class DesktopActions;

/**
 * @brief The one observable object of the application: the open repository, the selection,
 * the search, the recent and discovered repositories and the analytics index, with every user
 * operation.
 *
 * Lives on the GUI thread and is only touched there. Git, the index and the home scan run on
 * background threads; their results come back through watchers owned by the model, and the
 * newest-wins identifiers (activeLoadID, activeSearchID, activeRepositoryScanID) decide whether
 * they are written. Lists are RecordListModel objects that stay the same for the model's life;
 * their contents change, and the property's signal tells when. Optional records are null when
 * absent, else maps keyed by field name (see RecordModels.h).
 *
 * Operations that work in the background return at once; failures end in errorMessage (git)
 * or in analyticsIndexState (the index), never at the caller.
 */
class AppViewModel : public QObject
{
    Q_OBJECT

    // The open repository and its lists.
    Q_PROPERTY(QVariant repository READ repositoryValue NOTIFY repositoryChanged)
    Q_PROPERTY(strataloom::RecordListModel *commits READ commitsModel NOTIFY commitsChanged)
    Q_PROPERTY(strataloom::RecordListModel *branches READ branchesModel NOTIFY branchesChanged)
    Q_PROPERTY(strataloom::RecordListModel *tags READ tagsModel NOTIFY tagsChanged)
    Q_PROPERTY(strataloom::RecordListModel *files READ filesModel NOTIFY filesChanged)
    Q_PROPERTY(strataloom::RecordListModel *activity READ activityModel NOTIFY activityChanged)
    Q_PROPERTY(
        strataloom::RecordListModel *authorStats READ authorStatsModel NOTIFY authorStatsChanged)
    Q_PROPERTY(
        strataloom::RecordListModel *graphCommits READ graphCommitsModel NOTIFY graphCommitsChanged)

    // Navigation and selection.
    Q_PROPERTY(SidebarSection selectedSection READ selectedSection WRITE setSelectedSection NOTIFY
                   selectedSectionChanged)
    Q_PROPERTY(QVariant selectedCommit READ selectedCommitValue NOTIFY selectedCommitChanged)
    Q_PROPERTY(QVariant selectedFile READ selectedFileValue NOTIFY selectedFileChanged)
    Q_PROPERTY(QVariant selectedFileDetails READ selectedFileDetailsValue NOTIFY
                   selectedFileDetailsChanged)
    Q_PROPERTY(QVariant selectedAuthor READ selectedAuthorValue NOTIFY selectedAuthorChanged)
    Q_PROPERTY(QVariant selectedAuthorDetails READ selectedAuthorDetailsValue NOTIFY
                   selectedAuthorDetailsChanged)
    Q_PROPERTY(strataloom::RecordListModel *commitChanges READ commitChangesModel NOTIFY
                   commitChangesChanged)
    /// Why the selected file's details could not be read; empty while they load or once read.
    Q_PROPERTY(QString fileDetailsError READ fileDetailsError NOTIFY fileDetailsErrorChanged)
    /// Why the selected author's details could not be read; empty while they load or once read.
    Q_PROPERTY(QString authorDetailsError READ authorDetailsError NOTIFY authorDetailsErrorChanged)

    // Window-wide presentation.
    Q_PROPERTY(QString presentedDiff READ presentedDiff NOTIFY presentedDiffChanged)
    Q_PROPERTY(bool isDiffPresented READ isDiffPresented WRITE setDiffPresented NOTIFY
                   isDiffPresentedChanged)
    /// The branch awaiting the checkout confirmation (a row of `branches`), or null.
    Q_PROPERTY(QVariant pendingCheckoutBranch READ pendingCheckoutBranchValue WRITE
                   setPendingCheckoutBranchValue NOTIFY pendingCheckoutBranchChanged)
    Q_PROPERTY(bool isLoading READ isLoading NOTIFY isLoadingChanged)
    /// The error alert's text; empty when there is no alert. Writing "" closes the alert.
    Q_PROPERTY(QString errorMessage READ errorMessageText WRITE setErrorMessageText NOTIFY
                   errorMessageChanged)
    Q_PROPERTY(bool isSearchPresented READ isSearchPresented WRITE setSearchPresented NOTIFY
                   isSearchPresentedChanged)
    Q_PROPERTY(bool isAboutPresented READ isAboutPresented WRITE setAboutPresented NOTIFY
                   isAboutPresentedChanged)

    // Search.
    Q_PROPERTY(QString searchText READ searchText WRITE setSearchText NOTIFY searchTextChanged)
    Q_PROPERTY(strataloom::RecordListModel *searchResults READ searchResultsModel NOTIFY
                   searchResultsChanged)

    // Recent and discovered repositories.
    Q_PROPERTY(strataloom::RecordListModel *recentRepositories READ recentRepositoriesModel NOTIFY
                   recentRepositoriesChanged)
    Q_PROPERTY(strataloom::RecordListModel *discoveredRepositories READ discoveredRepositoriesModel
                   NOTIFY discoveredRepositoriesChanged)
    /// When the last home scan finished; an invalid date-time when none is known.
    Q_PROPERTY(QDateTime repositoriesScannedAt READ repositoriesScannedAtValue NOTIFY
                   repositoriesScannedAtChanged)
    Q_PROPERTY(bool isScanningRepositories READ isScanningRepositories NOTIFY
                   isScanningRepositoriesChanged)

    // Analytics index.
    Q_PROPERTY(strataloom::AnalyticsIndexState analyticsIndexState READ analyticsIndexState NOTIFY
                   analyticsIndexStateChanged)
    /// Every field of the last successful run's insights as a map, or null.
    Q_PROPERTY(
        QVariant analyticsInsights READ analyticsInsightsValue NOTIFY analyticsInsightsChanged)

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

    /// @brief How many commits the history shows, and how many lines of the graph.
    static constexpr int historyLimit = 300;
    static constexpr int graphLimit = 500;
    static constexpr int activityMonths = 12;

    /**
     * @brief Loads the recents and the last scan's catalog from the stores; opens nothing.
     * @param desktopActions not owned; must outlive the model. Null: the desktop hand-offs and
     * the folder picker do nothing.
     */
    AppViewModel(RecentRepositoryStore recentStore, DiscoveredRepositoryStore discoveredStore,
                 RepositoryScanner repositoryScanner, DesktopActions *desktopActions = nullptr,
                 QObject *parent = nullptr);
    /// Cancels a running index task: nobody is left to read its result.
    ~AppViewModel() override;

    /// @brief The pool that runs the model's background work (shared by every model).
    static QThreadPool *backgroundPool();

    /// @brief The title of @p section as the sidebar shows it ("Overview", ...).
    Q_INVOKABLE QString sectionTitle(SidebarSection section) const;

    /**
     * @brief Where the index task keeps the indexes; by default the standard index folder.
     * Tools and tests point it elsewhere; an empty text restores the default.
     */
    void setIndexBaseDirectory(const QString &directory);

    /// @brief Background tasks whose results have not been handled yet, stale ones included.
    int runningTaskCount() const { return m_runningTasks; }

    // Typed access for C++; QML reads the properties.
    const std::optional<RepositorySummary> &repository() const { return m_repository; }
    const QList<CommitRecord> &commits() const { return m_commits->records(); }
    const QList<BranchRecord> &branches() const { return m_branches->records(); }
    const QList<TagRecord> &tags() const { return m_tags->records(); }
    const QList<FileRecord> &files() const { return m_files->records(); }
    const QList<ActivityPoint> &activity() const { return m_activity->records(); }
    const QList<AuthorStat> &authorStats() const { return m_authorStats->records(); }
    const QList<GraphCommitRecord> &graphCommits() const { return m_graphCommits->records(); }
    SidebarSection selectedSection() const { return m_selectedSection; }
    const std::optional<CommitRecord> &selectedCommit() const { return m_selectedCommit; }
    const std::optional<FileRecord> &selectedFile() const { return m_selectedFile; }
    const std::optional<FileDetails> &selectedFileDetails() const { return m_selectedFileDetails; }
    const std::optional<AuthorStat> &selectedAuthor() const { return m_selectedAuthor; }
    const std::optional<AuthorDetails> &selectedAuthorDetails() const
    {
        return m_selectedAuthorDetails;
    }
    const QList<CommitFileChange> &commitChanges() const { return m_commitChanges->records(); }
    QString fileDetailsError() const { return m_fileDetailsError; }
    QString authorDetailsError() const { return m_authorDetailsError; }
    QString presentedDiff() const { return m_presentedDiff; }
    bool isDiffPresented() const { return m_isDiffPresented; }
    const std::optional<BranchRecord> &pendingCheckoutBranch() const
    {
        return m_pendingCheckoutBranch;
    }
    bool isLoading() const { return m_isLoading; }
    const std::optional<QString> &errorMessage() const { return m_errorMessage; }
    bool isSearchPresented() const { return m_isSearchPresented; }
    bool isAboutPresented() const { return m_isAboutPresented; }
    QString searchText() const { return m_searchText; }
    const QList<CommitRecord> &searchResults() const { return m_searchResults->records(); }
    const QList<RecentRepository> &recentRepositories() const
    {
        return m_recentRepositories->records();
    }
    const QList<DiscoveredRepository> &discoveredRepositories() const
    {
        return m_discoveredRepositories->records();
    }
    const std::optional<QDateTime> &repositoriesScannedAt() const
    {
        return m_repositoriesScannedAt;
    }
    bool isScanningRepositories() const { return m_isScanningRepositories; }
    AnalyticsIndexState analyticsIndexState() const { return m_analyticsIndexState; }
    const std::optional<RepositoryAnalyticsInsights> &analyticsInsights() const
    {
        return m_analyticsInsights;
    }

    // The list models behind the list properties.
    RecordListModel *commitsModel() const { return m_commits; }
    RecordListModel *branchesModel() const { return m_branches; }
    RecordListModel *tagsModel() const { return m_tags; }
    RecordListModel *filesModel() const { return m_files; }
    RecordListModel *activityModel() const { return m_activity; }
    RecordListModel *authorStatsModel() const { return m_authorStats; }
    RecordListModel *graphCommitsModel() const { return m_graphCommits; }
    RecordListModel *commitChangesModel() const { return m_commitChanges; }
    RecordListModel *searchResultsModel() const { return m_searchResults; }
    RecordListModel *recentRepositoriesModel() const { return m_recentRepositories; }
    RecordListModel *discoveredRepositoriesModel() const { return m_discoveredRepositories; }

    // Writable fields (the screens set them directly).
    void setSelectedSection(SidebarSection section);
    void setDiffPresented(bool presented);
    void setPendingCheckoutBranch(const std::optional<BranchRecord> &branch);
    void setErrorMessage(const std::optional<QString> &message);
    void setSearchPresented(bool presented);
    void setAboutPresented(bool presented);
    void setSearchText(const QString &text);

    // Repository loading.
    /// @brief Opens the repository at @p path (a path or a file: URL); failures end in
    /// errorMessage.
    Q_INVOKABLE void openRepository(const QString &path);
    /// @brief Reloads the open repository; does nothing when none is open.
    Q_INVOKABLE void refresh();

    // Recent and discovered repositories.
    Q_INVOKABLE void openRecentRepository(const QVariantMap &recent);
    void openRecentRepository(const RecentRepository &recent);
    Q_INVOKABLE void openDiscoveredRepository(const QVariantMap &repository);
    void openDiscoveredRepository(const DiscoveredRepository &repository);
    Q_INVOKABLE void removeRecentRepository(const QVariantMap &recent);
    void removeRecentRepository(const RecentRepository &recent);
    /// @brief Empties the recents ("Clear Menu").
    Q_INVOKABLE void clearRecentRepositories();
    Q_INVOKABLE void scanHomeForRepositories();

    // Selection.
    Q_INVOKABLE void selectCommit(const QVariantMap &commit);
    void selectCommit(const CommitRecord &commit);
    Q_INVOKABLE void presentDiff(const QVariantMap &commit);
    void presentDiff(const CommitRecord &commit);
    Q_INVOKABLE void selectFile(const QVariantMap &file);
    void selectFile(const FileRecord &file);
    Q_INVOKABLE void openFile(const QVariantMap &file);
    void openFile(const FileRecord &file);
    Q_INVOKABLE void selectAuthor(const QVariantMap &author);
    void selectAuthor(const AuthorStat &author);
    /// @brief Jumps from the insights to the author of exactly that name among authorStats.
    Q_INVOKABLE void openInsightAuthor(const QString &name);
    /// @brief Jumps from the insights to the file of exactly that path among files.
    Q_INVOKABLE void openInsightFile(const QString &path);

    // Search and repository actions.
    Q_INVOKABLE void performSearch();
    /// @brief Switches to pendingCheckoutBranch, then reloads; does nothing when none is pending.
    Q_INVOKABLE void confirmCheckout();
    Q_INVOKABLE void revealInFinder();
    Q_INVOKABLE void openInTerminal();
    Q_INVOKABLE void openRepositoryPicker();

Q_SIGNALS:
    void repositoryChanged();
    void commitsChanged();
    void branchesChanged();
    void tagsChanged();
    void filesChanged();
    void activityChanged();
    void authorStatsChanged();
    void graphCommitsChanged();
    void selectedSectionChanged();
    void selectedCommitChanged();
    void selectedFileChanged();
    void selectedFileDetailsChanged();
    void selectedAuthorChanged();
    void selectedAuthorDetailsChanged();
    void commitChangesChanged();
    void fileDetailsErrorChanged();
    void authorDetailsErrorChanged();
    void presentedDiffChanged();
    void isDiffPresentedChanged();
    void pendingCheckoutBranchChanged();
    void isLoadingChanged();
    void errorMessageChanged();
    void isSearchPresentedChanged();
    void isAboutPresentedChanged();
    void searchTextChanged();
    void searchResultsChanged();
    void recentRepositoriesChanged();
    void discoveredRepositoriesChanged();
    void repositoriesScannedAtChanged();
    void isScanningRepositoriesChanged();
    void analyticsIndexStateChanged();
    void analyticsInsightsChanged();

private:
    struct RepositoryLoad;

    /**
     * @brief Runs @p work on the background pool and hands its outcome to @p done on the GUI
     * thread, unless the model is gone by then.
     */
    template<typename Result, typename Work>
    void runInBackground(Work work, std::function<void(Result)> done);

    void publish(const RepositoryLoad &load);
    void rememberRepository(const RepositorySummary &summary);
    void startAnalyticsIndex(const RepositorySummary &summary);
    void openExistingFolder(const QString &path, const QString &missingMessage);

    void setRepository(const std::optional<RepositorySummary> &summary);
    void setSelectedCommit(const std::optional<CommitRecord> &commit);
    void setSelectedFile(const std::optional<FileRecord> &file);
    void setSelectedFileDetails(const std::optional<FileDetails> &details);
    void setSelectedAuthor(const std::optional<AuthorStat> &author);
    void setSelectedAuthorDetails(const std::optional<AuthorDetails> &details);
    void setCommitChanges(const QList<CommitFileChange> &changes);
    void setFileDetailsError(const QString &error);
    void setAuthorDetailsError(const QString &error);
    void setPresentedDiff(const QString &diff);
    void setLoading(bool loading);
    void setRecentRepositories(const QList<RecentRepository> &recents);
    void setDiscoveredRepositories(const QList<DiscoveredRepository> &repositories);
    void setRepositoriesScannedAt(const std::optional<QDateTime> &date);
    void setScanningRepositories(bool scanning);
    void setAnalyticsIndexState(const AnalyticsIndexState &state);
    void setAnalyticsInsights(const std::optional<RepositoryAnalyticsInsights> &insights,
                              const QVariant &value);

    // QML views of the optional fields.
    QVariant repositoryValue() const;
    QVariant selectedCommitValue() const;
    QVariant selectedFileValue() const;
    QVariant selectedFileDetailsValue() const;
    QVariant selectedAuthorValue() const;
    QVariant selectedAuthorDetailsValue() const;
    QVariant pendingCheckoutBranchValue() const;
    void setPendingCheckoutBranchValue(const QVariant &branch);
    QString errorMessageText() const { return m_errorMessage.value_or(QString()); }
    void setErrorMessageText(const QString &message);
    QDateTime repositoriesScannedAtValue() const
    {
        return m_repositoriesScannedAt.value_or(QDateTime());
    }
    QVariant analyticsInsightsValue() const { return m_analyticsInsightsValue; }

    GitService m_git;
    RecentRepositoryStore m_recentStore;
    DiscoveredRepositoryStore m_discoveredStore;
    RepositoryScanner m_repositoryScanner;
    DesktopActions *m_desktopActions;
    std::optional<QString> m_indexBaseDirectory;

    std::optional<RepositorySummary> m_repository;
    CommitListModel *m_commits;
    BranchListModel *m_branches;
    TagListModel *m_tags;
    FileListModel *m_files;
    ActivityListModel *m_activity;
    AuthorStatListModel *m_authorStats;
    GraphListModel *m_graphCommits;
    SidebarSection m_selectedSection = SidebarSection::Overview;
    std::optional<CommitRecord> m_selectedCommit;
    std::optional<FileRecord> m_selectedFile;
    std::optional<FileDetails> m_selectedFileDetails;
    std::optional<AuthorStat> m_selectedAuthor;
    std::optional<AuthorDetails> m_selectedAuthorDetails;
    CommitChangeListModel *m_commitChanges;
    QString m_fileDetailsError;
    QString m_authorDetailsError;
    QString m_presentedDiff;
    bool m_isDiffPresented = false;
    std::optional<BranchRecord> m_pendingCheckoutBranch;
    bool m_isLoading = false;
    std::optional<QString> m_errorMessage;
    bool m_isSearchPresented = false;
    bool m_isAboutPresented = false;
    QString m_searchText;
    CommitListModel *m_searchResults;
    RecentRepositoryListModel *m_recentRepositories;
    DiscoveredRepositoryListModel *m_discoveredRepositories;
    std::optional<QDateTime> m_repositoriesScannedAt;
    bool m_isScanningRepositories = false;
    AnalyticsIndexState m_analyticsIndexState;
    std::optional<RepositoryAnalyticsInsights> m_analyticsInsights;
    QVariant m_analyticsInsightsValue;

    std::optional<QUuid> m_activeLoadID;
    std::optional<QUuid> m_activeSearchID;
    std::optional<QUuid> m_activeRepositoryScanID;
    /// Set to cancel the current index task; shared with that task's thread.
    std::shared_ptr<std::atomic_bool> m_indexTaskCancelled;
    int m_runningTasks = 0;
};

} // namespace strataloom
