#pragma once

#include "model/bus.h"
#include "model/button_address.h"
#include "editing/selected_button_key.h"

#include <QPointF>
#include <QRect>
#include <QSize>
#include <QString>
#include <optional>

namespace quorvane {

// The grid: one row per shift level, one column per panel button, both counted from 1.
inline constexpr int firstShift = 1;
inline constexpr int lastShift = 4;
inline constexpr int shiftLevels = lastShift - firstShift + 1;

// A plain click on one of the last buttons of a row selects its whole column.
inline constexpr int columnClickButtons = 4;

// At actual size cells are 52 × 44 and repeat every 55 × 47; the drag preview is placed with
// these.
inline constexpr int cellWidth = 52;
inline constexpr int cellHeight = 44;
inline constexpr int cellPitchX = 55;
inline constexpr int cellPitchY = 47;
inline constexpr int rowLabelWidth = 55;

bool isInGrid(int shift, int button, int buttonCount);

// The grid's lengths at one zoom factor: at actual size (1.0) the numbers above, at any other
// factor each of them scaled and rounded. Painting, hit-testing, the drag's grab point and the
// drop preview all use the same lengths, so a drop lands on the cells the preview shows.
class GridMetrics {
public:
    explicit GridMetrics(double zoom = 1.0);

    double zoom() const { return m_zoom; }
    int cellWidth() const { return m_cellWidth; }
    int cellHeight() const { return m_cellHeight; }
    int pitchX() const { return m_pitchX; }
    int pitchY() const { return m_pitchY; }
    int rowLabelWidth() const { return m_rowLabelWidth; }
    int headerHeight() const { return m_headerHeight; }
    // A length of the actual-size grid (a font size, a margin) at this zoom.
    double scaled(double length) const { return length * m_zoom; }

    // The whole grid, header and row labels included, for `buttonCount` buttons per row.
    QSize gridSize(int buttonCount) const;
    QRect cellRect(int shift, int button) const;
    // The button number above a column, and the "Shift n" label before a row.
    QRect headerRect(int button) const;
    QRect rowLabelRect(int shift) const;
    // The cell under a point of the grid; none between cells and outside the grid.
    std::optional<SelectedButtonKey> cellAt(QPoint point, int buttonCount) const;

    // Where inside its cell a drag was grabbed, from the pointer's position in the window.
    QPointF grabPoint(QPointF windowPoint) const;
    // The grab point when the window cannot tell where the pointer is: the cell's centre.
    QPointF centreOfCell() const;

    friend bool operator==(const GridMetrics&, const GridMetrics&) = default;

private:
    double m_zoom;
    int m_cellWidth;
    int m_cellHeight;
    int m_pitchX;
    int m_pitchY;
    int m_rowLabelWidth;
    int m_headerHeight;
    int m_inset;  // between the row labels and the first column
    int m_margin; // after the last column and below the last row
};

// The scroll position along one axis that brings [start, start + length) of the grid into a
// viewport of `viewport` pixels whose first `frozen` pixels are covered by the header (or the
// row labels), which stay in place while the cells scroll under them. Unchanged when the span is
// already in view; when it cannot fit, its start is shown.
int scrollToShow(int start, int length, int scroll, int viewport, int frozen);

// "Shift 3": the label at the start of a row.
QString shiftLabel(int shift);

// The identity of a cell, unique per bus, shift and button.
QString cellId(Bus bus, int shift, int button);

} // namespace quorvane
