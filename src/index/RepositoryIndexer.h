#pragma once

#include "index/RepositoryIndex.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <exception>
#include <functional>
#include <mutex>
#include <optional>

namespace strataloom {

/// @brief What one synchronisation did.
struct RepositorySynchronization
{
    qint64 importedCommits = 0; ///< commits written by this run
    RepositoryIndexSnapshot snapshot;
    bool wasUpToDate = false; ///< nothing changed, nothing was written
    /// @brief Stored commits whose diff git could not read (missing objects): their changes are
    /// stored without line counts. Counted over the whole index, not this run only.
    qint64 unreadableDiffs = 0;
    /// @brief Said once, by the first run after it happened: the damaged index file that was
    /// moved aside and where it went.
    std::optional<QString> notice;

    bool operator==(const RepositorySynchronization &) const = default;
};

/// @brief Thrown when a synchronisation was asked to stop; nothing of it was written.
class SynchronizationCancelled : public std::exception
{
public:
    const char *what() const noexcept override { return "Indexing was cancelled"; }
};

struct SynchronizationOptions
{
    /// @brief Asked before each new commit is imported and while git runs; true stops the run.
    std::function<bool()> isCancelled;
    /// @brief Told after each imported commit: how many so far, of how many in all.
    std::function<void(qint64 imported, qint64 total)> progress;
    /// @brief Told once how many commits a run will import, as soon as they are listed and before
    /// git reads the first: a big first build shows its size at once rather than after its first
    /// commit.
    std::function<void(qint64 total)> listed;
    /// @brief Told now and then while a run walks the whole history (a first build), before
    /// the size of the run is known: how many commits the walk has found so far.
    std::function<void(qint64 found)> listing;
    /// @brief git runs reading the missing commits at the same time; 0 means one per core.
    int importWorkers = 0;
};

/**
 * @brief Keeps one repository's index in step with its whole reachable history.
 *
 * A run first reads what the reachable history follows from: every ref, every worktree's HEAD,
 * replace refs, grafts and the shallow boundary. When none of it changed since the last run, it
 * reads nothing else and writes nothing. When only refs moved, it walks just the commits the
 * tips covered by the index do not reach, and walks for commits no longer reachable only from
 * covered tips that moved back or went; anything else, or a first run, walks the whole history.
 * It then streams the missing commits, oldest first, out of `git log` runs on every core
 * (ParallelCommitLog) into one transaction, so memory stays bounded and an interrupted or
 * cancelled run leaves the index as it was. The daily aggregates are summed again only for the
 * days whose commits changed; only a whole walk rebuilds them. Runs on one index are serialised
 * within the process and, through a lock file beside the database, across processes: a second
 * process waits for the first and then finds the index up to date. Every run, up to date or
 * not, also brings the aliases as the repository's mailmap maps them up to date (AuthorMailmap.h),
 * since a mailmap may change without any ref moving.
 */
class RepositoryIndexer
{
public:
    explicit RepositoryIndexer(RepositoryIndex &index);

    /// @brief Throws GitError, SQLiteError or SynchronizationCancelled.
    RepositorySynchronization synchronize(const QString &repository,
                                          const SynchronizationOptions &options = {});

    RepositoryIndex &index() { return m_index; }

    /// @brief The refs of `for-each-ref` output with ref name, object and peeled object.
    static QList<IndexedRef> parseRefs(const QString &output);
    /// @brief FNV-1a over the sorted "kind:name:target" lines of @p refs.
    static QString fingerprint(const QList<IndexedRef> &refs);
    /// @brief The metadata key of RepositorySynchronization::unreadableDiffs.
    static QString unreadableDiffsKey();

    /**
     * @brief What a synchronisation compares to find that nothing changed: the refs'
     * fingerprint and the reachability state (tips, worktree HEADs, replace refs, grafts, the
     * shallow boundary). Read from git without walking the history, nothing written.
     */
    struct CoverageStamp
    {
        QString refFingerprint;
        QString reachabilityState;

        bool operator==(const CoverageStamp &) const = default;
    };
    /// @brief The repository's stamp now. Throws GitError.
    static CoverageStamp currentStamp(const QString &repository);
    /// @brief The stamp of the index's last synchronisation, read with @p metadata (an index's
    /// metadata() or a reader's own query of index_metadata); nothing before the first one.
    static std::optional<CoverageStamp>
    storedStamp(const std::function<std::optional<QString>(const QString &key)> &metadata);

private:
    QString run(const QStringList &arguments, const QString &repository,
                const std::optional<QByteArray> &input = std::nullopt) const;
    RepositorySynchronization synchronizeLocked(const QString &repository,
                                                const SynchronizationOptions &options);
    /// @brief Streams the commits @p oldestFirst into @p insert; returns how many of them had
    /// a diff that could not be read.
    qint64 importCommits(const QString &repository, const QStringList &oldestFirst,
                         const std::function<void(const IndexedCommit &)> &insert,
                         const SynchronizationOptions &options, qint64 &imported) const;

    RepositoryIndex &m_index;
    std::mutex m_mutex;
};

} // namespace strataloom
