#pragma once

#include <QList>
#include <QPointF>
#include <QString>

#include <utility>

namespace strataloom {

/**
 * @brief One stroke of a commit-graph row: a lane line or a commit dot.
 *
 * Coordinates are in cells: x counts character columns (the centre of column c is c + 0.5), y
 * runs from 0 at the top of the row to 1 at its bottom, so the drawing scales to any row size.
 */
struct GraphSegment
{
    enum class Kind { Line, Dot };

    Kind kind = Kind::Line;
    QPointF from; ///< the dot's centre for a dot
    QPointF to; ///< equals from for a dot
    int lane = 0; ///< which lane's colour to draw with (two character columns per lane)

    bool operator==(const GraphSegment &) const = default;
};

/**
 * @brief The strokes that draw one line of git's text graph.
 *
 * @p graph is the line's drawing prefix ("| * ", "|/  ", "*   ", "|\\  "). @p above and
 * @p below are the prefixes of the neighbouring lines, empty at the ends of the list: a commit
 * dot is joined upwards and downwards only where a neighbour's drawing reaches it, so branch tips
 * and root commits end at their dot.
 */
QList<GraphSegment> graphSegments(const QString &graph, const QString &above = {},
                                  const QString &below = {});

/**
 * @brief The strokes of one commit's row drawn from its lanes instead of from text, in the same
 * cells (lane l in column 2l): the @p lanesAbove lanes that enter from the row above reach down
 * to the middle, every line of @p edges (lane here, lane in the next row) runs from the middle
 * to the bottom, and the dot of the commit in @p lane goes over them. Rows drawn this way join
 * without connector lines, whatever the number of lanes a line crosses.
 */
QList<GraphSegment> laneSegments(int lane, int lanesAbove, const QList<std::pair<int, int>> &edges);

/**
 * @brief Where the columns of a graph go when it must fit a width: the first fullColumns at
 * their full width, the rest packed closer, so that a busy region (dozens of open topic
 * branches) keeps its main lanes readable and leaves room for the commits' texts.
 */
struct GraphColumns
{
    qreal full = 0; ///< width of an unpacked column
    int fullColumns = 0; ///< columns before the packed ones
    qreal packed = 0; ///< width of a packed column

    /// The pixel offset of cell x (the scale of GraphSegment's x).
    qreal x(qreal cell) const;
    /// The width that @p columns columns take.
    qreal width(int columns) const { return x(columns); }
    /// Is cell x among the packed columns?
    bool isPacked(qreal cell) const { return cell > fullColumns; }
};

/**
 * @brief The columns of a graph @p columns wide fitted into @p available pixels: all at @p full
 * when they fit; otherwise as many as fit at @p full and the rest at @p minimum, or all at less
 * than @p minimum when even that does not fit. Rows laid out with the same arguments join.
 */
GraphColumns fitGraphColumns(int columns, qreal available, qreal full, qreal minimum);

} // namespace strataloom
