#include "index/RepositoryIndexer.h"
#include "IndexTestSupport.h"
#include "TestFixtures.h"
#include "TestRepository.h"
#include "git/GitProcess.h"
#include "git/GitService.h"
#include "index/CommitLogParser.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace strataloom;

namespace {

QByteArray lines(int count, const QByteArray &prefix)
{
    QByteArray text;
    for (int i = 0; i < count; ++i)
        text += prefix + QByteArray::number(i) + '\n';
    return text;
}

// A history with everything that makes diffs awkward: renames exact and edited, a copy, binary
// files, a mode change, unusual file names, a file deleted and added again, an empty commit,
// wide commits, a merge, a second root and both kinds of tags.
void buildAwkwardHistory(TestRepository &repository)
{
    const auto git = [&](const QStringList &arguments) { repository.git(arguments); };
    repository.setDate("2023-05-01T09:00:00Z");
    repository.setDateStep(7 * 3600);
    const std::pair<QString, QByteArray> files[]
        = {{"a b.txt", lines(20, "spaced ")},     {"tab\tname.txt", "tab\n"},
           {"quote\"d.txt", "quoted\n"},          {"na\u00efve-\u00fc.txt", "unicode\n"},
           {"back\\slash.txt", "slash\n"},        {"image.bin", QByteArray("\x00\x01\x02\x03", 4)},
           {"script.sh", "#!/bin/sh\necho hi\n"}, {"src/engine.c", lines(40, "int line")}};
    for (const auto &[path, content] : files)
        repository.write(path, content);
    repository.commit("Initial import");

    QDir(repository.path()).mkpath("docs");
    git({"mv", "a b.txt", "docs/a b moved.txt"});
    repository.commit("Move the spaced file", "Grace Hopper", "grace@example.com");
    git({"mv", "src/engine.c", "src/core.c"});
    repository.write("src/core.c", lines(40, "int line") + "int extra;\n");
    repository.commit("refactor: rename engine with an edit");
    repository.write("src/copy.c", lines(40, "int line"));
    repository.write("image.bin", QByteArray("\x00\x09\x08\x07\x06", 5));
    repository.commit("feat: copy and new image", "Grace Hopper", "grace@work.example");
    const QString script = repository.filePath("script.sh");
    QFile::setPermissions(script, QFile::permissions(script) | QFile::ExeOwner);
    repository.commit("chore: make script executable");
    repository.remove("quote\"d.txt");
    repository.commit("Remove the quoted file");
    repository.write("quote\"d.txt", "back again\n");
    repository.commit("Bring the quoted file back");
    repository.commit("An empty commit\n\nWith a body.\n\n\n");
    for (int i = 0; i < 55; ++i)
        repository.write(QStringLiteral("wide/file%1.txt").arg(i), lines(i % 4 + 1, "w"));
    repository.commit("feat(wide): fifty-five files");
    for (int i = 0; i < 55; i += 2)
        repository.write(QStringLiteral("wide/file%1.txt").arg(i), "changed\n");
    repository.commit("fix: touch many files | with \"quotes\"\tand a tab");
    git({"tag", "v1.0"});
    git({"tag", "-a", "v1.1", "-m", "Release 1.1"});

    git({"checkout", "-q", "-b", "topic"});
    repository.write("topic.txt", "topic work\n");
    repository.commit("Topic work", "Linus", "linus@example.com");
    git({"commit", "-q", "--amend", "--no-edit"}); // committed later than authored
    git({"checkout", "-q", "main"});
    repository.write("main.txt", "main work\n");
    repository.commit("Main work");
    git({"merge", "-q", "--no-ff", "-m", "Merge topic", "topic"});

    git({"checkout", "-q", "--orphan", "vendor"});
    git({"rm", "-q", "-rf", "."});
    repository.write("vendor/lib.py", lines(10, "x = "));
    repository.commit("Second root", QStringLiteral("\u039d\u03af\u03ba\u03bf\u03c2"),
                      "nikos@example.gr");
    git({"checkout", "-q", "main"});
    git({"merge", "-q", "--allow-unrelated-histories", "-m", "Merge vendor", "vendor"});
    git({"branch", "-D", "vendor"});
}

// Two indexes of one repository, one brought up to date by the indexer, one by the reference.
struct IndexPair
{
    QTemporaryDir folder;
    RepositoryIndex streamed {folder.filePath("streamed/index.sqlite")};
    RepositoryIndex reference {folder.filePath("reference/index.sqlite")};

    // Brings both up to date and expects the same rows in both.
    RepositorySynchronization synchronize(const QString &repository)
    {
        const RepositorySynchronization result
            = RepositoryIndexer(streamed).synchronize(repository);
        referenceSynchronize(reference, repository);
        EXPECT_EQ(firstDifference(dumpIndex(reference), dumpIndex(streamed)), QString());
        return result;
    }
};

// Puts a git in place that hands over its whole output at once, after it ended, so that nothing
// but the indexer's own checks can stop between commits. Goes away with the scope.
struct BufferingGit
{
    explicit BufferingGit(const QTemporaryDir &folder)
    {
        const QString script = folder.filePath("buffering-git.sh");
        writeScript(script,
                    "out=$(mktemp)\n/usr/bin/git \"$@\" >\"$out\"\nstatus=$?\n"
                    "cat \"$out\"\nrm -f \"$out\"\nexit $status\n");
        qputenv("STRATALOOM_GIT", script.toUtf8());
    }
    ~BufferingGit() { qunsetenv("STRATALOOM_GIT"); }
};

// A repository, and an index and indexer of it in a temporary folder.
class IndexerTest : public ::testing::Test
{
protected:
    TestRepository repository;
    QTemporaryDir folder;
    RepositoryIndex index {folder.filePath("index.sqlite")};
    RepositoryIndexer indexer {index};
};

} // namespace

TEST_F(IndexerTest, StreamingImportMatchesPerCommitDiffTreeOnAnAwkwardHistoryHoweverCut)
{
    buildAwkwardHistory(repository);
    // Later runs build on this import; that they match a whole walk is the incremental tests'.
    EXPECT_EQ(IndexPair().synchronize(repository.path()).importedCommits, 15);

    // The parser gives the same commits however git's output is cut.
    const QByteArray output
        = runGitProcess(repository.path(),
                        QStringList {"log", "--all"} + CommitLogParser::logArguments())
              .standardOutput;
    QList<IndexedCommit> whole;
    for (const qsizetype chunk :
         {output.size(), qsizetype(1), qsizetype(2), qsizetype(7), qsizetype(64)}) {
        QList<IndexedCommit> commits;
        CommitLogParser parser([&](IndexedCommit &&c) { commits.append(c); });
        for (qsizetype at = 0; at < output.size(); at += chunk)
            parser.feed(output.constData() + at, std::min(chunk, output.size() - at));
        parser.finish();
        if (whole.isEmpty())
            whole = commits;
        EXPECT_EQ(commits, whole) << "chunk size " << chunk;
    }
    EXPECT_EQ(whole.size(), 15);
}

TEST_F(IndexerTest, EmptyRepositoryIsWrittenOnceAndAGitFailureWritesNothing)
{
    const RepositorySynchronization first = indexer.synchronize(repository.path());
    EXPECT_EQ(std::make_pair(first.wasUpToDate, first.importedCommits),
              std::make_pair(false, qint64(0)));
    EXPECT_EQ(index.metadata("ref_fingerprint"), std::optional<QString>("cbf29ce484222325"));
    const auto stamp = index.metadata("last_indexed_at");
    ASSERT_TRUE(stamp.has_value());
    EXPECT_TRUE(indexer.synchronize(repository.path()).wasUpToDate);
    EXPECT_EQ(index.metadata("last_indexed_at"), stamp); // nothing written

    // Outside any repository git's error comes through and nothing is written.
    RepositoryIndex outside(folder.filePath("outside/index.sqlite"));
    EXPECT_TRUE(gitErrorOf([&] {
                    RepositoryIndexer(outside).synchronize(folder.path());
                }).startsWith("fatal: not a git repository"));
    EXPECT_EQ(outside.snapshot(), RepositoryIndexSnapshot {});
}

// Cancellation asked for while the first commit is reported: no further commit is reported,
// though git's whole output is already there, and nothing is written. One worker: with several,
// the wait between two handed-over runs of commits could stop the import by itself.
TEST_F(IndexerTest, CancellationStopsAtTheNextCommitWritesNothingAndTheNextRunCompletes)
{
    buildAwkwardHistory(repository);

    QList<qint64> reported;
    SynchronizationOptions options;
    options.importWorkers = 1;
    QList<qint64> listed; // the size of the run, told before git reads the first commit
    options.listed = [&](qint64 total) { listed << total << reported.size(); };
    options.progress = [&](qint64 imported, qint64 total) { reported << imported << total; };
    options.isCancelled = [&] { return !reported.isEmpty(); };
    {
        const BufferingGit git(folder);
        EXPECT_THROW(indexer.synchronize(repository.path(), options), SynchronizationCancelled);
    }
    EXPECT_EQ(listed, QList<qint64>({15, 0}));
    EXPECT_EQ(reported, QList<qint64>({1, 15}));
    EXPECT_EQ(index.count("commits"), 0);
    EXPECT_EQ(index.count("refs"), 0);
    EXPECT_FALSE(index.metadata("ref_fingerprint").has_value());

    EXPECT_EQ(indexer.synchronize(repository.path()).importedCommits, 15);
    RepositoryIndex fresh(folder.filePath("fresh/index.sqlite"));
    RepositoryIndexer(fresh).synchronize(repository.path());
    EXPECT_EQ(firstDifference(dumpIndex(fresh), dumpIndex(index)), QString());
}

// A first build walks the whole history before it knows its size: the walk is counted as it
// comes, in steps of at least 1,024 commits, all before the size is told. A later run that reads
// only what moved has nothing to count.
TEST_F(IndexerTest, AWholeWalkIsCountedBeforeTheRunsSizeIsTold)
{
    repository.importHistory(1500);
    QList<qint64> found;
    qint64 total = 0;
    SynchronizationOptions options;
    options.listing = [&](qint64 count) {
        EXPECT_EQ(total, 0);
        found << count;
    };
    options.listed = [&](qint64 size) { total = size; };
    indexer.synchronize(repository.path(), options);
    ASSERT_GE(found.size(), 1);
    for (qsizetype i = 0; i < found.size(); ++i)
        EXPECT_GE(found[i] - (i > 0 ? found[i - 1] : 0), 1024) << i;
    EXPECT_LE(found.constLast(), total);
    EXPECT_EQ(total, index.count("commits"));

    repository.write("later.txt", "later\n");
    repository.commit("Later");
    found.clear();
    indexer.synchronize(repository.path(), options);
    EXPECT_EQ(found, QList<qint64>());
}

TEST_F(IndexerTest, SeveralImportWorkersGiveTheRowsAndProgressOfOnePass)
{
    buildAwkwardHistory(repository);
    SynchronizationOptions onePass;
    onePass.importWorkers = 1;
    indexer.synchronize(repository.path(), onePass);
    const auto expected = dumpIndex(index);

    // A git that cannot read the newest commit, which comes last and so in the last chunk.
    const QString newest = repository.git({"rev-parse", "HEAD"}).trimmed();
    const QString failingGit = folder.filePath("failing-git.sh");
    writeScript(failingGit,
                QStringLiteral("case \" $* \" in *\" --stdin \"*)\n"
                               "  input=$(cat)\n"
                               "  case \"$input\" in *%1*) echo 'fatal: bad object' >&2; "
                               "exit 128;; esac\n"
                               "  printf '%s\\n' \"$input\" | exec /usr/bin/git \"$@\";;\n"
                               "esac\nexec /usr/bin/git \"$@\"\n")
                    .arg(newest)
                    .toUtf8());

    for (const int workers : {2, 3, 16}) {
        SCOPED_TRACE(workers);
        RepositoryIndex parallel(folder.filePath(QStringLiteral("w%1/index.sqlite").arg(workers)));
        RepositoryIndexer indexer(parallel);
        SynchronizationOptions options;
        options.importWorkers = workers;
        QList<qint64> progress;
        options.progress = [&](qint64 imported, qint64) { progress.append(imported); };

        // Cancelled halfway, or failing in a later chunk: nothing is written, no worker is left.
        options.isCancelled = [&] { return progress.size() >= 6; };
        EXPECT_THROW(indexer.synchronize(repository.path(), options), SynchronizationCancelled);
        options.isCancelled = {};
        qputenv("STRATALOOM_GIT", failingGit.toUtf8());
        EXPECT_THROW(indexer.synchronize(repository.path(), options), GitError);
        qunsetenv("STRATALOOM_GIT");
        EXPECT_EQ(parallel.count("commits"), 0);

        progress.clear();
        EXPECT_EQ(indexer.synchronize(repository.path(), options).importedCommits, 15);
        EXPECT_EQ(progress, (QList<qint64> {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15}));
        EXPECT_EQ(firstDifference(expected, dumpIndex(parallel)), QString());
    }
}

TEST(RepositoryIndexer, RefsAndFingerprintFollowTheIndexRules)
{
    const QList<IndexedRef> refs
        = RepositoryIndexer::parseRefs("refs/heads/main\x1f"
                                       "aaa\x1f\nrefs/remotes/origin/HEAD\x1f"
                                       "aaa\x1f\n"
                                       "refs/tags/v1\x1ftagobj\x1f"
                                       "ccc\nrefs/tags/light\x1f"
                                       "bbb\x1f\nmalformed line\n");
    EXPECT_EQ(refs,
              (QList<IndexedRef> {{"main", "branch", "aaa", false, std::nullopt},
                                  {"origin/HEAD", "branch", "aaa", true, std::nullopt},
                                  {"v1", "tag", "ccc", false, "tagobj"},
                                  {"light", "tag", "bbb", false, std::nullopt}}));
    // Sorted by name before hashing: the order git lists refs in does not matter.
    EXPECT_EQ(RepositoryIndexer::fingerprint({refs[3], refs[0], refs[2], refs[1]}),
              RepositoryIndexLocation::stableHash(
                  "tag:light:bbb\nbranch:main:aaa\nbranch:origin/HEAD:aaa\ntag:v1:ccc"));
}
