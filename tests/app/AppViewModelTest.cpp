// The analytics index controller on its own, and the model that wires the rooms together: what
// a published load sets off in every room, where failures end, the jumps from the insights.
#include "ModelTestSupport.h"

#include "git/GitService.h"
#include "index/RepositoryIndex.h"

#include <QFile>
#include <QLocale>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <limits>

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

RepositorySummary summaryAt(const QString &path)
{
    RepositorySummary summary;
    summary.path = path;
    return summary;
}

/// Every value analyticsIndexState takes, as "kind commits imported"; progress while indexing
/// counts as one "indexing".
void recordStates(AnalyticsIndexController &index, QObject *context, QStringList &states)
{
    QObject::connect(&index, &AnalyticsIndexController::analyticsIndexStateChanged, context, [&] {
        const AnalyticsIndexState state = index.analyticsIndexState();
        if (state.isIndexing()) {
            if (states.isEmpty() || states.constLast() != QStringLiteral("indexing"))
                states << QStringLiteral("indexing");
        } else if (state.isReady()) {
            states << QStringLiteral("ready %1 %2")
                          .arg(state.indexedCommits())
                          .arg(state.importedCommits());
        } else {
            states << (state.isFailed() ? QStringLiteral("failed") : QStringLiteral("idle"));
        }
    });
}

} // namespace

class AppViewModelTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();

    void aNewRunCancelsTheOldOne();
    void runningAgainOnAnUnchangedRepositoryImportsNothing();
    void indexFolderThatCannotBeCreatedFails();
    void firstBuildShowsItsProgressThenReady();
    void timeLeftIsEstimatedAfterTheFirstSeconds_data();
    void timeLeftIsEstimatedAfterTheFirstSeconds();
    void progressCountsUseTheLocale();

    void openSetsOffEveryRoomInOrder();
    void failedOpenKeepsEverythingAndShowsTheError();
    void failedOpenLetsTheShownRepositoryFinishIndexing();
    void catalogChoiceOpensInTheSession();
    void insightJumpsNeedAnExactMatch_data();
    void insightJumpsNeedAnExactMatch();

private:
    std::unique_ptr<FixtureRepository> m_longHistory;
};

void AppViewModelTest::initTestCase()
{
    m_longHistory = std::make_unique<FixtureRepository>();
    m_longHistory->importHistory(20000);
}

void AppViewModelTest::aNewRunCancelsTheOldOne()
{
    const auto small = smallRepository();
    AnalyticsIndexController index;
    QStringList states;
    recordStates(index, this, states);
    QSignalSpy insights(&index, &AnalyticsIndexController::analyticsInsightsChanged);

    index.start(summaryAt(m_longHistory->path()));
    QTest::qWait(50);
    index.start(summaryAt(small->path()));
    QVERIFY(settle(index));

    // The long history's run wrote nothing: no state of its own, no insights.
    QCOMPARE(states, (QStringList {"indexing", "ready 2 2"}));
    QCOMPARE(insights.count(), 1);
    QCOMPARE(index.analyticsInsights()->totalCommits, 2);
    QCOMPARE(index.property("analyticsInsights").toMap().value("totalCommits"),
             QVariant(qint64(2)));
    // The cancellation reached the indexer, which rolled its import back.
    RepositoryIndex stored(
        RepositoryIndexLocation::databasePath(GitService().commonDirectory(m_longHistory->path())));
    QCOMPARE(stored.snapshot().commits, 0);
}

void AppViewModelTest::runningAgainOnAnUnchangedRepositoryImportsNothing()
{
    const auto repository = smallRepository();
    AnalyticsIndexController index;
    index.start(summaryAt(repository->path()));
    QVERIFY(settle(index));
    const RepositoryAnalyticsInsights before = *index.analyticsInsights();
    QStringList states;
    recordStates(index, this, states);
    QSignalSpy insights(&index, &AnalyticsIndexController::analyticsInsightsChanged);

    index.start(summaryAt(repository->path()));
    QVERIFY(settle(index));

    QCOMPARE(states, (QStringList {"indexing", "ready 2 0"}));
    // Cleared when the run starts, the same insights again when it ends.
    QCOMPARE(insights.count(), 2);
    QCOMPARE(*index.analyticsInsights(), before);
}

void AppViewModelTest::indexFolderThatCannotBeCreatedFails()
{
    const auto repository = smallRepository();
    QTemporaryDir folder;
    const QString blocker = folder.filePath(QStringLiteral("not-a-folder"));
    QFile file(blocker);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.close();
    AnalyticsIndexController index;
    index.setIndexBaseDirectory(blocker + QStringLiteral("/indexes"));

    index.start(summaryAt(repository->path()));
    QVERIFY(settle(index));

    const auto state = index.property("analyticsIndexState").value<AnalyticsIndexState>();
    QVERIFY(state.isFailed());
    QVERIFY2(state.message().contains(blocker), qPrintable(state.message()));
    QVERIFY(!index.analyticsInsights());
    QVERIFY(!index.property("analyticsInsights").isValid());
}

void AppViewModelTest::firstBuildShowsItsProgressThenReady()
{
    QTemporaryDir indexes;
    AnalyticsIndexController index;
    index.setIndexBaseDirectory(indexes.path());
    index.setProgressInterval(20);
    QList<AnalyticsIndexState> states;
    connect(&index, &AnalyticsIndexController::analyticsIndexStateChanged, this,
            [&] { states << index.analyticsIndexState(); });

    index.start(summaryAt(m_longHistory->path()));
    QVERIFY(settle(index));

    QVERIFY2(index.analyticsIndexState().isReady(), qPrintable(index.analyticsIndexState().message()));
    QCOMPARE(index.analyticsIndexState().indexedCommits(), 20000);
    // n of N: the whole history as the total, counts that only grow, then ready.
    qint64 previous = 0;
    int updates = 0;
    for (const AnalyticsIndexState &state : std::as_const(states)) {
        if (!state.isIndexing() || state.progressTotal() == 0)
            continue;
        ++updates;
        QCOMPARE(state.progressTotal(), qint64(20000));
        QVERIFY(state.progressCommits() >= previous);
        QVERIFY(state.progressCommits() <= state.progressTotal());
        previous = state.progressCommits();
    }
    QVERIFY(updates >= 2);
    QVERIFY(previous > 0);
    QVERIFY(states.constLast().isReady());
}

void AppViewModelTest::timeLeftIsEstimatedAfterTheFirstSeconds_data()
{
    QTest::addColumn<qint64>("done");
    QTest::addColumn<qint64>("elapsed");
    QTest::addColumn<qint64>("remaining");
    QTest::addColumn<int>("secondsLeft"); // -1: no estimate

    QTest::newRow("first seconds") << qint64(5000) << qint64(2999) << qint64(5000) << -1;
    QTest::newRow("nothing done yet") << qint64(0) << qint64(10000) << qint64(5000) << -1;
    QTest::newRow("same pace") << qint64(1000) << qint64(4000) << qint64(3000) << 12;
    QTest::newRow("rounded up") << qint64(3000) << qint64(4000) << qint64(1) << 1;
    QTest::newRow("finished") << qint64(3000) << qint64(4000) << qint64(0) << 0;
    QTest::newRow("days of work") << qint64(1) << qint64(3600000) << qint64(1000000)
                                  << std::numeric_limits<int>::max();
}

void AppViewModelTest::timeLeftIsEstimatedAfterTheFirstSeconds()
{
    QFETCH(qint64, done);
    QFETCH(qint64, elapsed);
    QFETCH(qint64, remaining);
    QFETCH(int, secondsLeft);
    QCOMPARE(secondsLeftEstimate(done, elapsed, remaining).value_or(-1), secondsLeft);
    // The state keeps an estimate only once the total is known.
    QCOMPARE(AnalyticsIndexState::indexing(0, 0, secondsLeft).secondsLeft(), -1);
    QCOMPARE(AnalyticsIndexState::indexing(1, 2, secondsLeft).timeLeftText().isEmpty(),
             secondsLeft < 0);
}

void AppViewModelTest::progressCountsUseTheLocale()
{
    const QLocale previous;
    for (const QLocale::Language language : {QLocale::English, QLocale::German}) {
        QLocale::setDefault(QLocale(language));
        const QString text = AnalyticsIndexState::indexing(12345, 85361).progressText();
        QVERIFY2(text.contains(QLocale().toString(12345)) && text.contains(QLocale().toString(85361)),
                 qPrintable(text));
    }
    QLocale::setDefault(previous);
    QVERIFY(AnalyticsIndexState::indexing().progressText().isEmpty());
    // Counts beyond the total are clamped: an import never shows more than all.
    QCOMPARE(AnalyticsIndexState::indexing(7, 5).progressCommits(), qint64(5));
}

void AppViewModelTest::openSetsOffEveryRoomInOrder()
{
    const auto repository = smallRepository();
    ModelHarness harness;
    AppViewModel &model = harness.model();
    QVERIFY(openAndWait(model, repository->path()));
    QVERIFY(settle(model));
    model.setSelectedSection(AppViewModel::SidebarSection::Branches);
    harness.selection().selectFile(harness.session().files().constFirst());
    model.setErrorMessage(QStringLiteral("an old alert"));
    QVERIFY(settle(model));
    SignalOrder order({&model, &harness.session(), &harness.selection(), &harness.catalog(),
                       &harness.analytics()});

    model.session()->refresh();
    QVERIFY(settle(model));

    order.fired.removeAll(QStringLiteral("activity"));
    // Nothing but the recents' dates changed in the repository: the lists stay as they were.
    QCOMPARE(order.fired,
             (QStringList {"isLoading", "errorMessage", "selectedFile", "selectedFileDetails",
                           "selectedSection", "recentRepositories", "analyticsIndexState",
                           "analyticsInsights", "isLoading", "analyticsInsights",
                           "analyticsIndexState"}));
    QVERIFY(!model.errorMessage());
    QCOMPARE(model.selectedSection(), AppViewModel::SidebarSection::Overview);
    QCOMPARE(harness.selection().selectedCommit(),
             std::optional(harness.session().commits().constFirst()));
    QCOMPARE(harness.recentStore().load(), harness.catalog().recentRepositories());
    QCOMPARE(harness.catalog().recentRepositories().constFirst().path, repository->path());
    QVERIFY(harness.analytics().analyticsIndexState().isReady());
}

void AppViewModelTest::failedOpenKeepsEverythingAndShowsTheError()
{
    QTemporaryDir notARepository;
    const auto repository = smallRepository();
    ModelHarness harness;
    AppViewModel &model = harness.model();
    QVERIFY(openAndWait(model, repository->path()));
    QVERIFY(settle(model));
    const QList<RecentRepository> recents = harness.catalog().recentRepositories();
    const AnalyticsIndexState state = harness.analytics().analyticsIndexState();

    QVERIFY(openAndWait(model, notARepository.path()));
    QVERIFY(settle(model));

    QVERIFY(model.property("errorMessage").toString().startsWith(QStringLiteral("fatal:")));
    QCOMPARE(harness.session().repository()->path, repository->path());
    QCOMPARE(harness.catalog().recentRepositories(), recents);
    QCOMPARE(harness.analytics().analyticsIndexState(), state);

    // Closing the alert clears it; so does the next open.
    model.setProperty("errorMessage", QString());
    QVERIFY(!model.errorMessage());
    model.setErrorMessage(QStringLiteral("x"));
    model.session()->refresh();
    QVERIFY(!model.errorMessage());
    QVERIFY(settle(model));
}

void AppViewModelTest::failedOpenLetsTheShownRepositoryFinishIndexing()
{
    const auto repository = smallRepository();
    QTemporaryDir notARepository;
    ModelHarness harness;
    AppViewModel &model = harness.model();
    // The failing open starts while the first repository's index task runs.
    QMetaObject::Connection started;
    started = connect(harness.model().analytics(),
                      &AnalyticsIndexController::analyticsIndexStateChanged, this, [&] {
                          if (harness.analytics().analyticsIndexState().isIndexing()) {
                              disconnect(started);
                              model.session()->openRepository(notARepository.path());
                          }
                      });

    model.session()->openRepository(repository->path());
    QVERIFY(settle(model));

    QVERIFY(model.errorMessage());
    QCOMPARE(harness.session().repository()->path, repository->path());
    QVERIFY2(harness.analytics().analyticsIndexState().isReady(),
             qPrintable(harness.analytics().analyticsIndexState().message()));
}

void AppViewModelTest::catalogChoiceOpensInTheSession()
{
    const auto repository = smallRepository();
    ModelHarness harness;
    harness.recentStore().save({{QStringLiteral("old name"), repository->path(),
                                 QDateTime(QDate(2020, 1, 1), QTime(0, 0), Qt::UTC)},
                                {QStringLiteral("gone"), QStringLiteral("/nonexistent/gone"),
                                 QDateTime(QDate(2020, 1, 1), QTime(0, 0), Qt::UTC)}});
    harness.restart();
    AppViewModel &model = harness.model();

    harness.catalog().openRecentRepository(harness.catalog().recentRepositories().at(1));
    QVERIFY(model.errorMessage()->contains(QStringLiteral("/nonexistent/gone")));
    QVERIFY(!harness.session().isLoading());

    harness.catalog().openRecentRepository(harness.catalog().recentRepositoriesModel()->get(0));
    QVERIFY(harness.session().isLoading());
    QVERIFY(!model.errorMessage());
    QVERIFY(settle(model));
    QCOMPARE(harness.session().repository()->path, repository->path());
    QCOMPARE(harness.catalog().recentRepositories().constFirst().name,
             harness.session().repository()->name);
    QVERIFY(harness.catalog().recentRepositories().constFirst().lastOpened.date().year() > 2020);
}

void AppViewModelTest::insightJumpsNeedAnExactMatch_data()
{
    QTest::addColumn<bool>("author");
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("section");
    QTest::newRow("author") << true << "Grace Hopper"
                            << int(AppViewModel::SidebarSection::Statistics);
    QTest::newRow("author in other case") << true << "grace hopper" << -1;
    QTest::newRow("file") << false << "b.txt" << int(AppViewModel::SidebarSection::Files);
    QTest::newRow("file no longer there") << false << "gone.txt" << -1;
}

void AppViewModelTest::insightJumpsNeedAnExactMatch()
{
    QFETCH(bool, author);
    QFETCH(QString, name);
    QFETCH(int, section);
    const auto repository = smallRepository();
    ModelHarness harness;
    AppViewModel &model = harness.model();
    QVERIFY(openAndWait(model, repository->path()));
    QVERIFY(settle(model));

    if (author)
        model.openInsightAuthor(name);
    else
        model.openInsightFile(name);
    QVERIFY(settle(model));

    const RepositorySelection &selection = harness.selection();
    if (section < 0) {
        QVERIFY(model.errorMessage());
        QCOMPARE(model.selectedSection(), AppViewModel::SidebarSection::Overview);
        QVERIFY(!selection.selectedAuthor() && !selection.selectedFile());
    } else {
        QVERIFY(!model.errorMessage());
        QCOMPARE(int(model.selectedSection()), section);
        if (author)
            QCOMPARE(selection.selectedAuthorDetails()->name, name);
        else
            QCOMPARE(selection.selectedFileDetails()->path, name);
    }
}

STRATALOOM_MODEL_TEST_MAIN(AppViewModelTest)
#include "AppViewModelTest.moc"
