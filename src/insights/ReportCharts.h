#pragma once

#include "insights/ChartFigures.h"
#include "insights/InsightRecords.h"

#include <QList>
#include <QLocale>
#include <QString>

namespace strataloom {

// The report's charts: inline SVG that the report's style sheet colours.

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

/// @brief @p name if the report's style sheet knows that colour of the insights, else "gray".
QString reportTone(const QString &name);

} // namespace strataloom
