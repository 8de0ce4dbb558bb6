// The insights over the history's course and its texts: activity by day, month and year, the
// longest gap, the contributor trend, e-mail domains, the subjects' words and types, and the
// refs. The other aggregates are in InsightAggregates.cpp.
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
using sqlite::sqlLength;
using sqlite::sqlTrim;

namespace {

struct PeriodTotals
{
    qint64 commits = 0;
    qint64 additions = 0;
    qint64 deletions = 0;
};


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
