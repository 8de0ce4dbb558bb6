#pragma once

#include "insights/InsightRecords.h"

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

} // namespace strataloom
