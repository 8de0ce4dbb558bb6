// The recents and the home scan, on the catalog alone: what is loaded, remembered, saved and
// offered for opening, and which of two scans publishes.
#include "ModelTestSupport.h"

#include "app/RepositoryCatalog.h"

#include <QDir>
#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

using namespace strataloom;

namespace {

const QDateTime opened(QDate(2024, 5, 1), QTime(8, 0), Qt::UTC);

void initRepository(const QString &path, bool bare = false)
{
    QVERIFY(QDir().mkpath(path));
    QStringList init {QStringLiteral("init"), QStringLiteral("-q")};
    if (bare)
        init << QStringLiteral("--bare");
    FixtureRepository(path).git(init);
}

QStringList paths(const auto &repositories)
{
    QStringList out;
    for (const auto &repository : repositories)
        out << repository.path;
    return out;
}

/// A catalog over stores in a temporary settings file and a scanner over @p home.
class Catalog
{
public:
    explicit Catalog(const QString &home = {})
        : m_home(home.isEmpty() ? m_emptyHome.path() : home)
    { }

    RecentRepositoryStore recentStore() const { return RecentRepositoryStore(settings()); }
    DiscoveredRepositoryStore discoveredStore() const
    {
        return DiscoveredRepositoryStore(settings());
    }
    /// The catalog as the next start of the application sees it.
    RepositoryCatalog &start()
    {
        if (m_catalog)
            settle(*m_catalog);
        m_catalog = std::make_unique<RepositoryCatalog>(recentStore(), discoveredStore(),
                                                        RepositoryScanner(m_home));
        return *m_catalog;
    }

private:
    QString settings() const { return m_settings.filePath(QStringLiteral("settings.ini")); }

    QTemporaryDir m_settings;
    QTemporaryDir m_emptyHome;
    QString m_home;
    std::unique_ptr<RepositoryCatalog> m_catalog;
};

RepositorySummary summaryAt(const QString &path)
{
    RepositorySummary summary;
    summary.path = path;
    summary.name = QDir(path).dirName();
    return summary;
}

} // namespace

class RepositoryCatalogTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void startsFromTheStores();
    void rememberingKeepsTwelveNewestFirst();
    void removingAndClearingSave();
    void openingAskesTheSessionOnlyForExistingFolders_data();
    void openingAskesTheSessionOnlyForExistingFolders();
    void homeScanPublishesSortedAndSaves();
    void twoScansInARowPublishOnlyTheSecond();
};

void RepositoryCatalogTest::startsFromTheStores()
{
    Catalog fixture;
    const QList<RecentRepository> recents {
        {QStringLiteral("one"), QStringLiteral("/tmp/one"), opened},
        {QStringLiteral("two"), QStringLiteral("/tmp/two"), opened}};
    fixture.recentStore().save(recents);
    const DiscoveredRepositoryCatalog found {
        {{QStringLiteral("three"), QStringLiteral("/tmp/three")}}, opened.addDays(1)};
    fixture.discoveredStore().save(found);

    RepositoryCatalog &catalog = fixture.start();

    QCOMPARE(catalog.recentRepositories(), recents);
    QCOMPARE(catalog.recentRepositoriesModel()->count(), 2);
    QCOMPARE(catalog.discoveredRepositories(), found.repositories);
    QCOMPARE(catalog.property("repositoriesScannedAt").toDateTime(), found.scannedAt);
    QVERIFY(!catalog.isScanningRepositories());
    QCOMPARE(catalog.runningTaskCount(), 0);
}

void RepositoryCatalogTest::rememberingKeepsTwelveNewestFirst()
{
    Catalog fixture;
    RepositoryCatalog &catalog = fixture.start();
    QStringList expected;
    for (int i = 0; i < 13; ++i) {
        const QString path = QStringLiteral("/tmp/repository%1").arg(i);
        catalog.remember(summaryAt(path));
        expected.prepend(path);
    }
    expected.removeLast();
    QCOMPARE(paths(catalog.recentRepositories()), expected);
    QCOMPARE(catalog.recentRepositoriesModel()->count(), 12);

    // Reopening one (spelled with a trailing slash) moves it to the front, once, with a new date.
    const QDateTime before = catalog.recentRepositories().at(5).lastOpened;
    QTest::qWait(5);
    catalog.remember(summaryAt(expected.at(5) + QLatin1Char('/')));
    expected.move(5, 0);
    QCOMPARE(paths(catalog.recentRepositories()), expected);
    QVERIFY(catalog.recentRepositories().constFirst().lastOpened > before);
    QCOMPARE(fixture.recentStore().load(), catalog.recentRepositories());
}

void RepositoryCatalogTest::removingAndClearingSave()
{
    Catalog fixture;
    const RecentRepository one {QStringLiteral("one"), QStringLiteral("/tmp/one"), opened};
    const RecentRepository two {QStringLiteral("two"), QStringLiteral("/tmp/two"), opened};
    const RecentRepository three {QStringLiteral("three"), QStringLiteral("/tmp/three"), opened};
    fixture.recentStore().save({one, two, three});
    RepositoryCatalog &catalog = fixture.start();
    QSignalSpy changed(&catalog, &RepositoryCatalog::recentRepositoriesChanged);

    catalog.removeRecentRepository(catalog.recentRepositoriesModel()->get(1));
    QCOMPARE(catalog.recentRepositories(), (QList<RecentRepository> {one, three}));
    QCOMPARE(fixture.recentStore().load(), catalog.recentRepositories());

    // Removing what is not there changes nothing, but the list is saved again.
    fixture.recentStore().save({});
    catalog.removeRecentRepository(two);
    QCOMPARE(changed.count(), 1);
    QCOMPARE(fixture.recentStore().load(), catalog.recentRepositories());

    catalog.clearRecentRepositories();
    QCOMPARE(changed.count(), 2);
    QCOMPARE(catalog.recentRepositoriesModel()->count(), 0);
    QVERIFY(fixture.recentStore().load().isEmpty());
}

void RepositoryCatalogTest::openingAskesTheSessionOnlyForExistingFolders_data()
{
    QTest::addColumn<bool>("discovered");
    QTest::addColumn<QString>("kind"); // "folder", "gone" or "file"
    QTest::addColumn<QString>("messageEnd");
    const QString rescan = QStringLiteral(". Rescan your home directory to update the list.");
    QTest::newRow("recent folder") << false << "folder" << QString();
    QTest::newRow("recent gone") << false << "gone" << QStringLiteral(".");
    QTest::newRow("recent is a file") << false << "file" << QStringLiteral(".");
    QTest::newRow("discovered folder") << true << "folder" << QString();
    QTest::newRow("discovered gone") << true << "gone" << rescan;
}

void RepositoryCatalogTest::openingAskesTheSessionOnlyForExistingFolders()
{
    QFETCH(bool, discovered);
    QFETCH(QString, kind);
    QFETCH(QString, messageEnd);
    QTemporaryDir folder;
    QString path = folder.path();
    if (kind == QLatin1String("gone")) {
        path += QStringLiteral("/gone");
    } else if (kind == QLatin1String("file")) {
        path += QStringLiteral("/file");
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
    }
    Catalog fixture;
    if (discovered)
        fixture.discoveredStore().save({{{QStringLiteral("x"), path}}, opened});
    else
        fixture.recentStore().save({{QStringLiteral("x"), path, opened}});
    RepositoryCatalog &catalog = fixture.start();
    QSignalSpy requested(&catalog, &RepositoryCatalog::openRequested);
    QSignalSpy failed(&catalog, &RepositoryCatalog::failed);

    if (discovered)
        catalog.openDiscoveredRepository(catalog.discoveredRepositoriesModel()->get(0));
    else
        catalog.openRecentRepository(catalog.recentRepositoriesModel()->get(0));

    if (messageEnd.isEmpty()) {
        QCOMPARE(requested.count(), 1);
        QCOMPARE(requested.at(0).at(0).toString(), path);
        QCOMPARE(failed.count(), 0);
    } else {
        QCOMPARE(requested.count(), 0);
        QCOMPARE(failed.count(), 1);
        QCOMPARE(failed.at(0).at(0).toString(),
                 QStringLiteral("The repository folder no longer exists at ") + path + messageEnd);
    }
    // Nothing is forgotten on the way.
    QCOMPARE(catalog.recentRepositories().size() + catalog.discoveredRepositories().size(), 1);
}

void RepositoryCatalogTest::homeScanPublishesSortedAndSaves()
{
    // What the scan finds is the scanner's business; the catalog publishes it as found.
    QTemporaryDir home;
    const QString root = home.path();
    initRepository(root + QStringLiteral("/code/repo10"));
    initRepository(root + QStringLiteral("/code/repo2"));
    initRepository(root + QStringLiteral("/bare.git"), true);
    Catalog fixture(root);
    RepositoryCatalog &catalog = fixture.start();
    QSignalSpy scanning(&catalog, &RepositoryCatalog::isScanningRepositoriesChanged);
    const QDateTime before = QDateTime::currentDateTimeUtc();

    catalog.scanHomeForRepositories();
    QVERIFY(catalog.isScanningRepositories());
    QVERIFY(settle(catalog));

    QCOMPARE(scanning.count(), 2);
    QCOMPARE(paths(catalog.discoveredRepositories()), paths(RepositoryScanner(root).scan()));
    QCOMPARE(catalog.discoveredRepositories().size(), 3);
    QVERIFY(*catalog.repositoriesScannedAt() >= before.addMSecs(-1));
    const std::optional<DiscoveredRepositoryCatalog> saved = fixture.discoveredStore().load();
    QCOMPARE(saved->repositories, catalog.discoveredRepositories());
    QCOMPARE(saved->scannedAt.toMSecsSinceEpoch(),
             catalog.repositoriesScannedAt()->toMSecsSinceEpoch());
}

void RepositoryCatalogTest::twoScansInARowPublishOnlyTheSecond()
{
    QTemporaryDir home;
    initRepository(home.path() + QStringLiteral("/alpha"));
    Catalog fixture(home.path());
    RepositoryCatalog &catalog = fixture.start();
    QSignalSpy scanning(&catalog, &RepositoryCatalog::isScanningRepositoriesChanged);
    QSignalSpy published(&catalog, &RepositoryCatalog::discoveredRepositoriesChanged);
    QSignalSpy stamped(&catalog, &RepositoryCatalog::repositoriesScannedAtChanged);

    catalog.scanHomeForRepositories();
    initRepository(home.path() + QStringLiteral("/beta"));
    catalog.scanHomeForRepositories();
    QVERIFY(settle(catalog));

    // Whichever finished first, only the second scan's result is written, once.
    QCOMPARE(published.count(), 1);
    QCOMPARE(stamped.count(), 1);
    QCOMPARE(scanning.count(), 2);
    QVERIFY(!catalog.isScanningRepositories());
    QCOMPARE(catalog.discoveredRepositories().size(), 2);
    QCOMPARE(fixture.discoveredStore().load()->repositories, catalog.discoveredRepositories());
}

STRATALOOM_MODEL_TEST_MAIN(RepositoryCatalogTest)
#include "RepositoryCatalogTest.moc"
