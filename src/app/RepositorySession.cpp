#include "app/RepositorySession.h"

#include "app/DesktopActions.h"
#include "app/IndexedOpen.h"

#include <QPointer>
#include <QUrl>

#include <future>
#include <tuple>
#include <utility>

namespace strataloom {

/// @brief Everything the eight loaders of one repository load return.
struct RepositorySession::Load
{
    RepositorySummary summary;
    QList<CommitRecord> commits;
    QList<BranchRecord> branches;
    QList<TagRecord> tags;
    QList<FileRecord> files;
    QList<ActivityPoint> activity;
    QList<AuthorStat> authorStats;
    QList<GraphCommitRecord> graph;
};

namespace {

/**
 * Runs the eight loaders at once, each on its own thread (the summary and the author statistics
 * share one history walk), and collects them in a fixed order. The first failure in that order
 * is the one thrown; the futures of the others are awaited by their destructors before it
 * leaves, so no git process outlives the load.
 */
template<typename Load>
Load loadRepository(const GitService &git, const QString &path,
                    const std::optional<QString> &indexBaseDirectory)
{
    // The caller's cancellation reaches each loader's thread and the git it waits for.
    const auto start = [isCancelled = ScopedProcessCancellation::current()](auto work) {
        return std::async(std::launch::async, [isCancelled, work = std::move(work)] {
            const ScopedProcessCancellation cancellation(isCancelled);
            return work();
        });
    };
    // An index that covers the repository as it is now answers the two loaders that would
    // otherwise walk the whole history: the summary's walk and the graph.
    const auto indexed = std::make_shared<IndexedOpen>(path, indexBaseDirectory);
    // The summary's walk over the history also gives the author statistics.
    auto summary = start([=] {
        std::pair<RepositorySummary, QList<AuthorStat>> loaded;
        loaded.first = git.loadSummary(path, &loaded.second, indexed->headHistory());
        return loaded;
    });
    auto commits = start([=] { return git.loadCommits(path, RepositorySession::historyLimit); });
    auto branches = start([=] { return git.loadBranches(path); });
    auto tags = start([=] { return git.loadTags(path); });
    auto files = start([=] { return git.loadFiles(path); });
    auto activity
        = start([=] { return git.loadActivity(path, RepositorySession::activityMonths); });
    auto graph = start([=] {
        if (auto rows = indexed->graph(RepositorySession::graphLimit))
            return *rows;
        return git.loadGraph(path, RepositorySession::graphLimit);
    });

    Load load;
    std::tie(load.summary, load.authorStats) = summary.get();
    load.commits = commits.get();
    load.branches = branches.get();
    load.tags = tags.get();
    load.files = files.get();
    load.activity = activity.get();
    load.graph = graph.get();
    return load;
}

QString localPath(const QString &location)
{
    if (location.startsWith(QLatin1String("file:")))
        return QUrl(location).toLocalFile();
    return location;
}

template<typename List, typename Signal>
void setList(RepositorySession *session, List *model, const auto &records, Signal changed)
{
    if (model->setRecords(records))
        Q_EMIT(session->*changed)();
}

} // namespace

RepositorySession::RepositorySession(DesktopActions *desktopActions, QObject *parent)
    : QObject(parent)
    , m_desktopActions(desktopActions)
    , m_tasks(this, [this](const QString &error) { Q_EMIT failed(error); })
    , m_commits(new CommitListModel(this))
    , m_branches(new BranchListModel(this))
    , m_tags(new TagListModel(this))
    , m_files(new FileListModel(this))
    , m_activity(new ActivityListModel(this))
    , m_authorStats(new AuthorStatListModel(this))
    , m_graphCommits(new GraphListModel(this))
    , m_searchResults(new CommitListModel(this))
{ }

void RepositorySession::openRepository(const QString &location)
{
    const quint64 load = ++m_activeLoad;
    setLoading(true);
    Q_EMIT openingStarted();
    const auto current = [this, load] { return m_activeLoad == load; };
    // A newer load supersedes this one and ends its git children, so that a hanging git neither
    // keeps a pool thread nor delays anything.
    if (m_loadSuperseded)
        m_loadSuperseded->store(true);
    const auto superseded = std::make_shared<std::atomic_bool>(false);
    m_loadSuperseded = superseded;
    // A stale load writes nothing, errors included, and leaves isLoading to the newer one.
    m_tasks.run(
        [git = m_git, path = localPath(location), superseded, base = m_indexBaseDirectory] {
            const ScopedProcessCancellation cancellation(
                [superseded] { return superseded->load(); });
            return loadRepository<Load>(git, path, base);
        },
        [this](const Load &loaded) {
            publish(loaded);
            setLoading(false);
        },
        [this](const QString &error) {
            Q_EMIT failed(error);
            setLoading(false);
        },
        current);
}

void RepositorySession::publish(const Load &load)
{
    if (m_repository != load.summary) {
        m_repository = load.summary;
        Q_EMIT repositoryChanged();
    }
    setList(this, m_commits, load.commits, &RepositorySession::commitsChanged);
    setList(this, m_branches, load.branches, &RepositorySession::branchesChanged);
    setList(this, m_tags, load.tags, &RepositorySession::tagsChanged);
    setList(this, m_files, load.files, &RepositorySession::filesChanged);
    setList(this, m_activity, load.activity, &RepositorySession::activityChanged);
    setList(this, m_authorStats, load.authorStats, &RepositorySession::authorStatsChanged);
    setList(this, m_graphCommits, load.graph, &RepositorySession::graphCommitsChanged);
    Q_EMIT published();
}

void RepositorySession::setIndexBaseDirectory(const QString &directory)
{
    m_indexBaseDirectory = directory.isEmpty() ? std::nullopt : std::optional(directory);
}

void RepositorySession::refresh()
{
    if (m_repository)
        openRepository(m_repository->path);
}

void RepositorySession::performSearch()
{
    if (!m_repository)
        return;
    const quint64 search = ++m_activeSearch;
    m_tasks.run([git = m_git, path = m_repository->path,
                 query = m_searchText] { return git.searchCommits(path, query); },
                [this](const QList<CommitRecord> &results) {
                    setList(this, m_searchResults, results,
                            &RepositorySession::searchResultsChanged);
                },
                {}, [this, search] { return m_activeSearch == search; });
}

void RepositorySession::confirmCheckout()
{
    if (!m_repository || !m_pendingBranch)
        return;
    const BranchRecord branch = *m_pendingBranch;
    setPendingCheckoutBranch(std::nullopt);
    setLoading(true);
    const QString path = m_repository->path;
    m_tasks.run(
        [git = m_git, branch, path] {
            git.checkout(branch, path);
            return true;
        },
        // The reload takes isLoading over with its own load.
        [this, path](bool) { openRepository(path); },
        [this](const QString &error) {
            setLoading(false);
            Q_EMIT failed(error);
        });
}

void RepositorySession::revealInFinder()
{
    if (m_repository && m_desktopActions)
        m_desktopActions->showFolder(m_repository->path);
}

void RepositorySession::openInTerminal()
{
    if (m_repository && m_desktopActions)
        m_desktopActions->openTerminal(m_repository->path);
}

void RepositorySession::openRepositoryPicker()
{
    if (!m_desktopActions)
        return;
    m_desktopActions->chooseFolder(QStringLiteral("Open Repository"),
                                   [session = QPointer(this)](const QString &path) {
                                       if (session && !path.isEmpty())
                                           session->openRepository(path);
                                   });
}

void RepositorySession::setLoading(bool loading)
{
    if (m_isLoading == loading)
        return;
    m_isLoading = loading;
    Q_EMIT isLoadingChanged();
}

void RepositorySession::setPendingCheckoutBranch(const std::optional<BranchRecord> &branch)
{
    if (m_pendingBranch == branch)
        return;
    m_pendingBranch = branch;
    Q_EMIT pendingCheckoutBranchChanged();
}

void RepositorySession::setSearchText(const QString &text)
{
    if (m_searchText == text)
        return;
    m_searchText = text;
    Q_EMIT searchTextChanged();
}

QVariant RepositorySession::repositoryValue() const
{
    return m_repository ? QVariant(toVariantMap(*m_repository)) : QVariant();
}

QVariant RepositorySession::pendingCheckoutBranchValue() const
{
    return m_pendingBranch ? QVariant(toVariantMap(*m_pendingBranch)) : QVariant();
}

void RepositorySession::setPendingCheckoutBranchValue(const QVariant &branch)
{
    const QVariantMap map = branch.toMap();
    setPendingCheckoutBranch(map.isEmpty() ? std::nullopt
                                           : std::optional(branchFromVariantMap(map)));
}

} // namespace strataloom
