#include "app/RepositoryScanner.h"
#include "TestRepository.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <unistd.h>

using namespace strataloom;

namespace {

// A home folder in a temporary folder, filled with folders and repositories by relative path.
class ScannerTest : public ::testing::Test
{
protected:
    QString home() const { return m_home.path(); }
    QString at(const QString &relative) const { return home() + QLatin1Char('/') + relative; }

    // Builds a home folder from lines "repo PATH", "bare PATH", "dir PATH", "file PATH TEXT"
    // and "link TARGET PATH" (a TARGET of "~" is the home folder, "~/x" a path in it).
    void build(const QStringList &layout) const
    {
        for (const QString &line : layout) {
            const QStringList words = line.split(' ');
            const QString &kind = words[0];
            const QString &path = kind == "link" ? words[2] : words[1];
            ASSERT_TRUE(QDir().mkpath(QFileInfo(at(path)).path()));
            if (kind == "repo" || kind == "bare") {
                ASSERT_TRUE(QDir().mkpath(at(path)));
                runGitIn(at(path),
                         kind == "repo" ? QStringList {"init", "-q"}
                                        : QStringList {"init", "-q", "--bare"});
            } else if (kind == "dir") {
                ASSERT_TRUE(QDir().mkpath(at(path)));
            } else if (kind == "file") {
                QFile out(at(path));
                ASSERT_TRUE(out.open(QIODevice::WriteOnly)) << path.toStdString();
                out.write(words.mid(2).join(' ').toUtf8());
            } else {
                const QString target
                    = words[1].startsWith('~') ? home() + words[1].mid(1) : words[1];
                ASSERT_EQ(::symlink(QFile::encodeName(target), QFile::encodeName(at(path))), 0);
            }
        }
    }

    // The scan's result as paths relative to the home folder, in the scan's order.
    QStringList scanned() const
    {
        QStringList out;
        for (const DiscoveredRepository &repository : RepositoryScanner(home()).scan()) {
            EXPECT_EQ(repository.name, repository.path.section('/', -1));
            EXPECT_TRUE(repository.path.startsWith(home() + '/')) << repository.path.toStdString();
            out << repository.path.mid(home().size() + 1);
        }
        return out;
    }

    QTemporaryDir m_home {QDir::tempPath() + QStringLiteral("/strataloom-home-XXXXXX")};
};

struct Layout
{
    const char *what;
    QStringList layout;
    QStringList found;
};

class ScannerLayoutTest : public ScannerTest, public ::testing::WithParamInterface<Layout>
{
};

} // namespace

TEST_P(ScannerLayoutTest, FindsTheRepositoriesItShould)
{
    SCOPED_TRACE(GetParam().what);
    build(GetParam().layout);
    EXPECT_EQ(scanned(), GetParam().found);
    // A second scan gives the same result in the same order.
    EXPECT_EQ(scanned(), GetParam().found);
}

INSTANTIATE_TEST_SUITE_P(
    Layouts, ScannerLayoutTest,
    ::testing::Values(
        Layout {"repositories inside a found one are not reported",
                {"repo outer", "repo outer/inner", "repo outer/vendor/deep", "repo plain/code/app"},
                {"plain/code/app", "outer"}},
        Layout {"a .git file of a linked work tree marks a repository",
                {"file worktree/.git gitdir: /elsewhere", "file worktree/sub/.git gitdir: /x"},
                {"worktree"}},
        Layout {"a bare repository is reported and not entered",
                {"bare server/project.git", "bare server/project.git/refs/nested.git"},
                {"server/project.git"}},
        Layout {"HEAD, objects and refs folders make a repository; anything less is searched",
                {"dir notes/objects", "file notes/HEAD ref: refs/heads/main", "repo notes/journal",
                 "dir half/objects", "file half/HEAD x", "file half/refs x"},
                {"notes/journal"}},
        Layout {"Library and .Trash are pruned only directly under home",
                {"repo Library/foo", "repo Library/Caches/x", "repo .Trash/old",
                 "repo code/Library/foo", "repo code/.Trash/kept", "repo library/lower"},
                {"code/Library/foo", "code/.Trash/kept", "library/lower"}},
        Layout {
            "dependency and build folders are pruned at any depth, by exact name",
            {"repo node_modules/top", "repo web/node_modules/left-pad",
             "repo ios/DerivedData/App/cache", "repo swift/.build/checkouts/dependency",
             "repo swift/Sources/.build", "repo web/Node_Modules/kept", "repo web/src/app",
             "repo pkg/.builds/kept", "repo ios/derivedData/kept"},
            {"web/src/app", "ios/derivedData/kept", "pkg/.builds/kept", "web/Node_Modules/kept"}},
        Layout {"hidden folders are searched",
                {"repo .config/nvim/pack/plugin", "repo .dotfiles"},
                {".dotfiles", ".config/nvim/pack/plugin"}},
        Layout {"links are not followed, so loops end",
                {"repo loop/real", "link ~/loop loop/self", "link .. loop/up", "link ~ home-again",
                 "link /nonexistent dangling"},
                {"loop/real"}},
        Layout {
            "names sort numerically and case-insensitively",
            {"repo repo10", "repo repo2", "repo x/Beta", "repo alpha", "repo Zulu", "repo repo1"},
            {"alpha", "x/Beta", "repo1", "repo2", "repo10", "Zulu"}},
        Layout {"equal names sort by path the same way",
                {"repo b/tool", "repo A/tool", "repo c10/tool", "repo c9/tool"},
                {"A/tool", "b/tool", "c9/tool", "c10/tool"}}),
    [](const ::testing::TestParamInfo<Layout> &info) {
        return "Layout" + std::to_string(info.index);
    });

TEST_F(ScannerTest, HomeThatIsARepositoryIsTheOnlyEntry)
{
    build({"repo .", "repo projects/inner"});
    EXPECT_EQ(RepositoryScanner(home()).scan(),
              (QList<DiscoveredRepository> {{home().section('/', -1), home()}}));
    EXPECT_TRUE(RepositoryScanner(at("missing")).scan().isEmpty());
}

TEST_F(ScannerTest, LinkedOrUnstandardHomeFolderIsScannedUnderItsOwnSpelling)
{
    build({"repo code/app"});
    QTemporaryDir links;
    const QString linkedHome = links.filePath("home");
    ASSERT_EQ(::symlink(QFile::encodeName(home()), QFile::encodeName(linkedHome)), 0);
    EXPECT_EQ(RepositoryScanner(linkedHome).scan(),
              (QList<DiscoveredRepository> {{"app", linkedHome + "/code/app"}}));

    EXPECT_EQ(RepositoryScanner(home() + "/code/../.").homeDirectory(), home());
    EXPECT_EQ(RepositoryScanner(home() + '/').homeDirectory(), home());
}

TEST_F(ScannerTest, UnreadableFoldersArePassedOver)
{
    if (::geteuid() == 0)
        GTEST_SKIP() << "root reads every folder";
    build({"repo locked/inside", "repo searchable", "repo open"});
    ASSERT_TRUE(QFile::setPermissions(at("locked"), QFileDevice::WriteOwner));
    // Listing is refused, but the markers inside can still be looked up.
    ASSERT_TRUE(QFile::setPermissions(at("searchable"), QFileDevice::ExeOwner));

    const QStringList found = scanned();
    for (const char *path : {"locked", "searchable"})
        QFile::setPermissions(
            at(path), QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    EXPECT_EQ(found, (QStringList {"open", "searchable"}));
}

TEST_F(ScannerTest, TheDesktopTrashIsPrunedWhereTheDataFolderSaysItIs)
{
    const QByteArray saved = qgetenv("XDG_DATA_HOME");
    const QStringList underData {"data/Trash/files/b", ".local/share/projects/kept"};
    const std::pair<QByteArray, QStringList> cases[] = {
        {{}, underData},
        {"relative/not/valid", underData},
        {QFile::encodeName(at("data")),
         {".local/share/Trash/files/a", ".local/share/projects/kept"}},
    };
    build({"repo .local/share/Trash/files/a", "repo data/Trash/files/b",
           "repo .local/share/projects/kept"});
    for (const auto &[dataHome, expected] : cases) {
        if (dataHome.isEmpty())
            qunsetenv("XDG_DATA_HOME");
        else
            qputenv("XDG_DATA_HOME", dataHome);
        EXPECT_EQ(scanned(), expected) << dataHome.constData();
    }
    qputenv("XDG_DATA_HOME", saved);
}
