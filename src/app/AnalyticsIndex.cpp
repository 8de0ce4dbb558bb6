#include "app/AnalyticsIndex.h"

#include "git/GitService.h"
#include "index/RepositoryIndexer.h"
#include "insights/RepositoryInsights.h"
#include "app/RecordModels.h"

namespace strataloom {

AnalyticsIndexState AnalyticsIndexState::indexing()
{
    AnalyticsIndexState state;
    state.m_kind = Kind::Indexing;
    return state;
}

AnalyticsIndexState AnalyticsIndexState::ready(const RepositoryIndexSnapshot &snapshot,
                                               qint64 importedCommits)
{
    AnalyticsIndexState state;
    state.m_kind = Kind::Ready;
    state.m_snapshot = snapshot;
    state.m_importedCommits = importedCommits;
    return state;
}

AnalyticsIndexState AnalyticsIndexState::failed(const QString &message)
{
    AnalyticsIndexState state;
    state.m_kind = Kind::Failed;
    state.m_message = message;
    return state;
}

QVariantMap AnalyticsIndexState::snapshotMap() const
{
    if (m_kind != Kind::Ready)
        return {};
    return toVariantMap(m_snapshot);
}

RepositoryIndexingResult indexRepository(const QString &repository,
                                         const std::optional<QString> &baseDirectory,
                                         const CancellationCheck &isCancelled)
{
    const auto stopIfCancelled = [&] {
        if (isCancelled && isCancelled())
            throw SynchronizationCancelled();
    };
    const QString commonDirectory = GitService().commonDirectory(repository);
    stopIfCancelled();
    RepositoryIndex index(RepositoryIndexLocation::databasePath(commonDirectory, baseDirectory));
    RepositoryIndexer indexer(index);
    SynchronizationOptions options;
    options.isCancelled = isCancelled;
    const RepositorySynchronization synchronization = indexer.synchronize(repository, options);
    // The insight queries take a while on long histories; a run cancelled meanwhile is not worth
    // finishing, since nobody will read its result.
    stopIfCancelled();
    RepositoryIndexingResult result;
    result.importedCommits = synchronization.importedCommits;
    result.snapshot = synchronization.snapshot;
    result.wasUpToDate = synchronization.wasUpToDate;
    result.insights = insights(index);
    return result;
}

} // namespace strataloom
