#include "app/FileTreeModel.h"

#include "index/SQLite.h"

#include <QDateTime>

namespace strataloom {

namespace {

QVariant dateOf(qint64 seconds)
{
    return seconds >= 1 ? QVariant(QDateTime::fromSecsSinceEpoch(seconds, Qt::UTC)) : QVariant();
}

} // namespace

FileTreeListing::FileTreeListing(const FileTreeModel &tree, QObject *parent)
    : QAbstractListModel(parent)
    , m_tree(tree)
{ }

int FileTreeListing::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_nodes.size());
}

QVariant FileTreeListing::data(const QModelIndex &index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    return m_tree.nodeData(m_nodes[size_t(index.row())], role);
}

QHash<int, QByteArray> FileTreeListing::roleNames() const
{
    return {
        {FileTreeModel::PathRole, "path"},
        {FileTreeModel::CommitsRole, "commits"},
        {FileTreeModel::AuthorsRole, "authors"},
        {FileTreeModel::LastChangeRole, "lastChange"},
        {FileTreeModel::LastAuthorRole, "lastAuthor"},
    };
}

void FileTreeListing::setNodes(std::vector<int> nodes)
{
    const bool countChanges = nodes.size() != m_nodes.size();
    beginResetModel();
    m_nodes = std::move(nodes);
    endResetModel();
    if (countChanges)
        Q_EMIT countChanged();
}

FileTreeModel::FileTreeModel(QObject *parent)
    : QAbstractListModel(parent)
    , m_tasks(this, [this](const QString &message) {
        setError(message);
        setLoading(false);
    })
    , m_listing(new FileTreeListing(*this, this))
{
    m_tree = buildFileTree({});
}

FileTreeModel::~FileTreeModel() = default;

void FileTreeModel::setSource(const QString &database, bool mergeIdentities)
{
    const bool wasAvailable = isAvailable();
    const bool otherDatabase = database != m_database;
    m_database = database;
    m_mergeIdentities = mergeIdentities;
    if (otherDatabase)
        setReady(false);
    if (wasAvailable != isAvailable())
        Q_EMIT isAvailableChanged();
    reload();
}

void FileTreeModel::reload()
{
    const quint64 generation = ++m_generation;
    if (!isAvailable()) {
        setTree({}, false);
        setReady(false);
        setError({});
        setLoading(false);
        return;
    }
    setLoading(true);
    m_tasks.run(
        [path = m_database, merge = m_mergeIdentities] {
            SQLiteDatabase database(path, SQLiteDatabase::Mode::ReadOnly);
            return readFileTree(database, merge);
        },
        [this, merge = m_mergeIdentities](const FileTree &tree) {
            setTree(tree, merge);
            setError({});
            setReady(true);
            setLoading(false);
        },
        {}, [this, generation] { return m_generation == generation; });
}

void FileTreeModel::setTree(FileTree tree, bool countsPeople)
{
    if (tree.nodes.empty())
        tree = buildFileTree({});
    m_shownPaths.clear();
    m_shownPaths.reserve(qsizetype(m_rows.size()));
    for (const int node : m_rows)
        m_shownPaths.append(m_tree.nodes[size_t(node)].path);
    m_tree = std::move(tree);
    m_countsPeople = countsPeople;
    markMatches();
    rebuildRows();
    Q_EMIT treeChanged();
}

void FileTreeModel::setFilter(const QString &filter)
{
    if (filter == m_filter)
        return;
    m_filter = filter;
    m_collapsedInFilter.clear();
    markMatches();
    rebuildRows();
    Q_EMIT filterChanged();
}

void FileTreeModel::markMatches()
{
    const std::vector<FileTreeNode> &nodes = m_tree.nodes;
    m_matches.assign(nodes.size(), m_filter.isEmpty() ? 1 : 0);
    std::vector<int> files;
    for (size_t node = 1; node < nodes.size(); ++node) {
        if (nodes[node].isFolder || !nodes[node].path.contains(m_filter, Qt::CaseInsensitive))
            continue;
        for (int at = int(node); at >= 0 && !m_matches[size_t(at)]; at = nodes[size_t(at)].parent)
            m_matches[size_t(at)] = 1;
    }
    // Every file the filter keeps, in the tree's order, for the export.
    std::vector<int> stack {0};
    while (!stack.empty()) {
        const int node = stack.back();
        stack.pop_back();
        const FileTreeNode &entry = nodes[size_t(node)];
        if (!entry.isFolder) {
            files.push_back(node);
            continue;
        }
        for (auto child = entry.children.crbegin(); child != entry.children.crend(); ++child) {
            if (m_matches[size_t(*child)])
                stack.push_back(*child);
        }
    }
    const int matches = int(files.size());
    m_listing->setNodes(std::move(files));
    if (matches != m_matchCount) {
        m_matchCount = matches;
        Q_EMIT matchCountChanged();
    }
}

bool FileTreeModel::isExpanded(int node) const
{
    const QString &path = m_tree.nodes[size_t(node)].path;
    return m_filter.isEmpty() ? m_expanded.contains(path) : !m_collapsedInFilter.contains(path);
}

void FileTreeModel::appendVisible(int folder, std::vector<int> &rows) const
{
    for (const int child : m_tree.nodes[size_t(folder)].children) {
        if (!m_matches[size_t(child)])
            continue;
        rows.push_back(child);
        if (m_tree.nodes[size_t(child)].isFolder && isExpanded(child))
            appendVisible(child, rows);
    }
}

void FileTreeModel::rebuildRows()
{
    std::vector<int> rows;
    appendVisible(0, rows);
    // The same rows as before (a reload that changed only figures) keep the view where it is;
    // anything else starts it afresh.
    if (!m_rows.empty() && rows.size() == m_rows.size() && m_shownPaths.size() == qsizetype(rows.size())) {
        bool same = true;
        for (size_t row = 0; same && row < rows.size(); ++row)
            same = m_tree.nodes[size_t(rows[row])].path == m_shownPaths[qsizetype(row)];
        if (same) {
            m_rows = std::move(rows);
            m_shownPaths.clear();
            Q_EMIT dataChanged(index(0), index(int(m_rows.size()) - 1));
            return;
        }
    }
    m_shownPaths.clear();
    const int before = int(m_rows.size());
    beginResetModel();
    m_rows = std::move(rows);
    endResetModel();
    if (before != int(m_rows.size()))
        Q_EMIT countChanged();
}

void FileTreeModel::toggle(int row)
{
    if (row >= 0 && size_t(row) < m_rows.size())
        setExpanded(row, !isExpanded(m_rows[size_t(row)]));
}

void FileTreeModel::setExpanded(int row, bool expanded)
{
    if (row < 0 || size_t(row) >= m_rows.size())
        return;
    const int node = m_rows[size_t(row)];
    const FileTreeNode &entry = m_tree.nodes[size_t(node)];
    if (!entry.isFolder || isExpanded(node) == expanded)
        return;
    if (m_filter.isEmpty()) {
        if (expanded)
            m_expanded.insert(entry.path);
        else
            m_expanded.remove(entry.path);
    } else if (expanded) {
        m_collapsedInFilter.remove(entry.path);
    } else {
        m_collapsedInFilter.insert(entry.path);
    }

    const auto first = m_rows.begin() + row + 1;
    if (expanded) {
        std::vector<int> added;
        appendVisible(node, added);
        if (!added.empty()) {
            beginInsertRows({}, row + 1, row + int(added.size()));
            m_rows.insert(first, added.cbegin(), added.cend());
            endInsertRows();
            Q_EMIT countChanged();
        }
    } else {
        const auto last = std::find_if(first, m_rows.end(), [&](int other) {
            return m_tree.nodes[size_t(other)].depth <= entry.depth;
        });
        if (last != first) {
            beginRemoveRows({}, row + 1, row + int(last - first));
            m_rows.erase(first, last);
            endRemoveRows();
            Q_EMIT countChanged();
        }
    }
    const QModelIndex changed = index(row);
    Q_EMIT dataChanged(changed, changed, {IsExpandedRole});
}

int FileTreeModel::parentRow(int row) const
{
    if (row < 0 || size_t(row) >= m_rows.size())
        return -1;
    const int parent = m_tree.nodes[size_t(m_rows[size_t(row)])].parent;
    for (int at = row - 1; at >= 0; --at) {
        if (m_rows[size_t(at)] == parent)
            return at;
    }
    return -1;
}

int FileTreeModel::rowOfPath(const QString &path) const
{
    const int node = m_tree.find(path);
    if (node <= 0)
        return -1;
    const auto found = std::find(m_rows.cbegin(), m_rows.cend(), node);
    return found == m_rows.cend() ? -1 : int(found - m_rows.cbegin());
}

QVariantMap FileTreeModel::fileAt(int row) const
{
    if (row < 0 || size_t(row) >= m_rows.size())
        return {};
    const FileTreeNode &entry = m_tree.nodes[size_t(m_rows[size_t(row)])];
    if (entry.isFolder)
        return {};
    return {
        {QStringLiteral("path"), entry.path},
        {QStringLiteral("status"), QStringLiteral("tracked")},
        {QStringLiteral("lastCommitDate"), dateOf(entry.lastChange)},
        {QStringLiteral("lastAuthor"), entry.lastAuthor},
    };
}

int FileTreeModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_rows.size());
}

QVariant FileTreeModel::data(const QModelIndex &index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    return nodeData(m_rows[size_t(index.row())], role);
}

QVariant FileTreeModel::nodeData(int node, int role) const
{
    const FileTreeNode &entry = m_tree.nodes[size_t(node)];
    switch (role) {
    case Qt::DisplayRole:
    case NameRole:
        return entry.name;
    case PathRole:
        return entry.path;
    case DepthRole:
        return entry.depth;
    case IsFolderRole:
        return entry.isFolder;
    case IsExpandedRole:
        return entry.isFolder && isExpanded(node);
    case FileCountRole:
        return entry.fileCount;
    case CommitsRole:
        return entry.commits;
    case AuthorsRole:
        return entry.authors;
    case LastChangeRole:
        return dateOf(entry.lastChange);
    case LastAuthorRole:
        return entry.lastAuthor;
    default:
        return {};
    }
}

QHash<int, QByteArray> FileTreeModel::roleNames() const
{
    return {
        {NameRole, "name"},
        {PathRole, "path"},
        {DepthRole, "depth"},
        {IsFolderRole, "isFolder"},
        {IsExpandedRole, "isExpanded"},
        {FileCountRole, "fileCount"},
        {CommitsRole, "commits"},
        {AuthorsRole, "authors"},
        {LastChangeRole, "lastChange"},
        {LastAuthorRole, "lastAuthor"},
    };
}

void FileTreeModel::setLoading(bool loading)
{
    if (loading == m_loading)
        return;
    m_loading = loading;
    Q_EMIT isLoadingChanged();
}

void FileTreeModel::setError(const QString &message)
{
    if (message == m_error)
        return;
    m_error = message;
    Q_EMIT errorChanged();
}

void FileTreeModel::setReady(bool ready)
{
    if (ready == m_ready)
        return;
    m_ready = ready;
    Q_EMIT isReadyChanged();
}

} // namespace strataloom
