#pragma once

#include "model/button_mapping.h"

#include <QList>
#include <optional>

namespace quorvane {

// The batches that can be taken back, and the undos that can be taken back in turn, oldest
// first, at most `depth` of each. An action lists the states to write back, button by button.
class UndoHistory {
public:
    static constexpr qsizetype depth = 50;

    // A new batch: keeps `action` for undo unless it has no changes, the oldest action going
    // once there are too many. What could be redone is forgotten either way, since it was
    // undone from a frame that the batch has changed since. Returns whether `action` was kept.
    bool record(UndoAction action);
    // Removes and returns the newest action to undo, or none when there is nothing to undo.
    std::optional<UndoAction> takeNewest();

    // What an undo replaced, so that a redo can write it back. Kept unless it has no changes.
    bool keepForRedo(UndoAction action);
    // Removes and returns the newest action to redo, or none when there is nothing to redo.
    std::optional<UndoAction> takeNewestRedo();
    // What a redo replaced: undoable again, and unlike a new batch it leaves the redo history
    // as it is, so that undo and redo can alternate.
    bool keepForUndo(UndoAction action);
    // A change that cannot be undone still makes what was undone before it stale. Returns
    // whether there was anything to redo.
    bool forgetRedo();
    // A write the frame refused changed nothing, so no step may take it back: the button
    // leaves the newest step of that side holding it, the step going when nothing is left.
    // Returns whether a step held it.
    enum class Side { undo, redo };
    bool dropChange(Bus bus, int shift, int button, Side side);

    // The action an undo (or a redo) would take, or null.
    const UndoAction* newest() const { return m_actions.isEmpty() ? nullptr : &m_actions.last(); }
    const UndoAction* newestRedo() const
    {
        return m_redoActions.isEmpty() ? nullptr : &m_redoActions.last();
    }

    bool isEmpty() const { return m_actions.isEmpty(); }
    qsizetype size() const { return m_actions.size(); }
    const QList<UndoAction>& actions() const { return m_actions; }
    bool canRedo() const { return !m_redoActions.isEmpty(); }
    const QList<UndoAction>& redoActions() const { return m_redoActions; }

private:
    QList<UndoAction> m_actions;
    QList<UndoAction> m_redoActions;
};

} // namespace quorvane
