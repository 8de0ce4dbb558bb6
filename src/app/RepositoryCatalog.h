#pragma once

#include "app/BackgroundTasks.h"
#include "app/RecordModels.h"
#include "app/RepositoryRecords.h"
#include "app/RepositoryScanner.h"
#include "app/RepositoryStores.h"

#include <QDateTime>
#include <QObject>

#include <optional>

namespace strataloom {

/**
 * @brief The repositories the welcome screen and the menu offer: the recents (saved at once on
 * every change) and the last home scan's catalog (saved when a scan ends).
 *
 * Opening one asks the session through openRequested(); a folder that is gone ends in
 * failed() with a message naming it. Of two scans in a row only the second publishes.
 */
class RepositoryCatalog : public QObject
{
    Q_OBJECT

    Q_PROPERTY(strataloom::RecordListModel *recentRepositories READ recentRepositoriesModel NOTIFY
                   recentRepositoriesChanged)
    Q_PROPERTY(strataloom::RecordListModel *discoveredRepositories READ discoveredRepositoriesModel
                   NOTIFY discoveredRepositoriesChanged)
    /// When the last home scan finished; an invalid date-time when none is known.
    Q_PROPERTY(QDateTime repositoriesScannedAt READ repositoriesScannedAtValue NOTIFY
                   repositoriesScannedAtChanged)
    Q_PROPERTY(bool isScanningRepositories READ isScanningRepositories NOTIFY
                   isScanningRepositoriesChanged)

public:
    /// @brief Loads the recents and the last scan's catalog from the stores.
    RepositoryCatalog(RecentRepositoryStore recentStore, DiscoveredRepositoryStore discoveredStore,
                      RepositoryScanner scanner, QObject *parent = nullptr);

    const QList<RecentRepository> &recentRepositories() const
    {
        return m_recentRepositories->records();
    }
    const QList<DiscoveredRepository> &discoveredRepositories() const
    {
        return m_discoveredRepositories->records();
    }
    const std::optional<QDateTime> &repositoriesScannedAt() const { return m_scannedAt; }
    bool isScanningRepositories() const { return m_isScanning; }
    RecordListModel *recentRepositoriesModel() const { return m_recentRepositories; }
    RecordListModel *discoveredRepositoriesModel() const { return m_discoveredRepositories; }
    int runningTaskCount() const { return m_tasks.running(); }

    /// @brief Puts @p summary first among the recents (see rememberedRecents()) and saves them.
    void remember(const RepositorySummary &summary);

    Q_INVOKABLE void openRecentRepository(const QVariantMap &recent);
    void openRecentRepository(const RecentRepository &recent);
    Q_INVOKABLE void openDiscoveredRepository(const QVariantMap &repository);
    void openDiscoveredRepository(const DiscoveredRepository &repository);
    Q_INVOKABLE void removeRecentRepository(const QVariantMap &recent);
    void removeRecentRepository(const RecentRepository &recent);
    /// @brief Empties the recents ("Clear Menu").
    Q_INVOKABLE void clearRecentRepositories();
    Q_INVOKABLE void scanHomeForRepositories();

Q_SIGNALS:
    void recentRepositoriesChanged();
    void discoveredRepositoriesChanged();
    void repositoriesScannedAtChanged();
    void isScanningRepositoriesChanged();
    /// @brief The user chose the existing repository folder at @p path.
    void openRequested(const QString &path);
    void failed(const QString &message);

private:
    void openExistingFolder(const QString &path, const QString &missingMessage);
    void setRecentRepositories(const QList<RecentRepository> &recents);
    QDateTime repositoriesScannedAtValue() const { return m_scannedAt.value_or(QDateTime()); }

    RecentRepositoryStore m_recentStore;
    DiscoveredRepositoryStore m_discoveredStore;
    RepositoryScanner m_scanner;
    BackgroundTasks m_tasks;
    RecentRepositoryListModel *m_recentRepositories;
    DiscoveredRepositoryListModel *m_discoveredRepositories;
    std::optional<QDateTime> m_scannedAt;
    bool m_isScanning = false;
    quint64 m_activeScan = 0;
};

} // namespace strataloom
