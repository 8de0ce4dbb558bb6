// The index command as scripts use it, including the rough ways a run can end: killed midway,
// or racing another process on the same index.
#include "git/GitProcess.h"
#include "TestRepository.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QThread>

#include <gtest/gtest.h>

#include <csignal>
#include <fcntl.h>
#include <future>
#include <sys/wait.h>
#include <unistd.h>

#include <sqlite3.h>

using namespace strataloom;

namespace {

QJsonObject indexRun(const QString &repository, const QString &indexDir, int *status = nullptr)
{
    const ProcessResult result = runProcess(
        QStringLiteral(STRATALOOM_CLI),
        {QStringLiteral("index"), repository, QStringLiteral("--index-dir"), indexDir});
    if (status)
        *status = result.exitStatus;
    else
        EXPECT_EQ(result.exitStatus, 0) << result.standardError.toStdString();
    return QJsonDocument::fromJson(result.standardOutput).object();
}

void buildHistory(TestRepository &repository, int commits)
{
    repository.setDateStep(3600);
    for (int i = 0; i < commits; ++i) {
        repository.write(QStringLiteral("file%1.txt").arg(i % 17), QByteArray::number(i) + "\n");
        repository.commit(QStringLiteral("change %1").arg(i),
                          i % 3 ? QStringLiteral("Ada") : QStringLiteral("Grace"),
                          i % 3 ? QStringLiteral("ada@example.com")
                                : QStringLiteral("grace@example.com"));
    }
}

// Every table's rows, for comparing two indexes that should hold the same history.
QStringList tableRows(const QString &databasePath)
{
    sqlite3 *db = nullptr;
    EXPECT_EQ(
        sqlite3_open_v2(databasePath.toUtf8().constData(), &db, SQLITE_OPEN_READONLY, nullptr),
        SQLITE_OK);
    QStringList rows;
    for (const char *query :
         {"SELECT * FROM commits ORDER BY id", "SELECT * FROM commit_files ORDER BY rowid",
          "SELECT * FROM authors ORDER BY id", "SELECT * FROM files ORDER BY id",
          "SELECT * FROM daily_activity ORDER BY day",
          "SELECT sha FROM commit_search ORDER BY rowid",
          "SELECT name, kind, target_sha FROM refs ORDER BY name"}) {
        sqlite3_stmt *statement = nullptr;
        EXPECT_EQ(sqlite3_prepare_v2(db, query, -1, &statement, nullptr), SQLITE_OK)
            << sqlite3_errmsg(db);
        while (statement && sqlite3_step(statement) == SQLITE_ROW) {
            QStringList row;
            for (int c = 0; c < sqlite3_column_count(statement); ++c) {
                const auto *text = sqlite3_column_text(statement, c);
                row << (text ? QString::fromUtf8(reinterpret_cast<const char *>(text))
                             : QStringLiteral("NULL"));
            }
            rows << row.join(QLatin1Char('|'));
        }
        sqlite3_finalize(statement);
    }
    sqlite3_close(db);
    return rows;
}

QString integrity(const QString &databasePath)
{
    sqlite3 *db = nullptr;
    sqlite3_open_v2(databasePath.toUtf8().constData(), &db, SQLITE_OPEN_READONLY, nullptr);
    sqlite3_stmt *statement = nullptr;
    sqlite3_prepare_v2(db, "PRAGMA integrity_check", -1, &statement, nullptr);
    QString answer;
    if (statement && sqlite3_step(statement) == SQLITE_ROW)
        answer
            = QString::fromUtf8(reinterpret_cast<const char *>(sqlite3_column_text(statement, 0)));
    sqlite3_finalize(statement);
    sqlite3_close(db);
    return answer;
}

QString onlyIndexFile(const QString &indexDir)
{
    const QStringList hashes = QDir(indexDir).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    EXPECT_EQ(hashes.size(), 1);
    return hashes.isEmpty()
        ? QString()
        : indexDir + QLatin1Char('/') + hashes.first() + QStringLiteral("/index.sqlite");
}

} // namespace

TEST(IndexCommand, ReportsImportThenUpToDate)
{
    TestRepository repository;
    buildHistory(repository, 12);
    QTemporaryDir indexDir;

    const QJsonObject first = indexRun(repository.path(), indexDir.path());
    EXPECT_EQ(first.value(QStringLiteral("importedCommits")).toInteger(), 12);
    EXPECT_FALSE(first.value(QStringLiteral("wasUpToDate")).toBool());
    const QJsonObject snapshot = first.value(QStringLiteral("snapshot")).toObject();
    EXPECT_EQ(snapshot.value(QStringLiteral("commits")).toInteger(), 12);
    EXPECT_EQ(snapshot.value(QStringLiteral("authors")).toInteger(), 2);
    EXPECT_TRUE(
        snapshot.value(QStringLiteral("lastIndexedAt")).toString().endsWith(QLatin1Char('Z')));

    const QJsonObject second = indexRun(repository.path(), indexDir.path());
    EXPECT_EQ(second.value(QStringLiteral("importedCommits")).toInteger(), 0);
    EXPECT_TRUE(second.value(QStringLiteral("wasUpToDate")).toBool());
}

TEST(IndexCommand, RunKilledMidwayIsCompletedByTheNextRun)
{
    TestRepository repository;
    buildHistory(repository, 60);
    QTemporaryDir work;

    // A git that, on the import, writes all of its output and then stays alive: the importer has
    // put every commit into its open transaction and is waiting for git to finish when killed.
    const QString ready = work.filePath(QStringLiteral("ready"));
    const QString wrapper = work.filePath(QStringLiteral("slow-git.sh"));
    QFile script(wrapper);
    ASSERT_TRUE(script.open(QIODevice::WriteOnly));
    script.write(QStringLiteral("#!/bin/sh\ncase \" $* \" in *\" --stdin \"*)\n"
                                "  /usr/bin/git \"$@\"; echo $$ > '%1'; sleep 60; exit 0;;\nesac\n"
                                "exec /usr/bin/git \"$@\"\n")
                     .arg(ready)
                     .toUtf8());
    script.close();
    script.setPermissions(script.permissions() | QFile::ExeOwner);

    const QString killedDir = work.filePath(QStringLiteral("killed"));
    const QByteArray cli = QByteArrayLiteral(STRATALOOM_CLI);
    const QByteArray repo = repository.path().toUtf8();
    const QByteArray dir = killedDir.toUtf8();
    // Everything the child needs is prepared before fork: after it, only exec-safe calls.
    QList<QByteArray> environment {"STRATALOOM_GIT=" + wrapper.toUtf8()};
    for (char **e = environ; *e; ++e) {
        if (!QByteArray(*e).startsWith("STRATALOOM_GIT="))
            environment << QByteArray(*e);
    }
    std::vector<char *> envp;
    for (QByteArray &entry : environment)
        envp.push_back(entry.data());
    envp.push_back(nullptr);
    const char *argv[]
        = {cli.constData(), "index", repo.constData(), "--index-dir", dir.constData(), nullptr};
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        const int devnull = ::open("/dev/null", O_WRONLY);
        ::dup2(devnull, STDOUT_FILENO);
        ::execve(argv[0], const_cast<char *const *>(argv), envp.data());
        ::_exit(127);
    }
    QElapsedTimer waited;
    waited.start();
    while (!QFile::exists(ready) && waited.elapsed() < 30000)
        QThread::msleep(20);
    ASSERT_TRUE(QFile::exists(ready)) << "the import never reached git's end";
    QThread::msleep(200);
    ::kill(child, SIGKILL);
    int status = 0;
    ::waitpid(child, &status, 0);
    EXPECT_TRUE(WIFSIGNALED(status));
    QFile readyFile(ready);
    if (readyFile.open(QIODevice::ReadOnly))
        ::kill(readyFile.readAll().trimmed().toInt(), SIGKILL);

    const QString killedIndex = onlyIndexFile(killedDir);
    EXPECT_EQ(integrity(killedIndex), QStringLiteral("ok"));
    const QJsonObject resumed = indexRun(repository.path(), killedDir);
    EXPECT_EQ(resumed.value(QStringLiteral("importedCommits")).toInteger(), 60);

    const QString cleanDir = work.filePath(QStringLiteral("clean"));
    indexRun(repository.path(), cleanDir);
    EXPECT_EQ(tableRows(killedIndex), tableRows(onlyIndexFile(cleanDir)));
}

TEST(IndexCommand, TwoProcessesOnOneIndexBothEndWell)
{
    TestRepository repository;
    buildHistory(repository, 80);
    QTemporaryDir indexDir;

    auto first = std::async(std::launch::async, [&] {
        int status = -1;
        const QJsonObject result = indexRun(repository.path(), indexDir.path(), &status);
        return std::make_pair(status, result);
    });
    auto second = std::async(std::launch::async, [&] {
        int status = -1;
        const QJsonObject result = indexRun(repository.path(), indexDir.path(), &status);
        return std::make_pair(status, result);
    });
    const auto a = first.get();
    const auto b = second.get();
    EXPECT_EQ(a.first, 0);
    EXPECT_EQ(b.first, 0);
    // One imported everything; the other waited and then found nothing to do.
    EXPECT_EQ(a.second.value(QStringLiteral("importedCommits")).toInteger()
                  + b.second.value(QStringLiteral("importedCommits")).toInteger(),
              80);
    EXPECT_NE(a.second.value(QStringLiteral("wasUpToDate")).toBool(),
              b.second.value(QStringLiteral("wasUpToDate")).toBool());
    const QString database = onlyIndexFile(indexDir.path());
    EXPECT_EQ(integrity(database), QStringLiteral("ok"));
    EXPECT_EQ(tableRows(database).filter(QStringLiteral("change ")).size(),
              80); // commits, once each
}

namespace {

QJsonObject insightsRun(const QString &repository, const QString &indexDir)
{
    const ProcessResult result = runProcess(
        QStringLiteral(STRATALOOM_CLI),
        {QStringLiteral("insights"), repository, QStringLiteral("--index-dir"), indexDir});
    EXPECT_EQ(result.exitStatus, 0) << result.standardError.toStdString();
    return QJsonDocument::fromJson(result.standardOutput).object();
}

QStringList titles(const QJsonObject &report, const QString &list)
{
    QStringList out;
    for (const QJsonValue &item : report.value(list).toArray())
        out << item.toObject()
                   .value(item.toObject().contains(QStringLiteral("title"))
                              ? QStringLiteral("title")
                              : QStringLiteral("name"))
                   .toString();
    return out;
}

double signal(const QJsonObject &report, const QString &name)
{
    for (const QJsonValue &item : report.value(QStringLiteral("riskSignals")).toArray()) {
        if (item.toObject().value(QStringLiteral("name")).toString() == name)
            return item.toObject().value(QStringLiteral("value")).toDouble();
    }
    return -1;
}

} // namespace

TEST(InsightsCommand, OneAuthorOwningEverythingIsFlagged)
{
    TestRepository repository;
    repository.setDateStep(86400);
    for (int i = 0; i < 40; ++i) {
        repository.write(QStringLiteral("src/main.c"), QByteArray::number(i) + "\n");
        repository.commit(QStringLiteral("fix: step %1").arg(i));
    }
    repository.git({QStringLiteral("tag"), QStringLiteral("v1.0")});
    QTemporaryDir indexDir;
    const QJsonObject report = insightsRun(repository.path(), indexDir.path());

    EXPECT_EQ(report.value(QStringLiteral("totalCommits")).toInteger(), 40);
    EXPECT_EQ(report.value(QStringLiteral("busFactor")).toInteger(), 1);
    EXPECT_EQ(report.value(QStringLiteral("firstCommitAt")).toString(),
              QStringLiteral("2024-01-01T10:00:00Z"));
    const QStringList observations = titles(report, QStringLiteral("observations"));
    EXPECT_EQ(observations.first(), QStringLiteral("Concentrated ownership"));
    EXPECT_TRUE(observations.contains(QStringLiteral("Structured history")));
    EXPECT_TRUE(observations.contains(QStringLiteral("Bus factor warning")));
    EXPECT_EQ(
        report.value(QStringLiteral("observations"))
            .toArray()
            .first()
            .toObject()
            .value(QStringLiteral("detail"))
            .toString(),
        QStringLiteral(
            "Ada Lovelace authored 100% of reachable commits. Review knowledge distribution."));
    EXPECT_EQ(signal(report, QStringLiteral("Ownership")), 100.0);
    EXPECT_EQ(signal(report, QStringLiteral("Message inconsistency")), 0.0);
    EXPECT_EQ(titles(report, QStringLiteral("milestones")),
              (QStringList {QStringLiteral("Project started"), QStringLiteral("Peak activity"),
                            QStringLiteral("v1.0"), QStringLiteral("Latest activity")}));
}

TEST(InsightsCommand, SixtyFortyOwnershipAndAnEmptyRepository)
{
    TestRepository shared;
    for (int i = 0; i < 5; ++i)
        shared.commit(QStringLiteral("work %1").arg(i),
                      i < 3 ? QStringLiteral("Ada") : QStringLiteral("Grace"),
                      i < 3 ? QStringLiteral("ada@example.com")
                            : QStringLiteral("grace@example.com"));
    QTemporaryDir indexDir;
    const QJsonObject report = insightsRun(shared.path(), indexDir.path());
    EXPECT_EQ(titles(report, QStringLiteral("observations")).first(),
              QStringLiteral("Distributed contribution"));
    EXPECT_DOUBLE_EQ(signal(report, QStringLiteral("Ownership")), 80.0);

    TestRepository empty;
    const QJsonObject nothing = insightsRun(empty.path(), indexDir.path());
    EXPECT_EQ(nothing.value(QStringLiteral("totalCommits")).toInteger(), 0);
    EXPECT_TRUE(nothing.value(QStringLiteral("firstCommitAt")).isNull());
    EXPECT_TRUE(nothing.value(QStringLiteral("peakDay")).isNull());
    EXPECT_EQ(titles(nothing, QStringLiteral("observations")),
              QStringList {QStringLiteral("Mixed commit vocabulary")});
    EXPECT_EQ(titles(nothing, QStringLiteral("riskSignals")).size(), 6);
    EXPECT_EQ(signal(nothing, QStringLiteral("Message inconsistency")), 100.0);
    EXPECT_TRUE(nothing.value(QStringLiteral("milestones")).toArray().isEmpty());
}

TEST(IndexCommand, ProgressGoesToATerminalOnly)
{
    TestRepository repository;
    buildHistory(repository, 7);
    QTemporaryDir indexDir;

    // Through a pipe: the JSON and nothing else.
    const ProcessResult piped
        = runProcess(QStringLiteral(STRATALOOM_CLI),
                     {QStringLiteral("index"), repository.path(), QStringLiteral("--index-dir"),
                      indexDir.filePath(QStringLiteral("piped"))});
    EXPECT_EQ(piped.exitStatus, 0);
    EXPECT_TRUE(piped.standardError.isEmpty()) << piped.standardError.toStdString();

    // In a terminal (script gives the command a pseudo-terminal): the counter shows.
    const QString command = QStringLiteral("'%1' index '%2' --index-dir '%3' >/dev/null")
                                .arg(QStringLiteral(STRATALOOM_CLI), repository.path(),
                                     indexDir.filePath(QStringLiteral("tty")));
    const ProcessResult terminal
        = runProcess(QStringLiteral("/usr/bin/script"),
                     {QStringLiteral("-qec"), command, QStringLiteral("/dev/null")});
    EXPECT_EQ(terminal.exitStatus, 0);
    EXPECT_TRUE(terminal.standardOutput.contains("imported 7 of 7 commits"))
        << terminal.standardOutput.toStdString();
}
