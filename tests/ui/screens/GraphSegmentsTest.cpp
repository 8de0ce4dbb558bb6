// The strokes drawn for lines of git's text graph.
#include "ui/screens/GraphSegments.h"

#include <QTest>

using namespace strataloom;

namespace {

GraphSegment line(qreal x1, qreal y1, qreal x2, qreal y2, int lane)
{
    return {GraphSegment::Kind::Line, QPointF(x1, y1), QPointF(x2, y2), lane};
}

GraphSegment dot(qreal x, int lane)
{
    return {GraphSegment::Kind::Dot, QPointF(x, 0.5), QPointF(x, 0.5), lane};
}

} // namespace

class GraphSegmentsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void linesOfTheGraph_data()
    {
        QTest::addColumn<QString>("graph");
        QTest::addColumn<QString>("above");
        QTest::addColumn<QString>("below");
        QTest::addColumn<QList<GraphSegment>>("expected");

        QTest::newRow("commit on a side lane")
            << "| * "
            << "| * "
            << "|/  "
            << QList<GraphSegment> {line(0.5, 0, 0.5, 1, 0), line(2.5, 0, 2.5, 0.5, 1),
                                    line(2.5, 0.5, 2.5, 1, 1), dot(2.5, 1)};
        QTest::newRow("side lane joins the trunk")
            << "|/  "
            << "| * "
            << "*   " << QList<GraphSegment> {line(0.5, 0, 0.5, 1, 0), line(2.5, 0, 0.5, 1, 1)};
        QTest::newRow("merge commit")
            << "*   "
            << ""
            << "|\\  " << QList<GraphSegment> {line(0.5, 0.5, 0.5, 1, 0), dot(0.5, 0)};
        QTest::newRow("merge opens a lane")
            << "|\\  "
            << "*   "
            << "| * " << QList<GraphSegment> {line(0.5, 0, 0.5, 1, 0), line(0.5, 0, 2.5, 1, 1)};
        QTest::newRow("root commit ends at its dot")
            << "* "
            << "| "
            << "" << QList<GraphSegment> {line(0.5, 0, 0.5, 0.5, 0), dot(0.5, 0)};
        QTest::newRow("dot joined to a diagonal below")
            << "  * "
            << ""
            << " /  " << QList<GraphSegment> {line(2.5, 0.5, 2.5, 1, 1), dot(2.5, 1)};
        QTest::newRow("third lane")
            << "| | * "
            << ""
            << ""
            << QList<GraphSegment> {line(0.5, 0, 0.5, 1, 0), line(2.5, 0, 2.5, 1, 1), dot(4.5, 2)};
        QTest::newRow("blank line draws nothing") << "    "
                                                  << ""
                                                  << "" << QList<GraphSegment> {};
    }

    void linesOfTheGraph()
    {
        QFETCH(QString, graph);
        QFETCH(QString, above);
        QFETCH(QString, below);
        QFETCH(QList<GraphSegment>, expected);
        QCOMPARE(graphSegments(graph, above, below), expected);
    }

    void dotsAreDrawnAfterEveryLine()
    {
        // A dot followed by a lane further right: the lane's line must not cover the dot.
        const QList<GraphSegment> segments = graphSegments(QStringLiteral("* | "));
        QCOMPARE(segments.size(), 2);
        QCOMPARE(segments.last().kind, GraphSegment::Kind::Dot);
    }
};

QTEST_APPLESS_MAIN(GraphSegmentsTest)
#include "GraphSegmentsTest.moc"
