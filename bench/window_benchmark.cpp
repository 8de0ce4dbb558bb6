// window_benchmark: the real main window (Main.qml over AppViewModel) on a long history.
//
//   window_benchmark <repository> [--runs N] [--width W --height H]
//
// Run it under a display (Xvfb is enough). It measures, in one process:
//   * opening: the time from openRepository() to the first frame that shows the loading overlay,
//     and the longest gap of a 10 ms timer on the GUI thread from the call until the index is
//     ready (loaders, the window taking the new lists, the import, the insights and their
//     screens built in the background), against the same timer on the idle window for as long;
//   * progress: from the repository shown to the first index state that shows the first build's
//     progress (commits found by the walk, then "n of N"), to the first "n of N", and the longest
//     wait between two progress updates;
//   * switching: the time from choosing Statistics or Insights (as the sidebar does, through
//     selectedSection) to the end of the first frame that shows it, with the screen kept from
//     before (the window's behaviour) and, as the baseline, with the screen built on the click.
#include "app/AppViewModel.h"
#include "ui/shell/Appearance.h"
#include "ui/shell/ModelTypes.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QQmlApplicationEngine>
#include <QQuickItem>
#include <QQuickStyle>
#include <QQuickWindow>
#include <QTemporaryDir>
#include <QTimer>
#include <QtQml/qqmlextensionplugin.h>

#include <algorithm>
#include <cstdio>
#include <functional>

Q_IMPORT_QML_PLUGIN(Strataloom_StylePlugin)
Q_IMPORT_QML_PLUGIN(Strataloom_ScreensPlugin)
Q_IMPORT_QML_PLUGIN(Strataloom_InsightsPlugin)
Q_IMPORT_QML_PLUGIN(StrataloomPlugin)

using namespace strataloom;
using Section = AppViewModel::SidebarSection;

namespace {

constexpr int tickMilliseconds = 10;

void settle(int milliseconds)
{
    QEventLoop loop;
    QTimer::singleShot(milliseconds, &loop, &QEventLoop::quit);
    loop.exec();
}

/// Longest gap (ms) between ticks of a 10 ms timer while the event loop runs until @p done.
/// Gaps over 40 ms are reported with the time they ended and @p phase at that moment.
double longestGap(const std::function<bool()> &done, const std::function<void()> &start,
                  double *elapsed, const std::function<QString()> &phase = {})
{
    QElapsedTimer clock;
    QEventLoop loop;
    QTimer timer;
    timer.setTimerType(Qt::PreciseTimer);
    timer.setInterval(tickMilliseconds);
    qint64 last = 0;
    double longest = 0;
    QObject::connect(&timer, &QTimer::timeout, &loop, [&] {
        const qint64 now = clock.nsecsElapsed();
        const double gap = double(now - last) / 1e6;
        longest = std::max(longest, gap);
        if (gap > 40 && phase)
            std::printf("  gap %.1f ms ending at %.0f ms (%s)\n", gap, now / 1e6,
                        qPrintable(phase()));
        last = now;
        if (done())
            loop.quit();
    });
    clock.start();
    timer.start();
    if (start)
        start();
    loop.exec();
    *elapsed = double(clock.nsecsElapsed()) / 1e6;
    return longest;
}

/// Milliseconds from @p change to the end of the first frame drawn after it.
double timeToFrame(QQuickWindow &window, const std::function<void()> &change)
{
    QEventLoop loop;
    double elapsed = -1;
    QElapsedTimer timer;
    const auto connection = QObject::connect(&window, &QQuickWindow::frameSwapped, &loop, [&] {
        elapsed = double(timer.nsecsElapsed()) / 1e6;
        loop.quit();
    });
    timer.start();
    change();
    window.update();
    QTimer::singleShot(60000, &loop, &QEventLoop::quit);
    loop.exec();
    QObject::disconnect(connection);
    return elapsed;
}

QQuickItem *findNamed(QQuickItem *item, const QString &name)
{
    if (item->objectName() == name)
        return item;
    for (QQuickItem *child : item->childItems()) {
        if (QQuickItem *found = findNamed(child, name))
            return found;
    }
    return nullptr;
}

struct Times
{
    QList<double> values;
    double median() const { return values.at(values.size() / 2); }
    QString text() const
    {
        return QStringLiteral("median %1 ms (%2–%3)")
            .arg(median(), 0, 'f', 1)
            .arg(values.constFirst(), 0, 'f', 1)
            .arg(values.constLast(), 0, 'f', 1);
    }
};

} // namespace

int main(int argc, char **argv)
{
    QApplication application(argc, argv);
    QStringList arguments = application.arguments();
    if (arguments.size() < 2 || arguments.at(1).startsWith(QLatin1Char('-'))) {
        std::fprintf(stderr, "usage: window_benchmark <repository> [--runs N] [--width W "
                             "--height H]\n");
        return 2;
    }
    const QString repository = QDir(arguments.at(1)).absolutePath();
    auto option = [&](const QString &name, int fallback) {
        const qsizetype at = arguments.indexOf(name);
        return at > 0 && at + 1 < arguments.size() ? arguments.at(at + 1).toInt() : fallback;
    };
    const int runs = std::max(1, option(QStringLiteral("--runs"), 7));
    const int width = option(QStringLiteral("--width"), 1280);
    const int height = option(QStringLiteral("--height"), 800);

    QQuickStyle::setStyle(QStringLiteral("Fusion"));
    applyPreferredAppearance(application);

    // A private settings file and index folder: the benchmark leaves the user's alone.
    QTemporaryDir scratch;
    qputenv("STRATALOOM_INDEX_DIR", scratch.filePath(QStringLiteral("indexes")).toLocal8Bit());
    registerModelTypes();
    const QString settings = scratch.filePath(QStringLiteral("settings.ini"));
    AppViewModel model{RecentRepositoryStore(settings), DiscoveredRepositoryStore(settings),
                       RepositoryScanner(scratch.path())};
    QObject desktopActions;

    QQmlApplicationEngine engine;
    engine.addImportPath(QStringLiteral("qrc:/qt/qml"));
    engine.setInitialProperties(
        {{QStringLiteral("appModel"), QVariant::fromValue(static_cast<QObject *>(&model))},
         {QStringLiteral("desktopActions"), QVariant::fromValue(&desktopActions)}});
    engine.load(QUrl(QStringLiteral("qrc:/qt/qml/Strataloom/Main.qml")));
    auto *window = engine.rootObjects().isEmpty()
        ? nullptr
        : qobject_cast<QQuickWindow *>(engine.rootObjects().constFirst());
    if (!window)
        return 1;
    window->resize(width, height);
    settle(500);

    // Opening. The baseline: the idle window, as long as the opening took.
    QQuickItem *overlay = findNamed(window->contentItem(), QStringLiteral("loadingOverlay"));
    const auto phase = [&] {
        const auto state = model.analytics()->analyticsIndexState();
        return QStringLiteral("%1, index %2")
            .arg(model.session()->isLoading() ? QStringLiteral("loading")
                                              : QStringLiteral("loaded"),
                 state.isReady()          ? QStringLiteral("ready")
                     : state.isIndexing() ? QStringLiteral("indexing")
                                          : QStringLiteral("idle/failed"));
    };
    struct Opening
    {
        double overlayFrame = -1;
        double elapsed = 0;
        double longestGap = 0;
        double shown = -1;             // ms to the repository's screens replacing the overlay
        double firstProgress = -1;     // ms to the first progress shown (found, or n of N)
        double firstOfTotal = -1;      // ms to the first "n of N"
        double longestProgressWait = 0; // ms between progress updates while indexing
        qint64 progressUpdates = 0;
    };
    const auto open = [&](const QString &path) {
        Opening opening;
        QElapsedTimer clock;
        const auto connection = QObject::connect(window, &QQuickWindow::frameSwapped, [&] {
            if (opening.overlayFrame < 0 && overlay && overlay->isVisible())
                opening.overlayFrame = double(clock.nsecsElapsed()) / 1e6;
        });
        double lastProgress = -1;
        std::pair<qint64, qint64> lastCommits {-1, -1};
        const auto shownConnection
            = QObject::connect(model.session(), &RepositorySession::published, [&] {
                  if (opening.shown < 0)
                      opening.shown = double(clock.nsecsElapsed()) / 1e6;
              });
        const auto progressConnection = QObject::connect(
            model.analytics(), &AnalyticsIndexController::analyticsIndexStateChanged, [&] {
                const auto state = model.analytics()->analyticsIndexState();
                const double now = double(clock.nsecsElapsed()) / 1e6;
                const std::pair<qint64, qint64> commits {state.listedCommits(),
                                                         state.progressCommits()};
                if (opening.firstOfTotal < 0 && state.progressTotal() > 0)
                    opening.firstOfTotal = now;
                if (state.isIndexing() && (state.progressTotal() > 0 || commits.first > 0)
                    && commits != lastCommits) {
                    if (opening.firstProgress < 0)
                        opening.firstProgress = now;
                    else if (now - lastProgress > 1000)
                        std::printf("  progress waited %.0f ms at %.0f ms: from %lld found, %lld "
                                    "imported to %lld found, %lld of %lld\n",
                                    now - lastProgress, lastProgress, qlonglong(lastCommits.first),
                                    qlonglong(lastCommits.second), qlonglong(commits.first),
                                    qlonglong(commits.second), qlonglong(state.progressTotal()));
                    if (opening.firstProgress != now)
                        opening.longestProgressWait
                            = std::max(opening.longestProgressWait, now - lastProgress);
                    lastProgress = now;
                    lastCommits = commits;
                    ++opening.progressUpdates;
                }
            });
        opening.longestGap = longestGap(
            [&] {
                const auto state = model.analytics()->analyticsIndexState();
                return (state.isReady() || state.isFailed()) && !model.session()->isLoading()
                    && model.analytics()->property("analyticsInsights").isValid();
            },
            [&] {
                clock.start();
                model.session()->openRepository(path);
            },
            &opening.elapsed, phase);
        QObject::disconnect(connection);
        QObject::disconnect(progressConnection);
        QObject::disconnect(shownConnection);
        settle(3000); // the screens built ahead in the background finish
        return opening;
    };
    std::printf("first opening, from the welcome screen:\n");
    const Opening first = open(repository);
    if (model.analytics()->analyticsIndexState().isFailed()) {
        std::fprintf(stderr, "index failed: %s\n",
                     qPrintable(model.analytics()->analyticsIndexState().message()));
        return 1;
    }
    // The same history again in a second index folder: a full import while a repository is shown.
    qputenv("STRATALOOM_INDEX_DIR", scratch.filePath(QStringLiteral("indexes-2")).toLocal8Bit());
    std::printf("second opening, over the open repository:\n");
    const Opening second = open(repository);
    double idleElapsed = 0;
    QElapsedTimer idleClock;
    idleClock.start();
    const double idleGap = longestGap(
        [&] { return idleClock.elapsed() >= qint64(first.elapsed); }, nullptr, &idleElapsed);

    std::printf("repository: %s, %d commits, window %dx%d\n", qPrintable(repository),
                model.analytics()->analyticsIndexState().indexedCommits(), width, height);
    for (const auto &[name, opening] : {std::pair{"first opening", first}, {"second opening", second}}) {
        std::printf("%s: overlay drawn after %.1f ms; index ready after %.1f s; longest GUI-thread "
                    "gap %.1f ms (stall %.1f ms) vs idle window %.1f ms (ratio %.2f)\n",
                    name, opening.overlayFrame, opening.elapsed / 1000.0, opening.longestGap,
                    opening.longestGap - tickMilliseconds, idleGap, opening.longestGap / idleGap);
        if (opening.firstProgress >= 0)
            std::printf("  progress: repository shown after %.1f ms, first progress %.1f ms after "
                        "that (target <= 1000), first \"n of N\" %.1f ms after it, %lld updates, "
                        "longest wait between updates %.1f ms (target <= 1000)\n",
                        opening.shown, opening.firstProgress - opening.shown,
                        opening.firstOfTotal - opening.shown,
                        static_cast<long long>(opening.progressUpdates),
                        opening.longestProgressWait);
        else
            std::printf("  progress: none shown (the index was ready before any)\n");
    }

    // Switching.
    const auto select = [&](Section section) {
        return timeToFrame(*window, [&] { model.setSelectedSection(section); });
    };
    for (const Section section : {Section::Insights, Section::Statistics}) {
        QQuickItem *loader = findNamed(window->contentItem(),
                                       QStringLiteral("sectionLoader_%1").arg(int(section)));
        if (!loader) {
            std::fprintf(stderr, "no loader for section %d\n", int(section));
            return 1;
        }
        Times kept;
        Times built;
        for (int run = 0; run < runs; ++run) {
            select(Section::Overview);
            settle(150);
            kept.values << select(section);
            settle(150);
            select(Section::Overview);
            loader->setProperty("kept", false); // drop the screen: the click builds it anew
            settle(150);
            built.values << select(section);
            settle(150);
        }
        std::sort(kept.values.begin(), kept.values.end());
        std::sort(built.values.begin(), built.values.end());
        const char *name = section == Section::Insights ? "insights" : "statistics";
        std::printf("%-10s click to drawn frame: kept %s; built on the click %s; ratio %.2f\n",
                    name, qPrintable(kept.text()), qPrintable(built.text()),
                    kept.median() / built.median());
    }

    // Switching the corrections with Insights shown: the insights are computed again in the
    // background, and the longest gap is what the window does with them once they arrive.
    select(Section::Insights);
    settle(500);
    for (const bool asRecorded : {true, false}) {
        bool arrived = false;
        QElapsedTimer since;
        const auto connection = QObject::connect(
            model.analytics(), &AnalyticsIndexController::analyticsInsightsChanged, [&] {
                arrived = true;
                since.start();
            });
        double elapsed = 0;
        const double gap = longestGap(
            [&] { return arrived && since.elapsed() > 2000; },
            [&] { model.analytics()->setInsightOption(QStringLiteral("asRecorded"), asRecorded); },
            &elapsed);
        QObject::disconnect(connection);
        std::printf("corrections %s with Insights shown: longest GUI-thread gap %.1f ms\n",
                    asRecorded ? "off" : "on", gap);
    }
    return 0;
}
