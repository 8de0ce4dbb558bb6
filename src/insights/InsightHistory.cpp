#include "insights/InsightHistory.h"

#include "index/SQLite.h"

#include <QSet>

#include <sqlite3.h>

#include <algorithm>
#include <cstdint>

namespace strataloom::aggregates {

QString textOr(const SQLiteStatement &statement, int column, const QString &fallback)
{
    return statement.columnText(column).value_or(fallback);
}

std::optional<QDateTime> dateFromSeconds(qint64 seconds)
{
    if (seconds < 1)
        return std::nullopt;
    return QDateTime::fromSecsSinceEpoch(seconds, Qt::UTC);
}

void RowPositions::assign(const std::vector<qint64> &ids)
{
    m_positions.clear();
    m_sparse.clear();
    m_first = ids.empty() ? 0 : ids.front();
    // Row ids are dense unless rows were deleted in bulk; a few gaps cost less than a hash.
    const quint64 range = ids.empty() ? 0 : quint64(ids.back()) - quint64(ids.front());
    m_dense = range < 4 * quint64(ids.size()) + 1024 && ids.size() < size_t(INT32_MAX);
    if (m_dense) {
        m_positions.assign(ids.empty() ? 0 : range + 1, -1);
        for (size_t i = 0; i < ids.size(); ++i)
            m_positions[quint64(ids[i]) - quint64(m_first)] = qint32(i);
        return;
    }
    m_sparse.reserve(qsizetype(ids.size()));
    for (size_t i = 0; i < ids.size(); ++i)
        m_sparse.insert(ids[i], qsizetype(i));
}

namespace {

// Holds the connection's own mutex. In serialised mode SQLite takes it again for every column
// read; taken by the same thread it is only counted, so 1.5 million reads skip as many locks.
class ConnectionMutex
{
public:
    explicit ConnectionMutex(SQLiteDatabase &database)
        : m_mutex(sqlite3_db_mutex(database.handle()))
    {
        sqlite3_mutex_enter(m_mutex); // does nothing without a mutex (single-thread mode)
    }
    ~ConnectionMutex() { sqlite3_mutex_leave(m_mutex); }
    ConnectionMutex(const ConnectionMutex &) = delete;
    ConnectionMutex &operator=(const ConnectionMutex &) = delete;

private:
    sqlite3_mutex *m_mutex;
};

} // namespace

History readHistory(SQLiteDatabase &database, RepositoryAnalyticsInsights &result,
                    const std::function<void(const History &)> &commitsRead)
{
    const ConnectionMutex connection(database);
    History history;
    {
        SQLiteStatement statement = database.statement(
            QStringLiteral("SELECT id, author_id, email, name FROM author_aliases"));
        while (statement.step()) {
            history.aliases.insert(statement.columnInt64(0),
                                   {statement.columnInt64(1), textOr(statement, 2, QString()),
                                    textOr(statement, 3, QString())});
        }
    }
    {
        SQLiteStatement statement
            = database.statement(QStringLiteral("SELECT id, canonical_name FROM authors"));
        while (statement.step())
            history.authorNames.insert(statement.columnInt64(0), textOr(statement, 1, QString()));
    }
    {
        // A scan of the table, which is in id order: through the index on is_reachable every row
        // would be a separate lookup, and nearly every commit is reachable.
        SQLiteStatement statement = database.statement(
            QStringLiteral("SELECT id, author_alias_id, author_time, is_merge, subject "
                           "FROM commits NOT INDEXED WHERE is_reachable = 1 ORDER BY id"));
        sqlite3_stmt *row = statement.handle();
        {
            // Ids are given in ascending order from 1, so the largest is about the number of rows.
            SQLiteStatement largest
                = database.statement(QStringLiteral("SELECT max(id) FROM commits"));
            if (largest.step()) {
                const auto rows = size_t(std::clamp<qint64>(largest.columnInt64(0), 0, 1 << 24));
                history.commits.reserve(rows);
                history.subjects.ends.reserve(rows);
                history.subjects.bytes.reserve(qsizetype(rows) * 48);
            }
        }
        while (statement.step()) {
            CommitRow commit;
            commit.id = sqlite3_column_int64(row, 0);
            if (sqlite3_column_type(row, 1) != SQLITE_NULL) {
                commit.aliasID = sqlite3_column_int64(row, 1);
                const auto alias = history.aliases.constFind(commit.aliasID);
                if (alias != history.aliases.cend())
                    commit.authorID = alias->authorID;
            }
            commit.time = sqlite3_column_int64(row, 2);
            commit.isMerge = sqlite3_column_int64(row, 3) != 0;
            const auto *subject = reinterpret_cast<const char *>(sqlite3_column_text(row, 4));
            if (subject)
                history.subjects.bytes.append(subject, sqlite3_column_bytes(row, 4));
            history.subjects.ends.push_back(history.subjects.bytes.size());
            history.commits.push_back(commit);
        }
        std::vector<qint64> ids;
        ids.reserve(history.commits.size());
        for (const CommitRow &commit : history.commits)
            ids.push_back(commit.id);
        history.commitIndex.assign(ids);
    }
    {
        SQLiteStatement statement
            = database.statement(QStringLiteral("SELECT id, current_path FROM files ORDER BY id"));
        while (statement.step()) {
            history.fileIDs.push_back(statement.columnInt64(0));
            history.filePaths.append(statement.columnText(1).value_or(QString()));
        }
        history.fileIndex.assign(history.fileIDs);
    }
    if (commitsRead)
        commitsRead(history);
    {
        // Columns are read through the C interface: one text per row would be 400,000
        // allocations for a status of which only the first letter matters.
        SQLiteStatement statement = database.statement(
            QStringLiteral("SELECT commit_id, file_id, status, additions, "
                           "deletions, is_binary, old_path FROM commit_files"));
        sqlite3_stmt *row = statement.handle();
        std::vector<bool> binaryFiles;
        QSet<qint64> binaryUnknownFiles; // changes of files no longer in the files table
        history.fileChanges.reserve(history.commits.size() * 4);
        history.fileChangeLines.reserve(history.commits.size() * 4);
        history.fileChangeStatus.reserve(history.commits.size() * 4);
        while (statement.step()) {
            const qsizetype commit = history.commitIndex.find(sqlite3_column_int64(row, 0));
            if (commit < 0)
                continue;
            const qint64 fileID = sqlite3_column_int64(row, 1);
            const unsigned char *status = sqlite3_column_text(row, 2);
            const qint64 additions = sqlite3_column_int64(row, 3); // NULL reads as 0
            const qint64 deletions = sqlite3_column_int64(row, 4);
            CommitRow &owner = history.commits[commit];
            ++owner.rows;
            owner.additions += additions;
            owner.deletions += deletions;

            result.additions += additions;
            result.deletions += deletions;
            const unsigned char letter = status ? status[0] : 0;
            if (letter == 'A' || letter == 'a')
                ++result.filesAdded;
            else if (letter == 'D' || letter == 'd')
                ++result.filesDeleted;
            else if (letter == 'R' || letter == 'r')
                ++result.filesRenamed;
            const bool binary = sqlite3_column_type(row, 5) == SQLITE_INTEGER
                && sqlite3_column_int64(row, 5) == 1;

            const qsizetype file = history.fileIndex.find(fileID);
            if (file >= 0) {
                history.fileChanges.emplace_back(commit, file);
                history.fileChangeLines.emplace_back(additions, deletions);
                history.fileChangeStatus.push_back(char(letter));
                if (sqlite3_column_type(row, 6) != SQLITE_NULL) {
                    history.renameSources.emplace_back(
                        history.fileChanges.size() - 1,
                        QString::fromUtf8(
                            reinterpret_cast<const char *>(sqlite3_column_text(row, 6)),
                            sqlite3_column_bytes(row, 6)));
                }
                if (binary) {
                    if (binaryFiles.empty())
                        binaryFiles.resize(history.fileIDs.size());
                    binaryFiles[size_t(file)] = true;
                }
            } else if (binary) {
                binaryUnknownFiles.insert(fileID);
            }
        }
        result.binaryFiles = std::count(binaryFiles.begin(), binaryFiles.end(), true)
            + binaryUnknownFiles.size();
    }
    return history;
}

std::vector<qint64> rowsPerCommit(const History &history)
{
    std::vector<qint64> rows(history.commits.size());
    for (size_t i = 0; i < rows.size(); ++i)
        rows[i] = history.commits[i].rows;
    return rows;
}

} // namespace strataloom::aggregates
