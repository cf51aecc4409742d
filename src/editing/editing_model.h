#pragma once

#include "editing/button_cell_state.h"
#include "editing/click_classifier.h"
#include "editing/clipboard.h"
#include "editing/drag_payload.h"
#include "editing/drop_placement.h"
#include "editing/grid_geometry.h"
#include "editing/grid_zoom.h"
#include "editing/key_table.h"
#include "editing/sandbox.h"
#include "editing/selected_button_key.h"
#include "editing/selection_model.h"
#include "editing/source_picker.h"
#include "editing/undo_history.h"
#include "model/bus.h"

#include <QHash>
#include <QObject>
#include <QPointF>
#include <QSize>
#include <QString>
#include <functional>
#include <optional>

namespace quorvane {

class GVConnection;
struct TrackedWrite;

// The state of the main view and every operation the operator performs on it: selection,
// copy and paste, clear, undo, drag and drop, the sandbox, the source picker and the keyboard
// shortcuts. The widgets only forward clicks, keys and drops here and paint what it reports.
//
// Every change of a button goes through the connection's writeMapping, one call per button,
// and every edit, a choice in the source picker included, is recorded for undo first. A step
// belongs to the panel it was made on and is undone (or redone) only while connected to it; an
// undo can be redone until the next edit. Reads go through mappingFor at the connection's
// button count and through its display-name rule.
class EditingModel : public QObject {
    Q_OBJECT

public:
    // `connection` must outlive the model.
    explicit EditingModel(GVConnection& connection, QObject* parent = nullptr);
    ~EditingModel() override;

    GVConnection& connection() const { return m_connection; }

    // --- Connection panel fields ---------------------------------------------------------
    const QString& ipAddress() const { return m_ipAddress; }
    void setIpAddress(const QString& address);
    int selectedSuite() const { return m_selectedSuite; }
    void setSelectedSuite(int suite);
    // Buttons per row. A change empties the selection and asks the connection to switch.
    int selectedButtonCount() const { return m_selectedButtonCount; }
    void setSelectedButtonCount(int count);
    bool showDebugLog() const { return m_showDebugLog; }
    void setShowDebugLog(bool shown);
    void toggleDebugLog();

    // --- Grid and selection --------------------------------------------------------------
    Bus selectedBus() const { return m_selectedBus; }
    const SelectionModel& selection() const { return m_selection; }
    // The values of one cell of the bus shown.
    ButtonCellState cellState(int shift, int button) const;

    // A click on a cell as the pointer delivers it: told apart into a plain click, a
    // Shift-click and a double click by the cell's own click timing.
    void click(int shift, int button, Qt::KeyboardModifiers modifiers);
    // The clock the cells time double clicks with; tests give their own.
    void setClickClock(ClickClassifier::Clock clock);

    void tap(int shift, int button, Qt::KeyboardModifiers modifiers = Qt::NoModifier);
    void shiftTap(int shift, int button);
    // Opens the source picker for the cell.
    void doubleTap(int shift, int button);
    // A bus tab: shows the bus, empties the selection and switches the connection, even to
    // the bus already shown. The shown bus is always the connection's current bus.
    void selectBus(Bus bus);
    void deselectAll();

    // --- Zoom ----------------------------------------------------------------------------
    const GridZoom& zoom() const { return m_zoom; }
    void setZoom(const GridZoom& zoom);
    void zoomIn();
    void zoomOut();
    // The space the grid is shown in; a zoom fitted to the window follows it.
    void setGridSpace(QSize space);
    // The grid's lengths at the zoom it is drawn at now.
    const GridMetrics& gridMetrics() const { return m_gridMetrics; }

    // --- Clipboard, clear, undo and redo ------------------------------------------------
    const InternalClipboard& clipboard() const { return m_clipboard; }
    const UndoHistory& undoHistory() const { return m_undo; }
    // Whether the newest step to undo (or redo) belongs to the panel connected now: the same
    // frame, suite and button count.
    bool canUndo() const;
    bool canRedo() const;
    // Where the newest step belongs, "suite 1, 35 buttons, 10.1.2.3", or empty without one.
    QString undoPlace() const;
    QString redoPlace() const;
    // The panel being edited: the frame, suite and button count connected now, or none.
    std::optional<UndoPanel> connectedPanel() const;

    // What the status line should say about the last edit: what it could not do, or nothing.
    const QString& editNotice() const { return m_editNotice; }

    void copySelection();
    // Pastes the clipboard once, from the smallest selected cell.
    void pasteToSelection();
    // Removes the selected sandbox slot if there is one; otherwise clears the selected
    // buttons.
    void clearSelection();
    // Removes the selected buttons from their row and closes the gap.
    void deleteAndClose();
    // Writes back the newest batch's recorded states; what they replace can be redone. Refused,
    // with a notice and the step kept, unless its panel is the one connected.
    void undo();
    // Takes back the newest undo: writes back what it replaced, which can be undone again.
    void redo();
    // Records the present sources of `buttons` as one undoable batch on the connected panel.
    // A button the frame has answered for is known, an empty one as source 0; buttons without
    // an answer cannot be restored and are left out. Returns how many were left out. Nothing
    // is recorded while not connected. A new batch cannot follow a redo history: that is
    // emptied.
    int recordUndo(const QList<ButtonLocation>& buttons);
    // One edit: records `targets` for undo, then writes `sources` to them in order. While not
    // connected nothing is recorded or written, and the notice says so. Returns whether it was
    // written.
    bool writeEdit(const QList<ButtonLocation>& targets, const QList<qint64>& sources);

    // --- Drag and drop -------------------------------------------------------------------
    const std::optional<ButtonKeySet>& dropPreviewRange() const { return m_dropPreviewRange; }
    const std::optional<DragInfo>& currentDragInfo() const { return m_currentDragInfo; }
    QPointF dragClickOffset() const { return m_dragClickOffset; }
    bool isClipboardDropTargeted() const { return m_isClipboardDropTargeted; }

    // A drag starts on a cell; `windowPoint` is the pointer in window coordinates, when the
    // window can tell. Returns the payload, or none outside the grid.
    std::optional<MultiButtonDragData> beginDrag(int shift, int button,
                                                 std::optional<QPointF> windowPoint);
    // A drag starts on a sandbox slot; none for an index that names no slot.
    std::optional<MultiButtonDragData> beginSandboxDrag(int index);
    // The drag left the window or was dropped where nothing takes it.
    void endDrag();
    // A drag enters (true) or leaves (false) a cell.
    void dropTargetChanged(bool targeted, int shift, int button);
    // Returns whether the drop was taken; a refused drop writes and records nothing.
    bool dropOnCell(const QList<MultiButtonDragData>& payloads, int shift, int button);
    // The same with the payload as it travels: a payload that does not decode is refused.
    bool dropOnCell(QByteArrayView json, int shift, int button);
    void setClipboardDropTargeted(bool targeted);
    // Fills the clipboard with the dragged sources, in the payload's order.
    bool dropOnClipboard(const QList<MultiButtonDragData>& payloads);

    // --- Sandbox -------------------------------------------------------------------------
    const QList<SandboxSlot>& sandboxSlots() const { return m_sandbox.slots(); }
    std::optional<int> selectedSandboxIndex() const { return m_sandbox.selectedIndex(); }
    // A drop on the sandbox area; returns the number of slots added.
    int addToSandbox(const QList<MultiButtonDragData>& payloads);
    // Selects the slot only; the button selection is emptied.
    void selectSandboxSlot(int index);
    bool removeSelectedSandboxSlot();

    // --- Source picker -------------------------------------------------------------------
    bool showSourcePicker() const { return m_showSourcePicker; }
    const std::optional<ButtonLocation>& pickerTargetButton() const { return m_pickerTarget; }
    const SourcePickerState& sourcePicker() const { return m_picker; }
    void setPickerSearchText(const QString& text);
    void setPickerSearchFocused(bool focused);
    // The picker's rows for its search text.
    QList<int> pickerSources() const;
    // A single click on a row.
    void highlightPickerSource(int source);
    // Up and Down: the highlight moves by `rows` within the rows shown; with none highlighted
    // it starts at the first row (or the last, going up).
    void movePickerHighlight(int rows);
    // Return: the highlighted row is picked as a double click picks it. False when no row
    // shown is highlighted.
    bool chooseHighlightedPickerSource();
    // A double click on a row: the source is picked and the picker closes.
    void choosePickerSource(int source);
    // The picker's result: written to the picker's button, without an undo record.
    void pickSource(int source);
    void dismissSourcePicker();

    // The source's display name, or its number when it has none: sandbox slots and picker
    // rows show this.
    QString sourceText(qint64 source) const;

    // --- Keyboard ------------------------------------------------------------------------
    KeyContext keyContext() const;
    // Runs the shortcut of a key press; returns true when the press is swallowed and false
    // when it goes on to the focused control.
    bool handleKey(Qt::Key key, Qt::KeyboardModifiers modifiers);
    void runKeyOperation(KeyOperation operation);
    // A key press in the grid itself, once the shortcuts have passed it on: the arrow keys
    // move a one-button selection, Shift with an arrow extends it along its row or column,
    // Return opens the picker for the selected button. Returns whether the key was taken.
    bool handleGridKey(Qt::Key key, Qt::KeyboardModifiers modifiers);

Q_SIGNALS:
    void selectionChanged();
    void dragStateChanged();
    // Mappings, names, answers or loading changed: every cell may look different.
    void gridDataChanged();
    void clipboardChanged();
    // The history changed, or what Undo and Redo may act on: the link came or went, or the
    // button count changed.
    void undoHistoryChanged();
    void editNoticeChanged();
    void sandboxChanged();
    void sourcePickerChanged();
    void selectedBusChanged();
    void selectedButtonCountChanged();
    void showDebugLogChanged();
    void ipAddressChanged();
    void selectedSuiteChanged();
    void zoomChanged();
    // The grid is drawn at another size: its lengths are new.
    void gridMetricsChanged();

private:
    bool isInShownGrid(int shift, int button) const;
    std::optional<qint64> sourceAt(Bus bus, int shift, int button) const;
    // What the panel knows a button holds: its cached source, 0 for one the frame answered for
    // without a mapping, none for one it has not answered for.
    std::optional<qint64> knownSource(const ButtonLocation& location) const;
    // The buttons as they are now on the connected panel, where that is known, and how many
    // are not.
    std::pair<UndoAction, int> presentStates(const QList<ButtonLocation>& buttons) const;
    // Why the newest step of `step` cannot be written back now, or empty when it can.
    QString refusalFor(const UndoAction* step, const QString& refused) const;
    // Writes the states an undo or a redo took from the history.
    enum class WriteOrigin { edit, undo, redo };
    void writeBack(const UndoAction& action, WriteOrigin origin);
    // One button to the frame, after checking it is one the panel has and a source the frame
    // can take; the log line names what it replaces.
    void writeButton(const ButtonLocation& location, qint64 source);
    void setEditNotice(const QString& notice);
    // The cell's mark for a write the frame has not confirmed.
    void markWrite(ButtonCellState& cell, int count) const;
    // A refused write changed nothing: the step that would take it back loses the button.
    void forgetRefusedChange(const TrackedWrite& write);
    // The connection's bus and button count are the ones shown: the grid follows them when
    // they are switched from anywhere.
    void syncButtonCount();
    void syncBus();
    void showBus(Bus bus);
    void updateGridMetrics();

    // Apply a change and tell the observers when it changed anything.
    void changeSelection(const std::function<void(SelectionModel&)>& change);
    void changeSandbox(const std::function<void(Sandbox&)>& change);
    void changePicker(const std::function<void()>& change);
    void setDropPreview(std::optional<ButtonKeySet> keys);
    void setDragInfo(std::optional<DragInfo> info);
    void clearDragState();

    GVConnection& m_connection;
    ClickClassifier::Clock m_clickClock = ClickClassifier::steadyClock();
    QHash<QString, ClickClassifier> m_clickClassifiers; // one per cell, by cell id

    QString m_ipAddress;
    int m_selectedSuite = 1;
    int m_selectedButtonCount = 35;
    bool m_showDebugLog = false;
    Bus m_selectedBus = Bus::pgm;
    GridZoom m_zoom = GridZoom::actualSize();
    QSize m_gridSpace;
    GridMetrics m_gridMetrics;

    SelectionModel m_selection;
    Sandbox m_sandbox;
    bool m_showSourcePicker = false;
    std::optional<ButtonLocation> m_pickerTarget;
    SourcePickerState m_picker;

    bool m_isClipboardDropTargeted = false;
    std::optional<ButtonKeySet> m_dropPreviewRange;
    std::optional<SelectedButtonKey> m_dropTargetCell; // the cell the preview was made for
    std::optional<DragInfo> m_currentDragInfo;
    QPointF m_dragClickOffset;

    UndoHistory m_undo;
    // Which side of the history each button's latest write came from, by mapping key: the
    // step to mend when the frame refuses it.
    WriteOrigin m_writingAs = WriteOrigin::edit;
    QHash<QString, WriteOrigin> m_writeOrigins;
    InternalClipboard m_clipboard;
    QString m_editNotice;
};

} // namespace quorvane
