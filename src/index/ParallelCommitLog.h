#pragma once

#include "index/RepositoryIndex.h"

#include <QString>
#include <QStringList>

#include <functional>

namespace strataloom {

/**
 * @brief Reads the log records of a list of commits with `git log --no-walk=unsorted --stdin` and
 * hands each one over on the calling thread, in the order of the list.
 *
 * With more than one worker, the list is cut into consecutive chunks, dealt out in turn: worker
 * w of n reads chunks w, w + n, w + 2n... with one git run of its own and parses the output as
 * it streams in, while the calling thread takes the commits chunk after chunk, in order. A worker
 * holds back (and its git waits on a full pipe) while it is more than a few chunks ahead of the
 * one being handed over, so memory stays bounded by those few chunks however long the list is.
 *
 * A commit whose diff git cannot read (a missing blob in a damaged or partial clone) is read
 * again on its own without line counts, then without rename detection; such commits are counted.
 *
 * The calling thread's ScopedProcessCancellation is asked while it waits for a worker: when it
 * asks to stop, every worker's git is killed and ProcessCancelled thrown. An exception from the
 * handler or a worker stops and joins every worker before it leaves read().
 */
class ParallelCommitLog
{
public:
    using Handler = std::function<void(IndexedCommit &&)>;

    /// @brief @p workers below 1 means one per core.
    ParallelCommitLog(QString repository, int workers);

    /// @brief The workers used: at least 1.
    int workers() const { return m_workers; }
    /// @brief How many commits one git run reads when @p total are shared among @p workers.
    static qsizetype chunkSize(qsizetype total, int workers);

    /// @brief Hands the commits @p oldestFirst to @p handle in that order; returns how many of
    /// them had a diff that could not be read. Throws GitError, ProcessCancelled or whatever
    /// @p handle throws.
    qint64 read(const QStringList &oldestFirst, const Handler &handle) const;

private:
    using PositionedHandler = std::function<void(qsizetype position, IndexedCommit &&)>;
    qint64 readInOneRun(const QStringList &shas, const Handler &handle) const;
    /// @p afterRead, when set, runs after the commits of each read from git's pipe were handled.
    qint64 readInOneRun(const QStringList &shas, const PositionedHandler &handle,
                        const std::function<void()> &afterRead = {}) const;
    qint64 readInParallel(const QStringList &oldestFirst, const Handler &handle) const;

    QString m_repository;
    int m_workers = 1;
};

} // namespace strataloom
