#include "OddHistory.h"
#include "TestRepository.h"
#include "git/GitService.h"

#include <QDir>
#include <QFile>

#include <gtest/gtest.h>

#include <algorithm>

using namespace strataloom;

namespace {

/// One field of every record, in the records' order: column(branches, &BranchRecord::name).
template<typename Record, typename Field>
QList<Field> column(const QList<Record> &records, Field Record::*field)
{
    QList<Field> values;
    for (const Record &record : records)
        values.append(record.*field);
    return values;
}

constexpr qint64 none = std::numeric_limits<qint64>::min();

qint64 seconds(const OptionalDate &date)
{
    return date && date->isValid() ? date->toSecsSinceEpoch() : none;
}

// The subjects of the commits of a graph, without its connector lines.
QStringList graphSubjects(QList<GraphCommitRecord> graph)
{
    graph.removeIf([](const GraphCommitRecord &record) { return record.isConnector(); });
    return column(graph, &GraphCommitRecord::subject);
}

} // namespace

TEST(HistoryLoader, EmptyRepositoryGivesEmptyListsAndAnUnbornBranchWithoutError)
{
    TestRepository repository;
    repository.write("staged.txt", "12345");
    repository.write("untracked.txt", "u\n");
    repository.git({"add", "staged.txt"});
    const QString path = repository.path();
    GitService git;
    EXPECT_EQ((QList<qsizetype> {
                  git.loadCommits(path, 300).size(), git.loadGraph(path, 500).size(),
                  git.searchCommits(path, "staged").size(), git.loadBranches(path).size(),
                  git.loadTags(path).size(), git.loadAuthorStats(path).size(),
                  git.loadActivity(path, 12).size(), git.loadAuthorDetails(path, "Ada").commits}),
              QList<qsizetype>(8, 0));
    EXPECT_EQ(column(git.loadFiles(path), &FileRecord::path), QStringList {"staged.txt"});
    EXPECT_TRUE(gitErrorOf([&] { git.loadFileDetails(path, "staged.txt"); }).startsWith("fatal:"));

    const RepositorySummary summary = git.loadSummary(path);
    EXPECT_EQ(std::make_tuple(summary.path, summary.name, summary.currentBranch, summary.isClean),
              std::make_tuple(path, QDir(path).dirName(), "main", false));
    EXPECT_EQ(std::make_tuple(summary.commitCount, summary.authorCount, summary.trackedFileCount,
                              summary.repositorySizeBytes, summary.longestInactivityDays,
                              summary.commitsPerMonth, summary.activityTrendPercent),
              std::make_tuple(0, 0, 1, 5, 0, 0.0, 0.0));
    EXPECT_FALSE(summary.firstCommitDate || summary.latestCommitDate);
}

// One history for the commit, search, ref and change loaders. main: "Fix the parser" (adds
// a.txt, gone.txt, src/a.c), a merge of feature/x ("a fix on a side branch" by Grace: an image
// and a line of src/a.c), "Change a, add b" (Grace, with a body), "FIX LOUDLY", "Tidy up" (adds,
// modifies, deletes gone.txt and renames src/a.c), "version 1x2", tags v1.0 (light) and v2.0
// (annotated); an unrelated root on "other"; an untracked draft. Dates in several zones.
class Loaders : public ::testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        TestRepository &r = *(repository = new TestRepository);
        r.setDate("2024-03-01T09:20:30+01:00");
        r.write("a.txt", "one\ntwo\nthree\n");
        r.write("gone.txt", "bye\n");
        r.write("src/a.c", "int main(void) { return 0; }\n");
        first = r.commit("Fix the parser | \"quoted\"");
        r.git({"tag", "v1.0"});
        r.git({"switch", "-q", "-c", "feature/x"});
        r.setDate("2024-03-01T12:00:00+02:00");
        r.write("image.bin", QByteArray("\x00\x01\x02\xff\x00", 5));
        r.write("src/a.c", "int main(void) { return 0; }\n// now\n");
        side = r.commit("a fix on a side branch", "Grace Hopper", "grace@example.com");
        r.git({"switch", "-q", "main"});
        r.setDate("2024-03-02T12:00:00Z");
        r.write("a.txt", "one\n2\nthree\nfour\n");
        r.write("b.txt", "b\n");
        second
            = r.commit("Change a, add b\n\nWhy it changed.", "Grace Hopper", "grace@example.com");
        r.setDate("2024-03-03T00:00:00Z");
        r.git({"merge", "-q", "--no-ff", "--no-edit", "feature/x"});
        r.setDate("2024-03-04T00:00:00Z");
        r.setDateStep(86400);
        r.commit("FIX LOUDLY");
        r.setDate("2024-03-05T05:00:00+05:00");
        r.write("a file.txt", "a\n");
        r.write("b.txt", "b\nb\n");
        r.write("ünï/名前.txt", "u\n");
        r.git({"mv", "src/a.c", "src/b c.c"});
        r.remove("gone.txt");
        tidy = r.commit("Tidy up\n\nAdds a prefix to names.");
        r.commit("version 1x2");
        r.setDate("2024-04-01T12:00:00+02:00");
        r.git({"tag", "-a", "v2.0", "-m", "Release two\n\nNotes."});
        r.setDate("2024-02-15T00:00:00Z");
        r.git({"switch", "-q", "--orphan", "other"});
        r.write("three.txt", "3\n");
        secondRoot = r.commit("second root");
        r.git({"switch", "-q", "main"});
        r.write("draft.txt", "12345");
    }
    static void TearDownTestSuite() { delete repository; }

    static QString shortHash(const QString &revision)
    {
        return repository->git({"rev-parse", "--short", revision}).trimmed();
    }

    static inline TestRepository *repository = nullptr;
    static inline QString first, side, second, tidy, secondRoot;
    const QString path = repository->path();
    GitService git;
};

TEST_F(Loaders, CommitsCarryHeaderFieldsAndLineStatisticsNewestFirstAndMergesHaveNone)
{
    const QList<CommitRecord> commits = git.loadCommits(path, 300);
    ASSERT_EQ(commits.size(), 7);
    // The merge, then its parents by date.
    EXPECT_EQ(column(commits, &CommitRecord::id).mid(4), (QStringList {second, side, first}));
    EXPECT_EQ(commits.at(4),
              (CommitRecord {second, shortHash(second), "Grace Hopper", "grace@example.com",
                             utcDate("2024-03-02T12:00:00Z"), "Change a, add b",
                             "Why it changed.\n", 3, 1, 2}));
    const CommitRecord &oldest = commits.at(6);
    EXPECT_EQ(std::make_tuple(oldest.date, oldest.body, oldest.additions, oldest.deletions,
                              oldest.filesChanged),
              std::make_tuple(utcDate("2024-03-01T08:20:30Z"), QString(), 5, 0, 3));
    // A binary file counts as changed, without lines.
    EXPECT_EQ(std::make_tuple(commits.at(5).additions, commits.at(5).deletions,
                              commits.at(5).filesChanged),
              std::make_tuple(1, 0, 2));
    const CommitRecord &merge = commits.at(3);
    EXPECT_TRUE(merge.subject.startsWith("Merge branch 'feature/x'"));
    EXPECT_EQ(std::make_tuple(merge.additions, merge.deletions, merge.filesChanged),
              std::make_tuple(0, 0, 0));
}

// The limit counts commits of the current branch, while the graph and the search take in all
// refs, also a second root.
TEST_F(Loaders, LimitCountsTheCurrentBranchWhileGraphAndSearchTakeAllRefs)
{
    EXPECT_EQ(column(git.loadCommits(path, 2), &CommitRecord::subject),
              QStringList({"version 1x2", "Tidy up"}));
    QStringList all = column(git.loadCommits(path, 10), &CommitRecord::subject) << "second root";
    QStringList graphed = graphSubjects(git.loadGraph(path, 10));
    all.sort();
    graphed.sort();
    EXPECT_EQ(graphed, all);

    const std::pair<const char *, QStringList> cases[] = {
        {"fix", {"Tidy up", "FIX LOUDLY", "a fix on a side branch", "Fix the parser | \"quoted\""}},
        {" fix", {"a fix on a side branch"}},
        {"1.2", {"version 1x2"}},
        {"root", {"second root"}},
    };
    for (const auto &[query, subjects] : cases)
        EXPECT_EQ(column(git.searchCommits(path, query), &CommitRecord::subject), subjects)
            << query;

    const QList<CommitRecord> found = git.searchCommits(path, "prefix");
    ASSERT_EQ(found.size(), 1);
    // The record is trimmed as a whole, so the body loses its final newline. No statistics.
    EXPECT_EQ(std::make_tuple(found.at(0).body, found.at(0).email, found.at(0).additions,
                              found.at(0).filesChanged),
              std::make_tuple("Adds a prefix to names.", "ada@example.com", 0, 0));
}

// Branches and tags newest first; a slash does not make a branch remote, and an annotated tag
// names its tag object and the tagger's date.
TEST_F(Loaders, LocalBranchesAndTagsNewestFirstWithCurrentMarked)
{
    const QList<BranchRecord> branches = git.loadBranches(path);
    EXPECT_EQ(column(branches, &BranchRecord::name), QStringList({"main", "feature/x", "other"}));
    EXPECT_EQ(column(branches, &BranchRecord::isCurrent), QList<bool>({true, false, false}));
    EXPECT_EQ(branches.value(0).lastAuthor, "Ada Lovelace");
    EXPECT_EQ(branches.value(1),
              (BranchRecord {"feature/x", false, false, shortHash(side),
                             utcDate("2024-03-01T10:00:00Z"), "Grace Hopper"}));
    EXPECT_EQ(git.loadTags(path),
              (QList<TagRecord> {{"v2.0", shortHash("refs/tags/v2.0"),
                                  utcDate("2024-04-01T10:00:00Z"), "Release two"},
                                 {"v1.0", shortHash(first), utcDate("2024-03-01T08:20:30Z"),
                                  "Fix the parser | \"quoted\""}}));
    EXPECT_NE(shortHash("refs/tags/v2.0"), shortHash("v2.0^{commit}"));

    // A detached HEAD marks no branch current.
    repository->git({"switch", "-q", "--detach", "HEAD"});
    const QList<bool> current = column(git.loadBranches(path), &BranchRecord::isCurrent);
    repository->git({"switch", "-q", "main"});
    EXPECT_EQ(current, QList<bool>(3, false));
}

TEST_F(Loaders, ChangesListAddsModificationsDeletionsAndRenamesInGitsOrder)
{
    const std::pair<QString, QList<CommitFileChange>> cases[] = {
        {first, {{"A", "a.txt"}, {"A", "gone.txt"}, {"A", "src/a.c"}}},
        {tidy,
         {{"A", "a file.txt"},
          {"M", "b.txt"},
          {"D", "gone.txt"},
          {"R100", "src/a.c \u2192 src/b c.c"},
          {"A", "ünï/名前.txt"}}},
        {secondRoot, {{"A", "three.txt"}}},
        {"HEAD~3", {}}, // a merge lists nothing
    };
    for (const auto &[revision, changes] : cases)
        EXPECT_EQ(git.loadCommitChanges(path, revision), changes) << revision.toStdString();
}

TEST_F(Loaders, GraphKeepsDrawingsPrefixesAndDecorationsAsGitPrintsThemAndLimitsCommits)
{
    const QList<GraphCommitRecord> graph = git.loadGraph(path, 500);
    // The merge opens a fork "|\  " that closes with "|/  ". The line number keeps repeated
    // drawings apart; connectors carry nothing else.
    QStringList connectors;
    QMap<QString, GraphCommitRecord> bySubject;
    for (const GraphCommitRecord &record : graph) {
        if (record.isConnector()) {
            connectors << record.id + '=' + record.graph + record.subject + record.author;
        } else {
            EXPECT_EQ(record.id, record.shortHash);
            bySubject.insert(record.subject, record);
        }
    }
    EXPECT_EQ(bySubject.size(), 8);
    EXPECT_EQ(connectors, QStringList({"connector-4-|\\  =|\\  ", "connector-7-|/  =|/  "}));
    const GraphCommitRecord merge = bySubject.value("Merge branch 'feature/x'");
    EXPECT_EQ(std::make_tuple(merge.graph, merge.author), std::make_tuple("*   ", "Test"))
        << "merges take the configured identity";
    EXPECT_FALSE(graph.at(0).relativeDate.isEmpty());
    const std::pair<const char *, const char *> decorations[]
        = {{"version 1x2", " (HEAD -> main, tag: v2.0)"},
           {"a fix on a side branch", " (feature/x)"},
           {"Fix the parser | \"quoted\"", " (tag: v1.0)"},
           {"second root", " (other)"},
           {"Tidy up", ""}};
    for (const auto &[subject, decoration] : decorations)
        EXPECT_EQ(bySubject.value(subject).decorations, decoration) << subject;
    EXPECT_EQ(bySubject.value("a fix on a side branch").graph, "| * ");

    // The limit counts commits, not lines: a merge at the end still draws its fork below itself.
    const QList<GraphCommitRecord> four = git.loadGraph(path, 4);
    EXPECT_EQ(graphSubjects(four).size(), 4);
    EXPECT_EQ(four.constLast().id, "connector-4-|\\  ");
}

// A file's history follows its renames; a file never committed has only its size, a deleted one
// only its history.
TEST_F(Loaders, FileDetailsFollowRenamesAcrossAuthors)
{
    EXPECT_EQ(git.loadFileDetails(path, "src/b c.c"),
              (FileDetails {"src/b c.c",
                            36,
                            3,
                            {"Ada Lovelace", "Grace Hopper"},
                            utcDate("2024-03-01T08:20:30Z"),
                            utcDate("2024-03-05T00:00:00Z"),
                            "Ada Lovelace"}));
    EXPECT_EQ(git.loadFileDetails(path, "draft.txt"),
              (FileDetails {"draft.txt", 5, 0, {}, std::nullopt, std::nullopt, "Unknown"}));
    const FileDetails gone = git.loadFileDetails(path, "gone.txt");
    EXPECT_EQ(std::make_tuple(gone.sizeBytes, gone.commitCount, gone.lastAuthor),
              std::make_tuple(0, 2, QStringLiteral("Ada Lovelace")));
    EXPECT_EQ(gone.lastCommitDate, utcDate("2024-03-05T00:00:00Z"));
}

TEST_F(Loaders, UnknownOrOptionLikeCommitsFailWithGitsMessage)
{
    const QString target = repository->filePath("written-by-git.txt");
    const QString unknown = QStringLiteral("0123456789abcdef0123456789abcdef01234567");
    // An abbreviation git cannot resolve reads as a path; git's hint lines are kept.
    const std::pair<QString, QString> cases[] = {
        {unknown, "fatal: bad object " + unknown},
        {"deadbee", "fatal: ambiguous argument 'deadbee': unknown revision"},
        {"--output=" + target, "fatal: "},
    };
    for (const auto &[commit, message] : cases) {
        EXPECT_TRUE(gitErrorOf([&] { git.loadCommitChanges(path, commit); }).startsWith(message))
            << commit.toStdString();
        EXPECT_TRUE(gitErrorOf([&] { git.loadCommitDiff(path, commit); }).startsWith(message))
            << commit.toStdString();
    }
    EXPECT_FALSE(QFile::exists(target));
}

TEST_F(Loaders, DiffHoldsFullerHeaderStatisticsAndPatch)
{
    const QString diff = git.loadCommitDiff(path, side);
    EXPECT_TRUE(diff.startsWith("commit " + side + '\n'));
    for (const char *part : {"\nAuthor:     Grace Hopper <grace@example.com>\n",
                             "\nCommitDate: ", " image.bin | Bin 0 -> 5 bytes\n",
                             "\nBinary files /dev/null and b/image.bin differ\n"})
        EXPECT_TRUE(diff.contains(QLatin1String(part))) << part;
    EXPECT_FALSE(diff.contains('\x1b')); // no colour codes
    EXPECT_TRUE(diff.endsWith("\n+// now\n")); // git's text, untrimmed
}

TEST(HistoryLoader, UnusualAndNonUtf8SubjectsParseInEveryList)
{
    TestRepository repository;
    const QString unusual = "a | b\tc \"quoted\" 'single' Ünïcødé 日本語 —";
    const QString parent = repository.commit(unusual);
    // `git commit` re-encodes a Latin-1 message to UTF-8, so that commit is written by hand.
    const QString tree = repository.git({"hash-object", "-w", "-t", "tree", "/dev/null"}).trimmed();
    repository.git({"update-ref", "refs/heads/main",
                    writeRawCommit(repository, tree, parent, "1704103200 +0000", "caf\xe9 au lait",
                                   "Ada Lovelace <ada@example.com>")});
    const QStringList expected {QStringLiteral("caf\uFFFD au lait"), unusual};
    const QString path = repository.path();
    GitService git;
    EXPECT_EQ(column(git.loadCommits(path, 10), &CommitRecord::subject), expected);
    EXPECT_EQ(graphSubjects(git.loadGraph(path, 10)), expected);
    EXPECT_EQ(column(git.searchCommits(path, "quoted"), &CommitRecord::subject),
              QStringList {unusual});
    EXPECT_EQ(column(git.searchCommits(path, "lait"), &CommitRecord::subject), expected.mid(0, 1));
    EXPECT_EQ(git.loadCommits(path, 1).value(0).date, utcDate("2024-01-01T10:00:00Z"));
}

TEST(HistoryLoader, BlankSearchRunsNoGitAndABadPatternFailsWithGitsMessage)
{
    TestRepository repository;
    repository.commit("anything");
    const QString message = gitErrorOf([&] { GitService().searchCommits(repository.path(), "["); });
    EXPECT_TRUE(message.startsWith("fatal:") && message.contains("Invalid regular expression"))
        << message.toStdString();

    // Any git run would fail to start and throw.
    qputenv("STRATALOOM_GIT", "/nonexistent/git");
    QList<CommitRecord> found {CommitRecord {}};
    EXPECT_NO_THROW(found = GitService().searchCommits(repository.path(), "  "));
    qunsetenv("STRATALOOM_GIT");
    EXPECT_TRUE(found.isEmpty());
}

TEST(RefLoader, RemoteBranchesAreListedAsRemoteAndCheckedOutAsTrackingBranches)
{
    // main and topic pushed to a bare origin, origin/HEAD set, and a branch "feature" that
    // exists only on the remote.
    TestRepository origin {true};
    TestRepository work;
    work.setDateStep(3600);
    work.commit("root");
    work.git({"switch", "-q", "-c", "topic"});
    work.commit("topic work");
    work.git({"switch", "-q", "-c", "feature"});
    work.commit("feature work");
    work.git({"switch", "-q", "main"});
    work.git({"remote", "add", "origin", origin.path()});
    work.git({"push", "-q", "origin", "main", "topic", "feature"});
    work.git({"branch", "-q", "-D", "feature"});
    work.git({"fetch", "-q", "origin"});
    work.git({"remote", "set-head", "origin", "-a"});
    const auto current = [&] { return work.git({"branch", "--show-current"}).trimmed(); };
    GitService git;
    const QList<BranchRecord> branches = git.loadBranches(work.path());
    QMap<QString, BranchRecord> byName;
    QStringList listed;
    for (const BranchRecord &branch : branches) {
        byName.insert(branch.name, branch);
        // git 2.39 shortens refs/remotes/origin/HEAD to origin/HEAD, newer versions to origin.
        listed << QStringLiteral("%1%2%3").arg(
            branch.isRemote ? "remote " : "", branch.name == "origin" ? "origin/HEAD" : branch.name,
            branch.isCurrent ? " *" : "");
    }
    listed.sort();
    EXPECT_EQ(listed,
              (QStringList {"main *", "remote origin/HEAD", "remote origin/feature",
                            "remote origin/main", "remote origin/topic", "topic"}));
    // Tips by author date, newest first: feature's tip is the newest commit.
    EXPECT_EQ(branches.first().name, "origin/feature");
    EXPECT_EQ(byName.value(byName.contains("origin") ? "origin" : "origin/HEAD").lastCommitHash,
              byName.value("origin/main").lastCommitHash);

    git.checkout(byName.value("topic"), work.path());
    EXPECT_EQ(current(), "topic");
    for (const BranchRecord &branch : git.loadBranches(work.path()))
        EXPECT_EQ(branch.isCurrent, branch.name == "topic") << branch.name.toStdString();

    // A remote branch whose local name exists already is refused as git refuses it.
    EXPECT_EQ(gitErrorOf([&] { git.checkout(byName.value("origin/topic"), work.path()); }),
              "fatal: a branch named 'topic' already exists");
    EXPECT_EQ(current(), "topic");

    // Otherwise git makes a local branch of the same short name that tracks it.
    git.checkout(byName.value("origin/feature"), work.path());
    EXPECT_EQ(current(), "feature");
    EXPECT_EQ(work.git({"rev-parse", "--abbrev-ref", "feature@{upstream}"}).trimmed(),
              "origin/feature");
}

// Histories that git itself accepts but that are unusual: dates it cannot format, paths it would
// quote, names that look like patterns and refs whose names it refuses.
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
