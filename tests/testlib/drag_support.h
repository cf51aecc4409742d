#pragma once

// Drag payloads as the windows send them, for tests that drop without a real drag.

#include "editing/drag_payload.h"

namespace quorvane::test {

// What a drag of one sandbox slot holding `source` carries.
inline MultiButtonDragData sandboxSlotDrag(int source)
{
    MultiButtonDragData payload;
    payload.buttons = {{1, source, 1}};
    payload.fromBus = sandboxOrigin.toString();
    payload.fromShift = 1;
    payload.anchorButton = 1;
    payload.anchorShift = 1;
    return payload;
}

} // namespace quorvane::test
