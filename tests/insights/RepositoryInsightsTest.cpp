#include "insights/RepositoryInsights.h"
#include "HistoryBuilder.h"
#include "index/SQLite.h"

#include <gtest/gtest.h>

#include <algorithm>

using namespace strataloom;

namespace {

RepositoryAnalyticsInsights insightsOf(const HistoryBuilder &history)
{
    TemporaryIndex index;
    index->apply(history.batch());
    return insights(*index);
}

QStringList authorNames(const RepositoryAnalyticsInsights &result)
{
    QStringList names;
    for (const IndexedAuthorInsight &author : result.topAuthors)
        names.append(author.name);
    return names;
}

// Commits by authors "A", "B", ... with the given numbers of commits, one per hour.
HistoryBuilder authorsWithCommits(std::initializer_list<int> counts)
{
    HistoryBuilder history;
    qint64 time = at("2024-01-01T00:00:00Z");
    char name = 'A';
    for (const int count : counts) {
        for (int i = 0; i < count; ++i) {
            history.commit(QStringLiteral("work"), time += 3600, QString(QChar(name)),
                           QString(QChar(name)) + QStringLiteral("@example.com"));
        }
        ++name;
    }
    return history;
}

} // namespace

TEST(RepositoryInsights, EmptyIndexGivesZerosAbsentDatesAndEmptyLists)
{
    TemporaryIndex index;
    EXPECT_EQ(insights(*index), RepositoryAnalyticsInsights {});

    // Refs alone do not make history: branches and tags are listed, nothing else.
    HistoryBuilder history;
    history.branch(QStringLiteral("main"), QStringLiteral("f00d"));
    index->apply(history.batch());
    const RepositoryAnalyticsInsights result = insights(*index);
    EXPECT_EQ(result.totalCommits, 0);
    EXPECT_EQ(result.localBranches, 1);
    EXPECT_EQ(result.branches,
              (QList<IndexedBranchInsight> {{QStringLiteral("main"), false, std::nullopt}}));
}

TEST(RepositoryInsights, SingleCommit)
{
    HistoryBuilder history;
    IndexedCommit &commit
        = history.commit(QStringLiteral("feat(ui): login screen"), at("2024-03-01T09:20:30Z"));
    commit.changes = {change(QStringLiteral("src/Login.qml"), 40, 2, QStringLiteral("A")),
                      change(QStringLiteral("README.md"), 3, 1)};
    history.branch(QStringLiteral("main"), commit.sha);

    const RepositoryAnalyticsInsights result = insightsOf(history);
    const QDateTime when = utc("2024-03-01T09:20:30Z");
    EXPECT_EQ(result.totalCommits, 1);
    EXPECT_EQ(result.conventionalCommits, 1);
    EXPECT_EQ(result.additions, 43);
    EXPECT_EQ(result.deletions, 3);
    EXPECT_EQ(result.filesAdded, 1);
    EXPECT_EQ(result.firstCommitAt, when);
    EXPECT_EQ(result.lastCommitAt, when);
    EXPECT_EQ(result.busFactor, 1);
    EXPECT_EQ(result.oneTimeContributors, 1);
    EXPECT_EQ(result.longestGapDays, 0);
    EXPECT_EQ(result.activeDays, 1);
    EXPECT_DOUBLE_EQ(result.averageCommitChurn, 46);
    EXPECT_DOUBLE_EQ(result.averageSubjectLength, 22);
    EXPECT_DOUBLE_EQ(result.activityTrendPercent, 0);
    EXPECT_DOUBLE_EQ(result.churnTrendPercent, 0);
    EXPECT_DOUBLE_EQ(result.contributorTrendPercent, 0);

    const IndexedActivityInsight day {QStringLiteral("2024-03-01"), utc("2024-03-01T00:00:00Z"), 1,
                                      43, 3};
    EXPECT_EQ(result.peakDay, day);
    EXPECT_EQ(result.dailyActivity, QList<IndexedActivityInsight> {day});
    EXPECT_EQ(result.monthlyActivity,
              (QList<IndexedActivityInsight> {
                  {QStringLiteral("2024-03"), utc("2024-03-01T00:00:00Z"), 1, 43, 3}}));
    EXPECT_EQ(result.yearlyActivity,
              (QList<IndexedActivityInsight> {
                  {QStringLiteral("2024"), utc("2024-01-01T00:00:00Z"), 1, 43, 3}}));

    EXPECT_EQ(result.topAuthors,
              (QList<IndexedAuthorInsight> {
                  {QStringLiteral("Ada Lovelace"), 1, 43, 3, 1.0, when, when}}));
    EXPECT_EQ(
        result.hotspots,
        (QList<IndexedFileInsight> {{QStringLiteral("src/Login.qml"), 1, 1, 40, 2, when, when},
                                    {QStringLiteral("README.md"), 1, 1, 3, 1, when, when}}));
    EXPECT_EQ(result.commitTypes, (QList<IndexedCommitTypeInsight> {{QStringLiteral("feat"), 1}}));
    EXPECT_EQ(result.technologies,
              (QList<IndexedTechnologyInsight> {{QStringLiteral(".qml"), 1, 1, 40, 2},
                                                {QStringLiteral("Documentation"), 1, 1, 3, 1}}));
    EXPECT_EQ(result.largestCommits,
              (QList<IndexedCommitSizeInsight> {
                  {commit.sha, commit.subject, QStringLiteral("Ada Lovelace"), when, 2, 43, 3}}));
    EXPECT_EQ(result.emailDomains, (QList<IndexedNamedCount> {{QStringLiteral("example.com"), 1}}));
    EXPECT_EQ(
        result.commonWords,
        (QList<IndexedNamedCount> {{QStringLiteral("login"), 1}, {QStringLiteral("screen"), 1}}));
    EXPECT_TRUE(result.coChanges.isEmpty());
}

TEST(RepositoryInsights, BusFactorIsFewestTopAuthorsReachingHalfTheCommits)
{
    const RepositoryAnalyticsInsights first = insightsOf(authorsWithCommits({5, 3, 1, 1}));
    EXPECT_EQ(first.busFactor, 1);
    EXPECT_EQ(first.oneTimeContributors, 2);
    EXPECT_EQ(authorNames(first), (QStringList {"A", "B", "C", "D"}));
    EXPECT_DOUBLE_EQ(first.topAuthors[0].commitShare, 0.5);

    const RepositoryAnalyticsInsights second = insightsOf(authorsWithCommits({4, 3, 2, 1}));
    EXPECT_EQ(second.busFactor, 2);
    EXPECT_EQ(second.oneTimeContributors, 1);
}

TEST(RepositoryInsights, AuthorsCountAllAliasesAndTieByNameIgnoringCase)
{
    HistoryBuilder history;
    history.commit(QStringLiteral("one"), at("2024-01-01T10:00:00Z"), QStringLiteral("bob"),
                   QStringLiteral("bob@home.org"));
    history
        .commit(QStringLiteral("two"), at("2024-01-02T10:00:00Z"), QStringLiteral("Ada"),
                QStringLiteral("ada@work.com"))
        .changes
        = {change(QStringLiteral("a"), 5, 1), change(QStringLiteral("b"), 2, 0)};
    history.commit(QStringLiteral("three"), at("2024-01-03T10:00:00Z"), QStringLiteral("Ada"),
                   QStringLiteral("ADA@Home.ORG"));
    history.commit(QStringLiteral("four"), at("2024-01-04T10:00:00Z"), QStringLiteral("Carl"),
                   QStringLiteral("carl@work.com"));

    const RepositoryAnalyticsInsights result = insightsOf(history);
    ASSERT_EQ(authorNames(result), (QStringList {"Ada", "bob", "Carl"}));
    EXPECT_EQ(result.topAuthors[0],
              (IndexedAuthorInsight {QStringLiteral("Ada"), 2, 7, 1, 0.5,
                                     utc("2024-01-02T10:00:00Z"), utc("2024-01-03T10:00:00Z")}));
    // Domains are lower-cased; equal counts keep whatever order SQLite gives.
    ASSERT_EQ(result.emailDomains.size(), 2);
    EXPECT_EQ(result.emailDomains[0].count, 2);
    EXPECT_EQ(result.emailDomains[1].count, 2);
    EXPECT_EQ((QSet<QString> {result.emailDomains[0].name, result.emailDomains[1].name}),
              (QSet<QString> {"home.org", "work.com"}));
}

TEST(RepositoryInsights, EmailDomainIsTextAfterFirstAtAndAddressesWithoutAtAreLeftOut)
{
    HistoryBuilder history;
    history.commit(QStringLiteral("a"), at("2024-01-01T10:00:00Z"), QStringLiteral("A"),
                   QStringLiteral("a@b@Mail.Example"));
    history.commit(QStringLiteral("b"), at("2024-01-01T11:00:00Z"), QStringLiteral("B"),
                   QStringLiteral("not-an-address"));
    history.commit(QStringLiteral("c"), at("2024-01-01T12:00:00Z"), QStringLiteral("C"),
                   QStringLiteral("c@"));
    QList<IndexedNamedCount> domains = insightsOf(history).emailDomains;
    std::sort(domains.begin(), domains.end(),
              [](const auto &a, const auto &b) { return a.name < b.name; });
    EXPECT_EQ(domains,
              (QList<IndexedNamedCount> {{QString(), 1}, {QStringLiteral("b@mail.example"), 1}}));
}

TEST(RepositoryInsights, RevertsAreSubjectsBeginningWithRevertInAnyCase)
{
    HistoryBuilder history;
    qint64 time = at("2024-01-01T00:00:00Z");
    for (const char *subject : {"Revert \"feat: x\"", "REVERTED the parser", "reverting y",
                                "revert: undo", "undo revert", " revert with blank"})
        history.commit(QString::fromUtf8(subject), time += 60);

    const RepositoryAnalyticsInsights result = insightsOf(history);
    EXPECT_EQ(result.revertCommits, 4);
    EXPECT_EQ(result.conventionalCommits, 1);
    EXPECT_EQ(result.commitTypes,
              (QList<IndexedCommitTypeInsight> {{QStringLiteral("other"), 5},
                                                {QStringLiteral("revert"), 1}}));
}

TEST(RepositoryInsights, ShortSubjectsAreMeasuredTrimmedButAveragedUntrimmed)
{
    HistoryBuilder history;
    history.commit(QStringLiteral("abc"), at("2024-01-01T00:00:00Z"));
    history.commit(QStringLiteral("abcdef     "), at("2024-01-01T01:00:00Z"));
    history.commit(QStringLiteral("abcdefghij"), at("2024-01-01T02:00:00Z"));
    history.commit(QString::fromUtf16(u"αβγδεζηθι"), at("2024-01-01T03:00:00Z"));

    const RepositoryAnalyticsInsights result = insightsOf(history);
    EXPECT_EQ(result.shortMessages, 3);
    // Characters, not bytes: the Greek subject has 9.
    EXPECT_DOUBLE_EQ(result.averageSubjectLength, (3 + 11 + 10 + 9) / 4.0);
}

TEST(RepositoryInsights, WideCommitsHaveTenFilesAndEmptyCommitsAreNeverWide)
{
    HistoryBuilder history;
    history.commitTouching(10, QStringLiteral("ten/"), at("2024-01-01T00:00:00Z"));
    history.commitTouching(9, QStringLiteral("nine/"), at("2024-01-01T01:00:00Z"));
    history.commit(QStringLiteral("Merge branch 'x'"), at("2024-01-01T02:00:00Z"))
        .parents.append(QStringLiteral("feed"));
    history.commit(QStringLiteral("empty"), at("2024-01-01T03:00:00Z"));

    const RepositoryAnalyticsInsights result = insightsOf(history);
    EXPECT_EQ(result.wideCommits, 1);
    EXPECT_EQ(result.commitsWithoutChanges, 2);
    EXPECT_EQ(result.mergeCommits, 1);
    ASSERT_EQ(result.largestCommits.size(), 4);
    EXPECT_EQ(result.largestCommits[0].files, 10);
    EXPECT_EQ(result.largestCommits[1].files, 9);
    EXPECT_EQ(result.largestCommits[2].files, 0);
}

TEST(RepositoryInsights, LineTotalsCountChangeRowsByStatusAndBinaryFilesOnce)
{
    HistoryBuilder history;
    IndexedFileChange image = change(QStringLiteral("logo.png"), 0, 0, QStringLiteral("A"));
    image.additions = image.deletions = std::nullopt;
    image.isBinary = true;
    history.commit(QStringLiteral("one"), at("2024-01-01T00:00:00Z")).changes
        = {change(QStringLiteral("a.c"), 10, 0, QStringLiteral("A")), image};
    image.status = QStringLiteral("M");
    history.commit(QStringLiteral("two"), at("2024-01-02T00:00:00Z")).changes
        = {change(QStringLiteral("a.c"), 0, 10, QStringLiteral("D")), image};
    IndexedFileChange renamed = change(QStringLiteral("b.c"), 1, 1, QStringLiteral("R087"));
    renamed.oldPath = QStringLiteral("old.c");
    history.commit(QStringLiteral("three"), at("2024-01-03T00:00:00Z")).changes
        = {change(QStringLiteral("a.c"), 4, 0, QStringLiteral("A")), renamed};

    const RepositoryAnalyticsInsights result = insightsOf(history);
    EXPECT_EQ(result.additions, 15);
    EXPECT_EQ(result.deletions, 11);
    EXPECT_EQ(result.filesAdded, 3);
    EXPECT_EQ(result.filesDeleted, 1);
    EXPECT_EQ(result.filesRenamed, 1);
    EXPECT_EQ(result.binaryFiles, 1);
    EXPECT_DOUBLE_EQ(result.averageCommitChurn, 26 / 3.0);
    ASSERT_FALSE(result.hotspots.isEmpty());
    EXPECT_EQ(result.hotspots[0].path, QStringLiteral("a.c"));
    EXPECT_EQ(result.hotspots[0].changes, 3);
}

TEST(RepositoryInsights, HotspotsDirectoriesAndTechnologiesRankByChangesThenChurn)
{
    HistoryBuilder history;
    qint64 time = at("2024-01-01T00:00:00Z");
    history.commit(QStringLiteral("1"), time += 60, QStringLiteral("A")).changes = {
        change(QStringLiteral("README.md"), 1, 0), change(QStringLiteral("src/app/main.cpp"), 1, 0),
        change(QStringLiteral("docs/guide.md"), 50, 0)};
    history.commit(QStringLiteral("2"), time += 60, QStringLiteral("B")).changes
        = {change(QStringLiteral("README.md"), 1, 0), change(QStringLiteral("src/util.h"), 5, 5)};
    history.commit(QStringLiteral("3"), time += 60, QStringLiteral("A")).changes
        = {change(QStringLiteral("src/app/main.cpp"), 30, 0),
           change(QStringLiteral("Makefile"), 1, 0)};

    const RepositoryAnalyticsInsights result = insightsOf(history);
    QStringList hotspots;
    for (const IndexedFileInsight &file : result.hotspots)
        hotspots.append(file.path);
    EXPECT_EQ(
        hotspots,
        (QStringList {"src/app/main.cpp", "README.md", "docs/guide.md", "src/util.h", "Makefile"}));
    EXPECT_EQ(result.hotspots[1].authors, 2);

    // Top-level files are gathered under "(root)"; deeper paths by their first component.
    EXPECT_EQ(result.directories,
              (QList<IndexedDirectoryInsight> {{QStringLiteral("src"), 3, 2, 36, 5},
                                               {QStringLiteral("(root)"), 3, 2, 3, 0},
                                               {QStringLiteral("docs"), 1, 1, 50, 0}}));
    EXPECT_EQ(result.technologies,
              (QList<IndexedTechnologyInsight> {{QStringLiteral("Documentation"), 2, 3, 52, 0},
                                                {QStringLiteral("C++"), 1, 2, 31, 0},
                                                {QStringLiteral("C/C++ Headers"), 1, 1, 5, 5},
                                                {QStringLiteral("Build"), 1, 1, 1, 0}}));
}

TEST(RepositoryInsights, TechnologiesWithEqualChurnSortByName)
{
    HistoryBuilder history;
    history.commit(QStringLiteral("x"), at("2024-01-01T00:00:00Z")).changes
        = {change(QStringLiteral("b.rs"), 2, 0), change(QStringLiteral("a.go"), 1, 1),
           change(QStringLiteral("c.txt"), 0, 2)};
    const RepositoryAnalyticsInsights result = insightsOf(history);
    EXPECT_EQ(result.technologies,
              (QList<IndexedTechnologyInsight> {{QStringLiteral(".txt"), 1, 1, 0, 2},
                                                {QStringLiteral("Go"), 1, 1, 1, 1},
                                                {QStringLiteral("Rust"), 1, 1, 2, 0}}));
}

TEST(RepositoryInsights, CoChangePairsNeedTwoCommitsOfAtMostFiftyFiles)
{
    HistoryBuilder history;
    qint64 time = at("2024-01-01T00:00:00Z");
    // x and y together once: never a pair.
    history.commit(QStringLiteral("once"), time += 60).changes
        = {change(QStringLiteral("x")), change(QStringLiteral("y"))};
    // Two commits of 51 files add nothing; two of exactly 50 make every pair of their files.
    history.commitTouching(51, QStringLiteral("wide/"), time += 60);
    history.commitTouching(51, QStringLiteral("wide/"), time += 60);
    history.commitTouching(50, QStringLiteral("fifty/"), time += 60);
    history.commitTouching(50, QStringLiteral("fifty/"), time += 60);
    // a and b three times: first, though b was stored before a in the index.
    for (int i = 0; i < 3; ++i) {
        history.commit(QStringLiteral("ab"), time += 60).changes
            = {change(QStringLiteral("b")), change(QStringLiteral("a"))};
    }

    const RepositoryAnalyticsInsights result = insightsOf(history);
    ASSERT_EQ(result.coChanges.size(), 15);
    EXPECT_EQ(result.coChanges[0],
              (IndexedCoChangeInsight {QStringLiteral("b"), QStringLiteral("a"), 3}));
    // The rest tie at 2 and follow the paths: fifty/0 with fifty/1, fifty/10, fifty/11, ...
    EXPECT_EQ(result.coChanges[1],
              (IndexedCoChangeInsight {QStringLiteral("fifty/0"), QStringLiteral("fifty/1"), 2}));
    EXPECT_EQ(result.coChanges[2],
              (IndexedCoChangeInsight {QStringLiteral("fifty/0"), QStringLiteral("fifty/10"), 2}));
    for (const IndexedCoChangeInsight &pair : result.coChanges) {
        EXPECT_FALSE(pair.firstPath.startsWith(QStringLiteral("wide/")));
        EXPECT_NE(pair.firstPath, QStringLiteral("x"));
    }
}

TEST(RepositoryInsights, RefsListLocalBranchesFirstAndTagsWithUnknownTargetsFirst)
{
    HistoryBuilder history;
    const QString early = history.commit(QStringLiteral("1"), at("2023-05-01T00:00:00Z")).sha;
    const QString late = history.commit(QStringLiteral("2"), at("2024-05-01T00:00:00Z")).sha;
    history.branch(QStringLiteral("origin/main"), late, true);
    history.branch(QStringLiteral("zeta"), early);
    history.branch(QStringLiteral("Alpha"), QStringLiteral("0badc0de"));
    history.branch(QStringLiteral("main"), late);
    history.tag(QStringLiteral("v2.0"), late);
    history.tag(QStringLiteral("V1.0"), early);
    history.tag(QStringLiteral("v1.1"), early);
    history.tag(QStringLiteral("lost"), QStringLiteral("0badc0de"));

    const RepositoryAnalyticsInsights result = insightsOf(history);
    EXPECT_EQ(result.branches,
              (QList<IndexedBranchInsight> {
                  {QStringLiteral("Alpha"), false, std::nullopt},
                  {QStringLiteral("main"), false, utc("2024-05-01T00:00:00Z")},
                  {QStringLiteral("zeta"), false, utc("2023-05-01T00:00:00Z")},
                  {QStringLiteral("origin/main"), true, utc("2024-05-01T00:00:00Z")}}));
    EXPECT_EQ(result.localBranches, 3);
    EXPECT_EQ(result.remoteBranches, 1);
    EXPECT_EQ(result.tags,
              (QList<IndexedTagInsight> {{QStringLiteral("lost"), std::nullopt},
                                         {QStringLiteral("V1.0"), utc("2023-05-01T00:00:00Z")},
                                         {QStringLiteral("v1.1"), utc("2023-05-01T00:00:00Z")},
                                         {QStringLiteral("v2.0"), utc("2024-05-01T00:00:00Z")}}));
    EXPECT_EQ(result.tagCount, 4);
}

TEST(RepositoryInsights, GapIsMeasuredBetweenCommitMomentsAndDaysInUTC)
{
    HistoryBuilder history;
    history.commit(QStringLiteral("late night"), at("2024-01-02T23:30:00Z"));
    history.commit(QStringLiteral("early"), at("2024-01-01T00:30:00Z"));

    const RepositoryAnalyticsInsights result = insightsOf(history);
    EXPECT_EQ(result.longestGapDays, 1);
    EXPECT_EQ(result.activeDays, 2);
    ASSERT_EQ(result.dailyActivity.size(), 2);
    EXPECT_EQ(result.dailyActivity[0].label, QStringLiteral("2024-01-01"));
    EXPECT_EQ(result.dailyActivity[1].label, QStringLiteral("2024-01-02"));
    EXPECT_EQ(result.firstCommitAt, utc("2024-01-01T00:30:00Z"));
    EXPECT_EQ(result.lastCommitAt, utc("2024-01-02T23:30:00Z"));

    HistoryBuilder longer;
    longer.commit(QStringLiteral("a"), at("2024-01-01T00:00:00Z"));
    longer.commit(QStringLiteral("b"), at("2024-01-03T23:59:59Z"));
    longer.commit(QStringLiteral("c"), at("2024-01-04T00:00:00Z"));
    EXPECT_EQ(insightsOf(longer).longestGapDays, 2);
}

TEST(RepositoryInsights, ActivityTrendsAndPeakDayFollowActiveDays)
{
    HistoryBuilder history;
    // Days with 2, 1, 4 and 4 commits; churn 2, 0, 8 and 0.
    for (const char *time : {"2024-01-01T08:00:00Z", "2024-01-01T09:00:00Z"})
        history.commit(QStringLiteral("x"), at(time)).changes = {change(QStringLiteral("f"))};
    history.commit(QStringLiteral("x"), at("2024-02-10T09:00:00Z"));
    for (const char *time : {"2025-01-05T01:00:00Z", "2025-01-05T02:00:00Z", "2025-01-05T03:00:00Z",
                             "2025-01-05T04:00:00Z"})
        history.commit(QStringLiteral("x"), at(time)).changes = {change(QStringLiteral("f"), 1, 1)};
    // The earliest of equal maxima wins.
    for (const char *time : {"2025-03-01T01:00:00Z", "2025-03-01T02:00:00Z", "2025-03-01T03:00:00Z",
                             "2025-03-01T04:00:00Z"})
        history.commit(QStringLiteral("x"), at(time));

    const RepositoryAnalyticsInsights result = insightsOf(history);
    ASSERT_TRUE(result.peakDay.has_value());
    EXPECT_EQ(result.peakDay->label, QStringLiteral("2025-01-05"));
    EXPECT_EQ(result.peakDay->churn(), 8);
    // Days 2, 1 | 4, 4: expected 3 x 2 / 2 = 3, second 8.
    EXPECT_DOUBLE_EQ(result.activityTrendPercent, (8 - 3) / 3.0 * 100);
    // Churn 2, 0 | 8, 0: expected 2, second 8.
    EXPECT_DOUBLE_EQ(result.churnTrendPercent, 300);
    EXPECT_EQ(result.monthlyActivity.size(), 4);
    ASSERT_EQ(result.yearlyActivity.size(), 2);
    EXPECT_EQ(result.yearlyActivity[0].commits, 3);
    EXPECT_EQ(result.yearlyActivity[1].commits, 8);
    EXPECT_EQ(result.yearlyActivity[1].date, utc("2025-01-01T00:00:00Z"));
}

TEST(RepositoryInsights, ContributorTrendComparesAuthorsBeforeAndFromTheMiddle)
{
    HistoryBuilder history;
    history.commit(QStringLiteral("x"), at("2024-01-01T00:00:00Z"), QStringLiteral("A"));
    history.commit(QStringLiteral("x"), at("2024-01-02T00:00:00Z"), QStringLiteral("B"));
    // The middle is 2024-01-06: A counts on both sides.
    history.commit(QStringLiteral("x"), at("2024-01-06T00:00:00Z"), QStringLiteral("A"));
    history.commit(QStringLiteral("x"), at("2024-01-08T00:00:00Z"), QStringLiteral("C"));
    history.commit(QStringLiteral("x"), at("2024-01-10T00:00:00Z"), QStringLiteral("D"));
    history.commit(QStringLiteral("x"), at("2024-01-11T00:00:00Z"), QStringLiteral("A"));

    const RepositoryAnalyticsInsights result = insightsOf(history);
    EXPECT_DOUBLE_EQ(result.contributorTrendPercent, 50);
}

TEST(RepositoryInsights, CommitTypesAndWordsSortByCountThenText)
{
    HistoryBuilder history;
    qint64 time = at("2024-01-01T00:00:00Z");
    for (const char *subject :
         {"fix: parser crash", "fix(ui): parser", "docs: parser guide", "chore: bump", "WIP",
          "Cache Ελληνικά cache", "feat: zebra", "feat: apple", "test: Исправить"})
        history.commit(QString::fromUtf8(subject), time += 60);

    const RepositoryAnalyticsInsights result = insightsOf(history);
    EXPECT_EQ(result.conventionalCommits, 7);
    EXPECT_EQ(result.commitTypes,
              (QList<IndexedCommitTypeInsight> {{QStringLiteral("feat"), 2},
                                                {QStringLiteral("fix"), 2},
                                                {QStringLiteral("other"), 2},
                                                {QStringLiteral("chore"), 1},
                                                {QStringLiteral("docs"), 1},
                                                {QStringLiteral("test"), 1}}));
    EXPECT_EQ(result.commonWords,
              (QList<IndexedNamedCount> {{QStringLiteral("parser"), 3},
                                         {QStringLiteral("cache"), 2},
                                         {QStringLiteral("apple"), 1},
                                         {QStringLiteral("bump"), 1},
                                         {QStringLiteral("crash"), 1},
                                         {QStringLiteral("docs"), 1},
                                         {QStringLiteral("guide"), 1},
                                         {QStringLiteral("test"), 1},
                                         {QStringLiteral("wip"), 1},
                                         {QStringLiteral("zebra"), 1},
                                         {QString::fromUtf16(u"ελληνικά"), 1},
                                         {QString::fromUtf16(u"исправить"), 1}}));
}

TEST(RepositoryInsights, EqualWordCountsSortByCodePoint)
{
    HistoryBuilder history;
    // Fullwidth letters (U+FF41) come before mathematical ones (U+1D400) by code point.
    history.commit(QString::fromUtf16(u"\U0001D400\U0001D401\U0001D402 \uFF41\uFF42\uFF43 zzz"),
                   at("2024-01-01T00:00:00Z"));
    EXPECT_EQ(
        insightsOf(history).commonWords,
        (QList<IndexedNamedCount> {{QStringLiteral("zzz"), 1},
                                   {QString::fromUtf16(u"\uFF41\uFF42\uFF43"), 1},
                                   {QString::fromUtf16(u"\U0001D400\U0001D401\U0001D402"), 1}}));
}

TEST(RepositoryInsights, CommonWordsStopAtFifteen)
{
    HistoryBuilder history;
    QString subject;
    for (char letter = 'a'; letter <= 't'; ++letter)
        subject += QString(3, QChar(letter)) + u' ';
    history.commit(subject + QStringLiteral("ttt"), at("2024-01-01T00:00:00Z"));

    const RepositoryAnalyticsInsights result = insightsOf(history);
    ASSERT_EQ(result.commonWords.size(), 15);
    EXPECT_EQ(result.commonWords[0], (IndexedNamedCount {QStringLiteral("ttt"), 2}));
    EXPECT_EQ(result.commonWords[1].name, QStringLiteral("aaa"));
    EXPECT_EQ(result.commonWords[14].name, QStringLiteral("nnn"));
}

TEST(RepositoryInsights, UnreachableCommitsAreLeftOutEverywhere)
{
    HistoryBuilder history;
    const QString kept = history
                             .commit(QStringLiteral("feat: kept"), at("2024-01-01T00:00:00Z"),
                                     QStringLiteral("Ada"), QStringLiteral("ada@a.org"))
                             .sha;
    history.commits().last().changes = {change(QStringLiteral("src/kept.rs"), 3, 0)};
    for (int i = 0; i < 2; ++i) {
        history
            .commit(QStringLiteral("fix: dropped words"), at("2024-02-01T00:00:00Z") + i,
                    QStringLiteral("Bob"), QStringLiteral("bob@b.org"))
            .changes
            = {change(QStringLiteral("lib/gone.py"), 100, 5),
               change(QStringLiteral("src/kept.rs"), 7, 7)};
    }
    history.tag(QStringLiteral("v1"), kept);

    TemporaryIndex index;
    index->apply(history.batch());
    ASSERT_EQ(insights(*index).totalCommits, 3);

    // The next synchronisation finds only the first commit reachable.
    RepositoryIndexBatch next = history.batch();
    next.commits.clear();
    next.reachableSHAs = {kept};
    index->apply(next);

    HistoryBuilder alone;
    alone
        .commit(QStringLiteral("feat: kept"), at("2024-01-01T00:00:00Z"), QStringLiteral("Ada"),
                QStringLiteral("ada@a.org"))
        .changes
        = {change(QStringLiteral("src/kept.rs"), 3, 0)};
    alone.tag(QStringLiteral("v1"), kept);
    const RepositoryAnalyticsInsights result = insights(*index);
    EXPECT_EQ(result.totalCommits, 1);
    EXPECT_EQ(result, insightsOf(alone));
}
