#pragma once

#include "git/GitRecords.h"

#include <QList>
#include <QString>

namespace strataloom::cli {

/**
 * @brief The commits of @p repository's index (in @p indexDirectory when not empty) that match
 * @p query, newest first, from @p offset on, at most @p limit of them (all when 0). With
 * @p mergeIdentities an `author:` term takes each person's other names and addresses along.
 *
 * Reads the index as it stands, without synchronising. Throws when there is no index yet (the
 * message says to run `index`), HistoryQueryError for a malformed query, SQLiteError otherwise.
 */
QList<CommitRecord> logCommand(const QString &repository, const QString &indexDirectory,
                               const QString &query, qint64 offset, qint64 limit,
                               bool mergeIdentities = true);

} // namespace strataloom::cli
