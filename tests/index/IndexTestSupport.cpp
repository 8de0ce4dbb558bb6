#include "IndexTestSupport.h"

#include "git/GitProcess.h"
#include "git/GitService.h"
#include "index/RepositoryIndexer.h"

#include <QDateTime>
#include <QHash>

#include <sqlite3.h>

#include <gtest/gtest.h>

using namespace strataloom;

namespace {

// Whole tables in storage order, but for the columns that hold the time of the run.
QStringList dumpQueries()
{
    QStringList queries;
    for (const char *table :
         {"authors", "author_aliases", "commits", "commit_parents", "files", "file_paths",
          "commit_files", "tags"})
        queries << QStringLiteral("SELECT * FROM %1 ORDER BY rowid").arg(QLatin1String(table));
    // The daily sums are rewritten day by day as commits come and go, so their rows are
    // compared by key; where they sit in the table means nothing.
    return queries << "SELECT * FROM daily_activity ORDER BY day"
                   << "SELECT * FROM author_daily_activity ORDER BY author_id, day"
                   << "SELECT name, kind, target_sha, is_remote FROM refs ORDER BY rowid"
                   << "SELECT rowid, sha, subject, body, author, email FROM commit_search "
                      "ORDER BY rowid"
                   // The refs state the indexer remembers is no content of the index: the
                   // reference import writes none.
                   << "SELECT key, value FROM index_metadata WHERE key NOT IN "
                      "('last_indexed_at', 'reachability_state', 'reachability_graph', "
                      "'covered_tips') ORDER BY key";
}

QString git(const QString &repository, const QStringList &arguments)
{
    const ProcessResult result = runGitProcess(repository, arguments);
    EXPECT_EQ(result.exitStatus, 0) << arguments.join(QLatin1Char(' ')).toStdString() << ": "
                                    << result.standardError.toStdString();
    return QString::fromUtf8(result.standardOutput);
}

bool isNewline(QChar c)
{
    const char16_t u = c.unicode();
    return u == u'\n' || u == u'\r' || u == u'\v' || u == u'\f' || u == 0x85 || u == 0x2028
        || u == 0x2029;
}

QString trimNewlines(QString text)
{
    while (!text.isEmpty() && isNewline(text.front()))
        text.remove(0, 1);
    while (!text.isEmpty() && isNewline(text.back()))
        text.chop(1);
    return text;
}

struct Counts
{
    std::optional<qint64> additions;
    std::optional<qint64> deletions;
    bool isBinary = false;
};

QList<IndexedFileChange> referenceChanges(const QString &repository, const QString &sha)
{
    const auto diffTree = [&](const char *format) {
        return git(repository,
                   {"diff-tree", "--root", "-r", format, "--find-renames", "--no-commit-id", sha});
    };
    const QString numstat = diffTree("--numstat");
    const QString names = diffTree("--name-status");
    QHash<QString, Counts> counts;
    for (const QString &line : nonEmptyLines(numstat)) {
        const QStringList fields = line.split(QLatin1Char('\t'));
        if (fields.size() < 3)
            continue;
        Counts entry;
        if (fields[0] == QLatin1String("-") || fields[1] == QLatin1String("-")) {
            entry.isBinary = true;
        } else {
            entry.additions = fields[0].toLongLong();
            entry.deletions = fields[1].toLongLong();
        }
        counts.insert(unquoteGitPath(fields.last()), entry);
    }
    QList<IndexedFileChange> changes;
    for (const QString &line : nonEmptyLines(names)) {
        const QStringList fields = line.split(QLatin1Char('\t'));
        if (fields.size() < 2)
            continue;
        IndexedFileChange change;
        change.status = fields[0];
        change.path = unquoteGitPath(fields.last());
        if (fields.size() >= 3)
            change.oldPath = unquoteGitPath(fields[1]);
        // A rename's numstat line names "old => new", which matches no path: no counts.
        if (!change.oldPath) {
            const auto found = counts.constFind(change.path);
            if (found != counts.constEnd()) {
                change.additions = found->additions;
                change.deletions = found->deletions;
                change.isBinary = found->isBinary;
            }
        }
        changes.append(change);
    }
    return changes;
}

} // namespace

QString unquoteGitPath(const QString &path)
{
    if (path.size() < 2 || !path.startsWith(QLatin1Char('"')) || !path.endsWith(QLatin1Char('"')))
        return path;
    const QByteArray quoted = path.mid(1, path.size() - 2).toUtf8();
    QByteArray bytes;
    for (qsizetype i = 0; i < quoted.size(); ++i) {
        const char c = quoted[i];
        if (c != '\\' || i + 1 >= quoted.size()) {
            bytes.append(c);
            continue;
        }
        const char e = quoted[++i];
        static const QByteArray escapes("a\ab\bt\tn\nv\vf\fr\r");
        const qsizetype named = escapes.indexOf(e);
        if (named >= 0 && named % 2 == 0) {
            bytes.append(escapes[named + 1]);
        } else if (e >= '0' && e <= '3' && i + 2 < quoted.size()) {
            bytes.append(
                char(((e - '0') << 6) | ((quoted[i + 1] - '0') << 3) | (quoted[i + 2] - '0')));
            i += 2;
        } else {
            bytes.append(e);
        }
    }
    return QString::fromUtf8(bytes);
}

QMap<QString, QStringList> dumpIndex(RepositoryIndex &index)
{
    return index.read([](SQLiteDatabase &database) {
        QMap<QString, QStringList> dump;
        for (const QString &query : dumpQueries()) {
            SQLiteStatement statement = database.statement(query);
            QStringList rows;
            const int columns = sqlite3_column_count(statement.handle());
            while (statement.step()) {
                QStringList row;
                for (int c = 0; c < columns; ++c)
                    row << statement.columnText(c).value_or(QStringLiteral("<null>"));
                rows << row.join(QStringLiteral(" | "));
            }
            dump.insert(query, rows);
        }
        return dump;
    });
}

void referenceSynchronize(RepositoryIndex &index, const QString &repository)
{
    const QChar unit(0x1f);
    const QList<IndexedRef> refs = RepositoryIndexer::parseRefs(
        git(repository,
            {QStringLiteral("for-each-ref"),
             QStringLiteral("--format=%(refname)") + unit + QStringLiteral("%(objectname)") + unit
                 + QStringLiteral("%(*objectname)"),
             QStringLiteral("refs/heads"), QStringLiteral("refs/remotes"),
             QStringLiteral("refs/tags")}));
    QSet<QString> reachable;
    for (const QString &sha :
         nonEmptyLines(git(repository, {QStringLiteral("rev-list"), QStringLiteral("--all")})))
        reachable.insert(sha);
    const QSet<QString> missing = reachable - index.storedCommitHashes();

    RepositoryIndexBatch batch;
    batch.reachableSHAs = reachable;
    batch.refs = refs;
    batch.refFingerprint = RepositoryIndexer::fingerprint(refs);
    batch.indexedAt = QDateTime::currentMSecsSinceEpoch() / 1000.0;
    if (!missing.isEmpty()) {
        const QString log = git(
            repository,
            {QStringLiteral("log"), QStringLiteral("--all"), QStringLiteral("--reverse"),
             QStringLiteral(
                 "--format=\x1e%H\x1f%P\x1f%an\x1f%ae\x1f%cn\x1f%ce\x1f%at\x1f%ct\x1f%s\x1f%B")});
        for (const QString &piece : log.split(QChar(0x1e))) {
            const QStringList fields = trimNewlines(piece).split(unit);
            if (fields.size() < 10 || !missing.contains(fields[0]))
                continue;
            IndexedCommit commit;
            commit.sha = fields[0];
            commit.parents = fields[1].split(QLatin1Char(' '), Qt::SkipEmptyParts);
            commit.authorName = fields[2];
            commit.authorEmail = fields[3];
            commit.committerName = fields[4];
            commit.committerEmail = fields[5];
            commit.authorTime = fields[6].toLongLong();
            commit.committerTime = fields[7].toLongLong();
            commit.subject = fields[8];
            commit.body = fields[9];
            commit.changes = referenceChanges(repository, commit.sha);
            batch.commits.append(commit);
        }
    }
    index.apply(batch);
}

QString firstDifference(const QMap<QString, QStringList> &left,
                        const QMap<QString, QStringList> &right)
{
    for (auto it = left.cbegin(); it != left.cend(); ++it) {
        const QStringList other = right.value(it.key());
        for (qsizetype row = 0; row < std::max(it->size(), other.size()); ++row) {
            const QString a = row < it->size() ? it->at(row) : QStringLiteral("<missing>");
            const QString b = row < other.size() ? other.at(row) : QStringLiteral("<missing>");
            if (a != b)
                return QStringLiteral("%1, row %2:\n  %3\n  %4").arg(it.key()).arg(row).arg(a, b);
        }
    }
    return {};
}
