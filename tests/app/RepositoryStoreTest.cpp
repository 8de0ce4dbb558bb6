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
    RecentRepositoryStore recents() const { return RecentRepositoryStore(settingsFile()); }
    DiscoveredRepositoryStore discovered() const
    {
        return DiscoveredRepositoryStore(settingsFile());
    }

    void storeRaw(const QString &key, const QByteArray &value) const
    {
        QSettings(settingsFile(), QSettings::IniFormat).setValue(key, value);
    }
    QJsonDocument readRaw(const QString &key) const
    {
        return QJsonDocument::fromJson(
            QSettings(settingsFile(), QSettings::IniFormat).value(key).toByteArray());
    }

    QTemporaryDir m_dir;
};

// Every file under @p folder with its size and modification time.
QStringList snapshot(const QString &folder)
{
    QStringList files;
    QDirIterator it(folder, QDir::Files | QDir::Hidden | QDir::System,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        it.next();
        files << QStringLiteral("%1 %2 %3")
                     .arg(it.filePath())
                     .arg(it.fileInfo().size())
                     .arg(it.fileInfo().lastModified().toMSecsSinceEpoch());
    }
    files.sort();
    return files;
}

} // namespace

TEST_F(StoreTest, ValuesAreStoredAsJsonWithDatesInSecondsSince2001)
{
    recents().save({recent("tool", "2001-01-01T00:01:40.5Z")});
    discovered().save(sampleCatalog);

    EXPECT_EQ(readRaw("recentRepositories").array(),
              QJsonArray({QJsonObject {
                  {"name", "tool"}, {"path", "/home/ada/tool"}, {"lastOpened", 100.5}}}));
    const QJsonObject catalog = readRaw("discoveredRepositories").object();
    EXPECT_EQ(catalog.value("repositories"),
              QJsonArray({QJsonObject {{"name", "zeta"}, {"path", "/home/ada/code/zeta"}},
                          QJsonObject {{"name", "alpha"}, {"path", "/home/ada/alpha"}}}));
    // 2024-05-06T07:08:09.5Z is 1714979289.5 s after 1970.
    EXPECT_DOUBLE_EQ(catalog.value("scannedAt").toDouble(), 1714979289.5 - 978307200.0);
    EXPECT_EQ(catalog.size(), 2);
}

TEST_F(StoreTest, MissingOrCorruptedValuesLoadAsNothingAndAreOverwrittenByTheNextSave)
{
    EXPECT_TRUE(recents().load().isEmpty());
    EXPECT_FALSE(discovered().load().has_value());
    for (const char *stored :
         {"not json at all", "[{\"name\": \"cut", R"({"name":"a","path":"/a"})",
          R"([{"name":"a","path":"/a"}])", R"([{"name":1,"path":"/a","lastOpened":0}])",
          R"([{"name":"a","path":null,"lastOpened":0}])",
          R"([{"name":"a","path":"/a","lastOpened":"2024-01-01"}])",
          R"([{"name":"a","path":"/a","lastOpened":0}, 7])",
          R"([{"name":"a","path":"/a","lastOpened":1e300}])"}) {
        storeRaw("recentRepositories", stored);
        EXPECT_TRUE(recents().load().isEmpty()) << stored;
        recents().save({recent("fresh")});
        EXPECT_EQ(names(recents().load()), QStringList {"fresh"});
    }
    for (const char *stored : {"\x01\x02garbage", "[]", R"({"repositories":[]})",
                               R"({"scannedAt":0})", R"({"repositories":{},"scannedAt":0})",
                               R"({"repositories":[{"name":"a"}],"scannedAt":0})",
                               R"({"repositories":[],"scannedAt":null})"}) {
        storeRaw("discoveredRepositories", stored);
        EXPECT_FALSE(discovered().load().has_value()) << stored;
        discovered().save(sampleCatalog);
        EXPECT_EQ(discovered().load(), sampleCatalog);
    }
}

TEST_F(StoreTest, OnlyTheirOwnSettingsFileIsWrittenAndTheDefaultIsStrataloomsFile)
{
    const QString config = qEnvironmentVariable("XDG_CONFIG_HOME");
    ASSERT_TRUE(config.startsWith(QDir::homePath())) << "the test main isolates the config folder";
    const QStringList configBefore = snapshot(config);
    const QStringList homeBefore = snapshot(QDir::homePath());

    const QList<RecentRepository> unsorted {recent("old", "2020-01-01T00:00:00Z"),
                                            recent("new", "2024-01-01T23:59:59.999Z")};
    discovered().save(sampleCatalog);
    {
        QSettings own(settingsFile(), QSettings::IniFormat);
        RecentRepositoryStore(&own).save(unsorted);
    }
    // Read back from the file on disk, in the order given.
    EXPECT_EQ(recents().load(), unsorted);

    EXPECT_TRUE(QFile::exists(settingsFile()));
    EXPECT_EQ(snapshot(config), configBefore);
    EXPECT_EQ(snapshot(QDir::homePath()), homeBefore);

    const QString file = config + QStringLiteral("/Strataloom/Strataloom.conf");
    RecentRepositoryStore().save({recent(QStringLiteral("app"))});
    DiscoveredRepositoryStore().save(sampleCatalog);
    EXPECT_EQ(names(RecentRepositoryStore(file).load()), QStringList {"app"});
    EXPECT_EQ(DiscoveredRepositoryStore(file).load(), sampleCatalog);
    QFile::remove(file);
}

TEST(RecentsListTest, RemovingDropsEveryEntryWithThePathAndKeepsTheOrder)
{
    const QList<RecentRepository> recents {recent("repo0"), recent("repo1"), recent("repo2"),
                                           recent("repo1")};
    EXPECT_EQ(names(recentsWithout(recents, "/home/ada/repo1")), (QStringList {"repo0", "repo2"}));
    EXPECT_EQ(recentsWithout(recents, "/home/ada/repo1/"), recents);
}
