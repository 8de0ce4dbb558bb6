#include "index/RepositoryIndexer.h"

#include "index/CommitLogParser.h"
#include "git/GitProcess.h"
#include "git/GitService.h"
#include "index/IndexFileLock.h"

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

RepositorySynchronization RepositoryIndexer::synchronize(const QString &repository,
                                                         const SynchronizationOptions &options)
{
    std::lock_guard guard(m_mutex);
    const IndexFileLock processLock(m_index.databasePath());

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
    const QStringList reachableNewestFirst
        = nonEmptyLines(run({QStringLiteral("rev-list"), QStringLiteral("--all")}, repository));
    QSet<QString> reachable;
    reachable.reserve(reachableNewestFirst.size());
    for (const QString &sha : reachableNewestFirst)
        reachable.insert(sha.trimmed());
    const QSet<QString> stored = m_index.storedCommitHashes();

    QByteArray missingOldestFirst;
    qint64 missingCount = 0;
    for (auto it = reachableNewestFirst.crbegin(); it != reachableNewestFirst.crend(); ++it) {
        const QString sha = it->trimmed();
        if (stored.contains(sha))
            continue;
        missingOldestFirst.append(sha.toLatin1()).append('\n');
        ++missingCount;
    }

    if (storedFingerprint && *storedFingerprint == newFingerprint && missingCount == 0)
        return {0, m_index.snapshot(), true};

    RepositoryIndexBatch batch;
    batch.reachableSHAs = reachable;
    batch.refs = refs;
    batch.refFingerprint = newFingerprint;
    batch.indexedAt = QDateTime::currentMSecsSinceEpoch() / 1000.0;

    qint64 imported = 0;
    const auto importMissing = [&](const std::function<void(const IndexedCommit &)> &insert) {
        if (missingCount == 0)
            return;
        CommitLogParser parser([&](IndexedCommit &&commit) {
            if (options.isCancelled && options.isCancelled())
                throw SynchronizationCancelled();
            insert(commit);
            ++imported;
            if (options.progress)
                options.progress(imported, missingCount);
        });
        QStringList arguments {QStringLiteral("log"), QStringLiteral("--no-walk=unsorted"),
                               QStringLiteral("--stdin")};
        arguments << CommitLogParser::logArguments();
        const ProcessResult result = runGitProcess(
            repository, arguments,
            [&parser](const char *data, qsizetype size) { parser.feed(data, size); },
            missingOldestFirst);
        if (result.exitStatus != 0)
            throw GitError::commandFailed(result);
        parser.finish();
    };

    const RepositoryIndexSnapshot snapshot = m_index.apply(batch, importMissing);
    return {imported, snapshot, false};
}

} // namespace strataloom
