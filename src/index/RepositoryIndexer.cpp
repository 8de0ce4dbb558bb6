#include "index/RepositoryIndexer.h"

#include "index/CommitLogParser.h"
#include "git/GitProcess.h"
#include "git/GitService.h"
#include "index/IndexFileLock.h"
#include "index/ParallelCommitLog.h"

#include <QDateTime>

#include <algorithm>

namespace strataloom {

namespace {

const QString refSeparator = QString(QChar(0x1f));

} // namespace

RepositoryIndexer::RepositoryIndexer(RepositoryIndex &index)
    : m_index(index)
{ }

QString RepositoryIndexer::run(const QStringList &arguments, const QString &repository,
                               const std::optional<QByteArray> &input) const
{
    const ProcessResult result = runGitProcess(repository, arguments, {}, input);
    if (result.exitStatus != 0)
        throw GitError::commandFailed(result);
    return QString::fromUtf8(result.standardOutput);
}

QList<IndexedRef> RepositoryIndexer::parseRefs(const QString &output)
{
    static const QString heads = QStringLiteral("refs/heads/");
    static const QString remotes = QStringLiteral("refs/remotes/");
    static const QString tags = QStringLiteral("refs/tags/");
    QList<IndexedRef> refs;
    for (const QString &line : nonEmptyLines(output)) {
        const QStringList parts = line.split(refSeparator);
        if (parts.size() != 3)
            continue;
        const QString &fullName = parts[0];
        IndexedRef ref;
        if (fullName.startsWith(heads)) {
            ref.kind = QStringLiteral("branch");
            ref.name = fullName.mid(heads.size());
        } else if (fullName.startsWith(remotes)) {
            ref.kind = QStringLiteral("branch");
            ref.name = fullName.mid(remotes.size());
            ref.isRemote = true;
        } else {
            ref.kind = QStringLiteral("tag");
            ref.name = fullName.mid(tags.size());
        }
        // An annotated tag points at a tag object; the commit it names is its peeled value.
        const QString peeled = parts[2].trimmed();
        if (peeled.isEmpty()) {
            ref.targetSHA = parts[1];
        } else {
            ref.targetSHA = peeled;
            ref.objectSHA = parts[1];
        }
        refs.append(ref);
    }
    return refs;
}

QString RepositoryIndexer::fingerprint(const QList<IndexedRef> &refs)
{
    QList<IndexedRef> sorted = refs;
    std::stable_sort(sorted.begin(), sorted.end(),
                     [](const IndexedRef &a, const IndexedRef &b) { return a.name < b.name; });
    QStringList lines;
    lines.reserve(sorted.size());
    for (const IndexedRef &ref : sorted)
        lines.append(ref.kind + QLatin1Char(':') + ref.name + QLatin1Char(':') + ref.targetSHA);
    return RepositoryIndexLocation::stableHash(lines.join(QLatin1Char('\n')));
}

QString RepositoryIndexer::unreadableDiffsKey()
{
    return QStringLiteral("unreadable_diffs");
}

qint64 RepositoryIndexer::importCommits(const QString &repository, const QStringList &oldestFirst,
                                        const std::function<void(const IndexedCommit &)> &insert,
                                        const SynchronizationOptions &options,
                                        qint64 &imported) const
{
    // git reads the diffs on as many cores as there are; the commits still reach the writer one
    // by one in the order given, so the rows and the progress are those of a single pass.
    const qint64 total = oldestFirst.size();
    const ParallelCommitLog log(repository, options.importWorkers);
    return log.read(oldestFirst, [&](IndexedCommit &&commit) {
        if (options.isCancelled && options.isCancelled())
            throw SynchronizationCancelled();
        insert(commit);
        ++imported;
        if (options.progress)
            options.progress(imported, total);
    });
}

RepositorySynchronization RepositoryIndexer::synchronize(const QString &repository,
                                                         const SynchronizationOptions &options)
{
    std::lock_guard guard(m_mutex);
    const IndexFileLock processLock(m_index.databasePath());
    // A cancelled run also ends the git it is waiting for, however long that would take.
    const ScopedProcessCancellation cancellation(options.isCancelled);
    try {
        return synchronizeLocked(repository, options);
    } catch (const ProcessCancelled &) {
        throw SynchronizationCancelled();
    }
}

RepositorySynchronization
RepositoryIndexer::synchronizeLocked(const QString &repository,
                                     const SynchronizationOptions &options)
{

    const QList<IndexedRef> refs = parseRefs(run(
        {QStringLiteral("for-each-ref"),
         QStringLiteral("--format=%(refname)") + refSeparator + QStringLiteral("%(objectname)")
             + refSeparator + QStringLiteral("%(*objectname)"),
         QStringLiteral("refs/heads"), QStringLiteral("refs/remotes"), QStringLiteral("refs/tags")},
        repository));
    const QString newFingerprint = fingerprint(refs);
    const std::optional<QString> storedFingerprint
        = m_index.metadata(QStringLiteral("ref_fingerprint"));

    // rev-list prints newest first; reversed, it is the order `git log --all --reverse` shows.
    const QStringList reachableNewestFirst = nonEmptyLines(run(
        QStringList {QStringLiteral("rev-list")} + GitService().allRefs(repository), repository));
    QSet<QString> reachable;
    reachable.reserve(reachableNewestFirst.size());
    for (const QString &sha : reachableNewestFirst)
        reachable.insert(sha.trimmed());
    const QSet<QString> stored = m_index.storedCommitHashes();

    QStringList missingOldestFirst;
    for (auto it = reachableNewestFirst.crbegin(); it != reachableNewestFirst.crend(); ++it) {
        const QString sha = it->trimmed();
        if (!stored.contains(sha))
            missingOldestFirst.append(sha);
    }
    const qint64 storedUnreadable
        = m_index.metadata(unreadableDiffsKey()).value_or(QString()).toLongLong();

    if (storedFingerprint && *storedFingerprint == newFingerprint && missingOldestFirst.isEmpty())
        return {0, m_index.snapshot(), true, storedUnreadable, m_index.takeNotice()};

    RepositoryIndexBatch batch;
    batch.reachableSHAs = reachable;
    batch.refs = refs;
    batch.refFingerprint = newFingerprint;
    batch.indexedAt = QDateTime::currentMSecsSinceEpoch() / 1000.0;

    qint64 imported = 0;
    qint64 unreadable = 0;
    const auto importMissing = [&](const std::function<void(const IndexedCommit &)> &insert) {
        if (!missingOldestFirst.isEmpty())
            unreadable = importCommits(repository, missingOldestFirst, insert, options, imported);
        if (unreadable > 0)
            m_index.setMetadata(QString::number(storedUnreadable + unreadable),
                                unreadableDiffsKey());
    };

    const RepositoryIndexSnapshot snapshot = m_index.apply(batch, importMissing);
    return {imported, snapshot, false, storedUnreadable + unreadable, m_index.takeNotice()};
}

} // namespace strataloom
