#pragma once

#include <QDateTime>
#include <QList>
#include <QString>

#include <optional>

namespace strataloom {

/// @brief An instant that may be absent (a date git did not give or that did not parse).
using OptionalDate = std::optional<QDateTime>;

struct RepositorySummary
{
    QString path; ///< top level of the work tree
    QString name;
    QString currentBranch;
    std::optional<QString> remoteURL;
    bool isClean = true; ///< false as well when the state is not known
    /// @brief Why the clean/modified state is not known (a filter that did not run), if so.
    std::optional<QString> statusUnavailableReason;
    int commitCount = 0;
    int branchCount = 0;
    int tagCount = 0;
    int authorCount = 0;
    int trackedFileCount = 0;
    OptionalDate firstCommitDate;
    OptionalDate latestCommitDate;
    qint64 repositorySizeBytes = 0;
    qint64 gitSizeBytes = 0;
    int longestInactivityDays = 0;
    double commitsPerMonth = 0;
    double activityTrendPercent = 0;

    bool operator==(const RepositorySummary &) const = default;
};

struct CommitRecord
{
    QString id; ///< full hash
    QString shortHash;
    QString author;
    QString email;
    QDateTime date; ///< author date
    QString subject;
    QString body;
    int additions = 0;
    int deletions = 0;
    int filesChanged = 0;

    bool operator==(const CommitRecord &) const = default;
};

/// @brief One line of git's text graph: a commit line, or a connector line of drawing only.
struct GraphCommitRecord
{
    QString id;
    QString graph; ///< the drawing prefix, untrimmed
    QString shortHash;
    QString relativeDate;
    QString subject;
    QString author;
    QString decorations;

    bool isConnector() const { return shortHash.isEmpty(); }
    bool operator==(const GraphCommitRecord &) const = default;
};

struct BranchRecord
{
    QString name;
    bool isCurrent = false;
    bool isRemote = false;
    QString lastCommitHash;
    OptionalDate lastCommitDate;
    QString lastAuthor;

    bool operator==(const BranchRecord &) const = default;
};

struct TagRecord
{
    QString name;
    QString objectHash;
    OptionalDate date;
    QString subject;

    bool operator==(const TagRecord &) const = default;
};

struct FileRecord
{
    QString path;
    QString status;
    OptionalDate lastCommitDate;
    QString lastAuthor;

    bool operator==(const FileRecord &) const = default;
};

struct FileDetails
{
    QString path;
    qint64 sizeBytes = 0;
    int commitCount = 0;
    QList<QString> authors;
    OptionalDate firstCommitDate;
    OptionalDate lastCommitDate;
    QString lastAuthor;

    bool operator==(const FileDetails &) const = default;
};

struct AuthorStat
{
    QString name;
    int commits = 0;

    bool operator==(const AuthorStat &) const = default;
};

struct ActivityPoint
{
    QDateTime date; ///< start of a calendar day in the local time zone
    int count = 0;

    bool operator==(const ActivityPoint &) const = default;
};

struct AuthorDetails
{
    QString name;
    QList<QString> emails;
    int commits = 0;
    int additions = 0;
    int deletions = 0;
    OptionalDate firstCommitDate;
    OptionalDate lastCommitDate;
    QList<ActivityPoint> activity;

    bool operator==(const AuthorDetails &) const = default;
};

struct CommitFileChange
{
    QString status; ///< A, M, D, T, or R/C with a score such as R100
    QString path; ///< for renames and copies "old → new"

    bool operator==(const CommitFileChange &) const = default;
};

} // namespace strataloom
