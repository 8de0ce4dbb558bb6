#include "ui/insights/InsightsPresenter.h"

#include "app/AppViewModel.h"
#include "app/RepositorySession.h"
#include "insights/ChartFigures.h"
#include "insights/HtmlReport.h"
#include "insights/InsightPresentation.h"

#include <QBrush>
#include <QFileInfo>
#include <QJSEngine>
#include <QLinearGradient>
#include <QLocale>
#include <QPen>
#include <QPointF>
#include <QtCharts/QAreaSeries>
#include <QtCharts/QXYSeries>

#include <algorithm>

namespace strataloom {

namespace {

QVariant dateValue(const std::optional<QDateTime> &date)
{
    return date ? QVariant(*date) : QVariant();
}

// Where the next period after @p start begins; bars span their whole period minus a gap.
QDateTime periodEnd(const QDateTime &start, const QString &period)
{
    if (period == QLatin1String("yearly"))
        return start.addYears(1);
    if (period == QLatin1String("monthly"))
        return start.addMonths(1);
    return start.addDays(1);
}

} // namespace

InsightsPresenter::InsightsPresenter(QObject *parent)
    : QObject(parent)
    , m_reportExport(new TableExport(this))
{ }

void InsightsPresenter::exportReport(const QUrl &file)
{
    const std::optional<RepositorySummary> summary
        = m_model ? m_model->session()->repository() : std::nullopt;
    if (!summary || !m_insights) {
        m_reportExport->refuse(QStringLiteral("The report needs an open, indexed repository."));
        return;
    }
    const QString path = TableExport::localPath(file, QStringLiteral("html"));
    m_reportExport->saveInBackground(
        [summary = *summary, insights = *m_insights] {
            return htmlReport(summary, insights, QDateTime::currentDateTimeUtc()).toUtf8();
        },
        path, QStringLiteral("Saved the report to %1").arg(QFileInfo(path).fileName()));
}

QString InsightsPresenter::suggestedReportName() const
{
    const std::optional<RepositorySummary> summary
        = m_model ? m_model->session()->repository() : std::nullopt;
    const QString name = summary && !summary->name.isEmpty() ? summary->name
                                                             : QStringLiteral("repository");
    return QStringLiteral("%1-report-%2.html")
        .arg(name, QDate::currentDate().toString(Qt::ISODate));
}

QObject *InsightsPresenter::appModel() const
{
    return m_model;
}

void InsightsPresenter::setAppModel(QObject *model)
{
    auto *appModel = qobject_cast<AppViewModel *>(model);
    if (appModel == m_model)
        return;
    if (m_model)
        disconnect(m_model->analytics(), nullptr, this, nullptr);
    m_model = appModel;
    if (m_model) {
        connect(m_model->analytics(), &AnalyticsIndexController::analyticsInsightsChanged, this,
                &InsightsPresenter::update);
    }
    Q_EMIT appModelChanged();
    update();
}

QJSValue InsightsPresenter::insightsValue() const
{
    if (m_insightsValueRevision != m_revision) {
        QJSEngine *engine = qjsEngine(this);
        if (!engine)
            return QJSValue(QJSValue::NullValue);
        m_insightsValue = m_insights
            ? engine->toScriptValue(m_model->analytics()->property("analyticsInsights"))
            : QJSValue(QJSValue::NullValue);
        m_insightsValueRevision = m_revision;
    }
    return m_insightsValue;
}

void InsightsPresenter::update()
{
    m_insights = m_model ? m_model->analytics()->analyticsInsights() : std::nullopt;
    m_observations.clear();
    m_riskSignals.clear();
    m_milestones.clear();
    m_weekdayCommits.clear();
    if (m_insights) {
        const RepositoryAnalyticsInsights &insights = *m_insights;
        for (const InsightObservation &observation : insightObservations(insights)) {
            m_observations.append(QVariantMap {{QStringLiteral("icon"), observation.icon},
                                               {QStringLiteral("color"), observation.color},
                                               {QStringLiteral("title"), observation.title},
                                               {QStringLiteral("detail"), observation.detail}});
        }
        for (const InsightRiskSignal &signal : calculatedRiskSignals(insights)) {
            m_riskSignals.append(QVariantMap {{QStringLiteral("name"), signal.name},
                                              {QStringLiteral("value"), signal.value},
                                              {QStringLiteral("color"), signal.color},
                                              {QStringLiteral("threshold"), signal.threshold}});
        }
        for (const InsightMilestone &milestone : milestoneEntries(insights)) {
            m_milestones.append(
                QVariantMap {{QStringLiteral("icon"), milestone.icon},
                             {QStringLiteral("color"), milestone.color},
                             {QStringLiteral("title"), milestone.title},
                             {QStringLiteral("detail"), milestone.detail},
                             {QStringLiteral("date"), shortDate(dateValue(milestone.date))}});
        }
        // Days are UTC days, so their weekday is the UTC weekday of the commits on them.
        qint64 perWeekday[7] = {};
        for (const IndexedActivityInsight &day : insights.dailyActivity) {
            if (day.date)
                perWeekday[day.date->toUTC().date().dayOfWeek() - 1] += day.commits;
        }
        const QLocale locale;
        for (int weekday = 1; weekday <= 7; ++weekday) {
            m_weekdayCommits.append(QVariantMap {
                {QStringLiteral("name"), locale.dayName(weekday, QLocale::ShortFormat)},
                {QStringLiteral("commits"), perWeekday[weekday - 1]}});
        }
    }
    ++m_revision;
    Q_EMIT insightsChanged();
}

QString InsightsPresenter::percent(double fraction) const
{
    return strataloom::percent(fraction);
}

QString InsightsPresenter::signedPercent(double value) const
{
    return strataloom::signedPercent(value);
}

QString InsightsPresenter::ratio(double part, double whole) const
{
    return strataloom::percent(whole > 0 ? part / whole : 0.0);
}

QString InsightsPresenter::count(double value) const
{
    return QLocale().toString(static_cast<qint64>(std::llround(value)));
}

QString InsightsPresenter::decimal(double value, int decimals) const
{
    return QLocale().toString(value, 'f', decimals);
}

QString InsightsPresenter::bytes(double value) const
{
    return QLocale().formattedDataSize(static_cast<qint64>(value), 1, QLocale::DataSizeSIFormat);
}

QString InsightsPresenter::shortDate(const QVariant &date, const QString &fallback) const
{
    const QDateTime dateTime = date.toDateTime();
    if (!dateTime.isValid())
        return fallback;
    return QLocale().toString(dateTime.toLocalTime().date(), QLocale::ShortFormat);
}

QString InsightsPresenter::repositoryAge(const QVariant &firstCommit,
                                         const QVariant &latestCommit) const
{
    const QDateTime firstTime = firstCommit.toDateTime();
    const QDateTime latestTime = latestCommit.toDateTime();
    if (!firstTime.isValid() || !latestTime.isValid())
        return QStringLiteral("Unknown");
    const QDate first = firstTime.toLocalTime().date();
    const QDate latest = latestTime.toLocalTime().date();
    int months = (latest.year() - first.year()) * 12 + latest.month() - first.month();
    if (latest.day() < first.day())
        --months;
    months = std::max(months, 0);
    return QStringLiteral("%1y %2m").arg(months / 12).arg(months % 12);
}

const QList<IndexedActivityInsight> *InsightsPresenter::activityOf(const QString &period) const
{
    if (!m_insights)
        return nullptr;
    if (period == QLatin1String("yearly"))
        return &m_insights->yearlyActivity;
    if (period == QLatin1String("monthly"))
        return &m_insights->monthlyActivity;
    return &m_insights->dailyActivity;
}

QVariantMap InsightsPresenter::fillPeriodSeries(QObject *bars, QObject *churnLine,
                                                const QString &period) const
{
    auto *barSeries = qobject_cast<QXYSeries *>(bars);
    auto *churnSeries = qobject_cast<QXYSeries *>(churnLine);
    if (!barSeries || !churnSeries)
        return {};
    QList<QPointF> outline;
    QList<QPointF> churn;
    qint64 maxCommits = 0;
    qint64 maxChurn = 0;
    double minX = 0;
    double maxX = 0;
    if (const QList<IndexedActivityInsight> *activity = activityOf(period)) {
        outline.reserve(activity->size() * 4);
        churn.reserve(activity->size());
        for (const IndexedActivityInsight &entry : *activity) {
            if (!entry.date)
                continue;
            const double start = double(entry.date->toMSecsSinceEpoch());
            const double end = double(periodEnd(*entry.date, period).toMSecsSinceEpoch());
            const double gap = (end - start) * 0.12;
            const double commits = double(entry.commits);
            outline << QPointF(start + gap, 0) << QPointF(start + gap, commits)
                    << QPointF(end - gap, commits) << QPointF(end - gap, 0);
            churn << QPointF((start + end) / 2, double(entry.churn()));
            maxCommits = std::max(maxCommits, entry.commits);
            maxChurn = std::max(maxChurn, entry.churn());
            if (outline.size() == 4)
                minX = start;
            maxX = end;
        }
    }
    barSeries->replace(outline);
    churnSeries->replace(churn);
    if (outline.isEmpty())
        return {};
    return {{QStringLiteral("minX"), minX},
            {QStringLiteral("maxX"), maxX},
            {QStringLiteral("maxCommits"), double(maxCommits)},
            {QStringLiteral("maxChurn"), double(maxChurn)}};
}

QVariantMap InsightsPresenter::fillActivityBuckets(QObject *bars) const
{
    auto *barSeries = qobject_cast<QXYSeries *>(bars);
    if (!barSeries)
        return {};
    const ActivityBucket bucket
        = m_insights ? activityBucketOf(m_insights->dailyActivity) : ActivityBucket::Day;
    const QList<IndexedActivityInsight> buckets
        = m_insights ? bucketedActivity(m_insights->dailyActivity, bucket)
                     : QList<IndexedActivityInsight>();
    QList<QPointF> outline;
    outline.reserve(buckets.size() * 4);
    qint64 maxCommits = 0;
    for (const IndexedActivityInsight &entry : buckets) {
        const QDate first = entry.date->toUTC().date();
        const double start = double(entry.date->toMSecsSinceEpoch());
        const double end = double(
            QDateTime(bucketEnd(first, bucket), QTime(0, 0), Qt::UTC).toMSecsSinceEpoch());
        const double gap = (end - start) * 0.12;
        const double commits = double(entry.commits);
        outline << QPointF(start + gap, 0) << QPointF(start + gap, commits)
                << QPointF(end - gap, commits) << QPointF(end - gap, 0);
        maxCommits = std::max(maxCommits, entry.commits);
    }
    barSeries->replace(outline);
    if (outline.isEmpty())
        return {};
    const QDate last = buckets.constLast().date->toUTC().date();
    return {{QStringLiteral("minX"), double(buckets.constFirst().date->toMSecsSinceEpoch())},
            {QStringLiteral("maxX"),
             double(QDateTime(bucketEnd(last, bucket), QTime(0, 0), Qt::UTC).toMSecsSinceEpoch())},
            {QStringLiteral("maxCommits"), double(maxCommits)},
            {QStringLiteral("bucket"), activityBucketName(bucket)}};
}

void InsightsPresenter::applyVerticalGradient(QObject *area, const QColor &color) const
{
    auto *series = qobject_cast<QAreaSeries *>(area);
    if (!series)
        return;
    QLinearGradient gradient(QPointF(0, 0), QPointF(0, 1));
    gradient.setCoordinateMode(QGradient::ObjectBoundingMode);
    QColor top = color;
    top.setAlphaF(0.55f);
    QColor bottom = color;
    bottom.setAlphaF(0.06f);
    gradient.setColorAt(0, top);
    gradient.setColorAt(1, bottom);
    series->setBrush(QBrush(gradient));
    QPen pen(color);
    pen.setWidthF(1.5);
    series->setPen(pen);
}

} // namespace strataloom
