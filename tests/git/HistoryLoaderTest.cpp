#include "git/GitService.h"
#include "TestRepository.h"

#include <QFile>

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>

using namespace strataloom;

namespace {

QStringList subjectsOf(const QList<CommitRecord> &commits)
{
    QStringList subjects;
    for (const CommitRecord &commit : commits)
        subjects.append(commit.subject);
    return subjects;
}

// main: root -> merge(a) -> merge(b), each branch one commit beside one on main, so git draws
// the same fork and join twice.
void buildTwoForks(TestRepository &repository)
{
    repository.setDate(QStringLiteral("2024-01-01T10:00:00Z"));
    repository.setDateStep(3600);
    repository.commit(QStringLiteral("root"));
    for (const QString &branch : {QStringLiteral("a"), QStringLiteral("b")}) {
        repository.git(
            {QStringLiteral("switch"), QStringLiteral("-q"), QStringLiteral("-c"), branch});
        repository.commit(branch + QStringLiteral("1"));
        repository.git({QStringLiteral("switch"), QStringLiteral("-q"), QStringLiteral("main")});
        repository.commit(QStringLiteral("main after ") + branch);
        repository.git({QStringLiteral("merge"), QStringLiteral("-q"), QStringLiteral("--no-ff"),
                        QStringLiteral("--no-edit"), branch});
    }
}

} // namespace

TEST(HistoryLoader, EmptyRepositoryGivesEmptyListsWithoutError)
{
    TestRepository repository;
    repository.write(QStringLiteral("staged.txt"), "staged\n");
    repository.git({QStringLiteral("add"), QStringLiteral("staged.txt")});
    GitService git;
    EXPECT_TRUE(git.loadCommits(repository.path(), 300).isEmpty());
    EXPECT_TRUE(git.loadGraph(repository.path(), 500).isEmpty());
    EXPECT_TRUE(git.searchCommits(repository.path(), QStringLiteral("staged")).isEmpty());
}

TEST(HistoryLoader, CommitsCarryHeaderFieldsAndLineStatisticsNewestFirst)
{
    TestRepository repository;
    repository.setDate(QStringLiteral("2024-03-01T09:20:30+01:00"));
    repository.write(QStringLiteral("a.txt"), "one\ntwo\nthree\n");
    const QString first = repository.commit(QStringLiteral("Add a"));
    repository.setDate(QStringLiteral("2024-03-02T12:00:00Z"));
    repository.write(QStringLiteral("a.txt"), "one\n2\nthree\nfour\n");
    repository.write(QStringLiteral("b.txt"), "b\n");
    const QString second
        = repository.commit(QStringLiteral("Change a, add b\n\nWhy it changed."),
                            QStringLiteral("Grace Hopper"), QStringLiteral("grace@example.com"));

    const QList<CommitRecord> commits = GitService().loadCommits(repository.path(), 300);
    ASSERT_EQ(commits.size(), 2);

    const CommitRecord &newest = commits.at(0);
    EXPECT_EQ(newest.id, second);
    EXPECT_EQ(
        newest.shortHash,
        repository.git({QStringLiteral("rev-parse"), QStringLiteral("--short"), second}).trimmed());
    EXPECT_EQ(newest.author, QStringLiteral("Grace Hopper"));
    EXPECT_EQ(newest.email, QStringLiteral("grace@example.com"));
    EXPECT_EQ(newest.date, utcDate("2024-03-02T12:00:00Z"));
    EXPECT_EQ(newest.subject, QStringLiteral("Change a, add b"));
    EXPECT_EQ(newest.body, QStringLiteral("Why it changed.\n"));
    EXPECT_EQ(newest.additions, 3);
    EXPECT_EQ(newest.deletions, 1);
    EXPECT_EQ(newest.filesChanged, 2);

    const CommitRecord &oldest = commits.at(1);
    EXPECT_EQ(oldest.id, first);
    EXPECT_EQ(oldest.date, utcDate("2024-03-01T08:20:30Z"));
    EXPECT_EQ(oldest.body, QString());
    EXPECT_EQ(oldest.additions, 3);
    EXPECT_EQ(oldest.deletions, 0);
    EXPECT_EQ(oldest.filesChanged, 1);
}

TEST(HistoryLoader, LimitCountsCommitsOfTheCurrentBranchOnly)
{
    TestRepository repository;
    repository.setDateStep(60);
    repository.commit(QStringLiteral("one"));
    repository.commit(QStringLiteral("two"));
    repository.git({QStringLiteral("switch"), QStringLiteral("-q"), QStringLiteral("-c"),
                    QStringLiteral("side")});
    repository.commit(QStringLiteral("side only"));
    repository.git({QStringLiteral("switch"), QStringLiteral("-q"), QStringLiteral("main")});

    GitService git;
    EXPECT_EQ(subjectsOf(git.loadCommits(repository.path(), 1)),
              QStringList {QStringLiteral("two")});
    EXPECT_EQ(subjectsOf(git.loadCommits(repository.path(), 10)),
              (QStringList {QStringLiteral("two"), QStringLiteral("one")}));
}

TEST(HistoryLoader, BinaryFilesCountAsChangedWithoutLinesAndMergesHaveNoFigures)
{
    TestRepository repository;
    repository.setDateStep(60);
    repository.write(QStringLiteral("text.txt"), "x\n");
    repository.commit(QStringLiteral("root"));
    repository.git({QStringLiteral("switch"), QStringLiteral("-q"), QStringLiteral("-c"),
                    QStringLiteral("side")});
    repository.write(QStringLiteral("image.bin"), QByteArray("\x00\x01\x02\xff\x00", 5));
    repository.write(QStringLiteral("text.txt"), "x\ny\n");
    repository.commit(QStringLiteral("binary and text"));
    repository.git({QStringLiteral("switch"), QStringLiteral("-q"), QStringLiteral("main")});
    repository.write(QStringLiteral("other.txt"), "o\n");
    repository.commit(QStringLiteral("other"));
    repository.git({QStringLiteral("merge"), QStringLiteral("-q"), QStringLiteral("--no-edit"),
                    QStringLiteral("side")});

    const QList<CommitRecord> commits = GitService().loadCommits(repository.path(), 10);
    ASSERT_EQ(commits.size(), 4);
    const CommitRecord &merge = commits.at(0);
    EXPECT_TRUE(merge.subject.startsWith(QStringLiteral("Merge branch 'side'")));
    EXPECT_EQ(merge.additions, 0);
    EXPECT_EQ(merge.deletions, 0);
    EXPECT_EQ(merge.filesChanged, 0);

    const auto binary = std::find_if(commits.begin(), commits.end(), [](const CommitRecord &c) {
        return c.subject == QStringLiteral("binary and text");
    });
    ASSERT_NE(binary, commits.end());
    EXPECT_EQ(binary->filesChanged, 2);
    EXPECT_EQ(binary->additions, 1);
    EXPECT_EQ(binary->deletions, 0);
}

TEST(HistoryLoader, UnusualSubjectsParseUnchanged)
{
    TestRepository repository;
    repository.setDateStep(60);
    const QString subject = QStringLiteral("a | b\tc \"quoted\" 'single' Ünïcødé 日本語 —");
    repository.commit(subject);
    repository.commit(QStringLiteral("second"));

    GitService git;
    const QList<CommitRecord> commits = git.loadCommits(repository.path(), 10);
    ASSERT_EQ(commits.size(), 2);
    EXPECT_EQ(commits.at(1).subject, subject);

    const QList<CommitRecord> found
        = git.searchCommits(repository.path(), QStringLiteral("quoted"));
    ASSERT_EQ(found.size(), 1);
    EXPECT_EQ(found.at(0).subject, subject);

    const QList<GraphCommitRecord> graph = git.loadGraph(repository.path(), 10);
    ASSERT_EQ(graph.size(), 2);
    EXPECT_EQ(graph.at(1).subject, subject);
}

TEST(HistoryLoader, SubjectThatIsNotUtf8LoadsWithReplacementCharacter)
{
    // `git commit` re-encodes a Latin-1 message to UTF-8, so the object is written by hand.
    TestRepository repository;
    const QString objectFile = repository.filePath(QStringLiteral("commit-object"));
    {
        QFile file(objectFile);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write("tree 4b825dc642cb6eb9a060e54bf8d69288fbee4904\n"
                   "author Ada Lovelace <ada@example.com> 1704103200 +0000\n"
                   "committer Ada Lovelace <ada@example.com> 1704103200 +0000\n"
                   "\n"
                   "caf\xe9 au lait\n");
    }
    repository.git({QStringLiteral("hash-object"), QStringLiteral("-w"), QStringLiteral("-t"),
                    QStringLiteral("tree"), QStringLiteral("/dev/null")});
    const QString commit = repository
                               .git({QStringLiteral("hash-object"), QStringLiteral("-w"),
                                     QStringLiteral("-t"), QStringLiteral("commit"), objectFile})
                               .trimmed();
    repository.git({QStringLiteral("update-ref"), QStringLiteral("refs/heads/main"), commit});

    GitService git;
    const QList<CommitRecord> commits = git.loadCommits(repository.path(), 10);
    ASSERT_EQ(commits.size(), 1);
    EXPECT_EQ(commits.at(0).subject, QStringLiteral("caf\uFFFD au lait"));
    EXPECT_EQ(commits.at(0).date, utcDate("2024-01-01T10:00:00Z"));
    const QList<CommitRecord> found = git.searchCommits(repository.path(), QStringLiteral("lait"));
    ASSERT_EQ(found.size(), 1);
    EXPECT_EQ(found.at(0).subject, QStringLiteral("caf\uFFFD au lait"));
    const QList<GraphCommitRecord> graph = git.loadGraph(repository.path(), 10);
    ASSERT_EQ(graph.size(), 1);
    EXPECT_EQ(graph.at(0).subject, QStringLiteral("caf\uFFFD au lait"));
}

TEST(HistoryLoader, GraphNumbersRepeatedConnectorDrawingsApart)
{
    TestRepository repository;
    buildTwoForks(repository);

    const QList<GraphCommitRecord> graph = GitService().loadGraph(repository.path(), 500);
    // Seven commits; each merge opens a fork "|\  " and each fork closes with "|/  ".
    QStringList connectorIds;
    int commitLines = 0;
    for (const GraphCommitRecord &record : graph) {
        if (record.isConnector()) {
            connectorIds.append(record.id);
            EXPECT_EQ(record.id.section(QLatin1Char('-'), 2), record.graph);
            EXPECT_TRUE(record.subject.isEmpty() && record.author.isEmpty()
                        && record.relativeDate.isEmpty() && record.decorations.isEmpty());
        } else {
            ++commitLines;
            EXPECT_EQ(record.id, record.shortHash);
        }
    }
    EXPECT_EQ(commitLines, 7);
    EXPECT_EQ(
        connectorIds,
        (QStringList {QStringLiteral("connector-1-|\\  "), QStringLiteral("connector-4-|/  "),
                      QStringLiteral("connector-6-|\\  "), QStringLiteral("connector-9-|/  ")}));
}

TEST(HistoryLoader, GraphKeepsPrefixesAndDecorationsAsGitPrintsThem)
{
    TestRepository repository;
    buildTwoForks(repository);
    repository.git({QStringLiteral("tag"), QStringLiteral("v1"), QStringLiteral("HEAD~1")});

    const QList<GraphCommitRecord> graph = GitService().loadGraph(repository.path(), 500);
    ASSERT_FALSE(graph.isEmpty());
    const GraphCommitRecord &head = graph.at(0);
    EXPECT_EQ(head.graph, QStringLiteral("*   "));
    EXPECT_EQ(head.subject, QStringLiteral("Merge branch 'b'"));
    EXPECT_EQ(head.author, QStringLiteral("Test")); // merges take the configured identity
    EXPECT_FALSE(head.relativeDate.isEmpty());
    EXPECT_EQ(head.decorations, QStringLiteral(" (HEAD -> main)"));

    const auto branchTip = std::find_if(graph.begin(), graph.end(), [](const GraphCommitRecord &r) {
        return r.subject == QStringLiteral("b1");
    });
    ASSERT_NE(branchTip, graph.end());
    EXPECT_EQ(branchTip->graph, QStringLiteral("| * "));
    EXPECT_EQ(branchTip->decorations, QStringLiteral(" (b)"));

    const auto tagged = std::find_if(graph.begin(), graph.end(), [](const GraphCommitRecord &r) {
        return r.subject == QStringLiteral("main after b");
    });
    ASSERT_NE(tagged, graph.end());
    EXPECT_EQ(tagged->decorations, QStringLiteral(" (tag: v1)"));

    const auto plain = std::find_if(graph.begin(), graph.end(), [](const GraphCommitRecord &r) {
        return r.subject == QStringLiteral("root");
    });
    ASSERT_NE(plain, graph.end());
    EXPECT_EQ(plain->decorations, QString());
}

TEST(HistoryLoader, GraphLimitCountsCommitsNotLines)
{
    TestRepository linear;
    linear.setDateStep(60);
    linear.commit(QStringLiteral("one"));
    linear.commit(QStringLiteral("two"));
    GitService git;
    const QList<GraphCommitRecord> one = git.loadGraph(linear.path(), 1);
    ASSERT_EQ(one.size(), 1);
    EXPECT_EQ(one.at(0).subject, QStringLiteral("two"));

    // A merge at the top still draws its fork below itself.
    TestRepository forks;
    buildTwoForks(forks);
    const QList<GraphCommitRecord> merge = git.loadGraph(forks.path(), 1);
    ASSERT_EQ(merge.size(), 2);
    EXPECT_EQ(merge.at(0).subject, QStringLiteral("Merge branch 'b'"));
    EXPECT_EQ(merge.at(1).id, QStringLiteral("connector-1-|\\  "));

    int commits = 0;
    for (const GraphCommitRecord &record : git.loadGraph(forks.path(), 3))
        commits += record.isConnector() ? 0 : 1;
    EXPECT_EQ(commits, 3);
}

TEST(HistoryLoader, GraphShowsAllRefsIncludingSecondRoot)
{
    TestRepository repository;
    repository.setDateStep(60);
    repository.commit(QStringLiteral("first root"));
    repository.git({QStringLiteral("switch"), QStringLiteral("-q"), QStringLiteral("--orphan"),
                    QStringLiteral("other")});
    repository.commit(QStringLiteral("second root"));
    repository.git({QStringLiteral("switch"), QStringLiteral("-q"), QStringLiteral("main")});

    GitService git;
    EXPECT_EQ(subjectsOf(git.loadCommits(repository.path(), 10)),
              QStringList {QStringLiteral("first root")});
    QStringList subjects;
    for (const GraphCommitRecord &record : git.loadGraph(repository.path(), 10)) {
        if (!record.isConnector())
            subjects.append(record.subject);
    }
    EXPECT_EQ(subjects,
              (QStringList {QStringLiteral("second root"), QStringLiteral("first root")}));
}

TEST(HistoryLoader, SearchMatchesMessagesCaseInsensitivelyOverAllRefs)
{
    TestRepository repository;
    repository.setDateStep(60);
    repository.commit(QStringLiteral("Fix the parser"));
    repository.commit(QStringLiteral("FIX LOUDLY"));
    repository.commit(QStringLiteral("Tidy up\n\nAdds a prefix to names."));
    repository.commit(QStringLiteral("Unrelated"), QStringLiteral("fix author"),
                      QStringLiteral("fix@example.com"));
    repository.git({QStringLiteral("switch"), QStringLiteral("-q"), QStringLiteral("-c"),
                    QStringLiteral("side")});
    repository.commit(QStringLiteral("fix on a side branch"));
    repository.git({QStringLiteral("switch"), QStringLiteral("-q"), QStringLiteral("main")});

    const QList<CommitRecord> found
        = GitService().searchCommits(repository.path(), QStringLiteral("fix"));
    EXPECT_EQ(subjectsOf(found),
              (QStringList {QStringLiteral("fix on a side branch"), QStringLiteral("Tidy up"),
                            QStringLiteral("FIX LOUDLY"), QStringLiteral("Fix the parser")}));
    for (const CommitRecord &commit : found) {
        EXPECT_EQ(commit.additions, 0);
        EXPECT_EQ(commit.deletions, 0);
        EXPECT_EQ(commit.filesChanged, 0);
    }
    // The record is trimmed as a whole, so the body loses its final newline.
    EXPECT_EQ(found.at(1).body, QStringLiteral("Adds a prefix to names."));
    EXPECT_EQ(found.at(1).email, QStringLiteral("ada@example.com"));
}

TEST(HistoryLoader, SearchPassesTheQueryUntrimmedAsARegularExpression)
{
    TestRepository repository;
    repository.setDateStep(60);
    repository.commit(QStringLiteral("prefix only"));
    repository.commit(QStringLiteral("a fix here"));
    repository.commit(QStringLiteral("version 1x2"));

    GitService git;
    EXPECT_EQ(subjectsOf(git.searchCommits(repository.path(), QStringLiteral(" fix"))),
              QStringList {QStringLiteral("a fix here")});
    EXPECT_EQ(subjectsOf(git.searchCommits(repository.path(), QStringLiteral("1.2"))),
              QStringList {QStringLiteral("version 1x2")});
}

TEST(HistoryLoader, BlankSearchRunsNoGit)
{
    TestRepository repository;
    repository.commit(QStringLiteral("anything"));
    // Any git run would fail to start and throw.
    qputenv("STRATALOOM_GIT", "/nonexistent/git");
    QList<CommitRecord> found {CommitRecord {}};
    EXPECT_NO_THROW(found = GitService().searchCommits(repository.path(), QStringLiteral("  ")));
    qunsetenv("STRATALOOM_GIT");
    EXPECT_TRUE(found.isEmpty());
}

TEST(HistoryLoader, MalformedSearchPatternFailsWithGitsMessage)
{
    TestRepository repository;
    repository.commit(QStringLiteral("anything"));
    const QString message
        = gitErrorOf([&] { GitService().searchCommits(repository.path(), QStringLiteral("[")); });
    EXPECT_TRUE(message.startsWith(QStringLiteral("fatal:"))) << message.toStdString();
    EXPECT_TRUE(message.contains(QStringLiteral("Invalid regular expression")))
        << message.toStdString();
}
