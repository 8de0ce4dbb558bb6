// insights() on an up-to-date index of a real history, against reading the same rows with plain
// SELECTs in the same run (the floor any computation from those tables has to stand on).
//
// Run (from the build folder):
//   cmake --build . --target insights_benchmark && bench/insights_benchmark ../corpora/git
//
// Usage: insights_benchmark [REPOSITORY] [--index-dir DIR] [--runs N] [--reference]
//   REPOSITORY   the history to measure; when absent or missing, a generated history of
//                100,000 commits (../shared/tools/make-history.py) in a temporary folder
//   --index-dir  where the index lives (default /tmp/ins-index); it is brought up to date first,
//                untimed, so the first run on a new folder builds the whole index
//   --runs N     measure N times and report the fastest and the median (default 5)
//   --reference  also time the aggregate queries as first written, one by one (slow) and compare

#include "ReferenceInsights.h"
#include "git/GitService.h"
#include "index/RepositoryIndex.h"
#include "index/RepositoryIndexer.h"
#include "index/SQLite.h"
#include "insights/RepositoryInsights.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>

#include <sqlite3.h>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <functional>
#include <vector>

using namespace strataloom;

namespace {

QString argument(const QStringList &arguments, const QString &name, const QString &fallback)
{
    const qsizetype at = arguments.indexOf(name);
    return at >= 0 && at + 1 < arguments.size() ? arguments.at(at + 1) : fallback;
}

double cpuSeconds(clockid_t clock)
{
    timespec now {};
    clock_gettime(clock, &now);
    return double(now.tv_sec) + double(now.tv_nsec) / 1e9;
}

// Wall-clock times, and the processor time of the calling thread and of the whole process
// (every thread): on a busy machine the wall clock says little, processor time more.
struct Timing
{
    double fastest = 0;
    double median = 0;
    double threadCPU = 0; // fastest
    double processCPU = 0; // fastest
};

Timing measure(int runs, const std::function<void()> &work)
{
    std::vector<double> times;
    std::vector<double> thread;
    std::vector<double> process;
    for (int run = 0; run < runs; ++run) {
        QElapsedTimer clock;
        const double threadStart = cpuSeconds(CLOCK_THREAD_CPUTIME_ID);
        const double processStart = cpuSeconds(CLOCK_PROCESS_CPUTIME_ID);
        clock.start();
        work();
        times.push_back(double(clock.nsecsElapsed()) / 1e9);
        thread.push_back(cpuSeconds(CLOCK_THREAD_CPUTIME_ID) - threadStart);
        process.push_back(cpuSeconds(CLOCK_PROCESS_CPUTIME_ID) - processStart);
    }
    std::sort(times.begin(), times.end());
    return {times.front(), times[times.size() / 2], *std::min_element(thread.begin(), thread.end()),
            *std::min_element(process.begin(), process.end())};
}

// Every row and column that insights() reads, stepped through with plain SELECTs and no work
// on the values beyond touching them. Returns a checksum so that nothing is optimised away.
qint64 plainReads(SQLiteDatabase &database)
{
    static const char *const queries[] = {
        "SELECT id, author_alias_id, author_time, is_merge, subject FROM commits "
        "WHERE is_reachable = 1",
        "SELECT id, current_path FROM files",
        "SELECT id, author_id, email FROM author_aliases",
        "SELECT id, canonical_name FROM authors",
        "SELECT commit_id, file_id, status, additions, deletions, is_binary FROM commit_files",
        "SELECT r.name, r.is_remote, c.author_time FROM refs r "
        "LEFT JOIN commits c ON c.sha = r.target_sha",
    };
    qint64 checksum = 0;
    for (const char *query : queries) {
        SQLiteStatement statement = database.statement(QString::fromLatin1(query));
        sqlite3_stmt *row = statement.handle();
        const int columns = sqlite3_column_count(row);
        while (statement.step()) {
            for (int column = 0; column < columns; ++column) {
                if (sqlite3_column_type(row, column) == SQLITE_TEXT)
                    checksum += sqlite3_column_bytes(row, column);
                else
                    checksum += sqlite3_column_int64(row, column);
            }
        }
    }
    return checksum;
}

bool generateHistory(const QString &destination)
{
    const QString generator
        = QStringLiteral(STRATALOOM_SOURCE_DIR "/../shared/tools/make-history.py");
    std::printf("no repository given: generating 100,000 commits into %s...\n",
                qPrintable(destination));
    std::fflush(stdout);
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.start(QStringLiteral("python3"),
                  {generator, destination, QStringLiteral("--commits"), QStringLiteral("100000")});
    return process.waitForFinished(-1) && process.exitStatus() == QProcess::NormalExit
        && process.exitCode() == 0;
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    QStringList arguments = application.arguments();
    const QString indexDirectory
        = argument(arguments, QStringLiteral("--index-dir"), QStringLiteral("/tmp/ins-index"));
    const int runs
        = std::max(1, argument(arguments, QStringLiteral("--runs"), QStringLiteral("5")).toInt());
    const bool withReference = arguments.contains(QStringLiteral("--reference"));
    QString repository;
    for (qsizetype i = 1; i < arguments.size(); ++i) {
        if (arguments[i] == QStringLiteral("--index-dir")
            || arguments[i] == QStringLiteral("--runs"))
            ++i;
        else if (!arguments[i].startsWith(QStringLiteral("--")))
            repository = arguments[i];
    }

    QTemporaryDir work;
    if (repository.isEmpty() || !QFileInfo::exists(repository)) {
        repository = work.filePath(QStringLiteral("history"));
        if (!generateHistory(repository)) {
            std::fprintf(stderr, "the history generator failed\n");
            return 1;
        }
    }

    try {
        RepositoryIndex index(RepositoryIndexLocation::databasePath(
            GitService().commonDirectory(repository), QDir(indexDirectory).absolutePath()));
        QElapsedTimer clock;
        clock.start();
        const RepositorySynchronization sync = RepositoryIndexer(index).synchronize(repository);
        std::printf("%s: %d commits, %d changes in the index (%s, %.1f s)\n",
                    qPrintable(repository), sync.snapshot.commits, sync.snapshot.changes,
                    sync.wasUpToDate ? "was up to date" : "brought up to date",
                    double(clock.nsecsElapsed()) / 1e9);

        RepositoryAnalyticsInsights result;
        const Timing fast = measure(runs, [&] { result = insights(index); });
        qint64 checksum = 0;
        const Timing plain = measure(runs, [&] {
            checksum += index.read([](SQLiteDatabase &database) { return plainReads(database); });
        });
        std::printf("insights(): fastest %.3f s, median %.3f s of %d runs (target <= 0.5 s); "
                    "processor: calling thread %.3f s, all threads %.3f s\n",
                    fast.fastest, fast.median, runs, fast.threadCPU, fast.processCPU);
        std::printf("plain SELECT of the same rows: fastest %.3f s, median %.3f s; processor "
                    "%.3f s (checksum %lld)\n",
                    plain.fastest, plain.median, plain.threadCPU, checksum / runs);
        std::printf("RATIO insights() / plain SELECT: %.2f (fastest against fastest); calling "
                    "thread's processor time %.2f\n",
                    fast.fastest / plain.fastest, fast.threadCPU / plain.threadCPU);
        std::printf("%lld commits, %lld authors, %lld active days, %lld co-change pairs\n",
                    result.totalCommits, qint64(result.topAuthors.size()), result.activeDays,
                    qint64(result.coChanges.size()));

        if (withReference) {
            RepositoryAnalyticsInsights reference;
            const Timing first = measure(1, [&] {
                reference = index.read([](SQLiteDatabase &database) {
                    return reference::referenceInsights(database);
                });
            });
            std::printf("queries as first written: %.3f s; RATIO insights() / queries: %.3f; "
                        "values %s\n",
                        first.fastest, fast.fastest / first.fastest,
                        reference == result ? "equal" : "differ (ties in open order?)");
        }
    } catch (const std::exception &error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    } catch (...) {
        std::fprintf(stderr, "the index could not be read or brought up to date\n");
        return 1;
    }
    return 0;
}
