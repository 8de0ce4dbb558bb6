// The author inspector on a real history: an author's details and most-changed files read from
// the index, and the count and first page of their commits, as the inspector asks for them,
// with identities merged and as recorded. Against git's `log --author` walk that the inspector
// runs until the index is ready, in the same run.
//
// Run (from the build folder):
//   cmake --build . --target author_benchmark && bench/author_benchmark ../corpora/git
//
// Usage: author_benchmark [REPOSITORY] [--index-dir DIR] [--runs N] [--author NAME]
//   REPOSITORY   the history to measure (default ../corpora/git beside the checkout)
//   --index-dir  where the index lives (default /tmp/author-index); it is brought up to date
//                first, untimed, so the first run on a new folder builds the whole index
//   --runs N     measure N times and report the fastest and the median (default 5)
//   --author     the author (default Junio C Hamano, the busiest of git's history)

#include "BenchTiming.h"
#include "git/GitService.h"
#include "index/RepositoryIndex.h"
#include "index/RepositoryIndexer.h"
#include "insights/AuthorHistory.h"
#include "insights/IndexedHistory.h"

#include <QCoreApplication>
#include <QElapsedTimer>

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
    QCoreApplication application(argc, argv);
    const QStringList arguments = application.arguments().mid(1);
    const auto [repository, indexDirectory, path, runs]
        = indexedRun(arguments, QStringLiteral("/tmp/author-index"));
    const QString name
        = argument(arguments, QStringLiteral("--author"), QStringLiteral("Junio C Hamano"));
    RepositoryIndex index(path);
    std::printf("%s, author \"%s\", %d runs\n", qPrintable(repository), qPrintable(name), runs);

    for (const bool merged : {true, false}) {
        std::printf("\n%s\n", merged ? "identities merged" : "as recorded");
        AuthorDetails details;
        QList<AuthorFileChanges> files;
        qint64 total = 0;
        SQLiteDatabase database(path);
        report("details from the index",
               measure(runs, [&] { details = indexedAuthorDetails(database, name, merged); }));
        report("most-changed files from the index",
               measure(runs, [&] { files = indexedAuthorFiles(database, name, merged); }));
        report("history: count and first page of 100", measure(runs, [&] {
                   IndexedHistory history(database, HistoryQuery::parse(*authorHistoryQuery(name)),
                                          merged);
                   history.setReadsBodies(false);
                   total = history.count();
                   history.pageAfter(std::nullopt, 100);
               }));
        std::printf("  %d commits, +%d -%d lines, %lld e-mails, %lld active days, history %lld, "
                    "top file %s (%d)\n",
                    details.commits, details.additions, details.deletions,
                    qint64(details.emails.size()), qint64(details.activity.size()), total,
                    files.isEmpty() ? "-" : qPrintable(files.first().path),
                    files.isEmpty() ? 0 : files.first().commits);
    }

    AuthorDetails fromGit;
    std::printf("\ngit\n");
    report("details from git log --author", measure(std::min(runs, 2), [&] {
               fromGit = GitService().loadAuthorDetails(repository, name);
           }));
    std::printf("  %d commits, +%d -%d lines, %lld e-mails, %lld active days\n", fromGit.commits,
                fromGit.additions, fromGit.deletions, qint64(fromGit.emails.size()),
                qint64(fromGit.activity.size()));
    return 0;
}
