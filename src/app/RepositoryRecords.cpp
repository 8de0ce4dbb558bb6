#include "app/RepositoryRecords.h"

#include <QDir>

namespace strataloom {

QList<RecentRepository> rememberedRecents(QList<RecentRepository> recents,
                                          const RecentRepository &repository)
{
    recents = recentsWithout(std::move(recents), repository.path);
    recents.prepend(repository);
    if (recents.size() > maximumRecentRepositories)
        recents.resize(maximumRecentRepositories);
    return recents;
}

QList<RecentRepository> recentsWithout(QList<RecentRepository> recents, const QString &path)
{
    recents.removeIf([&](const RecentRepository &entry) { return entry.path == path; });
    return recents;
}

QString standardizedPath(const QString &path)
{
    // cleanPath keeps a lone "/" and drops every other trailing slash.
    return QDir::cleanPath(QDir(path).absolutePath());
}

} // namespace strataloom
