// Recent and discovered repositories through the model: the home scan and its publishing,
// opening entries whose folder is gone, removing and clearing recents.
#include "ModelTestSupport.h"

#include <QDir>
#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

using namespace strataloom;

namespace {

void makeFolder(const QString &path)
{
    QVERIFY(QDir().mkpath(path));
}

void initRepository(const QString &path, bool bare = false)
{
    makeFolder(path);
    FixtureRepository existing(path);
    QStringList arguments {QStringLiteral("init"), QStringLiteral("-q")};
    if (bare)
        arguments << QStringLiteral("--bare");
    existing.git(arguments);
}

QStringList names(const QList<DiscoveredRepository> &repositories)
{
    QStringList result;
    for (const DiscoveredRepository &repository : repositories)
        result << repository.name;
    return result;
}

} // namespace

class AppViewModelRepositoriesTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void homeScanPublishesTheSortedRepositoriesAndSavesThem();
    void homeThatIsARepositoryIsTheOnlyEntry();
    void twoScansInARowPublishOnlyTheSecond();
    void openingADeletedRecentShowsItsMessage();
    void openingADeletedDiscoveredRepositoryShowsItsMessage();
    void openingAnExistingRecentOpensIt();
    void removingARecentSavesTheRest();
    void clearingTheRecentsSavesAnEmptyList();
};

void AppViewModelRepositoriesTest::homeScanPublishesTheSortedRepositoriesAndSavesThem()
{
    QTemporaryDir home;
    const QString root = home.path();
    initRepository(root + QStringLiteral("/code/repo10"));
    initRepository(root + QStringLiteral("/code/repo2"));
    initRepository(root + QStringLiteral("/code/Library/foo"));
    initRepository(root + QStringLiteral("/Library/hidden"));
    initRepository(root + QStringLiteral("/outer"));
    initRepository(root + QStringLiteral("/outer/inner"));
    initRepository(root + QStringLiteral("/bare.git"), true);
    initRepository(root + QStringLiteral("/web/node_modules/dependency"));
    // HEAD without refs/ is not a repository, so the walk goes on below it.
    makeFolder(root + QStringLiteral("/headonly/objects"));
    QFile head(root + QStringLiteral("/headonly/HEAD"));
    QVERIFY(head.open(QIODevice::WriteOnly));
    head.close();
    initRepository(root + QStringLiteral("/headonly/child"));

    ModelHarness harness(root);
    AppViewModel &model = harness.model();
    QSignalSpy scanning(&model, &AppViewModel::isScanningRepositoriesChanged);
    QSignalSpy published(&model, &AppViewModel::discoveredRepositoriesChanged);
    const QDateTime before = QDateTime::currentDateTimeUtc();

    model.scanHomeForRepositories();
    QVERIFY(model.isScanningRepositories());
    QVERIFY(settle(model));

    QVERIFY(!model.isScanningRepositories());
    QCOMPARE(scanning.count(), 2);
    QCOMPARE(published.count(), 1);
    QCOMPARE(
        names(model.discoveredRepositories()),
        (QStringList {QStringLiteral("bare.git"), QStringLiteral("child"), QStringLiteral("foo"),
                      QStringLiteral("outer"), QStringLiteral("repo2"), QStringLiteral("repo10")}));
    QCOMPARE(model.discoveredRepositories().at(2).path, root + QStringLiteral("/code/Library/foo"));
    QVERIFY(model.repositoriesScannedAt());
    QVERIFY(*model.repositoriesScannedAt() >= before.addMSecs(-1));
    QCOMPARE(model.discoveredRepositoriesModel()->count(), 6);

    const std::optional<DiscoveredRepositoryCatalog> saved = harness.discoveredStore().load();
    QVERIFY(saved);
    QCOMPARE(saved->repositories, model.discoveredRepositories());
    QCOMPARE(saved->scannedAt.toMSecsSinceEpoch(),
             model.repositoriesScannedAt()->toMSecsSinceEpoch());

    // The next start shows the last scan without scanning again.
    harness.restart();
    QCOMPARE(harness.model().discoveredRepositories(), saved->repositories);
    QVERIFY(!harness.model().isScanningRepositories());
}

void AppViewModelRepositoriesTest::homeThatIsARepositoryIsTheOnlyEntry()
{
    FixtureRepository home;
    initRepository(home.path() + QStringLiteral("/vendor/library"));
    ModelHarness harness(home.path());
    AppViewModel &model = harness.model();

    model.scanHomeForRepositories();
    QVERIFY(settle(model));

    QCOMPARE(model.discoveredRepositories().size(), 1);
    QCOMPARE(model.discoveredRepositories().constFirst().path, home.path());
    QCOMPARE(model.discoveredRepositories().constFirst().name, QDir(home.path()).dirName());
}

void AppViewModelRepositoriesTest::twoScansInARowPublishOnlyTheSecond()
{
    QTemporaryDir home;
    initRepository(home.path() + QStringLiteral("/alpha"));
    ModelHarness harness(home.path());
    AppViewModel &model = harness.model();
    QSignalSpy scanning(&model, &AppViewModel::isScanningRepositoriesChanged);
    QSignalSpy published(&model, &AppViewModel::discoveredRepositoriesChanged);
    QSignalSpy stamped(&model, &AppViewModel::repositoriesScannedAtChanged);

    model.scanHomeForRepositories();
    initRepository(home.path() + QStringLiteral("/beta"));
    model.scanHomeForRepositories();
    QVERIFY(settle(model));

    // Whichever finished first, only the second scan's result is written, once.
    QCOMPARE(published.count(), 1);
    QCOMPARE(stamped.count(), 1);
    QCOMPARE(scanning.count(), 2);
    QVERIFY(!model.isScanningRepositories());
    QCOMPARE(names(model.discoveredRepositories()),
             (QStringList {QStringLiteral("alpha"), QStringLiteral("beta")}));
    QCOMPARE(harness.discoveredStore().load()->repositories, model.discoveredRepositories());
}

void AppViewModelRepositoriesTest::openingADeletedRecentShowsItsMessage()
{
    ModelHarness harness;
    QTemporaryDir gone;
    const QString path = gone.path();
    gone.remove();
    QTemporaryDir folder;
    const QString plainFile = folder.filePath(QStringLiteral("file"));
    QFile file(plainFile);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.close();
    const QList<RecentRepository> recents {
        {QStringLiteral("gone"), path, QDateTime::currentDateTimeUtc()},
        {QStringLiteral("file"), plainFile, QDateTime::currentDateTimeUtc()},
    };
    harness.recentStore().save(recents);
    harness.restart();
    AppViewModel &model = harness.model();
    QSignalSpy loading(&model, &AppViewModel::isLoadingChanged);

    model.openRecentRepository(model.recentRepositoriesModel()->get(0));

    QCOMPARE(model.errorMessage(),
             std::optional(QStringLiteral("The repository folder no longer exists at ") + path
                           + QStringLiteral(".")));
    QCOMPARE(model.recentRepositories(), recents);
    QCOMPARE(loading.count(), 0);
    QCOMPARE(model.runningTaskCount(), 0);

    // A file where the folder was is no folder either.
    model.openRecentRepository(recents.at(1));
    QCOMPARE(model.errorMessage(),
             std::optional(QStringLiteral("The repository folder no longer exists at ") + plainFile
                           + QStringLiteral(".")));
    QCOMPARE(harness.recentStore().load(), recents);
}

void AppViewModelRepositoriesTest::openingADeletedDiscoveredRepositoryShowsItsMessage()
{
    ModelHarness harness;
    const DiscoveredRepositoryCatalog catalog {
        {{QStringLiteral("gone"), QStringLiteral("/nonexistent/strataloom/gone")}},
        QDateTime::currentDateTimeUtc()};
    harness.discoveredStore().save(catalog);
    harness.restart();
    AppViewModel &model = harness.model();

    model.openDiscoveredRepository(model.discoveredRepositoriesModel()->get(0));

    QCOMPARE(model.errorMessage(),
             std::optional(QStringLiteral("The repository folder no longer exists at "
                                          "/nonexistent/strataloom/gone. Rescan your home "
                                          "directory to update the list.")));
    QCOMPARE(model.discoveredRepositories(), catalog.repositories);
    QVERIFY(!model.isLoading());
}

void AppViewModelRepositoriesTest::openingAnExistingRecentOpensIt()
{
    FixtureRepository repository;
    repository.write(QStringLiteral("a.txt"), "a\n");
    repository.commit(QStringLiteral("First"));
    ModelHarness harness;
    harness.recentStore().save({{QStringLiteral("old name"), repository.path(),
                                 QDateTime(QDate(2020, 1, 1), QTime(0, 0), Qt::UTC)}});
    harness.restart();
    AppViewModel &model = harness.model();

    model.openRecentRepository(model.recentRepositoriesModel()->get(0));
    QVERIFY(model.isLoading());
    QVERIFY(settle(model));

    QCOMPARE(model.repository()->path, repository.path());
    QCOMPARE(model.recentRepositories().size(), 1);
    QCOMPARE(model.recentRepositories().constFirst().name, QDir(repository.path()).dirName());
    QVERIFY(model.recentRepositories().constFirst().lastOpened.date().year() > 2020);
}

void AppViewModelRepositoriesTest::removingARecentSavesTheRest()
{
    ModelHarness harness;
    const QDateTime opened(QDate(2024, 5, 1), QTime(8, 0), Qt::UTC);
    const RecentRepository one {QStringLiteral("one"), QStringLiteral("/tmp/one"), opened};
    const RecentRepository two {QStringLiteral("two"), QStringLiteral("/tmp/two"), opened};
    const RecentRepository three {QStringLiteral("three"), QStringLiteral("/tmp/three"), opened};
    harness.recentStore().save({one, two, three});
    harness.restart();
    AppViewModel &model = harness.model();

    model.removeRecentRepository(model.recentRepositoriesModel()->get(1));
    QCOMPARE(model.recentRepositories(), (QList<RecentRepository> {one, three}));
    QCOMPARE(harness.recentStore().load(), (QList<RecentRepository> {one, three}));

    // Removing what is not there changes nothing, but the list is saved again.
    harness.recentStore().save({});
    QSignalSpy changed(&model, &AppViewModel::recentRepositoriesChanged);
    model.removeRecentRepository(two);
    QCOMPARE(changed.count(), 0);
    QCOMPARE(harness.recentStore().load(), (QList<RecentRepository> {one, three}));
}

void AppViewModelRepositoriesTest::clearingTheRecentsSavesAnEmptyList()
{
    ModelHarness harness;
    harness.recentStore().save(
        {{QStringLiteral("one"), QStringLiteral("/tmp/one"), QDateTime::currentDateTimeUtc()}});
    harness.restart();
    AppViewModel &model = harness.model();
    QSignalSpy changed(&model, &AppViewModel::recentRepositoriesChanged);

    model.clearRecentRepositories();

    QCOMPARE(changed.count(), 1);
    QVERIFY(model.recentRepositories().isEmpty());
    QCOMPARE(model.recentRepositoriesModel()->count(), 0);
    QVERIFY(harness.recentStore().load().isEmpty());
}

STRATALOOM_MODEL_TEST_MAIN(AppViewModelRepositoriesTest)
#include "AppViewModelRepositoriesTest.moc"
