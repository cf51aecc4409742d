#pragma once

#include <QtCore/qnamespace.h>

namespace quorvane {

// What a key press in the main window runs.
enum class KeyOperation {
    none,
    clearSelection,
    deleteAndClose,
    copySelection,
    pasteToSelection,
    undo,
    redo,
    toggleDebugLog,
};

// The parts of the view's state that decide whether a shortcut applies.
struct KeyContext {
    bool hasButtonSelection = false;
    bool hasSandboxSelection = false; // a slot index is set, even a stale one
    bool hasClipboard = false;
};

struct KeyDecision {
    KeyOperation operation = KeyOperation::none;
    bool swallow = false; // false: the key goes on to the focused control unchanged

    friend bool operator==(const KeyDecision&, const KeyDecision&) = default;
};

// The main window's shortcuts, seen before the focused control whatever has the focus; the
// first rule that matches decides. Command is Qt's Control modifier (the Command key on macOS).
// Only the modifier a rule names is looked at, so Command-Shift-C copies as Command-C does;
// Z alone tells Command-Shift-Z (redo) from Command-Z (undo).
KeyDecision decideKey(Qt::Key key, Qt::KeyboardModifiers modifiers, const KeyContext& context);

// The frame address field takes typed text only: Command with V, C or X is refused there
// while it is being edited. Every other key reaches the field.
bool isRefusedInAddressField(Qt::Key key, Qt::KeyboardModifiers modifiers);

} // namespace quorvane
