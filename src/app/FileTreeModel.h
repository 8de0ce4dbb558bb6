#pragma once

#include "app/BackgroundTasks.h"
#include "insights/FileTree.h"

#include <QAbstractListModel>
#include <QSet>
#include <QString>
#include <QVariantMap>

#include <vector>

namespace strataloom {

class FileTreeModel;

/**
 * @brief The files a FileTreeModel lists under its filter (every file, also inside collapsed
 * folders), in the tree's order, one row each: what "Export CSV" saves.
 *
 * Roles: path, commits, authors, lastChange (date or null), lastAuthor, as in FileTreeModel.
 */
class FileTreeListing : public QAbstractListModel
{
    Q_OBJECT
    Q_PROPERTY(int count READ count NOTIFY countChanged)

public:
    explicit FileTreeListing(const FileTreeModel &tree, QObject *parent = nullptr);

    int count() const { return rowCount(); }
    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

Q_SIGNALS:
    void countChanged();

private:
    friend class FileTreeModel;
    void setNodes(std::vector<int> nodes);

    const FileTreeModel &m_tree;
    std::vector<int> m_nodes;
};

/**
 * @brief HEAD's files as a folder tree, read from the open repository's index, with per file and
 * per folder the commits that changed it, their distinct authors and the last change.
 *
 * A flat list of the rows in view, each with its depth: a folder's entries follow it while it is
 * expanded. Folders come first, then files, each by name. A filter keeps the files whose path
 * holds its text (without case) and the folders above them, all expanded; collapsing one while
 * filtering lasts until the filter changes. Folders expanded without a filter stay expanded
 * across filters and reloads.
 *
 * The tree is read on the background pool; until the first one arrives isReady is false.
 *
 * Roles, one line each:
 *   name: the last part of the path;
 *   path: the whole path;
 *   depth: 0 for the repository's top level, one more per folder;
 *   isFolder, isExpanded: a folder, and whether its entries are listed below it;
 *   fileCount: files at or under the row (1 for a file);
 *   commits, authors: commits that changed the file or anything under the folder (each once),
 *     and their distinct authors;
 *   lastChange: the newest of those commits' author date, or null;
 *   lastAuthor: that commit's author as recorded.
 */
class FileTreeModel : public QAbstractListModel
{
    Q_OBJECT
    Q_PROPERTY(int count READ count NOTIFY countChanged)
    /// True while the model reads an index; false before the first one is ready.
    Q_PROPERTY(bool isAvailable READ isAvailable NOTIFY isAvailableChanged)
    /// True once a tree of the current index has been read.
    Q_PROPERTY(bool isReady READ isReady NOTIFY isReadyChanged)
    Q_PROPERTY(bool isLoading READ isLoading NOTIFY isLoadingChanged)
    /// Why the tree could not be read; empty when nothing went wrong.
    Q_PROPERTY(QString error READ error NOTIFY errorChanged)
    /// Every file of the tree, whatever the filter.
    Q_PROPERTY(int fileCount READ fileCount NOTIFY treeChanged)
    /// True when authors are counted as people (merged identities), false for recorded names.
    Q_PROPERTY(bool countsPeople READ countsPeople NOTIFY treeChanged)
    Q_PROPERTY(QString filter READ filter WRITE setFilter NOTIFY filterChanged)
    /// The files the filter keeps.
    Q_PROPERTY(int matchCount READ matchCount NOTIFY matchCountChanged)
    Q_PROPERTY(strataloom::FileTreeListing *listing READ listing CONSTANT)

public:
    enum Role {
        NameRole = Qt::UserRole + 1,
        PathRole,
        DepthRole,
        IsFolderRole,
        IsExpandedRole,
        FileCountRole,
        CommitsRole,
        AuthorsRole,
        LastChangeRole,
        LastAuthorRole,
    };

    explicit FileTreeModel(QObject *parent = nullptr);
    ~FileTreeModel() override;

    /**
     * @brief Reads the tree from the index database at @p database ("" for none), authors as
     * people when @p mergeIdentities. The rows shown stay until the new tree arrives.
     */
    void setSource(const QString &database, bool mergeIdentities);
    /// @brief Reads the index again, for example after it took in new commits.
    void reload();
    QString database() const { return m_database; }
    /// @brief Shows @p tree as if read from the index (people: @p countsPeople).
    void setTree(FileTree tree, bool countsPeople);

    int count() const { return rowCount(); }
    bool isAvailable() const { return !m_database.isEmpty(); }
    bool isReady() const { return m_ready; }
    bool isLoading() const { return m_loading; }
    QString error() const { return m_error; }
    int fileCount() const { return m_tree.nodes.empty() ? 0 : m_tree.root().fileCount; }
    bool countsPeople() const { return m_countsPeople; }
    QString filter() const { return m_filter; }
    void setFilter(const QString &filter);
    int matchCount() const { return m_matchCount; }
    FileTreeListing *listing() const { return m_listing; }
    int runningTaskCount() const { return m_tasks.running(); }
    const FileTree &tree() const { return m_tree; }

    /// @brief Expands a collapsed folder's row, collapses an expanded one; files do nothing.
    Q_INVOKABLE void toggle(int row);
    Q_INVOKABLE void setExpanded(int row, bool expanded);
    /// @brief The row of the folder that holds @p row's entry; -1 at the top level.
    Q_INVOKABLE int parentRow(int row) const;
    /// @brief The row of @p path, or -1 when it is not in view.
    Q_INVOKABLE int rowOfPath(const QString &path) const;
    /// @brief The file of @p row as the selection takes it ({path, status, lastCommitDate,
    /// lastAuthor}); empty for a folder or a row out of range.
    Q_INVOKABLE QVariantMap fileAt(int row) const;

    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

Q_SIGNALS:
    void countChanged();
    void isAvailableChanged();
    void isReadyChanged();
    void isLoadingChanged();
    void errorChanged();
    void treeChanged();
    void filterChanged();
    void matchCountChanged();

private:
    friend class FileTreeListing;
    QVariant nodeData(int node, int role) const;
    bool isExpanded(int node) const;
    void appendVisible(int folder, std::vector<int> &rows) const;
    void markMatches();
    void rebuildRows();
    void setLoading(bool loading);
    void setError(const QString &message);
    void setReady(bool ready);

    BackgroundTasks m_tasks;
    QString m_database;
    bool m_mergeIdentities = false;
    FileTree m_tree;
    bool m_countsPeople = false;
    std::vector<int> m_rows; ///< node of each row
    QStringList m_shownPaths; ///< the rows' paths before a new tree replaced the old one
    std::vector<char> m_matches; ///< per node: the filter keeps it
    QSet<QString> m_expanded; ///< folders expanded without a filter
    QSet<QString> m_collapsedInFilter; ///< folders collapsed under the current filter
    QString m_filter;
    int m_matchCount = 0;
    FileTreeListing *m_listing;
    bool m_ready = false;
    bool m_loading = false;
    QString m_error;
    quint64 m_generation = 0;
};

} // namespace strataloom
