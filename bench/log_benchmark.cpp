// The history from the index on a real history: History's first answer, every row as the
// list scrolls to the bottom through the window's model (pages read on the GUI thread), our
// memory with the whole history listed, and `strataloom-cli log` with a query of words, author
// and path as a whole process.
// Against git in the same run: `git log` for the same query and the counts the index must give.
//
// Run (from the build folder):
//   cmake --build . --target log_benchmark && bench/log_benchmark ../corpora/git
//
// Usage: log_benchmark [REPOSITORY] [--index-dir DIR] [--runs N] [--query Q]
//   REPOSITORY   the history to measure (default ../corpora/git beside the checkout)
//   --index-dir  where the index lives (default /tmp/log-index); it is brought up to date
//                first, untimed, so the first run on a new folder builds the whole index
//   --runs N     measure N times and report the fastest and the median (default 5)
//   --query Q    the combined query (default: fix author:peff path:Documentation/)

#include "BenchTiming.h"
#include "app/HistoryListModel.h"
#include "git/GitService.h"
#include "index/RepositoryIndex.h"
#include "index/RepositoryIndexer.h"
#include "insights/IndexedHistory.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
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

namespace {

// Resident memory of this process in kilobytes, from the kernel's own accounting.
qint64 residentKilobytes()
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray &line : status.readAll().split('\n')) {
        if (line.startsWith("VmRSS:"))
            return line.mid(6).trimmed().split(' ').first().toLongLong();
    }
    return -1;
}

// Lines of output of a process; the process must succeed.
QByteArray output(const QString &program, const QStringList &arguments)
{
    QProcess process;
    process.start(program, arguments);
    process.waitForFinished(-1);
    if (process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0) {
        std::fprintf(stderr, "%s failed: %s\n", qPrintable(program),
                     process.readAllStandardError().constData());
        std::exit(1);
    }
    return process.readAllStandardOutput();
}

qint64 lineCount(const QByteArray &text)
{
    return text.count('\n');
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    const QStringList arguments = application.arguments().mid(1);
    const auto [repository, indexDirectory, databasePath, runs]
        = indexedRun(arguments, QStringLiteral("/tmp/log-index"));
    const QString query = argument(arguments, QStringLiteral("--query"),
                                   QStringLiteral("fix author:peff path:Documentation/"));
    std::printf("repository %s\nindex      %s\n\n", qPrintable(repository),
                qPrintable(databasePath));

    // History's answer as the window's model reads it in the background: a connection of its
    // own, where every commit stands, and the first 100 rows.
    const Timing firstPage = measure(runs, [&] {
        SQLiteDatabase database(databasePath);
        IndexedHistory history(database, HistoryQuery());
        history.keys();
        history.pageAfter(std::nullopt, 100);
    });
    report("History: open, every row's place and first page of 100", firstPage,
           "(target <= 50 ms)");

    // Scrolling to the bottom through the window's own model: every row shown in turn, each
    // page read on this (the GUI) thread when its first row is asked for; then the top again,
    // whose page the bounded cache has let go by then.
    const qint64 memoryBefore = residentKilobytes();
    HistoryListModel model;
    model.setDatabase(databasePath);
    QElapsedTimer answered;
    answered.start();
    while (model.isLoading() || model.rowCount() == 0)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 50);
    const double answerMs = double(answered.nsecsElapsed()) / 1e6;
    const int subject = model.roleNames().key("subject");
    double slowestRow = 0;
    QElapsedTimer wholeScroll;
    wholeScroll.start();
    for (int row = 0; row < model.rowCount(); ++row) {
        QElapsedTimer rowClock;
        rowClock.start();
        model.data(model.index(row), subject);
        slowestRow = std::max(slowestRow, double(rowClock.nsecsElapsed()) / 1e6);
    }
    const double scrollMs = double(wholeScroll.nsecsElapsed()) / 1e6;
    QElapsedTimer jump;
    jump.start();
    model.data(model.index(0), subject);
    const double jumpMs = double(jump.nsecsElapsed()) / 1e6;
    std::printf("%-58s %.0f ms\n", "History model: query answered (background)", answerMs);
    std::printf("%-58s %d rows in %.0f ms, slowest row %.1f ms (target: no stall > 50 ms)\n",
                "History model: every row top to bottom", model.rowCount(), scrollMs, slowestRow);
    std::printf("%-58s %.1f ms, %d pages held\n", "History model: back to the top", jumpMs,
                model.cachedPageCount());
    std::printf("%-58s %.1f MB (process %.1f MB)\n", "Memory of the whole history listed",
                double(residentKilobytes() - memoryBefore) / 1024.0,
                double(residentKilobytes()) / 1024.0);

    // The CLI as a whole, against git answering the same question.
    const QString cli = QStringLiteral(STRATALOOM_CLI);
    const QStringList logArguments {QStringLiteral("log"),         repository,
                                    QStringLiteral("--index-dir"), indexDirectory,
                                    QStringLiteral("--query"),     query,
                                    QStringLiteral("--limit"),     QStringLiteral("100")};
    const Timing cliQuery = measure(runs, [&] { output(cli, logArguments); });
    report(qPrintable(QStringLiteral("strataloom-cli log --query '%1'").arg(query)), cliQuery,
           "(target <= 150 ms)");
    const Timing gitQuery = measure(runs, [&] {
        output(QStringLiteral("git"),
               {QStringLiteral("-C"), repository, QStringLiteral("log"), QStringLiteral("--all"),
                QStringLiteral("--no-merges"), QStringLiteral("-i"), QStringLiteral("-F"),
                QStringLiteral("--grep=fix"), QStringLiteral("--author=peff"),
                QStringLiteral("--format=%H"), QStringLiteral("-n"), QStringLiteral("100"),
                QStringLiteral("--"), QStringLiteral("Documentation/")});
    });
    report("git log --all --grep --author -n 100 -- Documentation/ (baseline)", gitQuery);

    // The counts the index must agree on.
    const auto cliCount = [&](const QStringList &extra) {
        const QJsonDocument json = QJsonDocument::fromJson(
            output(cli,
                   QStringList {QStringLiteral("log"), repository, QStringLiteral("--index-dir"),
                                indexDirectory, QStringLiteral("--limit"), QStringLiteral("0")}
                       + extra));
        return qint64(json.array().size());
    };
    const qint64 all = cliCount({});
    const qint64 revList = output(QStringLiteral("git"),
                                  {QStringLiteral("-C"), repository, QStringLiteral("rev-list"),
                                   QStringLiteral("--all"), QStringLiteral("--count")})
                               .trimmed()
                               .toLongLong();
    std::printf("\nlog --limit 0: %lld commits; git rev-list --all --count: %lld (%s)\n",
                qlonglong(all), qlonglong(revList), all == revList ? "equal" : "DIFFERENT");
    const qint64 documentation
        = cliCount({QStringLiteral("--query"), QStringLiteral("path:Documentation/")});
    const QStringList gitPathLog {QStringLiteral("-C"),          repository,
                                  QStringLiteral("log"),         QStringLiteral("--all"),
                                  QStringLiteral("--no-merges"), QStringLiteral("--format=%H")};
    const qint64 gitDefault = lineCount(
        output(QStringLiteral("git"),
               gitPathLog + QStringList {QStringLiteral("--"), QStringLiteral("Documentation/")}));
    const qint64 gitFull = lineCount(
        output(QStringLiteral("git"),
               gitPathLog
                   + QStringList {QStringLiteral("--full-history"), QStringLiteral("--"),
                                  QStringLiteral("Documentation/")}));
    std::printf("log --query 'path:Documentation/': %lld commits; git log --all --no-merges -- "
                "Documentation/: %lld; with --full-history: %lld\n",
                qlonglong(documentation), qlonglong(gitDefault), qlonglong(gitFull));
    return 0;
}
