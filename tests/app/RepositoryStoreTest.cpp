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
    {{"zeta", "/home/ada/code/zeta"}, {"alpha", "/home/ada/alpha"}},
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

TEST_F(StoreTest, ValuesAreStoredAsJsonWithDatesInSecondsSince2001)
{
    RecentRepositoryStore(settingsFile()).save({recent("tool", "2001-01-01T00:01:40.5Z")});
    DiscoveredRepositoryStore(settingsFile()).save(sampleCatalog);

    const QJsonArray recents = QJsonDocument::fromJson(readRaw("recentRepositories")).array();
    EXPECT_EQ(recents,
              QJsonArray({QJsonObject {
                  {"name", "tool"}, {"path", "/home/ada/tool"}, {"lastOpened", 100.5}}}));
    const QJsonObject catalog = QJsonDocument::fromJson(readRaw("discoveredRepositories")).object();
    EXPECT_EQ(catalog.value("repositories"),
              QJsonArray({QJsonObject {{"name", "zeta"}, {"path", "/home/ada/code/zeta"}},
                          QJsonObject {{"name", "alpha"}, {"path", "/home/ada/alpha"}}}));
    // 2024-05-06T07:08:09.5Z is 1714979289.5 s after 1970.
    EXPECT_DOUBLE_EQ(catalog.value("scannedAt").toDouble(), 1714979289.5 - 978307200.0);
    EXPECT_EQ(catalog.size(), 2);
}

TEST_F(StoreTest, ReadsDataWrittenByAnotherEncoder)
{
    // Key order, white space, escaped slashes and unknown keys do not matter.
    storeRaw("recentRepositories", QByteArray(R"( [ {"lastOpened": 731000000.25,
        "path": "\/home\/ada\/tool", "name": "tool", "pinned": true} ] )"));
    storeRaw("discoveredRepositories",
             QByteArray(R"({"scannedAt": 0, "repositories": [{"path": "/p", "name": "p"}]})"));

    EXPECT_EQ(RecentRepositoryStore(settingsFile()).load(),
              (QList<RecentRepository> {
                  {"tool", "/home/ada/tool", utc("2001-01-01T00:00:00Z").addMSecs(731000000250)}}));
    EXPECT_EQ(DiscoveredRepositoryStore(settingsFile()).load(),
              (DiscoveredRepositoryCatalog {{{"p", "/p"}}, utc("2001-01-01T00:00:00Z")}));
}

TEST_F(StoreTest, ValuesSurviveANewSettingsInstanceInTheirOrderAndUnderTheirKey)
{
    EXPECT_TRUE(RecentRepositoryStore(settingsFile()).load().isEmpty());
    EXPECT_FALSE(DiscoveredRepositoryStore(settingsFile()).load().has_value());

    const QList<RecentRepository> unsorted {recent("old", "2020-01-01T00:00:00Z"),
                                            recent("new", "2024-01-01T23:59:59.999Z"),
                                            recent("mid", "2022-01-01T00:00:00Z")};
    {
        QSettings settings(settingsFile(), QSettings::IniFormat);
        RecentRepositoryStore(&settings).save(unsorted);
        RecentRepositoryStore(&settings, "other").save({recent("apart")});
        DiscoveredRepositoryStore(&settings).save(sampleCatalog);
    }
    // Read back from the file on disk, not from the settings cache of this process.
    EXPECT_EQ(RecentRepositoryStore(settingsFile()).load(), unsorted);
    EXPECT_EQ(names(RecentRepositoryStore(settingsFile(), "other").load()), QStringList {"apart"});
    EXPECT_EQ(DiscoveredRepositoryStore(settingsFile()).load(), sampleCatalog);
}

TEST_F(StoreTest, UnencodableValuesLeaveTheStoredOnes)
{
    const RecentRepositoryStore recents(settingsFile());
    recents.save({recent("kept")});
    recents.save({recent("fine"), {"broken", "/x", QDateTime()}});
    EXPECT_EQ(names(recents.load()), QStringList {"kept"});

    const DiscoveredRepositoryStore discovered(settingsFile());
    discovered.save(sampleCatalog);
    discovered.save({{}, QDateTime()});
    EXPECT_EQ(discovered.load(), sampleCatalog);
}

TEST_F(StoreTest, CorruptedValuesLoadAsNothingAndAreOverwrittenByTheNextSave)
{
    for (const char *stored :
         {"not json at all", "[{\"name\": \"cut", R"({"name":"a","path":"/a"})",
          R"([{"name":"a","path":"/a"}])", R"([{"name":1,"path":"/a","lastOpened":0}])",
          R"([{"name":"a","path":null,"lastOpened":0}])",
          R"([{"name":"a","path":"/a","lastOpened":"2024-01-01"}])",
          R"([{"name":"a","path":"/a","lastOpened":0}, 7])",
          R"([{"name":"a","path":"/a","lastOpened":1e300}])"}) {
        storeRaw("recentRepositories", QByteArray(stored));
        const RecentRepositoryStore store(settingsFile());
        EXPECT_TRUE(store.load().isEmpty()) << stored;
        store.save({recent("fresh")});
        EXPECT_EQ(names(RecentRepositoryStore(settingsFile()).load()), QStringList {"fresh"});
    }
    for (const char *stored : {"\x01\x02garbage", "[]", R"({"repositories":[]})",
                               R"({"scannedAt":0})", R"({"repositories":{},"scannedAt":0})",
                               R"({"repositories":[{"name":"a"}],"scannedAt":0})",
                               R"({"repositories":[],"scannedAt":null})"}) {
        storeRaw("discoveredRepositories", QByteArray(stored));
        const DiscoveredRepositoryStore store(settingsFile());
        EXPECT_FALSE(store.load().has_value()) << stored;
        store.save(sampleCatalog);
        EXPECT_EQ(DiscoveredRepositoryStore(settingsFile()).load(), sampleCatalog);
    }
}

TEST(RecentsListTest, NewestFirstWithoutDuplicatesUpToTwelve)
{
    const auto remembered = [](QList<RecentRepository> recents, std::initializer_list<int> opened) {
        for (const int n : opened)
            recents = rememberedRecents(recents, recent(QStringLiteral("repo%1").arg(n)));
        return names(recents);
    };
    const struct
    {
        int existing;
        std::initializer_list<int> opened;
        QStringList expected;
    } cases[] = {
        // A thirteenth repository pushes out the oldest.
        {0,
         {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12},
         {"repo12", "repo11", "repo10", "repo9", "repo8", "repo7", "repo6", "repo5", "repo4",
          "repo3", "repo2", "repo1"}},
        // Reopening moves the entry to the head and drops nothing else.
        {4, {2}, {"repo2", "repo0", "repo1", "repo3"}},
        {12,
         {11},
         {"repo11", "repo0", "repo1", "repo2", "repo3", "repo4", "repo5", "repo6", "repo7", "repo8",
          "repo9", "repo10"}},
    };
    for (const auto &row : cases)
        EXPECT_EQ(remembered(recentsNamed(row.existing), row.opened), row.expected);

    // The reopened entry carries its new date.
    const RecentRepository reopened = recent("repo1", "2025-01-01T00:00:00Z");
    EXPECT_EQ(rememberedRecents(recentsNamed(3), reopened).first(), reopened);
}

TEST(RecentsListTest, RemovingDropsEveryEntryWithThePathAndKeepsTheOrder)
{
    QList<RecentRepository> recents = recentsNamed(3);
    recents.append(recent("repo1"));
    EXPECT_EQ(names(recentsWithout(recents, "/home/ada/repo1")), (QStringList {"repo0", "repo2"}));
    EXPECT_EQ(recentsWithout(recents, "/home/ada/repo1/"), recents);
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

    RecentRepositoryStore(settingsFile()).save({recent("a")});
    DiscoveredRepositoryStore(settingsFile()).save(sampleCatalog);
    QSettings own(settingsFile(), QSettings::IniFormat);
    RecentRepositoryStore(&own).save({recent("b")});
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
