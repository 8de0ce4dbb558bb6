#include "index/SQLite.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <sqlite3.h>

using namespace strataloom;

namespace {

class SQLiteTest : public ::testing::Test
{
protected:
    QString path(const QString &relative) const { return m_folder.filePath(relative); }

    QTemporaryDir m_folder;
};

template<typename Call> SQLiteError sqliteErrorOf(Call &&call)
{
    try {
        call();
    } catch (const SQLiteError &error) {
        return error;
    }
    ADD_FAILURE() << "no SQLiteError was thrown";
    return SQLiteError::step(QStringLiteral("<no error>"));
}

std::optional<QString> text(SQLiteDatabase &database, const QString &sql)
{
    SQLiteStatement statement = database.statement(sql);
    EXPECT_TRUE(statement.step()) << sql.toStdString();
    return statement.columnText(0);
}

} // namespace

// Errors

TEST(SQLiteError, DescriptionsFollowTheirKind)
{
    EXPECT_EQ(SQLiteError::open(QStringLiteral("m")).description(),
              QStringLiteral("Unable to open analytics index: m"));
    EXPECT_EQ(SQLiteError::execute(QStringLiteral("m"), QStringLiteral("SELECT 1")).description(),
              QStringLiteral("SQLite execution failed: m [SELECT 1]"));
    EXPECT_EQ(SQLiteError::prepare(QStringLiteral("m"), QStringLiteral("SELECT 1")).description(),
              QStringLiteral("SQLite prepare failed: m [SELECT 1]"));
    EXPECT_EQ(SQLiteError::bind(QStringLiteral("m")).description(),
              QStringLiteral("SQLite bind failed: m"));
    const SQLiteError step = SQLiteError::step(QStringLiteral("Grüße"));
    EXPECT_EQ(step.description(), QStringLiteral("SQLite step failed: Grüße"));
    EXPECT_EQ(QString::fromUtf8(step.what()), step.description());
    EXPECT_EQ(step.kind(), SQLiteError::Kind::Step);
    EXPECT_TRUE(step.sql().isEmpty());
}

TEST_F(SQLiteTest, FailedPrepareReportsConnectionMessageAndSQL)
{
    SQLiteDatabase database(path(QStringLiteral("db.sqlite")));
    const SQLiteError error = sqliteErrorOf([&] { database.statement(QStringLiteral("SELEC 1")); });
    EXPECT_EQ(error.kind(), SQLiteError::Kind::Prepare);
    EXPECT_EQ(error.sql(), QStringLiteral("SELEC 1"));
    EXPECT_EQ(error.description(),
              QStringLiteral("SQLite prepare failed: near \"SELEC\": syntax error [SELEC 1]"));

    // A text without any statement prepares to nothing, which is a failure too.
    const SQLiteError empty = sqliteErrorOf([&] { database.statement(QStringLiteral("  ")); });
    EXPECT_EQ(empty.kind(), SQLiteError::Kind::Prepare);
    EXPECT_EQ(empty.description(), QStringLiteral("SQLite prepare failed: not an error [  ]"));
}

TEST_F(SQLiteTest, FailedExecuteReportsExecMessageAndSQL)
{
    SQLiteDatabase database(path(QStringLiteral("db.sqlite")));
    const QString sql = QStringLiteral("CREATE TABLE t(a); DELETE FROM missing");
    const SQLiteError error = sqliteErrorOf([&] { database.execute(sql); });
    EXPECT_EQ(error.kind(), SQLiteError::Kind::Execute);
    EXPECT_EQ(error.description(),
              QStringLiteral("SQLite execution failed: no such table: missing [%1]").arg(sql));
}

TEST_F(SQLiteTest, BindOutsideTheParametersFails)
{
    SQLiteDatabase database(path(QStringLiteral("db.sqlite")));
    SQLiteStatement statement = database.statement(QStringLiteral("SELECT ?"));
    for (const auto &bind : std::initializer_list<std::function<void()>> {
             [&] { statement.bindText(QStringLiteral("x"), 2); },
             [&] { statement.bind(qint64(1), 0); },
             [&] { statement.bind(std::optional<qint64>(), 5); },
             [&] { statement.bind(std::optional<QString>(), 5); },
         }) {
        const SQLiteError error = sqliteErrorOf(bind);
        EXPECT_EQ(error.kind(), SQLiteError::Kind::Bind);
        EXPECT_EQ(error.description(),
                  QStringLiteral("SQLite bind failed: column index out of range"));
    }
}

TEST_F(SQLiteTest, StepFailureAndEndOfRows)
{
    SQLiteDatabase database(path(QStringLiteral("db.sqlite")));
    database.execute(QStringLiteral("CREATE TABLE t(id INTEGER PRIMARY KEY, name TEXT NOT NULL)"));

    SQLiteStatement empty = database.statement(QStringLiteral("SELECT id FROM t"));
    EXPECT_FALSE(empty.step());

    SQLiteStatement insert = database.statement(QStringLiteral("INSERT INTO t VALUES(?, ?)"));
    insert.bind(qint64(1), 1);
    insert.bindText(QStringLiteral("a"), 2);
    EXPECT_FALSE(insert.step());
    insert.reset();
    insert.bind(qint64(1), 1);
    insert.bindText(QStringLiteral("b"), 2);
    const SQLiteError duplicate = sqliteErrorOf([&] { insert.step(); });
    EXPECT_EQ(duplicate.kind(), SQLiteError::Kind::Step);
    EXPECT_EQ(duplicate.description(),
              QStringLiteral("SQLite step failed: UNIQUE constraint failed: t.id"));

    insert.reset();
    insert.bind(qint64(2), 1);
    const SQLiteError missing = sqliteErrorOf([&] { insert.step(); });
    EXPECT_EQ(missing.description(),
              QStringLiteral("SQLite step failed: NOT NULL constraint failed: t.name"));
}

// Values

TEST_F(SQLiteTest, AbsentValuesBindNullAndNullTextReadsAbsent)
{
    SQLiteDatabase database(path(QStringLiteral("db.sqlite")));
    database.execute(QStringLiteral("CREATE TABLE t(a, b, c, d)"));
    SQLiteStatement insert = database.statement(QStringLiteral("INSERT INTO t VALUES(?, ?, ?, ?)"));
    insert.bind(std::optional<QString>(), 1);
    insert.bind(std::optional<qint64>(), 2);
    insert.bind(std::optional<QString>(QString()), 3);
    insert.bind(std::optional<qint64>(0), 4);
    insert.step();

    SQLiteStatement select = database.statement(
        QStringLiteral("SELECT a, b, c, d, typeof(a), typeof(b), typeof(c), typeof(d) FROM t"));
    ASSERT_TRUE(select.step());
    EXPECT_EQ(select.columnText(0), std::nullopt);
    EXPECT_TRUE(select.columnIsNull(1));
    EXPECT_EQ(select.columnText(2), QString()); // present but empty stays present
    EXPECT_EQ(select.columnInt64(3), 0);
    EXPECT_EQ(select.columnText(4), QStringLiteral("null"));
    EXPECT_EQ(select.columnText(5), QStringLiteral("null"));
    EXPECT_EQ(select.columnText(6), QStringLiteral("text"));
    EXPECT_EQ(select.columnText(7), QStringLiteral("integer"));
    EXPECT_FALSE(select.step());
}

TEST_F(SQLiteTest, ValuesRoundTripAndResetClearsBindings)
{
    SQLiteDatabase database(path(QStringLiteral("db.sqlite")));
    SQLiteStatement select = database.statement(QStringLiteral("SELECT ?, ?, ? / 4.0"));
    const QString unusual = QStringLiteral("Grüße \u2603 \U0001F600");
    select.bindText(unusual, 1);
    select.bind(qint64(-9007199254740993), 2);
    select.bind(qint64(3), 3);
    ASSERT_TRUE(select.step());
    EXPECT_EQ(select.columnText(0), unusual);
    EXPECT_EQ(select.columnInt64(1), -9007199254740993);
    EXPECT_DOUBLE_EQ(select.columnDouble(2), 0.75);
    EXPECT_EQ(select.columnCount(), 3);

    select.reset();
    ASSERT_TRUE(select.step());
    EXPECT_EQ(select.columnText(0), std::nullopt);
    EXPECT_TRUE(select.columnIsNull(1));
}

TEST_F(SQLiteTest, MovedStatementKeepsWorking)
{
    SQLiteDatabase database(path(QStringLiteral("db.sqlite")));
    SQLiteStatement first = database.statement(QStringLiteral("SELECT 7"));
    SQLiteStatement second = std::move(first);
    EXPECT_EQ(first.handle(), nullptr);
    ASSERT_TRUE(second.step());
    EXPECT_EQ(second.columnInt64(0), 7);
    first = database.statement(QStringLiteral("SELECT 8"));
    second = std::move(first);
    ASSERT_TRUE(second.step());
    EXPECT_EQ(second.columnInt64(0), 8);
}

// Opening

TEST_F(SQLiteTest, OpenCreatesTheFolderChainAndConfiguresTheConnection)
{
    const QString file = path(QStringLiteral("a/b/c/index.sqlite"));
    SQLiteDatabase database(file);
    database.execute(QStringLiteral("CREATE TABLE t(a)"));
    EXPECT_TRUE(QFileInfo(file).isFile());
    EXPECT_EQ(text(database, QStringLiteral("PRAGMA busy_timeout")), QStringLiteral("5000"));
}

TEST_F(SQLiteTest, OpenUnderARegularFileNamesTheFolder)
{
    QFile blocker(path(QStringLiteral("blocker")));
    ASSERT_TRUE(blocker.open(QIODevice::WriteOnly));
    blocker.close();
    const QString folder = path(QStringLiteral("blocker/inner"));
    try {
        SQLiteDatabase database(folder + QStringLiteral("/index.sqlite"));
        FAIL() << "a folder was created under a regular file";
    } catch (const FileSystemError &error) {
        EXPECT_EQ(error.path(), folder);
        EXPECT_EQ(error.message(),
                  QStringLiteral("Unable to create folder \"%1\": Not a directory").arg(folder));
    }
}

TEST_F(SQLiteTest, OpeningAFolderAsDatabaseFails)
{
    const QString folder = path(QStringLiteral("folder"));
    ASSERT_TRUE(QDir().mkpath(folder));
    const SQLiteError error = sqliteErrorOf([&] { SQLiteDatabase database(folder); });
    EXPECT_EQ(error.kind(), SQLiteError::Kind::Open);
    EXPECT_EQ(error.description(),
              QStringLiteral("Unable to open analytics index: unable to open database file"));
}

// Transactions

TEST_F(SQLiteTest, TransactionCommitsOrRollsBack)
{
    SQLiteDatabase database(path(QStringLiteral("db.sqlite")));
    database.execute(QStringLiteral("CREATE TABLE t(a)"));
    {
        SQLiteTransaction transaction(database);
        database.execute(QStringLiteral("INSERT INTO t VALUES(1)"));
        transaction.commit();
    }
    {
        SQLiteTransaction transaction(database);
        database.execute(QStringLiteral("INSERT INTO t VALUES(2)"));
    }
    try {
        SQLiteTransaction transaction(database);
        database.execute(QStringLiteral("INSERT INTO t VALUES(3)"));
        throw std::runtime_error("interrupted");
    } catch (const std::runtime_error &) { }
    EXPECT_EQ(text(database, QStringLiteral("SELECT group_concat(a) FROM t")), QStringLiteral("1"));
    EXPECT_TRUE(sqlite3_get_autocommit(database.handle()));
}

TEST_F(SQLiteTest, RollbackOfAnEndedTransactionDoesNotThrow)
{
    SQLiteDatabase database(path(QStringLiteral("db.sqlite")));
    EXPECT_NO_THROW({
        SQLiteTransaction transaction(database);
        database.execute(QStringLiteral("COMMIT"));
    });
    // The connection is usable afterwards.
    EXPECT_NO_THROW(SQLiteTransaction(database).commit());
}

TEST_F(SQLiteTest, ImmediateTransactionHoldsTheWriteLock)
{
    const QString file = path(QStringLiteral("db.sqlite"));
    SQLiteDatabase first(file);
    first.execute(QStringLiteral("PRAGMA journal_mode = WAL"));
    SQLiteDatabase second(file);
    sqlite3_busy_timeout(second.handle(), 10); // keeps the test quick
    SQLiteTransaction transaction(first);
    const SQLiteError error = sqliteErrorOf([&] { SQLiteTransaction other(second); });
    EXPECT_EQ(error.description(),
              QStringLiteral("SQLite execution failed: database is locked [BEGIN IMMEDIATE]"));
}
