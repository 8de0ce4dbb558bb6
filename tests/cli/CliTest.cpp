// The command line as scripts use it: its output, its errors, odd arguments and a git that never
// answers.
#include "CliRun.h"
#include "ProcessState.h"
#include "TestFixtures.h"
#include "TestRepository.h"

#include <QDir>
#include <QProcess>
#include <QTemporaryDir>

#include <csignal>

using namespace strataloom;

TEST(Cli, BadInputEndsWithOneLineAndStatusOneAndMisuseWithUsageAndStatusTwo)
{
    TestRepository repository;
    repository.write("notes.txt", "text\n");
    repository.commit("first");
    QTemporaryDir outside;
    const QString usage = "Usage: strataloom-cli";
    const struct
    {
        QStringList arguments;
        int status;
        QString message;
        QStringList environment = {};
    } cases[] = {
        {{"summary", outside.filePath("missing")}, 1, "no such folder"},
        {{"summary", repository.filePath("notes.txt")}, 1, "not a folder"},
        {{"summary", outside.path()}, 1, "fatal: not a git repository"},
        {{"summary", repository.filePath(".git")}, 1, "not a Git repository"},
        {{"summary", repository.path()},
         1,
         "/nonexistent/git",
         {"STRATALOOM_GIT=/nonexistent/git"}},
        {{"diff", repository.path(), "0123456789abcdef"}, 1, "0123456789abcdef"},
        {{}, 2, usage},
        {{"frobnicate", repository.path()}, 2, usage},
        {{"summary"}, 2, usage},
        {{"search", repository.path()}, 2, usage},
        {{"commits", repository.path(), "--limit"}, 2, usage},
        {{"commits", repository.path(), "--limit", "many"}, 2, usage},
        {{"graph", repository.path(), "--months", "3"}, 2, usage},
        // Without the terminator a leading dash is an option still; a bare one ends nothing.
        {{"search", repository.path(), "--fixup"}, 2, usage},
        {{"search", repository.path(), "--"}, 2, usage},
        {{"tags", repository.path(), "--format", "xml"}, 2, usage},
        {{"summary", repository.path(), "--format", "csv"}, 2, usage},
    };
    for (const auto &row : cases) {
        SCOPED_TRACE(row.arguments.join(' ').toStdString());
        const CliRun run = cli(row.arguments, row.environment);
        EXPECT_EQ(run.status, row.status) << run.err.toStdString();
        EXPECT_TRUE(run.out.isEmpty());
        EXPECT_TRUE(run.err.contains(row.message)) << run.err.toStdString();
        // A failure is one line, never a crash or a trace.
        if (row.status == 1) {
            EXPECT_EQ(run.err.count('\n'), 1) << run.err.toStdString();
        }
    }
    const CliRun help = cli({"--help"});
    EXPECT_EQ(help.status, 0);
    EXPECT_TRUE(help.out.startsWith(usage));
}

TEST(Cli, PrintsRecordsAsJsonWithUtcDatesAndNulls)
{
    TestRepository repository;
    repository.setDate("2024-03-01T10:20:30+01:00");
    repository.write("a.txt", "a\nb\n");
    const QString subject = "Add a | \"quoted\" café";
    const QString commit = repository.commit(subject);

    const QJsonObject summary = cliObject({"summary", repository.path()});
    EXPECT_EQ(std::make_tuple(summary["name"].toString(), summary["remoteURL"].isNull(),
                              summary["commitCount"].toInt(),
                              summary["firstCommitDate"].toString()),
              std::make_tuple(QDir(repository.path()).dirName(), true, 1,
                              QString("2024-03-01T09:20:30Z")));
    const CliRun commits = cli({"commits", repository.path(), "--limit", "5"});
    ASSERT_EQ(commits.array().size(), 1);
    const QJsonObject first = commits.array().first().toObject();
    EXPECT_EQ(std::make_tuple(first["id"].toString(), first["subject"].toString(),
                              first["additions"].toInt()),
              std::make_tuple(commit, subject, 2));
    // Fields come in the record's own order, not sorted.
    EXPECT_LT(commits.out.indexOf("\"shortHash\""), commits.out.indexOf("\"author\""));
    EXPECT_LT(commits.out.indexOf("\"subject\""), commits.out.indexOf("\"body\""));
    // The same records for spreadsheets: a header, then one line.
    EXPECT_EQ(cli({"commits", repository.path(), "--format", "csv"}).out.count("\r\n"), 2);

    const CliRun diff = cli({"diff", repository.path(), commit});
    EXPECT_EQ(diff.status, 0);
    EXPECT_TRUE(diff.out.startsWith("commit " + commit));
}

// Values with leading dashes after the terminator, and a count of months larger than the time
// since 1970.
TEST(Cli, ArgumentsAfterTheTerminatorAndHugeMonthCountsAreTakenAsGiven)
{
    TestRepository repository;
    repository.setDate("1990-05-01T12:00:00Z");
    repository.write("-x.txt", "dash\n");
    repository.commit("--fixup of the parser", "-dash", "dash@example.com");
    repository.setDate(QDateTime::currentDateTimeUtc().addDays(-3).toString(Qt::ISODate));
    repository.write("plain.txt", "plain\n");
    repository.commit("plain");
    const QString repo = repository.path();
    const struct
    {
        QStringList arguments;
        QString field; ///< a count in the printed object, or "" for the length of the array
        int expected;
    } cases[] = {
        {{"search", repo, "--", "--fixup"}, {}, 1},
        {{"search", "--", repo, "-of"}, {}, 0},
        {{"file", repo, "--", "-x.txt"}, "commitCount", 1},
        {{"author", repo, "--", "-dash"}, "commits", 1},
        {{"commits", repo, "--limit", "1", "--"}, {}, 1},
        // One point per day with commits.
        {{"activity", repo, "--months", "12"}, {}, 1},
        {{"activity", repo, "--months", "700"}, {}, 2},
        {{"activity", repo, "--months", "2147483647"}, {}, 2},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.arguments.join(' ').toStdString());
        const CliRun run = cli(c.arguments);
        ASSERT_EQ(run.status, 0) << run.err.toStdString();
        EXPECT_EQ(c.field.isEmpty() ? run.array().size() : run.object().value(c.field).toInt(),
                  c.expected);
    }
}

TEST(Cli, TerminationEndsAHangingGitAndWhatItStarted)
{
    TestRepository repository;
    QTemporaryDir folder;
    const QString script = folder.filePath("hanging-git");
    writeScript(script,
                "sleep 300 &\necho $! > \"$HANG_PIDS.child\"\necho $$ > \"$HANG_PIDS\"\nwait\n");
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
        SCOPED_TRACE(signal);
        const QString pids = folder.filePath(QStringLiteral("pids-%1").arg(signal));
        QProcess process;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("STRATALOOM_GIT", script);
        environment.insert("HANG_PIDS", pids);
        process.setProcessEnvironment(environment);
        process.start(STRATALOOM_CLI, {"summary", repository.path()});
        ASSERT_TRUE(
            waitUntil([&] { return pidIn(pids) > 0 && pidIn(pids + ".child") > 0; }, 10000));
        const qint64 git = pidIn(pids);
        const qint64 child = pidIn(pids + ".child");
        EXPECT_TRUE(isProcessRunning(git));

        ::kill(pid_t(process.processId()), signal);
        ASSERT_TRUE(process.waitForFinished(5000));
        EXPECT_EQ(std::make_pair(process.exitStatus(), process.exitCode()),
                  std::make_pair(QProcess::NormalExit, 128 + signal));
        EXPECT_TRUE(
            waitUntil([&] { return !isProcessRunning(git) && !isProcessRunning(child); }, 5000));
    }
}
