#include "app/IndexedGraphModel.h"

#include "app/RecordModels.h"
#include "index/IndexedGraph.h"
#include "index/SQLite.h"
#include "insights/IndexedHistory.h"

#include <QMetaObject>
#include <QThreadPool>

#include <algorithm>
#include <stdexcept>

namespace strataloom {

namespace {

/// Pages read at once; more would only compete for the pool with pages already scrolled past.
constexpr int concurrentPages = 2;
/// Pages waiting to be read; older wishes are forgotten (a fast scroll asks for many pages).
constexpr int queuedPages = 6;

/// @brief The lanes that a row hands down to the next one.
int lanesBelow(const LaneRow &row)
{
    int count = 0;
    for (const auto &edge : row.edges)
        count = std::max(count, edge.second + 1);
    return count;
}

bool sameCommits(const CommitLaneLayout &a, const CommitLaneLayout &b)
{
    if (a.rowCount() != b.rowCount())
        return false;
    for (int row = 0; row < a.rowCount(); ++row) {
        if (a.history().commits()[size_t(a.commitAt(row))].sha
            != b.history().commits()[size_t(b.commitAt(row))].sha)
            return false;
    }
    return true;
}

} // namespace

/// @brief What reading an index hands back: the layout of its history and its first page, or
/// only that the history is the one shown already.
struct IndexedGraphModel::Opened
{
    std::shared_ptr<CommitLaneLayout> layout;
    QList<Row> first;
    bool unchanged = false;
};

IndexedGraphModel::IndexedGraphModel(QObject *parent)
    : QAbstractListModel(parent)
    , m_tasks(this, [this](const QString &message) {
        setError(message);
        setLoading(false);
    })
{ }

IndexedGraphModel::~IndexedGraphModel()
{
    if (m_layoutCancelled)
        m_layoutCancelled->store(true);
}

void IndexedGraphModel::setSource(const QString &repository, const QString &database)
{
    const bool wasAvailable = isAvailable();
    m_repository = repository;
    m_database = repository.isEmpty() ? QString() : database;
    if (wasAvailable != isAvailable())
        Q_EMIT isAvailableChanged();
    reload();
}

void IndexedGraphModel::reload()
{
    const quint64 generation = ++m_generation;
    if (!isAvailable()) {
        clear();
        setError({});
        setLoading(false);
        return;
    }
    setLoading(true);
    m_tasks.run(
        [repository = m_repository, database = m_database, shown = m_layout] {
            Opened opened;
            std::optional<IndexedGraph> history = IndexedGraph::load(database);
            if (!history)
                throw std::runtime_error("The index has not been written yet.");
            auto layout = std::make_shared<CommitLaneLayout>(
                std::make_shared<const IndexedGraph>(std::move(*history)));
            if (shown && sameCommits(*shown, *layout)) {
                opened.unchanged = true;
                return opened;
            }
            opened.first = readPage(repository, *layout, 0);
            opened.layout = std::move(layout);
            return opened;
        },
        [this](const Opened &opened) { show(opened); }, {},
        [this, generation] { return m_generation == generation; });
}

void IndexedGraphModel::show(const Opened &opened)
{
    setError({});
    setLoading(false);
    if (opened.unchanged) {
        // The same commits, perhaps with other refs on them: read the texts again in place.
        m_pages.clear();
        m_queued.clear();
        m_failed.clear();
        ++m_generation;
        if (rowCount() > 0)
            Q_EMIT dataChanged(index(0), index(rowCount() - 1));
        return;
    }
    const int oldCount = rowCount();
    beginResetModel();
    if (m_layoutCancelled)
        m_layoutCancelled->store(true);
    m_layout = opened.layout;
    m_pages.clear();
    m_queued.clear();
    m_failed.clear();
    m_pages.insert(0, Page {opened.first, ++m_uses});
    endResetModel();
    if (rowCount() != oldCount)
        Q_EMIT countChanged();

    // Lay out the rest once, so that a page far down starts at a checkpoint near it.
    const auto cancelled = std::make_shared<std::atomic_bool>(false);
    m_layoutCancelled = cancelled;
    BackgroundTasks::pool()->start([layout = m_layout, cancelled] {
        layout->layOutAll([&cancelled] { return cancelled->load(); });
    });
}

void IndexedGraphModel::clear()
{
    if (m_layoutCancelled)
        m_layoutCancelled->store(true);
    const bool hadRows = rowCount() > 0;
    beginResetModel();
    m_layout.reset();
    m_pages.clear();
    m_queued.clear();
    m_failed.clear();
    endResetModel();
    if (hadRows)
        Q_EMIT countChanged();
}

QList<IndexedGraphModel::Row> IndexedGraphModel::readPage(const QString &repository,
                                                          CommitLaneLayout &layout, int page)
{
    const int first = page * pageSize;
    // The row above the page tells which lanes enter the page's first row from above.
    QList<LaneRow> lanes = layout.rows(std::max(first - 1, 0), pageSize + (first > 0 ? 1 : 0));
    int above = 0;
    if (first > 0 && !lanes.isEmpty())
        above = lanesBelow(lanes.takeFirst());
    const QList<GraphCommitRecord> records = laneGraphRecords(repository, layout.history(), lanes);
    QList<Row> rows;
    rows.reserve(lanes.size());
    qsizetype lane = 0;
    for (const GraphCommitRecord &record : records) {
        if (record.isConnector())
            continue;
        const LaneRow &row = lanes.at(lane++);
        rows.append(Row {record, row, above});
        above = lanesBelow(row);
    }
    return rows;
}

const IndexedGraphModel::Row *IndexedGraphModel::rowAt(int row) const
{
    const auto page = m_pages.find(row / pageSize);
    if (page == m_pages.end()) {
        request(row / pageSize);
        return nullptr;
    }
    page->lastUse = ++m_uses;
    const qsizetype at = row % pageSize;
    return at < page->rows.size() ? &page->rows.at(at) : nullptr;
}

bool IndexedGraphModel::isLoaded(int row) const
{
    return row >= 0 && row < rowCount() && m_pages.contains(row / pageSize);
}

void IndexedGraphModel::request(int page) const
{
    if (m_running.contains(page) || m_failed.contains(page))
        return;
    m_queued.removeOne(page);
    m_queued.append(page);
    if (m_queued.size() > queuedPages)
        m_queued.remove(0, m_queued.size() - queuedPages);
    // Views ask while they draw: start the reads once they are done asking, latest first.
    if (m_startScheduled)
        return;
    m_startScheduled = true;
    auto *self = const_cast<IndexedGraphModel *>(this);
    QMetaObject::invokeMethod(
        self,
        [self] {
            self->m_startScheduled = false;
            self->startRequests();
        },
        Qt::QueuedConnection);
}

void IndexedGraphModel::startRequests()
{
    while (m_running.size() < concurrentPages && !m_queued.isEmpty() && m_layout) {
        const int page = m_queued.takeLast();
        if (m_pages.contains(page))
            continue;
        m_running.append(page);
        const quint64 generation = m_generation;
        const auto finished = [this, page, generation] {
            m_running.removeOne(page);
            return m_generation == generation;
        };
        m_tasks.run([repository = m_repository, layout = m_layout,
                     page] { return readPage(repository, *layout, page); },
                    [this, page](const QList<Row> &rows) {
                        keep(page, rows);
                        startRequests();
                    },
                    [this, page, finished](const QString &message) {
                        if (!finished())
                            return;
                        m_failed.insert(page);
                        setError(message);
                        startRequests();
                    },
                    // A page read for a history no longer shown is dropped.
                    [this, finished] {
                        if (finished())
                            return true;
                        startRequests();
                        return false;
                    });
    }
}

void IndexedGraphModel::keep(int page, QList<Row> rows)
{
    if (rows.isEmpty())
        return;
    while (m_pages.size() >= cachedPages) {
        auto oldest
            = std::min_element(m_pages.begin(), m_pages.end(),
                               [](const Page &a, const Page &b) { return a.lastUse < b.lastUse; });
        m_pages.erase(oldest);
    }
    const int first = page * pageSize;
    const int count = int(rows.size());
    m_pages.insert(page, Page {std::move(rows), ++m_uses});
    Q_EMIT dataChanged(index(first), index(first + count - 1));
    Q_EMIT pageLoaded(first, count);
}

QString IndexedGraphModel::hashAt(int row) const
{
    if (!m_layout || row < 0 || row >= m_layout->rowCount())
        return {};
    return m_layout->history().commits()[size_t(m_layout->commitAt(row))].sha;
}

int IndexedGraphModel::rowOfHash(const QString &hash) const
{
    if (!m_layout)
        return -1;
    const int commit = m_layout->history().find(hash);
    if (commit < 0)
        return -1;
    for (int row = 0; row < m_layout->rowCount(); ++row) {
        if (m_layout->commitAt(row) == commit)
            return row;
    }
    return -1;
}

QVariantMap IndexedGraphModel::get(int row) const
{
    QVariantMap map;
    if (row < 0 || row >= rowCount())
        return map;
    const QHash<int, QByteArray> names = roleNames();
    for (auto name = names.begin(); name != names.end(); ++name)
        map.insert(QString::fromLatin1(name.value()), data(index(row), name.key()));
    return map;
}

QVariantMap IndexedGraphModel::commitAt(int row) const
{
    const QString sha = hashAt(row);
    if (sha.isEmpty() || m_database.isEmpty())
        return {};
    try {
        SQLiteDatabase database(m_database);
        IndexedHistory history(database, HistoryQuery());
        const std::optional<CommitRecord> commit = history.commit(sha);
        return commit ? toVariantMap(*commit) : QVariantMap();
    } catch (const std::exception &) {
        return {};
    }
}

int IndexedGraphModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() || !m_layout ? 0 : m_layout->rowCount();
}

QVariant IndexedGraphModel::data(const QModelIndex &index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    if (role == HashRole)
        return hashAt(index.row());
    if (role == IsConnectorRole)
        return false;
    const Row *row = rowAt(index.row());
    if (role == IsLoadedRole)
        return row != nullptr;
    if (!row) {
        if (role == LaneRowRole)
            return QVariantMap();
        return role == Qt::DisplayRole || (role >= IdRole && role <= DecorationsRole)
            ? QVariant(QString())
            : QVariant();
    }
    switch (role) {
    case IdRole:
        return row->text.id;
    case GraphRole:
        return row->text.graph;
    case ShortHashRole:
        return row->text.shortHash;
    case RelativeDateRole:
        return row->text.relativeDate;
    case Qt::DisplayRole:
    case SubjectRole:
        return row->text.subject;
    case AuthorRole:
        return row->text.author;
    case DecorationsRole:
        return row->text.decorations;
    case LaneRowRole: {
        QVariantList edges;
        edges.reserve(row->lanes.edges.size() * 2);
        for (const auto &[from, to] : row->lanes.edges)
            edges << from << to;
        return QVariantMap {{QStringLiteral("lane"), row->lanes.lane},
                            {QStringLiteral("laneCount"), row->lanes.laneCount},
                            {QStringLiteral("lanesAbove"), row->lanesAbove},
                            {QStringLiteral("edges"), edges}};
    }
    default:
        return {};
    }
}

QHash<int, QByteArray> IndexedGraphModel::roleNames() const
{
    return {{IdRole, "id"},
            {GraphRole, "graph"},
            {ShortHashRole, "shortHash"},
            {RelativeDateRole, "relativeDate"},
            {SubjectRole, "subject"},
            {AuthorRole, "author"},
            {DecorationsRole, "decorations"},
            {IsConnectorRole, "isConnector"},
            {HashRole, "hash"},
            {LaneRowRole, "laneRow"},
            {IsLoadedRole, "isLoaded"}};
}

void IndexedGraphModel::setLoading(bool loading)
{
    if (m_loading == loading)
        return;
    m_loading = loading;
    Q_EMIT isLoadingChanged();
}

void IndexedGraphModel::setError(const QString &message)
{
    if (m_error == message)
        return;
    m_error = message;
    Q_EMIT errorChanged();
}

} // namespace strataloom
