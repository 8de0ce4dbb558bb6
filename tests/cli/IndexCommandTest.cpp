// The index command as scripts use it, including the rough ways a run can end: killed midway,
// or racing another process on the same index.
#include "TestFixtures.h"
#include "TestRepository.h"
#include "git/GitProcess.h"

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


using namespace strataloom;

namespace {

QJsonObject run(const char *command, const QString &repository, const QString &indexDir,
                int *status = nullptr)
{
    const ProcessResult result
        = runProcess(STRATALOOM_CLI, {command, repository, "--index-dir", indexDir});
    if (status)
        *status = result.exitStatus;
    else
        EXPECT_EQ(result.exitStatus, 0) << result.standardError.toStdString();
    return QJsonDocument::fromJson(result.standardOutput).object();
}

QJsonObject indexRun(const QString &repository, const QString &indexDir, int *status = nullptr)
{
    return run("index", repository, indexDir, status);
}

void buildHistory(TestRepository &repository, int commits)
{
    repository.setDateStep(3600);
    for (int i = 0; i < commits; ++i) {
        repository.write(QStringLiteral("file%1.txt").arg(i % 17), QByteArray::number(i) + "\n");
        const QString author = i % 3 ? "Ada" : "Grace";
        repository.commit(QStringLiteral("change %1").arg(i), author, author + "@example.com");
    }
}

// Every table's rows, for comparing two indexes that should hold the same history.
QStringList tableRows(const QString &databasePath)
{
    return sqliteRows(databasePath,
                      {"SELECT * FROM commits ORDER BY id", "SELECT * FROM commit_files ORDER BY rowid",
                       "SELECT * FROM authors ORDER BY id", "SELECT * FROM files ORDER BY id",
                       "SELECT * FROM daily_activity ORDER BY day",
                       "SELECT sha FROM commit_search ORDER BY rowid",
                       "SELECT name, kind, target_sha FROM refs ORDER BY name"});
}

QString integrity(const QString &databasePath)
{
    return sqliteRows(databasePath, {"PRAGMA integrity_check"}).join('\n');
}

} // namespace

TEST(IndexCommand, ReportsImportThenUpToDate)
{
    TestRepository repository;
    buildHistory(repository, 12);
    QTemporaryDir indexDir;

    const QJsonObject first = indexRun(repository.path(), indexDir.path());
    EXPECT_EQ(first.value("importedCommits").toInteger(), 12);
    EXPECT_FALSE(first.value("wasUpToDate").toBool());
    const QJsonObject snapshot = first.value("snapshot").toObject();
    EXPECT_EQ(snapshot.value("commits").toInteger(), 12);
    EXPECT_EQ(snapshot.value("authors").toInteger(), 2);
    EXPECT_TRUE(snapshot.value("lastIndexedAt").toString().endsWith('Z'));

    const QJsonObject second = indexRun(repository.path(), indexDir.path());
    EXPECT_EQ(second.value("importedCommits").toInteger(), 0);
    EXPECT_TRUE(second.value("wasUpToDate").toBool());
}

TEST(IndexCommand, RunKilledMidwayIsCompletedByTheNextRun)
{
    TestRepository repository;
    buildHistory(repository, 60);
    QTemporaryDir work;

    // A git that, on the import, writes all of its output and then stays alive: the importer has
    // put every commit into its open transaction and is waiting for git to finish when killed.
    const QString ready = work.filePath("ready");
    const QString wrapper = work.filePath("slow-git.sh");
    writeScript(wrapper, QStringLiteral("case \" $* \" in *\" --stdin \"*)\n"
                                         "  /usr/bin/git \"$@\"; echo $$ > '%1'; sleep 60; exit 0;;\n"
                                         "esac\nexec /usr/bin/git \"$@\"\n")
                              .arg(ready)
                              .toUtf8());

    const QString killedDir = work.filePath("killed");
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
    EXPECT_EQ(integrity(killedIndex), "ok");
    const QJsonObject resumed = indexRun(repository.path(), killedDir);
    EXPECT_EQ(resumed.value("importedCommits").toInteger(), 60);

    const QString cleanDir = work.filePath("clean");
    indexRun(repository.path(), cleanDir);
    EXPECT_EQ(tableRows(killedIndex), tableRows(onlyIndexFile(cleanDir)));
}

TEST(IndexCommand, TwoProcessesOnOneIndexBothEndWell)
{
    TestRepository repository;
    buildHistory(repository, 80);
    QTemporaryDir indexDir;

    const auto runOne = [&] {
        int status = -1;
        const QJsonObject result = indexRun(repository.path(), indexDir.path(), &status);
        return std::make_pair(status, result);
    };
    auto first = std::async(std::launch::async, runOne);
    auto second = std::async(std::launch::async, runOne);
    const auto [statusA, a] = first.get();
    const auto [statusB, b] = second.get();
    EXPECT_EQ(statusA, 0);
    EXPECT_EQ(statusB, 0);
    // One imported everything; the other waited and then found nothing to do.
    EXPECT_EQ(a.value("importedCommits").toInteger() + b.value("importedCommits").toInteger(), 80);
    EXPECT_NE(a.value("wasUpToDate").toBool(), b.value("wasUpToDate").toBool());
    const QString database = onlyIndexFile(indexDir.path());
    EXPECT_EQ(integrity(database), "ok");
    EXPECT_EQ(sqliteRows(database, {"SELECT COUNT(DISTINCT sha), COUNT(*) FROM commits"}),
              QStringList {"80|80"});
}

namespace {

double signal(const QJsonObject &report, const QString &name)
{
    for (const QJsonValue &item : report.value("riskSignals").toArray()) {
        if (item.toObject().value("name").toString() == name)
            return item.toObject().value("value").toDouble();
    }
    return -1;
}

} // namespace

TEST(InsightsCommand, ReportsTheInsightsOfTheIndexedHistory)
{
    const struct
    {
        int commits;
        int adaCommits;
        qint64 busFactor;
        double ownership;
        std::optional<qsizetype> milestones;
    } cases[] = {{40, 40, 1, 100, 4}, {5, 3, 1, 80, std::nullopt}, {0, 0, 0, 0, 0}};
    QTemporaryDir indexDir;
    for (const auto &row : cases) {
        SCOPED_TRACE(row.commits);
        TestRepository repository;
        if (row.milestones) // a day apart, as the milestones need
            repository.setDateStep(86400);
        for (int i = 0; i < row.commits; ++i) {
            repository.write("src/main.c", QByteArray::number(i) + "\n");
            const QString author = i < row.adaCommits ? "Ada" : "Grace";
            repository.commit(QStringLiteral("fix: step %1").arg(i), author, author + "@x.org");
        }
        if (row.milestones > 0)
            repository.git({"tag", "v1.0"});
        const QJsonObject report = run("insights", repository.path(), indexDir.path());
        EXPECT_EQ(report.value("totalCommits").toInteger(), row.commits);
        EXPECT_EQ(report.value("busFactor").toInteger(), row.busFactor);
        EXPECT_EQ(report.value("firstCommitAt").toString(),
                  row.commits ? "2024-01-01T10:00:00Z" : QString());
        EXPECT_EQ(report.value("peakDay").isNull(), row.commits == 0);
        EXPECT_EQ(report.value("riskSignals").toArray().size(), 6);
        EXPECT_DOUBLE_EQ(signal(report, "Ownership"), row.ownership);
        EXPECT_DOUBLE_EQ(signal(report, "Message inconsistency"), row.commits ? 0 : 100);
        EXPECT_EQ(report.value("milestones").toArray().size(),
                  row.milestones.value_or(report.value("milestones").toArray().size()));
        EXPECT_FALSE(report.value("observations").toArray().isEmpty());
    }
}

TEST(IndexCommand, ProgressGoesToATerminalOnly)
{
    TestRepository repository;
    buildHistory(repository, 7);
    QTemporaryDir indexDir;

    // Through a pipe: the JSON and nothing else.
    const ProcessResult piped = runProcess(
        STRATALOOM_CLI, {"index", repository.path(), "--index-dir", indexDir.filePath("piped")});
    EXPECT_EQ(piped.exitStatus, 0);
    EXPECT_TRUE(piped.standardError.isEmpty()) << piped.standardError.toStdString();

    // In a terminal (script gives the command a pseudo-terminal): the counter shows.
    const QString command
        = QStringLiteral("'%1' index '%2' --index-dir '%3' >/dev/null")
              .arg(QStringLiteral(STRATALOOM_CLI), repository.path(), indexDir.filePath("tty"));
    const ProcessResult terminal = runProcess("/usr/bin/script", {"-qec", command, "/dev/null"});
    EXPECT_EQ(terminal.exitStatus, 0);
    EXPECT_TRUE(terminal.standardOutput.contains("imported 7 of 7 commits"))
        << terminal.standardOutput.toStdString();
}
