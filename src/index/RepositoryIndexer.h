#pragma once

#include "index/RepositoryIndex.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <exception>
#include <functional>
#include <mutex>

namespace strataloom {

/// @brief What one synchronisation did.
struct RepositorySynchronization
{
    qint64 importedCommits = 0; ///< commits written by this run
    RepositoryIndexSnapshot snapshot;
    bool wasUpToDate = false; ///< nothing changed, nothing was written

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
    /// @brief Asked before each new commit is imported; true stops the run.
    std::function<bool()> isCancelled;
    /// @brief Told after each imported commit: how many so far, of how many in all.
    std::function<void(qint64 imported, qint64 total)> progress;
};

/**
 * @brief Keeps one repository's index in step with its whole reachable history.
 *
 * A run reads the refs and the reachable commits; when the refs' fingerprint is unchanged and no
 * commit is missing, it writes nothing. Otherwise it streams the missing commits, oldest first,
 * out of one `git log` run straight into one transaction, so memory stays bounded and an
 * interrupted or cancelled run leaves the index as it was. Runs on one index are serialised
 * within the process and, through a lock file beside the database, across processes: a second
 * process waits for the first and then finds the index up to date.
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

private:
    QString run(const QStringList &arguments, const QString &repository,
                const std::optional<QByteArray> &input = std::nullopt) const;

    RepositoryIndex &m_index;
    std::mutex m_mutex;
};

} // namespace strataloom
