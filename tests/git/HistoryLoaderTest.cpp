#include "RecordColumns.h"
#include "TestRepository.h"
#include "git/GitService.h"

#include <QDir>
#include <QFile>

#include <gtest/gtest.h>

#include <algorithm>

using namespace strataloom;

namespace {

// The subjects of the commits of a graph, without its connector lines.
QStringList graphSubjects(QList<GraphCommitRecord> graph)
{
    graph.removeIf([](const GraphCommitRecord &record) { return record.isConnector(); });
    return column(graph, &GraphCommitRecord::subject);
}

template<typename Record> Record withSubject(const QList<Record> &records, const QString &subject)
{
    const auto found = std::find_if(records.begin(), records.end(),
                                    [&](const Record &r) { return r.subject == subject; });
    EXPECT_NE(found, records.end()) << subject.toStdString();
    return found == records.end() ? Record {} : *found;
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
    EXPECT_TRUE(git.loadCommits(path, 300).isEmpty());
    EXPECT_TRUE(git.loadGraph(path, 500).isEmpty());
    EXPECT_TRUE(git.searchCommits(path, "staged").isEmpty());
    EXPECT_TRUE(git.loadBranches(path).isEmpty());
    EXPECT_TRUE(git.loadTags(path).isEmpty());
    EXPECT_TRUE(git.loadAuthorStats(path).isEmpty());
    EXPECT_TRUE(git.loadActivity(path, 12).isEmpty());
    EXPECT_EQ(git.loadAuthorDetails(path, "Ada").commits, 0);
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

TEST(HistoryLoader, CommitsCarryHeaderFieldsAndLineStatisticsNewestFirst)
{
    TestRepository repository;
    repository.setDate("2024-03-01T09:20:30+01:00");
    repository.write("a.txt", "one\ntwo\nthree\n");
    const QString first = repository.commit("Add a");
    repository.setDate("2024-03-02T12:00:00Z");
    repository.write("a.txt", "one\n2\nthree\nfour\n");
    repository.write("b.txt", "b\n");
    const QString second = repository.commit("Change a, add b\n\nWhy it changed.", "Grace Hopper",
                                             "grace@example.com");

    const QList<CommitRecord> commits = GitService().loadCommits(repository.path(), 300);
    ASSERT_EQ(commits.size(), 2);
    const QString shortHash = repository.git({"rev-parse", "--short", second}).trimmed();
    EXPECT_EQ(commits.at(0),
              (CommitRecord {second, shortHash, "Grace Hopper", "grace@example.com",
                             utcDate("2024-03-02T12:00:00Z"), "Change a, add b",
                             "Why it changed.\n", 3, 1, 2}));

    const CommitRecord &oldest = commits.at(1);
    EXPECT_EQ(std::make_tuple(oldest.id, oldest.date, oldest.body),
              std::make_tuple(first, utcDate("2024-03-01T08:20:30Z"), QString()));
    EXPECT_EQ(std::make_tuple(oldest.additions, oldest.deletions, oldest.filesChanged),
              std::make_tuple(3, 0, 1));
}

TEST(HistoryLoader, BinaryFilesCountAsChangedWithoutLinesAndMergesHaveNoFigures)
{
    TestRepository repository;
    repository.setDateStep(60);
    repository.write("text.txt", "x\n");
    repository.commit("root");
    repository.git({"switch", "-q", "-c", "side"});
    repository.write("image.bin", QByteArray("\x00\x01\x02\xff\x00", 5));
    repository.write("text.txt", "x\ny\n");
    repository.commit("binary and text");
    repository.git({"switch", "-q", "main"});
    repository.write("other.txt", "o\n");
    repository.commit("other");
    repository.git({"merge", "-q", "--no-edit", "side"});

    const QList<CommitRecord> commits = GitService().loadCommits(repository.path(), 10);
    ASSERT_EQ(commits.size(), 4);
    const CommitRecord &merge = commits.at(0);
    EXPECT_TRUE(merge.subject.startsWith("Merge branch 'side'"));
    EXPECT_EQ(std::make_tuple(merge.additions, merge.deletions, merge.filesChanged),
              std::make_tuple(0, 0, 0));
    const CommitRecord binary = withSubject(commits, "binary and text");
    EXPECT_EQ(std::make_tuple(binary.additions, binary.deletions, binary.filesChanged),
              std::make_tuple(1, 0, 2));
}

TEST(HistoryLoader, UnusualAndNonUtf8SubjectsParseInEveryList)
{
    TestRepository repository;
    const QString unusual = "a | b\tc \"quoted\" 'single' Ünïcødé 日本語 —";
    repository.commit(unusual);
    // `git commit` re-encodes a Latin-1 message to UTF-8, so that commit is written by hand.
    const QString objectFile = repository.filePath("commit-object");
    QFile file(objectFile);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("tree 4b825dc642cb6eb9a060e54bf8d69288fbee4904\nparent "
               + repository.git({"rev-parse", "HEAD"}).trimmed().toLatin1()
               + "\nauthor Ada Lovelace <ada@example.com> 1704103200 +0000\n"
                 "committer Ada Lovelace <ada@example.com> 1704103200 +0000\n\ncaf\xe9 au lait\n");
    file.close();
    repository.git({"hash-object", "-w", "-t", "tree", "/dev/null"});
    repository.git({"update-ref", "refs/heads/main",
                    repository.git({"hash-object", "-w", "-t", "commit", objectFile}).trimmed()});

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

TEST(HistoryLoader, GraphKeepsDrawingsPrefixesAndDecorationsAsGitPrintsThemAndLimitsCommits)
{
    // main: root -> merge(a) -> merge(b), each branch one commit beside one on main, so git
    // draws the same fork and join twice.
    TestRepository repository;
    repository.setDateStep(3600);
    repository.commit("root");
    for (const QString branch : {"a", "b"}) {
        repository.git({"switch", "-q", "-c", branch});
        repository.commit(branch + "1");
        repository.git({"switch", "-q", "main"});
        repository.commit("main after " + branch);
        repository.git({"merge", "-q", "--no-ff", "--no-edit", branch});
    }
    repository.git({"tag", "v1", "HEAD~1"});

    GitService git;
    const QList<GraphCommitRecord> graph = git.loadGraph(repository.path(), 500);
    // Each merge opens a fork "|\  " and each fork closes with "|/  ". The line number keeps
    // repeated drawings apart.
    QStringList connectorIds;
    for (const GraphCommitRecord &record : graph) {
        if (record.isConnector()) {
            connectorIds.append(record.id);
            EXPECT_EQ(record.id.section('-', 2), record.graph);
            EXPECT_TRUE(record.subject.isEmpty() && record.author.isEmpty());
        } else {
            EXPECT_EQ(record.id, record.shortHash);
        }
    }
    EXPECT_EQ(graphSubjects(graph).size(), 7);
    EXPECT_EQ(connectorIds,
              QStringList({"connector-1-|\\  ", "connector-4-|/  ", "connector-6-|\\  ",
                           "connector-9-|/  "}));

    const GraphCommitRecord &head = graph.at(0);
    EXPECT_EQ(std::make_tuple(head.graph, head.subject),
              std::make_tuple("*   ", "Merge branch 'b'"));
    EXPECT_EQ(head.author, "Test"); // merges take the configured identity
    EXPECT_FALSE(head.relativeDate.isEmpty());
    const std::pair<const char *, const char *> decorations[]
        = {{"Merge branch 'b'", " (HEAD -> main)"},
           {"b1", " (b)"},
           {"main after b", " (tag: v1)"},
           {"root", ""}};
    for (const auto &[subject, decoration] : decorations)
        EXPECT_EQ(withSubject(graph, subject).decorations, decoration) << subject;
    EXPECT_EQ(withSubject(graph, "b1").graph, "| * ");

    // The limit counts commits, not lines: a merge at the top still draws its fork below itself.
    EXPECT_EQ(column(git.loadGraph(repository.path(), 1), &GraphCommitRecord::id),
              QStringList({graph.at(0).id, "connector-1-|\\  "}));
    EXPECT_EQ(graphSubjects(git.loadGraph(repository.path(), 3)).size(), 3);
}

// The limit counts commits of the current branch, while the graph and the search take in all
// refs, also a second root.
TEST(HistoryLoader, LimitCountsTheCurrentBranchWhileGraphAndSearchTakeAllRefs)
{
    TestRepository repository;
    repository.setDateStep(60);
    repository.commit("Fix the parser");
    repository.commit("FIX LOUDLY");
    repository.commit("Tidy up\n\nAdds a prefix to names.");
    repository.commit("Unrelated", "fix author", "fix@example.com");
    repository.commit("version 1x2");
    repository.git({"switch", "-q", "-c", "side"});
    repository.commit("a fix on a side branch");
    repository.git({"switch", "-q", "--orphan", "other"});
    repository.commit("second root");
    repository.git({"switch", "-q", "main"});

    GitService git;
    const QString path = repository.path();
    EXPECT_EQ(column(git.loadCommits(path, 1), &CommitRecord::subject),
              QStringList {"version 1x2"});
    const QStringList main {"version 1x2", "Unrelated", "Tidy up", "FIX LOUDLY", "Fix the parser"};
    EXPECT_EQ(column(git.loadCommits(path, 10), &CommitRecord::subject), main);
    EXPECT_EQ(graphSubjects(git.loadGraph(path, 10)),
              QStringList({"second root", "a fix on a side branch"}) + main);

    const std::pair<const char *, QStringList> cases[] = {
        {"fix", {"a fix on a side branch", "Tidy up", "FIX LOUDLY", "Fix the parser"}},
        {" fix", {"a fix on a side branch"}},
        {"1.2", {"version 1x2"}},
    };
    for (const auto &[query, subjects] : cases)
        EXPECT_EQ(column(git.searchCommits(repository.path(), query), &CommitRecord::subject),
                  subjects)
            << query;

    const QList<CommitRecord> found = git.searchCommits(repository.path(), "prefix");
    ASSERT_EQ(found.size(), 1);
    // The record is trimmed as a whole, so the body loses its final newline. No statistics.
    EXPECT_EQ(std::make_tuple(found.at(0).body, found.at(0).email, found.at(0).additions,
                              found.at(0).filesChanged),
              std::make_tuple("Adds a prefix to names.", "ada@example.com", 0, 0));
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
