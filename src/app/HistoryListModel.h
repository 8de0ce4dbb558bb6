#pragma once

#include "app/BackgroundTasks.h"
#include "app/RecordModels.h"
#include "insights/IndexedHistory.h"

#include <QObject>
#include <QString>

#include <memory>
#include <optional>

namespace strataloom {

/**
 * @brief The commits of the open repository's index that match a query, newest first, read a
 * page at a time as a view scrolls (canFetchMore/fetchMore). Roles: those of CommitListModel.
 *
 * Each query is resolved and counted on the background pool over a connection of its own,
 * which then reads the next pages on the GUI thread (a page of 100 rows takes about a
 * millisecond). The rows are those stored when the query ran: a synchronisation that adds
 * commits meanwhile shows them at the next reload(), never as repeated or skipped rows.
 * Without an index (none yet, or it failed) the model is empty and isAvailable false.
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

    /// @brief The body role is read from the index when asked for: rows hold no bodies.
    QVariant data(const QModelIndex &index, int role) const override;
    bool canFetchMore(const QModelIndex &parent) const override;
    void fetchMore(const QModelIndex &parent) override;

Q_SIGNALS:
    void queryChanged();
    void isAvailableChanged();
    void isLoadingChanged();
    void totalChanged();
    void errorChanged();

private:
    struct Source;
    struct Answer;

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
    std::optional<HistoryCursor> m_cursor;
    bool m_exhausted = true;
    bool m_fetching = false;
    bool m_loading = false;
    qint64 m_total = 0;
    QString m_error;
    int m_errorPosition = -1;
    int m_errorLength = -1;
    int m_bodyRole = -1;
    quint64 m_generation = 0;
};

} // namespace strataloom
