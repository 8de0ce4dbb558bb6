#include "TestRepository.h"
#include "git/GitProcess.h"
#include "git/GitService.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <optional>
#include <thread>
#include <vector>

using namespace strataloom;

TEST(GitRunner, ValidatesWorkTreeAndRejectsGitDirectoryAndForeignFolder)
{
    TestRepository repository;
    GitService git;
    EXPECT_NO_THROW(git.validateRepository(repository.path()));

    try {
        git.validateRepository(repository.filePath(QStringLiteral(".git")));
        FAIL() << "the .git folder was accepted";
    } catch (const GitError &error) {
        EXPECT_EQ(error.kind(), GitError::Kind::NotRepository);
    }

    QTemporaryDir outside;
    const QString message = gitErrorOf([&] { git.validateRepository(outside.path()); });
    EXPECT_TRUE(message.startsWith(QStringLiteral("fatal: not a git repository")))
        << message.toStdString();
    EXPECT_EQ(message, message.trimmed());
}

TEST(GitRunner, SilentFailureUsesFallbackText)
{
    // A git that fails without a word on standard error.
    TestRepository repository;
    qputenv("STRATALOOM_GIT", "/bin/false");
    const QString message = gitErrorOf([&] { GitService().validateRepository(repository.path()); });
    qunsetenv("STRATALOOM_GIT");
    EXPECT_EQ(message, QStringLiteral("Git command failed"));
}

TEST(GitRunner, CommonDirectoryIsAbsoluteAndStandardized)
{
    TestRepository repository;
    repository.commit(QStringLiteral("root"));
    GitService git;
    EXPECT_EQ(git.commonDirectory(repository.path()),
              QDir::cleanPath(repository.filePath(QStringLiteral(".git"))));

    QDir(repository.path()).mkpath(QStringLiteral("sub/dir"));
    EXPECT_EQ(git.commonDirectory(repository.filePath(QStringLiteral("sub/dir"))),
              QDir::cleanPath(repository.filePath(QStringLiteral(".git"))));

    QTemporaryDir linked;
    const QString worktree = linked.filePath(QStringLiteral("wt"));
    repository.git(
        {QStringLiteral("worktree"), QStringLiteral("add"), QStringLiteral("-q"), worktree});
    EXPECT_EQ(git.commonDirectory(worktree),
              QDir::cleanPath(repository.filePath(QStringLiteral(".git"))));
}

TEST(GitRunner, TextHelpersKeepInnerBlanks)
{
    EXPECT_EQ(nonEmptyLines("a\n\n  \nb"), QStringList({"a", "b"}));
    EXPECT_EQ(nonEmptyLines("  x  "), QStringList {"  x  "});
    EXPECT_EQ(nonEmptyLines(QStringLiteral("a\r\nb\rc\u2028d")), QStringList({"a", "b", "c", "d"}));
    EXPECT_EQ(nilIfEmpty(" \n"), std::nullopt);
    EXPECT_EQ(nilIfEmpty("  x "), std::optional<QString>("x"));
}

TEST(GitRunner, ParsesOnlyStrictInternetDates)
{
    const std::pair<const char *, std::optional<QDateTime>> cases[] = {
        {"2024-03-01T10:20:30+01:00\n", utcDate("2024-03-01T09:20:30Z")},
        {"2024-03-01T09:20:30Z", utcDate("2024-03-01T09:20:30Z")},
        {"2024-03-01", std::nullopt},
        {"2024-03-01T09:20:30.5Z", std::nullopt},
        {"yesterday", std::nullopt},
        {"2024-13-01T09:20:30Z", std::nullopt},
    };
    for (const auto &[text, date] : cases)
        EXPECT_EQ(GitService::parseISODate(text), date) << text;
}

TEST(GitRunner, DrainsLargeOutputOnBothStreamsWithoutDeadlock)
{
    // 40 MB on stdout and 8 MB on stderr, interleaved: a runner that read one pipe to its end
    // before the other would hang here.
    const ProcessResult result = runProcess(
        QStringLiteral("/bin/sh"),
        {QStringLiteral("-c"),
         QStringLiteral("head -c 8000000 /dev/zero >&2 & head -c 40000000 /dev/zero; wait")});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.standardOutput.size(), 40000000);
    EXPECT_EQ(result.standardError.size(), 8000000);
}

TEST(GitRunner, ManyConcurrentRunsEachGetTheirOwnOutput)
{
    std::vector<std::future<ProcessResult>> runs;
    for (int i = 0; i < 24; ++i)
        runs.push_back(std::async(std::launch::async, [i] {
            return runProcess(
                QStringLiteral("/bin/sh"),
                {QStringLiteral("-c"), QStringLiteral("sleep 0.05; printf %1").arg(i)});
        }));
    for (int i = 0; i < 24; ++i) {
        const ProcessResult result = runs[i].get();
        EXPECT_EQ(result.standardOutput, QByteArray::number(i));
    }
}

TEST(GitRunner, MissingProgramIsALaunchErrorAndExitStatusIsReported)
{
    EXPECT_THROW(runProcess("/nonexistent/git", {}), ProcessLaunchError);
    EXPECT_EQ(runProcess("/bin/sh", {"-c", "exit 7"}).exitStatus, 7);
    EXPECT_EQ(runProcess("/bin/sh", {"-c", "kill -9 $$"}).exitStatus, 128 + 9);
}

TEST(GitRunner, FeedsStandardInputWhileDrainingOutput)
{
    // 20 MB through cat: the input can only be written whole if output is drained meanwhile.
    QByteArray input(20 * 1024 * 1024, 'x');
    input[123] = '\n';
    ProcessOptions options;
    options.input = input;
    const ProcessResult result = runProcess(QStringLiteral("/bin/cat"), {}, options);
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.standardOutput, input);

    options.input = QByteArray();
    EXPECT_TRUE(runProcess(QStringLiteral("/bin/cat"), {}, options).standardOutput.isEmpty());

    // A child that stops reading early does not hurt the parent.
    options.input = QByteArray(8 * 1024 * 1024, 'y');
    EXPECT_EQ(runProcess(QStringLiteral("/usr/bin/head"), {QStringLiteral("-c"), QStringLiteral("3")},
                         options)
                  .standardOutput,
              QByteArray("yyy"));
}

TEST(GitRunner, ThrowingSinkStopsTheChild)
{
    struct Enough
    {
    };
    ProcessOptions options;
    qsizetype received = 0;
    options.sink = [&](const char *, qsizetype size) {
        received += size;
        if (received > 1024 * 1024)
            throw Enough {};
    };
    // `yes` never ends by itself: only killing it lets this call return.
    EXPECT_THROW(runProcess(QStringLiteral("/usr/bin/yes"), {}, options), Enough);
    EXPECT_GT(received, 1024 * 1024);
}

TEST(GitRunner, CancellationEndsTheChildAndEverythingItStarted)
{
    // Each shell writes the pid of a sleeping process it started, then waits in its own way.
    const struct
    {
        const char *name;
        const char *script;
    } children[] = {
        {"waits with its pipes open", "sleep 300 & echo $! > \"$1\"; wait"},
        {"closed its pipes", "exec >/dev/null 2>&1; sleep 300 & echo $! > \"$1\"; wait"},
        {"left a grandchild holding the pipes", "sleep 300 & echo $! > \"$1\""},
    };
    QTemporaryDir folder;
    for (const auto &child : children) {
        SCOPED_TRACE(child.name);
        const QString pidFile = folder.filePath(QString::fromLatin1(child.name));
        std::atomic_bool stop = false;
        const auto started = std::chrono::steady_clock::now();
        auto run = std::async(std::launch::async, [&] {
            const ScopedProcessCancellation cancellation([&stop] { return stop.load(); });
            runProcess(QStringLiteral("/bin/sh"),
                       {QStringLiteral("-c"), QString::fromLatin1(child.script),
                        QStringLiteral("sh"), pidFile});
        });
        qint64 sleeper = 0;
        while (sleeper == 0
               && std::chrono::steady_clock::now() - started < std::chrono::seconds(10)) {
            QFile file(pidFile);
            if (file.open(QIODevice::ReadOnly))
                sleeper = file.readAll().trimmed().toLongLong();
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        ASSERT_GT(sleeper, 0);
        stop = true;
        ASSERT_EQ(run.wait_for(std::chrono::seconds(5)), std::future_status::ready);
        EXPECT_THROW(run.get(), ProcessCancelled);
        // Killed: gone, or a zombie that init has not reaped yet (a signal takes a moment).
        const auto running = [sleeper] {
            QFile stat(QStringLiteral("/proc/%1/stat").arg(sleeper));
            const QByteArray state = stat.open(QIODevice::ReadOnly) ? stat.readAll() : QByteArray();
            return !state.isEmpty() && !state.contains(") Z");
        };
        const auto killed = std::chrono::steady_clock::now();
        while (running() && std::chrono::steady_clock::now() - killed < std::chrono::seconds(3))
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        EXPECT_FALSE(running());
    }
}

TEST(GitRunner, RunsWithoutCancellationOrWithAnUnsetOneFinishNormally)
{
    for (const bool install : {false, true}) {
        std::optional<ScopedProcessCancellation> cancellation;
        if (install)
            cancellation.emplace(std::function<bool()>());
        const ProcessResult result
            = runProcess(QStringLiteral("/bin/sh"),
                         {QStringLiteral("-c"), QStringLiteral("sleep 0.2; echo done")});
        EXPECT_EQ(result.exitStatus, 0) << install;
        EXPECT_EQ(result.standardOutput, QByteArray("done\n")) << install;
    }
}
