#include "app/AnalyticsIndexController.h"

#include "app/RecordModels.h"

namespace strataloom {

namespace {

/// @brief What a finished index task hands back: the result, and its QML form made off the GUI
/// thread, since the insights of a long history are large.
struct IndexRun
{
    RepositoryIndexingResult result;
    QVariant insightsValue;
    int people = -1;
};

} // namespace

AnalyticsIndexController::AnalyticsIndexController(QObject *parent)
    : QObject(parent)
    , m_tasks(this, [this](const QString &error) { setState(AnalyticsIndexState::failed(error)); })
{
    m_progressTimer.setInterval(250);
    connect(&m_progressTimer, &QTimer::timeout, this, &AnalyticsIndexController::showProgress);
}

AnalyticsIndexController::~AnalyticsIndexController()
{
    if (m_cancelled)
        m_cancelled->store(true);
}

void AnalyticsIndexController::setIndexBaseDirectory(const QString &directory)
{
    m_baseDirectory = directory.isEmpty() ? std::nullopt : std::optional(directory);
}

void AnalyticsIndexController::start(const RepositorySummary &repository)
{
    m_repositoryPath = repository.path;
    const InsightOptions options = m_optionStore.load(repository.path);
    if (options != m_options) {
        m_options = options;
        Q_EMIT insightOptionsChanged();
    }
    run(false);
}

void AnalyticsIndexController::setInsightOption(const QString &name, bool on)
{
    const InsightOptions options = withInsightOption(m_options, name, on);
    if (options == m_options)
        return;
    m_options = options;
    Q_EMIT insightOptionsChanged();
    if (!m_repositoryPath)
        return;
    m_optionStore.save(*m_repositoryPath, m_options);
    // While the first run still builds the index there is nothing to keep showing: it starts
    // over with the new options.
    run(m_state.isReady() && m_insights.has_value());
}

void AnalyticsIndexController::run(bool keepInsights)
{
    if (m_cancelled)
        m_cancelled->store(true);
    if (keepInsights) {
        setRecomputing(true);
    } else {
        setRecomputing(false);
        setState(AnalyticsIndexState::indexing());
        setInsights(std::nullopt, {});
    }

    const auto cancelled = std::make_shared<std::atomic_bool>(false);
    m_cancelled = cancelled;
    const auto progress = std::make_shared<Progress>();
    m_progress = progress;
    m_progressStart = -1;
    if (!keepInsights)
        m_progressTimer.start();
    m_tasks.run(
        [path = *m_repositoryPath, base = m_baseDirectory, options = m_options, cancelled,
         progress] {
            IndexRun run;
            run.result = indexRepository(
                path, base, [cancelled] { return cancelled->load(); },
                [progress](qint64 imported, qint64 total) {
                    progress->total.store(total, std::memory_order_relaxed);
                    progress->imported.store(imported, std::memory_order_relaxed);
                },
                options,
                [progress](qint64 found) {
                    progress->listed.store(found, std::memory_order_relaxed);
                });
            run.insightsValue = toVariantMap(run.result.insights);
            if (options.mergeIdentities)
                run.people = int(run.result.insights.topAuthors.size()
                                 + run.result.insights.bots.size());
            return run;
        },
        [this](const IndexRun &run) {
            m_databasePath = run.result.databasePath;
            setRecomputing(false);
            setInsights(run.result.insights, run.insightsValue, run.people);
            setState(AnalyticsIndexState::ready(run.result.snapshot, run.result.importedCommits));
        },
        [this](const QString &error) {
            setRecomputing(false);
            setInsights(std::nullopt, {});
            setState(AnalyticsIndexState::failed(error));
        },
        // The run's own identity decides, not the load that started it: a later open that
        // fails starts no run, and the repository still shown must not stay "indexing".
        [this, cancelled] { return !cancelled->load() && m_cancelled == cancelled; });
}

void AnalyticsIndexController::setRecomputing(bool recomputing)
{
    if (m_recomputing == recomputing)
        return;
    m_recomputing = recomputing;
    Q_EMIT recomputingInsightsChanged();
}

QVariant AnalyticsIndexController::identityOf(const QString &name) const
{
    if (!m_insights || name.isEmpty())
        return {};
    for (const IndexedIdentityInsight &identity : m_insights->identities) {
        if (identity.name == name || identity.names.contains(name))
            return toVariantMap(identity);
    }
    return {};
}

void AnalyticsIndexController::showProgress()
{
    if (!m_state.isIndexing() || !m_progress)
        return;
    const qint64 total = m_progress->total.load(std::memory_order_relaxed);
    const qint64 imported = m_progress->imported.load(std::memory_order_relaxed);
    if (total <= 0) {
        if (const qint64 listed = m_progress->listed.load(std::memory_order_relaxed); listed > 0)
            setState(AnalyticsIndexState::listing(listed));
        return;
    }
    if (m_progressStart < 0) {
        m_progressStart = imported;
        m_progressClock.start();
    }
    const std::optional<int> secondsLeft = secondsLeftEstimate(
        imported - m_progressStart, m_progressClock.elapsed(), total - imported);
    setState(AnalyticsIndexState::indexing(imported, total, secondsLeft.value_or(-1)));
}

void AnalyticsIndexController::setState(const AnalyticsIndexState &state)
{
    if (!state.isIndexing())
        m_progressTimer.stop();
    if (m_state == state)
        return;
    m_state = state;
    Q_EMIT analyticsIndexStateChanged();
}

void AnalyticsIndexController::setInsights(
    const std::optional<RepositoryAnalyticsInsights> &insights, const QVariant &value,
    int people)
{
    people = insights ? people : -1;
    if (m_insights == insights && m_people == people)
        return;
    const bool peopleChanged = m_people != people;
    m_insights = insights;
    m_insightsValue = insights ? value : QVariant();
    m_people = people;
    Q_EMIT analyticsInsightsChanged();
    if (peopleChanged)
        Q_EMIT peopleCountChanged();
}

} // namespace strataloom
