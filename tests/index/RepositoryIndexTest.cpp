#include "index/RepositoryIndex.h"
#include "IndexTestSupport.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <thread>

using namespace strataloom;

namespace {

constexpr qint64 day0 = 1700000000; // 2023-11-14T22:13:20Z
constexpr qint64 oneDay = 86400;

// Without line counts: a binary change.
IndexedFileChange change(const QString &path, std::optional<qint64> additions = {},
                         std::optional<qint64> deletions = {}, const QString &status = "M")
{
    return {path, std::nullopt, status, additions, deletions, !additions};
}

IndexedCommit commit(const QString &sha, const QStringList &parents, qint64 authorTime,
                     const QList<IndexedFileChange> &changes = {},
                     const QString &author = "Ada Lovelace",
                     const QString &email = "ada@example.com")
{
    // clang-format off
    return {sha, parents, author, email, "Committer " + author, "committer@example.com",
            authorTime, authorTime + 60, "Subject of " + sha, "Body of " + sha, changes};
    // clang-format on
}

RepositoryIndexBatch batch(const QList<IndexedCommit> &commits, const QStringList &reachable,
                           const QList<IndexedRef> &refs, const QString &fingerprint,
                           double indexedAt = double(day0) + 0.5)
{
    return {.reachableSHAs = QSet<QString>(reachable.begin(), reachable.end()),
            .commits = commits,
            .refs = refs,
            .refFingerprint = fingerprint,
            .indexedAt = indexedAt};
}

QDateTime at(double seconds)
{
    return QDateTime::fromMSecsSinceEpoch(qint64(std::llround(seconds * 1000)), Qt::UTC);
}

class RepositoryIndexTest : public ::testing::Test
{
protected:
    QTemporaryDir m_folder;
    const QString databasePath = m_folder.filePath("repo/index.sqlite");
    RepositoryIndex index {databasePath};
};

} // namespace

TEST_F(RepositoryIndexTest, SchemaAndMetadataSurviveReopening)
{
    EXPECT_EQ(index.snapshot(), RepositoryIndexSnapshot {});
    const RepositoryIndexSnapshot written
        = index.apply(batch({commit("c1", {}, day0, {change("a.txt", 3, 0, "A")})}, {"c1"},
                            {{"main", "branch", "c1"}}, "fingerprint"));
    EXPECT_EQ(index.metadata("custom"), std::nullopt);
    index.setMetadata("first", "custom");
    index.setMetadata("kept", "custom");
    index.setMetadata(QString(), "empty");
    // Another index object on the same file (another window, another process) runs the
    // schema again and keeps everything.
    RepositoryIndex reopened(databasePath);
    EXPECT_EQ(reopened.snapshot(), written);
    EXPECT_EQ(reopened.metadata("custom"), "kept");
    EXPECT_EQ(reopened.metadata("empty"), QString());
    EXPECT_EQ(reopened.metadata("ref_fingerprint"), "fingerprint");
    EXPECT_EQ(rows(reopened,
                   "SELECT * FROM pragma_user_version, pragma_journal_mode, "
                   "pragma_foreign_keys, pragma_synchronous"),
              QStringList {"5|wal|1|1"});
}

TEST_F(RepositoryIndexTest,
       IndexTimeIsWrittenShortestReadOnlyFromAStrictNumberAndRefusedWhenUnrepresentable)
{
    // 1700000000.0 and .25 are written by the store tests below.
    EXPECT_EQ(RepositoryIndex::timestampText(0.1), "0.1");
    EXPECT_EQ(RepositoryIndex::timestampText(-12.0), "-12.0");
    for (const double seconds : {1700000000.123456, 1712345678.9876543, 0.1 + 0.2, 1e-7, 1e300})
        EXPECT_EQ(RepositoryIndex::parseTimestamp(RepositoryIndex::timestampText(seconds)),
                  seconds);

    // A time that cannot be written is refused before anything is written.
    index.apply(batch({}, {}, {{"main", "branch", "c0"}}, "old"));
    for (const double indexedAt : {std::nan(""), 1e30, -HUGE_VAL})
        EXPECT_THROW(index.apply(batch({commit("c1", {}, day0)}, {"c1"}, {}, "new", indexedAt)),
                     std::out_of_range);
    EXPECT_EQ(index.metadata("ref_fingerprint"), "old");
    EXPECT_EQ(rows(index, "SELECT (SELECT COUNT(*) FROM commits), COUNT(*) FROM refs"),
              QStringList {"0|1"});

    const auto lastIndexedAt = [&](const QString &text) {
        index.setMetadata(text, "last_indexed_at");
        return index.snapshot().lastIndexedAt;
    };
    EXPECT_EQ(lastIndexedAt("1700000000.5"), at(1700000000.5));
    EXPECT_EQ(lastIndexedAt("1.7e9"), at(1700000000));
    for (const char *bad : {" 1700000000.0", "\t1700000000.0", "1700000000.0 ", "1700000000,5",
                            "1700000000.0x", "", "-", "yesterday", "1e999999"})
        EXPECT_EQ(lastIndexedAt(QString::fromUtf8(bad)), std::nullopt) << '"' << bad << '"';
}

TEST_F(RepositoryIndexTest, ApplyStoresACommitWithEveryRelatedRow)
{
    IndexedFileChange renamed = change("src/new.cpp", 5, 1, "R087");
    renamed.oldPath = "src/old.cpp";
    IndexedCommit first = commit("c1", {"p0", "p1"}, day0, {change("README", 10, 2), renamed});
    first.body = QString();

    const RepositoryIndexSnapshot snapshot
        = index.apply(batch({first, commit("root", {}, day0)}, {"c1", "root"},
                            {{"main", "branch", "c1"}}, "refs-1", double(day0) + 0.25));
    EXPECT_EQ(snapshot, (RepositoryIndexSnapshot {2, 1, 2, 2, 1, at(double(day0) + 0.25)}));
    EXPECT_EQ(index.snapshot(), snapshot);
    EXPECT_EQ(rows(index,
                   "SELECT c.sha, a.canonical_name, aa.name, aa.email, c.committer_name, "
                   "c.committer_email, c.author_time, c.committer_time, c.subject, c.body, "
                   "c.is_merge, c.is_reachable, (SELECT group_concat(parent_sha || '@' || "
                   "position) FROM commit_parents WHERE commit_id = c.id) FROM commits c "
                   "JOIN author_aliases aa ON aa.id = c.author_alias_id "
                   "JOIN authors a ON a.id = aa.author_id ORDER BY c.sha"),
              QStringList({"c1|Ada Lovelace|Ada Lovelace|ada@example.com|Committer Ada Lovelace|"
                           "committer@example.com|1700000000|1700000060|Subject of c1||1|1|"
                           "p0@0,p1@1",
                           "root|Ada Lovelace|Ada Lovelace|ada@example.com|Committer Ada "
                           "Lovelace|committer@example.com|1700000000|1700000060|Subject of "
                           "root|Body of root|0|1|NULL"}));
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
                   "WHERE commit_search MATCH 'lovelace' ORDER BY sha"),
              QStringList({"c1|Subject of c1||Ada Lovelace|ada@example.com",
                           "root|Subject of root|Body of root|Ada Lovelace|ada@example.com"}));
    EXPECT_EQ(rows(index, "PRAGMA foreign_key_check"), QStringList());
    EXPECT_EQ(index.metadata("ref_fingerprint"), "refs-1");
    EXPECT_EQ(index.metadata("last_indexed_at"), "1700000000.25");
}

TEST_F(RepositoryIndexTest, HistoryRewriteKeepsDroppedCommitsOutOfCountsAndAggregates)
{
    // A commit without changes counts in its day too, before 1970 as well.
    index.apply(
        batch({commit("c0", {}, -86400 * 365), commit("c1", {}, day0, {change("a", 1, 0, "A")}),
               commit("c2", {"c1"}, day0 + oneDay, {change("a", 20, 3)}),
               commit("c3", {"c2"}, day0 + oneDay, {change("b", 300, 0, "A")}, "Grace Hopper",
                      "grace@example.com")},
              {"c0", "c1", "c2", "c3"}, {{"main", "branch", "c3"}}, "before"));
    const QString days
        = "SELECT day, commits, additions, deletions FROM daily_activity ORDER BY day";
    EXPECT_EQ(rows(index, days),
              QStringList({"1969-01-01|1|0|0", "2023-11-14|1|1|0", "2023-11-15|2|320|3"}));

    // c2 and c3 are rewritten into c4.
    const RepositoryIndexSnapshot snapshot
        = index.apply(batch({commit("c4", {"c1"}, day0 + 2 * oneDay, {change("a", 4000, 0)})},
                            {"c0", "c1", "c4"}, {{"main", "branch", "c4"}}, "after"));
    EXPECT_EQ(rows(index, "SELECT sha, is_reachable FROM commits ORDER BY sha"),
              QStringList({"c0|1", "c1|1", "c2|0", "c3|0", "c4|1"}));
    EXPECT_EQ(snapshot.commits, 3);
    EXPECT_EQ(snapshot.authors, 2); // rows of unreachable commits still count
    EXPECT_EQ(snapshot.changes, 4);
    EXPECT_EQ(rows(index, days),
              QStringList({"1969-01-01|1|0|0", "2023-11-14|1|1|0", "2023-11-16|1|4000|0"}));
    EXPECT_EQ(rows(index,
                   "SELECT a.canonical_name, d.day, d.commits, d.additions "
                   "FROM author_daily_activity d JOIN authors a ON a.id = d.author_id "
                   "ORDER BY d.day"),
              QStringList({"Ada Lovelace|1969-01-01|1|0", "Ada Lovelace|2023-11-14|1|1",
                           "Ada Lovelace|2023-11-16|1|4000"}));
    EXPECT_EQ(index.storedCommitHashes(), QSet<QString>({"c0", "c1", "c2", "c3", "c4"}));

    // Reachable again after the rewrite is undone, without being handed over again.
    EXPECT_EQ(index.apply(batch({}, {"c1", "c2", "c3"}, {}, "undone")).commits, 3);
}

TEST_F(RepositoryIndexTest, OnceBinaryAlwaysBinary)
{
    // Within one batch: textual, then binary, then textual again; then in a later batch, where
    // nothing of the first is cached.
    index.apply(batch({commit("c1", {}, day0, {change("logo.svg", 4, 0, "A")}),
                       commit("c2", {"c1"}, day0, {change("logo.svg")}),
                       commit("c3", {"c2"}, day0, {change("logo.svg", 2, 1)})},
                      {"c1", "c2", "c3"}, {}, "f"));
    index.apply(batch({commit("c4", {"c3"}, day0, {change("logo.svg", 1, 1)}),
                       commit("c5", {"c4"}, day0, {change("icon.png")})},
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
                   "JOIN authors a ON a.id = aa.author_id GROUP BY aa.id ORDER BY aa.id"),
              QStringList({"Ada|Ada|ada@home|c1,c4", "Ada|Ada|ada@work|c2,c5",
                           "ada|ada|ada@home|c3", " Ada| Ada|ada@home|c6"}));
    EXPECT_EQ(index.count("authors"), 3);
    EXPECT_EQ(rows(index,
                   "SELECT a.canonical_name, d.day, d.commits FROM author_daily_activity d "
                   "JOIN authors a ON a.id = d.author_id ORDER BY d.day, a.id"),
              QStringList({"Ada|2023-11-14|3", "ada|2023-11-14|1", "Ada|2023-11-15|1",
                           " Ada|2023-11-15|1"}));
}

TEST_F(RepositoryIndexTest, RefsAndTagsAreReplacedWhole)
{
    index.apply(batch({}, {},
                      {{"main", "branch", "c1"},
                       {"origin/main", "branch", "c0", true},
                       {"v1.0", "branch", "c2"},
                       {"light", "tag", "c1"},
                       {"v1.0", "tag", "c3", false, "tagobject"},
                       {"v2.0", "tag", "c4", false, "tagobject2"}},
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

    index.apply(batch({}, {}, {{"main", "branch", "c9"}}, "g", -0.5));
    EXPECT_EQ(rows(index, "SELECT name, target_sha, updated_at FROM refs"),
              QStringList({"main|c9|0"}));
    EXPECT_EQ(index.count("tags"), 0);
}

// A write that fails part way, on a rule another connection added or on a full disk, leaves the
// index as it was, on disk too; once the obstacle is gone the same batch goes through whole.
TEST_F(RepositoryIndexTest, FailedWriteLeavesTheIndexAsItWas)
{
    const struct
    {
        const char *error;
        std::function<void(RepositoryIndex &, const QString &)> obstruct;
    } obstacles[] = {
        {"SQLite step failed: rejected commit",
         [](RepositoryIndex &, const QString &path) {
             SQLiteDatabase(path).execute(
                 "CREATE TRIGGER reject BEFORE INSERT ON commits WHEN NEW.sha = 'bad' "
                 "BEGIN SELECT RAISE(ABORT, 'rejected commit'); END");
         }},
        // The page limit holds for this connection only: reopening lifts it.
        {"database or disk is full",
         [](RepositoryIndex &index, const QString &) {
             index.read([](SQLiteDatabase &database) {
                 SQLiteStatement pages = database.statement("PRAGMA page_count");
                 pages.step();
                 database.execute(
                     QStringLiteral("PRAGMA max_page_count = %1").arg(pages.columnInt64(0) + 4));
             });
         }},
    };
    QList<IndexedCommit> commits {
        commit("c1", {"c0"}, day0, {change("new-file", 5, 0, "A")}, "Newcomer", "new@example.com"),
        commit("c2", {"c1"}, day0, {change("a")}), commit("bad", {"c2"}, day0)};
    for (int number = 3; number <= 500; ++number) {
        commits << commit(QStringLiteral("c%1").arg(number), {"c0"}, day0,
                          {change(QStringLiteral("file%1").arg(number), 1, 0)});
        commits.last().body = QString(2000, QLatin1Char('x'));
    }
    QStringList reachable {"c0"};
    for (const IndexedCommit &added : commits)
        reachable << added.sha;
    const RepositoryIndexBatch failing
        = batch(commits, reachable, {{"main", "branch", "c3"}, {"v1", "tag", "c1"}}, "new", 1.8e9);

    for (const auto &obstacle : obstacles) {
        SCOPED_TRACE(obstacle.error);
        const QString path
            = m_folder.filePath(QString::fromLatin1(obstacle.error) + "/index.sqlite");
        RepositoryIndexSnapshot before;
        QMap<QString, QStringList> stored;
        {
            RepositoryIndex index(path);
            before = index.apply(batch({commit("c0", {}, day0, {change("a", 1, 0)})}, {"c0"},
                                       {{"main", "branch", "c0"}}, "old", 1.7e9));
            stored = dumpIndex(index);
            obstacle.obstruct(index, path);
            try {
                index.apply(failing);
                ADD_FAILURE() << "the batch was written";
            } catch (const SQLiteError &error) {
                EXPECT_TRUE(error.description().contains(obstacle.error))
                    << error.description().toStdString();
            }
            EXPECT_EQ(index.snapshot(), before);
        }
        // Every row as it was, on disk too.
        RepositoryIndex index(path);
        EXPECT_EQ(index.snapshot(), before);
        EXPECT_EQ(firstDifference(stored, dumpIndex(index)), QString());
        EXPECT_EQ(rows(index, "PRAGMA integrity_check"), QStringList({"ok"}));

        index.read(
            [](SQLiteDatabase &database) { database.execute("DROP TRIGGER IF EXISTS reject"); });
        EXPECT_EQ(index.apply(failing), (RepositoryIndexSnapshot {502, 2, 500, 501, 2, at(1.8e9)}));
        EXPECT_EQ(index.count("commit_search"), 502);
    }
}

TEST_F(RepositoryIndexTest, CallsFromSeveralThreadsRunOneAtATime)
{
    constexpr int rounds = 25;
    const auto writer = [&](const QString &prefix) {
        QStringList reachable;
        for (int round = 0; round < rounds; ++round) {
            const QString sha = prefix + QString::number(round);
            reachable << sha;
            // Each writer keeps only its own commits reachable; the other's get flagged.
            EXPECT_NO_THROW(index.apply(batch({commit(sha, {}, day0 + round, {change(sha, 1, 0)})},
                                              reachable, {{prefix, "branch", sha}}, prefix)));
        }
    };
    std::thread first(writer, "a");
    std::thread second(writer, "b");
    // A half-applied batch would show more reachable commits than one writer has.
    for (int round = 0; round < rounds * 4; ++round)
        EXPECT_NO_THROW(EXPECT_LE(
            std::max<qint64>(index.snapshot().commits, index.count("commits", "is_reachable = 1")),
            rounds));
    first.join();
    second.join();
    EXPECT_EQ(index.count("commits"), 2 * rounds);
    EXPECT_EQ(index.count("commit_search"), 2 * rounds);
}

TEST_F(RepositoryIndexTest, ACommitHandedOverAgainJoinsItsStoredRow)
{
    index.apply(batch({commit("c1", {}, day0, {change("a", 1, 0, "A")})}, {"c1"}, {}, "f"));
    index.apply(batch({}, {}, {}, "g")); // c1 unreachable now
    // Another commit makes the next fresh id differ from c1's, so a wrong id would show.
    index.apply(batch({commit("c2", {}, day0)}, {"c2"}, {}, "h"));
    index.apply(batch({commit("c1", {"p"}, day0, {change("b", 2, 0, "A")})}, {"c2"}, {}, "i"));
    EXPECT_EQ(rows(index,
                   "SELECT c.id, c.sha, c.is_reachable, "
                   "(SELECT group_concat(parent_sha) FROM commit_parents WHERE commit_id = "
                   "c.id), (SELECT COUNT(*) FROM commit_files WHERE commit_id = c.id) "
                   "FROM commits c ORDER BY c.id"),
              QStringList({"1|c1|1|p|2", "2|c2|1|NULL|0"}));
    // One more search row, as for any commit handed over.
    EXPECT_EQ(index.count("commit_search", "sha = 'c1'"), 2);
}

TEST_F(RepositoryIndexTest, StreamedCommitsAreWrittenLikeListedOnes)
{
    constexpr int streamed = 9000; // more than one run of deferred search rows
    QStringList reachable = {"listed"};
    for (int number = 0; number < streamed; ++number)
        reachable << QStringLiteral("s%1").arg(number);
    const RepositoryIndexSnapshot snapshot = index.apply(
        batch({commit("listed", {}, day0, {change("a", 1, 0, "A")})}, reachable, {}, "f"),
        [](const std::function<void(const IndexedCommit &)> &insert) {
            for (int number = 0; number < streamed; ++number)
                insert(commit(QStringLiteral("s%1").arg(number), {}, day0 + number * 60,
                              {change("a", 1, 1)}));
        });
    EXPECT_EQ(snapshot.commits, streamed + 1);
    EXPECT_EQ(snapshot.changes, streamed + 1);
    // One search row per commit, in the order the commits came, matching their text.
    EXPECT_EQ(index.count("commit_search"), streamed + 1);
    EXPECT_EQ(rows(index,
                   "SELECT COUNT(*) FROM commit_search s JOIN commits c ON c.id = s.rowid "
                   "AND c.sha = s.sha AND c.subject = s.subject"),
              QStringList {QString::number(streamed + 1)});
    EXPECT_EQ(rows(index, "SELECT sha FROM commit_search WHERE commit_search MATCH 's8999'"),
              QStringList({"s8999"}));
}
