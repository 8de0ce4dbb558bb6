#pragma once

// Helpers for indexer tests: a reading of every table of an index, and the reference import that
// asks git for each commit's changes with two diff-tree runs, against which the streaming
// importer is checked row by row.

#include "index/RepositoryIndex.h"

#include <QMap>
#include <QString>
#include <QStringList>

/// @brief Every row of @p sql, its columns joined by "|" (NULL written as "NULL").
inline QStringList rows(strataloom::RepositoryIndex &index, const QString &sql)
{
    return index.read([&](strataloom::SQLiteDatabase &database) {
        QStringList result;
        strataloom::SQLiteStatement statement = database.statement(sql);
        while (statement.step()) {
            QStringList columns;
            for (int column = 0; column < statement.columnCount(); ++column)
                columns << statement.columnText(column).value_or(QStringLiteral("NULL"));
            result << columns.join(QLatin1Char('|'));
        }
        return result;
    });
}

/// @brief Every row of every table, as text, in storage order (the daily sums by key). Columns
/// that hold the time of the run (refs.updated_at, "last_indexed_at") are left out so that two
/// runs compare equal.
QMap<QString, QStringList> dumpIndex(strataloom::RepositoryIndex &index);

/// @brief Brings @p index up to date the slow way: metadata of the whole history from one log,
/// then numstat and name-status of each missing commit from two diff-tree runs.
void referenceSynchronize(strataloom::RepositoryIndex &index, const QString &repository);

/// @brief Prints the first difference between two dumps, or nothing when they are equal.
QString firstDifference(const QMap<QString, QStringList> &left,
                        const QMap<QString, QStringList> &right);
