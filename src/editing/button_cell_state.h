#pragma once

#include "model/bus.h"

#include <QString>
#include <optional>

namespace quorvane {

// What the frame has made of the latest write to a button, as its cell shows it.
enum class CellWriteMark {
    none,         // no write, or one the frame confirmed
    pending,      // written, not yet reported back (shown once it has waited a moment)
    notConfirmed, // sent again and again without the frame ever reporting it back
    refused,      // the frame reported another source, and kept it
};

// Everything a button cell shows, worked out afresh for every cell on every redraw; the cell
// only paints it.
struct ButtonCellState {
    QString cellId;
    int shift = 0;
    int button = 0;
    Bus selectedBus = Bus::pgm;
    qint64 source = 0;                      // 0: no source
    std::optional<QString> displayName;     // none when the frame gave the source no name
    std::optional<QString> engineeringName; // the source's engineering name, when it has one
    QString mappingKey;                     // as the connection keys this button ("PGM-35-1-7")
    bool isFullyLoaded = false;             // false: drawn as a placeholder
    // The frame has not answered for this button: what it holds is unknown, which is not the
    // same as unassigned. A source shown on such a button is one written to it, unconfirmed.
    bool isUnknown = false;
    CellWriteMark writeMark = CellWriteMark::none;
    std::optional<qint64> askedSource;   // the source of the latest write, while marked
    std::optional<qint64> frameReported; // the frame's last word on the button, while marked
    bool isSelected = false;
    bool isMultiSelected = false; // selected, in a selection of two or more cells
    std::optional<int> anchorButton;
    std::optional<int> anchorShift;
    bool hideSelectionDuringDrag = false;
    bool isInDropPreview = false;

    bool isAnchor() const { return anchorShift == shift && anchorButton == button; }

    friend bool operator==(const ButtonCellState&, const ButtonCellState&) = default;
};

// What a cell's tooltip says: the source's number, its full name, its engineering name when
// that differs, the mapping key, whether the frame has answered for the button, and what
// became of a write to it that the frame has not confirmed.
QString cellToolTip(const ButtonCellState& cell);

} // namespace quorvane
