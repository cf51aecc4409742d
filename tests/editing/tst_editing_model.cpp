// The view model's state without a network: clicks, bus tabs, cell values, copy, the drag
// state, the sandbox, the source picker and the keyboard. Writing to a frame is covered over
// loopback in tst_editing_writes.
#include "editing_fixture.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace quorvane;
using namespace quorvane::test;
using namespace std::chrono_literals;

namespace {
struct ManualClock {
    std::chrono::milliseconds now{5'000'000};
    ClickClassifier::Clock clock()
    {
        return [this] { return now; };
    }
};

ButtonKeySet columnKeys(int button)
{
    return {{1, button}, {2, button}, {3, button}, {4, button}};
}
} // namespace

class TestEditingModel : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void startsAsTheViewStarts()
    {
        OfflineEditing editing;
        const EditingModel& model = editing.model;
        QCOMPARE(model.selectedBus(), Bus::pgm);
        QCOMPARE(model.selectedButtonCount(), 35);
        QCOMPARE(model.selectedSuite(), 1);
        QCOMPARE(model.ipAddress().size(), 14);
        QCOMPARE(model.showDebugLog(), false);
        QVERIFY(model.selection().isEmpty());
        QVERIFY(model.sandboxSlots().isEmpty());
        QCOMPARE(model.selectedSandboxIndex(), std::nullopt);
        QCOMPARE(model.showSourcePicker(), false);
        QCOMPARE(model.pickerTargetButton(), std::nullopt);
        QCOMPARE(model.isClipboardDropTargeted(), false);
        QCOMPARE(model.dropPreviewRange(), std::nullopt);
        QCOMPARE(model.currentDragInfo(), std::nullopt);
        QCOMPARE(model.dragClickOffset(), QPointF(0, 0));
        QVERIFY(model.undoHistory().isEmpty());
        QVERIFY(!model.canUndo());
        QVERIFY(!model.canRedo());
        QVERIFY(model.clipboard().isEmpty());
        QCOMPARE(model.clipboard().copiedVertically, false);
    }

    void threeQuickClicksGiveOneDoubleClickThenAPlainClick()
    {
        OfflineEditing editing;
        ManualClock time;
        editing.model.setClickClock(time.clock());
        QSignalSpy picker(&editing.model, &EditingModel::sourcePickerChanged);

        editing.model.click(2, 5, Qt::NoModifier);
        QCOMPARE(editing.model.selection().selectedButtons(), ButtonKeySet({{2, 5}}));
        QCOMPARE(editing.model.showSourcePicker(), false);

        time.now += 120ms;
        editing.model.click(2, 5, Qt::NoModifier);
        QCOMPARE(editing.model.showSourcePicker(), true);
        QCOMPARE(editing.model.pickerTargetButton(), ButtonLocation({Bus::pgm, 2, 5}));
        QCOMPARE(picker.count(), 1);
        editing.model.dismissSourcePicker();

        time.now += 120ms;
        editing.model.click(2, 5, Qt::NoModifier);
        // A plain click again: the picker stays closed.
        QCOMPARE(editing.model.showSourcePicker(), false);
        QCOMPARE(picker.count(), 2);

        // Each cell times its own clicks.
        time.now += 100ms;
        editing.model.click(2, 6, Qt::NoModifier);
        QCOMPARE(editing.model.showSourcePicker(), false);
        QCOMPARE(editing.model.selection().selectedButtons(), ButtonKeySet({{2, 6}}));
    }

    void shiftClickActsOnlyAsARangeSelection()
    {
        OfflineEditing editing;
        ManualClock time;
        editing.model.setClickClock(time.clock());
        editing.model.click(1, 3, Qt::NoModifier);
        time.now += 1s;
        editing.model.click(1, 7, Qt::ShiftModifier);
        ButtonKeySet range;
        for (int button = 3; button <= 7; ++button)
            range.insert({1, button});
        QCOMPARE(editing.model.selection().selectedButtons(), range);
        QCOMPARE(editing.model.selection().anchor(), SelectedButtonKey({1, 3}));

        // A plain tap while Shift is held changes nothing.
        editing.model.tap(3, 9, Qt::ShiftModifier);
        QCOMPARE(editing.model.selection().selectedButtons(), range);
    }

    void shiftClickWithoutAnchorTakesTheCellAloneOnALastButton()
    {
        OfflineEditing editing;
        editing.model.click(2, 35, Qt::ShiftModifier);
        QCOMPARE(editing.model.selection().selectedButtons(), ButtonKeySet({{2, 35}}));
        QCOMPARE(editing.model.selection().selectionShift(), 2);
        editing.model.deselectAll();
        editing.model.tap(2, 35);
        QCOMPARE(editing.model.selection().selectedButtons(), columnKeys(35));
    }

    void commandClickIsAPlainClick()
    {
        OfflineEditing editing;
        ManualClock time;
        editing.model.setClickClock(time.clock());
        editing.model.click(1, 2, Qt::NoModifier);
        time.now += 1s;
        editing.model.click(1, 6, Qt::ControlModifier);
        // No adding to the selection: the click replaces it.
        QCOMPARE(editing.model.selection().selectedButtons(), ButtonKeySet({{1, 6}}));
    }

    void clicksOffTheGridAreIgnored()
    {
        OfflineEditing editing;
        editing.model.setSelectedButtonCount(20);
        editing.model.tap(1, 21);
        editing.model.tap(0, 1);
        editing.model.shiftTap(5, 1);
        editing.model.doubleTap(1, 0);
        QVERIFY(editing.model.selection().isEmpty());
        QCOMPARE(editing.model.showSourcePicker(), false);
    }

    void aBusTabEmptiesTheSelectionAndSwitchesTheConnection()
    {
        OfflineEditing editing;
        QSignalSpy bus(&editing.model, &EditingModel::selectedBusChanged);
        editing.model.tap(1, 4);
        editing.model.selectBus(Bus::me2);
        QCOMPARE(editing.model.selectedBus(), Bus::me2);
        QCOMPARE(editing.connection.currentBus(), Bus::me2);
        QVERIFY(editing.model.selection().isEmpty());
        QCOMPARE(editing.model.selection().anchor(), std::nullopt);
        QCOMPARE(bus.count(), 1);
    }

    void theBusAlreadyShownStillEmptiesTheSelectionAndCallsTheBusChange()
    {
        OfflineEditing editing;
        QSignalSpy bus(&editing.model, &EditingModel::selectedBusChanged);
        QSignalSpy selection(&editing.model, &EditingModel::selectionChanged);
        editing.model.tap(1, 4);
        editing.model.shiftTap(1, 8);
        editing.model.selectBus(Bus::pgm);
        QCOMPARE(editing.connection.currentBus(), Bus::pgm);
        QVERIFY(editing.model.selection().isEmpty());
        QCOMPARE(editing.model.selection().selectionShift(), std::nullopt);
        QCOMPARE(editing.model.selection().anchor(), std::nullopt);
        QCOMPARE(bus.count(), 0);
        QCOMPARE(selection.count(), 3);
    }

    void theGridFollowsABusSwitchMadeElsewhere()
    {
        OfflineEditing editing;
        QSignalSpy bus(&editing.model, &EditingModel::selectedBusChanged);
        editing.model.tap(1, 4);
        // The grid never shows a bus other than the one edits are written to.
        editing.connection.changeBus(Bus::aux);
        QCOMPARE(editing.model.selectedBus(), Bus::aux);
        QCOMPARE(editing.model.cellState(1, 1).selectedBus, Bus::aux);
        QVERIFY(editing.model.selection().isEmpty());
        QCOMPARE(bus.count(), 1);
        editing.model.selectBus(Bus::me3);
        QCOMPARE(editing.connection.currentBus(), Bus::me3);
        QCOMPARE(bus.count(), 2);
    }

    void changingTheButtonCountSwitchesTheConnectionAndEmptiesTheSelection()
    {
        OfflineEditing editing;
        QSignalSpy count(&editing.model, &EditingModel::selectedButtonCountChanged);
        editing.model.tap(1, 30);
        editing.model.setSelectedButtonCount(20);
        QCOMPARE(editing.model.selectedButtonCount(), 20);
        QCOMPARE(editing.connection.buttonCount(), 20);
        QVERIFY(editing.model.selection().isEmpty());
        QCOMPARE(count.count(), 1);
        // The connection refuses a count no panel has, and so does the grid.
        editing.model.setSelectedButtonCount(30);
        QCOMPARE(editing.model.selectedButtonCount(), 20);
        QCOMPARE(editing.connection.buttonCount(), 20);
        QVERIFY(loggedMessages(editing.logger)
                    .contains(u"[WARN] changeButtonCount: invalid count 30"_s));
        // The grid follows the connection when it is switched elsewhere.
        editing.connection.changeButtonCount(15);
        QCOMPARE(editing.model.selectedButtonCount(), 15);
    }

    void cellValuesComeFromTheCacheAndTheSelection()
    {
        OfflineEditing editing;
        editing.feed(Bus::pgm, {{1, 1, 12}, {1, 2, 500}, {2, 1, 7}});
        editing.feed(Bus::me1, {{1, 1, 99}});
        EditingModel& model = editing.model;
        model.tap(1, 1);
        model.shiftTap(1, 2);

        const ButtonCellState first = model.cellState(1, 1);
        QCOMPARE(first.shift, 1);
        QCOMPARE(first.button, 1);
        QCOMPARE(first.selectedBus, Bus::pgm);
        QCOMPARE(first.source, 12);
        QCOMPARE(first.isSelected, true);
        QCOMPARE(first.isMultiSelected, true);
        QCOMPARE(first.anchorShift, 1);
        QCOMPARE(first.anchorButton, 1);
        QVERIFY(first.isAnchor());
        QCOMPARE(first.hideSelectionDuringDrag, false);
        QCOMPARE(first.isInDropPreview, false);
        // Not loaded: the connection has not read this bus from a frame.
        QCOMPARE(first.isFullyLoaded, false);
        // The frame named nothing yet.
        QCOMPARE(first.displayName, std::nullopt);

        const ButtonCellState second = model.cellState(1, 2);
        QCOMPARE(second.source, 500);
        QCOMPARE(second.isSelected, true);
        QVERIFY(!second.isAnchor());

        const ButtonCellState other = model.cellState(2, 1);
        QCOMPARE(other.source, 7);
        QCOMPARE(other.isSelected, false);
        QCOMPARE(other.isMultiSelected, false);

        // No mapping: no source, no name.
        const ButtonCellState empty = model.cellState(4, 9);
        QCOMPARE(empty.source, 0);
        QCOMPARE(empty.displayName, std::nullopt);

        // One selected cell is selected, not multi-selected.
        model.tap(2, 1);
        QCOMPARE(model.cellState(2, 1).isSelected, true);
        QCOMPARE(model.cellState(2, 1).isMultiSelected, false);

        // Cell ids differ per bus, shift and button.
        QSet<QString> ids;
        for (int shift = 1; shift <= 4; ++shift) {
            for (int button = 1; button <= 35; ++button)
                ids.insert(model.cellState(shift, button).cellId);
        }
        QCOMPARE(ids.size(), 140);
        const QString pgmId = model.cellState(1, 1).cellId;
        model.selectBus(Bus::me1);
        QVERIFY(model.cellState(1, 1).cellId != pgmId);
        QCOMPARE(model.cellState(1, 1).source, 99);
    }

    void aButtonTheFrameNeverAnsweredIsUnknownNotUnassigned()
    {
        OfflineEditing editing;
        editing.feed(Bus::pgm, {{1, 1, 12}, {1, 2, 0}});
        const ButtonCellState assigned = editing.model.cellState(1, 1);
        QCOMPARE(assigned.isUnknown, false);
        QCOMPARE(assigned.mappingKey, u"PGM-35-1-1"_s);
        // Answered as unassigned: known, with no source.
        const ButtonCellState unassigned = editing.model.cellState(1, 2);
        QCOMPARE(unassigned.isUnknown, false);
        QCOMPARE(unassigned.source, 0);
        // Never answered: unknown.
        const ButtonCellState silent = editing.model.cellState(1, 3);
        QCOMPARE(silent.isUnknown, true);
        QCOMPARE(silent.source, 0);
        QCOMPARE(silent.mappingKey, u"PGM-35-1-3"_s);
        // An answer at another button count says nothing about this one.
        editing.model.setSelectedButtonCount(20);
        QCOMPARE(editing.model.cellState(1, 1).isUnknown, true);
        QCOMPARE(editing.model.cellState(1, 1).mappingKey, u"PGM-20-1-1"_s);
    }

    void answersRepaintTheGrid()
    {
        OfflineEditing editing;
        QSignalSpy grid(&editing.model, &EditingModel::gridDataChanged);
        Q_EMIT editing.connection.buttonsAnswered();
        QCOMPARE(grid.count(), 1);
    }

    void tooltipsTellTheSourceItsNamesTheKeyAndWhetherTheFrameAnswered()
    {
        ButtonCellState cell;
        cell.isFullyLoaded = true;
        cell.mappingKey = u"PGM-35-1-7"_s;
        cell.source = 12;
        cell.displayName = u"Camera 12 Wide"_s;
        cell.engineeringName = u"CAM12"_s;
        QCOMPARE(cellToolTip(cell),
                 u"Source 12: Camera 12 Wide\nEngineering name: CAM12\nMapping key: PGM-35-1-7"_s);
        cell.engineeringName = u"Camera 12 Wide"_s;
        QCOMPARE(cellToolTip(cell), u"Source 12: Camera 12 Wide\nMapping key: PGM-35-1-7"_s);
        cell.displayName.reset();
        cell.engineeringName.reset();
        QCOMPARE(cellToolTip(cell), u"Source 12\nMapping key: PGM-35-1-7"_s);
        cell.source = 0;
        QCOMPARE(cellToolTip(cell), u"No source (unassigned)\nMapping key: PGM-35-1-7"_s);
        cell.isUnknown = true;
        QCOMPARE(cellToolTip(cell),
                 u"Mapping key: PGM-35-1-7\nUnknown: the frame has not answered for this button"_s);
        cell.source = 703;
        cell.displayName = u"Black"_s;
        QCOMPARE(cellToolTip(cell), u"Source 703: Black\nMapping key: PGM-35-1-7\nUnknown: the "
                                    u"frame has not answered for this button (the source shown "
                                    u"was written here, unconfirmed)"_s);
        ButtonCellState loading;
        loading.mappingKey = u"ME2-20-3-4"_s;
        loading.isUnknown = true;
        QCOMPARE(cellToolTip(loading), u"Not loaded yet\nMapping key: ME2-20-3-4\nUnknown: the "
                                       u"frame has not answered for this button"_s);
    }

    void cellsAreToldWhenTheCacheChanges()
    {
        OfflineEditing editing;
        QSignalSpy grid(&editing.model, &EditingModel::gridDataChanged);
        editing.feed(Bus::pgm, {{3, 3, 40}});
        QVERIFY(grid.count() >= 1); // the new mapping, and the answer
        QCOMPARE(editing.model.cellState(3, 3).source, 40);
    }

    void copyReadsTheCacheAlongTheRowOrDownTheColumn()
    {
        OfflineEditing editing;
        editing.feed(Bus::pgm,
                     {{2, 5, 51}, {2, 6, 52}, {2, 8, 54}, {1, 34, 1}, {3, 34, 3}, {4, 34, 4}});
        QSignalSpy clipboard(&editing.model, &EditingModel::clipboardChanged);
        editing.model.tap(2, 8);
        editing.model.shiftTap(2, 5);
        editing.model.copySelection();
        QCOMPARE(editing.model.clipboard().copiedSources, QList<qint64>({51, 52, 0, 54}));
        QCOMPARE(editing.model.clipboard().copiedVertically, false);
        // Copying leaves the selection alone.
        QCOMPARE(editing.model.selection().size(), 4);

        editing.model.tap(3, 34);
        editing.model.copySelection();
        QCOMPARE(editing.model.clipboard().copiedSources, QList<qint64>({1, 0, 3, 4}));
        QCOMPARE(editing.model.clipboard().copiedVertically, true);
        QCOMPARE(clipboard.count(), 2);

        // Nothing selected: the clipboard stays.
        editing.model.deselectAll();
        editing.model.copySelection();
        QCOMPARE(editing.model.clipboard().copiedSources, QList<qint64>({1, 0, 3, 4}));
    }

    void commandShiftCCopies()
    {
        OfflineEditing editing;
        editing.feed(Bus::pgm, {{1, 2, 8}});
        editing.model.tap(1, 2);
        QVERIFY(editing.model.handleKey(Qt::Key_C, Qt::ControlModifier | Qt::ShiftModifier));
        QCOMPARE(editing.model.clipboard().copiedSources, QList<qint64>({8}));
    }

    void keysWithNothingToActOnGoOn()
    {
        OfflineEditing editing;
        EditingModel& model = editing.model;
        QVERIFY(!model.handleKey(Qt::Key_Backspace, Qt::NoModifier));
        QVERIFY(!model.handleKey(Qt::Key_Delete, Qt::ShiftModifier));
        QVERIFY(!model.handleKey(Qt::Key_C, Qt::ControlModifier));
        model.tap(1, 1);
        // An empty clipboard: Command-V reaches the focused control and nothing changes.
        QSignalSpy selection(&model, &EditingModel::selectionChanged);
        QVERIFY(!model.handleKey(Qt::Key_V, Qt::ControlModifier));
        QCOMPARE(selection.count(), 0);
        QVERIFY(!model.handleKey(Qt::Key_A, Qt::ControlModifier));
        QVERIFY(!model.handleKey(Qt::Key_V, Qt::NoModifier));
    }

    void commandLTogglesTheDebugLog()
    {
        OfflineEditing editing;
        QSignalSpy shown(&editing.model, &EditingModel::showDebugLogChanged);
        QVERIFY(editing.model.handleKey(Qt::Key_L, Qt::ControlModifier));
        QCOMPARE(editing.model.showDebugLog(), true);
        QVERIFY(editing.model.handleKey(Qt::Key_L, Qt::ControlModifier));
        QCOMPARE(editing.model.showDebugLog(), false);
        QCOMPARE(shown.count(), 2);
    }

    void gridKeysMoveTheSelectionAndReturnOpensThePicker()
    {
        OfflineEditing editing;
        EditingModel& model = editing.model;
        QSignalSpy selection(&model, &EditingModel::selectionChanged);
        QVERIFY(!model.handleGridKey(Qt::Key_Return, Qt::NoModifier)); // nothing selected
        QVERIFY(model.handleGridKey(Qt::Key_Right, Qt::NoModifier));
        QVERIFY(model.handleGridKey(Qt::Key_Down, Qt::KeypadModifier));
        QCOMPARE(model.selection().selectedButtons(), ButtonKeySet({{2, 1}}));
        QVERIFY(model.handleGridKey(Qt::Key_Right, Qt::ShiftModifier));
        QCOMPARE(model.selection().selectedButtons(), ButtonKeySet({{2, 1}, {2, 2}}));
        QCOMPARE(selection.count(), 3);
        // Keys of others: the key table's, and arrows with Command or Alt.
        for (const auto& [key, modifiers] :
             {std::pair(Qt::Key_Delete, Qt::KeyboardModifiers(Qt::NoModifier)),
              std::pair(Qt::Key_C, Qt::KeyboardModifiers(Qt::ControlModifier)),
              std::pair(Qt::Key_V, Qt::KeyboardModifiers(Qt::ControlModifier)),
              std::pair(Qt::Key_Z, Qt::KeyboardModifiers(Qt::ControlModifier)),
              std::pair(Qt::Key_L, Qt::KeyboardModifiers(Qt::ControlModifier)),
              std::pair(Qt::Key_Left, Qt::KeyboardModifiers(Qt::ControlModifier)),
              std::pair(Qt::Key_Up, Qt::KeyboardModifiers(Qt::AltModifier)),
              std::pair(Qt::Key_A, Qt::KeyboardModifiers(Qt::NoModifier))}) {
            QVERIFY(!model.handleGridKey(key, modifiers));
        }
        QCOMPARE(selection.count(), 3);
        QCOMPARE(model.selection().anchor(), SelectedButtonKey({2, 1}));
        // Return: the picker, for the anchor of the run.
        QVERIFY(model.handleGridKey(Qt::Key_Return, Qt::NoModifier));
        QVERIFY(model.showSourcePicker());
        QCOMPARE(model.pickerTargetButton(), ButtonLocation({Bus::pgm, 2, 1}));
        // The key table still treats its keys as before.
        QCOMPARE(decideKey(Qt::Key_Delete, Qt::NoModifier, model.keyContext()),
                 KeyDecision({KeyOperation::clearSelection, true}));
    }

    void upAndDownMoveThePickersHighlightAndReturnPicksIt()
    {
        OfflineEditing editing;
        EditingModel& model = editing.model;
        model.doubleTap(1, 5);
        QVERIFY(!model.chooseHighlightedPickerSource()); // nothing highlighted
        model.movePickerHighlight(1);
        QCOMPARE(model.sourcePicker().selectedSource, 1);
        model.movePickerHighlight(1);
        model.movePickerHighlight(1);
        QCOMPARE(model.sourcePicker().selectedSource, 3);
        model.movePickerHighlight(-1);
        QCOMPARE(model.sourcePicker().selectedSource, 2);
        model.movePickerHighlight(-5);
        QCOMPARE(model.sourcePicker().selectedSource, 1);
        // Within the rows of the search.
        model.setPickerSearchText(u"12"_s);
        model.movePickerHighlight(1); // 1 is not a row: the first row
        QCOMPARE(model.sourcePicker().selectedSource, 12);
        model.movePickerHighlight(1);
        QCOMPARE(model.sourcePicker().selectedSource, 112);
        model.setPickerSearchText(u"809"_s);
        model.movePickerHighlight(-1);
        QCOMPARE(model.sourcePicker().selectedSource, 809);
        model.movePickerHighlight(1); // the last row stays
        QCOMPARE(model.sourcePicker().selectedSource, 809);
        // A highlight no row shows is not picked.
        model.setPickerSearchText(u"77"_s);
        QVERIFY(!model.chooseHighlightedPickerSource());
        QVERIFY(model.showSourcePicker());
        model.movePickerHighlight(1);
        QVERIFY(model.chooseHighlightedPickerSource());
        QVERIFY(!model.showSourcePicker());
    }

    void aSandboxSlotAndButtonsExcludeEachOther()
    {
        OfflineEditing editing;
        EditingModel& model = editing.model;
        QCOMPARE(model.addToSandbox({sandboxSlotDrag(12)}), 1);
        model.tap(1, 3);
        model.selectSandboxSlot(0);
        QCOMPARE(model.selectedSandboxIndex(), 0);
        QVERIFY(model.selection().isEmpty());
        QCOMPARE(model.selection().anchor(), std::nullopt);
        model.tap(1, 3);
        QCOMPARE(model.selectedSandboxIndex(), std::nullopt);
        model.selectSandboxSlot(0);
        model.shiftTap(2, 3);
        QCOMPARE(model.selectedSandboxIndex(), std::nullopt);
    }

    void deleteWithASlotSelectedRemovesTheSlot()
    {
        OfflineEditing editing;
        EditingModel& model = editing.model;
        QSignalSpy sandbox(&model, &EditingModel::sandboxChanged);
        model.addToSandbox({sandboxSlotDrag(12)});
        model.addToSandbox({sandboxSlotDrag(705)});
        model.selectSandboxSlot(0);
        QVERIFY(model.handleKey(Qt::Key_Backspace, Qt::NoModifier));
        QCOMPARE(model.sandboxSlots().size(), 1);
        QCOMPARE(model.sandboxSlots().first().source, 705);
        QCOMPARE(model.selectedSandboxIndex(), std::nullopt);
        // Shift-Delete removes a selected slot the same way.
        model.selectSandboxSlot(0);
        QVERIFY(model.handleKey(Qt::Key_Delete, Qt::ShiftModifier));
        QVERIFY(model.sandboxSlots().isEmpty());
        QCOMPARE(sandbox.count(), 6);
    }

    void sandboxSlotsShowTheirNameOrNumber()
    {
        OfflineEditing editing;
        editing.model.addToSandbox({sandboxSlotDrag(700), sandboxSlotDrag(1)});
        editing.model.addToSandbox({sandboxSlotDrag(432)});
        // 700 carries a shipped label; 432 is named by nothing.
        QCOMPARE(editing.model.sourceText(700), u"Black"_s);
        QCOMPARE(editing.model.sourceText(432), u"432"_s);
    }

    void theDrawnCellShowsADragInProgress()
    {
        OfflineEditing editing;
        EditingModel& model = editing.model;
        editing.feed(Bus::pgm, {{1, 3, 31}, {1, 4, 32}, {1, 5, 33}});
        model.tap(1, 3);
        model.shiftTap(1, 5);
        QSignalSpy drag(&model, &EditingModel::dragStateChanged);
        const auto payload = model.beginDrag(1, 4, QPointF(120, 100));
        QVERIFY(payload);
        QCOMPARE(payload->fromBus, u"PGM"_s);
        QCOMPARE(payload->buttons, QList<ButtonData>({{3, 31, 1}, {4, 32, 1}, {5, 33, 1}}));
        QCOMPARE(payload->anchorButton, 4);
        QCOMPARE(payload->anchorShift, 1);
        QCOMPARE(payload->fromShift, 1);
        QCOMPARE(model.dragClickOffset(), QPointF(10, 6));
        QCOMPARE(model.currentDragInfo(), DragInfo({false, 3, 1, 1, 0}));
        QCOMPARE(model.selection().anchor(), SelectedButtonKey({1, 4}));
        QVERIFY(model.cellState(1, 3).hideSelectionDuringDrag);
        QVERIFY(drag.count() >= 2);

        // Hovering shows where the three would land, the grabbed one on the cell.
        model.dropTargetChanged(true, 2, 10);
        QCOMPARE(model.dropPreviewRange(), ButtonKeySet({{2, 9}, {2, 10}, {2, 11}}));
        QVERIFY(model.cellState(2, 9).isInDropPreview);
        QVERIFY(!model.cellState(2, 12).isInDropPreview);
        // The next cell is entered before the last one is left.
        model.dropTargetChanged(true, 2, 11);
        model.dropTargetChanged(false, 2, 10);
        QCOMPARE(model.dropPreviewRange(), ButtonKeySet({{2, 10}, {2, 11}, {2, 12}}));
        // Where the drop would be refused nothing is highlighted.
        model.dropTargetChanged(true, 2, 35);
        QCOMPARE(model.dropPreviewRange(), std::nullopt);
        model.dropTargetChanged(true, 3, 34);
        model.dropTargetChanged(false, 3, 34);
        QCOMPARE(model.dropPreviewRange(), std::nullopt);

        // A Shift-click ends the drag state.
        model.dropTargetChanged(true, 2, 10);
        model.shiftTap(1, 6);
        QCOMPARE(model.dropPreviewRange(), std::nullopt);
        QCOMPARE(model.currentDragInfo(), std::nullopt);
        QVERIFY(!model.cellState(1, 3).hideSelectionDuringDrag);
    }

    void aDragWithoutAWindowPointIsGrabbedAtTheCentre()
    {
        OfflineEditing editing;
        const auto payload = editing.model.beginDrag(2, 7, std::nullopt);
        QVERIFY(payload);
        QCOMPARE(editing.model.dragClickOffset(), QPointF(26, 22));
        // An unselected cell drags alone.
        QCOMPARE(payload->buttons, QList<ButtonData>({{7, 0, 2}}));
        QCOMPARE(editing.model.beginDrag(2, 36, QPointF(1, 1)), std::nullopt);
    }

    void aZoomedDragIsGrabbedInTheZoomedCell()
    {
        OfflineEditing editing;
        editing.model.setZoom(GridZoom::fixed(2.0));
        QVERIFY(editing.model.beginDrag(1, 4, QPointF(240, 200)));
        QCOMPARE(editing.model.dragClickOffset(), QPointF(20, 12));
        QVERIFY(editing.model.beginDrag(1, 4, std::nullopt));
        QCOMPARE(editing.model.dragClickOffset(), QPointF(52, 44));
    }

    void theZoomStartsAtActualSizeAndStepsFromWhatIsShown()
    {
        OfflineEditing editing;
        EditingModel& model = editing.model;
        QSignalSpy metrics(&model, &EditingModel::gridMetricsChanged);
        QSignalSpy zoom(&model, &EditingModel::zoomChanged);
        QCOMPARE(model.zoom(), GridZoom::actualSize());
        QCOMPARE(model.gridMetrics(), GridMetrics(1.0));
        model.zoomIn();
        QCOMPARE(model.gridMetrics().zoom(), 1.1);
        model.zoomOut();
        model.zoomOut();
        QCOMPARE(model.gridMetrics().zoom(), 0.9);
        QCOMPARE(metrics.count(), 3);
        QCOMPARE(zoom.count(), 3);
        model.setZoom(GridZoom::actualSize());
        QCOMPARE(model.gridMetrics(), GridMetrics(1.0));
    }

    void aFittedGridFollowsItsSpaceAndTheButtonCount()
    {
        OfflineEditing editing;
        EditingModel& model = editing.model;
        model.setZoom(GridZoom::fitToWindow());
        // Nothing to fit to before the grid has a place on screen.
        QCOMPARE(model.gridMetrics(), GridMetrics(1.0));
        model.setGridSpace(QSize(1120, 400));
        const double for35 = model.gridMetrics().zoom();
        QVERIFY(for35 < 1.0);
        QVERIFY(model.gridMetrics().gridSize(35).width() <= 1120);
        // Fewer buttons per row: the same space takes larger cells.
        model.setSelectedButtonCount(15);
        QVERIFY(model.gridMetrics().zoom() > for35);
        QVERIFY(model.gridMetrics().gridSize(15).width() <= 1120);
        QVERIFY(model.gridMetrics().gridSize(15).height() <= 400);
        model.setGridSpace(QSize(2000, 900));
        QCOMPARE(model.gridMetrics().zoom(), fittingFactor(QSize(2000, 900), 15));
        // Zooming in from a fitted grid takes the next step above what is shown.
        model.setSelectedButtonCount(35);
        model.setGridSpace(QSize(1120, 400));
        model.zoomIn();
        QVERIFY(!model.zoom().fitsWindow());
        QCOMPARE(model.gridMetrics().zoom(), GridZoom::zoomedIn(for35).factorFor({}, 35));
    }

    void aNewDragClearsTheLastOnesPreview()
    {
        OfflineEditing editing;
        editing.model.beginDrag(1, 1, std::nullopt);
        editing.model.dropTargetChanged(true, 2, 2);
        QVERIFY(editing.model.dropPreviewRange());
        editing.model.beginDrag(3, 3, std::nullopt);
        QCOMPARE(editing.model.dropPreviewRange(), std::nullopt);
        QCOMPARE(editing.model.currentDragInfo(), DragInfo());
        editing.model.endDrag();
        QCOMPARE(editing.model.currentDragInfo(), std::nullopt);
    }

    void aDragFromASpecialSourceTakesItsColumn_data()
    {
        QTest::addColumn<int>("source");
        QTest::addColumn<bool>("special");
        QTest::newRow("65531") << 65531 << false;
        QTest::newRow("65532") << 65532 << true;
        QTest::newRow("65533") << 65533 << true;
        QTest::newRow("65534") << 65534 << true;
        QTest::newRow("65535") << 65535 << true;
    }

    void aDragFromASpecialSourceTakesItsColumn()
    {
        QFETCH(int, source);
        QFETCH(bool, special);
        OfflineEditing editing;
        editing.feed(Bus::pgm, {{2, 6, quint32(source)}, {1, 6, 3}, {4, 6, 9}});
        editing.model.tap(2, 6);
        const auto payload = editing.model.beginDrag(2, 6, std::nullopt);
        QVERIFY(payload);
        QCOMPARE(editing.model.selection().anchor(), SelectedButtonKey({2, 6}));
        if (special) {
            QCOMPARE(editing.model.selection().selectedButtons(), columnKeys(6));
            QCOMPARE(editing.model.selection().selectionShift(), std::nullopt);
            QVERIFY(editing.model.selection().isVerticalSelection());
            QCOMPARE(payload->buttons,
                     QList<ButtonData>({{6, 3, 1}, {6, source, 2}, {6, 0, 3}, {6, 9, 4}}));
            QCOMPARE(editing.model.currentDragInfo(), DragInfo({true, 1, 4, 0, 1}));
        } else {
            QCOMPARE(editing.model.selection().selectedButtons(), ButtonKeySet({{2, 6}}));
            QCOMPARE(payload->buttons, QList<ButtonData>({{6, source, 2}}));
        }
    }

    void aSpecialSourceKeepsASelectionOfTwoOrMore()
    {
        OfflineEditing editing;
        editing.feed(Bus::pgm, {{2, 6, 65535}});
        editing.model.tap(2, 5);
        editing.model.shiftTap(2, 6);
        editing.model.beginDrag(2, 6, std::nullopt);
        QCOMPARE(editing.model.selection().selectedButtons(), ButtonKeySet({{2, 5}, {2, 6}}));
    }

    void refusedDropsWriteAndRecordNothing()
    {
        OfflineEditing editing;
        editing.feed(Bus::pgm, {{1, 1, 5}});
        EditingModel& model = editing.model;
        MultiButtonDragData noButtons = sandboxSlotDrag(3);
        noButtons.buttons.clear();
        model.beginDrag(1, 1, std::nullopt);
        QVERIFY(!model.dropOnCell(QList<MultiButtonDragData>{}, 1, 1));
        QVERIFY(!model.dropOnCell({noButtons}, 1, 1));
        QVERIFY(!model.dropOnCell(QByteArrayView("{\"buttons\": []"), 1, 1));
        QVERIFY(!model.dropOnCell(QByteArrayView("not json at all"), 1, 1));
        QVERIFY(!model.dropOnCell(QByteArrayView(), 1, 1));
        QVERIFY(model.undoHistory().isEmpty());
        QCOMPARE(model.currentDragInfo(), std::nullopt);
        QVERIFY(!loggedMessages(editing.logger).join(u'\n').contains(u"writeMapping"_s));
    }

    void nothingIsRecordedOrUndoneWhileNotConnected()
    {
        OfflineEditing editing;
        editing.feed(Bus::pgm, {{1, 1, 11}, {1, 2, 12}});
        EditingModel& model = editing.model;
        // A step names the panel it was made on: without a link there is none.
        QCOMPARE(model.recordUndo({{Bus::pgm, 1, 1}, {Bus::pgm, 1, 2}}), 0);
        QVERIFY(model.undoHistory().isEmpty());
        QVERIFY(!model.canUndo());

        QVERIFY(model.handleKey(Qt::Key_Z, Qt::ControlModifier));
        QVERIFY(!model.canRedo());
        QVERIFY(!loggedMessages(editing.logger).join(u'\n').contains(u"writeMapping"_s));
    }

    void aDropOnTheClipboardAreaFillsTheClipboard()
    {
        OfflineEditing editing;
        EditingModel& model = editing.model;
        model.setClipboardDropTargeted(true);
        QVERIFY(model.isClipboardDropTargeted());
        MultiButtonDragData row;
        row.buttons = {{4, 40, 2}, {5, 0, 2}, {6, 60, 2}};
        row.fromBus = u"ME3"_s;
        row.fromShift = 2;
        row.anchorButton = 4;
        row.anchorShift = 2;
        QVERIFY(model.dropOnClipboard({row}));
        QCOMPARE(model.clipboard(), InternalClipboard({{40, 0, 60}, false}));
        QVERIFY(!model.isClipboardDropTargeted());

        MultiButtonDragData column;
        column.buttons = {{9, 1, 1}, {9, 2, 2}, {9, 3, 3}};
        column.fromBus = u"AUX"_s;
        column.fromShift = 1;
        column.anchorButton = 9;
        column.anchorShift = 1;
        QVERIFY(model.dropOnClipboard({column}));
        QCOMPARE(model.clipboard(), InternalClipboard({{1, 2, 3}, true}));

        QVERIFY(model.dropOnClipboard({sandboxSlotDrag(705)}));
        QCOMPARE(model.clipboard(), InternalClipboard({{705}, false}));

        QVERIFY(!model.dropOnClipboard({}));
        QCOMPARE(model.clipboard(), InternalClipboard({{705}, false}));
    }

    void aDropOnTheSandboxParksTheSources()
    {
        OfflineEditing editing;
        editing.feed(Bus::pgm, {{1, 3, 31}, {1, 5, 33}});
        editing.model.tap(1, 3);
        editing.model.shiftTap(1, 5);
        const auto payload = editing.model.beginDrag(1, 3, std::nullopt);
        QCOMPARE(editing.model.addToSandbox({*payload}), 2);
        QCOMPARE(editing.model.sandboxSlots().size(), 2);
        QCOMPARE(editing.model.sandboxSlots()[0].source, 31);
        QCOMPARE(editing.model.sandboxSlots()[1].source, 33);
        QCOMPARE(editing.model.currentDragInfo(), std::nullopt);
        const auto slotDrag = editing.model.beginSandboxDrag(1);
        QVERIFY(slotDrag);
        QCOMPARE(slotDrag->fromBus, u"SANDBOX"_s);
        QCOMPARE(slotDrag->buttons.first().source, 33);
        QCOMPARE(editing.model.currentDragInfo(), DragInfo());
        editing.model.dropTargetChanged(true, 4, 35);
        QCOMPARE(editing.model.dropPreviewRange(), ButtonKeySet({{4, 35}}));
        QCOMPARE(editing.model.beginSandboxDrag(2), std::nullopt);
    }

    void thePickerOpensFreshAndFocusedAndFilters()
    {
        OfflineEditing editing;
        EditingModel& model = editing.model;
        model.doubleTap(3, 12);
        QVERIFY(model.showSourcePicker());
        QCOMPARE(model.pickerTargetButton(), ButtonLocation({Bus::pgm, 3, 12}));
        QCOMPARE(model.sourcePicker(), SourcePickerState({QString(), std::nullopt, true}));
        QCOMPARE(model.pickerSources().size(), 809);

        model.setPickerSearchText(u"  80 "_s);
        QCOMPARE(model.pickerSources(), QList<int>({80, 180, 280, 380, 480, 580, 680, 780, 800, 801,
                                                    802, 803, 804, 805, 806, 807, 808, 809}));
        // Offline only the shipped labels name anything: "Black" is 700.
        model.setPickerSearchText(u"BLACK"_s);
        QCOMPARE(model.pickerSources(), QList<int>({700}));
        model.highlightPickerSource(700);
        QCOMPARE(model.sourcePicker().selectedSource, 700);
        model.setPickerSearchFocused(false);
        QCOMPARE(model.sourcePicker().isSearchFocused, false);

        model.choosePickerSource(700);
        QCOMPARE(model.showSourcePicker(), false);
        // Not connected: nothing is recorded or sent, and the status line says so.
        QCOMPARE(model.editNotice(), u"Not connected: nothing was written"_s);
        QVERIFY(!loggedMessages(editing.logger).join(u'\n').contains(u"writeMapping"_s));
        QVERIFY(model.undoHistory().isEmpty());

        // Opened again, on another button: fresh state.
        model.doubleTap(1, 1);
        QCOMPARE(model.sourcePicker(), SourcePickerState({QString(), std::nullopt, true}));
        QCOMPARE(model.pickerTargetButton(), ButtonLocation({Bus::pgm, 1, 1}));
    }
};

QTEST_GUILESS_MAIN(TestEditingModel)
#include "tst_editing_model.moc"
