// The insights computed query by query, exactly as the queries were first written. The library
// computes the same values from one read of each table; tests and the benchmark compare the two.
#include "ReferenceInsights.h"

#include "insights/InsightAggregates.h"

#include "insights/Classifiers.h"
#include "index/RepositoryIndex.h"
#include "index/SQLite.h"

#include <QHash>
#include <QRegularExpression>

#include <algorithm>
#include <memory>
#include <unordered_map>
#include <vector>

namespace strataloom::reference {

namespace {

bool limitsOff = false;

// The query as written, or without its LIMIT clause to see every row that ties at the cut.
SQLiteStatement prepare(SQLiteDatabase &database, QString sql)
{
    if (limitsOff)
        sql.remove(QRegularExpression(QStringLiteral("\\nLIMIT \\d+$")));
    return database.statement(sql);
}

std::optional<QDateTime> dateFromSeconds(qint64 seconds)
{
    if (seconds < 1)
        return std::nullopt;
    return QDateTime::fromSecsSinceEpoch(seconds, Qt::UTC);
}

QString textOr(const SQLiteStatement &statement, int column, const QString &fallback)
{
    return statement.columnText(column).value_or(fallback);
}

// Code-point order (the order of UTF-8 bytes, as SQLite's BINARY collation compares), which plain
// UTF-16 comparison breaks for characters outside the basic plane.
bool codePointLess(const QString &left, const QString &right)
{
    const auto fixed = [](char16_t unit) -> char16_t {
        if (unit >= 0xD800 && unit <= 0xDFFF)
            return unit + 0x2000;
        if (unit >= 0xE000)
            return unit - 0x800;
        return unit;
    };
    const qsizetype length = std::min(left.size(), right.size());
    for (qsizetype i = 0; i < length; ++i) {
        const char16_t a = left[i].unicode();
        const char16_t b = right[i].unicode();
        if (a != b)
            return fixed(a) < fixed(b);
    }
    return left.size() < right.size();
}

// Counts sorted by count descending, ties by name in code-point order.
QList<IndexedNamedCount> sortedCounts(const QHash<QString, qint64> &counts, qsizetype limit)
{
    std::vector<IndexedNamedCount> entries;
    entries.reserve(counts.size());
    for (auto it = counts.cbegin(); it != counts.cend(); ++it)
        entries.push_back({it.key(), it.value()});
    const auto before = [](const IndexedNamedCount &a, const IndexedNamedCount &b) {
        if (a.count != b.count)
            return a.count > b.count;
        return codePointLess(a.name, b.name);
    };
    const auto end = entries.begin() + std::min<qsizetype>(limit, qsizetype(entries.size()));
    std::partial_sort(entries.begin(), end, entries.end(), before);
    return QList<IndexedNamedCount>(entries.begin(), end);
}

struct Summary
{
    qint64 totalCommits = 0;
    qint64 mergeCommits = 0;
    qint64 revertCommits = 0;
    qint64 firstTime = 0;
    qint64 lastTime = 0;
    qint64 subjectLength = 0;
    qint64 shortMessages = 0;
    qint64 commitsWithoutChanges = 0;
    qint64 wideCommits = 0;
};

Summary loadSummary(SQLiteDatabase &database)
{
    SQLiteStatement statement = prepare(database, QStringLiteral(R"(
SELECT COUNT(*), COALESCE(SUM(is_merge), 0),
       COALESCE(SUM(CASE WHEN lower(subject) LIKE 'revert%' THEN 1 ELSE 0 END), 0),
       MIN(author_time), MAX(author_time),
       COALESCE(SUM(length(subject)), 0),
       COALESCE(SUM(CASE WHEN length(trim(subject)) < 10 THEN 1 ELSE 0 END), 0),
       COALESCE(SUM(CASE WHEN NOT EXISTS (
           SELECT 1 FROM commit_files cf WHERE cf.commit_id = commits.id
       ) THEN 1 ELSE 0 END), 0),
       COALESCE(SUM(CASE WHEN (
           SELECT COUNT(*) FROM commit_files cf WHERE cf.commit_id = commits.id
       ) >= 10 THEN 1 ELSE 0 END), 0)
FROM commits WHERE is_reachable = 1)"));
    if (!statement.step())
        throw SQLiteError::step(QStringLiteral("Missing insights summary"));
    return {statement.columnInt64(0), statement.columnInt64(1), statement.columnInt64(2),
            statement.columnInt64(3), statement.columnInt64(4), statement.columnInt64(5),
            statement.columnInt64(6), statement.columnInt64(7), statement.columnInt64(8)};
}

void loadLineTotals(SQLiteDatabase &database, RepositoryAnalyticsInsights &result)
{
    SQLiteStatement statement = prepare(database, QStringLiteral(R"(
SELECT COALESCE(SUM(cf.additions), 0), COALESCE(SUM(cf.deletions), 0),
       COALESCE(SUM(CASE WHEN cf.status LIKE 'A%' THEN 1 ELSE 0 END), 0),
       COALESCE(SUM(CASE WHEN cf.status LIKE 'D%' THEN 1 ELSE 0 END), 0),
       COALESCE(SUM(CASE WHEN cf.status LIKE 'R%' THEN 1 ELSE 0 END), 0),
       COUNT(DISTINCT CASE WHEN cf.is_binary = 1 THEN cf.file_id END)
FROM commit_files cf JOIN commits c ON c.id = cf.commit_id
WHERE c.is_reachable = 1)"));
    if (!statement.step())
        throw SQLiteError::step(QStringLiteral("Missing insights line totals"));
    result.additions = statement.columnInt64(0);
    result.deletions = statement.columnInt64(1);
    result.filesAdded = statement.columnInt64(2);
    result.filesDeleted = statement.columnInt64(3);
    result.filesRenamed = statement.columnInt64(4);
    result.binaryFiles = statement.columnInt64(5);
}

QList<IndexedAuthorInsight> loadAuthors(SQLiteDatabase &database, qint64 totalCommits)
{
    SQLiteStatement statement = prepare(database, QStringLiteral(R"(
SELECT a.canonical_name, COUNT(DISTINCT c.id),
       COALESCE(SUM(cf.additions), 0), COALESCE(SUM(cf.deletions), 0),
       MIN(c.author_time), MAX(c.author_time)
FROM authors a
JOIN author_aliases aa ON aa.author_id = a.id
JOIN commits c ON c.author_alias_id = aa.id AND c.is_reachable = 1
LEFT JOIN commit_files cf ON cf.commit_id = c.id
GROUP BY a.id, a.canonical_name
ORDER BY COUNT(DISTINCT c.id) DESC, a.canonical_name COLLATE NOCASE)"));
    QList<IndexedAuthorInsight> authors;
    while (statement.step()) {
        const qint64 commits = statement.columnInt64(1);
        authors.append({textOr(statement, 0, QStringLiteral("Unknown")), commits,
                        statement.columnInt64(2), statement.columnInt64(3),
                        totalCommits > 0 ? double(commits) / double(totalCommits) : 0.0,
                        dateFromSeconds(statement.columnInt64(4)),
                        dateFromSeconds(statement.columnInt64(5))});
    }
    return authors;
}

QList<IndexedFileInsight> loadHotspots(SQLiteDatabase &database)
{
    SQLiteStatement statement = prepare(database, QStringLiteral(R"(
SELECT f.current_path, COUNT(DISTINCT c.id), COUNT(DISTINCT aa.author_id),
       COALESCE(SUM(cf.additions), 0), COALESCE(SUM(cf.deletions), 0),
       MIN(c.author_time), MAX(c.author_time)
FROM files f
JOIN commit_files cf ON cf.file_id = f.id
JOIN commits c ON c.id = cf.commit_id AND c.is_reachable = 1
LEFT JOIN author_aliases aa ON aa.id = c.author_alias_id
GROUP BY f.id, f.current_path
ORDER BY COUNT(DISTINCT c.id) DESC,
         COALESCE(SUM(cf.additions), 0) + COALESCE(SUM(cf.deletions), 0) DESC
LIMIT 15)"));
    QList<IndexedFileInsight> files;
    while (statement.step()) {
        files.append({textOr(statement, 0, QStringLiteral("Unknown")), statement.columnInt64(1),
                      statement.columnInt64(2), statement.columnInt64(3), statement.columnInt64(4),
                      dateFromSeconds(statement.columnInt64(5)),
                      dateFromSeconds(statement.columnInt64(6))});
    }
    return files;
}

// Counts commit types and significant words of every reachable subject.
void countSubjects(SQLiteDatabase &database, QHash<QString, qint64> &types,
                   QHash<QString, qint64> &words)
{
    SQLiteStatement statement
        = database.statement(QStringLiteral("SELECT subject FROM commits WHERE is_reachable = 1"));
    while (statement.step()) {
        const QString subject = statement.columnText(0).value_or(QString());
        ++types[commitType(subject)];
        for (const QString &word : significantWords(subject))
            ++words[word];
    }
}

qint64 loadLongestGapDays(SQLiteDatabase &database)
{
    SQLiteStatement statement = database.statement(QStringLiteral(
        "SELECT author_time FROM commits WHERE is_reachable = 1 ORDER BY author_time"));
    qint64 longest = 0;
    std::optional<qint64> previous;
    while (statement.step()) {
        const qint64 time = statement.columnInt64(0);
        if (previous)
            longest = std::max(longest, (time - *previous) / 86400);
        previous = time;
    }
    return longest;
}

QList<IndexedDirectoryInsight> loadDirectories(SQLiteDatabase &database)
{
    SQLiteStatement statement = prepare(database, QStringLiteral(R"(
SELECT CASE WHEN instr(f.current_path, '/') > 0
            THEN substr(f.current_path, 1, instr(f.current_path, '/') - 1)
            ELSE '(root)' END AS directory,
       COUNT(DISTINCT c.id), COUNT(DISTINCT aa.author_id),
       COALESCE(SUM(cf.additions), 0), COALESCE(SUM(cf.deletions), 0)
FROM commit_files cf
JOIN files f ON f.id = cf.file_id
JOIN commits c ON c.id = cf.commit_id AND c.is_reachable = 1
LEFT JOIN author_aliases aa ON aa.id = c.author_alias_id
GROUP BY directory
ORDER BY COUNT(DISTINCT c.id) DESC,
         COALESCE(SUM(cf.additions), 0) + COALESCE(SUM(cf.deletions), 0) DESC
LIMIT 20)"));
    QList<IndexedDirectoryInsight> directories;
    while (statement.step()) {
        directories.append({textOr(statement, 0, QStringLiteral("(root)")),
                            statement.columnInt64(1), statement.columnInt64(2),
                            statement.columnInt64(3), statement.columnInt64(4)});
    }
    return directories;
}

QList<IndexedTechnologyInsight> loadTechnologies(SQLiteDatabase &database)
{
    SQLiteStatement statement = prepare(database, QStringLiteral(R"(
SELECT f.current_path, COUNT(DISTINCT c.id),
       COALESCE(SUM(cf.additions), 0), COALESCE(SUM(cf.deletions), 0)
FROM files f
JOIN commit_files cf ON cf.file_id = f.id
JOIN commits c ON c.id = cf.commit_id AND c.is_reachable = 1
GROUP BY f.id, f.current_path)"));
    QHash<QString, IndexedTechnologyInsight> totals;
    while (statement.step()) {
        const QString name = technology(statement.columnText(0).value_or(QString()));
        IndexedTechnologyInsight &entry = totals[name];
        entry.name = name;
        entry.files += 1;
        entry.changes += statement.columnInt64(1);
        entry.additions += statement.columnInt64(2);
        entry.deletions += statement.columnInt64(3);
    }
    QList<IndexedTechnologyInsight> technologies(totals.cbegin(), totals.cend());
    std::sort(technologies.begin(), technologies.end(),
              [](const IndexedTechnologyInsight &a, const IndexedTechnologyInsight &b) {
                  const qint64 churnA = a.additions + a.deletions;
                  const qint64 churnB = b.additions + b.deletions;
                  if (churnA != churnB)
                      return churnA > churnB;
                  return codePointLess(a.name, b.name);
              });
    return technologies;
}

QList<IndexedCommitSizeInsight> loadLargestCommits(SQLiteDatabase &database)
{
    SQLiteStatement statement = prepare(database, QStringLiteral(R"(
SELECT c.sha, c.subject, a.canonical_name, c.author_time,
       COUNT(cf.file_id), COALESCE(SUM(cf.additions), 0), COALESCE(SUM(cf.deletions), 0)
FROM commits c
LEFT JOIN author_aliases aa ON aa.id = c.author_alias_id
LEFT JOIN authors a ON a.id = aa.author_id
LEFT JOIN commit_files cf ON cf.commit_id = c.id
WHERE c.is_reachable = 1
GROUP BY c.id
ORDER BY COALESCE(SUM(cf.additions), 0) + COALESCE(SUM(cf.deletions), 0) DESC
LIMIT 12)"));
    QList<IndexedCommitSizeInsight> commits;
    while (statement.step()) {
        commits.append({textOr(statement, 0, QString()), textOr(statement, 1, QString()),
                        textOr(statement, 2, QStringLiteral("Unknown")),
                        dateFromSeconds(statement.columnInt64(3)), statement.columnInt64(4),
                        statement.columnInt64(5), statement.columnInt64(6)});
    }
    return commits;
}

QList<IndexedBranchInsight> loadBranches(SQLiteDatabase &database)
{
    SQLiteStatement statement = prepare(database, QStringLiteral(R"(
SELECT r.name, r.is_remote, c.author_time
FROM refs r LEFT JOIN commits c ON c.sha = r.target_sha
WHERE r.kind = 'branch'
ORDER BY r.is_remote, r.name COLLATE NOCASE)"));
    QList<IndexedBranchInsight> branches;
    while (statement.step()) {
        branches.append({textOr(statement, 0, QStringLiteral("Unknown")),
                         statement.columnInt64(1) == 1, dateFromSeconds(statement.columnInt64(2))});
    }
    return branches;
}

QList<IndexedTagInsight> loadTags(SQLiteDatabase &database)
{
    SQLiteStatement statement = prepare(database, QStringLiteral(R"(
SELECT r.name, c.author_time
FROM refs r LEFT JOIN commits c ON c.sha = r.target_sha
WHERE r.kind = 'tag'
ORDER BY c.author_time, r.name COLLATE NOCASE)"));
    QList<IndexedTagInsight> tags;
    while (statement.step()) {
        tags.append({textOr(statement, 0, QStringLiteral("Unknown")),
                     dateFromSeconds(statement.columnInt64(1))});
    }
    return tags;
}

QList<IndexedNamedCount> loadEmailDomains(SQLiteDatabase &database)
{
    SQLiteStatement statement = prepare(database, QStringLiteral(R"(
SELECT lower(substr(aa.email, instr(aa.email, '@') + 1)), COUNT(DISTINCT c.id)
FROM author_aliases aa JOIN commits c ON c.author_alias_id = aa.id
WHERE c.is_reachable = 1 AND instr(aa.email, '@') > 0
GROUP BY lower(substr(aa.email, instr(aa.email, '@') + 1))
ORDER BY COUNT(DISTINCT c.id) DESC
LIMIT 12)"));
    QList<IndexedNamedCount> domains;
    while (statement.step())
        domains.append({textOr(statement, 0, QStringLiteral("unknown")), statement.columnInt64(1)});
    return domains;
}

// Reachable commits and lines per period, oldest first, active periods only; @p grouping is
// the strftime format of the period key.
QList<IndexedActivityInsight> loadActivity(SQLiteDatabase &database, const QString &grouping)
{
    SQLiteStatement statement
        = database.statement(QStringLiteral("SELECT strftime('") + grouping
                             + QStringLiteral(R"(', c.author_time, 'unixepoch') AS period,
       COUNT(DISTINCT c.id), COALESCE(SUM(cf.additions), 0), COALESCE(SUM(cf.deletions), 0)
FROM commits c LEFT JOIN commit_files cf ON cf.commit_id = c.id
WHERE c.is_reachable = 1
GROUP BY period
ORDER BY period)"));
    QList<IndexedActivityInsight> points;
    while (statement.step()) {
        const QString label = textOr(statement, 0, QStringLiteral("Unknown"));
        points.append({label, periodDate(label), statement.columnInt64(1), statement.columnInt64(2),
                       statement.columnInt64(3)});
    }
    return points;
}

// Percentage change in distinct authors from before the middle of the span to from it on.
double contributorTrend(SQLiteDatabase &database, const std::optional<QDateTime> &firstCommitAt,
                        const std::optional<QDateTime> &lastCommitAt)
{
    if (!firstCommitAt || !lastCommitAt || *lastCommitAt <= *firstCommitAt)
        return 0;
    const auto middle = qint64(
        (double(firstCommitAt->toSecsSinceEpoch()) + double(lastCommitAt->toSecsSinceEpoch())) / 2);
    SQLiteStatement statement = database.statement(QStringLiteral(R"(
SELECT COUNT(DISTINCT CASE WHEN c.author_time < ? THEN aa.author_id END),
       COUNT(DISTINCT CASE WHEN c.author_time >= ? THEN aa.author_id END)
FROM commits c JOIN author_aliases aa ON aa.id = c.author_alias_id
WHERE c.is_reachable = 1)"));
    statement.bind(middle, 1);
    statement.bind(middle, 2);
    if (!statement.step())
        return 0;
    const qint64 before = statement.columnInt64(0);
    const qint64 after = statement.columnInt64(1);
    if (before < 1)
        return after >= 1 ? 100 : 0;
    return double(after - before) / double(before) * 100;
}

} // namespace

QList<IndexedCoChangeInsight> coChanges(SQLiteDatabase &database)
{
    SQLiteStatement statement = prepare(database, QStringLiteral(R"(
SELECT f1.current_path, f2.current_path, COUNT(*)
FROM commit_files a
JOIN commit_files b ON b.commit_id = a.commit_id AND b.file_id > a.file_id
JOIN commits c ON c.id = a.commit_id AND c.is_reachable = 1
JOIN files f1 ON f1.id = a.file_id
JOIN files f2 ON f2.id = b.file_id
WHERE (SELECT COUNT(*) FROM commit_files size WHERE size.commit_id = a.commit_id) <= 50
GROUP BY a.file_id, b.file_id
HAVING COUNT(*) >= 2
ORDER BY COUNT(*) DESC, f1.current_path, f2.current_path
LIMIT 15)"));
    QList<IndexedCoChangeInsight> pairs;
    while (statement.step()) {
        pairs.append({textOr(statement, 0, QStringLiteral("Unknown")),
                      textOr(statement, 1, QStringLiteral("Unknown")), statement.columnInt64(2)});
    }
    return pairs;
}

RepositoryAnalyticsInsights referenceInsights(SQLiteDatabase &database, bool withoutLimits)
{
    limitsOff = withoutLimits;
    const std::unique_ptr<bool, void (*)(bool *)> restore(&limitsOff,
                                                          [](bool *flag) { *flag = false; });
    RepositoryAnalyticsInsights result;

    const Summary summary = loadSummary(database);
    result.totalCommits = summary.totalCommits;
    result.mergeCommits = summary.mergeCommits;
    result.revertCommits = summary.revertCommits;
    result.firstCommitAt = dateFromSeconds(summary.firstTime);
    result.lastCommitAt = dateFromSeconds(summary.lastTime);
    result.shortMessages = summary.shortMessages;
    result.commitsWithoutChanges = summary.commitsWithoutChanges;
    result.wideCommits = summary.wideCommits;
    if (summary.totalCommits > 0)
        result.averageSubjectLength = double(summary.subjectLength) / double(summary.totalCommits);

    loadLineTotals(database, result);
    result.topAuthors = loadAuthors(database, summary.totalCommits);
    result.hotspots = loadHotspots(database);

    QHash<QString, qint64> typeCounts;
    QHash<QString, qint64> wordCounts;
    countSubjects(database, typeCounts, wordCounts);
    for (auto it = typeCounts.cbegin(); it != typeCounts.cend(); ++it) {
        if (it.key() != QStringLiteral("other"))
            result.conventionalCommits += it.value();
    }
    for (const IndexedNamedCount &type : sortedCounts(typeCounts, typeCounts.size()))
        result.commitTypes.append({type.name, type.count});

    result.dailyActivity = loadActivity(database, QStringLiteral("%Y-%m-%d"));
    result.monthlyActivity = loadActivity(database, QStringLiteral("%Y-%m"));
    result.yearlyActivity = loadActivity(database, QStringLiteral("%Y"));
    result.activeDays = result.dailyActivity.size();
    for (const IndexedActivityInsight &day : std::as_const(result.dailyActivity)) {
        if (!result.peakDay || day.commits > result.peakDay->commits)
            result.peakDay = day;
    }

    result.longestGapDays = loadLongestGapDays(database);

    qint64 covered = 0;
    for (const IndexedAuthorInsight &author : std::as_const(result.topAuthors)) {
        if (author.commits == 1)
            ++result.oneTimeContributors;
        if (summary.totalCommits > 2 * covered) {
            covered += author.commits;
            ++result.busFactor;
        }
    }

    result.directories = loadDirectories(database);
    result.technologies = loadTechnologies(database);
    result.coChanges = coChanges(database);
    result.largestCommits = loadLargestCommits(database);

    result.branches = loadBranches(database);
    for (const IndexedBranchInsight &branch : std::as_const(result.branches))
        ++(branch.isRemote ? result.remoteBranches : result.localBranches);
    result.tags = loadTags(database);
    result.tagCount = result.tags.size();

    result.emailDomains = loadEmailDomains(database);

    result.contributorTrendPercent
        = contributorTrend(database, result.firstCommitAt, result.lastCommitAt);
    result.commonWords = sortedCounts(wordCounts, 15);
    if (summary.totalCommits > 0) {
        result.averageCommitChurn
            = double(result.additions + result.deletions) / double(summary.totalCommits);
    }
    result.activityTrendPercent = trend(result.dailyActivity, ActivityValue::Commits);
    result.churnTrendPercent = trend(result.dailyActivity, ActivityValue::Churn);
    return result;
}

} // namespace strataloom::reference

namespace strataloom {

QList<IndexedCoChangeInsight> loadCoChanges(SQLiteDatabase &database)
{
    RepositoryAnalyticsInsights unused;
    const aggregates::History history = aggregates::readHistory(database, unused);
    return aggregates::coChangesOf(history.fileChanges, aggregates::rowsPerCommit(history),
                                   history.filePaths);
}

} // namespace strataloom
