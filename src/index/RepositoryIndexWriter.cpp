// The one write path into the index: RepositoryIndex::apply and the steps it takes.

#include "index/RepositoryIndex.h"

#include <QHash>

#include <sqlite3.h>

#include <cmath>
#include <stdexcept>
#include <unordered_set>

namespace strataloom {

namespace {

const QString insertCommitSQL
    = QStringLiteral("INSERT INTO commits(\n"
                     "    sha, author_alias_id, committer_name, committer_email,\n"
                     "    author_time, committer_time, subject, body, is_merge, is_reachable\n"
                     ") VALUES(?, ?, ?, ?, ?, ?, ?, ?, ?, 1)\n"
                     "ON CONFLICT(sha) DO UPDATE SET is_reachable = 1");

const QString insertCommitFileSQL = QStringLiteral(
    "INSERT OR REPLACE INTO commit_files(\n"
    "    commit_id, file_id, old_path, status, additions, deletions, is_binary, similarity\n"
    ") VALUES(?, ?, ?, ?, ?, ?, ?, NULL)");

const QString rebuildDailySQL
    = QStringLiteral("INSERT INTO daily_activity(day, commits, additions, deletions)\n"
                     "SELECT date(c.author_time, 'unixepoch'), COUNT(DISTINCT c.id),\n"
                     "       COALESCE(SUM(cf.additions), 0), COALESCE(SUM(cf.deletions), 0)\n"
                     "FROM commits c LEFT JOIN commit_files cf ON cf.commit_id = c.id\n"
                     "WHERE c.is_reachable = 1\n"
                     "GROUP BY date(c.author_time, 'unixepoch')");

const QString rebuildAuthorDailySQL = QStringLiteral(
    "INSERT INTO author_daily_activity(author_id, day, commits, additions, deletions)\n"
    "SELECT aa.author_id, date(c.author_time, 'unixepoch'), COUNT(DISTINCT c.id),\n"
    "       COALESCE(SUM(cf.additions), 0), COALESCE(SUM(cf.deletions), 0)\n"
    "FROM commits c\n"
    "JOIN author_aliases aa ON aa.id = c.author_alias_id\n"
    "LEFT JOIN commit_files cf ON cf.commit_id = c.id\n"
    "WHERE c.is_reachable = 1\n"
    "GROUP BY aa.author_id, date(c.author_time, 'unixepoch')");

// The same sums as above for the days listed in temp.touched_days only, each day found through
// the author_time index as the range of seconds date() maps to it. CROSS JOIN keeps the short
// list of days as the outer loop; the unary plus keeps SQLite from walking every reachable
// commit through commits_reachable_idx for each day instead.
const QString refreshDailySQL
    = QStringLiteral("INSERT INTO daily_activity(day, commits, additions, deletions)\n"
                     "SELECT date(c.author_time, 'unixepoch'), COUNT(DISTINCT c.id),\n"
                     "       COALESCE(SUM(cf.additions), 0), COALESCE(SUM(cf.deletions), 0)\n"
                     "FROM temp.touched_days t\n"
                     "CROSS JOIN commits c\n"
                     "    ON c.author_time >= t.start AND c.author_time < t.start + 86400\n"
                     "LEFT JOIN commit_files cf ON cf.commit_id = c.id\n"
                     "WHERE +c.is_reachable = 1\n"
                     "GROUP BY date(c.author_time, 'unixepoch')");

const QString refreshAuthorDailySQL = QStringLiteral(
    "INSERT INTO author_daily_activity(author_id, day, commits, additions, deletions)\n"
    "SELECT aa.author_id, date(c.author_time, 'unixepoch'), COUNT(DISTINCT c.id),\n"
    "       COALESCE(SUM(cf.additions), 0), COALESCE(SUM(cf.deletions), 0)\n"
    "FROM temp.touched_days t\n"
    "CROSS JOIN commits c\n"
    "    ON c.author_time >= t.start AND c.author_time < t.start + 86400\n"
    "JOIN author_aliases aa ON aa.id = c.author_alias_id\n"
    "LEFT JOIN commit_files cf ON cf.commit_id = c.id\n"
    "WHERE +c.is_reachable = 1\n"
    "GROUP BY aa.author_id, date(c.author_time, 'unixepoch')");

// The seconds SQLite's date() turns into a day for certain: years 1 to 9999.
constexpr qint64 firstDatedSecond = -62135596800;
constexpr qint64 lastDatedSecond = 253402300799;
constexpr qint64 secondsPerDay = 86400;

qint64 flag(bool value)
{
    return value ? 1 : 0;
}

/// Steps a statement that writes; a returned row counts as success like done.
void run(SQLiteStatement &statement)
{
    statement.step();
    statement.reset();
}

/**
 * The statements of one apply, each prepared once and rewound between uses, and the ids it has
 * already looked up. Lives inside the apply's transaction only, so every cached id is the one
 * the table holds: rows are never deleted or renumbered while it exists.
 */
class IndexWriter
{
public:
    explicit IndexWriter(SQLiteDatabase &database)
        : m_database(database)
        , m_insertAuthor(database.statement(
              QStringLiteral("INSERT OR IGNORE INTO authors(canonical_name) VALUES(?)")))
        , m_authorID(
              database.statement(QStringLiteral("SELECT id FROM authors WHERE canonical_name = ?")))
        , m_insertAlias(database.statement(QStringLiteral(
              "INSERT OR IGNORE INTO author_aliases(author_id, name, email) VALUES(?, ?, ?)")))
        , m_aliasID(database.statement(
              QStringLiteral("SELECT id FROM author_aliases WHERE name = ? AND email = ?")))
        , m_insertCommit(database.statement(insertCommitSQL))
        , m_commitID(database.statement(QStringLiteral("SELECT id FROM commits WHERE sha = ?")))
        , m_insertParent(database.statement(QStringLiteral(
              "INSERT OR REPLACE INTO commit_parents(commit_id, parent_sha, position) "
              "VALUES(?, ?, ?)")))
        , m_upsertFile(database.statement(
              QStringLiteral("INSERT INTO files(current_path, is_binary) VALUES(?, ?) "
                             "ON CONFLICT(current_path) DO UPDATE SET is_binary = MAX(is_binary, "
                             "excluded.is_binary)")))
        , m_fileID(
              database.statement(QStringLiteral("SELECT id FROM files WHERE current_path = ?")))
        , m_insertFilePath(database.statement(
              QStringLiteral("INSERT OR IGNORE INTO file_paths(file_id, path, first_commit_sha, "
                             "last_commit_sha) VALUES(?, ?, ?, ?)")))
        , m_insertCommitFile(database.statement(insertCommitFileSQL))
        , m_insertSearch(database.statement(
              QStringLiteral("INSERT INTO commit_search(sha, subject, body, author, email) "
                             "VALUES(?, ?, ?, ?, ?)")))
    { }

    void replaceRefs(const QList<IndexedRef> &refs, qint64 timestamp)
    {
        m_database.execute(QStringLiteral("DELETE FROM refs"));
        m_database.execute(QStringLiteral("DELETE FROM tags"));
        // OR REPLACE: a branch and a tag may share a short name; the later ref wins the row.
        SQLiteStatement insertRef = m_database.statement(
            QStringLiteral("INSERT OR REPLACE INTO refs(name, kind, target_sha, is_remote, "
                           "updated_at) VALUES(?, ?, ?, ?, ?)"));
        SQLiteStatement insertTag = m_database.statement(
            QStringLiteral("INSERT OR REPLACE INTO tags(name, object_sha, target_sha, subject) "
                           "VALUES(?, ?, ?, '')"));
        for (const IndexedRef &ref : refs) {
            insertRef.bindText(ref.name, 1);
            insertRef.bindText(ref.kind, 2);
            insertRef.bindText(ref.targetSHA, 3);
            insertRef.bind(flag(ref.isRemote), 4);
            insertRef.bind(timestamp, 5);
            run(insertRef);
            if (ref.kind == QLatin1String("tag")) {
                insertTag.bindText(ref.name, 1);
                insertTag.bindText(ref.objectSHA.value_or(ref.targetSHA), 2);
                insertTag.bindText(ref.targetSHA, 3);
                run(insertTag);
            }
        }
    }

    void insert(const IndexedCommit &commit)
    {
        const qint64 authorID = upsertAuthor(commit.authorName);
        const qint64 aliasID = upsertAlias(authorID, commit.authorName, commit.authorEmail);

        m_insertCommit.bindText(commit.sha, 1);
        m_insertCommit.bind(aliasID, 2);
        m_insertCommit.bindText(commit.committerName, 3);
        m_insertCommit.bindText(commit.committerEmail, 4);
        m_insertCommit.bind(commit.authorTime, 5);
        m_insertCommit.bind(commit.committerTime, 6);
        m_insertCommit.bindText(commit.subject, 7);
        m_insertCommit.bindText(commit.body, 8);
        m_insertCommit.bind(flag(commit.parents.size() >= 2), 9);
        touchDay(commit.authorTime);
        // A fresh row reports its id through last_insert_rowid (never 0 here: ids start at 1);
        // only a hash that is already stored takes the update path and needs the lookup.
        sqlite3_set_last_insert_rowid(m_database.handle(), 0);
        run(m_insertCommit);
        qint64 commitID = sqlite3_last_insert_rowid(m_database.handle());
        if (commitID == 0)
            commitID = rowID(m_commitID, commit.sha, QStringLiteral("commits"));
        m_inserted.insert(commit.sha);

        for (qsizetype position = 0; position < commit.parents.size(); ++position) {
            m_insertParent.bind(commitID, 1);
            m_insertParent.bindText(commit.parents[position], 2);
            m_insertParent.bind(qint64(position), 3);
            run(m_insertParent);
        }

        for (const IndexedFileChange &change : commit.changes) {
            const qint64 fileID = upsertFile(change.path, change.isBinary);
            insertFilePath(fileID, change.path, commit.sha);
            if (change.oldPath)
                insertFilePath(fileID, *change.oldPath, commit.sha);

            m_insertCommitFile.bind(commitID, 1);
            m_insertCommitFile.bind(fileID, 2);
            m_insertCommitFile.bind(change.oldPath, 3);
            m_insertCommitFile.bindText(change.status, 4);
            m_insertCommitFile.bind(change.additions, 5);
            m_insertCommitFile.bind(change.deletions, 6);
            m_insertCommitFile.bind(flag(change.isBinary), 7);
            run(m_insertCommitFile);
        }

        // The search rows go in later, in runs, in the same order and so with the same rowids:
        // FTS5 flushes its pending terms whenever another statement opens a savepoint, so one
        // search row between each commit's other rows would leave a tiny segment per commit
        // and make a large import several times slower.
        m_pendingSearch.append(
            {commit.sha, commit.subject, commit.body, commit.authorName, commit.authorEmail});
        if (m_pendingSearch.size() >= searchRunLength)
            flushSearchRows();
    }

    /// Writes the search rows still pending; called once more after the last commit.
    void flushSearchRows()
    {
        for (const PendingSearchRow &row : std::as_const(m_pendingSearch)) {
            m_insertSearch.bindText(row.sha, 1);
            m_insertSearch.bindText(row.subject, 2);
            m_insertSearch.bindText(row.body, 3);
            m_insertSearch.bindText(row.author, 4);
            m_insertSearch.bindText(row.email, 5);
            run(m_insertSearch);
        }
        m_pendingSearch.clear();
    }

    void markReachable(const QSet<QString> &shas)
    {
        SQLiteStatement update = m_database.statement(
            QStringLiteral("UPDATE commits SET is_reachable = 1 WHERE sha = ?"));
        for (const QString &sha : shas) {
            // Commits written by insert() in this apply are marked already.
            if (m_inserted.contains(sha))
                continue;
            update.bindText(sha, 1);
            run(update);
        }
    }

    /// Sets is_reachable of the stored commits among @p shas that differ; notes their days.
    void setReachable(const QSet<QString> &shas, bool reachable)
    {
        SQLiteStatement update = m_database.statement(
            QStringLiteral("UPDATE commits SET is_reachable = ?1 WHERE sha = ?2 "
                           "AND is_reachable <> ?1 RETURNING author_time"));
        for (const QString &sha : shas) {
            update.bind(flag(reachable), 1);
            update.bindText(sha, 2);
            while (update.step())
                touchDay(update.columnInt64(0));
            update.reset();
        }
    }

    void rebuildAggregates()
    {
        m_database.execute(QStringLiteral("DELETE FROM daily_activity"));
        m_database.execute(rebuildDailySQL);
        m_database.execute(QStringLiteral("DELETE FROM author_daily_activity"));
        m_database.execute(rebuildAuthorDailySQL);
    }

    /**
     * Brings the aggregates up to date for the days of the commits this writer inserted or
     * whose reachability it changed: those days are summed again from the commits, which gives
     * exactly the rows a whole rebuild would, while the other days keep theirs. A time outside
     * the years date() knows falls back to the whole rebuild.
     */
    void refreshAggregates()
    {
        if (m_undatedTouched) {
            rebuildAggregates();
            return;
        }
        if (m_touchedDays.isEmpty())
            return;
        m_database.execute(QStringLiteral(
            "CREATE TEMP TABLE IF NOT EXISTS touched_days(start INTEGER PRIMARY KEY)"));
        m_database.execute(QStringLiteral("DELETE FROM temp.touched_days"));
        {
            SQLiteStatement insertDay = m_database.statement(
                QStringLiteral("INSERT INTO temp.touched_days(start) VALUES(?)"));
            for (const qint64 start : std::as_const(m_touchedDays)) {
                insertDay.bind(start, 1);
                run(insertDay);
            }
        }
        for (const char *table : {"daily_activity", "author_daily_activity"})
            m_database.execute(QStringLiteral("DELETE FROM %1 WHERE day IN "
                                              "(SELECT date(start, 'unixepoch') FROM "
                                              "temp.touched_days)")
                                   .arg(QLatin1String(table)));
        m_database.execute(refreshDailySQL);
        m_database.execute(refreshAuthorDailySQL);
        m_database.execute(QStringLiteral("DELETE FROM temp.touched_days"));
    }

private:
    void touchDay(qint64 authorTime)
    {
        if (authorTime < firstDatedSecond || authorTime > lastDatedSecond) {
            m_undatedTouched = true;
            return;
        }
        // Floor division: the day of a time before 1970 starts before it, too.
        qint64 start = authorTime - authorTime % secondsPerDay;
        if (authorTime % secondsPerDay < 0)
            start -= secondsPerDay;
        m_touchedDays.insert(start);
    }

    // Names are stored as given: no case folding, no trimming.
    qint64 upsertAuthor(const QString &name)
    {
        if (const auto cached = m_authors.constFind(name); cached != m_authors.cend())
            return *cached;
        m_insertAuthor.bindText(name, 1);
        run(m_insertAuthor);
        const qint64 id = rowID(m_authorID, name, QStringLiteral("authors"));
        m_authors.insert(name, id);
        return id;
    }

    // An existing (name, e-mail) pair keeps the author it was first linked to.
    qint64 upsertAlias(qint64 authorID, const QString &name, const QString &email)
    {
        const auto key = std::make_pair(name, email);
        if (const auto cached = m_aliases.constFind(key); cached != m_aliases.cend())
            return *cached;
        m_insertAlias.bind(authorID, 1);
        m_insertAlias.bindText(name, 2);
        m_insertAlias.bindText(email, 3);
        run(m_insertAlias);
        m_aliasID.bindText(name, 1);
        m_aliasID.bindText(email, 2);
        if (!m_aliasID.step()) {
            m_aliasID.reset();
            throw SQLiteError::step(QStringLiteral("Missing author alias"));
        }
        const qint64 id = m_aliasID.columnInt64(0);
        m_aliasID.reset();
        m_aliases.insert(key, id);
        return id;
    }

    // Once binary, always binary. The upsert is skipped only where it could not change the row.
    qint64 upsertFile(const QString &path, bool isBinary)
    {
        auto cached = m_files.find(path);
        if (cached != m_files.end() && (cached->isBinary || !isBinary))
            return cached->id;
        m_upsertFile.bindText(path, 1);
        m_upsertFile.bind(flag(isBinary), 2);
        run(m_upsertFile);
        if (cached != m_files.end()) {
            cached->isBinary = true;
            return cached->id;
        }
        const qint64 id = rowID(m_fileID, path, QStringLiteral("files"));
        m_files.insert(path, {id, isBinary});
        return id;
    }

    // Inserted once and then ignored: both hashes stay those of the first commit with the pair.
    // A pair already seen in this apply is certain to be ignored, so it is not sent again.
    void insertFilePath(qint64 fileID, const QString &path, const QString &sha)
    {
        const auto [seen, inserted] = m_filePaths.insert(std::make_pair(fileID, path));
        if (!inserted)
            return;
        m_insertFilePath.bind(fileID, 1);
        m_insertFilePath.bindText(path, 2);
        m_insertFilePath.bindText(sha, 3);
        m_insertFilePath.bindText(sha, 4);
        run(m_insertFilePath);
    }

    static qint64 rowID(SQLiteStatement &lookup, const QString &value, const QString &table)
    {
        lookup.bindText(value, 1);
        if (!lookup.step()) {
            lookup.reset();
            throw SQLiteError::step(QStringLiteral("Missing row in ") + table);
        }
        const qint64 id = lookup.columnInt64(0);
        lookup.reset();
        return id;
    }

    struct PendingSearchRow
    {
        QString sha, subject, body, author, email;
    };
    static constexpr qsizetype searchRunLength = 4096;

    struct FilePathHash
    {
        size_t operator()(const std::pair<qint64, QString> &pair) const
        {
            return qHash(pair.second, size_t(pair.first));
        }
    };

    struct CachedFile
    {
        qint64 id;
        bool isBinary; // true only when the stored row is known to be binary
    };

    SQLiteDatabase &m_database;
    SQLiteStatement m_insertAuthor;
    SQLiteStatement m_authorID;
    SQLiteStatement m_insertAlias;
    SQLiteStatement m_aliasID;
    SQLiteStatement m_insertCommit;
    SQLiteStatement m_commitID;
    SQLiteStatement m_insertParent;
    SQLiteStatement m_upsertFile;
    SQLiteStatement m_fileID;
    SQLiteStatement m_insertFilePath;
    SQLiteStatement m_insertCommitFile;
    SQLiteStatement m_insertSearch;
    QList<PendingSearchRow> m_pendingSearch;
    QSet<QString> m_inserted;
    QSet<qint64> m_touchedDays; // start of each day whose aggregates may have changed
    bool m_undatedTouched = false;
    QHash<QString, qint64> m_authors;
    QHash<std::pair<QString, QString>, qint64> m_aliases;
    QHash<QString, CachedFile> m_files;
    std::unordered_set<std::pair<qint64, QString>, FilePathHash> m_filePaths;
};

qint64 wholeSeconds(double seconds)
{
    // Truncated toward zero; the range check keeps the conversion defined.
    if (!std::isfinite(seconds) || seconds >= 9223372036854775808.0
        || seconds < -9223372036854775808.0)
        throw std::out_of_range("Index time out of range");
    return qint64(seconds);
}

/**
 * Switches foreign key enforcement off for the life of one write and back on afterwards.
 *
 * The writer binds only ids it has just read from the parent tables inside its own immediate
 * transaction, and deletes no row that others refer to, so the checks could never fail there;
 * they cost a fifth of a large import. The pragma has no effect inside a transaction, hence
 * the guard lives outside it.
 */
class ForeignKeysOffGuard
{
public:
    explicit ForeignKeysOffGuard(SQLiteDatabase &database)
        : m_database(database)
    {
        m_database.execute(QStringLiteral("PRAGMA foreign_keys = OFF"));
    }
    ~ForeignKeysOffGuard()
    {
        try {
            m_database.execute(QStringLiteral("PRAGMA foreign_keys = ON"));
        } catch (...) {
            // Fails only on a connection that is unusable anyway.
        }
    }

private:
    SQLiteDatabase &m_database;
};

} // namespace

RepositoryIndexSnapshot RepositoryIndex::apply(const RepositoryIndexBatch &batch)
{
    return apply(batch, {});
}

RepositoryIndexSnapshot RepositoryIndex::apply(const RepositoryIndexBatch &batch,
                                               const CommitSource &moreCommits)
{
    std::lock_guard lock(m_mutex);
    const qint64 timestamp = wholeSeconds(batch.indexedAt);
    {
        const ForeignKeysOffGuard foreignKeysOff(*m_database);
        // Declared first, destroyed last: the statements are finalised before any rollback.
        SQLiteTransaction transaction(*m_database);
        {
            IndexWriter writer(*m_database);
            if (!batch.incremental)
                m_database->execute(QStringLiteral("UPDATE commits SET is_reachable = 0"));
            writer.replaceRefs(batch.refs, timestamp);
            for (const IndexedCommit &commit : batch.commits)
                writer.insert(commit);
            if (moreCommits)
                moreCommits([&writer](const IndexedCommit &commit) { writer.insert(commit); });
            writer.flushSearchRows();
            if (batch.incremental) {
                writer.setReachable(batch.becameReachable, true);
                writer.setReachable(batch.becameUnreachable, false);
                writer.refreshAggregates();
            } else {
                writer.markReachable(batch.reachableSHAs);
                writer.rebuildAggregates();
            }
        }
        setMetadata(batch.refFingerprint, QStringLiteral("ref_fingerprint"));
        setMetadata(timestampText(batch.indexedAt), QStringLiteral("last_indexed_at"));
        transaction.commit();
    }
    // A first import leaves a write-ahead log as large as the database itself; fold it back and
    // give the space back now rather than carry it until the last connection closes. A reader in
    // another process may hold the log open, in which case this simply does less.
    try {
        m_database->execute(QStringLiteral("PRAGMA wal_checkpoint(TRUNCATE)"));
    } catch (const SQLiteError &) {
    }
    return snapshot();
}

} // namespace strataloom
