#include "TestRepository.h"
#include "git/GitProcess.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace strataloom;

namespace {

struct CliRun
{
    int status = 0;
    QString out;
    QString err;
};

CliRun cli(const QStringList &arguments, const QStringList &environment = {})
{
    const ProcessResult result = runProcess(QStringLiteral(STRATALOOM_CLI), arguments, environment);
    return {result.exitStatus, QString::fromUtf8(result.standardOutput),
            QString::fromUtf8(result.standardError)};
}

// A failure is one line on standard error, never a crash or a trace.
void expectOneLineFailure(const CliRun &run, const QString &expectedPart)
{
    EXPECT_EQ(run.status, 1) << run.err.toStdString();
    EXPECT_TRUE(run.out.isEmpty());
    EXPECT_EQ(run.err.count(QLatin1Char('\n')), 1) << run.err.toStdString();
    EXPECT_TRUE(run.err.contains(expectedPart)) << run.err.toStdString();
}

QJsonDocument parsed(const CliRun &run)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(run.out.toUtf8(), &error);
    EXPECT_EQ(error.error, QJsonParseError::NoError) << run.out.toStdString();
    return document;
}

} // namespace

TEST(Cli, BadInputEndsWithOneLineAndStatusOne)
{
    TestRepository repository;
    repository.write("notes.txt", "text\n");
    repository.commit("first");
    QTemporaryDir outside;

    const struct
    {
        QStringList arguments;
        QStringList environment;
        QString message;
    } cases[] = {
        {{"summary", outside.filePath("missing")}, {}, "no such folder"},
        {{"summary", repository.filePath("notes.txt")}, {}, "not a folder"},
        {{"summary", outside.path()}, {}, "fatal: not a git repository"},
        {{"summary", repository.filePath(".git")}, {}, "not a Git repository"},
        {{"summary", repository.path()}, {"STRATALOOM_GIT=/nonexistent/git"}, "/nonexistent/git"},
        {{"changes", repository.path(), "0123456789abcdef"}, {}, "0123456789abcdef"},
        {{"diff", repository.path(), "0123456789abcdef"}, {}, "0123456789abcdef"},
    };
    for (const auto &row : cases) {
        SCOPED_TRACE(row.arguments.join(' ').toStdString());
        expectOneLineFailure(cli(row.arguments, row.environment), row.message);
    }
}

TEST(Cli, WrongUsagePrintsUsageWithStatusTwo)
{
    TestRepository repository;
    const QList<QStringList> misuses {
        {},
        {"frobnicate", repository.path()},
        {"summary"},
        {"search", repository.path()},
        {"commits", repository.path(), "--limit"},
        {"commits", repository.path(), "--limit", "many"},
        {"graph", repository.path(), "--months", "3"},
    };
    for (const QStringList &arguments : misuses) {
        const CliRun run = cli(arguments);
        EXPECT_EQ(run.status, 2) << arguments.join(' ').toStdString();
        EXPECT_TRUE(run.err.contains("Usage: strataloom-cli")) << run.err.toStdString();
        EXPECT_TRUE(run.out.isEmpty());
    }
    const CliRun help = cli({"--help"});
    EXPECT_EQ(help.status, 0);
    EXPECT_TRUE(help.out.startsWith("Usage: strataloom-cli"));
}

TEST(Cli, PrintsRecordsAsJsonWithUtcDatesAndNulls)
{
    TestRepository repository;
    repository.setDate("2024-03-01T10:20:30+01:00");
    repository.write("a.txt", "a\nb\n");
    const QString subject = "Add a | \"quoted\" café";
    const QString commit = repository.commit(subject);

    const QJsonObject summary = parsed(cli({"summary", repository.path()})).object();
    EXPECT_EQ(summary.value("name").toString(), QDir(repository.path()).dirName());
    EXPECT_TRUE(summary.value("remoteURL").isNull());
    EXPECT_EQ(summary.value("commitCount").toInteger(), 1);
    EXPECT_EQ(summary.value("firstCommitDate").toString(), "2024-03-01T09:20:30Z");

    const CliRun commitsRun = cli({"commits", repository.path(), "--limit", "5"});
    const QJsonArray commits = parsed(commitsRun).array();
    ASSERT_EQ(commits.size(), 1);
    const QJsonObject first = commits.first().toObject();
    EXPECT_EQ(first.value("id").toString(), commit);
    EXPECT_EQ(first.value("subject").toString(), subject);
    EXPECT_EQ(first.value("additions").toInteger(), 2);
    // Fields come in the record's own order, not sorted.
    EXPECT_LT(commitsRun.out.indexOf("\"shortHash\""), commitsRun.out.indexOf("\"author\""));
    EXPECT_LT(commitsRun.out.indexOf("\"subject\""), commitsRun.out.indexOf("\"body\""));

    const CliRun diff = cli({"diff", repository.path(), commit});
    EXPECT_EQ(diff.status, 0);
    EXPECT_TRUE(diff.out.startsWith("commit " + commit));
}
