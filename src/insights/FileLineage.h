#pragma once

#include "insights/InsightHistory.h"
#include "insights/InsightOptions.h"

#include <functional>

namespace strataloom {
class SQLiteDatabase;
}

// The reading options about files, as transformations of the history read into memory: they
// run after readHistory() and before any aggregate over files.

namespace strataloom::aggregates {

/**
 * @brief Regroups the files of @p history by lineage: a file keeps its rows through renames and
 * is named by the last path it took (A renamed to B renamed to C is one file, C).
 *
 * The rows are walked in commit order. A rename hands the lineage of its old path to the new
 * one; a new file at a path whose lineage moved away starts a lineage of its own, while any
 * other change there (on a branch that had not seen the rename) still belongs to the lineage
 * that moved. A copy starts a new lineage. Paths never renamed keep one lineage, as before.
 *
 * A rename is taken for a copy when its old path lives on: it changes more often after the
 * rename than the new path does, and @p isAtHead (when given) says HEAD still holds it.
 *
 * Afterwards the file indexes of fileChanges are lineage indexes, filePaths their names and
 * fileIDs 1...n; renameSources is cleared.
 * @return for each lineage, whether it still holds its path (no later lineage took it over)
 */
std::vector<bool> followRenames(History &history,
                                const std::function<bool(const QString &)> &isAtHead = {});

/**
 * @brief Applies the file options of @p options to @p history (read from @p database) and the
 * totals already summed in @p result: lineage (followRenames), files absent from HEAD marked as
 * deleted (History::deletedFiles) and kept out of the rankings (hideDeletedFiles), and generated, vendored and lock files dropped from every
 * file figure and from churn, with files named by the language table (excludeGenerated).
 * Does nothing for InsightOptions::asRecorded().
 */
void applyFileOptions(SQLiteDatabase &database, History &history,
                      RepositoryAnalyticsInsights &result, const InsightOptions &options);

} // namespace strataloom::aggregates
