#pragma once

#include "insights/InsightRecords.h"

#include <QDateTime>
#include <QList>
#include <QString>

#include <optional>

namespace strataloom {

class RepositoryIndex;
class SQLiteDatabase;

/**
 * @brief Computes every insight over the reachable history of @p index, holding the index's lock
 * for the whole computation. Reads only and opens no transaction of its own.
 *
 * Throws SQLiteError; no partial value is ever returned.
 */
RepositoryAnalyticsInsights insights(RepositoryIndex &index);

/// @brief The same on a database whose index lock the caller already holds.
RepositoryAnalyticsInsights insights(SQLiteDatabase &database);

/**
 * @brief Reachable commits and lines per period, oldest first, active periods only.
 * @param grouping a strftime format of the period key: "%Y-%m-%d", "%Y-%m" or "%Y".
 */
QList<IndexedActivityInsight> loadActivity(SQLiteDatabase &database, const QString &grouping);

/**
 * @brief Percentage change in distinct authors from before the middle of the time span to from
 * the middle on; 0 when either date is absent or the span is empty.
 */
double contributorTrend(SQLiteDatabase &database, const std::optional<QDateTime> &firstCommitAt,
                        const std::optional<QDateTime> &lastCommitAt);

/**
 * @brief The 15 file pairs changed together most often: at least two commits of at most 50 files
 * each; most commits first, then by the two current paths.
 */
QList<IndexedCoChangeInsight> loadCoChanges(SQLiteDatabase &database);

} // namespace strataloom
