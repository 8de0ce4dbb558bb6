// The list models that show records to QML, and records handed back from QML as maps.
#include "ModelTestSupport.h"

#include "app/RecordModels.h"

#include <QAbstractItemModelTester>
#include <QSignalSpy>
#include <QTest>

using namespace strataloom;

namespace {

const QDateTime someDate(QDate(2024, 3, 1), QTime(9, 20, 30), Qt::UTC);

template<typename Model, typename Record> void exercise(const QList<Record> &records)
{
    Model model;
    QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
    QSignalSpy count(&model, &RecordListModel::countChanged);
    QSignalSpy reset(&model, &QAbstractItemModel::modelReset);

    QVERIFY(model.setRecords(records));
    QCOMPARE(model.count(), records.size());
    QCOMPARE(count.count(), 1);
    QVERIFY(!model.setRecords(records));
    QCOMPARE(reset.count(), 1);

    // Same size, other content: the rows change, the count does not.
    QList<Record> reversed(records.crbegin(), records.crend());
    QVERIFY(model.setRecords(reversed));
    QCOMPARE(count.count(), 1);
    QCOMPARE(reset.count(), 2);

    const QHash<int, QByteArray> names = model.roleNames();
    QCOMPARE(QSet<QByteArray>(names.cbegin(), names.cend()).size(), names.size());
    for (int row = 0; row < model.count(); ++row) {
        const QVariantMap map = model.get(row);
        QCOMPARE(map.size(), names.size());
        QCOMPARE(map, model.toMap(reversed.at(row)));
        for (auto it = names.cbegin(); it != names.cend(); ++it)
            QCOMPARE(model.data(model.index(row), it.key()),
                     map.value(QString::fromLatin1(it.value())));
    }
    QVERIFY(model.get(-1).isEmpty());
    QVERIFY(model.get(model.count()).isEmpty());

    QVERIFY(model.setRecords({}));
    QCOMPARE(model.count(), 0);
    QCOMPARE(count.count(), 2);
}

} // namespace

class RecordModelsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyListModelPassesTheModelTester();
    void rowsHandedBackFromQmlAreTheSameRecords();
    void absentDatesAreNullValues();
    void graphConnectorLinesAreMarked();
};

void RecordModelsTest::everyListModelPassesTheModelTester()
{
    const CommitRecord commit {QStringLiteral("a1"),
                               QStringLiteral("a"),
                               QStringLiteral("Ada"),
                               QStringLiteral("ada@example.com"),
                               someDate,
                               QStringLiteral("One"),
                               QStringLiteral("Body"),
                               1,
                               2,
                               3};
    CommitRecord other = commit;
    other.id = QStringLiteral("b2");
    exercise<CommitListModel>(QList<CommitRecord> {commit, other});
    exercise<GraphListModel>(
        QList<GraphCommitRecord> {{QStringLiteral("a1"),
                                   QStringLiteral("* "),
                                   QStringLiteral("a"),
                                   QStringLiteral("2 days ago"),
                                   QStringLiteral("One"),
                                   QStringLiteral("Ada"),
                                   {}},
                                  {{}, QStringLiteral("|\\"), {}, {}, {}, {}, {}}});
    exercise<BranchListModel>(QList<BranchRecord> {
        {QStringLiteral("main"), true, false, QStringLiteral("a"), someDate, QStringLiteral("Ada")},
        {QStringLiteral("origin/main"), false, true, {}, std::nullopt, {}}});
    exercise<TagListModel>(QList<TagRecord> {
        {QStringLiteral("v1"), QStringLiteral("a"), someDate, QStringLiteral("One")},
        {QStringLiteral("v2"), {}, std::nullopt, {}}});
    exercise<FileListModel>(QList<FileRecord> {
        {QStringLiteral("a.txt"), QStringLiteral("M"), someDate, QStringLiteral("Ada")},
        {QStringLiteral("b.txt"), {}, std::nullopt, {}}});
    exercise<ActivityListModel>(QList<ActivityPoint> {{someDate, 2}, {someDate.addDays(1), 0}});
    exercise<AuthorStatListModel>(
        QList<AuthorStat> {{QStringLiteral("Ada"), 3}, {QStringLiteral("Grace"), 1}});
    exercise<CommitChangeListModel>(
        QList<CommitFileChange> {{QStringLiteral("M"), QStringLiteral("a.txt")},
                                 {QStringLiteral("R100"), QStringLiteral("b → c")}});
    exercise<RecentRepositoryListModel>(
        QList<RecentRepository> {{QStringLiteral("one"), QStringLiteral("/tmp/one"), someDate},
                                 {QStringLiteral("two"), QStringLiteral("/tmp/two"), someDate}});
    exercise<DiscoveredRepositoryListModel>(
        QList<DiscoveredRepository> {{QStringLiteral("one"), QStringLiteral("/tmp/one")},
                                     {QStringLiteral("two"), QStringLiteral("/tmp/two")}});
}

void RecordModelsTest::rowsHandedBackFromQmlAreTheSameRecords()
{
    const CommitRecord commit {QStringLiteral("a1"),
                               QStringLiteral("a"),
                               QStringLiteral("Ada"),
                               QStringLiteral("ada@example.com"),
                               someDate,
                               QStringLiteral("One"),
                               QStringLiteral("Body"),
                               1,
                               2,
                               3};
    CommitListModel commits;
    commits.setRecords({commit});
    QCOMPARE(commitFromVariantMap(commits.get(0)), commit);

    const QList<BranchRecord> branchRecords {
        {QStringLiteral("main"), true, false, QStringLiteral("a"), someDate, QStringLiteral("Ada")},
        {QStringLiteral("origin/dev"), false, true, QStringLiteral("b"), std::nullopt, {}}};
    BranchListModel branches;
    branches.setRecords(branchRecords);
    QCOMPARE(branchFromVariantMap(branches.get(0)), branchRecords.at(0));
    QCOMPARE(branchFromVariantMap(branches.get(1)), branchRecords.at(1));

    const FileRecord file {QStringLiteral("a.txt"), QStringLiteral("M"), someDate,
                           QStringLiteral("Ada")};
    FileListModel files;
    files.setRecords({file});
    QCOMPARE(fileFromVariantMap(files.get(0)), file);

    AuthorStatListModel authors;
    authors.setRecords({{QStringLiteral("Ada"), 3}});
    QCOMPARE(authorFromVariantMap(authors.get(0)), (AuthorStat {QStringLiteral("Ada"), 3}));

    const RecentRepository recent {QStringLiteral("one"), QStringLiteral("/tmp/one"), someDate};
    RecentRepositoryListModel recents;
    recents.setRecords({recent});
    QCOMPARE(recentFromVariantMap(recents.get(0)), recent);

    const DiscoveredRepository discovered {QStringLiteral("one"), QStringLiteral("/tmp/one")};
    DiscoveredRepositoryListModel discoveredModel;
    discoveredModel.setRecords({discovered});
    QCOMPARE(discoveredFromVariantMap(discoveredModel.get(0)), discovered);
}

void RecordModelsTest::absentDatesAreNullValues()
{
    RepositorySummary summary;
    summary.path = QStringLiteral("/tmp/r");
    summary.latestCommitDate = someDate;
    const QVariantMap map = toVariantMap(summary);
    QVERIFY(!map.value(QStringLiteral("firstCommitDate")).isValid());
    QVERIFY(!map.value(QStringLiteral("remoteURL")).isValid());
    QCOMPARE(map.value(QStringLiteral("latestCommitDate")).toDateTime(), someDate);

    RepositoryAnalyticsInsights insights;
    insights.totalCommits = 4;
    insights.peakDay = IndexedActivityInsight {QStringLiteral("2024-03-01"), someDate, 3, 10, 2};
    insights.topAuthors = {{QStringLiteral("Ada"), 4, 10, 2, 1.0, someDate, std::nullopt}};
    const QVariantMap insightMap = toVariantMap(insights);
    QCOMPARE(insightMap.value(QStringLiteral("totalCommits")), QVariant(qint64(4)));
    QVERIFY(!insightMap.value(QStringLiteral("firstCommitAt")).isValid());
    QCOMPARE(insightMap.value(QStringLiteral("peakDay")).toMap().value(QStringLiteral("churn")),
             QVariant(qint64(12)));
    const QVariantMap author
        = insightMap.value(QStringLiteral("topAuthors")).toList().constFirst().toMap();
    QCOMPARE(author.value(QStringLiteral("firstCommitAt")).toDateTime(), someDate);
    QVERIFY(!author.value(QStringLiteral("lastCommitAt")).isValid());
}

void RecordModelsTest::graphConnectorLinesAreMarked()
{
    GraphListModel graph;
    graph.setRecords({{QStringLiteral("a1"),
                       QStringLiteral("* "),
                       QStringLiteral("a"),
                       QStringLiteral("now"),
                       QStringLiteral("One"),
                       QStringLiteral("Ada"),
                       {}},
                      {{}, QStringLiteral("|\\"), {}, {}, {}, {}, {}}});
    QCOMPARE(graph.get(0).value(QStringLiteral("isConnector")), QVariant(false));
    QCOMPARE(graph.get(1).value(QStringLiteral("isConnector")), QVariant(true));
    QCOMPARE(graph.data(graph.index(0), Qt::DisplayRole), QVariant(QStringLiteral("One")));
}

STRATALOOM_MODEL_TEST_MAIN(RecordModelsTest)
#include "RecordModelsTest.moc"
