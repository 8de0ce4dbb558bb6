#include "TestRepository.h"
#include "git/GitService.h"

#include <QFile>

#include <gtest/gtest.h>

#include <algorithm>

using namespace strataloom;

namespace {

template<typename Record> QStringList subjectsOf(const QList<Record> &records)
{
    QStringList subjects;
    for (const Record &record : records) {
        if constexpr (std::is_same_v<Record, GraphCommitRecord>) {
            if (record.isConnector())
                continue;
        }
        subjects.append(record.subject);
    }
    return subjects;
}

template<typename Record>
const Record &withSubject(const QList<Record> &records, const QString &subject)
{
    const auto found = std::find_if(records.begin(), records.end(),
                                    [&](const Record &r) { return r.subject == subject; });
    EXPECT_NE(found, records.end()) << subject.toStdString();
    static const Record none {};
    return found == records.end() ? none : *found;
}

// main: root -> merge(a) -> merge(b), each branch one commit beside one on main, so git draws
// the same fork and join twice.
void buildTwoForks(TestRepository &repository)
{
    repository.setDateStep(3600);
    repository.commit("root");
    for (const QString branch : {"a", "b"}) {
        repository.git({"switch", "-q", "-c", branch});
        repository.commit(branch + "1");
        repository.git({"switch", "-q", "main"});
        repository.commit("main after " + branch);
        repository.git({"merge", "-q", "--no-ff", "--no-edit", branch});
    }
}

} // namespace

TEST(HistoryLoader, EmptyRepositoryGivesEmptyListsWithoutError)
{
    TestRepository repository;
    repository.write("staged.txt", "staged\n");
    repository.git({"add", "staged.txt"});
    GitService git;
    EXPECT_TRUE(git.loadCommits(repository.path(), 300).isEmpty());
    EXPECT_TRUE(git.loadGraph(repository.path(), 500).isEmpty());
    EXPECT_TRUE(git.searchCommits(repository.path(), "staged").isEmpty());
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
    CommitRecord newest;
    newest.id = second;
    newest.shortHash = repository.git({"rev-parse", "--short", second}).trimmed();
    newest.author = "Grace Hopper";
    newest.email = "grace@example.com";
    newest.date = utcDate("2024-03-02T12:00:00Z");
    newest.subject = "Change a, add b";
    newest.body = "Why it changed.\n";
    newest.additions = 3;
    newest.deletions = 1;
    newest.filesChanged = 2;
    EXPECT_EQ(commits.at(0), newest);

    const CommitRecord &oldest = commits.at(1);
    EXPECT_EQ(oldest.id, first);
    EXPECT_EQ(oldest.date, utcDate("2024-03-01T08:20:30Z"));
    EXPECT_EQ(oldest.body, QString());
    EXPECT_EQ(std::make_tuple(oldest.additions, oldest.deletions, oldest.filesChanged),
              std::make_tuple(3, 0, 1));
}

TEST(HistoryLoader, LimitCountsCommitsOfTheCurrentBranchWhileTheGraphShowsAllRefs)
{
    TestRepository repository;
    repository.setDateStep(60);
    repository.commit("one");
    repository.commit("two");
    repository.git({"switch", "-q", "-c", "side"});
    repository.commit("side only");
    repository.git({"switch", "-q", "--orphan", "other"});
    repository.commit("second root");
    repository.git({"switch", "-q", "main"});

    GitService git;
    EXPECT_EQ(subjectsOf(git.loadCommits(repository.path(), 1)), QStringList {"two"});
    EXPECT_EQ(subjectsOf(git.loadCommits(repository.path(), 10)), QStringList({"two", "one"}));
    EXPECT_EQ(subjectsOf(git.loadGraph(repository.path(), 10)),
              QStringList({"second root", "side only", "two", "one"}));
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
    const CommitRecord &binary = withSubject(commits, "binary and text");
    EXPECT_EQ(std::make_tuple(binary.additions, binary.deletions, binary.filesChanged),
              std::make_tuple(1, 0, 2));
}

TEST(HistoryLoader, UnusualAndNonUtf8SubjectsParseInEveryList)
{
    TestRepository repository;
    repository.setDateStep(60);
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
    const QString commit
        = repository.git({"hash-object", "-w", "-t", "commit", objectFile}).trimmed();
    repository.git({"update-ref", "refs/heads/main", commit});

    const QStringList expected {QStringLiteral("caf\uFFFD au lait"), unusual};
    GitService git;
    EXPECT_EQ(subjectsOf(git.loadCommits(repository.path(), 10)), expected);
    EXPECT_EQ(subjectsOf(git.loadGraph(repository.path(), 10)), expected);
    EXPECT_EQ(subjectsOf(git.searchCommits(repository.path(), "quoted")), QStringList {unusual});
    EXPECT_EQ(subjectsOf(git.searchCommits(repository.path(), "lait")), expected.mid(0, 1));
    EXPECT_EQ(git.loadCommits(repository.path(), 1).value(0).date, utcDate("2024-01-01T10:00:00Z"));
}

TEST(HistoryLoader, GraphKeepsDrawingsPrefixesAndDecorationsAsGitPrintsThem)
{
    TestRepository repository;
    buildTwoForks(repository);
    repository.git({"tag", "v1", "HEAD~1"});

    const QList<GraphCommitRecord> graph = GitService().loadGraph(repository.path(), 500);
    // Seven commits; each merge opens a fork "|\  " and each fork closes with "|/  ". The line
    // number keeps repeated drawings apart.
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
    EXPECT_EQ(subjectsOf(graph).size(), 7);
    EXPECT_EQ(connectorIds,
              QStringList({"connector-1-|\\  ", "connector-4-|/  ", "connector-6-|\\  ",
                           "connector-9-|/  "}));

    const GraphCommitRecord &head = graph.at(0);
    EXPECT_EQ(head.graph, "*   ");
    EXPECT_EQ(head.subject, "Merge branch 'b'");
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
}

TEST(HistoryLoader, GraphLimitCountsCommitsNotLines)
{
    TestRepository forks;
    buildTwoForks(forks);
    GitService git;
    // A merge at the top still draws its fork below itself.
    const QList<GraphCommitRecord> merge = git.loadGraph(forks.path(), 1);
    ASSERT_EQ(merge.size(), 2);
    EXPECT_EQ(merge.at(0).subject, "Merge branch 'b'");
    EXPECT_EQ(merge.at(1).id, "connector-1-|\\  ");
    EXPECT_EQ(subjectsOf(git.loadGraph(forks.path(), 3)).size(), 3);
}

TEST(HistoryLoader, SearchMatchesMessagesOfAllRefsAsAnUntrimmedCaseInsensitivePattern)
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
    repository.git({"switch", "-q", "main"});

    const std::pair<const char *, QStringList> cases[] = {
        {"fix", {"a fix on a side branch", "Tidy up", "FIX LOUDLY", "Fix the parser"}},
        {" fix", {"a fix on a side branch"}},
        {"1.2", {"version 1x2"}},
    };
    GitService git;
    for (const auto &[query, subjects] : cases)
        EXPECT_EQ(subjectsOf(git.searchCommits(repository.path(), query)), subjects) << query;

    const QList<CommitRecord> found = git.searchCommits(repository.path(), "prefix");
    ASSERT_EQ(found.size(), 1);
    // The record is trimmed as a whole, so the body loses its final newline. No statistics.
    EXPECT_EQ(found.at(0).body, "Adds a prefix to names.");
    EXPECT_EQ(found.at(0).email, "ada@example.com");
    EXPECT_EQ(std::make_tuple(found.at(0).additions, found.at(0).filesChanged),
              std::make_tuple(0, 0));
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
