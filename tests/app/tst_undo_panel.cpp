// Undo as the operator meets it in the main window, checked on the emulated frame's own table:
// every edit, onto empty buttons too, comes back exactly; a button the frame never answered for
// is named, not guessed; a step is undone only on the panel it was made on; and a lost link is
// explained where the operator looks.
#include "widgets/connection_panel.h"
#include "desk.h"
#include "session/link_failure.h"
#include "main_window.h"
#include "model/show_file.h"
#include "widgets/sandbox_strip.h"
#include "widgets/source_picker_dialog.h"

#include <QComboBox>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QRegularExpression>
#include <QTimer>
#include <QToolButton>

using namespace Qt::StringLiterals;
using namespace quorvane;
using namespace quorvane::test;

namespace {
constexpr int count = 35;

struct UndoDesk : Desk {
    explicit UndoDesk(emulator::FrameEmulatorOptions options = {})
        : Desk(std::move(options))
    {
    }

    ConnectionPanel& panel() { return *view.connectionPanel(); }
    QString status() { return panel().statusLabel()->text(); }
    QToolButton& undoButton() { return *view.undoButton(); }

    // The whole row: `sources` from button 1, the rest empty.
    void setRow(int shift, const QList<quint32>& sources)
    {
        for (int button = 1; button <= count; ++button) {
            frame.setMapping(Bus::pgm, count, shift, button,
                             button <= sources.size() ? sources[button - 1] : 0);
        }
    }
    QList<quint32> row(int shift, int buttons)
    {
        QList<quint32> sources;
        for (int button = 1; button <= buttons; ++button)
            sources.append(frame.mapping(Bus::pgm, count, shift, button));
        return sources;
    }
    // A shortcut as pressed with the grid focused.
    void press(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier)
    {
        QTest::keyClick(&grid, key, modifiers);
    }
    void undoByKey() { press(Qt::Key_Z, Qt::ControlModifier); }
    qsizetype writesReceived() { return frame.writeRequests().size(); }
};

// The row after the edit differs from the row before, and one Undo puts back exactly the row
// before, empty buttons included.
#define CHECK_UNDO_RESTORES(desk, shift, before, buttons)                                          \
    do {                                                                                           \
        QVERIFY((desk).row(shift, buttons) != (before));                                           \
        QVERIFY((desk).undoButton().isEnabled());                                                  \
        QTest::mouseClick(&(desk).undoButton(), Qt::LeftButton);                                   \
        QTRY_COMPARE((desk).row(shift, buttons), (before));                                        \
    } while (false)

// "reason at 20:14:03"
bool isTimedFailure(const QString& text, const QString& reason)
{
    static const QRegularExpression timed(u"^(.*) at (\\d\\d:\\d\\d:\\d\\d)$"_s);
    const QRegularExpressionMatch match = timed.match(text);
    return match.hasMatch() && match.captured(1) == reason;
}

// Answers the next message box the window opens, as the user would with Return.
void acceptNextMessageBox(QString& text)
{
    QTimer::singleShot(0, [&text] {
        auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
        if (!box) {
            acceptNextMessageBox(text);
            return;
        }
        text = box->text();
        QTest::keyClick(box, Qt::Key_Return);
    });
}
} // namespace

class TestUndoPanel : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void pasteOntoEmptyButtonsThenUndoEmptiesThem()
    {
        UndoDesk desk;
        desk.setRow(1, {11, 12, 13, 14});
        desk.setRow(2, {});
        QVERIFY(desk.start());
        QVERIFY(desk.connectAndWait());
        const QList<quint32> before = desk.row(2, 4);
        QCOMPARE(before, QList<quint32>(4, 0));
        desk.click(1, 1);
        desk.click(1, 4, Qt::ShiftModifier);
        desk.press(Qt::Key_C, Qt::ControlModifier);
        desk.click(2, 1);
        desk.press(Qt::Key_V, Qt::ControlModifier);
        QTRY_COMPARE(desk.row(2, 4), QList<quint32>({11, 12, 13, 14}));
        QVERIFY(loggedMessages(desk.logger).contains(u"[INFO] Wrote PGM S2B1 > 11 (was 0)"_s));
        CHECK_UNDO_RESTORES(desk, 2, before, 4);
        QVERIFY(loggedMessages(desk.logger).contains(u"[INFO] Wrote PGM S2B1 > 0 (was 11)"_s));
    }

    void aDragOntoEmptyButtonsIsUndone()
    {
        UndoDesk desk;
        desk.setRow(1, {21, 22});
        desk.setRow(3, {});
        QVERIFY(desk.start());
        QVERIFY(desk.connectAndWait());
        const QList<quint32> before = desk.row(3, 6);
        desk.click(1, 1);
        desk.click(1, 2, Qt::ShiftModifier);
        const std::optional<MultiButtonDragData> payload = desk.model.beginDrag(
            1, 1, QPointF(desk.grid.mapTo(&desk.window, desk.grid.cellRect(1, 1).center())));
        QVERIFY(payload);
        desk.dropOn(desk.grid, desk.grid.cellRect(3, 5).center(), *payload);
        QTRY_COMPARE(desk.row(3, 6), QList<quint32>({0, 0, 0, 0, 21, 22}));
        CHECK_UNDO_RESTORES(desk, 3, before, 6);
    }

    void aSandboxDropOntoAnEmptyButtonIsUndone()
    {
        UndoDesk desk;
        desk.setRow(1, {31});
        desk.setRow(4, {});
        QVERIFY(desk.start());
        QVERIFY(desk.connectAndWait());
        // A source parked from the grid, then dropped from its slot onto an empty button.
        desk.click(1, 1);
        const std::optional<MultiButtonDragData> fromGrid = desk.model.beginDrag(1, 1, {});
        QVERIFY(fromGrid);
        desk.dropOn(*desk.view.sandbox(), QPoint(10, 10), *fromGrid);
        QCOMPARE(desk.model.sandboxSlots().size(), 1);
        const std::optional<MultiButtonDragData> fromSlot = desk.model.beginSandboxDrag(0);
        QVERIFY(fromSlot);
        const QList<quint32> before = desk.row(4, 3);
        desk.dropOn(desk.grid, desk.grid.cellRect(4, 3).center(), *fromSlot);
        QTRY_COMPARE(desk.row(4, 3), QList<quint32>({0, 0, 31}));
        CHECK_UNDO_RESTORES(desk, 4, before, 3);
    }

    void aSourcePickedForAnEmptyButtonIsUndone()
    {
        UndoDesk desk;
        desk.setRow(2, {});
        QVERIFY(desk.start());
        QVERIFY(desk.connectAndWait());
        const QList<quint32> before = desk.row(2, 9);
        desk.click(2, 9);
        desk.press(Qt::Key_Return);
        SourcePickerDialog* picker = desk.view.picker();
        QTRY_VERIFY(picker->isVisible());
        QTest::keyClicks(picker->searchField(), u"777"_s);
        QTest::keyClick(picker->searchField(), Qt::Key_Down);
        QTest::keyClick(picker->searchField(), Qt::Key_Return);
        QTRY_COMPARE(desk.frame.mapping(Bus::pgm, count, 2, 9), 777u);
        QVERIFY(loggedMessages(desk.logger).contains(u"[INFO] Wrote PGM S2B9 > 777 (was 0)"_s));
        CHECK_UNDO_RESTORES(desk, 2, before, 9);
    }

    void aCloseUpThatPullsSourcesIntoEmptyButtonsIsUndone()
    {
        UndoDesk desk;
        desk.setRow(1, {41, 0, 43, 44, 0, 46});
        QVERIFY(desk.start());
        QVERIFY(desk.connectAndWait());
        const QList<quint32> before = desk.row(1, 8);
        desk.click(1, 1);
        desk.press(Qt::Key_Delete, Qt::ShiftModifier);
        QTRY_COMPARE(desk.row(1, 8), QList<quint32>({0, 43, 44, 0, 46, 0, 0, 0}));
        CHECK_UNDO_RESTORES(desk, 1, before, 8);
    }

    void anImportIsUndoneToEmpty()
    {
        UndoDesk desk;
        desk.setRow(3, {51, 0, 0});
        QVERIFY(desk.start());
        QVERIFY(desk.connectAndWait());
        const QList<quint32> before = desk.row(3, 3);
        // PGM as the frame holds it, but for three buttons of the row.
        ShowFile file;
        file.buttonCount = count;
        for (int shift = 1; shift <= 4; ++shift) {
            for (int button = 1; button <= count; ++button) {
                const bool changed = shift == 3 && button <= 3;
                const quint32 source =
                    changed ? 60 + button : desk.frame.mapping(Bus::pgm, count, shift, button);
                if (source != 0)
                    file.buttons.append({Bus::pgm, shift, button, source, {}});
            }
        }
        const QString path = desk.settingsDir.filePath(u"import.json"_s);
        QFile out(path);
        QVERIFY(out.open(QIODevice::WriteOnly));
        out.write(writeShowJson(file));
        out.close();

        QString message;
        acceptNextMessageBox(message);
        desk.window.importMappingsFrom(path);
        QCOMPARE(message, u"3 buttons written (one Undo takes them back)."_s);
        QTRY_COMPARE(desk.row(3, 3), QList<quint32>({61, 62, 63}));
        CHECK_UNDO_RESTORES(desk, 3, before, 3);
    }

    void anEditTouchingAnUnknownButtonNamesIt()
    {
        emulator::FrameEmulatorOptions options;
        options.faults.silentButtons = {{Bus::pgm, count, 2, 2}};
        UndoDesk desk(std::move(options));
        desk.setRow(1, {71, 72, 73});
        desk.setRow(2, {0, 82, 83});
        QVERIFY(desk.start());
        QVERIFY(desk.connectAndWait());
        QVERIFY(!desk.connection.hasAnswered(Bus::pgm, 2, 2, count));
        desk.click(1, 1);
        desk.click(1, 3, Qt::ShiftModifier);
        desk.press(Qt::Key_C, Qt::ControlModifier);
        desk.click(2, 1);
        desk.press(Qt::Key_V, Qt::ControlModifier);
        QTRY_COMPARE(desk.row(2, 3), QList<quint32>({71, 72, 73}));
        QVERIFY(desk.status().endsWith(
            u" · 1 button without an answer from the frame could not be recorded for undo"_s));
        QVERIFY(
            loggedMessages(desk.logger).contains(u"[INFO] Wrote PGM S2B2 > 72 (was unknown)"_s));
        QCOMPARE(desk.model.undoHistory().newest()->changes,
                 QList<ButtonState>({{Bus::pgm, 2, 1, 0}, {Bus::pgm, 2, 3, 83}}));

        // Exactly the answered buttons come back; the unknown one keeps what was pasted.
        desk.undoByKey();
        QTRY_COMPARE(desk.row(2, 3), QList<quint32>({0, 72, 83}));
        QVERIFY(!desk.status().contains(u"could not be recorded"_s));
    }

    void aStepIsUndoneOnlyOnItsOwnPanel()
    {
        UndoDesk desk;
        desk.setRow(1, {91});
        QVERIFY(desk.start());
        QVERIFY(desk.connectAndWait());
        desk.click(1, 1);
        desk.press(Qt::Key_Delete);
        QTRY_COMPARE(desk.frame.mapping(Bus::pgm, count, 1, 1), 0u);
        QVERIFY(desk.undoButton().isEnabled());
        const QString place = u"Undo: suite 1, 35 buttons, 127.0.0.1 ("_s +
                              QKeySequence(QKeySequence::Undo).toString(QKeySequence::NativeText) +
                              u')';
        QCOMPARE(desk.undoButton().toolTip(), place);

        // Disconnected: refused, said, and kept.
        QTest::mouseClick(desk.panel().connectButton(), Qt::LeftButton);
        QTRY_VERIFY(!desk.connection.isConnected());
        QVERIFY(!desk.undoButton().isEnabled());
        QCOMPARE(desk.undoButton().toolTip(), place);
        const qsizetype writes = desk.writesReceived();
        desk.undoByKey();
        QCOMPARE(desk.status(), u"Not connected: nothing was written"_s);
        QCOMPARE(desk.model.undoHistory().size(), 1);

        // Another suite of the same frame: refused.
        desk.panel().suiteChoice()->setCurrentIndex(1);
        QCOMPARE(desk.model.selectedSuite(), 2);
        QVERIFY(desk.connectAndWait());
        QVERIFY(!desk.undoButton().isEnabled());
        desk.undoByKey();
        QCOMPARE(desk.model.editNotice(),
                 u"Nothing undone: the newest step belongs to suite 1, 35 buttons, 127.0.0.1"_s);
        QVERIFY(desk.status().endsWith(desk.model.editNotice()));
        QTest::mouseClick(desk.panel().connectButton(), Qt::LeftButton);
        QTRY_VERIFY(!desk.connection.isConnected());

        // The same suite at another button count: refused, until the count is 35 again.
        desk.panel().suiteChoice()->setCurrentIndex(0);
        desk.panel().buttonCountChoice()->setCurrentIndex(
            desk.panel().buttonCountChoice()->findData(20));
        QVERIFY(desk.connectAndWait());
        QCOMPARE(desk.connection.buttonCount(), 20);
        QVERIFY(!desk.undoButton().isEnabled());
        desk.undoByKey();
        QCOMPARE(desk.writesReceived(), writes);
        QCOMPARE(desk.model.undoHistory().size(), 1);
        desk.panel().buttonCountChoice()->setCurrentIndex(
            desk.panel().buttonCountChoice()->findData(count));
        QTRY_VERIFY(desk.undoButton().isEnabled());
        desk.undoByKey();
        QTRY_COMPARE(desk.frame.mapping(Bus::pgm, count, 1, 1), 91u);
        QVERIFY(desk.model.undoHistory().isEmpty());
    }

    void aLostLinkIsExplainedAndEditsSayNothingWasWritten()
    {
        UndoDesk desk;
        LinkTiming timing = fastTiming();
        timing.keepAliveInterval = 100ms;
        timing.heartbeatTimeout = 300ms;
        desk.connection.setTiming(timing);
        desk.setRow(1, {101, 102});
        QVERIFY(desk.start());
        QVERIFY(desk.connectAndWait());
        QVERIFY(!desk.view.linkBanner()->isVisible());
        desk.click(1, 1);
        desk.click(1, 2, Qt::ShiftModifier);
        desk.press(Qt::Key_C, Qt::ControlModifier);

        desk.frame.stop();
        QTRY_VERIFY_WITH_TIMEOUT(!desk.connection.isConnected(), connectTimeoutMs);
        QCOMPARE(desk.panel().stateLabel()->text(), u"Disconnected"_s);
        QVERIFY2(isTimedFailure(desk.status(), u"Connection lost (heartbeat timeout)"_s),
                 qPrintable(desk.status()));
        QVERIFY(desk.view.linkBanner()->isVisible());
        QVERIFY(desk.view.linkBannerText()->text().contains(desk.view.linkFailure().text()));

        // An attempted paste changes nothing and says so, beside the reason.
        const qsizetype writes = desk.frame.writeRequests().size();
        desk.click(2, 1);
        desk.press(Qt::Key_V, Qt::ControlModifier);
        QCOMPARE(desk.status(),
                 desk.view.linkFailure().text() + u" · Not connected: nothing was written"_s);
        QCOMPARE(desk.frame.writeRequests().size(), writes);
        QVERIFY(desk.model.undoHistory().isEmpty());

        // The banner's Connect starts again; the reason goes with the new attempt.
        QVERIFY(desk.frame.start());
        QTest::mouseClick(desk.view.linkBannerConnectButton(), Qt::LeftButton);
        QTRY_VERIFY_WITH_TIMEOUT(desk.connection.isConnected(), connectTimeoutMs);
        QVERIFY(!desk.view.linkBanner()->isVisible());
        QVERIFY(!desk.status().contains(u"Connection lost"_s));
    }
};

QTEST_MAIN(TestUndoPanel)
#include "tst_undo_panel.moc"
