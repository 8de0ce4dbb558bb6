// strataloom-cli log: the query language over the index as it stands, as scripts call it.

#include "CliRun.h"
#include "TestRepository.h"

#include <QDir>
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
                        i % 2 ? "Odd Author" : "Even Author");
        }
    }

    CliRun run(const QString &command, const QStringList &options = {})
    {
        return cli(QStringList {command, repo.path(), "--index-dir", indexes.path()} + options);
    }

    TestRepository repo;
    QTemporaryDir indexes;
};

TEST_F(LogCommandTest, ReadsTheIndexAsItStandsNewestFirstPaged)
{
    const CliRun missing = run("log");
    EXPECT_EQ(missing.status, 1);
    EXPECT_TRUE(missing.err.contains("strataloom-cli index")) << missing.err.toStdString();
    EXPECT_TRUE(QDir(indexes.path()).isEmpty()) << "asking created nothing";

    ASSERT_EQ(run("index").status, 0);
    // Not synchronised by log: this commit stays out until the next `index`.
    repo.commit("Change after indexing");
    const QStringList all = repo.git({"rev-list", "HEAD~1"}).split('\n', Qt::SkipEmptyParts);
    ASSERT_EQ(all.size(), 5);
    const struct
    {
        QStringList options;
        QStringList expected;
    } cases[] = {
        {{}, all},
        {{"--limit", "0"}, all},
        {{"--offset", "1", "--limit", "2"}, all.mid(1, 2)},
        {{"--offset", "9"}, {}},
        // Both authors write as ada@example.com: one person, unless read as recorded.
        {{"--query", "author:odd number"}, all},
        {{"--query", "author:odd number", "--as-recorded"}, {all[0], all[2], all[4]}},
        {{"--no-identities", "--query", "author:even"}, {all[1], all[3]}},
    };
    for (const auto &test : cases) {
        SCOPED_TRACE(test.options.join(' ').toStdString());
        const CliRun log = run("log", test.options);
        EXPECT_EQ(log.status, 0) << log.err.toStdString();
        QStringList ids;
        for (const QJsonValue &commit : log.array())
            ids << commit.toObject().value("id").toString();
        EXPECT_EQ(ids, test.expected);
    }
}

TEST_F(LogCommandTest, BadInputIsRefusedWithItsReason)
{
    ASSERT_EQ(run("index").status, 0);
    const struct
    {
        QStringList options;
        int status;
        const char *says;
    } cases[] = {
        {{"--query", "number colour:red"}, 1, "unknown key \"colour:\"; the keys are"},
        {{"--query", "ref:gone"}, 1, "unknown ref \"gone\""},
        {{"--query", "after:2024-13-01"}, 1, "(at character 7)"},
        {{"--limit", "-1"}, 2, "--limit needs a whole number"},
        {{"--offset", "x"}, 2, "--offset needs a whole number"},
    };
    for (const auto &test : cases) {
        SCOPED_TRACE(test.options.join(' ').toStdString());
        const CliRun log = run("log", test.options);
        EXPECT_EQ(log.status, test.status);
        EXPECT_TRUE(log.err.contains(QString::fromUtf8(test.says))) << log.err.toStdString();
        EXPECT_TRUE(log.out.isEmpty());
    }
}

} // namespace
