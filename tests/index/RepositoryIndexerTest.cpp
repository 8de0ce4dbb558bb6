#include "index/RepositoryIndexer.h"
#include "index/CommitLogParser.h"
#include "git/GitProcess.h"
#include "git/GitService.h"
#include "IndexTestSupport.h"
#include "TestRepository.h"

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
    repository.setDate(QStringLiteral("2023-05-01T09:00:00Z"));
    repository.setDateStep(7 * 3600);
    repository.write(QStringLiteral("a b.txt"), lines(20, "spaced "));
    repository.write(QStringLiteral("tab\tname.txt"), "tab\n");
    repository.write(QStringLiteral("quote\"d.txt"), "quoted\n");
    repository.write(QStringLiteral("na\u00efve-\u00fc.txt"), "unicode\n");
    repository.write(QStringLiteral("back\\slash.txt"), "slash\n");
    repository.write(QStringLiteral("image.bin"), QByteArray("\x00\x01\x02\x03", 4));
    repository.write(QStringLiteral("script.sh"), "#!/bin/sh\necho hi\n");
    repository.write(QStringLiteral("src/engine.c"), lines(40, "int line"));
    repository.commit(QStringLiteral("Initial import"));

    QDir(repository.path()).mkpath(QStringLiteral("docs"));
    repository.git(
        {QStringLiteral("mv"), QStringLiteral("a b.txt"), QStringLiteral("docs/a b moved.txt")});
    repository.commit(QStringLiteral("Move the spaced file"), QStringLiteral("Grace Hopper"),
                      QStringLiteral("grace@example.com"));

    repository.git(
        {QStringLiteral("mv"), QStringLiteral("src/engine.c"), QStringLiteral("src/core.c")});
    repository.write(QStringLiteral("src/core.c"), lines(40, "int line") + "int extra;\n");
    repository.commit(QStringLiteral("refactor: rename engine with an edit"));

    repository.write(QStringLiteral("src/copy.c"), lines(40, "int line"));
    repository.write(QStringLiteral("image.bin"), QByteArray("\x00\x09\x08\x07\x06", 5));
    repository.commit(QStringLiteral("feat: copy and new image"), QStringLiteral("Grace Hopper"),
                      QStringLiteral("grace@work.example"));

    QFile::setPermissions(repository.filePath(QStringLiteral("script.sh")),
                          QFile::permissions(repository.filePath(QStringLiteral("script.sh")))
                              | QFile::ExeOwner);
    repository.commit(QStringLiteral("chore: make script executable"));

    repository.remove(QStringLiteral("quote\"d.txt"));
    repository.commit(QStringLiteral("Remove the quoted file"));
    repository.write(QStringLiteral("quote\"d.txt"), "back again\n");
    repository.commit(QStringLiteral("Bring the quoted file back"));

    repository.commit(QStringLiteral("An empty commit\n\nWith a body.\n\n\n"));

    for (int i = 0; i < 55; ++i)
        repository.write(QStringLiteral("wide/file%1.txt").arg(i), lines(i % 4 + 1, "w"));
    repository.commit(QStringLiteral("feat(wide): fifty-five files"));
    for (int i = 0; i < 55; i += 2)
        repository.write(QStringLiteral("wide/file%1.txt").arg(i), "changed\n");
    repository.commit(QStringLiteral("fix: touch many files | with \"quotes\"\tand a tab"));

    repository.git({QStringLiteral("tag"), QStringLiteral("v1.0")});
    repository.git({QStringLiteral("tag"), QStringLiteral("-a"), QStringLiteral("v1.1"),
                    QStringLiteral("-m"), QStringLiteral("Release 1.1")});

    repository.git({QStringLiteral("checkout"), QStringLiteral("-q"), QStringLiteral("-b"),
                    QStringLiteral("topic")});
    repository.write(QStringLiteral("topic.txt"), "topic work\n");
    repository.commit(QStringLiteral("Topic work"), QStringLiteral("Linus"),
                      QStringLiteral("linus@example.com"));
    repository.git({QStringLiteral("checkout"), QStringLiteral("-q"), QStringLiteral("main")});
    repository.write(QStringLiteral("main.txt"), "main work\n");
    repository.commit(QStringLiteral("Main work"));
    repository.git({QStringLiteral("merge"), QStringLiteral("-q"), QStringLiteral("--no-ff"),
                    QStringLiteral("-m"), QStringLiteral("Merge topic"), QStringLiteral("topic")});

    repository.git({QStringLiteral("checkout"), QStringLiteral("-q"), QStringLiteral("--orphan"),
                    QStringLiteral("vendor")});
    repository.git(
        {QStringLiteral("rm"), QStringLiteral("-q"), QStringLiteral("-rf"), QStringLiteral(".")});
    repository.write(QStringLiteral("vendor/lib.py"), lines(10, "x = "));
    repository.commit(QStringLiteral("Second root"),
                      QStringLiteral("\u039d\u03af\u03ba\u03bf\u03c2"),
                      QStringLiteral("nikos@example.gr"));
    repository.git({QStringLiteral("checkout"), QStringLiteral("-q"), QStringLiteral("main")});
    repository.git({QStringLiteral("merge"), QStringLiteral("-q"),
                    QStringLiteral("--allow-unrelated-histories"), QStringLiteral("-m"),
                    QStringLiteral("Merge vendor"), QStringLiteral("vendor")});
    repository.git({QStringLiteral("branch"), QStringLiteral("-D"), QStringLiteral("vendor")});
}

struct IndexPair
{
    QTemporaryDir folder;
    RepositoryIndex streamed {folder.filePath(QStringLiteral("streamed/index.sqlite"))};
    RepositoryIndex reference {folder.filePath(QStringLiteral("reference/index.sqlite"))};
};

void expectSameIndexes(IndexPair &pair)
{
    const auto streamed = dumpIndex(pair.streamed);
    const auto reference = dumpIndex(pair.reference);
    EXPECT_EQ(firstDifference(reference, streamed), QString());
    EXPECT_TRUE(streamed == reference);
}

QString makeHistoryScript()
{
    const QString path = QStringLiteral(STRATALOOM_SOURCE_DIR "/../shared/tools/make-history.py");
    return QFile::exists(path) ? path : QString();
}

} // namespace

TEST(RepositoryIndexer, StreamingImportMatchesPerCommitDiffTreeRowByRow)
{
    TestRepository repository;
    buildAwkwardHistory(repository);

    IndexPair pair;
    const RepositorySynchronization first
        = RepositoryIndexer(pair.streamed).synchronize(repository.path());
    referenceSynchronize(pair.reference, repository.path());
    EXPECT_EQ(first.importedCommits, 15);
    EXPECT_FALSE(first.wasUpToDate);
    expectSameIndexes(pair);

    // The unusual names are stored as they are named, not as git quotes them.
    const auto dump = dumpIndex(pair.streamed);
    const QString files
        = dump.value(QStringLiteral("SELECT * FROM files ORDER BY rowid")).join(QLatin1Char('\n'));
    EXPECT_TRUE(files.contains(QStringLiteral("tab\tname.txt")));
    EXPECT_TRUE(files.contains(QStringLiteral("quote\"d.txt")));
    EXPECT_TRUE(files.contains(QStringLiteral("na\u00efve-\u00fc.txt")));
    EXPECT_TRUE(files.contains(QStringLiteral("back\\slash.txt")));

    // Incremental: more commits, a rewritten branch and a deleted tag, imported on top of both.
    repository.git({QStringLiteral("tag"), QStringLiteral("-d"), QStringLiteral("v1.0")});
    repository.git({QStringLiteral("checkout"), QStringLiteral("-q"), QStringLiteral("topic")});
    repository.write(QStringLiteral("topic.txt"), "rewritten\n");
    repository.commit(QStringLiteral("Topic again"));
    repository.git({QStringLiteral("reset"), QStringLiteral("-q"), QStringLiteral("--hard"),
                    QStringLiteral("HEAD~2")});
    repository.write(QStringLiteral("topic2.txt"), "other\n");
    repository.commit(QStringLiteral("Topic replaced"));
    repository.git({QStringLiteral("checkout"), QStringLiteral("-q"), QStringLiteral("main")});
    repository.git(
        {QStringLiteral("mv"), QStringLiteral("docs/a b moved.txt"), QStringLiteral("a b.txt")});
    repository.commit(QStringLiteral("Revert \"Move the spaced file\""));

    const RepositorySynchronization second
        = RepositoryIndexer(pair.streamed).synchronize(repository.path());
    referenceSynchronize(pair.reference, repository.path());
    EXPECT_EQ(second.importedCommits, 2); // "Topic again" is no longer reachable
    expectSameIndexes(pair);
}

TEST(RepositoryIndexer, StreamingImportMatchesOnAGeneratedHistory)
{
    const QString script = makeHistoryScript();
    if (script.isEmpty())
        GTEST_SKIP() << "the history generator is not beside this checkout";
    QTemporaryDir folder;
    const QString repository = folder.filePath(QStringLiteral("generated"));
    const ProcessResult made
        = runProcess(QStringLiteral("/usr/bin/python3"),
                     {script, repository, QStringLiteral("--commits"), QStringLiteral("400"),
                      QStringLiteral("--seed"), QStringLiteral("11")});
    ASSERT_EQ(made.exitStatus, 0) << made.standardError.toStdString();

    IndexPair pair;
    RepositoryIndexer(pair.streamed).synchronize(repository);
    referenceSynchronize(pair.reference, repository);
    expectSameIndexes(pair);

    const ProcessResult appended
        = runProcess(QStringLiteral("/usr/bin/python3"),
                     {script, repository, QStringLiteral("--append"), QStringLiteral("60"),
                      QStringLiteral("--seed"), QStringLiteral("12")});
    ASSERT_EQ(appended.exitStatus, 0) << appended.standardError.toStdString();
    EXPECT_EQ(RepositoryIndexer(pair.streamed).synchronize(repository).importedCommits, 60);
    referenceSynchronize(pair.reference, repository);
    expectSameIndexes(pair);
}

TEST(RepositoryIndexer, ParserGivesTheSameCommitsHoweverTheStreamIsCut)
{
    TestRepository repository;
    buildAwkwardHistory(repository);
    QStringList arguments {QStringLiteral("log"), QStringLiteral("--all")};
    arguments << CommitLogParser::logArguments();
    const QByteArray output = runGitProcess(repository.path(), arguments).standardOutput;

    QList<IndexedCommit> whole;
    CommitLogParser wholeParser([&](IndexedCommit &&c) { whole.append(c); });
    wholeParser.feed(output.constData(), output.size());
    wholeParser.finish();
    EXPECT_EQ(whole.size(), 15);

    for (qsizetype chunk : {1, 2, 7, 64}) {
        QList<IndexedCommit> pieces;
        CommitLogParser parser([&](IndexedCommit &&c) { pieces.append(c); });
        for (qsizetype at = 0; at < output.size(); at += chunk)
            parser.feed(output.constData() + at, std::min(chunk, output.size() - at));
        parser.finish();
        EXPECT_EQ(pieces, whole) << "chunk size " << chunk;
    }
}

TEST(RepositoryIndexer, EmptyRepositoryWritesAnEmptyBatchOnceThenIsUpToDate)
{
    TestRepository repository;
    QTemporaryDir folder;
    RepositoryIndex index(folder.filePath(QStringLiteral("index.sqlite")));
    RepositoryIndexer indexer(index);

    const RepositorySynchronization first = indexer.synchronize(repository.path());
    EXPECT_FALSE(first.wasUpToDate);
    EXPECT_EQ(first.importedCommits, 0);
    EXPECT_EQ(index.metadata(QStringLiteral("ref_fingerprint")),
              std::optional<QString>(QStringLiteral("cbf29ce484222325")));
    const auto stamp = index.metadata(QStringLiteral("last_indexed_at"));
    ASSERT_TRUE(stamp.has_value());

    const RepositorySynchronization second = indexer.synchronize(repository.path());
    EXPECT_TRUE(second.wasUpToDate);
    EXPECT_EQ(index.metadata(QStringLiteral("last_indexed_at")), stamp); // nothing written
}

TEST(RepositoryIndexer, RootCommitAndBinaryChangesAreStored)
{
    TestRepository repository;
    repository.write(QStringLiteral("readme.md"), "one\ntwo\n");
    repository.write(QStringLiteral("logo.png"), QByteArray("\x89PNG\x00\x01", 6));
    const QString root = repository.commit(QStringLiteral("root"));
    QTemporaryDir folder;
    RepositoryIndex index(folder.filePath(QStringLiteral("index.sqlite")));
    RepositoryIndexer(index).synchronize(repository.path());

    const QStringList rows
        = dumpIndex(index).value(QStringLiteral("SELECT * FROM commit_files ORDER BY rowid"));
    EXPECT_EQ(rows,
              (QStringList {QStringLiteral("1 | 1 | <null> | A | <null> | <null> | 1 | <null>"),
                            QStringLiteral("1 | 2 | <null> | A | 2 | 0 | 0 | <null>")}));
    EXPECT_EQ(index.count(QStringLiteral("files"), QStringLiteral("is_binary = 1")), 1);
    EXPECT_TRUE(index.storedCommitHashes().contains(root));
}

TEST(RepositoryIndexer, RefOnlyChangesRewriteRefsWithoutReadingTheLog)
{
    TestRepository repository;
    repository.commit(QStringLiteral("one"));
    const QString second = repository.commit(QStringLiteral("two"));
    QTemporaryDir folder;
    RepositoryIndex index(folder.filePath(QStringLiteral("index.sqlite")));
    RepositoryIndexer indexer(index);
    indexer.synchronize(repository.path());
    const auto oldFingerprint = index.metadata(QStringLiteral("ref_fingerprint"));

    // A git that writes down every command it is asked to run.
    const QString journal = folder.filePath(QStringLiteral("commands.txt"));
    const QString wrapper = folder.filePath(QStringLiteral("git-journal.sh"));
    QFile script(wrapper);
    ASSERT_TRUE(script.open(QIODevice::WriteOnly));
    script.write(QStringLiteral("#!/bin/sh\necho \"$*\" >> '%1'\nexec /usr/bin/git \"$@\"\n")
                     .arg(journal)
                     .toUtf8());
    script.close();
    script.setPermissions(script.permissions() | QFile::ExeOwner);
    qputenv("STRATALOOM_GIT", wrapper.toUtf8());

    repository.git({QStringLiteral("branch"), QStringLiteral("feature"), second});
    const RepositorySynchronization result = indexer.synchronize(repository.path());
    qunsetenv("STRATALOOM_GIT");

    EXPECT_FALSE(result.wasUpToDate);
    EXPECT_EQ(result.importedCommits, 0);
    EXPECT_EQ(result.snapshot.refs, 2);
    EXPECT_NE(index.metadata(QStringLiteral("ref_fingerprint")), oldFingerprint);
    QFile log(journal);
    ASSERT_TRUE(log.open(QIODevice::ReadOnly));
    const QString commands = QString::fromUtf8(log.readAll());
    EXPECT_TRUE(commands.contains(QStringLiteral("for-each-ref")));
    EXPECT_FALSE(commands.contains(QStringLiteral(" log "))) << commands.toStdString();
}

TEST(RepositoryIndexer, ForcePushedAwayCommitsStayStoredButUnreachable)
{
    TestRepository repository;
    repository.commit(QStringLiteral("one"));
    repository.commit(QStringLiteral("two"));
    repository.commit(QStringLiteral("three"));
    QTemporaryDir folder;
    RepositoryIndex index(folder.filePath(QStringLiteral("index.sqlite")));
    RepositoryIndexer indexer(index);
    EXPECT_EQ(indexer.synchronize(repository.path()).snapshot.commits, 3);

    repository.git({QStringLiteral("reset"), QStringLiteral("-q"), QStringLiteral("--hard"),
                    QStringLiteral("HEAD~2")});
    repository.git({QStringLiteral("reflog"), QStringLiteral("expire"),
                    QStringLiteral("--expire=all"), QStringLiteral("--all")});
    const RepositorySynchronization result = indexer.synchronize(repository.path());
    EXPECT_EQ(result.importedCommits, 0);
    EXPECT_EQ(result.snapshot.commits, 1);
    EXPECT_EQ(index.count(QStringLiteral("commits")), 3);
    EXPECT_EQ(index.count(QStringLiteral("commits"), QStringLiteral("is_reachable = 0")), 2);
}

TEST(RepositoryIndexer, CancellationWritesNothingAndTheNextRunCompletes)
{
    TestRepository repository;
    buildAwkwardHistory(repository);
    QTemporaryDir folder;
    RepositoryIndex index(folder.filePath(QStringLiteral("index.sqlite")));
    RepositoryIndexer indexer(index);

    SynchronizationOptions options;
    qint64 seen = 0;
    qint64 announcedTotal = 0;
    options.progress = [&](qint64 imported, qint64 total) {
        seen = imported;
        announcedTotal = total;
    };
    options.isCancelled = [&] { return seen >= 5; };
    EXPECT_THROW(indexer.synchronize(repository.path(), options), SynchronizationCancelled);
    EXPECT_EQ(announcedTotal, 15);
    EXPECT_EQ(index.count(QStringLiteral("commits")), 0);
    EXPECT_EQ(index.count(QStringLiteral("refs")), 0);
    EXPECT_FALSE(index.metadata(QStringLiteral("ref_fingerprint")).has_value());

    const RepositorySynchronization completed = indexer.synchronize(repository.path());
    EXPECT_EQ(completed.importedCommits, 15);
    RepositoryIndex fresh(folder.filePath(QStringLiteral("fresh/index.sqlite")));
    RepositoryIndexer(fresh).synchronize(repository.path());
    EXPECT_EQ(firstDifference(dumpIndex(fresh), dumpIndex(index)), QString());
}

TEST(RepositoryIndexer, GitFailureLeavesTheIndexAsItWas)
{
    QTemporaryDir outside;
    QTemporaryDir folder;
    RepositoryIndex index(folder.filePath(QStringLiteral("index.sqlite")));
    try {
        RepositoryIndexer(index).synchronize(outside.path());
        FAIL() << "a folder outside any repository was indexed";
    } catch (const GitError &error) {
        EXPECT_TRUE(error.description().startsWith(QStringLiteral("fatal: not a git repository")));
    }
    EXPECT_EQ(index.snapshot(), RepositoryIndexSnapshot {});
}

TEST(RepositoryIndexer, RefsAndFingerprintFollowTheIndexRules)
{
    const QChar u(0x1f);
    const QString output = QStringLiteral("refs/heads/main") + u + QStringLiteral("aaa") + u
        + QStringLiteral("\n") + QStringLiteral("refs/remotes/origin/HEAD") + u
        + QStringLiteral("aaa") + u + QStringLiteral("\n") + QStringLiteral("refs/tags/v1") + u
        + QStringLiteral("tagobj") + u + QStringLiteral("ccc\n") + QStringLiteral("refs/tags/light")
        + u + QStringLiteral("bbb") + u + QStringLiteral("\n") + QStringLiteral("malformed line\n");
    const QList<IndexedRef> refs = RepositoryIndexer::parseRefs(output);
    ASSERT_EQ(refs.size(), 4);
    EXPECT_EQ(refs[0],
              (IndexedRef {QStringLiteral("main"), QStringLiteral("branch"), QStringLiteral("aaa"),
                           false, std::nullopt}));
    EXPECT_EQ(refs[1],
              (IndexedRef {QStringLiteral("origin/HEAD"), QStringLiteral("branch"),
                           QStringLiteral("aaa"), true, std::nullopt}));
    EXPECT_EQ(refs[2],
              (IndexedRef {QStringLiteral("v1"), QStringLiteral("tag"), QStringLiteral("ccc"),
                           false, QStringLiteral("tagobj")}));
    EXPECT_EQ(refs[3].targetSHA, QStringLiteral("bbb"));

    // Sorted by name before hashing: the order git lists refs in does not matter.
    QList<IndexedRef> shuffled {refs[3], refs[0], refs[2], refs[1]};
    EXPECT_EQ(RepositoryIndexer::fingerprint(shuffled), RepositoryIndexer::fingerprint(refs));
    EXPECT_EQ(RepositoryIndexer::fingerprint(refs),
              RepositoryIndexLocation::stableHash(QStringLiteral(
                  "tag:light:bbb\nbranch:main:aaa\nbranch:origin/HEAD:aaa\ntag:v1:ccc")));
    EXPECT_EQ(RepositoryIndexer::fingerprint({}), QStringLiteral("cbf29ce484222325"));
}
