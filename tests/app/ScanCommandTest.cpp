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
    QFile plain(dir.filePath("plain"));
    ASSERT_TRUE(plain.open(QIODevice::WriteOnly));
    plain.close();
    const struct
    {
        QStringList arguments;
        int status;
        QString error;
    } cases[] = {
        {{dir.filePath("missing")},
         1,
         "strataloom-cli: " + dir.filePath("missing") + ": no such folder\n"},
        {{plain.fileName()}, 1, "strataloom-cli: " + plain.fileName() + ": not a folder\n"},
        {{dir.path(), dir.path()}, 2, "strataloom-cli: scan: "},
        {{"--deep"}, 2, "strataloom-cli: scan: "},
    };
    for (const auto &row : cases) {
        const CommandRun run = scan(row.arguments);
        SCOPED_TRACE(row.arguments.join(' ').toStdString());
        EXPECT_EQ(run.status, row.status);
        EXPECT_TRUE(run.out.isEmpty());
        EXPECT_TRUE(QString::fromUtf8(run.err).startsWith(row.error)) << run.err.constData();
        // A failure is one line; wrong usage adds the usage text.
        EXPECT_EQ(run.err.count('\n') == 1, row.status == 1);
    }
}
