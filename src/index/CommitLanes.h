#pragma once

#include "git/GitRecords.h"
#include "index/IndexedGraph.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <functional>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

namespace strataloom {

/// @brief One commit's row of the commit graph.
struct LaneRow
{
    int commit = -1; ///< index into the history's commits
    int lane = 0; ///< the lane the commit sits in, 0 the leftmost
    int laneCount = 0; ///< lanes in this row, the commit's own included
    /**
     * @brief Every line that leaves this row for the next one, as (lane here, lane there): the
     * commit's lines to its parents where the commit sits, every other lane's line where it is.
     * Lines that meet in one lane of the next row have merged.
     */
    QList<std::pair<int, int>> edges;

    bool operator==(const LaneRow &) const = default;
};

/**
 * @brief The commit graph of a whole history laid out in lanes, newest first in date order (a
 * commit after all its children; otherwise the latest committer date first), as `git log
 * --graph --all --date-order` orders and places them.
 *
 * Each lane waits for one commit. A commit takes the leftmost lane that waits for it, or a new
 * one on the right; its parents then take its place, in order, except those another lane waits
 * for already, which that lane keeps; lanes to the right close up.
 *
 * The lanes of a page are laid out from the lanes at its top, kept for every checkpointRows-th
 * row on the way down, so that a page far down costs a pass over the rows above it once only.
 * Thread-safe.
 */
class CommitLaneLayout
{
public:
    static constexpr int checkpointRows = 256;

    explicit CommitLaneLayout(std::shared_ptr<const IndexedGraph> history);

    const IndexedGraph &history() const { return *m_history; }
    int rowCount() const { return int(m_order.size()); }
    /// @brief The commit shown in @p row (an index into history().commits()).
    int commitAt(int row) const { return m_order[size_t(row)]; }

    /// @brief Rows [@p first, @p first + @p count), clipped to the history.
    QList<LaneRow> rows(int first, int count);
    /// @brief Lays out the whole history, keeping its checkpoints; stops early when
    /// @p isCancelled answers true (asked every checkpoint).
    void layOutAll(const std::function<bool()> &isCancelled = {});

private:
    LaneRow advance(std::vector<int> &lanes, int row);
    std::vector<int> lanesAt(int row);

    std::shared_ptr<const IndexedGraph> m_history;
    std::vector<int> m_order;
    std::mutex m_mutex;
    std::vector<std::vector<int>> m_checkpoints; ///< the lanes at row i * checkpointRows
    std::vector<int> m_slot; ///< scratch: where a commit sits among the next row's lanes
};

/**
 * @brief The row drawn as git draws its text graph: the commit line ("| * | "), then the lines
 * that lead to the next row, where a line moves one lane per text line ("|/", "\\").
 */
QStringList laneRowText(const LaneRow &row);

/**
 * @brief The rows as the timeline lists them: per commit its line with the short hash, relative
 * date, subject, author and decorations git prints for it, then its connector lines (ids
 * "connector-<line number>-<drawing>"). Throws GitError.
 */
QList<GraphCommitRecord> laneGraphRecords(const QString &repository, const IndexedGraph &history,
                                          const QList<LaneRow> &rows);

} // namespace strataloom
