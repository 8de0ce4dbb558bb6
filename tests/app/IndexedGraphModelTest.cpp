// The Timeline's graph of the whole history from the index: rows read a page at a time in the
// background equal the lanes laid out from the top, wherever and in whatever order the pages
// are read; the row count is git's commit count; the page cache stays bounded; new commits
// reset the rows, an unchanged history keeps them.

#include "app/IndexedGraphModel.h"
#include "HistoryScript.h"
#include "ModelTestSupport.h"

#include <QAbstractItemModelTester>

using namespace strataloom;

class IndexedGraphModelTest : public QObject
{
    Q_OBJECT

private:
    IndexedRepository m_fixture;
    QHash<QString, QString> m_subjects; ///< full hash -> subject, as git prints them

    void readSubjects()
    {
        m_subjects.clear();
        for (const QString &line : m_fixture.repository.git({"log", "--all", "--format=%H %s"})
                                       .split('\n', Qt::SkipEmptyParts))
            m_subjects.insert(line.left(40), line.mid(41));
    }

    /// A model over the fixture's index, its history read.
    std::unique_ptr<IndexedGraphModel> openModel()
    {
        auto model = std::make_unique<IndexedGraphModel>();
        model->setSource(m_fixture.repository.path(), m_fixture.database);
        if (!settle(*model))
            return nullptr;
        return model;
    }

    static bool loadRow(IndexedGraphModel &model, int row)
    {
        model.data(model.index(row), IndexedGraphModel::SubjectRole);
        return QTest::qWaitFor([&] { return model.isLoaded(row); }, 30000);
    }

    /// Compares rows [first, first + count) of @p model with the rows of @p layout laid out
    /// from the top.
    void compareRows(IndexedGraphModel &model, CommitLaneLayout &layout, int first, int count)
    {
        const IndexedGraph &history = layout.history();
        const QList<LaneRow> expected = layout.rows(0, first + count);
        for (int row = first; row < first + count; ++row) {
            const QVariantMap got = model.get(row);
            const LaneRow &lanes = expected.at(row);
            const QString hash = history.commits()[size_t(lanes.commit)].sha;
            QCOMPARE(got["hash"].toString(), hash);
            QVERIFY2(got["isLoaded"].toBool(), qPrintable(QString::number(row)));
            QVERIFY(hash.startsWith(got["shortHash"].toString()) && !got["shortHash"].isNull());
            QCOMPARE(got["subject"].toString(), m_subjects.value(hash));
            const QVariantMap drawn = got["laneRow"].toMap();
            QCOMPARE(drawn["lane"].toInt(), lanes.lane);
            QCOMPARE(drawn["laneCount"].toInt(), lanes.laneCount);
            QVariantList edges;
            for (const auto &[from, to] : lanes.edges)
                edges << from << to;
            QCOMPARE(drawn["edges"].toList(), edges);
            // The lanes entering from above are those the row above hands down.
            int above = 0;
            if (row > 0) {
                for (const auto &edge : expected.at(row - 1).edges)
                    above = std::max(above, edge.second + 1);
            }
            QCOMPARE(drawn["lanesAbove"].toInt(), above);
        }
    }

private Q_SLOTS:
    void initTestCase()
    {
        writeHistory(m_fixture.repository, tangledHistory(3000, 11));
        m_fixture.synchronize();
        readSubjects();
    }

    void pagesEqualTheLayoutFromTheTopInAnyOrder_data()
    {
        QTest::addColumn<QList<int>>("firstRows"); // pages are read in this order
        QTest::newRow("top, middle, end") << QList<int> {0, 1450, 2900};
        QTest::newRow("middle, end, top") << QList<int> {1450, 2900, 0};
    }

    void pagesEqualTheLayoutFromTheTopInAnyOrder()
    {
        QFETCH(QList<int>, firstRows);
        auto model = openModel();
        QVERIFY(model);
        QAbstractItemModelTester tester(model.get(),
                                        QAbstractItemModelTester::FailureReportingMode::QtTest);
        CommitLaneLayout layout(
            std::make_shared<const IndexedGraph>(*IndexedGraph::load(m_fixture.database)));
        QCOMPARE(model->rowCount(),
                 m_fixture.repository.git({"rev-list", "--all", "--count"}).trimmed().toInt());
        QCOMPARE(model->rowCount(), layout.rowCount());

        for (const int first : firstRows) {
            // 1450 reads across a page boundary; 2900 runs to the last commit.
            const int count = std::min(IndexedGraphModel::pageSize, model->rowCount() - first);
            if (first > 0) {
                const QVariantMap placeholder = model->get(first + count - 1);
                QVERIFY(!placeholder["isLoaded"].toBool());
                QVERIFY(placeholder["shortHash"].toString().isEmpty());
                QVERIFY(!placeholder["hash"].toString().isEmpty());
            }
            for (const int row : {first, first + count - 1})
                QVERIFY(loadRow(*model, row));
            compareRows(*model, layout, first, count);
        }
    }

    void theCacheKeepsABoundedNumberOfPages()
    {
        auto model = openModel();
        QVERIFY(model);
        const int pages = model->rowCount() / IndexedGraphModel::pageSize;
        QVERIFY(pages > IndexedGraphModel::cachedPages);
        for (int page = 0; page < pages; ++page)
            QVERIFY(loadRow(*model, page * IndexedGraphModel::pageSize));
        QCOMPARE(model->cachedPageCount(), IndexedGraphModel::cachedPages);
        // The pages read most recently are kept, the earliest were let go.
        QVERIFY(model->isLoaded((pages - 1) * IndexedGraphModel::pageSize));
        QVERIFY(!model->isLoaded(0));
    }

    void newCommitsResetTheRowsAnUnchangedHistoryKeepsThem()
    {
        auto model = openModel();
        QVERIFY(model);
        QAbstractItemModelTester tester(model.get(),
                                        QAbstractItemModelTester::FailureReportingMode::QtTest);
        const int before = model->rowCount();
        const QString oldTop = model->hashAt(0);
        QSignalSpy resets(model.get(), &QAbstractItemModel::modelReset);

        model->reload();
        QVERIFY(settle(*model));
        QCOMPARE(resets.count(), 0);
        QCOMPARE(model->hashAt(0), oldTop);

        m_fixture.repository.setDate(QStringLiteral("2031-01-01T10:00:00Z"));
        m_fixture.repository.setDateStep(60);
        for (const char *name : {"later one", "later two", "later three"}) {
            m_fixture.repository.write(name, name);
            m_fixture.repository.commit(name);
        }
        m_fixture.synchronize();
        readSubjects();
        model->reload();
        QVERIFY(settle(*model));
        QCOMPARE(resets.count(), 1);
        QCOMPARE(model->rowCount(), before + 3);
        CommitLaneLayout layout(
            std::make_shared<const IndexedGraph>(*IndexedGraph::load(m_fixture.database)));
        compareRows(*model, layout, 0, IndexedGraphModel::pageSize);
        QCOMPARE(model->get(0)["subject"].toString(), "later three");
        // Where the old top went, for the view to keep its place.
        QVERIFY(model->rowOfHash(oldTop) > 0);
        QCOMPARE(model->hashAt(model->rowOfHash(oldTop)), oldTop);
    }

    void noIndexMeansNoRowsAndAnError()
    {
        IndexedGraphModel model;
        model.setSource(m_fixture.repository.path(), m_fixture.database + ".missing");
        QVERIFY(settle(model));
        QCOMPARE(model.rowCount(), 0);
        QVERIFY(!model.error().isEmpty());
        QVERIFY(!model.isLoading());
        model.setSource({}, {});
        QVERIFY(!model.isAvailable());
    }
};

STRATALOOM_MODEL_TEST_MAIN(IndexedGraphModelTest)
#include "IndexedGraphModelTest.moc"
