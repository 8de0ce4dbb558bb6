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
};

} // namespace

AnalyticsIndexController::AnalyticsIndexController(QObject *parent)
    : QObject(parent)
    , m_tasks(this, [this](const QString &error) { setState(AnalyticsIndexState::failed(error)); })
{ }

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
    if (m_cancelled)
        m_cancelled->store(true);
    setState(AnalyticsIndexState::indexing());
    setInsights(std::nullopt, {});

    const auto cancelled = std::make_shared<std::atomic_bool>(false);
    m_cancelled = cancelled;
    m_tasks.run(
        [path = repository.path, base = m_baseDirectory, cancelled] {
            IndexRun run;
            run.result = indexRepository(path, base, [cancelled] { return cancelled->load(); });
            run.insightsValue = toVariantMap(run.result.insights);
            return run;
        },
        [this](const IndexRun &run) {
            setInsights(run.result.insights, run.insightsValue);
            setState(AnalyticsIndexState::ready(run.result.snapshot, run.result.importedCommits));
        },
        {},
        // The run's own identity decides, not the load that started it: a later open that
        // fails starts no run, and the repository still shown must not stay "indexing".
        [this, cancelled] { return !cancelled->load() && m_cancelled == cancelled; });
}

void AnalyticsIndexController::setState(const AnalyticsIndexState &state)
{
    if (m_state == state)
        return;
    m_state = state;
    Q_EMIT analyticsIndexStateChanged();
}

void AnalyticsIndexController::setInsights(
    const std::optional<RepositoryAnalyticsInsights> &insights, const QVariant &value)
{
    if (m_insights == insights)
        return;
    m_insights = insights;
    m_insightsValue = insights ? value : QVariant();
    Q_EMIT analyticsInsightsChanged();
}

} // namespace strataloom
