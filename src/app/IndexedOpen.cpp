#include "app/IndexedOpen.h"

#include "index/CommitLanes.h"
#include "index/RepositoryIndex.h"

namespace strataloom {

IndexedOpen::IndexedOpen(QString repository, std::optional<QString> baseDirectory)
    : m_repository(std::move(repository))
    , m_baseDirectory(std::move(baseDirectory))
{ }

std::shared_ptr<const IndexedGraph> IndexedOpen::history()
{
    std::lock_guard lock(m_mutex);
    if (m_loaded)
        return m_history;
    m_loaded = true;
    try {
        const QString database = RepositoryIndexLocation::databasePath(
            GitService().commonDirectory(m_repository), m_baseDirectory);
        if (auto loaded = IndexedGraph::loadIfCurrent(database, m_repository))
            m_history = std::make_shared<const IndexedGraph>(std::move(*loaded));
    } catch (const std::exception &) {
        // No index to answer from (no data folder, not a repository): git answers, and says why
        // when it cannot.
    }
    return m_history;
}

HeadHistorySource IndexedOpen::headHistory()
{
    return [this](const QString &head) -> std::optional<QList<HeadWalkCommit>> {
        const std::shared_ptr<const IndexedGraph> indexed = history();
        if (!indexed)
            return std::nullopt;
        return indexed->headWalk(head, m_repository);
    };
}

std::optional<QList<GraphCommitRecord>> IndexedOpen::graph(int limit)
{
    std::shared_ptr<const IndexedGraph> indexed = history();
    if (!indexed)
        return std::nullopt;
    CommitLaneLayout layout(indexed);
    return laneGraphRecords(m_repository, *indexed, layout.rows(0, limit));
}

} // namespace strataloom
