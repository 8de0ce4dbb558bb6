#pragma once

#include "insights/InsightRecords.h"
#include "ui/screens/TableExport.h"

#include <QColor>
#include <QJSValue>
#include <QObject>
#include <QPointer>
#include <QVariantList>
#include <QtQml/qqmlregistration.h>

#include <optional>

namespace strataloom {

class AppViewModel;

/**
 * @brief What the insights and statistics screens lay out, derived from the application model's
 * insights once per new value: observations, risk signals, milestones, weekday totals, and the
 * chart series, which are filled from here in one call each rather than point by point in QML.
 *
 * Also the screens' one place for number and date texts, so that every figure uses the same
 * locale rules as the observations.
 */
class InsightsPresenter : public QObject
{
    Q_OBJECT
    QML_ELEMENT

    Q_PROPERTY(QObject *appModel READ appModel WRITE setAppModel NOTIFY appModelChanged)
    /// True once the model holds an insights value.
    Q_PROPERTY(bool hasInsights READ hasInsights NOTIFY insightsChanged)
    /// Counts up with every new insights value; charts refill their series when it changes.
    Q_PROPERTY(int revision READ revision NOTIFY insightsChanged)
    /// The model's insights as one script object (null without any), made once per value and
    /// then shared by every section of the screen: reading the model's map instead makes a new
    /// object at each read, which on a long history takes a good part of a frame.
    Q_PROPERTY(QJSValue insightsValue READ insightsValue NOTIFY insightsChanged)
    /// {icon, color, title, detail} per observation.
    Q_PROPERTY(QVariantList observations READ observations NOTIFY insightsChanged)
    /// {name, value, color, threshold} per signal, always six.
    Q_PROPERTY(QVariantList riskSignals READ riskSignals NOTIFY insightsChanged)
    /// {icon, color, title, detail, date (text)} per milestone.
    Q_PROPERTY(QVariantList milestones READ milestones NOTIFY insightsChanged)
    /// Commits per weekday of the author time (UTC), Monday first: {name, commits}.
    Q_PROPERTY(QVariantList weekdayCommits READ weekdayCommits NOTIFY insightsChanged)
    /// The state of the report export: busy, and what the last one did.
    Q_PROPERTY(strataloom::TableExport *reportExport READ reportExport CONSTANT)

public:
    explicit InsightsPresenter(QObject *parent = nullptr);

    QObject *appModel() const;
    void setAppModel(QObject *model);
    bool hasInsights() const { return m_insights.has_value(); }
    int revision() const { return m_revision; }
    QJSValue insightsValue() const;
    QVariantList observations() const { return m_observations; }
    QVariantList riskSignals() const { return m_riskSignals; }
    QVariantList milestones() const { return m_milestones; }
    QVariantList weekdayCommits() const { return m_weekdayCommits; }
    TableExport *reportExport() const { return m_reportExport; }

    /**
     * @brief Writes the repository's report (overview, statistics and insights as one HTML page)
     * to @p file in the background; reportExport tells how it went.
     */
    Q_INVOKABLE void exportReport(const QUrl &file);
    /// @brief The file name the save dialog suggests: the repository's name and today's date.
    Q_INVOKABLE QString suggestedReportName() const;

    /// @brief A fraction as a whole percentage ("65%").
    Q_INVOKABLE QString percent(double fraction) const;
    /// @brief A value in percent with its sign ("+43%", "-35%").
    Q_INVOKABLE QString signedPercent(double value) const;
    /// @brief @p part / @p whole as a whole percentage; "0%" when @p whole is 0.
    Q_INVOKABLE QString ratio(double part, double whole) const;
    /// @brief A count with the locale's grouping ("12,345").
    Q_INVOKABLE QString count(double value) const;
    /// @brief A number with @p decimals fraction digits and the locale's grouping.
    Q_INVOKABLE QString decimal(double value, int decimals) const;
    /// @brief A byte count in the locale's units ("1.2 MB").
    Q_INVOKABLE QString bytes(double value) const;
    /// @brief A date-time in the abbreviated date style without time; @p fallback when invalid.
    Q_INVOKABLE QString shortDate(const QVariant &date,
                                  const QString &fallback = QStringLiteral("Unknown")) const;
    /// @brief Whole years and months between the repository's first and latest commits ("3y 4m"),
    /// or "Unknown" without both dates.
    Q_INVOKABLE QString repositoryAge(const QVariant &firstCommit,
                                      const QVariant &latestCommit) const;

    /**
     * @brief Fills @p bars with the outline of one bar of commits per period of @p period
     * ("daily", "monthly", "yearly") and @p churnLine with the churn at each period's middle.
     * @return {minX, maxX, maxCommits, maxChurn}; empty when there is nothing to draw.
     */
    Q_INVOKABLE QVariantMap fillPeriodSeries(QObject *bars, QObject *churnLine,
                                             const QString &period) const;
    /**
     * @brief Fills @p bars with the outline of one bar of commits per day, week or month,
     * whichever suits the history's span (a few dozen to a few hundred bars).
     * @return {minX, maxX, maxCommits, bucket ("day", "week" or "month")}; empty when there is
     * nothing to draw.
     */
    Q_INVOKABLE QVariantMap fillActivityBuckets(QObject *bars) const;
    /// @brief Gives @p area (an area series) a vertical gradient of @p color, fading downwards.
    Q_INVOKABLE void applyVerticalGradient(QObject *area, const QColor &color) const;

Q_SIGNALS:
    void appModelChanged();
    void insightsChanged();

private:
    void update();
    const QList<IndexedActivityInsight> *activityOf(const QString &period) const;

    QPointer<AppViewModel> m_model;
    std::optional<RepositoryAnalyticsInsights> m_insights;
    int m_revision = 0;
    // Made when first read after a new value.
    mutable QJSValue m_insightsValue;
    mutable int m_insightsValueRevision = -1;
    QVariantList m_observations;
    QVariantList m_riskSignals;
    QVariantList m_milestones;
    QVariantList m_weekdayCommits;
    TableExport *m_reportExport;
};

} // namespace strataloom
