#include "ProcessState.h"
#include "TestRepository.h"
#include "git/GitProcess.h"
#include "git/GitService.h"

#include <QDir>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <optional>
#include <vector>

using namespace strataloom;

TEST(GitRunner, ValidatesWorkTreeAndRejectsGitDirectoryForeignFolderAndSilentFailure)
{
    TestRepository repository;
    GitService git;
    EXPECT_NO_THROW(git.validateRepository(repository.path()));
    try {
        git.validateRepository(repository.filePath(".git"));
        FAIL() << "the .git folder was accepted";
    } catch (const GitError &error) {
        EXPECT_EQ(error.kind(), GitError::Kind::NotRepository);
    }
    QTemporaryDir outside;
    const QString message = gitErrorOf([&] { git.validateRepository(outside.path()); });
    EXPECT_TRUE(message.startsWith("fatal: not a git repository")) << message.toStdString();
    EXPECT_EQ(message, message.trimmed());

    // A git that fails without a word on standard error.
    qputenv("STRATALOOM_GIT", "/bin/false");
    EXPECT_EQ(gitErrorOf([&] { git.validateRepository(repository.path()); }), "Git command failed");
    qunsetenv("STRATALOOM_GIT");
}

TEST(GitRunner, CommonDirectoryIsAbsoluteAndStandardizedFromSubfoldersAndWorktrees)
{
    TestRepository repository;
    repository.commit("root");
    QDir(repository.path()).mkpath("sub/dir");
    QTemporaryDir linked;
    repository.git({"worktree", "add", "-q", linked.filePath("wt")});
    for (const QString &folder :
         {repository.path(), repository.filePath("sub/dir"), linked.filePath("wt")})
        EXPECT_EQ(GitService().commonDirectory(folder),
                  QDir::cleanPath(repository.filePath(".git")))
            << folder.toStdString();
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

TEST(GitRunner, DrainsAndFeedsAnyAmountWithoutDeadlockAndReportsTheExit)
{
    QByteArray input(20 * 1024 * 1024, 'x');
    input[123] = '\n';
    const struct
    {
        const char *name;
        QStringList command;
        std::optional<QByteArray> input;
        int status;
        QByteArray out; ///< the output, or only its size when the output is larger than 1 MB
        qsizetype errSize = 0;
    } cases[] = {
        // A runner that read one pipe to its end before the other would hang here.
        {"40 MB out and 8 MB err interleaved",
         {"/bin/sh", "-c", "head -c 8000000 /dev/zero >&2 & head -c 40000000 /dev/zero; wait"},
         std::nullopt,
         0,
         QByteArray(40000000, '\0'),
         8000000},
        // The input can only be written whole if the output is drained meanwhile.
        {"20 MB through cat", {"/bin/cat"}, input, 0, input},
        {"empty input", {"/bin/cat"}, QByteArray(), 0, {}},
        // A child that stops reading early does not hurt the parent.
        {"stops reading", {"/usr/bin/head", "-c", "3"}, QByteArray(8 * 1024 * 1024, 'y'), 0, "yyy"},
        {"exit status", {"/bin/sh", "-c", "exit 7"}, std::nullopt, 7, {}},
        {"killed", {"/bin/sh", "-c", "kill -9 $$"}, std::nullopt, 128 + 9, {}},
    };
    for (const auto &c : cases) {
        ProcessOptions options;
        options.input = c.input;
        const ProcessResult result = runProcess(c.command.first(), c.command.mid(1), options);
        EXPECT_EQ(result.exitStatus, c.status) << c.name;
        EXPECT_TRUE(result.standardOutput == c.out) << c.name;
        EXPECT_EQ(result.standardError.size(), c.errSize) << c.name;
    }
    EXPECT_THROW(runProcess("/nonexistent/git", {}), ProcessLaunchError);
}

// Every other run has a cancellation check installed that was never set: it must not stop it.
TEST(GitRunner, ManyConcurrentRunsEachGetTheirOwnOutputWithOrWithoutAnUnsetCancellation)
{
    std::vector<std::future<ProcessResult>> runs;
    for (int i = 0; i < 24; ++i)
        runs.push_back(std::async(std::launch::async, [i] {
            std::optional<ScopedProcessCancellation> cancellation;
            if (i % 2)
                cancellation.emplace(std::function<bool()>());
            return runProcess("/bin/sh", {"-c", QStringLiteral("sleep 0.2; printf %1").arg(i)});
        }));
    for (int i = 0; i < 24; ++i) {
        const ProcessResult result = runs[i].get();
        EXPECT_EQ(std::make_pair(result.exitStatus, result.standardOutput),
                  std::make_pair(0, QByteArray::number(i)));
    }
}

TEST(GitRunner, ThrowingSinkStopsTheChild)
{
    struct Enough
    {
    };
    ProcessOptions options;
    qsizetype received = 0;
    options.sink = [&](const char *, qsizetype size) {
        if ((received += size) > 1024 * 1024)
            throw Enough {};
    };
    // `yes` never ends by itself: only killing it lets this call return.
    EXPECT_THROW(runProcess("/usr/bin/yes", {}, options), Enough);
    EXPECT_GT(received, 1024 * 1024);
}

TEST(GitRunner, CancellationEndsTheChildAndEverythingItStarted)
{
    // Each shell writes the pid of a sleeping process it started, then waits in its own way.
    const std::pair<const char *, const char *> children[] = {
        {"waits with its pipes open", "sleep 300 & echo $! > \"$1\"; wait"},
        {"closed its pipes", "exec >/dev/null 2>&1; sleep 300 & echo $! > \"$1\"; wait"},
        {"left a grandchild holding the pipes", "sleep 300 & echo $! > \"$1\""},
    };
    QTemporaryDir folder;
    for (const auto &[name, script] : children) {
        SCOPED_TRACE(name);
        const QString pidFile = folder.filePath(name);
        std::atomic_bool stop = false;
        auto run = std::async(std::launch::async, [&] {
            const ScopedProcessCancellation cancellation([&stop] { return stop.load(); });
            runProcess("/bin/sh", {"-c", script, "sh", pidFile});
        });
        qint64 sleeper = 0;
        ASSERT_TRUE(waitUntil([&] { return (sleeper = pidIn(pidFile)) > 0; }, 10000));
        stop = true;
        ASSERT_EQ(run.wait_for(std::chrono::seconds(5)), std::future_status::ready);
        EXPECT_THROW(run.get(), ProcessCancelled);
        // A signal takes a moment to arrive.
        EXPECT_TRUE(waitUntil([&] { return !isProcessRunning(sleeper); }, 3000));
    }
}
