#pragma once

#include "app/AnalyticsIndex.h"
#include "app/BackgroundTasks.h"
#include "app/InsightOptionStore.h"
#include "git/GitRecords.h"

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>
#include <QVariant>

#include <atomic>
#include <memory>
#include <optional>

namespace strataloom {

/**
 * @brief The analytics index of the open repository: one background run per published load,
 * its state as the index status shows it, and the insights of the last successful run.
 *
 * A new run cancels the one before it; a cancelled or superseded run writes nothing. Failures
 * end in analyticsIndexState, never in the window's error alert. While a run imports commits,
 * the state carries its progress, read a few times a second: the import itself reports every
 * commit, far more often than the window could draw.
 */
class AnalyticsIndexController : public QObject
{
    Q_OBJECT

    Q_PROPERTY(strataloom::AnalyticsIndexState analyticsIndexState READ analyticsIndexState NOTIFY
                   analyticsIndexStateChanged)
    /// Every field of the last successful run's insights as a map, or null.
    Q_PROPERTY(
        QVariant analyticsInsights READ analyticsInsightsValue NOTIFY analyticsInsightsChanged)
    /// True when analyticsInsights holds insights: a test that does not turn them into a script
    /// object, which on a long history takes a good part of a frame.
    Q_PROPERTY(bool hasAnalyticsInsights READ hasAnalyticsInsights NOTIFY analyticsInsightsChanged)
    /// How the insights read the history, remembered per repository: each option by name and
    /// "asRecorded", true when every correction is off.
    Q_PROPERTY(QVariantMap insightOptions READ insightOptionsValue NOTIFY insightOptionsChanged)
    /// With identities merged, the people the last insights count (automation accounts
    /// included), as every count of authors then does; -1 without insights, or as recorded.
    Q_PROPERTY(int peopleCount READ peopleCount NOTIFY peopleCountChanged)
    /// True while the insights are computed again for changed options; the last ones stay shown.
    Q_PROPERTY(bool recomputingInsights READ recomputingInsights NOTIFY recomputingInsightsChanged)

public:
    explicit AnalyticsIndexController(QObject *parent = nullptr);
    /// Cancels a running index task: nobody is left to read its result.
    ~AnalyticsIndexController() override;

    /**
     * @brief Where the index task keeps the indexes; by default the standard index folder.
     * Tools and tests point it elsewhere; an empty text restores the default.
     */
    void setIndexBaseDirectory(const QString &directory);

    /// @brief Cancels the running task, clears the insights and indexes @p repository, reading
    /// it with the options remembered for it.
    void start(const RepositorySummary &repository);

    /**
     * @brief Switches the option @p name ("asRecorded" switches all of them, see
     * withInsightOption), remembers the choice for the open repository and computes its
     * insights again, showing the last ones meanwhile.
     */
    Q_INVOKABLE void setInsightOption(const QString &name, bool on);
    InsightOptions insightOptions() const { return m_options; }
    QVariantMap insightOptionsValue() const { return insightOptionsMap(m_options); }
    bool recomputingInsights() const { return m_recomputing; }

    AnalyticsIndexState analyticsIndexState() const { return m_state; }
    const std::optional<RepositoryAnalyticsInsights> &analyticsInsights() const
    {
        return m_insights;
    }
    int runningTaskCount() const { return m_tasks.running(); }
    /// @brief The index file of the last successful run; empty before the first one.
    QString databasePath() const { return m_databasePath; }

    /// @brief How often the progress of a run is read; tests shorten it.
    void setProgressInterval(int milliseconds) { m_progressTimer.setInterval(milliseconds); }

Q_SIGNALS:
    void analyticsIndexStateChanged();
    void analyticsInsightsChanged();
    void peopleCountChanged();
    void insightOptionsChanged();
    void recomputingInsightsChanged();

private:
    void setState(const AnalyticsIndexState &state);
    void setInsights(const std::optional<RepositoryAnalyticsInsights> &insights,
                     const QVariant &value, int people = -1);
    QVariant analyticsInsightsValue() const { return m_insightsValue; }
    bool hasAnalyticsInsights() const { return m_insights.has_value(); }

public:
    /// @brief The person the last insights know under several names or addresses, one of them
    /// @p name ({name, names, emails, isBot}); null when there is none. Cheaper than looking
    /// through analyticsInsights from QML, which first turns the whole map into script values.
    Q_INVOKABLE QVariant identityOf(const QString &name) const;

private:
    int peopleCount() const { return m_people; }
    /// One index run of the open repository; @p keepInsights shows the last ones meanwhile.
    void run(bool keepInsights);
    void setRecomputing(bool recomputing);
    void showProgress();

    /// What the running import reported last; written on its thread, read on this one.
    struct Progress
    {
        std::atomic<qint64> imported {0};
        std::atomic<qint64> total {0};
        std::atomic<qint64> listed {0};
    };

    BackgroundTasks m_tasks;
    std::optional<QString> m_baseDirectory;
    AnalyticsIndexState m_state;
    std::optional<RepositoryAnalyticsInsights> m_insights;
    std::optional<QString> m_repositoryPath;
    InsightOptionStore m_optionStore;
    InsightOptions m_options;
    bool m_recomputing = false;
    QVariant m_insightsValue;
    int m_people = -1;
    QString m_databasePath;
    /// The current run's identity: set to cancel it; shared with that run's thread.
    std::shared_ptr<std::atomic_bool> m_cancelled;
    std::shared_ptr<Progress> m_progress;
    QTimer m_progressTimer;
    /// Since the first progress of the current run, and how many commits it had then.
    QElapsedTimer m_progressClock;
    qint64 m_progressStart = -1;
};

} // namespace strataloom
