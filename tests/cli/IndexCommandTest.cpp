// The index and insights commands as scripts use them, including the rough ways a run can end:
// killed midway, racing another process on the same index, or finding the index damaged.
#include "CliRun.h"
#include "TestFixtures.h"
#include "TestRepository.h"

#include <QProcess>
#include <QTemporaryDir>
#include <QThread>

#include <csignal>
#include <future>

using namespace strataloom;

namespace {

CliRun indexRun(const QString &repository, const QString &indexDir)
{
    return cli({"index", repository, "--index-dir", indexDir});
}

} // namespace

// A damaged index is reported once on standard error and rebuilt; the run after it is quiet.
TEST(IndexCommand, ReportsImportRebuildOfADamagedIndexThenUpToDateAndProgressOnlyInATerminal)
{
    TestRepository repository;
    repository.importHistory(7);
    QTemporaryDir indexDir;
    // Through a pipe: the JSON and nothing else.
    const CliRun first = indexRun(repository.path(), indexDir.path());
    EXPECT_EQ(std::make_tuple(first.status, first.err, first.object().value("wasUpToDate")),
              std::make_tuple(0, QString(), QJsonValue(false)));
    const QJsonObject snapshot = first.object().value("snapshot").toObject();
    EXPECT_EQ(std::make_tuple(first.object().value("importedCommits").toInt(),
                              snapshot.value("commits").toInt(), snapshot.value("authors").toInt()),
              std::make_tuple(7, 7, 7));
    EXPECT_TRUE(snapshot.value("lastIndexedAt").toString().endsWith('Z'));

    const QString file = onlyIndexFile(indexDir.path());
    QFile damaged(file);
    ASSERT_TRUE(damaged.open(QIODevice::WriteOnly | QIODevice::Truncate));
    damaged.write(QByteArray(5000, '\x7f'));
    damaged.close();
    const CliRun rebuilt = indexRun(repository.path(), indexDir.path());
    ASSERT_EQ(rebuilt.status, 0) << rebuilt.err.toStdString();
    EXPECT_TRUE(rebuilt.err.count('\n') == 1 && rebuilt.err.contains(file))
        << rebuilt.err.toStdString();
    EXPECT_EQ(std::make_pair(rebuilt.object().value("importedCommits").toInt(),
                             rebuilt.object().value("unreadableDiffs").toInt(-1)),
              std::make_pair(7, 0));
    const CliRun again = indexRun(repository.path(), indexDir.path());
    EXPECT_EQ(std::make_tuple(again.status, again.err, again.object().value("importedCommits"),
                              again.object().value("wasUpToDate")),
              std::make_tuple(0, QString(), QJsonValue(0), QJsonValue(true)));

    // In a terminal (script gives the command a pseudo-terminal): the counter shows.
    const QString command = QStringLiteral("'%1' index '%2' --index-dir '%3' >/dev/null")
                                .arg(STRATALOOM_CLI, repository.path(), indexDir.filePath("tty"));
    const ProcessResult terminal = runProcess("/usr/bin/script", {"-qec", command, "/dev/null"});
    EXPECT_EQ(terminal.exitStatus, 0);
    EXPECT_TRUE(terminal.standardOutput.contains("imported 7 of 7 commits"))
        << terminal.standardOutput.toStdString();
}

TEST(IndexCommand, RunKilledMidwayIsCompletedByTheNextRun)
{
    TestRepository repository;
    repository.importHistory(60);
    QTemporaryDir work;

    // A git that, on the import, writes all of its output and then stays alive: the importer has
    // put every commit into its open transaction and is waiting for git to finish when killed.
    const QString ready = work.filePath("ready");
    const QString wrapper = work.filePath("slow-git.sh");
    writeScript(wrapper,
                QStringLiteral("case \" $* \" in *\" --stdin \"*)\n"
                               "  /usr/bin/git \"$@\"; echo $$ > '%1'; sleep 60; exit 0;;\n"
                               "esac\nexec /usr/bin/git \"$@\"\n")
                    .arg(ready)
                    .toUtf8());
    const QString killedDir = work.filePath("killed");
    QProcess importer;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("STRATALOOM_GIT", wrapper);
    importer.setProcessEnvironment(environment);
    importer.setStandardOutputFile(QProcess::nullDevice());
    importer.start(STRATALOOM_CLI, {"index", repository.path(), "--index-dir", killedDir});
    ASSERT_TRUE(waitUntil([&] { return pidIn(ready) > 0; }, 30000))
        << "the import never reached git's end";
    QThread::msleep(200);
    importer.kill();
    ASSERT_TRUE(importer.waitForFinished(5000));
    EXPECT_EQ(importer.exitStatus(), QProcess::CrashExit);
    ::kill(pid_t(pidIn(ready)), SIGKILL); // read as more than 0 above

    const QString killedIndex = onlyIndexFile(killedDir);
    EXPECT_EQ(sqliteRows(killedIndex, {"PRAGMA integrity_check"}), QStringList {"ok"});
    EXPECT_EQ(indexRun(repository.path(), killedDir).object().value("importedCommits").toInteger(),
              60);

    // Every table's rows as a clean run writes them.
    const QString cleanDir = work.filePath("clean");
    indexRun(repository.path(), cleanDir);
    EXPECT_EQ(indexRows(killedDir), indexRows(cleanDir));
}

TEST(IndexCommand, TwoProcessesOnOneIndexBothEndWell)
{
    TestRepository repository;
    repository.importHistory(80);
    QTemporaryDir indexDir;
    const auto runOne = [&] { return indexRun(repository.path(), indexDir.path()); };
    auto first = std::async(std::launch::async, runOne);
    const CliRun b = runOne();
    const CliRun a = first.get();
    EXPECT_EQ(std::make_pair(a.status, b.status), std::make_pair(0, 0));
    // One imported everything; the other waited and then found nothing to do.
    EXPECT_EQ(a.object().value("importedCommits").toInteger()
                  + b.object().value("importedCommits").toInteger(),
              80);
    EXPECT_NE(a.object().value("wasUpToDate").toBool(), b.object().value("wasUpToDate").toBool());
    const QString database = onlyIndexFile(indexDir.path());
    EXPECT_EQ(sqliteRows(database, {"PRAGMA integrity_check"}), QStringList {"ok"});
    EXPECT_EQ(sqliteRows(database, {"SELECT COUNT(DISTINCT sha), COUNT(*) FROM commits"}),
              QStringList {"80|80"});
}

TEST(InsightsCommand, ReportsTheInsightsOfTheIndexedHistory)
{
    const struct
    {
        int commits;
        int adaCommits;
        qint64 busFactor;
        double ownership;
        qsizetype milestones; ///< -1: not checked
    } cases[] = {{40, 40, 1, 100, 4}, {5, 3, 1, 80, -1}, {0, 0, 0, 0, 0}};
    QTemporaryDir indexDir;
    for (const auto &row : cases) {
        SCOPED_TRACE(row.commits);
        TestRepository repository;
        if (row.milestones >= 0) // a day apart, as the milestones need
            repository.setDateStep(86400);
        for (int i = 0; i < row.commits; ++i) {
            repository.write("src/main.c", QByteArray::number(i) + "\n");
            const QString author = i < row.adaCommits ? "Ada" : "Grace";
            repository.commit(QStringLiteral("fix: step %1").arg(i), author, author + "@x.org");
        }
        if (row.milestones > 0)
            repository.git({"tag", "v1.0"});
        const QJsonObject report
            = cliObject({"insights", repository.path(), "--index-dir", indexDir.path()});
        QMap<QString, double> risk;
        for (const QJsonValue &item : report.value("riskSignals").toArray())
            risk[item["name"].toString()] = item["value"].toDouble();
        EXPECT_EQ(std::make_tuple(report.value("totalCommits").toInt(),
                                  report.value("busFactor").toInteger(),
                                  report.value("firstCommitAt").toString(),
                                  report.value("peakDay").isNull(), risk.size()),
                  std::make_tuple(row.commits, row.busFactor,
                                  row.commits ? "2024-01-01T10:00:00Z" : QString(),
                                  row.commits == 0, 6));
        EXPECT_DOUBLE_EQ(risk.value("Ownership", -1), row.ownership);
        EXPECT_DOUBLE_EQ(risk.value("Message inconsistency", -1), row.commits ? 0 : 100);
        if (row.milestones >= 0)
            EXPECT_EQ(report.value("milestones").toArray().size(), row.milestones);
        EXPECT_FALSE(report.value("observations").toArray().isEmpty());
    }
}
