// The figures every activity and count chart shares: compact axis numbers, the value scale and
// the time buckets chosen by the history's span.
#include "insights/ChartFigures.h"

#include <gtest/gtest.h>

#include <QTimeZone>

using namespace strataloom;

namespace {

IndexedActivityInsight day(const QDate &date, qint64 commits, qint64 additions = 0)
{
    return {date.toString(Qt::ISODate), QDateTime(date, QTime(0, 0), QTimeZone::utc()), commits,
            additions, 0};
}

} // namespace

TEST(ChartFigures, CompactNumbersKeepThreeSignificantDigitsInTheLocale)
{
    const QLocale english(QLocale::English, QLocale::UnitedStates);
    const QLocale german(QLocale::German, QLocale::Germany);
    const std::tuple<double, QLocale, QString> cases[] = {
        {0, english, "0"},          {950, english, "950"},           {999.4, english, "999"},
        {1000, english, "1K"},      {1500, english, "1.5K"},         {12345, english, "12.3K"},
        {250000, english, "250K"},  {999999, english, "1M"}, // rounds up into the next unit, not
                                                             // "1000K"
        {1000000, english, "1M"},   {4000000, english, "4M"},        {1250000, english, "1.25M"},
        {7298201, english, "7.3M"}, {2500000000.0, english, "2.5B"}, {-1500, english, "-1.5K"},
        {1500, german, "1,5K"},
    };
    for (const auto &[value, locale, expected] : cases)
        EXPECT_EQ(compactNumber(value, locale), expected) << value;
}

TEST(ChartFigures, ValueScaleEndsOnARoundTickAboveTheLargestValue)
{
    // The largest value, the ticks asked for, the axis' end and its number of ticks.
    const std::tuple<double, int, double, qsizetype> cases[] = {
        {40, 5, 40, 5}, // step 10
        {41, 5, 60, 4}, // step 20
        {103, 5, 150, 4}, // step 50
        {7298201, 5, 8000000, 5}, // step 2M
        {0, 5, 1, 2}, // nothing drawn: a unit axis
        {3, 5, 3, 4}, // counts never get fractional steps
    };
    for (const auto &[largest, ticks, maximum, tickCount] : cases) {
        const ValueScale scale = valueScale(largest, ticks);
        EXPECT_DOUBLE_EQ(scale.maximum, maximum) << largest;
        ASSERT_EQ(scale.ticks.size(), tickCount) << largest;
        EXPECT_DOUBLE_EQ(scale.ticks.first(), 0);
        EXPECT_DOUBLE_EQ(scale.ticks.last(), maximum);
        EXPECT_GE(scale.maximum, largest);
    }
}

TEST(ChartFigures, BucketFollowsTheSpan)
{
    const QDate start(2020, 1, 1);
    const std::pair<int, ActivityBucket> cases[] = {
        {0, ActivityBucket::Day},
        {92, ActivityBucket::Day},
        {93, ActivityBucket::Week},
        {3 * 365, ActivityBucket::Week},
        {3 * 366 + 1, ActivityBucket::Month},
        {21 * 365, ActivityBucket::Month},
    };
    for (const auto &[days, expected] : cases)
        EXPECT_EQ(activityBucketFor(start, start.addDays(days)), expected) << days;
}

TEST(ChartFigures, BucketsSumTheirDaysFromMondayOrTheFirstOfTheMonth)
{
    // Sunday 2024-03-03, Monday 2024-03-04, Sunday 2024-03-10, Monday 2024-04-01.
    const QList<IndexedActivityInsight> daily {
        day(QDate(2024, 3, 3), 1, 10), day(QDate(2024, 3, 4), 2, 20),
        day(QDate(2024, 3, 10), 4, 40), day(QDate(2024, 4, 1), 8, 80)};
    const std::tuple<ActivityBucket, QStringList, QList<qint64>> cases[] = {
        {ActivityBucket::Day,
         {"2024-03-03", "2024-03-04", "2024-03-10", "2024-04-01"},
         {1, 2, 4, 8}},
        {ActivityBucket::Week, {"2024-02-26", "2024-03-04", "2024-04-01"}, {1, 6, 8}},
        {ActivityBucket::Month, {"2024-03-01", "2024-04-01"}, {7, 8}},
    };
    for (const auto &[bucket, labels, commits] : cases) {
        const QList<IndexedActivityInsight> buckets = bucketedActivity(daily, bucket);
        QStringList gotLabels;
        QList<qint64> gotCommits;
        for (const IndexedActivityInsight &entry : buckets) {
            gotLabels << entry.label;
            gotCommits << entry.commits;
            EXPECT_EQ(entry.additions, entry.commits * 10) << entry.label.toStdString();
            EXPECT_EQ(entry.date->date().toString(Qt::ISODate), entry.label);
        }
        EXPECT_EQ(gotLabels, labels);
        EXPECT_EQ(gotCommits, commits);
    }
}
