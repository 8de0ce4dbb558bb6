#pragma once

#include "insights/InsightRecords.h"

#include <QDate>
#include <QList>
#include <QLocale>
#include <QString>

namespace strataloom {

// Figures that every chart of the history shares, whichever client draws it: the compact axis
// numbers, the value scale and the time buckets of the activity charts.

/**
 * @brief @p value in few characters for an axis or a badge: at most three significant digits
 * with the locale's decimal point and a K, M or B suffix from a thousand upwards ("950",
 * "12.5K", "1M", "4M"). Values below a thousand keep their whole digits.
 */
QString compactNumber(double value, const QLocale &locale = QLocale());

/// @brief An axis from zero: its ticks at round steps (1, 2 or 5 times a power of ten).
struct ValueScale
{
    double maximum = 1; ///< the top of the axis, the last tick
    QList<double> ticks; ///< from 0 to maximum, evenly spaced

    /// @brief Where @p value sits between 0 (the axis's foot) and 1 (its top).
    double fraction(double value) const { return maximum > 0 ? value / maximum : 0; }
};

/// @brief The scale for values up to @p largest with about @p preferredTicks ticks (at least 2).
ValueScale valueScale(double largest, int preferredTicks = 5);

/// @brief How many days one bar of an activity chart covers.
enum class ActivityBucket { Day, Week, Month };

/**
 * @brief The bucket that gives an activity chart between a few dozen and a few hundred bars:
 * days up to three months of history, weeks up to three years, months beyond.
 */
ActivityBucket activityBucketFor(const QDate &first, const QDate &last);

/// @brief "day", "week" or "month", for captions.
QString activityBucketName(ActivityBucket bucket);

/**
 * @brief @p daily (active days, oldest first) summed per @p bucket: weeks begin on Monday,
 * months on their first day; each entry's label and date are its first day's ("yyyy-MM-dd",
 * UTC). Periods without commits are left out; days without a date are not counted.
 */
QList<IndexedActivityInsight> bucketedActivity(const QList<IndexedActivityInsight> &daily,
                                               ActivityBucket bucket);

/// @brief The first day after the period of @p bucket that begins on @p start.
QDate bucketEnd(const QDate &start, ActivityBucket bucket);

/// @brief The bucket that fits the span of @p daily (Day when it has no dated entry).
ActivityBucket activityBucketOf(const QList<IndexedActivityInsight> &daily);

} // namespace strataloom
