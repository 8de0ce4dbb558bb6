#pragma once

#include "app/BackgroundTasks.h"
#include "app/RecordModels.h"
#include "git/GitService.h"

#include <QObject>
#include <QVariant>

#include <atomic>
#include <memory>
#include <optional>

namespace strataloom {

class DesktopActions;

/**
 * @brief The open repository: its eight lists read at once by one load, the search over its
 * history, the checkout of another branch, and the hand-offs of its folder to the desktop.
 *
 * Newest wins: of overlapping loads (or searches) only the last one started publishes, its
 * errors included, and isLoading ends with it. A failed load keeps what was shown before.
 * Lists are RecordListModel objects that stay the same for the session's life. When the
 * repository's index is up to date, the summary and the graph are read from it (IndexedOpen).
 */
class RepositorySession : public QObject
{
    Q_OBJECT

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
    Q_PROPERTY(bool isLoading READ isLoading NOTIFY isLoadingChanged)
    /// The branch awaiting the checkout confirmation (a row of `branches`), or null.
    Q_PROPERTY(QVariant pendingCheckoutBranch READ pendingCheckoutBranchValue WRITE
                   setPendingCheckoutBranchValue NOTIFY pendingCheckoutBranchChanged)
    Q_PROPERTY(QString searchText READ searchText WRITE setSearchText NOTIFY searchTextChanged)
    Q_PROPERTY(strataloom::RecordListModel *searchResults READ searchResultsModel NOTIFY
                   searchResultsChanged)

public:
    /// @brief How many commits the history shows, and how many lines of the graph.
    static constexpr int historyLimit = 300;
    static constexpr int graphLimit = 500;
    static constexpr int activityMonths = 12;

    /// @param desktopActions not owned; null: the desktop hand-offs and the picker do nothing.
    explicit RepositorySession(DesktopActions *desktopActions = nullptr, QObject *parent = nullptr);

    const std::optional<RepositorySummary> &repository() const { return m_repository; }
    const QList<CommitRecord> &commits() const { return m_commits->records(); }
    const QList<BranchRecord> &branches() const { return m_branches->records(); }
    const QList<TagRecord> &tags() const { return m_tags->records(); }
    const QList<FileRecord> &files() const { return m_files->records(); }
    const QList<ActivityPoint> &activity() const { return m_activity->records(); }
    const QList<AuthorStat> &authorStats() const { return m_authorStats->records(); }
    const QList<GraphCommitRecord> &graphCommits() const { return m_graphCommits->records(); }
    bool isLoading() const { return m_isLoading; }
    const std::optional<BranchRecord> &pendingCheckoutBranch() const { return m_pendingBranch; }
    QString searchText() const { return m_searchText; }
    const QList<CommitRecord> &searchResults() const { return m_searchResults->records(); }
    int runningTaskCount() const { return m_tasks.running(); }

    RecordListModel *commitsModel() const { return m_commits; }
    RecordListModel *branchesModel() const { return m_branches; }
    RecordListModel *tagsModel() const { return m_tags; }
    RecordListModel *filesModel() const { return m_files; }
    RecordListModel *activityModel() const { return m_activity; }
    RecordListModel *authorStatsModel() const { return m_authorStats; }
    RecordListModel *graphCommitsModel() const { return m_graphCommits; }
    RecordListModel *searchResultsModel() const { return m_searchResults; }

    void setPendingCheckoutBranch(const std::optional<BranchRecord> &branch);
    /// @brief Where the indexes that opening may read from live; "" for the standard folder.
    void setIndexBaseDirectory(const QString &directory);
    void setSearchText(const QString &text);

    /// @brief Opens the repository at @p path (a path or a file: URL); failures end in failed().
    Q_INVOKABLE void openRepository(const QString &path);
    /// @brief Reloads the open repository; does nothing when none is open.
    Q_INVOKABLE void refresh();
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
    void isLoadingChanged();
    void pendingCheckoutBranchChanged();
    void searchTextChanged();
    void searchResultsChanged();
    /// @brief An open (or reload) started; what it replaces is still shown.
    void openingStarted();
    /// @brief A load was published: the repository and every list are the new ones.
    void published();
    void failed(const QString &message);

private:
    struct Load;

    void publish(const Load &load);
    void setLoading(bool loading);
    QVariant repositoryValue() const;
    QVariant pendingCheckoutBranchValue() const;
    void setPendingCheckoutBranchValue(const QVariant &branch);

    GitService m_git;
    DesktopActions *m_desktopActions;
    BackgroundTasks m_tasks;
    std::optional<RepositorySummary> m_repository;
    CommitListModel *m_commits;
    BranchListModel *m_branches;
    TagListModel *m_tags;
    FileListModel *m_files;
    ActivityListModel *m_activity;
    AuthorStatListModel *m_authorStats;
    GraphListModel *m_graphCommits;
    CommitListModel *m_searchResults;
    bool m_isLoading = false;
    std::optional<BranchRecord> m_pendingBranch;
    QString m_searchText;
    quint64 m_activeLoad = 0;
    /// @brief Set when a newer load starts: ends the git children of the running one.
    std::shared_ptr<std::atomic_bool> m_loadSuperseded;
    quint64 m_activeSearch = 0;
    std::optional<QString> m_indexBaseDirectory;
};

} // namespace strataloom
