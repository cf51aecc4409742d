#pragma once

// Drag payloads as the windows send them, for tests that drop without a real drag.

#include "editing/drag_payload.h"

namespace quorvane::test {

// What a drag of `buttons` off the grid of `fromBus` carries, grabbed at `anchorButton` of
// `anchorShift`.
inline MultiButtonDragData gridDrag(const QList<ButtonData>& buttons, int anchorShift,
                                    int anchorButton, const QString& fromBus = QStringLiteral("PGM"))
{
    MultiButtonDragData payload;
    payload.buttons = buttons;
    payload.fromBus = fromBus;
    payload.fromShift = anchorShift;
    payload.anchorButton = anchorButton;
    payload.anchorShift = anchorShift;
    return payload;
}

// What a drag of one sandbox slot holding `source` carries.
inline MultiButtonDragData sandboxSlotDrag(int source)
{
    return gridDrag({{1, source, 1}}, 1, 1, sandboxOrigin.toString());
}

} // namespace quorvane::test
