// Export CSV from a list paged from the index: the file holds every commit the query matches,
// in the list's order, not only the pages scrolled so far.

#include "ModelTestSupport.h"
#include "ui/screens/TableExport.h"

#include <QFile>
#include <QTemporaryDir>

using namespace strataloom;

class TableExportTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aPagedHistorySavesEveryMatchingCommit()
    {
        FixtureRepository repository;
        repository.importHistory(250);
        ModelHarness harness;
        QVERIFY(openAndSettle(harness.model(), repository.path()));
        HistoryListModel &history = *harness.model().history();
        QVERIFY(history.isAvailable());

        const QStringList git
            = repository.git({"log", "--all", "--format=%H"}).split('\n', Qt::SkipEmptyParts);
        // Every commit, then a query whose matches run past the first page.
        const std::pair<QString, qsizetype> cases[] = {
            {QString(), git.size()},
            {"merges:no",
             repository.git({"rev-list", "--all", "--no-merges", "--count"}).trimmed().toLongLong()}};
        for (const auto &[query, expected] : cases) {
            history.setQuery(query);
            QVERIFY(settle(history));
            QVERIFY(expected > HistoryListModel::pageSize);
            QCOMPARE(history.rowCount(), expected);

            QTemporaryDir folder;
            TableExport exporter;
            const QString file = folder.filePath(QStringLiteral("history.csv"));
            exporter.saveModel(&history, {QVariantMap {{QStringLiteral("role"), "id"}}},
                               QUrl::fromLocalFile(file));
            QVERIFY(QTest::qWaitFor([&] { return !exporter.busy(); }, 60000));
            QVERIFY2(!exporter.failed(), qPrintable(exporter.message()));
            QFile saved(file);
            QVERIFY(saved.open(QIODevice::ReadOnly));
            QStringList lines = QString::fromUtf8(saved.readAll()).split(
                QStringLiteral("\r\n"), Qt::SkipEmptyParts);
            QCOMPARE(lines.takeFirst(), QStringLiteral("id"));
            QCOMPARE(lines.size(), expected);
            if (query.isEmpty())
                QCOMPARE(lines, git);
        }
    }
};

QTEST_MAIN(TableExportTest)
#include "TableExportTest.moc"
