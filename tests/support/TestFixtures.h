#pragma once

#include "TestRepository.h"
#include "git/GitProcess.h"

#include <QDir>
#include <QFile>

#include <gtest/gtest.h>
#include <sqlite3.h>

// Small fixtures several test binaries share. The SQLite readers open the file read-only with
// the plain C interface, so they see exactly what another process would see.

/// @brief Writes an executable shell script with @p body to @p path.
inline void writeScript(const QString &path, const QByteArray &body)
{
    QFile script(path);
    EXPECT_TRUE(script.open(QIODevice::WriteOnly)) << path.toStdString();
    script.write("#!/bin/sh\n" + body);
    script.close();
    script.setPermissions(script.permissions() | QFile::ExeOwner);
}

/// @brief Rewrites the tip of the current branch as a commit that carries a signature, so that
/// a verifier would be started for it.
inline void signTip(const TestRepository &repository)
{
    QByteArray commit = repository.git({"cat-file", "commit", "HEAD"}).toUtf8();
    commit.insert(commit.indexOf("\n\n") + 1,
                  "gpgsig -----BEGIN PGP SIGNATURE-----\n \n iQEz\n -----END PGP SIGNATURE-----\n");
    repository.git({"update-ref", "HEAD", repository.hashObject(commit)});
}

/// @brief The rows of read-only @p queries on the database at @p path, columns joined by "|"
/// and NULL written as "NULL".
inline QStringList sqliteRows(const QString &path, const QStringList &queries)
{
    sqlite3 *db = nullptr;
    EXPECT_EQ(sqlite3_open_v2(path.toUtf8().constData(), &db, SQLITE_OPEN_READONLY, nullptr),
              SQLITE_OK)
        << path.toStdString();
    QStringList rows;
    for (const QString &sql : queries) {
        sqlite3_stmt *statement = nullptr;
        EXPECT_EQ(sqlite3_prepare_v2(db, sql.toUtf8().constData(), -1, &statement, nullptr),
                  SQLITE_OK)
            << sqlite3_errmsg(db);
        while (statement && sqlite3_step(statement) == SQLITE_ROW) {
            QStringList row;
            for (int c = 0; c < sqlite3_column_count(statement); ++c) {
                const auto *text = reinterpret_cast<const char *>(sqlite3_column_text(statement, c));
                row << (text ? QString::fromUtf8(text) : QStringLiteral("NULL"));
            }
            rows << row.join(QLatin1Char('|'));
        }
        sqlite3_finalize(statement);
    }
    sqlite3_close(db);
    return rows;
}

/// @brief The one index file an index folder holds (fails the test when there are others).
inline QString onlyIndexFile(const QString &indexDir)
{
    const QStringList hashes = QDir(indexDir).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    EXPECT_EQ(hashes.size(), 1) << indexDir.toStdString();
    return indexDir + QLatin1Char('/') + hashes.value(0) + QStringLiteral("/index.sqlite");
}

/// @brief Every row of every table of the one index in @p indexDir, as sorted text, but for the
/// times of writing (index_metadata, updated_at), which differ from run to run.
inline QStringList indexRows(const QString &indexDir)
{
    const QString path = onlyIndexFile(indexDir);
    QStringList queries;
    for (const QString &table :
         sqliteRows(path,
                    {"SELECT name, (SELECT group_concat('\"' || name || '\"') FROM "
                     "pragma_table_info(m.name) WHERE name != 'updated_at') FROM sqlite_master m "
                     "WHERE type = 'table' AND name NOT LIKE 'sqlite_%' AND sql NOT LIKE "
                     "'%VIRTUAL%' AND name != 'index_metadata'"}))
        queries << QStringLiteral("SELECT '%1', %2 FROM \"%1\"")
                       .arg(table.section('|', 0, 0), table.section('|', 1));
    QStringList rows = sqliteRows(path, queries);
    rows.sort();
    return rows;
}
