#include "insights/InsightAggregates.h"

#include "insights/Classifiers.h"
#include "insights/SQLiteSemantics.h"
#include "index/SQLite.h"

#include <QSet>

#include <algorithm>
#include <map>

namespace strataloom::aggregates {

using sqlite::asciiLower;
using sqlite::beginsWithRevert;
using sqlite::civilFromDays;
using sqlite::compareBinary;
using sqlite::compareNoCase;
using sqlite::sqlLength;
using sqlite::sqlTrim;

namespace {

struct PeriodTotals
{
    qint64 commits = 0;
    qint64 additions = 0;
    qint64 deletions = 0;
};

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

// Counts sorted by count descending, ties by name in code-point order, cut to @p limit.
QList<IndexedNamedCount> sortedCounts(const QHash<QString, qint64> &counts, qsizetype limit)
{
    std::vector<IndexedNamedCount> entries;
    entries.reserve(counts.size());
    for (auto it = counts.cbegin(); it != counts.cend(); ++it)
        entries.push_back({it.key(), it.value()});
    const auto last = entries.begin() + std::min(limit, qsizetype(entries.size()));
    std::partial_sort(entries.begin(), last, entries.end(),
                      [](const IndexedNamedCount &a, const IndexedNamedCount &b) {
                          return a.count != b.count ? a.count > b.count
                                                    : compareBinary(a.name, b.name) < 0;
                      });
    return QList<IndexedNamedCount>(entries.begin(), last);
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

void activity(SQLiteDatabase &database, const History &history, RepositoryAnalyticsInsights &result)
{
    // Days, months and years by number, so that iteration runs oldest first as the labels sort.
    std::map<qint64, PeriodTotals> days;
    std::map<qint64, PeriodTotals> months;
    std::map<qint64, PeriodTotals> years;
    // Outside years 0 to 9999 SQLite prints negative years ("-001-12-31", sorting before every
    // other label) or nothing (a NULL period, sorting first); those rare times are left to it.
    constexpr qint64 firstSecond = -62167219200; // 0000-01-01T00:00:00Z
    constexpr qint64 endSecond = 253402300800; // 10000-01-01T00:00:00Z
    std::map<QString, PeriodTotals> oddDays;
    std::map<QString, PeriodTotals> oddMonths;
    std::map<QString, PeriodTotals> oddYears;
    std::optional<SQLiteStatement> labels;

    for (const CommitRow &commit : history.commits) {
        const auto add = [&commit](PeriodTotals &totals) {
            ++totals.commits;
            totals.additions += commit.additions;
            totals.deletions += commit.deletions;
        };
        if (commit.time < firstSecond || commit.time >= endSecond) {
            if (!labels) {
                labels = database.statement(QStringLiteral(
                    "SELECT strftime('%Y-%m-%d', ?1, 'unixepoch'), "
                    "strftime('%Y-%m', ?1, 'unixepoch'), strftime('%Y', ?1, 'unixepoch')"));
            }
            labels->bind(commit.time, 1);
            labels->step();
            // A NULL label becomes the empty key, which sorts first as NULL does.
            add(oddDays[labels->columnText(0).value_or(QString())]);
            add(oddMonths[labels->columnText(1).value_or(QString())]);
            add(oddYears[labels->columnText(2).value_or(QString())]);
            labels->reset();
            continue;
        }
        const qint64 day = commit.time >= 0 ? commit.time / 86400 : (commit.time - 86399) / 86400;
        qint64 year = 0;
        int month = 0;
        int dayOfMonth = 0;
        civilFromDays(day, year, month, dayOfMonth);
        add(days[day]);
        add(months[year * 12 + month - 1]);
        add(years[year]);
    }

    // Periods in years 1 to 9999 have their start built directly: periodDate() parses the label
    // to the same value, slowly for thousands of days. Year 0 is left to it.
    const auto start = [](const QString &label, qint64 year, int month, int day) {
        if (year < 1)
            return periodDate(label);
        return std::optional<QDateTime>(
            QDateTime(QDate(int(year), month, day), QTime(0, 0), Qt::UTC));
    };
    const auto points = [](const std::map<QString, PeriodTotals> &odd,
                           const std::map<qint64, PeriodTotals> &periods, auto period) {
        QList<IndexedActivityInsight> list;
        list.reserve(qsizetype(odd.size() + periods.size()));
        for (const auto &[text, totals] : odd) {
            const QString label = text.isEmpty() ? QStringLiteral("Unknown") : text;
            list.append(
                {label, periodDate(label), totals.commits, totals.additions, totals.deletions});
        }
        for (const auto &[key, totals] : periods) {
            auto [label, date] = period(key);
            list.append({std::move(label), std::move(date), totals.commits, totals.additions,
                         totals.deletions});
        }
        return list;
    };
    const auto fourDigits
        = [](qint64 year) { return QStringLiteral("%1").arg(year, 4, 10, QLatin1Char('0')); };
    const auto twoDigits
        = [](int value) { return QStringLiteral("%1").arg(value, 2, 10, QLatin1Char('0')); };
    result.dailyActivity = points(oddDays, days, [&](qint64 day) {
        qint64 year = 0;
        int month = 0;
        int dayOfMonth = 0;
        civilFromDays(day, year, month, dayOfMonth);
        QString label
            = fourDigits(year) + u'-' + twoDigits(month) + u'-' + twoDigits(dayOfMonth);
        std::optional<QDateTime> date = start(label, year, month, dayOfMonth);
        return std::make_pair(std::move(label), std::move(date));
    });
    result.monthlyActivity = points(oddMonths, months, [&](qint64 key) {
        const int month = int(key % 12) + 1;
        QString label = fourDigits(key / 12) + u'-' + twoDigits(month);
        std::optional<QDateTime> date = start(label, key / 12, month, 1);
        return std::make_pair(std::move(label), std::move(date));
    });
    result.yearlyActivity = points(oddYears, years, [&](qint64 year) {
        QString label = fourDigits(year);
        std::optional<QDateTime> date = start(label, year, 1, 1);
        return std::make_pair(std::move(label), std::move(date));
    });
}

qint64 longestGapDays(const History &history)
{
    std::vector<qint64> times;
    times.reserve(history.commits.size());
    for (const CommitRow &commit : history.commits)
        times.push_back(commit.time);
    std::sort(times.begin(), times.end());
    qint64 longest = 0;
    for (size_t i = 1; i < times.size(); ++i)
        longest = std::max(longest, (times[i] - times[i - 1]) / 86400);
    return longest;
}

double contributorTrendOf(const History &history, const std::optional<QDateTime> &firstCommitAt,
                          const std::optional<QDateTime> &lastCommitAt)
{
    if (!firstCommitAt || !lastCommitAt || *lastCommitAt <= *firstCommitAt)
        return 0;
    const auto middle = qint64(
        (double(firstCommitAt->toSecsSinceEpoch()) + double(lastCommitAt->toSecsSinceEpoch())) / 2);
    QSet<qint64> before;
    QSet<qint64> after;
    for (const CommitRow &commit : history.commits) {
        if (const qint64 author = history.authorOf(commit); author != noID)
            (commit.time < middle ? before : after).insert(author);
    }
    if (before.isEmpty())
        return after.isEmpty() ? 0 : 100;
    return double(after.size() - before.size()) / double(before.size()) * 100;
}

QList<IndexedNamedCount> emailDomains(const History &history)
{
    // lower(substr(email, instr(email, '@') + 1)) of every alias with an "@", ASCII folded.
    QHash<qint64, QString> domainOfAlias;
    for (auto it = history.aliases.cbegin(); it != history.aliases.cend(); ++it) {
        const qsizetype at = it->email.indexOf(u'@');
        if (at < 0)
            continue;
        QString domain = it->email.mid(at + 1);
        for (QChar &c : domain)
            c = QChar(asciiLower(c.unicode()));
        domainOfAlias.insert(it.key(), domain);
    }
    QHash<QString, qint64> counts;
    for (const CommitRow &commit : history.commits) {
        const auto domain = domainOfAlias.constFind(commit.aliasID);
        if (domain != domainOfAlias.cend())
            ++counts[*domain];
    }
    std::vector<IndexedNamedCount> domains;
    for (auto it = counts.cbegin(); it != counts.cend(); ++it)
        domains.push_back({it.key(), it.value()});
    const auto last = domains.begin() + std::min<qsizetype>(12, qsizetype(domains.size()));
    std::partial_sort(domains.begin(), last, domains.end(),
                      [](const IndexedNamedCount &a, const IndexedNamedCount &b) {
                          return a.count != b.count ? a.count > b.count
                                                    : compareBinary(a.name, b.name) < 0;
                      });
    return QList<IndexedNamedCount>(domains.begin(), last);
}


void summariseSubjects(const PackedTexts &subjects, RepositoryAnalyticsInsights &result,
                       const std::vector<bool> &withoutWords)
{
    qint64 subjectLength = 0;
    QHash<QString, qint64> types;
    QHash<QString, qint64> words;
    // Subjects in ASCII, nearly all of them, are cut here without copies: their words are the runs
    // of ASCII letters and digits, lower-cased. Whether such a word counts (long enough, no stop
    // word, no number) is asked of significantWords() once per distinct word, at the end.
    QHash<QString, qint64> asciiWords;
    QString word;
    const auto isWordUnit = [](char16_t unit) {
        return (unit >= u'a' && unit <= u'z') || (unit >= u'A' && unit <= u'Z')
            || (unit >= u'0' && unit <= u'9');
    };
    for (qsizetype i = 0; i < subjects.size(); ++i) {
        const QString subject = subjects.at(i);
        result.revertCommits += beginsWithRevert(subject) ? 1 : 0;
        subjectLength += sqlLength(subject);
        result.shortMessages += sqlLength(sqlTrim(subject)) < 10 ? 1 : 0;
        ++types[commitType(subject)];
        if (size_t(i) < withoutWords.size() && withoutWords[size_t(i)])
            continue;
        const char16_t *text = reinterpret_cast<const char16_t *>(subject.constData());
        const qsizetype size = subject.size();
        if (!std::all_of(text, text + size, [](char16_t unit) { return unit < 0x80; })) {
            for (const QString &significant : significantWords(subject))
                ++words[significant];
            continue;
        }
        for (qsizetype i = 0; i < size;) {
            while (i < size && !isWordUnit(text[i]))
                ++i;
            const qsizetype start = i;
            while (i < size && isWordUnit(text[i]))
                ++i;
            if (i - start < 3)
                continue;
            word.resize(i - start);
            char16_t *out = reinterpret_cast<char16_t *>(word.data());
            for (qsizetype k = start; k < i; ++k)
                out[k - start] = asciiLower(text[k]);
            ++asciiWords[word];
        }
    }
    for (auto it = asciiWords.cbegin(); it != asciiWords.cend(); ++it) {
        if (!significantWords(it.key()).isEmpty())
            words[it.key()] += it.value();
    }
    for (auto it = types.cbegin(); it != types.cend(); ++it) {
        if (it.key() != QStringLiteral("other"))
            result.conventionalCommits += it.value();
    }
    for (const IndexedNamedCount &type : sortedCounts(types, types.size()))
        result.commitTypes.append({type.name, type.count});
    result.commonWords = sortedCounts(words, 15);
    if (subjects.size() > 0)
        result.averageSubjectLength = double(subjectLength) / double(subjects.size());
}

void loadRefs(SQLiteDatabase &database, RepositoryAnalyticsInsights &result)
{
    SQLiteStatement branches = database.statement(QStringLiteral(R"(
SELECT r.name, r.is_remote, c.author_time
FROM refs r LEFT JOIN commits c ON c.sha = r.target_sha
WHERE r.kind = 'branch'
ORDER BY r.is_remote, r.name COLLATE NOCASE)"));
    while (branches.step()) {
        const bool isRemote = branches.columnInt64(1) == 1;
        result.branches.append({textOr(branches, 0, QStringLiteral("Unknown")), isRemote,
                                dateFromSeconds(branches.columnInt64(2))});
        ++(isRemote ? result.remoteBranches : result.localBranches);
    }

    SQLiteStatement tags = database.statement(QStringLiteral(R"(
SELECT r.name, c.author_time
FROM refs r LEFT JOIN commits c ON c.sha = r.target_sha
WHERE r.kind = 'tag'
ORDER BY c.author_time, r.name COLLATE NOCASE)"));
    while (tags.step()) {
        result.tags.append(
            {textOr(tags, 0, QStringLiteral("Unknown")), dateFromSeconds(tags.columnInt64(1))});
    }
    result.tagCount = result.tags.size();
}

} // namespace strataloom::aggregates
