// Edits that reach the frame: paste, clear, close-up delete, undo, drops and the picker, each
// checked in the connection's cache and in the write requests and table of the emulated
// frame over loopback.
#include "editing_fixture.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace quorvane;
using namespace quorvane::test;
using emulator::WriteRequest;

namespace {
// Connects with `special` at `button` of `shift` on PGM, parks `parked` in the sandbox, selects
// its slot `slot` and drags from the special source, which selects the button's column; whether
// the whole column was selected.
bool columnDraggedWithSlotSelected(ConnectedEditing& editing, int shift, int button,
                                   quint32 special, const MultiButtonDragData& parked, int slot)
{
    if (!editing.connectWithRow(Bus::pgm, 35, shift, {special}, button))
        return false;
    EditingModel& model = editing.model;
    model.addToSandbox({parked});
    model.selectSandboxSlot(slot);
    model.beginDrag(shift, button, std::nullopt);
    model.endDrag();
    return model.selection().size() == 4;
}

QList<quint32> range(quint32 from, quint32 to)
{
    QList<quint32> sources;
    for (quint32 source = from; source <= to; ++source)
        sources.append(source);
    return sources;
}

QList<qint64> widened(const QList<quint32>& sources)
{
    return QList<qint64>(sources.cbegin(), sources.cend());
}
} // namespace

class TestEditingWrites : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void pastingFiveAtButton33Of35WritesThreeAndUndoRestoresThem()
    {
        ConnectedEditing editing;
        editing.setFrameRow(Bus::pgm, 35, 1, {101, 102, 103, 104, 105});
        QVERIFY(editing.connectWithRow(Bus::pgm, 35, 1, {733, 734, 735}, 33));
        EditingModel& model = editing.model;

        model.tap(1, 1);
        model.shiftTap(1, 5);
        QVERIFY(model.handleKey(Qt::Key_C, Qt::ControlModifier));
        QCOMPARE(model.clipboard().copiedSources, QList<qint64>({101, 102, 103, 104, 105}));

        // Button 33 is one of the last four: the click takes the column, and the paste starts
        // at its smallest key, shift 1.
        model.tap(1, 33);
        const qsizetype before = editing.writeCount();
        const quint16 sequence = editing.connection().msgCounter();
        QVERIFY(model.handleKey(Qt::Key_V, Qt::ControlModifier));
        QCOMPARE(editing.connection().msgCounter(), quint16(sequence + 3));
        QCOMPARE(editing.cachedRow(Bus::pgm, 1, 33, 35), QList<qint64>({101, 102, 103}));
        QUORVANE_COMPARE_WRITES(editing, before,
                                QList<WriteRequest>({editing.request(Bus::pgm, 1, 33, 101),
                                                     editing.request(Bus::pgm, 1, 34, 102),
                                                     editing.request(Bus::pgm, 1, 35, 103)}));
        QCOMPARE(editing.frameRow(Bus::pgm, 1, 33, 35), QList<quint32>({101, 102, 103}));
        QCOMPARE(model.selection().selectedButtons(), ButtonKeySet({{1, 33}, {1, 34}, {1, 35}}));
        QCOMPARE(model.selection().selectionShift(), 1);
        QCOMPARE(model.selection().anchor(), SelectedButtonKey({1, 33}));
        QCOMPARE(model.undoHistory().size(), 1);
        // The clipboard stays for another paste.
        QCOMPARE(model.clipboard().copiedSources.size(), 5);

        QVERIFY(model.handleKey(Qt::Key_Z, Qt::ControlModifier));
        QCOMPARE(editing.connection().msgCounter(), quint16(sequence + 6));
        QUORVANE_WAIT_FOR_WRITES(editing, before, 6);
        QCOMPARE(editing.writesSince(before + 3),
                 QList<WriteRequest>({editing.request(Bus::pgm, 1, 33, 733),
                                      editing.request(Bus::pgm, 1, 34, 734),
                                      editing.request(Bus::pgm, 1, 35, 735)}));
        QCOMPARE(editing.frameRow(Bus::pgm, 1, 33, 35), QList<quint32>({733, 734, 735}));
        QTRY_COMPARE(editing.cachedRow(Bus::pgm, 1, 33, 35), QList<qint64>({733, 734, 735}));
        QVERIFY(model.undoHistory().isEmpty());
    }

    void pastingAThreeShiftColumnAtShift3WritesShifts3And4()
    {
        ConnectedEditing editing;
        editing.setFrameColumn(Bus::pgm, 20, 18, 180);
        editing.setFrameColumn(Bus::pgm, 20, 4, 40);
        QVERIFY(editing.connect(20));
        QTRY_COMPARE(editing.cached(Bus::pgm, 4, 18), 184);
        QTRY_COMPARE(editing.cached(Bus::pgm, 4, 4), 44);
        EditingModel& model = editing.model;

        // Shifts 1 to 3 of button 18 (one of the last four of 20).
        model.tap(1, 18);
        model.shiftTap(3, 18);
        model.copySelection();
        QCOMPARE(model.clipboard(), InternalClipboard({{181, 182, 183}, true}));

        model.tap(3, 4);
        const qsizetype before = editing.writeCount();
        model.pasteToSelection();
        QUORVANE_COMPARE_WRITES(editing, before,
                                QList<WriteRequest>({editing.request(Bus::pgm, 3, 4, 181),
                                                     editing.request(Bus::pgm, 4, 4, 182)}));
        QCOMPARE(editing.onFrame(Bus::pgm, 1, 4), 41u);
        QCOMPARE(editing.onFrame(Bus::pgm, 2, 4), 42u);
        QCOMPARE(editing.onFrame(Bus::pgm, 3, 4), 181u);
        QCOMPARE(editing.onFrame(Bus::pgm, 4, 4), 182u);
        QCOMPARE(editing.cached(Bus::pgm, 3, 4), 181);
        QCOMPARE(editing.cached(Bus::pgm, 4, 4), 182);
        QCOMPARE(model.selection().selectedButtons(), ButtonKeySet({{3, 4}, {4, 4}}));
        QCOMPARE(model.selection().selectionShift(), std::nullopt);
        QCOMPARE(model.selection().anchor(), SelectedButtonKey({3, 4}));
        QCOMPARE(model.undoHistory().actions().last().changes,
                 QList<ButtonState>({{Bus::pgm, 3, 4, 43}, {Bus::pgm, 4, 4, 44}}));
    }

    void pastingOntoSeveralSelectedButtonsPastesOnceFromTheLowest()
    {
        ConnectedEditing editing;
        QVERIFY(editing.connectWithRow(Bus::pgm, 35, 2, range(21, 30)));
        EditingModel& model = editing.model;
        model.tap(2, 1);
        model.shiftTap(2, 2);
        model.copySelection();

        model.tap(2, 9);
        model.shiftTap(2, 5);
        const qsizetype before = editing.writeCount();
        model.pasteToSelection();
        QUORVANE_COMPARE_WRITES(editing, before,
                                QList<WriteRequest>({editing.request(Bus::pgm, 2, 5, 21),
                                                     editing.request(Bus::pgm, 2, 6, 22)}));
        QCOMPARE(editing.frameRow(Bus::pgm, 2, 5, 9), QList<quint32>({21, 22, 27, 28, 29}));
        QCOMPARE(editing.cachedRow(Bus::pgm, 2, 5, 9), QList<qint64>({21, 22, 27, 28, 29}));
        QCOMPARE(model.selection().selectedButtons(), ButtonKeySet({{2, 5}, {2, 6}}));
        QCOMPARE(model.selection().anchor(), SelectedButtonKey({2, 5}));
    }

    void clearingTenOfWhichThreeNeverAnsweredUndoesSeven()
    {
        // Buttons 2, 5 and 9 hold sources the frame never reports: unknown, not unassigned.
        emulator::FrameEmulatorOptions options;
        options.faults.silentButtons = {
            {Bus::pgm, 35, 3, 2}, {Bus::pgm, 35, 3, 5}, {Bus::pgm, 35, 3, 9}};
        ConnectedEditing editing(options);
        editing.setFrameRow(Bus::pgm, 35, 3, {31, 32, 0, 34, 35, 36, 37, 38, 39, 40});
        QVERIFY(editing.connect(35));
        QTRY_COMPARE(editing.cachedRow(Bus::pgm, 3, 1, 10),
                     QList<qint64>({31, 0, 0, 34, 0, 36, 37, 38, 0, 40}));
        EditingModel& model = editing.model;
        model.tap(3, 1);
        model.shiftTap(3, 10);

        const qsizetype before = editing.writeCount();
        QVERIFY(model.handleKey(Qt::Key_Backspace, Qt::NoModifier));
        QUORVANE_WAIT_FOR_WRITES(editing, before, 10);
        for (const WriteRequest& write : editing.writesSince(before))
            QCOMPARE(write.source, quint16(0));
        QCOMPARE(editing.frameRow(Bus::pgm, 3, 1, 10), QList<quint32>(10, 0));
        QVERIFY(model.selection().isEmpty());
        QCOMPARE(model.selection().anchor(), std::nullopt);
        QCOMPARE(model.undoHistory().size(), 1);
        // The answered empty button 3 is recorded as empty; the three unknown ones are not.
        QCOMPARE(model.undoHistory().actions().first().changes,
                 QList<ButtonState>({{Bus::pgm, 3, 1, 31},
                                     {Bus::pgm, 3, 3, 0},
                                     {Bus::pgm, 3, 4, 34},
                                     {Bus::pgm, 3, 6, 36},
                                     {Bus::pgm, 3, 7, 37},
                                     {Bus::pgm, 3, 8, 38},
                                     {Bus::pgm, 3, 10, 40}}));
        QCOMPARE(model.editNotice(),
                 u"3 buttons without an answer from the frame could not be recorded for undo"_s);

        QVERIFY(model.handleKey(Qt::Key_Z, Qt::ControlModifier));
        QUORVANE_WAIT_FOR_WRITES(editing, before, 17);
        QCOMPARE(model.editNotice(), QString());
        QCOMPARE(editing.frameRow(Bus::pgm, 3, 1, 10),
                 QList<quint32>({31, 0, 0, 34, 0, 36, 37, 38, 0, 40}));
    }

    void clearingButtonsTheFrameNeverAnsweredForWritesZerosAndRecordsNothing()
    {
        emulator::FrameEmulatorOptions options;
        options.faults.silentButtons = {
            {Bus::pgm, 25, 4, 1}, {Bus::pgm, 25, 4, 2}, {Bus::pgm, 25, 4, 3}};
        ConnectedEditing editing(options);
        editing.setFrameRow(Bus::pgm, 25, 4, {7, 8, 9});
        QVERIFY(editing.connect(25));
        EditingModel& model = editing.model;
        model.tap(4, 1);
        model.shiftTap(4, 3);
        const qsizetype before = editing.writeCount();
        model.clearSelection();
        QUORVANE_COMPARE_WRITES(editing, before,
                                QList<WriteRequest>({editing.request(Bus::pgm, 4, 1, 0),
                                                     editing.request(Bus::pgm, 4, 2, 0),
                                                     editing.request(Bus::pgm, 4, 3, 0)}));
        QCOMPARE(editing.frameRow(Bus::pgm, 4, 1, 3), QList<quint32>(3, 0));
        QVERIFY(model.undoHistory().isEmpty());
        QVERIFY(!model.canUndo());
        QCOMPARE(model.editNotice(),
                 u"3 buttons without an answer from the frame could not be recorded for undo"_s);
        QVERIFY(loggedMessages(editing.link.logger)
                    .contains(u"[INFO] Wrote PGM S4B1 > 0 (was unknown)"_s));
    }

    void clearingAnsweredEmptyButtonsIsUndoneToEmpty()
    {
        ConnectedEditing editing;
        QVERIFY(editing.connectWithRow(Bus::pgm, 25, 4, {0, 5, 0}));
        EditingModel& model = editing.model;
        model.tap(4, 1);
        model.shiftTap(4, 3);
        const qsizetype before = editing.writeCount();
        model.clearSelection();
        QUORVANE_WAIT_FOR_WRITES(editing, before, 3);
        QCOMPARE(
            model.undoHistory().actions().first().changes,
            QList<ButtonState>({{Bus::pgm, 4, 1, 0}, {Bus::pgm, 4, 2, 5}, {Bus::pgm, 4, 3, 0}}));
        QCOMPARE(model.editNotice(), QString());
        QVERIFY(
            loggedMessages(editing.link.logger).contains(u"[INFO] Wrote PGM S4B2 > 0 (was 5)"_s));
        model.undo();
        QUORVANE_WAIT_FOR_WRITES(editing, before, 6);
        QCOMPARE(editing.frameRow(Bus::pgm, 4, 1, 3), QList<quint32>({0, 5, 0}));
        QVERIFY(
            loggedMessages(editing.link.logger).contains(u"[INFO] Wrote PGM S4B2 > 5 (was 0)"_s));
    }

    void undoTakesBackOnlyTheNewestFiftyOfSixtyBatches()
    {
        ConnectedEditing editing;
        QVERIFY(editing.connectWithRow(Bus::pgm, 35, 1, {999}));
        EditingModel& model = editing.model;
        QSignalSpy history(&model, &EditingModel::undoHistoryChanged);

        const qsizetype before = editing.writeCount();
        for (int batch = 1; batch <= 60; ++batch)
            QVERIFY(model.dropOnCell({sandboxSlotDrag(batch)}, 1, 1));
        QCOMPARE(model.undoHistory().size(), 50);
        QCOMPARE(history.count(), 60);
        QCOMPARE(model.undoHistory().actions().first().changes,
                 QList<ButtonState>({{Bus::pgm, 1, 1, 10}}));
        QUORVANE_WAIT_FOR_WRITES(editing, before, 60);
        QCOMPARE(editing.onFrame(Bus::pgm, 1, 1), 60u);

        for (int undo = 0; undo < 50; ++undo)
            QVERIFY(model.handleKey(Qt::Key_Z, Qt::ControlModifier));
        QVERIFY(model.undoHistory().isEmpty());
        QUORVANE_WAIT_FOR_WRITES(editing, before, 110);
        const QList<WriteRequest> undone = editing.writesSince(before + 60);
        for (int k = 0; k < 50; ++k)
            QCOMPARE(undone[k].source, quint16(59 - k));
        // The state before batch 11, not the 999 before batch 1.
        QCOMPARE(editing.onFrame(Bus::pgm, 1, 1), 10u);
        QTRY_COMPARE(editing.cached(Bus::pgm, 1, 1), 10);

        // A 51st undo has nothing left: swallowed, nothing sent.
        const quint16 sequence = editing.connection().msgCounter();
        QVERIFY(model.handleKey(Qt::Key_Z, Qt::ControlModifier));
        QCOMPARE(editing.connection().msgCounter(), sequence);
        QCOMPARE(editing.writesSince(before).size(), 110);
    }

    void undoWithAnEmptyHistoryIsSwallowedAndChangesNothing()
    {
        ConnectedEditing editing;
        QVERIFY(editing.connect(35));
        const quint16 sequence = editing.connection().msgCounter();
        const MappingTable mappings = editing.connection().mappings();
        QSignalSpy history(&editing.model, &EditingModel::undoHistoryChanged);
        QVERIFY(editing.model.handleKey(Qt::Key_Z, Qt::ControlModifier));
        QCOMPARE(editing.connection().msgCounter(), sequence);
        QCOMPARE(editing.connection().mappings(), mappings);
        QCOMPARE(history.count(), 0);
        QVERIFY(editing.frame().writeRequests().isEmpty());
    }

    void shiftDeleteClosesTheGapOfAFifteenButtonRow()
    {
        ConnectedEditing editing;
        editing.setFrameRow(Bus::pgm, 15, 1, range(1, 15));
        QVERIFY(editing.connect(15));
        QCOMPARE(editing.model.selectedButtonCount(), 15);
        QTRY_COMPARE(editing.cachedRow(Bus::pgm, 1, 1, 15), widened(range(1, 15)));
        EditingModel& model = editing.model;
        model.tap(1, 3);
        model.shiftTap(1, 4);

        const qsizetype before = editing.writeCount();
        QVERIFY(model.handleKey(Qt::Key_Delete, Qt::ShiftModifier));
        const QList<quint32> closed{1, 2, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 0, 0};
        QCOMPARE(editing.cachedRow(Bus::pgm, 1, 1, 15), widened(closed));
        QUORVANE_WAIT_FOR_WRITES(editing, before, 13);
        QList<WriteRequest> expected;
        for (int button = 3; button <= 15; ++button)
            expected.append(editing.request(Bus::pgm, 1, button, quint16(closed[button - 1])));
        QCOMPARE(editing.writesSince(before), expected);
        QCOMPARE(editing.frameRow(Bus::pgm, 1, 1, 15), closed);
        // The frame's answers to the last two writes take the cleared buttons out of the cache.
        QTRY_COMPARE(editing.connection().mappingFor(Bus::pgm, 1, 15, 15), std::nullopt);
        QTRY_COMPARE(editing.connection().mappingFor(Bus::pgm, 1, 14, 15), std::nullopt);
        QVERIFY(model.selection().isEmpty());
        QCOMPARE(model.undoHistory().actions().last().changes.size(), 13);

        model.undo();
        QUORVANE_WAIT_FOR_WRITES(editing, before, 26);
        QCOMPARE(editing.frameRow(Bus::pgm, 1, 1, 15), range(1, 15));
    }

    void shiftDeleteOnAColumnDoesNothing()
    {
        ConnectedEditing editing;
        QVERIFY(editing.connect(35));
        EditingModel& model = editing.model;
        model.tap(2, 34);
        QCOMPARE(model.selection().size(), 4);
        const quint16 sequence = editing.connection().msgCounter();
        QVERIFY(model.handleKey(Qt::Key_Delete, Qt::ShiftModifier));
        QCOMPARE(editing.connection().msgCounter(), sequence);
        QCOMPARE(model.selection().size(), 4);
        QVERIFY(model.undoHistory().isEmpty());
        QVERIFY(editing.frame().writeRequests().isEmpty());
    }

    void deleteWithASlotSelectedRemovesTheSlotAndLeavesSelectedButtons()
    {
        ConnectedEditing editing;
        // A drag from a special source selects its column and leaves the slot selected.
        QVERIFY(columnDraggedWithSlotSelected(editing, 2, 6, 65534,
                                              gridDrag({{1, 12, 1}, {2, 13, 1}}, 1, 1), 0));
        EditingModel& model = editing.model;
        QCOMPARE(model.selectedSandboxIndex(), 0);

        const quint16 sequence = editing.connection().msgCounter();
        QVERIFY(model.handleKey(Qt::Key_Backspace, Qt::NoModifier));
        QCOMPARE(model.sandboxSlots().size(), 1);
        QCOMPARE(model.sandboxSlots().first().source, 13);
        QCOMPARE(model.selectedSandboxIndex(), std::nullopt);
        QCOMPARE(model.selection().size(), 4);
        QCOMPARE(editing.connection().msgCounter(), sequence);
        QVERIFY(model.undoHistory().isEmpty());
        QVERIFY(editing.frame().writeRequests().isEmpty());
    }

    void deleteWithAStaleSlotIndexClearsTheSelectedButtons()
    {
        ConnectedEditing editing;
        // The strip shrank since the index was set.
        QVERIFY(columnDraggedWithSlotSelected(editing, 1, 9, 65532, sandboxSlotDrag(12), 3));
        EditingModel& model = editing.model;

        const qsizetype before = editing.writeCount();
        QVERIFY(model.handleKey(Qt::Key_Backspace, Qt::NoModifier));
        QCOMPARE(model.sandboxSlots().size(), 1);
        QUORVANE_WAIT_FOR_WRITES(editing, before, 4);
        for (int shift = 1; shift <= 4; ++shift) {
            QCOMPARE(editing.onFrame(Bus::pgm, shift, 9), 0u);
            QCOMPARE(editing.cached(Bus::pgm, shift, 9), 0);
        }
        QVERIFY(model.selection().isEmpty());
    }

    void thePickersChoiceIsOneUndoableStep()
    {
        ConnectedEditing editing;
        QVERIFY(editing.connectWithRow(Bus::pgm, 35, 2, {11}, 7));
        EditingModel& model = editing.model;
        model.doubleTap(2, 7);
        // The shown bus changes while the picker is open: the picker's button stays.
        model.selectBus(Bus::me1);
        const qsizetype before = editing.writeCount();
        model.choosePickerSource(705);
        QVERIFY(!model.showSourcePicker());
        QUORVANE_COMPARE_WRITES(editing, before,
                                QList<WriteRequest>({editing.request(Bus::pgm, 2, 7, 705)}));
        QCOMPARE(editing.cached(Bus::pgm, 2, 7), 705);
        QCOMPARE(editing.onFrame(Bus::pgm, 2, 7), 705u);
        QVERIFY(loggedMessages(editing.link.logger)
                    .contains(u"[INFO] Wrote PGM S2B7 > 705 (was 11)"_s));
        QCOMPARE(model.undoHistory().actions(),
                 QList<UndoAction>({{{{Bus::pgm, 2, 7, 11}}, {u"127.0.0.1"_s, 1, 35}}}));

        QVERIFY(model.handleKey(Qt::Key_Z, Qt::ControlModifier));
        QUORVANE_WAIT_FOR_WRITES(editing, before, 2);
        QCOMPARE(editing.onFrame(Bus::pgm, 2, 7), 11u);
    }

    void aRowDropOnATwentyButtonRowIsPlacedOrRefusedAsAWhole()
    {
        ConnectedEditing editing;
        QVERIFY(editing.connectWithRow(Bus::pgm, 20, 2, {218, 219, 220}, 18));
        EditingModel& model = editing.model;
        const MultiButtonDragData dragged = gridDrag({{3, 31, 1}, {4, 32, 1}, {5, 33, 1}}, 1, 3);

        const qsizetype before = editing.writeCount();
        const quint16 sequence = editing.connection().msgCounter();
        QVERIFY(!model.dropOnCell(encodeDragData(dragged), 2, 19));
        QCOMPARE(editing.connection().msgCounter(), sequence);
        QVERIFY(model.undoHistory().isEmpty());

        QVERIFY(model.dropOnCell(encodeDragData(dragged), 2, 18));
        QUORVANE_COMPARE_WRITES(editing, before,
                                QList<WriteRequest>({editing.request(Bus::pgm, 2, 18, 31),
                                                     editing.request(Bus::pgm, 2, 19, 32),
                                                     editing.request(Bus::pgm, 2, 20, 33)}));
        QCOMPARE(editing.cachedRow(Bus::pgm, 2, 18, 20), QList<qint64>({31, 32, 33}));
        QCOMPARE(model.undoHistory().actions().last().changes,
                 QList<ButtonState>(
                     {{Bus::pgm, 2, 18, 218}, {Bus::pgm, 2, 19, 219}, {Bus::pgm, 2, 20, 220}}));
    }

    void aDragBetweenButtonsCopiesAndLeavesTheOrigin()
    {
        ConnectedEditing editing;
        QVERIFY(editing.connectWithRow(Bus::pgm, 35, 1, {11, 12, 13, 14, 15, 16}));
        EditingModel& model = editing.model;
        model.tap(1, 1);
        model.shiftTap(1, 2);
        const auto payload = model.beginDrag(1, 2, QPointF(200, 80));
        QVERIFY(payload);
        model.dropTargetChanged(true, 1, 6);
        QCOMPARE(model.dropPreviewRange(), ButtonKeySet({{1, 5}, {1, 6}}));

        const qsizetype before = editing.writeCount();
        // As the widgets hand it over: through its JSON.
        QVERIFY(model.dropOnCell(encodeDragData(*payload), 1, 6));
        QCOMPARE(model.dropPreviewRange(), std::nullopt);
        QCOMPARE(model.currentDragInfo(), std::nullopt);
        QUORVANE_WAIT_FOR_WRITES(editing, before, 2);
        QCOMPARE(editing.frameRow(Bus::pgm, 1, 1, 6), QList<quint32>({11, 12, 13, 14, 11, 12}));
        QTRY_COMPARE(editing.cachedRow(Bus::pgm, 1, 1, 6), QList<qint64>({11, 12, 13, 14, 11, 12}));
    }

    void aColumnDropLandsDownTheDropColumn()
    {
        ConnectedEditing editing;
        editing.setFrameColumn(Bus::me2, 35, 33, 330);
        editing.setFrameColumn(Bus::me2, 35, 8, 80);
        QVERIFY(editing.connect(35));
        EditingModel& model = editing.model;
        model.selectBus(Bus::me2);
        QTRY_VERIFY(model.cellState(4, 33).isFullyLoaded);
        QCOMPARE(editing.cached(Bus::me2, 4, 33), 334);
        model.tap(3, 33);
        const auto payload = model.beginDrag(3, 33, std::nullopt);
        QVERIFY(payload);
        QCOMPARE(payload->buttons.size(), 4);

        // Grabbed at shift 3: dropped on shift 1 the top would land on shift -1.
        const quint16 sequence = editing.connection().msgCounter();
        QVERIFY(!model.dropOnCell({*payload}, 1, 8));
        QCOMPARE(editing.connection().msgCounter(), sequence);

        const qsizetype before = editing.writeCount();
        QVERIFY(model.dropOnCell({*payload}, 3, 8));
        QUORVANE_COMPARE_WRITES(editing, before,
                                QList<WriteRequest>({editing.request(Bus::me2, 1, 8, 331),
                                                     editing.request(Bus::me2, 2, 8, 332),
                                                     editing.request(Bus::me2, 3, 8, 333),
                                                     editing.request(Bus::me2, 4, 8, 334)}));
        for (int shift = 1; shift <= 4; ++shift) {
            QCOMPARE(editing.onFrame(Bus::me2, shift, 8), quint32(330 + shift));
            QCOMPARE(editing.onFrame(Bus::me2, shift, 33), quint32(330 + shift));
            QCOMPARE(editing.cached(Bus::me2, shift, 8), 330 + shift);
        }
    }

    void aSandboxSourceDroppedOnAButtonIsUndoable()
    {
        ConnectedEditing editing;
        QVERIFY(editing.connectWithRow(Bus::pgm, 35, 4, {77}, 20));
        EditingModel& model = editing.model;
        model.addToSandbox({sandboxSlotDrag(705)});
        const auto payload = model.beginSandboxDrag(0);
        QVERIFY(payload);
        const qsizetype before = editing.writeCount();
        QVERIFY(model.dropOnCell(encodeDragData(*payload), 4, 20));
        QUORVANE_COMPARE_WRITES(editing, before,
                                QList<WriteRequest>({editing.request(Bus::pgm, 4, 20, 705)}));
        QCOMPARE(editing.cached(Bus::pgm, 4, 20), 705);
        QCOMPARE(editing.onFrame(Bus::pgm, 4, 20), 705u);
        model.undo();
        QUORVANE_WAIT_FOR_WRITES(editing, before, 2);
        QCOMPARE(editing.onFrame(Bus::pgm, 4, 20), 77u);
        QTRY_COMPARE(editing.cached(Bus::pgm, 4, 20), 77);
    }

    void undoRestoresTheBusItChangedNotTheBusShown()
    {
        ConnectedEditing editing;
        editing.frame().setMapping(Bus::pgm, 35, 1, 2, 22);
        editing.frame().setMapping(Bus::aux, 35, 1, 2, 55);
        QVERIFY(editing.connect(35));
        QTRY_COMPARE(editing.cached(Bus::pgm, 1, 2), 22);
        EditingModel& model = editing.model;
        model.tap(1, 2);
        model.clearSelection();
        model.selectBus(Bus::aux);
        QTRY_VERIFY(model.cellState(1, 2).isFullyLoaded);
        QCOMPARE(model.cellState(1, 2).source, 55);

        const qsizetype before = editing.writeCount();
        model.undo();
        QUORVANE_COMPARE_WRITES(editing, before,
                                QList<WriteRequest>({editing.request(Bus::pgm, 1, 2, 22)}));
        QCOMPARE(editing.onFrame(Bus::aux, 1, 2), 55u);
        QCOMPARE(editing.onFrame(Bus::pgm, 1, 2), 22u);
        QTRY_COMPARE(editing.cached(Bus::pgm, 1, 2), 22);
        QCOMPARE(editing.cached(Bus::aux, 1, 2), 55);
    }

    void cellsShowTheFramesNamesOnceLoaded()
    {
        ConnectedEditing editing;
        editing.setFrameRow(Bus::pgm, 35, 1, {1, 15, 21, 432, 705});
        QVERIFY(editing.connect(35));
        EditingModel& model = editing.model;
        QTRY_COMPARE(model.cellState(1, 5).source, 705);
        QVERIFY(model.cellState(1, 1).isFullyLoaded);
        QTRY_COMPARE(model.cellState(1, 1).displayName, u"Cam 1 Main Wide"_s);
        QCOMPARE(model.cellState(1, 2).displayName, u"AERIAL"_s);
        QCOMPARE(model.cellState(1, 3).displayName, u"CAM 21"_s);
        QCOMPARE(model.cellState(1, 4).displayName, std::nullopt);
        // An internal source: the shipped label before the engineering name.
        QCOMPARE(model.cellState(1, 5).displayName, u"Background 2"_s);

        // A bus never read is a placeholder until its load completes.
        model.selectBus(Bus::me3);
        QVERIFY(!model.cellState(1, 1).isFullyLoaded);
        QTRY_VERIFY(model.cellState(1, 1).isFullyLoaded);
    }

    void thePickerSearchesTheNamesTheFrameSent()
    {
        ConnectedEditing editing;
        QVERIFY(editing.connect(35));
        EditingModel& model = editing.model;
        model.doubleTap(1, 1);
        model.setPickerSearchText(u"CAM"_s);
        QTRY_COMPARE(model.pickerSources(), QList<int>({1, 2, 3, 4, 5, 6, 7, 13, 19, 20, 21, 24}));
        model.setPickerSearchText(u"cam "_s);
        QCOMPARE(model.pickerSources(), QList<int>({1, 2, 3, 4, 5, 6, 7, 13, 19, 20, 21, 24}));
        model.setPickerSearchText(u"   "_s);
        QCOMPARE(model.pickerSources().size(), 809);
    }
};

QTEST_GUILESS_MAIN(TestEditingWrites)
#include "tst_editing_writes.moc"
