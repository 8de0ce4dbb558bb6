#include "git/GitService.h"

#include "git/GitProcess.h"

#include <QFileInfo>
#include <QHash>
#include <QSet>

#include <algorithm>
#include <cmath>
#include <future>
#include <vector>

namespace strataloom {

namespace {

// The mean Gregorian month, in seconds.
constexpr double secondsPerMonth = 2629746.0;

} // namespace

qint64 GitService::trackedFilesSize(const QStringList &paths, const QString &root)
{
    qint64 total = 0;
    for (const QString &path : paths) {
        // QFileInfo follows symbolic links; a path that cannot be read adds nothing.
        const QFileInfo info(root + QLatin1Char('/') + path);
        if (info.exists())
            total += info.size();
    }
    return total;
}

qint64 GitService::gitDirectorySize(const QString &countObjectsOutput)
{
    QHash<QString, qint64> values;
    for (const QString &line : nonEmptyLines(countObjectsOutput)) {
        const QStringList parts = line.split(QLatin1Char(':'));
        if (parts.size() != 2)
            continue;
        bool ok = false;
        const qint64 value = parts[1].trimmed().toLongLong(&ok);
        if (ok)
            values.insert(parts[0], value);
    }
    return (values.value(QStringLiteral("size")) + values.value(QStringLiteral("size-pack")))
        * 1024;
}

namespace {

int parseCount(const QString &text, bool *ok = nullptr)
{
    return text.trimmed().toInt(ok);
}

// Starts every command at once and hands the outcomes back in the order they were given, so that
// the first failure reported is the one of the earliest command.
class ConcurrentRuns
{
public:
    using Run = std::function<QString()>;

    explicit ConcurrentRuns(const std::vector<Run> &runs)
    {
        // The caller's cancellation (a superseded load) reaches the commands on other threads.
        const std::function<bool()> isCancelled = ScopedProcessCancellation::current();
        for (const Run &run : runs) {
            m_futures.push_back(std::async(std::launch::async, [run, isCancelled] {
                const ScopedProcessCancellation cancellation(isCancelled);
                return run();
            }));
        }
    }
    ~ConcurrentRuns()
    {
        // Children already started run to completion; wait so none outlives the summary.
        for (auto &future : m_futures) {
            if (future.valid())
                future.wait();
        }
    }
    QString take(size_t index) { return m_futures[index].get(); }

private:
    std::vector<std::future<QString>> m_futures;
};

} // namespace

QString GitService::workTreeChanges(const QString &repository,
                                    std::optional<QString> *unavailableReason) const
{
    const ProgramOverrides overrides = repositoryFilterOverrides(repository);
    const QString output = run({QStringLiteral("status"), QStringLiteral("--porcelain"),
                                QStringLiteral("-z")},
                               repository, overrides.settings);
    if (output.isEmpty() || overrides.switchedOffDrivers.isEmpty())
        return output;

    // Entries read "XY path", a rename or copy followed by its old path. A change in the index, an
    // untracked file or a deletion is a change whatever the filters say; a work-tree file whose
    // filter was switched off only looks modified (its bytes were never cleaned).
    QStringList uncertain;
    const QStringList entries = output.split(QChar(0));
    for (qsizetype i = 0; i < entries.size(); ++i) {
        const QString &entry = entries.at(i);
        if (entry.size() < 4)
            continue;
        const QChar index = entry.at(0);
        const QChar workTree = entry.at(1);
        if (index == QLatin1Char('R') || index == QLatin1Char('C'))
            ++i;
        if (index != QLatin1Char(' ') || workTree != QLatin1Char('M'))
            return output;
        uncertain << entry.mid(3);
    }
    QStringList plainFiles;
    for (const QString &path : std::as_const(uncertain)) {
        if (!overrides.affectedSubmodules.contains(path))
            plainFiles << path;
    }
    QSet<QString> filtered;
    // A changed submodule may owe it to any of them.
    QStringList drivers = plainFiles.size() < uncertain.size() ? overrides.switchedOffDrivers
                                                                : QStringList();
    if (!plainFiles.isEmpty()) {
        // Output reads "<path>\0filter\0<value>\0" per path.
        const ProcessResult result = runGitProcess(
            overrides.topLevel,
            {QStringLiteral("check-attr"), QStringLiteral("-z"), QStringLiteral("--stdin"),
             QStringLiteral("filter")},
            {}, (plainFiles.join(QChar(0)) + QChar(0)).toUtf8());
        const QStringList answer = QString::fromUtf8(result.standardOutput).split(QChar(0));
        for (qsizetype i = 0; i + 2 < answer.size(); i += 3) {
            if (overrides.switchedOffDrivers.contains(answer.at(i + 2))) {
                filtered.insert(answer.at(i));
                if (!drivers.contains(answer.at(i + 2)))
                    drivers << answer.at(i + 2);
            }
        }
    }
    for (const QString &path : std::as_const(plainFiles)) {
        if (!filtered.contains(path))
            return output; // modified for certain
    }
    for (QString &driver : drivers)
        driver = QStringLiteral("\u201c%1\u201d").arg(driver);
    *unavailableReason = QStringLiteral(
        "Whether files changed is not known: it takes the %1 filter, which this repository's own "
        "configuration names, and programs named by a repository's configuration never run.")
                             .arg(drivers.join(QStringLiteral(", ")));
    // Not clean either: the summary says the state is unknown.
    return output;
}

RepositorySummary GitService::loadSummary(const QString &repository) const
{
    validateRepository(repository);

    const auto command = [this, &repository](QStringList arguments) -> ConcurrentRuns::Run {
        return [this, &repository, arguments] { return run(arguments, repository); };
    };
    const auto swallowing = [this, &repository](QStringList arguments) -> ConcurrentRuns::Run {
        return [this, &repository, arguments] {
            try {
                return run(arguments, repository);
            } catch (const std::exception &) {
                return QString();
            }
        };
    };
    const ConcurrentRuns::Run headExists
        = [this, &repository] { return hasHead(repository) ? QStringLiteral("true") : QString(); };

    std::optional<QString> statusUnavailableReason;
    ConcurrentRuns first({
        command({QStringLiteral("rev-parse"), QStringLiteral("--show-toplevel")}),
        command({QStringLiteral("branch"), QStringLiteral("--show-current")}),
        swallowing({QStringLiteral("config"), QStringLiteral("--get"),
                    QStringLiteral("remote.origin.url")}),
        [this, &repository, &statusUnavailableReason] {
            return workTreeChanges(repository, &statusUnavailableReason);
        },
        command({QStringLiteral("for-each-ref"), QStringLiteral("--format=%(refname:short)"),
                 QStringLiteral("refs/heads/")}),
        command({QStringLiteral("tag"), QStringLiteral("--list")}),
        command({QStringLiteral("ls-files")}),
        command({QStringLiteral("count-objects"), QStringLiteral("-v")}),
        headExists,
    });

    RepositorySummary summary;
    summary.path = first.take(0).trimmed();
    summary.name = QFileInfo(summary.path).fileName();
    summary.currentBranch = nilIfEmpty(first.take(1)).value_or(QStringLiteral("detached HEAD"));
    summary.remoteURL = nilIfEmpty(first.take(2));
    summary.isClean = first.take(3).isEmpty(); // false as well when the state is unknown
    summary.statusUnavailableReason = statusUnavailableReason;
    summary.branchCount = nonEmptyLines(first.take(4)).size();
    summary.tagCount = nonEmptyLines(first.take(5)).size();
    const QStringList trackedFiles = nonEmptyLines(first.take(6));
    summary.trackedFileCount = trackedFiles.size();
    summary.gitSizeBytes = gitDirectorySize(first.take(7));
    const bool hasHistory = !first.take(8).isEmpty();
    summary.repositorySizeBytes = trackedFilesSize(trackedFiles, summary.path);

    if (!hasHistory)
        return summary;

    ConcurrentRuns history({
        command({QStringLiteral("rev-list"), QStringLiteral("--count"), QStringLiteral("HEAD")}),
        command({QStringLiteral("shortlog"), QStringLiteral("-sne"), QStringLiteral("HEAD")}),
        // Dates as seconds: git fails a whole run that formats certain dates (before 1970 in
        // the author's zone) any other way.
        command({QStringLiteral("log"), QStringLiteral("--max-parents=0"),
                 QStringLiteral("--format=%at"), QStringLiteral("HEAD")}),
        command({QStringLiteral("log"), QStringLiteral("-1"), QStringLiteral("--format=%at"),
                 QStringLiteral("HEAD")}),
        command({QStringLiteral("log"), QStringLiteral("--reverse"), QStringLiteral("--format=%ct"),
                 QStringLiteral("HEAD")}),
        command({QStringLiteral("rev-list"), QStringLiteral("--count"),
                 QStringLiteral("--since=90 days ago"), QStringLiteral("HEAD")}),
        command({QStringLiteral("rev-list"), QStringLiteral("--count"),
                 QStringLiteral("--since=180 days ago"), QStringLiteral("--until=90 days ago"),
                 QStringLiteral("HEAD")}),
    });

    summary.commitCount = parseCount(history.take(0));
    summary.authorCount = nonEmptyLines(history.take(1)).size();

    for (const QString &line : nonEmptyLines(history.take(2))) {
        const OptionalDate date = parseUnixDate(line);
        if (date && (!summary.firstCommitDate || *date < *summary.firstCommitDate))
            summary.firstCommitDate = date;
    }
    summary.latestCommitDate = parseUnixDate(history.take(3));

    std::vector<double> times;
    for (const QString &line : nonEmptyLines(history.take(4))) {
        bool ok = false;
        const double time = line.trimmed().toDouble(&ok);
        if (ok)
            times.push_back(time);
    }
    for (size_t i = 1; i < times.size(); ++i) {
        const int gap = static_cast<int>(std::trunc((times[i] - times[i - 1]) / 86400.0));
        summary.longestInactivityDays = i == 1 ? gap : std::max(summary.longestInactivityDays, gap);
    }

    if (summary.firstCommitDate && summary.latestCommitDate) {
        const double span = summary.firstCommitDate->secsTo(*summary.latestCommitDate);
        const double months = std::max(span / secondsPerMonth, 1.0);
        summary.commitsPerMonth = summary.commitCount / months;
    }

    bool recentOk = false;
    bool previousOk = false;
    const int recent = parseCount(history.take(5), &recentOk);
    const int previous = parseCount(history.take(6), &previousOk);
    const double recentCount = recentOk ? recent : 0.0;
    if (!previousOk || previous <= 0)
        summary.activityTrendPercent = recentCount > 0 ? 100.0 : 0.0;
    else
        summary.activityTrendPercent = (recentCount - previous) / previous * 100.0;
    return summary;
}

} // namespace strataloom
