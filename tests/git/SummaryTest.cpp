#include "TestRepository.h"
#include "git/GitService.h"

#include <gtest/gtest.h>

using namespace strataloom;

namespace {

QString daysAgo(int days)
{
    return QDateTime::currentDateTimeUtc().addDays(-days).toString(Qt::ISODate);
}

} // namespace

TEST(Summary, CountsHistoryDatesAndGaps)
{
    TestRepository repository;
    repository.setDate("2023-01-01T00:00:00Z");
    repository.write("a.txt", "aaaa");
    repository.commit("one", "Ada", "ada@example.com");
    repository.setDate("2023-01-11T23:00:00Z"); // 10.96 days later: a gap of 10
    repository.write("b.txt", "bb");
    repository.commit("two", "Ada", "ada@work.example");
    repository.setDate("2023-03-01T00:00:00+02:00");
    repository.commit("three", "Grace", "grace@example.com");
    repository.git({"tag", "v1"});
    repository.git({"branch", "topic"});
    repository.git({"remote", "add", "origin", "https://example.com/r.git"});

    const RepositorySummary summary = GitService().loadSummary(repository.path());
    EXPECT_EQ(std::make_tuple(summary.currentBranch, summary.remoteURL, summary.isClean),
              std::make_tuple("main", std::optional<QString>("https://example.com/r.git"), true));
    // One person with two addresses counts twice.
    EXPECT_EQ(std::make_tuple(summary.commitCount, summary.branchCount, summary.tagCount,
                              summary.authorCount, summary.trackedFileCount,
                              summary.repositorySizeBytes),
              std::make_tuple(3, 2, 1, 3, 2, 6));
    EXPECT_GT(summary.gitSizeBytes, 0);
    EXPECT_EQ(summary.firstCommitDate, utcDate("2023-01-01T00:00:00Z"));
    EXPECT_EQ(summary.latestCommitDate, utcDate("2023-02-28T22:00:00Z"));
    EXPECT_EQ(summary.longestInactivityDays, 47); // 47 days and 23 hours, truncated
    const double months
        = utcDate("2023-01-01T00:00:00Z").secsTo(utcDate("2023-02-28T22:00:00Z")) / 2629746.0;
    EXPECT_DOUBLE_EQ(summary.commitsPerMonth, 3 / months);
    EXPECT_EQ(summary.activityTrendPercent, 0.0); // nothing in the last 180 days
}

// A subfolder counts the files below it; ls-files names them relative to it, so looked up at the
// top level their sizes are absent.
TEST(Summary, TwoRootsGiveTheOldestRootAndASubfolderReportsTheTopLevel)
{
    TestRepository repository;
    repository.setDate("2022-05-01T12:00:00Z");
    repository.write("main.txt", "m");
    repository.write("sub/inner.txt", "inner");
    repository.commit("main root");
    repository.git({"checkout", "-q", "--orphan", "other"});
    repository.git({"rm", "-q", "-rf", "."});
    repository.setDate("2021-01-01T12:00:00Z");
    repository.write("other.txt", "o");
    repository.commit("older root");
    repository.setDate("2022-06-01T12:00:00Z");
    repository.git({"checkout", "-q", "main"});
    repository.git({"merge", "-q", "--allow-unrelated-histories", "-m", "join", "other"});

    const std::tuple<QString, int, qint64> folders[]
        = {{repository.path(), 3, 7}, {repository.filePath("sub"), 1, 0}};
    for (const auto &[folder, files, bytes] : folders) {
        const RepositorySummary summary = GitService().loadSummary(folder);
        EXPECT_EQ(std::make_tuple(summary.path, summary.commitCount, summary.trackedFileCount,
                                  summary.repositorySizeBytes),
                  std::make_tuple(repository.path(), 3, files, bytes))
            << folder.toStdString();
        EXPECT_EQ(summary.firstCommitDate, utcDate("2021-01-01T12:00:00Z"));
        EXPECT_EQ(summary.latestCommitDate, utcDate("2022-06-01T12:00:00Z"));
    }
}

// Less than a month counts as one; a single recent commit is all growth.
TEST(Summary, ActivityTrendComparesTheLastTwoQuartersAndOneCommitIsOnePerMonth)
{
    TestRepository recentOnly;
    recentOnly.setDate(daysAgo(10));
    recentOnly.commit("recent");
    recentOnly.git({"checkout", "-q", "--detach"});
    const RepositorySummary summary = GitService().loadSummary(recentOnly.path());
    EXPECT_EQ(std::make_tuple(summary.currentBranch, summary.remoteURL.has_value(),
                              summary.longestInactivityDays, summary.commitsPerMonth,
                              summary.activityTrendPercent),
              std::make_tuple("detached HEAD", false, 0, 1.0, 100.0));

    TestRepository halved;
    for (int day : {150, 140, 130, 120, 20, 10}) {
        halved.setDate(daysAgo(day));
        halved.commit("work");
    }
    EXPECT_DOUBLE_EQ(GitService().loadSummary(halved.path()).activityTrendPercent, -50.0);
}

TEST(Summary, ObjectStoreSizeFromCountObjects)
{
    const std::pair<const char *, qint64> cases[] = {
        {"count: 0\nsize: 0\nin-pack: 3\nsize-pack: 7\n", 7168},
        {"size: 5\nsize-pack: 7\n", 12288},
        {"size: x\nsize-pack: 2\nweird line\n", 2048},
        {"", 0},
    };
    for (const auto &[output, bytes] : cases)
        EXPECT_EQ(GitService::gitDirectorySize(output), bytes) << output;
}
