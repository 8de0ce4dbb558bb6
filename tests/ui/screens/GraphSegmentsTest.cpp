// The strokes drawn for lines of git's text graph, and for commit rows drawn from their lanes.
#include "ui/screens/GraphSegments.h"

#include <QTest>

using namespace strataloom;

namespace {

using Edges = QList<std::pair<int, int>>;

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
        QTest::addColumn<QStringList>("lines"); // the line, the line above, the line below
        QTest::addColumn<QList<GraphSegment>>("expected");
        using L = QList<GraphSegment>;
        auto row = [](const char *name, const char *graph, const char *above, const char *below,
                      const L &expected) {
            QTest::newRow(name) << QStringList {graph, above, below} << expected;
        };
        row("commit on a side lane", "| * ", "| * ", "|/  ",
            L {line(0.5, 0, 0.5, 1, 0), line(2.5, 0, 2.5, 0.5, 1), line(2.5, 0.5, 2.5, 1, 1),
               dot(2.5, 1)});
        row("side lane joins the trunk", "|/  ", "| * ", "*   ",
            L {line(0.5, 0, 0.5, 1, 0), line(2.5, 0, 0.5, 1, 1)});
        row("merge commit", "*   ", "", "|\\  ", L {line(0.5, 0.5, 0.5, 1, 0), dot(0.5, 0)});
        row("merge opens a lane", "|\\  ", "*   ", "| * ",
            L {line(0.5, 0, 0.5, 1, 0), line(0.5, 0, 2.5, 1, 1)});
        row("root commit ends at its dot", "* ", "| ", "",
            L {line(0.5, 0, 0.5, 0.5, 0), dot(0.5, 0)});
        row("dot joined to a diagonal below", "  * ", "", " /  ",
            L {line(2.5, 0.5, 2.5, 1, 1), dot(2.5, 1)});
        row("third lane", "| | * ", "", "",
            L {line(0.5, 0, 0.5, 1, 0), line(2.5, 0, 2.5, 1, 1), dot(4.5, 2)});
        row("blank line draws nothing", "    ", "", "", L {});
        // A dot followed by a lane further right: the lane's line must not cover the dot.
        row("dots are drawn after every line", "* | ", "", "",
            L {line(2.5, 0, 2.5, 1, 1), dot(0.5, 0)});
    }

    void linesOfTheGraph()
    {
        QFETCH(QStringList, lines);
        QFETCH(QList<GraphSegment>, expected);
        QCOMPARE(graphSegments(lines[0], lines[1], lines[2]), expected);
    }

    void rowsDrawnFromLanes_data()
    {
        QTest::addColumn<int>("lane");
        QTest::addColumn<int>("lanesAbove");
        QTest::addColumn<Edges>("edges"); // (lane here, lane in the next row)
        QTest::addColumn<QList<GraphSegment>>("expected");
        using L = QList<GraphSegment>;
        using E = Edges;
        QTest::newRow("branch tip: nothing above its dot")
            << 1 << 1 << E {{0, 0}, {1, 0}}
            << L {line(0.5, 0, 0.5, 0.5, 0), line(0.5, 0.5, 0.5, 1, 0), line(2.5, 0.5, 0.5, 1, 1),
                  dot(2.5, 1)};
        QTest::newRow("merge opens a lane on the right")
            << 0 << 1 << E {{0, 0}, {0, 1}}
            << L {line(0.5, 0, 0.5, 0.5, 0), line(0.5, 0.5, 0.5, 1, 0), line(0.5, 0.5, 2.5, 1, 1),
                  dot(0.5, 0)};
        // A line that closes up moves across several lanes within the row, not over text lines.
        QTest::newRow("lanes close up past a root")
            << 0 << 3 << E {{1, 0}, {2, 1}}
            << L {line(0.5, 0, 0.5, 0.5, 0), line(2.5, 0, 2.5, 0.5, 1), line(4.5, 0, 4.5, 0.5, 2),
                  line(2.5, 0.5, 0.5, 1, 1), line(4.5, 0.5, 2.5, 1, 2), dot(0.5, 0)};
        QTest::newRow("lone root") << 0 << 0 << E {} << L {dot(0.5, 0)};
    }

    void rowsDrawnFromLanes()
    {
        QFETCH(int, lane);
        QFETCH(int, lanesAbove);
        QFETCH(Edges, edges);
        QFETCH(QList<GraphSegment>, expected);
        QCOMPARE(laneSegments(lane, lanesAbove, edges), expected);
    }

    // Columns fitted to a width: unpacked when they fit, whole lanes at full width then packed,
    // all evenly squeezed when even the packed width does not fit; never wider than asked.
    void graphColumnsFitTheirWidth_data()
    {
        QTest::addColumn<int>("columns");
        QTest::addColumn<qreal>("available");
        QTest::addColumn<int>("fullColumns");
        QTest::addColumn<qreal>("width"); // of all the columns
        QTest::newRow("fits") << 10 << 100.0 << 10 << 70.0;
        QTest::newRow("fits exactly") << 10 << 70.0 << 10 << 70.0;
        QTest::newRow("packs the lanes on the right") << 60 << 216.0 << 22 << 216.0;
        QTest::newRow("an odd split keeps whole lanes") << 20 << 95.0 << 10 << 95.0;
        QTest::newRow("squeezes all when packing does not fit") << 60 << 60.0 << 0 << 60.0;
        QTest::newRow("no width asked: no packing") << 60 << 0.0 << 60 << 420.0;
    }

    void graphColumnsFitTheirWidth()
    {
        QFETCH(int, columns);
        QFETCH(qreal, available);
        QFETCH(int, fullColumns);
        QFETCH(qreal, width);
        const GraphColumns fit = fitGraphColumns(columns, available, 7, 1.5);
        QCOMPARE(fit.fullColumns, fullColumns);
        QCOMPARE(fit.width(columns), width);
        QCOMPARE(fit.x(fullColumns), fullColumns * fit.full); // no jump where packing starts
        QVERIFY(fit.packed >= std::min(1.5, available / columns));
        QVERIFY(fit.x(fullColumns + 0.5) > fit.x(fullColumns)); // and no fold
    }
};

QTEST_APPLESS_MAIN(GraphSegmentsTest)
#include "GraphSegmentsTest.moc"
