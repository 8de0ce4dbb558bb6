#pragma once

#include "git/GitProcess.h"
#include "git/GitRecords.h"

#include <QString>
#include <QStringList>

#include <exception>
#include <functional>
#include <optional>

namespace strataloom {

struct ProcessResult;

/// @brief A git command that failed, or a folder that is not a work tree.
class GitError : public std::exception
{
public:
    enum class Kind { CommandFailed, NotRepository };

    /// @brief A git command that exited with a failure: what git printed on standard error,
    /// trimmed, or a general text when it printed nothing.
    static GitError commandFailed(const ProcessResult &result);
    static GitError notRepository() { return {Kind::NotRepository, {}}; }

    Kind kind() const { return m_kind; }
    /// @brief The text shown to the user.
    QString description() const;
    const char *what() const noexcept override { return m_what.constData(); }

    bool operator==(const GitError &other) const
    {
        return m_kind == other.m_kind && m_message == other.m_message;
    }

private:
    GitError(Kind kind, const QString &message);

    Kind m_kind;
    QString m_message;
    QByteArray m_what;
};

/**
 * @brief One commit of the walk `git log HEAD` makes, as the summary reads it: committer and
 * author seconds, whether it is a root, and the author's name and e-mail after .mailmap.
 */
struct HeadWalkCommit
{
    qint64 committerTime = 0;
    qint64 authorTime = 0;
    bool isRoot = false;
    QByteArray authorName; ///< UTF-8
    QByteArray authorEmail; ///< UTF-8
};

/**
 * @brief Another reader of HEAD's history (a store that already holds it): given HEAD's full
 * hash, the commits in the order `git log HEAD` prints them, or nothing when it cannot answer
 * exactly; git then walks the history itself.
 */
using HeadHistorySource = std::function<std::optional<QList<HeadWalkCommit>>(const QString &head)>;

/**
 * @brief Answers questions about a repository by running git and parsing what it prints.
 *
 * Stateless: make one wherever needed. Every operation blocks its calling thread until git has
 * finished, so call them from background threads; any number may run at once. Failures are thrown
 * as GitError, or ProcessLaunchError when git cannot be started.
 */
class GitService
{
public:
    // Repository probes
    void validateRepository(const QString &repository) const;
    /// @brief The shared git directory of all work trees, absolute, "." and ".." resolved.
    QString commonDirectory(const QString &repository) const;

    /**
     * @brief The overview of the repository. Everything it says about HEAD's history comes from
     * one walk over it; when @p authorStats is given, that walk also fills it with what
     * loadAuthorStats() would return, so that opening a repository walks its history once.
     * When @p headHistory answers for HEAD, its commits stand in for that walk.
     */
    RepositorySummary loadSummary(const QString &repository,
                                  QList<AuthorStat> *authorStats = nullptr,
                                  const HeadHistorySource &headHistory = {}) const;

    QList<CommitRecord> loadCommits(const QString &repository, int limit) const;
    QList<GraphCommitRecord> loadGraph(const QString &repository, int limit) const;
    QList<CommitRecord> searchCommits(const QString &repository, const QString &query) const;

    QList<BranchRecord> loadBranches(const QString &repository) const;
    QList<TagRecord> loadTags(const QString &repository) const;
    void checkout(const BranchRecord &branch, const QString &repository) const;

    QList<FileRecord> loadFiles(const QString &repository) const;
    FileDetails loadFileDetails(const QString &repository, const QString &path) const;
    QList<AuthorStat> loadAuthorStats(const QString &repository) const;
    AuthorDetails loadAuthorDetails(const QString &repository, const QString &author) const;
    QList<ActivityPoint> loadActivity(const QString &repository, int months) const;

    QList<CommitFileChange> loadCommitChanges(const QString &repository,
                                              const QString &commit) const;
    QString loadCommitDiff(const QString &repository, const QString &commit) const;

    /// @brief Strict internet date-time (2024-03-01T10:20:30+01:00 or ...Z); nothing otherwise.
    static OptionalDate parseISODate(const QString &text);
    /**
     * @brief Whole seconds since 1970 as git prints them for %at or --date=unix. Instants before
     * 1970-01-01T00:00:01Z or from year 10000 on, and text that is no number, are no date.
     */
    static OptionalDate parseUnixDate(const QString &seconds);
    /// @brief The latest second that parseUnixDate() takes: 9999-12-31T23:59:59Z.
    static constexpr qint64 latestUnixDate = 253402300799;

    /// @brief Bytes of the work-tree files at @p paths below @p root; unreadable paths add nothing.
    static qint64 trackedFilesSize(const QStringList &paths, const QString &root);
    /// @brief Loose plus packed object bytes from the text of `count-objects -v`.
    static qint64 gitDirectorySize(const QString &countObjectsOutput);

    /**
     * @brief What stands for "every ref" in a revision walk: "--all", preceded by an --exclude
     * for each ref whose name git refuses (a space, "main~", "x..y"). git skips those in
     * for-each-ref with a warning but fails a walk over --all on them.
     */
    QStringList allRefs(const QString &repository) const;

    /// @brief The most files the files screen shows.
    static constexpr int fileListLimit = 2000;

private:
    QString run(const QStringList &arguments, const QString &repository,
                const GitSettings &settings = {}) const;

    /// @brief Per-run settings for the commands that read or write work-tree files (status,
    /// switch), and what they leave unknowable.
    struct ProgramOverrides
    {
        QString topLevel; ///< the work tree's top level, where status paths start
        GitSettings settings;
        QStringList switchedOffDrivers; ///< filter drivers left with no program to run
        QStringList affectedSubmodules; ///< top-level submodule paths whose own filters are off
        std::optional<QString> userHooksPath; ///< core.hooksPath of the global or system file
    };
    /**
     * @brief Switches off the content filters (clean, smudge, process) that the repository's own
     * configuration defines, in files it includes and in every checked-out submodule: status and
     * switch would otherwise start those programs. Where the user's global or system configuration
     * defines the same setting (Git LFS, say), the user's program stays.
     */
    ProgramOverrides repositoryFilterOverrides(const QString &repository) const;
    /// @brief `status --porcelain -z` with the repository's own filters off: empty when clean.
    /// Sets @p unavailableReason when every change it shows may come from a switched-off filter.
    QString workTreeChanges(const QString &repository,
                            std::optional<QString> *unavailableReason) const;
    bool hasHead(const QString &repository) const;
    /// @brief The records of `shortlog -sn` text, in its order.
    static QList<AuthorStat> parseAuthorStats(const QString &shortlogOutput);
};

/// @brief The lines of @p text that hold more than blanks, untrimmed, in order.
QStringList nonEmptyLines(const QString &text);
/// @brief @p text trimmed, or nothing when that leaves it empty.
std::optional<QString> nilIfEmpty(const QString &text);

} // namespace strataloom
