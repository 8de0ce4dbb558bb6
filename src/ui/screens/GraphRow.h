#pragma once

#include "ui/screens/GraphSegments.h"

#include <QColor>
#include <QList>
#include <QQuickPaintedItem>
#include <QVariantList>
#include <QVariantMap>
#include <QtQml/qqmlregistration.h>

namespace strataloom {

/**
 * @brief Draws the graph prefix of one timeline row as coloured lanes, joins and a commit dot.
 *
 * Its implicit width is one column per character of the prefix; the height is the row's. Given
 * a laneRow instead, it draws the commit's row from its lanes (see laneSegments()), two columns
 * per lane.
 */
class GraphRow : public QQuickPaintedItem
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QString graph READ graph WRITE setGraph NOTIFY graphChanged)
    /// The prefixes of the rows above and below ("" at the ends), to join the dot to them.
    Q_PROPERTY(QString graphAbove READ graphAbove WRITE setGraphAbove NOTIFY graphChanged)
    Q_PROPERTY(QString graphBelow READ graphBelow WRITE setGraphBelow NOTIFY graphChanged)
    /// A commit's lanes as IndexedGraphModel gives them ({lane, laneCount, lanesAbove, edges:
    /// [from, to, ...]}); when not empty, drawn instead of graph.
    Q_PROPERTY(QVariantMap laneRow READ laneRow WRITE setLaneRow NOTIFY graphChanged)
    Q_PROPERTY(qreal columnWidth READ columnWidth WRITE setColumnWidth NOTIFY appearanceChanged)
    /// When above 0, the width the graph of fitColumns columns must fit: the lanes beyond what
    /// fits at columnWidth are packed closer (see fitGraphColumns()). Rows that share both
    /// values join.
    Q_PROPERTY(qreal fitWidth READ fitWidth WRITE setFitWidth NOTIFY appearanceChanged)
    Q_PROPERTY(int fitColumns READ fitColumns WRITE setFitColumns NOTIFY appearanceChanged)
    Q_PROPERTY(qreal lineWidth READ lineWidth WRITE setLineWidth NOTIFY appearanceChanged)
    Q_PROPERTY(qreal dotRadius READ dotRadius WRITE setDotRadius NOTIFY appearanceChanged)
    /// Lane colours, used in turn; lane n takes colour n modulo their number.
    Q_PROPERTY(QVariantList laneColors READ laneColors WRITE setLaneColors NOTIFY appearanceChanged)
    /// The background behind the row; rings the dot so that lines passing it stay apart.
    Q_PROPERTY(QColor backgroundColor READ backgroundColor WRITE setBackgroundColor NOTIFY
                   appearanceChanged)
    /// The strokes as maps {kind: "line"|"dot", x1, y1, x2, y2, lane}, in cell units.
    Q_PROPERTY(QVariantList segments READ segmentMaps NOTIFY graphChanged)

public:
    explicit GraphRow(QQuickItem *parent = nullptr);

    QString graph() const { return m_graph; }
    void setGraph(const QString &graph);
    QString graphAbove() const { return m_above; }
    void setGraphAbove(const QString &graph);
    QString graphBelow() const { return m_below; }
    void setGraphBelow(const QString &graph);
    QVariantMap laneRow() const { return m_laneRow; }
    void setLaneRow(const QVariantMap &laneRow);
    qreal columnWidth() const { return m_columnWidth; }
    void setColumnWidth(qreal width);
    qreal fitWidth() const { return m_fitWidth; }
    void setFitWidth(qreal width);
    int fitColumns() const { return m_fitColumns; }
    void setFitColumns(int columns);
    qreal lineWidth() const { return m_lineWidth; }
    void setLineWidth(qreal width);
    qreal dotRadius() const { return m_dotRadius; }
    void setDotRadius(qreal radius);
    QVariantList laneColors() const;
    void setLaneColors(const QVariantList &colors);
    QColor backgroundColor() const { return m_background; }
    void setBackgroundColor(const QColor &color);
    QVariantList segmentMaps() const;

    void paint(QPainter *painter) override;

Q_SIGNALS:
    void graphChanged();
    void appearanceChanged();

private:
    void updateSegments();
    QColor laneColor(int lane) const;
    void updateImplicitWidth();

    QString m_graph;
    QString m_above;
    QString m_below;
    QVariantMap m_laneRow;
    int m_columns = 0;
    QList<GraphSegment> m_segments;
    qreal m_columnWidth = 9;
    qreal m_fitWidth = 0;
    int m_fitColumns = 0;
    GraphColumns m_fit;
    qreal m_lineWidth = 2;
    qreal m_dotRadius = 4.5;
    QList<QColor> m_laneColors;
    QColor m_background;
};

} // namespace strataloom
