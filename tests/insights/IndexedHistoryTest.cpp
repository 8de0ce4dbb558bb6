// The query language answered from an index, checked against git's own answers where git has
// one, on a history with branches, a merge, a tag and a file renamed twice.

#include "HistoryBuilder.h"

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
class IndexedHistoryTest : public IndexedRepositoryTest
{
protected:
    void SetUp() override
    {
        using Person = std::pair<const char *, const char *>;
        const Person ada {"Ada Lovelace", "ada@example.com"},
            grace {"Grace Hopper", "grace@navy.mil"}, zoe {"Zoë Ünlü", "zoe@example.org"};
        const auto commit = [&](int number, const char *message, const Person &who) {
            commitAt(day(number), message, who.first, who.second);
        };
        repo.write("README", "hello\n");
        repo.write("src/core.c", lines("core", 5));
        repo.write("docs/guide.md", lines("guide", 5));
        repo.write("docsx", "not the docs folder\n");
        repo.write("a.txt", lines("alpha", 40));
        commit(1, "Initial layout", ada);
        repo.write("src/parser.c", lines("parser", 5));
        commit(2, "feat: add parser", grace);
        repo.write("src/core.c", lines("core", 6));
        commit(3, "fix(ui): crash on resize", ada);
        repo.git({"tag", "v1.0"});
        repo.git({"mv", "a.txt", "b.txt"});
        repo.write("b.txt", lines("alpha", 41));
        commit(4, "Rename a to b", ada);
        repo.git({"checkout", "-q", "-b", "topic"});
        repo.write("docs/guide.md", lines("guide", 7));
        commit(5, "docs: explain widgets", zoe);
        repo.write("src/parser.c", lines("parser", 8));
        commit(6, "Widget pipeline tweaks\n\nThe stages frobnicate less.", zoe);
        repo.git({"checkout", "-q", "main"});
        repo.remove("b.txt");
        repo.write("lib/c.txt", lines("alpha", 41));
        commit(7, "Move b into lib", grace);
        repo.setDate(day(8));
        repo.git({"merge", "-q", "--no-ff", "-m", "Merge branch 'topic'", "topic"});
        repo.write("a.txt", "a different file under an old name\n");
        commit(9, "Recreate a", grace);
        repo.write("lib/c.txt", lines("alpha", 42));
        commit(10, "fix: lib edge case", ada);
        synchronize();
    }

    static QString day(int number)
    {
        return QStringLiteral("2024-01-%1T12:00:00Z").arg(number, 2, 10, QLatin1Char('0'));
    }

    static QStringList subjectsOf(const QList<CommitRecord> &commits)
    {
        QStringList result;
        for (const CommitRecord &commit : commits)
            result << commit.subject;
        return result;
    }
};

// A query and git log's arguments for the same answer, or the answer's subjects, '|'-separated.
using QueryCase = std::pair<const char *, const char *>;

TEST_F(IndexedHistoryTest, EveryTermAloneAndCombinedAnswersAsGitDoes)
{
    // A day is its midnight, which git reads as a day only with the time spelt out.
    const QueryCase cases[] = {
        {"", "--all"},
        {"author:grace", "--all|-i|-F|--author=grace"},
        {"author:NAVY.MIL", "--all|-i|-F|--author=NAVY.MIL"},
        {"author:nobody", "--all|--author=nobody"},
        {"path:src/", "--all|--no-merges|--|src/"},
        {"path:src", "--all|--no-merges|--|src"},
        {"path:docs", "--all|--no-merges|--|docs"},
        {"path:docsx", "--all|--no-merges|--|docsx"},
        {"path:src/core.c", "--all|--no-merges|--|src/core.c"},
        {"path:nowhere/", "--all|--no-merges|--|nowhere/"},
        {"after:2024-01-05", "--all|--after=2024-01-05 00:00:00"},
        {"before:2024-01-04", "--all|--before=2024-01-04 00:00:00"},
        {"after:2024-01-05 before:2024-01-04",
         "--all|--after=2024-01-05 00:00:00|--before=2024-01-04 00:00:00"},
        {"merges:no", "--all|--no-merges"},
        {"merges:only", "--all|--merges"},
        {"ref:topic", "topic"},
        {"ref:v1.0", "v1.0"},
        {"ref:refs/heads/main", "main"},
        {"frobnicate", "--all|-i|--grep=frobnicate"},
        {"widget", "--all|-i|--grep=widget"},
        {"\"crash on resize\"", "--all|-i|--grep=crash on resize"},
        {"stages less", "--all|-i|--all-match|--grep=stages|--grep=less"},
        {"author:ada path:src/ after:2024-01-02",
         "--all|--no-merges|-i|-F|--author=ada|--after=2024-01-02 00:00:00|--|src/"},
        {"widg author:zoe merges:no", "--all|--no-merges|-i|--all-match|--author=zoe|--grep=widg"},
        {"ref:topic path:docs/ before:2024-01-06", "--before=2024-01-06 00:00:00|topic|--|docs/"},
    };
    for (const auto &[query, gitArguments] : cases)
        EXPECT_EQ(subjects(QString::fromUtf8(query)), gitSubjects(gitArguments)) << query;
}

TEST_F(IndexedHistoryTest, TermsGitCannotAskAnswerFromTheIndex)
{
    const QueryCase cases[] = {
        {"type:fix", "fix: lib edge case|fix(ui): crash on resize"},
        {"type:docs", "docs: explain widgets"},
        {"type:feat author:ada", ""},
        // A file's commits under its earlier names as well; git's plain -- b.txt has only the
        // two commits that made and moved b.txt.
        {"path:b.txt", "Move b into lib|Rename a to b|Initial layout"},
        // Letter case of any script, in names as in e-mails.
        {"author:ÜNLÜ", "Widget pipeline tweaks|docs: explain widgets"},
        // A word matches the words it begins, not those it is inside of; a phrase whole words.
        {"idget", ""},
        {"\"explain widget\"", ""},
        // The full-text engine's operators are plain words here.
        {"NOT OR", ""},
        // A folder is no file: it lists what happened under it, not under earlier names.
        {"path:lib/", "fix: lib edge case|Move b into lib"},
    };
    for (const auto &[query, answer] : cases)
        EXPECT_EQ(subjects(QString::fromUtf8(query)), parts(answer)) << query;
}

TEST_F(IndexedHistoryTest, AFileFollowsItsEarlierNamesAsGitFollowDoes)
{
    // lib/c.txt was b.txt, which was a.txt; the later a.txt is another file.
    const QStringList expected = gitSubjects("--follow|--|lib/c.txt");
    EXPECT_EQ(expected, parts("fix: lib edge case|Move b into lib|Rename a to b|Initial layout"));
    EXPECT_EQ(subjects("path:lib/c.txt"), expected);
}

TEST_F(IndexedHistoryTest, WordsMatchWhenSearchRowsAreNumberedApartFromCommits)
{
    read([](SQLiteDatabase &database) {
        database.execute("UPDATE commit_search SET rowid = rowid + 1000");
    });
    EXPECT_EQ(subjects("frobnicate"), QStringList {"Widget pipeline tweaks"});
}

TEST_F(IndexedHistoryTest, PagingNeitherSkipsNorRepeatsWhileCommitsArrive)
{
    for (const bool byCursor : {true, false}) {
        SCOPED_TRACE(byCursor ? "cursor" : "offset");
        const QStringList before = gitSubjects("--all");
        read([&](SQLiteDatabase &database) {
            IndexedHistory history(database, HistoryQuery::parse({}));
            HistoryPage page = history.pageAfter(std::nullopt, 4);
            QStringList seen = subjectsOf(page.commits);

            // A new commit on top and a branch with an old date, which sorts between the rows
            // already read and those still to come.
            repo.setDate(day(byCursor ? 20 : 21));
            repo.commit(QStringLiteral("Arrived on top %1").arg(byCursor));
            repo.git({"checkout", "-q", "-b", QStringLiteral("late-%1").arg(byCursor), "v1.0"});
            repo.setDate(day(3));
            repo.commit(QStringLiteral("Arrived in the middle %1").arg(byCursor));
            repo.git({"checkout", "-q", "main"});
            synchronize();

            for (int offset = 4;; offset += 3) {
                const QList<CommitRecord> more = byCursor
                    ? (page = history.pageAfter(page.end, 3)).commits
                    : history.page(offset, 3);
                if (more.isEmpty())
                    break;
                seen << subjectsOf(more);
            }
            EXPECT_EQ(seen, before);
        });
    }
}

TEST_F(IndexedHistoryTest, RowsCarryWhatGitsHistoryListShows)
{
    read([&](SQLiteDatabase &database) {
        IndexedHistory history(database, HistoryQuery::parse("frobnicate"));
        const QList<CommitRecord> rows = history.page(0, 0);
        ASSERT_EQ(rows.size(), 1);
        const CommitRecord &row = rows.first();
        EXPECT_EQ(row.id, repo.git({"rev-parse", "topic"}).trimmed());
        EXPECT_EQ(row.shortHash, row.id.left(7));
        EXPECT_EQ(row.author + ' ' + row.email, "Zoë Ünlü zoe@example.org");
        EXPECT_EQ(row.date, utcDate("2024-01-06T12:00:00Z"));
        EXPECT_EQ(row.subject + '|' + row.body,
                  "Widget pipeline tweaks|The stages frobnicate less.");
        EXPECT_EQ(std::make_tuple(row.additions, row.deletions, row.filesChanged),
                  std::make_tuple(3, 0, 1));

        // Rows without bodies, as a long list keeps them, give each body when asked.
        history.setReadsBodies(false);
        EXPECT_EQ(history.page(0, 0).value(0, row).body, QString());
        EXPECT_EQ(history.body(row.id), row.body);
        EXPECT_EQ(history.body(row.id.left(39)), QString());
    });
}

} // namespace
