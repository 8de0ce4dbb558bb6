// The summary answered from an up-to-date index against the summary from git's own walk: the
// same values on every history, and git's walk whenever the index cannot answer exactly.

#include "HistoryScript.h"
#include "TestRepository.h"
#include "git/GitService.h"
#include "index/IndexedGraph.h"
#include "index/RepositoryIndexer.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <functional>

using namespace strataloom;

namespace {

QList<ScriptCommit> commitsAt(std::initializer_list<const char *> lines)
{
    // "name branch day parent..." per commit, an author of five by the name's length.
    QList<ScriptCommit> commits;
    for (const char *line : lines) {
        const QStringList words = QString::fromLatin1(line).split(QLatin1Char(' '));
        ScriptCommit commit;
        commit.name = words[0];
        commit.branch = words[1];
        commit.time = 1690000000 + qint64(words[2].toDouble() * 86400);
        commit.parents = words.mid(3);
        const char *authors[] = {"Ada", "bob", "Bob", "Zed", "\xc3\x89mile"};
        commit.author = QString::fromUtf8(authors[commit.name.size() % 5]);
        commit.email = QStringLiteral("p%1@example.com").arg(commit.name.size() % 3);
        commits << commit;
    }
    return commits;
}

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

const QList<ScriptCommit> mergedBranches = commitsAt(
    {"m1 main 0", "a1 a 1 m1", "bb2 b 2 a1", "a3 a 40 a1", "aaa4 a 41 a3 bb2", "m5 main 42 m1",
     "mmmmm6 main 43.5 m5 aaa4", "c7 c 44 m5", "m8 main 90 mmmmm6 c7"});

const SummaryCase summaryCases[] = {
    {"mergesOfMerges", [](TestRepository &r) { writeHistory(r, mergedBranches); }, {}, true},
    {"mailmapJoinsNamesAndAddresses",
     [](TestRepository &r) {
         writeHistory(r, mergedBranches);
         r.write(".mailmap",
                 "Bob <p0@example.com>\nAda Lovelace <ada@example.com> <p1@example.com>\n");
     },
     {},
     true},
    {"severalRoots",
     [](TestRepository &r) {
         writeHistory(r,
                      commitsAt({"m1 main 5", "o1 o 1", "o2 o 2 o1", "m3 main 6 m1 o2", "p1 p 3",
                                 "m5 main 9 m3 p1", "q1 lone 10"}));
     },
     {},
     true},
    {"clockSkewOrdersTheWalk",
     [](TestRepository &r) {
         writeHistory(r,
                      commitsAt({"m1 main 10", "m2 main 1 m1", "f1 f 30 m1", "m3 main 31 m2 f1",
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
         writeHistory(r, mergedBranches);
         r.git({"checkout", "-q", "--detach", "a^1"});
     },
     {},
     true},
    {"detachedHeadOffEveryBranch",
     [](TestRepository &r) {
         writeHistory(r, mergedBranches);
         r.git({"checkout", "-q", "--detach", "c"});
         r.write("detached.txt", "d");
         r.commit("on no branch", "Zed", "z@example.com");
     },
     {},
     true},
    {"emptyRepository", [](TestRepository &) {}, {}, false},
    {"indexOneCommitBehind", [](TestRepository &r) { writeHistory(r, mergedBranches); },
     [](TestRepository &r) {
         r.write("later.txt", "l");
         r.commit("later", "Zed", "z@example.com");
     },
     false},
    {"headMovedWithinTheIndexedHistory", [](TestRepository &r) { writeHistory(r, mergedBranches); },
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
    TestRepository repository;
    GetParam().build(repository);
    QTemporaryDir indexDirectory;
    const QString database = indexDirectory.filePath(QStringLiteral("index.sqlite"));
    {
        RepositoryIndex index(database);
        RepositoryIndexer(index).synchronize(repository.path());
    }
    if (GetParam().after)
        GetParam().after(repository);

    bool answered = false;
    const HeadHistorySource fromIndex = [&](const QString &head) {
        std::optional<QList<HeadWalkCommit>> walk;
        if (const auto history = IndexedGraph::loadIfCurrent(database, repository.path()))
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
}

class IndexedWalk : public testing::TestWithParam<SummaryCase>
{
};

TEST_P(IndexedWalk, followsGitsOrderWithMailmappedNames)
{
    TestRepository repository;
    GetParam().build(repository);
    QTemporaryDir indexDirectory;
    const QString database = indexDirectory.filePath(QStringLiteral("index.sqlite"));
    {
        RepositoryIndex index(database);
        RepositoryIndexer(index).synchronize(repository.path());
    }
    const auto history = IndexedGraph::loadIfCurrent(database, repository.path());
    ASSERT_TRUE(history);
    const auto walk
        = history->headWalk(repository.git({"rev-parse", "HEAD"}).trimmed(), repository.path());
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

std::vector<SummaryCase> answeredCases()
{
    std::vector<SummaryCase> answered;
    for (const SummaryCase &summaryCase : summaryCases) {
        if (summaryCase.indexAnswers)
            answered.push_back(summaryCase);
    }
    return answered;
}

INSTANTIATE_TEST_SUITE_P(Histories, IndexedWalk, testing::ValuesIn(answeredCases()),
                         [](const auto &info) { return std::string(info.param.name); });

} // namespace
