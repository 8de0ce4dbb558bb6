// The command line with odd arguments and with a git that never answers.
#include "TestFixtures.h"
#include "TestRepository.h"
#include "ProcessState.h"
#include "git/GitProcess.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include <QThread>

#include <gtest/gtest.h>

#include <csignal>

using namespace strataloom;

namespace {

struct CliRun
{
    int status = 0;
    QJsonDocument json;
    QString err;
};

CliRun cli(const QStringList &arguments)
{
    const ProcessResult result = runProcess(QStringLiteral(STRATALOOM_CLI), arguments);
    return {result.exitStatus, QJsonDocument::fromJson(result.standardOutput),
            QString::fromUtf8(result.standardError)};
}

qint64 readPid(const QString &path, int timeoutMilliseconds)
{
    QElapsedTimer timer;
    timer.start();
    while (timer.elapsed() < timeoutMilliseconds) {
        QFile file(path);
        if (file.open(QIODevice::ReadOnly)) {
            bool ok = false;
            const qint64 pid = file.readAll().trimmed().toLongLong(&ok);
            if (ok && pid > 0)
                return pid;
        }
        QThread::msleep(20);
    }
    return 0;
}

} // namespace

TEST(CliFaults, ValuesAfterTheTerminatorAreArgumentsEvenWithLeadingDashes)
{
    TestRepository repository;
    repository.write(QStringLiteral("-x.txt"), "dash\n");
    repository.commit(QStringLiteral("--fixup of the parser"), QStringLiteral("-dash"),
                      QStringLiteral("dash@example.com"));
    repository.write(QStringLiteral("plain.txt"), "plain\n");
    repository.commit(QStringLiteral("plain"));
    const QString repo = repository.path();
    const struct
    {
        QStringList arguments;
        QString field; ///< a count in the printed object, or "" for the length of the array
        int expected;
    } cases[] = {
        {{QStringLiteral("search"), repo, QStringLiteral("--"), QStringLiteral("--fixup")}, {}, 1},
        {{QStringLiteral("search"), QStringLiteral("--"), repo, QStringLiteral("-of")}, {}, 0},
        {{QStringLiteral("file"), repo, QStringLiteral("--"), QStringLiteral("-x.txt")},
         QStringLiteral("commitCount"),
         1},
        {{QStringLiteral("author"), repo, QStringLiteral("--"), QStringLiteral("-dash")},
         QStringLiteral("commits"),
         1},
        {{QStringLiteral("commits"), repo, QStringLiteral("--limit"), QStringLiteral("1"),
          QStringLiteral("--")},
         {},
         1},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.arguments.join(QLatin1Char(' ')).toStdString());
        const CliRun run = cli(c.arguments);
        ASSERT_EQ(run.status, 0) << run.err.toStdString();
        if (c.field.isEmpty())
            EXPECT_EQ(run.json.array().size(), c.expected);
        else
            EXPECT_EQ(run.json.object().value(c.field).toInt(), c.expected);
    }
    // Without the terminator a leading dash is an option still; a bare terminator ends nothing.
    EXPECT_EQ(cli({QStringLiteral("search"), repo, QStringLiteral("--fixup")}).status, 2);
    EXPECT_EQ(cli({QStringLiteral("search"), repo, QStringLiteral("--")}).status, 2);
}

TEST(CliFaults, ActivityOverMoreMonthsThanSince1970ListsEverything)
{
    TestRepository repository;
    repository.setDate(QStringLiteral("1990-05-01T12:00:00Z"));
    repository.write(QStringLiteral("a.txt"), "a\n");
    repository.commit(QStringLiteral("old"));
    repository.setDate(QDateTime::currentDateTimeUtc().addDays(-3).toString(Qt::ISODate));
    repository.write(QStringLiteral("a.txt"), "b\n");
    repository.commit(QStringLiteral("recent"));
    const struct
    {
        const char *months;
        int commits;
    } cases[] = {{"12", 1}, {"700", 2}, {"2000000000", 2}};
    for (const auto &c : cases) {
        const CliRun run = cli({QStringLiteral("activity"), repository.path(),
                                QStringLiteral("--months"), QString::fromLatin1(c.months)});
        ASSERT_EQ(run.status, 0) << run.err.toStdString();
        int commits = 0;
        for (const QJsonValue &point : run.json.array())
            commits += point.toObject().value(QStringLiteral("count")).toInt();
        EXPECT_EQ(commits, c.commits) << c.months;
    }
}

TEST(CliFaults, TerminationEndsAHangingGitAndWhatItStarted)
{
    TestRepository repository;
    QTemporaryDir folder;
    const QString script = folder.filePath(QStringLiteral("hanging-git"));
    writeScript(script, "sleep 300 &\necho $! > \"$HANG_PIDS.child\"\necho $$ > \"$HANG_PIDS\"\nwait\n");
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
        SCOPED_TRACE(signal);
        const QString pids = folder.filePath(QStringLiteral("pids-%1").arg(signal));
        QProcess process;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("STRATALOOM_GIT"), script);
        environment.insert(QStringLiteral("HANG_PIDS"), pids);
        process.setProcessEnvironment(environment);
        process.start(QStringLiteral(STRATALOOM_CLI),
                      {QStringLiteral("summary"), repository.path()});
        ASSERT_TRUE(process.waitForStarted());
        const qint64 git = readPid(pids, 10000);
        const qint64 child = readPid(pids + QStringLiteral(".child"), 10000);
        ASSERT_GT(git, 0);
        ASSERT_GT(child, 0);
        EXPECT_TRUE(isProcessRunning(git));

        ::kill(pid_t(process.processId()), signal);
        ASSERT_TRUE(process.waitForFinished(5000));
        EXPECT_EQ(process.exitStatus(), QProcess::NormalExit);
        EXPECT_EQ(process.exitCode(), 128 + signal);
        QElapsedTimer timer;
        timer.start();
        while ((isProcessRunning(git) || isProcessRunning(child)) && timer.elapsed() < 5000)
            QThread::msleep(20);
        EXPECT_FALSE(isProcessRunning(git));
        EXPECT_FALSE(isProcessRunning(child));
    }
}

TEST(CliFaults, DamagedIndexIsReportedOnceOnStandardErrorAndRebuilt)
{
    TestRepository repository;
    repository.write(QStringLiteral("a.txt"), "a\n");
    repository.commit(QStringLiteral("first"));
    QTemporaryDir indexes;
    const QStringList index {QStringLiteral("index"), repository.path(),
                             QStringLiteral("--index-dir"), indexes.path()};
    ASSERT_EQ(cli(index).status, 0);
    const QString file = onlyIndexFile(indexes.path());
    {
        QFile damaged(file);
        ASSERT_TRUE(damaged.open(QIODevice::WriteOnly | QIODevice::Truncate));
        damaged.write(QByteArray(5000, '\x7f'));
    }

    const CliRun rebuilt = cli(index);
    ASSERT_EQ(rebuilt.status, 0) << rebuilt.err.toStdString();
    EXPECT_EQ(rebuilt.err.count(QLatin1Char('\n')), 1) << rebuilt.err.toStdString();
    EXPECT_TRUE(rebuilt.err.contains(file)) << rebuilt.err.toStdString();
    EXPECT_EQ(rebuilt.json.object().value(QStringLiteral("importedCommits")).toInt(), 1);
    EXPECT_EQ(rebuilt.json.object().value(QStringLiteral("unreadableDiffs")).toInt(-1), 0);

    const CliRun again = cli(index);
    EXPECT_EQ(again.status, 0);
    EXPECT_TRUE(again.err.isEmpty()) << again.err.toStdString();
    EXPECT_TRUE(again.json.object().value(QStringLiteral("wasUpToDate")).toBool());
}
