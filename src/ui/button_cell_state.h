#pragma once

#include "model/bus.h"

#include <QString>
#include <optional>

namespace quorvane {

// Everything a button cell shows, worked out afresh for every cell on every redraw; the cell
// only paints it.
struct ButtonCellState {
    QString cellId;
    int shift = 0;
    int button = 0;
    Bus selectedBus = Bus::pgm;
    qint64 source = 0;                  // 0: no source
    std::optional<QString> displayName; // none when the frame gave the source no name
    bool isFullyLoaded = false;         // false: drawn as a placeholder
    bool isSelected = false;
    bool isMultiSelected = false; // selected, in a selection of two or more cells
    std::optional<int> anchorButton;
    std::optional<int> anchorShift;
    bool hideSelectionDuringDrag = false;
    bool isInDropPreview = false;

    bool isAnchor() const { return anchorShift == shift && anchorButton == button; }

    friend bool operator==(const ButtonCellState&, const ButtonCellState&) = default;
};

} // namespace quorvane
