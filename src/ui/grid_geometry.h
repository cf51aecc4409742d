#pragma once

#include "model/bus.h"
#include "model/button_address.h"

#include <QPointF>
#include <QString>

namespace quorvane {

// The grid: one row per shift level, one column per panel button, both counted from 1.
inline constexpr int firstShift = 1;
inline constexpr int lastShift = 4;
inline constexpr int shiftLevels = lastShift - firstShift + 1;

// A plain click on one of the last buttons of a row selects its whole column.
inline constexpr int columnClickButtons = 4;

// Cells are 52 × 44 and repeat every 55 × 47; the drag preview is placed with these.
inline constexpr int cellWidth = 52;
inline constexpr int cellHeight = 44;
inline constexpr int cellPitchX = 55;
inline constexpr int cellPitchY = 47;
inline constexpr int rowLabelWidth = 55;

bool isInGrid(int shift, int button, int buttonCount);

// Where inside its cell a drag was grabbed, from the pointer's position in the window.
QPointF grabPoint(QPointF windowPoint);
// The grab point when the window cannot tell where the pointer is: the cell's centre.
QPointF centreOfCell();

// "Shift 3": the label at the start of a row.
QString shiftLabel(int shift);

// The identity of a cell, unique per bus, shift and button.
QString cellId(Bus bus, int shift, int button);

} // namespace quorvane
