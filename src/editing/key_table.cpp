#include "editing/key_table.h"

namespace quorvane {

namespace {
constexpr KeyDecision passOn{KeyOperation::none, false};

KeyDecision run(KeyOperation operation)
{
    return {operation, true};
}

bool isCommand(Qt::KeyboardModifiers modifiers)
{
    return modifiers.testFlag(Qt::ControlModifier);
}
} // namespace

KeyDecision decideKey(Qt::Key key, Qt::KeyboardModifiers modifiers, const KeyContext& context)
{
    if (key == Qt::Key_Backspace || key == Qt::Key_Delete) {
        if (!context.hasButtonSelection && !context.hasSandboxSelection)
            return passOn;
        return run(modifiers.testFlag(Qt::ShiftModifier) ? KeyOperation::deleteAndClose
                                                         : KeyOperation::clearSelection);
    }
    if (!isCommand(modifiers))
        return passOn;
    switch (key) {
    case Qt::Key_C:
        return context.hasButtonSelection ? run(KeyOperation::copySelection) : passOn;
    case Qt::Key_V:
        return context.hasClipboard && context.hasButtonSelection
                   ? run(KeyOperation::pasteToSelection)
                   : passOn;
    case Qt::Key_Z:
        // Swallowed even with nothing to undo or redo, so the focused control never undoes
        // instead.
        return run(modifiers.testFlag(Qt::ShiftModifier) ? KeyOperation::redo : KeyOperation::undo);
    case Qt::Key_L:
        return run(KeyOperation::toggleDebugLog);
    default:
        return passOn;
    }
}

bool isRefusedInAddressField(Qt::Key key, Qt::KeyboardModifiers modifiers)
{
    return isCommand(modifiers) && (key == Qt::Key_V || key == Qt::Key_C || key == Qt::Key_X);
}

} // namespace quorvane
