// `strataloom-cli graph --from-index`: the commit graph laid out from the index as it stands, in
// the order and lanes of `git log --graph --all --date-order`, never synchronising it.
#include "CliRun.h"
#include "TestRepository.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

// Commits of two branches alternating in time, a merge, and a tag.
void alternatingBranches(TestRepository &repository)
{
    const char *steps[][3] = {{"main", "m1", "2024-01-01T10:00:00Z"},
                              {"feature", "f1", "2024-01-02T10:00:00Z"},
                              {"main", "m2", "2024-01-03T10:00:00Z"},
                              {"feature", "f2", "2024-01-04T10:00:00Z"},
                              {"main", "m3", "2024-01-05T10:00:00Z"}};
    for (const auto &[branch, name, date] : steps) {
        if (repository.gitStatus({"checkout", "-q", branch}) != 0)
            repository.git({"checkout", "-q", "-b", branch});
        repository.setDate(date);
        repository.write(QString(name) + ".txt", name);
        repository.commit(name);
    }
    repository.setDate("2024-01-06T10:00:00Z");
    repository.git({"merge", "-q", "--no-ff", "-m", "merge", "feature"});
    repository.git({"tag", "v1", "HEAD~1"});
}

// Per commit row: hash, and the lane and number of lanes of its drawing.
QStringList lanesOf(const QList<QPair<QString, QString>> &rows)
{
    QStringList lanes;
    for (const auto &[hash, drawing] : rows) {
        int count = 0;
        for (const QChar c : drawing)
            count += QStringLiteral("|*/\\").contains(c) ? 1 : 0;
        lanes << QStringLiteral("%1 %2/%3").arg(hash).arg(drawing.indexOf('*') / 2).arg(count);
    }
    return lanes;
}

QList<QPair<QString, QString>> cliRows(const QJsonArray &records)
{
    QList<QPair<QString, QString>> rows;
    for (const QJsonValue &value : records) {
        const QJsonObject record = value.toObject();
        if (!record.value("shortHash").toString().isEmpty())
            rows << qMakePair(record.value("shortHash").toString(),
                              record.value("graph").toString());
    }
    return rows;
}

QList<QPair<QString, QString>> gitRows(const TestRepository &repository, const QString &limit)
{
    QList<QPair<QString, QString>> rows;
    const QString output = repository.git(
        {"log", "--graph", "--all", "--date-order", "--format=%x01%h", "-n", limit});
    for (const QString &line : output.split('\n')) {
        const qsizetype mark = line.indexOf(QChar(1));
        if (mark >= 0)
            rows << qMakePair(line.mid(mark + 1), line.left(mark));
    }
    return rows;
}

class GraphFromIndex : public ::testing::Test
{
protected:
    void SetUp() override { alternatingBranches(repository); }

    CliRun graph(const QStringList &options = {})
    {
        return cli(
            QStringList {"graph", repository.path(), "--from-index", "--index-dir", indexes.path()}
            + options);
    }

    TestRepository repository;
    QTemporaryDir indexes;
};

TEST_F(GraphFromIndex, laysOutTheIndexedHistoryAsGitsDateOrderedGraphWithoutSynchronising)
{
    ASSERT_EQ(cli({"index", repository.path(), "--index-dir", indexes.path()}).status, 0);
    for (const QString limit : {"500", "3"}) {
        const CliRun run = graph({"--limit", limit});
        ASSERT_EQ(run.status, 0) << run.err.toStdString();
        EXPECT_EQ(lanesOf(cliRows(run.array())), lanesOf(gitRows(repository, limit)))
            << limit.toStdString();
    }

    // The texts of each commit row are those of the graph command.
    const auto byHash = [](const QJsonArray &records) {
        QMap<QString, QJsonObject> rows;
        for (const QJsonValue &value : records) {
            QJsonObject record = value.toObject();
            record.remove("graph");
            if (!record.value("shortHash").toString().isEmpty())
                rows.insert(record.value("id").toString(), record);
        }
        return rows;
    };
    EXPECT_EQ(byHash(graph().array()), byHash(cli({"graph", repository.path()}).array()));

    // A commit after the index stays out, read after read.
    const QList<QPair<QString, QString>> before = gitRows(repository, "500");
    repository.setDate("2024-02-01T10:00:00Z");
    repository.write("later.txt", "l");
    repository.commit("later");
    for (int read = 0; read < 2; ++read)
        EXPECT_EQ(lanesOf(cliRows(graph().array())), lanesOf(before)) << read;
}

TEST_F(GraphFromIndex, refusesWhatItCannotAnswer)
{
    const struct
    {
        QStringList arguments;
        int status;
        const char *saying;
    } cases[] = {
        {{"graph", repository.path(), "--from-index", "--index-dir", indexes.path()},
         1,
         "strataloom-cli index"},
        {{"graph", repository.path(), "--index-dir", indexes.path()}, 2, "goes with --from-index"},
    };
    for (const auto &c : cases) {
        const CliRun run = cli(c.arguments);
        EXPECT_EQ(run.status, c.status) << c.arguments.join(' ').toStdString();
        EXPECT_TRUE(run.err.contains(c.saying)) << run.err.toStdString();
        EXPECT_TRUE(run.out.isEmpty());
    }
    EXPECT_TRUE(QDir(indexes.path()).isEmpty()) << "no index was created";
}

} // namespace
