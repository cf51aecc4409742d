// Bus loads at the link's own timings: buses opened for the first time in quick succession (the
// one shown last is drawn as soon as its own answers are in, and no load is credited to another
// bus), and every bus loaded ahead so that its first visit is a switch from the cache.
#include "desk.h"
#include "session/background_bus_loading.h"

#include <QLabel>

using namespace Qt::StringLiterals;
using namespace quorvane;
using namespace quorvane::test;

class TestBusLoadsRealtime : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theLastBusOpenedIsDrawnOnceItsAnswersAreIn_data()
    {
        QTest::addColumn<double>("loss");
        QTest::addColumn<int>("betweenClicksMs");
        // Well under the 1.8 s a load took when it sat out its whole listening window.
        QTest::addColumn<int>("drawnWithinMs");
        QTest::newRow("healthy frame, half a second apart") << 0.0 << 500 << 1'200;
        QTest::newRow("healthy frame, quicker than a load") << 0.0 << 100 << 1'200;
        QTest::newRow("10 % lost each way, half a second apart") << 0.10 << 500 << 4'000;
    }

    void theLastBusOpenedIsDrawnOnceItsAnswersAreIn()
    {
        QFETCH(double, loss);
        QFETCH(int, betweenClicksMs);
        QFETCH(int, drawnWithinMs);
        Desk desk;
        desk.connection.setTiming(LinkTiming{});
        // The log keeps only its newest lines; a load at these timings writes more than that.
        QStringList log;
        qint64 read = 0;
        QObject::connect(&desk.logger, &DebugLogger::logsChanged, this, [&] {
            const QStringList& kept = desk.logger.logs();
            const qint64 fresh = std::min<qint64>(desk.logger.appendedCount() - read, kept.size());
            log += kept.mid(kept.size() - fresh);
            read = desk.logger.appendedCount();
        });
        QVERIFY(desk.start());
        QVERIFY(desk.connectAndWait());
        QTRY_VERIFY_WITH_TIMEOUT(!desk.connection.isLoading(), connectTimeoutMs);
        desk.frame.setLoss(loss, loss);

        for (Bus bus : {Bus::me2, Bus::me3, Bus::me4}) {
            if (bus != Bus::me2)
                QTest::qWait(betweenClicksMs);
            desk.clickTab(bus);
            QCOMPARE(desk.model.selectedBus(), bus);
        }
        QTRY_VERIFY_WITH_TIMEOUT(desk.model.cellState(1, 1).isFullyLoaded, drawnWithinMs);
        QCOMPARE(desk.connection.isLoading(), false);
        for (int shift = 1; shift <= 4; ++shift) {
            for (int button = 1; button <= 35; ++button) {
                const ButtonCellState cell = desk.model.cellState(shift, button);
                QVERIFY(cell.isFullyLoaded);
                if (!cell.isUnknown)
                    QCOMPARE(cell.source, qint64{desk.frame.mapping(Bus::me4, 35, shift, button)});
            }
        }

        // Each of the buses opened before was either read whole or gave way to the next one,
        // said under its own name; ME4 was read whole, once.
        const auto count = [&](const QString& text) {
            return log.filter(text).size();
        };
        const auto gaveWay = [&](Bus bus, Bus next) {
            return count(u"Read abandoned: "_s + busName(bus) + u"-35 gave way to "_s +
                         busName(next) + u"-35"_s);
        };
        QCOMPARE(gaveWay(Bus::me2, Bus::me3) + count(u"Read complete: ME2-35"_s), 1);
        QCOMPARE(gaveWay(Bus::me3, Bus::me4) + count(u"Read complete: ME3-35"_s), 1);
        // The log's lines come through the event loop, after the state they tell of.
        QTRY_COMPARE(count(u"Read complete: ME4-35"_s), 1);
        QCOMPARE(count(u"Read abandoned: ME4-35"_s), 0);
        if (betweenClicksMs < 200) {
            QCOMPARE(gaveWay(Bus::me2, Bus::me3), 1);
            QCOMPARE(gaveWay(Bus::me3, Bus::me4), 1);
        }

        // A bus whose load gave way loads again on its next visit; one read whole is cached.
        desk.clickTab(Bus::me2);
        QCOMPARE(desk.model.cellState(1, 1).isFullyLoaded, gaveWay(Bus::me2, Bus::me3) == 0);
        QTRY_VERIFY_WITH_TIMEOUT(desk.model.cellState(1, 1).isFullyLoaded, drawnWithinMs);
        for (int button = 1; button <= 35; ++button) {
            const ButtonCellState cell = desk.model.cellState(1, button);
            if (!cell.isUnknown)
                QCOMPARE(cell.source, qint64{desk.frame.mapping(Bus::me2, 35, 1, button)});
        }
    }

    void everyBusIsReadyBeforeItIsOpened()
    {
        Desk desk;
        desk.connection.setTiming(LinkTiming{});
        desk.view.backgroundLoading().setEnabled(true);
        QVERIFY(desk.start());
        QVERIFY(desk.connectAndWait());
        QVERIFY(!desk.view.connectionPanel()->allBusesLabel()->isVisible());
        // Five more loads of about a third of a second each.
        QTRY_VERIFY_WITH_TIMEOUT(desk.connection.hasLoadedAllBuses(), 4'000);
        QTRY_VERIFY(desk.view.connectionPanel()->allBusesLabel()->isVisible());

        for (Bus bus : allBuses) {
            desk.clickTab(bus);
            QCOMPARE(desk.connection.isLoading(), false);
            QVERIFY(desk.model.cellState(1, 1).isFullyLoaded);
            for (int button = 1; button <= 35; ++button) {
                QCOMPARE(desk.model.cellState(3, button).source,
                         qint64{desk.frame.mapping(bus, 35, 3, button)});
            }
        }
    }
};

QTEST_MAIN(TestBusLoadsRealtime)
#include "tst_bus_loads_realtime.moc"
