#pragma once

#include "git/GitRecords.h"
#include "insights/ChartFigures.h"
#include "insights/InsightRecords.h"

#include <QDateTime>
#include <QList>
#include <QLocale>
#include <QString>

namespace strataloom {

/**
 * @brief @p text safe inside HTML and XML text and attribute values: &, <, >, " and ' as
 * character references, and the control characters XML does not allow as U+FFFD.
 */
QString htmlEscaped(const QString &text);

/// @brief One bar of a bar chart in the report.
struct ReportBar
{
    QString label; ///< shortened in the middle when long; the whole text shows on hover
    double value = 0;
    QString valueText; ///< printed after the bar
    QString tone = QStringLiteral("blue"); ///< a named colour of the insights
};

/**
 * @brief Horizontal bars as an inline SVG, one row per entry from the top, scaled so that
 * @p maximum (the largest value when 0) fills the bar column.
 */
QString barChartSvg(const QList<ReportBar> &bars, double maximum = 0);

/**
 * @brief Commits per bucket (bucketedActivity()) as an inline SVG column chart: a time axis
 * from the first bucket's start to the last one's end, and a count axis from zero with
 * valueScale() ticks labelled by compactNumber().
 */
QString activityChartSvg(const QList<IndexedActivityInsight> &buckets, ActivityBucket bucket,
                         const QLocale &locale = QLocale());

/**
 * @brief The repository's overview, statistics and insights as one self-contained HTML page:
 * no script, no external resource, charts as inline SVG, light and dark by the reader's
 * colour-scheme preference. Every text from the repository is escaped. @p generatedAt dates the
 * page; numbers and dates follow @p locale.
 */
QString htmlReport(const RepositorySummary &summary, const RepositoryAnalyticsInsights &insights,
                   const QDateTime &generatedAt, const QLocale &locale = QLocale());

} // namespace strataloom
