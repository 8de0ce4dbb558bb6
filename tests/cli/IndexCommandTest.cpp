// The commands over the index as scripts use them: index and insights, including the rough ways a
// run can end (killed midway, racing another process on the same index, finding the index
// damaged); log, the query language over the index as it stands; and graph --from-index, laid
// out in the order and lanes of `git log --graph --all --date-order`, never synchronising.
#include "CliRun.h"
#include "TestFixtures.h"
#include "TestRepository.h"

#include <QDir>
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

// The commit rows of a printed graph (connector rows have no hash): their lanes, in order.
QStringList lanes(const CliRun &run)
{
    QStringList lanes;
    for (const QJsonValue &value : run.array()) {
        if (const QJsonObject row = value.toObject(); !row.value("shortHash").toString().isEmpty())
            lanes << drawnLane(row.value("shortHash").toString(), row.value("graph").toString());
    }
    return lanes;
}

// The commit rows of a printed graph by hash, without their drawing.
QMap<QString, QJsonObject> texts(const CliRun &run)
{
    QMap<QString, QJsonObject> rows;
    for (const QJsonValue &value : run.array()) {
        QJsonObject row = value.toObject();
        row.remove("graph");
        if (!row.value("shortHash").toString().isEmpty())
            rows.insert(row.value("id").toString(), row);
    }
    return rows;
}

class LogCommandTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        repo.setDateStep(3600);
        for (int i = 1; i <= 5; ++i) {
            repo.write(QStringLiteral("file%1.txt").arg(i), QByteArray::number(i));
            repo.commit(QStringLiteral("Change number %1").arg(i),
                        i % 2 ? "Odd Author" : "Even Author");
        }
    }

    CliRun run(const QString &command, const QStringList &options = {})
    {
        return cli(QStringList {command, repo.path(), "--index-dir", indexes.path()} + options);
    }

    TestRepository repo;
    QTemporaryDir indexes;
};

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
        if (row.milestones >= 0) {
            EXPECT_EQ(report.value("milestones").toArray().size(), row.milestones);
        }
        EXPECT_FALSE(report.value("observations").toArray().isEmpty());
    }
}

TEST_F(LogCommandTest, ReadsTheIndexAsItStandsNewestFirstPaged)
{
    const CliRun missing = run("log");
    EXPECT_EQ(missing.status, 1);
    EXPECT_TRUE(missing.err.contains("strataloom-cli index")) << missing.err.toStdString();
    EXPECT_TRUE(QDir(indexes.path()).isEmpty()) << "asking created nothing";

    ASSERT_EQ(run("index").status, 0);
    // Not synchronised by log: this commit stays out until the next `index`.
    repo.commit("Change after indexing");
    const QStringList all = repo.git({"rev-list", "HEAD~1"}).split('\n', Qt::SkipEmptyParts);
    ASSERT_EQ(all.size(), 5);
    const struct
    {
        QStringList options;
        QStringList expected;
    } cases[] = {
        {{}, all},
        {{"--limit", "0"}, all},
        {{"--offset", "1", "--limit", "2"}, all.mid(1, 2)},
        {{"--offset", "9"}, {}},
        // Both authors write as ada@example.com: one person, unless read as recorded.
        {{"--query", "author:odd number"}, all},
        {{"--query", "author:odd number", "--as-recorded"}, {all[0], all[2], all[4]}},
        {{"--no-identities", "--query", "author:even"}, {all[1], all[3]}},
    };
    for (const auto &test : cases) {
        SCOPED_TRACE(test.options.join(' ').toStdString());
        const CliRun log = run("log", test.options);
        EXPECT_EQ(log.status, 0) << log.err.toStdString();
        QStringList ids;
        for (const QJsonValue &commit : log.array())
            ids << commit.toObject().value("id").toString();
        EXPECT_EQ(ids, test.expected);
    }
}

TEST_F(LogCommandTest, BadInputIsRefusedWithItsReason)
{
    ASSERT_EQ(run("index").status, 0);
    const struct
    {
        QStringList options;
        int status;
        const char *says;
    } cases[] = {
        {{"--query", "number colour:red"}, 1, "unknown key \"colour:\"; the keys are"},
        {{"--query", "ref:gone"}, 1, "unknown ref \"gone\""},
        {{"--query", "after:2024-13-01"}, 1, "(at character 7)"},
        {{"--limit", "-1"}, 2, "--limit needs a whole number"},
        {{"--offset", "x"}, 2, "--offset needs a whole number"},
    };
    for (const auto &test : cases) {
        SCOPED_TRACE(test.options.join(' ').toStdString());
        const CliRun log = run("log", test.options);
        EXPECT_EQ(log.status, test.status);
        EXPECT_TRUE(log.err.contains(QString::fromUtf8(test.says))) << log.err.toStdString();
        EXPECT_TRUE(log.out.isEmpty());
    }
}

TEST(GraphFromIndex, laysOutTheIndexedHistoryAsGitsDateOrderedGraphWithoutSynchronising)
{
    // Two branches alternating in time, merged, and a tag.
    TestRepository repository;
    writeHistory(repository,
                 scripted({"m1 main 0", "f1 feature 1 m1", "m2 main 2 m1", "f2 feature 3 f1",
                           "m3 main 4 m2", "m4 main 5 m3 f2"}));
    repository.git({"tag", "v1", "HEAD~1"});
    QTemporaryDir indexes;
    const QStringList graph {"graph", repository.path(), "--from-index", "--index-dir",
                             indexes.path()};

    // Without an index it says what to run; the folder goes only with --from-index.
    const std::tuple<QStringList, int, const char *> refused[] = {
        {graph, 1, "strataloom-cli index"},
        {QStringList {"graph", repository.path(), "--index-dir", indexes.path()}, 2,
         "goes with --from-index"},
    };
    for (const auto &[arguments, status, saying] : refused) {
        const CliRun run = cli(arguments);
        EXPECT_EQ(run.status, status) << arguments.join(' ').toStdString();
        EXPECT_TRUE(run.err.contains(saying) && run.out.isEmpty()) << run.err.toStdString();
    }
    EXPECT_TRUE(QDir(indexes.path()).isEmpty()) << "no index was created";

    ASSERT_EQ(cli({"index", repository.path(), "--index-dir", indexes.path()}).status, 0);
    const QStringList before = gitGraphLanes(repository, {"--format=%x01%h"});
    for (const QString limit : {"500", "3"}) {
        const CliRun run = cli(graph + QStringList {"--limit", limit});
        ASSERT_EQ(run.status, 0) << run.err.toStdString();
        EXPECT_EQ(lanes(run), gitGraphLanes(repository, {"--format=%x01%h", "-n", limit}));
    }
    // The texts of each commit row are those of the graph command.
    EXPECT_EQ(texts(cli(graph)), texts(cli({"graph", repository.path()})));

    // A commit after the index stays out, read after read.
    repository.commit("later", "Ada", "ada@example.com", "2024-02-01T10:00:00Z");
    for (int read = 0; read < 2; ++read)
        EXPECT_EQ(lanes(cli(graph)), before) << read;
}
