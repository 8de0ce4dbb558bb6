#include "index/SQLite.h"

#include <QFileInfo>
#include <QUrl>

#include <sqlite3.h>

#include <filesystem>
#include <system_error>

namespace strataloom {

SQLiteError::SQLiteError(Kind kind, const QString &message, const QString &sql)
    : m_kind(kind)
    , m_message(message)
    , m_sql(sql)
{
    m_what = description().toUtf8();
}

QString SQLiteError::description() const
{
    switch (m_kind) {
    case Kind::Open:
        return QStringLiteral("Unable to open analytics index: ") + m_message;
    case Kind::Execute:
        return QStringLiteral("SQLite execution failed: %1 [%2]").arg(m_message, m_sql);
    case Kind::Prepare:
        return QStringLiteral("SQLite prepare failed: %1 [%2]").arg(m_message, m_sql);
    case Kind::Bind:
        return QStringLiteral("SQLite bind failed: ") + m_message;
    case Kind::Step:
        return QStringLiteral("SQLite step failed: ") + m_message;
    }
    return m_message;
}

FileSystemError::FileSystemError(const QString &path, const QString &reason)
    : std::runtime_error(
        QStringLiteral("Unable to create folder \"%1\": %2").arg(path, reason).toStdString())
    , m_path(path)
{ }

namespace {

QString connectionMessage(sqlite3 *database)
{
    if (!database)
        return QStringLiteral("Database is closed");
    return QString::fromUtf8(sqlite3_errmsg(database));
}

} // namespace

// Statement

SQLiteStatement::SQLiteStatement(sqlite3_stmt *statement, sqlite3 *database)
    : m_statement(statement)
    , m_database(database)
{ }

SQLiteStatement::SQLiteStatement(SQLiteStatement &&other) noexcept
    : m_statement(std::exchange(other.m_statement, nullptr))
    , m_database(other.m_database)
{ }

SQLiteStatement &SQLiteStatement::operator=(SQLiteStatement &&other) noexcept
{
    if (this != &other) {
        sqlite3_finalize(m_statement);
        m_statement = std::exchange(other.m_statement, nullptr);
        m_database = other.m_database;
    }
    return *this;
}

SQLiteStatement::~SQLiteStatement()
{
    sqlite3_finalize(m_statement);
}

QString SQLiteStatement::errorMessage() const
{
    return connectionMessage(m_database);
}

void SQLiteStatement::bind(const std::optional<QString> &text, int index)
{
    int result;
    if (text) {
        const QByteArray bytes = text->toUtf8();
        result = sqlite3_bind_text(m_statement, index, bytes.constData(), int(bytes.size()),
                                   SQLITE_TRANSIENT);
    } else {
        result = sqlite3_bind_null(m_statement, index);
    }
    if (result != SQLITE_OK)
        throw SQLiteError::bind(errorMessage());
}

void SQLiteStatement::bind(qint64 value, int index)
{
    if (sqlite3_bind_int64(m_statement, index, value) != SQLITE_OK)
        throw SQLiteError::bind(errorMessage());
}

void SQLiteStatement::bind(std::optional<qint64> value, int index)
{
    if (value)
        bind(*value, index);
    else
        bindNull(index);
}

void SQLiteStatement::bindNull(int index)
{
    if (sqlite3_bind_null(m_statement, index) != SQLITE_OK)
        throw SQLiteError::bind(errorMessage());
}

bool SQLiteStatement::step()
{
    switch (sqlite3_step(m_statement)) {
    case SQLITE_ROW:
        return true;
    case SQLITE_DONE:
        return false;
    default:
        throw SQLiteError::step(errorMessage());
    }
}

void SQLiteStatement::reset()
{
    // The result repeats the last step's error, which that step has already reported.
    sqlite3_reset(m_statement);
    sqlite3_clear_bindings(m_statement);
}

qint64 SQLiteStatement::columnInt64(int column) const
{
    return sqlite3_column_int64(m_statement, column);
}

double SQLiteStatement::columnDouble(int column) const
{
    return sqlite3_column_double(m_statement, column);
}

std::optional<QString> SQLiteStatement::columnText(int column) const
{
    const auto *text = reinterpret_cast<const char *>(sqlite3_column_text(m_statement, column));
    if (!text)
        return std::nullopt;
    return QString::fromUtf8(text, sqlite3_column_bytes(m_statement, column));
}

bool SQLiteStatement::columnIsNull(int column) const
{
    return sqlite3_column_type(m_statement, column) == SQLITE_NULL;
}

int SQLiteStatement::columnCount() const
{
    return sqlite3_column_count(m_statement);
}

// Database

SQLiteDatabase::SQLiteDatabase(const QString &path, Mode mode)
{
    QByteArray name = path.toUtf8();
    int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_FULLMUTEX;
    if (mode == Mode::ReadWrite) {
        const QString folder = QFileInfo(path).absolutePath();
        std::error_code error;
        std::filesystem::create_directories(std::filesystem::path(folder.toStdString()), error);
        if (error)
            throw FileSystemError(folder, QString::fromStdString(error.message()));
    } else {
        // Immutable: a write-ahead-log database is read without its shared-memory file, which a
        // folder without write access could not hold.
        name = "file:" + QUrl::toPercentEncoding(QFileInfo(path).absoluteFilePath(), "/")
            + "?immutable=1";
        flags = SQLITE_OPEN_READONLY | SQLITE_OPEN_URI | SQLITE_OPEN_FULLMUTEX;
    }

    sqlite3 *handle = nullptr;
    const int result = sqlite3_open_v2(name.constData(), &handle, flags, nullptr);
    if (result != SQLITE_OK) {
        const QString message = handle ? QString::fromUtf8(sqlite3_errmsg(handle))
                                       : QStringLiteral("Unknown SQLite error");
        sqlite3_close(handle);
        throw SQLiteError::open(message);
    }
    m_handle = handle;
    sqlite3_busy_timeout(m_handle, 5000);
}

SQLiteDatabase::~SQLiteDatabase()
{
    // close_v2 defers the close until a statement that outlived us is finalised.
    sqlite3_close_v2(m_handle);
}

QString SQLiteDatabase::errorMessage() const
{
    return connectionMessage(m_handle);
}

bool SQLiteDatabase::lastErrorIsDamage() const
{
    const int code = sqlite3_errcode(m_handle) & 0xff;
    return code == SQLITE_NOTADB || code == SQLITE_CORRUPT;
}

void SQLiteDatabase::execute(const QString &sql)
{
    char *error = nullptr;
    const int result = sqlite3_exec(m_handle, sql.toUtf8().constData(), nullptr, nullptr, &error);
    if (result != SQLITE_OK) {
        const QString message = error ? QString::fromUtf8(error) : errorMessage();
        sqlite3_free(error);
        throw SQLiteError::execute(message, sql);
    }
}

SQLiteStatement SQLiteDatabase::statement(const QString &sql)
{
    sqlite3_stmt *statement = nullptr;
    const int result
        = sqlite3_prepare_v2(m_handle, sql.toUtf8().constData(), -1, &statement, nullptr);
    if (result != SQLITE_OK || !statement) {
        sqlite3_finalize(statement);
        throw SQLiteError::prepare(errorMessage(), sql);
    }
    return SQLiteStatement(statement, m_handle);
}

// Transaction

SQLiteTransaction::SQLiteTransaction(SQLiteDatabase &database)
    : m_database(database)
{
    m_database.execute(QStringLiteral("BEGIN IMMEDIATE"));
}

SQLiteTransaction::~SQLiteTransaction()
{
    if (m_committed)
        return;
    try {
        m_database.execute(QStringLiteral("ROLLBACK"));
    } catch (...) {
        // A failed statement may already have ended the transaction; nothing more to undo.
    }
}

void SQLiteTransaction::commit()
{
    m_database.execute(QStringLiteral("COMMIT"));
    m_committed = true;
}

} // namespace strataloom
