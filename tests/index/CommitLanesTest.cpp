// The lanes laid out from the index against the lanes git draws with
// `git log --graph --all --date-order`: the same commits in the same order, each in the same lane
// of the same number of lanes, and lines that lead every commit to each of its parents.

#include "index/CommitLanes.h"
#include "HistoryScript.h"
#include "TestRepository.h"
#include "index/IndexedGraph.h"
#include "index/RepositoryIndexer.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <functional>

using namespace strataloom;

namespace {

// One commit line of a text graph: which commit, its lane and the lanes the line crosses.
struct DrawnRow
{
    QString sha;
    int lane = 0;
    int laneCount = 0;
    bool operator==(const DrawnRow &) const = default;
};

void PrintTo(const DrawnRow &row, std::ostream *out)
{
    *out << row.sha.left(7).toStdString() << " lane " << row.lane << " of " << row.laneCount;
}

// The lane of a commit line is the column of its "*" over two; each lane is drawn as one of
// "|*/\" at its column (the "-" and "." of an octopus merge are no lanes).
DrawnRow parseCommitLine(const QString &drawing, const QString &sha)
{
    DrawnRow row {sha, int(drawing.indexOf(QLatin1Char('*')) / 2), 0};
    for (const QChar c : drawing)
        row.laneCount += QStringLiteral("|*/\\").contains(c) ? 1 : 0;
    return row;
}

QList<DrawnRow> gitRows(const QString &repository)
{
    QList<DrawnRow> rows;
    const QString output
        = runGitIn(repository, {"log", "--graph", "--all", "--date-order", "--format=%x01%H"});
    for (const QString &line : output.split(QLatin1Char('\n'))) {
        const qsizetype mark = line.indexOf(QChar(1));
        if (mark >= 0)
            rows << parseCommitLine(line.left(mark), line.mid(mark + 1));
    }
    return rows;
}

struct IndexedFixture
{
    TestRepository repository;
    QTemporaryDir indexDirectory;
    std::shared_ptr<const IndexedGraph> history;

    explicit IndexedFixture(const std::function<void(TestRepository &)> &build)
    {
        build(repository);
        const QString database = indexDirectory.filePath(QStringLiteral("index.sqlite"));
        {
            RepositoryIndex index(database);
            RepositoryIndexer(index).synchronize(repository.path());
        }
        auto loaded = IndexedGraph::loadIfCurrent(database, repository.path());
        if (loaded)
            history = std::make_shared<const IndexedGraph>(std::move(*loaded));
    }
};

QList<ScriptCommit> script(std::initializer_list<const char *> lines)
{
    // "name branch hour parent..." per commit; the hour counts from a fixed day.
    QList<ScriptCommit> commits;
    for (const char *line : lines) {
        const QStringList words = QString::fromLatin1(line).split(QLatin1Char(' '));
        ScriptCommit commit;
        commit.name = words[0];
        commit.branch = words[1];
        commit.time = 1700000000 + words[2].toLongLong() * 3600;
        commit.parents = words.mid(3);
        commits << commit;
    }
    return commits;
}

struct LaneCase
{
    const char *name;
    QList<ScriptCommit> commits;
};

const LaneCase laneCases[] = {
    {"mergesOfMerges",
     script({"m1 main 1", "a1 a 2 m1", "b1 b 3 a1", "a2 a 4 a1", "a3 a 5 a2 b1", "m2 main 6 m1",
             "m3 main 7 m2 a3", "c1 c 8 m3", "m4 main 9 m3", "c2 c 10 c1", "m5 main 11 m4 c2",
             "a4 a 12 a3"})},
    {"octopusMerges",
     script({"m1 main 1", "x1 x 2 m1", "y1 y 3 m1", "z1 z 4 m1", "m2 main 5 m1",
             "m3 main 6 m2 x1 y1 z1", "w1 w 7 y1", "v1 v 8 m3", "m4 main 9 m3 v1 w1 x1",
             "u1 u 10 z1"})},
    {"severalRoots",
     script({"m1 main 1", "o1 orphan 2", "o2 orphan 3 o1", "m2 main 4 m1", "m3 main 5 m2 o2",
             "p1 other 6", "m4 main 7 m3", "p2 other 8 p1", "q1 lone 9"})},
    {"crossingBranches",
     script({"m1 main 1", "b1 b 2 m1", "m2 main 3 m1", "b2 b 4 b1 m2", "m3 main 5 m2 b1",
             "t1 topic 6 m1", "b3 b 7 b2", "m4 main 8 m3 b3", "b4 b 9 b3 m3", "t2 topic 10 t1 b2",
             "m5 main 11 m4 t2", "b5 b 12 b4"})},
    {"clockSkew",
     script({"m1 main 10", "m2 main 1 m1", "f1 f 12 m1", "m3 main 13 m2 f1", "g1 g 2 m2",
             "m4 main 14 m3 g1"})},
    {"tangledHundreds", tangledHistory(700, 7)},
};

void PrintTo(const LaneCase &laneCase, std::ostream *out)
{
    *out << laneCase.name;
}

class CommitLanes : public testing::TestWithParam<LaneCase>
{
};

TEST_P(CommitLanes, placeEveryCommitAsGitDrawsIt)
{
    IndexedFixture fixture(
        [](TestRepository &repository) { writeHistory(repository, GetParam().commits); });
    ASSERT_TRUE(fixture.history);
    CommitLaneLayout layout(fixture.history);
    const QList<LaneRow> rows = layout.rows(0, layout.rowCount());

    QList<DrawnRow> ours;
    for (const LaneRow &row : rows) {
        const QString sha = fixture.history->commits()[size_t(row.commit)].sha;
        ours << DrawnRow {sha, row.lane, row.laneCount};
        // The drawing says the same as the numbers it is drawn from.
        EXPECT_EQ(parseCommitLine(laneRowText(row).first(), sha), ours.last());
    }
    EXPECT_EQ(ours, gitRows(fixture.repository.path()));
}

TEST_P(CommitLanes, leadEveryCommitToEachOfItsParents)
{
    IndexedFixture fixture(
        [](TestRepository &repository) { writeHistory(repository, GetParam().commits); });
    ASSERT_TRUE(fixture.history);
    CommitLaneLayout layout(fixture.history);
    const IndexedGraph &history = *fixture.history;

    // Follow the lines: each lane waits for the commit its line leads to, and that commit must
    // turn up in that lane. Two lines meeting must wait for the same commit.
    QList<int> awaited;
    for (const LaneRow &row : layout.rows(0, layout.rowCount())) {
        ASSERT_LE(row.lane, awaited.size());
        if (row.lane < awaited.size())
            EXPECT_EQ(awaited[row.lane], row.commit);
        else
            awaited << row.commit;
        ASSERT_EQ(row.laneCount, awaited.size());
        const IndexedGraph::Commit &commit = history.commits()[size_t(row.commit)];
        QList<int> parentLines;
        QHash<int, int> next;
        for (const auto &[from, to] : row.edges) {
            const int target = from == row.lane
                ? history.parentIndexes()[size_t(commit.firstParent + parentLines.size())]
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
}

INSTANTIATE_TEST_SUITE_P(Histories, CommitLanes, testing::ValuesIn(laneCases),
                         [](const auto &info) { return std::string(info.param.name); });

TEST(CommitLanePages, equalTheWholeLayoutWhereverTheyStart)
{
    IndexedFixture fixture(
        [](TestRepository &repository) { writeHistory(repository, tangledHistory(900, 11)); });
    ASSERT_TRUE(fixture.history);
    CommitLaneLayout whole(fixture.history);
    const QList<LaneRow> all = whole.rows(0, whole.rowCount());
    ASSERT_EQ(all.size(), 900);

    // Pages read out of order, across checkpoints, before and after the whole history is laid out.
    CommitLaneLayout paged(fixture.history);
    const struct
    {
        int first, count;
    } pages[] = {{600, 50}, {0, 10}, {255, 3}, {256, 1}, {511, 300}, {890, 50}, {899, 1}};
    for (const auto &page : pages)
        EXPECT_EQ(paged.rows(page.first, page.count), all.mid(page.first, page.count))
            << page.first;
    paged.layOutAll();
    EXPECT_EQ(paged.rows(300, 400), all.mid(300, 400));
    EXPECT_TRUE(paged.rows(900, 10).isEmpty());
}

TEST(CommitLaneText, movesEachLineOneLanePerTextLine)
{
    // A commit in lane 0 whose second parent waits in lane 3, beside lanes that close up and
    // lanes that move right: every text line moves every line by at most one lane, and the last
    // one ends where the edges say.
    const LaneRow rows[] = {
        {0, 0, 4, {{0, 0}, {0, 3}, {1, 1}, {2, 2}, {3, 3}}},
        {0, 3, 5, {{0, 0}, {1, 1}, {2, 2}, {3, 0}, {4, 3}}},
        {0, 1, 4, {{0, 0}, {1, 1}, {1, 2}, {1, 3}, {2, 4}, {3, 5}}},
        {0, 2, 3, {{0, 0}, {1, 1}}},
    };
    for (const LaneRow &row : rows) {
        const QStringList lines = laneRowText(row);
        std::vector<int> at;
        for (const auto &edge : row.edges)
            at.push_back(edge.first);
        for (qsizetype i = 1; i < lines.size(); ++i) {
            // Each line is drawn: "|" stays, "\" moves right, "/" moves left.
            for (size_t e = 0; e < at.size(); ++e) {
                const int column = 2 * at[e];
                const auto charAt = [&line = lines[i]](int c) {
                    return c >= 0 && c < line.size() ? line.at(c) : QChar(u' ');
                };
                const QChar stay = charAt(column);
                const QChar right = charAt(column + 1);
                const QChar left = charAt(column - 1);
                const int target = row.edges[qsizetype(e)].second;
                if (target > at[e] && right == QLatin1Char('\\'))
                    ++at[e];
                else if (target < at[e] && left == QLatin1Char('/'))
                    --at[e];
                else
                    EXPECT_EQ(stay, QLatin1Char('|')) << lines.join('\n').toStdString();
            }
        }
        for (size_t e = 0; e < at.size(); ++e)
            EXPECT_EQ(at[e], row.edges[qsizetype(e)].second) << lines.join('\n').toStdString();
    }
}

} // namespace
