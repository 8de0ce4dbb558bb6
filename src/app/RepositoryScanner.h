#pragma once

#include "app/RepositoryRecords.h"

#include <QList>
#include <QString>

namespace strataloom {

/**
 * @brief Finds the git repositories under a home folder.
 *
 * A plain value: copy it into a background task and call scan() there. Symbolic links are never
 * followed below the home folder, so link loops cannot trap the walk.
 */
class RepositoryScanner
{
public:
    /// @brief Scans @p homeDirectory, standardized.
    explicit RepositoryScanner(const QString &homeDirectory);

    QString homeDirectory() const { return m_homeDirectory; }
    /**
     * @brief The desktop's trash, left out of the walk wherever it lies below the home folder:
     * $XDG_DATA_HOME/Trash when that variable holds an absolute path, else
     * ".local/share/Trash" in the home folder.
     */
    QString trashDirectory() const { return m_trashDirectory; }

    /**
     * @brief Every repository under the home folder, sorted by name, then by path.
     *
     * The home folder itself when it is a repository; otherwise the outermost repositories
     * below it, outside the pruned folders (see shouldSkipDirectory()). Blocking; unreadable
     * folders are passed over, and a home folder that cannot be read gives an empty list.
     */
    QList<DiscoveredRepository> scan() const;

    /// @brief Whether @p path has a ".git" entry or is a bare repository (HEAD, objects/, refs/).
    static bool isRepository(const QString &path);

    /**
     * @brief Whether the walk leaves out the folder @p path below @p root.
     *
     * "Library" and ".Trash" directly under @p root, and "node_modules", "DerivedData" and
     * ".build" at any depth.
     */
    static bool shouldSkipDirectory(const QString &path, const QString &root);

private:
    QString m_homeDirectory;
    QString m_trashDirectory;
};

} // namespace strataloom
