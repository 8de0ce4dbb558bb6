// Opening repositories through the model: what is published and in which order, newest-wins
// between loads, failures, empty repositories, the recents and refresh.
#include "ModelTestSupport.h"

#include <QDir>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

using namespace strataloom;

namespace {

/// A repository with two commits, a tag and a second branch.
std::unique_ptr<FixtureRepository> smallRepository(const QString &marker = QStringLiteral("a"))
{
    auto repository = std::make_unique<FixtureRepository>();
    repository->write(QStringLiteral("README.md"), "hello " + marker.toUtf8() + "\n");
    repository->commit(QStringLiteral("Start ") + marker);
    repository->write(QStringLiteral("src/main.cpp"), "int main() {}\n");
    repository->commit(QStringLiteral("Add main"), QStringLiteral("Grace Hopper"),
                       QStringLiteral("grace@example.com"));
    repository->git({QStringLiteral("tag"), QStringLiteral("v1.0")});
    repository->git({QStringLiteral("branch"), QStringLiteral("feature")});
    return repository;
}

} // namespace

class AppViewModelLoadingTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void startsFromTheStoresWithoutOpeningAnything();
    void openPublishesEverythingInOrderThenRemembersAndIndexes();
    void openingBBeforeAEndsPublishesOnlyB();
    void errorsOfASupersededLoadAreDropped();
    void failedOpenKeepsTheOldRepositoryAndShowsTheError();
    void emptyRepositoryPublishesNoCommitsAndNoSelection();
    void thirteenthRecentDropsTheOldest();
    void reopeningTheFirstRecentKeepsOneEntry();
    void refreshWithoutRepositoryDoesNothing();
    void refreshReloadsAndResetsTheSelection();
};

void AppViewModelLoadingTest::startsFromTheStoresWithoutOpeningAnything()
{
    ModelHarness harness;
    const QDateTime opened(QDate(2024, 5, 1), QTime(8, 0), Qt::UTC);
    const QList<RecentRepository> recents {
        {QStringLiteral("one"), QStringLiteral("/tmp/one"), opened},
        {QStringLiteral("two"), QStringLiteral("/tmp/two"), opened}};
    harness.recentStore().save(recents);
    const DiscoveredRepositoryCatalog catalog {
        {{QStringLiteral("three"), QStringLiteral("/tmp/three")}}, opened.addDays(1)};
    harness.discoveredStore().save(catalog);
    harness.restart();

    AppViewModel &model = harness.model();
    QCOMPARE(model.recentRepositories(), recents);
    QCOMPARE(model.discoveredRepositories(), catalog.repositories);
    QCOMPARE(model.repositoriesScannedAt(), std::optional(catalog.scannedAt));
    QCOMPARE(model.property("repositoriesScannedAt").toDateTime(), catalog.scannedAt);
    QVERIFY(!model.repository());
    QVERIFY(!model.property("repository").isValid());
    QCOMPARE(model.selectedSection(), AppViewModel::SidebarSection::Overview);
    QVERIFY(!model.isLoading());
    QVERIFY(!model.isScanningRepositories());
    QVERIFY(model.analyticsIndexState().isIdle());
    QCOMPARE(model.runningTaskCount(), 0);
    QCOMPARE(model.recentRepositoriesModel()->count(), 2);
    QCOMPARE(model.recentRepositoriesModel()->get(1).value(QStringLiteral("path")).toString(),
             QStringLiteral("/tmp/two"));
}

void AppViewModelLoadingTest::openPublishesEverythingInOrderThenRemembersAndIndexes()
{
    const auto repository = smallRepository();
    ModelHarness harness;
    AppViewModel &model = harness.model();
    SignalOrder order(model);
    QStringList firedUntilLoaded;
    connect(&model, &AppViewModel::isLoadingChanged, this, [&] {
        if (!model.isLoading())
            firedUntilLoaded = order.fired;
    });

    QVERIFY(openAndWait(model, repository->path()));

    // The activity of the last twelve months depends on today's date; leave it out.
    firedUntilLoaded.removeAll(QStringLiteral("activity"));
    const QStringList expected {
        QStringLiteral("isLoading"),
        QStringLiteral("repository"),
        QStringLiteral("commits"),
        QStringLiteral("branches"),
        QStringLiteral("tags"),
        QStringLiteral("files"),
        QStringLiteral("authorStats"),
        QStringLiteral("graphCommits"),
        QStringLiteral("selectedCommit"),
        QStringLiteral("recentRepositories"),
        QStringLiteral("analyticsIndexState"),
        QStringLiteral("isLoading"),
    };
    QCOMPARE(firedUntilLoaded, expected);

    QVERIFY(model.repository());
    QCOMPARE(model.repository()->path, repository->path());
    QCOMPARE(model.repository()->commitCount, 2);
    QCOMPARE(model.property("repository").toMap().value(QStringLiteral("path")).toString(),
             repository->path());
    QCOMPARE(model.commits().size(), 2);
    QCOMPARE(model.commits().constFirst().subject, QStringLiteral("Add main"));
    QCOMPARE(model.selectedCommit(), std::optional(model.commits().constFirst()));
    QCOMPARE(model.property("selectedCommit").toMap(), model.commitsModel()->get(0));
    QVERIFY(model.commitChanges().isEmpty());
    QCOMPARE(model.branches().size(), 2);
    QCOMPARE(model.tags().size(), 1);
    QCOMPARE(model.files().size(), 2);
    QCOMPARE(model.authorStats().size(), 2);
    QVERIFY(!model.graphCommits().isEmpty());
    QVERIFY(!model.errorMessage());
    QVERIFY(model.analyticsIndexState().isIndexing());

    QCOMPARE(model.recentRepositories().size(), 1);
    QCOMPARE(model.recentRepositories().constFirst().path, repository->path());
    QCOMPARE(model.recentRepositories().constFirst().name, model.repository()->name);
    QCOMPARE(harness.recentStore().load(), model.recentRepositories());

    QVERIFY(QTest::qWaitFor([&] { return model.analyticsIndexState().isReady(); }, 60000));
    QCOMPARE(model.analyticsIndexState().indexedCommits(), 2);
    QCOMPARE(model.analyticsIndexState().importedCommits(), 2);
    QVERIFY(model.analyticsInsights());
    QCOMPARE(model.analyticsInsights()->totalCommits, 2);
    QCOMPARE(model.property("analyticsInsights").toMap().value(QStringLiteral("totalCommits")),
             QVariant(qint64(2)));
    // The insights are written before the state that announces them.
    const qsizetype insights = order.fired.lastIndexOf(QStringLiteral("analyticsInsights"));
    const qsizetype ready = order.fired.lastIndexOf(QStringLiteral("analyticsIndexState"));
    QVERIFY(insights >= 0 && insights < ready);
}

void AppViewModelLoadingTest::openingBBeforeAEndsPublishesOnlyB()
{
    const auto first = smallRepository(QStringLiteral("a"));
    const auto second = smallRepository(QStringLiteral("b"));
    ModelHarness harness;
    AppViewModel &model = harness.model();
    QSignalSpy published(&model, &AppViewModel::repositoryChanged);
    QSignalSpy loading(&model, &AppViewModel::isLoadingChanged);
    std::optional<RepositorySummary> shownWhenLoadingEnded;
    connect(&model, &AppViewModel::isLoadingChanged, this, [&] {
        if (!model.isLoading())
            shownWhenLoadingEnded = model.repository();
    });

    model.openRepository(first->path());
    model.openRepository(second->path());
    QVERIFY(settle(model));

    QCOMPARE(published.count(), 1);
    QCOMPARE(model.repository()->path, second->path());
    QCOMPARE(loading.count(), 2);
    QVERIFY(!model.isLoading());
    QVERIFY(shownWhenLoadingEnded);
    QCOMPARE(shownWhenLoadingEnded->path, second->path());
    QCOMPARE(model.commits().constLast().subject, QStringLiteral("Start b"));
    // The superseded load was never remembered nor indexed.
    QCOMPARE(model.recentRepositories().size(), 1);
    QCOMPARE(model.recentRepositories().constFirst().path, second->path());
    QVERIFY(model.analyticsIndexState().isReady());
}

void AppViewModelLoadingTest::errorsOfASupersededLoadAreDropped()
{
    QTemporaryDir notARepository;
    const auto repository = smallRepository();
    ModelHarness harness;
    AppViewModel &model = harness.model();
    QSignalSpy errors(&model, &AppViewModel::errorMessageChanged);

    model.openRepository(notARepository.path());
    model.openRepository(repository->path());
    QVERIFY(settle(model));

    QCOMPARE(errors.count(), 0);
    QVERIFY(!model.errorMessage());
    QCOMPARE(model.repository()->path, repository->path());
    QVERIFY(!model.isLoading());
}

void AppViewModelLoadingTest::failedOpenKeepsTheOldRepositoryAndShowsTheError()
{
    QTemporaryDir notARepository;
    const auto repository = smallRepository();
    ModelHarness harness;
    AppViewModel &model = harness.model();
    QVERIFY(openAndWait(model, repository->path()));
    QVERIFY(settle(model));
    const QList<CommitRecord> commits = model.commits();
    const QList<RecentRepository> recents = model.recentRepositories();
    const AnalyticsIndexState indexState = model.analyticsIndexState();
    QSignalSpy published(&model, &AppViewModel::repositoryChanged);
    QSignalSpy commitsChanged(&model, &AppViewModel::commitsChanged);

    QVERIFY(openAndWait(model, notARepository.path()));

    // Every loader fails on a plain folder; the summary's error is the one reported.
    QString summaryError;
    try {
        GitService().loadSummary(notARepository.path());
    } catch (const GitError &error) {
        summaryError = error.description();
    }
    QVERIFY(!summaryError.isEmpty());
    QCOMPARE(model.errorMessage().value_or(QString()), summaryError);
    QCOMPARE(model.property("errorMessage").toString(), *model.errorMessage());
    QCOMPARE(model.repository()->path, repository->path());
    QCOMPARE(model.commits(), commits);
    QCOMPARE(model.recentRepositories(), recents);
    QCOMPARE(model.analyticsIndexState(), indexState);
    QCOMPARE(published.count(), 0);
    QCOMPARE(commitsChanged.count(), 0);
    QVERIFY(!model.isLoading());

    // Closing the alert clears the message; the next open clears it as well.
    model.setProperty("errorMessage", QString());
    QVERIFY(!model.errorMessage());
}

void AppViewModelLoadingTest::emptyRepositoryPublishesNoCommitsAndNoSelection()
{
    FixtureRepository empty;
    ModelHarness harness;
    AppViewModel &model = harness.model();

    QVERIFY(openAndWait(model, empty.path()));

    QVERIFY(!model.errorMessage());
    QVERIFY(model.repository());
    QCOMPARE(model.repository()->commitCount, 0);
    QVERIFY(model.commits().isEmpty());
    QVERIFY(model.branches().isEmpty());
    QVERIFY(!model.selectedCommit());
    QVERIFY(!model.property("selectedCommit").isValid());
    QCOMPARE(model.recentRepositories().size(), 1);
    QVERIFY(QTest::qWaitFor([&] { return !model.analyticsIndexState().isIndexing(); }, 60000));
    QVERIFY2(model.analyticsIndexState().isReady(),
             qPrintable(model.analyticsIndexState().message()));
    QCOMPARE(model.analyticsIndexState().indexedCommits(), 0);
}

void AppViewModelLoadingTest::thirteenthRecentDropsTheOldest()
{
    std::vector<std::unique_ptr<FixtureRepository>> repositories;
    for (int i = 0; i < 13; ++i) {
        repositories.push_back(std::make_unique<FixtureRepository>());
        repositories.back()->write(QStringLiteral("file.txt"), QByteArray::number(i));
        repositories.back()->commit(QStringLiteral("Commit %1").arg(i));
    }
    ModelHarness harness;
    AppViewModel &model = harness.model();
    for (const auto &repository : repositories)
        QVERIFY(openAndWait(model, repository->path()));

    QCOMPARE(model.recentRepositories().size(), 12);
    QCOMPARE(model.recentRepositoriesModel()->count(), 12);
    for (int i = 0; i < 12; ++i)
        QCOMPARE(model.recentRepositories().at(i).path, repositories.at(12 - i)->path());
    QCOMPARE(harness.recentStore().load(), model.recentRepositories());
}

void AppViewModelLoadingTest::reopeningTheFirstRecentKeepsOneEntry()
{
    const auto first = smallRepository(QStringLiteral("a"));
    const auto second = smallRepository(QStringLiteral("b"));
    ModelHarness harness;
    AppViewModel &model = harness.model();
    QVERIFY(openAndWait(model, first->path()));
    QVERIFY(openAndWait(model, second->path()));
    const QDateTime before = model.recentRepositories().constFirst().lastOpened;
    QTest::qWait(5);

    QVERIFY(openAndWait(model, second->path() + QStringLiteral("/")));

    QCOMPARE(model.recentRepositories().size(), 2);
    QCOMPARE(model.recentRepositories().at(0).path, second->path());
    QCOMPARE(model.recentRepositories().at(1).path, first->path());
    QVERIFY(model.recentRepositories().at(0).lastOpened > before);
}

void AppViewModelLoadingTest::refreshWithoutRepositoryDoesNothing()
{
    ModelHarness harness;
    AppViewModel &model = harness.model();
    QSignalSpy loading(&model, &AppViewModel::isLoadingChanged);

    model.refresh();

    QCOMPARE(loading.count(), 0);
    QCOMPARE(model.runningTaskCount(), 0);
    QVERIFY(!model.isLoading());
}

void AppViewModelLoadingTest::refreshReloadsAndResetsTheSelection()
{
    const auto repository = smallRepository();
    ModelHarness harness;
    AppViewModel &model = harness.model();
    QVERIFY(openAndWait(model, repository->path()));
    model.setSelectedSection(AppViewModel::SidebarSection::Branches);
    model.selectCommit(model.commits().constLast());
    model.selectFile(model.files().constFirst());
    model.setSearchText(QStringLiteral("main"));
    QVERIFY(settle(model));
    repository->write(QStringLiteral("NEWS"), "news\n");
    const QString newest = repository->commit(QStringLiteral("Add news"));

    model.refresh();
    QVERIFY(model.isLoading());
    QVERIFY(settle(model));

    QCOMPARE(model.commits().size(), 3);
    QCOMPARE(model.selectedCommit()->id, newest);
    QCOMPARE(model.selectedSection(), AppViewModel::SidebarSection::Overview);
    QVERIFY(!model.selectedFile());
    QVERIFY(!model.selectedFileDetails());
    QVERIFY(model.commitChanges().isEmpty());
    QCOMPARE(model.searchText(), QStringLiteral("main"));
    QCOMPARE(model.analyticsIndexState().importedCommits(), 1);
}

STRATALOOM_MODEL_TEST_MAIN(AppViewModelLoadingTest)
#include "AppViewModelLoadingTest.moc"
