// How long keeping an index in step takes once it is built: the sync that finds nothing to do,
// the sync after one new commit changing one file, and the sync after 1,000 new commits.
//
//   cmake --build build --target sync_benchmark && build/bench/sync_benchmark [REPOSITORY]
//
// REPOSITORY (default ../corpora/git, git's own history) is never written: the benchmark
// works on a `git clone --mirror --shared` of it in a temporary folder. When it is absent, a
// history of 100,000 commits is generated instead (../shared/tools/make-history.py).
//
// Baselines of the same run: the same sync with the index's remembered state dropped, which
// makes it walk the whole history and rebuild the aggregates as every sync once did; and, for
// the 1,000 commits, git's own `log --numstat --raw -M` over exactly those commits.
//
// Options: --runs N (default 5) timed runs of each case, the median is reported;
//          --keep DIR to work in DIR and leave the clone and its index there (a second run
//          with the same DIR skips the full build); --quick leaves out the 1,000 commits.

#include "index/RepositoryIndexer.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>

#include <sys/resource.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <vector>

using namespace strataloom;

namespace {

[[noreturn]] void fail(const QString &message)
{
    std::fprintf(stderr, "sync_benchmark: %s\n", qPrintable(message));
    std::exit(1);
}

QString git(const QString &repository, const QStringList &arguments,
            const QStringList &environment = {}, const QByteArray &input = {})
{
    QProcess process;
    process.setWorkingDirectory(repository);
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    for (const QString &setting : environment)
        env.insert(setting.section(u'=', 0, 0), setting.section(u'=', 1));
    process.setProcessEnvironment(env);
    process.start(QStringLiteral("git"), arguments);
    process.write(input);
    process.closeWriteChannel();
    process.waitForFinished(-1);
    if (process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0)
        fail(QStringLiteral("git %1: %2")
                 .arg(arguments.join(u' '), QString::fromUtf8(process.readAllStandardError())));
    return QString::fromUtf8(process.readAllStandardOutput()).trimmed();
}

/// The time git takes to print what @p arguments ask for, the output thrown away.
double gitSeconds(const QString &repository, const QStringList &arguments)
{
    QProcess process;
    process.setWorkingDirectory(repository);
    process.setStandardOutputFile(QProcess::nullDevice());
    QElapsedTimer timer;
    timer.start();
    process.start(QStringLiteral("git"), arguments);
    process.waitForFinished(-1);
    if (process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0)
        fail(QStringLiteral("git %1 failed").arg(arguments.join(u' ')));
    return timer.nsecsElapsed() / 1e9;
}

/// User and system time of this process and of the git processes it waited for.
double processorSeconds()
{
    double total = 0;
    for (const int who : {RUSAGE_SELF, RUSAGE_CHILDREN}) {
        rusage usage {};
        getrusage(who, &usage);
        total += usage.ru_utime.tv_sec + usage.ru_stime.tv_sec
            + (usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
    }
    return total;
}

/// Wall-clock and processor time of one run of @p work. On a busy machine the wall clock
/// mostly measures the wait for a core; the processor time stays what the work costs.
struct Timing
{
    double wall = 0;
    double processor = 0;
};

Timing timed(const std::function<void()> &work)
{
    const double processorBefore = processorSeconds();
    QElapsedTimer timer;
    timer.start();
    work();
    return {timer.nsecsElapsed() / 1e9, processorSeconds() - processorBefore};
}

Timing median(std::vector<Timing> values)
{
    std::sort(values.begin(), values.end(),
              [](const Timing &a, const Timing &b) { return a.wall < b.wall; });
    Timing result = values[values.size() / 2];
    std::sort(values.begin(), values.end(),
              [](const Timing &a, const Timing &b) { return a.processor < b.processor; });
    result.processor = values[values.size() / 2].processor;
    return result;
}

/// A commit on top of @p parent whose tree differs from the parent's in one file.
QString commitChangingOneFile(const QString &repository, const QString &parent, int serial)
{
    const QString indexFile = repository + QStringLiteral("/bench-index");
    const QStringList env {QStringLiteral("GIT_INDEX_FILE=") + indexFile};
    git(repository, {"read-tree", parent}, env);
    QString entry; // "mode blob hash\tpath" of the first file at the top
    for (const QString &line : git(repository, {"ls-tree", parent}).split(u'\n')) {
        if (line.section(u' ', 1, 1) == QLatin1String("blob")) {
            entry = line;
            break;
        }
    }
    const QString mode = entry.section(u' ', 0, 0);
    const QString path = entry.section(u'\t', 1);
    QString blob = entry.section(u' ', 2, 2).section(u'\t', 0, 0);
    const QByteArray content = git(repository, {"cat-file", "blob", blob}).toUtf8()
        + "\nOne more line " + QByteArray::number(serial) + '\n';
    blob = git(repository, {"hash-object", "-w", "--stdin"}, {}, content);
    git(repository, {"update-index", "--cacheinfo", mode + u',' + blob + u',' + path}, env);
    const QString tree = git(repository, {"write-tree"}, env);
    QFile::remove(indexFile);
    return git(repository, {"commit-tree", tree, "-p", parent, "-m",
                            QStringLiteral("One more line %1").arg(serial)});
}

/// 1,000 new commits after the 1,000th first-parent ancestor of @p head, with the trees of the
/// commits that followed it there: each changes what that stretch of history changed. Left
/// unreferenced; returns the newest.
QString replayFirstParents(const QString &repository, const QString &head, QString *base)
{
    const QStringList chain
        = git(repository, {"rev-list", "--first-parent", "--format=%T %an\x1f%ae\x1f%ad",
                           "--date=raw", "-n", "1001", head})
              .split(u'\n');
    QStringList trees; // newest first: "tree name\x1femail\x1fdate"
    for (const QString &line : chain) {
        if (!line.startsWith(QLatin1String("commit ")))
            trees << line;
    }
    if (trees.size() < 1001)
        fail(QStringLiteral("the history is shorter than 1,001 first-parent commits"));
    *base = git(repository, {"rev-parse", head + QStringLiteral("~1000")});
    QString parent = *base;
    // New hashes on every run, so that a kept index has none of them yet.
    const QString run = QString::number(QDateTime::currentMSecsSinceEpoch());
    for (int i = 999; i >= 0; --i) {
        const QString tree = trees[i].section(u' ', 0, 0);
        const QStringList who = trees[i].section(u' ', 1).split(QChar(0x1f));
        const QStringList env {"GIT_AUTHOR_NAME=" + who[0], "GIT_AUTHOR_EMAIL=" + who[1],
                               "GIT_AUTHOR_DATE=" + who[2], "GIT_COMMITTER_NAME=" + who[0],
                               "GIT_COMMITTER_EMAIL=" + who[1], "GIT_COMMITTER_DATE=" + who[2]};
        parent = git(repository,
                     {"commit-tree", tree, "-p", parent, "-m", QStringLiteral("Replayed %1 (%2)").arg(i).arg(run)},
                     env);
    }
    return parent;
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    QStringList arguments = application.arguments().mid(1);
    int runs = 5;
    QString keep;
    bool quick = false;
    QString source = QStringLiteral(STRATALOOM_SOURCE_DIR "/../corpora/git");
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        if (arguments[i] == QLatin1String("--runs") && i + 1 < arguments.size())
            runs = std::max(1, arguments[++i].toInt());
        else if (arguments[i] == QLatin1String("--quick"))
            quick = true;
        else if (arguments[i] == QLatin1String("--keep") && i + 1 < arguments.size())
            keep = arguments[++i];
        else
            source = arguments[i];
    }

    QTemporaryDir temporary;
    const QString work = keep.isEmpty() ? temporary.path() : QDir(keep).absolutePath();
    QDir().mkpath(work);
    if (!QFileInfo::exists(source + QStringLiteral("/.git"))
        && !QFileInfo::exists(source + QStringLiteral("/HEAD"))) {
        const QString script = QStringLiteral(STRATALOOM_SOURCE_DIR "/../shared/tools/make-history.py");
        std::printf("%s not found: generating 100,000 commits with %s\n", qPrintable(source),
                    qPrintable(script));
        source = work + QStringLiteral("/generated");
        if (QProcess::execute(QStringLiteral("python3"),
                              {script, source, "--commits", "100000", "--repack"})
            != 0)
            fail(QStringLiteral("could not generate the history"));
    }
    const QString repository = work + QStringLiteral("/clone.git");
    if (!QFileInfo::exists(repository))
        git(work, {"clone", "-q", "--mirror", "--shared", source, repository});
    git(repository, {"update-ref", "-d", "refs/heads/replayed"}); // left by a failed run
    const QString branch = git(repository, {"symbolic-ref", "HEAD"});
    const QString head = git(repository, {"rev-parse", "HEAD"});
    std::printf("repository: %s (%s commits, %s refs)\n", qPrintable(source),
                qPrintable(git(repository, {"rev-list", "--all", "--count"})),
                qPrintable(QString::number(
                    git(repository, {"for-each-ref", "--format=x"}).count(u'\n') + 1)));

    RepositoryIndex index(work + QStringLiteral("/index.sqlite"));
    RepositoryIndexer indexer(index);
    const auto sync = [&] { return indexer.synchronize(repository); };
    // The old way: without the remembered state the whole history is walked and compared with
    // every stored hash, and the aggregates are rebuilt from all commits.
    const auto syncTheOldWay = [&] {
        index.setMetadata(QString(), QStringLiteral("reachability_state"));
        index.setMetadata(QString(), QStringLiteral("covered_tips"));
        return sync();
    };

    const Timing first = timed([&] { sync(); });
    std::printf("first sync (the full build unless --keep found an index): %.1f s, processor "
                "%.1f s\n",
                first.wall, first.processor);

    std::vector<Timing> upToDate, upToDateOld;
    for (int run = 0; run < runs; ++run) {
        upToDate.push_back(timed([&] {
            if (!sync().wasUpToDate)
                fail(QStringLiteral("the index was not up to date"));
        }));
        upToDateOld.push_back(timed([&] { syncTheOldWay(); }));
    }

    std::vector<Timing> oneCommit, oneCommitOld;
    QString tip = head;
    for (int run = 0; run < runs; ++run) {
        for (std::vector<Timing> *times : {&oneCommit, &oneCommitOld}) {
            tip = commitChangingOneFile(repository, tip, int(oneCommit.size() + oneCommitOld.size()));
            git(repository, {"update-ref", branch, tip});
            RepositorySynchronization result;
            times->push_back(timed([&] {
                result = times == &oneCommit ? sync() : syncTheOldWay();
            }));
            if (result.importedCommits != 1)
                fail(QStringLiteral("one new commit imported %1").arg(result.importedCommits));
        }
    }
    const auto row = [](const char *name, const Timing &now, const Timing &old, const char *target) {
        std::printf("%-22s %7.3f s  %7.3f s  %5.2fx   %7.3f s  %7.3f s  %5.2fx  %s\n", name, now.wall,
                    old.wall, now.wall / old.wall, now.processor, old.processor,
                    now.processor / old.processor, target);
    };
    std::printf("\nmedian of %d runs          wall clock                   processor (with git)\n"
                "                          new        old way   ratio     new        old way   "
                "ratio\n",
                runs);
    row("up-to-date sync", median(upToDate), median(upToDateOld), "(target <= 0.3 s)");
    row("one new commit", median(oneCommit), median(oneCommitOld), "(target <= 0.5 s)");
    std::fflush(stdout);
    if (quick) {
        git(repository, {"update-ref", branch, head});
        return 0;
    }

    QString base;
    const QString replayed = replayFirstParents(repository, head, &base);
    const double raw
        = gitSeconds(repository, {"log", "--numstat", "--raw", "-M", replayed, "^" + base});
    git(repository, {"update-ref", "refs/heads/replayed", replayed});
    RepositorySynchronization result;
    const Timing thousand = timed([&] { result = sync(); });
    if (result.importedCommits != 1000)
        fail(QStringLiteral("1,000 new commits imported %1").arg(result.importedCommits));
    // Put back, so that a kept clone can be run again.
    git(repository, {"update-ref", branch, head});
    git(repository, {"update-ref", "-d", "refs/heads/replayed"});

    std::printf("\n1,000 new commits      %7.3f s  (processor %.3f s)\n", thousand.wall,
                thousand.processor);
    std::printf("raw git log over them  %7.3f s  ratio %.2fx  (target <= 1.5x)\n", raw,
                thousand.wall / raw);
    return 0;
}
