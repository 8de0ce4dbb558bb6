#pragma once

#include "git/GitRecordFields.h"

#include <QDateTime>
#include <QList>
#include <QString>

namespace strataloom {

/// @brief A repository the user opened; identified by its path.
struct RecentRepository
{
    QString name; ///< the repository's name when it was opened
    QString path; ///< standardized absolute path of the work tree, no trailing slash
    QDateTime lastOpened;

    bool operator==(const RecentRepository &) const = default;
};

/// @brief A repository found by the home-folder scan; identified by its path.
struct DiscoveredRepository
{
    QString name; ///< last path component of the folder
    QString path; ///< standardized absolute path of the folder

    bool operator==(const DiscoveredRepository &) const = default;
};

/// @brief The result of one home-folder scan and when it finished.
struct DiscoveredRepositoryCatalog
{
    QList<DiscoveredRepository> repositories; ///< in scan order
    QDateTime scannedAt;

    bool operator==(const DiscoveredRepositoryCatalog &) const = default;
};

// The fields of each record in order, as git/GitRecordFields.h lists the git records'.

template<RecordOf<RecentRepository> R, typename Visit> void visitFields(R &record, Visit &&visit)
{
    visit("name", record.name);
    visit("path", record.path);
    visit("lastOpened", record.lastOpened);
}

template<RecordOf<DiscoveredRepository> R, typename Visit>
void visitFields(R &record, Visit &&visit)
{
    visit("name", record.name);
    visit("path", record.path);
}

/// The recents never hold more than this many entries.
inline constexpr qsizetype maximumRecentRepositories = 12;

/**
 * @brief @p recents with @p repository at the head.
 *
 * Every entry with the same path (exact text comparison) is removed first, and the list is cut
 * to maximumRecentRepositories.
 */
QList<RecentRepository> rememberedRecents(QList<RecentRepository> recents,
                                          const RecentRepository &repository);

/// @brief @p recents without any entry whose path equals @p path, the others in order.
QList<RecentRepository> recentsWithout(QList<RecentRepository> recents, const QString &path);

/// @brief Absolute path with "." and ".." resolved and no trailing slash; links are kept.
QString standardizedPath(const QString &path);

} // namespace strataloom
