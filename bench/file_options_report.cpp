// What the file options (lineage, files absent from HEAD, generated files and the language table)
// change on a real history: hotspots, coupling and technologies as recorded and with the
// options, the share of churn named "Other", and the time insights() takes either way.
//
// Run (from the build folder):
//   cmake --build . --target file_options_report && bench/file_options_report ../corpora/jq
//
// Usage: file_options_report REPOSITORY [--index-dir DIR] [--runs N]
//   --index-dir  where the index lives (default /tmp/file-options-index); brought up to date first
//   --runs N     time each reading N times and report the fastest (default 3)

#include "git/GitService.h"
#include "index/RepositoryIndex.h"
#include "index/RepositoryIndexer.h"
#include "insights/RepositoryInsights.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>

#include <algorithm>
#include <cstdio>

using namespace strataloom;

namespace {

QString argument(const QStringList &arguments, const QString &name, const QString &fallback)
{
    const qsizetype at = arguments.indexOf(name);
    return at >= 0 && at + 1 < arguments.size() ? arguments.at(at + 1) : fallback;
}

double fastest(int runs, RepositoryIndex &index, const InsightOptions &options,
               RepositoryAnalyticsInsights &result)
{
    double best = 1e9;
    for (int run = 0; run < runs; ++run) {
        QElapsedTimer clock;
        clock.start();
        result = insights(index, options);
        best = std::min(best, double(clock.nsecsElapsed()) / 1e9);
    }
    return best;
}

void print(const char *title, const RepositoryAnalyticsInsights &result)
{
    std::printf("== %s: churn %lld\n", title,
                static_cast<long long>(result.additions + result.deletions));
    std::printf("hotspots:\n");
    for (const IndexedFileInsight &file : result.hotspots)
        std::printf("  %5lld  %s\n", static_cast<long long>(file.changes), qPrintable(file.path));
    std::printf("coupling:\n");
    for (const IndexedCoChangeInsight &pair : result.coChanges.mid(0, 5))
        std::printf("  %5lld  %s + %s\n", static_cast<long long>(pair.commits),
                    qPrintable(pair.firstPath), qPrintable(pair.secondPath));
    qint64 total = 0;
    for (const IndexedTechnologyInsight &technology : result.technologies)
        total += technology.additions + technology.deletions;
    std::printf("technologies (share of their churn %lld):\n", static_cast<long long>(total));
    double other = 0;
    for (qsizetype i = 0; i < result.technologies.size(); ++i) {
        const IndexedTechnologyInsight &technology = result.technologies[i];
        const double share = total > 0
            ? 100.0 * double(technology.additions + technology.deletions) / double(total)
            : 0;
        if (technology.name == QLatin1String("Other"))
            other = share;
        if (i < 12)
            std::printf("  %5.1f %%  %s\n", share, qPrintable(technology.name));
    }
    std::printf("\"Other\": %.2f %% of the technologies' churn\n", other);
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    const QStringList arguments = application.arguments();
    if (arguments.size() < 2) {
        std::fprintf(stderr,
                     "usage: file_options_report REPOSITORY [--index-dir DIR] [--runs N]\n");
        return 2;
    }
    const QString repository = QDir(arguments.at(1)).absolutePath();
    const QString indexDir = argument(arguments, QStringLiteral("--index-dir"),
                                      QStringLiteral("/tmp/file-options-index"));
    const int runs
        = std::max(1, argument(arguments, QStringLiteral("--runs"), QStringLiteral("3")).toInt());

    // The same file as strataloom-cli's with the same --index-dir.
    RepositoryIndex index(RepositoryIndexLocation::databasePath(
        GitService().commonDirectory(repository), indexDir));
    RepositoryIndexer(index).synchronize(repository);

    InsightOptions files = InsightOptions::asRecorded();
    files.followRenames = files.hideDeletedFiles = files.excludeGenerated = true;
    RepositoryAnalyticsInsights recorded;
    RepositoryAnalyticsInsights corrected;
    const double recordedTime = fastest(runs, index, InsightOptions::asRecorded(), recorded);
    const double correctedTime = fastest(runs, index, files, corrected);
    print("as recorded", recorded);
    print("file options", corrected);
    std::printf("insights(): as recorded %.3f s, with the file options %.3f s (fastest of %d)\n",
                recordedTime, correctedTime, runs);
    return 0;
}
