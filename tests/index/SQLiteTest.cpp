#include "index/SQLite.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <sqlite3.h>

#include <functional>

using namespace strataloom;

namespace {

class SQLiteTest : public ::testing::Test
{
protected:
    QString path(const QString &relative) const { return m_folder.filePath(relative); }

    QTemporaryDir m_folder;
    SQLiteDatabase m_database {path("db.sqlite")};
};

std::optional<QString> text(SQLiteDatabase &database, const QString &sql)
{
    SQLiteStatement statement = database.statement(sql);
    EXPECT_TRUE(statement.step()) << sql.toStdString();
    return statement.columnText(0);
}

} // namespace

TEST_F(SQLiteTest, FailuresCarryTheirKindSQLiteMessageAndStatement)
{
    m_database.execute("CREATE TABLE t(id INTEGER PRIMARY KEY, name TEXT NOT NULL)");
    m_database.execute("INSERT INTO t VALUES(1, 'a')");
    SQLiteStatement select = m_database.statement("SELECT ?");
    SQLiteStatement insert = m_database.statement("INSERT INTO t VALUES(?, ?)");
    const QString folder = path("folder");
    ASSERT_TRUE(QDir().mkpath(folder));
    SQLiteDatabase second(path("db.sqlite"));
    sqlite3_busy_timeout(second.handle(), 10); // keeps the test quick

    const std::tuple<std::function<void()>, SQLiteError::Kind, const char *> cases[] = {
        {[&] { m_database.statement("SELEC 1"); }, SQLiteError::Kind::Prepare,
         "SQLite prepare failed: near \"SELEC\": syntax error [SELEC 1]"},
        // A text without any statement prepares to nothing, which is a failure too.
        {[&] { m_database.statement("  "); }, SQLiteError::Kind::Prepare,
         "SQLite prepare failed: not an error [  ]"},
        {[&] { m_database.execute("CREATE TABLE u(a); DELETE FROM missing"); },
         SQLiteError::Kind::Execute,
         "SQLite execution failed: no such table: missing [CREATE TABLE u(a); DELETE FROM "
         "missing]"},
        {[&] { select.bindText("x", 2); }, SQLiteError::Kind::Bind,
         "SQLite bind failed: column index out of range"},
        {[&] { select.bind(qint64(1), 0); }, SQLiteError::Kind::Bind,
         "SQLite bind failed: column index out of range"},
        {[&] {
             insert.reset();
             insert.bind(qint64(1), 1);
             insert.bindText("b", 2);
             insert.step();
         },
         SQLiteError::Kind::Step, "SQLite step failed: UNIQUE constraint failed: t.id"},
        {[&] { SQLiteDatabase database(folder); }, SQLiteError::Kind::Open,
         "Unable to open analytics index: unable to open database file"},
        {[&] {
             SQLiteTransaction transaction(m_database);
             SQLiteTransaction other(second);
         },
         SQLiteError::Kind::Execute,
         "SQLite execution failed: database is locked [BEGIN IMMEDIATE]"},
    };
    for (const auto &[call, kind, description] : cases) {
        SCOPED_TRACE(description);
        try {
            call();
            ADD_FAILURE() << "no SQLiteError was thrown";
        } catch (const SQLiteError &error) {
            EXPECT_EQ(error.kind(), kind);
            EXPECT_EQ(error.description(), QString::fromUtf8(description));
            EXPECT_EQ(QString::fromUtf8(error.what()), error.description());
        }
    }
    EXPECT_EQ(text(m_database, "SELECT group_concat(name) FROM t"), "a");
}

TEST_F(SQLiteTest, ValuesRoundTripAbsentValuesAreNullAndResetClearsBindings)
{
    SQLiteStatement select = m_database.statement("SELECT ?, ?, ? / 4.0, ?, ?, ?, typeof(?6)");
    const QString unusual = "Grüße \u2603 \U0001F600";
    select.bindText(unusual, 1);
    select.bind(qint64(-9007199254740993), 2);
    select.bind(qint64(3), 3);
    select.bind(std::optional<QString>(), 4);
    select.bind(std::optional<qint64>(), 5);
    select.bind(std::optional<QString>(QString()), 6);
    ASSERT_TRUE(select.step());
    EXPECT_EQ(select.columnCount(), 7);
    EXPECT_EQ(select.columnText(0), unusual);
    EXPECT_EQ(select.columnInt64(1), -9007199254740993);
    EXPECT_DOUBLE_EQ(select.columnDouble(2), 0.75);
    EXPECT_EQ(select.columnText(3), std::nullopt);
    EXPECT_TRUE(select.columnIsNull(4));
    EXPECT_EQ(select.columnText(5), QString()); // present but empty stays present
    EXPECT_EQ(select.columnText(6), "text");
    EXPECT_FALSE(select.step());

    select.reset();
    ASSERT_TRUE(select.step());
    EXPECT_EQ(select.columnText(0), std::nullopt);

    // A moved statement keeps working; the moved-from one holds nothing.
    SQLiteStatement moved = std::move(select);
    EXPECT_EQ(select.handle(), nullptr);
    moved.reset();
    ASSERT_TRUE(moved.step());
}

TEST_F(SQLiteTest, OpenCreatesTheFolderChainOrNamesTheFolderItCannotCreate)
{
    const QString file = path("a/b/c/index.sqlite");
    SQLiteDatabase database(file);
    database.execute("CREATE TABLE t(a)");
    EXPECT_TRUE(QFileInfo(file).isFile());
    EXPECT_EQ(text(database, "PRAGMA busy_timeout"), "5000");

    QFile blocker(path("blocker"));
    ASSERT_TRUE(blocker.open(QIODevice::WriteOnly));
    blocker.close();
    const QString folder = path("blocker/inner");
    try {
        SQLiteDatabase blocked(folder + "/index.sqlite");
        FAIL() << "a folder was created under a regular file";
    } catch (const FileSystemError &error) {
        EXPECT_EQ(error.path(), folder);
        EXPECT_EQ(error.message(),
                  QString("Unable to create folder \"%1\": Not a directory").arg(folder));
    }
}

TEST_F(SQLiteTest, TransactionCommitsOrRollsBack)
{
    m_database.execute("CREATE TABLE t(a)");
    {
        SQLiteTransaction transaction(m_database);
        m_database.execute("INSERT INTO t VALUES(1)");
        transaction.commit();
    }
    {
        SQLiteTransaction transaction(m_database);
        m_database.execute("INSERT INTO t VALUES(2)");
    }
    try {
        SQLiteTransaction transaction(m_database);
        m_database.execute("INSERT INTO t VALUES(3)");
        throw std::runtime_error("interrupted");
    } catch (const std::runtime_error &) { }
    EXPECT_EQ(text(m_database, "SELECT group_concat(a) FROM t"), "1");
    EXPECT_TRUE(sqlite3_get_autocommit(m_database.handle()));

    // Rolling back a transaction that already ended does not throw.
    EXPECT_NO_THROW({
        SQLiteTransaction transaction(m_database);
        m_database.execute("COMMIT");
    });
    EXPECT_NO_THROW(SQLiteTransaction(m_database).commit());
}
