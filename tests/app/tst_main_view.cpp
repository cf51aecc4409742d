// The main window at work against the emulated frame, driven by real Qt events: clicks, keys,
// drops, the connect button and the source picker.
#include "session/connection_panel_rules.h"
#include "demo_frame.h"
#include "desk.h"
#include "widgets/no_paste_line_edit.h"
#include "widgets/sandbox_strip.h"
#include "widgets/source_picker_dialog.h"

#include <QKeySequence>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QToolButton>

using namespace Qt::StringLiterals;
using namespace quorvane;
using namespace quorvane::test;

namespace {
// Any resolver answers about localhost and ".invalid" within this; a handshake would wait
// for the frame for twice as long.
constexpr int lookupTimeoutMs = 5'000;

// Empties the address field, then types `text` into it key by key; true if the field took it.
bool typeAddress(Desk& desk, const QString& text)
{
    desk.model.setIpAddress(QString());
    QTest::keyClicks(desk.view.connectionPanel()->addressField(), text);
    return desk.model.ipAddress() == text;
}

// The status line keeps a failure with the time it happened.
bool showsFailure(const ConnectionPanel& panel, const QString& reason)
{
    static const QRegularExpression timed(u"^(.*) at \\d\\d:\\d\\d:\\d\\d$"_s);
    const QRegularExpressionMatch match = timed.match(panel.statusLabel()->text());
    return match.hasMatch() && match.captured(1) == reason;
}
} // namespace

class TestMainView : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theConnectButtonFollowsTheConnection()
    {
        Desk desk;
        QVERIFY(desk.start());
        QPushButton* button = desk.view.connectionPanel()->connectButton();
        QCOMPARE(button->text(), u"Connect"_s);
        QTest::mouseClick(button, Qt::LeftButton);
        QCOMPARE(button->text(), u"Cancel"_s);
        QTRY_COMPARE_WITH_TIMEOUT(button->text(), u"Disconnect"_s, connectTimeoutMs);
        QCOMPARE(desk.connection.connectionState(), ConnectionState::connected);
        QTest::mouseClick(button, Qt::LeftButton);
        QCOMPARE(button->text(), u"Connect"_s);
        QCOMPARE(desk.connection.connectionState(), ConnectionState::idle);
    }

    void cancelWhileVerifyingTheHeartbeat()
    {
        Desk desk;
        QVERIFY(desk.start());
        // The frame answers the handshake, then falls silent.
        QObject::connect(&desk.connection, &GVConnection::connectionStateChanged, &desk.frame,
                         [&desk] {
                             if (desk.connection.connectionState() == ConnectionState::heartbeat)
                                 desk.frame.setAnsweringPings(false);
                         });
        QPushButton* button = desk.view.connectionPanel()->connectButton();
        QTest::mouseClick(button, Qt::LeftButton);
        QTRY_COMPARE_WITH_TIMEOUT(desk.connection.connectionState(), ConnectionState::heartbeat,
                                  connectTimeoutMs);
        QCOMPARE(button->text(), u"Cancel"_s);
        QTest::mouseClick(button, Qt::LeftButton);
        QCOMPARE(button->text(), u"Connect"_s);
        QCOMPARE(desk.connection.isLoading(), false);
        QCOMPARE(desk.connection.connectionState(), ConnectionState::idle);
        // The cancelled connect has ended, and never started a second one.
        QTRY_VERIFY_WITH_TIMEOUT(!desk.connection.isConnectionTaskRunning(), connectTimeoutMs);
        QCOMPARE(desk.frame.receivedOfKind(emulator::ClientMessageKind::clientIdFirst).size(), 1);
        QCOMPARE(desk.connection.connectionState(), ConnectionState::idle);
    }

    void aHostNameConnectsAsItsAddressWouldAndIsRemembered()
    {
        Desk desk;
        QVERIFY(desk.start());
        QVERIFY(typeAddress(desk, u"localhost"_s));
        ConnectionPanel& panel = *desk.view.connectionPanel();
        QTest::mouseClick(panel.connectButton(), Qt::LeftButton);
        // The name is being looked up; the connection has not begun yet.
        QCOMPARE(panel.connectButton()->text(), u"Cancel"_s);
        QCOMPARE(panel.statusLabel()->text(), u"Looking up localhost..."_s);
        QVERIFY(!panel.addressField()->isEnabled());
        QCOMPARE(desk.connection.connectionState(), ConnectionState::idle);

        QTRY_VERIFY(desk.connection.connectionState() != ConnectionState::idle);
        const QStringList messages = loggedMessages(desk.logger);
        QVERIFY(messages.contains(u"[INFO] Resolved localhost to 127.0.0.1"_s));
        QVERIFY(messages.contains(u"[INFO] Connect requested to 127.0.0.1 on Suite 1 (ports "
                                  u"6132/6133), 35-button mode"_s));
        QCOMPARE(desk.connection.targetHost(), u"127.0.0.1"_s);
        QTRY_COMPARE_WITH_TIMEOUT(desk.connection.connectionState(), ConnectionState::connected,
                                  connectTimeoutMs);
        QVERIFY(!desk.frame.received().isEmpty());
        // The name typed is what the field shows next time, not the address it stood for.
        QCOMPARE(desk.connection.savedHost(), u"localhost"_s);
        QCOMPARE(desk.preferences.value(GVConnection::lastHostKey).toString(), u"localhost"_s);
        QCOMPARE(panel.addressField()->text(), u"localhost"_s);
    }

    void anUnknownNameOrAShortAddressFailsAtOnceAndSaysWhy()
    {
        Desk desk;
        QVERIFY(desk.start());
        ConnectionPanel& panel = *desk.view.connectionPanel();
        QSignalSpy stateChanges(&desk.connection, &GVConnection::connectionStateChanged);
        QVERIFY(typeAddress(desk, u"frame-a.invalid"_s));
        QTest::mouseClick(panel.connectButton(), Qt::LeftButton);
        QCOMPARE(panel.statusLabel()->text(), u"Looking up frame-a.invalid..."_s);
        // Far sooner than a handshake would give up.
        QTRY_VERIFY_WITH_TIMEOUT(showsFailure(panel, u"Cannot find frame-a.invalid"_s),
                                 lookupTimeoutMs);
        QCOMPARE(panel.connectButton()->text(), u"Connect"_s);
        QCOMPARE(panel.stateLabel()->text(), u"Disconnected"_s);
        QVERIFY(panel.addressField()->isEnabled());

        // The next attempt replaces the reason; a short address never gets to a lookup.
        QVERIFY(typeAddress(desk, u"10.0.0"_s));
        QTest::mouseClick(panel.connectButton(), Qt::LeftButton);
        QVERIFY(showsFailure(panel, u"Not an IPv4 address or host name: 10.0.0"_s));
        QVERIFY(desk.view.linkBanner()->isVisible());
        QCOMPARE(panel.connectButton()->text(), u"Connect"_s);
        const QStringList messages = loggedMessages(desk.logger);
        QVERIFY(!messages.contains(u"[INFO] Looking up 10.0.0"_s));
        QVERIFY(messages.contains(u"[WARN] Not an IPv4 address or host name: 10.0.0"_s));

        // Nothing reached the frame and no connection was begun.
        QVERIFY(desk.frame.received().isEmpty());
        QCOMPARE(stateChanges.size(), 0);
        QCOMPARE(desk.connection.savedHost(), QString());

        // A good address connects, and the reason is gone with the attempt.
        QVERIFY(typeAddress(desk, u"127.0.0.1"_s));
        QVERIFY(desk.connectAndWait());
        QCOMPARE(panel.statusLabel()->text(),
                 statusLineMessage(ConnectionState::connected, desk.connection.statusMessage()));
        QVERIFY(!panel.statusLabel()->text().contains(u"10.0.0"_s));
    }

    void cancelWhileLookingUp()
    {
        Desk desk;
        QVERIFY(desk.start());
        ConnectionPanel& panel = *desk.view.connectionPanel();
        QVERIFY(typeAddress(desk, u"localhost"_s));
        QTest::mouseClick(panel.connectButton(), Qt::LeftButton);
        QCOMPARE(panel.connectButton()->text(), u"Cancel"_s);
        QTest::mouseClick(panel.connectButton(), Qt::LeftButton);
        QCOMPARE(panel.connectButton()->text(), u"Connect"_s);
        QCOMPARE(panel.statusLabel()->text(), QString());
        QVERIFY(panel.addressField()->isEnabled());
        QVERIFY(loggedMessages(desk.logger).contains(u"[INFO] Lookup of localhost abandoned"_s));

        // localhost comes from the hosts file, far sooner than an answer about ".invalid": had
        // the abandoned lookup still been heard, the connection would have begun by then.
        QSignalSpy stateChanges(&desk.connection, &GVConnection::connectionStateChanged);
        QVERIFY(typeAddress(desk, u"frame-a.invalid"_s));
        QTest::mouseClick(panel.connectButton(), Qt::LeftButton);
        QTRY_VERIFY_WITH_TIMEOUT(showsFailure(panel, u"Cannot find frame-a.invalid"_s),
                                 lookupTimeoutMs);
        QCOMPARE(stateChanges.size(), 0);
        QVERIFY(desk.frame.received().isEmpty());
    }

    void clicksShiftClicksAndColumns()
    {
        Desk desk;
        QVERIFY(desk.start());
        QVERIFY(desk.connectAndWait());
        desk.click(2, 3);
        QCOMPARE(desk.model.selection().selectedButtons(), (ButtonKeySet{{2, 3}}));
        desk.click(2, 6, Qt::ShiftModifier);
        QCOMPARE(desk.model.selection().selectedButtons(),
                 (ButtonKeySet{{2, 3}, {2, 4}, {2, 5}, {2, 6}}));
        // One of the last four buttons of the row selects its column.
        desk.click(3, 33);
        QCOMPARE(desk.model.selection().selectedButtons(),
                 (ButtonKeySet{{1, 33}, {2, 33}, {3, 33}, {4, 33}}));
        QVERIFY(desk.model.selection().isVerticalSelection());
    }

    void thePickerWritesToTheDoubleClickedButton()
    {
        Desk desk;
        QVERIFY(desk.start());
        QVERIFY(desk.connectAndWait());
        // Two clicks in quick succession, as a hand makes them.
        for (int click = 0; click < 2; ++click) {
            QTest::mouseClick(&desk.grid, Qt::LeftButton, Qt::NoModifier,
                              desk.grid.cellRect(1, 5).center());
        }
        SourcePickerDialog* picker = desk.view.picker();
        QTRY_VERIFY(picker->isVisible());
        QCOMPARE(picker->focusWidget(), picker->searchField());
        QCOMPARE(picker->searchField()->placeholderText(), u"Search by name or ID..."_s);
        QTest::keyClicks(picker->searchField(), u"777"_s);
        QTRY_COMPARE(picker->list()->count(), 1);
        QListWidgetItem* row = picker->list()->item(0);
        QCOMPARE(row->data(Qt::UserRole).toInt(), 777);
        const QRect rowRect = picker->list()->visualItemRect(row);
        // The test helper's double click is the second press alone: the first comes before it.
        QTest::mouseClick(picker->list()->viewport(), Qt::LeftButton, Qt::NoModifier,
                          rowRect.center());
        QCOMPARE(desk.model.sourcePicker().selectedSource, 777); // one click highlights
        QTest::mouseDClick(picker->list()->viewport(), Qt::LeftButton, Qt::NoModifier,
                           rowRect.center());
        QTRY_COMPARE(desk.frame.mapping(Bus::pgm, 35, 1, 5), quint32{777});
        QTRY_VERIFY(!picker->isVisible());
        QVERIFY(desk.view.undoButton()->isEnabled()); // a choice in the picker is undone too
    }

    void shortcutsActWhereverTheFocusIs()
    {
        Desk desk;
        QVERIFY(desk.start());
        QVERIFY(desk.connectAndWait());
        NoPasteLineEdit* address = desk.view.connectionPanel()->addressField();
        address->setEnabled(true);
        address->setFocus();
        KeyRecorder reached;
        address->installEventFilter(&reached);
        QVERIFY(desk.view.hasShortcutFilter());

        // Command-Z with nothing to undo is swallowed.
        QTest::keyClick(address, Qt::Key_Z, Qt::ControlModifier);
        QVERIFY(reached.keys.isEmpty());
        // Command-V with an empty clipboard goes on to the focused field.
        desk.click(1, 1);
        QTest::keyClick(address, Qt::Key_V, Qt::ControlModifier);
        QCOMPARE(reached.keys, QList<QKeyCombination>{Qt::ControlModifier | Qt::Key_V});

        // Command-Shift-C copies the selection.
        desk.click(1, 4, Qt::ShiftModifier);
        QTest::keyClick(address, Qt::Key_C, Qt::ControlModifier | Qt::ShiftModifier);
        QCOMPARE(desk.model.clipboard().copiedSources.size(), 4);
        QCOMPARE(reached.keys.size(), 1);

        // Delete clears the selected buttons even while the field has the focus.
        const QString typed = address->text();
        QTest::keyClick(address, Qt::Key_Delete);
        QCOMPARE(address->text(), typed);
        for (int button = 1; button <= 4; ++button)
            QTRY_COMPARE(desk.frame.mapping(Bus::pgm, 35, 1, button), quint32{0});
        QCOMPARE(reached.keys.size(), 1);

        desk.view.hide();
        QVERIFY(!desk.view.hasShortcutFilter());
    }

    void dropsOnCellsAndTheSandbox()
    {
        Desk desk;
        QVERIFY(desk.start());
        QVERIFY(desk.connectAndWait());
        const MultiButtonDragData fromSandbox = sandboxSlotDrag(703);
        desk.dropOn(desk.grid, desk.grid.cellRect(3, 4).center(), fromSandbox);
        QTRY_COMPARE(desk.frame.mapping(Bus::pgm, 35, 3, 4), quint32{703});
        QVERIFY(desk.model.canUndo());

        // Buttons dragged off the grid park their sources in the sandbox.
        MultiButtonDragData fromGrid;
        fromGrid.buttons = {{5, 12, 2}, {6, 0, 2}, {7, 31, 2}};
        fromGrid.fromBus = u"PGM"_s;
        fromGrid.fromShift = 2;
        fromGrid.anchorButton = 5;
        fromGrid.anchorShift = 2;
        desk.dropOn(*desk.view.sandbox(), QPoint(10, 10), fromGrid);
        QCOMPARE(desk.model.sandboxSlots().size(), 2);
        QCOMPARE(desk.model.sandboxSlots()[1].source, 31);

        // A payload that falls off the row is refused whole.
        MultiButtonDragData wide = fromGrid;
        wide.buttons = {{5, 12, 2}, {6, 13, 2}, {7, 14, 2}};
        const quint32 before = desk.frame.mapping(Bus::pgm, 35, 1, 34);
        const auto writes = desk.frame.writeRequests().size();
        desk.dropOn(desk.grid, desk.grid.cellRect(1, 34).center(), wide);
        QVERIFY(frameHasReadAllSentBy(desk.connection, desk.frame));
        QCOMPARE(desk.frame.writeRequests().size(), writes);
        QCOMPARE(desk.frame.mapping(Bus::pgm, 35, 1, 34), before);
    }

    void pasteARowThenUndoAndRedoItOnTheDemoFrame()
    {
        // As `quorvane --demo` starts: the built-in frame, the address pointed at it.
        Desk desk;
        QString error;
        const std::unique_ptr<emulator::FrameEmulator> demo = startDemoFrame(desk.view, error);
        QVERIFY2(demo, qPrintable(error));
        QCOMPARE(desk.model.ipAddress(), u"127.0.0.1"_s);
        desk.window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&desk.window));
        QVERIFY(desk.connectAndWait());

        // The grid shows the demo frame's names.
        const ButtonCellState first = desk.model.cellState(1, 1);
        QCOMPARE(first.source, qint64{demo->mapping(Bus::pgm, 35, 1, 1)});
        QVERIFY(first.displayName);
        QCOMPARE(*first.displayName, *displayName(int(first.source), demo->show().names(),
                                                  desk.connection.internalSourceLabels()));

        auto frameRow = [&](int shift) {
            QList<quint32> row;
            for (int button = 1; button <= 4; ++button)
                row.append(demo->mapping(Bus::pgm, 35, shift, button));
            return row;
        };
        const QList<quint32> row1 = frameRow(1);
        const QList<quint32> row3 = frameRow(3);
        QVERIFY(row1 != row3);
        QWidget* focus = desk.view.undoButton();
        desk.click(1, 1);
        desk.click(1, 4, Qt::ShiftModifier);
        QTest::keyClick(focus, Qt::Key_C, Qt::ControlModifier);
        desk.click(3, 1);
        QTest::keyClick(focus, Qt::Key_V, Qt::ControlModifier);
        QTRY_COMPARE(frameRow(3), row1);
        QVERIFY(desk.view.undoButton()->isEnabled());
        QTest::mouseClick(desk.view.undoButton(), Qt::LeftButton);
        // Undo restores every button, the empty ones to empty.
        QVERIFY(row3.contains(0));
        QTRY_COMPARE(frameRow(3), row3);
        QVERIFY(!desk.view.undoButton()->isEnabled());

        // Redo, by its key and by its button, takes the undo back.
        QToolButton* redo = desk.view.redoButton();
        QVERIFY(redo->isEnabled());
        const QString shiftCommandZ =
            QKeySequence(Qt::ControlModifier | Qt::ShiftModifier | Qt::Key_Z)
                .toString(QKeySequence::NativeText);
        // The tooltips say where the newest step belongs and name the keys as this platform
        // writes them.
        QCOMPARE(redo->toolTip(),
                 u"Redo: suite 1, 35 buttons, 127.0.0.1 ("_s + shiftCommandZ + u')');
#ifndef Q_OS_MACOS
        QCOMPARE(shiftCommandZ, u"Ctrl+Shift+Z"_s);
        QCOMPARE(desk.view.undoButton()->toolTip(), u"Undo the last change (Ctrl+Z)"_s);
#endif
        QTest::keyClick(focus, Qt::Key_Z, Qt::ControlModifier | Qt::ShiftModifier);
        QTRY_COMPARE(frameRow(3), row1);
        QVERIFY(!redo->isEnabled());
        QVERIFY(desk.view.undoButton()->isEnabled());
        QTest::keyClick(focus, Qt::Key_Z, Qt::ControlModifier);
        QTRY_COMPARE(frameRow(3), row3);
        QTest::mouseClick(redo, Qt::LeftButton);
        QTRY_COMPARE(frameRow(3), row1);
        QVERIFY(!redo->isEnabled());
    }
};

QTEST_MAIN(TestMainView)
#include "tst_main_view.moc"
