// Redo against the emulated frame: a redo sends the undone edit's own write requests again,
// byte for byte but for their sequence numbers, and leaves the frame as the edit left it.
#include "editing_fixture.h"
#include "editing/show_file_transfer.h"

#include <QTest>
#include <functional>

using namespace Qt::StringLiterals;
using namespace quorvane;
using namespace quorvane::test;
using emulator::ClientMessageKind;

namespace {
constexpr Qt::KeyboardModifiers command = Qt::ControlModifier;
constexpr Qt::KeyboardModifiers commandShift = Qt::ControlModifier | Qt::ShiftModifier;

QList<emulator::ReceivedDatagram> receivedWrites(ConnectedEditing& editing)
{
    return editing.frame().receivedOfKind(ClientMessageKind::writeRequest);
}

// The write requests the frame received from the `from`-th on, with the sequence number (bytes
// 2 and 3, new for every message) blanked: what is left names the button and the source.
QList<QByteArray> writeBytesSince(ConnectedEditing& editing, qsizetype from)
{
    QList<QByteArray> writes;
    for (const emulator::ReceivedDatagram& datagram : receivedWrites(editing).mid(from)) {
        QByteArray bytes = datagram.bytes;
        bytes[2] = 0;
        bytes[3] = 0;
        writes.append(bytes);
    }
    return writes;
}

#define WAIT_FOR_WRITE_REQUESTS(editing, from, expected)                                           \
    QTRY_COMPARE_WITH_TIMEOUT(receivedWrites(editing).size() - (from), qsizetype(expected), 5'000)

// Runs `edit`, which sends `writes` requests, undoes it, redoes it, and compares.
void checkRedoRepeatsTheEdit(ConnectedEditing& editing, qsizetype writes,
                             const std::function<void()>& edit)
{
    EditingModel& model = editing.model;
    const emulator::ButtonTable before = editing.frame().show().buttons;
    const qsizetype start = receivedWrites(editing).size();
    edit();
    WAIT_FOR_WRITE_REQUESTS(editing, start, writes);
    const QList<QByteArray> edited = writeBytesSince(editing, start);
    const emulator::ButtonTable afterEdit = editing.frame().show().buttons;
    QVERIFY(afterEdit != before);
    QVERIFY(!model.canRedo());

    QVERIFY(model.handleKey(Qt::Key_Z, command));
    WAIT_FOR_WRITE_REQUESTS(editing, start + writes, writes);
    QCOMPARE(editing.frame().show().buttons, before);
    QVERIFY(model.canRedo());

    const qsizetype redoStart = receivedWrites(editing).size();
    QVERIFY(model.handleKey(Qt::Key_Z, commandShift));
    WAIT_FOR_WRITE_REQUESTS(editing, redoStart, writes);
    QCOMPARE(writeBytesSince(editing, redoStart), edited);
    // Fresh sequence numbers: the frame takes them as new requests.
    QVERIFY(receivedWrites(editing).mid(redoStart).first().message.sequence !=
            receivedWrites(editing).mid(start).first().message.sequence);
    QCOMPARE(editing.frame().show().buttons, afterEdit);
    QVERIFY(!model.canRedo());
    QVERIFY(model.canUndo());
}
} // namespace

class TestRedoWrites : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void redoingAPasteSendsThePastesRequests()
    {
        ConnectedEditing editing;
        editing.setFrameRow(Bus::pgm, 35, 1, {101, 102, 103});
        QVERIFY(editing.connectWithRow(Bus::pgm, 35, 2, {201, 202, 203}));
        EditingModel& model = editing.model;
        model.tap(1, 1);
        model.shiftTap(1, 3);
        model.copySelection();
        model.tap(2, 1);
        checkRedoRepeatsTheEdit(editing, 3, [&] { model.pasteToSelection(); });
        QCOMPARE(editing.frameRow(Bus::pgm, 2, 1, 3), QList<quint32>({101, 102, 103}));
        // The frame's reports of the undo's writes may still be on their way and show its
        // sources for a moment; the reports of the redo's writes come after them.
        QTRY_COMPARE(editing.cachedRow(Bus::pgm, 2, 1, 3), QList<qint64>({101, 102, 103}));
    }

    void redoingAClearWritesTheZerosTheFrameReportedBack()
    {
        ConnectedEditing editing;
        QVERIFY(editing.connectWithRow(Bus::pgm, 20, 3, {31, 32, 33, 34}));
        EditingModel& model = editing.model;
        model.tap(3, 2);
        model.shiftTap(3, 4);
        checkRedoRepeatsTheEdit(editing, 3, [&] {
            model.clearSelection();
            // Once the frame has reported the cleared buttons back they leave the cache: they
            // are unassigned, not unknown, and the redo still clears them.
            QTRY_COMPARE(editing.connection().mappingFor(Bus::pgm, 3, 4, 20), std::nullopt);
            QTRY_COMPARE(editing.connection().mappingFor(Bus::pgm, 3, 2, 20), std::nullopt);
        });
        QCOMPARE(editing.frameRow(Bus::pgm, 3, 1, 4), QList<quint32>({31, 0, 0, 0}));
    }

    void redoingAShiftDeleteClosesTheGapAgain()
    {
        ConnectedEditing editing;
        QList<quint32> row;
        for (quint32 source = 1; source <= 15; ++source)
            row.append(source);
        QVERIFY(editing.connectWithRow(Bus::pgm, 15, 1, row));
        EditingModel& model = editing.model;
        model.tap(1, 3);
        model.shiftTap(1, 4);
        checkRedoRepeatsTheEdit(editing, 13, [&] {
            QVERIFY(model.handleKey(Qt::Key_Delete, Qt::ShiftModifier));
            QTRY_COMPARE(editing.connection().mappingFor(Bus::pgm, 1, 15, 15), std::nullopt);
        });
        QCOMPARE(editing.frameRow(Bus::pgm, 1, 1, 15),
                 QList<quint32>({1, 2, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 0, 0}));
    }

    void redoingADropOnAnotherBusWritesThatBus()
    {
        ConnectedEditing editing;
        editing.frame().setMapping(Bus::me3, 35, 4, 20, 77);
        QVERIFY(editing.connect(35));
        EditingModel& model = editing.model;
        model.selectBus(Bus::me3);
        QTRY_COMPARE(editing.cached(Bus::me3, 4, 20), 77);
        checkRedoRepeatsTheEdit(editing, 1,
                                [&] { QVERIFY(model.dropOnCell({sandboxSlotDrag(705)}, 4, 20)); });
        // Redone while another bus is shown, it still writes the bus the drop changed.
        model.undo();
        QTRY_COMPARE(editing.onFrame(Bus::me3, 4, 20), 77u);
        model.selectBus(Bus::pgm);
        const qsizetype start = receivedWrites(editing).size();
        model.redo();
        WAIT_FOR_WRITE_REQUESTS(editing, start, 1);
        QCOMPARE(editing.onFrame(Bus::me3, 4, 20), 705u);
    }

    void redoingAnImportWritesTheFilesSources()
    {
        ConnectedEditing editing;
        QVERIFY(editing.connectWithRow(Bus::pgm, 35, 2, {21, 22, 23}));
        const ShowExport exported = exportShowFile(editing.connection());
        QVERIFY(exported.file);
        ShowFile file = *exported.file;
        for (ShowButton& button : file.buttons) {
            if (button.shift == 2 && button.button <= 2)
                button.source = 900 + button.button;
        }
        const ImportPlan plan = planImport(file, editing.connection());
        QCOMPARE(plan.writes.size(), 2);
        checkRedoRepeatsTheEdit(editing, 2, [&] { QCOMPARE(applyImport(plan, editing.model), 2); });
        QCOMPARE(editing.frameRow(Bus::pgm, 2, 1, 3), QList<quint32>({901, 902, 23}));
    }

    void undoAndRedoAlternate()
    {
        ConnectedEditing editing;
        QVERIFY(editing.connectWithRow(Bus::pgm, 35, 1, {11}));
        EditingModel& model = editing.model;
        QVERIFY(model.dropOnCell({sandboxSlotDrag(12)}, 1, 1));
        QVERIFY(model.dropOnCell({sandboxSlotDrag(13)}, 1, 1));
        QVERIFY(model.dropOnCell({sandboxSlotDrag(14)}, 1, 1));
        QTRY_COMPARE(editing.onFrame(Bus::pgm, 1, 1), 14u);

        // Each step is taken back and forth, newest first, as often as wanted.
        const QList<std::pair<Qt::KeyboardModifiers, quint32>> steps{
            {command, 13}, {command, 12},      {commandShift, 13}, {command, 12},
            {command, 11}, {commandShift, 12}, {commandShift, 13}, {commandShift, 14},
            {command, 13}, {commandShift, 14}};
        for (const auto& [modifiers, expected] : steps) {
            QVERIFY(model.handleKey(Qt::Key_Z, modifiers));
            QCOMPARE(editing.cached(Bus::pgm, 1, 1), qint64{expected});
            QTRY_COMPARE(editing.onFrame(Bus::pgm, 1, 1), expected);
        }
        QCOMPARE(model.undoHistory().size(), 3);
        QVERIFY(!model.canRedo());

        // With nothing to redo the key is swallowed all the same, and sends nothing.
        const quint16 sequence = editing.connection().msgCounter();
        QVERIFY(model.handleKey(Qt::Key_Z, commandShift));
        QCOMPARE(editing.connection().msgCounter(), sequence);
    }

    void redoGoesFiftyDeep()
    {
        ConnectedEditing editing;
        QVERIFY(editing.connectWithRow(Bus::pgm, 35, 1, {999}));
        EditingModel& model = editing.model;
        const qsizetype edits = receivedWrites(editing).size();
        for (int batch = 1; batch <= 60; ++batch)
            QVERIFY(model.dropOnCell({sandboxSlotDrag(batch)}, 1, 1));
        for (int undo = 0; undo < 60; ++undo)
            model.undo();
        QCOMPARE(model.undoHistory().redoActions().size(), 50);
        QCOMPARE(editing.cached(Bus::pgm, 1, 1), 10);
        // 60 drops, and 50 undos that had something to undo.
        WAIT_FOR_WRITE_REQUESTS(editing, edits, 110);

        const qsizetype start = receivedWrites(editing).size();
        for (int redo = 0; redo < 51; ++redo)
            model.redo();
        // The 51st had nothing left to redo.
        WAIT_FOR_WRITE_REQUESTS(editing, start, 50);
        QCOMPARE(editing.onFrame(Bus::pgm, 1, 1), 60u);
        QCOMPARE(model.undoHistory().size(), 50);
        QVERIFY(!model.canRedo());
    }

    void aButtonTheFrameNeverAnsweredForIsNotWrittenAgain()
    {
        emulator::FrameEmulatorOptions options;
        options.faults.silentButtons = {{Bus::pgm, 35, 2, 2}};
        ConnectedEditing editing(options);
        editing.setFrameRow(Bus::pgm, 35, 1, {101, 102, 103});
        editing.setFrameRow(Bus::pgm, 35, 2, {201, 202, 203});
        QVERIFY(editing.connect(35));
        QTRY_COMPARE(editing.cachedRow(Bus::pgm, 2, 1, 3), QList<qint64>({201, 0, 203}));
        QVERIFY(!editing.connection().hasAnswered(Bus::pgm, 2, 2, 35));
        EditingModel& model = editing.model;
        model.tap(1, 1);
        model.shiftTap(1, 3);
        model.copySelection();
        model.tap(2, 1);
        const qsizetype start = receivedWrites(editing).size();
        model.pasteToSelection();
        WAIT_FOR_WRITE_REQUESTS(editing, start, 3);
        const QList<QByteArray> pasted = writeBytesSince(editing, start);

        // Undo cannot restore the button the frame never answered for, so it keeps the pasted
        // one, and the redo has nothing to write there either: it writes the two the undo
        // restored.
        model.undo();
        WAIT_FOR_WRITE_REQUESTS(editing, start + 3, 2);
        QCOMPARE(editing.frameRow(Bus::pgm, 2, 1, 3), QList<quint32>({201, 102, 203}));
        const qsizetype redoStart = receivedWrites(editing).size();
        model.redo();
        WAIT_FOR_WRITE_REQUESTS(editing, redoStart, 2);
        QCOMPARE(writeBytesSince(editing, redoStart), QList<QByteArray>({pasted[0], pasted[2]}));
        QCOMPARE(editing.frameRow(Bus::pgm, 2, 1, 3), QList<quint32>({101, 102, 103}));
    }

    void aNewEditEmptiesTheRedoHistory()
    {
        ConnectedEditing editing;
        QVERIFY(editing.connectWithRow(Bus::pgm, 35, 1, {11, 12, 0}));
        EditingModel& model = editing.model;
        QSignalSpy history(&model, &EditingModel::undoHistoryChanged);
        QVERIFY(model.dropOnCell({sandboxSlotDrag(21)}, 1, 1));
        model.undo();
        QVERIFY(model.canRedo());
        QVERIFY(!model.canUndo());

        // Clearing an empty button is an edit too, and ends the redo history.
        history.clear();
        model.tap(1, 3);
        model.clearSelection();
        QVERIFY(!model.canRedo());
        QVERIFY(model.canUndo());
        QCOMPARE(history.count(), 1);

        // So does a choice in the source picker, which can itself be undone.
        QVERIFY(model.dropOnCell({sandboxSlotDrag(22)}, 1, 2));
        model.undo();
        QVERIFY(model.canRedo());
        history.clear();
        model.doubleTap(1, 2);
        model.choosePickerSource(705);
        QVERIFY(!model.canRedo());
        QVERIFY(model.canUndo());
        QCOMPARE(history.count(), 1);
        QTRY_COMPARE(editing.onFrame(Bus::pgm, 1, 2), 705u);
        const quint16 sequence = editing.connection().msgCounter();
        QVERIFY(model.handleKey(Qt::Key_Z, commandShift));
        QCOMPARE(editing.connection().msgCounter(), sequence);
        QCOMPARE(editing.onFrame(Bus::pgm, 1, 2), 705u);
    }
};

QTEST_GUILESS_MAIN(TestRedoWrites)
#include "tst_redo_writes.moc"
