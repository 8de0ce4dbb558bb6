#include "ui/screens/GraphSegments.h"

#include <algorithm>

namespace strataloom {

namespace {

QChar at(const QString &line, qsizetype column)
{
    return column >= 0 && column < line.size() ? line.at(column) : QChar(u' ');
}

// Does a stroke of the line above end at the bottom of column c?
bool reachesDown(const QString &above, qsizetype c)
{
    const QChar here = at(above, c);
    return here == u'|' || here == u'*' || at(above, c - 1) == u'\\' || at(above, c + 1) == u'/';
}

// Does a stroke of the line below start at the top of column c?
bool reachesUp(const QString &below, qsizetype c)
{
    const QChar here = at(below, c);
    return here == u'|' || here == u'*' || at(below, c + 1) == u'\\' || at(below, c - 1) == u'/';
}

GraphSegment line(qreal x1, qreal y1, qreal x2, qreal y2, int lane)
{
    return {GraphSegment::Kind::Line, QPointF(x1, y1), QPointF(x2, y2), lane};
}

} // namespace

QList<GraphSegment> graphSegments(const QString &graph, const QString &above, const QString &below)
{
    QList<GraphSegment> segments;
    QList<GraphSegment> dots; // drawn last, over the lines
    for (qsizetype c = 0; c < graph.size(); ++c) {
        const qreal x = c + 0.5;
        const int lane = int(c / 2);
        // A diagonal sits between two lanes; it takes the colour of the lane it leaves or joins
        // on the right, which is the branch rather than the trunk.
        const int diagonalLane = int((c + 1) / 2);
        switch (graph.at(c).unicode()) {
        case u'|':
            segments << line(x, 0, x, 1, lane);
            break;
        case u'/':
            // git draws "/" from the lane on its right above to the lane on its left below.
            segments << line(x + 1, 0, x - 1, 1, diagonalLane);
            break;
        case u'\\':
            segments << line(x - 1, 0, x + 1, 1, diagonalLane);
            break;
        case u'_':
            segments << line(c - 0.5, 1, c + 1.5, 1, diagonalLane);
            break;
        case u'-':
        case u'.':
            // The horizontal run of an octopus merge, on the height of its dot.
            segments << line(c - 0.5, 0.5, c + 1.5, 0.5, diagonalLane);
            break;
        case u'*':
            if (reachesDown(above, c))
                segments << line(x, 0, x, 0.5, lane);
            if (reachesUp(below, c))
                segments << line(x, 0.5, x, 1, lane);
            dots << GraphSegment {GraphSegment::Kind::Dot, QPointF(x, 0.5), QPointF(x, 0.5), lane};
            break;
        default:
            break;
        }
    }
    return segments + dots;
}

QList<GraphSegment> laneSegments(int lane, int lanesAbove, const QList<std::pair<int, int>> &edges)
{
    const auto column = [](int l) { return 2 * l + 0.5; };
    QList<GraphSegment> segments;
    for (int l = 0; l < lanesAbove; ++l)
        segments << line(column(l), 0, column(l), 0.5, l);
    for (const auto &[from, to] : edges) {
        // As in the text drawing, a line between two lanes takes the colour of the right one.
        segments << line(column(from), 0.5, column(to), 1, std::max(from, to));
    }
    segments << GraphSegment {GraphSegment::Kind::Dot, QPointF(column(lane), 0.5),
                              QPointF(column(lane), 0.5), lane};
    return segments;
}

qreal GraphColumns::x(qreal cell) const
{
    return cell <= fullColumns ? cell * full : fullColumns * full + (cell - fullColumns) * packed;
}

GraphColumns fitGraphColumns(int columns, qreal available, qreal full, qreal minimum)
{
    if (columns <= 0 || available <= 0 || columns * full <= available)
        return {full, std::max(columns, 0), full};
    if (columns * minimum >= available)
        return {available / columns, 0, available / columns};
    // full * k + minimum * (columns - k) <= available
    // Whole lanes (two columns each) stay unpacked.
    const int fullColumns = int((available - columns * minimum) / (full - minimum)) / 2 * 2;
    return {full, fullColumns, (available - fullColumns * full) / (columns - fullColumns)};
}

} // namespace strataloom
