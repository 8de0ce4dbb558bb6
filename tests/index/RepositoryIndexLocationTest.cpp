#include "index/RepositoryIndex.h"

#include <QDir>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace strataloom;

namespace {

/// Sets an environment variable for one scope and puts the old value back.
class ScopedEnvironment
{
public:
    ScopedEnvironment(const char *name, const std::optional<QByteArray> &value)
        : m_name(name)
        , m_old(qEnvironmentVariableIsSet(name) ? std::optional(qgetenv(name)) : std::nullopt)
    {
        set(value);
    }
    ~ScopedEnvironment() { set(m_old); }

private:
    void set(const std::optional<QByteArray> &value)
    {
        if (value)
            qputenv(m_name, *value);
        else
            qunsetenv(m_name);
    }

    const char *m_name;
    std::optional<QByteArray> m_old;
};

} // namespace

TEST(RepositoryIndexLocation, StableHashIsSixtyFourBitFNV1aInLowercaseHex)
{
    EXPECT_EQ(RepositoryIndexLocation::stableHash(QString()), QStringLiteral("cbf29ce484222325"));
    EXPECT_EQ(RepositoryIndexLocation::stableHash(QStringLiteral("a")),
              QStringLiteral("af63dc4c8601ec8c"));
    EXPECT_EQ(RepositoryIndexLocation::stableHash(QStringLiteral("foobar")),
              QStringLiteral("85944171f73967e8"));
    EXPECT_EQ(RepositoryIndexLocation::stableHash(QStringLiteral("/home/ada/src/strataloom/.git")),
              QStringLiteral("4e08a329c1a0cdcb"));
    // Hashes the UTF-8 bytes, not UTF-16 code units.
    EXPECT_EQ(RepositoryIndexLocation::stableHash(QStringLiteral("Grüße/ü")),
              QStringLiteral("1f83fd2ed443b27a"));
    // A hash below 2^60 is written without a leading zero.
    EXPECT_EQ(RepositoryIndexLocation::stableHash(QStringLiteral("aa")),
              QStringLiteral("89c4307b54596b7"));
}

TEST(RepositoryIndexLocation, SpellingsOfOneCommonDirectoryShareOneFile)
{
    const QString base = QStringLiteral("/var/indexes");
    const QString expected = base + QLatin1Char('/')
        + RepositoryIndexLocation::stableHash(QStringLiteral("/src/repo/.git"))
        + QStringLiteral("/index.sqlite");
    for (const QString &spelling : {
             QStringLiteral("/src/repo/.git"),
             QStringLiteral("/src/repo/.git/"),
             QStringLiteral("/src/repo/sub/../.git"),
             QStringLiteral("/src/./repo//.git"),
         }) {
        EXPECT_EQ(RepositoryIndexLocation::databasePath(spelling, base), expected)
            << spelling.toStdString();
    }
    EXPECT_NE(RepositoryIndexLocation::databasePath(QStringLiteral("/src/other/.git"), base),
              expected);
}

TEST(RepositoryIndexLocation, RelativeCommonDirectoryIsMadeAbsolute)
{
    const QString base = QStringLiteral("/var/indexes");
    EXPECT_EQ(RepositoryIndexLocation::databasePath(QStringLiteral("repo/.git"), base),
              RepositoryIndexLocation::databasePath(
                  QDir::currentPath() + QStringLiteral("/repo/.git"), base));
}

TEST(RepositoryIndexLocation, BaseDirectoryComesFromEnvironmentThenUserData)
{
    QTemporaryDir folder;
    {
        ScopedEnvironment index("STRATALOOM_INDEX_DIR", folder.path().toUtf8() + "/custom/");
        EXPECT_EQ(RepositoryIndexLocation::defaultBaseDirectory(), folder.path() + "/custom");
        EXPECT_TRUE(RepositoryIndexLocation::databasePath(QStringLiteral("/src/repo/.git"))
                        .startsWith(folder.path() + "/custom/"));
    }
    {
        ScopedEnvironment index("STRATALOOM_INDEX_DIR", std::nullopt);
        ScopedEnvironment data("XDG_DATA_HOME", folder.path().toUtf8() + "/data");
        EXPECT_EQ(RepositoryIndexLocation::defaultBaseDirectory(),
                  folder.path() + "/data/Strataloom/Indexes");
    }
    {
        // An empty override counts as unset.
        ScopedEnvironment index("STRATALOOM_INDEX_DIR", QByteArray());
        ScopedEnvironment data("XDG_DATA_HOME", folder.path().toUtf8() + "/data");
        EXPECT_EQ(RepositoryIndexLocation::defaultBaseDirectory(),
                  folder.path() + "/data/Strataloom/Indexes");
    }
}
