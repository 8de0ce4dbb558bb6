#pragma once

#include "insights/InsightRecords.h"

#include <QList>

namespace strataloom {
class SQLiteDatabase;

/// @brief The co-change pairs as insights() computes them (from the tables read into memory),
/// on their own: for comparing that computation alone with the query.
QList<IndexedCoChangeInsight> loadCoChanges(SQLiteDatabase &database);
}

namespace strataloom::reference {

/**
 * @brief The insights computed by running each aggregate query as first written, one after
 * another: the yardstick for insights(), which computes them from one read of each table.
 * @param withoutLimits drop the LIMIT clauses, to see every row that ties at a cut.
 */
RepositoryAnalyticsInsights referenceInsights(SQLiteDatabase &database, bool withoutLimits = false);

/// @brief The co-change pairs by the query as first written (a self-join of the change rows).
QList<IndexedCoChangeInsight> coChanges(SQLiteDatabase &database);

} // namespace strataloom::reference
