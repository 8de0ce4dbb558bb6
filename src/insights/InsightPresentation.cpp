#include "insights/InsightPresentation.h"

#include <algorithm>
#include <cmath>

namespace strataloom {

namespace {

// Rounds ties to the even neighbour explicitly rather than through std::nearbyint, so that the
// result does not depend on the floating-point rounding mode of the calling thread.
double roundHalfToEven(double value)
{
    const double lower = std::floor(value);
    const double fraction = value - lower;
    if (fraction < 0.5)
        return lower;
    if (fraction > 0.5)
        return lower + 1;
    return std::fmod(lower, 2.0) == 0 ? lower : lower + 1;
}

// The sign is written separately so that a small negative value reads "-0" like any other
// negative number instead of losing its sign to the rounding.
QString wholeNumber(double value, const QLocale &locale)
{
    const double magnitude = roundHalfToEven(std::abs(value));
    // Exactly representable integers go through the integer formatter, which never shows a
    // fraction; anything larger is beyond any percentage the insights produce.
    const QString digits = magnitude < 9.0e15 ? locale.toString(static_cast<qint64>(magnitude))
                                              : locale.toString(magnitude, 'f', 0);
    return value < 0 ? locale.negativeSign() + digits : digits;
}

double ratio(qint64 part, qint64 whole)
{
    return whole > 0 ? static_cast<double>(part) / static_cast<double>(whole) : 0.0;
}

double wideCommitRatio(const RepositoryAnalyticsInsights &insights)
{
    return static_cast<double>(insights.wideCommits)
        / static_cast<double>(std::max<qint64>(insights.totalCommits, 1));
}

double score(double raw)
{
    return std::min(raw * 100.0, 100.0);
}

namespace colors {
const QString purple = QStringLiteral("purple");
const QString red = QStringLiteral("red");
const QString orange = QStringLiteral("orange");
const QString pink = QStringLiteral("pink");
const QString blue = QStringLiteral("blue");
const QString teal = QStringLiteral("teal");
const QString green = QStringLiteral("green");
} // namespace colors

InsightObservation observation(const char *icon, const QString &color, const char *title,
                               const QString &detail)
{
    return {QUuid::createUuid(), QString::fromLatin1(icon), color, QString::fromLatin1(title),
            detail};
}

InsightMilestone milestone(const char *icon, const QString &color, const QString &title,
                           const char *detail, const std::optional<QDateTime> &date)
{
    return {QUuid::createUuid(),
            QString::fromLatin1(icon),
            color,
            title,
            QString::fromLatin1(detail),
            date};
}

} // namespace

QString percent(double fraction, const QLocale &locale)
{
    return wholeNumber(fraction * 100.0, locale) + locale.percent();
}

QString signedPercent(double value, const QLocale &locale)
{
    const QString sign = value >= 0 ? QStringLiteral("+") : QString();
    return sign + wholeNumber(value, locale) + QLatin1Char('%');
}

QList<InsightObservation> insightObservations(const RepositoryAnalyticsInsights &insights,
                                              const QLocale &locale)
{
    QList<InsightObservation> result;
    const qint64 total = insights.totalCommits;

    if (!insights.topAuthors.isEmpty()) {
        const IndexedAuthorInsight &top = insights.topAuthors.first();
        if (top.commitShare >= 0.65) {
            result.append(observation(
                "person.fill.exclamationmark", colors::orange, "Concentrated ownership",
                top.name + QStringLiteral(" authored ") + percent(top.commitShare, locale)
                    + QStringLiteral(" of reachable commits. Review "
                                     "knowledge distribution.")));
        } else if (insights.topAuthors.size() >= 2) {
            result.append(observation("person.3.sequence.fill", colors::green,
                                      "Distributed contribution",
                                      QStringLiteral("No contributor exceeds 65% of reachable "
                                                     "commits.")));
        }
    }

    const double conventional = ratio(insights.conventionalCommits, total);
    if (total > 0 && conventional >= 0.5) {
        result.append(observation("text.badge.checkmark", colors::green, "Structured history",
                                  percent(conventional, locale)
                                      + QStringLiteral(" of messages use recognised Conventional "
                                                       "Commit prefixes.")));
    } else {
        result.append(observation("text.badge.xmark", colors::purple, "Mixed commit vocabulary",
                                  QStringLiteral("Only ") + percent(conventional, locale)
                                      + QStringLiteral(" of messages use a recognised "
                                                       "Conventional Commit prefix.")));
    }

    if (!insights.hotspots.isEmpty()) {
        const IndexedFileInsight &hotspot = insights.hotspots.first();
        const QString authorWord
            = hotspot.authors == 1 ? QStringLiteral(" author.") : QStringLiteral(" authors.");
        result.append(observation(
            "flame.fill", colors::orange, "Primary hotspot",
            hotspot.path + QStringLiteral(" changed in ") + QString::number(hotspot.changes)
                + QStringLiteral(" commits by ") + QString::number(hotspot.authors) + authorWord));
    }

    if (total > 0) {
        const double reverts = ratio(insights.revertCommits, total);
        if (reverts >= 0.08) {
            result.append(observation("arrow.uturn.backward.circle.fill", colors::red,
                                      "Elevated revert signal",
                                      percent(reverts, locale)
                                          + QStringLiteral(" of commit subjects are reverts; "
                                                           "inspect integration and release "
                                                           "practices.")));
        } else {
            result.append(observation("checkmark.shield.fill", colors::blue, "Low revert signal",
                                      QStringLiteral("Reverts represent ")
                                          + percent(reverts, locale)
                                          + QStringLiteral(" of reachable history.")));
        }
    }

    const double trend = insights.activityTrendPercent;
    const QString trendDetail = QStringLiteral("Commit volume is ") + signedPercent(trend, locale)
        + QStringLiteral(" between equally sized history halves.");
    if (trend <= -30)
        result.append(
            observation("moon.zzz.fill", colors::orange, "Activity slowdown", trendDetail));
    else if (trend >= 30)
        result.append(
            observation("bolt.fill", colors::green, "Development acceleration", trendDetail));

    if (total > 1 && insights.busFactor < 2) {
        result.append(observation("person.crop.circle.badge.exclamationmark", colors::red,
                                  "Bus factor warning",
                                  QStringLiteral("One contributor accounts for at least half of "
                                                 "reachable commits.")));
    }

    const double wide = wideCommitRatio(insights);
    if (insights.wideCommits >= 1 && wide >= 0.1) {
        result.append(observation("rectangle.3.group.bubble.left.fill", colors::orange,
                                  "Broad change sets",
                                  percent(wide, locale)
                                      + QStringLiteral(" of commits touch at least 10 files, "
                                                       "increasing review and integration "
                                                       "scope.")));
    }

    return result;
}

QList<InsightRiskSignal> calculatedRiskSignals(const RepositoryAnalyticsInsights &insights)
{
    const qint64 total = insights.totalCommits;

    const double ownership
        = insights.topAuthors.isEmpty() ? 0.0 : insights.topAuthors.first().commitShare / 0.75;

    qint64 mostHotspotAuthors = 0;
    for (const IndexedFileInsight &hotspot : insights.hotspots)
        mostHotspotAuthors = std::max(mostHotspotAuthors, hotspot.authors);

    // The first hotspot is the most often changed file, not necessarily the one with most churn.
    double hotspotChurn = 0.0;
    if (!insights.hotspots.isEmpty()) {
        const IndexedFileInsight &first = insights.hotspots.first();
        hotspotChurn = static_cast<double>(first.additions + first.deletions)
            / static_cast<double>(std::max<qint64>(insights.additions + insights.deletions, 1))
            * 4.0;
    }

    return {
        {QStringLiteral("Ownership"), score(ownership), colors::purple,
         QStringLiteral("100 = leading author owns 75% of commits")},
        {QStringLiteral("Reverts"), score(ratio(insights.revertCommits, total) / 0.1), colors::red,
         QStringLiteral("100 = reverts are 10% of commits")},
        {QStringLiteral("Wide commits"), score(wideCommitRatio(insights) / 0.15), colors::orange,
         QStringLiteral("100 = 15% of commits touch 10+ files")},
        {QStringLiteral("Multi-owner hotspot"),
         score(static_cast<double>(mostHotspotAuthors) / 5.0), colors::pink,
         QStringLiteral("100 = a hotspot has at least 5 authors")},
        {QStringLiteral("Message inconsistency"),
         score(1.0 - ratio(insights.conventionalCommits, total)), colors::blue,
         QStringLiteral("100 = no Conventional Commit messages")},
        {QStringLiteral("Hotspot churn"), score(hotspotChurn), colors::teal,
         QStringLiteral("100 = top hotspot owns 25% of churn")},
    };
}

QList<InsightMilestone> milestoneEntries(const RepositoryAnalyticsInsights &insights)
{
    QList<InsightMilestone> result;

    if (insights.firstCommitAt) {
        result.append(milestone("play.circle.fill", colors::green,
                                QStringLiteral("Project started"), "First reachable commit",
                                insights.firstCommitAt));
    }

    if (insights.peakDay) {
        const IndexedActivityInsight &peak = *insights.peakDay;
        InsightMilestone entry = milestone("flame.fill", colors::orange,
                                           QStringLiteral("Peak activity"), "", peak.date);
        entry.detail = QString::number(peak.commits) + QStringLiteral(" commits · ±")
            + QString::number(peak.churn()) + QStringLiteral(" lines");
        result.append(entry);
    }

    const qsizetype firstTag = std::max<qsizetype>(insights.tags.size() - 3, 0);
    for (qsizetype i = firstTag; i < insights.tags.size(); ++i) {
        const IndexedTagInsight &tag = insights.tags.at(i);
        result.append(milestone("tag.fill", colors::purple, tag.name, "Tagged release milestone",
                                tag.commitAt));
    }

    if (insights.lastCommitAt) {
        result.append(milestone("checkmark.circle.fill", colors::blue,
                                QStringLiteral("Latest activity"), "Most recent reachable commit",
                                insights.lastCommitAt));
    }

    // Four rules give at most six entries; the cap only guards against rules added later.
    constexpr qsizetype maximumMilestones = 7;
    if (result.size() > maximumMilestones)
        result.resize(maximumMilestones);
    return result;
}

} // namespace strataloom
