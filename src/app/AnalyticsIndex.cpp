#include "app/AnalyticsIndex.h"

#include "git/GitService.h"
#include "index/RepositoryIndexer.h"
#include "insights/RepositoryInsights.h"
#include "app/RecordModels.h"

#include <QLocale>

#include <algorithm>
#include <cmath>
#include <limits>

namespace strataloom {

AnalyticsIndexState AnalyticsIndexState::indexing(qint64 progressCommits, qint64 progressTotal,
                                                  int secondsLeft)
{
    AnalyticsIndexState state;
    state.m_kind = Kind::Indexing;
    state.m_progressTotal = std::max<qint64>(progressTotal, 0);
    state.m_progressCommits = std::clamp<qint64>(progressCommits, 0, state.m_progressTotal);
    state.m_secondsLeft = state.m_progressTotal > 0 ? std::max(secondsLeft, -1) : -1;
    return state;
}

AnalyticsIndexState AnalyticsIndexState::listing(qint64 listedCommits)
{
    AnalyticsIndexState state;
    state.m_kind = Kind::Indexing;
    state.m_listedCommits = std::max<qint64>(listedCommits, 0);
    return state;
}

QString AnalyticsIndexState::progressText() const
{
    const QLocale locale;
    if (m_progressTotal <= 0)
        return m_listedCommits > 0
            ? QStringLiteral("%1 commits found").arg(locale.toString(m_listedCommits))
            : QString();
    return QStringLiteral("%1 of %2").arg(locale.toString(m_progressCommits),
                                          locale.toString(m_progressTotal));
}

QString AnalyticsIndexState::timeLeftText() const
{
    if (m_secondsLeft < 0)
        return {};
    if (m_secondsLeft < 60)
        return QStringLiteral("less than a minute left");
    const qint64 minutes = (qint64(m_secondsLeft) + 30) / 60;
    if (minutes < 90)
        return QStringLiteral("about %1 min left").arg(minutes);
    return QStringLiteral("about %1 h left").arg(QLocale().toString((minutes + 30) / 60));
}

std::optional<int> secondsLeftEstimate(qint64 done, qint64 elapsedMilliseconds, qint64 remaining)
{
    constexpr qint64 warmUpMilliseconds = 3000;
    if (done <= 0 || elapsedMilliseconds < warmUpMilliseconds || remaining < 0)
        return std::nullopt;
    const double seconds = double(remaining) * double(elapsedMilliseconds) / double(done) / 1000.0;
    return int(std::min(std::ceil(seconds), double(std::numeric_limits<int>::max())));
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
                                         const CancellationCheck &isCancelled,
                                         const IndexProgress &progress,
                                         const InsightOptions &insightOptions,
                                         const ListingProgress &listing)
{
    const auto stopIfCancelled = [&] {
        if (isCancelled && isCancelled())
            throw SynchronizationCancelled();
    };
    const QString commonDirectory = GitService().commonDirectory(repository);
    stopIfCancelled();
    const QString databasePath
        = RepositoryIndexLocation::databasePath(commonDirectory, baseDirectory);
    RepositoryIndex index(databasePath);
    RepositoryIndexer indexer(index);
    SynchronizationOptions options;
    options.isCancelled = isCancelled;
    options.progress = progress;
    if (progress)
        options.listed = [&progress](qint64 total) { progress(0, total); };
    options.listing = listing;
    const RepositorySynchronization synchronization = indexer.synchronize(repository, options);
    // The insight queries take a while on long histories; a run cancelled meanwhile is not worth
    // finishing, since nobody will read its result.
    stopIfCancelled();
    RepositoryIndexingResult result;
    result.importedCommits = synchronization.importedCommits;
    result.snapshot = synchronization.snapshot;
    result.wasUpToDate = synchronization.wasUpToDate;
    result.databasePath = databasePath;
    result.insights = insights(index, insightOptions);
    return result;
}

} // namespace strataloom
