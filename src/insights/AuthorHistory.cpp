#include "insights/AuthorHistory.h"

#include "index/SQLite.h"
#include "insights/InsightPeople.h"

#include <QDateTime>
#include <QHash>
#include <QSet>
#include <QTimeZone>

#include <algorithm>
#include <map>
#include <utility>
#include <vector>

namespace strataloom {

namespace {

using aggregates::AliasIdentity;

// The aliases as a list of numbers for an IN (...) condition; ids are integers, never text.
QString idList(const QList<qint64> &ids)
{
    QStringList numbers;
    numbers.reserve(ids.size());
    for (const qint64 id : ids)
        numbers.append(QString::number(id));
    return numbers.join(QLatin1Char(','));
}

// The aliases of the people (or, as recorded, the aliases) that @p text names, in id order,
// together with every alias of the index.
struct Matches
{
    QList<AliasIdentity> all;
    QList<AliasIdentity> matching;

    QList<qint64> ids() const
    {
        QList<qint64> result;
        result.reserve(matching.size());
        for (const AliasIdentity &alias : matching)
            result.append(alias.id);
        return result;
    }
};

Matches matchAliases(SQLiteDatabase &database, const QString &text, bool mergeIdentities)
{
    const auto holds = [&](const QString &name, const QString &email) {
        return name.contains(text, Qt::CaseInsensitive)
            || email.contains(text, Qt::CaseInsensitive);
    };
    Matches matches;
    matches.all = aggregates::readAliasPeople(database, mergeIdentities);
    if (!mergeIdentities) {
        for (const AliasIdentity &alias : std::as_const(matches.all)) {
            if (holds(alias.name, alias.email))
                matches.matching.append(alias);
        }
        return matches;
    }
    QSet<qint64> people;
    for (const AliasIdentity &alias : std::as_const(matches.all)) {
        if (holds(alias.name, alias.email) || holds(alias.mappedName, alias.mappedEmail))
            people.insert(alias.person);
    }
    for (const AliasIdentity &alias : std::as_const(matches.all)) {
        if (people.contains(alias.person))
            matches.matching.append(alias);
    }
    return matches;
}

/**
 * Local calendar days of instants, as QDateTime::toLocalTime() gives them. The zone's offset
 * changes over the span are read once: converting each of an author's tens of thousands of
 * commits on its own costs more than everything else the details read.
 */
class LocalDays
{
public:
    LocalDays(qint64 first, qint64 last)
        : m_zone(QTimeZone::systemTimeZone())
    {
        if (!m_zone.isValid())
            return;
        const QDateTime from = QDateTime::fromSecsSinceEpoch(first, Qt::UTC);
        m_initialOffset = m_zone.offsetFromUtc(from);
        if (!m_zone.hasTransitions())
            return;
        for (const QTimeZone::OffsetData &change :
             m_zone.transitions(from, QDateTime::fromSecsSinceEpoch(last, Qt::UTC)))
            m_changes.push_back({change.atUtc.toSecsSinceEpoch(), change.offsetFromUtc});
    }

    QDate day(qint64 seconds) const
    {
        if (!m_zone.isValid())
            return QDateTime::fromSecsSinceEpoch(seconds, Qt::UTC).toLocalTime().date();
        const auto next = std::upper_bound(
            m_changes.cbegin(), m_changes.cend(), seconds,
            [](qint64 at, const std::pair<qint64, int> &change) { return at < change.first; });
        const qint64 local
            = seconds + (next == m_changes.cbegin() ? m_initialOffset : std::prev(next)->second);
        // Whole days since 1970, rounded down for instants before it.
        const qint64 days = local >= 0 ? local / 86400 : -((-local + 86399) / 86400);
        return QDate(1970, 1, 1).addDays(days);
    }

private:
    QTimeZone m_zone;
    int m_initialOffset = 0;
    std::vector<std::pair<qint64, int>> m_changes; ///< (instant, offset from then on), ascending
};

/**
 * The lines added and deleted by the commits of @p matches. An author whose every alias matches
 * is summed from the per-author daily totals the index keeps; the aliases of other authors
 * (one address of a person among several, an alias the mailmap gives another name) from their
 * commits' changes.
 */
std::pair<qint64, qint64> lineTotals(SQLiteDatabase &database, const Matches &matches)
{
    QHash<qint64, int> aliasesOfAuthor;
    for (const AliasIdentity &alias : matches.all)
        ++aliasesOfAuthor[alias.authorID];
    QHash<qint64, int> matchingOfAuthor;
    for (const AliasIdentity &alias : matches.matching)
        ++matchingOfAuthor[alias.authorID];
    QList<qint64> wholeAuthors;
    QList<qint64> otherAliases;
    for (auto it = matchingOfAuthor.cbegin(); it != matchingOfAuthor.cend(); ++it) {
        if (it.value() == aliasesOfAuthor.value(it.key()))
            wholeAuthors.append(it.key());
    }
    for (const AliasIdentity &alias : matches.matching) {
        if (!wholeAuthors.contains(alias.authorID))
            otherAliases.append(alias.id);
    }
    qint64 additions = 0;
    qint64 deletions = 0;
    const auto add = [&](const QString &sql) {
        SQLiteStatement statement = database.statement(sql);
        if (statement.step()) {
            additions += statement.columnInt64(0);
            deletions += statement.columnInt64(1);
        }
    };
    if (!wholeAuthors.isEmpty())
        add(QStringLiteral("SELECT COALESCE(SUM(additions), 0), COALESCE(SUM(deletions), 0) "
                           "FROM author_daily_activity WHERE author_id IN (%1)")
                .arg(idList(wholeAuthors)));
    if (!otherAliases.isEmpty())
        add(QStringLiteral("SELECT COALESCE(SUM(cf.additions), 0), COALESCE(SUM(cf.deletions), 0) "
                           "FROM commits c JOIN commit_files cf ON cf.commit_id = c.id "
                           "WHERE c.author_alias_id IN (%1) AND c.is_reachable = 1")
                .arg(idList(otherAliases)));
    return {additions, deletions};
}

} // namespace

std::optional<QString> authorHistoryQuery(const QString &name)
{
    if (name.isEmpty() || name.contains(u'"'))
        return std::nullopt;
    return QStringLiteral("author:\"%1\"").arg(name);
}

QList<qint64> authorAliasIDs(SQLiteDatabase &database, const QString &text, bool mergeIdentities)
{
    return matchAliases(database, text, mergeIdentities).ids();
}

AuthorDetails indexedAuthorDetails(SQLiteDatabase &database, const QString &name,
                                   bool mergeIdentities)
{
    AuthorDetails details;
    details.name = name;
    const Matches matches = matchAliases(database, name, mergeIdentities);
    if (matches.matching.isEmpty())
        return details;

    // The author's commits through the covering index of every reachable commit's author and
    // times, without touching the rows of the commits table.
    SQLiteStatement statement = database.statement(
        QStringLiteral("SELECT c.author_time, c.author_alias_id FROM commits c\n"
                       "WHERE c.is_reachable = 1 AND c.author_alias_id IN (%1)")
            .arg(idList(matches.ids())));
    std::vector<qint64> times;
    QSet<qint64> aliasesSeen;
    while (statement.step()) {
        times.push_back(statement.columnInt64(0));
        aliasesSeen.insert(statement.columnInt64(1));
    }
    details.commits = int(times.size());

    QSet<QString> emails;
    for (const AliasIdentity &alias : matches.matching) {
        if (aliasesSeen.contains(alias.id))
            emails.insert(alias.email);
    }
    details.emails = emails.values();
    std::sort(details.emails.begin(), details.emails.end());

    const auto [additions, deletions] = lineTotals(database, matches);
    details.additions = int(additions);
    details.deletions = int(deletions);

    // An undated commit is stored with a time below 1: counted, but on no day.
    std::sort(times.begin(), times.end());
    const auto dated = std::upper_bound(times.cbegin(), times.cend(), qint64(0));
    if (dated == times.cend())
        return details;
    details.firstCommitDate = QDateTime::fromSecsSinceEpoch(*dated, Qt::UTC);
    details.lastCommitDate = QDateTime::fromSecsSinceEpoch(times.back(), Qt::UTC);
    const LocalDays days(*dated, times.back());
    std::map<QDate, int> commitsPerDay;
    for (auto time = dated; time != times.cend(); ++time)
        ++commitsPerDay[days.day(*time)];
    // Each day starts at its local midnight, given in UTC, as the activity of git's loaders.
    for (const auto &[day, count] : commitsPerDay)
        details.activity.append({day.startOfDay().toUTC(), count});
    return details;
}

QList<AuthorFileChanges> indexedAuthorFiles(SQLiteDatabase &database, const QString &name,
                                            bool mergeIdentities, int limit)
{
    const QList<qint64> aliases = authorAliasIDs(database, name, mergeIdentities);
    if (aliases.isEmpty() || limit <= 0)
        return {};
    // Counted by file id on the key of commit_files alone (commit, file), before any path is
    // read; ties at the cut are settled by path like the rest.
    SQLiteStatement statement = database.statement(
        QStringLiteral("WITH counted(file_id, changes) AS (\n"
                       "    SELECT cf.file_id, COUNT(*) FROM commits c\n"
                       "    JOIN commit_files cf ON cf.commit_id = c.id\n"
                       "    WHERE c.is_reachable = 1 AND c.author_alias_id IN (%1)\n"
                       "    GROUP BY cf.file_id)\n"
                       "SELECT f.current_path, counted.changes FROM counted\n"
                       "JOIN files f ON f.id = counted.file_id\n"
                       "WHERE counted.changes >= COALESCE((SELECT changes FROM counted\n"
                       "    ORDER BY changes DESC LIMIT 1 OFFSET ?1 - 1), 0)\n"
                       "ORDER BY counted.changes DESC, f.current_path LIMIT ?1")
            .arg(idList(aliases)));
    statement.bind(qint64(limit), 1);
    QList<AuthorFileChanges> files;
    while (statement.step())
        files.append({statement.columnText(0).value_or(QString()), int(statement.columnInt64(1))});
    return files;
}

} // namespace strataloom
