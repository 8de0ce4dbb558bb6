// What the benchmarks over a real history share: their options, timing a piece of work over
// several runs, and one line per result.
#pragma once

#include "git/GitService.h"
#include "index/RepositoryIndex.h"
#include "index/RepositoryIndexer.h"

#include <QElapsedTimer>
#include <QString>
#include <QStringList>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <vector>

namespace bench {

/// @brief The value after @p name in @p arguments, or @p fallback.
inline QString argument(const QStringList &arguments, const QString &name, const QString &fallback)
{
    const qsizetype at = arguments.indexOf(name);
    return at >= 0 && at + 1 < arguments.size() ? arguments.at(at + 1) : fallback;
}

/// @brief The fastest and the median of several runs, in milliseconds.
struct Timing
{
    double fastest = 0;
    double median = 0;
};

inline Timing measure(int runs, const std::function<void()> &work)
{
    std::vector<double> times;
    for (int run = 0; run < std::max(runs, 1); ++run) {
        QElapsedTimer clock;
        clock.start();
        work();
        times.push_back(double(clock.nsecsElapsed()) / 1e6);
    }
    std::sort(times.begin(), times.end());
    return {times.front(), times[times.size() / 2]};
}

/// @brief One result: what was measured, its times, and the target it has, if any.
inline void report(const char *what, const Timing &timing, const char *target = "")
{
    std::printf("%-58s fastest %8.1f ms  median %8.1f ms  %s\n", what, timing.fastest,
                timing.median, target);
}

/// @brief The history a benchmark over the index reads, from its options.
struct IndexedRun
{
    QString repository; ///< the first argument, else the git clone beside the project
    QString indexDirectory; ///< --index-dir
    QString databasePath; ///< the repository's index there, brought up to date
    int runs = 5; ///< --runs, at least 1
};

/// @brief Reads the options every index benchmark takes and brings the index up to date, untimed.
inline IndexedRun indexedRun(const QStringList &arguments, const QString &defaultIndexDirectory)
{
    using namespace strataloom;
    IndexedRun run;
    run.repository = arguments.isEmpty() || arguments.first().startsWith(u'-')
        ? QStringLiteral(STRATALOOM_SOURCE_DIR "/../corpora/git")
        : arguments.first();
    run.indexDirectory = argument(arguments, QStringLiteral("--index-dir"), defaultIndexDirectory);
    run.runs = std::max(1, argument(arguments, QStringLiteral("--runs"), QStringLiteral("5")).toInt());
    run.databasePath = RepositoryIndexLocation::databasePath(
        GitService().commonDirectory(run.repository), run.indexDirectory);
    RepositoryIndex index(run.databasePath);
    RepositoryIndexer(index).synchronize(run.repository);
    return run;
}

} // namespace bench
