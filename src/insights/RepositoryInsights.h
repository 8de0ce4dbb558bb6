#pragma once

#include "insights/InsightOptions.h"
#include "insights/InsightRecords.h"

namespace strataloom {

class RepositoryIndex;
class SQLiteDatabase;

/**
 * @brief Computes every insight over the reachable history of @p index, holding the index's lock
 * for the whole computation. Reads only and opens no transaction of its own.
 *
 * Without @p options the figures are those the history records (InsightOptions::asRecorded());
 * the application and the command line pass the corrections their user chose.
 *
 * Throws SQLiteError; no partial value is ever returned.
 */
RepositoryAnalyticsInsights insights(RepositoryIndex &index,
                                     const InsightOptions &options = InsightOptions::asRecorded());

/// @brief The same on a database whose index lock the caller already holds.
RepositoryAnalyticsInsights insights(SQLiteDatabase &database,
                                     const InsightOptions &options = InsightOptions::asRecorded());

} // namespace strataloom
