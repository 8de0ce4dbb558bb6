#include "insights/InsightAggregates.h"

#include "insights/Classifiers.h"
#include "insights/SQLiteSemantics.h"
#include "index/SQLite.h"

#include <algorithm>

namespace strataloom::aggregates {

using sqlite::compareBinary;
using sqlite::compareNoCase;

namespace {

// Number of distinct second members per first member of (group, member) pairs.
std::vector<qint64> distinctCounts(std::vector<std::pair<qsizetype, qint64>> &pairs,
                                   qsizetype groups)
{
    std::sort(pairs.begin(), pairs.end());
    std::vector<qint64> counts(groups, 0);
    for (size_t i = 0; i < pairs.size(); ++i) {
        if (i == 0 || pairs[i] != pairs[i - 1])
            ++counts[pairs[i].first];
    }
    return counts;
}

// Most changes first, then most churn; equal ones in order of @p tieBreak.
template<typename T, typename Less>
QList<T> ranked(std::vector<T> items, qsizetype limit, Less tieBreak)
{
    const auto end = items.begin() + std::min(limit, qsizetype(items.size()));
    std::partial_sort(items.begin(), end, items.end(), [&](const T &a, const T &b) {
        if (a.changes != b.changes)
            return a.changes > b.changes;
        const qint64 churnA = a.additions + a.deletions;
        const qint64 churnB = b.additions + b.deletions;
        if (churnA != churnB)
            return churnA > churnB;
        return tieBreak(a, b);
    });
    return QList<T>(items.begin(), end);
}

} // namespace

void summarise(const History &history, RepositoryAnalyticsInsights &result)
{
    qint64 first = 0;
    qint64 last = 0;
    for (const CommitRow &commit : history.commits) {
        if (result.totalCommits == 0 || commit.time < first)
            first = commit.time;
        if (result.totalCommits == 0 || commit.time > last)
            last = commit.time;
        ++result.totalCommits;
        result.mergeCommits += commit.isMerge ? 1 : 0;
        result.commitsWithoutChanges += commit.rows == 0 ? 1 : 0;
        result.wideCommits += commit.rows >= 10 ? 1 : 0;
    }
    result.firstCommitAt = dateFromSeconds(first);
    result.lastCommitAt = dateFromSeconds(last);
    if (result.totalCommits > 0) {
        result.averageCommitChurn
            = double(result.additions + result.deletions) / double(result.totalCommits);
    }
}

QList<IndexedAuthorInsight> topAuthors(const History &history, qint64 totalCommits)
{
    struct Totals
    {
        qint64 id;
        IndexedAuthorInsight insight;
        qint64 first;
        qint64 last;
    };
    std::vector<Totals> authors;
    QHash<qint64, qsizetype> position;
    for (const CommitRow &commit : history.commits) {
        const qint64 authorID = history.authorOf(commit);
        const auto name = history.authorNames.constFind(authorID);
        if (authorID == noID || name == history.authorNames.cend())
            continue;
        auto found = position.constFind(authorID);
        if (found == position.cend()) {
            found = position.insert(authorID, qsizetype(authors.size()));
            authors.push_back({authorID, {*name, 0, 0, 0, 0, {}, {}}, commit.time, commit.time});
        }
        Totals &totals = authors[*found];
        ++totals.insight.commits;
        totals.insight.additions += commit.additions;
        totals.insight.deletions += commit.deletions;
        totals.first = std::min(totals.first, commit.time);
        totals.last = std::max(totals.last, commit.time);
    }
    // Names that differ only in ASCII case tie; the lower id comes first.
    std::sort(authors.begin(), authors.end(), [](const Totals &a, const Totals &b) {
        if (a.insight.commits != b.insight.commits)
            return a.insight.commits > b.insight.commits;
        const int order = compareNoCase(a.insight.name, b.insight.name);
        return order != 0 ? order < 0 : a.id < b.id;
    });
    QList<IndexedAuthorInsight> result;
    result.reserve(qsizetype(authors.size()));
    for (Totals &totals : authors) {
        totals.insight.commitShare
            = totalCommits > 0 ? double(totals.insight.commits) / double(totalCommits) : 0.0;
        totals.insight.firstCommitAt = dateFromSeconds(totals.first);
        totals.insight.lastCommitAt = dateFromSeconds(totals.last);
        result.append(totals.insight);
    }
    return result;
}


std::vector<FileTotals> fileTotals(const History &history)
{
    const qsizetype fileCount = qsizetype(history.fileIDs.size());
    std::vector<FileTotals> files(fileCount);
    std::vector<std::pair<qsizetype, qint64>> fileAuthors;
    fileAuthors.reserve(history.fileChanges.size());
    history.forEachFileChange(
        [&](qsizetype commitIndex, qsizetype fileIndex, qint64 additions, qint64 deletions) {
            const CommitRow &commit = history.commits[commitIndex];
            FileTotals &file = files[fileIndex];
            ++file.changes; // one row per commit and file
            file.additions += additions;
            file.deletions += deletions;
            file.firstTime = std::min(file.firstTime, commit.time);
            file.lastTime = std::max(file.lastTime, commit.time);
            const qint64 authorID = history.authorOf(commit);
            if (authorID != noID)
                fileAuthors.emplace_back(fileIndex, authorID);
        });
    const std::vector<qint64> authors = distinctCounts(fileAuthors, fileCount);
    for (qsizetype i = 0; i < fileCount; ++i)
        files[i].authors = authors[i];
    return files;
}


QList<IndexedFileInsight> hotspots(const History &history, const std::vector<FileTotals> &files)
{
    std::vector<IndexedFileInsight> changed;
    for (size_t i = 0; i < files.size(); ++i) {
        const FileTotals &file = files[i];
        if (file.changes == 0 || history.isRankedOut(qsizetype(i)))
            continue;
        changed.push_back({history.filePaths[qsizetype(i)], file.changes, file.authors,
                           file.additions, file.deletions, dateFromSeconds(file.firstTime),
                           dateFromSeconds(file.lastTime), history.isDeleted(qsizetype(i))});
    }
    // The queries leave the order of equal ranks open; paths make it stable.
    return ranked(std::move(changed), 15,
                  [](const IndexedFileInsight &a, const IndexedFileInsight &b) {
                      return compareBinary(a.path, b.path) < 0;
                  });
}

QList<IndexedDirectoryInsight> directories(const History &history)
{
    // The first path component, or "(root)" for a path without a slash.
    QHash<QString, qsizetype> directoryIndex;
    QStringList names;
    std::vector<qsizetype> directoryOfFile(history.fileIDs.size());
    for (qsizetype i = 0; i < history.filePaths.size(); ++i) {
        const QString &path = history.filePaths[i];
        const qsizetype slash = path.indexOf(u'/');
        const QString name = slash >= 0 ? path.left(slash) : QStringLiteral("(root)");
        auto found = directoryIndex.constFind(name);
        if (found == directoryIndex.cend()) {
            found = directoryIndex.insert(name, names.size());
            names.append(name);
        }
        directoryOfFile[i] = *found;
    }

    std::vector<IndexedDirectoryInsight> totals(names.size());
    std::vector<std::pair<qsizetype, qint64>> directoryCommits;
    std::vector<std::pair<qsizetype, qint64>> directoryAuthors;
    directoryCommits.reserve(history.fileChanges.size());
    directoryAuthors.reserve(history.fileChanges.size());
    history.forEachFileChange(
        [&](qsizetype commitIndex, qsizetype fileIndex, qint64 additions, qint64 deletions) {
            const qsizetype directory = directoryOfFile[fileIndex];
            totals[directory].additions += additions;
            totals[directory].deletions += deletions;
            directoryCommits.emplace_back(directory, qint64(commitIndex));
            const qint64 authorID = history.authorOf(history.commits[commitIndex]);
            if (authorID != noID)
                directoryAuthors.emplace_back(directory, authorID);
        });
    const std::vector<qint64> commits = distinctCounts(directoryCommits, names.size());
    const std::vector<qint64> authors = distinctCounts(directoryAuthors, names.size());
    std::vector<IndexedDirectoryInsight> changed;
    for (qsizetype i = 0; i < names.size(); ++i) {
        if (commits[i] == 0)
            continue;
        changed.push_back(
            {names[i], commits[i], authors[i], totals[i].additions, totals[i].deletions});
    }
    return ranked(std::move(changed), 20,
                  [](const IndexedDirectoryInsight &a, const IndexedDirectoryInsight &b) {
                      return compareBinary(a.path, b.path) < 0;
                  });
}

QList<IndexedTechnologyInsight> technologies(const History &history,
                                             const std::vector<FileTotals> &files)
{
    QHash<QString, IndexedTechnologyInsight> totals;
    for (size_t i = 0; i < files.size(); ++i) {
        const FileTotals &file = files[i];
        if (file.changes == 0)
            continue;
        const QString name = history.fileTechnologies.isEmpty()
            ? technology(history.filePaths[qsizetype(i)])
            : history.fileTechnologies[qsizetype(i)];
        IndexedTechnologyInsight &entry = totals[name];
        entry.name = name;
        entry.files += 1;
        entry.changes += file.changes;
        entry.additions += file.additions;
        entry.deletions += file.deletions;
    }
    QList<IndexedTechnologyInsight> result(totals.cbegin(), totals.cend());
    std::sort(result.begin(), result.end(),
              [](const IndexedTechnologyInsight &a, const IndexedTechnologyInsight &b) {
                  const qint64 churnA = a.additions + a.deletions;
                  const qint64 churnB = b.additions + b.deletions;
                  if (churnA != churnB)
                      return churnA > churnB;
                  return compareBinary(a.name, b.name) < 0;
              });
    return result;
}

// The 15 pairs of files (by ascending file id) changed together in at least two commits of at
// most 50 change rows: most commits first, then by the two paths.
//
// A large history has millions of such pairs (a commit of 50 files alone makes 1,225), so they
// are counted rather than listed and sorted: for each file in turn, the files after it in each of
// its commits are tallied in one counter per file.
QList<IndexedCoChangeInsight> coChangesOf(std::vector<std::pair<qsizetype, qsizetype>> commitFiles,
                                          const std::vector<qint64> &rowsOfCommit,
                                          const QStringList &paths,
                                          const std::vector<bool> &deletedFiles)
{
    if (!std::is_sorted(commitFiles.begin(), commitFiles.end()))
        std::sort(commitFiles.begin(), commitFiles.end());

    // The files of each commit that counts, ascending, one commit after another; groupEnd[i] is
    // where the group holding members[i] ends.
    std::vector<qint32> members;
    std::vector<quint32> groupEnd;
    members.reserve(commitFiles.size());
    for (size_t start = 0; start < commitFiles.size();) {
        size_t end = start;
        while (end < commitFiles.size() && commitFiles[end].first == commitFiles[start].first)
            ++end;
        if (end - start >= 2 && rowsOfCommit[commitFiles[start].first] <= 50) {
            for (size_t i = start; i < end; ++i)
                members.push_back(qint32(commitFiles[i].second));
            groupEnd.resize(members.size(), quint32(members.size()));
        }
        start = end;
    }
    commitFiles = {};

    // Where each file occurs in members, by file.
    const size_t fileCount = size_t(paths.size());
    std::vector<quint32> occurrenceStart(fileCount + 1, 0);
    for (const qint32 file : members)
        ++occurrenceStart[size_t(file) + 1];
    for (size_t file = 0; file < fileCount; ++file)
        occurrenceStart[file + 1] += occurrenceStart[file];
    std::vector<quint32> occurrences(members.size());
    {
        std::vector<quint32> next(occurrenceStart.begin(), occurrenceStart.end() - 1);
        for (size_t i = 0; i < members.size(); ++i)
            occurrences[next[size_t(members[i])]++] = quint32(i);
    }

    struct Candidate
    {
        qint64 commits;
        qint32 first;
        qint32 second;
    };
    std::vector<Candidate> candidates;
    std::vector<qint64> together(fileCount, 0);
    std::vector<qint32> touched;
    for (size_t first = 0; first < fileCount; ++first) {
        for (quint32 o = occurrenceStart[first]; o < occurrenceStart[first + 1]; ++o) {
            const quint32 at = occurrences[o];
            for (quint32 i = at + 1; i < groupEnd[at]; ++i) {
                const qint32 second = members[i];
                if (together[size_t(second)]++ == 0)
                    touched.push_back(second);
            }
        }
        for (const qint32 second : touched) {
            if (together[size_t(second)] >= 2)
                candidates.push_back({together[size_t(second)], qint32(first), second});
            together[size_t(second)] = 0;
        }
        touched.clear();
    }

    const auto last = candidates.begin() + std::min<qsizetype>(15, qsizetype(candidates.size()));
    std::partial_sort(candidates.begin(), last, candidates.end(),
                      [&paths](const Candidate &a, const Candidate &b) {
                          if (a.commits != b.commits)
                              return a.commits > b.commits;
                          if (const int order = compareBinary(paths[a.first], paths[b.first]))
                              return order < 0;
                          return compareBinary(paths[a.second], paths[b.second]) < 0;
                      });
    QList<IndexedCoChangeInsight> result;
    const auto isDeleted = [&deletedFiles](qint32 file) {
        return !deletedFiles.empty() && deletedFiles[size_t(file)];
    };
    for (auto it = candidates.begin(); it != last; ++it) {
        result.append({paths[it->first], paths[it->second], it->commits, isDeleted(it->first),
                       isDeleted(it->second)});
    }
    return result;
}

QList<IndexedCommitSizeInsight> largestCommits(SQLiteDatabase &database, const History &history)
{
    std::vector<qsizetype> order(history.commits.size());
    for (size_t i = 0; i < order.size(); ++i)
        order[i] = qsizetype(i);
    const auto last = order.begin() + std::min<qsizetype>(12, qsizetype(order.size()));
    std::partial_sort(order.begin(), last, order.end(), [&](qsizetype a, qsizetype b) {
        const CommitRow &first = history.commits[a];
        const CommitRow &second = history.commits[b];
        const qint64 churnA = first.additions + first.deletions;
        const qint64 churnB = second.additions + second.deletions;
        return churnA != churnB ? churnA > churnB : first.id < second.id;
    });

    SQLiteStatement sha
        = database.statement(QStringLiteral("SELECT sha FROM commits WHERE id = ?"));
    QList<IndexedCommitSizeInsight> result;
    for (auto it = order.begin(); it != last; ++it) {
        const CommitRow &commit = history.commits[*it];
        sha.bind(commit.id, 1);
        const QString hash = sha.step() ? sha.columnText(0).value_or(QString()) : QString();
        sha.reset();
        const auto name = history.authorNames.constFind(commit.authorID);
        result.append({hash, history.subjects.at(*it),
                       name == history.authorNames.cend() ? QStringLiteral("Unknown") : *name,
                       dateFromSeconds(commit.time), commit.rows, commit.additions,
                       commit.deletions});
    }
    return result;
}

} // namespace strataloom::aggregates
