// strataloom-cli log: the query language over the index as it stands, as scripts call it.

#include "CliRun.h"
#include "TestRepository.h"

#include <QDir>
#include <QJsonArray>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

class LogCommandTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        repo.setDateStep(3600);
        for (int i = 1; i <= 5; ++i) {
            repo.write(QStringLiteral("file%1.txt").arg(i), QByteArray::number(i));
            repo.commit(QStringLiteral("Change number %1").arg(i),
                        i % 2 ? QStringLiteral("Odd Author") : QStringLiteral("Even Author"));
        }
    }

    CliRun log(const QStringList &options)
    {
        return cli(QStringList {QStringLiteral("log"), repo.path(), QStringLiteral("--index-dir"),
                                indexes.path()}
                   + options);
    }

    static QStringList ids(const CliRun &run)
    {
        QStringList result;
        for (const QJsonValue &commit : run.array())
            result << commit.toObject().value(QStringLiteral("id")).toString();
        return result;
    }

    TestRepository repo;
    QTemporaryDir indexes;
};

TEST_F(LogCommandTest, AMissingIndexSaysToRunIndex)
{
    const CliRun run = log({});
    EXPECT_EQ(run.status, 1);
    EXPECT_TRUE(run.err.contains(QStringLiteral("strataloom-cli index"))) << run.err.toStdString();
    // Asking created nothing.
    EXPECT_TRUE(QDir(indexes.path()).isEmpty());
}

TEST_F(LogCommandTest, ReadsTheIndexAsItStandsNewestFirstPaged)
{
    ASSERT_EQ(
        cli({QStringLiteral("index"), repo.path(), QStringLiteral("--index-dir"), indexes.path()})
            .status,
        0);
    // Not synchronised by log: this commit stays out until the next `index`.
    repo.commit(QStringLiteral("Change after indexing"));
    const QStringList all = repo.git({QStringLiteral("rev-list"), QStringLiteral("HEAD~1")})
                                .split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    ASSERT_EQ(all.size(), 5);

    struct Case
    {
        QStringList options;
        QStringList expected;
    };
    const Case cases[] = {
        {{QStringLiteral("--limit"), QStringLiteral("0")}, all},
        {{}, all},
        {{QStringLiteral("--limit"), QStringLiteral("2")}, all.mid(0, 2)},
        {{QStringLiteral("--offset"), QStringLiteral("3")}, all.mid(3)},
        {{QStringLiteral("--offset"), QStringLiteral("1"), QStringLiteral("--limit"),
          QStringLiteral("2")},
         all.mid(1, 2)},
        {{QStringLiteral("--offset"), QStringLiteral("9")}, {}},
        {{QStringLiteral("--query"), QStringLiteral("author:odd number")},
         {all[0], all[2], all[4]}},
        {{QStringLiteral("--query"), QStringLiteral("\"number 4\"")}, {all[1]}},
    };
    for (const Case &test : cases) {
        SCOPED_TRACE(test.options.join(QLatin1Char(' ')).toStdString());
        const CliRun run = log(test.options);
        EXPECT_EQ(run.status, 0) << run.err.toStdString();
        EXPECT_EQ(ids(run), test.expected);
    }
}

TEST_F(LogCommandTest, BadInputIsRefusedWithItsReason)
{
    ASSERT_EQ(
        cli({QStringLiteral("index"), repo.path(), QStringLiteral("--index-dir"), indexes.path()})
            .status,
        0);
    struct Case
    {
        QStringList options;
        int status;
        const char *says;
    };
    const Case cases[] = {
        {{QStringLiteral("--query"), QStringLiteral("number colour:red")},
         1,
         "unknown key \"colour:\"; the keys are"},
        {{QStringLiteral("--query"), QStringLiteral("ref:gone")}, 1, "unknown ref \"gone\""},
        {{QStringLiteral("--query"), QStringLiteral("after:2024-13-01")}, 1, "(at character 7)"},
        {{QStringLiteral("--limit"), QStringLiteral("-1")}, 2, "--limit needs a whole number"},
        {{QStringLiteral("--offset"), QStringLiteral("x")}, 2, "--offset needs a whole number"},
    };
    for (const Case &test : cases) {
        SCOPED_TRACE(test.options.join(QLatin1Char(' ')).toStdString());
        const CliRun run = log(test.options);
        EXPECT_EQ(run.status, test.status);
        EXPECT_TRUE(run.err.contains(QString::fromUtf8(test.says))) << run.err.toStdString();
        EXPECT_TRUE(run.out.isEmpty());
    }
}

} // namespace
