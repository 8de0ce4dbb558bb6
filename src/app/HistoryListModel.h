#pragma once

#include "app/BackgroundTasks.h"
#include "app/RecordModels.h"
#include "insights/IndexedHistory.h"

#include <QHash>
#include <QObject>
#include <QString>

#include <memory>
#include <optional>

namespace strataloom {

/**
 * @brief The commits of the open repository's index that match a query, newest first, every
 * one a row from the start: a view's scroll bar spans the whole list and any row can be shown
 * at once (the End key, a drag to the bottom). Roles: those of CommitListModel.
 *
 * Each query is resolved on the background pool over a connection of its own, which hands back
 * where every matching commit stands (two numbers a commit) and the first page. Rows are then
 * read a page at a time on the GUI thread as views ask for them (a page of 100 rows takes about
 * a millisecond), and at most cachedPages pages are held. The rows are those stored when the
 * query ran: a synchronisation that adds commits meanwhile shows them at the next reload(),
 * never as repeated or skipped rows. Without an index (none yet, or it failed) the model is
 * empty and isAvailable false.
 */
class HistoryListModel : public RecordList<CommitRecord>
{
    Q_OBJECT
    /// The query text (the one language of History and Search); "" lists every commit.
    Q_PROPERTY(QString query READ query WRITE setQuery NOTIFY queryChanged)
    /// True while the model reads an index; false before the first one is ready.
    Q_PROPERTY(bool isAvailable READ isAvailable NOTIFY isAvailableChanged)
    Q_PROPERTY(bool isLoading READ isLoading NOTIFY isLoadingChanged)
    /// How many commits match, all pages together; 0 while none are known.
    Q_PROPERTY(int total READ total NOTIFY totalChanged)
    /// What is wrong with the query, or why it could not be answered; empty when nothing is.
    Q_PROPERTY(QString error READ error NOTIFY errorChanged)
    /// The part of the query the error is about: first character (0-based) and length; -1
    /// when the error is not about one part.
    Q_PROPERTY(int errorPosition READ errorPosition NOTIFY errorChanged)
    Q_PROPERTY(int errorLength READ errorLength NOTIFY errorChanged)

public:
    static constexpr int pageSize = 100;
    static constexpr int cachedPages = 40;

    explicit HistoryListModel(QObject *parent = nullptr);
    ~HistoryListModel() override;

    /// @brief Reads the index database at @p path from now on; "" reads none.
    void setDatabase(const QString &path);
    QString database() const { return m_database; }

    QString query() const { return m_query; }
    void setQuery(const QString &query);
    /// @brief Whether `author:` takes a person's other names and addresses along (the default)
    /// or matches the names and addresses as recorded.
    void setMergesIdentities(bool merges);
    bool mergesIdentities() const { return m_mergesIdentities; }
    bool isAvailable() const { return !m_database.isEmpty(); }
    bool isLoading() const { return m_loading; }
    int total() const { return int(m_total); }
    QString error() const { return m_error; }
    int errorPosition() const { return m_errorPosition; }
    int errorLength() const { return m_errorLength; }
    int runningTaskCount() const { return m_tasks.running(); }

    /// @brief Runs the query again, for example after the index took in new commits.
    Q_INVOKABLE void reload();

    /// Rows are read as they are shown: there is no list of them all to hand out.
    const QList<CommitRecord> &records() const = delete;
    /// @brief Pages held right now (for checks of the cache's bound).
    int cachedPageCount() const { return int(m_pages.size()); }

    int rowCount(const QModelIndex &parent = {}) const override;
    /// @brief The body role is read from the index when asked for: rows hold no bodies.
    QVariant data(const QModelIndex &index, int role) const override;

Q_SIGNALS:
    void queryChanged();
    void isAvailableChanged();
    void isLoadingChanged();
    void totalChanged();
    void errorChanged();

protected:
    const CommitRecord &recordAt(int row) const override;

private:
    struct Source;
    struct Answer;
    struct Page
    {
        QList<CommitRecord> commits;
        quint64 lastUse = 0;
    };

    void show(const Answer &answer);
    void clearRows();
    void setLoading(bool loading);
    void setTotal(qint64 total);
    void setError(const QString &message, int position = -1, int length = -1);

    BackgroundTasks m_tasks;
    QString m_database;
    QString m_query;
    bool m_mergesIdentities = true;
    std::shared_ptr<Source> m_source;
    QList<HistoryCursor> m_keys; ///< where each row's commit stands, in the rows' order
    // Filled from data(), which views call as they draw.
    mutable QHash<int, Page> m_pages;
    mutable quint64 m_uses = 0;
    bool m_loading = false;
    qint64 m_total = 0;
    QString m_error;
    int m_errorPosition = -1;
    int m_errorLength = -1;
    int m_bodyRole = -1;
    quint64 m_generation = 0;
};

} // namespace strataloom
