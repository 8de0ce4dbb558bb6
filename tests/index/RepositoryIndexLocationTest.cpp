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

TEST(RepositoryIndexLocation, StableHashIsSixtyFourBitFNV1aOfUTF8InLowercaseHex)
{
    const std::pair<const char *, const char *> cases[] = {
        {"", "cbf29ce484222325"},
        {"foobar", "85944171f73967e8"},
        {"Grüße/ü", "1f83fd2ed443b27a"}, // the UTF-8 bytes, not UTF-16 code units
        {"aa", "89c4307b54596b7"}, // no leading zero below 2^60
    };
    for (const auto &[text, hash] : cases)
        EXPECT_EQ(RepositoryIndexLocation::stableHash(QString::fromUtf8(text)),
                  QLatin1String(hash));
}

TEST(RepositoryIndexLocation, SpellingsOfOneCommonDirectoryShareOneFile)
{
    const QString base = QStringLiteral("/var/indexes");
    const QString expected
        = base + u'/' + RepositoryIndexLocation::stableHash("/src/repo/.git") + "/index.sqlite";
    const QString relative = QDir::current().relativeFilePath("/src/repo/.git");
    for (const QString &spelling :
         QStringList {"/src/repo/.git", "/src/repo/.git/", "/src/repo/sub/../.git",
                      "/src/./repo//.git", relative})
        EXPECT_EQ(RepositoryIndexLocation::databasePath(spelling, base), expected)
            << spelling.toStdString();
    EXPECT_NE(RepositoryIndexLocation::databasePath("/src/other/.git", base), expected);
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
