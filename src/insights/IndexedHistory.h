#pragma once

#include "git/GitRecords.h"
#include "index/SQLite.h"
#include "insights/HistoryQuery.h"

#include <QList>
#include <QString>

#include <optional>
#include <variant>

namespace strataloom {

/// @brief Where a page of history ends: the last row's commit time and row id.
struct HistoryCursor
{
    qint64 committerTime = 0;
    qint64 id = 0;

    bool operator==(const HistoryCursor &) const = default;
};

/// @brief Rows of history and the cursor after the last of them (none for an empty page).
struct HistoryPage
{
    QList<CommitRecord> commits;
    std::optional<HistoryCursor> end;
};

/**
 * @brief The commits of an index that match one query, newest first: reachable commits by
 * commit date, then by the order they were stored, latest first (so equal dates keep one order).
 *
 * Records are those of the git history lists: the author's name and e-mail, the author date
 * (invalid when the commit has none), subject, body, and the lines and files the commit changed
 * (nothing for merges, as git's --numstat gives).
 *
 * The matching commits are those stored when the object was made: commits written afterwards
 * never appear, so a list paged with pageAfter() neither repeats nor skips a row while a
 * synchronisation adds commits. Commits that become unreachable meanwhile drop out.
 *
 * Everything runs on the connection given, which must outlive the object and be used by one
 * thread at a time. A `ref:` term's commits are kept in a temporary table of that connection
 * for the object's life.
 */
class IndexedHistory
{
public:
    /**
     * @brief Resolves @p query over @p database: authors, file names, refs. With
     * @p mergeIdentities an `author:` term matches every commit of the people it names
     * (authorAliasIDs()); without, the commits whose recorded name or e-mail holds it. Throws
     * HistoryQueryError for a ref the index does not know, SQLiteError otherwise.
     */
    IndexedHistory(SQLiteDatabase &database, const HistoryQuery &query,
                   bool mergeIdentities = true);
    ~IndexedHistory();
    IndexedHistory(const IndexedHistory &) = delete;
    IndexedHistory &operator=(const IndexedHistory &) = delete;

    /**
     * @brief False: rows leave the body empty, for body() to give when it is asked for. A long
     * list then holds a fraction of the memory, and its pages read no message text (the
     * longest part of a commit's row) from the file.
     */
    void setReadsBodies(bool reads) { m_readsBodies = reads; }
    /// @brief The body of the commit @p sha as the rows give it; empty when it has none.
    QString body(const QString &sha);

    /// @brief How many commits match.
    qint64 count();
    /// @brief Where each matching commit stands, in the list's order: the cursor after row r is
    /// element r, so that any page can be read with pageAfter() from the one before it.
    QList<HistoryCursor> keys();
    /// @brief The matching commit with full hash @p sha, as the rows give it; none when it does
    /// not match (or the index lacks it).
    std::optional<CommitRecord> commit(const QString &sha);
    /// @brief The matching commits from @p offset on, at most @p limit of them (all when
    /// @p limit is 0 or less).
    QList<CommitRecord> page(qint64 offset, qint64 limit);
    /// @brief The next @p limit matching commits after @p after (from the first when none).
    HistoryPage pageAfter(const std::optional<HistoryCursor> &after, qint64 limit);

private:
    using Value = std::variant<qint64, QString>;

    void add(const HistoryQueryTerm &term);
    void addPath(const QString &path);
    void addAuthor(const QString &text);
    void addRef(const HistoryQueryTerm &term);
    bool searchRowsAreCommitIDs();
    QString bindingPlaceholder(const Value &value);
    void bindAll(SQLiteStatement &statement) const;
    HistoryPage rows(const QString &extraCondition, const QList<Value> &extraValues, qint64 limit,
                     qint64 offset);

    SQLiteDatabase &m_database;
    bool m_mergeIdentities;
    QStringList m_conditions;
    QList<Value> m_values;
    QStringList m_temporaryTables;
    QStringList m_words; ///< full-text terms, in the search engine's syntax
    bool m_readsBodies = true;
};

} // namespace strataloom
