// Copy and paste, clear, close-up delete, undo and redo: the edits that change many buttons at
// once. Each batch is recorded for undo before its first write.
#include "editing/editing_model.h"
#include "editing/grid_geometry.h"
#include "link/gv_connection.h"
#include "model/button_mapping.h"

using namespace Qt::StringLiterals;

namespace quorvane {

namespace {
const QString notConnectedNotice = u"Not connected: nothing was written"_s;

QString unrecordedNotice(int unknown)
{
    return QString::number(unknown) + (unknown == 1 ? u" button"_s : u" buttons"_s) +
           u" without an answer from the frame could not be recorded for undo"_s;
}

QString panelText(const UndoPanel& panel)
{
    return u"suite "_s + QString::number(panel.suite) + u", "_s +
           QString::number(panel.buttonCount) + u" buttons, "_s + panel.frameAddress;
}

QList<ButtonLocation> locationsOf(const QList<ButtonState>& states)
{
    QList<ButtonLocation> locations;
    for (const ButtonState& state : states)
        locations.append({state.bus, state.shift, state.button});
    return locations;
}
} // namespace

std::optional<qint64> EditingModel::sourceAt(Bus bus, int shift, int button) const
{
    const std::optional<ButtonMapping> mapping =
        m_connection.mappingFor(bus, shift, button, m_connection.buttonCount());
    if (!mapping)
        return std::nullopt;
    return mapping->source;
}

void EditingModel::writeButton(const ButtonLocation& location, qint64 source)
{
    // A button off the connection's rows would be written to another button of the panel,
    // and the frame takes 16-bit sources only: such an edit is dropped, not sent.
    if (!isInGrid(location.shift, location.button, m_connection.buttonCount()) || source < 0 ||
        source > lastSourceNumber) {
        m_connection.logger().warn(u"writeButton: skipped "_s +
                                   buttonName(location.bus, location.shift, location.button) +
                                   u" > "_s + QString::number(source) + u" (buttonCount="_s +
                                   QString::number(m_connection.buttonCount()) + u')');
        return;
    }
    m_writeOrigins.insert(
        mappingKey(location.bus, m_connection.buttonCount(), location.shift, location.button),
        m_writingAs);
    m_connection.writeMapping(location.bus, location.shift, location.button,
                              static_cast<int>(source),
                              GVConnection::ReplacedSource{knownSource(location)});
}

void EditingModel::forgetRefusedChange(const TrackedWrite& write)
{
    const ShowButton& button = write.wanted;
    const WriteOrigin origin =
        m_writeOrigins.take(mappingKey(button.bus, write.buttonCount, button.shift, button.button));
    // An edit's or a redo's change is taken back by an undo; an undo's by a redo.
    const UndoHistory::Side side =
        origin == WriteOrigin::undo ? UndoHistory::Side::redo : UndoHistory::Side::undo;
    if (m_undo.dropChange(button.bus, button.shift, button.button, side))
        Q_EMIT undoHistoryChanged();
}

std::optional<qint64> EditingModel::knownSource(const ButtonLocation& location) const
{
    if (const std::optional<qint64> source =
            sourceAt(location.bus, location.shift, location.button)) {
        return source;
    }
    // The cache holds no entry for a button the frame reported empty (or with no assignment at
    // all): answered, it is known to hold nothing.
    if (m_connection.hasAnswered(location.bus, location.shift, location.button,
                                 m_connection.buttonCount())) {
        return 0;
    }
    return std::nullopt;
}

std::optional<UndoPanel> EditingModel::connectedPanel() const
{
    if (!m_connection.isConnected())
        return std::nullopt;
    return UndoPanel{m_connection.targetHost(), m_connection.selectedSuite(),
                     m_connection.buttonCount()};
}

std::pair<UndoAction, int> EditingModel::presentStates(const QList<ButtonLocation>& buttons) const
{
    UndoAction present;
    present.panel = connectedPanel().value_or(UndoPanel{});
    int unknown = 0;
    for (const ButtonLocation& button : buttons) {
        if (const std::optional<qint64> source = knownSource(button))
            present.changes.append(ButtonState{button.bus, button.shift, button.button, *source});
        else
            ++unknown;
    }
    return {present, unknown};
}

int EditingModel::recordUndo(const QList<ButtonLocation>& buttons)
{
    // A step belongs to the panel it was made on; without a link there is none to name.
    if (!m_connection.isConnected())
        return 0;
    auto [action, unknown] = presentStates(buttons);
    const bool couldRedo = m_undo.canRedo();
    if (m_undo.record(std::move(action)) || couldRedo)
        Q_EMIT undoHistoryChanged();
    return unknown;
}

bool EditingModel::writeEdit(const QList<ButtonLocation>& targets, const QList<qint64>& sources)
{
    if (!m_connection.isConnected()) {
        setEditNotice(notConnectedNotice);
        return false;
    }
    const int unknown = recordUndo(targets);
    setEditNotice(unknown == 0 ? QString() : unrecordedNotice(unknown));
    for (qsizetype k = 0; k < targets.size() && k < sources.size(); ++k)
        writeButton(targets[k], sources[k]);
    return true;
}

void EditingModel::setEditNotice(const QString& notice)
{
    if (notice == m_editNotice)
        return;
    m_editNotice = notice;
    Q_EMIT editNoticeChanged();
}

void EditingModel::copySelection()
{
    if (m_selection.isEmpty())
        return;
    InternalClipboard copied;
    copied.copiedVertically = !m_selection.selectionShift().has_value();
    for (const SelectedButtonKey& key : m_selection.copyOrder())
        copied.copiedSources.append(sourceAt(m_selectedBus, key.shift, key.button).value_or(0));
    if (copied == m_clipboard)
        return;
    m_clipboard = std::move(copied);
    Q_EMIT clipboardChanged();
}

void EditingModel::pasteToSelection()
{
    const std::optional<SelectedButtonKey> start = m_selection.first();
    if (m_clipboard.isEmpty() || !start)
        return;
    const QList<qint64>& sources = m_clipboard.copiedSources;
    QList<ButtonLocation> targets;
    if (m_clipboard.copiedVertically) {
        for (int shift : columnPasteTargets(start->shift, sources.size()))
            targets.append({m_selectedBus, shift, start->button});
    } else {
        for (int button : rowPasteTargets(start->button, sources.size(), m_selectedButtonCount))
            targets.append({m_selectedBus, start->shift, button});
    }

    if (!writeEdit(targets, sources))
        return;

    changeSelection([&](SelectionModel& selection) {
        QList<int> numbers;
        for (const ButtonLocation& target : targets)
            numbers.append(m_clipboard.copiedVertically ? target.shift : target.button);
        if (m_clipboard.copiedVertically)
            selection.selectColumn(start->button, numbers);
        else
            selection.selectRow(start->shift, numbers);
        if (!targets.isEmpty())
            selection.setAnchor({targets.first().shift, targets.first().button});
    });
}

void EditingModel::clearSelection()
{
    if (removeSelectedSandboxSlot())
        return;
    if (m_selection.isEmpty())
        return;
    // The keys of a row selection all carry the row's shift, so the keys name the buttons.
    QList<ButtonLocation> buttons;
    for (const SelectedButtonKey& key : sortedKeys(m_selection.selectedButtons()))
        buttons.append({m_selectedBus, key.shift, key.button});
    if (!writeEdit(buttons, QList<qint64>(buttons.size(), 0)))
        return;
    deselectAll();
}

void EditingModel::deleteAndClose()
{
    if (removeSelectedSandboxSlot())
        return;
    // Closing up only makes sense along a row; a column selection is left alone.
    const std::optional<int> shift = m_selection.selectionShift();
    const std::optional<SelectedButtonKey> first = m_selection.first();
    if (!shift || !first)
        return;
    const int start = first->button;
    const int count = m_selectedButtonCount;

    QList<ButtonLocation> stretch;
    QList<qint64> sources;
    QSet<int> removed;
    for (int button = start; button <= count; ++button) {
        stretch.append({m_selectedBus, *shift, button});
        sources.append(sourceAt(m_selectedBus, *shift, button).value_or(0));
    }
    for (const SelectedButtonKey& key : m_selection.selectedButtons())
        removed.insert(key.button);

    if (!writeEdit(stretch, closeUpRow(sources, start, removed)))
        return;
    deselectAll();
}

bool EditingModel::canUndo() const
{
    return refusalFor(m_undo.newest(), QString()).isEmpty() && m_undo.newest();
}

bool EditingModel::canRedo() const
{
    return refusalFor(m_undo.newestRedo(), QString()).isEmpty() && m_undo.newestRedo();
}

QString EditingModel::undoPlace() const
{
    return m_undo.newest() ? panelText(m_undo.newest()->panel) : QString();
}

QString EditingModel::redoPlace() const
{
    return m_undo.newestRedo() ? panelText(m_undo.newestRedo()->panel) : QString();
}

QString EditingModel::refusalFor(const UndoAction* step, const QString& refused) const
{
    if (!step)
        return QString();
    const std::optional<UndoPanel> panel = connectedPanel();
    if (!panel)
        return notConnectedNotice;
    if (*panel != step->panel)
        return refused + u": the newest step belongs to "_s + panelText(step->panel);
    return QString();
}

void EditingModel::undo()
{
    // A step leaves the history only to be written: elsewhere it would change a panel nobody
    // edited, and while disconnected its writes would go nowhere.
    const QString refusal = refusalFor(m_undo.newest(), u"Nothing undone"_s);
    setEditNotice(refusal);
    if (!refusal.isEmpty())
        return;
    const std::optional<UndoAction> action = m_undo.takeNewest();
    if (!action)
        return;
    // What the batch left on these buttons, read before it is overwritten: a redo writes it
    // back. Buttons the batch changed but the undo cannot restore keep the batch's sources
    // anyway, so the redo has nothing to write to them.
    m_undo.keepForRedo(presentStates(locationsOf(action->changes)).first);
    writeBack(*action, WriteOrigin::undo);
}

void EditingModel::redo()
{
    const QString refusal = refusalFor(m_undo.newestRedo(), u"Nothing redone"_s);
    setEditNotice(refusal);
    if (!refusal.isEmpty())
        return;
    const std::optional<UndoAction> action = m_undo.takeNewestRedo();
    if (!action)
        return;
    m_undo.keepForUndo(presentStates(locationsOf(action->changes)).first);
    writeBack(*action, WriteOrigin::redo);
}

void EditingModel::writeBack(const UndoAction& action, WriteOrigin origin)
{
    Q_EMIT undoHistoryChanged();
    // Each state names its own bus: the bus the batch changed is restored, whichever is shown
    // now.
    m_writingAs = origin;
    for (const ButtonState& state : action.changes)
        writeButton({state.bus, state.shift, state.button}, state.source);
    m_writingAs = WriteOrigin::edit;
}

} // namespace quorvane
