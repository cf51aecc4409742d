// Edits made with the keys in the main window, at the link's own timings, on a network that
// loses one datagram in twenty each way, with one button the frame refuses: at the end every
// cell shows what the frame holds, and the refused one says so.
#include "desk.h"
#include "write_audit.h"

#include <QLabel>

using namespace Qt::StringLiterals;
using namespace quorvane;
using namespace quorvane::test;

class TestWriteConfirmRealtime : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void editsOnALossyNetworkEndAsTheFrameHoldsThem()
    {
        emulator::FrameEmulatorOptions options;
        options.faults.seed = 3;
        options.faults.refusedWrites = {{Bus::pgm, 35, 2, 3}};
        Desk desk(options);
        desk.connection.setTiming(LinkTiming{});
        QVERIFY(desk.start());
        QVERIFY(desk.connectAndWait());
        desk.frame.setLoss(0.05, 0.05);

        QWidget* keys = &desk.grid;
        desk.click(1, 1);
        desk.click(1, 5, Qt::ShiftModifier);
        QTest::keyClick(keys, Qt::Key_C, Qt::ControlModifier);
        desk.click(2, 1);
        QTest::keyClick(keys, Qt::Key_V, Qt::ControlModifier);
        desk.click(3, 10);
        desk.click(3, 14, Qt::ShiftModifier);
        QTest::keyClick(keys, Qt::Key_Delete);
        QTest::keyClick(keys, Qt::Key_Z, Qt::ControlModifier);
        QTest::keyClick(keys, Qt::Key_Z, Qt::ControlModifier | Qt::ShiftModifier);

        QTRY_VERIFY_WITH_TIMEOUT(desk.connection.writes().isSettled(), 20'000);
        desk.frame.setLoss(0, 0);
        QVERIFY(waitForFrameToDrain(desk.frame, desk.connection, Bus::pgm));
        const WriteAudit audit = auditWrites(desk.model, desk.connection, desk.frame, {});
        QCOMPARE(audit.unnamed, QStringList());
        QCOMPARE(audit.differing, 0);

        QCOMPARE(desk.model.cellState(2, 3).writeMark, CellWriteMark::refused);
        QTRY_VERIFY(desk.view.connectionPanel()->statusLabel()->text().contains(
            u"1 button refused by the frame"_s));
    }
};

QTEST_MAIN(TestWriteConfirmRealtime)
#include "tst_write_confirm_realtime.moc"
