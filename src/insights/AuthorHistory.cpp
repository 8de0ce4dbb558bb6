#include "insights/AuthorHistory.h"

#include "index/SQLite.h"
#include "insights/InsightPeople.h"

#include <QSet>

#include <algorithm>
#include <map>

namespace strataloom {

namespace {

// The aliases as a list of numbers for an IN (...) condition; ids are integers, never text.
QString idList(const QList<qint64> &ids)
{
    QStringList numbers;
    numbers.reserve(ids.size());
    for (const qint64 id : ids)
        numbers.append(QString::number(id));
    return numbers.join(QLatin1Char(','));
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
    const auto holds = [&](const QString &name, const QString &email) {
        return name.contains(text, Qt::CaseInsensitive)
            || email.contains(text, Qt::CaseInsensitive);
    };
    const QList<aggregates::AliasIdentity> aliases
        = aggregates::readAliasPeople(database, mergeIdentities);
    QList<qint64> ids;
    if (!mergeIdentities) {
        for (const aggregates::AliasIdentity &alias : aliases) {
            if (holds(alias.name, alias.email))
                ids.append(alias.id);
        }
        return ids;
    }
    QSet<qint64> people;
    for (const aggregates::AliasIdentity &alias : aliases) {
        if (holds(alias.name, alias.email) || holds(alias.mappedName, alias.mappedEmail))
            people.insert(alias.person);
    }
    for (const aggregates::AliasIdentity &alias : aliases) {
        if (people.contains(alias.person))
            ids.append(alias.id);
    }
    return ids;
}

AuthorDetails indexedAuthorDetails(SQLiteDatabase &database, const QString &name,
                                   bool mergeIdentities)
{
    AuthorDetails details;
    details.name = name;
    const QList<qint64> aliases = authorAliasIDs(database, name, mergeIdentities);
    if (aliases.isEmpty())
        return details;

    // One pass over the author's commits; the line counts come from the commit_files key, whose
    // first column is the commit. Merges have no change rows, as git's --numstat prints none.
    SQLiteStatement statement = database.statement(
        QStringLiteral("SELECT c.author_time, aa.email,\n"
                       "    (SELECT COALESCE(SUM(cf.additions), 0) FROM commit_files cf "
                       "WHERE cf.commit_id = c.id),\n"
                       "    (SELECT COALESCE(SUM(cf.deletions), 0) FROM commit_files cf "
                       "WHERE cf.commit_id = c.id)\n"
                       "FROM commits c JOIN author_aliases aa ON aa.id = c.author_alias_id\n"
                       "WHERE c.author_alias_id IN (%1) AND c.is_reachable = 1")
            .arg(idList(aliases)));
    QSet<QString> emails;
    std::map<QDate, int> commitsPerDay;
    qint64 first = 0;
    qint64 last = 0;
    while (statement.step()) {
        ++details.commits;
        emails.insert(statement.columnText(1).value_or(QString()));
        details.additions += int(statement.columnInt64(2));
        details.deletions += int(statement.columnInt64(3));
        // An undated commit is stored with a time below 1: counted, but on no day.
        const qint64 seconds = statement.columnInt64(0);
        if (seconds < 1)
            continue;
        first = first == 0 ? seconds : std::min(first, seconds);
        last = std::max(last, seconds);
        ++commitsPerDay[QDateTime::fromSecsSinceEpoch(seconds, Qt::UTC).toLocalTime().date()];
    }
    if (first > 0) {
        details.firstCommitDate = QDateTime::fromSecsSinceEpoch(first, Qt::UTC);
        details.lastCommitDate = QDateTime::fromSecsSinceEpoch(last, Qt::UTC);
    }
    details.emails = emails.values();
    std::sort(details.emails.begin(), details.emails.end());
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
    SQLiteStatement statement = database.statement(
        QStringLiteral("SELECT f.current_path, COUNT(*) AS changes FROM commits c\n"
                       "JOIN commit_files cf ON cf.commit_id = c.id JOIN files f ON f.id = "
                       "cf.file_id\n"
                       "WHERE c.author_alias_id IN (%1) AND c.is_reachable = 1\n"
                       "GROUP BY f.id ORDER BY changes DESC, f.current_path LIMIT ?1")
            .arg(idList(aliases)));
    statement.bind(qint64(limit), 1);
    QList<AuthorFileChanges> files;
    while (statement.step())
        files.append({statement.columnText(0).value_or(QString()), int(statement.columnInt64(1))});
    return files;
}

} // namespace strataloom
