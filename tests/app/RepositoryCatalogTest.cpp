// The recents and the home scan in the catalog: what is loaded, remembered, saved and offered
// for opening, and which of two scans publishes.
#include "ModelTestSupport.h"

#include "app/RepositoryCatalog.h"

#include <QDir>
#include <QFile>

using namespace strataloom;

namespace {

const QDateTime opened(QDate(2024, 5, 1), QTime(8, 0), Qt::UTC);

void initRepository(const QString &path)
{
    QVERIFY(QDir().mkpath(path));
    runGitIn(path, {"init", "-q"});
}

QStringList paths(const auto &repositories)
{
    QStringList out;
    for (const auto &repository : repositories)
        out << repository.path;
    return out;
}

} // namespace

class RepositoryCatalogTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void rememberingKeepsTwelveNewestFirst()
    {
        ModelHarness harness;
        RepositoryCatalog &catalog = harness.catalog();
        QStringList expected;
        for (int i = 0; i < 13; ++i) {
            const QString path = QStringLiteral("/tmp/repository%1").arg(i);
            RepositorySummary summary;
            summary.path = path;
            catalog.remember(summary);
            expected.prepend(path);
        }
        expected.removeLast();
        QCOMPARE(paths(catalog.recentRepositories()), expected);
        QCOMPARE(catalog.recentRepositoriesModel()->count(), 12);

        // Reopening one (spelled with a trailing slash) moves it to the front, once, with a new
        // date.
        const QDateTime before = catalog.recentRepositories().at(5).lastOpened;
        QTest::qWait(5);
        RepositorySummary again;
        again.path = expected.at(5) + QLatin1Char('/');
        catalog.remember(again);
        expected.move(5, 0);
        QCOMPARE(paths(catalog.recentRepositories()), expected);
        QVERIFY(catalog.recentRepositories().constFirst().lastOpened > before);
        QCOMPARE(harness.recentStore().load(), catalog.recentRepositories());
    }

    void openingAsksTheSessionOnlyForExistingFolders()
    {
        // A discovered entry (or a recent one), what is at its path, whether it opens.
        const std::tuple<bool, QString, bool> cases[] = {
            {false, "", true}, {false, "/gone", false}, {false, "/file", false},
            {true, "", true},  {true, "/gone", false},
        };
        for (const auto &[discovered, kind, opens] : cases) {
            QTemporaryDir folder;
            const QString path = folder.path() + kind;
            if (kind == "/file")
                QVERIFY(QFile(path).open(QIODevice::WriteOnly));
            ModelHarness harness;
            if (discovered)
                harness.discoveredStore().save({{{"x", path}}, opened});
            else
                harness.recentStore().save({{"x", path, opened}});
            harness.restart();
            RepositoryCatalog &catalog = harness.catalog();
            QSignalSpy requested(&catalog, &RepositoryCatalog::openRequested);
            QSignalSpy failed(&catalog, &RepositoryCatalog::failed);

            if (discovered)
                catalog.openDiscoveredRepository(catalog.discoveredRepositoriesModel()->get(0));
            else
                catalog.openRecentRepository(catalog.recentRepositoriesModel()->get(0));

            QCOMPARE(requested.count(), opens ? 1 : 0);
            QCOMPARE(failed.count(), opens ? 0 : 1);
            if (opens)
                QCOMPARE(requested.at(0).at(0).toString(), path);
            else
                QVERIFY2(failed.at(0).at(0).toString().contains(path), qPrintable(kind));
            // Nothing is forgotten on the way.
            QCOMPARE(catalog.recentRepositories().size() + catalog.discoveredRepositories().size(),
                     1);
        }
    }

    void homeScanPublishesSavesAndIsThereAtTheNextStart()
    {
        // What the scan finds is the scanner's business; the catalog publishes it as found.
        QTemporaryDir home;
        initRepository(home.path() + "/code/repo10");
        initRepository(home.path() + "/code/repo2");
        ModelHarness harness(home.path());
        RepositoryCatalog &catalog = harness.catalog();
        QSignalSpy scanning(&catalog, &RepositoryCatalog::isScanningRepositoriesChanged);
        const QDateTime before = QDateTime::currentDateTimeUtc().addMSecs(-1);

        catalog.scanHomeForRepositories();
        QVERIFY(catalog.isScanningRepositories());
        QVERIFY(settle(catalog));

        QCOMPARE(scanning.count(), 2);
        QCOMPARE(catalog.discoveredRepositories(), RepositoryScanner(home.path()).scan());
        QCOMPARE(catalog.discoveredRepositories().size(), 2);
        const QDateTime scannedAt = *catalog.repositoriesScannedAt();
        QVERIFY(scannedAt >= before);
        const QList<DiscoveredRepository> found = catalog.discoveredRepositories();
        harness.restart();
        QCOMPARE(harness.catalog().discoveredRepositories(), found);
        QCOMPARE(harness.catalog().repositoriesScannedAt()->toMSecsSinceEpoch(),
                 scannedAt.toMSecsSinceEpoch());
    }

};

STRATALOOM_MODEL_TEST_MAIN(RepositoryCatalogTest)
#include "RepositoryCatalogTest.moc"
