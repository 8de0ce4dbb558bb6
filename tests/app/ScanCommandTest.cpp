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
    runGitIn(path, {QStringLiteral("init"), QStringLiteral("-q")});
}

} // namespace

TEST(ScanCommandTest, PrintsRepositoriesWithNameThenPathInScanOrder)
{
    QTemporaryDir home;
    makeRepository(home.filePath(QStringLiteral("repo10")));
    makeRepository(home.filePath(QStringLiteral("nested/repo2")));
    makeRepository(home.filePath(QStringLiteral("Library/hidden")));

    const CommandRun run = scan({home.path() + QStringLiteral("/.")});
    ASSERT_EQ(run.status, 0) << run.err.constData();
    EXPECT_TRUE(run.err.isEmpty());

    const QJsonDocument json = QJsonDocument::fromJson(run.out);
    ASSERT_TRUE(json.isArray()) << run.out.constData();
    const QJsonArray array = json.array();
    ASSERT_EQ(array.size(), 2);
    EXPECT_EQ(array[0].toObject(),
              (QJsonObject {{"name", "repo2"}, {"path", home.filePath("nested/repo2")}}));
    EXPECT_EQ(array[1].toObject(),
              (QJsonObject {{"name", "repo10"}, {"path", home.filePath("repo10")}}));
    EXPECT_LT(run.out.indexOf("\"name\""), run.out.indexOf("\"path\""));
}

TEST(ScanCommandTest, EmptyHomePrintsEmptyArray)
{
    QTemporaryDir home;
    const CommandRun run = scan({home.path()});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out, "[]\n");
}

TEST(ScanCommandTest, DefaultsToTheUsersHomeFolder)
{
    // The test main points HOME at a private temporary folder.
    const QString repository = QDir::homePath() + QStringLiteral("/work/scan-default");
    makeRepository(repository);

    const CommandRun run = scan({});
    QDir(QDir::homePath() + QStringLiteral("/work")).removeRecursively();
    ASSERT_EQ(run.status, 0) << run.err.constData();
    const QJsonArray array = QJsonDocument::fromJson(run.out).array();
    ASSERT_EQ(array.size(), 1) << run.out.constData();
    EXPECT_EQ(array[0].toObject().value("path").toString(), repository);
}

TEST(ScanCommandTest, MissingOrPlainFileFolderFailsWithOneLine)
{
    QTemporaryDir dir;
    const QString missing = dir.filePath(QStringLiteral("missing"));
    CommandRun run = scan({missing});
    EXPECT_EQ(run.status, 1);
    EXPECT_TRUE(run.out.isEmpty());
    EXPECT_EQ(run.err, ("strataloom-cli: " + missing + ": no such folder\n").toUtf8());

    const QString plain = dir.filePath(QStringLiteral("plain"));
    QFile file(plain);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.close();
    run = scan({plain});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.err, ("strataloom-cli: " + plain + ": not a folder\n").toUtf8());
}

TEST(ScanCommandTest, WrongUsageExitsWithTwo)
{
    QTemporaryDir home;
    for (const QStringList &arguments :
         {QStringList {home.path(), home.path()}, QStringList {QStringLiteral("--deep")}}) {
        const CommandRun run = scan(arguments);
        EXPECT_EQ(run.status, 2) << arguments.join(' ').toStdString();
        EXPECT_TRUE(run.out.isEmpty());
        EXPECT_TRUE(run.err.startsWith("strataloom-cli: scan: ")) << run.err.constData();
    }
}
