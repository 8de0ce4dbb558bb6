#include "cli/GraphCommand.h"

#include "git/GitService.h"
#include "index/CommitLanes.h"
#include "index/RepositoryIndex.h"

#include <stdexcept>

namespace strataloom::cli {

Json graphFromIndexCommand(const QString &repository, const QString &indexDirectory, int limit)
{
    const QString database = RepositoryIndexLocation::databasePath(
        GitService().commonDirectory(repository),
        indexDirectory.isEmpty() ? std::nullopt : std::optional<QString>(indexDirectory));
    std::optional<IndexedGraph> history = IndexedGraph::load(database);
    if (!history) {
        throw std::runtime_error(
            QStringLiteral("%1 has no index yet; build it with: strataloom-cli index %1")
                .arg(repository)
                .toStdString());
    }
    const auto shared = std::make_shared<const IndexedGraph>(std::move(*history));
    CommitLaneLayout layout(shared);
    return toJson(laneGraphRecords(repository, *shared, layout.rows(0, limit)));
}

} // namespace strataloom::cli
