#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

#include <chrono>
#include <functional>
#include <optional>
#include <stdexcept>

namespace strataloom {

/// @brief What one finished child process left behind.
struct ProcessResult
{
    int exitStatus = 0; ///< exit code, or 128 + signal number when the child was killed
    QByteArray standardOutput; ///< empty when the output went to a sink instead
    QByteArray standardError;
};

/// @brief The program could not be started at all (missing, not executable...).
class ProcessLaunchError : public std::runtime_error
{
public:
    explicit ProcessLaunchError(const QString &message);
    QString message() const { return QString::fromUtf8(what()); }
};

/// @brief A run stopped by its caller's cancellation; the child's process group was killed.
class ProcessCancelled : public std::runtime_error
{
public:
    ProcessCancelled();
};

/**
 * @brief Lets the caller stop every process that runProcess() starts on this thread while the
 * object lives: the runner asks @p isCancelled several times a second, and when it answers true,
 * kills the child's process group and throws ProcessCancelled. Nested objects stack; the inner
 * one and every outer one are asked.
 */
class ScopedProcessCancellation
{
public:
    explicit ScopedProcessCancellation(std::function<bool()> isCancelled);
    ~ScopedProcessCancellation();
    ScopedProcessCancellation(const ScopedProcessCancellation &) = delete;
    ScopedProcessCancellation &operator=(const ScopedProcessCancellation &) = delete;

    /// @brief True when this thread's installed checks ask to stop.
    static bool isCancellationRequested();
    /// @brief This thread's checks as one, for work that this thread hands to another thread
    /// (install it there with a ScopedProcessCancellation of its own).
    static std::function<bool()> current();

private:
    std::function<bool()> m_isCancelled;
    ScopedProcessCancellation *m_outer;
};

/**
 * @brief Sends @p signal to the process group of every child that runProcess() is running.
 * Async-signal-safe: meant for a signal handler that ends the program.
 */
void signalLiveProcessGroups(int signal);

/// @brief Receives standard output chunk by chunk as the child writes it.
using OutputSink = std::function<void(const char *data, qsizetype size)>;

struct ProcessOptions
{
    QStringList environment; ///< NAME=value entries added to (or replacing) the inherited ones
    OutputSink sink; ///< when set, standard output goes here as it arrives, not kept
    std::optional<QByteArray> input; ///< written to standard input; /dev/null when absent
    QStringList removedEnvironment; ///< NAMEs of inherited variables the child must not see
    /// Once a megabyte has gone to the sink, wait this long after a read from standard output
    /// that found less than half a buffer before reading again: for long streams, whose reader
    /// would otherwise be woken for every few kilobytes the child writes. Short runs are not
    /// delayed.
    std::chrono::milliseconds readPause {0};
};

/**
 * @brief Runs a program without a shell and drains standard output and standard error
 * concurrently (and feeds standard input), so output of any size comes back whole without
 * dead-lock.
 *
 * Safe to call from any number of threads at once: pipes are close-on-exec, so one child never
 * holds another's pipe open. Each child leads a process group of its own, so that whatever it
 * starts in turn is ended with it. When the sink throws or the run is cancelled (see
 * ScopedProcessCancellation), the group is killed and the child reaped before the exception
 * leaves this function.
 */
ProcessResult runProcess(const QString &program, const QStringList &arguments,
                         const ProcessOptions &options);
ProcessResult runProcess(const QString &program, const QStringList &arguments,
                         const QStringList &extraEnvironment = {});

/// @brief The git executable: $STRATALOOM_GIT when set, else /usr/bin/git.
QString gitExecutable();

/// @brief One configuration setting given to a single git run. Key and value may hold any
/// character (a driver named "a=b", a value with "=" or a newline): they reach git unsplit.
struct GitSetting
{
    QString key;
    QString value;

    bool operator==(const GitSetting &) const = default;
};
using GitSettings = QList<GitSetting>;

/**
 * @brief The settings every git run gets, whatever the repository's or the user's configuration
 * says: each one would otherwise start a program on a read path or change what a loader or the
 * indexer parses. GitProcess.cpp lists every one with its reason.
 */
const GitSettings &pinnedGitSettings();

/**
 * @brief The full argument list for one git run on @p repository.
 *
 * Adds the options that keep commands from starting programs the configuration names (textconv,
 * external diff drivers, a pager) and that keep decorations at git's default set of refs.
 */
QStringList gitArguments(const QString &repository, const QStringList &arguments);

/// @brief Environment entries set for every git child: the pinned settings followed by
/// @p settings (a later entry wins), no optional locks, no prompts, literal pathspecs.
QStringList gitEnvironment(const GitSettings &settings = {});

/// @brief Inherited variables no git child sees: they would point git at another repository,
/// index or configuration, or name a program for it to start.
QStringList gitRemovedEnvironment();

/// @brief Runs git on @p repository under the policy above; the caller interprets the result.
/// @p settings: further settings for this run only, applied after the pinned ones.
/// @p readPause: see ProcessOptions.
ProcessResult runGitProcess(const QString &repository, const QStringList &arguments,
                            const OutputSink &sink = {},
                            const std::optional<QByteArray> &input = std::nullopt,
                            const GitSettings &settings = {},
                            std::chrono::milliseconds readPause = {});

} // namespace strataloom
