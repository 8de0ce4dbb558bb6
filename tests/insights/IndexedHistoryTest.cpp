// The query language answered from an index, checked against git's own answers where git has
// one, on a history with branches, a merge, a tag and a file renamed twice.

#include "insights/IndexedHistory.h"
#include "TestRepository.h"
#include "index/RepositoryIndexer.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace strataloom;

namespace {

QByteArray lines(const char *seed, int count)
{
    QByteArray text;
    for (int i = 0; i < count; ++i)
        text += QByteArray(seed) + ' ' + QByteArray::number(i) + '\n';
    return text;
}

/**
 * One commit a day from 2024-01-01 at noon UTC:
 *   1 Initial layout         Ada    README, src/core.c, docs/guide.md, docsx, a.txt
 *   2 feat: add parser       Grace  src/parser.c
 *   3 fix(ui): crash on resize  Ada src/core.c                       (tag v1.0)
 *   4 Rename a to b          Ada    a.txt -> b.txt
 *   5 docs: explain widgets  Zoë    docs/guide.md                    (branch topic)
 *   6 Widget pipeline tweaks Zoë    src/parser.c, body "frobnicate"  (branch topic)
 *   7 Move b into lib        Grace  b.txt -> lib/c.txt
 *   8 Merge branch 'topic'   Ada
 *   9 Recreate a             Grace  a new a.txt
 *  10 fix: lib edge case     Ada    lib/c.txt
 */
class IndexedHistoryTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        const QString ada = QStringLiteral("Ada Lovelace");
        const QString adaMail = QStringLiteral("ada@example.com");
        const QString grace = QStringLiteral("Grace Hopper");
        const QString graceMail = QStringLiteral("grace@navy.mil");
        const QString zoe = QStringLiteral("Zoë Ünlü");
        const QString zoeMail = QStringLiteral("zoe@example.org");

        day(1);
        repo.write(QStringLiteral("README"), "hello\n");
        repo.write(QStringLiteral("src/core.c"), lines("core", 5));
        repo.write(QStringLiteral("docs/guide.md"), lines("guide", 5));
        repo.write(QStringLiteral("docsx"), "not the docs folder\n");
        repo.write(QStringLiteral("a.txt"), lines("alpha", 40));
        repo.commit(QStringLiteral("Initial layout"), ada, adaMail);
        day(2);
        repo.write(QStringLiteral("src/parser.c"), lines("parser", 5));
        repo.commit(QStringLiteral("feat: add parser"), grace, graceMail);
        day(3);
        repo.write(QStringLiteral("src/core.c"), lines("core", 6));
        repo.commit(QStringLiteral("fix(ui): crash on resize"), ada, adaMail);
        repo.git({QStringLiteral("tag"), QStringLiteral("v1.0")});
        day(4);
        repo.git({QStringLiteral("mv"), QStringLiteral("a.txt"), QStringLiteral("b.txt")});
        repo.write(QStringLiteral("b.txt"), lines("alpha", 41));
        repo.commit(QStringLiteral("Rename a to b"), ada, adaMail);
        repo.git({QStringLiteral("checkout"), QStringLiteral("-q"), QStringLiteral("-b"),
                  QStringLiteral("topic")});
        day(5);
        repo.write(QStringLiteral("docs/guide.md"), lines("guide", 7));
        repo.commit(QStringLiteral("docs: explain widgets"), zoe, zoeMail);
        day(6);
        repo.write(QStringLiteral("src/parser.c"), lines("parser", 8));
        repo.commit(QStringLiteral("Widget pipeline tweaks\n\nThe stages frobnicate less."), zoe,
                    zoeMail);
        repo.git({QStringLiteral("checkout"), QStringLiteral("-q"), QStringLiteral("main")});
        day(7);
        repo.remove(QStringLiteral("b.txt"));
        repo.write(QStringLiteral("lib/c.txt"), lines("alpha", 41));
        repo.commit(QStringLiteral("Move b into lib"), grace, graceMail);
        day(8);
        repo.git({QStringLiteral("merge"), QStringLiteral("-q"), QStringLiteral("--no-ff"),
                  QStringLiteral("-m"), QStringLiteral("Merge branch 'topic'"),
                  QStringLiteral("topic")});
        day(9);
        repo.write(QStringLiteral("a.txt"), "a different file under an old name\n");
        repo.commit(QStringLiteral("Recreate a"), grace, graceMail);
        day(10);
        repo.write(QStringLiteral("lib/c.txt"), lines("alpha", 42));
        repo.commit(QStringLiteral("fix: lib edge case"), ada, adaMail);

        synchronize();
    }

    void day(int number)
    {
        repo.setDate(QStringLiteral("2024-01-%1T12:00:00Z").arg(number, 2, 10, QLatin1Char('0')));
    }

    void synchronize() { RepositoryIndexer(index).synchronize(repo.path()); }

    /// Subjects of git log's answer for @p arguments, newest first.
    QStringList gitSubjects(const QStringList &arguments)
    {
        return repo
            .git(QStringList {QStringLiteral("log"), QStringLiteral("--format=%s")} + arguments)
            .split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    }

    static QStringList subjects(const QList<CommitRecord> &commits)
    {
        QStringList result;
        for (const CommitRecord &commit : commits)
            result << commit.subject;
        return result;
    }

    /// The whole answer to @p query, checked against its own count.
    QStringList answer(const QString &query)
    {
        return index.read([&](SQLiteDatabase &database) {
            IndexedHistory history(database, HistoryQuery::parse(query));
            const QStringList all = subjects(history.page(0, 0));
            EXPECT_EQ(history.count(), all.size()) << query.toStdString();
            return all;
        });
    }

    TestRepository repo;
    QTemporaryDir folder;
    RepositoryIndex index {folder.filePath(QStringLiteral("index.sqlite"))};
};

struct GitCase
{
    const char *query;
    QStringList gitArguments; ///< after `git log --all`, or instead of --all for a ref
    bool allRefs = true;
};

TEST_F(IndexedHistoryTest, EveryTermAloneAndCombinedAnswersAsGitDoes)
{
    // A day is its midnight, which git reads as a day only with the time spelt out.
    const QString after = QStringLiteral("--after=2024-01-05 00:00:00");
    const QString before = QStringLiteral("--before=2024-01-04 00:00:00");
    const QString noMerges = QStringLiteral("--no-merges");
    const QString ignoreCase = QStringLiteral("-i");
    const QString fixed = QStringLiteral("-F");
    const QString dashes = QStringLiteral("--");
    const GitCase cases[] = {
        {"", {}},
        {"author:grace", {ignoreCase, fixed, QStringLiteral("--author=grace")}},
        {"author:NAVY.MIL", {ignoreCase, fixed, QStringLiteral("--author=NAVY.MIL")}},
        {"author:nobody", {QStringLiteral("--author=nobody")}},
        {"path:src/", {noMerges, dashes, QStringLiteral("src/")}},
        {"path:src", {noMerges, dashes, QStringLiteral("src")}},
        {"path:docs", {noMerges, dashes, QStringLiteral("docs")}},
        {"path:docsx", {noMerges, dashes, QStringLiteral("docsx")}},
        {"path:src/core.c", {noMerges, dashes, QStringLiteral("src/core.c")}},
        {"path:nowhere/", {noMerges, dashes, QStringLiteral("nowhere/")}},
        {"after:2024-01-05", {after}},
        {"before:2024-01-04", {before}},
        {"after:2024-01-05 before:2024-01-04", {after, before}},
        {"merges:no", {noMerges}},
        {"merges:only", {QStringLiteral("--merges")}},
        {"ref:topic", {QStringLiteral("topic")}, false},
        {"ref:v1.0", {QStringLiteral("v1.0")}, false},
        {"ref:refs/heads/main", {QStringLiteral("main")}, false},
        {"frobnicate", {ignoreCase, QStringLiteral("--grep=frobnicate")}},
        {"widget", {ignoreCase, QStringLiteral("--grep=widget")}},
        {"\"crash on resize\"", {ignoreCase, QStringLiteral("--grep=crash on resize")}},
        {"stages less",
         {ignoreCase, QStringLiteral("--all-match"), QStringLiteral("--grep=stages"),
          QStringLiteral("--grep=less")}},
        {"author:ada path:src/ after:2024-01-02",
         {noMerges, ignoreCase, fixed, QStringLiteral("--author=ada"),
          QStringLiteral("--after=2024-01-02 00:00:00"), dashes, QStringLiteral("src/")}},
        {"widg author:zoe merges:no",
         {noMerges, ignoreCase, QStringLiteral("--all-match"), QStringLiteral("--author=zoe"),
          QStringLiteral("--grep=widg")}},
        {"ref:topic path:docs/ before:2024-01-06",
         {QStringLiteral("--before=2024-01-06 00:00:00"), QStringLiteral("topic"), dashes,
          QStringLiteral("docs/")},
         false},
    };
    for (const GitCase &test : cases) {
        SCOPED_TRACE(test.query);
        const QStringList expected
            = gitSubjects((test.allRefs ? QStringList {QStringLiteral("--all")} : QStringList {})
                          + test.gitArguments);
        EXPECT_EQ(answer(QString::fromUtf8(test.query)), expected);
    }
}

struct ExpectedCase
{
    const char *query;
    QStringList subjects;
};

TEST_F(IndexedHistoryTest, TermsGitCannotAskAnswerFromTheIndex)
{
    const ExpectedCase cases[] = {
        {"type:fix",
         {QStringLiteral("fix: lib edge case"), QStringLiteral("fix(ui): crash on resize")}},
        {"type:docs", {QStringLiteral("docs: explain widgets")}},
        {"type:feat author:ada", {}},
        // A file's commits under its earlier names as well; git's plain -- b.txt has only the
        // two commits that made and moved b.txt.
        {"path:b.txt",
         {QStringLiteral("Move b into lib"), QStringLiteral("Rename a to b"),
          QStringLiteral("Initial layout")}},
        // Letter case of any script, in names as in e-mails.
        {"author:ÜNLÜ",
         {QStringLiteral("Widget pipeline tweaks"), QStringLiteral("docs: explain widgets")}},
        // A word matches the words it begins, not those it is inside of; a phrase whole words.
        {"idget", {}},
        {"\"explain widget\"", {}},
        // The full-text engine's operators are plain words here.
        {"NOT OR", {}},
    };
    for (const ExpectedCase &test : cases) {
        SCOPED_TRACE(test.query);
        EXPECT_EQ(answer(QString::fromUtf8(test.query)), test.subjects);
    }
}

TEST_F(IndexedHistoryTest, AFileFollowsItsEarlierNamesAsGitFollowDoes)
{
    // lib/c.txt was b.txt, which was a.txt; the later a.txt is another file.
    const QStringList expected = gitSubjects(
        {QStringLiteral("--follow"), QStringLiteral("--"), QStringLiteral("lib/c.txt")});
    EXPECT_EQ(expected,
              QStringList({QStringLiteral("fix: lib edge case"), QStringLiteral("Move b into lib"),
                           QStringLiteral("Rename a to b"), QStringLiteral("Initial layout")}));
    EXPECT_EQ(answer(QStringLiteral("path:lib/c.txt")), expected);
    // A folder is no file: it lists what happened under it, not under earlier names.
    EXPECT_EQ(
        answer(QStringLiteral("path:lib/")),
        QStringList({QStringLiteral("fix: lib edge case"), QStringLiteral("Move b into lib")}));
}

TEST_F(IndexedHistoryTest, WordsMatchWhenSearchRowsAreNumberedApartFromCommits)
{
    index.read([](SQLiteDatabase &database) {
        database.execute(QStringLiteral("UPDATE commit_search SET rowid = rowid + 1000"));
    });
    EXPECT_EQ(answer(QStringLiteral("frobnicate")),
              QStringList {QStringLiteral("Widget pipeline tweaks")});
}

TEST_F(IndexedHistoryTest, AnUnknownRefIsAnErrorAtItsTerm)
{
    try {
        answer(QStringLiteral("fix ref:nope"));
        ADD_FAILURE() << "no error";
    } catch (const HistoryQueryError &error) {
        EXPECT_TRUE(error.message().contains(QStringLiteral("unknown ref \"nope\"")));
        EXPECT_EQ(error.position(), 4);
        EXPECT_EQ(error.length(), 8);
    }
}

TEST_F(IndexedHistoryTest, PagingNeitherSkipsNorRepeatsWhileCommitsArrive)
{
    for (const bool byCursor : {true, false}) {
        SCOPED_TRACE(byCursor ? "cursor" : "offset");
        const QStringList before = gitSubjects({QStringLiteral("--all")});
        index.read([&](SQLiteDatabase &database) {
            IndexedHistory history(database, HistoryQuery::parse({}));
            HistoryPage page = history.pageAfter(std::nullopt, 4);
            QStringList seen = subjects(page.commits);

            // A new commit on top and a branch with an old date, which sorts between the rows
            // already read and those still to come.
            day(byCursor ? 20 : 21);
            repo.commit(QStringLiteral("Arrived on top %1").arg(byCursor));
            repo.git({QStringLiteral("checkout"), QStringLiteral("-q"), QStringLiteral("-b"),
                      QStringLiteral("late-%1").arg(byCursor), QStringLiteral("v1.0")});
            day(3);
            repo.commit(QStringLiteral("Arrived in the middle %1").arg(byCursor));
            repo.git({QStringLiteral("checkout"), QStringLiteral("-q"), QStringLiteral("main")});
            synchronize();

            for (int offset = 4;; offset += 3) {
                const QList<CommitRecord> more = byCursor
                    ? (page = history.pageAfter(page.end, 3)).commits
                    : history.page(offset, 3);
                if (more.isEmpty())
                    break;
                seen << subjects(more);
            }
            EXPECT_EQ(seen, before);
        });
    }
}

TEST_F(IndexedHistoryTest, RowsCarryWhatGitsHistoryListShows)
{
    const QList<CommitRecord> rows = index.read([](SQLiteDatabase &database) {
        return IndexedHistory(database, HistoryQuery::parse(QStringLiteral("frobnicate")))
            .page(0, 0);
    });
    ASSERT_EQ(rows.size(), 1);
    const CommitRecord &row = rows.first();
    EXPECT_EQ(row.id, repo.git({QStringLiteral("rev-parse"), QStringLiteral("topic")}).trimmed());
    EXPECT_EQ(row.shortHash, row.id.left(7));
    EXPECT_EQ(row.author, QStringLiteral("Zoë Ünlü"));
    EXPECT_EQ(row.email, QStringLiteral("zoe@example.org"));
    EXPECT_EQ(row.date, utcDate("2024-01-06T12:00:00Z"));
    EXPECT_EQ(row.subject, QStringLiteral("Widget pipeline tweaks"));
    EXPECT_EQ(row.body, QStringLiteral("The stages frobnicate less."));
    EXPECT_EQ(row.additions, 3);
    EXPECT_EQ(row.deletions, 0);
    EXPECT_EQ(row.filesChanged, 1);

    // Rows without bodies, as a long list keeps them, give each body when asked.
    index.read([&](SQLiteDatabase &database) {
        IndexedHistory history(database, HistoryQuery::parse(QStringLiteral("frobnicate")));
        history.setReadsBodies(false);
        const QList<CommitRecord> bare = history.page(0, 0);
        ASSERT_EQ(bare.size(), 1);
        EXPECT_EQ(bare.first().body, QString());
        EXPECT_EQ(history.body(row.id), row.body);
        EXPECT_EQ(history.body(rows.first().id.left(39)), QString());
    });
}

} // namespace
