// The Edit menu of the main window against the emulated frame: its commands are enabled exactly
// when their keys would act, run what the keys run, and never make a key press run twice.
#include "desk.h"
#include "edit_menu.h"
#include "widgets/sandbox_strip.h"

#include <QMenu>
#include <QMenuBar>
#include <QToolButton>

using namespace Qt::StringLiterals;
using namespace quorvane;
using namespace quorvane::test;

namespace {

struct Enabled {
    bool undo = false;
    bool redo = false;
    bool copy = false;
    bool paste = false;
    bool clear = false;
    bool closeUp = false;

    friend bool operator==(const Enabled&, const Enabled&) = default;
};

Enabled enabled(const EditMenu& menu)
{
    return {menu.undo()->isEnabled(),  menu.redo()->isEnabled(),
            menu.copy()->isEnabled(),  menu.paste()->isEnabled(),
            menu.clear()->isEnabled(), menu.clearAndCloseUp()->isEnabled()};
}

// Known sources on shift `shift` from button `from` on: 100 × shift + button.
void setRow(Desk& desk, int shift, int from, int to)
{
    for (int button = from; button <= to; ++button)
        desk.frame.setMapping(Bus::pgm, 35, shift, button, quint32(100 * shift + button));
}

QList<quint32> frameRow(const Desk& desk, int shift, int from, int to)
{
    QList<quint32> row;
    for (int button = from; button <= to; ++button)
        row.append(desk.frame.mapping(Bus::pgm, 35, shift, button));
    return row;
}

} // namespace

namespace QTest {
template <> char* toString(const Enabled& e)
{
    return qstrdup(QByteArray(QByteArray("undo ") + QByteArray::number(e.undo) + " redo " +
                              QByteArray::number(e.redo) + " copy " + QByteArray::number(e.copy) +
                              " paste " + QByteArray::number(e.paste) + " clear " +
                              QByteArray::number(e.clear) + " closeUp " +
                              QByteArray::number(e.closeUp))
                       .constData());
}
} // namespace QTest

class TestEditMenu : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theGridsCommandsWithTheirKeys()
    {
        Desk desk;
        EditMenu& edit = desk.window.editMenu();
        QStringList items;
        for (const QAction* item : edit.menu()->actions()) {
            if (!item->isSeparator())
                items.append(item->text());
        }
        QCOMPARE(items, QStringList({u"Undo"_s, u"Redo"_s, u"Copy"_s, u"Paste"_s, u"Clear"_s,
                                     u"Clear and Close Up"_s}));
        QCOMPARE(edit.undo()->shortcut(), QKeySequence(u"Ctrl+Z"_s));
        QCOMPARE(edit.redo()->shortcut(), QKeySequence(u"Ctrl+Shift+Z"_s));
        QCOMPARE(edit.copy()->shortcut(), QKeySequence(u"Ctrl+C"_s));
        QCOMPARE(edit.paste()->shortcut(), QKeySequence(u"Ctrl+V"_s));
        QCOMPARE(edit.clear()->shortcuts(), QList<QKeySequence>({QKeySequence(Qt::Key_Delete),
                                                                 QKeySequence(Qt::Key_Backspace)}));
        QCOMPARE(edit.clearAndCloseUp()->shortcut(), QKeySequence(u"Shift+Del"_s));

        // After File, and still there once the stock menus are trimmed.
        const QStringList expected{u"Quorvane"_s, u"File"_s, u"Edit"_s, u"View"_s, u"Help"_s};
        auto titles = [&] {
            QStringList all;
            for (const QAction* menu : desk.window.menuBar()->actions())
                all.append(menu->text());
            return all;
        };
        QCOMPARE(titles(), expected);
        desk.window.setUpWindow();
        QCOMPARE(titles(), expected);
        QCOMPARE(desk.window.menuBar()->actions()[2]->menu(), edit.menu());
    }

    void enabledExactlyWhenTheKeyWouldAct()
    {
        Desk desk;
        QVERIFY(desk.start());
        QVERIFY(desk.connectAndWait());
        EditMenu& edit = desk.window.editMenu();
        QCOMPARE(enabled(edit), Enabled{});

        // A selection: copy and both clears; paste waits for something copied.
        desk.click(1, 3);
        QCOMPARE(enabled(edit), (Enabled{.copy = true, .clear = true, .closeUp = true}));
        QTest::keyClick(desk.view.undoButton(), Qt::Key_C, Qt::ControlModifier);
        QCOMPARE(enabled(edit),
                 (Enabled{.copy = true, .paste = true, .clear = true, .closeUp = true}));

        // Something done can be undone, and then redone.
        QTest::keyClick(desk.view.undoButton(), Qt::Key_Delete);
        QVERIFY(desk.model.selection().isEmpty());
        QCOMPARE(enabled(edit), (Enabled{.undo = true}));
        QTest::keyClick(desk.view.undoButton(), Qt::Key_Z, Qt::ControlModifier);
        QCOMPARE(enabled(edit), (Enabled{.redo = true}));

        // A sandbox slot selected: Delete would remove it, so both clears are on.
        MultiButtonDragData parked;
        parked.buttons = {{5, 12, 2}};
        parked.fromBus = u"PGM"_s;
        parked.fromShift = 2;
        parked.anchorButton = 5;
        parked.anchorShift = 2;
        desk.dropOn(*desk.view.sandbox(), QPoint(10, 10), parked);
        QCOMPARE(desk.model.sandboxSlots().size(), 1);
        SandboxStrip& sandbox = *desk.view.sandbox();
        QTest::mouseClick(&sandbox, Qt::LeftButton, Qt::NoModifier, sandbox.slotRect(0).center());
        QCOMPARE(desk.model.selectedSandboxIndex(), std::optional<int>(0));
        QCOMPARE(enabled(edit), (Enabled{.redo = true, .clear = true, .closeUp = true}));
        edit.clear()->trigger();
        QVERIFY(desk.model.sandboxSlots().isEmpty());
        QCOMPARE(enabled(edit), (Enabled{.redo = true}));

        // The link going away leaves the commands in step with the model.
        QTest::mouseClick(desk.view.connectionPanel()->connectButton(), Qt::LeftButton);
        QCOMPARE(desk.connection.isConnected(), false);
        QCOMPARE(edit.undo()->isEnabled(), desk.model.canUndo());
        QCOMPARE(edit.redo()->isEnabled(), desk.model.canRedo());
    }

    void theCommandsEditTheFrame()
    {
        Desk desk;
        setRow(desk, 1, 1, 3);
        setRow(desk, 2, 10, 12);
        QVERIFY(desk.start());
        QVERIFY(desk.connectAndWait());
        EditMenu& edit = desk.window.editMenu();
        const QList<quint32> source = frameRow(desk, 1, 1, 3);
        const QList<quint32> before = frameRow(desk, 2, 10, 12);
        QVERIFY(source != before);

        desk.click(1, 1);
        desk.click(1, 3, Qt::ShiftModifier);
        edit.copy()->trigger();
        desk.click(2, 10);
        const auto writes = desk.frame.writeRequests().size();
        // Chosen in the open menu from the keyboard, as a user does.
        QMenu& menu = *edit.menu();
        menu.popup(desk.window.mapToGlobal(QPoint(20, 20)));
        QVERIFY(QTest::qWaitForWindowExposed(&menu));
        menu.setActiveAction(edit.paste());
        QTest::keyClick(&menu, Qt::Key_Return);
        QTRY_COMPARE(frameRow(desk, 2, 10, 12), source);
        QVERIFY(frameHasReadAllSentBy(desk.connection, desk.frame));
        QCOMPARE(desk.frame.writeRequests().size(), writes + 3);
        QCOMPARE(desk.model.undoHistory().size(), 1);

        edit.undo()->trigger();
        QTRY_COMPARE(frameRow(desk, 2, 10, 12), before);
        edit.redo()->trigger();
        QTRY_COMPARE(frameRow(desk, 2, 10, 12), source);

        // Clear and Close Up on buttons 10 and 11 of shift 2 moves 12 left over them.
        desk.click(2, 10);
        desk.click(2, 11, Qt::ShiftModifier);
        const quint32 twelve = desk.frame.mapping(Bus::pgm, 35, 2, 12);
        edit.clearAndCloseUp()->trigger();
        QTRY_COMPARE(desk.frame.mapping(Bus::pgm, 35, 2, 10), twelve);
        QVERIFY(desk.model.selection().isEmpty());
    }

    void oneKeyPressRunsOnce()
    {
        Desk desk;
        setRow(desk, 1, 4, 5);
        setRow(desk, 3, 20, 21);
        QVERIFY(desk.start());
        QVERIFY(desk.connectAndWait());
        const QList<quint32> source = frameRow(desk, 1, 4, 5);
        desk.click(1, 4);
        desk.click(1, 5, Qt::ShiftModifier);
        QWidget* focus = desk.view.undoButton();
        QTest::keyClick(focus, Qt::Key_C, Qt::ControlModifier);
        desk.click(3, 20);
        const auto writes = desk.frame.writeRequests().size();
        QTest::keyClick(focus, Qt::Key_V, Qt::ControlModifier);
        QTRY_COMPARE(frameRow(desk, 3, 20, 21), source);
        QVERIFY(frameHasReadAllSentBy(desk.connection, desk.frame));
        QCOMPARE(desk.frame.writeRequests().size(), writes + 2);
        QCOMPARE(desk.model.undoHistory().size(), 1);

        // One Undo by its key takes back one batch, not two.
        desk.click(3, 20);
        QTest::keyClick(focus, Qt::Key_Delete);
        QTRY_COMPARE(desk.frame.mapping(Bus::pgm, 35, 3, 20), 0u);
        QCOMPARE(desk.model.undoHistory().size(), 2);
        QTest::keyClick(focus, Qt::Key_Z, Qt::ControlModifier);
        QCOMPARE(desk.model.undoHistory().size(), 1);
        QTRY_COMPARE(desk.frame.mapping(Bus::pgm, 35, 3, 20), source[0]);
    }
};

QTEST_MAIN(TestEditMenu)
#include "tst_edit_menu.moc"
