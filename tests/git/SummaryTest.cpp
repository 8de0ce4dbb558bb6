// The repository summary. It reads HEAD's history in one walk: the walk cases hold it against the
// separate commands it replaces (rev-list --count, shortlog, log --max-parents=0, log -1,
// log --reverse), run here as they used to be, on histories chosen to trip a single walk up.

#include "OddHistory.h"
#include "TestRepository.h"
#include "git/GitProcess.h"
#include "git/GitService.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <vector>

using namespace strataloom;

namespace strataloom {
void PrintTo(const AuthorStat &stat, std::ostream *out)
{
    *out << stat.commits << ' ' << stat.name.toStdString();
}
} // namespace strataloom

namespace {

// The figures the walk gives, in one tuple.
auto walkFigures(const RepositorySummary &summary)
{
    return std::make_tuple(summary.commitCount, summary.authorCount, summary.firstCommitDate,
                           summary.latestCommitDate, summary.longestInactivityDays,
                           summary.commitsPerMonth);
}

// The figures as one command each gave them.
RepositorySummary separateCommands(const QString &repository)
{
    RepositorySummary figures;
    if (runGitProcess(repository, {"rev-parse", "--verify", "HEAD"}).exitStatus != 0)
        return figures;
    const auto lines = [&](const QStringList &arguments) {
        const ProcessResult result = runGitProcess(repository, arguments + QStringList {"HEAD"});
        EXPECT_EQ(result.exitStatus, 0) << arguments.join(' ').toStdString();
        return nonEmptyLines(QString::fromUtf8(result.standardOutput));
    };
    figures.commitCount = lines({"rev-list", "--count"}).value(0).toInt();
    figures.authorCount = lines({"shortlog", "-sne"}).size();
    for (const QString &line : lines({"log", "--max-parents=0", "--format=%at"})) {
        const OptionalDate date = GitService::parseUnixDate(line);
        if (date && (!figures.firstCommitDate || *date < *figures.firstCommitDate))
            figures.firstCommitDate = date;
    }
    figures.latestCommitDate
        = GitService::parseUnixDate(lines({"log", "-1", "--format=%at"}).value(0));
    std::vector<double> times;
    for (const QString &line : lines({"log", "--reverse", "--format=%ct"})) {
        bool ok = false;
        if (const double time = line.trimmed().toDouble(&ok); ok)
            times.push_back(time);
    }
    for (size_t i = 1; i < times.size(); ++i) {
        const int gap = static_cast<int>(std::trunc((times[i] - times[i - 1]) / 86400.0));
        figures.longestInactivityDays = i == 1 ? gap : std::max(figures.longestInactivityDays, gap);
    }
    if (figures.firstCommitDate && figures.latestCommitDate) {
        const double span = figures.firstCommitDate->secsTo(*figures.latestCommitDate);
        figures.commitsPerMonth = figures.commitCount / std::max(span / 2629746.0, 1.0);
    }
    return figures;
}

void mergesTiesAndMailmap(TestRepository &repository)
{
    // Merges of merges on main. Equal counts sort by name bytewise ("Zed" before "bob" before
    // "\u00c9mile"); the mailmap joins "Bob <p2@...>" to Ada Lovelace, one person with two
    // addresses: two identities but one name.
    writeHistory(repository, mergesOfMerges());
    repository.write(".mailmap", "Ada Lovelace <p2@example.com> Bob <p2@example.com>\n");
    repository.commit("mailmap", "Ada Lovelace", "ada@example.com", "2023-11-01T00:00:00Z");
}

void detachedBehindTheBranch(TestRepository &repository)
{
    writeHistory(repository,
                 scripted({"c1 main 0", "c2 main 3 c1", "c3 main 6 c2", "c4 main 9 c3"}));
    repository.git({"checkout", "-q", "--detach", "HEAD~2"});
}

void unusualDates(TestRepository &repository)
{
    // Before 1970, the epoch itself, beyond year 9999, and committer dates that run backwards.
    writeRawDateHistory(repository,
                        {"1600000000 +0000", "-86400 +0000", "0 +0000", "253402300800 +0000",
                         "1500000000 -1200", "1700000000 +1400", "1400000000 +0000"});
}

void oddNames(TestRepository &repository)
{
    // An empty name, line-breaking characters inside names, and trailing blanks.
    QString parent;
    qint64 seconds = 1600000000;
    for (const QByteArray &author :
         {QByteArray(" <none@example.com>"), QByteArray("a\rb <ab@example.com>"),
          QByteArray("x\xe2\x80\xa8y <xy@example.com>"), QByteArray("Tab\tName <t@example.com>"),
          QByteArray("a\rb <ab@example.com>")}) {
        repository.write("f.txt", QByteArray::number(seconds));
        repository.git({"add", "f.txt"});
        parent = writeRawCommit(repository, repository.git({"write-tree"}).trimmed(), parent,
                                QString::number(seconds += 86400) + " +0000", "raw", author);
    }
    repository.git({"update-ref", "refs/heads/main", parent});
}

QString daysAgo(int days)
{
    return QDateTime::currentDateTimeUtc().addDays(-days).toString(Qt::ISODate);
}

} // namespace

TEST(SummaryWalk, OneWalkGivesWhatTheSeparateCommandsGave)
{
    const struct
    {
        const char *name;
        std::function<void(TestRepository &)> build;
    } cases[] = {
        {"empty", [](TestRepository &) {}},
        {"merges, ties and a mailmap", mergesTiesAndMailmap},
        {"detached behind the branch", detachedBehindTheBranch},
        {"several roots",
         [](TestRepository &r) {
             writeHistory(
                 r,
                 scripted({"m1 main 5", "o1 o 1", "m2 main 6 m1 o1", "p1 p 3", "m3 main 9 m2 p1"}));
         }},
        {"unusual dates", unusualDates},
        {"odd names", oddNames},
    };
    for (const auto &testCase : cases) {
        SCOPED_TRACE(testCase.name);
        TestRepository repository;
        testCase.build(repository);

        QList<AuthorStat> authorStats;
        const RepositorySummary summary = GitService().loadSummary(repository.path(), &authorStats);
        EXPECT_EQ(walkFigures(summary), walkFigures(separateCommands(repository.path())));
        EXPECT_EQ(authorStats, GitService().loadAuthorStats(repository.path()));
        // Without author statistics asked for, the summary is the same.
        EXPECT_EQ(GitService().loadSummary(repository.path()), summary);
    }
}

// A subfolder reports the top level but counts only the files below it; ls-files names them
// relative to it, so looked up at the top level their sizes are absent.
TEST(Summary, CountsHistoryDatesAndGapsFromTheTopLevel)
{
    TestRepository repository;
    repository.setDate("2023-01-01T00:00:00Z");
    repository.write("a.txt", "aaaa");
    repository.write("sub/inner.txt", "inner");
    repository.commit("one", "Ada", "ada@example.com");
    repository.setDate("2023-01-11T23:00:00Z"); // 10.96 days later: a gap of 10
    repository.write("b.txt", "bb");
    repository.commit("two", "Ada", "ada@work.example");
    repository.setDate("2023-03-01T00:00:00+02:00");
    repository.commit("three", "Grace", "grace@example.com");
    repository.git({"tag", "v1"});
    repository.git({"branch", "topic"});
    repository.git({"remote", "add", "origin", "https://example.com/r.git"});

    const std::tuple<QString, int, qint64> folders[]
        = {{repository.path(), 3, 11}, {repository.filePath("sub"), 1, 0}};
    for (const auto &[folder, files, bytes] : folders) {
        SCOPED_TRACE(folder.toStdString());
        const RepositorySummary summary = GitService().loadSummary(folder);
        EXPECT_EQ(std::make_tuple(summary.path, summary.currentBranch, summary.remoteURL,
                                  summary.isClean),
                  std::make_tuple(repository.path(), "main",
                                  std::optional<QString>("https://example.com/r.git"), true));
        // One person with two addresses counts twice.
        EXPECT_EQ(std::make_tuple(summary.commitCount, summary.branchCount, summary.tagCount,
                                  summary.authorCount, summary.trackedFileCount,
                                  summary.repositorySizeBytes),
                  std::make_tuple(3, 2, 1, 3, files, bytes));
        EXPECT_GT(summary.gitSizeBytes, 0);
        EXPECT_EQ(summary.firstCommitDate, utcDate("2023-01-01T00:00:00Z"));
        EXPECT_EQ(summary.latestCommitDate, utcDate("2023-02-28T22:00:00Z"));
        EXPECT_EQ(summary.longestInactivityDays, 47); // 47 days and 23 hours, truncated
        const double months
            = utcDate("2023-01-01T00:00:00Z").secsTo(utcDate("2023-02-28T22:00:00Z")) / 2629746.0;
        EXPECT_DOUBLE_EQ(summary.commitsPerMonth, 3 / months);
        EXPECT_EQ(summary.activityTrendPercent, 0.0); // nothing in the last 180 days
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
