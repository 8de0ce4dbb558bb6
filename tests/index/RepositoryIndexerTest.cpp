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

#include <functional>
#include <random>

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

// A synchronisation that reads only what changed must leave the index exactly as one that walks
// the whole history: the incremental tests run both side by side on changing repositories.
// Every table by content rather than row ids, which depend on the order commits arrived in.
QStringList contentOf(RepositoryIndex &index)
{
    QStringList content;
    for (const char *query : {
             "SELECT c.sha, a.canonical_name, aa.email, c.author_time, c.subject, c.is_merge, "
             "c.is_reachable FROM commits c JOIN author_aliases aa ON aa.id = c.author_alias_id "
             "JOIN authors a ON a.id = aa.author_id ORDER BY c.sha",
             "SELECT c.sha, f.current_path, cf.status, cf.additions, cf.deletions FROM "
             "commit_files cf JOIN commits c ON c.id = cf.commit_id JOIN files f ON f.id = "
             "cf.file_id ORDER BY 1, 2",
             "SELECT day, commits, additions, deletions FROM daily_activity ORDER BY day",
             "SELECT a.canonical_name, d.day, d.commits, d.additions, d.deletions "
             "FROM author_daily_activity d JOIN authors a ON a.id = d.author_id ORDER BY 1, 2",
             "SELECT name, kind, target_sha FROM refs ORDER BY name",
             "SELECT name, object_sha, target_sha FROM tags ORDER BY name",
             // Without the time of the run, and the state the full index is made to forget.
             "SELECT key, value FROM index_metadata WHERE key NOT IN "
             "('last_indexed_at', 'reachability_state', 'covered_tips') ORDER BY key"})
        content << rows(index, QString::fromLatin1(query)) << QStringLiteral("--");
    return content;
}

// How a synchronisation walked the history, by the rev-list runs GIT_TRACE shows.
enum Walk { None, Incremental, Backwards, Whole };

struct TracedRun
{
    RepositorySynchronization result;
    QStringList revLists;
    bool whole = false; ///< a walk of the whole history: neither --stdin nor --not
    bool back = false; ///< a walk back from the old tips: --not
    bool logged = false; ///< commits were read with git log
    bool walked(Walk walk) const
    {
        return std::make_tuple(revLists.isEmpty(), whole, back)
            == std::make_tuple(walk == None, walk == Whole, walk == Backwards);
    }
};

/// One index synchronised as a user's would be, one forced to walk the whole history each time.
struct SyncPair
{
    QTemporaryDir folder;
    RepositoryIndex incremental {folder.filePath("incremental/index.sqlite")};
    RepositoryIndex full {folder.filePath("full/index.sqlite")};

    TracedRun sync(const QString &repository)
    {
        full.setMetadata(QString(), "reachability_state");
        full.setMetadata(QString(), "covered_tips");
        const RepositorySynchronization whole = RepositoryIndexer(full).synchronize(repository);
        const QString trace = folder.filePath("trace");
        QFile::remove(trace);
        qputenv("GIT_TRACE", trace.toUtf8());
        TracedRun run {RepositoryIndexer(incremental).synchronize(repository), {}};
        qunsetenv("GIT_TRACE");
        QFile file(trace);
        EXPECT_TRUE(file.open(QIODevice::ReadOnly));
        for (const QString &line : QString::fromUtf8(file.readAll()).split(u'\n')) {
            run.logged |= line.contains("built-in: git log");
            if (!line.contains("built-in: git rev-list"))
                continue;
            run.revLists << line;
            run.whole |= !line.contains("--stdin") && !line.contains("--not");
            run.back |= line.contains("--not");
        }
        EXPECT_EQ(
            std::make_tuple(run.result.importedCommits, run.result.snapshot.commits,
                            run.result.wasUpToDate),
            std::make_tuple(whole.importedCommits, whole.snapshot.commits, whole.wasUpToDate));
        EXPECT_EQ(contentOf(incremental), contentOf(full));
        return run;
    }
};

void commitFiles(TestRepository &repository, std::mt19937 &random, int count)
{
    static const QString authors[][2] = {{"Ada", "ada@example.com"},
                                         {"Grace", "grace@example.com"},
                                         {"Grace", "grace@work.example"}};
    for (int i = 0; i < count; ++i) {
        // Ten days, so that new and dropped commits land on days that keep others.
        repository.setDate(QDateTime(QDate(2024, 1, 1), QTime(0, 0), Qt::UTC)
                               .addSecs(random() % (10 * 86400))
                               .toString(Qt::ISODate));
        QByteArray content;
        for (unsigned line = random() % 6; line > 0; --line)
            content += QByteArray::number(random()) + '\n';
        repository.write(QStringLiteral("f%1.txt").arg(random() % 5), content);
        const auto &author = authors[random() % 3];
        repository.commit(QStringLiteral("change %1").arg(random()), author[0], author[1]);
    }
}

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

TEST(IncrementalSync, MatchesTheWholeWalkAfterRandomChanges)
{
    for (const unsigned seed : {1u, 2u, 3u}) {
        SCOPED_TRACE(seed);
        std::mt19937 random(seed);
        TestRepository repository;
        SyncPair pair;
        commitFiles(repository, random, 5);
        pair.sync(repository.path());
        QStringList deletedBranches;
        for (int round = 0; round < 6; ++round) {
            SCOPED_TRACE(round);
            const QStringList commits = nonEmptyLines(repository.git({"rev-list", "--all"}));
            const QString anyCommit = commits[random() % commits.size()];
            const QStringList branches = nonEmptyLines(
                repository.git({"for-each-ref", "--format=%(refname:short)", "refs/heads"}));
            const QString branch = branches[random() % branches.size()];
            const QStringList tags = nonEmptyLines(repository.git({"tag"}));
            switch (random() % 6) {
            case 0: // new commits on main, sometimes merging another branch
                commitFiles(repository, random, 1 + random() % 3);
                if (branch != QLatin1String("main") && random() % 2)
                    repository.git({"merge", "-q", "--no-ff", "-s", "ours", "-m", "merge", branch});
                break;
            case 1: // a branch started at an old commit
                repository.git({"checkout", "-q", "-b", QStringLiteral("b%1").arg(round),
                                anyCommit});
                commitFiles(repository, random, 1 + random() % 2);
                repository.git({"checkout", "-q", "main"});
                break;
            case 2: // a force-push: a branch moved back, maybe with new work on top
                repository.git({"checkout", "-q", branch});
                repository.git({"reset", "-q", "--hard", anyCommit});
                if (random() % 2)
                    commitFiles(repository, random, 1);
                repository.git({"checkout", "-q", "main"});
                break;
            case 3: // tags come and go, lightweight or annotated
                if (!tags.isEmpty() && random() % 2)
                    repository.git({"tag", "-d", tags[random() % tags.size()]});
                else
                    repository.git({"tag", "-a", "-m", "release", QStringLiteral("t%1").arg(round),
                                    anyCommit});
                break;
            case 4: // a branch deleted
                if (branch != QLatin1String("main")) {
                    deletedBranches << repository.git({"rev-parse", branch}).trimmed();
                    repository.git({"branch", "-D", branch});
                }
                break;
            case 5: // a deleted branch brought back: its commits are stored, unreachable
                if (!deletedBranches.isEmpty())
                    repository.git({"branch", QStringLiteral("r%1").arg(round),
                                    deletedBranches.takeLast()});
                break;
            }
            EXPECT_FALSE(pair.sync(repository.path()).whole);
        }
    }
}

TEST(IncrementalSync, ReadsOnlyWhatTheChangeNeeds)
{
    const struct
    {
        const char *change;
        std::function<void(TestRepository &)> apply;
        Walk walk;
        qint64 imported;
        bool upToDate = false;
    } cases[] = {
        {"nothing", [](TestRepository &) {}, None, 0, true},
        {"a commit on main", [](TestRepository &r) { r.commit("next"); }, Incremental, 1},
        {"a tag on an old commit", [](TestRepository &r) { r.git({"tag", "v0", "HEAD~3"}); },
         Incremental, 0},
        {"a commit on a detached HEAD",
         [](TestRepository &r) {
             r.git({"checkout", "-q", "--detach"});
             r.commit("detached");
         },
         Incremental, 1},
        {"a branch moved back", [](TestRepository &r) { r.git({"reset", "-q", "--hard", "HEAD~2"}); },
         Backwards, 0},
        {"a tag deleted", [](TestRepository &r) { r.git({"tag", "-d", "v1"}); }, Backwards, 0},
        {"a shallow boundary",
         [](TestRepository &r) {
             r.write(".git/shallow", r.git({"rev-parse", "HEAD~1"}).toLatin1());
         },
         Whole, 0},
        {"a graft",
         [](TestRepository &r) {
             r.write(".git/info/grafts", r.git({"rev-parse", "HEAD"}).toLatin1());
         },
         Whole, 0},
        {"a replaced commit", [](TestRepository &r) { r.git({"replace", "HEAD~1", "HEAD~3"}); },
         Whole, 0},
    };
    for (const auto &row : cases) {
        SCOPED_TRACE(row.change);
        TestRepository repository;
        std::mt19937 random(7);
        commitFiles(repository, random, 4);
        repository.git({"tag", "v1", "HEAD~2"});
        repository.git({"branch", "topic", "HEAD~1"});
        SyncPair pair;
        pair.sync(repository.path());
        row.apply(repository);
        const TracedRun run = pair.sync(repository.path());
        EXPECT_EQ(run.result.importedCommits, row.imported);
        EXPECT_EQ(run.result.wasUpToDate, row.upToDate);
        EXPECT_EQ(run.logged, row.imported > 0) << "the log is read only for new commits";
        EXPECT_TRUE(run.walked(row.walk)) << run.revLists.join('\n').toStdString();
    }
}
