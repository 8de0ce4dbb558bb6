#pragma once

#include "app/BackgroundTasks.h"
#include "git/GitRecords.h"
#include "index/CommitLanes.h"

#include <QAbstractListModel>
#include <QHash>
#include <QList>
#include <QSet>
#include <QString>
#include <QVariantMap>

#include <atomic>
#include <memory>

namespace strataloom {

/**
 * @brief The commit graph of the whole history in the open repository's index, one row per
 * commit, newest first as `git log --graph --all --date-order` places them.
 *
 * One row per commit, not one per line of git's text drawing: the row count is the number of
 * commits, known as soon as the index is read, every row has the same height whatever lines
 * lead from it to the next, and a row draws its lanes from the row's LaneRow itself (lanes
 * entering from above, the dot, and every line to the next row), so no connector rows exist.
 *
 * Rows are filled a page at a time on the background pool (the lanes from the layout's nearest
 * checkpoint, the texts from git), the latest page asked for first; a row not loaded yet gives
 * its hash and isLoaded false. At most cachedPages pages are held. Once the first page is shown,
 * the whole history's lanes are laid out once in the background so that later pages anywhere
 * start from a checkpoint close by.
 *
 * Roles, one line each:
 *   id, graph, shortHash, relativeDate, subject, author, decorations, isConnector: as the rows
 *     of GraphListModel (graph: the commit's line of the text drawing; isConnector: false);
 *   hash: the full commit hash, known before the row is loaded;
 *   laneRow: {lane, laneCount, lanesAbove, edges: [from, to, from, to, ...]} for GraphRow;
 *   isLoaded: false while the row's page is still being read.
 */
class IndexedGraphModel : public QAbstractListModel
{
    Q_OBJECT
    Q_PROPERTY(int count READ count NOTIFY countChanged)
    /// True while the model reads an index; false before the first one is ready.
    Q_PROPERTY(bool isAvailable READ isAvailable NOTIFY isAvailableChanged)
    /// True while the history is being read, before its row count is known.
    Q_PROPERTY(bool isLoading READ isLoading NOTIFY isLoadingChanged)
    /// Why the history or a page of it could not be read; empty when nothing went wrong.
    Q_PROPERTY(QString error READ error NOTIFY errorChanged)

public:
    static constexpr int pageSize = 100;
    static constexpr int cachedPages = 24;

    enum Role {
        IdRole = Qt::UserRole + 1,
        GraphRole,
        ShortHashRole,
        RelativeDateRole,
        SubjectRole,
        AuthorRole,
        DecorationsRole,
        IsConnectorRole,
        HashRole,
        LaneRowRole,
        IsLoadedRole,
    };

    explicit IndexedGraphModel(QObject *parent = nullptr);
    ~IndexedGraphModel() override;

    /**
     * @brief Reads the index database at @p database of @p repository from now on ("" for
     * either: none). Rows already shown stay until the new history is read; a history equal to
     * the one shown changes nothing.
     */
    void setSource(const QString &repository, const QString &database);
    /// @brief Reads the index again, for example after it took in new commits.
    void reload();

    int count() const { return rowCount(); }
    bool isAvailable() const { return !m_database.isEmpty(); }
    bool isLoading() const { return m_loading; }
    QString error() const { return m_error; }
    int runningTaskCount() const { return m_tasks.running(); }
    /// @brief Pages held right now (for checks of the cache's bound).
    int cachedPageCount() const { return int(m_pages.size()); }
    /// @brief True when the row's page has been read.
    bool isLoaded(int row) const;

    /// @brief The full hash of the commit in @p row; "" out of range.
    Q_INVOKABLE QString hashAt(int row) const;
    /// @brief The row of the commit with full hash @p hash; -1 when the history lacks it.
    Q_INVOKABLE int rowOfHash(const QString &hash) const;
    /// @brief Row @p row as a map from role name to value (placeholders while not loaded).
    Q_INVOKABLE QVariantMap get(int row) const;
    /// @brief The commit of @p row as History's rows give it (what the inspector shows), read
    /// from the index; empty out of range or when the index cannot be read.
    Q_INVOKABLE QVariantMap commitAt(int row) const;

    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

Q_SIGNALS:
    void countChanged();
    void isAvailableChanged();
    void isLoadingChanged();
    void errorChanged();
    /// @brief Rows [@p first, @p first + @p count) have been read.
    void pageLoaded(int first, int count);

private:
    /// @brief A loaded row: its texts and its lanes.
    struct Row
    {
        GraphCommitRecord text;
        LaneRow lanes;
        int lanesAbove = 0;
    };
    struct Page
    {
        QList<Row> rows;
        quint64 lastUse = 0;
    };
    struct Opened;

    static QList<Row> readPage(const QString &repository, CommitLaneLayout &layout, int page);
    const Row *rowAt(int row) const;
    void request(int page) const;
    void startRequests();
    void keep(int page, QList<Row> rows);
    void show(const Opened &opened);
    void clear();
    void setLoading(bool loading);
    void setError(const QString &message);

    BackgroundTasks m_tasks;
    QString m_repository;
    QString m_database;
    std::shared_ptr<CommitLaneLayout> m_layout;
    /// Ends the background layout of the history shown before.
    std::shared_ptr<std::atomic_bool> m_layoutCancelled;
    // Filled from data(), which views call as they draw: the cache and the queue are mutable.
    mutable QHash<int, Page> m_pages;
    mutable quint64 m_uses = 0;
    mutable QList<int> m_queued; ///< pages asked for and not started, the latest last
    mutable bool m_startScheduled = false;
    QList<int> m_running; ///< pages being read
    QSet<int> m_failed; ///< pages that could not be read; not asked for again until a reload
    bool m_loading = false;
    QString m_error;
    quint64 m_generation = 0;
};

} // namespace strataloom
