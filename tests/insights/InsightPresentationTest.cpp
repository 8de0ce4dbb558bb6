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
    IndexedFileInsight result;
    result.path = QStringLiteral("file") + QString::number(changes);
    result.changes = changes;
    result.authors = authors;
    result.additions = additions;
    return result;
}

/// The figures a case sets; by default nothing is remarkable: every message conventional, no
/// reverts, a flat trend, a bus factor of two.
struct Figures
{
    qint64 total = 0;
    QList<double> shares {}; ///< of the top authors, largest first
    qint64 conventional = -1; ///< -1: all
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
    for (double share : figures.shares) {
        IndexedAuthorInsight author;
        author.name = QStringLiteral("Author ") + QString::number(insights.topAuthors.size());
        author.commitShare = share;
        insights.topAuthors.append(author);
    }
    insights.conventionalCommits = figures.conventional < 0 ? figures.total : figures.conventional;
    insights.revertCommits = figures.reverts;
    insights.activityTrendPercent = figures.trend;
    insights.busFactor = figures.busFactor;
    insights.wideCommits = figures.wide;
    insights.hotspots = figures.hotspots;
    insights.additions = figures.additions;
    return insights;
}

QStringList titles(const QList<InsightObservation> &observations)
{
    QStringList result;
    for (const InsightObservation &observation : observations)
        result.append(observation.title);
    return result;
}

} // namespace

TEST(InsightPresentation, PercentsRoundTiesToEvenAndFollowTheLocale)
{
    const QLocale german(QLocale::German, QLocale::Germany);
    const QLocale swedish(QLocale::Swedish, QLocale::Sweden);
    const QLocale arabic(QLocale::Arabic, QLocale::Egypt);
    struct Case
    {
        double value;
        bool withSign;
        QLocale locale;
        QString expected;
    };
    const Case cases[] = {
        {0.125, false, english, QStringLiteral("12%")},
        {0.135, false, english, QStringLiteral("14%")},
        {0.653, false, english, QStringLiteral("65%")},
        {123.45, false, english, QStringLiteral("12,345%")},
        {123.45, false, german, QStringLiteral("12.345%")},
        {0.65, false, arabic, QString::fromUtf16(u"\u0666\u0665") + arabic.percent()},
        {42.5, true, english, QStringLiteral("+42%")},
        {43.5, true, english, QStringLiteral("+44%")},
        {-42.5, true, english, QStringLiteral("-42%")},
        {-43.5, true, english, QStringLiteral("-44%")},
        {0.4, true, english, QStringLiteral("+0%")},
        // A negative value keeps its minus even when it rounds to zero.
        {-0.4, true, english, QStringLiteral("-0%")},
        {-35.2, true, swedish, QString::fromUtf16(u"\u221235%")},
    };
    for (const Case &c : cases) {
        const QString shown
            = c.withSign ? signedPercent(c.value, c.locale) : percent(c.value, c.locale);
        EXPECT_EQ(shown, c.expected) << c.value << " in " << c.locale.name().toStdString();
    }
}

// Each observation rule below, at and above its threshold: which observation shows and which
// does not.
TEST(InsightPresentation, ObservationsAppearFromTheirThresholdOn)
{
    const QString concentrated = QStringLiteral("Concentrated ownership");
    const QString distributed = QStringLiteral("Distributed contribution");
    const QString structured = QStringLiteral("Structured history");
    const QString mixed = QStringLiteral("Mixed commit vocabulary");
    const QString elevated = QStringLiteral("Elevated revert signal");
    const QString low = QStringLiteral("Low revert signal");
    const QString growth = QStringLiteral("Development acceleration");
    const QString slowdown = QStringLiteral("Activity slowdown");
    const QString busFactor = QStringLiteral("Bus factor warning");
    const QString broad = QStringLiteral("Broad change sets");
    struct Case
    {
        const char *name;
        Figures figures;
        QString shown;
        QString hidden;
    };
    const Case cases[] = {
        {"ownership below", {.total = 20, .shares = {0.6499, 0.3501}}, distributed, concentrated},
        {"ownership at", {.total = 20, .shares = {0.65, 0.35}}, concentrated, distributed},
        {"ownership above", {.total = 20, .shares = {0.9, 0.1}}, concentrated, distributed},
        {"one owner below", {.total = 10, .shares = {0.6}}, {}, distributed},
        // One commit has no bus factor to warn about.
        {"one commit", {.total = 1, .shares = {1.0}, .busFactor = 1}, concentrated, busFactor},
        {"conventional below", {.total = 8, .conventional = 3}, mixed, structured},
        {"conventional at", {.total = 8, .conventional = 4}, structured, mixed},
        {"conventional above", {.total = 8, .conventional = 5}, structured, mixed},
        // 7.9% is below the threshold although it is shown rounded to 8%.
        {"reverts below", {.total = 1000, .reverts = 79}, low, elevated},
        {"reverts at", {.total = 100, .reverts = 8}, elevated, low},
        {"reverts above", {.total = 100, .reverts = 9}, elevated, low},
        {"growth below", {.total = 10, .trend = 29.9}, {}, growth},
        {"growth at", {.total = 10, .trend = 30}, growth, slowdown},
        {"growth above", {.total = 10, .trend = 31}, growth, slowdown},
        {"decline below", {.total = 10, .trend = -29.9}, {}, slowdown},
        {"decline at", {.total = 10, .trend = -30}, slowdown, growth},
        {"decline above", {.total = 10, .trend = -31}, slowdown, growth},
        {"bus factor two", {.total = 10}, {}, busFactor},
        {"bus factor one", {.total = 2, .busFactor = 1}, busFactor, {}},
        {"wide below", {.total = 100, .wide = 9}, {}, broad},
        {"wide at", {.total = 100, .wide = 10}, broad, {}},
        {"wide above", {.total = 100, .wide = 11}, broad, {}},
        {"no commits", {}, mixed, broad},
    };
    for (const Case &c : cases) {
        const QStringList shown = titles(insightObservations(history(c.figures), english));
        const std::string context = c.name + std::string(": ") + shown.join(", ").toStdString();
        EXPECT_TRUE(c.shown.isEmpty() || shown.contains(c.shown)) << context;
        EXPECT_TRUE(c.hidden.isEmpty() || !shown.contains(c.hidden)) << context;
    }
}

TEST(InsightPresentation, EveryRuleFiresInItsFixedOrderWithItsFigures)
{
    const QLocale arabic(QLocale::Arabic, QLocale::Egypt);
    Figures figures {.total = 8,
                     .shares = {1.0},
                     .conventional = 2,
                     .reverts = 1,
                     .trend = -1234.4,
                     .busFactor = 1,
                     .wide = 5,
                     .hotspots = {hotspot(1234, 1)}};
    QStringList order;
    QHash<QString, QString> details;
    for (const InsightObservation &observation : insightObservations(history(figures), arabic)) {
        order.append(observation.title);
        details.insert(observation.title, observation.detail);
    }

    EXPECT_EQ(
        order,
        QStringList({QStringLiteral("Concentrated ownership"),
                     QStringLiteral("Mixed commit vocabulary"), QStringLiteral("Primary hotspot"),
                     QStringLiteral("Elevated revert signal"), QStringLiteral("Activity slowdown"),
                     QStringLiteral("Bus factor warning"), QStringLiteral("Broad change sets")}));
    // Shares follow the locale's digits and signs; the hotspot's counts stay plain decimal.
    EXPECT_TRUE(details.value(order.at(0))
                    .contains(QString::fromUtf16(u"\u0661\u0660\u0660") + arabic.percent()));
    EXPECT_TRUE(details.value(order.at(1))
                    .contains(QString::fromUtf16(u"\u0662\u0665") + arabic.percent()));
    EXPECT_TRUE(details.value(order.at(4)).contains(arabic.toString(qint64(-1234)) + u'%'));
    EXPECT_TRUE(details.value(order.at(2)).endsWith(QStringLiteral(" 1234 commits by 1 author.")));
    figures.hotspots = {hotspot(1234, 2)};
    EXPECT_TRUE(insightObservations(history(figures), english)
                    .at(2)
                    .detail.endsWith(QStringLiteral(" 1234 commits by 2 authors.")));
}

TEST(InsightPresentation, IdsAreFreshForEveryComputation)
{
    RepositoryAnalyticsInsights insights = history({.total = 10, .shares = {1.0}});
    insights.firstCommitAt = at(2020, 1, 1);
    insights.lastCommitAt = at(2024, 1, 1);

    QList<QUuid> ids;
    for (int run = 0; run < 2; ++run) {
        for (const InsightObservation &observation : insightObservations(insights, english))
            ids.append(observation.id);
        for (const InsightMilestone &milestone : milestoneEntries(insights))
            ids.append(milestone.id);
    }
    EXPECT_GE(ids.size(), 8);
    EXPECT_EQ(QSet<QUuid>(ids.begin(), ids.end()).size(), ids.size());
    EXPECT_FALSE(ids.contains(QUuid()));
}

TEST(InsightPresentation, AnEmptyHistoryShowsOnlyTheVocabularyAndTheMessageSignal)
{
    const RepositoryAnalyticsInsights empty;

    EXPECT_EQ(titles(insightObservations(empty, english)),
              QStringList {QStringLiteral("Mixed commit vocabulary")});
    const QList<InsightRiskSignal> signals = calculatedRiskSignals(empty);
    ASSERT_EQ(signals.size(), 6);
    for (const InsightRiskSignal &signal : signals) {
        const double expected = signal.name == QStringLiteral("Message inconsistency") ? 100 : 0;
        EXPECT_DOUBLE_EQ(signal.value, expected) << signal.name.toStdString();
    }
    EXPECT_TRUE(milestoneEntries(empty).isEmpty());
}

// Each signal rises in proportion to its threshold and is capped at 100. The figures of 100
// commits are in percent of the history.
TEST(InsightPresentation, RiskSignalsScaleToTheirThresholdsAndCap)
{
    struct Case
    {
        qsizetype signal; ///< position in the fixed order
        Figures figures;
        double expected;
    };
    const Case cases[] = {
        {0, {.shares = {0.6}}, 80},
        {0, {.shares = {0.9}}, 100},
        {1, {.reverts = 5}, 50},
        {1, {.reverts = 10}, 100},
        {1, {.reverts = 40}, 100},
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
    const QStringList order {QStringLiteral("Ownership"),
                             QStringLiteral("Reverts"),
                             QStringLiteral("Wide commits"),
                             QStringLiteral("Multi-owner hotspot"),
                             QStringLiteral("Message inconsistency"),
                             QStringLiteral("Hotspot churn")};
    for (const Case &c : cases) {
        Figures figures = c.figures;
        figures.total = 100;
        const QList<InsightRiskSignal> signals = calculatedRiskSignals(history(figures));
        QStringList names;
        for (const InsightRiskSignal &signal : signals)
            names.append(signal.name);
        ASSERT_EQ(names, order);
        EXPECT_NEAR(signals.at(c.signal).value, c.expected, 1e-9)
            << order.at(c.signal).toStdString();
    }
}

TEST(InsightPresentation, MilestonesFollowStartPeakNewestTagsLatestWithoutSortingByDate)
{
    RepositoryAnalyticsInsights insights;
    insights.firstCommitAt = at(2020, 1, 1);
    insights.lastCommitAt = at(2024, 6, 30);
    insights.peakDay
        = IndexedActivityInsight {QStringLiteral("2023-03-04"), at(2023, 3, 4), 1234, 2000, 1400};
    insights.tags = {{QStringLiteral("v1"), at(2020, 6, 1)},
                     {QStringLiteral("v2"), at(2021, 1, 1)},
                     {QStringLiteral("v3"), std::nullopt},
                     {QStringLiteral("v4"), at(2022, 1, 1)}};

    QStringList shown;
    QList<std::optional<QDateTime>> dates;
    for (const InsightMilestone &milestone : milestoneEntries(insights)) {
        shown.append(milestone.title);
        dates.append(milestone.date);
        if (milestone.date == insights.peakDay->date) {
            EXPECT_TRUE(milestone.detail.startsWith(QStringLiteral("1234 commits")));
            EXPECT_TRUE(milestone.detail.contains(QStringLiteral("3400 lines")));
        }
    }
    // The peak day comes second although it is later than every tag.
    EXPECT_EQ(shown,
              QStringList({QStringLiteral("Project started"), QStringLiteral("Peak activity"),
                           QStringLiteral("v2"), QStringLiteral("v3"), QStringLiteral("v4"),
                           QStringLiteral("Latest activity")}));
    EXPECT_EQ(dates,
              QList<std::optional<QDateTime>>({at(2020, 1, 1), at(2023, 3, 4), at(2021, 1, 1),
                                               std::nullopt, at(2022, 1, 1), at(2024, 6, 30)}));
}
