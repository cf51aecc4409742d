#pragma once

#include "editing/drag_payload.h"
#include "editing/selected_button_key.h"

#include <optional>

namespace quorvane {

// One write a drop will make.
struct PlacedSource {
    SelectedButtonKey key;
    qint64 source = 0;

    friend bool operator==(const PlacedSource&, const PlacedSource&) = default;
};

// The shape of a drag in progress, known before it is dropped, for the drop preview.
struct DragInfo {
    bool isVertical = false;
    int buttonCount = 1;        // buttons along the row
    int shiftCount = 1;         // shift levels down the column
    int anchorButtonOffset = 0; // the grabbed cell, from the first dragged button
    int anchorShiftOffset = 0;  // the grabbed cell, from the first dragged shift

    friend bool operator==(const DragInfo&, const DragInfo&) = default;
};

// A payload of several buttons of one column, which lands down a column.
bool isColumnPayload(const MultiButtonDragData& payload);

DragInfo dragInfoFor(const MultiButtonDragData& payload);

// Where a drop on `dropCell` of a row of `buttonCount` buttons puts the dragged sources, or
// none when the drop is refused. Nothing is written of a refused drop: a drop that would
// spill off the grid is refused as a whole.
//
// - From the sandbox: the source goes to the cell dropped on.
// - A column: down the drop cell's column, the grabbed cell landing on the drop cell.
// - Otherwise along the drop cell's row, the grabbed button landing on the drop cell.
std::optional<QList<PlacedSource>> placeDrop(const MultiButtonDragData& payload,
                                             SelectedButtonKey dropCell, int buttonCount);

// The cells a drag of shape `info` would write if dropped on `dropCell`, or none when it
// would be refused.
std::optional<ButtonKeySet> previewKeys(const DragInfo& info, SelectedButtonKey dropCell,
                                        int buttonCount);

} // namespace quorvane
