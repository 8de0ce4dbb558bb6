#pragma once

#include <QByteArray>
#include <QString>

#include <exception>
#include <optional>
#include <stdexcept>

struct sqlite3;
struct sqlite3_stmt;

namespace strataloom {

/**
 * @brief The one error type of the SQLite layer; its description is what the user sees when
 * indexing fails.
 */
class SQLiteError : public std::exception
{
public:
    enum class Kind { Open, Execute, Prepare, Bind, Step };

    static SQLiteError open(const QString &message) { return {Kind::Open, message, {}}; }
    static SQLiteError execute(const QString &message, const QString &sql)
    {
        return {Kind::Execute, message, sql};
    }
    static SQLiteError prepare(const QString &message, const QString &sql)
    {
        return {Kind::Prepare, message, sql};
    }
    static SQLiteError bind(const QString &message) { return {Kind::Bind, message, {}}; }
    static SQLiteError step(const QString &message) { return {Kind::Step, message, {}}; }

    Kind kind() const { return m_kind; }
    QString message() const { return m_message; }
    /// @brief The statement text for Execute and Prepare; empty for the other kinds.
    QString sql() const { return m_sql; }
    /// @brief The text shown to the user, e.g. "SQLite prepare failed: <message> [<sql>]".
    QString description() const;
    const char *what() const noexcept override { return m_what.constData(); }

    bool operator==(const SQLiteError &other) const
    {
        return m_kind == other.m_kind && m_message == other.m_message && m_sql == other.m_sql;
    }

private:
    SQLiteError(Kind kind, const QString &message, const QString &sql);

    Kind m_kind;
    QString m_message;
    QString m_sql;
    QByteArray m_what;
};

/// @brief A folder on the way to a database file could not be created.
class FileSystemError : public std::runtime_error
{
public:
    FileSystemError(const QString &path, const QString &reason);
    /// @brief The folder that could not be created.
    QString path() const { return m_path; }
    /// @brief "Unable to create folder \"<path>\": <reason>".
    QString message() const { return QString::fromUtf8(what()); }

private:
    QString m_path;
};

/**
 * @brief Owns one prepared statement and finalises it on destruction. Move-only.
 *
 * Does not keep its database alive: the SQLiteDatabase that prepared it must outlive it.
 * Parameter positions are 1-based, column indexes 0-based, as in the C interface.
 */
class SQLiteStatement
{
public:
    SQLiteStatement(SQLiteStatement &&other) noexcept;
    SQLiteStatement &operator=(SQLiteStatement &&other) noexcept;
    SQLiteStatement(const SQLiteStatement &) = delete;
    SQLiteStatement &operator=(const SQLiteStatement &) = delete;
    ~SQLiteStatement();

    /// @brief Binds text, or NULL when @p text is absent. Throws SQLiteError::Kind::Bind.
    void bind(const std::optional<QString> &text, int index);
    void bind(qint64 value, int index);
    /// @brief Binds an integer, or NULL when @p value is absent.
    void bind(std::optional<qint64> value, int index);
    void bindText(const QString &text, int index) { bind(std::optional<QString>(text), index); }
    void bindNull(int index);

    /// @brief Advances: true when a row is available, false when done; throws Step otherwise.
    bool step();
    /// @brief Rewinds for the next round of binds and clears the previous bindings.
    void reset();

    qint64 columnInt64(int column) const;
    double columnDouble(int column) const;
    /// @brief A NULL column is absent, never "".
    std::optional<QString> columnText(int column) const;
    bool columnIsNull(int column) const;
    int columnCount() const;

    sqlite3_stmt *handle() const { return m_statement; }

private:
    friend class SQLiteDatabase;
    SQLiteStatement(sqlite3_stmt *statement, sqlite3 *database);
    QString errorMessage() const;

    sqlite3_stmt *m_statement = nullptr;
    sqlite3 *m_database = nullptr; // not owned; read only for its error message
};

/**
 * @brief Owns one connection, opened read-write, create, full mutex, with a 5000 ms busy
 * timeout. Creating it creates the folder chain of the file first.
 *
 * Throws FileSystemError when a folder cannot be created and SQLiteError (Open) when SQLite
 * cannot open the file. Not copyable, not movable: statements refer to it.
 */
class SQLiteDatabase
{
public:
    enum class Mode {
        ReadWrite, ///< read-write, created when absent, its folders too
        ReadOnly, ///< an existing file that nobody changes meanwhile: nothing is created or locked
    };

    explicit SQLiteDatabase(const QString &path, Mode mode = Mode::ReadWrite);
    SQLiteDatabase(const SQLiteDatabase &) = delete;
    SQLiteDatabase &operator=(const SQLiteDatabase &) = delete;
    ~SQLiteDatabase();

    /// @brief Runs one or more statements that return no rows. Throws Execute.
    void execute(const QString &sql);
    /// @brief Prepares exactly one statement. Throws Prepare (also for text without a statement).
    SQLiteStatement statement(const QString &sql);

    sqlite3 *handle() const { return m_handle; }
    /// @brief True when the last failure said the file is no database or a damaged one.
    bool lastErrorIsDamage() const;

private:
    QString errorMessage() const;

    sqlite3 *m_handle = nullptr;
};

/**
 * @brief "BEGIN IMMEDIATE" on construction; commit() ends it. The destructor rolls back when
 * nothing was committed and never throws.
 */
class SQLiteTransaction
{
public:
    explicit SQLiteTransaction(SQLiteDatabase &database);
    SQLiteTransaction(const SQLiteTransaction &) = delete;
    SQLiteTransaction &operator=(const SQLiteTransaction &) = delete;
    ~SQLiteTransaction();

    /// @brief Executes "COMMIT"; on failure the transaction stays open for the rollback.
    void commit();

private:
    SQLiteDatabase &m_database;
    bool m_committed = false;
};

} // namespace strataloom
