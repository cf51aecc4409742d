// Copy and paste, clear, close-up delete, undo and redo: the edits that change many buttons at
// once. Each batch is recorded for undo before its first write.
#include "editing_model.h"
#include "grid_geometry.h"
#include "link/gv_connection.h"

using namespace Qt::StringLiterals;

namespace quorvane {

namespace {
constexpr qint64 lastWritableSource = 0xFFFF;
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
        source > lastWritableSource) {
        m_connection.logger().warn(u"writeButton: skipped "_s + busName(location.bus) + u" S"_s +
                                   QString::number(location.shift) + u'B' +
                                   QString::number(location.button) + u" > "_s +
                                   QString::number(source) + u" (buttonCount="_s +
                                   QString::number(m_connection.buttonCount()) + u')');
        return;
    }
    m_connection.writeMapping(location.bus, location.shift, location.button,
                              static_cast<int>(source));
}

UndoAction EditingModel::presentStates(const QList<ButtonState>& states) const
{
    UndoAction present;
    for (const ButtonState& state : states) {
        std::optional<qint64> source = sourceAt(state.bus, state.shift, state.button);
        // A cleared button leaves the cache once the frame reports it back as 0: it is known
        // to be unassigned, and 0 is what to write back. A button the frame has not answered
        // for (or answered with no assignment at all) is unknown and is left out.
        if (!source) {
            const auto answer = m_connection.lastAnswer(state.bus, state.shift, state.button,
                                                        m_connection.buttonCount());
            if (answer && answer->source == 0)
                source = 0;
        }
        if (source)
            present.changes.append(ButtonState{state.bus, state.shift, state.button, *source});
    }
    return present;
}

void EditingModel::recordUndo(const QList<ButtonLocation>& buttons)
{
    UndoAction action;
    for (const ButtonLocation& button : buttons) {
        if (const std::optional<qint64> source = sourceAt(button.bus, button.shift, button.button))
            action.changes.append(ButtonState{button.bus, button.shift, button.button, *source});
    }
    const bool couldRedo = m_undo.canRedo();
    if (m_undo.record(std::move(action)) || couldRedo)
        Q_EMIT undoHistoryChanged();
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

    recordUndo(targets);
    for (qsizetype k = 0; k < targets.size(); ++k)
        writeButton(targets[k], sources[k]);

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
    const QList<SelectedButtonKey> keys = sortedKeys(m_selection.selectedButtons());
    QList<ButtonLocation> buttons;
    for (const SelectedButtonKey& key : keys)
        buttons.append(
            {m_selectedBus, m_selection.selectionShift().value_or(key.shift), key.button});
    recordUndo(buttons);
    for (const SelectedButtonKey& key : keys)
        writeButton({m_selectedBus, key.shift, key.button}, 0);
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

    recordUndo(stretch);
    const QList<qint64> closed = closeUpRow(sources, start, removed);
    for (qsizetype i = 0; i < stretch.size(); ++i)
        writeButton(stretch[i], closed[i]);
    deselectAll();
}

void EditingModel::undo()
{
    const std::optional<UndoAction> action = m_undo.takeNewest();
    if (!action)
        return;
    // What the batch left on these buttons, read before it is overwritten: a redo writes it
    // back. Buttons the batch changed but the undo cannot restore keep the batch's sources
    // anyway, so the redo has nothing to write to them.
    m_undo.keepForRedo(presentStates(action->changes));
    writeBack(*action);
}

void EditingModel::redo()
{
    const std::optional<UndoAction> action = m_undo.takeNewestRedo();
    if (!action)
        return;
    m_undo.keepForUndo(presentStates(action->changes));
    writeBack(*action);
}

void EditingModel::writeBack(const UndoAction& action)
{
    Q_EMIT undoHistoryChanged();
    // Each state names its own bus: the bus the batch changed is restored, whichever is shown
    // now.
    for (const ButtonState& state : action.changes)
        writeButton({state.bus, state.shift, state.button}, state.source);
}

} // namespace quorvane
