#pragma once

#include "git/GitService.h"
#include "index/IndexedGraph.h"

#include <QList>
#include <QString>

#include <memory>
#include <mutex>
#include <optional>

namespace strataloom {

/**
 * @brief What opening a repository takes from its index instead of walking the history with git:
 * HEAD's history for the summary and the first rows of the commit graph, when the index covers
 * the repository as it is now. Anything else (no index yet, one behind, one being built for the
 * first time) leaves both to git, as before.
 *
 * The index is read at most once, by whichever question comes first; thread-safe.
 */
class IndexedOpen
{
public:
    /// @param baseDirectory where the indexes live; the standard index folder when absent.
    explicit IndexedOpen(QString repository, std::optional<QString> baseDirectory = std::nullopt);

    /// @brief The history of the repository's up-to-date index, or null when there is none.
    std::shared_ptr<const IndexedGraph> history();
    /// @brief For GitService::loadSummary(): HEAD's walk from the index when it can answer.
    HeadHistorySource headHistory();
    /// @brief The first @p limit commits of the commit graph, from the index; nothing when
    /// the index cannot answer. Throws GitError.
    std::optional<QList<GraphCommitRecord>> graph(int limit);

private:
    QString m_repository;
    std::optional<QString> m_baseDirectory;
    std::mutex m_mutex;
    bool m_loaded = false;
    std::shared_ptr<const IndexedGraph> m_history;
};

} // namespace strataloom
