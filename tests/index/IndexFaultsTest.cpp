// Histories and index files that used to stop indexing for good: odd dates, refused ref names,
// missing objects, damaged or read-only index files.
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

QStringList column(RepositoryIndex &index, const QString &sql)
{
    return index.read([&sql](SQLiteDatabase &database) {
        QStringList values;
        SQLiteStatement statement = database.statement(sql);
        while (statement.step())
            values << statement.columnText(0).value_or(QStringLiteral("NULL"));
        return values;
    });
}

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
    const pid_t child = ::fork();
    if (child == 0) {
        ::close(channel[0]);
        QString report;
        if (::geteuid() == 0 && (::setgid(65534) != 0 || ::setuid(65534) != 0)) {
            report = QStringLiteral("<cannot drop privileges>");
        } else {
            try {
                report = work();
            } catch (const std::exception &error) {
                report = QStringLiteral("<error: %1>").arg(QString::fromUtf8(error.what()));
            }
        }
        const QByteArray bytes = report.toUtf8();
        [[maybe_unused]] const auto written = ::write(channel[1], bytes.constData(), bytes.size());
        ::_exit(0);
    }
    ::close(channel[1]);
    QByteArray bytes;
    char buffer[4096];
    for (ssize_t count; (count = ::read(channel[0], buffer, sizeof buffer)) > 0;)
        bytes.append(buffer, count);
    ::close(channel[0]);
    int status = 0;
    ::waitpid(child, &status, 0);
    return WIFEXITED(status) ? QString::fromUtf8(bytes) : QStringLiteral("<child crashed>");
}

void buildSmallHistory(TestRepository &repository, int commits)
{
    repository.setDate(QStringLiteral("2023-01-01T10:00:00Z"));
    repository.setDateStep(86400);
    for (int i = 0; i < commits; ++i) {
        repository.write(QStringLiteral("file%1.txt").arg(i % 5), QByteArray::number(i) + "\n");
        repository.commit(QStringLiteral("commit %1").arg(i));
    }
}

} // namespace

TEST(IndexFaults, OddDatesAndRefusedRefsAreIndexedAndReadable)
{
    const struct
    {
        const char *raw;
        qint64 stored; ///< 0: no date
    } dates[] = {{"1700000000 +0100", 1700000000},
                 {"253402300800 +0000", 0},
                 {"-1 +0000", 0},
                 {"0 -1400", 0},
                 {"1700000000 +9999", 1700000000},
                 {"99999999999999 +0000", 0}};
    QStringList raw;
    QStringList expected;
    for (const auto &date : dates) {
        raw << QString::fromLatin1(date.raw);
        expected << QString::number(date.stored);
    }
    TestRepository repository;
    const QStringList commits = writeRawDateHistory(repository, raw);
    for (const QString &refused : refusedRefNames())
        writeRefFile(repository, refused, commits.first());
    QTemporaryDir folder;
    RepositoryIndex index(folder.filePath(QStringLiteral("index.sqlite")));
    RepositoryIndexer indexer(index);

    const RepositorySynchronization first = indexer.synchronize(repository.path());
    EXPECT_EQ(first.importedCommits, qint64(std::size(dates)));
    EXPECT_EQ(column(index, QStringLiteral("SELECT author_time FROM commits ORDER BY subject")),
              expected);
    EXPECT_EQ(column(index, QStringLiteral("SELECT committer_time FROM commits ORDER BY subject")),
              expected);
    // The refused refs are not refs of the index; the good branches all are.
    EXPECT_EQ(column(index, QStringLiteral("SELECT COUNT(*) FROM refs")),
              QStringList {QString::number(std::size(dates) + 1)});

    const RepositoryAnalyticsInsights read = insights(index);
    EXPECT_EQ(read.totalCommits, qint64(std::size(dates)));
    EXPECT_TRUE(indexer.synchronize(repository.path()).wasUpToDate);
}

TEST(IndexFaults, PartialCloneIsIndexedWithoutFetchingAndCountsUnreadableDiffs)
{
    // Source: additions, edits, a deletion, an exact rename and an empty commit.
    TestRepository source;
    source.setDate(QStringLiteral("2023-01-01T10:00:00Z"));
    source.setDateStep(3600);
    source.write(QStringLiteral("a.txt"), "a\nb\n");
    source.write(QStringLiteral("b.txt"), "b\n");
    source.commit(QStringLiteral("add"));
    source.write(QStringLiteral("a.txt"), "a\nb\nc\n");
    source.commit(QStringLiteral("edit"));
    source.git({QStringLiteral("mv"), QStringLiteral("b.txt"), QStringLiteral("c.txt")});
    source.commit(QStringLiteral("rename"));
    source.remove(QStringLiteral("a.txt"));
    source.commit(QStringLiteral("delete"));
    source.git({QStringLiteral("commit"), QStringLiteral("-q"), QStringLiteral("--allow-empty"),
                QStringLiteral("-m"), QStringLiteral("empty")});
    // The clones get the blobs of "add" back by hand: "add" and the exact rename can be read,
    // "edit" and "delete" each miss one blob.
    const qint64 diffsNeedingBlobs = 2;
    QTemporaryDir folder;
    const QString bare = folder.filePath(QStringLiteral("served.git"));
    runGitIn(folder.path(),
             {QStringLiteral("clone"), QStringLiteral("-q"), QStringLiteral("--bare"),
              source.path(), bare});
    runGitIn(bare,
             {QStringLiteral("config"), QStringLiteral("uploadpack.allowFilter"),
              QStringLiteral("true")});

    RepositoryIndex complete(folder.filePath(QStringLiteral("complete/index.sqlite")));
    RepositoryIndexer(complete).synchronize(source.path());
    const QString statuses = QStringLiteral(
        "SELECT c.sha || ' ' || cf.status || ' ' || f.current_path FROM commit_files cf "
        "JOIN commits c ON c.id = cf.commit_id JOIN files f ON f.id = cf.file_id ORDER BY 1");

    // The promisor remote unreachable, or reachable: either way nothing may be fetched.
    const QString promisors[]
        = {QStringLiteral("http://127.0.0.1:9/x"), QStringLiteral("file://") + bare};
    int run = 0;
    for (const QString &promisor : promisors) {
        SCOPED_TRACE(promisor.toStdString());
        const QString clone = folder.filePath(QStringLiteral("clone%1").arg(++run));
        runGitIn(folder.path(),
                 {QStringLiteral("clone"), QStringLiteral("-q"), QStringLiteral("--no-checkout"),
                  QStringLiteral("--filter=blob:none"), QStringLiteral("file://") + bare, clone});
        runGitIn(clone, {QStringLiteral("config"), QStringLiteral("remote.origin.url"), promisor});
        for (const QByteArray &blob : {QByteArray("a\nb\n"), QByteArray("b\n")}) {
            QFile file(folder.filePath(QStringLiteral("blob")));
            ASSERT_TRUE(file.open(QIODevice::WriteOnly));
            file.write(blob);
            file.close();
            runGitIn(clone, {QStringLiteral("hash-object"), QStringLiteral("-w"), file.fileName()});
        }
        const QString objectsBefore
            = runGitIn(clone, {QStringLiteral("count-objects"), QStringLiteral("-v")});

        RepositoryIndex index(folder.filePath(QStringLiteral("partial%1/index.sqlite").arg(run)));
        QElapsedTimer timer;
        timer.start();
        const RepositorySynchronization result = RepositoryIndexer(index).synchronize(clone);
        EXPECT_LT(timer.elapsed(), 20000);

        EXPECT_EQ(result.importedCommits, 5);
        EXPECT_EQ(result.unreadableDiffs, diffsNeedingBlobs);
        EXPECT_EQ(index.metadata(RepositoryIndexer::unreadableDiffsKey()),
                  QString::number(diffsNeedingBlobs));
        EXPECT_EQ(column(index, statuses), column(complete, statuses));
        // Line counts where git could read them, the same as in the complete index.
        const QString counted = QStringLiteral(
            "SELECT c.subject || ' ' || f.current_path || ' ' || cf.additions || ' ' || "
            "cf.deletions FROM commit_files cf JOIN commits c ON c.id = cf.commit_id "
            "JOIN files f ON f.id = cf.file_id WHERE cf.additions IS NOT NULL ORDER BY 1");
        const QStringList readable {QStringLiteral("add a.txt 2 0"),
                                    QStringLiteral("add b.txt 1 0")};
        EXPECT_EQ(column(index, counted), readable);
        for (const QString &row : readable)
            EXPECT_TRUE(column(complete, counted).contains(row)) << row.toStdString();
        EXPECT_EQ(runGitIn(clone, {QStringLiteral("count-objects"), QStringLiteral("-v")}),
                  objectsBefore);
        // Said again by a run that finds the index up to date.
        EXPECT_EQ(RepositoryIndexer(index).synchronize(clone).unreadableDiffs, diffsNeedingBlobs);
    }
}

TEST(IndexFaults, DamagedIndexFileIsMovedAsideAndRebuiltOnce)
{
    TestRepository repository;
    buildSmallHistory(repository, 12);
    QTemporaryDir folder;
    const QString healthyPath = folder.filePath(QStringLiteral("healthy/index.sqlite"));
    {
        RepositoryIndex healthy(healthyPath);
        RepositoryIndexer(healthy).synchronize(repository.path());
    }
    const QByteArray healthy = contents(healthyPath);
    ASSERT_GT(healthy.size(), 8 * 4096);

    const struct
    {
        const char *name;
        QByteArray bytes;
    } damages[] = {
        {"garbage", QByteArray(20000, 'x')},
        {"truncated", healthy.left(healthy.size() / 2)},
        {"header only", healthy.left(100)},
        {"foreign header", QByteArray("PK\x03\x04") + healthy.mid(4)},
    };
    for (const auto &damage : damages) {
        SCOPED_TRACE(damage.name);
        const QString path = folder.filePath(QStringLiteral("%1/index.sqlite").arg(damage.name));
        QDir().mkpath(QFileInfo(path).path());
        {
            QFile file(path);
            ASSERT_TRUE(file.open(QIODevice::WriteOnly));
            file.write(damage.bytes);
        }
        {
            RepositoryIndex index(path);
            const RepositorySynchronization result
                = RepositoryIndexer(index).synchronize(repository.path());
            EXPECT_EQ(result.snapshot.commits, 12);
            ASSERT_TRUE(result.notice.has_value());
            EXPECT_TRUE(result.notice->contains(path)) << result.notice->toStdString();
            EXPECT_FALSE(RepositoryIndexer(index).synchronize(repository.path()).notice);
        }
        const QStringList aside
            = QDir(QFileInfo(path).path())
                  .entryList({QStringLiteral("index.sqlite.corrupt-*")}, QDir::Files);
        ASSERT_EQ(aside.size(), 1) << aside.join(QLatin1Char(',')).toStdString();
        EXPECT_EQ(contents(QFileInfo(path).path() + QLatin1Char('/') + aside[0]), damage.bytes);

        RepositoryIndex reopened(path);
        const RepositorySynchronization again
            = RepositoryIndexer(reopened).synchronize(repository.path());
        EXPECT_TRUE(again.wasUpToDate);
        EXPECT_FALSE(again.notice);
    }
}

TEST(IndexFaults, ReadOnlyUpToDateIndexIsStillRead)
{
    TestRepository repository;
    buildSmallHistory(repository, 6);
    QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("index/index.sqlite"));
    qint64 expectedCommits = 0;
    {
        RepositoryIndex index(path);
        RepositoryIndexer(index).synchronize(repository.path());
        expectedCommits = insights(index).totalCommits;
    }
    // The other user may read the repository and the index, and write neither.
    const QString globalConfig = folder.filePath(QStringLiteral("gitconfig"));
    {
        QFile config(globalConfig);
        ASSERT_TRUE(config.open(QIODevice::WriteOnly));
        config.write("[safe]\n\tdirectory = *\n");
    }
    for (const QString &readable : {folder.path(), repository.path()})
        ASSERT_EQ(::chmod(QFile::encodeName(readable).constData(), 0755), 0);
    ASSERT_EQ(::chmod(QFile::encodeName(globalConfig).constData(), 0644), 0);
    ASSERT_EQ(::chmod(QFile::encodeName(QFileInfo(path).path()).constData(), 0555), 0);
    ASSERT_EQ(::chmod(QFile::encodeName(path).constData(), 0444), 0);

    const QString report = asUnprivilegedUser([&] {
        qputenv("GIT_CONFIG_GLOBAL", QFile::encodeName(globalConfig));
        RepositoryIndex index(path);
        const RepositorySynchronization result
            = RepositoryIndexer(index).synchronize(repository.path());
        return QStringLiteral("%1 %2 %3")
            .arg(index.isReadOnly())
            .arg(result.wasUpToDate)
            .arg(insights(index).totalCommits);
    });
    ::chmod(QFile::encodeName(QFileInfo(path).path()).constData(), 0755);
    EXPECT_EQ(report, QStringLiteral("1 1 %1").arg(expectedCommits));
}
