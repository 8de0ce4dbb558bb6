// What the benchmarks over a real history share: their options, timing a piece of work over
// several runs, and one line per result.
#pragma once

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

} // namespace bench
