// Histories and index files that used to stop indexing for good: odd dates, refused ref names,
// missing objects, damaged or read-only index files.
#include "IndexTestSupport.h"
#include "OddHistory.h"
#include "TestRepository.h"
#include "git/GitProcess.h"
#include "index/RepositoryIndexer.h"
#include "insights/RepositoryInsights.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace strataloom;

namespace {

QByteArray contents(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// Runs @p work in a forked child as "nobody" (root passes every permission check) and returns
// what it reports; a crash or an exception is reported too.
QString asUnprivilegedUser(const std::function<QString()> &work)
{
    int channel[2];
    if (::pipe(channel) != 0)
        return QStringLiteral("<no pipe>");
    if (::fork() == 0) {
        QByteArray report = "<cannot drop privileges>";
        if (::geteuid() != 0 || (::setgid(65534) == 0 && ::setuid(65534) == 0)) {
            try {
                report = work().toUtf8();
            } catch (const std::exception &error) {
                report = QByteArray("<error: ") + error.what() + '>';
            }
        }
        [[maybe_unused]] const auto written
            = ::write(channel[1], report.constData(), report.size());
        ::_exit(0);
    }
    ::close(channel[1]);
    QByteArray bytes;
    char buffer[4096];
    for (ssize_t count; (count = ::read(channel[0], buffer, sizeof buffer)) > 0;)
        bytes.append(buffer, count);
    ::close(channel[0]);
    int status = 0;
    ::wait(&status);
    return WIFEXITED(status) ? QString::fromUtf8(bytes) : QStringLiteral("<child crashed>");
}

// A history of twelve commits and an up-to-date index of it.
struct IndexedHistory
{
    TestRepository repository;
    QTemporaryDir folder;
    const QString indexPath = folder.filePath("healthy/index.sqlite");

    IndexedHistory()
    {
        repository.importHistory(12);
        RepositoryIndex index(indexPath);
        RepositoryIndexer(index).synchronize(repository.path());
    }
};

} // namespace

TEST(IndexFaults, OddDatesAndRefusedRefsAreIndexedAndReadable)
{
    // Raw dates and what is stored of them (0: no date).
    const QStringList raw {"1700000000 +0100", "253402300800 +0000", "-1 +0000",
                           "0 -1400",          "1700000000 +9999",   "99999999999999 +0000"};
    const QStringList expected {"1700000000", "0", "0", "0", "1700000000", "0"};
    TestRepository repository;
    const QStringList commits = writeRawDateHistory(repository, raw);
    for (const QString &refused : refusedRefNames())
        writeRefFile(repository, refused, commits.first());
    QTemporaryDir folder;
    RepositoryIndex index(folder.filePath("index.sqlite"));
    RepositoryIndexer indexer(index);

    EXPECT_EQ(indexer.synchronize(repository.path()).importedCommits, raw.size());
    EXPECT_EQ(rows(index, "SELECT author_time FROM commits ORDER BY subject"), expected);
    EXPECT_EQ(rows(index, "SELECT committer_time FROM commits ORDER BY subject"), expected);
    // The refused refs are not refs of the index; the good branches all are.
    EXPECT_EQ(index.count("refs"), raw.size() + 1);
    EXPECT_EQ(insights(index).totalCommits, raw.size());
    EXPECT_TRUE(indexer.synchronize(repository.path()).wasUpToDate);
}

TEST(IndexFaults, PartialCloneIsIndexedWithoutFetchingAndCountsUnreadableDiffs)
{
    // Source: additions, edits, a deletion, an exact rename and an empty commit.
    TestRepository source;
    source.setDate("2023-01-01T10:00:00Z");
    source.setDateStep(3600);
    source.write("a.txt", "a\nb\n");
    source.write("b.txt", "b\n");
    source.commit("add");
    source.write("a.txt", "a\nb\nc\n");
    source.commit("edit");
    source.git({"mv", "b.txt", "c.txt"});
    source.commit("rename");
    source.remove("a.txt");
    source.commit("delete");
    source.git({"commit", "-q", "--allow-empty", "-m", "empty"});
    // The clones get the blobs of "add" back by hand (a.txt, untracked now, and c.txt): "add" and
    // the exact rename can be read, "edit" and "delete" each miss one blob.
    source.write("a.txt", "a\nb\n");
    const qint64 diffsNeedingBlobs = 2;
    QTemporaryDir folder;
    const QString bare = folder.filePath("served.git");
    runGitIn(folder.path(), {"clone", "-q", "--bare", source.path(), bare});
    runGitIn(bare, {"config", "uploadpack.allowFilter", "true"});

    RepositoryIndex complete(folder.filePath("complete/index.sqlite"));
    RepositoryIndexer(complete).synchronize(source.path());
    // Statuses of every change; line counts where git could read them.
    const QString statuses
        = "SELECT c.subject || ' ' || cf.status || ' ' || f.current_path || ' ' || "
          "COALESCE(cf.additions || ' ' || cf.deletions, '-') FROM commit_files "
          "cf JOIN commits c ON c.id = cf.commit_id JOIN files f ON f.id = "
          "cf.file_id ORDER BY 1";
    // The partial clones give the same rows, without counts where a blob is missing.
    QStringList expected;
    for (const QString &row : rows(complete, statuses))
        expected << (row.startsWith("edit ") || row.startsWith("delete ")
                         ? row.section(' ', 0, 2) + " -"
                         : row);

    // The promisor remote unreachable, or reachable: either way nothing may be fetched.
    int run = 0;
    for (const QString &promisor : {QStringLiteral("http://127.0.0.1:9/x"), "file://" + bare}) {
        SCOPED_TRACE(promisor.toStdString());
        const QString clone = folder.filePath(QStringLiteral("clone%1").arg(++run));
        runGitIn(folder.path(),
                 {"clone", "-q", "--no-checkout", "--filter=blob:none", "file://" + bare, clone});
        runGitIn(clone, {"config", "remote.origin.url", promisor});
        runGitIn(clone, {"hash-object", "-w", source.filePath("a.txt"), source.filePath("c.txt")});
        const QString objectsBefore = runGitIn(clone, {"count-objects", "-v"});

        RepositoryIndex index(folder.filePath(QStringLiteral("partial%1/index.sqlite").arg(run)));
        QElapsedTimer timer;
        timer.start();
        const RepositorySynchronization result = RepositoryIndexer(index).synchronize(clone);
        EXPECT_LT(timer.elapsed(), 20000);
        EXPECT_EQ(result.importedCommits, 5);
        EXPECT_EQ(result.unreadableDiffs, diffsNeedingBlobs);
        EXPECT_EQ(index.metadata(RepositoryIndexer::unreadableDiffsKey()),
                  QString::number(diffsNeedingBlobs));
        EXPECT_EQ(rows(index, statuses), expected);
        EXPECT_EQ(runGitIn(clone, {"count-objects", "-v"}), objectsBefore);
        // Said again by a run that finds the index up to date.
        EXPECT_EQ(RepositoryIndexer(index).synchronize(clone).unreadableDiffs, diffsNeedingBlobs);
    }
}

TEST(IndexFaults, DamagedIndexFileIsMovedAsideAndRebuiltOnce)
{
    IndexedHistory history;
    const TestRepository &repository = history.repository;
    const QTemporaryDir &folder = history.folder;
    const QByteArray healthy = contents(history.indexPath);
    ASSERT_GT(healthy.size(), 8 * 4096);

    const std::pair<const char *, QByteArray> damages[] = {
        {"garbage", QByteArray(20000, 'x')},
        {"truncated", healthy.left(healthy.size() / 2)},
        {"header only", healthy.left(100)},
        {"foreign header", QByteArray("PK\x03\x04") + healthy.mid(4)},
    };
    for (const auto &[name, bytes] : damages) {
        SCOPED_TRACE(name);
        const QString folderPath = folder.filePath(QString::fromLatin1(name));
        const QString path = folderPath + "/index.sqlite";
        QDir().mkpath(folderPath);
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size());
        file.close();
        {
            RepositoryIndex index(path);
            const RepositorySynchronization result
                = RepositoryIndexer(index).synchronize(repository.path());
            EXPECT_EQ(result.snapshot.commits, 12);
            EXPECT_TRUE(result.notice.value_or(QString()).contains(path));
            EXPECT_FALSE(RepositoryIndexer(index).synchronize(repository.path()).notice);
        }
        const QStringList aside
            = QDir(folderPath).entryList({"index.sqlite.corrupt-*"}, QDir::Files);
        ASSERT_EQ(aside.size(), 1) << aside.join(QLatin1Char(',')).toStdString();
        EXPECT_EQ(contents(folderPath + '/' + aside[0]), bytes);

        RepositoryIndex reopened(path);
        const RepositorySynchronization again
            = RepositoryIndexer(reopened).synchronize(repository.path());
        EXPECT_TRUE(again.wasUpToDate && !again.notice);
    }
}

TEST(IndexFaults, ReadOnlyUpToDateIndexIsStillRead)
{
    IndexedHistory history;
    const TestRepository &repository = history.repository;
    const QString path = history.indexPath;
    // The other user may read the repository and the index, and write neither.
    repository.write("safe.gitconfig", "[safe]\n\tdirectory = *\n");
    const auto chmod = [](const QString &file, mode_t mode) {
        EXPECT_EQ(::chmod(QFile::encodeName(file).constData(), mode), 0) << file.toStdString();
    };
    chmod(history.folder.path(), 0755);
    chmod(repository.path(), 0755);
    chmod(QFileInfo(path).path(), 0555);
    chmod(path, 0444);

    const QString report = asUnprivilegedUser([&] {
        qputenv("GIT_CONFIG_GLOBAL", QFile::encodeName(repository.filePath("safe.gitconfig")));
        RepositoryIndex index(path);
        const RepositorySynchronization result
            = RepositoryIndexer(index).synchronize(repository.path());
        return QStringLiteral("%1 %2 %3")
            .arg(index.isReadOnly())
            .arg(result.wasUpToDate)
            .arg(insights(index).totalCommits);
    });
    chmod(QFileInfo(path).path(), 0755);
    EXPECT_EQ(report, "1 1 12");
}
