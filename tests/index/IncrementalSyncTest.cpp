// A synchronisation that reads only what changed must leave the index exactly as one that walks
// the whole history: these tests run both side by side on changing repositories.

#include "IndexTestSupport.h"
#include "TestRepository.h"
#include "git/GitService.h"
#include "index/RepositoryIndexer.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <functional>
#include <random>

using namespace strataloom;

namespace {

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
struct IndexPair
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

TEST(IncrementalSync, MatchesTheWholeWalkAfterRandomChanges)
{
    for (const unsigned seed : {1u, 2u, 3u}) {
        SCOPED_TRACE(seed);
        std::mt19937 random(seed);
        TestRepository repository;
        IndexPair pair;
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
        IndexPair pair;
        pair.sync(repository.path());
        row.apply(repository);
        const TracedRun run = pair.sync(repository.path());
        EXPECT_EQ(run.result.importedCommits, row.imported);
        EXPECT_EQ(run.result.wasUpToDate, row.upToDate);
        EXPECT_EQ(run.logged, row.imported > 0) << "the log is read only for new commits";
        EXPECT_TRUE(run.walked(row.walk)) << run.revLists.join('\n').toStdString();
    }
}
