// The Files tree from the index of a real history: HEAD's files in their folders with every
// file's and folder's commits, authors and last change, as the window reads it in the
// background (a connection of its own, then the whole tree), authors as recorded names and as
// people. Against the same run: the plain SELECT of the rows it sums, and git ls-files.
//
// Run (from the build folder):
//   cmake --build . --target file_tree_benchmark && bench/file_tree_benchmark ../corpora/git
//
// Usage: file_tree_benchmark [REPOSITORY] [--index-dir DIR] [--runs N]
//   REPOSITORY   the history to measure (default ../corpora/git beside the checkout)
//   --index-dir  where the index lives (default /tmp/log-index); it is brought up to date
//                first, untimed, so the first run on a new folder builds the whole index
//   --runs N     measure N times and report the fastest and the median (default 5)

#include "BenchTiming.h"
#include "git/GitService.h"
#include "index/RepositoryIndex.h"
#include "index/RepositoryIndexer.h"
#include "index/SQLite.h"
#include "insights/FileTree.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QProcess>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <vector>

using namespace strataloom;
using bench::argument;
using bench::indexedRun;
using bench::measure;
using bench::report;
using bench::Timing;

int main(int argc, char **argv)
{
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    QCoreApplication application(argc, argv);
    const QStringList arguments = application.arguments().mid(1);
    const auto [repository, indexDirectory, databasePath, runs]
        = indexedRun(arguments, QStringLiteral("/tmp/log-index"));
    std::printf("repository %s\nindex      %s\n\n", qPrintable(repository),
                qPrintable(databasePath));

    FileTree tree;
    for (const bool people : {false, true}) {
        const Timing timing = measure(runs, [&] {
            SQLiteDatabase database(databasePath, SQLiteDatabase::Mode::ReadOnly);
            tree = readFileTree(database, people);
        });
        report(people ? "Files tree, authors as people" : "Files tree, authors as recorded names",
               timing, "(target well under 2 s)");
        const FileTreeNode &root = tree.root();
        std::printf("  %d files, %zu nodes; whole tree: %lld commits, %lld authors\n",
                    root.fileCount, tree.nodes.size() - 1, root.commits, root.authors);
    }

    // The rows the tree sums, read and thrown away: the floor of any way of computing it.
    const Timing rows = measure(runs, [&] {
        SQLiteDatabase database(databasePath, SQLiteDatabase::Mode::ReadOnly);
        for (const char *sql : {"SELECT id, author_alias_id, author_time, committer_time, "
                                "is_reachable FROM commits",
                                "SELECT commit_id, file_id, CASE WHEN status LIKE 'R%' THEN "
                                "old_path END FROM commit_files"}) {
            SQLiteStatement statement = database.statement(QString::fromLatin1(sql));
            qint64 count = 0;
            while (statement.step())
                count += statement.columnInt64(1);
        }
    });
    report("Plain SELECTs of the commits and changes it reads", rows);

    const Timing lsFiles = measure(runs, [&] {
        QProcess git;
        git.start(QStringLiteral("git"), {QStringLiteral("-C"), repository,
                                          QStringLiteral("ls-files"), QStringLiteral("-z")});
        git.waitForFinished(-1);
    });
    report("git ls-files (today's list, before the index)", lsFiles);
    return 0;
}
