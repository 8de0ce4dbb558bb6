// The summary answered from an up-to-date index against the summary from git's own walk: the
// same values on every history, and git's walk whenever the index cannot answer exactly.

#include "HistoryScript.h"
#include "git/GitService.h"

#include <gtest/gtest.h>

#include <functional>

using namespace strataloom;

TEST(IndexedSummary, equalsTheSummaryOfGitsWalk)
{
    const auto merged = [](TestRepository &r) { writeHistory(r, mergesOfMerges()); };
    const struct
    {
        const char *name;
        bool indexAnswers;
        std::function<void(TestRepository &)> build; ///< before the index is synchronised
        std::function<void(TestRepository &)> after; ///< after it: what leaves it behind
    } cases[] = {
        // clang-format off
        {"merges of merges", true, merged, {}},
        {"a mailmap joins names and addresses", true, [&](TestRepository &r) {
             merged(r);
             r.write(".mailmap", "Bob <p0@example.com>\n"
                                 "Ada Lovelace <ada@example.com> <p1@example.com>\n");
         }, {}},
        {"several roots", true, [](TestRepository &r) {
             writeHistory(r, scripted({"m1 main 5", "o1 o 1", "o2 o 2 o1", "m3 main 6 m1 o2",
                                       "p1 p 3", "m5 main 9 m3 p1", "q1 lone 10"}));
         }, {}},
        {"clock skew orders the walk", true, [](TestRepository &r) {
             writeHistory(r, scripted({"m1 main 10", "m2 main 1 m1", "f1 f 30 m1",
                                       "m3 main 31 m2 f1", "g1 g 2 m2", "m4 main 32 m3 g1",
                                       "h1 h 20 m4", "m5 main 50 h1"}));
         }, {}},
        {"tangled history", true,
         [](TestRepository &r) { writeHistory(r, tangledHistory(300, 3)); }, {}},
        {"detached HEAD on a branch", true, [&](TestRepository &r) {
             merged(r);
             r.git({"checkout", "-q", "--detach", "a^1"});
         }, {}},
        {"detached HEAD off every branch", true, [&](TestRepository &r) {
             merged(r);
             r.git({"checkout", "-q", "--detach", "c"});
             r.commit("on no branch", "Zed", "z@example.com");
         }, {}},
        {"empty repository", false, [](TestRepository &) {}, {}},
        {"index one commit behind", false, merged,
         [](TestRepository &r) { r.commit("later", "Zed", "z@example.com"); }},
        {"HEAD moved within the indexed history", false, merged,
         [](TestRepository &r) { r.git({"checkout", "-q", "c"}); }},
        // clang-format on
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        IndexedRepository fixture;
        TestRepository &repository = fixture.repository;
        c.build(repository);
        fixture.synchronize();
        if (c.after)
            c.after(repository);

        bool answered = false;
        const HeadHistorySource fromIndex = [&](const QString &head) {
            std::optional<QList<HeadWalkCommit>> walk;
            if (const auto history = fixture.graph())
                walk = history->headWalk(head, repository.path());
            answered = walk.has_value();
            return walk;
        };
        QList<AuthorStat> gitAuthors, indexAuthors;
        const RepositorySummary expected = GitService().loadSummary(repository.path(), &gitAuthors);
        EXPECT_EQ(GitService().loadSummary(repository.path(), &indexAuthors, fromIndex), expected);
        EXPECT_EQ(answered, c.indexAnswers);
        EXPECT_EQ(indexAuthors, gitAuthors);
        if (!answered)
            continue;

        // The walk itself follows git's order, with mailmapped names.
        const auto walk = fixture.graph()->headWalk(repository.git({"rev-parse", "HEAD"}).trimmed(),
                                                    repository.path());
        ASSERT_TRUE(walk);
        QStringList ours, gits;
        for (const HeadWalkCommit &commit : *walk)
            ours << QStringLiteral("%1 %2 %3 <%4>")
                        .arg(commit.committerTime)
                        .arg(commit.isRoot ? "root" : "child")
                        .arg(QString::fromUtf8(commit.authorName),
                             QString::fromUtf8(commit.authorEmail));
        for (const QString &line : repository.git({"log", "--format=%ct %P%x01%aN <%aE>", "HEAD"})
                                       .split(u'\n', Qt::SkipEmptyParts)) {
            const QStringList head = line.section(QChar(1), 0, 0).split(' ', Qt::SkipEmptyParts);
            gits << QStringLiteral("%1 %2 %3")
                        .arg(head[0], head.size() > 1 ? "child" : "root",
                             line.section(QChar(1), 1));
        }
        EXPECT_EQ(ours, gits);
    }
}
