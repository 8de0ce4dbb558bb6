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

IndexedAuthorInsight author(const QString &name, qint64 commits, double share)
{
    IndexedAuthorInsight result;
    result.name = name;
    result.commits = commits;
    result.commitShare = share;
    return result;
}

IndexedFileInsight hotspot(const QString &path, qint64 changes, qint64 authors,
                           qint64 additions = 0, qint64 deletions = 0)
{
    IndexedFileInsight result;
    result.path = path;
    result.changes = changes;
    result.authors = authors;
    result.additions = additions;
    result.deletions = deletions;
    return result;
}

/// A history with nothing remarkable: conventional, no reverts, flat trend, several owners.
RepositoryAnalyticsInsights quietHistory(qint64 total)
{
    RepositoryAnalyticsInsights insights;
    insights.totalCommits = total;
    insights.conventionalCommits = total;
    insights.busFactor = 2;
    return insights;
}

QStringList titles(const QList<InsightObservation> &observations)
{
    QStringList result;
    for (const InsightObservation &observation : observations)
        result.append(observation.title);
    return result;
}

std::optional<InsightObservation> find(const QList<InsightObservation> &observations,
                                       const QString &title)
{
    for (const InsightObservation &observation : observations) {
        if (observation.title == title)
            return observation;
    }
    return std::nullopt;
}

double signal(const RepositoryAnalyticsInsights &insights, const QString &name)
{
    for (const InsightRiskSignal &signal : calculatedRiskSignals(insights)) {
        if (signal.name == name)
            return signal.value;
    }
    ADD_FAILURE() << "no signal named " << name.toStdString();
    return -1;
}

} // namespace

// Percent texts

TEST(InsightPresentationPercent, RoundsTiesToEven)
{
    EXPECT_EQ(percent(0.125, english), QStringLiteral("12%"));
    EXPECT_EQ(percent(0.135, english), QStringLiteral("14%"));
    EXPECT_EQ(percent(0.653, english), QStringLiteral("65%"));
    EXPECT_EQ(percent(0.655, english), QStringLiteral("66%"));
    EXPECT_EQ(percent(0.0, english), QStringLiteral("0%"));
    EXPECT_EQ(percent(1.0, english), QStringLiteral("100%"));

    EXPECT_EQ(signedPercent(42.5, english), QStringLiteral("+42%"));
    EXPECT_EQ(signedPercent(43.5, english), QStringLiteral("+44%"));
    EXPECT_EQ(signedPercent(-42.5, english), QStringLiteral("-42%"));
    EXPECT_EQ(signedPercent(-43.5, english), QStringLiteral("-44%"));
}

TEST(InsightPresentationPercent, SignedPercentMarksZeroAndAboveWithPlus)
{
    EXPECT_EQ(signedPercent(42.7, english), QStringLiteral("+43%"));
    EXPECT_EQ(signedPercent(-35.2, english), QStringLiteral("-35%"));
    EXPECT_EQ(signedPercent(0.0, english), QStringLiteral("+0%"));
    EXPECT_EQ(signedPercent(0.4, english), QStringLiteral("+0%"));
    // A negative value keeps its minus even when it rounds to zero.
    EXPECT_EQ(signedPercent(-0.4, english), QStringLiteral("-0%"));
}

TEST(InsightPresentationPercent, FollowsTheLocalesNumberFormat)
{
    EXPECT_EQ(percent(123.45, english), QStringLiteral("12,345%"));
    EXPECT_EQ(percent(123.45, QLocale(QLocale::German, QLocale::Germany)),
              QStringLiteral("12.345%"));
    const QLocale french(QLocale::French, QLocale::France);
    EXPECT_EQ(percent(0.65, french), QStringLiteral("65%"));
    EXPECT_EQ(percent(123.45, french), french.toString(qint64(12345)) + QStringLiteral("%"));
    EXPECT_NE(percent(123.45, french), percent(123.45, english));

    const QLocale swedish(QLocale::Swedish, QLocale::Sweden);
    EXPECT_EQ(signedPercent(-35.2, swedish), QString::fromUtf16(u"\u221235%"));

    // Digits and the percent sign both come from the locale.
    const QLocale arabic(QLocale::Arabic, QLocale::Egypt);
    EXPECT_EQ(percent(0.65, arabic), QString::fromUtf16(u"\u0666\u0665") + arabic.percent());
}

// Observations

TEST(InsightPresentationObservations, OneAuthorOfManyCommitsIsConcentratedAndABusFactorRisk)
{
    RepositoryAnalyticsInsights insights = quietHistory(40);
    insights.topAuthors = {author(QStringLiteral("Ada"), 40, 1.0)};
    insights.busFactor = 1;

    const QList<InsightObservation> observations = insightObservations(insights, english);

    const auto ownership = find(observations, QStringLiteral("Concentrated ownership"));
    ASSERT_TRUE(ownership);
    EXPECT_EQ(ownership->detail,
              QStringLiteral("Ada authored 100% of reachable commits. Review "
                             "knowledge distribution."));
    EXPECT_EQ(ownership->icon, QStringLiteral("person.fill.exclamationmark"));
    EXPECT_EQ(ownership->color, QStringLiteral("orange"));

    const auto busFactor = find(observations, QStringLiteral("Bus factor warning"));
    ASSERT_TRUE(busFactor);
    EXPECT_EQ(busFactor->detail,
              QStringLiteral("One contributor accounts for at least half of reachable commits."));
    EXPECT_EQ(busFactor->icon, QStringLiteral("person.crop.circle.badge.exclamationmark"));
    EXPECT_EQ(busFactor->color, QStringLiteral("red"));

    EXPECT_DOUBLE_EQ(signal(insights, QStringLiteral("Ownership")), 100.0);
}

TEST(InsightPresentationObservations, OneCommitIsConcentratedWithoutBusFactorWarning)
{
    RepositoryAnalyticsInsights insights = quietHistory(1);
    insights.topAuthors = {author(QStringLiteral("Ada"), 1, 1.0)};
    insights.busFactor = 1;

    const QStringList shown = titles(insightObservations(insights, english));

    EXPECT_TRUE(shown.contains(QStringLiteral("Concentrated ownership")));
    EXPECT_FALSE(shown.contains(QStringLiteral("Bus factor warning")));
}

TEST(InsightPresentationObservations, OwnershipBelowSixtyFivePercentIsDistributed)
{
    RepositoryAnalyticsInsights insights = quietHistory(10);
    insights.topAuthors
        = {author(QStringLiteral("Ada"), 6, 0.6), author(QStringLiteral("Bob"), 4, 0.4)};

    const QList<InsightObservation> observations = insightObservations(insights, english);

    const auto distributed = find(observations, QStringLiteral("Distributed contribution"));
    ASSERT_TRUE(distributed);
    EXPECT_EQ(distributed->detail,
              QStringLiteral("No contributor exceeds 65% of reachable commits."));
    EXPECT_EQ(distributed->icon, QStringLiteral("person.3.sequence.fill"));
    EXPECT_EQ(distributed->color, QStringLiteral("green"));
    EXPECT_FALSE(find(observations, QStringLiteral("Concentrated ownership")));
    EXPECT_NEAR(signal(insights, QStringLiteral("Ownership")), 80.0, 1e-9);

    // The boundary belongs to the concentrated side.
    insights.topAuthors
        = {author(QStringLiteral("Ada"), 13, 0.65), author(QStringLiteral("Bob"), 7, 0.35)};
    const QStringList atBoundary = titles(insightObservations(insights, english));
    EXPECT_TRUE(atBoundary.contains(QStringLiteral("Concentrated ownership")));
    EXPECT_FALSE(atBoundary.contains(QStringLiteral("Distributed contribution")));
}

TEST(InsightPresentationObservations, ASingleAuthorBelowTheThresholdGivesNoOwnershipObservation)
{
    RepositoryAnalyticsInsights insights = quietHistory(10);
    insights.topAuthors = {author(QStringLiteral("Ada"), 6, 0.6)};

    const QStringList shown = titles(insightObservations(insights, english));

    EXPECT_FALSE(shown.contains(QStringLiteral("Concentrated ownership")));
    EXPECT_FALSE(shown.contains(QStringLiteral("Distributed contribution")));
}

TEST(InsightPresentationObservations, HalfConventionalMessagesIsStructured)
{
    RepositoryAnalyticsInsights insights = quietHistory(8);
    insights.conventionalCommits = 4;

    const auto structured
        = find(insightObservations(insights, english), QStringLiteral("Structured history"));
    ASSERT_TRUE(structured);
    EXPECT_EQ(structured->detail,
              QStringLiteral("50% of messages use recognised Conventional Commit prefixes."));
    EXPECT_EQ(structured->icon, QStringLiteral("text.badge.checkmark"));
    EXPECT_EQ(structured->color, QStringLiteral("green"));

    insights.conventionalCommits = 3;
    const auto mixed
        = find(insightObservations(insights, english), QStringLiteral("Mixed commit vocabulary"));
    ASSERT_TRUE(mixed);
    EXPECT_EQ(mixed->detail,
              QStringLiteral("Only 38% of messages use a recognised Conventional Commit prefix."));
}

TEST(InsightPresentationObservations, RevertRatioOfEightPercentIsElevated)
{
    RepositoryAnalyticsInsights insights = quietHistory(100);
    insights.revertCommits = 8;

    const QList<InsightObservation> elevated = insightObservations(insights, english);
    const auto signal = find(elevated, QStringLiteral("Elevated revert signal"));
    ASSERT_TRUE(signal);
    EXPECT_EQ(signal->detail,
              QStringLiteral("8% of commit subjects are reverts; inspect "
                             "integration and release practices."));
    EXPECT_EQ(signal->icon, QStringLiteral("arrow.uturn.backward.circle.fill"));
    EXPECT_EQ(signal->color, QStringLiteral("red"));
    EXPECT_FALSE(find(elevated, QStringLiteral("Low revert signal")));

    // 7.9% is below the threshold although it is shown rounded to 8%.
    insights.totalCommits = 1000;
    insights.conventionalCommits = 1000;
    insights.revertCommits = 79;
    const QList<InsightObservation> low = insightObservations(insights, english);
    const auto lowSignal = find(low, QStringLiteral("Low revert signal"));
    ASSERT_TRUE(lowSignal);
    EXPECT_EQ(lowSignal->detail, QStringLiteral("Reverts represent 8% of reachable history."));
    EXPECT_EQ(lowSignal->icon, QStringLiteral("checkmark.shield.fill"));
    EXPECT_EQ(lowSignal->color, QStringLiteral("blue"));
    EXPECT_FALSE(find(low, QStringLiteral("Elevated revert signal")));
}

TEST(InsightPresentationObservations, ActivityTrendOfThirtyPercentEitherWayIsReported)
{
    RepositoryAnalyticsInsights insights = quietHistory(10);

    insights.activityTrendPercent = 30;
    const auto acceleration
        = find(insightObservations(insights, english), QStringLiteral("Development acceleration"));
    ASSERT_TRUE(acceleration);
    EXPECT_EQ(acceleration->detail,
              QStringLiteral("Commit volume is +30% between equally sized history halves."));
    EXPECT_EQ(acceleration->icon, QStringLiteral("bolt.fill"));
    EXPECT_EQ(acceleration->color, QStringLiteral("green"));

    insights.activityTrendPercent = -30;
    const auto slowdown
        = find(insightObservations(insights, english), QStringLiteral("Activity slowdown"));
    ASSERT_TRUE(slowdown);
    EXPECT_EQ(slowdown->detail,
              QStringLiteral("Commit volume is -30% between equally sized history halves."));
    EXPECT_EQ(slowdown->icon, QStringLiteral("moon.zzz.fill"));
    EXPECT_EQ(slowdown->color, QStringLiteral("orange"));

    for (double quiet : {29.9, -29.9, 0.0}) {
        insights.activityTrendPercent = quiet;
        const QStringList shown = titles(insightObservations(insights, english));
        EXPECT_FALSE(shown.contains(QStringLiteral("Development acceleration"))) << quiet;
        EXPECT_FALSE(shown.contains(QStringLiteral("Activity slowdown"))) << quiet;
    }
}

TEST(InsightPresentationObservations, PrimaryHotspotCountsAuthorsInPlainNumbers)
{
    RepositoryAnalyticsInsights insights = quietHistory(5000);
    insights.hotspots = {hotspot(QStringLiteral("src/main.cpp"), 1234, 1),
                         hotspot(QStringLiteral("README.md"), 3, 9)};

    const auto single
        = find(insightObservations(insights, english), QStringLiteral("Primary hotspot"));
    ASSERT_TRUE(single);
    EXPECT_EQ(single->detail, QStringLiteral("src/main.cpp changed in 1234 commits by 1 author."));
    EXPECT_EQ(single->icon, QStringLiteral("flame.fill"));
    EXPECT_EQ(single->color, QStringLiteral("orange"));

    insights.hotspots.first().authors = 2;
    const auto shared
        = find(insightObservations(insights, english), QStringLiteral("Primary hotspot"));
    ASSERT_TRUE(shared);
    EXPECT_EQ(shared->detail, QStringLiteral("src/main.cpp changed in 1234 commits by 2 authors."));
}

TEST(InsightPresentationObservations, TenPercentWideCommitsAreBroadChangeSets)
{
    RepositoryAnalyticsInsights insights = quietHistory(100);
    insights.wideCommits = 10;

    const auto broad
        = find(insightObservations(insights, english), QStringLiteral("Broad change sets"));
    ASSERT_TRUE(broad);
    EXPECT_EQ(broad->detail,
              QStringLiteral("10% of commits touch at least 10 files, increasing "
                             "review and integration scope."));
    EXPECT_EQ(broad->icon, QStringLiteral("rectangle.3.group.bubble.left.fill"));
    EXPECT_EQ(broad->color, QStringLiteral("orange"));

    insights.wideCommits = 9;
    EXPECT_FALSE(find(insightObservations(insights, english), QStringLiteral("Broad change sets")));

    insights.wideCommits = 0;
    for (qint64 total : {0, 1, 100}) {
        insights.totalCommits = total;
        EXPECT_FALSE(
            find(insightObservations(insights, english), QStringLiteral("Broad change sets")))
            << total;
    }
}

TEST(InsightPresentationObservations, EveryRuleFiresInItsFixedOrder)
{
    RepositoryAnalyticsInsights insights;
    insights.totalCommits = 10;
    insights.conventionalCommits = 2;
    insights.revertCommits = 1;
    insights.wideCommits = 5;
    insights.busFactor = 1;
    insights.activityTrendPercent = -80;
    insights.topAuthors
        = {author(QStringLiteral("Ada"), 9, 0.9), author(QStringLiteral("Bob"), 1, 0.1)};
    insights.hotspots = {hotspot(QStringLiteral("a.c"), 4, 2)};

    EXPECT_EQ(
        titles(insightObservations(insights, english)),
        QStringList({QStringLiteral("Concentrated ownership"),
                     QStringLiteral("Mixed commit vocabulary"), QStringLiteral("Primary hotspot"),
                     QStringLiteral("Elevated revert signal"), QStringLiteral("Activity slowdown"),
                     QStringLiteral("Bus factor warning"), QStringLiteral("Broad change sets")}));
}

TEST(InsightPresentationObservations, TextsUseTheGivenLocale)
{
    RepositoryAnalyticsInsights insights = quietHistory(8);
    insights.conventionalCommits = 5;
    insights.topAuthors = {author(QStringLiteral("Ada"), 8, 1.0)};
    insights.hotspots = {hotspot(QStringLiteral("a.c"), 1234, 1)};
    insights.activityTrendPercent = -1234.4;

    const QLocale arabic(QLocale::Arabic, QLocale::Egypt);
    const QString arabicPercent = arabic.percent();
    const QList<InsightObservation> observations = insightObservations(insights, arabic);

    const auto ownership = find(observations, QStringLiteral("Concentrated ownership"));
    ASSERT_TRUE(ownership);
    EXPECT_EQ(ownership->detail,
              QStringLiteral("Ada authored ") + QString::fromUtf16(u"\u0661\u0660\u0660")
                  + arabicPercent
                  + QStringLiteral(" of reachable commits. Review knowledge distribution."));

    const auto structured = find(observations, QStringLiteral("Structured history"));
    ASSERT_TRUE(structured);
    EXPECT_TRUE(structured->detail.startsWith(QString::fromUtf16(u"\u0666\u0662") + arabicPercent))
        << structured->detail.toStdString();

    // The trend's number follows the locale (grouping, minus), its "%" does not.
    const auto slowdown = find(observations, QStringLiteral("Activity slowdown"));
    ASSERT_TRUE(slowdown);
    EXPECT_EQ(slowdown->detail,
              QStringLiteral("Commit volume is ") + arabic.toString(qint64(-1234))
                  + QStringLiteral("% between equally sized history halves."));

    // Counts in the hotspot sentence stay plain decimal whatever the locale.
    const auto primary = find(observations, QStringLiteral("Primary hotspot"));
    ASSERT_TRUE(primary);
    EXPECT_EQ(primary->detail, QStringLiteral("a.c changed in 1234 commits by 1 author."));

    const QLocale german(QLocale::German, QLocale::Germany);
    const auto germanSlowdown
        = find(insightObservations(insights, german), QStringLiteral("Activity slowdown"));
    ASSERT_TRUE(germanSlowdown);
    EXPECT_EQ(germanSlowdown->detail,
              QStringLiteral("Commit volume is -1.234% between equally sized history halves."));
}

TEST(InsightPresentationObservations, IdsAreFreshForEveryComputation)
{
    RepositoryAnalyticsInsights insights = quietHistory(10);
    insights.topAuthors = {author(QStringLiteral("Ada"), 10, 1.0)};
    insights.firstCommitAt = at(2020, 1, 1);
    insights.lastCommitAt = at(2024, 1, 1);

    const QList<InsightObservation> first = insightObservations(insights, english);
    const QList<InsightObservation> second = insightObservations(insights, english);
    ASSERT_EQ(first.size(), second.size());
    ASSERT_GE(first.size(), 2);
    QSet<QUuid> seen;
    for (qsizetype i = 0; i < first.size(); ++i) {
        EXPECT_FALSE(first.at(i).id.isNull());
        EXPECT_EQ(first.at(i).title, second.at(i).title);
        EXPECT_NE(first.at(i).id, second.at(i).id);
        seen.insert(first.at(i).id);
        seen.insert(second.at(i).id);
    }
    EXPECT_EQ(seen.size(), first.size() * 2);

    const QList<InsightMilestone> milestones = milestoneEntries(insights);
    const QList<InsightMilestone> again = milestoneEntries(insights);
    ASSERT_EQ(milestones.size(), 2);
    ASSERT_EQ(again.size(), 2);
    EXPECT_NE(milestones.at(0).id, milestones.at(1).id);
    EXPECT_NE(milestones.at(0).id, again.at(0).id);
    EXPECT_NE(milestones.at(1).id, again.at(1).id);
}

// An empty history

TEST(InsightPresentationEmptyHistory, OnlyMixedVocabularyAndMessageInconsistencyShow)
{
    const RepositoryAnalyticsInsights empty;

    const QList<InsightObservation> observations = insightObservations(empty, english);
    ASSERT_EQ(observations.size(), 1);
    EXPECT_EQ(observations.first().title, QStringLiteral("Mixed commit vocabulary"));
    EXPECT_EQ(observations.first().detail,
              QStringLiteral("Only 0% of messages use a recognised Conventional Commit prefix."));
    EXPECT_EQ(observations.first().icon, QStringLiteral("text.badge.xmark"));
    EXPECT_EQ(observations.first().color, QStringLiteral("purple"));

    const QList<InsightRiskSignal> signals = calculatedRiskSignals(empty);
    ASSERT_EQ(signals.size(), 6);
    for (const InsightRiskSignal &signal : signals) {
        const double expected = signal.name == QStringLiteral("Message inconsistency") ? 100 : 0;
        EXPECT_DOUBLE_EQ(signal.value, expected) << signal.name.toStdString();
    }

    EXPECT_TRUE(milestoneEntries(empty).isEmpty());
}

// Risk signals

TEST(InsightPresentationRiskSignals, SixSignalsInFixedOrderWithColoursAndThresholds)
{
    const QList<InsightRiskSignal> signals = calculatedRiskSignals(quietHistory(10));

    const QList<InsightRiskSignal> expected = {
        {QStringLiteral("Ownership"), 0, QStringLiteral("purple"),
         QStringLiteral("100 = leading author owns 75% of commits")},
        {QStringLiteral("Reverts"), 0, QStringLiteral("red"),
         QStringLiteral("100 = reverts are 10% of commits")},
        {QStringLiteral("Wide commits"), 0, QStringLiteral("orange"),
         QStringLiteral("100 = 15% of commits touch 10+ files")},
        {QStringLiteral("Multi-owner hotspot"), 0, QStringLiteral("pink"),
         QStringLiteral("100 = a hotspot has at least 5 authors")},
        {QStringLiteral("Message inconsistency"), 0, QStringLiteral("blue"),
         QStringLiteral("100 = no Conventional Commit messages")},
        {QStringLiteral("Hotspot churn"), 0, QStringLiteral("teal"),
         QStringLiteral("100 = top hotspot owns 25% of churn")},
    };
    EXPECT_EQ(signals, expected);
}

TEST(InsightPresentationRiskSignals, ScoresRiseToTheirThresholdAndAreCappedThere)
{
    RepositoryAnalyticsInsights insights = quietHistory(100);

    insights.revertCommits = 5;
    EXPECT_NEAR(signal(insights, QStringLiteral("Reverts")), 50.0, 1e-9);
    insights.revertCommits = 10;
    EXPECT_DOUBLE_EQ(signal(insights, QStringLiteral("Reverts")), 100.0);
    insights.revertCommits = 40;
    EXPECT_DOUBLE_EQ(signal(insights, QStringLiteral("Reverts")), 100.0);

    insights.wideCommits = 3;
    EXPECT_NEAR(signal(insights, QStringLiteral("Wide commits")), 20.0, 1e-9);
    insights.wideCommits = 30;
    EXPECT_DOUBLE_EQ(signal(insights, QStringLiteral("Wide commits")), 100.0);

    insights.conventionalCommits = 75;
    EXPECT_NEAR(signal(insights, QStringLiteral("Message inconsistency")), 25.0, 1e-9);

    insights.topAuthors = {author(QStringLiteral("Ada"), 90, 0.9)};
    EXPECT_DOUBLE_EQ(signal(insights, QStringLiteral("Ownership")), 100.0);
}

TEST(InsightPresentationRiskSignals, MultiOwnerHotspotTakesTheMostAuthorsOfAnyHotspot)
{
    RepositoryAnalyticsInsights insights = quietHistory(100);
    insights.hotspots
        = {hotspot(QStringLiteral("a.c"), 50, 1), hotspot(QStringLiteral("b.c"), 40, 3),
           hotspot(QStringLiteral("c.c"), 30, 2)};
    EXPECT_NEAR(signal(insights, QStringLiteral("Multi-owner hotspot")), 60.0, 1e-9);

    insights.hotspots.last().authors = 12;
    EXPECT_DOUBLE_EQ(signal(insights, QStringLiteral("Multi-owner hotspot")), 100.0);
}

TEST(InsightPresentationRiskSignals, HotspotChurnUsesTheFirstHotspotNotTheChurniest)
{
    RepositoryAnalyticsInsights insights = quietHistory(100);
    insights.additions = 600;
    insights.deletions = 400;
    insights.hotspots = {hotspot(QStringLiteral("often.c"), 50, 1, 10, 15),
                         hotspot(QStringLiteral("huge.c"), 2, 1, 500, 300)};

    // 25 of 1000 lines, scaled so that a quarter of all churn reads 100.
    EXPECT_NEAR(signal(insights, QStringLiteral("Hotspot churn")), 10.0, 1e-9);

    insights.hotspots.first().additions = 400;
    EXPECT_DOUBLE_EQ(signal(insights, QStringLiteral("Hotspot churn")), 100.0);

    // Without any lines the total counts as one, so the score stays finite.
    insights.additions = 0;
    insights.deletions = 0;
    insights.hotspots = {hotspot(QStringLiteral("empty.c"), 3, 1)};
    EXPECT_DOUBLE_EQ(signal(insights, QStringLiteral("Hotspot churn")), 0.0);
}

// Milestones

TEST(InsightPresentationMilestones, FollowStartPeakTagsLatestWithoutSortingByDate)
{
    RepositoryAnalyticsInsights insights = quietHistory(40);
    insights.firstCommitAt = at(2020, 1, 1);
    insights.lastCommitAt = at(2024, 6, 30);
    insights.peakDay
        = IndexedActivityInsight {QStringLiteral("2023-03-04"), at(2023, 3, 4), 1234, 2000, 1400};
    insights.tags
        = {{QStringLiteral("v1.0"), at(2021, 1, 1)}, {QStringLiteral("v2.0"), at(2022, 1, 1)}};

    const QList<InsightMilestone> milestones = milestoneEntries(insights);

    ASSERT_EQ(milestones.size(), 5);
    EXPECT_EQ(milestones.at(0).title, QStringLiteral("Project started"));
    EXPECT_EQ(milestones.at(0).detail, QStringLiteral("First reachable commit"));
    EXPECT_EQ(milestones.at(0).icon, QStringLiteral("play.circle.fill"));
    EXPECT_EQ(milestones.at(0).color, QStringLiteral("green"));
    EXPECT_EQ(milestones.at(0).date, at(2020, 1, 1));

    // The peak day comes second although it is later than both tags.
    EXPECT_EQ(milestones.at(1).title, QStringLiteral("Peak activity"));
    EXPECT_EQ(milestones.at(1).detail, QString::fromUtf16(u"1234 commits · ±3400 lines"));
    EXPECT_EQ(milestones.at(1).icon, QStringLiteral("flame.fill"));
    EXPECT_EQ(milestones.at(1).color, QStringLiteral("orange"));
    EXPECT_EQ(milestones.at(1).date, at(2023, 3, 4));

    EXPECT_EQ(milestones.at(2).title, QStringLiteral("v1.0"));
    EXPECT_EQ(milestones.at(3).title, QStringLiteral("v2.0"));
    EXPECT_EQ(milestones.at(3).date, at(2022, 1, 1));

    EXPECT_EQ(milestones.at(4).title, QStringLiteral("Latest activity"));
    EXPECT_EQ(milestones.at(4).detail, QStringLiteral("Most recent reachable commit"));
    EXPECT_EQ(milestones.at(4).icon, QStringLiteral("checkmark.circle.fill"));
    EXPECT_EQ(milestones.at(4).color, QStringLiteral("blue"));
    EXPECT_EQ(milestones.at(4).date, at(2024, 6, 30));
}

TEST(InsightPresentationMilestones, OnlyTheThreeNewestTagsOldestFirst)
{
    RepositoryAnalyticsInsights insights;
    insights.tags = {{QStringLiteral("v1"), at(2020, 1, 1)},
                     {QStringLiteral("v2"), at(2021, 1, 1)},
                     {QStringLiteral("v3"), std::nullopt},
                     {QStringLiteral("v4"), at(2023, 1, 1)},
                     {QStringLiteral("v5"), at(2024, 1, 1)}};

    const QList<InsightMilestone> milestones = milestoneEntries(insights);

    ASSERT_EQ(milestones.size(), 3);
    const QStringList names {QStringLiteral("v3"), QStringLiteral("v4"), QStringLiteral("v5")};
    for (qsizetype i = 0; i < milestones.size(); ++i) {
        EXPECT_EQ(milestones.at(i).title, names.at(i));
        EXPECT_EQ(milestones.at(i).detail, QStringLiteral("Tagged release milestone"));
        EXPECT_EQ(milestones.at(i).icon, QStringLiteral("tag.fill"));
        EXPECT_EQ(milestones.at(i).color, QStringLiteral("purple"));
    }
    EXPECT_EQ(milestones.at(0).date, std::nullopt);
    EXPECT_EQ(milestones.at(1).date, at(2023, 1, 1));
    EXPECT_EQ(milestones.at(2).date, at(2024, 1, 1));
}
