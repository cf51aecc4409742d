// The main window's shortcuts as a pure decision, and the keys the address field refuses.
#include "editing/key_table.h"

#include <QTest>

using namespace quorvane;

Q_DECLARE_METATYPE(quorvane::KeyOperation)

namespace {
constexpr Qt::KeyboardModifiers none = Qt::NoModifier;
constexpr Qt::KeyboardModifiers command = Qt::ControlModifier;
constexpr Qt::KeyboardModifiers shift = Qt::ShiftModifier;

// Modifiers as a test data column: the flags fit an int.
int bitsOf(Qt::KeyboardModifiers modifiers)
{
    return static_cast<int>(modifiers.toInt());
}

KeyContext context(bool buttons, bool slot = false, bool clipboard = false)
{
    return {buttons, slot, clipboard};
}

constexpr KeyDecision passOn{KeyOperation::none, false};
KeyDecision swallowed(KeyOperation operation)
{
    return {operation, true};
}
} // namespace

class TestKeyTable : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void deleteKeysClearOrCloseUpWithAnyModifiers_data()
    {
        QTest::addColumn<int>("key");
        QTest::addColumn<int>("modifierBits");
        QTest::addColumn<KeyOperation>("operation");
        for (const int key : {int(Qt::Key_Backspace), int(Qt::Key_Delete)}) {
            const char* name = key == Qt::Key_Backspace ? "Delete" : "Forward Delete";
            QTest::addRow("%s", name) << key << bitsOf(none) << KeyOperation::clearSelection;
            QTest::addRow("%s + Shift", name)
                << key << bitsOf(shift) << KeyOperation::deleteAndClose;
            QTest::addRow("%s + Command", name)
                << key << bitsOf(command) << KeyOperation::clearSelection;
            QTest::addRow("%s + Command-Shift", name)
                << key << bitsOf(command | shift) << KeyOperation::deleteAndClose;
            QTest::addRow("%s + Alt", name)
                << key << bitsOf(Qt::AltModifier) << KeyOperation::clearSelection;
        }
    }

    void deleteKeysClearOrCloseUpWithAnyModifiers()
    {
        QFETCH(int, key);
        QFETCH(int, modifierBits);
        const auto modifiers =
            Qt::KeyboardModifiers::fromInt(Qt::KeyboardModifiers::Int(modifierBits));
        QFETCH(KeyOperation, operation);
        const auto k = static_cast<Qt::Key>(key);
        QCOMPARE(decideKey(k, modifiers, context(true)), swallowed(operation));
        // A selected slot is enough, even without buttons.
        QCOMPARE(decideKey(k, modifiers, context(false, true)), swallowed(operation));
        // With nothing selected the key goes on: a text field gets its Backspace.
        QCOMPARE(decideKey(k, modifiers, context(false, false, true)), passOn);
    }

    void commandCCopiesOnlyWithAButtonSelection()
    {
        QCOMPARE(decideKey(Qt::Key_C, command, context(true)),
                 swallowed(KeyOperation::copySelection));
        // Only the Command flag is tested: Command-Shift-C copies too.
        QCOMPARE(decideKey(Qt::Key_C, command | shift, context(true)),
                 swallowed(KeyOperation::copySelection));
        QCOMPARE(decideKey(Qt::Key_C, command, context(false, true, true)), passOn);
        QCOMPARE(decideKey(Qt::Key_C, none, context(true)), passOn);
        QCOMPARE(decideKey(Qt::Key_C, shift, context(true)), passOn);
    }

    void commandVPastesOnlyWithAClipboardAndASelection()
    {
        QCOMPARE(decideKey(Qt::Key_V, command, context(true, false, true)),
                 swallowed(KeyOperation::pasteToSelection));
        // An empty clipboard leaves Command-V to the focused control unchanged.
        QCOMPARE(decideKey(Qt::Key_V, command, context(true, false, false)), passOn);
        QCOMPARE(decideKey(Qt::Key_V, command, context(false, true, true)), passOn);
        QCOMPARE(decideKey(Qt::Key_V, none, context(true, false, true)), passOn);
    }

    void commandZUndoesAlways()
    {
        QCOMPARE(decideKey(Qt::Key_Z, command, context(false)), swallowed(KeyOperation::undo));
        QCOMPARE(decideKey(Qt::Key_Z, command, context(true, true, true)),
                 swallowed(KeyOperation::undo));
        QCOMPARE(decideKey(Qt::Key_Z, command | Qt::AltModifier, context(true)),
                 swallowed(KeyOperation::undo));
        QCOMPARE(decideKey(Qt::Key_Z, none, context(true)), passOn);
    }

    void commandShiftZRedoesAlways()
    {
        // Shift decides between the two, whatever else is held or selected.
        QCOMPARE(decideKey(Qt::Key_Z, command | shift, context(false)),
                 swallowed(KeyOperation::redo));
        QCOMPARE(decideKey(Qt::Key_Z, command | shift, context(true, true, true)),
                 swallowed(KeyOperation::redo));
        QCOMPARE(decideKey(Qt::Key_Z, command | shift | Qt::AltModifier, context(true)),
                 swallowed(KeyOperation::redo));
        QCOMPARE(decideKey(Qt::Key_Z, shift, context(true)), passOn);
    }

    void commandLTogglesTheLog()
    {
        QCOMPARE(decideKey(Qt::Key_L, command, context(false)),
                 swallowed(KeyOperation::toggleDebugLog));
        QCOMPARE(decideKey(Qt::Key_L, none, context(false)), passOn);
    }

    void everyOtherKeyGoesOn()
    {
        for (const Qt::Key key : {Qt::Key_A, Qt::Key_X, Qt::Key_Return, Qt::Key_Escape,
                                  Qt::Key_Left, Qt::Key_1, Qt::Key_Space, Qt::Key_Tab}) {
            QCOMPARE(decideKey(key, command, context(true, true, true)), passOn);
            QCOMPARE(decideKey(key, none, context(true, true, true)), passOn);
        }
    }

    void theAddressFieldRefusesOnlyCommandVCX()
    {
        for (const Qt::Key key : {Qt::Key_V, Qt::Key_C, Qt::Key_X}) {
            QVERIFY(isRefusedInAddressField(key, command));
            QVERIFY(isRefusedInAddressField(key, command | shift));
            // Typed without Command the letter is entered.
            QVERIFY(!isRefusedInAddressField(key, none));
            QVERIFY(!isRefusedInAddressField(key, shift));
        }
        // Command-A, select all, reaches the field.
        QVERIFY(!isRefusedInAddressField(Qt::Key_A, command));
        QVERIFY(!isRefusedInAddressField(Qt::Key_Z, command));
        QVERIFY(!isRefusedInAddressField(Qt::Key_Backspace, command));
    }
};

QTEST_GUILESS_MAIN(TestKeyTable)
#include "tst_key_table.moc"
