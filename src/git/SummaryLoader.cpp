#include "git/GitService.h"

#include "git/GitProcess.h"

#include <QFileInfo>
#include <QHash>
#include <QSet>

#include <algorithm>
#include <cmath>
#include <future>
#include <variant>
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

namespace {

// What one walk over HEAD's history says, in the forms that shortlog, rev-list --count,
// log --max-parents=0, log -1 and log --reverse printed for it.
struct HeadHistory
{
    int commitCount = 0;
    QByteArray identities; ///< as `shortlog -sne HEAD` prints them
    QByteArray names; ///< as `shortlog -sn HEAD` prints them
    OptionalDate firstCommitDate;
    OptionalDate latestCommitDate;
    int longestInactivityDays = 0;
};

// One record per commit, newest first: committer and author seconds, parents, author name and
// e-mail (both after .mailmap), each field ended by a NUL. None of them can hold a newline.
const QString headWalkFormat = QStringLiteral("--format=%ct%x00%at%x00%P%x00%aN%x00%aE%x00");

// shortlog's summary text: by count, most first; equal counts by name, bytewise (git sorts
// its list by strcmp and then stably by count).
QByteArray shortlogSummary(const QHash<QByteArray, int> &counts)
{
    std::vector<std::pair<QByteArray, int>> entries;
    entries.reserve(counts.size());
    for (auto it = counts.cbegin(); it != counts.cend(); ++it)
        entries.emplace_back(it.key(), it.value());
    std::sort(entries.begin(), entries.end(),
              [](const auto &a, const auto &b) { return a.first < b.first; });
    std::stable_sort(entries.begin(), entries.end(),
                     [](const auto &a, const auto &b) { return a.second > b.second; });
    QByteArray text;
    for (const auto &[name, count] : entries)
        text += QByteArray::number(count).rightJustified(6, ' ') + '\t' + name + '\n';
    return text;
}

// Adds up the commits of the walk, newest first as git prints them.
class HeadHistoryTally
{
public:
    void add(std::optional<double> committerTime, const OptionalDate &authorDate, bool isRoot,
             const QByteArray &name, const QByteArray &email)
    {
        if (m_history.commitCount++ == 0)
            m_history.latestCommitDate = authorDate;
        if (isRoot && authorDate
            && (!m_history.firstCommitDate || *authorDate < *m_history.firstCommitDate))
            m_history.firstCommitDate = authorDate;
        if (committerTime)
            m_times.push_back(*committerTime);
        ++m_identities[name + " <" + email + '>'];
        ++m_names[name];
    }

    HeadHistory finish()
    {
        // log --reverse prints the same walk oldest first.
        std::reverse(m_times.begin(), m_times.end());
        for (size_t i = 1; i < m_times.size(); ++i) {
            const int gap = static_cast<int>(std::trunc((m_times[i] - m_times[i - 1]) / 86400.0));
            m_history.longestInactivityDays
                = i == 1 ? gap : std::max(m_history.longestInactivityDays, gap);
        }
        m_history.identities = shortlogSummary(m_identities);
        m_history.names = shortlogSummary(m_names);
        return m_history;
    }

private:
    HeadHistory m_history;
    QHash<QByteArray, int> m_identities;
    QHash<QByteArray, int> m_names;
    std::vector<double> m_times; // newest first
};

HeadHistory readHeadHistory(const QByteArray &output)
{
    HeadHistoryTally tally;
    qsizetype position = 0;
    while (position < output.size()) {
        qsizetype end = output.indexOf('\n', position);
        if (end < 0)
            end = output.size();
        const QByteArrayView record(output.constData() + position, end - position);
        position = end + 1;
        QByteArrayView fields[5];
        qsizetype field = 0;
        qsizetype from = 0;
        for (; field < 5; ++field) {
            const qsizetype nul = record.indexOf('\0', from);
            if (nul < 0)
                break;
            fields[field] = record.sliced(from, nul - from);
            from = nul + 1;
        }
        if (field < 5)
            continue;
        bool ok = false;
        const double time = QString::fromLatin1(fields[0]).trimmed().toDouble(&ok);
        tally.add(ok ? std::optional(time) : std::nullopt,
                  GitService::parseUnixDate(QString::fromLatin1(fields[1])), fields[2].isEmpty(),
                  fields[3].toByteArray(), fields[4].toByteArray());
    }
    return tally.finish();
}

HeadHistory tallyHeadHistory(const QList<HeadWalkCommit> &commits)
{
    HeadHistoryTally tally;
    for (const HeadWalkCommit &commit : commits) {
        tally.add(double(commit.committerTime),
                  GitService::parseUnixDate(QString::number(commit.authorTime)), commit.isRoot,
                  commit.authorName, commit.authorEmail);
    }
    return tally.finish();
}

} // namespace

RepositorySummary GitService::loadSummary(const QString &repository, QList<AuthorStat> *authorStats,
                                          const HeadHistorySource &headHistory) const
{
    validateRepository(repository);
    if (authorStats)
        authorStats->clear();

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

    // The history walk is the longest run: it starts at once, beside the quick probes, and its
    // outcome counts only when HEAD exists. On every way out the future's destructor waits for
    // it, so that no git outlives the summary.
    // Another source that holds HEAD's history answers instead, when it can.
    std::future<std::variant<ProcessResult, HeadHistory>> walk = std::async(
        std::launch::async,
        [&repository, &headHistory, isCancelled = ScopedProcessCancellation::current()]()
            -> std::variant<ProcessResult, HeadHistory> {
            const ScopedProcessCancellation cancellation(isCancelled);
            if (headHistory) {
                const ProcessResult head
                    = runGitProcess(repository,
                                    {QStringLiteral("rev-parse"), QStringLiteral("--verify"),
                                     QStringLiteral("--quiet"), QStringLiteral("HEAD^{commit}")});
                const QString sha = QString::fromLatin1(head.standardOutput).trimmed();
                if (head.exitStatus == 0 && !sha.isEmpty()) {
                    if (const auto commits = headHistory(sha))
                        return tallyHeadHistory(*commits);
                }
            }
            return runGitProcess(repository,
                                 {QStringLiteral("log"), headWalkFormat, QStringLiteral("HEAD")});
        });

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

    // Both windows stop walking at their start date, so they read only the recent commits.
    ConcurrentRuns recent({
        command({QStringLiteral("rev-list"), QStringLiteral("--count"),
                 QStringLiteral("--since=90 days ago"), QStringLiteral("HEAD")}),
        command({QStringLiteral("rev-list"), QStringLiteral("--count"),
                 QStringLiteral("--since=180 days ago"), QStringLiteral("--until=90 days ago"),
                 QStringLiteral("HEAD")}),
    });

    std::variant<ProcessResult, HeadHistory> walked = walk.get();
    if (const auto *output = std::get_if<ProcessResult>(&walked)) {
        if (output->exitStatus != 0)
            throw GitError::commandFailed(*output);
        walked = readHeadHistory(output->standardOutput);
    }
    const HeadHistory &history = std::get<HeadHistory>(walked);
    summary.commitCount = history.commitCount;
    summary.authorCount = nonEmptyLines(QString::fromUtf8(history.identities)).size();
    summary.firstCommitDate = history.firstCommitDate;
    summary.latestCommitDate = history.latestCommitDate;
    summary.longestInactivityDays = history.longestInactivityDays;
    if (authorStats)
        *authorStats = parseAuthorStats(QString::fromUtf8(history.names));

    if (summary.firstCommitDate && summary.latestCommitDate) {
        const double span = summary.firstCommitDate->secsTo(*summary.latestCommitDate);
        const double months = std::max(span / secondsPerMonth, 1.0);
        summary.commitsPerMonth = summary.commitCount / months;
    }

    bool recentOk = false;
    bool previousOk = false;
    const int recentCount = parseCount(recent.take(0), &recentOk);
    const int previous = parseCount(recent.take(1), &previousOk);
    const double recentCommits = recentOk ? recentCount : 0.0;
    if (!previousOk || previous <= 0)
        summary.activityTrendPercent = recentCommits > 0 ? 100.0 : 0.0;
    else
        summary.activityTrendPercent = (recentCommits - previous) / previous * 100.0;
    return summary;
}

} // namespace strataloom
