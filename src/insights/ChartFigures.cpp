#include "insights/ChartFigures.h"



#include <algorithm>
#include <cmath>

namespace strataloom {

QString compactNumber(double value, const QLocale &locale)
{
    if (!std::isfinite(value))
        return QString();
    const double magnitude = std::abs(value);
    if (magnitude < 999.5)
        return locale.toString(std::llround(value));
    // Three significant digits first, so that 999,999 becomes "1M" rather than "1000K".
    const int digits = int(std::floor(std::log10(magnitude)));
    const double step = std::pow(10.0, digits - 2);
    const double rounded = std::round(magnitude / step) * step;
    static const struct { double size; const char *suffix; } units[] = {
        {1e9, "B"}, {1e6, "M"}, {1e3, "K"}};
    for (const auto &unit : units) {
        if (rounded < unit.size)
            continue;
        const double scaled = rounded / unit.size;
        const int decimals = scaled >= 100 ? 0 : scaled >= 10 ? 1 : 2;
        QString text = locale.toString(scaled, 'f', decimals);
        if (decimals > 0) {
            // Trailing zeros say nothing on an axis: "1.50M" reads "1.5M", "2.00M" reads "2M".
            const QString point = locale.decimalPoint();
            while (text.endsWith(locale.zeroDigit()))
                text.chop(locale.zeroDigit().size());
            if (text.endsWith(point))
                text.chop(point.size());
        }
        return (value < 0 ? locale.negativeSign() : QString()) + text
            + QLatin1String(unit.suffix);
    }
    return locale.toString(std::llround(value));
}

ValueScale valueScale(double largest, int preferredTicks)
{
    ValueScale scale;
    const int intervals = std::max(preferredTicks, 2) - 1;
    const double top = std::max(largest, 1.0);
    const double rough = top / intervals;
    const double power = std::pow(10.0, std::floor(std::log10(rough)));
    double step = power * 10;
    for (const double factor : {1.0, 2.0, 5.0, 10.0}) {
        if (factor * power >= rough - 1e-9 * rough) {
            step = factor * power;
            break;
        }
    }
    // Counts are whole: a step below one would only repeat labels.
    step = std::max(step, 1.0);
    const int count = int(std::ceil(top / step - 1e-9));
    scale.maximum = count * step;
    for (int tick = 0; tick <= count; ++tick)
        scale.ticks.append(tick * step);
    return scale;
}

ActivityBucket activityBucketFor(const QDate &first, const QDate &last)
{
    const qint64 days = first.daysTo(last);
    if (days <= 92)
        return ActivityBucket::Day;
    if (days <= 3 * 366)
        return ActivityBucket::Week;
    return ActivityBucket::Month;
}

QString activityBucketName(ActivityBucket bucket)
{
    switch (bucket) {
    case ActivityBucket::Day:
        return QStringLiteral("day");
    case ActivityBucket::Week:
        return QStringLiteral("week");
    case ActivityBucket::Month:
        return QStringLiteral("month");
    }
    return {};
}

namespace {

QDate bucketStart(const QDate &day, ActivityBucket bucket)
{
    switch (bucket) {
    case ActivityBucket::Day:
        return day;
    case ActivityBucket::Week:
        return day.addDays(1 - day.dayOfWeek());
    case ActivityBucket::Month:
        return QDate(day.year(), day.month(), 1);
    }
    return day;
}

} // namespace

QDate bucketEnd(const QDate &start, ActivityBucket bucket)
{
    switch (bucket) {
    case ActivityBucket::Day:
        return start.addDays(1);
    case ActivityBucket::Week:
        return start.addDays(7);
    case ActivityBucket::Month:
        return start.addMonths(1);
    }
    return start.addDays(1);
}

QList<IndexedActivityInsight> bucketedActivity(const QList<IndexedActivityInsight> &daily,
                                               ActivityBucket bucket)
{
    QList<IndexedActivityInsight> buckets;
    for (const IndexedActivityInsight &day : daily) {
        if (!day.date)
            continue;
        const QDate start = bucketStart(day.date->toUTC().date(), bucket);
        const QString label = start.toString(QStringLiteral("yyyy-MM-dd"));
        if (buckets.isEmpty() || buckets.constLast().label != label) {
            IndexedActivityInsight entry;
            entry.label = label;
            entry.date = QDateTime(start, QTime(0, 0), Qt::UTC);
            buckets.append(entry);
        }
        IndexedActivityInsight &entry = buckets.last();
        entry.commits += day.commits;
        entry.additions += day.additions;
        entry.deletions += day.deletions;
    }
    return buckets;
}

ActivityBucket activityBucketOf(const QList<IndexedActivityInsight> &daily)
{
    std::optional<QDate> first;
    std::optional<QDate> last;
    for (const IndexedActivityInsight &day : daily) {
        if (!day.date)
            continue;
        const QDate date = day.date->toUTC().date();
        if (!first)
            first = date;
        last = date;
    }
    return first ? activityBucketFor(*first, *last) : ActivityBucket::Day;
}

} // namespace strataloom
