#pragma once

#include <QDateTime>
#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

namespace strataloom {

// Records of what the index says about a repository's reachable history. All integers are 64-bit;
// every date is an instant in UTC, absent where the index holds no time (a stored value below 1).

struct IndexedAuthorInsight
{
    QString name; ///< canonical author, all aliases together
    qint64 commits = 0;
    qint64 additions = 0;
    qint64 deletions = 0;
    double commitShare = 0; ///< commits / all reachable commits, between 0 and 1
    std::optional<QDateTime> firstCommitAt;
    std::optional<QDateTime> lastCommitAt;

    bool operator==(const IndexedAuthorInsight &) const = default;
};

struct IndexedFileInsight
{
    QString path; ///< current path of the file
    qint64 changes = 0; ///< distinct reachable commits that touched it
    qint64 authors = 0; ///< distinct authors of those commits
    qint64 additions = 0;
    qint64 deletions = 0;
    std::optional<QDateTime> firstChangedAt;
    std::optional<QDateTime> lastChangedAt;
    /// The newest commit no longer holds the file (told only while the file corrections apply).
    bool deleted = false;

    bool operator==(const IndexedFileInsight &) const = default;
};

struct IndexedCommitTypeInsight
{
    QString type; ///< "feat", "fix", ... or "other"
    qint64 count = 0;

    bool operator==(const IndexedCommitTypeInsight &) const = default;
};

/// @brief Commits and lines of one UTC day, month or year.
struct IndexedActivityInsight
{
    QString label; ///< "yyyy-MM-dd", "yyyy-MM" or "yyyy"
    std::optional<QDateTime> date; ///< start of the period
    qint64 commits = 0;
    qint64 additions = 0;
    qint64 deletions = 0;

    qint64 churn() const { return additions + deletions; }

    bool operator==(const IndexedActivityInsight &) const = default;
};

struct IndexedDirectoryInsight
{
    QString path; ///< first path component, "(root)" for top-level files
    qint64 changes = 0;
    qint64 authors = 0;
    qint64 additions = 0;
    qint64 deletions = 0;

    bool operator==(const IndexedDirectoryInsight &) const = default;
};

struct IndexedTechnologyInsight
{
    QString name;
    qint64 files = 0; ///< files of this technology with reachable changes
    qint64 changes = 0; ///< sum over those files of their distinct changing commits
    qint64 additions = 0;
    qint64 deletions = 0;

    bool operator==(const IndexedTechnologyInsight &) const = default;
};

/// @brief Two files changed together; the file stored first in the index comes first.
struct IndexedCoChangeInsight
{
    QString firstPath;
    QString secondPath;
    qint64 commits = 0;
    /// The newest commit no longer holds the first or the second file, as for a hotspot.
    bool firstDeleted = false;
    bool secondDeleted = false;

    bool operator==(const IndexedCoChangeInsight &) const = default;
};

struct IndexedCommitSizeInsight
{
    QString sha;
    QString subject;
    QString author;
    std::optional<QDateTime> date;
    qint64 files = 0; ///< change rows of the commit
    qint64 additions = 0;
    qint64 deletions = 0;

    bool operator==(const IndexedCommitSizeInsight &) const = default;
};

struct IndexedBranchInsight
{
    QString name;
    bool isRemote = false;
    std::optional<QDateTime> lastCommitAt; ///< author time of the tip, when the tip is indexed

    bool operator==(const IndexedBranchInsight &) const = default;
};

struct IndexedTagInsight
{
    QString name;
    std::optional<QDateTime> commitAt; ///< author time of the target, when the target is indexed

    bool operator==(const IndexedTagInsight &) const = default;
};

struct IndexedNamedCount
{
    QString name;
    qint64 count = 0;

    bool operator==(const IndexedNamedCount &) const = default;
};

/// @brief One person whose commits record several names or e-mail addresses, or an automation
/// account.
struct IndexedIdentityInsight
{
    QString name; ///< as the author lists name the person: the mapped name with most commits
    QStringList names; ///< every name the commits record, sorted
    QStringList emails; ///< every address the commits record, sorted
    bool isBot = false;

    bool operator==(const IndexedIdentityInsight &) const = default;
};

/// @brief Totals, ratios, distributions, top lists and trends over the reachable history.
struct RepositoryAnalyticsInsights
{
    qint64 totalCommits = 0;
    qint64 mergeCommits = 0;
    qint64 revertCommits = 0; ///< lower-cased subject begins with "revert"
    qint64 conventionalCommits = 0; ///< subject has a commit type other than "other"
    qint64 additions = 0;
    qint64 deletions = 0;
    std::optional<QDateTime> firstCommitAt;
    std::optional<QDateTime> lastCommitAt;
    qint64 activeDays = 0;
    qint64 longestGapDays = 0; ///< whole days between two consecutive commit moments
    std::optional<IndexedActivityInsight> peakDay; ///< earliest of the days with most commits
    qint64 filesAdded = 0; ///< change rows, not distinct files
    qint64 filesDeleted = 0;
    qint64 filesRenamed = 0;
    qint64 binaryFiles = 0; ///< distinct files with a binary change
    qint64 commitsWithoutChanges = 0;
    qint64 wideCommits = 0; ///< commits with 10 or more change rows
    double averageCommitChurn = 0;
    double averageSubjectLength = 0;
    qint64 shortMessages = 0; ///< trimmed subject shorter than 10 characters
    qint64 oneTimeContributors = 0;
    qint64 busFactor = 0; ///< fewest top authors holding at least half the commits
    qint64 localBranches = 0;
    qint64 remoteBranches = 0;
    qint64 tagCount = 0;
    double activityTrendPercent = 0;
    double churnTrendPercent = 0;
    double contributorTrendPercent = 0;
    QList<IndexedAuthorInsight> topAuthors; ///< every author, most commits first
    QList<IndexedFileInsight> hotspots; ///< at most 15
    QList<IndexedCommitTypeInsight> commitTypes;
    QList<IndexedActivityInsight> dailyActivity; ///< active days, oldest first
    QList<IndexedActivityInsight> monthlyActivity;
    QList<IndexedActivityInsight> yearlyActivity;
    QList<IndexedDirectoryInsight> directories; ///< at most 20
    QList<IndexedTechnologyInsight> technologies; ///< most churn first
    QList<IndexedCoChangeInsight> coChanges; ///< at most 15
    QList<IndexedCommitSizeInsight> largestCommits; ///< at most 12
    QList<IndexedBranchInsight> branches;
    QList<IndexedTagInsight> tags; ///< oldest first, unknown targets before all others
    QList<IndexedNamedCount> emailDomains; ///< at most 12
    QList<IndexedNamedCount> commonWords; ///< at most 15
    /// Automation accounts, most commits first, when they are kept out of the people figures;
    /// they are then absent from topAuthors.
    QList<IndexedAuthorInsight> bots;
    /// People known under more than one name or address, by name; empty unless identities are
    /// merged.
    QList<IndexedIdentityInsight> identities;

    bool operator==(const RepositoryAnalyticsInsights &) const = default;
};

} // namespace strataloom
