#include "ui/screens/GraphRow.h"

#include <QPainter>
#include <QPen>
#include <QVariantMap>

#include <algorithm>

namespace strataloom {

GraphRow::GraphRow(QQuickItem *parent)
    : QQuickPaintedItem(parent)
{
    setAntialiasing(true);
    connect(this, &GraphRow::graphChanged, this, [this] { update(); });
    connect(this, &GraphRow::appearanceChanged, this, [this] {
        updateImplicitWidth();
        update();
    });
}

void GraphRow::setGraph(const QString &graph)
{
    if (graph == m_graph)
        return;
    m_graph = graph;
    updateSegments();
}

void GraphRow::setLaneRow(const QVariantMap &laneRow)
{
    if (laneRow == m_laneRow)
        return;
    m_laneRow = laneRow;
    updateSegments();
}

void GraphRow::setGraphAbove(const QString &graph)
{
    if (graph == m_above)
        return;
    m_above = graph;
    updateSegments();
}

void GraphRow::setGraphBelow(const QString &graph)
{
    if (graph == m_below)
        return;
    m_below = graph;
    updateSegments();
}

void GraphRow::setColumnWidth(qreal width)
{
    if (qFuzzyCompare(width, m_columnWidth))
        return;
    m_columnWidth = width;
    Q_EMIT appearanceChanged();
}

void GraphRow::setFitWidth(qreal width)
{
    if (qFuzzyCompare(width, m_fitWidth))
        return;
    m_fitWidth = width;
    Q_EMIT appearanceChanged();
}

void GraphRow::setFitColumns(int columns)
{
    if (columns == m_fitColumns)
        return;
    m_fitColumns = columns;
    Q_EMIT appearanceChanged();
}

void GraphRow::setLineWidth(qreal width)
{
    if (qFuzzyCompare(width, m_lineWidth))
        return;
    m_lineWidth = width;
    Q_EMIT appearanceChanged();
}

void GraphRow::setDotRadius(qreal radius)
{
    if (qFuzzyCompare(radius, m_dotRadius))
        return;
    m_dotRadius = radius;
    Q_EMIT appearanceChanged();
}

QVariantList GraphRow::laneColors() const
{
    QVariantList colors;
    for (const QColor &color : m_laneColors)
        colors << color;
    return colors;
}

void GraphRow::setLaneColors(const QVariantList &colors)
{
    QList<QColor> converted;
    for (const QVariant &color : colors)
        converted << color.value<QColor>();
    if (converted == m_laneColors)
        return;
    m_laneColors = converted;
    Q_EMIT appearanceChanged();
}

void GraphRow::setBackgroundColor(const QColor &color)
{
    if (color == m_background)
        return;
    m_background = color;
    Q_EMIT appearanceChanged();
}

QVariantList GraphRow::segmentMaps() const
{
    QVariantList maps;
    for (const GraphSegment &segment : m_segments) {
        maps << QVariantMap {
            {QStringLiteral("kind"),
             segment.kind == GraphSegment::Kind::Dot ? QStringLiteral("dot")
                                                     : QStringLiteral("line")},
            {QStringLiteral("x1"), segment.from.x()},
            {QStringLiteral("y1"), segment.from.y()},
            {QStringLiteral("x2"), segment.to.x()},
            {QStringLiteral("y2"), segment.to.y()},
            {QStringLiteral("lane"), segment.lane},
        };
    }
    return maps;
}

void GraphRow::updateSegments()
{
    if (m_laneRow.isEmpty()) {
        m_segments = graphSegments(m_graph, m_above, m_below);
        m_columns = int(m_graph.size());
    } else {
        const QVariantList flat = m_laneRow.value(QStringLiteral("edges")).toList();
        QList<std::pair<int, int>> edges;
        int lanes = std::max(m_laneRow.value(QStringLiteral("laneCount")).toInt(),
                             m_laneRow.value(QStringLiteral("lanesAbove")).toInt());
        for (qsizetype i = 0; i + 1 < flat.size(); i += 2) {
            edges.append({flat.at(i).toInt(), flat.at(i + 1).toInt()});
            lanes = std::max(lanes, edges.constLast().second + 1);
        }
        m_segments = laneSegments(m_laneRow.value(QStringLiteral("lane")).toInt(),
                                  m_laneRow.value(QStringLiteral("lanesAbove")).toInt(), edges);
        m_columns = 2 * lanes;
    }
    updateImplicitWidth();
    Q_EMIT graphChanged();
}

void GraphRow::updateImplicitWidth()
{
    const int columns = m_fitColumns > 0 ? m_fitColumns : m_columns;
    m_fit = fitGraphColumns(columns, m_fitWidth, m_columnWidth, 1.5);
    setImplicitWidth(m_fit.width(columns));
}

QColor GraphRow::laneColor(int lane) const
{
    if (m_laneColors.isEmpty())
        return QColor(Qt::gray);
    return m_laneColors.at(lane % m_laneColors.size());
}

void GraphRow::paint(QPainter *painter)
{
    const qreal rowHeight = height();
    const auto point
        = [&](QPointF cell) { return QPointF(m_fit.x(cell.x()), cell.y() * rowHeight); };
    // Packed lanes are drawn finer, so that neighbours stay apart.
    const qreal packedLine = std::min(m_lineWidth, std::max<qreal>(1, m_fit.packed * 0.7));
    const qreal packedDot = std::min(m_dotRadius, std::max<qreal>(1.5, m_fit.packed));
    painter->setRenderHint(QPainter::Antialiasing);
    for (const GraphSegment &segment : std::as_const(m_segments)) {
        const QColor color = laneColor(segment.lane);
        if (segment.kind == GraphSegment::Kind::Line) {
            const bool packed = m_fit.isPacked(segment.from.x()) && m_fit.isPacked(segment.to.x());
            painter->setPen(
                QPen(color, packed ? packedLine : m_lineWidth, Qt::SolidLine, Qt::RoundCap));
            painter->drawLine(point(segment.from), point(segment.to));
        } else {
            const qreal radius = m_fit.isPacked(segment.from.x()) ? packedDot : m_dotRadius;
            // The ring keeps passing lines apart from the dot; small dots get a thin one.
            painter->setPen(QPen(m_background.isValid() ? m_background : color,
                                 std::min<qreal>(2, radius * 0.3)));
            painter->setBrush(color);
            painter->drawEllipse(point(segment.from), radius, radius);
        }
    }
}

} // namespace strataloom
