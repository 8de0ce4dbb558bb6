// How long opening a repository takes, against git-extras' `git summary` on the same repository.
//
//   cmake --build build --target open_benchmark && build/bench/open_benchmark [REPOSITORY] [--runs
//   N]
//
// REPOSITORY defaults to ../corpora/git (git's own history); when it is absent, a history of
// 100,000 commits is generated with the shared history generator. Each figure is the median of
// N runs (default 5), taken in turns so that a busy machine slows all of them alike:
//   * git summary: git-extras' overview of the repository (the Debian package git-extras);
//   * the four history walks the summary used to make (rev-list --count, shortlog -sne,
//     log --max-parents=0, log --reverse), run at once as it ran them;
//   * summary: GitService::loadSummary() alone;
//   * overview: RepositorySession::openRepository() until it publishes, i.e. the loaders as the
//     window runs them, once with no index and once with the repository's index up to date;
//   * the two loaders an up-to-date index answers, each both ways: the summary and the first
//     500 rows of the commit graph;
//   * the lanes of the whole history, laid out from the index as the timeline does in the
//     background;
//   * the Timeline's model over the index (IndexedGraphModel): from setting its index to the first
//     page shown, then to the last page after a jump to the very end (laid out from the top, as
//     nothing is laid out yet), then to a page three quarters down once the background layout
//     is done, with the longest gap of a 10 ms timer on this (the GUI) thread meanwhile.
//     --timeline measures only these.
// The index lives under --index-dir DIR (default: the standard index folder, or
// $STRATALOOM_INDEX_DIR); it is brought up to date first, which takes minutes the first time.
// Each figure also gives the processor time it took (ours and git's), which a busy machine
// disturbs less than the wall clock. Targets: summary at most 1.0 s; overview at most
// 0.4 x git summary; the whole history's lanes at most 2 s.
#include "app/IndexedGraphModel.h"
#include "app/IndexedOpen.h"
#include "app/RepositorySession.h"
#include "git/GitProcess.h"
#include "git/GitService.h"
#include "index/CommitLanes.h"
#include "index/RepositoryIndexer.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>
#include <QTimer>

#include <sys/resource.h>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <future>
#include <vector>

using namespace strataloom;

namespace {

struct Timing
{
    double elapsed = 0; ///< seconds on the wall clock
    double cpu = 0; ///< seconds of processor time, this process and the children it waited for
};

double cpuSeconds()
{
    double total = 0;
    for (const int who : {RUSAGE_SELF, RUSAGE_CHILDREN}) {
        rusage usage {};
        getrusage(who, &usage);
        total += double(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec)
            + double(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
    }
    return total;
}

Timing timingOf(const std::function<void()> &work)
{
    QElapsedTimer clock;
    const double cpuBefore = cpuSeconds();
    clock.start();
    work();
    return {double(clock.nsecsElapsed()) / 1e9, cpuSeconds() - cpuBefore};
}

Timing median(const std::vector<Timing> &timings)
{
    std::vector<double> elapsed, cpu;
    for (const Timing &timing : timings) {
        elapsed.push_back(timing.elapsed);
        cpu.push_back(timing.cpu);
    }
    std::sort(elapsed.begin(), elapsed.end());
    std::sort(cpu.begin(), cpu.end());
    return {elapsed[elapsed.size() / 2], cpu[cpu.size() / 2]};
}

void gitSummary(const QString &repository)
{
    ProcessOptions options;
    options.environment = {QStringLiteral("GIT_PAGER=cat"), QStringLiteral("PAGER=cat")};
    const ProcessResult result = runProcess(
        gitExecutable(), {QStringLiteral("-C"), repository, QStringLiteral("summary")}, options);
    if (result.exitStatus != 0) {
        std::fprintf(stderr, "git summary failed (is git-extras installed?): %s\n",
                     result.standardError.constData());
        std::exit(1);
    }
}

void formerSummaryWalks(const QString &repository)
{
    const QList<QStringList> walks {
        {QStringLiteral("rev-list"), QStringLiteral("--count"), QStringLiteral("HEAD")},
        {QStringLiteral("shortlog"), QStringLiteral("-sne"), QStringLiteral("HEAD")},
        {QStringLiteral("log"), QStringLiteral("--max-parents=0"), QStringLiteral("--format=%at"),
         QStringLiteral("HEAD")},
        {QStringLiteral("log"), QStringLiteral("--reverse"), QStringLiteral("--format=%ct"),
         QStringLiteral("HEAD")},
    };
    std::vector<std::future<ProcessResult>> runs;
    for (const QStringList &walk : walks)
        runs.push_back(std::async(std::launch::async,
                                  [&repository, walk] { return runGitProcess(repository, walk); }));
    for (auto &run : runs)
        run.get();
}

void openAsTheWindowDoes(const QString &repository, const QString &indexDirectory)
{
    RepositorySession session;
    session.setIndexBaseDirectory(indexDirectory);
    QEventLoop loop;
    bool failed = false;
    QObject::connect(&session, &RepositorySession::published, &loop, &QEventLoop::quit);
    QObject::connect(&session, &RepositorySession::failed, &loop, [&](const QString &error) {
        std::fprintf(stderr, "open failed: %s\n", qPrintable(error));
        failed = true;
        loop.quit();
    });
    session.openRepository(repository);
    loop.exec();
    if (failed)
        std::exit(1);
}

struct TimelineFigures
{
    double firstPage = 0; ///< milliseconds from setSource() to the first page shown
    double lastPage = 0; ///< milliseconds from asking for the last row to its page shown
    double laidOutPage = 0; ///< the same for a page 3/4 down once the whole layout is done
    double longestGap = 0; ///< milliseconds between two ticks of a 10 ms timer, at most
    int rows = 0;
};

TimelineFigures timelineFigures(const QString &repository, const QString &databasePath)
{
    TimelineFigures figures;
    IndexedGraphModel model;
    QElapsedTimer clock;
    QElapsedTimer sinceTick;
    QTimer ticks;
    ticks.setTimerType(Qt::PreciseTimer);
    ticks.setInterval(10);
    QObject::connect(&ticks, &QTimer::timeout, [&] {
        figures.longestGap = std::max(figures.longestGap, double(sinceTick.nsecsElapsed()) / 1e6);
        sinceTick.start();
    });
    const auto waitFor = [](const std::function<bool()> &done) {
        QEventLoop loop;
        QTimer poll;
        poll.setInterval(1);
        QObject::connect(&poll, &QTimer::timeout, &loop, [&] {
            if (done())
                loop.quit();
        });
        poll.start();
        loop.exec();
    };
    const auto rowLoaded = [&](int row) {
        clock.start();
        model.data(model.index(row), IndexedGraphModel::SubjectRole);
        waitFor([&] { return model.isLoaded(row) || !model.error().isEmpty(); });
        return double(clock.nsecsElapsed()) / 1e6;
    };
    sinceTick.start();
    ticks.start();
    clock.start();
    model.setSource(repository, databasePath);
    waitFor([&] { return model.rowCount() > 0 || !model.error().isEmpty(); });
    figures.firstPage = double(clock.nsecsElapsed()) / 1e6;
    figures.rows = model.rowCount();
    if (figures.rows == 0)
        return figures;
    figures.lastPage = rowLoaded(figures.rows - 1);
    // The background layout of the whole history takes at most about 2 s.
    waitFor([start = QElapsedTimer()]() mutable {
        if (!start.isValid())
            start.start();
        return start.elapsed() > 3000;
    });
    figures.laidOutPage = rowLoaded(figures.rows * 3 / 4);
    if (!model.error().isEmpty())
        std::fprintf(stderr, "timeline: %s\n", qPrintable(model.error()));
    return figures;
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    QStringList arguments = application.arguments().mid(1);
    int runs = 5;
    const qsizetype runsAt = arguments.indexOf(QStringLiteral("--runs"));
    if (runsAt >= 0 && runsAt + 1 < arguments.size()) {
        runs = std::max(1, arguments.at(runsAt + 1).toInt());
        arguments.remove(runsAt, 2);
    }
    std::optional<QString> indexDirectory;
    const qsizetype indexAt = arguments.indexOf(QStringLiteral("--index-dir"));
    if (indexAt >= 0 && indexAt + 1 < arguments.size()) {
        indexDirectory = QDir(arguments.at(indexAt + 1)).absolutePath();
        arguments.remove(indexAt, 2);
    }
    const bool timelineOnly = arguments.removeAll(QStringLiteral("--timeline")) > 0;
    QString repository = arguments.value(0, QStringLiteral(STRATALOOM_SOURCE_DIR "/../corpora/git"));

    QTemporaryDir generated;
    if (!QFileInfo::exists(repository)) {
        repository = generated.filePath(QStringLiteral("history"));
        std::printf("%s is absent: generating 100,000 commits into %s\n",
                    qPrintable(arguments.value(0, QStringLiteral(STRATALOOM_SOURCE_DIR "/../corpora/git"))),
                    qPrintable(repository));
        std::fflush(stdout);
        const QString generator = QStringLiteral(STRATALOOM_SOURCE_DIR)
            + QStringLiteral("/../shared/tools/make-history.py");
        if (QProcess::execute(QStringLiteral("python3"),
                              {generator, repository, QStringLiteral("--commits"),
                               QStringLiteral("100000"), QStringLiteral("--repack")})
            != 0) {
            std::fprintf(stderr, "generating the history failed\n");
            return 1;
        }
    }
    repository = QDir(repository).absolutePath();

    const QString databasePath = RepositoryIndexLocation::databasePath(
        GitService().commonDirectory(repository), indexDirectory);
    // The database sits in a folder of its own below the base folder of all indexes.
    const QString indexBase = QFileInfo(QFileInfo(databasePath).absolutePath()).absolutePath();
    {
        std::printf("bringing the index at %s up to date\n", qPrintable(databasePath));
        std::fflush(stdout);
        RepositoryIndex index(databasePath);
        RepositoryIndexer(index).synchronize(repository);
    }
    QTemporaryDir noIndexes;

    std::vector<Timing> timelineFirst, timelineLast, timelineLaidOut;
    double timelineGap = 0;
    int timelineRows = 0;
    for (int run = 0; run < runs; ++run) {
        const TimelineFigures figures = timelineFigures(repository, databasePath);
        timelineFirst.push_back({figures.firstPage / 1000, 0});
        timelineLast.push_back({figures.lastPage / 1000, 0});
        timelineLaidOut.push_back({figures.laidOutPage / 1000, 0});
        timelineGap = std::max(timelineGap, figures.longestGap);
        timelineRows = figures.rows;
    }
    std::printf("timeline over the index, %d commits, median of %d runs:\n", timelineRows, runs);
    std::printf("  first page shown                  %7.1f ms\n", median(timelineFirst).elapsed * 1000);
    std::printf("  last page, nothing laid out yet   %7.1f ms\n", median(timelineLast).elapsed * 1000);
    std::printf("  a page 3/4 down, all laid out     %7.1f ms\n", median(timelineLaidOut).elapsed * 1000);
    std::printf("  longest GUI-thread gap (10 ms timer) %.1f ms over all runs; target stall <= 50 ms\n",
                timelineGap);
    std::fflush(stdout);
    if (timelineOnly)
        return 0;

    std::vector<Timing> extras, former, summary, indexedSummary, overview, indexedOverview, graph,
        indexedGraph, lanes, lanesAlone;
    bool answered = true;
    for (int run = 0; run < runs; ++run) {
        extras.push_back(timingOf([&] { gitSummary(repository); }));
        former.push_back(timingOf([&] { formerSummaryWalks(repository); }));
        summary.push_back(timingOf([&] { GitService().loadSummary(repository); }));
        indexedSummary.push_back(timingOf([&] {
            IndexedOpen indexed(repository, indexBase);
            GitService().loadSummary(repository, nullptr, indexed.headHistory());
            answered = answered && indexed.history();
        }));
        overview.push_back(timingOf([&] { openAsTheWindowDoes(repository, noIndexes.path()); }));
        indexedOverview.push_back(timingOf([&] { openAsTheWindowDoes(repository, indexBase); }));
        graph.push_back(timingOf([&] { GitService().loadGraph(repository, 500); }));
        indexedGraph.push_back(timingOf([&] { IndexedOpen(repository, indexBase).graph(500); }));
        std::shared_ptr<const IndexedGraph> history;
        lanes.push_back(timingOf([&] {
            history = IndexedOpen(repository, indexBase).history();
            if (history)
                CommitLaneLayout(history).layOutAll();
        }));
        if (history)
            lanesAlone.push_back(timingOf([&] { CommitLaneLayout(history).layOutAll(); }));
    }
    if (!answered) {
        std::fprintf(stderr, "the index did not answer: is it up to date?\n");
        return 1;
    }

    const RepositorySummary figures = GitService().loadSummary(repository);
    std::printf("repository: %s (%d commits, %d authors)\nmedian of %d runs; processor time "
                "includes every git the step waited for\n",
                qPrintable(repository), figures.commitCount, figures.authorCount, runs);
    const auto line = [](const char *name, const Timing &timing, const char *target) {
        std::printf("  %-34s %7.3f s  (cpu %6.3f s)%s\n", name, timing.elapsed, timing.cpu, target);
    };
    line("git summary (git-extras)", median(extras), "");
    line("former summary walks (4 at once)", median(former), "");
    line("summary alone, no index", median(summary), "");
    line("summary alone, index up to date", median(indexedSummary), "   target <= 1.0 s");
    line("overview, no index", median(overview), "");
    line("overview, index up to date", median(indexedOverview), "");
    line("graph, 500 commits, git", median(graph), "");
    line("graph, 500 commits, index", median(indexedGraph), "");
    line("lanes of the whole history", median(lanes), "   target <= 2.0 s");
    line("  of which laying out", median(lanesAlone), "");
    std::printf("RATIO overview / git summary        %7.2f   (cpu %5.2f)   no index\n",
                median(overview).elapsed / median(extras).elapsed,
                median(overview).cpu / median(extras).cpu);
    std::printf("RATIO overview / git summary        %7.2f   (cpu %5.2f)   index up to date; "
                "target <= 0.40\n",
                median(indexedOverview).elapsed / median(extras).elapsed,
                median(indexedOverview).cpu / median(extras).cpu);
    std::printf("RATIO summary / former walks        %7.2f   (cpu %5.2f)\n",
                median(summary).elapsed / median(former).elapsed,
                median(summary).cpu / median(former).cpu);
    return 0;
}
