// The analytics index controller on its own, and the model that wires the rooms together: what
// a published load sets off in every room, where failures end, the jumps from the insights.
#include "ModelTestSupport.h"

#include "git/GitService.h"
#include "index/RepositoryIndex.h"

#include <QFile>
#include <QTemporaryDir>

#include <algorithm>
#include <limits>

using namespace strataloom;

namespace {

std::unique_ptr<FixtureRepository> smallRepository()
{
    auto repository = std::make_unique<FixtureRepository>();
    repository->write("a.txt", "a\n");
    repository->commit("feat: first");
    repository->write("b.txt", "b\n");
    repository->commit("fix: second", "Grace Hopper", "grace@example.com");
    return repository;
}

} // namespace

class AppViewModelTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aNewRunCancelsTheOldOne()
    {
        FixtureRepository longHistory;
        longHistory.importHistory(20000);
        const auto small = smallRepository();
        QList<AnalyticsIndexState> states;
        AnalyticsIndexController index;
        connect(&index, &AnalyticsIndexController::analyticsIndexStateChanged, this,
                [&] { states << index.analyticsIndexState(); });
        QSignalSpy insights(&index, &AnalyticsIndexController::analyticsInsightsChanged);

        const QString database = RepositoryIndexLocation::databasePath(
            GitService().commonDirectory(longHistory.path()));
        index.start(summaryAt(longHistory.path()));
        // Once its database exists the long run is importing: only the indexer can stop it now.
        QVERIFY(QTest::qWaitFor([&] { return QFile::exists(database); }, 60000));
        index.start(summaryAt(small->path()));
        QVERIFY(settle(index));

        // The long history's run wrote nothing: no state of its own, no insights.
        QVERIFY(!states.isEmpty());
        QVERIFY(std::all_of(states.cbegin(), states.cend() - 1,
                            [](const AnalyticsIndexState &state) { return state.isIndexing(); }));
        QVERIFY(states.constLast().isReady());
        QCOMPARE(states.constLast().indexedCommits(), 2);
        QCOMPARE(states.constLast().importedCommits(), qint64(2));
        QCOMPARE(insights.count(), 1);
        QCOMPARE(index.analyticsInsights()->totalCommits, 2);
        // The cancellation reached the indexer, which rolled its import back.
        QCOMPARE(RepositoryIndex(database).snapshot().commits, 0);
    }

    void indexFolderThatCannotBeCreatedFails()
    {
        const auto repository = smallRepository();
        QTemporaryDir folder;
        const QString blocker = folder.filePath(QStringLiteral("not-a-folder"));
        QVERIFY(QFile(blocker).open(QIODevice::WriteOnly));
        AnalyticsIndexController index;
        index.setIndexBaseDirectory(blocker + QStringLiteral("/indexes"));

        index.start(summaryAt(repository->path()));
        QVERIFY(settle(index));

        QVERIFY(index.analyticsIndexState().isFailed());
        QVERIFY2(index.analyticsIndexState().message().contains(blocker),
                 qPrintable(index.analyticsIndexState().message()));
        QVERIFY(!index.analyticsInsights());
    }

    void openSetsOffEveryRoomInOrder()
    {
        const auto repository = smallRepository();
        ModelHarness harness;
        AppViewModel &model = harness.model();
        QVERIFY(openAndSettle(model, repository->path()));
        model.setSelectedSection(AppViewModel::SidebarSection::Branches);
        harness.selection().selectFile(harness.session().files().constFirst());
        model.setErrorMessage(QStringLiteral("an old alert"));
        QVERIFY(settle(model));
        const RepositoryAnalyticsInsights insights = *harness.analytics().analyticsInsights();
        SignalOrder order({&model, &harness.session(), &harness.selection(), &harness.catalog(),
                           &harness.analytics()});

        model.session()->refresh();
        QVERIFY(settle(model));

        order.fired.removeAll(QStringLiteral("activity"));
        // Nothing but the recents' dates changed in the repository: the lists stay as they were.
        QCOMPARE(order.fired,
                 (QStringList {"isLoading", "errorMessage", "selectedFile", "selectedFileDetails",
                               "selectedSection", "recentRepositories", "analyticsIndexState",
                               "analyticsInsights", "peopleCount", "isLoading", "analyticsInsights",
                               "peopleCount", "analyticsIndexState"}));
        QCOMPARE(harness.selection().selectedCommit(),
                 std::optional(harness.session().commits().constFirst()));
        QCOMPARE(harness.recentStore().load(), harness.catalog().recentRepositories());
        QCOMPARE(harness.catalog().recentRepositories().constFirst().path, repository->path());
        // The index run found nothing new and published the same insights again.
        QVERIFY(harness.analytics().analyticsIndexState().isReady());
        QCOMPARE(harness.analytics().analyticsIndexState().importedCommits(), 0);
        QCOMPARE(*harness.analytics().analyticsInsights(), insights);
    }

    void failedOpenKeepsEverythingAndLetsTheShownRepositoryFinishIndexing()
    {
        const auto repository = smallRepository();
        QTemporaryDir notARepository;
        ModelHarness harness;
        AppViewModel &model = harness.model();
        // The failing open starts while the first repository's index task runs.
        QMetaObject::Connection started;
        started = connect(model.analytics(), &AnalyticsIndexController::analyticsIndexStateChanged,
                          this, [&] {
                              if (harness.analytics().analyticsIndexState().isIndexing()) {
                                  disconnect(started);
                                  model.session()->openRepository(notARepository.path());
                              }
                          });

        model.session()->openRepository(repository->path());
        QVERIFY(settle(model));

        QVERIFY(model.errorMessage()->startsWith(QStringLiteral("fatal:")));
        QCOMPARE(harness.session().repository()->path, repository->path());
        QCOMPARE(harness.catalog().recentRepositories().size(), 1);
        QVERIFY2(harness.analytics().analyticsIndexState().isReady(),
                 qPrintable(harness.analytics().analyticsIndexState().message()));
        // The next open clears the alert.
        model.session()->refresh();
        QVERIFY(!model.errorMessage());
        QVERIFY(settle(model));
    }

    void historyAndInspectorReadAuthorsAsTheInsightsDo()
    {
        const auto repository = smallRepository();
        ModelHarness harness;
        AppViewModel &model = harness.model();
        QVERIFY(openAndSettle(model, repository->path()));
        const auto merging = [&] {
            return QList<bool> {harness.selection().mergesIdentities(),
                                model.history()->mergesIdentities(),
                                model.historySearch()->mergesIdentities()};
        };
        QCOMPARE(merging(), QList<bool>(3, true));
        harness.analytics().setInsightOption("asRecorded", true);
        QCOMPARE(merging(), QList<bool>(3, false));
        QVERIFY(settle(model));
    }

    // An author named by the insights opens only on an exact match (files: see the selection's
    // test, which opens renamed and deleted ones).
    // An author named by the insights opens only on an exact match (files: see the selection's
    // test, which opens renamed and deleted ones).
    void insightAuthorJumpsNeedAnExactMatch()
    {
        const auto repository = smallRepository();
        ModelHarness harness;
        AppViewModel &model = harness.model();
        QVERIFY(openAndSettle(model, repository->path()));
        const std::pair<QString, bool> jumps[] = {{"grace hopper", false}, {"Grace Hopper", true}};
        for (const auto &[name, opens] : jumps) {
            model.setErrorMessage(std::nullopt);
            model.openInsightAuthor(name);
            QVERIFY(settle(model));
            QCOMPARE(bool(model.errorMessage()), !opens);
            QCOMPARE(model.selectedSection(), opens ? AppViewModel::SidebarSection::Statistics
                                                    : AppViewModel::SidebarSection::Overview);
            if (opens)
                QCOMPARE(harness.selection().selectedAuthorDetails()->name, name);
            else
                QVERIFY(!harness.selection().selectedAuthor());
        }
    }

    void firstBuildShowsItsProgressThenReady()
    {
        FixtureRepository longHistory;
        longHistory.importHistory(20000);
        QTemporaryDir indexes;
        QList<AnalyticsIndexState> states;
        AnalyticsIndexController index;
        index.setIndexBaseDirectory(indexes.path());
        index.setProgressInterval(20);
        connect(&index, &AnalyticsIndexController::analyticsIndexStateChanged, this,
                [&] { states << index.analyticsIndexState(); });

        index.start(summaryAt(longHistory.path()));
        QVERIFY(settle(index));

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
        QVERIFY(updates >= 2 && previous > 0);
        QVERIFY(states.constLast().isReady());
    }

    void timeLeftIsEstimatedAfterTheFirstSeconds()
    {
        // Commits done, milliseconds spent, commits left, the seconds left (-1: no estimate).
        const std::tuple<qint64, qint64, qint64, int> cases[] = {
            {5000, 2999, 5000, -1}, // the first seconds
            {0, 10000, 5000, -1}, // nothing done yet
            {1000, 4000, 3000, 12}, // the same pace
            {3000, 4000, 1, 1}, // rounded up
            {3000, 4000, 0, 0}, // finished
            {1, 3600000, 1000000, std::numeric_limits<int>::max()}, // days of work
        };
        for (const auto &[done, elapsed, remaining, secondsLeft] : cases) {
            QCOMPARE(secondsLeftEstimate(done, elapsed, remaining).value_or(-1), secondsLeft);
            // The state keeps an estimate only once the total is known.
            QCOMPARE(AnalyticsIndexState::indexing(0, 0, secondsLeft).secondsLeft(), -1);
            QCOMPARE(AnalyticsIndexState::indexing(1, 2, secondsLeft).timeLeftText().isEmpty(),
                     secondsLeft < 0);
        }
    }
};

STRATALOOM_MODEL_TEST_MAIN(AppViewModelTest)
#include "AppViewModelTest.moc"
