#pragma once

#include "git/GitRecords.h"

#include <QString>

#include <optional>

namespace strataloom {

class SQLiteDatabase;

/**
 * @brief The history query (HistoryQuery) that lists the commits of the file at @p path under
 * every name it had: a `path:` term, quoted when the path holds a blank. None for a path the
 * query language cannot name (one that holds a double quote).
 */
std::optional<QString> fileHistoryQuery(const QString &path);

/**
 * @brief What the index says about the file at @p path, through its renames: the commits of every
 * reachable ref that changed it under this name or an earlier one, their authors, first and last
 * author dates and the newest commit's author ("Unknown" without commits). The size is left to
 * whoever can read the working tree (0 here).
 *
 * Throws SQLiteError, or HistoryQueryError for a path fileHistoryQuery() cannot name.
 */
FileDetails indexedFileDetails(SQLiteDatabase &database, const QString &path);

} // namespace strataloom
