#include "index/RepositoryIndex.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cmath>
#include <functional>
#include <thread>

using namespace strataloom;

namespace {

constexpr qint64 day0 = 1700000000; // 2023-11-14T22:13:20Z
constexpr qint64 oneDay = 86400;

IndexedFileChange change(const QString &path, std::optional<qint64> additions,
                         std::optional<qint64> deletions,
                         const QString &status = QStringLiteral("M"))
{
    IndexedFileChange result;
    result.path = path;
    result.status = status;
    result.additions = additions;
    result.deletions = deletions;
    return result;
}

IndexedFileChange binaryChange(const QString &path)
{
    IndexedFileChange result = change(path, std::nullopt, std::nullopt);
    result.isBinary = true;
    return result;
}

IndexedCommit commit(const QString &sha, const QStringList &parents, qint64 authorTime,
                     const QList<IndexedFileChange> &changes = {},
                     const QString &author = QStringLiteral("Ada Lovelace"),
                     const QString &email = QStringLiteral("ada@example.com"))
{
    IndexedCommit result;
    result.sha = sha;
    result.parents = parents;
    result.authorName = author;
    result.authorEmail = email;
    result.committerName = QStringLiteral("Committer ") + author;
    result.committerEmail = QStringLiteral("committer@example.com");
    result.authorTime = authorTime;
    result.committerTime = authorTime + 60;
    result.subject = QStringLiteral("Subject of ") + sha;
    result.body = QStringLiteral("Body of ") + sha;
    result.changes = changes;
    return result;
}

IndexedRef ref(const QString &name, const QString &kind, const QString &target,
               bool isRemote = false, std::optional<QString> objectSHA = std::nullopt)
{
    return {name, kind, target, isRemote, objectSHA};
}

RepositoryIndexBatch batch(const QList<IndexedCommit> &commits, const QStringList &reachable,
                           const QList<IndexedRef> &refs, const QString &fingerprint,
                           double indexedAt = double(day0) + 0.5)
{
    RepositoryIndexBatch result;
    result.commits = commits;
    result.reachableSHAs = QSet<QString>(reachable.begin(), reachable.end());
    result.refs = refs;
    result.refFingerprint = fingerprint;
    result.indexedAt = indexedAt;
    return result;
}

/// Every row of a query, its columns joined by "|" (NULL written as "NULL").
QStringList rows(RepositoryIndex &index, const QString &sql)
{
    return index.read([&](SQLiteDatabase &database) {
        QStringList result;
        SQLiteStatement statement = database.statement(sql);
        while (statement.step()) {
            QStringList columns;
            for (int column = 0; column < statement.columnCount(); ++column)
                columns << statement.columnText(column).value_or(QStringLiteral("NULL"));
            result << columns.join(QLatin1Char('|'));
        }
        return result;
    });
}

QString value(RepositoryIndex &index, const QString &sql)
{
    const QStringList all = rows(index, sql);
    EXPECT_EQ(all.size(), 1) << sql.toStdString();
    return all.value(0);
}

QDateTime at(double seconds)
{
    return QDateTime::fromMSecsSinceEpoch(qint64(std::llround(seconds * 1000)), Qt::UTC);
}

/**
 * Runs @p work in a child process as a user without write access to files it does not own
 * (root's permission checks would let every write through) and returns what it reports.
 * A crash of the child fails the test instead of the whole binary.
 */
QString inUnprivilegedChild(const std::function<QString()> &work)
{
    int channel[2];
    if (::pipe(channel) != 0)
        return QStringLiteral("<no pipe>");
    const pid_t child = ::fork();
    if (child == 0) {
        ::close(channel[0]);
        QString report;
        if (::geteuid() == 0 && (::setgid(65534) != 0 || ::setuid(65534) != 0)) {
            report = QStringLiteral("<cannot drop privileges>");
        } else {
            try {
                report = work();
            } catch (const std::exception &error) {
                report = QStringLiteral("<unexpected: %1>").arg(QString::fromUtf8(error.what()));
            }
        }
        const QByteArray bytes = report.toUtf8();
        [[maybe_unused]] const auto written = ::write(channel[1], bytes.constData(), bytes.size());
        ::_exit(0);
    }
    ::close(channel[1]);
    QByteArray bytes;
    char buffer[4096];
    for (ssize_t count; (count = ::read(channel[0], buffer, sizeof buffer)) > 0;)
        bytes.append(buffer, count);
    ::close(channel[0]);
    int status = 0;
    ::waitpid(child, &status, 0);
    if (!WIFEXITED(status))
        return QStringLiteral("<child crashed>");
    return QString::fromUtf8(bytes);
}

class RepositoryIndexTest : public ::testing::Test
{
protected:
    QString databasePath() const { return m_folder.filePath(QStringLiteral("repo/index.sqlite")); }

    QTemporaryDir m_folder;
};

} // namespace

// Store: schema, metadata, snapshot

TEST_F(RepositoryIndexTest, FreshIndexIsEmptyAndConfigured)
{
    RepositoryIndex index(databasePath());
    EXPECT_EQ(index.databasePath(), databasePath());
    EXPECT_EQ(index.snapshot(), RepositoryIndexSnapshot {});
    EXPECT_FALSE(index.snapshot().lastIndexedAt.has_value());
    EXPECT_EQ(value(index, QStringLiteral("PRAGMA user_version")), QStringLiteral("1"));
    EXPECT_EQ(value(index, QStringLiteral("PRAGMA journal_mode")), QStringLiteral("wal"));
    EXPECT_EQ(value(index, QStringLiteral("PRAGMA foreign_keys")), QStringLiteral("1"));
    EXPECT_EQ(value(index, QStringLiteral("PRAGMA synchronous")), QStringLiteral("1"));
    EXPECT_EQ(rows(index,
                   QStringLiteral("SELECT name FROM sqlite_schema WHERE type = 'table' "
                                  "AND name NOT LIKE 'commit_search_%' ORDER BY name")),
              QStringList({"author_aliases", "author_daily_activity", "authors", "commit_files",
                           "commit_parents", "commit_search", "commits", "daily_activity",
                           "file_paths", "files", "index_metadata", "refs", "tags"}));
}

TEST_F(RepositoryIndexTest, ReopeningRunsTheSchemaAgainAndKeepsData)
{
    RepositoryIndexSnapshot written;
    {
        RepositoryIndex index(databasePath());
        written = index.apply(batch({commit("c1", {}, day0, {change("a.txt", 3, 0, "A")})}, {"c1"},
                                    {ref("main", "branch", "c1")}, "fingerprint"));
        index.setMetadata("kept", "custom");
    }
    RepositoryIndex reopened(databasePath());
    EXPECT_EQ(reopened.snapshot(), written);
    EXPECT_EQ(written.commits, 1);
    EXPECT_EQ(reopened.metadata("custom"), QStringLiteral("kept"));
    EXPECT_EQ(reopened.metadata("ref_fingerprint"), QStringLiteral("fingerprint"));
    EXPECT_EQ(value(reopened, "PRAGMA user_version"), QStringLiteral("1"));

    // A second index object on the same file (another window, another process) migrates too.
    RepositoryIndex second(databasePath());
    EXPECT_EQ(second.snapshot(), written);
}

TEST_F(RepositoryIndexTest, MetadataIsUpsertedAndMissingKeysAreAbsent)
{
    RepositoryIndex index(databasePath());
    EXPECT_EQ(index.metadata("ref_fingerprint"), std::nullopt);
    index.setMetadata("one", "ref_fingerprint");
    index.setMetadata("two", "ref_fingerprint");
    index.setMetadata(QString(), "empty");
    EXPECT_EQ(index.metadata("ref_fingerprint"), QStringLiteral("two"));
    EXPECT_EQ(index.metadata("empty"), QString());
    EXPECT_EQ(index.count("index_metadata"), 2);
    EXPECT_EQ(index.count("index_metadata", "key = 'empty'"), 1);
    EXPECT_EQ(index.count("index_metadata", "value = 'none'"), 0);
}

TEST_F(RepositoryIndexTest, LastIndexedAtIsReadOnlyFromAStrictNumber)
{
    RepositoryIndex index(databasePath());
    const auto lastIndexedAt = [&](const QString &text) {
        index.setMetadata(text, "last_indexed_at");
        return index.snapshot().lastIndexedAt;
    };
    EXPECT_EQ(lastIndexedAt("1700000000.5"), at(1700000000.5));
    EXPECT_EQ(lastIndexedAt("1700000000"), at(1700000000));
    EXPECT_EQ(lastIndexedAt("1.7e9"), at(1700000000));
    for (const char *bad : {" 1700000000.0", "  1700000000.0", "\t1700000000.0", "1700000000.0 ",
                            "1700000000,5", "1700000000.0x", "", "-", "yesterday", "1e999999"}) {
        EXPECT_EQ(lastIndexedAt(QString::fromUtf8(bad)), std::nullopt) << '"' << bad << '"';
    }
}

TEST(RepositoryIndexTimestamp, TextIsShortestRoundTripWithAFraction)
{
    EXPECT_EQ(RepositoryIndex::timestampText(1700000000.0), QStringLiteral("1700000000.0"));
    EXPECT_EQ(RepositoryIndex::timestampText(1700000000.25), QStringLiteral("1700000000.25"));
    EXPECT_EQ(RepositoryIndex::timestampText(0.0), QStringLiteral("0.0"));
    EXPECT_EQ(RepositoryIndex::timestampText(0.1), QStringLiteral("0.1"));
    EXPECT_EQ(RepositoryIndex::timestampText(-12.0), QStringLiteral("-12.0"));
    for (const double seconds : {1700000000.123456, 1712345678.9876543, 0.1 + 0.2, 1e-7, 1e300}) {
        const QString text = RepositoryIndex::timestampText(seconds);
        EXPECT_EQ(RepositoryIndex::parseTimestamp(text), seconds) << text.toStdString();
        EXPECT_TRUE(text.contains('.') || text.contains('e')) << text.toStdString();
    }
}

// Writer

TEST_F(RepositoryIndexTest, ApplyStoresACommitWithEveryRelatedRow)
{
    RepositoryIndex index(databasePath());
    IndexedFileChange renamed = change("src/new.cpp", 5, 1, "R087");
    renamed.oldPath = QStringLiteral("src/old.cpp");
    IndexedCommit first = commit("c1", {"p0"}, day0, {change("README", 10, 2), renamed});
    first.body = QString();

    const RepositoryIndexSnapshot snapshot = index.apply(
        batch({first}, {"c1"}, {ref("main", "branch", "c1")}, "refs-1", double(day0) + 0.25));
    EXPECT_EQ(snapshot, (RepositoryIndexSnapshot {1, 1, 2, 2, 1, at(double(day0) + 0.25)}));
    EXPECT_EQ(index.snapshot(), snapshot);

    EXPECT_EQ(rows(index,
                   "SELECT c.sha, a.canonical_name, aa.name, aa.email, c.committer_name, "
                   "c.committer_email, c.author_time, c.committer_time, c.subject, c.body, "
                   "c.is_merge, c.is_reachable FROM commits c "
                   "JOIN author_aliases aa ON aa.id = c.author_alias_id "
                   "JOIN authors a ON a.id = aa.author_id"),
              QStringList({"c1|Ada Lovelace|Ada Lovelace|ada@example.com|Committer Ada Lovelace|"
                           "committer@example.com|1700000000|1700000060|Subject of c1||0|1"}));
    EXPECT_EQ(rows(index, "SELECT parent_sha, position FROM commit_parents"),
              QStringList({"p0|0"}));
    EXPECT_EQ(
        rows(index,
             "SELECT f.current_path, cf.old_path, cf.status, cf.additions, "
             "cf.deletions, cf.is_binary, cf.similarity FROM commit_files cf "
             "JOIN files f ON f.id = cf.file_id ORDER BY f.current_path"),
        QStringList({"README|NULL|M|10|2|0|NULL", "src/new.cpp|src/old.cpp|R087|5|1|0|NULL"}));
    // The old path of a rename belongs to the new path's file; no row for the old path itself.
    EXPECT_EQ(rows(index,
                   "SELECT f.current_path, p.path, p.first_commit_sha, p.last_commit_sha "
                   "FROM file_paths p JOIN files f ON f.id = p.file_id ORDER BY p.path"),
              QStringList({"README|README|c1|c1", "src/new.cpp|src/new.cpp|c1|c1",
                           "src/new.cpp|src/old.cpp|c1|c1"}));
    EXPECT_EQ(rows(index,
                   "SELECT sha, subject, body, author, email FROM commit_search "
                   "WHERE commit_search MATCH 'lovelace'"),
              QStringList({"c1|Subject of c1||Ada Lovelace|ada@example.com"}));
    EXPECT_EQ(index.metadata("ref_fingerprint"), QStringLiteral("refs-1"));
    EXPECT_EQ(index.metadata("last_indexed_at"), QStringLiteral("1700000000.25"));
}

TEST_F(RepositoryIndexTest, EmptyBatchReplacesRefsRecomputesReachabilityAndStamps)
{
    RepositoryIndex index(databasePath());
    index.apply(
        batch({commit("c1", {}, day0, {change("a", 1, 0)})}, {"c1"},
              {ref("main", "branch", "c1"), ref("old", "branch", "c1"), ref("v1", "tag", "c1")},
              "first", 1700000000.0));

    const RepositoryIndexSnapshot snapshot
        = index.apply(batch({}, {}, {ref("other", "branch", "c1")}, "second", 1700000100.0));
    EXPECT_EQ(rows(index, "SELECT name, kind, target_sha, updated_at FROM refs"),
              QStringList({"other|branch|c1|1700000100"}));
    EXPECT_EQ(index.count("tags"), 0);
    EXPECT_EQ(snapshot.commits, 0); // nothing reachable any more
    EXPECT_EQ(index.count("daily_activity"), 0);
    EXPECT_EQ(index.metadata("ref_fingerprint"), QStringLiteral("second"));
    EXPECT_EQ(index.metadata("last_indexed_at"), QStringLiteral("1700000100.0"));
    EXPECT_EQ(snapshot.lastIndexedAt, at(1700000100.0));
}

TEST_F(RepositoryIndexTest, HistoryRewriteKeepsDroppedCommitsOutOfCountsAndAggregates)
{
    RepositoryIndex index(databasePath());
    index.apply(batch({commit("c1", {}, day0, {change("a", 1, 0, "A")}),
                       commit("c2", {"c1"}, day0 + oneDay, {change("a", 20, 0)}),
                       commit("c3", {"c2"}, day0 + oneDay, {change("b", 300, 0, "A")},
                              "Grace Hopper", "grace@example.com")},
                      {"c1", "c2", "c3"}, {ref("main", "branch", "c3")}, "before"));
    EXPECT_EQ(rows(index, "SELECT day, commits, additions FROM daily_activity ORDER BY day"),
              QStringList({"2023-11-14|1|1", "2023-11-15|2|320"}));

    // c2 and c3 are rewritten into c4.
    const RepositoryIndexSnapshot snapshot
        = index.apply(batch({commit("c4", {"c1"}, day0 + 2 * oneDay, {change("a", 4000, 0)})},
                            {"c1", "c4"}, {ref("main", "branch", "c4")}, "after"));
    EXPECT_EQ(rows(index, "SELECT sha, is_reachable FROM commits ORDER BY sha"),
              QStringList({"c1|1", "c2|0", "c3|0", "c4|1"}));
    EXPECT_EQ(snapshot.commits, 2);
    EXPECT_EQ(snapshot.authors, 2); // rows of unreachable commits still count
    EXPECT_EQ(snapshot.changes, 4);
    EXPECT_EQ(rows(index, "SELECT day, commits, additions FROM daily_activity ORDER BY day"),
              QStringList({"2023-11-14|1|1", "2023-11-16|1|4000"}));
    EXPECT_EQ(rows(index,
                   "SELECT a.canonical_name, d.day, d.commits, d.additions "
                   "FROM author_daily_activity d JOIN authors a ON a.id = d.author_id "
                   "ORDER BY d.day"),
              QStringList({"Ada Lovelace|2023-11-14|1|1", "Ada Lovelace|2023-11-16|1|4000"}));
    EXPECT_EQ(index.storedCommitHashes(), QSet<QString>({"c1", "c2", "c3", "c4"}));

    // Reachable again after the rewrite is undone, without being handed over again.
    EXPECT_EQ(index.apply(batch({}, {"c1", "c2", "c3"}, {}, "undone")).commits, 3);
}

TEST_F(RepositoryIndexTest, MergeCommitHasTwoOrderedParentRows)
{
    RepositoryIndex index(databasePath());
    index.apply(
        batch({commit("m", {"left", "right"}, day0), commit("octopus", {"a", "b", "c"}, day0),
               commit("plain", {"m"}, day0), commit("root", {}, day0)},
              {"m", "octopus", "plain", "root"}, {}, "f"));
    EXPECT_EQ(
        rows(index,
             "SELECT c.sha, c.is_merge, group_concat(p.parent_sha || '@' || p.position) "
             "FROM commits c LEFT JOIN commit_parents p ON p.commit_id = c.id "
             "GROUP BY c.id ORDER BY c.sha"),
        QStringList({"m|1|left@0,right@1", "octopus|1|a@0,b@1,c@2", "plain|0|m@0", "root|0|NULL"}));
}

TEST_F(RepositoryIndexTest, OnceBinaryAlwaysBinary)
{
    RepositoryIndex index(databasePath());
    // Within one batch: textual, then binary, then textual again.
    index.apply(batch({commit("c1", {}, day0, {change("logo.svg", 4, 0, "A")}),
                       commit("c2", {"c1"}, day0, {binaryChange("logo.svg")}),
                       commit("c3", {"c2"}, day0, {change("logo.svg", 2, 1)})},
                      {"c1", "c2", "c3"}, {}, "f"));
    // In a later batch, where nothing of the first is cached.
    index.apply(batch({commit("c4", {"c3"}, day0, {change("logo.svg", 1, 1)}),
                       commit("c5", {"c4"}, day0, {binaryChange("icon.png")})},
                      {"c1", "c2", "c3", "c4", "c5"}, {}, "f"));
    EXPECT_EQ(rows(index, "SELECT current_path, is_binary FROM files ORDER BY current_path"),
              QStringList({"icon.png|1", "logo.svg|1"}));
    EXPECT_EQ(
        rows(index,
             "SELECT c.sha, cf.is_binary, cf.additions, cf.deletions FROM commit_files "
             "cf JOIN commits c ON c.id = cf.commit_id ORDER BY c.sha"),
        QStringList({"c1|0|4|0", "c2|1|NULL|NULL", "c3|0|2|1", "c4|0|1|1", "c5|1|NULL|NULL"}));
    // Binary changes add nothing to the day's sums.
    EXPECT_EQ(rows(index, "SELECT commits, additions, deletions FROM daily_activity"),
              QStringList({"5|7|2"}));
}

TEST_F(RepositoryIndexTest, AuthorsAndAliasesAreSharedAcrossCommitsAndBatches)
{
    RepositoryIndex index(databasePath());
    index.apply(batch({commit("c1", {}, day0, {}, "Ada", "ada@home"),
                       commit("c2", {}, day0, {}, "Ada", "ada@work"),
                       commit("c3", {}, day0, {}, "ada", "ada@home"),
                       commit("c4", {}, day0, {}, "Ada", "ada@home")},
                      {"c1", "c2", "c3", "c4"}, {}, "f"));
    index.apply(batch({commit("c5", {}, day0 + oneDay, {}, "Ada", "ada@work"),
                       commit("c6", {}, day0 + oneDay, {}, " Ada", "ada@home")},
                      {"c1", "c2", "c3", "c4", "c5", "c6"}, {}, "f"));
    // Names are stored exactly as given: "ada" and " Ada" are authors of their own.
    EXPECT_EQ(rows(index,
                   "SELECT a.canonical_name, aa.name, aa.email, group_concat(c.sha) "
                   "FROM commits c JOIN author_aliases aa ON aa.id = c.author_alias_id "
                   "JOIN authors a ON a.id = aa.author_id "
                   "GROUP BY aa.id ORDER BY aa.id"),
              QStringList({"Ada|Ada|ada@home|c1,c4", "Ada|Ada|ada@work|c2,c5",
                           "ada|ada|ada@home|c3", " Ada| Ada|ada@home|c6"}));
    EXPECT_EQ(index.count("authors"), 3);
    EXPECT_EQ(rows(index,
                   "SELECT a.canonical_name, d.day, d.commits FROM author_daily_activity d "
                   "JOIN authors a ON a.id = d.author_id ORDER BY d.day, a.id"),
              QStringList({"Ada|2023-11-14|3", "ada|2023-11-14|1", "Ada|2023-11-15|1",
                           " Ada|2023-11-15|1"}));
}

TEST_F(RepositoryIndexTest, FilePathsKeepTheFirstCommitOfEachPath)
{
    RepositoryIndex index(databasePath());
    IndexedFileChange rename = change("b.txt", 0, 0, "R100");
    rename.oldPath = QStringLiteral("a.txt");
    index.apply(batch({commit("c1", {}, day0, {change("a.txt", 1, 0, "A")}),
                       commit("c2", {"c1"}, day0, {rename})},
                      {"c1", "c2"}, {}, "f"));
    index.apply(
        batch({commit("c3", {"c2"}, day0, {change("b.txt", 1, 1)})}, {"c1", "c2", "c3"}, {}, "f"));
    EXPECT_EQ(rows(index,
                   "SELECT f.current_path, p.path, p.first_commit_sha, p.last_commit_sha "
                   "FROM file_paths p JOIN files f ON f.id = p.file_id ORDER BY p.id"),
              QStringList({"a.txt|a.txt|c1|c1", "b.txt|b.txt|c2|c2", "b.txt|a.txt|c2|c2"}));
    EXPECT_EQ(index.snapshot().files, 2);
}

TEST_F(RepositoryIndexTest, CommitsWithoutChangesCountInTheDailyAggregates)
{
    RepositoryIndex index(databasePath());
    index.apply(
        batch({commit("c1", {}, day0 - 1000), commit("c2", {"c1"}, day0, {change("a", 2, 3)}),
               commit("c3", {"c2"}, day0, {change("a", 1, 0), change("b", 10, 20)}),
               commit("c4", {"c3"}, -86400 * 365)},
              {"c1", "c2", "c3", "c4"}, {}, "f"));
    EXPECT_EQ(rows(index,
                   "SELECT day, commits, additions, deletions FROM daily_activity "
                   "ORDER BY day"),
              QStringList({"1969-01-01|1|0|0", "2023-11-14|3|13|23"}));
}

TEST_F(RepositoryIndexTest, RefsAndTagsAreReplacedWhole)
{
    RepositoryIndex index(databasePath());
    index.apply(batch({}, {},
                      {ref("main", "branch", "c1"), ref("origin/main", "branch", "c0", true),
                       ref("v1.0", "branch", "c2"), ref("light", "tag", "c1"),
                       ref("v1.0", "tag", "c3", false, QStringLiteral("tagobject")),
                       ref("v2.0", "tag", "c4", false, QStringLiteral("tagobject2"))},
                      "f", 1700000000.99));
    // The tag named like a branch comes later and takes the row.
    EXPECT_EQ(rows(index,
                   "SELECT name, kind, target_sha, is_remote, updated_at FROM refs "
                   "ORDER BY name"),
              QStringList({"light|tag|c1|0|1700000000", "main|branch|c1|0|1700000000",
                           "origin/main|branch|c0|1|1700000000", "v1.0|tag|c3|0|1700000000",
                           "v2.0|tag|c4|0|1700000000"}));
    // Annotated tags keep the tag object; the target is the peeled commit.
    EXPECT_EQ(
        rows(index,
             "SELECT name, object_sha, target_sha, tagger_time, subject FROM tags "
             "ORDER BY name"),
        QStringList({"light|c1|c1|NULL|", "v1.0|tagobject|c3|NULL|", "v2.0|tagobject2|c4|NULL|"}));
    EXPECT_EQ(index.snapshot().refs, 5);

    index.apply(batch({}, {}, {ref("main", "branch", "c9")}, "g", -0.5));
    EXPECT_EQ(rows(index, "SELECT name, target_sha, updated_at FROM refs"),
              QStringList({"main|c9|0"}));
    EXPECT_EQ(index.count("tags"), 0);
}

TEST_F(RepositoryIndexTest, FailureInTheMiddleOfABatchLeavesTheIndexAsItWas)
{
    RepositoryIndex index(databasePath());
    const RepositoryIndexSnapshot before
        = index.apply(batch({commit("c0", {}, day0, {change("a", 1, 0)})}, {"c0"},
                            {ref("main", "branch", "c0")}, "old", 1700000000.0));
    {
        // Another connection adds a rule that the third commit breaks.
        SQLiteDatabase other(databasePath());
        other.execute("CREATE TRIGGER reject BEFORE INSERT ON commits WHEN NEW.sha = 'bad' "
                      "BEGIN SELECT RAISE(ABORT, 'rejected commit'); END");
    }
    const RepositoryIndexBatch failing = batch(
        {commit("c1", {"c0"}, day0, {change("new-file", 5, 0, "A")}, "Newcomer", "new@example.com"),
         commit("c2", {"c1"}, day0, {binaryChange("a")}), commit("bad", {"c2"}, day0),
         commit("c3", {"bad"}, day0)},
        {"c0", "c1", "c2", "bad", "c3"}, {ref("main", "branch", "c3"), ref("v1", "tag", "c1")},
        "new", 1800000000.0);
    try {
        index.apply(failing);
        FAIL() << "the batch was written";
    } catch (const SQLiteError &error) {
        EXPECT_EQ(error.description(), QStringLiteral("SQLite step failed: rejected commit"));
    }
    EXPECT_EQ(index.snapshot(), before);
    EXPECT_EQ(index.storedCommitHashes(), QSet<QString>({"c0"}));
    EXPECT_EQ(rows(index, "SELECT name, target_sha FROM refs"), QStringList({"main|c0"}));
    EXPECT_EQ(index.count("tags"), 0);
    EXPECT_EQ(rows(index, "SELECT current_path, is_binary FROM files"), QStringList({"a|0"}));
    EXPECT_EQ(index.count("commit_search"), 1);
    EXPECT_EQ(index.metadata("ref_fingerprint"), QStringLiteral("old"));
    EXPECT_EQ(index.metadata("last_indexed_at"), QStringLiteral("1700000000.0"));

    // Once the obstacle is gone, the same batch goes through whole.
    index.read([](SQLiteDatabase &database) { database.execute("DROP TRIGGER reject"); });
    const RepositoryIndexSnapshot after = index.apply(failing);
    EXPECT_EQ(after, (RepositoryIndexSnapshot {5, 2, 2, 3, 2, at(1800000000.0)}));
}

TEST_F(RepositoryIndexTest, UnrepresentableTimeIsRejectedBeforeWriting)
{
    RepositoryIndex index(databasePath());
    index.apply(batch({}, {}, {ref("main", "branch", "c0")}, "old"));
    for (const double indexedAt : {std::nan(""), 1e30, -HUGE_VAL}) {
        EXPECT_THROW(index.apply(batch({commit("c1", {}, day0)}, {"c1"}, {}, "new", indexedAt)),
                     std::out_of_range);
    }
    EXPECT_EQ(index.metadata("ref_fingerprint"), QStringLiteral("old"));
    EXPECT_EQ(index.count("commits"), 0);
    EXPECT_EQ(index.count("refs"), 1);
}

TEST_F(RepositoryIndexTest, CallsFromSeveralThreadsRunOneAtATime)
{
    RepositoryIndex index(databasePath());
    constexpr int rounds = 25;
    std::atomic<int> failures = 0;
    const auto writer = [&](const QString &prefix) {
        QStringList reachable;
        for (int round = 0; round < rounds; ++round) {
            const QString sha = prefix + QString::number(round);
            reachable << sha;
            try {
                // Each writer keeps only its own commits reachable; the other's get flagged.
                index.apply(batch({commit(sha, {}, day0 + round, {change(sha, 1, 0)})}, reachable,
                                  {ref(prefix, "branch", sha)}, prefix));
            } catch (...) {
                ++failures;
            }
        }
    };
    const auto reader = [&] {
        for (int round = 0; round < rounds * 4; ++round) {
            try {
                const RepositoryIndexSnapshot snapshot = index.snapshot();
                const qint64 reachable = index.read([](SQLiteDatabase &database) {
                    SQLiteStatement statement
                        = database.statement("SELECT COUNT(*) FROM commits WHERE is_reachable = 1");
                    statement.step();
                    return statement.columnInt64(0);
                });
                if (snapshot.commits > rounds || reachable > rounds)
                    ++failures; // a half-applied batch was visible
            } catch (...) {
                ++failures;
            }
        }
    };
    std::thread first(writer, QStringLiteral("a"));
    std::thread second(writer, QStringLiteral("b"));
    std::thread third(reader);
    first.join();
    second.join();
    third.join();
    EXPECT_EQ(failures, 0);
    EXPECT_EQ(index.count("commits"), 2 * rounds);
    EXPECT_EQ(index.count("commit_search"), 2 * rounds);
}

TEST_F(RepositoryIndexTest, WritesKeepForeignKeysConsistentAndEnforcedAfterwards)
{
    RepositoryIndex index(databasePath());
    IndexedFileChange rename = change("b", 1, 1, "R090");
    rename.oldPath = QStringLiteral("a");
    index.apply(batch({commit("c1", {}, day0, {change("a", 1, 0, "A")}),
                       commit("c2", {"c1"}, day0, {rename}, "Grace", "grace@example.com")},
                      {"c1", "c2"}, {ref("main", "branch", "c2")}, "f"));
    EXPECT_EQ(rows(index, "PRAGMA foreign_key_check"), QStringList());
    EXPECT_EQ(value(index, "PRAGMA foreign_keys"), QStringLiteral("1"));

    const auto failing = batch({commit("c3", {}, day0)}, {"c3"}, {}, "g");
    index.read([](SQLiteDatabase &database) {
        database.execute("CREATE TRIGGER reject BEFORE INSERT ON commits "
                         "BEGIN SELECT RAISE(ABORT, 'rejected commit'); END");
    });
    EXPECT_THROW(index.apply(failing), SQLiteError);
    EXPECT_EQ(value(index, "PRAGMA foreign_keys"), QStringLiteral("1"));
}

TEST_F(RepositoryIndexTest, ACommitHandedOverAgainJoinsItsStoredRow)
{
    RepositoryIndex index(databasePath());
    index.apply(batch({commit("c1", {}, day0, {change("a", 1, 0, "A")})}, {"c1"}, {}, "f"));
    index.apply(batch({}, {}, {}, "g")); // c1 unreachable now
    // Another commit makes the next fresh id differ from c1's, so a wrong id would show.
    index.apply(batch({commit("c2", {}, day0)}, {"c2"}, {}, "h"));
    index.apply(batch({commit("c1", {"p"}, day0, {change("b", 2, 0, "A")})}, {"c2"}, {}, "i"));
    EXPECT_EQ(rows(index,
                   "SELECT c.id, c.sha, c.is_reachable, "
                   "(SELECT group_concat(parent_sha) FROM commit_parents WHERE commit_id = c.id), "
                   "(SELECT COUNT(*) FROM commit_files WHERE commit_id = c.id) "
                   "FROM commits c ORDER BY c.id"),
              QStringList({"1|c1|1|p|2", "2|c2|1|NULL|0"}));
    // One more search row, as for any commit handed over.
    EXPECT_EQ(index.count("commit_search", "sha = 'c1'"), 2);
}

TEST_F(RepositoryIndexTest, StreamedCommitsAreWrittenLikeListedOnes)
{
    RepositoryIndex index(databasePath());
    constexpr int streamed = 9000; // more than one run of deferred search rows
    QStringList reachable = {"listed"};
    for (int number = 0; number < streamed; ++number)
        reachable << QStringLiteral("s%1").arg(number);
    const RepositoryIndexSnapshot snapshot = index.apply(
        batch({commit("listed", {}, day0, {change("a", 1, 0, "A")})}, reachable, {}, "f"),
        [](const std::function<void(const IndexedCommit &)> &insert) {
            for (int number = 0; number < streamed; ++number) {
                const QString sha = QStringLiteral("s%1").arg(number);
                insert(commit(sha, {}, day0 + number * 60, {change("a", 1, 1)}));
            }
        });
    EXPECT_EQ(snapshot.commits, streamed + 1);
    EXPECT_EQ(snapshot.changes, streamed + 1);
    // One search row per commit, in the order the commits came, matching their text.
    EXPECT_EQ(index.count("commit_search"), streamed + 1);
    EXPECT_EQ(value(index,
                    "SELECT COUNT(*) FROM commit_search s JOIN commits c ON c.id = s.rowid "
                    "AND c.sha = s.sha AND c.subject = s.subject"),
              QString::number(streamed + 1));
    EXPECT_EQ(rows(index, "SELECT sha FROM commit_search WHERE commit_search MATCH 's8999'"),
              QStringList({"s8999"}));
}

// Bad storage

TEST_F(RepositoryIndexTest, BaseFolderUnderARegularFileNamesTheFolder)
{
    QFile blocker(m_folder.filePath("blocker"));
    ASSERT_TRUE(blocker.open(QIODevice::WriteOnly));
    blocker.close();
    const QString path
        = RepositoryIndexLocation::databasePath("/src/repo/.git", blocker.fileName());
    try {
        RepositoryIndex index(path);
        FAIL() << "an index was created under a regular file";
    } catch (const FileSystemError &error) {
        EXPECT_EQ(error.path(), QFileInfo(path).path());
        EXPECT_TRUE(error.message().startsWith("Unable to create folder \"" + blocker.fileName()))
            << error.message().toStdString();
        EXPECT_TRUE(error.message().endsWith(": Not a directory")) << error.message().toStdString();
    }
}

TEST_F(RepositoryIndexTest, ReadOnlyBaseFolderIsReportedNotCrashed)
{
    // An index written earlier, then the whole base made read-only.
    const QString base = m_folder.filePath("base");
    const QString existing = RepositoryIndexLocation::databasePath("/src/old/.git", base);
    {
        RepositoryIndex index(existing);
        index.apply(batch({commit("c1", {}, day0)}, {"c1"}, {}, "f"));
    }
    const QString fresh = RepositoryIndexLocation::databasePath("/src/new/.git", base);
    ASSERT_EQ(::chmod(QFile::encodeName(m_folder.path()).constData(), 0755), 0);
    ASSERT_EQ(::chmod(QFile::encodeName(base).constData(), 0555), 0);
    ASSERT_EQ(::chmod(QFile::encodeName(QFileInfo(existing).path()).constData(), 0555), 0);

    const QString report = inUnprivilegedChild([&] {
        QString result;
        try {
            RepositoryIndex index(fresh);
            result += "opened fresh;";
        } catch (const FileSystemError &error) {
            result += error.message() + ';';
        }
        try {
            RepositoryIndex index(existing);
            index.apply(batch({commit("c2", {}, day0)}, {"c1", "c2"}, {}, "g"));
            result += "wrote existing";
        } catch (const SQLiteError &error) {
            result += "SQLiteError: " + error.description();
        }
        return result;
    });
    ::chmod(QFile::encodeName(base).constData(), 0755);
    ::chmod(QFile::encodeName(QFileInfo(existing).path()).constData(), 0755);

    const QStringList parts = report.split(';');
    ASSERT_EQ(parts.size(), 2) << report.toStdString();
    EXPECT_EQ(parts[0],
              QStringLiteral("Unable to create folder \"%1\": Permission denied")
                  .arg(QFileInfo(fresh).path()));
    EXPECT_TRUE(parts[1].startsWith("SQLiteError: ")) << report.toStdString();
    EXPECT_GT(parts[1].size(), 20) << report.toStdString();

    RepositoryIndex index(existing);
    EXPECT_EQ(index.storedCommitHashes(), QSet<QString>({"c1"}));
}

TEST_F(RepositoryIndexTest, FullDiskLeavesTheEarlierIndexWhole)
{
    RepositoryIndexSnapshot before;
    {
        RepositoryIndex index(databasePath());
        before = index.apply(batch({commit("c0", {}, day0, {change("a", 1, 0, "A")})}, {"c0"},
                                   {ref("main", "branch", "c0")}, "old", 1700000000.0));
        // The disk fills up a few pages into the next write.
        index.read([](SQLiteDatabase &database) {
            SQLiteStatement pages = database.statement("PRAGMA page_count");
            pages.step();
            database.execute(
                QStringLiteral("PRAGMA max_page_count = %1").arg(pages.columnInt64(0) + 4));
        });
        QList<IndexedCommit> commits;
        QStringList reachable = {"c0"};
        for (int number = 1; number <= 500; ++number) {
            IndexedCommit large = commit(QStringLiteral("c%1").arg(number), {"c0"}, day0,
                                         {change(QStringLiteral("file%1").arg(number), 1, 0)});
            large.body = QString(2000, QLatin1Char('x'));
            commits << large;
            reachable << large.sha;
        }
        try {
            index.apply(batch(commits, reachable, {ref("next", "branch", "c1")}, "new"));
            FAIL() << "the write fit";
        } catch (const SQLiteError &error) {
            EXPECT_TRUE(error.description().contains("database or disk is full"))
                << error.description().toStdString();
        }
        EXPECT_EQ(index.snapshot(), before);
    }
    RepositoryIndex reopened(databasePath());
    EXPECT_EQ(reopened.snapshot(), before);
    EXPECT_EQ(reopened.storedCommitHashes(), QSet<QString>({"c0"}));
    EXPECT_EQ(reopened.metadata("ref_fingerprint"), QStringLiteral("old"));
    EXPECT_EQ(rows(reopened, "PRAGMA integrity_check"), QStringList({"ok"}));
}
