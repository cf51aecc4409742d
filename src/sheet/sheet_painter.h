#pragma once

#include "sheet_content.h"
#include "sheet_geometry.h"

class QPainter;

namespace quorvane {

// One page as printed: the bus's cells with the texts around them.
struct PrintedPage {
    SheetPage page;
    QList<SheetFact> facts;
    QString fileName;
    QString pageNumber;
};

// Paints `page` at `geometry`. The painter's units must be points from the page's top left
// corner and its device's resolution 72 dots per inch (scale the painter for more), so that
// text measures the same on paper and in an image.
void paintSheetPage(QPainter& painter, const SheetGeometry& geometry, const PrintedPage& page);

} // namespace quorvane
