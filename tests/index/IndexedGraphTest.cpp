// What the index's commit graph answers, against git's own answers. The lanes laid out from it
// against the lanes git draws with `git log --graph --all --date-order`: the same commits in the
// same order, each in the same lane of the same number of lanes, lines that lead every commit to
// each of its parents, and pages that equal the whole layout wherever they start. The summary
// answered from it against the summary from git's own walk: the same values on every history,
// and git's walk whenever the index cannot answer exactly.

#include "index/CommitLanes.h"
#include "HistoryScript.h"
#include "git/GitService.h"

#include <gtest/gtest.h>

#include <functional>

using namespace strataloom;

namespace {

// Every text line of a row's drawing moves every line by at most one lane ("|" stays, "\\" moves
// right, "/" moves left), and the last one ends where the row's edges say.
void expectTextFollowsTheEdges(const LaneRow &row)
{
    const QStringList lines = laneRowText(row);
    QList<int> at;
    for (const auto &edge : row.edges)
        at << edge.first;
    for (qsizetype i = 1; i < lines.size(); ++i) {
        const auto charAt = [&line = lines[i]](int c) {
            return c >= 0 && c < line.size() ? line.at(c) : QChar(u' ');
        };
        for (qsizetype e = 0; e < at.size(); ++e) {
            const int target = row.edges[e].second;
            if (target > at[e] && charAt(2 * at[e] + 1) == QLatin1Char('\\'))
                ++at[e];
            else if (target < at[e] && charAt(2 * at[e] - 1) == QLatin1Char('/'))
                --at[e];
            else
                EXPECT_EQ(charAt(2 * at[e]), QLatin1Char('|')) << lines.join('\n').toStdString();
        }
    }
    for (qsizetype e = 0; e < at.size(); ++e)
        EXPECT_EQ(at[e], row.edges[e].second) << lines.join('\n').toStdString();
}

TEST(CommitLanes, drawEveryCommitAsGitDoesAndLeadItToEachOfItsParents)
{
    const std::pair<const char *, QList<ScriptCommit>> cases[] = {
        {"merges of merges",
         scripted({"m1 main 1", "a1 a 2 m1", "b1 b 3 a1", "a2 a 4 a1", "a3 a 5 a2 b1",
                   "m2 main 6 m1", "m3 main 7 m2 a3", "c1 c 8 m3", "m4 main 9 m3", "c2 c 10 c1",
                   "m5 main 11 m4 c2", "a4 a 12 a3"})},
        {"octopus merges",
         scripted({"m1 main 1", "x1 x 2 m1", "y1 y 3 m1", "z1 z 4 m1", "m2 main 5 m1",
                   "m3 main 6 m2 x1 y1 z1", "w1 w 7 y1", "v1 v 8 m3", "m4 main 9 m3 v1 w1 x1",
                   "u1 u 10 z1"})},
        {"several roots",
         scripted({"m1 main 1", "o1 orphan 2", "o2 orphan 3 o1", "m2 main 4 m1", "m3 main 5 m2 o2",
                   "p1 other 6", "m4 main 7 m3", "p2 other 8 p1", "q1 lone 9"})},
        {"crossing branches",
         scripted({"m1 main 1", "b1 b 2 m1", "m2 main 3 m1", "b2 b 4 b1 m2", "m3 main 5 m2 b1",
                   "t1 topic 6 m1", "b3 b 7 b2", "m4 main 8 m3 b3", "b4 b 9 b3 m3",
                   "t2 topic 10 t1 b2", "m5 main 11 m4 t2", "b5 b 12 b4"})},
        {"clock skew",
         scripted({"m1 main 10", "m2 main 1 m1", "f1 f 12 m1", "m3 main 13 m2 f1", "g1 g 2 m2",
                   "m4 main 14 m3 g1"})},
        {"tangled hundreds", tangledHistory(700, 7)},
    };
    for (const auto &[name, commits] : cases) {
        SCOPED_TRACE(name);
        IndexedRepository fixture;
        writeHistory(fixture.repository, commits);
        fixture.synchronize();
        auto loaded = fixture.graph();
        ASSERT_TRUE(loaded);
        const auto history = std::make_shared<const IndexedGraph>(std::move(*loaded));
        CommitLaneLayout layout(history);
        const QList<LaneRow> rows = layout.rows(0, layout.rowCount());

        QStringList ours;
        // Follow the lines: each lane waits for the commit its line leads to, and that commit
        // must turn up in that lane. Two lines meeting must wait for the same commit.
        QList<int> awaited;
        for (const LaneRow &row : rows) {
            const IndexedGraph::Commit &commit = history->commits()[size_t(row.commit)];
            ours << QStringLiteral("%1 %2/%3").arg(commit.sha).arg(row.lane).arg(row.laneCount);
            // The drawing says the same as the numbers it is drawn from.
            EXPECT_EQ(drawnLane(commit.sha, laneRowText(row).first()), ours.last());
            expectTextFollowsTheEdges(row);
            ASSERT_LE(row.lane, awaited.size());
            if (row.lane < awaited.size())
                EXPECT_EQ(awaited[row.lane], row.commit);
            else
                awaited << row.commit;
            ASSERT_EQ(row.laneCount, awaited.size());
            QList<int> parentLines;
            QHash<int, int> next;
            for (const auto &[from, to] : row.edges) {
                const int target = from == row.lane
                    ? history->parentIndexes()[size_t(commit.firstParent + parentLines.size())]
                    : awaited[from];
                if (from == row.lane)
                    parentLines << target;
                EXPECT_EQ(next.value(to, target), target) << "lines of different commits meet";
                next.insert(to, target);
            }
            EXPECT_EQ(parentLines.size(), commit.parentCount);
            awaited = QList<int>(next.size(), -1);
            for (auto it = next.cbegin(); it != next.cend(); ++it) {
                ASSERT_LT(it.key(), awaited.size()) << "a gap between lanes";
                awaited[it.key()] = it.value();
            }
        }
        EXPECT_TRUE(awaited.isEmpty()) << "lines left waiting below the last root";
        EXPECT_EQ(ours, gitGraphLanes(fixture.repository));

        // Pages read out of order, across checkpoints, before and after the whole history is
        // laid out.
        CommitLaneLayout paged(history);
        const std::pair<int, int> pages[]
            = {{600, 50}, {0, 10}, {255, 3}, {256, 1}, {511, 150}, {690, 50}, {699, 1}};
        for (const auto &[first, count] : pages)
            EXPECT_EQ(paged.rows(first, count), rows.mid(first, count)) << first;
        paged.layOutAll();
        EXPECT_EQ(paged.rows(300, 400), rows.mid(300, 400));
        EXPECT_TRUE(paged.rows(int(rows.size()), 10).isEmpty());
    }
}

} // namespace

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
    }
}
