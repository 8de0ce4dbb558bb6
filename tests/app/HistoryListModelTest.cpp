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
        QVERIFY(openAndWait(harness.session(), repository));
        QVERIFY(settle(harness.model()));
        QVERIFY(harness.analytics().analyticsIndexState().isReady());
    }

    static QStringList ids(const HistoryListModel &model)
    {
        QStringList result;
        for (const CommitRecord &commit : model.records())
            result << commit.id;
        return result;
    }

private Q_SLOTS:
    void theWholeHistoryLoadsAPageAtATime()
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
        QCOMPARE(history.rowCount(), HistoryListModel::pageSize);
        while (history.canFetchMore({}))
            history.fetchMore({});
        QCOMPARE(ids(history),
                 repository
                     .git({QStringLiteral("log"), QStringLiteral("--all"),
                           QStringLiteral("--format=%H")})
                     .split(QLatin1Char('\n'), Qt::SkipEmptyParts));
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

        struct Case
        {
            QString query;
            int total; ///< -1: an error
            QString says;
            int position;
        };
        const Case cases[] = {
            // "Author 3" wrote changes 3, 10, 17 and 24; "Author 1" 1, 8, 15, 22 and 29.
            {QStringLiteral("author:author3@example.com"), 4, {}, -1},
            {QStringLiteral("author:\"Author 3\" change"), 4, {}, -1},
            {QStringLiteral("\"change 1\" author:author1"), 1, {}, -1},
            {QStringLiteral("2 author:author1"), 2, {}, -1},
            {QStringLiteral("path:src/file5.txt"), 1, {}, -1},
            {QStringLiteral("change color:red"), -1, QStringLiteral("unknown key \"color:\""), 7},
            {QStringLiteral("change \"open"), -1, QStringLiteral("unclosed quote"), 7},
            {QStringLiteral("ref:nowhere"), -1, QStringLiteral("unknown ref \"nowhere\""), 0},
            {QString(), 30, {}, -1},
        };
        for (const Case &test : cases) {
            search.setQuery(test.query);
            QVERIFY(settle(harness.model()));
            QCOMPARE(search.error().isEmpty(), test.total >= 0);
            if (test.total >= 0) {
                QCOMPARE(search.total(), test.total);
                QCOMPARE(search.rowCount(), test.total);
            } else {
                QVERIFY2(search.error().contains(test.says), qPrintable(search.error()));
                QCOMPARE(search.errorPosition(), test.position);
                QCOMPARE(search.rowCount(), 0);
            }
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
        second.commit(QStringLiteral("One more\n\nWith a body."));
        harness.session().refresh();
        QVERIFY(settle(harness.model()));
        QVERIFY(availability.isEmpty());
        QCOMPARE(history.total(), 8);
        // Rows hold no bodies; a row handed out has its body, read when asked for.
        const QStringList subjects = [&] {
            QStringList list;
            for (const CommitRecord &commit : history.records())
                list << commit.subject;
            return list;
        }();
        const int added = int(subjects.indexOf(QStringLiteral("One more")));
        QVERIFY(added >= 0);
        QCOMPARE(history.get(added).value(QStringLiteral("body")).toString(),
                 QStringLiteral("With a body."));
    }
};

STRATALOOM_MODEL_TEST_MAIN(HistoryListModelTest)
#include "HistoryListModelTest.moc"
