#include "app/RepositoryCatalog.h"

#include <QFileInfo>

namespace strataloom {

RepositoryCatalog::RepositoryCatalog(RecentRepositoryStore recentStore,
                                     DiscoveredRepositoryStore discoveredStore,
                                     RepositoryScanner scanner, QObject *parent)
    : QObject(parent)
    , m_recentStore(std::move(recentStore))
    , m_discoveredStore(std::move(discoveredStore))
    , m_scanner(std::move(scanner))
    , m_tasks(this, [this](const QString &error) { Q_EMIT failed(error); })
    , m_recentRepositories(new RecentRepositoryListModel(this))
    , m_discoveredRepositories(new DiscoveredRepositoryListModel(this))
{
    m_recentRepositories->setRecords(m_recentStore.load());
    if (const std::optional<DiscoveredRepositoryCatalog> catalog = m_discoveredStore.load()) {
        m_discoveredRepositories->setRecords(catalog->repositories);
        m_scannedAt = catalog->scannedAt;
    }
}

void RepositoryCatalog::remember(const RepositorySummary &summary)
{
    const RecentRepository recent {summary.name, standardizedPath(summary.path),
                                   QDateTime::currentDateTimeUtc()};
    setRecentRepositories(rememberedRecents(recentRepositories(), recent));
}

void RepositoryCatalog::openExistingFolder(const QString &path, const QString &missingMessage)
{
    if (QFileInfo(path).isDir())
        Q_EMIT openRequested(path);
    else
        Q_EMIT failed(missingMessage);
}

void RepositoryCatalog::openRecentRepository(const QVariantMap &recent)
{
    openRecentRepository(recentFromVariantMap(recent));
}

void RepositoryCatalog::openRecentRepository(const RecentRepository &recent)
{
    openExistingFolder(recent.path,
                       QStringLiteral("The repository folder no longer exists at ") + recent.path
                           + QLatin1Char('.'));
}

void RepositoryCatalog::openDiscoveredRepository(const QVariantMap &repository)
{
    openDiscoveredRepository(discoveredFromVariantMap(repository));
}

void RepositoryCatalog::openDiscoveredRepository(const DiscoveredRepository &repository)
{
    openExistingFolder(repository.path,
                       QStringLiteral("The repository folder no longer exists at ")
                           + repository.path
                           + QStringLiteral(". Rescan your home directory to update the list."));
}

void RepositoryCatalog::removeRecentRepository(const QVariantMap &recent)
{
    removeRecentRepository(recentFromVariantMap(recent));
}

void RepositoryCatalog::removeRecentRepository(const RecentRepository &recent)
{
    setRecentRepositories(recentsWithout(recentRepositories(), recent.path));
}

void RepositoryCatalog::clearRecentRepositories()
{
    setRecentRepositories({});
}

void RepositoryCatalog::scanHomeForRepositories()
{
    const quint64 scan = ++m_activeScan;
    if (!m_isScanning) {
        m_isScanning = true;
        Q_EMIT isScanningRepositoriesChanged();
    }
    const auto finish = [this] {
        m_isScanning = false;
        Q_EMIT isScanningRepositoriesChanged();
    };
    // A superseded scan writes nothing; the newer one ends isScanningRepositories.
    m_tasks.run([scanner = m_scanner] { return scanner.scan(); },
                [this, finish](const QList<DiscoveredRepository> &repositories) {
                    const QDateTime now = QDateTime::currentDateTimeUtc();
                    if (m_discoveredRepositories->setRecords(repositories))
                        Q_EMIT discoveredRepositoriesChanged();
                    if (m_scannedAt != now) {
                        m_scannedAt = now;
                        Q_EMIT repositoriesScannedAtChanged();
                    }
                    finish();
                    m_discoveredStore.save({repositories, now});
                },
                [this, finish](const QString &error) {
                    finish();
                    Q_EMIT failed(error);
                },
                [this, scan] { return m_activeScan == scan; });
}

void RepositoryCatalog::setRecentRepositories(const QList<RecentRepository> &recents)
{
    if (m_recentRepositories->setRecords(recents))
        Q_EMIT recentRepositoriesChanged();
    m_recentStore.save(recentRepositories());
}

} // namespace strataloom
