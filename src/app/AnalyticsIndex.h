#pragma once

#include "insights/InsightOptions.h"
#include "insights/InsightRecords.h"
#include "index/RepositoryIndex.h"
#include "app/ErrorText.h"

#include <QObject>
#include <QString>
#include <QVariantMap>

#include <functional>
#include <optional>

namespace strataloom {

/// @brief What one background index run produced.
struct RepositoryIndexingResult
{
    qint64 importedCommits = 0;
    RepositoryIndexSnapshot snapshot;
    RepositoryAnalyticsInsights insights;
    bool wasUpToDate = false;
    /// @brief The index file the run brought up to date.
    QString databasePath;

    bool operator==(const RepositoryIndexingResult &) const = default;
};

/**
 * @brief The state of the open repository's analytics index, as the index status shows it.
 *
 * A value: idle, indexing, ready (with the snapshot and the number of commits the run imported)
 * or failed (with the message shown as the status's help text). Readable from QML as a gadget.
 */
class AnalyticsIndexState
{
    Q_GADGET
    Q_PROPERTY(Kind kind READ kind)
    Q_PROPERTY(bool isIdle READ isIdle)
    Q_PROPERTY(bool isIndexing READ isIndexing)
    Q_PROPERTY(bool isReady READ isReady)
    Q_PROPERTY(bool isFailed READ isFailed)
    /// Reachable commits in the index when ready, else 0.
    Q_PROPERTY(int indexedCommits READ indexedCommits)
    Q_PROPERTY(qint64 importedCommits READ importedCommits)
    /// The snapshot as {commits, authors, files, changes, refs, lastIndexedAt}; empty unless ready.
    Q_PROPERTY(QVariantMap snapshot READ snapshotMap)
    /// The failure's text; empty unless failed.
    Q_PROPERTY(QString message READ message)
    /// While indexing: commits imported so far, of how many in all (0 of 0 until git has
    /// listed the commits to import).
    Q_PROPERTY(qint64 progressCommits READ progressCommits)
    Q_PROPERTY(qint64 progressTotal READ progressTotal)
    /// While a first build still walks the history, before the total is known: the commits the
    /// walk has found so far; 0 otherwise.
    Q_PROPERTY(qint64 listedCommits READ listedCommits)
    /// "n of N" with the locale's digit grouping; "n commits found" while the history is still
    /// walked; empty before that.
    Q_PROPERTY(QString progressText READ progressText)
    /// Estimated seconds left, or -1 while there is no estimate yet.
    Q_PROPERTY(int secondsLeft READ secondsLeft)
    /// The estimate in words ("about 3 min left"); empty while there is none.
    Q_PROPERTY(QString timeLeftText READ timeLeftText)

public:
    enum class Kind { Idle, Indexing, Ready, Failed };
    Q_ENUM(Kind)

    AnalyticsIndexState() = default;
    static AnalyticsIndexState idle() { return {}; }
    static AnalyticsIndexState indexing(qint64 progressCommits = 0, qint64 progressTotal = 0,
                                        int secondsLeft = -1);
    static AnalyticsIndexState listing(qint64 listedCommits);
    static AnalyticsIndexState ready(const RepositoryIndexSnapshot &snapshot,
                                     qint64 importedCommits);
    static AnalyticsIndexState failed(const QString &message);

    Kind kind() const { return m_kind; }
    bool isIdle() const { return m_kind == Kind::Idle; }
    bool isIndexing() const { return m_kind == Kind::Indexing; }
    bool isReady() const { return m_kind == Kind::Ready; }
    bool isFailed() const { return m_kind == Kind::Failed; }

    const RepositoryIndexSnapshot &snapshot() const { return m_snapshot; }
    int indexedCommits() const { return m_snapshot.commits; }
    qint64 importedCommits() const { return m_importedCommits; }
    QVariantMap snapshotMap() const;
    QString message() const { return m_message; }
    qint64 progressCommits() const { return m_progressCommits; }
    qint64 progressTotal() const { return m_progressTotal; }
    qint64 listedCommits() const { return m_listedCommits; }
    QString progressText() const;
    int secondsLeft() const { return m_secondsLeft; }
    QString timeLeftText() const;

    bool operator==(const AnalyticsIndexState &) const = default;

private:
    Kind m_kind = Kind::Idle;
    RepositoryIndexSnapshot m_snapshot;
    qint64 m_importedCommits = 0;
    QString m_message;
    qint64 m_progressCommits = 0;
    qint64 m_progressTotal = 0;
    qint64 m_listedCommits = 0;
    int m_secondsLeft = -1;
};

/**
 * @brief Seconds left for @p remaining commits at the pace of @p done commits in
 * @p elapsedMilliseconds, rounded up; nothing during the first seconds, whose pace (git still
 * starting, caches cold) says little about the rest.
 */
std::optional<int> secondsLeftEstimate(qint64 done, qint64 elapsedMilliseconds, qint64 remaining);

/// @brief Told how many commits an index run has imported so far, of how many in all.
using IndexProgress = std::function<void(qint64 imported, qint64 total)>;

/// @brief Told while an index run walks the whole history: the commits found so far.
using ListingProgress = std::function<void(qint64 found)>;

/// @brief Asked between the steps of an index run; true stops it.
using CancellationCheck = std::function<bool()>;

/**
 * @brief One index run for the work tree at @p repository: finds the common git directory, opens
 * (or creates) its index under @p baseDirectory (default: the standard index folder), brings it up
 * to date and computes the insights as @p options read them. @p progress is told after every
 * imported commit, @p listing now and then while a first build walks the history, both on the
 * calling thread.
 *
 * Blocking; meant for a background thread. Throws SynchronizationCancelled when @p isCancelled
 * answers true, GitError, ProcessLaunchError, SQLiteError or FileSystemError otherwise.
 */
RepositoryIndexingResult indexRepository(const QString &repository,
                                         const std::optional<QString> &baseDirectory,
                                         const CancellationCheck &isCancelled,
                                         const IndexProgress &progress = {},
                                         const InsightOptions &options
                                         = InsightOptions::asRecorded(),
                                         const ListingProgress &listing = {});

} // namespace strataloom
