#include "app/RepositoryScanner.h"
#include "TestRepository.h"

#include <QDir>
#include <QFile>
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

    void folder(const QString &relative) const { ASSERT_TRUE(QDir().mkpath(at(relative))); }
    void file(const QString &relative, const QByteArray &content = "x") const
    {
        QFile out(at(relative));
        ASSERT_TRUE(out.open(QIODevice::WriteOnly)) << relative.toStdString();
        out.write(content);
    }
    void repository(const QString &relative) const
    {
        folder(relative);
        runGitIn(at(relative), {QStringLiteral("init"), QStringLiteral("-q")});
    }
    void bareRepository(const QString &relative) const
    {
        folder(relative);
        runGitIn(at(relative),
                 {QStringLiteral("init"), QStringLiteral("-q"), QStringLiteral("--bare")});
    }
    void link(const QString &target, const QString &relative) const
    {
        ASSERT_EQ(::symlink(target.toUtf8().constData(), at(relative).toUtf8().constData()), 0)
            << relative.toStdString();
    }

    // The scan's result as paths relative to the home folder, in the scan's order.
    QStringList scanned() const { return relativePaths(RepositoryScanner(home()).scan()); }

    QStringList relativePaths(const QList<DiscoveredRepository> &found) const
    {
        QStringList out;
        for (const DiscoveredRepository &repository : found) {
            EXPECT_EQ(repository.name, repository.path.section(QLatin1Char('/'), -1));
            EXPECT_TRUE(repository.path.startsWith(home() + QLatin1Char('/')))
                << repository.path.toStdString();
            out << repository.path.mid(home().size() + 1);
        }
        return out;
    }

    QTemporaryDir m_home {QDir::tempPath() + QStringLiteral("/strataloom-home-XXXXXX")};
};

} // namespace

// --- what counts as a repository -----------------------------------------------------------------

TEST_F(ScannerTest, HomeThatIsARepositoryIsTheOnlyEntry)
{
    repository(QStringLiteral("."));
    repository(QStringLiteral("projects/inner"));

    const QList<DiscoveredRepository> found = RepositoryScanner(home()).scan();
    ASSERT_EQ(found.size(), 1);
    EXPECT_EQ(found[0].path, home());
    EXPECT_EQ(found[0].name, home().section(QLatin1Char('/'), -1));
}

TEST_F(ScannerTest, RepositoriesInsideAFoundRepositoryAreNotReported)
{
    repository(QStringLiteral("outer"));
    repository(QStringLiteral("outer/inner"));
    repository(QStringLiteral("outer/vendor/deep"));
    repository(QStringLiteral("plain/code/app"));

    EXPECT_EQ(scanned(), (QStringList {"plain/code/app", "outer"}));
}

TEST_F(ScannerTest, GitFileOfLinkedWorkTreeMarksARepository)
{
    folder(QStringLiteral("worktree"));
    file(QStringLiteral("worktree/.git"), "gitdir: /elsewhere/.git/worktrees/worktree\n");
    folder(QStringLiteral("worktree/sub/also"));
    file(QStringLiteral("worktree/sub/also/.git"), "gitdir: /elsewhere\n");

    EXPECT_EQ(scanned(), QStringList {"worktree"});
    EXPECT_TRUE(RepositoryScanner::isRepository(at(QStringLiteral("worktree"))));
}

TEST_F(ScannerTest, BareRepositoryIsReportedAndNotEntered)
{
    bareRepository(QStringLiteral("server/project.git"));
    bareRepository(QStringLiteral("server/project.git/refs/nested.git"));

    EXPECT_EQ(scanned(), QStringList {"server/project.git"});
    EXPECT_TRUE(RepositoryScanner::isRepository(at(QStringLiteral("server/project.git"))));
}

TEST_F(ScannerTest, FolderWithHeadButNoRefsIsSearchedInside)
{
    folder(QStringLiteral("notes/objects"));
    file(QStringLiteral("notes/HEAD"), "ref: refs/heads/main\n");
    repository(QStringLiteral("notes/journal"));
    // "refs" must be a folder too.
    folder(QStringLiteral("half/objects"));
    file(QStringLiteral("half/HEAD"));
    file(QStringLiteral("half/refs"));

    EXPECT_EQ(scanned(), QStringList {"notes/journal"});
    EXPECT_FALSE(RepositoryScanner::isRepository(at(QStringLiteral("notes"))));
    EXPECT_FALSE(RepositoryScanner::isRepository(at(QStringLiteral("half"))));
}

// --- pruning -------------------------------------------------------------------------------------

TEST_F(ScannerTest, LibraryAndTrashArePrunedOnlyDirectlyUnderHome)
{
    repository(QStringLiteral("Library/foo"));
    repository(QStringLiteral(".Trash/old"));
    repository(QStringLiteral("code/Library/foo"));
    repository(QStringLiteral("code/.Trash/kept"));
    repository(QStringLiteral("library/lower"));

    EXPECT_EQ(scanned(), (QStringList {"code/Library/foo", "code/.Trash/kept", "library/lower"}));
}

TEST_F(ScannerTest, TheDesktopTrashIsPrunedWhereTheDataFolderSaysItIs)
{
    const QByteArray saved = qgetenv("XDG_DATA_HOME");
    struct Case
    {
        QByteArray dataHome; // relative to home; "-" unset
        QStringList expected;
    };
    const QList<Case> cases {
        {"-", {"data/Trash/files/b", ".local/share/projects/kept"}},
        {"relative/not/valid", {"data/Trash/files/b", ".local/share/projects/kept"}},
        {"data", {".local/share/Trash/files/a", ".local/share/projects/kept"}},
    };
    repository(QStringLiteral(".local/share/Trash/files/a"));
    repository(QStringLiteral("data/Trash/files/b"));
    repository(QStringLiteral(".local/share/projects/kept"));
    for (const Case &test : cases) {
        if (test.dataHome == "-")
            qunsetenv("XDG_DATA_HOME");
        else if (test.dataHome.startsWith("relative"))
            qputenv("XDG_DATA_HOME", test.dataHome);
        else
            qputenv("XDG_DATA_HOME", QFile::encodeName(at(QString::fromUtf8(test.dataHome))));
        EXPECT_EQ(scanned(), test.expected) << test.dataHome.constData();
    }
    qputenv("XDG_DATA_HOME", saved);
}

TEST_F(ScannerTest, DependencyAndBuildFoldersArePrunedAtAnyDepth)
{
    repository(QStringLiteral("node_modules/top"));
    repository(QStringLiteral("web/node_modules/left-pad"));
    repository(QStringLiteral("ios/DerivedData/App/cache"));
    repository(QStringLiteral("swift/.build/checkouts/dependency"));
    repository(QStringLiteral("swift/Sources/.build"));
    // The names are matched exactly.
    repository(QStringLiteral("web/Node_Modules/kept"));
    repository(QStringLiteral("web/src/app"));

    EXPECT_EQ(scanned(), (QStringList {"web/src/app", "web/Node_Modules/kept"}));
}

TEST(SkipRuleTest, TopLevelAndAnyDepthRules)
{
    const QString root = QStringLiteral("/home/ada");
    EXPECT_TRUE(RepositoryScanner::shouldSkipDirectory("/home/ada/Library", root));
    EXPECT_TRUE(RepositoryScanner::shouldSkipDirectory("/home/ada/Library/Caches", root));
    EXPECT_TRUE(RepositoryScanner::shouldSkipDirectory("/home/ada/.Trash", root));
    EXPECT_FALSE(RepositoryScanner::shouldSkipDirectory("/home/ada/code/Library", root));
    EXPECT_FALSE(RepositoryScanner::shouldSkipDirectory("/home/ada/code/.Trash", root));
    EXPECT_TRUE(RepositoryScanner::shouldSkipDirectory("/home/ada/a/b/node_modules", root));
    EXPECT_TRUE(RepositoryScanner::shouldSkipDirectory("/home/ada/DerivedData", root));
    EXPECT_TRUE(RepositoryScanner::shouldSkipDirectory("/home/ada/pkg/.build", root));
    EXPECT_FALSE(RepositoryScanner::shouldSkipDirectory("/home/ada/pkg/.builds", root));
    EXPECT_FALSE(RepositoryScanner::shouldSkipDirectory("/home/ada/derivedData", root));
    EXPECT_FALSE(RepositoryScanner::shouldSkipDirectory("/home/ada/code", root));
}

TEST_F(ScannerTest, HiddenFoldersAreSearched)
{
    repository(QStringLiteral(".config/nvim/pack/plugin"));
    repository(QStringLiteral(".dotfiles"));

    EXPECT_EQ(scanned(), (QStringList {".dotfiles", ".config/nvim/pack/plugin"}));
}

// --- links and unreadable folders ----------------------------------------------------------------

TEST_F(ScannerTest, SymbolicLinksAreNotFollowedSoLoopsEnd)
{
    repository(QStringLiteral("loop/real"));
    link(at(QStringLiteral("loop")), QStringLiteral("loop/self"));
    link(QStringLiteral(".."), QStringLiteral("loop/up"));
    link(home(), QStringLiteral("home-again"));
    QTemporaryDir outside;
    runGitIn(outside.path(), {QStringLiteral("init"), QStringLiteral("-q")});
    link(outside.path(), QStringLiteral("outside-repository"));
    link(at(QStringLiteral("missing")), QStringLiteral("dangling"));

    EXPECT_EQ(scanned(), QStringList {"loop/real"});
}

TEST_F(ScannerTest, LinkedHomeFolderIsScanned)
{
    repository(QStringLiteral("code/app"));
    QTemporaryDir links;
    const QString linkedHome = links.filePath(QStringLiteral("home"));
    ASSERT_EQ(::symlink(home().toUtf8().constData(), linkedHome.toUtf8().constData()), 0);

    const QList<DiscoveredRepository> found = RepositoryScanner(linkedHome).scan();
    ASSERT_EQ(found.size(), 1);
    EXPECT_EQ(found[0].path, linkedHome + QStringLiteral("/code/app"));
}

TEST_F(ScannerTest, UnreadableFoldersArePassedOver)
{
    if (::geteuid() == 0)
        GTEST_SKIP() << "root reads every folder";
    repository(QStringLiteral("locked/inside"));
    repository(QStringLiteral("searchable"));
    repository(QStringLiteral("open"));
    ASSERT_TRUE(QFile::setPermissions(at(QStringLiteral("locked")), QFileDevice::WriteOwner));
    // Listing is refused, but the markers inside can still be looked up.
    ASSERT_TRUE(QFile::setPermissions(at(QStringLiteral("searchable")), QFileDevice::ExeOwner));

    const QStringList found = scanned();
    QFile::setPermissions(at(QStringLiteral("locked")),
                          QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    QFile::setPermissions(at(QStringLiteral("searchable")),
                          QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    EXPECT_EQ(found, (QStringList {"open", "searchable"}));
}

TEST_F(ScannerTest, MissingHomeFolderGivesNothing)
{
    EXPECT_TRUE(RepositoryScanner(at(QStringLiteral("missing"))).scan().isEmpty());
    EXPECT_FALSE(RepositoryScanner::isRepository(at(QStringLiteral("missing"))));
}

// --- paths and order -----------------------------------------------------------------------------

TEST_F(ScannerTest, HomeFolderPathIsStandardized)
{
    repository(QStringLiteral("code/app"));
    const RepositoryScanner scanner(home() + QStringLiteral("/code/../."));

    EXPECT_EQ(scanner.homeDirectory(), home());
    const QList<DiscoveredRepository> found = scanner.scan();
    ASSERT_EQ(found.size(), 1);
    EXPECT_EQ(found[0].path, home() + QStringLiteral("/code/app"));
    EXPECT_EQ(RepositoryScanner(home() + QLatin1Char('/')).homeDirectory(), home());
}

TEST_F(ScannerTest, NamesSortNumericallyAndCaseInsensitively)
{
    repository(QStringLiteral("repo10"));
    repository(QStringLiteral("repo2"));
    repository(QStringLiteral("x/Beta"));
    repository(QStringLiteral("alpha"));
    repository(QStringLiteral("Zulu"));
    repository(QStringLiteral("repo1"));

    EXPECT_EQ(scanned(), (QStringList {"alpha", "x/Beta", "repo1", "repo2", "repo10", "Zulu"}));
}

TEST_F(ScannerTest, EqualNamesSortByPathTheSameWay)
{
    repository(QStringLiteral("b/tool"));
    repository(QStringLiteral("A/tool"));
    repository(QStringLiteral("c10/tool"));
    repository(QStringLiteral("c9/tool"));

    EXPECT_EQ(scanned(), (QStringList {"A/tool", "b/tool", "c9/tool", "c10/tool"}));
}

TEST_F(ScannerTest, TwoScansInARowGiveTheSameResult)
{
    for (int n = 0; n < 30; ++n)
        repository(QStringLiteral("group%1/project").arg(n % 7) + QString::number(n));
    repository(QStringLiteral("same/Tool"));
    repository(QStringLiteral("same/tool"));
    bareRepository(QStringLiteral("mirror.git"));

    const RepositoryScanner scanner(home());
    const QList<DiscoveredRepository> first = scanner.scan();
    EXPECT_EQ(first.size(), 33);
    EXPECT_EQ(scanner.scan(), first);
}
