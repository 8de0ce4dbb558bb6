#include "index/RepositoryIndexer.h"

#include "index/AuthorMailmap.h"
#include "index/CommitLogParser.h"
#include "git/GitProcess.h"
#include "git/GitService.h"
#include "index/IndexFileLock.h"
#include "index/ParallelCommitLog.h"
#include "index/PathFacts.h"

#include <QDateTime>
#include <QDir>
#include <QFile>

#include <algorithm>

namespace strataloom {

namespace {

const QString refSeparator = QString(QChar(0x1f));

// What the index last covered, written with every synchronisation (see RepositoryState).
const QString stateKey = QStringLiteral("reachability_state");
const QString graphKey = QStringLiteral("reachability_graph");
const QString tipsKey = QStringLiteral("covered_tips");

bool isIndexedRef(const QString &fullName)
{
    return fullName.startsWith(QLatin1String("refs/heads/"))
        || fullName.startsWith(QLatin1String("refs/remotes/"))
        || fullName.startsWith(QLatin1String("refs/tags/"));
}

QByteArray fileContent(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/**
 * What the reachable history of a repository follows from, read without walking it.
 *
 * `rev-list --all` starts from every ref and every worktree's HEAD (the tips); what it finds
 * behind a tip depends further on replace refs, grafts, the shallow boundary and refs too broken
 * to read (the graph). Equal states mean an equal reachable history; equal graphs mean that
 * whatever was reachable from a tip still is.
 */
struct RepositoryState
{
    QList<IndexedRef> refs; // branches, remote branches and tags: the refs the index lists
    QStringList tips; // sorted, unique object names
    bool refsRefused = false; // git named refs it would not read
    QString state;
    QString graph;
};

RepositoryState readRepositoryState(const QString &repository)
{
    const ProcessResult listed = runGitProcess(
        repository,
        {QStringLiteral("for-each-ref"),
         QStringLiteral("--format=%(refname)") + refSeparator + QStringLiteral("%(objectname)")
             + refSeparator + QStringLiteral("%(*objectname)")});
    if (listed.exitStatus != 0)
        throw GitError::commandFailed(listed);
    const ProcessResult paths = runGitProcess(
        repository,
        {QStringLiteral("rev-parse"), QStringLiteral("--path-format=absolute"),
         QStringLiteral("--git-dir"), QStringLiteral("--git-common-dir"),
         QStringLiteral("--git-path"), QStringLiteral("shallow"), QStringLiteral("--git-path"),
         QStringLiteral("info/grafts")});
    if (paths.exitStatus != 0)
        throw GitError::commandFailed(paths);
    QStringList locations = nonEmptyLines(QString::fromUtf8(paths.standardOutput));
    // A path with a line break in it cannot be told apart: such a repository is then never
    // taken for unchanged, and every run walks the whole history.
    const bool located = locations.size() == 4;
    if (!located)
        locations = QStringList(4, QString());

    QStringList indexedLines;
    QStringList tipLines;
    QStringList graphLines;
    QSet<QString> tips;
    for (const QString &line : nonEmptyLines(QString::fromUtf8(listed.standardOutput))) {
        const QStringList parts = line.split(refSeparator);
        if (parts.size() != 3)
            continue;
        if (isIndexedRef(parts[0]))
            indexedLines.append(line);
        if (parts[0].startsWith(QLatin1String("refs/replace/")))
            graphLines.append(line);
        else
            tipLines.append(parts[0] + refSeparator + parts[1]);
        tips.insert(parts[1]);
    }
    // The refs git refused to read are left out of --all, and named on standard error.
    graphLines.append(QString::fromUtf8(listed.standardError));
    if (!located)
        graphLines.append(QString::number(QDateTime::currentMSecsSinceEpoch()));
    graphLines.append(QStringLiteral("shallow ")
                      + QString::fromLatin1(fileContent(locations[2]).toHex()));
    graphLines.append(QStringLiteral("grafts ")
                      + QString::fromLatin1(fileContent(locations[3]).toHex()));

    // Every worktree's HEAD: a symbolic one names a ref listed above (or an unborn branch), a
    // detached one is a tip of its own.
    QStringList heads;
    if (located)
        heads.append(locations[0] + QStringLiteral("/HEAD"));
    if (located && locations[1] != locations[0])
        heads.append(locations[1] + QStringLiteral("/HEAD"));
    const QDir worktrees(locations[1] + QStringLiteral("/worktrees"));
    if (located) {
        for (const QString &name :
             worktrees.entryList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name))
            heads.append(worktrees.filePath(name) + QStringLiteral("/HEAD"));
    }
    heads.removeDuplicates();
    for (const QString &head : std::as_const(heads)) {
        const QString content = QString::fromUtf8(fileContent(head)).trimmed();
        tipLines.append(head + refSeparator + content);
        if (!content.isEmpty() && !content.startsWith(QLatin1String("ref:")))
            tips.insert(content);
    }

    RepositoryState state;
    state.refsRefused = !listed.standardError.isEmpty();
    state.refs = RepositoryIndexer::parseRefs(indexedLines.join(QLatin1Char('\n')));
    state.tips = QStringList(tips.cbegin(), tips.cend());
    state.tips.sort();
    tipLines.sort();
    state.graph = RepositoryIndexLocation::stableHash(graphLines.join(QLatin1Char('\n')));
    state.state = RepositoryIndexLocation::stableHash(tipLines.join(QLatin1Char('\n'))
                                                      + QLatin1Char('\n') + state.graph);
    return state;
}

/// What changed in the reachable history since the tips an index covers.
struct HistoryChanges
{
    QStringList missingOldestFirst; // reachable now, not stored
    QSet<QString> becameReachable; // stored but marked unreachable
    QSet<QString> becameUnreachable; // reachable from the covered tips, no longer now
};

/**
 * The changes since @p coveredTips, from walks that stop at what the index holds already:
 * the new commits are those not reachable from the covered tips, and only covered tips that
 * are no tip now nor a parent of a new commit (a ref that moved back or sideways, or went)
 * lead to a walk for what is no longer reachable. Nothing when git cannot walk from a covered
 * tip (its objects were pruned): the whole history has to be read then.
 */
std::optional<HistoryChanges> changesSince(RepositoryIndex &index, const QString &repository,
                                           const QStringList &coveredTips,
                                           const RepositoryState &now)
{
    // What GitService::allRefs would list again: just --all while no ref was refused.
    const QStringList allRefs = now.refsRefused ? GitService().allRefs(repository)
                                                : QStringList {QStringLiteral("--all")};
    QByteArray exclusions;
    for (const QString &tip : coveredTips)
        exclusions.append('^').append(tip.toLatin1()).append('\n');
    const ProcessResult added = runGitProcess(
        repository,
        QStringList {QStringLiteral("rev-list"), QStringLiteral("--parents")} + allRefs
            + QStringList {QStringLiteral("--stdin")},
        {}, exclusions);
    if (added.exitStatus != 0)
        return std::nullopt;

    QStringList addedNewestFirst;
    QSet<QString> stillReachable(now.tips.cbegin(), now.tips.cend());
    for (const QString &line : nonEmptyLines(QString::fromLatin1(added.standardOutput))) {
        const QStringList hashes = line.split(QLatin1Char(' '), Qt::SkipEmptyParts);
        if (hashes.isEmpty())
            continue;
        addedNewestFirst.append(hashes.front());
        for (qsizetype i = 1; i < hashes.size(); ++i)
            stillReachable.insert(hashes[i]);
    }

    HistoryChanges changes;
    const QHash<QString, bool> stored = index.storedReachability(addedNewestFirst);
    for (auto it = addedNewestFirst.crbegin(); it != addedNewestFirst.crend(); ++it) {
        const auto found = stored.constFind(*it);
        if (found == stored.cend())
            changes.missingOldestFirst.append(*it);
        else if (!*found)
            changes.becameReachable.insert(*it);
    }

    QStringList leftTips;
    for (const QString &tip : coveredTips) {
        if (!stillReachable.contains(tip))
            leftTips.append(tip);
    }
    if (!leftTips.isEmpty()) {
        const ProcessResult gone = runGitProcess(
            repository,
            QStringList {QStringLiteral("rev-list")} + leftTips
                + QStringList {QStringLiteral("--not")} + allRefs);
        if (gone.exitStatus != 0)
            return std::nullopt;
        for (const QString &line : nonEmptyLines(QString::fromLatin1(gone.standardOutput)))
            changes.becameUnreachable.insert(line.trimmed());
    }
    return changes;
}

// The whole walk of a first run takes seconds on a long history; its output is counted as it
// comes so that the one waiting sees the walk move.
QStringList listReachable(const QString &repository, const QStringList &refs,
                          const std::function<void(qint64 found)> &listing)
{
    constexpr qint64 linesBetweenReports = 1024;
    QByteArray output;
    qint64 found = 0;
    qint64 reported = 0;
    const auto sink = [&](const char *data, qsizetype size) {
        output.append(data, size);
        if (!listing)
            return;
        found += std::count(data, data + size, '\n');
        if (found - reported >= linesBetweenReports) {
            reported = found;
            listing(found);
        }
    };
    const ProcessResult result
        = runGitProcess(repository, QStringList {QStringLiteral("rev-list")} + refs, sink);
    if (result.exitStatus != 0)
        throw GitError::commandFailed(result);
    return nonEmptyLines(QString::fromLatin1(output));
}

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

RepositoryIndexer::CoverageStamp RepositoryIndexer::currentStamp(const QString &repository)
{
    const RepositoryState now = readRepositoryState(repository);
    return {fingerprint(now.refs), now.state};
}

std::optional<RepositoryIndexer::CoverageStamp> RepositoryIndexer::storedStamp(
    const std::function<std::optional<QString>(const QString &key)> &metadata)
{
    const std::optional<QString> refs = metadata(QStringLiteral("ref_fingerprint"));
    const std::optional<QString> state = metadata(stateKey);
    if (!refs || !state)
        return std::nullopt;
    return CoverageStamp {*refs, *state};
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
        RepositorySynchronization result = synchronizeLocked(repository, options);
        // The mailmap may change without any ref moving (an edited .mailmap in the work tree):
        // its identities are checked on every run, up to date or not.
        updateAuthorIdentities(m_index, repository);
        return result;
    } catch (const ProcessCancelled &) {
        throw SynchronizationCancelled();
    }
}

RepositorySynchronization
RepositoryIndexer::synchronizeLocked(const QString &repository,
                                     const SynchronizationOptions &options)
{
    const RepositoryState now = readRepositoryState(repository);
    const QString newFingerprint = fingerprint(now.refs);
    const std::optional<QString> storedFingerprint
        = m_index.metadata(QStringLiteral("ref_fingerprint"));
    const qint64 storedUnreadable
        = m_index.metadata(unreadableDiffsKey()).value_or(QString()).toLongLong();
    // Written with every import, and by a run that found the index complete, so that the next
    // run can stop after reading the refs. A read-only index is left as it is.
    const auto rememberState = [this](const RepositoryState &state) {
        if (m_index.isReadOnly())
            return;
        m_index.setMetadata(state.state, stateKey);
        m_index.setMetadata(state.graph, graphKey);
        m_index.setMetadata(state.tips.join(QLatin1Char('\n')), tipsKey);
    };
    // What HEAD's tree says about the paths follows HEAD and the paths known: read again when
    // either changed, or when no facts are stored (an index that just gained the table).
    const auto refreshPathFacts = [&](bool onlyWhenMissing) {
        if (m_index.isReadOnly())
            return;
        const QString stored = m_index.pathFactsSource();
        if (onlyWhenMissing && !stored.isEmpty())
            return;
        PathFacts facts = readPathFacts(repository, m_index.indexedPaths(), stored);
        if (facts.source != stored)
            m_index.replacePathFacts(facts);
    };
    const auto upToDate = [&] {
        return RepositorySynchronization {0, m_index.snapshot(), true, storedUnreadable,
                                          m_index.takeNotice()};
    };
    if (storedFingerprint && *storedFingerprint == newFingerprint
        && m_index.metadata(stateKey) == now.state) {
        refreshPathFacts(true);
        return upToDate();
    }

    RepositoryIndexBatch batch;
    batch.refs = now.refs;
    batch.refFingerprint = newFingerprint;
    batch.indexedAt = QDateTime::currentMSecsSinceEpoch() / 1000.0;

    // With the same graph, the history behind the covered tips is stored and stays as it is:
    // only what the moved refs lead to is read.
    std::optional<HistoryChanges> changes;
    const QString coveredTips = m_index.metadata(tipsKey).value_or(QString());
    const QString storedGraph = m_index.metadata(graphKey).value_or(QString());
    if (storedFingerprint && !coveredTips.isEmpty() && storedGraph == now.graph)
        changes = changesSince(m_index, repository,
                               coveredTips.split(QLatin1Char('\n'), Qt::SkipEmptyParts), now);
    QStringList missingOldestFirst;
    if (changes) {
        missingOldestFirst = std::move(changes->missingOldestFirst);
        batch.incremental = true;
        batch.becameReachable = std::move(changes->becameReachable);
        batch.becameUnreachable = std::move(changes->becameUnreachable);
        if (missingOldestFirst.isEmpty() && batch.becameReachable.isEmpty()
            && batch.becameUnreachable.isEmpty() && *storedFingerprint == newFingerprint) {
            // Only a HEAD or another unlisted ref moved, within the stored history.
            rememberState(now);
            refreshPathFacts(false);
            return upToDate();
        }
    } else {
        // rev-list prints newest first; reversed, it is the order `git log --all --reverse`
        // shows.
        const QStringList reachableNewestFirst
            = listReachable(repository, GitService().allRefs(repository), options.listing);
        batch.reachableSHAs.reserve(reachableNewestFirst.size());
        for (const QString &sha : reachableNewestFirst)
            batch.reachableSHAs.insert(sha.trimmed());
        const QSet<QString> stored = m_index.storedCommitHashes();
        for (auto it = reachableNewestFirst.crbegin(); it != reachableNewestFirst.crend(); ++it) {
            const QString sha = it->trimmed();
            if (!stored.contains(sha))
                missingOldestFirst.append(sha);
        }
        // A changed graph (grafts, replace refs, the shallow boundary) may have changed what is
        // reachable without any ref moving: reachability is then computed again. An index that
        // never stored its graph is taken as it is, as before.
        const bool graphChanged = !storedGraph.isEmpty() && storedGraph != now.graph;
        if (storedFingerprint && *storedFingerprint == newFingerprint
            && missingOldestFirst.isEmpty() && !graphChanged) {
            rememberState(now);
            refreshPathFacts(false);
            return upToDate();
        }
    }

    qint64 imported = 0;
    qint64 unreadable = 0;
    const auto importMissing = [&](const std::function<void(const IndexedCommit &)> &insert) {
        if (!missingOldestFirst.isEmpty() && options.listed)
            options.listed(missingOldestFirst.size());
        if (!missingOldestFirst.isEmpty())
            unreadable = importCommits(repository, missingOldestFirst, insert, options, imported);
        if (unreadable > 0)
            m_index.setMetadata(QString::number(storedUnreadable + unreadable),
                                unreadableDiffsKey());
        rememberState(now);
    };

    // Stale facts are dropped first, so that a run that fails after writing the history leaves
    // them to be read again.
    if (!m_index.isReadOnly())
        m_index.invalidatePathFacts();
    const RepositoryIndexSnapshot snapshot = m_index.apply(batch, importMissing);
    refreshPathFacts(false);
    return {imported, snapshot, false, storedUnreadable + unreadable, m_index.takeNotice()};
}

} // namespace strataloom
