#pragma once

#include "insights/InsightHistory.h"

namespace strataloom {
class SQLiteDatabase;
}

// The aggregates of the insights, each computed from the tables read once (InsightHistory.h)
// with the exact semantics of the query that defines it.

namespace strataloom::aggregates {

struct FileTotals
{
    qint64 changes = 0;
    qint64 authors = 0;
    qint64 additions = 0;
    qint64 deletions = 0;
    qint64 firstTime = std::numeric_limits<qint64>::max();
    qint64 lastTime = std::numeric_limits<qint64>::min();
};

/// @brief Commit counts, merges, commits without or with many changes, first and last commit,
/// average churn.
void summarise(const History &history, RepositoryAnalyticsInsights &result);
/// @brief Every author, most commits first; names equal but for ASCII case by lower id.
QList<IndexedAuthorInsight> topAuthors(const History &history, qint64 totalCommits);
/// @brief Changes, authors, lines and first and last change of each file, by file index.
std::vector<FileTotals> fileTotals(const History &history);
/// @brief The 15 files with most changes, then most churn, then by path.
QList<IndexedFileInsight> hotspots(const History &history, const std::vector<FileTotals> &files);
/// @brief The 20 first path components with most commits, then most churn, then by name.
QList<IndexedDirectoryInsight> directories(const History &history);
/// @brief Every technology of a changed file, most churn first, then by name.
QList<IndexedTechnologyInsight> technologies(const History &history,
                                             const std::vector<FileTotals> &files);
/**
 * @brief The 15 file pairs changed together most often: at least two commits of at most 50
 * change rows each; most commits first, then by the two current paths.
 * @param commitFiles (commit index, file index) of each change row
 * @param rowsOfCommit change rows per commit index
 * @param deletedFiles by file index, the files to mark as deleted (History::deletedFiles)
 */
QList<IndexedCoChangeInsight> coChangesOf(std::vector<std::pair<qsizetype, qsizetype>> commitFiles,
                                          const std::vector<qint64> &rowsOfCommit,
                                          const QStringList &paths,
                                          const std::vector<bool> &deletedFiles = {});
/// @brief The 12 commits with most churn, then by id.
QList<IndexedCommitSizeInsight> largestCommits(SQLiteDatabase &database, const History &history);
/// @brief Daily, monthly and yearly activity, oldest first, active periods only.
void activity(SQLiteDatabase &database, const History &history, RepositoryAnalyticsInsights &result);
/// @brief Whole days of the longest gap between two consecutive commit moments.
qint64 longestGapDays(const History &history);
/// @brief Percentage change in distinct authors from before the middle of the time span to
/// from the middle on; 0 when either date is absent or the span is empty.
double contributorTrendOf(const History &history, const std::optional<QDateTime> &firstCommitAt,
                          const std::optional<QDateTime> &lastCommitAt);
/// @brief The 12 e-mail domains with most commits, then by name.
QList<IndexedNamedCount> emailDomains(const History &history);
/// @brief What the subjects of the reachable commits tell alone: reverts, short messages, the
/// average length, commit types (and the conventional commits among them), the 15 commonest words.
/// The subjects @p withoutWords marks (by position) count for everything but the words.
void summariseSubjects(const PackedTexts &subjects, RepositoryAnalyticsInsights &result,
                       const std::vector<bool> &withoutWords = {});
/// @brief Branches and tags with their tips' times, and their counts.
void loadRefs(SQLiteDatabase &database, RepositoryAnalyticsInsights &result);

} // namespace strataloom::aggregates
