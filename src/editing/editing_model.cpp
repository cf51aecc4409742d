// The view model's own state: the panel's fields, the grid's selection, the source picker and
// the keyboard. Editing of buttons is in editing_model_edits.cpp, drag and drop and the
// sandbox in editing_model_drag.cpp.
#include "editing/editing_model.h"

#include "editing/grid_geometry.h"
#include "editing/source_filter.h"
#include "link/gv_connection.h"

#include <algorithm>
#include <limits>
#include <utility>

using namespace Qt::StringLiterals;

namespace quorvane {

namespace {
// A frame on the studio network; the panel may replace it with the last host that connected.
const QString initialFrameAddress = u"192.168.10.250"_s;
} // namespace

EditingModel::EditingModel(GVConnection& connection, QObject* parent)
    : QObject(parent)
    , m_connection(connection)
    , m_ipAddress(initialFrameAddress)
    , m_selectedButtonCount(connection.buttonCount())
    , m_selectedBus(connection.currentBus())
    , m_dragClickOffset(0, 0)
{
    for (auto changed : {&GVConnection::mappingsChanged, &GVConnection::sourceNamesChanged,
                         &GVConnection::isLoadingChanged, &GVConnection::hasLoadedAllBusesChanged,
                         &GVConnection::isConnectedChanged, &GVConnection::buttonsAnswered}) {
        QObject::connect(&m_connection, changed, this, &EditingModel::gridDataChanged);
    }
    QObject::connect(&m_connection.writes(), &WriteTracker::changed, this,
                     &EditingModel::gridDataChanged);
    QObject::connect(&m_connection.writes(), &WriteTracker::writeRefused, this,
                     &EditingModel::forgetRefusedChange);
    QObject::connect(&m_connection, &GVConnection::buttonCountChanged, this,
                     &EditingModel::syncButtonCount);
    // What Undo may act on follows the panel connected; a notice of the last edit is stale
    // once the link has come or gone.
    QObject::connect(&m_connection, &GVConnection::isConnectedChanged, this, [this] {
        setEditNotice(QString());
        Q_EMIT undoHistoryChanged();
    });
    QObject::connect(&m_connection, &GVConnection::buttonCountChanged, this,
                     &EditingModel::undoHistoryChanged);
    QObject::connect(&m_connection, &GVConnection::currentBusChanged, this, &EditingModel::syncBus);
}

EditingModel::~EditingModel() = default;

// --- Panel fields ------------------------------------------------------------------------

void EditingModel::setIpAddress(const QString& address)
{
    if (address == m_ipAddress)
        return;
    m_ipAddress = address;
    Q_EMIT ipAddressChanged();
}

void EditingModel::setSelectedSuite(int suite)
{
    if (suite == m_selectedSuite)
        return;
    m_selectedSuite = suite;
    Q_EMIT selectedSuiteChanged();
}

void EditingModel::setSelectedButtonCount(int count)
{
    if (isSupportedButtonCount(count) && count != m_selectedButtonCount) {
        m_selectedButtonCount = count;
        // A selection of a row of another length names other buttons of the panel.
        deselectAll();
        clearDragState();
        Q_EMIT selectedButtonCountChanged();
        Q_EMIT gridDataChanged();
        updateGridMetrics();
    }
    m_connection.changeButtonCount(count);
}

void EditingModel::syncButtonCount()
{
    // The connection corrects a count it cannot use when it connects; the grid follows it, so
    // that the grid and the writes always speak of the same buttons.
    if (m_connection.buttonCount() != m_selectedButtonCount)
        setSelectedButtonCount(m_connection.buttonCount());
}

void EditingModel::setShowDebugLog(bool shown)
{
    if (shown == m_showDebugLog)
        return;
    m_showDebugLog = shown;
    Q_EMIT showDebugLogChanged();
}

void EditingModel::toggleDebugLog()
{
    setShowDebugLog(!m_showDebugLog);
}

// --- Zoom --------------------------------------------------------------------------------

void EditingModel::setZoom(const GridZoom& zoom)
{
    if (zoom != m_zoom) {
        m_zoom = zoom;
        Q_EMIT zoomChanged();
    }
    updateGridMetrics();
}

void EditingModel::zoomIn()
{
    setZoom(GridZoom::zoomedIn(m_gridMetrics.zoom()));
}

void EditingModel::zoomOut()
{
    setZoom(GridZoom::zoomedOut(m_gridMetrics.zoom()));
}

void EditingModel::setGridSpace(QSize space)
{
    m_gridSpace = space;
    updateGridMetrics();
}

void EditingModel::updateGridMetrics()
{
    // Until the grid has a place on screen there is nothing to fit to.
    if (m_zoom.fitsWindow() && m_gridSpace.isEmpty())
        return;
    const GridMetrics metrics(m_zoom.factorFor(m_gridSpace, m_selectedButtonCount));
    if (metrics == m_gridMetrics)
        return;
    m_gridMetrics = metrics;
    Q_EMIT gridMetricsChanged();
}

// --- Grid and selection ------------------------------------------------------------------

void EditingModel::changeSelection(const std::function<void(SelectionModel&)>& change)
{
    const SelectionModel before = m_selection;
    change(m_selection);
    if (m_selection != before)
        Q_EMIT selectionChanged();
}

void EditingModel::changeSandbox(const std::function<void(Sandbox&)>& change)
{
    const Sandbox before = m_sandbox;
    change(m_sandbox);
    if (m_sandbox != before)
        Q_EMIT sandboxChanged();
}

void EditingModel::changePicker(const std::function<void()>& change)
{
    const bool shown = m_showSourcePicker;
    const std::optional<ButtonLocation> target = m_pickerTarget;
    const SourcePickerState picker = m_picker;
    change();
    if (shown != m_showSourcePicker || target != m_pickerTarget || picker != m_picker)
        Q_EMIT sourcePickerChanged();
}

bool EditingModel::isInShownGrid(int shift, int button) const
{
    return isInGrid(shift, button, m_selectedButtonCount);
}

void EditingModel::click(int shift, int button, Qt::KeyboardModifiers modifiers)
{
    if (!isInShownGrid(shift, button))
        return;
    const QString id = cellId(m_selectedBus, shift, button);
    auto classifier = m_clickClassifiers.find(id);
    if (classifier == m_clickClassifiers.end())
        classifier = m_clickClassifiers.insert(id, ClickClassifier(m_clickClock));
    const ClickOutcome outcome = classifier->click(modifiers);
    if (outcome.shiftTap)
        shiftTap(shift, button);
    if (outcome.kind == ClickKind::doubleTap)
        doubleTap(shift, button);
    else
        tap(shift, button, modifiers);
}

void EditingModel::setClickClock(ClickClassifier::Clock clock)
{
    m_clickClock = std::move(clock);
    m_clickClassifiers.clear();
}

void EditingModel::tap(int shift, int button, Qt::KeyboardModifiers modifiers)
{
    if (!isInShownGrid(shift, button))
        return;
    clearDragState();
    // A Shift-click is the range selection's alone.
    if (modifiers.testFlag(Qt::ShiftModifier))
        return;
    changeSelection([&](SelectionModel& selection) {
        selection.tap({shift, button}, m_selectedButtonCount);
    });
    changeSandbox([](Sandbox& sandbox) { sandbox.deselect(); });
}

void EditingModel::shiftTap(int shift, int button)
{
    if (!isInShownGrid(shift, button))
        return;
    clearDragState();
    changeSelection([&](SelectionModel& selection) { selection.shiftTap({shift, button}); });
    changeSandbox([](Sandbox& sandbox) { sandbox.deselect(); });
}

void EditingModel::doubleTap(int shift, int button)
{
    if (!isInShownGrid(shift, button))
        return;
    changePicker([&] {
        m_pickerTarget = ButtonLocation{m_selectedBus, shift, button};
        m_showSourcePicker = true;
        // The sheet opens fresh, ready to type into.
        m_picker = SourcePickerState{};
        m_picker.isSearchFocused = true;
    });
}

void EditingModel::selectBus(Bus bus)
{
    showBus(bus);
    deselectAll();
    m_connection.changeBus(bus);
}

void EditingModel::syncBus()
{
    // Whoever switched the connection, the grid shows the bus that edits are written to.
    if (m_connection.currentBus() == m_selectedBus)
        return;
    deselectAll();
    clearDragState();
    showBus(m_connection.currentBus());
}

void EditingModel::showBus(Bus bus)
{
    if (bus == m_selectedBus)
        return;
    m_selectedBus = bus;
    Q_EMIT selectedBusChanged();
    Q_EMIT gridDataChanged();
}

void EditingModel::deselectAll()
{
    changeSelection([](SelectionModel& selection) { selection.deselectAll(); });
}

// --- Source picker -----------------------------------------------------------------------

void EditingModel::setPickerSearchText(const QString& text)
{
    changePicker([&] { m_picker.searchText = text; });
}

void EditingModel::setPickerSearchFocused(bool focused)
{
    changePicker([&] { m_picker.isSearchFocused = focused; });
}

QList<int> EditingModel::pickerSources() const
{
    return filteredSources(m_picker.searchText,
                           [this](int source) { return m_connection.displayName(source); });
}

void EditingModel::highlightPickerSource(int source)
{
    changePicker([&] { m_picker.selectedSource = source; });
}

void EditingModel::movePickerHighlight(int rows)
{
    const QList<int> shown = pickerSources();
    if (shown.isEmpty() || rows == 0)
        return;
    const qsizetype at = m_picker.selectedSource ? shown.indexOf(*m_picker.selectedSource) : -1;
    const qsizetype to = at < 0 ? (rows > 0 ? 0 : shown.size() - 1)
                                : std::clamp<qsizetype>(at + rows, 0, shown.size() - 1);
    highlightPickerSource(shown[to]);
}

bool EditingModel::chooseHighlightedPickerSource()
{
    const std::optional<int> highlighted = m_picker.selectedSource;
    if (!highlighted || !pickerSources().contains(*highlighted))
        return false;
    choosePickerSource(*highlighted);
    return true;
}

void EditingModel::choosePickerSource(int source)
{
    highlightPickerSource(source);
    pickSource(source);
    dismissSourcePicker();
}

void EditingModel::pickSource(int source)
{
    // A choice in the picker is an edit like any other: a one-button step, undoable.
    if (!m_pickerTarget)
        return;
    writeEdit({*m_pickerTarget}, {source});
}

void EditingModel::dismissSourcePicker()
{
    changePicker([&] { m_showSourcePicker = false; });
}

QString EditingModel::sourceText(qint64 source) const
{
    if (source >= 1 && source <= std::numeric_limits<int>::max()) {
        if (std::optional<QString> name = m_connection.displayName(static_cast<int>(source)))
            return *name;
    }
    return QString::number(source);
}

// --- Keyboard ----------------------------------------------------------------------------

KeyContext EditingModel::keyContext() const
{
    return {!m_selection.isEmpty(), m_sandbox.selectedIndex().has_value(), !m_clipboard.isEmpty()};
}

bool EditingModel::handleKey(Qt::Key key, Qt::KeyboardModifiers modifiers)
{
    const KeyDecision decision = decideKey(key, modifiers, keyContext());
    runKeyOperation(decision.operation);
    return decision.swallow;
}

bool EditingModel::handleGridKey(Qt::Key key, Qt::KeyboardModifiers modifiers)
{
    // Only plain keys and Shift: every other combination belongs to someone else.
    if (modifiers & ~(Qt::ShiftModifier | Qt::KeypadModifier))
        return false;
    const bool extend = modifiers.testFlag(Qt::ShiftModifier);
    int shifts = 0;
    int buttons = 0;
    switch (key) {
    case Qt::Key_Left:
        buttons = -1;
        break;
    case Qt::Key_Right:
        buttons = 1;
        break;
    case Qt::Key_Up:
        shifts = -1;
        break;
    case Qt::Key_Down:
        shifts = 1;
        break;
    case Qt::Key_Return:
    case Qt::Key_Enter: {
        if (extend || m_selection.isEmpty())
            return false;
        const std::optional<SelectedButtonKey> anchor = m_selection.anchor();
        const SelectedButtonKey cell =
            anchor && m_selection.contains(*anchor) ? *anchor : *m_selection.first();
        doubleTap(cell.shift, cell.button);
        return true;
    }
    default:
        return false;
    }
    clearDragState();
    changeSelection([&](SelectionModel& selection) {
        if (extend)
            selection.extendBy(shifts, buttons, m_selectedButtonCount);
        else
            selection.moveBy(shifts, buttons, m_selectedButtonCount);
    });
    changeSandbox([](Sandbox& sandbox) { sandbox.deselect(); });
    return true;
}

void EditingModel::runKeyOperation(KeyOperation operation)
{
    switch (operation) {
    case KeyOperation::none:
        break;
    case KeyOperation::clearSelection:
        clearSelection();
        break;
    case KeyOperation::deleteAndClose:
        deleteAndClose();
        break;
    case KeyOperation::copySelection:
        copySelection();
        break;
    case KeyOperation::pasteToSelection:
        pasteToSelection();
        break;
    case KeyOperation::undo:
        undo();
        break;
    case KeyOperation::redo:
        redo();
        break;
    case KeyOperation::toggleDebugLog:
        toggleDebugLog();
        break;
    }
}

} // namespace quorvane
