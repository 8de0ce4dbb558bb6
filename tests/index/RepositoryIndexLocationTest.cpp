#include "index/RepositoryIndex.h"

#include <QDir>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace strataloom;

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
    const QByteArray oldData = qgetenv("XDG_DATA_HOME");
    const QByteArray oldIndex = qgetenv("STRATALOOM_INDEX_DIR");
    qputenv("XDG_DATA_HOME", folder.path().toUtf8() + "/data");
    // An empty override counts as unset.
    const std::pair<std::optional<QByteArray>, QString> cases[] = {
        {folder.path().toUtf8() + "/custom/", folder.path() + "/custom"},
        {std::nullopt, folder.path() + "/data/Strataloom/Indexes"},
        {QByteArray(), folder.path() + "/data/Strataloom/Indexes"},
    };
    for (const auto &[override, expected] : cases) {
        if (override)
            qputenv("STRATALOOM_INDEX_DIR", *override);
        else
            qunsetenv("STRATALOOM_INDEX_DIR");
        EXPECT_EQ(RepositoryIndexLocation::defaultBaseDirectory(), expected);
        EXPECT_TRUE(
            RepositoryIndexLocation::databasePath("/src/repo/.git").startsWith(expected + '/'));
    }
    qputenv("STRATALOOM_INDEX_DIR", oldIndex);
    qputenv("XDG_DATA_HOME", oldData);
}
