// insights() on small hand-built histories. The identity tests hold every field to the reference
// queries on random histories (aliases, statuses, refs, words, unreachable commits); these pin the
// rules that both could get wrong together: thresholds, ties the queries leave open, what counts.
#include "insights/RepositoryInsights.h"
#include "HistoryBuilder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>

using namespace strataloom;

namespace {

RepositoryAnalyticsInsights insightsOf(const HistoryBuilder &history)
{
    TemporaryIndex index;
    index->apply(history.batch());
    return insights(*index);
}

template<typename T, typename Key> QStringList keys(const QList<T> &rows, Key key)
{
    QStringList result;
    for (const T &row : rows)
        result.append(key(row));
    return result;
}

// Commits by authors "A", "B", ... with the given numbers of commits, one per hour.
HistoryBuilder authorsWithCommits(const QList<int> &counts)
{
    HistoryBuilder history;
    qint64 time = at("2024-01-01T00:00:00Z");
    char name = 'A';
    for (const int count : counts) {
        const QString author(QChar(name++));
        for (int i = 0; i < count; ++i)
            history.commit("work", time += 3600, author, author + "@x.org");
    }
    return history;
}

HistoryBuilder subjects(std::initializer_list<QStringView> texts)
{
    HistoryBuilder history;
    qint64 time = at("2024-01-01T00:00:00Z");
    for (const QStringView text : texts)
        history.commit(text.toString(), time += 60);
    return history;
}

} // namespace

TEST(RepositoryInsights, EmptyIndexAndRefsWithoutHistory)
{
    TemporaryIndex index;
    EXPECT_EQ(insights(*index), RepositoryAnalyticsInsights {});

    HistoryBuilder history;
    history.branch("main", "f00d");
    index->apply(history.batch());
    EXPECT_EQ(insights(*index).totalCommits, 0);
    EXPECT_EQ(insights(*index).branches,
              (QList<IndexedBranchInsight> {{"main", false, std::nullopt}}));
}

TEST(RepositoryInsights, BusFactorIsFewestTopAuthorsReachingHalfTheCommits)
{
    // Commits per author, the bus factor, the authors of a single commit.
    const std::tuple<QList<int>, qint64, qint64> cases[] = {
        {{5, 3, 1, 1}, 1, 2}, {{4, 3, 2, 1}, 2, 1}, {{1, 1, 1}, 2, 3}};
    for (const auto &[counts, busFactor, oneTime] : cases) {
        const RepositoryAnalyticsInsights result = insightsOf(authorsWithCommits(counts));
        SCOPED_TRACE(result.totalCommits);
        EXPECT_EQ(result.busFactor, busFactor);
        EXPECT_EQ(result.oneTimeContributors, oneTime);
        EXPECT_DOUBLE_EQ(result.topAuthors[0].commitShare,
                         double(counts.first()) / double(result.totalCommits));
    }
}

TEST(RepositoryInsights, SubjectCounters)
{
    using Value = std::function<double(const RepositoryAnalyticsInsights &)>;
    const std::tuple<const char *, HistoryBuilder, Value, double> cases[] = {
        {"reverts begin with revert in any case",
         subjects({u"Revert \"feat: x\"", u"REVERTED the parser", u"reverting y", u"revert: undo",
                   u"undo revert", u" revert with blank"}),
         [](const auto &r) { return r.revertCommits; }, 4},
        {"a conventional type is exact and unscoped",
         subjects({u"revert: undo", u"feat!: drop", u"fix(ui): x", u"fixes: y"}),
         [](const auto &r) { return r.conventionalCommits; }, 2},
        {"short subjects are under ten characters after trimming",
         subjects({u"abc", u"abcdef     ", u"abcdefghij", u"αβγδεζηθι"}),
         [](const auto &r) { return r.shortMessages; }, 3},
        {"subject length counts characters, untrimmed",
         subjects({u"abc", u"abcdef     ", u"abcdefghij", u"αβγδεζηθι"}),
         [](const auto &r) { return r.averageSubjectLength; }, (3 + 11 + 10 + 9) / 4.0},
    };
    for (const auto &[what, history, value, expected] : cases)
        EXPECT_DOUBLE_EQ(value(insightsOf(history)), expected) << what;
}

TEST(RepositoryInsights, WideCommitsStartAtTenFilesAndLargestCommitsTieByAge)
{
    HistoryBuilder history;
    const QString ten = history.commitTouching(10, "ten/", at("2024-01-01T00:00:00Z")).sha;
    const QString nine = history.commitTouching(9, "nine/", at("2024-01-01T01:00:00Z")).sha;
    IndexedCommit &merge = history.commit("Merge", at("2024-01-01T02:00:00Z"));
    merge.parents.append("feed");
    const QString mergeSHA = merge.sha;
    const QString empty = history.commit("empty", at("2024-01-01T03:00:00Z")).sha;

    const RepositoryAnalyticsInsights result = insightsOf(history);
    EXPECT_EQ(result.wideCommits, 1);
    EXPECT_EQ(result.commitsWithoutChanges, 2);
    EXPECT_EQ(result.mergeCommits, 1);
    EXPECT_EQ(keys(result.largestCommits, [](const auto &c) { return c.sha; }),
              (QStringList {ten, nine, mergeSHA, empty}));
}

TEST(RepositoryInsights, FilesDirectoriesAndTechnologiesRankByChangesThenChurnThenName)
{
    HistoryBuilder history;
    qint64 time = at("2024-01-01T00:00:00Z");
    history.commit("1", time += 60, "A").changes
        = {change("README.md", 1, 0), change("src/app/main.cpp", 1, 0),
           change("docs/guide.md", 50, 0)};
    history.commit("2", time += 60, "B").changes
        = {change("README.md", 1, 0), change("src/util.h", 5, 5), change("b.rs", 2, 0),
           change("a.go", 1, 1)};
    history.commit("3", time += 60, "A").changes
        = {change("src/app/main.cpp", 30, 0), change("Makefile", 1, 0)};

    const RepositoryAnalyticsInsights result = insightsOf(history);
    EXPECT_EQ(keys(result.hotspots, [](const auto &f) { return f.path; }),
              (QStringList {"src/app/main.cpp", "README.md", "docs/guide.md", "src/util.h", "a.go",
                            "b.rs", "Makefile"}));
    EXPECT_EQ(result.hotspots[1].authors, 2);
    // Top-level files are gathered under "(root)"; deeper paths by their first component.
    EXPECT_EQ(result.directories,
              (QList<IndexedDirectoryInsight> {
                  {"src", 3, 2, 36, 5}, {"(root)", 3, 2, 6, 1}, {"docs", 1, 1, 50, 0}}));
    // Go and Rust tie on churn and follow their names.
    EXPECT_EQ(keys(result.technologies, [](const auto &t) { return t.name; }),
              (QStringList {"Documentation", "C++", "C/C++ Headers", "Go", "Rust", "Build"}));
    EXPECT_EQ(result.technologies[0], (IndexedTechnologyInsight {"Documentation", 2, 3, 52, 0}));
}

TEST(RepositoryInsights, CoChangePairsNeedTwoCommitsOfAtMostFiftyFiles)
{
    HistoryBuilder history;
    qint64 time = at("2024-01-01T00:00:00Z");
    history.commit("once", time += 60).changes = {change("x"), change("y")};
    for (const int files : {51, 51, 50, 50})
        history.commitTouching(files, files == 51 ? "wide/" : "fifty/", time += 60);
    // a and b three times: first, though b was stored before a in the index.
    for (int i = 0; i < 3; ++i) {
        history.commit("ab", time += 60).changes = {change("b"), change("a")};
    }

    const QList<IndexedCoChangeInsight> pairs = insightsOf(history).coChanges;
    ASSERT_EQ(pairs.size(), 15);
    EXPECT_EQ(pairs[0], (IndexedCoChangeInsight {"b", "a", 3}));
    // The rest tie at 2 and follow the paths: fifty/0 with fifty/1, fifty/10, fifty/11, ...
    EXPECT_EQ(pairs[2], (IndexedCoChangeInsight {"fifty/0", "fifty/10", 2}));
}

TEST(RepositoryInsights, GapsAreWholeDaysBetweenCommitMomentsAndDaysAreUTC)
{
    // Commit moments, the longest gap, the active days.
    const std::tuple<QList<const char *>, qint64, qint64> cases[] = {
        {{"2024-01-02T23:30:00Z", "2024-01-01T00:30:00Z"}, 1, 2},
        {{"2024-01-01T00:00:00Z", "2024-01-03T23:59:59Z", "2024-01-04T00:00:00Z"}, 2, 3},
        {{"2024-01-01T00:00:00Z", "2024-01-01T23:59:59Z"}, 0, 1}};
    for (const auto &[times, gap, activeDays] : cases) {
        HistoryBuilder history;
        for (const char *time : times)
            history.commit("x", at(time));
        const RepositoryAnalyticsInsights result = insightsOf(history);
        EXPECT_EQ(std::pair(result.longestGapDays, result.activeDays), std::pair(gap, activeDays))
            << times.first();
    }
}

TEST(RepositoryInsights, ActivityTrendsAndPeakDayFollowActiveDays)
{
    HistoryBuilder history;
    // Days with 2, 1, 4 and 4 commits; churn 2, 0, 8 and 0.
    for (const char *time : {"2024-01-01T08:00:00Z", "2024-01-01T09:00:00Z"})
        history.commit("x", at(time)).changes = {change("f")};
    history.commit("x", at("2024-02-10T09:00:00Z"));
    for (int hour = 1; hour <= 4; ++hour) {
        history.commit("x", at("2025-01-05T00:00:00Z") + hour * 3600).changes = {change("f", 1, 1)};
        // The earliest of equal maxima wins.
        history.commit("x", at("2025-03-01T00:00:00Z") + hour * 3600);
    }

    const RepositoryAnalyticsInsights result = insightsOf(history);
    ASSERT_TRUE(result.peakDay.has_value());
    EXPECT_EQ(result.peakDay->label, "2025-01-05");
    // Days 2, 1 | 4, 4: expected 3 x 2 / 2 = 3, second 8. Churn 2, 0 | 8, 0.
    EXPECT_DOUBLE_EQ(result.activityTrendPercent, (8 - 3) / 3.0 * 100);
    EXPECT_DOUBLE_EQ(result.churnTrendPercent, 300);
    EXPECT_EQ(result.monthlyActivity.size(), 4);
    ASSERT_EQ(result.yearlyActivity.size(), 2);
    EXPECT_EQ(result.yearlyActivity[1].commits, 8);
    EXPECT_EQ(result.yearlyActivity[1].date, utc("2025-01-01T00:00:00Z"));
}

TEST(RepositoryInsights, ContributorTrendComparesAuthorsBeforeAndFromTheMiddle)
{
    HistoryBuilder history;
    // The middle is 2024-01-06: A counts on both sides.
    const std::pair<int, const char *> commits[]
        = {{1, "A"}, {2, "B"}, {6, "A"}, {8, "C"}, {10, "D"}, {11, "A"}};
    for (const auto &[day, author] : commits)
        history.commit("x", at("2024-01-01T00:00:00Z") + (day - 1) * 86400,
                       QString::fromLatin1(author));
    EXPECT_DOUBLE_EQ(insightsOf(history).contributorTrendPercent, 50);
}

TEST(RepositoryInsights, WordsSortByCountThenCodePointAndStopAtFifteen)
{
    QString alphabet;
    for (char letter = 'a'; letter <= 't'; ++letter)
        alphabet += QString(3, QChar(letter)) + u' ';
    const std::pair<HistoryBuilder, QStringList> cases[] = {
        // Fullwidth letters (U+FF41) come before mathematical ones (U+1D400) by code point.
        {subjects({u"\U0001D400\U0001D401\U0001D402 \uFF41\uFF42\uFF43 zzz zzz"}),
         {"zzz", QString::fromUtf16(u"\uFF41\uFF42\uFF43"),
          QString::fromUtf16(u"\U0001D400\U0001D401\U0001D402")}},
        {subjects({alphabet + "ttt"}),
         {"ttt", "aaa", "bbb", "ccc", "ddd", "eee", "fff", "ggg", "hhh", "iii", "jjj", "kkk", "lll",
          "mmm", "nnn"}},
    };
    for (const auto &[history, words] : cases)
        EXPECT_EQ(keys(insightsOf(history).commonWords, [](const auto &w) { return w.name; }),
                  words);
}
