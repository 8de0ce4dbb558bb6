// `strataloom-cli graph --from-index`: the commit graph laid out from the index as it stands, in
// the order and lanes of `git log --graph --all --date-order`, never synchronising it.
#include "CliRun.h"
#include "TestRepository.h"

#include <QDir>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

// The commit rows of a printed graph (connector rows have no hash): their lanes, in order.
QStringList lanes(const CliRun &run)
{
    QStringList lanes;
    for (const QJsonValue &value : run.array()) {
        if (const QJsonObject row = value.toObject(); !row.value("shortHash").toString().isEmpty())
            lanes << drawnLane(row.value("shortHash").toString(), row.value("graph").toString());
    }
    return lanes;
}

// The commit rows of a printed graph by hash, without their drawing.
QMap<QString, QJsonObject> texts(const CliRun &run)
{
    QMap<QString, QJsonObject> rows;
    for (const QJsonValue &value : run.array()) {
        QJsonObject row = value.toObject();
        row.remove("graph");
        if (!row.value("shortHash").toString().isEmpty())
            rows.insert(row.value("id").toString(), row);
    }
    return rows;
}

} // namespace

TEST(GraphFromIndex, laysOutTheIndexedHistoryAsGitsDateOrderedGraphWithoutSynchronising)
{
    // Two branches alternating in time, merged, and a tag.
    TestRepository repository;
    writeHistory(repository,
                 scripted({"m1 main 0", "f1 feature 1 m1", "m2 main 2 m1", "f2 feature 3 f1",
                           "m3 main 4 m2", "m4 main 5 m3 f2"}));
    repository.git({"tag", "v1", "HEAD~1"});
    QTemporaryDir indexes;
    const QStringList graph {"graph", repository.path(), "--from-index", "--index-dir",
                             indexes.path()};

    // Without an index it says what to run; the folder goes only with --from-index.
    const std::tuple<QStringList, int, const char *> refused[] = {
        {graph, 1, "strataloom-cli index"},
        {QStringList {"graph", repository.path(), "--index-dir", indexes.path()}, 2,
         "goes with --from-index"},
    };
    for (const auto &[arguments, status, saying] : refused) {
        const CliRun run = cli(arguments);
        EXPECT_EQ(run.status, status) << arguments.join(' ').toStdString();
        EXPECT_TRUE(run.err.contains(saying) && run.out.isEmpty()) << run.err.toStdString();
    }
    EXPECT_TRUE(QDir(indexes.path()).isEmpty()) << "no index was created";

    ASSERT_EQ(cli({"index", repository.path(), "--index-dir", indexes.path()}).status, 0);
    const QStringList before = gitGraphLanes(repository, {"--format=%x01%h"});
    for (const QString limit : {"500", "3"}) {
        const CliRun run = cli(graph + QStringList {"--limit", limit});
        ASSERT_EQ(run.status, 0) << run.err.toStdString();
        EXPECT_EQ(lanes(run), gitGraphLanes(repository, {"--format=%x01%h", "-n", limit}));
    }
    // The texts of each commit row are those of the graph command.
    EXPECT_EQ(texts(cli(graph)), texts(cli({"graph", repository.path()})));

    // A commit after the index stays out, read after read.
    repository.commit("later", "Ada", "ada@example.com", "2024-02-01T10:00:00Z");
    for (int read = 0; read < 2; ++read)
        EXPECT_EQ(lanes(cli(graph)), before) << read;
}
