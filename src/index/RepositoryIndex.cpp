#include "index/RepositoryIndex.h"

#include "index/IndexFileLock.h"

#include <QFile>
#include <QFileInfo>

#include <charconv>
#include <cmath>

namespace strataloom {

namespace {

// Every statement is conditional, so running it on an existing index changes nothing.
const char schema[] = R"SQL(CREATE TABLE IF NOT EXISTS index_metadata (
    key TEXT PRIMARY KEY,
    value TEXT NOT NULL
);

CREATE TABLE IF NOT EXISTS authors (
    id INTEGER PRIMARY KEY,
    canonical_name TEXT NOT NULL UNIQUE
);

CREATE TABLE IF NOT EXISTS author_aliases (
    id INTEGER PRIMARY KEY,
    author_id INTEGER NOT NULL REFERENCES authors(id) ON DELETE CASCADE,
    name TEXT NOT NULL,
    email TEXT NOT NULL,
    UNIQUE(name, email)
);

CREATE TABLE IF NOT EXISTS commits (
    id INTEGER PRIMARY KEY,
    sha TEXT NOT NULL UNIQUE,
    author_alias_id INTEGER REFERENCES author_aliases(id),
    committer_name TEXT NOT NULL,
    committer_email TEXT NOT NULL,
    author_time INTEGER NOT NULL,
    committer_time INTEGER NOT NULL,
    subject TEXT NOT NULL,
    body TEXT NOT NULL,
    is_merge INTEGER NOT NULL DEFAULT 0,
    is_reachable INTEGER NOT NULL DEFAULT 1
);

CREATE TABLE IF NOT EXISTS commit_parents (
    commit_id INTEGER NOT NULL REFERENCES commits(id) ON DELETE CASCADE,
    parent_sha TEXT NOT NULL,
    position INTEGER NOT NULL,
    PRIMARY KEY(commit_id, position)
);

CREATE TABLE IF NOT EXISTS files (
    id INTEGER PRIMARY KEY,
    current_path TEXT NOT NULL UNIQUE,
    is_binary INTEGER NOT NULL DEFAULT 0
);

CREATE TABLE IF NOT EXISTS file_paths (
    id INTEGER PRIMARY KEY,
    file_id INTEGER NOT NULL REFERENCES files(id) ON DELETE CASCADE,
    path TEXT NOT NULL,
    first_commit_sha TEXT,
    last_commit_sha TEXT,
    UNIQUE(file_id, path)
);

CREATE TABLE IF NOT EXISTS commit_files (
    commit_id INTEGER NOT NULL REFERENCES commits(id) ON DELETE CASCADE,
    file_id INTEGER NOT NULL REFERENCES files(id) ON DELETE CASCADE,
    old_path TEXT,
    status TEXT NOT NULL,
    additions INTEGER,
    deletions INTEGER,
    is_binary INTEGER NOT NULL DEFAULT 0,
    similarity INTEGER,
    PRIMARY KEY(commit_id, file_id)
);

CREATE TABLE IF NOT EXISTS refs (
    name TEXT PRIMARY KEY,
    kind TEXT NOT NULL,
    target_sha TEXT NOT NULL,
    is_remote INTEGER NOT NULL DEFAULT 0,
    updated_at INTEGER NOT NULL
);

CREATE TABLE IF NOT EXISTS tags (
    name TEXT PRIMARY KEY,
    object_sha TEXT NOT NULL,
    target_sha TEXT,
    tagger_time INTEGER,
    subject TEXT NOT NULL DEFAULT ''
);

CREATE TABLE IF NOT EXISTS daily_activity (
    day TEXT PRIMARY KEY,
    commits INTEGER NOT NULL,
    additions INTEGER NOT NULL DEFAULT 0,
    deletions INTEGER NOT NULL DEFAULT 0
);

CREATE TABLE IF NOT EXISTS author_daily_activity (
    author_id INTEGER NOT NULL REFERENCES authors(id) ON DELETE CASCADE,
    day TEXT NOT NULL,
    commits INTEGER NOT NULL,
    additions INTEGER NOT NULL DEFAULT 0,
    deletions INTEGER NOT NULL DEFAULT 0,
    PRIMARY KEY(author_id, day)
);

CREATE VIRTUAL TABLE IF NOT EXISTS commit_search USING fts5(
    sha UNINDEXED,
    subject,
    body,
    author,
    email
);

CREATE INDEX IF NOT EXISTS commits_author_time_idx ON commits(author_time);
CREATE INDEX IF NOT EXISTS commits_reachable_idx ON commits(is_reachable);
CREATE INDEX IF NOT EXISTS commit_files_file_idx ON commit_files(file_id);
CREATE INDEX IF NOT EXISTS author_aliases_author_idx ON author_aliases(author_id);
)SQL";

// The tables above are the first version of the index. Each later version is one step that
// takes an index of the version before it to its own, in place: new tables, new columns, their
// indexes. A step runs once, in the transaction that records its version, so it need not be
// conditional (ALTER TABLE ... ADD COLUMN is not). Data a step cannot derive from the index
// alone (it needs git) is filled in by the next synchronisation, which the step asks for by
// leaving the refs' fingerprint out of date where it must.
struct SchemaStep
{
    int version;
    const char *sql;
};

// Version 2: each author alias as the repository's mailmap maps it, for the aliases it maps
// to another name or address. Filled in by the synchronisation (it needs git).
const char mappedIdentities[] = R"SQL(CREATE TABLE author_identities (
    alias_id INTEGER PRIMARY KEY REFERENCES author_aliases(id) ON DELETE CASCADE,
    mapped_name TEXT NOT NULL,
    mapped_email TEXT NOT NULL
);
)SQL";

// What the newest commit says about each path, which the history alone cannot: whether HEAD
// holds it, what the repository's attributes mark it as (PathFacts flags) and, for a file
// without an extension, the interpreter its first line names. Rows for HEAD's paths and for
// every other indexed path that carries a flag; filled in by the synchronisation.
const char pathFactsStep[] = R"SQL(CREATE TABLE path_facts (
    path TEXT PRIMARY KEY,
    at_head INTEGER NOT NULL DEFAULT 0,
    attributes INTEGER NOT NULL DEFAULT 0,
    interpreter TEXT
) WITHOUT ROWID;
)SQL";

// Version 5: opening a repository reads every reachable commit's hash, dates and author; this
// index holds exactly those columns, so that reading them skips the messages in the table.
const char commitGraphIndex[] = R"SQL(
CREATE INDEX commits_graph_idx
    ON commits(is_reachable, sha, committer_time, author_time, author_alias_id);
)SQL";

constexpr SchemaStep schemaSteps[] = {
    {1, schema},
    {2, mappedIdentities},
    {3, pathFactsStep},
    // The history lists read reachable commits newest first, a page at a time, and find an
    // author's commits without reading every commit.
    {4, "CREATE INDEX commits_history_idx ON commits(is_reachable, committer_time, id);\n"
        "CREATE INDEX commits_author_alias_idx ON commits(author_alias_id);"},
    {5, commitGraphIndex},
};

constexpr int schemaVersion = std::end(schemaSteps)[-1].version;

} // namespace

RepositoryIndex::RepositoryIndex(const QString &databasePath)
    : m_databasePath(databasePath)
{
    const QFileInfo file(databasePath);
    // An index that we may not write (a shared or archived copy) is still read; writing it
    // fails with SQLite's own "readonly database" error.
    if (file.exists() && (!file.isWritable() || !QFileInfo(file.absolutePath()).isWritable())) {
        m_database = std::make_unique<SQLiteDatabase>(databasePath, SQLiteDatabase::Mode::ReadOnly);
        m_readOnly = true;
        return;
    }
    // Opening also creates the folder, where the lock file goes. Switching a new file to WAL
    // fails at once, without SQLite's busy wait, while another process sets up or writes the
    // same index: the setup therefore waits for the other process's lock.
    auto database = std::make_unique<SQLiteDatabase>(databasePath);
    const IndexFileLock lock(databasePath);
    m_database = std::move(database);
    std::optional<QString> damage = damageOf(databasePath);
    if (!damage) {
        try {
            migrate();
            return;
        } catch (const SQLiteError &error) {
            if (!m_database->lastErrorIsDamage())
                throw;
            damage = error.message();
        }
    }
    // A damaged file would fail every later run: it is kept for inspection under another name
    // and the index is built anew.
    m_database.reset();
    const QString aside = databasePath + QStringLiteral(".corrupt-")
        + QDateTime::currentDateTimeUtc().toString(QStringLiteral("yyyyMMdd'T'HHmmss'Z'"));
    if (!QFile::rename(databasePath, aside)) {
        throw SQLiteError::open(QStringLiteral("the index file \"%1\" is damaged (%2) and could "
                                               "not be moved aside")
                                    .arg(databasePath, *damage));
    }
    for (const char *suffix : {"-wal", "-shm"})
        QFile::rename(databasePath + QLatin1String(suffix), aside + QLatin1String(suffix));
    m_notice = QStringLiteral("The index file \"%1\" was damaged (%2); it was moved to \"%3\" "
                              "and the index is built anew.")
                   .arg(databasePath, *damage, aside);
    m_database = std::make_unique<SQLiteDatabase>(databasePath);
    migrate();
}

std::optional<QString> RepositoryIndex::takeNotice()
{
    std::lock_guard lock(m_mutex);
    return std::exchange(m_notice, std::nullopt);
}

std::optional<QString> RepositoryIndex::damageOf(const QString &databasePath)
{
    // What SQLite's own file header says about the file; a file cut short is otherwise found
    // only by the query that happens to touch a missing page.
    QFile file(databasePath);
    if (!file.open(QIODevice::ReadOnly))
        return std::nullopt;
    const qint64 size = file.size();
    if (size == 0)
        return std::nullopt; // a new file, set up below
    const QByteArray header = file.read(100);
    if (header.size() < 100 || !header.startsWith(QByteArrayView("SQLite format 3\0", 16)))
        return QStringLiteral("file is not a database");
    const auto word = [&header](int at, int bytes) {
        quint64 value = 0;
        for (int i = 0; i < bytes; ++i)
            value = (value << 8) | quint8(header[at + i]);
        return value;
    };
    const quint64 pageSize = word(16, 2) == 1 ? 65536 : word(16, 2);
    const quint64 pageCount = word(28, 4);
    // The page count is trustworthy only when its change counter matches (SQLite 3.7.0 on), and
    // only without a write-ahead log, from which SQLite completes an interrupted checkpoint.
    const bool countValid = pageCount > 0 && word(24, 4) == word(92, 4)
        && QFileInfo(databasePath + QStringLiteral("-wal")).size() == 0;
    if (countValid && quint64(size) < pageCount * pageSize)
        return QStringLiteral("file is truncated: %1 of %2 bytes")
            .arg(size)
            .arg(pageCount * pageSize);
    return std::nullopt;
}

RepositoryIndex::~RepositoryIndex() = default;

void RepositoryIndex::migrate()
{
    m_database->execute(QStringLiteral("PRAGMA journal_mode = WAL"));
    m_database->execute(QStringLiteral("PRAGMA synchronous = NORMAL"));
    m_database->execute(QStringLiteral("PRAGMA foreign_keys = ON"));
    // A first import writes tens of megabytes in one transaction; with the default cache of
    // 2 MB most pages would go to the journal several times before the commit. Per connection.
    m_database->execute(QStringLiteral("PRAGMA cache_size = -65536"));

    SQLiteTransaction transaction(*m_database);
    const qint64 current = [this] {
        SQLiteStatement version = m_database->statement(QStringLiteral("PRAGMA user_version"));
        version.step();
        return version.columnInt64(0);
    }();
    for (const SchemaStep &step : schemaSteps) {
        // The first version's statements are conditional and always run: an index of version
        // 1 written before the version was recorded still gets any index it lacks.
        if (step.version > current || step.version == 1)
            m_database->execute(QString::fromUtf8(step.sql));
    }
    if (current < schemaVersion)
        m_database->execute(QStringLiteral("PRAGMA user_version = %1").arg(schemaVersion));
    transaction.commit();
}

std::optional<QString> RepositoryIndex::metadata(const QString &key)
{
    std::lock_guard lock(m_mutex);
    SQLiteStatement statement
        = m_database->statement(QStringLiteral("SELECT value FROM index_metadata WHERE key = ?"));
    statement.bindText(key, 1);
    if (!statement.step())
        return std::nullopt;
    return statement.columnText(0);
}

void RepositoryIndex::setMetadata(const QString &value, const QString &key)
{
    std::lock_guard lock(m_mutex);
    SQLiteStatement statement = m_database->statement(
        QStringLiteral("INSERT INTO index_metadata(key, value) VALUES(?, ?) "
                       "ON CONFLICT(key) DO UPDATE SET value = excluded.value"));
    statement.bindText(key, 1);
    statement.bindText(value, 2);
    statement.step();
}

qint64 RepositoryIndex::count(const QString &table, const QString &where)
{
    std::lock_guard lock(m_mutex);
    QString sql = QStringLiteral("SELECT COUNT(*) FROM ") + table;
    if (!where.isEmpty())
        sql += QStringLiteral(" WHERE ") + where;
    SQLiteStatement statement = m_database->statement(sql);
    return statement.step() ? statement.columnInt64(0) : 0;
}

RepositoryIndexSnapshot RepositoryIndex::snapshot()
{
    std::lock_guard lock(m_mutex);
    RepositoryIndexSnapshot result;
    result.commits = int(count(QStringLiteral("commits"), QStringLiteral("is_reachable = 1")));
    result.authors = int(count(QStringLiteral("authors")));
    result.files = int(count(QStringLiteral("files")));
    result.changes = int(count(QStringLiteral("commit_files")));
    result.refs = int(count(QStringLiteral("refs")));
    if (const auto text = metadata(QStringLiteral("last_indexed_at"))) {
        if (const auto seconds = parseTimestamp(*text)) {
            const double milliseconds = std::round(*seconds * 1000.0);
            // QDateTime holds milliseconds in 64 bits; anything beyond is no usable date.
            if (std::isfinite(milliseconds) && std::abs(milliseconds) < 9.0e18)
                result.lastIndexedAt
                    = QDateTime::fromMSecsSinceEpoch(qint64(milliseconds), Qt::UTC);
        }
    }
    return result;
}

QSet<QString> RepositoryIndex::storedCommitHashes()
{
    std::lock_guard lock(m_mutex);
    QSet<QString> hashes;
    hashes.reserve(int(count(QStringLiteral("commits"))));
    SQLiteStatement statement = m_database->statement(QStringLiteral("SELECT sha FROM commits"));
    while (statement.step()) {
        if (auto sha = statement.columnText(0))
            hashes.insert(*sha);
    }
    return hashes;
}

QHash<QString, bool> RepositoryIndex::storedReachability(const QStringList &shas)
{
    std::lock_guard lock(m_mutex);
    QHash<QString, bool> result;
    SQLiteStatement statement = m_database->statement(
        QStringLiteral("SELECT is_reachable FROM commits WHERE sha = ?"));
    for (const QString &sha : shas) {
        statement.bindText(sha, 1);
        if (statement.step())
            result.insert(sha, statement.columnInt64(0) != 0);
        statement.reset();
    }
    return result;
}

void RepositoryIndex::replaceMappedIdentities(const QList<MappedIdentity> &identities,
                                              const QString &state, const QString &stateKey)
{
    std::lock_guard lock(m_mutex);
    SQLiteTransaction transaction(*m_database);
    m_database->execute(QStringLiteral("DELETE FROM author_identities"));
    SQLiteStatement insert = m_database->statement(QStringLiteral(
        "INSERT INTO author_identities(alias_id, mapped_name, mapped_email) VALUES(?, ?, ?)"));
    for (const MappedIdentity &identity : identities) {
        insert.bind(identity.aliasID, 1);
        insert.bindText(identity.name, 2);
        insert.bindText(identity.email, 3);
        insert.step();
        insert.reset();
    }
    setMetadata(state, stateKey);
    transaction.commit();
}

QString RepositoryIndex::timestampText(double secondsSince1970)
{
    // Plain digits with a fractional part, as a reader expecting "1700000000.0" wants them;
    // exponent form only where fixed digits would no longer be exact.
    const double magnitude = std::abs(secondsSince1970);
    const bool plain = std::isfinite(secondsSince1970)
        && (magnitude == 0 || (magnitude >= 1e-4 && magnitude < 9007199254740992.0));
    QString text
        = QString::number(secondsSince1970, plain ? 'f' : 'g', QLocale::FloatingPointShortest);
    if (!text.contains(QLatin1Char('.')) && !text.contains(QLatin1Char('e'))
        && std::isfinite(secondsSince1970))
        text += QStringLiteral(".0");
    return text;
}

std::optional<double> RepositoryIndex::parseTimestamp(const QString &text)
{
    // Strict: the whole text is the number, no blanks around it; independent of the C locale.
    QByteArray bytes = text.toUtf8();
    const char *begin = bytes.constData();
    const char *end = begin + bytes.size();
    if (begin != end && *begin == '+' && end - begin > 1 && begin[1] != '-' && begin[1] != '+')
        ++begin;
    double value = 0;
    const auto [stop, error] = std::from_chars(begin, end, value);
    if (begin == end || error != std::errc() || stop != end)
        return std::nullopt;
    return value;
}

} // namespace strataloom
