#include "insights/IndexedHistory.h"

#include "insights/AuthorHistory.h"
#include "insights/Classifiers.h"

#include <QDateTime>
#include <QHash>
#include <QSet>

#include <sqlite3.h>

#include <atomic>

namespace strataloom {

namespace {

using Kind = HistoryQueryTerm::Kind;

// commit_type(subject): the taxonomy's type of a subject, for type: terms.
void commitTypeFunction(sqlite3_context *context, int, sqlite3_value **arguments)
{
    const auto *text = static_cast<const char16_t *>(sqlite3_value_text16(arguments[0]));
    const int bytes = sqlite3_value_bytes16(arguments[0]);
    const QString type = commitType(QString::fromUtf16(text, bytes / 2));
    sqlite3_result_text16(context, type.utf16(), int(type.size() * 2), SQLITE_TRANSIENT);
}

void registerFunctions(SQLiteDatabase &database)
{
    const int result = sqlite3_create_function_v2(database.handle(), "strataloom_commit_type", 1,
                                                  SQLITE_UTF16 | SQLITE_DETERMINISTIC, nullptr,
                                                  commitTypeFunction, nullptr, nullptr, nullptr);
    if (result != SQLITE_OK)
        throw SQLiteError::execute(QString::fromUtf8(sqlite3_errmsg(database.handle())),
                                   QStringLiteral("strataloom_commit_type"));
}

// A word or phrase as a quoted string of the full-text engine: its operators and column names
// lose their meaning inside quotes, where a quote is written twice.
QString ftsString(const QString &text)
{
    QString escaped = text;
    escaped.replace(QLatin1Char('"'), QStringLiteral("\"\""));
    return QLatin1Char('"') + escaped + QLatin1Char('"');
}

/// The half-open range of paths under a folder: "dir/" up to "dir0" ('0' follows '/').
std::pair<QString, QString> folderRange(const QString &folder)
{
    return {folder + QLatin1Char('/'), folder + QLatin1Char('0')};
}

std::atomic<quint64> temporaryTableNumber {0};

// The index keeps whole messages; the history lists show the body as git's %b gives it: what
// follows the subject's paragraph, without the blank lines around it.
QString messageBody(const QString &message)
{
    const qsizetype gap = message.indexOf(QStringLiteral("\n\n"));
    if (gap < 0)
        return {};
    qsizetype start = gap + 2;
    while (start < message.size() && message[start] == u'\n')
        ++start;
    qsizetype end = message.size();
    while (end > start && message[end - 1] == u'\n')
        --end;
    return message.mid(start, end - start);
}

// %1: the body column, or '' where the rows leave it out.
const QString selectColumns = QStringLiteral(
    "SELECT c.id, c.sha, aa.name, aa.email, c.author_time, c.subject, %1, c.committer_time,\n"
    "    (SELECT COALESCE(SUM(cf.additions), 0) FROM commit_files cf WHERE cf.commit_id = c.id),\n"
    "    (SELECT COALESCE(SUM(cf.deletions), 0) FROM commit_files cf WHERE cf.commit_id = c.id),\n"
    "    (SELECT COUNT(*) FROM commit_files cf WHERE cf.commit_id = c.id)\n"
    "FROM commits c LEFT JOIN author_aliases aa ON aa.id = c.author_alias_id\n");

// Git shows hashes abbreviated to at least seven digits; a display needs no more.
constexpr int shortHashLength = 7;

} // namespace

IndexedHistory::IndexedHistory(SQLiteDatabase &database, const HistoryQuery &query,
                               bool mergeIdentities)
    : m_database(database)
    , m_mergeIdentities(mergeIdentities)
{
    // Every term that names a set of commits (words, author, path, ref) is a subquery of row
    // ids, so that SQLite walks the history index in its order, which holds everything these
    // conditions test, and reads a commit's whole row only once it matches.
    m_conditions.append(QStringLiteral("c.is_reachable = 1"));
    // Commits stored later than now are outside this answer: rows are numbered as stored.
    // The unary plus keeps SQLite from reading the commits by row number and sorting them all,
    // rather than walking the history index in its order and stopping after a page.
    {
        SQLiteStatement last
            = m_database.statement(QStringLiteral("SELECT COALESCE(MAX(id), 0) FROM commits"));
        last.step();
        m_conditions.append(QStringLiteral("+c.id <= ") + bindingPlaceholder(last.columnInt64(0)));
    }
    for (const HistoryQueryTerm &term : query.terms())
        add(term);
    if (!m_words.isEmpty()) {
        const QString match
            = bindingPlaceholder(QStringLiteral("{subject body} : (")
                                 + m_words.join(QStringLiteral(" AND ")) + QLatin1Char(')'));
        m_conditions.append(
            searchRowsAreCommitIDs()
                ? QStringLiteral("c.id IN (SELECT rowid FROM commit_search WHERE commit_search "
                                 "MATCH %1)")
                      .arg(match)
                : QStringLiteral("c.id IN (SELECT m.id FROM commit_search s JOIN commits m ON "
                                 "m.sha = s.sha WHERE commit_search MATCH %1)")
                      .arg(match));
    }
}

bool IndexedHistory::searchRowsAreCommitIDs()
{
    // The writer adds one search row per commit it inserts, in the same order, and neither
    // table loses rows: their numbers agree unless a stored commit was ever written again,
    // which added a search row but no commit and leaves the search's last number ahead.
    // Reading the hash of each matching search row instead costs its whole message.
    SQLiteStatement last
        = m_database.statement(QStringLiteral("SELECT (SELECT MAX(rowid) FROM commit_search) IS "
                                              "(SELECT MAX(id) FROM commits)"));
    return last.step() && last.columnInt64(0) == 1;
}

IndexedHistory::~IndexedHistory()
{
    for (const QString &table : std::as_const(m_temporaryTables)) {
        try {
            m_database.execute(QStringLiteral("DROP TABLE IF EXISTS temp.") + table);
        } catch (const SQLiteError &) {
            // The connection is going away or unusable; its temporary tables go with it.
        }
    }
}

void IndexedHistory::add(const HistoryQueryTerm &term)
{
    switch (term.kind) {
    case Kind::Word:
        m_words.append(ftsString(term.value) + QLatin1Char('*'));
        break;
    case Kind::Phrase:
        m_words.append(ftsString(term.value));
        break;
    case Kind::Author:
        addAuthor(term.value);
        break;
    case Kind::Path:
        addPath(term.value);
        break;
    case Kind::After:
        m_conditions.append(QStringLiteral("c.committer_time >= ")
                            + bindingPlaceholder(term.seconds));
        break;
    case Kind::Before:
        m_conditions.append(QStringLiteral("c.committer_time <= ")
                            + bindingPlaceholder(term.seconds));
        break;
    case Kind::Type: {
        registerFunctions(m_database);
        QString condition = QStringLiteral("strataloom_commit_type(c.subject) = ")
            + bindingPlaceholder(term.value);
        // Only subjects that begin with the type can have it; LIKE narrows them cheaply.
        if (term.value != QLatin1String("other"))
            condition += QStringLiteral(" AND c.subject LIKE ")
                + bindingPlaceholder(term.value + QLatin1Char('%'));
        m_conditions.append(condition);
        break;
    }
    case Kind::Ref:
        addRef(term);
        break;
    case Kind::Merges:
        m_conditions.append(term.value == QLatin1String("no") ? QStringLiteral("c.is_merge = 0")
                                                              : QStringLiteral("c.is_merge = 1"));
        break;
    }
}

void IndexedHistory::addAuthor(const QString &text)
{
    // Matched in C++ rather than with LIKE, which folds ASCII letters only.
    QStringList ids;
    for (const qint64 id : authorAliasIDs(m_database, text, m_mergeIdentities))
        ids.append(QString::number(id));
    m_conditions.append(ids.isEmpty() ? QStringLiteral("0")
                                      : QStringLiteral("c.id IN (SELECT id FROM commits WHERE "
                                                       "author_alias_id IN (%1))")
                                            .arg(ids.join(QLatin1Char(','))));
}

void IndexedHistory::addPath(const QString &typed)
{
    // As git reads a path argument: the file of that name, or everything under the folder.
    // A commit that renamed a file away from the path touched it, too.
    QString path = typed;
    while (path.size() > 1 && path.endsWith(QLatin1Char('/')))
        path.chop(1);
    const bool folderOnly = typed.endsWith(QLatin1Char('/'));
    const auto [low, high] = folderRange(path);
    const QString lo = bindingPlaceholder(low);
    const QString hi = bindingPlaceholder(high);
    const QString exact = folderOnly ? QString() : bindingPlaceholder(path);
    const auto under = [&](const QString &column) {
        const QString range = QStringLiteral("(%1 >= %2 AND %1 < %3)").arg(column, lo, hi);
        return folderOnly ? range : QStringLiteral("(%1 OR %2 = %3)").arg(range, column, exact);
    };
    // The renames away are looked for only among files that now live elsewhere: the changes
    // of the others are all matched by their own path already.
    QString condition
        = QStringLiteral("c.id IN (SELECT cf.commit_id FROM commit_files cf WHERE "
                         "cf.file_id IN (SELECT id FROM files WHERE %1) OR (cf.file_id IN "
                         "(SELECT fp.file_id FROM file_paths fp JOIN files f ON f.id = fp.file_id "
                         "WHERE %2 AND NOT %3) AND cf.status LIKE 'R%' AND %4))")
              .arg(under(QStringLiteral("current_path")), under(QStringLiteral("fp.path")),
                   under(QStringLiteral("f.current_path")), under(QStringLiteral("cf.old_path")));

    if (!folderOnly) {
        // A file's earlier names: each rename to a name links to the name before it, for the
        // commits up to that rename, so a name used again later by another file adds nothing.
        struct Name
        {
            QString path;
            std::optional<qint64> until;
        };
        SQLiteStatement commitsOf = m_database.statement(QStringLiteral(
            "SELECT c.id, c.committer_time, cf.old_path, cf.status FROM files f "
            "JOIN commit_files cf ON cf.file_id = f.id JOIN commits c ON c.id = cf.commit_id "
            "WHERE f.current_path = ?1 AND (?2 IS NULL OR c.committer_time <= ?2)"));
        QList<Name> pending {{path, std::nullopt}};
        QHash<QString, std::optional<qint64>> visited;
        QSet<qint64> earlier;
        bool renamed = false;
        while (!pending.isEmpty()) {
            const Name name = pending.takeLast();
            if (const auto seen = visited.constFind(name.path); seen != visited.cend()) {
                // Already followed at least this far back.
                if (!seen->has_value() || (name.until && **seen >= *name.until))
                    continue;
            }
            visited.insert(name.path, name.until);
            commitsOf.bindText(name.path, 1);
            commitsOf.bind(name.until, 2);
            while (commitsOf.step()) {
                earlier.insert(commitsOf.columnInt64(0));
                const std::optional<QString> oldPath = commitsOf.columnText(2);
                if (oldPath && commitsOf.columnText(3).value_or(QString()).startsWith(u'R')) {
                    pending.append({*oldPath, commitsOf.columnInt64(1)});
                    renamed = true;
                }
            }
            commitsOf.reset();
        }
        if (renamed) {
            QStringList ids;
            for (const qint64 id : std::as_const(earlier))
                ids.append(QString::number(id));
            condition
                = QStringLiteral("(%1 OR c.id IN (%2))").arg(condition, ids.join(QLatin1Char(',')));
        }
    }
    m_conditions.append(condition);
}

void IndexedHistory::addRef(const HistoryQueryTerm &term)
{
    QString name = term.value;
    for (const char *prefix : {"refs/heads/", "refs/tags/", "refs/remotes/"}) {
        if (name.startsWith(QLatin1String(prefix)))
            name = name.mid(qsizetype(qstrlen(prefix)));
    }
    SQLiteStatement target = m_database.statement(
        QStringLiteral("SELECT c.id FROM refs r JOIN commits c ON c.sha = r.target_sha "
                       "WHERE r.name = ?"));
    target.bindText(name, 1);
    if (!target.step())
        throw HistoryQueryError(QStringLiteral("unknown ref \"%1\": no branch or tag of that "
                                               "name in the index")
                                    .arg(term.value),
                                term.position, term.length);
    const qint64 tip = target.columnInt64(0);

    const QString table = QStringLiteral("history_ref_%1").arg(++temporaryTableNumber);
    m_database.execute(QStringLiteral("CREATE TEMP TABLE %1(id INTEGER PRIMARY KEY)").arg(table));
    m_temporaryTables.append(table);
    SQLiteStatement fill = m_database.statement(
        QStringLiteral("INSERT INTO temp.%1(id) "
                       "WITH RECURSIVE reach(id) AS (SELECT ?1 UNION "
                       "SELECT p.id FROM reach r JOIN commit_parents cp ON cp.commit_id = r.id "
                       "JOIN commits p ON p.sha = cp.parent_sha) SELECT id FROM reach")
            .arg(table));
    fill.bind(tip, 1);
    fill.step();
    m_conditions.append(QStringLiteral("c.id IN temp.%1").arg(table));
}

QString IndexedHistory::bindingPlaceholder(const Value &value)
{
    m_values.append(value);
    return QLatin1Char('?') + QString::number(m_values.size());
}

void IndexedHistory::bindAll(SQLiteStatement &statement) const
{
    for (qsizetype i = 0; i < m_values.size(); ++i) {
        if (const auto *number = std::get_if<qint64>(&m_values[i]))
            statement.bind(*number, int(i + 1));
        else
            statement.bindText(std::get<QString>(m_values[i]), int(i + 1));
    }
}

QString IndexedHistory::body(const QString &sha)
{
    SQLiteStatement statement
        = m_database.statement(QStringLiteral("SELECT body FROM commits WHERE sha = ?"));
    statement.bindText(sha, 1);
    return statement.step() ? messageBody(statement.columnText(0).value_or(QString())) : QString();
}

qint64 IndexedHistory::count()
{
    SQLiteStatement statement
        = m_database.statement(QStringLiteral("SELECT COUNT(*) FROM commits c WHERE ")
                               + m_conditions.join(QStringLiteral(" AND ")));
    bindAll(statement);
    return statement.step() ? statement.columnInt64(0) : 0;
}

QList<HistoryCursor> IndexedHistory::keys()
{
    SQLiteStatement statement = m_database.statement(
        QStringLiteral("SELECT c.committer_time, c.id FROM commits c WHERE ")
        + m_conditions.join(QStringLiteral(" AND "))
        + QStringLiteral("\nORDER BY c.committer_time DESC, c.id DESC"));
    bindAll(statement);
    QList<HistoryCursor> keys;
    while (statement.step())
        keys.append({statement.columnInt64(0), statement.columnInt64(1)});
    return keys;
}

std::optional<CommitRecord> IndexedHistory::commit(const QString &sha)
{
    const QList<CommitRecord> found
        = rows(QStringLiteral("c.sha = ?%1").arg(m_values.size() + 1), {sha}, 1, 0).commits;
    return found.isEmpty() ? std::nullopt : std::optional(found.constFirst());
}

QList<CommitRecord> IndexedHistory::page(qint64 offset, qint64 limit)
{
    return rows({}, {}, limit, std::max<qint64>(offset, 0)).commits;
}

HistoryPage IndexedHistory::pageAfter(const std::optional<HistoryCursor> &after, qint64 limit)
{
    if (!after)
        return rows({}, {}, limit, 0);
    const qsizetype next = m_values.size() + 1;
    return rows(QStringLiteral("(c.committer_time, c.id) < (?%1, ?%2)").arg(next).arg(next + 1),
                {after->committerTime, after->id}, limit, 0);
}

HistoryPage IndexedHistory::rows(const QString &extraCondition, const QList<Value> &extraValues,
                                 qint64 limit, qint64 offset)
{
    QStringList conditions = m_conditions;
    if (!extraCondition.isEmpty())
        conditions.append(extraCondition);
    SQLiteStatement statement = m_database.statement(
        selectColumns.arg(m_readsBodies ? QStringLiteral("c.body") : QStringLiteral("''"))
        + QStringLiteral("WHERE ") + conditions.join(QStringLiteral(" AND "))
        + QStringLiteral("\nORDER BY c.committer_time DESC, c.id DESC LIMIT ?%1 OFFSET ?%2")
              .arg(m_values.size() + extraValues.size() + 1)
              .arg(m_values.size() + extraValues.size() + 2));
    bindAll(statement);
    int position = int(m_values.size());
    for (const Value &value : extraValues) {
        ++position;
        if (const auto *number = std::get_if<qint64>(&value))
            statement.bind(*number, position);
        else
            statement.bindText(std::get<QString>(value), position);
    }
    statement.bind(limit > 0 ? limit : qint64(-1), position + 1);
    statement.bind(offset, position + 2);

    HistoryPage page;
    while (statement.step()) {
        CommitRecord commit;
        commit.id = statement.columnText(1).value_or(QString());
        commit.shortHash = commit.id.left(shortHashLength);
        commit.author = statement.columnText(2).value_or(QString());
        commit.email = statement.columnText(3).value_or(QString());
        // An undated commit is stored with a time below 1 and shown without a date.
        if (const qint64 seconds = statement.columnInt64(4); seconds >= 1)
            commit.date = QDateTime::fromSecsSinceEpoch(seconds, Qt::UTC);
        commit.subject = statement.columnText(5).value_or(QString());
        commit.body = messageBody(statement.columnText(6).value_or(QString()));
        commit.additions = int(statement.columnInt64(8));
        commit.deletions = int(statement.columnInt64(9));
        commit.filesChanged = int(statement.columnInt64(10));
        page.commits.append(commit);
        page.end = HistoryCursor {statement.columnInt64(7), statement.columnInt64(0)};
    }
    return page;
}

} // namespace strataloom
