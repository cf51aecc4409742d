#include "undo_history.h"

#include <utility>

namespace quorvane {

bool UndoHistory::record(UndoAction action)
{
    if (action.changes.isEmpty())
        return false;
    m_actions.append(std::move(action));
    while (m_actions.size() > depth)
        m_actions.removeFirst();
    return true;
}

std::optional<UndoAction> UndoHistory::takeNewest()
{
    if (m_actions.isEmpty())
        return std::nullopt;
    return m_actions.takeLast();
}

} // namespace quorvane
