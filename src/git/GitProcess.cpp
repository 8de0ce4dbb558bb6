#include "git/GitProcess.h"

#include <QSet>

#include <algorithm>
#include <atomic>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <vector>

extern char **environ;

namespace strataloom {

ProcessLaunchError::ProcessLaunchError(const QString &message)
    : std::runtime_error(message.toStdString())
{ }

ProcessCancelled::ProcessCancelled()
    : std::runtime_error("The operation was cancelled")
{ }

namespace {

thread_local ScopedProcessCancellation *currentCancellation = nullptr;

// The children running now, for signalLiveProcessGroups(): lock-free slots, so that a signal
// handler may read them. A child that finds no free slot is simply not listed.
constexpr int liveSlotCount = 256;
std::atomic<pid_t> liveChildren[liveSlotCount];

int registerLiveChild(pid_t pid)
{
    for (int i = 0; i < liveSlotCount; ++i) {
        pid_t expected = 0;
        if (liveChildren[i].compare_exchange_strong(expected, pid))
            return i;
    }
    return -1;
}

// The exit status of a reaped child as ProcessResult reports it.
ProcessResult finishedResult(ProcessResult result, int status)
{
    if (WIFEXITED(status))
        result.exitStatus = WEXITSTATUS(status);
    else if (WIFSIGNALED(status))
        result.exitStatus = 128 + WTERMSIG(status);
    else
        result.exitStatus = -1;
    return result;
}

// How often a running child's caller is asked whether to stop.
constexpr int cancellationPollMilliseconds = 50;

class FileDescriptor
{
public:
    FileDescriptor() = default;
    explicit FileDescriptor(int fd)
        : m_fd(fd)
    { }
    FileDescriptor(const FileDescriptor &) = delete;
    FileDescriptor &operator=(const FileDescriptor &) = delete;
    ~FileDescriptor() { reset(); }

    int get() const { return m_fd; }
    void reset(int fd = -1)
    {
        if (m_fd >= 0)
            ::close(m_fd);
        m_fd = fd;
    }

private:
    int m_fd = -1;
};

struct Pipe
{
    FileDescriptor read;
    FileDescriptor write;

    void open()
    {
        int fds[2];
        if (::pipe2(fds, O_CLOEXEC) != 0)
            throw ProcessLaunchError(QStringLiteral("Unable to create a pipe: %1")
                                         .arg(QString::fromLocal8Bit(std::strerror(errno))));
        read.reset(fds[0]);
        write.reset(fds[1]);
    }
};

// Builds a NULL-terminated environment: the parent's, with the given NAME=value entries
// replacing any inherited ones of the same name.
std::vector<QByteArray> buildEnvironment(const QStringList &extra)
{
    QSet<QByteArray> overridden;
    std::vector<QByteArray> entries;
    for (const QString &entry : extra) {
        const QByteArray bytes = entry.toLocal8Bit();
        overridden.insert(bytes.left(bytes.indexOf('=') + 1));
        entries.push_back(bytes);
    }
    for (char **e = environ; e && *e; ++e) {
        const QByteArray bytes(*e);
        if (!overridden.contains(bytes.left(bytes.indexOf('=') + 1)))
            entries.push_back(bytes);
    }
    return entries;
}

} // namespace

ScopedProcessCancellation::ScopedProcessCancellation(std::function<bool()> isCancelled)
    : m_isCancelled(std::move(isCancelled))
    , m_outer(currentCancellation)
{
    currentCancellation = this;
}

ScopedProcessCancellation::~ScopedProcessCancellation()
{
    currentCancellation = m_outer;
}

bool ScopedProcessCancellation::isCancellationRequested()
{
    for (const ScopedProcessCancellation *c = currentCancellation; c; c = c->m_outer) {
        if (c->m_isCancelled && c->m_isCancelled())
            return true;
    }
    return false;
}

std::function<bool()> ScopedProcessCancellation::current()
{
    std::vector<std::function<bool()>> checks;
    for (const ScopedProcessCancellation *c = currentCancellation; c; c = c->m_outer) {
        if (c->m_isCancelled)
            checks.push_back(c->m_isCancelled);
    }
    if (checks.empty())
        return {};
    return [checks] {
        return std::any_of(checks.begin(), checks.end(), [](const auto &check) { return check(); });
    };
}

void signalLiveProcessGroups(int signal)
{
    for (std::atomic<pid_t> &slot : liveChildren) {
        const pid_t pid = slot.load();
        if (pid > 0)
            ::kill(-pid, signal);
    }
}

ProcessResult runProcess(const QString &program, const QStringList &arguments,
                         const QStringList &extraEnvironment)
{
    return runProcess(program, arguments, ProcessOptions {extraEnvironment, {}, std::nullopt});
}

ProcessResult runProcess(const QString &program, const QStringList &arguments,
                         const ProcessOptions &options)
{
    if (options.input) {
        // Writing to a child that has already exited must fail with EPIPE, not kill us.
        static const bool sigpipeIgnored = (::signal(SIGPIPE, SIG_IGN), true);
        Q_UNUSED(sigpipeIgnored);
    }

    Pipe out;
    Pipe err;
    Pipe in;
    out.open();
    err.open();
    if (options.input)
        in.open();

    std::vector<QByteArray> argStorage;
    argStorage.reserve(arguments.size() + 1);
    argStorage.push_back(program.toLocal8Bit());
    for (const QString &a : arguments)
        argStorage.push_back(a.toUtf8());
    std::vector<char *> argv;
    for (QByteArray &a : argStorage)
        argv.push_back(a.data());
    argv.push_back(nullptr);

    std::vector<QByteArray> envStorage = buildEnvironment(options.environment);
    std::vector<char *> envp;
    for (QByteArray &e : envStorage)
        envp.push_back(e.data());
    envp.push_back(nullptr);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    if (options.input)
        posix_spawn_file_actions_adddup2(&actions, in.read.get(), STDIN_FILENO);
    else
        posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, out.write.get(), STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, err.write.get(), STDERR_FILENO);

    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    // A parent that ignores SIGPIPE must not pass that on: git should die quietly on a closed pipe.
    sigset_t defaults;
    sigemptyset(&defaults);
    sigaddset(&defaults, SIGPIPE);
    posix_spawnattr_setsigdefault(&attributes, &defaults);
    // A group of its own: cancelling kills git together with anything it started (a fetch, a
    // filter, a pager), and a terminal's Ctrl+C reaches us, who end the group, not git alone.
    posix_spawnattr_setpgroup(&attributes, 0);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETPGROUP);

    pid_t pid = -1;
    const int spawnError = ::posix_spawn(&pid, argStorage.front().constData(), &actions,
                                         &attributes, argv.data(), envp.data());
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attributes);
    out.write.reset();
    err.write.reset();
    in.read.reset();
    if (spawnError != 0)
        throw ProcessLaunchError(
            QStringLiteral("Unable to run %1: %2")
                .arg(program, QString::fromLocal8Bit(std::strerror(spawnError))));

    const int liveSlot = registerLiveChild(pid);
    const auto reap = [pid, liveSlot] {
        siginfo_t info {};
        while (::waitid(P_PID, id_t(pid), &info, WEXITED | WNOWAIT) < 0 && errno == EINTR) { }
        // Whatever the child started and left behind in its group ends with it. The leader is
        // not reaped yet, so its pid, the group's id, cannot have been given to anyone else.
        ::kill(-pid, SIGKILL);
        int status = 0;
        while (::waitpid(pid, &status, 0) < 0 && errno == EINTR) { }
        if (liveSlot >= 0)
            liveChildren[liveSlot].store(0);
        return status;
    };
    const bool cancellable = currentCancellation != nullptr;

    ProcessResult result;
    try {
        qsizetype written = 0;
        if (options.input) {
            ::fcntl(in.write.get(), F_SETFL, ::fcntl(in.write.get(), F_GETFL) | O_NONBLOCK);
            if (options.input->isEmpty())
                in.write.reset();
        }
        pollfd fds[3] = {
            {out.read.get(), POLLIN, 0}, {err.read.get(), POLLIN, 0}, {in.write.get(), POLLOUT, 0}};
        int open = 2;
        char buffer[1 << 16];
        while (open > 0 || fds[2].fd >= 0) {
            const int ready = ::poll(fds, 3, cancellable ? cancellationPollMilliseconds : -1);
            if (cancellable && ScopedProcessCancellation::isCancellationRequested())
                throw ProcessCancelled();
            if (ready < 0) {
                if (errno == EINTR)
                    continue;
                break;
            }
            if (ready == 0)
                continue;
            if (fds[2].fd >= 0 && fds[2].revents != 0) {
                const ssize_t n = (fds[2].revents & POLLOUT)
                    ? ::write(fds[2].fd, options.input->constData() + written,
                              options.input->size() - written)
                    : -1;
                if (n > 0)
                    written += n;
                if ((n < 0 && errno != EAGAIN && errno != EINTR)
                    || written >= options.input->size()) {
                    in.write.reset();
                    fds[2].fd = -1;
                }
            }
            for (int i = 0; i < 2; ++i) {
                if (fds[i].fd < 0 || fds[i].revents == 0)
                    continue;
                const ssize_t n = ::read(fds[i].fd, buffer, sizeof buffer);
                if (n > 0) {
                    if (i == 1)
                        result.standardError.append(buffer, n);
                    else if (options.sink)
                        options.sink(buffer, n);
                    else
                        result.standardOutput.append(buffer, n);
                } else if (n == 0 || (errno != EINTR && errno != EAGAIN)) {
                    fds[i].fd = -1;
                    --open;
                }
            }
        }
    } catch (...) {
        ::kill(-pid, SIGKILL);
        reap();
        throw;
    }

    // Both pipes closed, yet the child may still run (it closed them itself): wait for it under
    // the same cancellation.
    while (cancellable) {
        siginfo_t info {};
        if (::waitid(P_PID, id_t(pid), &info, WEXITED | WNOHANG | WNOWAIT) < 0) {
            if (errno == EINTR)
                continue;
            break;
        }
        if (info.si_pid == pid)
            break;
        if (ScopedProcessCancellation::isCancellationRequested()) {
            ::kill(-pid, SIGKILL);
            reap();
            throw ProcessCancelled();
        }
        ::usleep(cancellationPollMilliseconds * 1000);
    }
    return finishedResult(std::move(result), reap());
}

QString gitExecutable()
{
    const QString configured = qEnvironmentVariable("STRATALOOM_GIT");
    return configured.isEmpty() ? QStringLiteral("/usr/bin/git") : configured;
}

QStringList gitArguments(const QString &repository, const QStringList &arguments,
                         const QStringList &configuration)
{
    QStringList full {QStringLiteral("-c"), QStringLiteral("core.fsmonitor=false"),
                      QStringLiteral("-c"), QStringLiteral("core.quotePath=false")};
    for (const QString &setting : configuration)
        full << QStringLiteral("-c") << setting;
    full << QStringLiteral("-C") << repository;
    if (arguments.isEmpty())
        return full;
    // Commands that can compute a diff never run the repository's textconv or external diff
    // drivers: those are programs named by a possibly hostile configuration.
    static const QStringList diffCommands {QStringLiteral("log"), QStringLiteral("show"),
                                           QStringLiteral("diff"), QStringLiteral("diff-tree")};
    full << arguments.first();
    if (diffCommands.contains(arguments.first()))
        full << QStringLiteral("--no-textconv") << QStringLiteral("--no-ext-diff");
    full << arguments.mid(1);
    return full;
}

QStringList gitEnvironment()
{
    return {QStringLiteral("GIT_OPTIONAL_LOCKS=0"), QStringLiteral("GIT_TERMINAL_PROMPT=0")};
}

ProcessResult runGitProcess(const QString &repository, const QStringList &arguments,
                            const OutputSink &sink, const std::optional<QByteArray> &input,
                            const QStringList &configuration)
{
    return runProcess(gitExecutable(), gitArguments(repository, arguments, configuration),
                      ProcessOptions {gitEnvironment(), sink, input});
}

} // namespace strataloom
