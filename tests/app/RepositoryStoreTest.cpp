#include "app/RepositoryStores.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSettings>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace strataloom;

namespace {

QDateTime utc(const char *iso)
{
    return QDateTime::fromString(QString::fromLatin1(iso), Qt::ISODateWithMs).toUTC();
}

RecentRepository recent(const QString &name, const char *iso = "2024-03-01T09:20:30.250Z")
{
    return {name, QStringLiteral("/home/ada/") + name, utc(iso)};
}

QList<RecentRepository> recentsNamed(int count)
{
    QList<RecentRepository> list;
    for (int n = 0; n < count; ++n)
        list.append(recent(QStringLiteral("repo%1").arg(n)));
    return list;
}

QStringList names(const QList<RecentRepository> &recents)
{
    QStringList out;
    for (const RecentRepository &entry : recents)
        out << entry.name;
    return out;
}

const DiscoveredRepositoryCatalog sampleCatalog {
    {{QStringLiteral("zeta"), QStringLiteral("/home/ada/code/zeta")},
     {QStringLiteral("alpha"), QStringLiteral("/home/ada/alpha")}},
    utc("2024-05-06T07:08:09.500Z")};

// Every test gets a settings file of its own in a temporary folder.
class StoreTest : public ::testing::Test
{
protected:
    QString settingsFile() const { return m_dir.filePath(QStringLiteral("settings.conf")); }

    void storeRaw(const QString &key, const QVariant &value) const
    {
        QSettings settings(settingsFile(), QSettings::IniFormat);
        settings.setValue(key, value);
    }
    QByteArray readRaw(const QString &key) const
    {
        QSettings settings(settingsFile(), QSettings::IniFormat);
        return settings.value(key).toByteArray();
    }

    QTemporaryDir m_dir;
};

} // namespace

// --- stored format -------------------------------------------------------------------------------

TEST_F(StoreTest, RecentsAreStoredAsJsonWithDatesInSecondsSince2001)
{
    RecentRepositoryStore(settingsFile())
        .save({recent(QStringLiteral("tool"), "2001-01-01T00:01:40.5Z")});

    const QJsonDocument stored
        = QJsonDocument::fromJson(readRaw(QStringLiteral("recentRepositories")));
    ASSERT_TRUE(stored.isArray());
    ASSERT_EQ(stored.array().size(), 1);
    const QJsonObject object = stored.array().at(0).toObject();
    EXPECT_EQ(object.keys(), (QStringList {"lastOpened", "name", "path"}));
    EXPECT_EQ(object.value("name").toString(), "tool");
    EXPECT_EQ(object.value("path").toString(), "/home/ada/tool");
    EXPECT_DOUBLE_EQ(object.value("lastOpened").toDouble(), 100.5);
}

TEST_F(StoreTest, CatalogIsStoredAsJsonObjectWithRepositoriesAndScannedAt)
{
    DiscoveredRepositoryStore(settingsFile()).save(sampleCatalog);

    const QJsonDocument stored
        = QJsonDocument::fromJson(readRaw(QStringLiteral("discoveredRepositories")));
    ASSERT_TRUE(stored.isObject());
    const QJsonObject object = stored.object();
    EXPECT_EQ(object.keys(), (QStringList {"repositories", "scannedAt"}));
    const QJsonArray repositories = object.value("repositories").toArray();
    ASSERT_EQ(repositories.size(), 2);
    EXPECT_EQ(repositories.at(0).toObject().keys(), (QStringList {"name", "path"}));
    EXPECT_EQ(repositories.at(0).toObject().value("path").toString(), "/home/ada/code/zeta");
    // 2024-05-06T07:08:09.5Z is 1714979289.5 s after 1970.
    EXPECT_DOUBLE_EQ(object.value("scannedAt").toDouble(), 1714979289.5 - 978307200.0);
}

TEST_F(StoreTest, ReadsDataWrittenByAnotherEncoder)
{
    // Key order, white space, escaped slashes and unknown keys do not matter.
    storeRaw(QStringLiteral("recentRepositories"),
             QByteArray(R"( [ {"lastOpened": 731000000.25, "path": "\/home\/ada\/tool",
                             "name": "tool", "pinned": true} ] )"));
    storeRaw(QStringLiteral("discoveredRepositories"),
             QByteArray(R"({"scannedAt": 0, "repositories": [{"path": "/p", "name": "p"}]})"));

    const QList<RecentRepository> recents = RecentRepositoryStore(settingsFile()).load();
    ASSERT_EQ(recents.size(), 1);
    EXPECT_EQ(recents[0].name, "tool");
    EXPECT_EQ(recents[0].path, "/home/ada/tool");
    EXPECT_EQ(recents[0].lastOpened, utc("2001-01-01T00:00:00Z").addMSecs(731000000250));

    const auto catalog = DiscoveredRepositoryStore(settingsFile()).load();
    ASSERT_TRUE(catalog);
    EXPECT_EQ(catalog->repositories,
              (QList<DiscoveredRepository> {{QStringLiteral("p"), QStringLiteral("/p")}}));
    EXPECT_EQ(catalog->scannedAt, utc("2001-01-01T00:00:00Z"));
}

// --- persistence ---------------------------------------------------------------------------------

TEST_F(StoreTest, NothingStoredLoadsEmptyRecentsAndNoCatalog)
{
    EXPECT_TRUE(RecentRepositoryStore(settingsFile()).load().isEmpty());
    EXPECT_FALSE(DiscoveredRepositoryStore(settingsFile()).load().has_value());
}

TEST_F(StoreTest, ValuesSurviveANewSettingsInstance)
{
    const QList<RecentRepository> recents {recent(QStringLiteral("b")),
                                           recent(QStringLiteral("a"), "2023-12-31T23:59:59.999Z")};
    {
        QSettings settings(settingsFile(), QSettings::IniFormat);
        RecentRepositoryStore(&settings).save(recents);
        DiscoveredRepositoryStore(&settings).save(sampleCatalog);
    }

    QSettings reopened(settingsFile(), QSettings::IniFormat);
    EXPECT_EQ(RecentRepositoryStore(&reopened).load(), recents);
    EXPECT_EQ(DiscoveredRepositoryStore(&reopened).load(), sampleCatalog);
    // The file on disk holds them too, not only the settings cache of this process.
    QFile file(settingsFile());
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QByteArray text = file.readAll();
    EXPECT_TRUE(text.contains("recentRepositories")) << text.constData();
    EXPECT_TRUE(text.contains("discoveredRepositories")) << text.constData();
}

TEST_F(StoreTest, SavingKeepsTheStoredOrder)
{
    const QList<RecentRepository> unsorted {recent(QStringLiteral("old"), "2020-01-01T00:00:00Z"),
                                            recent(QStringLiteral("new"), "2024-01-01T00:00:00Z"),
                                            recent(QStringLiteral("mid"), "2022-01-01T00:00:00Z")};
    RecentRepositoryStore(settingsFile()).save(unsorted);
    EXPECT_EQ(names(RecentRepositoryStore(settingsFile()).load()),
              (QStringList {"old", "new", "mid"}));
}

TEST_F(StoreTest, CustomKeysKeepValuesApart)
{
    const RecentRepositoryStore first(settingsFile(), QStringLiteral("first"));
    const RecentRepositoryStore second(settingsFile(), QStringLiteral("second"));
    first.save({recent(QStringLiteral("one"))});
    second.save({recent(QStringLiteral("two"))});
    EXPECT_EQ(names(first.load()), QStringList {"one"});
    EXPECT_EQ(names(second.load()), QStringList {"two"});
}

TEST_F(StoreTest, UnencodableValuesLeaveTheStoredOnes)
{
    const RecentRepositoryStore recents(settingsFile());
    recents.save({recent(QStringLiteral("kept"))});
    recents.save({recent(QStringLiteral("fine")), {QStringLiteral("broken"), "/x", QDateTime()}});
    EXPECT_EQ(names(recents.load()), QStringList {"kept"});

    const DiscoveredRepositoryStore discovered(settingsFile());
    discovered.save(sampleCatalog);
    discovered.save({{}, QDateTime()});
    EXPECT_EQ(discovered.load(), sampleCatalog);
}

// --- corrupted data ------------------------------------------------------------------------------

class CorruptedRecentsTest : public StoreTest, public ::testing::WithParamInterface<const char *>
{
};

TEST_P(CorruptedRecentsTest, LoadsEmptyAndIsOverwrittenByTheNextSave)
{
    storeRaw(QStringLiteral("recentRepositories"), QByteArray(GetParam()));
    const RecentRepositoryStore store(settingsFile());
    EXPECT_TRUE(store.load().isEmpty());

    store.save({recent(QStringLiteral("fresh"))});
    EXPECT_EQ(names(store.load()), QStringList {"fresh"});
    EXPECT_EQ(names(RecentRepositoryStore(settingsFile()).load()), QStringList {"fresh"});
}

INSTANTIATE_TEST_SUITE_P(
    Values, CorruptedRecentsTest,
    ::testing::Values("not json at all", "[{\"name\": \"cut", R"({"name":"a","path":"/a"})",
                      R"([{"name":"a","path":"/a"}])", R"([{"name":1,"path":"/a","lastOpened":0}])",
                      R"([{"name":"a","path":null,"lastOpened":0}])",
                      R"([{"name":"a","path":"/a","lastOpened":"2024-01-01"}])",
                      R"([{"name":"a","path":"/a","lastOpened":0}, 7])",
                      R"([{"name":"a","path":"/a","lastOpened":1e300}])"));

class CorruptedCatalogTest : public StoreTest, public ::testing::WithParamInterface<const char *>
{
};

TEST_P(CorruptedCatalogTest, LoadsNothingAndIsOverwrittenByTheNextSave)
{
    storeRaw(QStringLiteral("discoveredRepositories"), QByteArray(GetParam()));
    const DiscoveredRepositoryStore store(settingsFile());
    EXPECT_FALSE(store.load().has_value());

    store.save(sampleCatalog);
    EXPECT_EQ(DiscoveredRepositoryStore(settingsFile()).load(), sampleCatalog);
}

INSTANTIATE_TEST_SUITE_P(Values, CorruptedCatalogTest,
                         ::testing::Values("\x01\x02garbage", "[]", R"({"repositories":[]})",
                                           R"({"scannedAt":0})",
                                           R"({"repositories":{},"scannedAt":0})",
                                           R"({"repositories":[{"name":"a"}],"scannedAt":0})",
                                           R"({"repositories":[],"scannedAt":null})"));

// --- the recents list ----------------------------------------------------------------------------

TEST(RecentsListTest, ThirteenthRepositoryPushesOutTheOldest)
{
    QList<RecentRepository> recents;
    for (int n = 0; n < 13; ++n)
        recents = rememberedRecents(recents, recent(QStringLiteral("repo%1").arg(n)));

    ASSERT_EQ(recents.size(), maximumRecentRepositories);
    EXPECT_EQ(recents.first().name, "repo12");
    EXPECT_EQ(recents.last().name, "repo1");
    EXPECT_FALSE(names(recents).contains("repo0"));
}

TEST(RecentsListTest, ReopeningMovesTheEntryToTheHeadWithItsNewDate)
{
    QList<RecentRepository> recents = recentsNamed(4); // repo0 .. repo3
    const RecentRepository reopened = recent(QStringLiteral("repo2"), "2025-01-01T00:00:00Z");
    recents = rememberedRecents(recents, reopened);

    EXPECT_EQ(names(recents), (QStringList {"repo2", "repo0", "repo1", "repo3"}));
    EXPECT_EQ(recents.first().lastOpened, reopened.lastOpened);
}

TEST(RecentsListTest, ReopeningInAFullListDropsNothingElse)
{
    QList<RecentRepository> recents = recentsNamed(12);
    recents = rememberedRecents(recents, recent(QStringLiteral("repo11")));
    EXPECT_EQ(recents.size(), 12);
    EXPECT_EQ(recents.first().name, "repo11");
    EXPECT_EQ(recents.last().name, "repo10");
}

TEST(RecentsListTest, RemovingDropsEveryEntryWithThePathAndKeepsTheOrder)
{
    QList<RecentRepository> recents = recentsNamed(3);
    recents.append(recent(QStringLiteral("repo1")));
    EXPECT_EQ(names(recentsWithout(recents, "/home/ada/repo1")), (QStringList {"repo0", "repo2"}));
    EXPECT_EQ(recentsWithout(recents, "/home/ada/repo1/"), recents);
    EXPECT_EQ(recentsWithout(recents, "/elsewhere"), recents);
}

// --- where the values go -------------------------------------------------------------------------

namespace {

// Every file under @p folder with its size and modification time.
QStringList snapshot(const QString &folder)
{
    QStringList files;
    QDirIterator it(folder, QDir::Files | QDir::Hidden | QDir::System,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        it.next();
        files << it.filePath() + QLatin1Char(' ') + QString::number(it.fileInfo().size())
                + QLatin1Char(' ')
                + QString::number(it.fileInfo().lastModified().toMSecsSinceEpoch());
    }
    files.sort();
    return files;
}

} // namespace

TEST_F(StoreTest, OwnSettingsFileIsTheOnlyFileWritten)
{
    const QString config = qEnvironmentVariable("XDG_CONFIG_HOME");
    ASSERT_FALSE(config.isEmpty());
    const QStringList configBefore = snapshot(config);
    const QStringList homeBefore = snapshot(QDir::homePath());

    RecentRepositoryStore(settingsFile()).save({recent(QStringLiteral("a"))});
    DiscoveredRepositoryStore(settingsFile()).save(sampleCatalog);
    QSettings own(settingsFile(), QSettings::IniFormat);
    RecentRepositoryStore(&own).save({recent(QStringLiteral("b"))});
    DiscoveredRepositoryStore(&own).load();

    EXPECT_TRUE(QFile::exists(settingsFile()));
    EXPECT_EQ(snapshot(config), configBefore);
    EXPECT_EQ(snapshot(QDir::homePath()), homeBefore);
}

TEST(ApplicationPreferencesTest, DefaultStoresWriteTheStrataloomSettings)
{
    const QString file
        = qEnvironmentVariable("XDG_CONFIG_HOME") + QStringLiteral("/Strataloom/Strataloom.conf");
    ASSERT_TRUE(file.startsWith(QDir::homePath())) << "the test main isolates the config folder";

    RecentRepositoryStore().save({recent(QStringLiteral("app"))});
    DiscoveredRepositoryStore().save(sampleCatalog);

    EXPECT_EQ(names(RecentRepositoryStore(file).load()), QStringList {"app"});
    EXPECT_EQ(DiscoveredRepositoryStore(file).load(), sampleCatalog);
    QFile::remove(file);
}
