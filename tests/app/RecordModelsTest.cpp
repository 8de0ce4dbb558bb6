// The list models that show records to QML, and records handed back from QML as maps.
#include "ModelTestSupport.h"

#include "app/RecordModels.h"

#include <QAbstractItemModelTester>
#include <QSignalSpy>
#include <QTest>

using namespace strataloom;

namespace {

const QDateTime someDate(QDate(2024, 3, 1), QTime(9, 20, 30), Qt::UTC);

// Two distinct records of each kind; the second leaves its optional fields absent, which QML
// must see as null and hand back as absent.
template<typename Model, typename Record>
void exercise(const QList<Record> &records, const char *displayField)
{
    Model model;
    QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
    QSignalSpy count(&model, &RecordListModel::countChanged);

    QVERIFY(model.setRecords(records));
    QVERIFY(!model.setRecords(records));
    // Same size, other content: the rows change, the count does not.
    const QList<Record> reversed(records.crbegin(), records.crend());
    QVERIFY(model.setRecords(reversed));
    QCOMPARE(count.count(), 1);
    QCOMPARE(model.count(), records.size());

    const QHash<int, QByteArray> names = model.roleNames();
    QCOMPARE(QSet<QByteArray>(names.cbegin(), names.cend()).size(), names.size());
    for (int row = 0; row < model.count(); ++row) {
        const QVariantMap map = model.get(row);
        QCOMPARE(map, toVariantMap(reversed.at(row)));
        // What QML hands back is the record the row shows, absent values included.
        QCOMPARE(fromVariantMap<Record>(map), reversed.at(row));
        QCOMPARE(model.data(model.index(row), Qt::DisplayRole),
                 map.value(QString::fromLatin1(displayField)));
    }
    QVERIFY(model.get(-1).isEmpty());
    QVERIFY(model.get(model.count()).isEmpty());

    QVERIFY(model.setRecords({}));
    QCOMPARE(count.count(), 2);
}

} // namespace

class RecordModelsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyListModelShowsAndHandsBackItsRecords()
    {
        const QString a = "a", b = "b";
        exercise<CommitListModel>(QList<CommitRecord> {{a, a, a, a, someDate, a, a, 1, 2, 3},
                                                       {b, b, b, b, {}, b, b, 0, 0, 0}},
                                  "subject");
        exercise<GraphListModel>(
            QList<GraphCommitRecord> {{a, a, a, a, a, a, a}, {{}, b, {}, {}, {}, {}, {}}},
            "subject");
        exercise<BranchListModel>(
            QList<BranchRecord> {{a, true, false, a, someDate, a}, {b, false, true, b, {}, b}},
            "name");
        exercise<TagListModel>(QList<TagRecord> {{a, a, someDate, a}, {b, b, {}, b}}, "name");
        exercise<FileListModel>(QList<FileRecord> {{a, a, someDate, a}, {b, {}, {}, b}}, "path");
        exercise<ActivityListModel>(QList<ActivityPoint> {{someDate, 2}, {someDate.addDays(1), 0}},
                                    "count");
        exercise<AuthorStatListModel>(QList<AuthorStat> {{a, 3}, {b, 1}}, "name");
        exercise<CommitChangeListModel>(QList<CommitFileChange> {{a, a}, {b, b}}, "path");
        exercise<RecentRepositoryListModel>(
            QList<RecentRepository> {{a, a, someDate}, {b, b, someDate.addDays(1)}}, "name");
        exercise<DiscoveredRepositoryListModel>(QList<DiscoveredRepository> {{a, a}, {b, b}},
                                                "name");
    }

    void computedAndAbsentValues()
    {
        GraphListModel graph;
        graph.setRecords({{"a1", {}, "a", {}, {}, {}, {}}, {}});
        QCOMPARE(graph.get(0).value("isConnector"), QVariant(false));
        QCOMPARE(graph.get(1).value("isConnector"), QVariant(true));

        // Insights reach QML as nested maps and lists: an optional record, a period's churn.
        RepositoryAnalyticsInsights insights;
        insights.peakDay = IndexedActivityInsight {"2024-03-01", someDate, 3, 10, 2};
        insights.topAuthors = {{"Ada", 4, 10, 2, 1.0, someDate, std::nullopt}};
        const QVariantMap map = toVariantMap(insights);
        QVERIFY(map.value("firstCommitAt").isNull());
        QCOMPARE(map.value("peakDay").toMap().value("churn"), QVariant(qint64(12)));
        const QVariantMap author = map.value("topAuthors").toList()[0].toMap();
        QCOMPARE(author.value("firstCommitAt").toDateTime(), someDate);
        QVERIFY(author.value("lastCommitAt").isNull());
    }
};

STRATALOOM_MODEL_TEST_MAIN(RecordModelsTest)
#include "RecordModelsTest.moc"
