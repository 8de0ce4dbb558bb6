#pragma once

#include "git/GitRecords.h"

#include <QList>
#include <QString>

#include <optional>

namespace strataloom {

class SQLiteDatabase;

/**
 * @brief The history query (HistoryQuery) that lists the commits of the author named @p name:
 * an `author:` term in quotes. None for a name the query language cannot name (empty, or one
 * that holds a double quote).
 */
std::optional<QString> authorHistoryQuery(const QString &name);

/**
 * @brief The ids of the aliases (author_aliases) an `author:` term with @p text stands for: those
 * whose name or e-mail holds @p text, letter case ignored. With @p mergeIdentities, an alias also
 * matches by the name and address the mailmap gives it, and brings every alias of its person
 * along (people as the insights join them); without, the aliases as recorded. Ascending.
 */
QList<qint64> authorAliasIDs(SQLiteDatabase &database, const QString &text, bool mergeIdentities);

/**
 * @brief What the index says about the author named @p name: the reachable commits of the
 * aliases authorAliasIDs() gives for it (as the author's history lists them), their added and
 * deleted lines, first and last author dates, commits per local calendar day and the e-mail
 * addresses they were recorded with. Throws SQLiteError.
 */
AuthorDetails indexedAuthorDetails(SQLiteDatabase &database, const QString &name,
                                   bool mergeIdentities);

/// @brief A file and how many of an author's commits changed it.
struct AuthorFileChanges
{
    QString path; ///< as the commits named it: a file renamed counts under each of its names
    int commits = 0;

    bool operator==(const AuthorFileChanges &) const = default;
};

/**
 * @brief The files most often changed by the author named @p name (the commits of
 * indexedAuthorDetails), at most @p limit of them: most commits first, then by path.
 * Throws SQLiteError.
 */
QList<AuthorFileChanges> indexedAuthorFiles(SQLiteDatabase &database, const QString &name,
                                            bool mergeIdentities, int limit = 10);

} // namespace strataloom
