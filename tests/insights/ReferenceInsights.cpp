// The insights computed query by query, exactly as the queries were first written. The library
// computes the same values from one read of each table; tests and the benchmark compare the two.
#include "ReferenceInsights.h"

#include "index/RepositoryIndex.h"
#include "index/SQLite.h"
#include "insights/Classifiers.h"
#include "insights/InsightAggregates.h"
#include "insights/RepositoryInsights.h"

#include <QHash>
#include <QRegularExpression>

#include <algorithm>
#include <array>
#include <vector>

namespace strataloom::reference {

namespace {

bool limitsOff = false;

// One row of a statement, its columns taken from the left as the values they are made into
// (braced lists keep that order): a number, a text ("Unknown" for NULL) or a date (none
// before 1970-01-01T00:00:01).
struct Row
{
    const SQLiteStatement &statement;
    int column = 0;

    operator qint64() { return statement.columnInt64(column++); }
    operator QString()
    {
        return statement.columnText(column++).value_or(QStringLiteral("Unknown"));
    }
    operator std::optional<QDateTime>()
    {
        const qint64 seconds = statement.columnInt64(column++);
        return seconds < 1 ? std::nullopt
                           : std::optional(QDateTime::fromSecsSinceEpoch(seconds, Qt::UTC));
    }
};

// Every row of the query as written, or without its LIMIT clause to see every row that ties at
// the cut, each made into a value by @p make.
template<typename Make> auto query(SQLiteDatabase &database, QString sql, Make make)
{
    if (limitsOff)
        sql.remove(QRegularExpression(QStringLiteral("\\nLIMIT \\d+$")));
    // Clauses many queries share.
    static const std::pair<const char *, const char *> shared[]
        = {{"$LINES", "COALESCE(SUM(cf.additions), 0), COALESCE(SUM(cf.deletions), 0)"},
           {"$CHURN", "COALESCE(SUM(cf.additions), 0) + COALESCE(SUM(cf.deletions), 0)"},
           {"$REACHABLE", "JOIN commits c ON c.id = cf.commit_id AND c.is_reachable = 1"}};
    for (const auto &[name, clause] : shared)
        sql.replace(QLatin1String(name), QLatin1String(clause));
    SQLiteStatement statement = database.statement(sql);
    QList<decltype(make(std::declval<Row &>()))> rows;
    while (statement.step()) {
        Row row {statement};
        rows.append(make(row));
    }
    return rows;
}

// Every row of the query made into a @p T from its @p N columns in order.
template<typename T, std::size_t N> QList<T> records(SQLiteDatabase &database, const QString &sql)
{
    return query(database, sql, [](Row &row) {
        return [&]<std::size_t... I>(std::index_sequence<I...>)
        {
            return T {((void)I, row)...};
        }
        (std::make_index_sequence<N> {});
    });
}

// Counts sorted by count descending, ties by name in code-point order (the order of UTF-8 bytes,
// as SQLite's BINARY collation compares; UTF-16 order differs outside the basic plane).
bool codePointLess(const QString &left, const QString &right)
{
    return left.toUtf8() < right.toUtf8();
}

QList<IndexedNamedCount> sortedCounts(const QHash<QString, qint64> &counts, qsizetype limit)
{
    std::vector<IndexedNamedCount> entries;
    for (auto it = counts.cbegin(); it != counts.cend(); ++it)
        entries.push_back({it.key(), it.value()});
    const auto end = entries.begin() + std::min<qsizetype>(limit, qsizetype(entries.size()));
    std::partial_sort(entries.begin(), end, entries.end(), [](const auto &a, const auto &b) {
        return a.count != b.count ? a.count > b.count : codePointLess(a.name, b.name);
    });
    return QList<IndexedNamedCount>(entries.begin(), end);
}

void loadSummary(SQLiteDatabase &database, RepositoryAnalyticsInsights &r)
{
    query(database, QStringLiteral(R"(
SELECT COUNT(*), COALESCE(SUM(is_merge), 0),
  COALESCE(SUM(CASE WHEN lower(subject) LIKE 'revert%' THEN 1 ELSE 0 END), 0),
  COALESCE(SUM(CASE WHEN length(trim(subject)) < 10 THEN 1 ELSE 0 END), 0),
  COALESCE(SUM(CASE WHEN NOT EXISTS (
    SELECT 1 FROM commit_files cf WHERE cf.commit_id = commits.id) THEN 1 ELSE 0 END), 0),
  COALESCE(SUM(CASE WHEN (
    SELECT COUNT(*) FROM commit_files cf WHERE cf.commit_id = commits.id) >= 10 THEN 1 ELSE 0 END), 0),
  COALESCE(SUM(length(subject)), 0), MIN(author_time), MAX(author_time)
FROM commits WHERE is_reachable = 1)"),
          [&](Row &row) {
              for (qint64 *field : {&r.totalCommits, &r.mergeCommits, &r.revertCommits,
                                    &r.shortMessages, &r.commitsWithoutChanges, &r.wideCommits})
                  *field = row;
              const qint64 length = row;
              if (r.totalCommits > 0)
                  r.averageSubjectLength = double(length) / double(r.totalCommits);
              r.firstCommitAt = row;
              r.lastCommitAt = row;
              return 0;
          });
    query(database, QStringLiteral(R"(
SELECT $LINES,
  COALESCE(SUM(CASE WHEN cf.status LIKE 'A%' THEN 1 ELSE 0 END), 0),
  COALESCE(SUM(CASE WHEN cf.status LIKE 'D%' THEN 1 ELSE 0 END), 0),
  COALESCE(SUM(CASE WHEN cf.status LIKE 'R%' THEN 1 ELSE 0 END), 0),
  COUNT(DISTINCT CASE WHEN cf.is_binary = 1 THEN cf.file_id END)
FROM commit_files cf JOIN commits c ON c.id = cf.commit_id WHERE c.is_reachable = 1)"),
          [&](Row &row) {
              for (qint64 *field : {&r.additions, &r.deletions, &r.filesAdded, &r.filesDeleted,
                                    &r.filesRenamed, &r.binaryFiles})
                  *field = row;
              return 0;
          });
}

QList<IndexedTechnologyInsight> loadTechnologies(SQLiteDatabase &database)
{
    QHash<QString, IndexedTechnologyInsight> totals;
    query(database, QStringLiteral(R"(
SELECT f.current_path, COUNT(DISTINCT c.id), $LINES
FROM files f JOIN commit_files cf ON cf.file_id = f.id $REACHABLE
GROUP BY f.id, f.current_path)"),
          [&](Row &row) {
              const QString path = row;
              IndexedTechnologyInsight &entry = totals[technology(path)];
              entry.name = technology(path);
              ++entry.files;
              for (qint64 *field : {&entry.changes, &entry.additions, &entry.deletions})
                  *field += qint64(row);
              return 0;
          });
    QList<IndexedTechnologyInsight> technologies(totals.cbegin(), totals.cend());
    std::sort(technologies.begin(), technologies.end(), [](const auto &a, const auto &b) {
        const qint64 churnA = a.additions + a.deletions, churnB = b.additions + b.deletions;
        return churnA != churnB ? churnA > churnB : codePointLess(a.name, b.name);
    });
    return technologies;
}

// Reachable commits and lines per period, oldest first, active periods only; @p grouping is
// the strftime format of the period key.
QList<IndexedActivityInsight> loadActivity(SQLiteDatabase &database, const QString &grouping)
{
    return query(database,
                 QStringLiteral("SELECT strftime('%1'").arg(grouping) + QStringLiteral(R"(,
  c.author_time, 'unixepoch') AS period, COUNT(DISTINCT c.id), $LINES
FROM commits c LEFT JOIN commit_files cf ON cf.commit_id = c.id WHERE c.is_reachable = 1
GROUP BY period ORDER BY period)"),
                 [](Row &row) {
                     const QString label = row;
                     return IndexedActivityInsight {label, periodDate(label), row, row, row};
                 });
}

// Percentage change in distinct authors from before the middle of the span to from it on.
double contributorTrend(SQLiteDatabase &database, const RepositoryAnalyticsInsights &r)
{
    if (!r.firstCommitAt || !r.lastCommitAt || *r.lastCommitAt <= *r.firstCommitAt)
        return 0;
    const auto middle = qint64(
        (double(r.firstCommitAt->toSecsSinceEpoch()) + double(r.lastCommitAt->toSecsSinceEpoch()))
        / 2);
    const QString sql = QStringLiteral(R"(
SELECT COUNT(DISTINCT CASE WHEN c.author_time < %1 THEN aa.author_id END),
  COUNT(DISTINCT CASE WHEN c.author_time >= %1 THEN aa.author_id END)
FROM commits c JOIN author_aliases aa ON aa.id = c.author_alias_id
WHERE c.is_reachable = 1)");
    const auto [before, after]
        = records<std::array<qint64, 2>, 2>(database, sql.arg(middle)).value(0);
    if (before < 1)
        return after >= 1 ? 100 : 0;
    return double(after - before) / double(before) * 100;
}

} // namespace

QList<IndexedCoChangeInsight> coChanges(SQLiteDatabase &database)
{
    return records<IndexedCoChangeInsight, 3>(database, QStringLiteral(R"(
SELECT f1.current_path, f2.current_path, COUNT(*)
FROM commit_files a JOIN commit_files b ON b.commit_id = a.commit_id AND b.file_id > a.file_id
JOIN commits c ON c.id = a.commit_id AND c.is_reachable = 1
JOIN files f1 ON f1.id = a.file_id JOIN files f2 ON f2.id = b.file_id
WHERE (SELECT COUNT(*) FROM commit_files size WHERE size.commit_id = a.commit_id) <= 50
GROUP BY a.file_id, b.file_id HAVING COUNT(*) >= 2
ORDER BY COUNT(*) DESC, f1.current_path, f2.current_path
LIMIT 15)"));
}

RepositoryAnalyticsInsights referenceInsights(SQLiteDatabase &database, bool withoutLimits)
{
    limitsOff = withoutLimits; // until the end, for coChanges() called on its own
    RepositoryAnalyticsInsights result;
    loadSummary(database, result);
    result.topAuthors
        = query(database, QStringLiteral(R"(
SELECT a.canonical_name, COUNT(DISTINCT c.id), $LINES, MIN(c.author_time), MAX(c.author_time)
FROM authors a JOIN author_aliases aa ON aa.author_id = a.id
JOIN commits c ON c.author_alias_id = aa.id AND c.is_reachable = 1
LEFT JOIN commit_files cf ON cf.commit_id = c.id GROUP BY a.id, a.canonical_name
ORDER BY COUNT(DISTINCT c.id) DESC, a.canonical_name COLLATE NOCASE)"),
                [](Row &row) { return IndexedAuthorInsight {row, row, row, row, 0.0, row, row}; });
    result.hotspots = records<IndexedFileInsight, 7>(database, QStringLiteral(R"(
SELECT f.current_path, COUNT(DISTINCT c.id), COUNT(DISTINCT aa.author_id), $LINES,
  MIN(c.author_time), MAX(c.author_time)
FROM files f JOIN commit_files cf ON cf.file_id = f.id $REACHABLE
LEFT JOIN author_aliases aa ON aa.id = c.author_alias_id GROUP BY f.id, f.current_path
ORDER BY COUNT(DISTINCT c.id) DESC, $CHURN DESC
LIMIT 15)"));

    QHash<QString, qint64> typeCounts;
    QHash<QString, qint64> wordCounts;
    query(database, QStringLiteral("SELECT subject FROM commits WHERE is_reachable = 1"),
          [&](Row &row) {
              const QString subject = row;
              ++typeCounts[commitType(subject)];
              for (const QString &word : significantWords(subject))
                  ++wordCounts[word];
              return 0;
          });
    for (const IndexedNamedCount &type : sortedCounts(typeCounts, typeCounts.size())) {
        result.commitTypes.append({type.name, type.count});
        if (type.name != QStringLiteral("other"))
            result.conventionalCommits += type.count;
    }

    result.dailyActivity = loadActivity(database, QStringLiteral("%Y-%m-%d"));
    result.monthlyActivity = loadActivity(database, QStringLiteral("%Y-%m"));
    result.yearlyActivity = loadActivity(database, QStringLiteral("%Y"));
    result.activeDays = result.dailyActivity.size();
    for (const IndexedActivityInsight &day : std::as_const(result.dailyActivity)) {
        if (!result.peakDay || day.commits > result.peakDay->commits)
            result.peakDay = day;
    }
    const QList<qint64> times = query(database, QStringLiteral(R"(
SELECT author_time FROM commits WHERE is_reachable = 1 ORDER BY author_time)"),
                                      [](Row &row) { return qint64(row); });
    for (qsizetype i = 1; i < times.size(); ++i)
        result.longestGapDays = std::max(result.longestGapDays, (times[i] - times[i - 1]) / 86400);

    qint64 covered = 0;
    for (IndexedAuthorInsight &author : result.topAuthors) {
        author.commitShare = double(author.commits) / double(result.totalCommits);
        result.oneTimeContributors += author.commits == 1 ? 1 : 0;
        if (result.totalCommits > 2 * covered) {
            covered += author.commits;
            ++result.busFactor;
        }
    }

    result.directories = records<IndexedDirectoryInsight, 5>(database, QStringLiteral(R"(
SELECT CASE WHEN instr(f.current_path, '/') > 0
  THEN substr(f.current_path, 1, instr(f.current_path, '/') - 1) ELSE '(root)' END AS directory,
  COUNT(DISTINCT c.id), COUNT(DISTINCT aa.author_id), $LINES
FROM commit_files cf JOIN files f ON f.id = cf.file_id $REACHABLE
LEFT JOIN author_aliases aa ON aa.id = c.author_alias_id GROUP BY directory
ORDER BY COUNT(DISTINCT c.id) DESC, $CHURN DESC
LIMIT 20)"));
    result.technologies = loadTechnologies(database);
    result.coChanges = coChanges(database);
    result.largestCommits = records<IndexedCommitSizeInsight, 7>(database, QStringLiteral(R"(
SELECT c.sha, c.subject, a.canonical_name, c.author_time, COUNT(cf.file_id), $LINES
FROM commits c LEFT JOIN author_aliases aa ON aa.id = c.author_alias_id
LEFT JOIN authors a ON a.id = aa.author_id LEFT JOIN commit_files cf ON cf.commit_id = c.id
WHERE c.is_reachable = 1 GROUP BY c.id ORDER BY $CHURN DESC
LIMIT 12)"));
    result.branches = query(database, QStringLiteral(R"(
SELECT r.name, r.is_remote, c.author_time FROM refs r LEFT JOIN commits c ON c.sha = r.target_sha
WHERE r.kind = 'branch' ORDER BY r.is_remote, r.name COLLATE NOCASE)"),
                            [](Row &row) {
                                return IndexedBranchInsight {row, qint64(row) == 1, row};
                            });
    for (const IndexedBranchInsight &branch : std::as_const(result.branches))
        ++(branch.isRemote ? result.remoteBranches : result.localBranches);
    result.tags = records<IndexedTagInsight, 2>(database, QStringLiteral(R"(
SELECT r.name, c.author_time FROM refs r LEFT JOIN commits c ON c.sha = r.target_sha
WHERE r.kind = 'tag' ORDER BY c.author_time, r.name COLLATE NOCASE)"));
    result.tagCount = result.tags.size();
    result.emailDomains = records<IndexedNamedCount, 2>(database, QStringLiteral(R"(
SELECT lower(substr(aa.email, instr(aa.email, '@') + 1)), COUNT(DISTINCT c.id)
FROM author_aliases aa JOIN commits c ON c.author_alias_id = aa.id
WHERE c.is_reachable = 1 AND instr(aa.email, '@') > 0
GROUP BY lower(substr(aa.email, instr(aa.email, '@') + 1)) ORDER BY COUNT(DISTINCT c.id) DESC
LIMIT 12)"));
    result.contributorTrendPercent = contributorTrend(database, result);
    result.commonWords = sortedCounts(wordCounts, 15);
    if (result.totalCommits > 0)
        result.averageCommitChurn
            = double(result.additions + result.deletions) / double(result.totalCommits);
    result.activityTrendPercent = trend(result.dailyActivity, ActivityValue::Commits);
    result.churnTrendPercent = trend(result.dailyActivity, ActivityValue::Churn);
    limitsOff = false;
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
