#include "insights/InsightHistory.h"

#include "index/SQLite.h"

#include <QSet>

#include <sqlite3.h>

#include <algorithm>

namespace strataloom::aggregates {

namespace {

qint64 int64OrNone(const SQLiteStatement &statement, int column)
{
    return statement.columnIsNull(column) ? noID : statement.columnInt64(column);
}

} // namespace

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

History readHistory(SQLiteDatabase &database, RepositoryAnalyticsInsights &result)
{
    History history;
    {
        SQLiteStatement statement = database.statement(
            QStringLiteral("SELECT id, author_alias_id, author_time, is_merge, subject "
                           "FROM commits WHERE is_reachable = 1"));
        while (statement.step()) {
            CommitRow commit;
            commit.id = statement.columnInt64(0);
            commit.aliasID = int64OrNone(statement, 1);
            commit.time = statement.columnInt64(2);
            commit.isMerge = statement.columnInt64(3) != 0;
            commit.subject = statement.columnText(4).value_or(QString());
            history.commits.push_back(std::move(commit));
        }
        std::sort(history.commits.begin(), history.commits.end(),
                  [](const CommitRow &a, const CommitRow &b) { return a.id < b.id; });
        history.commitIndex.reserve(qsizetype(history.commits.size()));
        for (qsizetype i = 0; i < qsizetype(history.commits.size()); ++i)
            history.commitIndex.insert(history.commits[i].id, i);
    }
    {
        SQLiteStatement statement
            = database.statement(QStringLiteral("SELECT id, current_path FROM files ORDER BY id"));
        while (statement.step()) {
            history.fileIndex.insert(statement.columnInt64(0), qsizetype(history.fileIDs.size()));
            history.fileIDs.push_back(statement.columnInt64(0));
            history.filePaths.append(statement.columnText(1).value_or(QString()));
        }
    }
    {
        SQLiteStatement statement
            = database.statement(QStringLiteral("SELECT id, author_id, email FROM author_aliases"));
        while (statement.step()) {
            history.aliases.insert(statement.columnInt64(0),
                                   {statement.columnInt64(1), textOr(statement, 2, QString())});
        }
    }
    {
        SQLiteStatement statement
            = database.statement(QStringLiteral("SELECT id, canonical_name FROM authors"));
        while (statement.step())
            history.authorNames.insert(statement.columnInt64(0), textOr(statement, 1, QString()));
    }
    {
        // Columns are read through the C interface: one text per row would be 400,000
        // allocations for a status of which only the first letter matters.
        SQLiteStatement statement
            = database.statement(QStringLiteral("SELECT commit_id, file_id, status, additions, "
                                                "deletions, is_binary FROM commit_files"));
        sqlite3_stmt *row = statement.handle();
        QSet<qint64> binaryFiles;
        while (statement.step()) {
            const auto commit = history.commitIndex.constFind(sqlite3_column_int64(row, 0));
            if (commit == history.commitIndex.cend())
                continue;
            const qint64 fileID = sqlite3_column_int64(row, 1);
            const unsigned char *status = sqlite3_column_text(row, 2);
            const qint64 additions = sqlite3_column_int64(row, 3); // NULL reads as 0
            const qint64 deletions = sqlite3_column_int64(row, 4);
            CommitRow &owner = history.commits[*commit];
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
            if (sqlite3_column_type(row, 5) == SQLITE_INTEGER && sqlite3_column_int64(row, 5) == 1)
                binaryFiles.insert(fileID);

            const auto file = history.fileIndex.constFind(fileID);
            if (file != history.fileIndex.cend()) {
                history.fileChanges.emplace_back(*commit, *file);
                history.fileChangeLines.emplace_back(additions, deletions);
            }
        }
        result.binaryFiles = binaryFiles.size();
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
