#include "app/AppViewModel.h"

#include "app/DesktopActions.h"
#include "index/RepositoryIndexer.h"

#include <QDir>
#include <QFileInfo>
#include <QFutureWatcher>
#include <QPointer>
#include <QThread>
#include <QThreadPool>
#include <QUrl>
#include <QtConcurrent/QtConcurrentRun>

#include <future>
#include <utility>

namespace strataloom {

namespace {

/// @brief A background result, or the text of the error that replaced it.
template<typename T> struct Outcome
{
    std::optional<T> value;
    QString error;
    bool cancelled = false;
};

template<typename Work> auto attempt(Work &work) -> Outcome<decltype(work())>
{
    try {
        return {work(), {}, false};
    } catch (const SynchronizationCancelled &) {
        return {std::nullopt, {}, true};
    } catch (const std::exception &error) {
        return {std::nullopt, userMessage(error), false};
    } catch (...) {
        return {std::nullopt, QStringLiteral("Unexpected error"), false};
    }
}

/// @brief Sets @p field and signals even when the value is unchanged.
template<typename T, typename Model, typename Signal>
void reselect(Model *model, std::optional<T> &field, const T &value, Signal changed)
{
    field = value;
    Q_EMIT(model->*changed)();
}

template<typename T> QVariant optionalMap(const std::optional<T> &value)
{
    return value ? QVariant(toVariantMap(*value)) : QVariant();
}

/// @brief What a finished index task hands back: the result, and its QML form made off the GUI
/// thread, since the insights of a long history are large.
struct IndexRun
{
    RepositoryIndexingResult result;
    QVariant insightsValue;
};

} // namespace

/// @brief Everything the eight loaders of one repository load return.
struct AppViewModel::RepositoryLoad
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
 * Runs the eight loaders at once, each on its own thread, and collects them in a fixed order.
 * The first failure in that order is the one thrown; the futures of the others are awaited by
 * their destructors before it leaves, so no git process outlives the load.
 */
template<typename Load> Load loadRepository(const GitService &git, const QString &path)
{
    const auto start = [](auto work) { return std::async(std::launch::async, std::move(work)); };
    auto summary = start([=] { return git.loadSummary(path); });
    auto commits = start([=] { return git.loadCommits(path, AppViewModel::historyLimit); });
    auto branches = start([=] { return git.loadBranches(path); });
    auto tags = start([=] { return git.loadTags(path); });
    auto files = start([=] { return git.loadFiles(path); });
    auto activity = start([=] { return git.loadActivity(path, AppViewModel::activityMonths); });
    auto authorStats = start([=] { return git.loadAuthorStats(path); });
    auto graph = start([=] { return git.loadGraph(path, AppViewModel::graphLimit); });

    Load load;
    load.summary = summary.get();
    load.commits = commits.get();
    load.branches = branches.get();
    load.tags = tags.get();
    load.files = files.get();
    load.activity = activity.get();
    load.authorStats = authorStats.get();
    load.graph = graph.get();
    return load;
}

QString localPath(const QString &location)
{
    if (location.startsWith(QLatin1String("file:")))
        return QUrl(location).toLocalFile();
    return location;
}

} // namespace

AppViewModel::AppViewModel(RecentRepositoryStore recentStore,
                           DiscoveredRepositoryStore discoveredStore,
                           RepositoryScanner repositoryScanner, DesktopActions *desktopActions,
                           QObject *parent)
    : QObject(parent)
    , m_recentStore(std::move(recentStore))
    , m_discoveredStore(std::move(discoveredStore))
    , m_repositoryScanner(std::move(repositoryScanner))
    , m_desktopActions(desktopActions)
    , m_commits(new CommitListModel(this))
    , m_branches(new BranchListModel(this))
    , m_tags(new TagListModel(this))
    , m_files(new FileListModel(this))
    , m_activity(new ActivityListModel(this))
    , m_authorStats(new AuthorStatListModel(this))
    , m_graphCommits(new GraphListModel(this))
    , m_commitChanges(new CommitChangeListModel(this))
    , m_searchResults(new CommitListModel(this))
    , m_recentRepositories(new RecentRepositoryListModel(this))
    , m_discoveredRepositories(new DiscoveredRepositoryListModel(this))
{
    m_recentRepositories->setRecords(m_recentStore.load());
    if (const std::optional<DiscoveredRepositoryCatalog> catalog = m_discoveredStore.load()) {
        m_discoveredRepositories->setRecords(catalog->repositories);
        m_repositoriesScannedAt = catalog->scannedAt;
    }
}

AppViewModel::~AppViewModel()
{
    if (m_indexTaskCancelled)
        m_indexTaskCancelled->store(true);
}

QThreadPool *AppViewModel::backgroundPool()
{
    // Git work waits on child processes far more than it computes, and a long index run must not
    // hold up the loaders of the next repository: many more threads than cores.
    static QThreadPool *pool = [] {
        auto *created = new QThreadPool;
        created->setMaxThreadCount(qMax(32, QThread::idealThreadCount() * 4));
        return created;
    }();
    return pool;
}

QString AppViewModel::sectionTitle(SidebarSection section) const
{
    switch (section) {
    case SidebarSection::None:
        break;
    case SidebarSection::Overview:
        return QStringLiteral("Overview");
    case SidebarSection::Statistics:
        return QStringLiteral("Statistics");
    case SidebarSection::Timeline:
        return QStringLiteral("Timeline");
    case SidebarSection::History:
        return QStringLiteral("History");
    case SidebarSection::Branches:
        return QStringLiteral("Branches");
    case SidebarSection::Tags:
        return QStringLiteral("Tags");
    case SidebarSection::Files:
        return QStringLiteral("Files");
    case SidebarSection::Search:
        return QStringLiteral("Search");
    case SidebarSection::Insights:
        return QStringLiteral("Insights");
    }
    return {};
}

void AppViewModel::setIndexBaseDirectory(const QString &directory)
{
    m_indexBaseDirectory = directory.isEmpty() ? std::nullopt : std::optional(directory);
}

template<typename Result, typename Work>
void AppViewModel::runInBackground(Work work, std::function<void(Result)> done)
{
    auto *watcher = new QFutureWatcher<Result>(this);
    ++m_runningTasks;
    connect(watcher, &QFutureWatcherBase::finished, this, [this, watcher, done = std::move(done)] {
        --m_runningTasks;
        watcher->deleteLater();
        done(watcher->result());
    });
    watcher->setFuture(QtConcurrent::run(backgroundPool(), std::move(work)));
}

// Repository loading

void AppViewModel::openRepository(const QString &location)
{
    const QString path = localPath(location);
    const QUuid loadID = QUuid::createUuid();
    m_activeLoadID = loadID;
    setLoading(true);
    setErrorMessage(std::nullopt);

    const GitService git = m_git;
    runInBackground<Outcome<RepositoryLoad>>(
        [git, path] {
            auto work = [&] { return loadRepository<RepositoryLoad>(git, path); };
            return attempt(work);
        },
        [this, loadID](const Outcome<RepositoryLoad> &outcome) {
            if (m_activeLoadID == loadID) {
                if (outcome.value)
                    publish(*outcome.value);
                else
                    setErrorMessage(outcome.error);
            }
            // A stale load leaves isLoading to the newer one that owns it.
            if (m_activeLoadID == loadID)
                setLoading(false);
        });
}

void AppViewModel::publish(const RepositoryLoad &load)
{
    setRepository(load.summary);
    if (m_commits->setRecords(load.commits))
        Q_EMIT commitsChanged();
    if (m_branches->setRecords(load.branches))
        Q_EMIT branchesChanged();
    if (m_tags->setRecords(load.tags))
        Q_EMIT tagsChanged();
    if (m_files->setRecords(load.files))
        Q_EMIT filesChanged();
    if (m_activity->setRecords(load.activity))
        Q_EMIT activityChanged();
    if (m_authorStats->setRecords(load.authorStats))
        Q_EMIT authorStatsChanged();
    if (m_graphCommits->setRecords(load.graph))
        Q_EMIT graphCommitsChanged();
    setSelectedCommit(load.commits.isEmpty() ? std::nullopt
                                             : std::optional(load.commits.constFirst()));
    setSelectedFile(std::nullopt);
    setSelectedFileDetails(std::nullopt);
    setSelectedAuthor(std::nullopt);
    setSelectedAuthorDetails(std::nullopt);
    setFileDetailsError({});
    setAuthorDetailsError({});
    setCommitChanges({});
    setSelectedSection(SidebarSection::Overview);
    rememberRepository(load.summary);
    startAnalyticsIndex(load.summary);
}

void AppViewModel::refresh()
{
    if (m_repository)
        openRepository(m_repository->path);
}

void AppViewModel::rememberRepository(const RepositorySummary &summary)
{
    const RecentRepository recent {summary.name, standardizedPath(summary.path),
                                   QDateTime::currentDateTimeUtc()};
    setRecentRepositories(rememberedRecents(recentRepositories(), recent));
    m_recentStore.save(recentRepositories());
}

// Analytics index

void AppViewModel::startAnalyticsIndex(const RepositorySummary &summary)
{
    if (m_indexTaskCancelled)
        m_indexTaskCancelled->store(true);
    setAnalyticsIndexState(AnalyticsIndexState::indexing());
    setAnalyticsInsights(std::nullopt, {});

    const auto cancelled = std::make_shared<std::atomic_bool>(false);
    m_indexTaskCancelled = cancelled;
    const QString path = summary.path;
    const std::optional<QString> base = m_indexBaseDirectory;
    runInBackground<Outcome<IndexRun>>(
        [path, base, cancelled] {
            auto work = [&] {
                IndexRun run;
                run.result = indexRepository(path, base, [cancelled] { return cancelled->load(); });
                run.insightsValue = toVariantMap(run.result.insights);
                return run;
            };
            return attempt(work);
        },
        [this, cancelled](const Outcome<IndexRun> &outcome) {
            // A cancelled or superseded run never writes, whatever it managed to finish. The
            // task's own token decides, not the load identifier: a later open that fails starts
            // no index of its own, and the repository still shown must not stay "indexing".
            if (outcome.cancelled || cancelled->load() || m_indexTaskCancelled != cancelled)
                return;
            if (outcome.value) {
                setAnalyticsInsights(outcome.value->result.insights, outcome.value->insightsValue);
                setAnalyticsIndexState(AnalyticsIndexState::ready(
                    outcome.value->result.snapshot, outcome.value->result.importedCommits));
            } else {
                setAnalyticsIndexState(AnalyticsIndexState::failed(outcome.error));
            }
        });
}

// Recent and discovered repositories

void AppViewModel::openExistingFolder(const QString &path, const QString &missingMessage)
{
    if (QFileInfo(path).isDir())
        openRepository(path);
    else
        setErrorMessage(missingMessage);
}

void AppViewModel::openRecentRepository(const QVariantMap &recent)
{
    openRecentRepository(recentFromVariantMap(recent));
}

void AppViewModel::openRecentRepository(const RecentRepository &recent)
{
    openExistingFolder(recent.path,
                       QStringLiteral("The repository folder no longer exists at ") + recent.path
                           + QLatin1Char('.'));
}

void AppViewModel::openDiscoveredRepository(const QVariantMap &repository)
{
    openDiscoveredRepository(discoveredFromVariantMap(repository));
}

void AppViewModel::openDiscoveredRepository(const DiscoveredRepository &repository)
{
    openExistingFolder(repository.path,
                       QStringLiteral("The repository folder no longer exists at ")
                           + repository.path
                           + QStringLiteral(". Rescan your home directory to update the list."));
}

void AppViewModel::removeRecentRepository(const QVariantMap &recent)
{
    removeRecentRepository(recentFromVariantMap(recent));
}

void AppViewModel::removeRecentRepository(const RecentRepository &recent)
{
    setRecentRepositories(recentsWithout(recentRepositories(), recent.path));
    m_recentStore.save(recentRepositories());
}

void AppViewModel::clearRecentRepositories()
{
    setRecentRepositories({});
    m_recentStore.save(recentRepositories());
}

void AppViewModel::scanHomeForRepositories()
{
    const QUuid scanID = QUuid::createUuid();
    m_activeRepositoryScanID = scanID;
    setScanningRepositories(true);
    const RepositoryScanner scanner = m_repositoryScanner;
    runInBackground<QList<DiscoveredRepository>>(
        [scanner] { return scanner.scan(); },
        [this, scanID](const QList<DiscoveredRepository> &repositories) {
            // A superseded scan writes nothing; the newer one ends isScanningRepositories.
            if (m_activeRepositoryScanID != scanID)
                return;
            const QDateTime now = QDateTime::currentDateTimeUtc();
            setDiscoveredRepositories(repositories);
            setRepositoriesScannedAt(now);
            setScanningRepositories(false);
            m_discoveredStore.save({repositories, now});
        });
}

// Selection

void AppViewModel::selectCommit(const QVariantMap &commit)
{
    selectCommit(commitFromVariantMap(commit));
}

void AppViewModel::selectCommit(const CommitRecord &commit)
{
    // Choosing the commit that is already selected is still a choice: the inspector turns to it.
    reselect(this, m_selectedCommit, commit, &AppViewModel::selectedCommitChanged);
    setCommitChanges({});
    if (!m_repository)
        return;
    // No staleness guard: the changes that arrive last are shown, as for files and authors.
    const GitService git = m_git;
    const QString path = m_repository->path;
    runInBackground<Outcome<QList<CommitFileChange>>>(
        [git, path, id = commit.id] {
            auto work = [&] { return git.loadCommitChanges(path, id); };
            return attempt(work);
        },
        [this](const Outcome<QList<CommitFileChange>> &outcome) {
            if (outcome.value)
                setCommitChanges(*outcome.value);
            else
                setErrorMessage(outcome.error);
        });
}

void AppViewModel::presentDiff(const QVariantMap &commit)
{
    presentDiff(commitFromVariantMap(commit));
}

void AppViewModel::presentDiff(const CommitRecord &commit)
{
    setSelectedCommit(commit);
    if (!m_repository)
        return;
    const GitService git = m_git;
    const QString path = m_repository->path;
    runInBackground<Outcome<QString>>(
        [git, path, id = commit.id] {
            auto work = [&] { return git.loadCommitDiff(path, id); };
            return attempt(work);
        },
        [this](const Outcome<QString> &outcome) {
            if (outcome.value) {
                setPresentedDiff(*outcome.value);
                setDiffPresented(true);
            } else {
                setErrorMessage(outcome.error);
            }
        });
}

void AppViewModel::selectFile(const QVariantMap &file)
{
    selectFile(fileFromVariantMap(file));
}

void AppViewModel::selectFile(const FileRecord &file)
{
    reselect(this, m_selectedFile, file, &AppViewModel::selectedFileChanged);
    setSelectedFileDetails(std::nullopt);
    setFileDetailsError({});
    if (!m_repository)
        return;
    const GitService git = m_git;
    const QString path = m_repository->path;
    runInBackground<Outcome<FileDetails>>(
        [git, path, filePath = file.path] {
            auto work = [&] { return git.loadFileDetails(path, filePath); };
            return attempt(work);
        },
        [this](const Outcome<FileDetails> &outcome) {
            if (outcome.value) {
                setSelectedFileDetails(*outcome.value);
            } else {
                setFileDetailsError(outcome.error);
                setErrorMessage(outcome.error);
            }
        });
}

void AppViewModel::openFile(const QVariantMap &file)
{
    openFile(fileFromVariantMap(file));
}

void AppViewModel::openFile(const FileRecord &file)
{
    if (m_repository && m_desktopActions)
        m_desktopActions->openFile(QDir(m_repository->path).filePath(file.path));
}

void AppViewModel::selectAuthor(const QVariantMap &author)
{
    selectAuthor(authorFromVariantMap(author));
}

void AppViewModel::selectAuthor(const AuthorStat &author)
{
    reselect(this, m_selectedAuthor, author, &AppViewModel::selectedAuthorChanged);
    setSelectedAuthorDetails(std::nullopt);
    setAuthorDetailsError({});
    if (!m_repository)
        return;
    const GitService git = m_git;
    const QString path = m_repository->path;
    runInBackground<Outcome<AuthorDetails>>(
        [git, path, name = author.name] {
            auto work = [&] { return git.loadAuthorDetails(path, name); };
            return attempt(work);
        },
        [this](const Outcome<AuthorDetails> &outcome) {
            if (outcome.value) {
                setSelectedAuthorDetails(*outcome.value);
            } else {
                setAuthorDetailsError(outcome.error);
                setErrorMessage(outcome.error);
            }
        });
}

void AppViewModel::openInsightAuthor(const QString &name)
{
    // The index merges an author's aliases, so its names need not match git's statistics.
    for (const AuthorStat &author : authorStats()) {
        if (author.name == name) {
            setSelectedSection(SidebarSection::Statistics);
            selectAuthor(author);
            return;
        }
    }
    setErrorMessage(
        QStringLiteral("Author details are not available in the current repository view."));
}

void AppViewModel::openInsightFile(const QString &path)
{
    for (const FileRecord &file : files()) {
        if (file.path == path) {
            setSelectedSection(SidebarSection::Files);
            selectFile(file);
            return;
        }
    }
    setErrorMessage(QStringLiteral("The file is no longer present in the current working tree."));
}

// Search and repository actions

void AppViewModel::performSearch()
{
    if (!m_repository)
        return;
    const QUuid searchID = QUuid::createUuid();
    m_activeSearchID = searchID;
    const GitService git = m_git;
    runInBackground<Outcome<QList<CommitRecord>>>(
        [git, path = m_repository->path, query = m_searchText] {
            auto work = [&] { return git.searchCommits(path, query); };
            return attempt(work);
        },
        [this, searchID](const Outcome<QList<CommitRecord>> &outcome) {
            if (m_activeSearchID != searchID)
                return;
            if (outcome.value) {
                if (m_searchResults->setRecords(*outcome.value))
                    Q_EMIT searchResultsChanged();
            } else {
                setErrorMessage(outcome.error);
            }
        });
}

void AppViewModel::confirmCheckout()
{
    if (!m_repository || !m_pendingCheckoutBranch)
        return;
    const BranchRecord branch = *m_pendingCheckoutBranch;
    setPendingCheckoutBranch(std::nullopt);
    setLoading(true);
    const GitService git = m_git;
    const QString path = m_repository->path;
    runInBackground<Outcome<bool>>(
        [git, branch, path] {
            auto work = [&] {
                git.checkout(branch, path);
                return true;
            };
            return attempt(work);
        },
        [this, path](const Outcome<bool> &outcome) {
            if (outcome.value) {
                // The reload takes isLoading over with its own load identifier.
                openRepository(path);
            } else {
                setLoading(false);
                setErrorMessage(outcome.error);
            }
        });
}

void AppViewModel::revealInFinder()
{
    if (m_repository && m_desktopActions)
        m_desktopActions->showFolder(m_repository->path);
}

void AppViewModel::openInTerminal()
{
    if (m_repository && m_desktopActions)
        m_desktopActions->openTerminal(m_repository->path);
}

void AppViewModel::openRepositoryPicker()
{
    if (!m_desktopActions)
        return;
    m_desktopActions->chooseFolder(QStringLiteral("Open Repository"),
                                   [model = QPointer(this)](const QString &path) {
                                       if (model && !path.isEmpty())
                                           model->openRepository(path);
                                   });
}

// Field writes: each signals only when the value changes.

namespace {

template<typename T, typename Signal>
void assign(AppViewModel *model, T &field, const T &value, Signal changed)
{
    if (field == value)
        return;
    field = value;
    Q_EMIT(model->*changed)();
}

} // namespace

void AppViewModel::setRepository(const std::optional<RepositorySummary> &summary)
{
    assign(this, m_repository, summary, &AppViewModel::repositoryChanged);
}

void AppViewModel::setSelectedSection(SidebarSection section)
{
    assign(this, m_selectedSection, section, &AppViewModel::selectedSectionChanged);
}

void AppViewModel::setSelectedCommit(const std::optional<CommitRecord> &commit)
{
    assign(this, m_selectedCommit, commit, &AppViewModel::selectedCommitChanged);
}

void AppViewModel::setSelectedFile(const std::optional<FileRecord> &file)
{
    assign(this, m_selectedFile, file, &AppViewModel::selectedFileChanged);
}

void AppViewModel::setSelectedFileDetails(const std::optional<FileDetails> &details)
{
    assign(this, m_selectedFileDetails, details, &AppViewModel::selectedFileDetailsChanged);
}

void AppViewModel::setSelectedAuthor(const std::optional<AuthorStat> &author)
{
    assign(this, m_selectedAuthor, author, &AppViewModel::selectedAuthorChanged);
}

void AppViewModel::setSelectedAuthorDetails(const std::optional<AuthorDetails> &details)
{
    assign(this, m_selectedAuthorDetails, details, &AppViewModel::selectedAuthorDetailsChanged);
}

void AppViewModel::setCommitChanges(const QList<CommitFileChange> &changes)
{
    if (m_commitChanges->setRecords(changes))
        Q_EMIT commitChangesChanged();
}

void AppViewModel::setFileDetailsError(const QString &error)
{
    assign(this, m_fileDetailsError, error, &AppViewModel::fileDetailsErrorChanged);
}

void AppViewModel::setAuthorDetailsError(const QString &error)
{
    assign(this, m_authorDetailsError, error, &AppViewModel::authorDetailsErrorChanged);
}

void AppViewModel::setPresentedDiff(const QString &diff)
{
    assign(this, m_presentedDiff, diff, &AppViewModel::presentedDiffChanged);
}

void AppViewModel::setDiffPresented(bool presented)
{
    assign(this, m_isDiffPresented, presented, &AppViewModel::isDiffPresentedChanged);
}

void AppViewModel::setPendingCheckoutBranch(const std::optional<BranchRecord> &branch)
{
    assign(this, m_pendingCheckoutBranch, branch, &AppViewModel::pendingCheckoutBranchChanged);
}

void AppViewModel::setLoading(bool loading)
{
    assign(this, m_isLoading, loading, &AppViewModel::isLoadingChanged);
}

void AppViewModel::setErrorMessage(const std::optional<QString> &message)
{
    assign(this, m_errorMessage, message, &AppViewModel::errorMessageChanged);
}

void AppViewModel::setSearchPresented(bool presented)
{
    assign(this, m_isSearchPresented, presented, &AppViewModel::isSearchPresentedChanged);
}

void AppViewModel::setAboutPresented(bool presented)
{
    assign(this, m_isAboutPresented, presented, &AppViewModel::isAboutPresentedChanged);
}

void AppViewModel::setSearchText(const QString &text)
{
    assign(this, m_searchText, text, &AppViewModel::searchTextChanged);
}

void AppViewModel::setRecentRepositories(const QList<RecentRepository> &recents)
{
    if (m_recentRepositories->setRecords(recents))
        Q_EMIT recentRepositoriesChanged();
}

void AppViewModel::setDiscoveredRepositories(const QList<DiscoveredRepository> &repositories)
{
    if (m_discoveredRepositories->setRecords(repositories))
        Q_EMIT discoveredRepositoriesChanged();
}

void AppViewModel::setRepositoriesScannedAt(const std::optional<QDateTime> &date)
{
    assign(this, m_repositoriesScannedAt, date, &AppViewModel::repositoriesScannedAtChanged);
}

void AppViewModel::setScanningRepositories(bool scanning)
{
    assign(this, m_isScanningRepositories, scanning, &AppViewModel::isScanningRepositoriesChanged);
}

void AppViewModel::setAnalyticsIndexState(const AnalyticsIndexState &state)
{
    assign(this, m_analyticsIndexState, state, &AppViewModel::analyticsIndexStateChanged);
}

void AppViewModel::setAnalyticsInsights(const std::optional<RepositoryAnalyticsInsights> &insights,
                                        const QVariant &value)
{
    if (m_analyticsInsights == insights)
        return;
    m_analyticsInsights = insights;
    m_analyticsInsightsValue = insights ? value : QVariant();
    Q_EMIT analyticsInsightsChanged();
}

QVariant AppViewModel::repositoryValue() const
{
    return optionalMap(m_repository);
}

QVariant AppViewModel::selectedCommitValue() const
{
    return optionalMap(m_selectedCommit);
}

QVariant AppViewModel::selectedFileValue() const
{
    return optionalMap(m_selectedFile);
}

QVariant AppViewModel::selectedFileDetailsValue() const
{
    return optionalMap(m_selectedFileDetails);
}

QVariant AppViewModel::selectedAuthorValue() const
{
    return optionalMap(m_selectedAuthor);
}

QVariant AppViewModel::selectedAuthorDetailsValue() const
{
    return optionalMap(m_selectedAuthorDetails);
}

QVariant AppViewModel::pendingCheckoutBranchValue() const
{
    return optionalMap(m_pendingCheckoutBranch);
}

void AppViewModel::setPendingCheckoutBranchValue(const QVariant &branch)
{
    const QVariantMap map = branch.toMap();
    setPendingCheckoutBranch(map.isEmpty() ? std::nullopt
                                           : std::optional(branchFromVariantMap(map)));
}

void AppViewModel::setErrorMessageText(const QString &message)
{
    setErrorMessage(message.isEmpty() ? std::nullopt : std::optional(message));
}

} // namespace strataloom
