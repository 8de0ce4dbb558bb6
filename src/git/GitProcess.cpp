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

#include <thread>
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
// ProcessOptions::readPause applies once this much output has streamed to the sink.
constexpr qint64 pausedStreamsFrom = qint64(1) << 20;

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

// Builds a NULL-terminated environment: the parent's without the removed names, with the given
// NAME=value entries replacing any inherited ones of the same name.
std::vector<QByteArray> buildEnvironment(const QStringList &extra, const QStringList &removed)
{
    QSet<QByteArray> overridden;
    for (const QString &name : removed)
        overridden.insert(name.toLocal8Bit() + '=');
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
    return runProcess(program, arguments, ProcessOptions {extraEnvironment, {}, std::nullopt, {}});
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

    std::vector<QByteArray> envStorage = buildEnvironment(options.environment, options.removedEnvironment);
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
        qint64 streamed = 0; // bytes of standard output handed to the sink
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
                    else if (options.sink) {
                        options.sink(buffer, n);
                        streamed += n;
                        if (options.readPause.count() > 0 && fds[2].fd < 0
                            && streamed >= pausedStreamsFrom && n < ssize_t(sizeof buffer / 2))
                            std::this_thread::sleep_for(options.readPause);
                    } else
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

// How every git command runs: one policy for the loaders, the indexer and the checkout.
//
// The settings below reach git through GIT_CONFIG_COUNT / GIT_CONFIG_KEY_n / GIT_CONFIG_VALUE_n,
// never through "-c key=value": git splits "-c" at the first "=", so a key holding "=" (a driver
// named "a=b") would set another key than the one meant. Settings given this way rank above every
// configuration file, and git hands them on to the git it starts inside a submodule.
//
// Pinned for every command; each row either stops a program the configuration names from starting
// on a read path, or keeps git's output in the form the loaders and the indexer parse (the values
// are git's own defaults unless the reason says otherwise). Settings about identities (mailmap.file,
// mailmap.blob, the repository's .mailmap) are the user's intent and stay as configured; so do the
// settings that describe the work tree's file system (core.fileMode, core.ignoreCase,
// core.autocrlf, core.eol, ...) and the user's own core.excludesFile and core.attributesFile.
//
//  setting                       value      why
//  core.fsmonitor                false      names a hook program that status and diff start
//  core.hooksPath                /dev/null  no hook of the repository runs on any command (the
//                                           checkout sets the user's own folder for its run)
//  core.pager                    cat        a pager program (also GIT_PAGER; --no-pager stops the
//                                           pager.<command> ones)
//  core.editor, sequence.editor  false      an editor program; no command here edits anything
//  core.sshCommand               false      an ssh program
//  core.askPass                  (empty)    a password prompt program (also GIT_ASKPASS)
//  credential.helper             (empty)    an empty value clears every helper from the list
//  protocol.allow                never      no transport at all: nothing is fetched while reading
//                                           (a partial clone's lazy fetch would run ssh, a
//                                           credential helper and the network)
//  log.showSignature             false      starts gpg.program / gpg.ssh.program / gpg.x509.program
//                                           and mixes the verifier's lines into log output
//  submodule.recurse             false      a switch would check out submodules and run their
//                                           filters and hooks
//  diff.submodule                short      "diff" starts a git diff inside each submodule
//  status.submoduleSummary       false      starts a git log inside each submodule
//  core.quotePath                false      paths printed as their owners named them
//  core.abbrev                   auto       length of short hashes (%h, --abbrev-commit)
//  core.bigFileThreshold         512m       bigger files count as binary: no line counts
//  color.ui, color.diff,         never      escape sequences in graph, diff and decoration text
//  color.branch, color.status,
//  color.grep, color.showBranch,
//  color.decorate, color.advice,
//  color.interactive, color.push,
//  color.remote, color.transport
//  i18n.logOutputEncoding        UTF-8      names and messages are read as UTF-8
//  log.showRoot                  true       the root commit keeps its files and line counts
//  log.abbrevCommit              false      full hash on the diff's "commit" line
//  log.decorate                  auto       no decorations unless a command asks for them
//  log.excludeDecoration         (by flag)  multi-valued, so no value can reset it: log and show
//                                           name git's default decoration refs explicitly instead
//  log.date                      default    date text of the diff
//  log.follow                    false      only the file details follow renames, by option
//  log.mailmap                   true       author names as shortlog and the insights map them
//  format.pretty                 medium     commands without a --format
//  diff.renames                  true       renamed files count once, as the index counts them
//  diff.renameLimit              1000       renames found in large commits
//  diff.algorithm                myers      other algorithms give other line counts
//  diff.indentHeuristic          true       hunk boundaries of the diff
//  diff.context                  3          lines of context of the diff
//  diff.interHunkContext         0          hunks fused in the diff
//  diff.relative                 false      a subfolder path would hide the rest of the tree
//  diff.orderFile                /dev/null  file order in diffs (an empty value is an error)
//  diff.noprefix                 false      a/ and b/ prefixes of the diff
//  diff.mnemonicPrefix           false      a/ and b/ prefixes of the diff
//  diff.suppressBlankEmpty       false      blank context lines of the diff
//  status.showUntrackedFiles     normal     an untracked file makes the tree modified
//  status.branch                 false      a "##" line would make a clean tree modified
//  status.showStash              false      no stash line in status output
//  status.relativePaths          true       status paths from the top level (porcelain anyway)
//  status.renames                true       one entry per renamed file
//  grep.patternType              basic      the search query is read as git's default pattern
//  grep.extendedRegexp           false      ditto
//
// Not pinned on purpose: core.untrackedCache and core.splitIndex (speed only, never output; with
// GIT_OPTIONAL_LOCKS=0 nothing is written back), replace refs (git's view of history is the
// user's), core.alternateRefsCommand and uploadpack.packObjectsHook (only serving a fetch starts
// them, which nothing here does), filters (only status and switch start them: GitService switches
// off those the repository's own configuration names, per run).
const GitSettings &pinnedGitSettings()
{
    static const GitSettings settings = [] {
        const auto s = [](const char *key, const char *value) {
            return GitSetting {QString::fromLatin1(key), QString::fromLatin1(value)};
        };
        GitSettings list {
            s("core.fsmonitor", "false"),
            s("core.hooksPath", "/dev/null"),
            s("core.pager", "cat"),
            s("core.editor", "false"),
            s("sequence.editor", "false"),
            s("core.sshCommand", "false"),
            s("core.askPass", ""),
            s("credential.helper", ""),
            s("protocol.allow", "never"),
            s("log.showSignature", "false"),
            s("submodule.recurse", "false"),
            s("diff.submodule", "short"),
            s("status.submoduleSummary", "false"),
            s("core.quotePath", "false"),
            s("core.abbrev", "auto"),
            s("core.bigFileThreshold", "512m"),
            s("i18n.logOutputEncoding", "UTF-8"),
            s("log.showRoot", "true"),
            s("log.abbrevCommit", "false"),
            s("log.decorate", "auto"),
            s("log.date", "default"),
            s("log.follow", "false"),
            s("log.mailmap", "true"),
            s("format.pretty", "medium"),
            s("diff.renames", "true"),
            s("diff.renameLimit", "1000"),
            s("diff.algorithm", "myers"),
            s("diff.indentHeuristic", "true"),
            s("diff.context", "3"),
            s("diff.interHunkContext", "0"),
            s("diff.relative", "false"),
            s("diff.orderFile", "/dev/null"),
            s("diff.noprefix", "false"),
            s("diff.mnemonicPrefix", "false"),
            s("diff.suppressBlankEmpty", "false"),
            s("status.showUntrackedFiles", "normal"),
            s("status.branch", "false"),
            s("status.showStash", "false"),
            s("status.relativePaths", "true"),
            s("status.renames", "true"),
            s("grep.patternType", "basic"),
            s("grep.extendedRegexp", "false"),
        };
        for (const char *command : {"ui", "diff", "branch", "status", "grep", "showBranch",
                                    "decorate", "advice", "interactive", "push", "remote",
                                    "transport"})
            list.append({QStringLiteral("color.") + QLatin1String(command),
                         QStringLiteral("never")});
        return list;
    }();
    return settings;
}

QStringList gitArguments(const QString &repository, const QStringList &arguments)
{
    QStringList full {QStringLiteral("--no-pager"), QStringLiteral("-C"), repository};
    if (arguments.isEmpty())
        return full;
    full << arguments.first();
    // Commands that can compute a diff never run a textconv or external diff driver.
    static const QStringList diffCommands {QStringLiteral("log"), QStringLiteral("show"),
                                           QStringLiteral("diff"), QStringLiteral("diff-tree")};
    if (diffCommands.contains(arguments.first()))
        full << QStringLiteral("--no-textconv") << QStringLiteral("--no-ext-diff");
    // Any explicit decoration pattern overrides log.excludeDecoration; these are the refs git
    // decorates by default, so decorations look the same whatever the configuration.
    static const QStringList logCommands {QStringLiteral("log"), QStringLiteral("show")};
    if (logCommands.contains(arguments.first())) {
        for (const char *refs : {"HEAD", "refs/heads/", "refs/remotes/", "refs/tags/",
                                 "refs/stash", "refs/replace/"})
            full << QStringLiteral("--decorate-refs=") + QLatin1String(refs);
    }
    full << arguments.mid(1);
    return full;
}

QStringList gitEnvironment(const GitSettings &settings)
{
    QStringList environment {
        QStringLiteral("GIT_OPTIONAL_LOCKS=0"),
        QStringLiteral("GIT_TERMINAL_PROMPT=0"),
        // Paths and names the user gives are literal: "[ab].txt", ":x" or ":(glob)**" never
        // act as pathspec magic.
        QStringLiteral("GIT_LITERAL_PATHSPECS=1"),
        QStringLiteral("GIT_PAGER=cat"),
        QStringLiteral("GIT_EDITOR=false"),
        QStringLiteral("GIT_SEQUENCE_EDITOR=false"),
        // Empty, so git neither prompts nor falls back to core.askPass or SSH_ASKPASS.
        QStringLiteral("GIT_ASKPASS="),
        QStringLiteral("SSH_ASKPASS="),
        QStringLiteral("GIT_SSH_COMMAND=false"),
        // Gits newer than 2.39 honour this; with protocol.allow=never above, a partial clone's
        // missing objects stay missing instead of being fetched (reading it is the indexer's).
        QStringLiteral("GIT_NO_LAZY_FETCH=1"),
    };
    const GitSettings &pinned = pinnedGitSettings();
    const qsizetype count = pinned.size() + settings.size();
    environment << QStringLiteral("GIT_CONFIG_COUNT=") + QString::number(count);
    for (qsizetype i = 0; i < count; ++i) {
        const GitSetting &setting = i < pinned.size() ? pinned.at(i) : settings.at(i - pinned.size());
        environment << QStringLiteral("GIT_CONFIG_KEY_%1=").arg(i) + setting.key
                    << QStringLiteral("GIT_CONFIG_VALUE_%1=").arg(i) + setting.value;
    }
    return environment;
}

QStringList gitRemovedEnvironment()
{
    return {
        // Another repository, work tree, index, object store or namespace than the one named.
        QStringLiteral("GIT_DIR"), QStringLiteral("GIT_WORK_TREE"),
        QStringLiteral("GIT_INDEX_FILE"), QStringLiteral("GIT_OBJECT_DIRECTORY"),
        QStringLiteral("GIT_ALTERNATE_OBJECT_DIRECTORIES"), QStringLiteral("GIT_COMMON_DIR"),
        QStringLiteral("GIT_NAMESPACE"), QStringLiteral("GIT_PREFIX"),
        QStringLiteral("GIT_IMPLICIT_WORK_TREE"), QStringLiteral("GIT_GRAFT_FILE"),
        QStringLiteral("GIT_SHALLOW_FILE"), QStringLiteral("GIT_QUARANTINE_PATH"),
        // Settings from a parent git's "-c" would rank above the pinned ones.
        QStringLiteral("GIT_CONFIG"), QStringLiteral("GIT_CONFIG_PARAMETERS"),
        // Programs to start, or options that change the diff text.
        QStringLiteral("GIT_EXTERNAL_DIFF"), QStringLiteral("GIT_DIFF_OPTS"),
        QStringLiteral("GIT_SSH"), QStringLiteral("PAGER"),
        // Pathspec magic the literal pathspecs above replace.
        QStringLiteral("GIT_GLOB_PATHSPECS"), QStringLiteral("GIT_NOGLOB_PATHSPECS"),
        QStringLiteral("GIT_ICASE_PATHSPECS"),
        // The terminal width, which --stat output would follow.
        QStringLiteral("COLUMNS"),
    };
}

ProcessResult runGitProcess(const QString &repository, const QStringList &arguments,
                            const OutputSink &sink, const std::optional<QByteArray> &input,
                            const GitSettings &settings, std::chrono::milliseconds readPause)
{
    return runProcess(
        gitExecutable(), gitArguments(repository, arguments),
        ProcessOptions {gitEnvironment(settings), sink, input, gitRemovedEnvironment(), readPause});
}

} // namespace strataloom
