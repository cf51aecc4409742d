// Undo across a disconnect at the link's own timings: an edit, Disconnect, Connect to the same
// panel again, and one Undo that puts the frame's buttons back, empty ones included.
#include "desk.h"

#include <QToolButton>

using namespace Qt::StringLiterals;
using namespace quorvane;
using namespace quorvane::test;

class TestUndoRealtime : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void anEditIsUndoneAfterReconnectingToItsPanel()
    {
        Desk desk;
        desk.connection.setTiming(LinkTiming{});
        for (int button = 1; button <= 35; ++button) {
            desk.frame.setMapping(Bus::pgm, 35, 1, button, button <= 3 ? 300 + button : 0);
            desk.frame.setMapping(Bus::pgm, 35, 2, button, button == 2 ? 222 : 0);
        }
        QVERIFY(desk.start());
        QVERIFY(desk.connectAndWait());
        const auto row2 = [&] {
            QList<quint32> row;
            for (int button = 1; button <= 3; ++button)
                row.append(desk.frame.mapping(Bus::pgm, 35, 2, button));
            return row;
        };
        desk.click(1, 1);
        desk.click(1, 3, Qt::ShiftModifier);
        QTest::keyClick(&desk.grid, Qt::Key_C, Qt::ControlModifier);
        desk.click(2, 1);
        QTest::keyClick(&desk.grid, Qt::Key_V, Qt::ControlModifier);
        QTRY_COMPARE(row2(), QList<quint32>({301, 302, 303}));

        QPushButton* connect = desk.view.connectionPanel()->connectButton();
        QTest::mouseClick(connect, Qt::LeftButton);
        QTRY_VERIFY(!desk.connection.isConnected());
        QVERIFY(!desk.view.undoButton()->isEnabled());
        QVERIFY(desk.connectAndWait());
        QVERIFY(desk.view.undoButton()->isEnabled());

        const qsizetype writes = desk.frame.writeRequests().size();
        QTest::keyClick(&desk.grid, Qt::Key_Z, Qt::ControlModifier);
        QTRY_COMPARE(row2(), QList<quint32>({0, 222, 0}));
        QCOMPARE(desk.frame.writeRequests().size(), writes + 3);
        QVERIFY(desk.model.undoHistory().isEmpty());
    }
};

QTEST_MAIN(TestUndoRealtime)
#include "tst_undo_realtime.moc"
