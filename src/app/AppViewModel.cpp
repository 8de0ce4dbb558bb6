#include "app/AppViewModel.h"

#include "app/PropertyAssign.h"
#include "app/RepositoryStores.h"

#include <QJsonDocument>
#include <QJsonArray>
#include <QJsonValue>

#include <QDir>
#include <QFileInfo>

namespace strataloom {

namespace {

// The Timeline's row style, as a JSON string: "oneLine" or "twoLines".
const QString timelineRowStyleKey = QStringLiteral("timelineRowStyle");

} // namespace

AppViewModel::AppViewModel(RecentRepositoryStore recentStore,
                           DiscoveredRepositoryStore discoveredStore,
                           RepositoryScanner repositoryScanner, DesktopActions *desktopActions,
                           QObject *parent)
    : QObject(parent)
    , m_session(new RepositorySession(desktopActions, this))
    , m_selection(new RepositorySelection(*m_session, desktopActions, this))
    , m_catalog(new RepositoryCatalog(std::move(recentStore), std::move(discoveredStore),
                                      std::move(repositoryScanner), this))
    , m_analytics(new AnalyticsIndexController(this))
    , m_history(new HistoryListModel(this))
    , m_historySearch(new HistoryListModel(this))
    , m_timeline(new IndexedGraphModel(this))
    , m_fileTree(new FileTreeModel(this))
{
    const QJsonDocument rowStyle
        = QJsonDocument::fromJson("[" + PreferenceValue(timelineRowStyleKey).read() + "]");
    m_timelineOneLine = rowStyle.array().at(0).toString() != QLatin1String("twoLines");
    connect(m_analytics, &AnalyticsIndexController::analyticsIndexStateChanged, this,
            &AppViewModel::indexStateChanged);
    // The tree counts authors as the insights do: people or recorded names.
    connect(m_analytics, &AnalyticsIndexController::insightOptionsChanged, this, [this] {
        if (m_fileTree->isAvailable())
            m_fileTree->setSource(m_fileTree->database(),
                                  m_analytics->insightOptions().mergeIdentities);
    });
    const auto report = [this](const QString &message) { setErrorMessage(message); };
    connect(m_session, &RepositorySession::failed, this, report);
    connect(m_selection, &RepositorySelection::failed, this, report);
    connect(m_catalog, &RepositoryCatalog::failed, this, report);
    connect(m_session, &RepositorySession::openingStarted, this,
            [this] { setErrorMessage(std::nullopt); });
    connect(m_session, &RepositorySession::published, this, &AppViewModel::published);
    connect(m_catalog, &RepositoryCatalog::openRequested, m_session,
            &RepositorySession::openRepository);
    // History, Search and the inspector read authors as the insights do: as people, or as
    // recorded.
    const auto followIdentities = [this] {
        const bool merges = m_analytics->insightOptions().mergeIdentities;
        m_selection->setMergesIdentities(merges);
        m_history->setMergesIdentities(merges);
        m_historySearch->setMergesIdentities(merges);
    };
    connect(m_analytics, &AnalyticsIndexController::insightOptionsChanged, this, followIdentities);
    followIdentities();
}

void AppViewModel::published()
{
    const QList<CommitRecord> &commits = m_session->commits();
    m_selection->reset(commits.isEmpty() ? std::nullopt : std::optional(commits.constFirst()));
    setSelectedSection(SidebarSection::Overview);
    m_catalog->remember(*m_session->repository());
    // Another repository's history is not shown while this one's index is made ready.
    if (m_historyRepository != m_session->repository()->path) {
        m_historyRepository.clear();
        m_history->setDatabase({});
        m_historySearch->setDatabase({});
        m_timeline->setSource({}, {});
        m_fileTree->setSource({}, false);
        m_selection->setIndexDatabase({});
    }
    m_analytics->start(*m_session->repository());
}

void AppViewModel::indexStateChanged()
{
    if (!m_analytics->analyticsIndexState().isReady() || !m_session->repository())
        return;
    m_historyRepository = m_session->repository()->path;
    m_history->setDatabase(m_analytics->databasePath());
    m_historySearch->setDatabase(m_analytics->databasePath());
    m_timeline->setSource(m_historyRepository, m_analytics->databasePath());
    m_fileTree->setSource(m_analytics->databasePath(),
                          m_analytics->insightOptions().mergeIdentities);
    m_selection->setIndexDatabase(m_analytics->databasePath());
}

int AppViewModel::runningTaskCount() const
{
    return m_session->runningTaskCount() + m_selection->runningTaskCount()
        + m_catalog->runningTaskCount() + m_analytics->runningTaskCount()
        + m_history->runningTaskCount() + m_historySearch->runningTaskCount()
        + m_timeline->runningTaskCount() + m_fileTree->runningTaskCount();
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

void AppViewModel::openInsightAuthor(const QString &name)
{
    // The index merges an author's aliases, so its names need not match git's statistics.
    for (const AuthorStat &author : m_session->authorStats()) {
        if (author.name == name) {
            setSelectedSection(SidebarSection::Statistics);
            m_selection->selectAuthor(author);
            return;
        }
    }
    setErrorMessage(
        QStringLiteral("Author details are not available in the current repository view."));
}

void AppViewModel::openInsightFile(const QString &path)
{
    const std::optional<RepositorySummary> &repository = m_session->repository();
    if (!repository) {
        setErrorMessage(QStringLiteral("No repository is open."));
        return;
    }
    std::optional<FileRecord> chosen;
    for (const FileRecord &file : m_session->files()) {
        if (file.path == path) {
            chosen = file;
            break;
        }
    }
    if (!chosen) {
        // A file of the history that the working tree no longer holds (or one beyond the
        // files listed): its history opens all the same, marked as deleted when it is gone.
        const bool present = QFileInfo(QDir(repository->path).filePath(path)).isFile();
        chosen = FileRecord {path,
                             present ? QStringLiteral("tracked") : QStringLiteral("deleted"),
                             std::nullopt, QString()};
    }
    setSelectedSection(SidebarSection::Files);
    m_selection->selectFile(*chosen);
}

void AppViewModel::setSelectedSection(SidebarSection section)
{
    assign(this, m_selectedSection, section, &AppViewModel::selectedSectionChanged);
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

void AppViewModel::setTimelineOneLine(bool oneLine)
{
    if (m_timelineOneLine == oneLine)
        return;
    m_timelineOneLine = oneLine;
    PreferenceValue(timelineRowStyleKey).write(oneLine ? "\"oneLine\"" : "\"twoLines\"");
    Q_EMIT timelineOneLineChanged();
}

void AppViewModel::setErrorMessageText(const QString &message)
{
    setErrorMessage(message.isEmpty() ? std::nullopt : std::optional(message));
}

} // namespace strataloom
