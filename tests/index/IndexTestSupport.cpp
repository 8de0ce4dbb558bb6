#include "IndexTestSupport.h"

#include "git/GitProcess.h"
#include "git/GitService.h"
#include "index/RepositoryIndexer.h"

#include <QDateTime>
#include <QHash>
#include <QRegularExpression>

#include <gtest/gtest.h>

using namespace strataloom;

namespace {

QString git(const QString &repository, const QStringList &arguments)
{
    const ProcessResult result = runGitProcess(repository, arguments);
    EXPECT_EQ(result.exitStatus, 0)
        << arguments.join(' ').toStdString() << ": " << result.standardError.toStdString();
    return QString::fromUtf8(result.standardOutput);
}

// Each change of @p sha from name-status, with the line counts of numstat (two diff-tree runs,
// their paths unquoted by -z).
QList<IndexedFileChange> referenceChanges(const QString &repository, const QString &sha)
{
    const auto diffTree = [&](const char *format) {
        return git(repository, {"diff-tree", "--root", "-r", "-z", format, "--find-renames",
                                "--no-commit-id", sha})
            .split(QChar(0));
    };
    // "added<TAB>deleted<TAB>path", or for a rename an empty path, then the old and new path:
    // a rename gets no counts.
    QHash<QString, QStringList> counts;
    const QStringList numstat = diffTree("--numstat");
    for (qsizetype i = 0; i < numstat.size(); ++i) {
        const QString path = numstat[i].section('\t', 2);
        if (numstat[i].count('\t') >= 2 && path.isEmpty())
            i += 2;
        else if (numstat[i].count('\t') >= 2)
            counts.insert(path, numstat[i].split('\t').mid(0, 2));
    }
    // "status", then the path, or the old and the new path of a rename or copy.
    QList<IndexedFileChange> changes;
    const QStringList statuses = diffTree("--name-status");
    for (qsizetype i = 0; i + 1 < statuses.size(); i += 2) {
        IndexedFileChange change {statuses[i + 1], std::nullopt, statuses[i], std::nullopt,
                                  std::nullopt, false};
        if (change.status.startsWith('R') || change.status.startsWith('C')) {
            change.oldPath = change.path;
            change.path = statuses.value(++i + 1);
        }
        const QStringList numbers = change.oldPath ? QStringList() : counts.value(change.path);
        if (numbers.size() == 2 && (numbers[0] == "-" || numbers[1] == "-")) {
            change.isBinary = true;
        } else if (numbers.size() == 2) {
            change.additions = numbers[0].toLongLong();
            change.deletions = numbers[1].toLongLong();
        }
        changes.append(change);
    }
    return changes;
}

} // namespace

QMap<QString, QStringList> dumpIndex(RepositoryIndex &index)
{
    // Whole tables in storage order, but for the columns that hold the time of the run.
    QStringList queries {"SELECT name, kind, target_sha, is_remote FROM refs ORDER BY rowid",
                         "SELECT rowid, sha, subject, body, author, email FROM commit_search "
                         "ORDER BY rowid",
                         // The refs, mailmap and path-facts state the indexer remembers is no
                         // content of the history: the reference import writes none.
                         "SELECT key, value FROM index_metadata WHERE key NOT IN "
                         "('last_indexed_at', 'reachability_state', 'reachability_graph', "
                         "'covered_tips', 'identity_state', 'path_facts_source') ORDER BY key",
                         // The daily sums are rewritten day by day as commits come and go, so
                         // their rows are compared by key; where they sit means nothing.
                         "SELECT * FROM daily_activity ORDER BY day",
                         "SELECT * FROM author_daily_activity ORDER BY author_id, day"};
    for (const char *table :
         {"authors", "author_aliases", "commits", "commit_parents", "files", "file_paths",
          "commit_files", "tags"})
        queries << QStringLiteral("SELECT * FROM %1 ORDER BY rowid").arg(QLatin1String(table));
    QMap<QString, QStringList> dump;
    for (const QString &query : queries)
        dump[query] = rows(index, query);
    return dump;
}

void referenceSynchronize(RepositoryIndex &index, const QString &repository)
{
    const QChar unit(0x1f);
    const QList<IndexedRef> refs = RepositoryIndexer::parseRefs(git(
        repository,
        {"for-each-ref", QString("--format=%(refname)%1%(objectname)%1%(*objectname)").arg(unit),
         "refs/heads", "refs/remotes", "refs/tags"}));
    const QStringList shas = nonEmptyLines(git(repository, {"rev-list", "--all"}));
    RepositoryIndexBatch batch {.reachableSHAs = QSet<QString>(shas.begin(), shas.end()),
                                .refs = refs,
                                .refFingerprint = RepositoryIndexer::fingerprint(refs),
                                .indexedAt = QDateTime::currentMSecsSinceEpoch() / 1000.0};
    const QSet<QString> missing = batch.reachableSHAs - index.storedCommitHashes();
    const QString log = missing.isEmpty()
        ? QString()
        : git(repository,
              {"log", "--all", "--reverse",
               "--format=\x1e%H\x1f%P\x1f%an\x1f%ae\x1f%cn\x1f%ce\x1f%at\x1f%ct\x1f%s\x1f%B"});
    for (const QString &piece : log.split(QChar(0x1e))) {
        static const QRegularExpression newlines(
            QStringLiteral("^[\n\r\v\f\u0085\u2028\u2029]+|[\n\r\v\f\u0085\u2028\u2029]+$"));
        const QStringList fields = QString(piece).remove(newlines).split(unit);
        if (fields.size() < 10 || !missing.contains(fields[0]))
            continue;
        batch.commits.append({fields[0], fields[1].split(' ', Qt::SkipEmptyParts), fields[2],
                              fields[3], fields[4], fields[5], fields[6].toLongLong(),
                              fields[7].toLongLong(), fields[8], fields[9],
                              referenceChanges(repository, fields[0])});
    }
    index.apply(batch);
}

QString firstDifference(const QMap<QString, QStringList> &left,
                        const QMap<QString, QStringList> &right)
{
    for (auto it = left.cbegin(); it != left.cend(); ++it) {
        const QStringList other = right.value(it.key());
        for (qsizetype row = 0; row < std::max(it->size(), other.size()); ++row) {
            const QString a = it->value(row, "<missing>");
            const QString b = other.value(row, "<missing>");
            if (a != b)
                return QStringLiteral("%1, row %2:\n  %3\n  %4").arg(it.key()).arg(row).arg(a, b);
        }
    }
    return {};
}
