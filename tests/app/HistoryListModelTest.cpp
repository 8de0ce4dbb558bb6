// The whole history in the window: the History and Search lists read the index a page at a
// time once it is ready, answer the query language, and say what is wrong with a query.

#include "ModelTestSupport.h"

#include <QAbstractItemModelTester>

using namespace strataloom;

class HistoryListModelTest : public QObject
{
    Q_OBJECT

private:
    /// Opens @p repository and waits until its index is ready and the lists have read it.
    static void openIndexed(ModelHarness &harness, const QString &repository)
    {
        QVERIFY(openAndSettle(harness.model(), repository));
        QVERIFY(harness.analytics().analyticsIndexState().isReady());
    }

    static QStringList ids(const HistoryListModel &model)
    {
        QStringList result;
        for (int row = 0; row < model.rowCount(); ++row)
            result << model.data(model.index(row), Qt::UserRole + 1).toString();
        return result;
    }

private Q_SLOTS:
    // Every row is there from the start and reads its page when shown, from the end first.
    void everyRowIsThereAndReadWhenShown()
    {
        FixtureRepository repository;
        repository.importHistory(250);
        ModelHarness harness;
        HistoryListModel &history = *harness.model().history();
        QAbstractItemModelTester tester(&history,
                                        QAbstractItemModelTester::FailureReportingMode::QtTest);
        QVERIFY(!history.isAvailable());
        openIndexed(harness, repository.path());

        QVERIFY(history.isAvailable());
        QCOMPARE(history.total(), 250);
        QCOMPARE(history.rowCount(), 250);
        const QStringList gits
            = repository.git({"log", "--all", "--format=%H"}).split('\n', Qt::SkipEmptyParts);
        QCOMPARE(history.get(249).value("id").toString(), gits.last());
        QCOMPARE(history.get(150).value("id").toString(), gits.at(150));
        QCOMPARE(history.cachedPageCount(), 3);
        QCOMPARE(ids(history), gits);
    }

    void queriesFilterAndMistakesAreNamed()
    {
        FixtureRepository repository;
        repository.importHistory(30);
        ModelHarness harness;
        HistoryListModel &search = *harness.model().historySearch();
        QAbstractItemModelTester tester(&search,
                                        QAbstractItemModelTester::FailureReportingMode::QtTest);
        openIndexed(harness, repository.path());

        // "Author 1" wrote changes 1, 8, 15, 22 and 29; a total of -1 is a mistake at a place.
        const std::tuple<QString, int, QString, int, int> cases[] = {
            {"author:author1@example.com", 5, {}, -1, -1},
            {"\"change 1\" author:author1", 1, {}, -1, -1},
            {"change color:red", -1, "unknown key \"color:\"", 7, 6},
            {"fix ref:nowhere", -1, "unknown ref \"nowhere\"", 4, 11},
            {QString(), 30, {}, -1, -1},
        };
        for (const auto &[query, total, says, position, length] : cases) {
            search.setQuery(query);
            QVERIFY(settle(harness.model()));
            QVERIFY2(search.error().contains(says), qPrintable(search.error()));
            QCOMPARE(search.error().isEmpty(), total >= 0);
            QCOMPARE(std::pair(search.errorPosition(), search.errorLength()),
                     std::pair(position, length));
            QCOMPARE(search.total(), std::max(total, 0));
            QCOMPARE(search.rowCount(), std::max(total, 0));
        }
    }

    void anotherRepositoryShowsNoHistoryUntilItsIndexIsReady()
    {
        FixtureRepository first;
        first.importHistory(5);
        FixtureRepository second;
        second.importHistory(7);
        ModelHarness harness;
        HistoryListModel &history = *harness.model().history();
        openIndexed(harness, first.path());
        QCOMPARE(history.total(), 5);

        QList<bool> availability;
        connect(&history, &HistoryListModel::isAvailableChanged, this,
                [&] { availability << history.isAvailable(); });
        openIndexed(harness, second.path());
        QCOMPARE(availability, QList<bool>({false, true}));
        QCOMPARE(history.total(), 7);

        // Reloading the same repository keeps its history listed while the index catches up.
        availability.clear();
        second.commit("One more\n\nWith a body.");
        harness.session().refresh();
        QVERIFY(settle(harness.model()));
        QVERIFY(availability.isEmpty());
        QCOMPARE(history.total(), 8);
        // Rows hold no bodies; a row handed out has its body, read when asked for.
        const int added = int(ids(history).indexOf(second.git({"rev-parse", "HEAD"}).trimmed()));
        QVERIFY(added >= 0);
        QCOMPARE(history.get(added).value("body").toString(), "With a body.");
    }
};

STRATALOOM_MODEL_TEST_MAIN(HistoryListModelTest)
#include "HistoryListModelTest.moc"
