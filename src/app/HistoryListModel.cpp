#include "app/HistoryListModel.h"

#include "index/SQLite.h"

#include <algorithm>

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

/// @brief What the background run of one query hands back: the source, where every matching
/// commit stands and the first page, or what is wrong with the query.
struct HistoryListModel::Answer
{
    std::shared_ptr<Source> source;
    QList<HistoryCursor> keys;
    QList<CommitRecord> first;
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
            answer.keys = source->history->keys();
            answer.first = source->history->pageAfter(std::nullopt, pageSize).commits;
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
    // The same commits again (a reload that found nothing new) keep the view where it is; the
    // pages held are read afresh from the new connection as they are asked for.
    const bool sameRows = answer.keys == m_keys;
    if (!sameRows)
        beginResetModel();
    m_keys = answer.keys;
    m_pages.clear();
    if (!answer.first.isEmpty())
        m_pages.insert(0, Page {answer.first, ++m_uses});
    if (!sameRows) {
        endResetModel();
        Q_EMIT countChanged();
    }
    setTotal(m_keys.size());
    setError({});
    setLoading(false);
}

int HistoryListModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_keys.size());
}

const CommitRecord &HistoryListModel::recordAt(int row) const
{
    static const CommitRecord unreadable;
    const int page = row / pageSize;
    auto found = m_pages.find(page);
    if (found == m_pages.end()) {
        if (!m_source)
            return unreadable;
        if (m_pages.size() >= cachedPages) {
            const auto oldest = std::min_element(
                m_pages.cbegin(), m_pages.cend(),
                [](const Page &a, const Page &b) { return a.lastUse < b.lastUse; });
            m_pages.erase(oldest);
        }
        Page read;
        try {
            const std::optional<HistoryCursor> after
                = page == 0 ? std::nullopt : std::optional(m_keys.at(page * pageSize - 1));
            read.commits = m_source->history->pageAfter(after, pageSize).commits;
        } catch (const std::exception &error) {
            // Told once the view is done drawing; the row shows empty meanwhile.
            auto *self = const_cast<HistoryListModel *>(this);
            QMetaObject::invokeMethod(
                self, [self, message = userMessage(error)] { self->setError(message); },
                Qt::QueuedConnection);
        }
        found = m_pages.insert(page, read);
    }
    found->lastUse = ++m_uses;
    const int at = row - page * pageSize;
    // A commit that became unreachable since the query ran leaves the page short.
    return at < found->commits.size() ? found->commits.at(at) : unreadable;
}

QVariant HistoryListModel::data(const QModelIndex &index, int role) const
{
    if (role != m_bodyRole || !m_source
        || !checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return RecordList::data(index, role);
    try {
        return m_source->history->body(recordAt(index.row()).id);
    } catch (const SQLiteError &) {
        return QString();
    }
}

void HistoryListModel::clearRows()
{
    if (m_keys.isEmpty() && m_pages.isEmpty())
        return;
    beginResetModel();
    m_keys.clear();
    m_pages.clear();
    endResetModel();
    Q_EMIT countChanged();
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
