#include "app/HistoryListModel.h"

#include "index/SQLite.h"

#include <QScopedValueRollback>

namespace strataloom {

/// @brief One query's connection and its resolved terms; the terms go first.
struct HistoryListModel::Source
{
    std::unique_ptr<SQLiteDatabase> database;
    std::unique_ptr<IndexedHistory> history;

    ~Source()
    {
        history.reset();
        database.reset();
    }
};

/// @brief What the background run of one query hands back: the source, the count and the
/// first page, or what is wrong with the query.
struct HistoryListModel::Answer
{
    std::shared_ptr<Source> source;
    qint64 total = 0;
    HistoryPage first;
    std::optional<HistoryQueryError> error;
};

HistoryListModel::HistoryListModel(QObject *parent)
    : RecordList("subject", parent)
    , m_tasks(this,
              [this](const QString &message) {
                  setError(message);
                  setLoading(false);
              })
    , m_bodyRole(roleNames().key("body", -1))
{ }

HistoryListModel::~HistoryListModel() = default;

void HistoryListModel::setDatabase(const QString &path)
{
    const bool wasAvailable = isAvailable();
    m_database = path;
    if (wasAvailable != isAvailable())
        Q_EMIT isAvailableChanged();
    reload();
}

void HistoryListModel::setQuery(const QString &query)
{
    if (m_query == query)
        return;
    m_query = query;
    Q_EMIT queryChanged();
    reload();
}

void HistoryListModel::setMergesIdentities(bool merges)
{
    if (m_mergesIdentities == merges)
        return;
    m_mergesIdentities = merges;
    reload();
}

void HistoryListModel::reload()
{
    const quint64 generation = ++m_generation;
    if (!isAvailable()) {
        m_source.reset();
        clearRows();
        setTotal(0);
        setError({});
        setLoading(false);
        return;
    }
    // A malformed query is told at once, without waiting for the index.
    HistoryQuery parsed;
    try {
        parsed = HistoryQuery::parse(m_query);
    } catch (const HistoryQueryError &error) {
        m_source.reset();
        clearRows();
        setTotal(0);
        setError(error.message(), int(error.position()), int(error.length()));
        setLoading(false);
        return;
    }
    setLoading(true);
    m_tasks.run(
        [path = m_database, parsed, merges = m_mergesIdentities] {
            Answer answer;
            auto source = std::make_shared<Source>();
            source->database = std::make_unique<SQLiteDatabase>(path);
            try {
                source->history
                    = std::make_unique<IndexedHistory>(*source->database, parsed, merges);
                source->history->setReadsBodies(false);
            } catch (const HistoryQueryError &error) {
                answer.error = error;
                return answer;
            }
            answer.total = source->history->count();
            answer.first = source->history->pageAfter(std::nullopt, pageSize);
            answer.source = source;
            return answer;
        },
        [this](const Answer &answer) { show(answer); }, {},
        [this, generation] { return m_generation == generation; });
}

void HistoryListModel::show(const Answer &answer)
{
    m_source = answer.source;
    if (answer.error) {
        clearRows();
        setTotal(0);
        setError(answer.error->message(), int(answer.error->position()),
                 int(answer.error->length()));
        setLoading(false);
        return;
    }
    m_cursor = answer.first.end;
    m_exhausted = answer.first.commits.size() < pageSize;
    setRecords(answer.first.commits);
    setTotal(answer.total);
    setError({});
    setLoading(false);
}

QVariant HistoryListModel::data(const QModelIndex &index, int role) const
{
    if (role != m_bodyRole || !m_source
        || !checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return RecordList::data(index, role);
    try {
        return m_source->history->body(records().at(index.row()).id);
    } catch (const SQLiteError &) {
        return QString();
    }
}

bool HistoryListModel::canFetchMore(const QModelIndex &parent) const
{
    return !parent.isValid() && m_source && !m_exhausted && !m_loading && !m_fetching;
}

void HistoryListModel::fetchMore(const QModelIndex &parent)
{
    if (!canFetchMore(parent))
        return;
    // Views may ask for more while the rows are being inserted; those rows come first.
    const QScopedValueRollback fetching(m_fetching, true);
    try {
        const HistoryPage page = m_source->history->pageAfter(m_cursor, pageSize);
        m_exhausted = page.commits.size() < pageSize;
        if (page.end)
            m_cursor = page.end;
        appendRecords(page.commits);
    } catch (const std::exception &error) {
        m_exhausted = true;
        setError(userMessage(error));
    }
}

void HistoryListModel::clearRows()
{
    m_cursor.reset();
    m_exhausted = true;
    setRecords({});
}

void HistoryListModel::setLoading(bool loading)
{
    if (m_loading == loading)
        return;
    m_loading = loading;
    Q_EMIT isLoadingChanged();
}

void HistoryListModel::setTotal(qint64 total)
{
    if (m_total == total)
        return;
    m_total = total;
    Q_EMIT totalChanged();
}

void HistoryListModel::setError(const QString &message, int position, int length)
{
    if (m_error == message && m_errorPosition == position && m_errorLength == length)
        return;
    m_error = message;
    m_errorPosition = message.isEmpty() ? -1 : position;
    m_errorLength = message.isEmpty() ? -1 : length;
    Q_EMIT errorChanged();
}

} // namespace strataloom
