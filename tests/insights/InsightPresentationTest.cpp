// What decides the insights screen's content: which observation shows from which threshold on,
// in which order, how the risk signals scale and cap, and which milestones come in which order.
// The wording, icons and colours are left to the screen's own review.
#include "insights/InsightPresentation.h"

#include <gtest/gtest.h>

#include <QSet>
#include <QTimeZone>

using namespace strataloom;

namespace {

const QLocale english(QLocale::English, QLocale::UnitedStates);

QDateTime at(int year, int month, int day)
{
    return QDateTime(QDate(year, month, day), QTime(12, 0), QTimeZone::utc());
}

IndexedFileInsight hotspot(qint64 changes, qint64 authors, qint64 additions = 0)
{
    return {QStringLiteral("file"), changes, authors, additions, 0, std::nullopt, std::nullopt};
}

// The figures a case sets; by default nothing is remarkable: every message conventional, no
// reverts, a flat trend, a bus factor of two.
struct Figures
{
    qint64 total = 0;
    QList<double> shares {}; // of the top authors, largest first
    qint64 conventional = -1; // -1: all
    qint64 reverts = 0;
    double trend = 0;
    qint64 busFactor = 2;
    qint64 wide = 0;
    QList<IndexedFileInsight> hotspots {};
    qint64 additions = 0;
};

RepositoryAnalyticsInsights history(const Figures &figures)
{
    RepositoryAnalyticsInsights insights;
    insights.totalCommits = figures.total;
    for (double share : figures.shares)
        insights.topAuthors.append({QStringLiteral("A"), 1, 0, 0, share, {}, {}});
    insights.conventionalCommits = figures.conventional < 0 ? figures.total : figures.conventional;
    insights.revertCommits = figures.reverts;
    insights.activityTrendPercent = figures.trend;
    insights.busFactor = figures.busFactor;
    insights.wideCommits = figures.wide;
    insights.hotspots = figures.hotspots;
    insights.additions = figures.additions;
    return insights;
}

QStringList titles(const RepositoryAnalyticsInsights &insights)
{
    QStringList result;
    for (const InsightObservation &observation : insightObservations(insights, english))
        result.append(observation.title);
    return result;
}

} // namespace

// Each rule at its threshold and one step beside it: which observation shows and which does not.
TEST(InsightPresentation, ObservationsAppearFromTheirThresholdOn)
{
    // The figures, the observation shown and one not shown ("" for none).
    const std::tuple<Figures, const char *, const char *> cases[] = {
        {{.total = 20, .shares = {0.6499, 0.3501}},
         "Distributed contribution",
         "Concentrated ownership"},
        {{.total = 20, .shares = {0.65, 0.35}},
         "Concentrated ownership",
         "Distributed contribution"},
        {{.total = 10, .shares = {0.6}}, "", "Distributed contribution"},
        // One commit has no bus factor to warn about.
        {{.total = 1, .shares = {1.0}, .busFactor = 1},
         "Concentrated ownership",
         "Bus factor warning"},
        {{.total = 8, .conventional = 3}, "Mixed commit vocabulary", "Structured history"},
        {{.total = 8, .conventional = 4}, "Structured history", "Mixed commit vocabulary"},
        // 7.9% is below the threshold although it is shown rounded to 8%.
        {{.total = 1000, .reverts = 79}, "Low revert signal", "Elevated revert signal"},
        {{.total = 100, .reverts = 8}, "Elevated revert signal", "Low revert signal"},
        {{.total = 10, .trend = 29.9}, "", "Development acceleration"},
        {{.total = 10, .trend = 30}, "Development acceleration", "Activity slowdown"},
        {{.total = 10, .trend = -29.9}, "", "Activity slowdown"},
        {{.total = 10, .trend = -30}, "Activity slowdown", "Development acceleration"},
        {{.total = 10}, "", "Bus factor warning"},
        {{.total = 2, .busFactor = 1}, "Bus factor warning", ""},
        {{.total = 100, .wide = 9}, "", "Broad change sets"},
        {{.total = 100, .wide = 10}, "Broad change sets", ""},
    };
    for (const auto &[figures, shows, hides] : cases) {
        const QStringList shown = titles(history(figures));
        SCOPED_TRACE(std::string(shows) + " / not " + hides + ": " + shown.join(", ").toStdString());
        EXPECT_TRUE(!*shows || shown.contains(QLatin1String(shows)));
        EXPECT_TRUE(!*hides || !shown.contains(QLatin1String(hides)));
    }
}

TEST(InsightPresentation, EveryRuleFiresInItsFixedOrderWithFreshIds)
{
    RepositoryAnalyticsInsights insights = history({.total = 8,
                                                    .shares = {1.0},
                                                    .conventional = 2,
                                                    .reverts = 1,
                                                    .trend = -31,
                                                    .busFactor = 1,
                                                    .wide = 5,
                                                    .hotspots = {hotspot(12, 1)}});
    insights.firstCommitAt = at(2020, 1, 1);
    insights.lastCommitAt = at(2024, 1, 1);
    EXPECT_EQ(titles(insights),
              QStringList({"Concentrated ownership", "Mixed commit vocabulary", "Primary hotspot",
                           "Elevated revert signal", "Activity slowdown", "Bus factor warning",
                           "Broad change sets"}));

    // List items are told apart by id: never null, never the same twice, not even across runs.
    QList<QUuid> ids;
    for (int run = 0; run < 2; ++run) {
        for (const InsightObservation &observation : insightObservations(insights, english))
            ids.append(observation.id);
        for (const InsightMilestone &milestone : milestoneEntries(insights))
            ids.append(milestone.id);
    }
    EXPECT_EQ(ids.size(), 18);
    EXPECT_EQ(QSet<QUuid>(ids.begin(), ids.end()).size(), ids.size());
    EXPECT_FALSE(ids.contains(QUuid()));
}

TEST(InsightPresentation, AnEmptyHistoryShowsOnlyTheVocabularyAndTheMessageSignal)
{
    const RepositoryAnalyticsInsights empty;
    EXPECT_EQ(titles(empty), QStringList {"Mixed commit vocabulary"});
    QList<double> values;
    for (const InsightRiskSignal &signal : calculatedRiskSignals(empty))
        values.append(signal.value);
    EXPECT_EQ(values, QList<double>({0, 0, 0, 0, 100, 0}));
    EXPECT_TRUE(milestoneEntries(empty).isEmpty());
}

// Each signal rises in proportion to its threshold and is capped at 100. The figures of 100
// commits are in percent of the history; signals are in their fixed order.
TEST(InsightPresentation, RiskSignalsScaleToTheirThresholdsAndCap)
{
    // The signal's place, the figures, its value.
    const std::tuple<qsizetype, Figures, double> cases[] = {
        {0, {.shares = {0.6}}, 80},
        {0, {.shares = {0.9}}, 100},
        {1, {.reverts = 5}, 50},
        {1, {.reverts = 10}, 100},
        {2, {.wide = 3}, 20},
        {2, {.wide = 30}, 100},
        // The most authors of any hotspot, not of the first.
        {3, {.hotspots = {hotspot(50, 1), hotspot(40, 3), hotspot(30, 2)}}, 60},
        {3, {.hotspots = {hotspot(50, 12)}}, 100},
        {4, {.conventional = 75}, 25},
        // The first hotspot (most changes), not the one with most churn: 25 of 1000 lines.
        {5, {.hotspots = {hotspot(50, 1, 25), hotspot(2, 1, 800)}, .additions = 1000}, 10},
        {5, {.hotspots = {hotspot(50, 1, 400)}, .additions = 1000}, 100},
        // Without any lines the total counts as one, so the score stays finite.
        {5, {.hotspots = {hotspot(3, 1)}}, 0},
    };
    for (const auto &[signal, figures, expected] : cases) {
        Figures ofHundred = figures;
        ofHundred.total = 100;
        const QList<InsightRiskSignal> signals = calculatedRiskSignals(history(ofHundred));
        ASSERT_EQ(signals.size(), 6);
        EXPECT_NEAR(signals.at(signal).value, expected, 1e-9) << "signal " << signal;
    }
}

TEST(InsightPresentation, MilestonesFollowStartPeakNewestTagsLatestWithoutSortingByDate)
{
    RepositoryAnalyticsInsights insights;
    insights.firstCommitAt = at(2020, 1, 1);
    insights.lastCommitAt = at(2024, 6, 30);
    insights.peakDay = IndexedActivityInsight {"2023-03-04", at(2023, 3, 4), 1234, 2000, 1400};
    insights.tags = {{"v1", at(2020, 6, 1)},
                     {"v2", at(2021, 1, 1)},
                     {"v3", std::nullopt},
                     {"v4", at(2022, 1, 1)}};
    QList<std::optional<QDateTime>> dates;
    for (const InsightMilestone &milestone : milestoneEntries(insights))
        dates.append(milestone.date);
    // The peak day comes second although it is later than every tag; v1 is not among the newest.
    EXPECT_EQ(dates,
              QList<std::optional<QDateTime>>({at(2020, 1, 1), at(2023, 3, 4), at(2021, 1, 1),
                                               std::nullopt, at(2022, 1, 1), at(2024, 6, 30)}));
}
