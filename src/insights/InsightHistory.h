#pragma once

#include "insights/InsightRecords.h"

#include <QByteArray>
#include <QDateTime>
#include <QHash>
#include <QString>
#include <QStringList>

#include <functional>
#include <limits>
#include <optional>
#include <utility>
#include <vector>

namespace strataloom {
class SQLiteDatabase;
class SQLiteStatement;
}

// The index's tables as the aggregates read them: one pass over each, kept in memory. Run one by
// one, the aggregate queries scan the 400,000 change rows of a large history about ten times and
// take seconds; computed from these tables they take a fraction of one.

namespace strataloom::aggregates {

/// The id of an absent row (a NULL reference).
constexpr qint64 noID = std::numeric_limits<qint64>::min();

/// @brief The UTC instant @p seconds after the epoch; absent for 0 and before, as the index
/// stores unknown times.
std::optional<QDateTime> dateFromSeconds(qint64 seconds);

struct CommitRow
{
    qint64 id = 0;
    qint64 aliasID = noID;
    qint64 authorID = noID; // through the alias; absent without one
    qint64 time = 0;
    bool isMerge = false;
    bool byBot = false; // by an automation account kept out of the people figures
    // Over all change rows of the commit.
    qint64 rows = 0;
    qint64 additions = 0;
    qint64 deletions = 0;
};

struct Alias
{
    qint64 authorID = 0;
    QString email;
    QString name;
};

/// @brief The position of each id of a table read in ascending id order: a flat array over the
/// id range when the ids are dense (as row ids are), a hash otherwise.
class RowPositions
{
public:
    /// @brief Positions of @p ids, which ascend.
    void assign(const std::vector<qint64> &ids);
    /// @brief The position of @p id, -1 when it is not there.
    qsizetype find(qint64 id) const
    {
        if (m_dense) {
            const quint64 offset = quint64(id) - quint64(m_first);
            return offset < m_positions.size() ? m_positions[offset] : -1;
        }
        return m_sparse.value(id, -1);
    }

private:
    bool m_dense = true;
    qint64 m_first = 0;
    std::vector<qint32> m_positions; // -1 for a gap
    QHash<qint64, qsizetype> m_sparse;
};

/// @brief Texts kept as the UTF-8 the index holds, one after another: decoding them is left to
/// whoever needs them, on whatever thread.
struct PackedTexts
{
    QByteArray bytes;
    std::vector<qsizetype> ends; // where each text ends in bytes

    qsizetype size() const { return qsizetype(ends.size()); }
    QString at(qsizetype i) const
    {
        const qsizetype start = i == 0 ? 0 : ends[size_t(i) - 1];
        return QString::fromUtf8(bytes.constData() + start, ends[size_t(i)] - start);
    }
};

// Everything the aggregates need, read in one pass per table.
struct History
{
    std::vector<CommitRow> commits; // reachable only, by id
    PackedTexts subjects; // parallel to commits
    RowPositions commitIndex;
    std::vector<qint64> fileIDs; // ascending
    QStringList filePaths; // parallel to fileIDs
    RowPositions fileIndex;
    QHash<qint64, Alias> aliases;
    QHash<qint64, QString> authorNames;
    // (commit index, file index) of each change row of a reachable commit whose file exists, in
    // the order of commit_files (by commit as the index writes them, though nothing relies on it).
    std::vector<std::pair<qsizetype, qsizetype>> fileChanges;
    std::vector<std::pair<qint64, qint64>> fileChangeLines; // parallel: additions, deletions

    // The author of a commit as the people figures count it: through its alias, absent without
    // one and for an automation account kept apart.
    qint64 authorOf(const CommitRow &commit) const
    {
        return commit.byBot ? noID : commit.authorID;
    }

    // What the file options (FileLineage.h) read and leave behind.
    // The status letter of each change row ('A', 'M', 'D', 'R', ...), parallel to fileChanges,
    // and the old path of each rename or copy row, by row.
    std::vector<char> fileChangeStatus;
    std::vector<std::pair<size_t, QString>> renameSources;
    // Rows of files kept out of the file rankings (hotspots, coupling) but still counted in the
    // files' totals, technologies and directories: files deleted at the newest commit.
    std::vector<std::pair<qsizetype, qsizetype>> rankedOutChanges;
    std::vector<std::pair<qint64, qint64>> rankedOutChangeLines; // parallel
    std::vector<bool> rankedOutFiles; // by file index; empty when none is
    // Files the newest commit no longer holds, by file index, whether ranked out or not; empty
    // when none is or the file options did not run.
    std::vector<bool> deletedFiles;
    // The technology of each file by file index; empty: today's classifier on its path.
    QStringList fileTechnologies;

    bool isRankedOut(qsizetype file) const
    {
        return !rankedOutFiles.empty() && rankedOutFiles[size_t(file)];
    }
    bool isDeleted(qsizetype file) const
    {
        return !deletedFiles.empty() && deletedFiles[size_t(file)];
    }
    // Calls @p visit(commit index, file index, additions, deletions) for every change row the
    // files' totals count: fileChanges, then rankedOutChanges.
    template<typename Visit> void forEachFileChange(Visit &&visit) const
    {
        for (size_t i = 0; i < fileChanges.size(); ++i)
            visit(fileChanges[i].first, fileChanges[i].second, fileChangeLines[i].first,
                  fileChangeLines[i].second);
        for (size_t i = 0; i < rankedOutChanges.size(); ++i)
            visit(rankedOutChanges[i].first, rankedOutChanges[i].second,
                  rankedOutChangeLines[i].first, rankedOutChangeLines[i].second);
    }
};

/// @brief Column @p column's text, or @p fallback when it is NULL.
QString textOr(const SQLiteStatement &statement, int column, const QString &fallback);

/// @brief Every reachable commit, file, alias, author and change row of @p database. The
/// totals over all change rows of reachable commits (lines, added, deleted and renamed files,
/// binary files) go to @p result on the way. @p commitsRead, when set, is called once the
/// commits, files, aliases and authors are in, before the change rows (the longest read) are:
/// work on the subjects may start on another thread then (the commits' row and line totals are
/// still being filled in).
History readHistory(SQLiteDatabase &database, RepositoryAnalyticsInsights &result,
                    const std::function<void(const History &)> &commitsRead = {});

/// @brief The number of change rows of each commit, by commit index.
std::vector<qint64> rowsPerCommit(const History &history);

} // namespace strataloom::aggregates
