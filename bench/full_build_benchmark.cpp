// The first full build of an index against the single raw `git log --all --numstat --raw -M`
// pass over the same repository, measured in the same run, with our process's peak memory while
// it indexes and git's beside it. As a second baseline, the same build with one git run (one
// worker), the way the importer read the history before it used every core.
//
// Usage: full_build_benchmark [REPOSITORY] [--workers N] [--no-single] [--rounds N]
//                             [--generate-commits N]
//   REPOSITORY   the repository to index (default ../corpora/git); when it is absent, a
//                history of --generate-commits commits (default 100,000) is generated first
//   --workers N  git runs at once for the parallel build (default 0: one per core)
//   --no-single  skip the one-worker build
//   --rounds N   take the raw pass and the parallel build N times, in turn, and give the median
//                of the N ratios beside each one (default 1): on a shared machine git's own pass
//                varies by a quarter from one run to the next
//
// Build and run: cmake --build build --target full_build_benchmark &&
//                build/bench/full_build_benchmark ../corpora/git

#include "git/GitProcess.h"
#include "index/RepositoryIndex.h"
#include "index/RepositoryIndexer.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QThread>

#include <sys/resource.h>

#include <algorithm>
#include <cstdio>
#include <optional>
#include <vector>

using namespace strataloom;

namespace {

// Peak resident memory of this process in MiB since the last resetPeakMemory().
double peakMemoryMiB()
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray &line : status.readAll().split('\n')) {
        if (line.startsWith("VmHWM:"))
            return line.mid(6).trimmed().split(' ').value(0).toDouble() / 1024.0;
    }
    return -1;
}

void resetPeakMemory()
{
    QFile clear(QStringLiteral("/proc/self/clear_refs"));
    if (clear.open(QIODevice::WriteOnly))
        clear.write("5");
}

// Processor seconds (user and system) spent so far by this process, and by the children waited
// for: on a busy machine they show where the work goes when wall times are noisy.
struct ProcessorTime
{
    double own = 0;
    double children = 0;
};

ProcessorTime processorTime()
{
    const auto seconds = [](const rusage &usage) {
        return usage.ru_utime.tv_sec + usage.ru_stime.tv_sec
            + (usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
    };
    rusage own {};
    rusage children {};
    getrusage(RUSAGE_SELF, &own);
    getrusage(RUSAGE_CHILDREN, &children);
    return {seconds(own), seconds(children)};
}

// The largest peak resident memory of any child process waited for so far, in MiB.
double largestChildMiB()
{
    rusage usage {};
    getrusage(RUSAGE_CHILDREN, &usage);
    return usage.ru_maxrss / 1024.0;
}

struct Build
{
    double seconds = 0;
    double peakMiB = 0;
    double lastFoundSeconds = 0; // from the start to the walk's last count of commits found
    double listedSeconds = 0; // from the start to the end of the walk that lists the commits
    double firstCommitSeconds = 0; // from the start to the first commit imported
    double longestWaitSeconds = 0; // between two progress reports once the import started
    ProcessorTime processor; // spent by this build
    RepositorySynchronization result;
};

Build build(const QString &repository, const QString &databasePath, int workers)
{
    resetPeakMemory();
    RepositoryIndex index(databasePath);
    RepositoryIndexer indexer(index);
    SynchronizationOptions options;
    options.importWorkers = workers;
    QElapsedTimer timer;
    Build measured;
    double lastReport = 0;
    options.listing = [&](qint64) { measured.lastFoundSeconds = timer.nsecsElapsed() / 1e9; };
    options.listed = [&](qint64) {
        measured.listedSeconds = lastReport = timer.nsecsElapsed() / 1e9;
    };
    options.progress = [&](qint64 imported, qint64) {
        const double now = timer.nsecsElapsed() / 1e9;
        if (imported > 0 && measured.firstCommitSeconds == 0)
            measured.firstCommitSeconds = now;
        measured.longestWaitSeconds = std::max(measured.longestWaitSeconds, now - lastReport);
        lastReport = now;
    };
    const ProcessorTime before = processorTime();
    timer.start();
    measured.result = indexer.synchronize(repository, options);
    measured.seconds = timer.elapsed() / 1000.0;
    measured.peakMiB = peakMemoryMiB();
    const ProcessorTime after = processorTime();
    measured.processor = {after.own - before.own, after.children - before.children};
    return measured;
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    QStringList arguments = application.arguments().mid(1);
    QString repository = QStringLiteral(STRATALOOM_SOURCE_DIR "/../corpora/git");
    int workers = 0;
    bool single = true;
    int generatedCommits = 100'000;
    int rounds = 1;
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        const QString &argument = arguments[i];
        if (argument == QLatin1String("--workers") && i + 1 < arguments.size())
            workers = arguments[++i].toInt();
        else if (argument == QLatin1String("--no-single"))
            single = false;
        else if (argument == QLatin1String("--rounds") && i + 1 < arguments.size())
            rounds = std::max(1, arguments[++i].toInt());
        else if (argument == QLatin1String("--generate-commits") && i + 1 < arguments.size())
            generatedCommits = arguments[++i].toInt();
        else
            repository = argument;
    }

    QTemporaryDir work;
    if (!QFileInfo::exists(repository)) {
        const QString generated = work.filePath(QStringLiteral("generated"));
        std::printf("%s is absent: generating %d commits ...\n", qPrintable(repository),
                    generatedCommits);
        std::fflush(stdout);
        const ProcessResult made = runProcess(
            QStringLiteral("/usr/bin/python3"),
            {QStringLiteral(STRATALOOM_SOURCE_DIR "/../shared/tools/make-history.py"), generated,
             QStringLiteral("--commits"), QString::number(generatedCommits),
             QStringLiteral("--seed"), QStringLiteral("42"), QStringLiteral("--repack")});
        if (made.exitStatus != 0) {
            std::fprintf(stderr, "generating failed: %s\n", made.standardError.constData());
            return 1;
        }
        repository = generated;
    }

    // The raw pass: git alone, its output thrown away as it comes.
    struct RawPass
    {
        double seconds = 0;
        double processor = 0; // git's
        qint64 bytes = 0;
    };
    const auto rawPass = [&repository]() -> std::optional<RawPass> {
        RawPass pass;
        const double before = processorTime().children;
        QElapsedTimer timer;
        timer.start();
        ProcessOptions rawOptions;
        rawOptions.sink = [&pass](const char *, qsizetype size) { pass.bytes += size; };
        const ProcessResult raw = runProcess(
            gitExecutable(),
            {QStringLiteral("-C"), repository, QStringLiteral("log"), QStringLiteral("--all"),
             QStringLiteral("--numstat"), QStringLiteral("--raw"), QStringLiteral("-M")},
            rawOptions);
        pass.seconds = timer.elapsed() / 1000.0;
        pass.processor = processorTime().children - before;
        if (raw.exitStatus != 0) {
            std::fprintf(stderr, "git log failed: %s\n", raw.standardError.constData());
            return std::nullopt;
        }
        return pass;
    };

    const std::optional<RawPass> firstRaw = rawPass();
    if (!firstRaw)
        return 1;
    const double rawSeconds = firstRaw->seconds;
    const double rawProcessor = firstRaw->processor;
    const qint64 rawBytes = firstRaw->bytes;
    const double rawGitMiB = largestChildMiB();

    const Build parallel = build(repository, work.filePath(QStringLiteral("parallel/index.sqlite")),
                                 workers);
    std::vector<double> ratios {parallel.seconds / rawSeconds};
    std::vector<QString> roundLines;
    for (int round = 2; round <= rounds; ++round) {
        const std::optional<RawPass> again = rawPass();
        if (!again)
            return 1;
        const QString path = work.filePath(QStringLiteral("round%1/index.sqlite").arg(round));
        const Build rebuilt = build(repository, path, workers);
        QDir(QFileInfo(path).path()).removeRecursively();
        ratios.push_back(rebuilt.seconds / again->seconds);
        roundLines.push_back(QStringLiteral("  round %1: raw pass %2 s, build %3 s, ratio %4 x")
                                 .arg(round)
                                 .arg(again->seconds, 0, 'f', 2)
                                 .arg(rebuilt.seconds, 0, 'f', 2)
                                 .arg(ratios.back(), 0, 'f', 2));
    }
    const double gitDuringBuildMiB = largestChildMiB();
    Build oneRun;
    if (single)
        oneRun = build(repository, work.filePath(QStringLiteral("single/index.sqlite")), 1);

    const int usedWorkers = workers >= 1 ? workers : std::max(1, QThread::idealThreadCount());
    std::printf("repository                      %s\n", qPrintable(repository));
    std::printf("commits imported                %lld\n",
                static_cast<long long>(parallel.result.importedCommits));
    std::printf("raw git log pass                %8.2f s  (%.0f MiB of output, git peak %.0f MiB)\n",
                rawSeconds, rawBytes / 1048576.0, rawGitMiB);
    std::printf("full build, %2d workers          %8.2f s  our peak %.0f MiB, largest git %.0f MiB\n",
                usedWorkers, parallel.seconds, parallel.peakMiB, gitDuringBuildMiB);
    std::printf("  RATIO build / raw git pass    %8.2f x  (target at most 0.70)\n",
                parallel.seconds / rawSeconds);
    if (rounds > 1) {
        for (const QString &line : roundLines)
            std::printf("%s\n", qPrintable(line));
        std::vector<double> sorted = ratios;
        std::sort(sorted.begin(), sorted.end());
        const double median = sorted.size() % 2 == 1
            ? sorted[sorted.size() / 2]
            : (sorted[sorted.size() / 2 - 1] + sorted[sorted.size() / 2]) / 2;
        std::printf("  RATIO median of %d rounds      %8.2f x  (target at most 0.70)\n", rounds,
                    median);
    }
    std::printf("  walk's last count after       %8.2f s; all listed %.2f s later; the first "
                "imported %.2f s after that\n",
                parallel.lastFoundSeconds, parallel.listedSeconds - parallel.lastFoundSeconds,
                parallel.firstCommitSeconds - parallel.listedSeconds);
    std::printf("  longest wait between two imported commits %.2f s\n", parallel.longestWaitSeconds);
    std::printf("processor time: raw git %.1f s; parallel build: git %.1f s, ours %.1f s\n",
                rawProcessor, parallel.processor.children, parallel.processor.own);
    if (single) {
        std::printf("full build, one git run         %8.2f s  our peak %.0f MiB\n", oneRun.seconds,
                    oneRun.peakMiB);
        std::printf("  RATIO one run / raw git pass  %8.2f x\n", oneRun.seconds / rawSeconds);
        std::printf("processor time: one-run build: git %.1f s, ours %.1f s\n",
                    oneRun.processor.children, oneRun.processor.own);
        std::printf("  RATIO parallel / one run      %8.2f x\n", parallel.seconds / oneRun.seconds);
        RepositoryIndexSnapshot counts = parallel.result.snapshot;
        counts.lastIndexedAt = oneRun.result.snapshot.lastIndexedAt;
        std::printf("  same counts                   %s\n",
                    counts == oneRun.result.snapshot ? "yes" : "NO");
    }
    return 0;
}
