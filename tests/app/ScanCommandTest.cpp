#include "cli/ScanCommand.h"
#include "TestRepository.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using strataloom::cli::runScanCommand;

namespace {

struct CommandRun
{
    int status = -1;
    QByteArray out;
    QByteArray err;
};

CommandRun scan(const QStringList &arguments)
{
    CommandRun run;
    ::testing::internal::CaptureStdout();
    ::testing::internal::CaptureStderr();
    run.status = runScanCommand(arguments);
    run.err = QByteArray::fromStdString(::testing::internal::GetCapturedStderr());
    run.out = QByteArray::fromStdString(::testing::internal::GetCapturedStdout());
    return run;
}

void makeRepository(const QString &path)
{
    ASSERT_TRUE(QDir().mkpath(path));
    runGitIn(path, {"init", "-q"});
}

} // namespace

TEST(ScanCommandTest, PrintsRepositoriesWithNameThenPathInScanOrder)
{
    QTemporaryDir home;
    const CommandRun empty = scan({home.path()});
    EXPECT_EQ(std::make_pair(empty.status, empty.out), std::make_pair(0, QByteArray("[]\n")));

    for (const char *path : {"repo10", "nested/repo2", "Library/hidden"})
        makeRepository(home.filePath(path));
    const CommandRun run = scan({home.path() + "/."});
    ASSERT_EQ(run.status, 0) << run.err.constData();
    EXPECT_TRUE(run.err.isEmpty());
    EXPECT_EQ(QJsonDocument::fromJson(run.out).array(),
              QJsonArray({QJsonObject {{"name", "repo2"}, {"path", home.filePath("nested/repo2")}},
                          QJsonObject {{"name", "repo10"}, {"path", home.filePath("repo10")}}}));
    EXPECT_LT(run.out.indexOf("\"name\""), run.out.indexOf("\"path\""));

    // Without a folder: the user's home, which the test main points at a private folder.
    const QString repository = QDir::homePath() + "/work/scan-default";
    makeRepository(repository);
    const CommandRun defaulted = scan({});
    QDir(QDir::homePath() + "/work").removeRecursively();
    EXPECT_EQ(QJsonDocument::fromJson(defaulted.out).array(),
              QJsonArray({QJsonObject {{"name", "scan-default"}, {"path", repository}}}));
}

TEST(ScanCommandTest, BadFoldersFailWithOneLineAndWrongUsageWithTwo)
{
    QTemporaryDir dir;
    const QString plain = dir.filePath("plain");
    ASSERT_TRUE(QFile(plain).open(QIODevice::WriteOnly));
    const std::pair<QStringList, int> cases[] = {{{dir.filePath("missing")}, 1},
                                                 {{plain}, 1},
                                                 {{dir.path(), dir.path()}, 2},
                                                 {{"--deep"}, 2}};
    for (const auto &[arguments, status] : cases) {
        const CommandRun run = scan(arguments);
        SCOPED_TRACE(arguments.join(' ').toStdString());
        EXPECT_EQ(run.status, status);
        EXPECT_TRUE(run.out.isEmpty());
        // A failure is one line naming the folder; wrong usage adds the usage text.
        EXPECT_TRUE(run.err.startsWith("strataloom-cli: ")) << run.err.constData();
        EXPECT_EQ(run.err.count('\n') == 1, status == 1);
        if (status == 1) {
            EXPECT_TRUE(run.err.contains(arguments[0].toUtf8()));
        }
    }
}
