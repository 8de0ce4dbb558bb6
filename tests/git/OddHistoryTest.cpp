// Histories that git itself accepts but that are unusual: dates it cannot format, paths it would
// quote, names that look like patterns and refs whose names it refuses.
#include "OddHistory.h"
#include "RecordColumns.h"
#include "TestRepository.h"
#include "git/GitProcess.h"
#include "git/GitService.h"

#include <gtest/gtest.h>

#include <algorithm>

using namespace strataloom;

namespace {

constexpr qint64 none = std::numeric_limits<qint64>::min();

qint64 seconds(const OptionalDate &date)
{
    return date && date->isValid() ? date->toSecsSinceEpoch() : none;
}

} // namespace

// Years from 10000 on, instants before 1970 (also only in the author's zone) and zones beyond
// what a clock can show. Every commit is listed with its date or without one; details count the
// commits without a date but date only the others; activity counts each dated commit on its
// author's day.
TEST(OddHistory, OddDatesAreListedCountedAndDatedOnlyWhereKnown)
{
    const struct
    {
        const char *raw; ///< as stored in the commit object
        qint64 seconds; ///< the instant shown, or none
        const char *authorDay; ///< the day in the author's own zone; nullptr: none
    } rows[] = {
        {"1700000000 +0100", 1700000000, "2023-11-14"},
        {"253402300800 +0000", none, nullptr},
        {"253402300799 +0000", 253402300799, "9999-12-31"},
        {"-1 +0000", none, nullptr},
        {"-100000 +0100", none, nullptr},
        {"0 -1400", none, nullptr},
        {"40000 -1400", 40000, "1969-12-31"},
        {"1700000000 +9999", 1700000000, "2023-11-19"},
    };
    const int count = int(std::size(rows));
    // One commit per row on main, each changing notes.txt; a branch b<n> at commit n.
    TestRepository repository;
    QStringList raw;
    for (const auto &row : rows)
        raw << row.raw;
    writeRawDateHistory(repository, raw);
    const QString path = repository.path();
    GitService git;

    const QList<CommitRecord> commits = git.loadCommits(path, 300);
    ASSERT_EQ(commits.size(), count);
    QMap<QString, qint64> branchDates;
    for (const BranchRecord &branch : git.loadBranches(path))
        branchDates[branch.name] = seconds(branch.lastCommitDate);
    QList<qint64> dated;
    QMap<QString, int> days;
    for (int i = 0; i < count; ++i) {
        SCOPED_TRACE(rows[i].raw);
        const CommitRecord &commit = commits[count - 1 - i]; // newest first
        EXPECT_EQ(
            std::make_tuple(commit.subject, seconds(commit.date), commit.filesChanged,
                            branchDates.value(QStringLiteral("b%1").arg(i))),
            std::make_tuple(QStringLiteral("odd %1").arg(i), rows[i].seconds, 1, rows[i].seconds));
        if (rows[i].seconds != none)
            dated << rows[i].seconds;
        if (rows[i].authorDay)
            ++days[QString::fromLatin1(rows[i].authorDay)];
    }

    const FileDetails file = git.loadFileDetails(path, "notes.txt");
    const AuthorDetails author = git.loadAuthorDetails(path, "Odd");
    const RepositorySummary summary = git.loadSummary(path);
    int counted = 0;
    for (const ActivityPoint &point : author.activity)
        counted += point.count;
    EXPECT_EQ(std::make_tuple(file.commitCount, author.commits, summary.commitCount, counted),
              std::make_tuple(count, count, count, int(dated.size())));
    EXPECT_EQ(std::make_tuple(seconds(file.firstCommitDate), seconds(file.lastCommitDate),
                              seconds(summary.latestCommitDate)),
              std::make_tuple(*std::min_element(dated.begin(), dated.end()),
                              *std::max_element(dated.begin(), dated.end()),
                              rows[count - 1].seconds));
    EXPECT_EQ(author.emails, QStringList {"odd@example.com"});

    // Far enough back for every dated commit; the count of months alone must not empty the list.
    QMap<QString, int> activity;
    for (const ActivityPoint &point : git.loadActivity(path, 100000))
        activity[point.date.toLocalTime().date().toString(Qt::ISODate)] += point.count;
    EXPECT_EQ(activity, days);
}

TEST(OddHistory, PathsComeOutAsNamedInFilesChangesAndFile)
{
    TestRepository repository;
    const QStringList names {"new\nline.txt",   "tab\there.txt",        "q\"uote.txt",
                             "back\\slash.txt", "caf\u00e9 \u2192.txt", "plain.txt"};
    for (qsizetype i = 0; i < names.size(); ++i)
        repository.write(names[i], QByteArray::number(i) + " some text that stays the same\n");
    const QString addedCommit = repository.commit("add");
    repository.git({"mv", names[1], "moved\ttab.txt"});
    const QString moved = repository.commit("move");
    GitService git;
    const auto sorted = [](QStringList list) {
        list.sort();
        return list;
    };
    QStringList expectedNow = names;
    expectedNow.replace(1, "moved\ttab.txt");
    EXPECT_EQ(sorted(column(git.loadFiles(repository.path()), &FileRecord::path)),
              sorted(expectedNow));
    const QList<CommitFileChange> added = git.loadCommitChanges(repository.path(), addedCommit);
    EXPECT_EQ(sorted(column(added, &CommitFileChange::path)), sorted(names));
    EXPECT_EQ(column(added, &CommitFileChange::status), QStringList(names.size(), "A"));
    const QList<CommitFileChange> renamed = git.loadCommitChanges(repository.path(), moved);
    ASSERT_EQ(renamed.size(), 1);
    EXPECT_TRUE(renamed[0].status.startsWith('R'));
    EXPECT_EQ(renamed[0].path, names[1] + " \u2192 moved\ttab.txt");

    // The moved file's history follows it back through the rename.
    for (const QString &name : expectedNow)
        EXPECT_EQ(git.loadFileDetails(repository.path(), name).commitCount,
                  name == "moved\ttab.txt" ? 2 : 1)
            << name.toStdString();
}

// Author names and file paths that look like patterns, pathspecs or options are matched as
// written.
TEST(OddHistory, NamesAndPathsAreMatchedLiterally)
{
    TestRepository repository;
    const struct
    {
        bool isAuthor;
        QString name;
        int commits;
    } cases[]
        = {{true, "dependabot[bot]", 2}, {true, "dependabotb", 1}, {true, "a.b+c*", 1},
           {true, "axxbbbc", 3},         {true, "-n", 1},          {false, "[ab].txt", 1},
           {false, "a.txt", 2},          {false, ":x", 1},         {false, ":(glob)**/*.c", 1},
           {false, "lib/deep.c", 1},     {false, "--output=o", 1}, {false, "*.c", 1}};
    int serial = 0;
    for (const auto &row : cases) {
        for (int i = 0; i < row.commits; ++i) {
            // "./": Qt reads a name that begins with ":" as one of its resources.
            repository.write(row.isAuthor ? "f.txt" : "./" + row.name,
                             QByteArray::number(++serial));
            repository.commit(QStringLiteral("c%1").arg(serial),
                              row.isAuthor ? row.name : "Ada Lovelace",
                              QStringLiteral("bot%1@example.com").arg(serial));
        }
    }
    GitService git;
    for (const auto &row : cases)
        EXPECT_EQ(row.isAuthor ? git.loadAuthorDetails(repository.path(), row.name).commits
                               : git.loadFileDetails(repository.path(), row.name).commitCount,
                  row.commits)
            << row.name.toStdString();
}

TEST(OddHistory, RefsWithRefusedNamesAreSkippedEverywhere)
{
    TestRepository repository;
    repository.write("a.txt", "a\n");
    const QString commit = repository.commit("findable subject");
    repository.git({"tag", "v1"});
    for (const QString &refused : refusedRefNames())
        writeRefFile(repository, refused, commit);
    GitService git;

    const QList<GraphCommitRecord> graph = git.loadGraph(repository.path(), 500);
    ASSERT_EQ(graph.size(), 1);
    EXPECT_EQ(graph[0].shortHash, commit.left(graph[0].shortHash.size()));
    EXPECT_TRUE(graph[0].decorations.contains("v1"));
    EXPECT_EQ(git.searchCommits(repository.path(), "findable").size(), 1);
    EXPECT_EQ(git.loadAuthorDetails(repository.path(), "Ada").commits, 1);
    EXPECT_EQ(column(git.loadBranches(repository.path()), &BranchRecord::name),
              QStringList {"main"});
    EXPECT_EQ(column(git.loadTags(repository.path()), &TagRecord::name), QStringList {"v1"});
}
