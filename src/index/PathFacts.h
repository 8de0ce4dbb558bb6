#pragma once

#include <QByteArrayView>
#include <QList>
#include <QString>
#include <QStringList>

namespace strataloom {

/// @brief What the repository's attributes mark a path as (bits of path_facts.attributes).
enum PathAttribute : int {
    GeneratedAttribute = 1, ///< linguist-generated
    VendoredAttribute = 2, ///< linguist-vendored
    NoDiffAttribute = 4, ///< -diff (also set by the "binary" macro)
};

/// @brief One row of path_facts: what the newest commit says about a path.
struct PathFact
{
    QString path;
    bool atHead = false; ///< HEAD's tree holds the path
    int attributes = 0; ///< PathAttribute bits
    QString interpreter; ///< of an extensionless file at HEAD that starts with "#!"; else empty

    bool operator==(const PathFact &) const = default;
};

/// @brief Everything path_facts holds for one repository, and what it was read from.
struct PathFacts
{
    /// @brief HEAD's tree and the number of indexed paths asked about; equal sources give equal
    /// facts.
    QString source;
    QList<PathFact> facts;
};

/**
 * @brief The interpreter a script's first line names, without its folder and version:
 * "#!/bin/sh" gives "sh", "#!/usr/bin/env -S python3.11 -u" gives "python", "#!perl -w" gives
 * "perl". Empty when the line does not start with "#!" or names nothing.
 */
QString shebangInterpreter(QByteArrayView firstLine);

/**
 * @brief The facts of every path in HEAD's tree and of each of @p indexedPaths that the
 * attributes flag. Runs git on @p repository: `ls-tree` of HEAD, `check-attr` against the
 * attributes the repository's index holds (a bare repository has none), and `cat-file --batch`
 * for the first line of HEAD's extensionless files (raw blobs, no filters). An unborn HEAD holds
 * no path. Throws GitError.
 * @param knownSource the source of the stored facts: when it is still the source, nothing past
 * HEAD's tree is read and the result's facts are empty.
 */
PathFacts readPathFacts(const QString &repository, const QStringList &indexedPaths,
                        const QString &knownSource);

} // namespace strataloom
