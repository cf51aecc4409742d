// The grid's geometry at every zoom, the zoom steps, fitting the grid to the space it has, how
// the zoom is kept between runs, and scrolling a cell into view beside the header and labels.
#include "editing/grid_geometry.h"
#include "editing/grid_zoom.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace quorvane;

class TestGridZoom : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void actualSizeIsTheGridsOwnGeometry()
    {
        const GridMetrics actual;
        QCOMPARE(actual.zoom(), 1.0);
        QCOMPARE(actual.cellWidth(), 52);
        QCOMPARE(actual.cellHeight(), 44);
        QCOMPARE(actual.pitchX(), 55);
        QCOMPARE(actual.pitchY(), 47);
        QCOMPARE(actual.rowLabelWidth(), 55);
        QCOMPARE(actual.cellRect(1, 1), QRect(58, 20, 52, 44));
        QCOMPARE(actual.cellRect(2, 3), QRect(58 + 110, 20 + 47, 52, 44));
        QCOMPARE(actual.gridSize(20), QSize(55 + 20 * 55 + 4, 20 + 4 * 47 + 4));
        QCOMPARE(actual.gridSize(35).width(), 55 + 35 * 55 + 4);
    }

    void aCellIsScrolledClearOfTheFrozenHeader()
    {
        // A viewport of 300 whose first 55 are covered; the cell spans 400…452.
        QCOMPARE(scrollToShow(400, 52, 200, 300, 55), 200); // already in view: 455…500
        QCOMPARE(scrollToShow(400, 52, 100, 300, 55), 152); // beyond the far edge: just enough
        QCOMPARE(scrollToShow(400, 52, 380, 300, 55), 345); // under the header: just clear
        QCOMPARE(scrollToShow(400, 52, 346, 300, 55), 345);
        QCOMPARE(scrollToShow(400, 52, 345, 300, 55), 345); // exactly beside it
        QCOMPARE(scrollToShow(58, 52, 40, 300, 55), 3);
        QCOMPARE(scrollToShow(20, 52, 40, 300, 55), 0); // never before the start
        // Too large to fit: its start is shown.
        QCOMPARE(scrollToShow(400, 52, 0, 100, 55), 345);
    }

    void hitTestingMatchesThePaintedCellsAtEveryZoom_data()
    {
        QTest::addColumn<double>("zoom");
        for (double zoom : {0.4, 0.57, 0.9, 1.0, 1.25, 1.75, 2.0})
            QTest::addRow("%.2f", zoom) << zoom;
    }

    void hitTestingMatchesThePaintedCellsAtEveryZoom()
    {
        QFETCH(double, zoom);
        const GridMetrics metrics(zoom);
        for (int count : {15, 20, 25, 35}) {
            for (int shift = 1; shift <= 4; ++shift) {
                for (int button = 1; button <= count; ++button) {
                    const QRect cell = metrics.cellRect(shift, button);
                    const SelectedButtonKey key{shift, button};
                    QCOMPARE(metrics.cellAt(cell.topLeft(), count), key);
                    QCOMPARE(metrics.cellAt(cell.bottomRight(), count), key);
                    // The gap to the right of a cell belongs to no cell.
                    QCOMPARE(metrics.cellAt(cell.topRight() + QPoint(1, 0), count), std::nullopt);
                    QVERIFY(metrics.gridSize(count).width() > cell.right());
                    QVERIFY(metrics.gridSize(count).height() > cell.bottom());
                }
            }
            // Past the last button of the row there is no cell, and the grid ends there.
            const QRect past = metrics.cellRect(1, count + 1);
            QCOMPARE(metrics.cellAt(past.center(), count), std::nullopt);
            QVERIFY(metrics.gridSize(count).width() < past.right());
        }
    }

    void lengthsScaleTogether()
    {
        const GridMetrics twice(2.0);
        QCOMPARE(twice.cellWidth(), 104);
        QCOMPARE(twice.cellHeight(), 88);
        QCOMPARE(twice.pitchX(), 110);
        QCOMPARE(twice.pitchY(), 94);
        QCOMPARE(twice.gridSize(15), QSize(110 + 15 * 110 + 8, 40 + 4 * 94 + 8));
        QCOMPARE(twice.scaled(8), 16.0);
    }

    void zoomInAndOutStepThroughTheSteps()
    {
        QCOMPARE(GridZoom::zoomedIn(1.0), GridZoom::fixed(1.1));
        QCOMPARE(GridZoom::zoomedOut(1.0), GridZoom::fixed(0.9));
        QCOMPARE(GridZoom::zoomedIn(1.1), GridZoom::fixed(1.25));
        // From a fitted factor between two steps, to the neighbouring steps.
        QCOMPARE(GridZoom::zoomedIn(0.57), GridZoom::fixed(0.6));
        QCOMPARE(GridZoom::zoomedOut(0.57), GridZoom::fixed(0.5));
        QCOMPARE(GridZoom::zoomedIn(0.598), GridZoom::fixed(0.7));
        // At the ends the zoom stays.
        QCOMPARE(GridZoom::zoomedIn(2.0), GridZoom::fixed(2.0));
        QCOMPARE(GridZoom::zoomedOut(0.4), GridZoom::fixed(0.4));
        QCOMPARE(GridZoom::fixed(7.0), GridZoom::fixed(2.0));
        QCOMPARE(GridZoom::fixed(0.1), GridZoom::fixed(0.4));
        QCOMPARE(GridZoom::actualSize(), GridZoom::fixed(1.0));
        QCOMPARE(GridZoom::actualSize().factorFor(QSize(300, 200), 35), 1.0);
    }

    void fittingTakesTheLargestFactorThatShowsTheWholeGrid_data()
    {
        QTest::addColumn<QSize>("space");
        QTest::addColumn<int>("count");
        QTest::newRow("35 in a laptop's default window") << QSize(1120, 380) << 35;
        QTest::newRow("20 in the same") << QSize(1120, 380) << 20;
        QTest::newRow("15, tall and narrow") << QSize(600, 900) << 15;
        QTest::newRow("25, wide and low") << QSize(2400, 150) << 25;
    }

    void fittingTakesTheLargestFactorThatShowsTheWholeGrid()
    {
        QFETCH(QSize, space);
        QFETCH(int, count);
        const double factor = GridZoom::fitToWindow().factorFor(space, count);
        const QSize fitted = GridMetrics(factor).gridSize(count);
        QVERIFY(fitted.width() <= space.width());
        QVERIFY(fitted.height() <= space.height());
        const QSize larger = GridMetrics(factor + 0.01).gridSize(count);
        QVERIFY(larger.width() > space.width() || larger.height() > space.height());
    }

    void fittingStaysWithinTheZoomRange()
    {
        QCOMPARE(fittingFactor(QSize(100, 50), 35), GridZoom::smallest);
        QCOMPARE(fittingFactor(QSize(8000, 4000), 15), GridZoom::largest);
    }

    void theZoomIsKeptAsText()
    {
        QCOMPARE(GridZoom::fitToWindow().toSetting(), u"fit"_s);
        QCOMPARE(GridZoom::fixed(1.25).toSetting(), u"1.25"_s);
        QCOMPARE(GridZoom::fromSetting(u"fit"_s), GridZoom::fitToWindow());
        QCOMPARE(GridZoom::fromSetting(u"1.25"_s), GridZoom::fixed(1.25));
        QCOMPARE(GridZoom::fromSetting(u"9"_s), GridZoom::fixed(2.0));
        QCOMPARE(GridZoom::fromSetting(QString()), GridZoom::actualSize());
        QCOMPARE(GridZoom::fromSetting(u"huge"_s), GridZoom::actualSize());
    }
};

QTEST_GUILESS_MAIN(TestGridZoom)
#include "tst_grid_zoom.moc"
