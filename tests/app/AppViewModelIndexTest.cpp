// The background index task of the model: cancellation by a newer open, refresh of an unchanged
// repository, and an index folder that cannot be created.
#include "ModelTestSupport.h"

#include "git/GitService.h"
#include "index/RepositoryIndex.h"

#include <QElapsedTimer>
#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

using namespace strataloom;

namespace {

std::unique_ptr<FixtureRepository> smallRepository()
{
    auto repository = std::make_unique<FixtureRepository>();
    repository->write(QStringLiteral("a.txt"), "a\n");
    repository->commit(QStringLiteral("feat: first"));
    repository->write(QStringLiteral("b.txt"), "b\n");
    repository->commit(QStringLiteral("fix: second"), QStringLiteral("Grace Hopper"),
                       QStringLiteral("grace@example.com"));
    return repository;
}

/// Every value analyticsIndexState takes, as "kind commits imported".
QStringList &recordStates(AppViewModel &model, QObject *context, QStringList &states)
{
    QObject::connect(&model, &AppViewModel::analyticsIndexStateChanged, context, [&] {
        const AnalyticsIndexState state = model.analyticsIndexState();
        if (state.isIndexing())
            states << QStringLiteral("indexing");
        else if (state.isReady())
            states << QStringLiteral("ready %1 %2")
                          .arg(state.indexedCommits())
                          .arg(state.importedCommits());
        else if (state.isFailed())
            states << QStringLiteral("failed");
        else
            states << QStringLiteral("idle");
    });
    return states;
}

} // namespace

class AppViewModelIndexTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();

    void openingWhileIndexingCancelsTheOldTask();
    void failedOpenLetsTheShownRepositoryFinishIndexing();
    void refreshingAnUnchangedRepositoryImportsNothing();
    void indexFolderThatCannotBeCreatedFailsButKeepsTheRepository();

private:
    std::unique_ptr<FixtureRepository> m_longHistory;
};

void AppViewModelIndexTest::initTestCase()
{
    m_longHistory = std::make_unique<FixtureRepository>();
    m_longHistory->importHistory(20000);
}

void AppViewModelIndexTest::openingWhileIndexingCancelsTheOldTask()
{
    const auto small = smallRepository();
    ModelHarness harness;
    AppViewModel &model = harness.model();
    QStringList states;
    recordStates(model, this, states);
    QSignalSpy insights(&model, &AppViewModel::analyticsInsightsChanged);

    QVERIFY(openAndWait(model, m_longHistory->path()));
    QVERIFY(model.analyticsIndexState().isIndexing());
    QVERIFY(openAndWait(model, small->path()));
    QVERIFY(settle(model));

    QCOMPARE(model.repository()->path, small->path());
    // The long history's run wrote nothing: no state of its own, no insights.
    QCOMPARE(states, (QStringList {QStringLiteral("indexing"), QStringLiteral("ready 2 2")}));
    QCOMPARE(insights.count(), 1);
    QCOMPARE(model.analyticsInsights()->totalCommits, 2);

    // The cancellation reached the indexer, which rolled its import back.
    RepositoryIndex index(
        RepositoryIndexLocation::databasePath(GitService().commonDirectory(m_longHistory->path())));
    QCOMPARE(index.snapshot().commits, 0);
}

void AppViewModelIndexTest::failedOpenLetsTheShownRepositoryFinishIndexing()
{
    const auto repository = smallRepository();
    QTemporaryDir notARepository;
    ModelHarness harness;
    AppViewModel &model = harness.model();
    // The failing open starts while the first repository's index task runs.
    QMetaObject::Connection started = connect(
        &model, &AppViewModel::analyticsIndexStateChanged, this, [&] {
            if (model.analyticsIndexState().isIndexing()) {
                disconnect(started);
                model.openRepository(notARepository.path());
            }
        });

    model.openRepository(repository->path());
    QVERIFY(settle(model));

    QVERIFY(model.errorMessage());
    QCOMPARE(model.repository()->path, repository->path());
    QVERIFY2(model.analyticsIndexState().isReady(),
             qPrintable(model.analyticsIndexState().message()));
    QCOMPARE(model.analyticsInsights()->totalCommits, 2);
}

void AppViewModelIndexTest::refreshingAnUnchangedRepositoryImportsNothing()
{
    const auto repository = smallRepository();
    ModelHarness harness;
    AppViewModel &model = harness.model();
    QVERIFY(openAndWait(model, repository->path()));
    QVERIFY(settle(model));
    QCOMPARE(model.analyticsIndexState().importedCommits(), 2);
    const RepositoryAnalyticsInsights before = *model.analyticsInsights();
    QStringList states;
    recordStates(model, this, states);
    QSignalSpy insights(&model, &AppViewModel::analyticsInsightsChanged);

    model.refresh();
    QVERIFY(settle(model));

    QCOMPARE(states, (QStringList {QStringLiteral("indexing"), QStringLiteral("ready 2 0")}));
    // Cleared when the run starts, the same insights again when it ends.
    QCOMPARE(insights.count(), 2);
    QCOMPARE(*model.analyticsInsights(), before);
}

void AppViewModelIndexTest::indexFolderThatCannotBeCreatedFailsButKeepsTheRepository()
{
    const auto repository = smallRepository();
    QTemporaryDir folder;
    const QString blocker = folder.filePath(QStringLiteral("not-a-folder"));
    QFile file(blocker);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.close();
    ModelHarness harness;
    AppViewModel &model = harness.model();
    model.setIndexBaseDirectory(blocker + QStringLiteral("/indexes"));

    QVERIFY(openAndWait(model, repository->path()));
    QVERIFY(settle(model));

    const AnalyticsIndexState state = model.analyticsIndexState();
    QVERIFY(state.isFailed());
    QVERIFY2(state.message().contains(blocker), qPrintable(state.message()));
    QCOMPARE(model.property("analyticsIndexState").value<AnalyticsIndexState>().message(),
             state.message());
    QVERIFY(!model.analyticsInsights());
    QVERIFY(!model.property("analyticsInsights").isValid());
    QVERIFY(!model.errorMessage());
    QCOMPARE(model.repository()->path, repository->path());
    QCOMPARE(model.commits().size(), 2);
}

STRATALOOM_MODEL_TEST_MAIN(AppViewModelIndexTest)
#include "AppViewModelIndexTest.moc"
