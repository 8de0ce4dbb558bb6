// The summary answered from an up-to-date index against the summary from git's own walk: the
// same values on every history, and git's walk whenever the index cannot answer exactly.

#include "HistoryScript.h"
#include "git/GitService.h"

#include <gtest/gtest.h>

#include <functional>

using namespace strataloom;

namespace {

struct SummaryCase
{
    const char *name;
    std::function<void(TestRepository &)> build; ///< before the index is synchronised
    std::function<void(TestRepository &)> after; ///< after it: what leaves it behind
    bool indexAnswers;
};

void PrintTo(const SummaryCase &summaryCase, std::ostream *out)
{
    *out << summaryCase.name;
}

void writeMergedBranches(TestRepository &repository)
{
    writeHistory(repository, mergesOfMerges());
}

const SummaryCase summaryCases[] = {
    {"mergesOfMerges", writeMergedBranches, {}, true},
    {"mailmapJoinsNamesAndAddresses",
     [](TestRepository &r) {
         writeMergedBranches(r);
         r.write(".mailmap",
                 "Bob <p0@example.com>\nAda Lovelace <ada@example.com> <p1@example.com>\n");
     },
     {},
     true},
    {"severalRoots",
     [](TestRepository &r) {
         writeHistory(r,
                      scripted({"m1 main 5", "o1 o 1", "o2 o 2 o1", "m3 main 6 m1 o2", "p1 p 3",
                                "m5 main 9 m3 p1", "q1 lone 10"}));
     },
     {},
     true},
    {"clockSkewOrdersTheWalk",
     [](TestRepository &r) {
         writeHistory(r,
                      scripted({"m1 main 10", "m2 main 1 m1", "f1 f 30 m1", "m3 main 31 m2 f1",
                                "g1 g 2 m2", "m4 main 32 m3 g1", "h1 h 20 m4", "m5 main 50 h1"}));
     },
     {},
     true},
    {"tangledHistory",
     [](TestRepository &r) { writeHistory(r, tangledHistory(300, 3)); },
     {},
     true},
    {"detachedHeadOnABranch",
     [](TestRepository &r) {
         writeMergedBranches(r);
         r.git({"checkout", "-q", "--detach", "a^1"});
     },
     {},
     true},
    {"detachedHeadOffEveryBranch",
     [](TestRepository &r) {
         writeMergedBranches(r);
         r.git({"checkout", "-q", "--detach", "c"});
         r.commit("on no branch", "Zed", "z@example.com");
     },
     {},
     true},
    {"emptyRepository", [](TestRepository &) {}, {}, false},
    {"indexOneCommitBehind", writeMergedBranches,
     [](TestRepository &r) { r.commit("later", "Zed", "z@example.com"); }, false},
    {"headMovedWithinTheIndexedHistory", writeMergedBranches,
     [](TestRepository &r) {
         r.git({"checkout", "-q", "c"});
     },
     false},
};

class IndexedSummary : public testing::TestWithParam<SummaryCase>
{
};

TEST_P(IndexedSummary, equalsTheSummaryOfGitsWalk)
{
    IndexedRepository fixture;
    TestRepository &repository = fixture.repository;
    GetParam().build(repository);
    fixture.synchronize();
    if (GetParam().after)
        GetParam().after(repository);

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
    const RepositorySummary actual
        = GitService().loadSummary(repository.path(), &indexAuthors, fromIndex);
    EXPECT_EQ(answered, GetParam().indexAnswers);
    EXPECT_EQ(actual, expected);
    EXPECT_EQ(indexAuthors, gitAuthors);
    if (!answered)
        return;

    // The walk itself follows git's order, with mailmapped names.
    const auto walk = fixture.graph()->headWalk(repository.git({"rev-parse", "HEAD"}).trimmed(),
                                                repository.path());
    ASSERT_TRUE(walk);
    QStringList ours;
    for (const HeadWalkCommit &commit : *walk)
        ours << QStringLiteral("%1 %2 %3 <%4>")
                    .arg(commit.committerTime)
                    .arg(commit.isRoot ? "root" : "child")
                    .arg(QString::fromUtf8(commit.authorName),
                         QString::fromUtf8(commit.authorEmail));
    QStringList gits;
    for (const QString &line : repository.git({"log", "--format=%ct %P%x01%aN <%aE>", "HEAD"})
                                   .split('\n', Qt::SkipEmptyParts)) {
        const QStringList parts = line.split(QChar(1));
        const QStringList head = parts[0].split(' ', Qt::SkipEmptyParts);
        gits << QStringLiteral("%1 %2 %3")
                    .arg(head[0], head.size() > 1 ? "child" : "root", parts[1]);
    }
    EXPECT_EQ(ours, gits);
}

INSTANTIATE_TEST_SUITE_P(Histories, IndexedSummary, testing::ValuesIn(summaryCases),
                         [](const auto &info) { return std::string(info.param.name); });

} // namespace
