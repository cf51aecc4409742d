#include "sheet_geometry.h"

#include "model/button_address.h"

#include <QPageSize>

namespace quorvane {

namespace {
// Inside what common printers can reach, and no wider: at 35 buttons every point of width
// goes to the names.
constexpr qreal margin = 22;
constexpr qreal headerHeight = 42;
constexpr qreal footerHeight = 12;
constexpr qreal gap = 10;
constexpr qreal labelWidth = 16;
constexpr qreal labelGap = 3;
} // namespace

QSizeF sheetPageSize(SheetPaper paper)
{
    const QPageSize size(paper == SheetPaper::letter ? QPageSize::Letter : QPageSize::A4);
    return size.size(QPageSize::Point).transposed();
}

QRectF SheetGeometry::cell(int shift, int button) const
{
    const qreal width = grid.width() / buttonCount;
    const qreal height = grid.height() / shiftRowCount;
    return {grid.left() + (button - 1) * width, grid.top() + (shift - 1) * height, width, height};
}

QRectF SheetGeometry::shiftLabel(int shift) const
{
    const qreal height = labels.height() / shiftRowCount;
    return {labels.left(), labels.top() + (shift - 1) * height, labels.width(), height};
}

SheetGeometry sheetGeometry(SheetPaper paper, int buttonCount)
{
    SheetGeometry geometry;
    geometry.page = sheetPageSize(paper);
    geometry.buttonCount = buttonCount;
    const QRectF inside(margin, margin, geometry.page.width() - 2 * margin,
                        geometry.page.height() - 2 * margin);
    geometry.header = QRectF(inside.left(), inside.top(), inside.width(), headerHeight);
    geometry.footer =
        QRectF(inside.left(), inside.bottom() - footerHeight, inside.width(), footerHeight);
    const qreal top = geometry.header.bottom() + gap;
    const qreal bottom = geometry.footer.top() - gap;
    geometry.labels = QRectF(inside.left(), top, labelWidth, bottom - top);
    const qreal gridLeft = inside.left() + labelWidth + labelGap;
    geometry.grid = QRectF(gridLeft, top, inside.right() - gridLeft, bottom - top);
    return geometry;
}

} // namespace quorvane
