// The bus and the button count shown are the ones written to: every way the tab bar or the
// count box can move (click, wheel, arrow keys, typing, the pop-up, another part of the program)
// switches the connection too, and an edit after such a switch reaches the bus on screen.
#include "desk.h"

#include <QAbstractItemView>
#include <QComboBox>
#include <QTabBar>
#include <QToolButton>
#include <QWheelEvent>

using namespace Qt::StringLiterals;
using namespace quorvane;
using namespace quorvane::test;

namespace {

// One notch of a mouse wheel over `widget`; up is towards the first tab or entry.
void turnWheel(QWidget& widget, bool up)
{
    const QPointF at = QRectF(widget.rect()).center();
    QWheelEvent wheel(at, widget.mapToGlobal(at), QPoint(), QPoint(0, up ? 120 : -120),
                      Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
    QApplication::sendEvent(&widget, &wheel);
}

} // namespace

class TestShownBus : public QObject {
    Q_OBJECT

private:
    // The tab, the grid and the connection speak of one bus, and the grid shows its buttons.
    static void checkOneBus(Desk& desk, Bus bus)
    {
        QTabBar* tabs = desk.view.busTabs();
        QCOMPARE(tabs->tabText(tabs->currentIndex()), busName(bus));
        QCOMPARE(desk.model.selectedBus(), bus);
        QCOMPARE(desk.model.cellState(1, 1).selectedBus, bus);
        QCOMPARE(desk.connection.currentBus(), bus);
        QTRY_VERIFY_WITH_TIMEOUT(!desk.connection.isLoading(), connectTimeoutMs);
        QVERIFY(desk.model.cellState(1, 1).isFullyLoaded);
        for (int button = 1; button <= 3; ++button) {
            QCOMPARE(desk.model.cellState(1, button).source,
                     qint64{desk.frame.mapping(bus, 35, 1, button)});
        }
    }

    // The count box, the grid and the connection speak of one button count.
    static void checkOneCount(Desk& desk, int count)
    {
        QComboBox* counts = desk.view.connectionPanel()->buttonCountChoice();
        QCOMPARE(counts->currentData().toInt(), count);
        QCOMPARE(desk.model.selectedButtonCount(), count);
        QCOMPARE(desk.connection.buttonCount(), count);
        QVERIFY(desk.grid.cellAt(desk.grid.cellRect(1, count).center()).has_value());
        QVERIFY(!desk.grid.cellAt(desk.grid.cellRect(1, count + 1).center()).has_value());
        // Let a first visit finish loading before the next switch: the answers to a load are
        // read at the count shown when they arrive.
        QTRY_VERIFY_WITH_TIMEOUT(!desk.connection.isLoading(), connectTimeoutMs);
    }

private Q_SLOTS:
    void everyWayOfMovingTheTabSwitchesTheBus()
    {
        Desk desk;
        QVERIFY(desk.start());
        QVERIFY(desk.connectAndWait());
        QTabBar* tabs = desk.view.busTabs();
        checkOneBus(desk, Bus::pgm);

        // A click on another tab.
        desk.clickTab(Bus::me2);
        checkOneBus(desk, Bus::me2);

        // The wheel over the tabs: ME2 → ME1, then back → ME2 → ME3.
        turnWheel(*tabs, true);
        checkOneBus(desk, Bus::me1);
        turnWheel(*tabs, false);
        checkOneBus(desk, Bus::me2);
        turnWheel(*tabs, false);
        checkOneBus(desk, Bus::me3);

        // The arrow keys on the focused tab bar.
        tabs->setFocus();
        QTest::keyClick(tabs, Qt::Key_Right);
        checkOneBus(desk, Bus::me4);
        QTest::keyClick(tabs, Qt::Key_Right);
        checkOneBus(desk, Bus::pgm);
        QTest::keyClick(tabs, Qt::Key_Left);
        checkOneBus(desk, Bus::me4);

        // A click on the tab already shown is a choice of it: the selection goes.
        desk.click(2, 3);
        QVERIFY(!desk.model.selection().isEmpty());
        desk.clickTab(Bus::me4);
        QVERIFY(desk.model.selection().isEmpty());
        checkOneBus(desk, Bus::me4);

        // Another part of the program switches the connection: the tab and the grid follow.
        desk.click(2, 3);
        desk.connection.changeBus(Bus::aux);
        QVERIFY(desk.model.selection().isEmpty());
        checkOneBus(desk, Bus::aux);
    }

    void everyWayOfMovingTheCountBoxSwitchesTheCount()
    {
        Desk desk;
        QVERIFY(desk.start());
        QVERIFY(desk.connectAndWait());
        QComboBox* counts = desk.view.connectionPanel()->buttonCountChoice();
        checkOneCount(desk, 35);

        // The wheel over the box: 35 → 25.
        turnWheel(*counts, true);
        checkOneCount(desk, 25);
        // Arrow keys on the focused box: 25 → 20 → 25.
        counts->setFocus();
        QTest::keyClick(counts, Qt::Key_Up);
        checkOneCount(desk, 20);
        QTest::keyClick(counts, Qt::Key_Down);
        checkOneCount(desk, 25);
        // Typing the start of an entry.
        QTest::keyClick(counts, Qt::Key_1);
        checkOneCount(desk, 15);
        // The pop-up: open it, walk down to the last entry and take it.
        counts->showPopup();
        QAbstractItemView* list = counts->view();
        QTRY_VERIFY(list->isVisible());
        QTest::keyClick(list, Qt::Key_End);
        QTest::keyClick(list, Qt::Key_Return);
        QTRY_VERIFY(!list->isVisible());
        checkOneCount(desk, 35);
        // Another part of the program switches the connection: the box and the grid follow.
        desk.connection.changeButtonCount(20);
        checkOneCount(desk, 20);
        QCOMPARE(desk.model.cellState(1, 20).source,
                 qint64{desk.frame.mapping(Bus::pgm, 20, 1, 20)});
    }

    void aPasteAfterAWheelSwitchWritesToTheBusOnScreen()
    {
        Desk desk;
        QVERIFY(desk.start());
        QVERIFY(desk.connectAndWait());
        QWidget* focus = desk.view.undoButton();
        desk.click(1, 1);
        desk.click(1, 3, Qt::ShiftModifier);
        QTest::keyClick(focus, Qt::Key_C, Qt::ControlModifier);
        const QList<qint64> copied = desk.model.clipboard().copiedSources;
        QCOMPARE(copied.size(), 3);

        // PGM → ME4 by the wheel, then paste at shift 2, button 5.
        turnWheel(*desk.view.busTabs(), true);
        checkOneBus(desk, Bus::me4);
        const qsizetype before = desk.frame.writeRequests().size();
        desk.click(2, 5);
        QTest::keyClick(focus, Qt::Key_V, Qt::ControlModifier);
        QTRY_COMPARE(desk.frame.writeRequests().size(), before + 3);
        const QList<emulator::WriteRequest> writes = desk.frame.writeRequests().mid(before);
        for (int k = 0; k < 3; ++k) {
            QCOMPARE(writes[k].busCode, busCode(Bus::me4));
            QCOMPARE(writes[k].parameter, emulator::buttonParameter(35, 2, 5 + k));
            QCOMPARE(qint64{writes[k].source}, copied[k]);
            QTRY_COMPARE(qint64{desk.frame.mapping(Bus::me4, 35, 2, 5 + k)}, copied[k]);
        }
    }
};

QTEST_MAIN(TestShownBus)
#include "tst_shown_bus.moc"
