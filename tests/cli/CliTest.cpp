#include "git/GitProcess.h"
#include "TestRepository.h"

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
    repository.write(QStringLiteral("notes.txt"), "text\n");
    repository.commit(QStringLiteral("first"));
    QTemporaryDir outside;

    expectOneLineFailure(
        cli({QStringLiteral("summary"), outside.filePath(QStringLiteral("missing"))}),
        QStringLiteral("no such folder"));
    expectOneLineFailure(
        cli({QStringLiteral("summary"), repository.filePath(QStringLiteral("notes.txt"))}),
        QStringLiteral("not a folder"));
    expectOneLineFailure(cli({QStringLiteral("summary"), outside.path()}),
                         QStringLiteral("fatal: not a git repository"));
    expectOneLineFailure(
        cli({QStringLiteral("summary"), repository.filePath(QStringLiteral(".git"))}),
        QStringLiteral("The selected folder is not a Git repository."));
    expectOneLineFailure(cli({QStringLiteral("summary"), repository.path()},
                             {QStringLiteral("STRATALOOM_GIT=/nonexistent/git")}),
                         QStringLiteral("/nonexistent/git"));
    for (const QString &command : {QStringLiteral("changes"), QStringLiteral("diff")})
        expectOneLineFailure(cli({command, repository.path(), QStringLiteral("0123456789abcdef")}),
                             QStringLiteral("0123456789abcdef"));
}

TEST(Cli, WrongUsagePrintsUsageWithStatusTwo)
{
    TestRepository repository;
    const QList<QStringList> misuses {
        {},
        {QStringLiteral("frobnicate"), repository.path()},
        {QStringLiteral("summary")},
        {QStringLiteral("search"), repository.path()},
        {QStringLiteral("commits"), repository.path(), QStringLiteral("--limit")},
        {QStringLiteral("commits"), repository.path(), QStringLiteral("--limit"),
         QStringLiteral("many")},
        {QStringLiteral("graph"), repository.path(), QStringLiteral("--months"),
         QStringLiteral("3")},
    };
    for (const QStringList &arguments : misuses) {
        const CliRun run = cli(arguments);
        EXPECT_EQ(run.status, 2) << arguments.join(QLatin1Char(' ')).toStdString();
        EXPECT_TRUE(run.err.contains(QStringLiteral("Usage: strataloom-cli")))
            << run.err.toStdString();
        EXPECT_TRUE(run.out.isEmpty());
    }
    const CliRun help = cli({QStringLiteral("--help")});
    EXPECT_EQ(help.status, 0);
    EXPECT_TRUE(help.out.startsWith(QStringLiteral("Usage: strataloom-cli")));
}

TEST(Cli, PrintsRecordsAsJsonWithUtcDatesAndNulls)
{
    TestRepository repository;
    repository.setDate(QStringLiteral("2024-03-01T10:20:30+01:00"));
    repository.write(QStringLiteral("a.txt"), "a\nb\n");
    const QString commit = repository.commit(QStringLiteral("Add a | \"quoted\" caf\u00e9"));

    const QJsonObject summary
        = parsed(cli({QStringLiteral("summary"), repository.path()})).object();
    EXPECT_EQ(summary.value(QStringLiteral("name")).toString(), QDir(repository.path()).dirName());
    EXPECT_TRUE(summary.value(QStringLiteral("remoteURL")).isNull());
    EXPECT_EQ(summary.value(QStringLiteral("commitCount")).toInteger(), 1);
    EXPECT_EQ(summary.value(QStringLiteral("firstCommitDate")).toString(),
              QStringLiteral("2024-03-01T09:20:30Z"));

    const CliRun commitsRun = cli({QStringLiteral("commits"), repository.path(),
                                   QStringLiteral("--limit"), QStringLiteral("5")});
    const QJsonArray commits = parsed(commitsRun).array();
    ASSERT_EQ(commits.size(), 1);
    const QJsonObject first = commits.first().toObject();
    EXPECT_EQ(first.value(QStringLiteral("id")).toString(), commit);
    EXPECT_EQ(first.value(QStringLiteral("subject")).toString(),
              QStringLiteral("Add a | \"quoted\" caf\u00e9"));
    EXPECT_EQ(first.value(QStringLiteral("additions")).toInteger(), 2);
    // Fields come in the record's own order, not sorted.
    EXPECT_LT(commitsRun.out.indexOf(QStringLiteral("\"shortHash\"")),
              commitsRun.out.indexOf(QStringLiteral("\"author\"")));
    EXPECT_LT(commitsRun.out.indexOf(QStringLiteral("\"subject\"")),
              commitsRun.out.indexOf(QStringLiteral("\"body\"")));

    const CliRun diff = cli({QStringLiteral("diff"), repository.path(), commit});
    EXPECT_EQ(diff.status, 0);
    EXPECT_TRUE(diff.out.startsWith(QStringLiteral("commit ") + commit));
}
