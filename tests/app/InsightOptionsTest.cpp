// The insight options of the window: remembered per repository, switched one by one or all at
// once, and the insights computed again when they change while the last ones stay shown.
#include "ModelTestSupport.h"

#include "app/InsightOptionStore.h"

#include <QSettings>
#include <QTemporaryDir>

using namespace strataloom;

namespace {

InsightOptions allBut(bool InsightOptions::*option)
{
    InsightOptions options;
    options.*option = false;
    return options;
}

} // namespace

class InsightOptionsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void switchesOneOptionOrAllOfThem()
    {
        // Before, the option's name and new value, after.
        const std::tuple<InsightOptions, QString, bool, InsightOptions> cases[] = {
            {InsightOptions(), "separateBots", false, allBut(&InsightOptions::separateBots)},
            {allBut(&InsightOptions::excludeMerges), "excludeMerges", true, InsightOptions()},
            {allBut(&InsightOptions::followRenames), "asRecorded", true,
             InsightOptions::asRecorded()},
            {InsightOptions::asRecorded(), "asRecorded", false, InsightOptions()},
            {InsightOptions::asRecorded(), "colour", true, InsightOptions::asRecorded()},
        };
        for (const auto &[before, name, on, after] : cases)
            QVERIFY2(withInsightOption(before, name, on) == after, qPrintable(name));
    }

    void remembersOptionsPerRepository()
    {
        QTemporaryDir folder;
        QSettings settings(folder.filePath("settings.ini"), QSettings::IniFormat);
        const InsightOptionStore store(&settings);
        const QString first = folder.filePath("first");
        const QString second = folder.filePath("second");

        QVERIFY(store.load(first) == InsightOptions());
        store.save(first, allBut(&InsightOptions::hideDeletedFiles));
        store.save(second, InsightOptions::asRecorded());

        QVERIFY(store.load(first) == allBut(&InsightOptions::hideDeletedFiles));
        QVERIFY(store.load(first + "/") == allBut(&InsightOptions::hideDeletedFiles));
        QVERIFY(store.load(folder.filePath("second/../second")) == InsightOptions::asRecorded());
        // A value written by an older version without some option leaves that one on.
        settings.setValue(InsightOptionStore::key(first), QByteArray(R"({"separateBots":false})"));
        QVERIFY(store.load(first) == allBut(&InsightOptions::separateBots));
    }

    void changedOptionsComputeTheInsightsAgainAndAreRemembered()
    {
        FixtureRepository repository;
        repository.write("a.txt", "1\n");
        repository.commit("feat: one", "TJ Holowaychuk", "tj@example.com");
        repository.write("a.txt", "2\n");
        repository.commit("fix: two", "Tj Holowaychuk", "TJ@example.com");
        {
            AnalyticsIndexController index;
            index.start(summaryAt(repository.path()));
            QVERIFY(settle(index));
            QCOMPARE(index.analyticsInsights()->topAuthors.size(), 1);
            // Either spelling finds the one person and every name the commits record.
            QCOMPARE(index.identityOf("Tj Holowaychuk").toMap().value("names").toStringList(),
                     QStringList({"TJ Holowaychuk", "Tj Holowaychuk"}));

            QSignalSpy recomputing(&index, &AnalyticsIndexController::recomputingInsightsChanged);
            index.setInsightOption("asRecorded", true);
            // The last insights stay while the new ones are computed.
            QVERIFY(index.recomputingInsights());
            QCOMPARE(index.analyticsInsights()->topAuthors.size(), 1);
            QVERIFY(index.analyticsIndexState().isReady());
            QVERIFY(settle(index));
            QVERIFY(!index.recomputingInsights());
            QCOMPARE(recomputing.count(), 2);
            QCOMPARE(index.analyticsInsights()->topAuthors.size(), 2);
            QVERIFY(!index.identityOf("Tj Holowaychuk").isValid());
            QCOMPARE(index.insightOptions(), InsightOptions::asRecorded());
        }
        AnalyticsIndexController reopened;
        reopened.start(summaryAt(repository.path()));
        QCOMPARE(reopened.insightOptions(), InsightOptions::asRecorded());
        QVERIFY(settle(reopened));
        QCOMPARE(reopened.analyticsInsights()->topAuthors.size(), 2);
    }
};

STRATALOOM_MODEL_TEST_MAIN(InsightOptionsTest)
#include "InsightOptionsTest.moc"
