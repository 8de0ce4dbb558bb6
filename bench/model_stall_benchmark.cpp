// Responsiveness of the GUI thread while the application model opens and indexes a long history.
//
// Generates a history with the shared history generator (or takes --repository), then runs a
// 10 ms precise timer on the GUI thread and records the longest gap between two ticks:
//   * baseline: the event loop with nothing else to do, for as long as the measured phase took;
//   * measured: RepositorySession::openRepository() on the history, from the call until the
//     background index run is ready (loaders, publishing, a full import into a fresh index,
//     insights and their publishing).
// Reports both longest gaps, the stall (longest gap less the timer interval) and the ratio of
// the measured longest gap to the baseline's. The target is a stall below 50 ms.
//
//   model_stall_benchmark [--commits N] [--seed S] [--repository PATH] [--generator PATH]
#include "app/AppViewModel.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QProcess>
#include <QTemporaryDir>
#include <QTimer>

#include <cstdio>
#include <cstdlib>

using strataloom::AppViewModel;

namespace {

constexpr int tickMilliseconds = 10;

struct Gaps
{
    double longest = 0; ///< milliseconds
    qint64 ticks = 0;
    double elapsed = 0; ///< milliseconds
};

/// Runs the event loop with the ticking timer until @p finished is true.
template<typename Finished>
Gaps measure(const Finished &finished, const std::function<void()> &start)
{
    Gaps gaps;
    QElapsedTimer clock;
    QEventLoop loop;
    QTimer timer;
    timer.setTimerType(Qt::PreciseTimer);
    timer.setInterval(tickMilliseconds);
    qint64 last = 0;
    QObject::connect(&timer, &QTimer::timeout, &loop, [&] {
        const qint64 now = clock.nsecsElapsed();
        gaps.longest = std::max(gaps.longest, double(now - last) / 1e6);
        last = now;
        ++gaps.ticks;
        if (finished())
            loop.quit();
    });
    clock.start();
    timer.start();
    if (start)
        start();
    loop.exec();
    gaps.elapsed = double(clock.nsecsElapsed()) / 1e6;
    return gaps;
}

QString argument(const QStringList &arguments, const QString &name, const QString &fallback)
{
    const qsizetype at = arguments.indexOf(name);
    return at >= 0 && at + 1 < arguments.size() ? arguments.at(at + 1) : fallback;
}

} // namespace

int main(int argc, char **argv)
{
    QTemporaryDir work;
    // A fresh index folder, set before any thread starts, so that the import is complete.
    ::setenv("STRATALOOM_INDEX_DIR", qPrintable(work.filePath(QStringLiteral("indexes"))), 1);
    QCoreApplication application(argc, argv);
    const QStringList arguments = application.arguments();
    const QString commits
        = argument(arguments, QStringLiteral("--commits"), QStringLiteral("20000"));
    const QString seed = argument(arguments, QStringLiteral("--seed"), QStringLiteral("1"));
    const QString generator
        = argument(arguments, QStringLiteral("--generator"),
                   QStringLiteral(STRATALOOM_SOURCE_DIR "/../shared/tools/make-history.py"));
    QString repository = argument(arguments, QStringLiteral("--repository"), {});

    if (repository.isEmpty()) {
        repository = work.filePath(QStringLiteral("history"));
        std::printf("generating %s commits (seed %s)...\n", qPrintable(commits), qPrintable(seed));
        std::fflush(stdout);
        QProcess process;
        process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        process.start(QStringLiteral("python3"),
                      {generator, repository, QStringLiteral("--commits"), commits,
                       QStringLiteral("--seed"), seed});
        if (!process.waitForFinished(-1) || process.exitCode() != 0) {
            std::fprintf(stderr, "history generator failed: %s\n", qPrintable(generator));
            return 1;
        }
    }

    AppViewModel model(
        strataloom::RecentRepositoryStore(work.filePath(QStringLiteral("settings.ini"))),
        strataloom::DiscoveredRepositoryStore(work.filePath(QStringLiteral("settings.ini"))),
        strataloom::RepositoryScanner(work.path()));
    double published = 0;
    QElapsedTimer sinceOpen;
    QObject::connect(model.session(), &strataloom::RepositorySession::isLoadingChanged, &model,
                     [&] {
                         if (!model.session()->isLoading())
                             published = double(sinceOpen.nsecsElapsed()) / 1e6;
                     });
    const Gaps opened = measure(
        [&] {
            const auto state = model.analytics()->analyticsIndexState();
            return state.isReady() || state.isFailed();
        },
        [&] {
            sinceOpen.start();
            model.session()->openRepository(repository);
        });
    if (model.analytics()->analyticsIndexState().isFailed()) {
        std::fprintf(stderr, "indexing failed: %s\n",
                     qPrintable(model.analytics()->analyticsIndexState().message()));
        return 1;
    }
    if (model.errorMessage()) {
        std::fprintf(stderr, "open failed: %s\n", qPrintable(*model.errorMessage()));
        return 1;
    }

    QElapsedTimer idle;
    const Gaps baseline = measure(
        [&] { return idle.isValid() && idle.elapsed() >= opened.elapsed; }, [&] { idle.start(); });

    std::printf("repository: %s (%d commits indexed, %lld imported)\n", qPrintable(repository),
                model.analytics()->analyticsIndexState().indexedCommits(),
                qlonglong(model.analytics()->analyticsIndexState().importedCommits()));
    std::printf("published after %.0f ms, index ready after %.0f ms\n", published, opened.elapsed);
    std::printf("baseline (idle loop):  %lld ticks, longest gap %.1f ms\n",
                qlonglong(baseline.ticks), baseline.longest);
    std::printf("open + index:          %lld ticks, longest gap %.1f ms\n", qlonglong(opened.ticks),
                opened.longest);
    std::printf("longest stall: %.1f ms (target below 50 ms); longest gap / baseline: %.2f\n",
                opened.longest - tickMilliseconds, opened.longest / baseline.longest);
    return 0;
}
