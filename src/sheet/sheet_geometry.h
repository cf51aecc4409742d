#pragma once

#include "sheet_options.h"

#include <QRectF>
#include <QSizeF>

namespace quorvane {

// Where everything sits on a landscape page, in points (1/72 inch) from its top left corner.
// The four shift rows share the height left between header and footer, so the cells are far
// taller than their text: room for notes in pen.
struct SheetGeometry {
    QSizeF page;
    QRectF header;
    QRectF labels; // the shift labels, left of the grid
    QRectF grid;   // the cells
    QRectF footer;
    int buttonCount = 35;

    QRectF cell(int shift, int button) const;
    QRectF shiftLabel(int shift) const;
};

// The landscape page, in points.
QSizeF sheetPageSize(SheetPaper paper);

SheetGeometry sheetGeometry(SheetPaper paper, int buttonCount);

} // namespace quorvane
