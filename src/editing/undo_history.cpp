#include "editing/undo_history.h"

#include <utility>

namespace quorvane {

namespace {
bool pushBounded(QList<UndoAction>& actions, UndoAction action)
{
    if (action.changes.isEmpty())
        return false;
    actions.append(std::move(action));
    while (actions.size() > UndoHistory::depth)
        actions.removeFirst();
    return true;
}

std::optional<UndoAction> takeLast(QList<UndoAction>& actions)
{
    if (actions.isEmpty())
        return std::nullopt;
    return actions.takeLast();
}
} // namespace

bool UndoHistory::record(UndoAction action)
{
    forgetRedo();
    return pushBounded(m_actions, std::move(action));
}

std::optional<UndoAction> UndoHistory::takeNewest()
{
    return takeLast(m_actions);
}

bool UndoHistory::keepForRedo(UndoAction action)
{
    return pushBounded(m_redoActions, std::move(action));
}

std::optional<UndoAction> UndoHistory::takeNewestRedo()
{
    return takeLast(m_redoActions);
}

bool UndoHistory::keepForUndo(UndoAction action)
{
    return pushBounded(m_actions, std::move(action));
}

bool UndoHistory::forgetRedo()
{
    if (m_redoActions.isEmpty())
        return false;
    m_redoActions.clear();
    return true;
}

bool UndoHistory::dropChange(Bus bus, int shift, int button, Side side)
{
    QList<UndoAction>& actions = side == Side::undo ? m_actions : m_redoActions;
    for (qsizetype i = actions.size() - 1; i >= 0; --i) {
        const qsizetype removed = actions[i].changes.removeIf([&](const ButtonState& state) {
            return state.bus == bus && state.shift == shift && state.button == button;
        });
        if (removed == 0)
            continue;
        if (actions[i].changes.isEmpty())
            actions.removeAt(i);
        return true;
    }
    return false;
}

} // namespace quorvane
