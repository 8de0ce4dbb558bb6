#include "git/GitService.h"
#include "TestRepository.h"

#include <QDir>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace strataloom;

namespace {

QString daysAgo(int days)
{
    return QDateTime::currentDateTimeUtc().addDays(-days).toString(Qt::ISODate);
}

} // namespace

TEST(Summary, EmptyRepositoryHasUnbornBranchAndNoHistory)
{
    TestRepository repository;
    repository.write(QStringLiteral("staged.txt"), "12345");
    repository.git({QStringLiteral("add"), QStringLiteral("staged.txt")});

    const RepositorySummary summary = GitService().loadSummary(repository.path());
    EXPECT_EQ(summary.path, repository.path());
    EXPECT_EQ(summary.name, QDir(repository.path()).dirName());
    EXPECT_EQ(summary.currentBranch, QStringLiteral("main"));
    EXPECT_FALSE(summary.isClean);
    EXPECT_EQ(summary.commitCount, 0);
    EXPECT_EQ(summary.authorCount, 0);
    EXPECT_EQ(summary.trackedFileCount, 1);
    EXPECT_EQ(summary.repositorySizeBytes, 5);
    EXPECT_FALSE(summary.firstCommitDate.has_value());
    EXPECT_FALSE(summary.latestCommitDate.has_value());
    EXPECT_EQ(summary.longestInactivityDays, 0);
    EXPECT_EQ(summary.commitsPerMonth, 0.0);
    EXPECT_EQ(summary.activityTrendPercent, 0.0);
}

TEST(Summary, CountsHistoryDatesAndGaps)
{
    TestRepository repository;
    repository.setDate(QStringLiteral("2023-01-01T00:00:00Z"));
    repository.write(QStringLiteral("a.txt"), "aaaa");
    repository.commit(QStringLiteral("one"), QStringLiteral("Ada"),
                      QStringLiteral("ada@example.com"));
    repository.setDate(QStringLiteral("2023-01-11T23:00:00Z")); // 10.96 days later: a gap of 10
    repository.write(QStringLiteral("b.txt"), "bb");
    repository.commit(QStringLiteral("two"), QStringLiteral("Ada"),
                      QStringLiteral("ada@work.example"));
    repository.setDate(QStringLiteral("2023-03-01T00:00:00+02:00"));
    repository.commit(QStringLiteral("three"), QStringLiteral("Grace"),
                      QStringLiteral("grace@example.com"));
    repository.git({QStringLiteral("tag"), QStringLiteral("v1")});
    repository.git({QStringLiteral("branch"), QStringLiteral("topic")});
    repository.git({QStringLiteral("remote"), QStringLiteral("add"), QStringLiteral("origin"),
                    QStringLiteral("https://example.com/r.git")});

    const RepositorySummary summary = GitService().loadSummary(repository.path());
    EXPECT_EQ(summary.currentBranch, QStringLiteral("main"));
    EXPECT_EQ(summary.remoteURL,
              std::optional<QString>(QStringLiteral("https://example.com/r.git")));
    EXPECT_TRUE(summary.isClean);
    EXPECT_EQ(summary.commitCount, 3);
    EXPECT_EQ(summary.branchCount, 2);
    EXPECT_EQ(summary.tagCount, 1);
    EXPECT_EQ(summary.authorCount, 3); // one person with two addresses counts twice
    EXPECT_EQ(summary.trackedFileCount, 2);
    EXPECT_EQ(summary.repositorySizeBytes, 6);
    EXPECT_GT(summary.gitSizeBytes, 0);
    EXPECT_EQ(summary.firstCommitDate, utcDate("2023-01-01T00:00:00Z"));
    EXPECT_EQ(summary.latestCommitDate, utcDate("2023-02-28T22:00:00Z"));
    EXPECT_EQ(summary.longestInactivityDays, 47); // 47 days and 23 hours, truncated
    const double months
        = utcDate("2023-01-01T00:00:00Z").secsTo(utcDate("2023-02-28T22:00:00Z")) / 2629746.0;
    EXPECT_DOUBLE_EQ(summary.commitsPerMonth, 3 / months);
    EXPECT_EQ(summary.activityTrendPercent, 0.0); // nothing in the last 180 days
}

TEST(Summary, DetachedHeadOneCommitAndShortSpan)
{
    TestRepository repository;
    repository.commit(QStringLiteral("only"));
    repository.git({QStringLiteral("checkout"), QStringLiteral("-q"), QStringLiteral("--detach")});

    const RepositorySummary summary = GitService().loadSummary(repository.path());
    EXPECT_EQ(summary.currentBranch, QStringLiteral("detached HEAD"));
    EXPECT_FALSE(summary.remoteURL.has_value());
    EXPECT_EQ(summary.longestInactivityDays, 0);
    EXPECT_DOUBLE_EQ(summary.commitsPerMonth, 1.0); // less than a month counts as one
}

TEST(Summary, TwoRootsGiveTheOldestRoot)
{
    TestRepository repository;
    repository.setDate(QStringLiteral("2022-05-01T12:00:00Z"));
    repository.write(QStringLiteral("main.txt"), "m");
    repository.commit(QStringLiteral("main root"));
    repository.git({QStringLiteral("checkout"), QStringLiteral("-q"), QStringLiteral("--orphan"),
                    QStringLiteral("other")});
    repository.git(
        {QStringLiteral("rm"), QStringLiteral("-q"), QStringLiteral("-rf"), QStringLiteral(".")});
    repository.setDate(QStringLiteral("2021-01-01T12:00:00Z"));
    repository.write(QStringLiteral("other.txt"), "o");
    repository.commit(QStringLiteral("older root"));
    repository.setDate(QStringLiteral("2022-06-01T12:00:00Z"));
    repository.git({QStringLiteral("checkout"), QStringLiteral("-q"), QStringLiteral("main")});
    repository.git({QStringLiteral("merge"), QStringLiteral("-q"),
                    QStringLiteral("--allow-unrelated-histories"), QStringLiteral("-m"),
                    QStringLiteral("join"), QStringLiteral("other")});

    const RepositorySummary summary = GitService().loadSummary(repository.path());
    EXPECT_EQ(summary.commitCount, 3);
    EXPECT_EQ(summary.firstCommitDate, utcDate("2021-01-01T12:00:00Z"));
    EXPECT_EQ(summary.latestCommitDate, utcDate("2022-06-01T12:00:00Z"));
}

TEST(Summary, SubfolderReportsTheTopLevel)
{
    TestRepository repository;
    repository.write(QStringLiteral("top.txt"), "top");
    repository.write(QStringLiteral("sub/inner.txt"), "inner");
    repository.commit(QStringLiteral("files"));

    const RepositorySummary summary
        = GitService().loadSummary(repository.filePath(QStringLiteral("sub")));
    EXPECT_EQ(summary.path, repository.path());
    EXPECT_EQ(summary.trackedFileCount, 1);
    // ls-files names "inner.txt" relative to the subfolder; looked up at the top level it is
    // absent.
    EXPECT_EQ(summary.repositorySizeBytes, 0);
}

TEST(Summary, ActivityTrendComparesTheLastTwoQuarters)
{
    TestRepository recentOnly;
    recentOnly.setDate(daysAgo(10));
    recentOnly.commit(QStringLiteral("recent"));
    EXPECT_EQ(GitService().loadSummary(recentOnly.path()).activityTrendPercent, 100.0);

    TestRepository halved;
    for (int day : {150, 140, 130, 120, 20, 10}) {
        halved.setDate(daysAgo(day));
        halved.commit(QStringLiteral("work"));
    }
    EXPECT_DOUBLE_EQ(GitService().loadSummary(halved.path()).activityTrendPercent, -50.0);
}

TEST(Summary, NotARepositoryFailsBeforeAnythingElse)
{
    QTemporaryDir outside;
    try {
        GitService().loadSummary(outside.path());
        FAIL() << "a plain folder was summarised";
    } catch (const GitError &error) {
        EXPECT_EQ(error.kind(), GitError::Kind::CommandFailed);
        EXPECT_TRUE(error.description().startsWith(QStringLiteral("fatal: not a git repository")));
    }
}

TEST(Summary, ObjectStoreSizeFromCountObjects)
{
    EXPECT_EQ(GitService::gitDirectorySize(
                  QStringLiteral("count: 0\nsize: 0\nin-pack: 3\nsize-pack: 7\n")),
              7168);
    EXPECT_EQ(GitService::gitDirectorySize(QStringLiteral("size: 5\nsize-pack: 7\n")), 12288);
    EXPECT_EQ(GitService::gitDirectorySize(QStringLiteral("size: x\nsize-pack: 2\nweird line\n")),
              2048);
    EXPECT_EQ(GitService::gitDirectorySize(QString()), 0);
}
