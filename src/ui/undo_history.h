#pragma once

#include "model/button_mapping.h"

#include <QList>
#include <optional>

namespace quorvane {

// The batches that can be taken back, oldest first, at most `depth` of them.
class UndoHistory {
public:
    static constexpr qsizetype depth = 50;

    // Keeps `action` unless it has no changes; the oldest action goes once there are too many.
    // Returns whether it was kept.
    bool record(UndoAction action);
    // Removes and returns the newest action, or none when there is nothing to undo.
    std::optional<UndoAction> takeNewest();

    bool isEmpty() const { return m_actions.isEmpty(); }
    qsizetype size() const { return m_actions.size(); }
    const QList<UndoAction>& actions() const { return m_actions; }

private:
    QList<UndoAction> m_actions;
};

} // namespace quorvane
