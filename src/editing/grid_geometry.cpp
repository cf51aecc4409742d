#include "editing/grid_geometry.h"

#include <algorithm>
#include <cmath>

using namespace Qt::StringLiterals;

namespace quorvane {

namespace {
// The row of button numbers above the grid, the gap before the first column and the margin
// after the last, at actual size.
constexpr int headerRowHeight = 20;
constexpr int columnInset = 3;
constexpr int gridMargin = 4;

int scaledLength(int length, double zoom)
{
    return std::max(1, int(std::lround(length * zoom)));
}
} // namespace

QList<SelectedButtonKey> sortedKeys(const ButtonKeySet& keys)
{
    QList<SelectedButtonKey> ordered(keys.cbegin(), keys.cend());
    std::sort(ordered.begin(), ordered.end());
    return ordered;
}

bool isInGrid(int shift, int button, int buttonCount)
{
    return shift >= firstShift && shift <= lastShift && button >= 1 && button <= buttonCount;
}

GridMetrics::GridMetrics(double zoom)
    : m_zoom(zoom)
    , m_cellWidth(scaledLength(quorvane::cellWidth, zoom))
    , m_cellHeight(scaledLength(quorvane::cellHeight, zoom))
    , m_pitchX(scaledLength(cellPitchX, zoom))
    , m_pitchY(scaledLength(cellPitchY, zoom))
    , m_rowLabelWidth(scaledLength(quorvane::rowLabelWidth, zoom))
    , m_headerHeight(scaledLength(headerRowHeight, zoom))
    , m_inset(scaledLength(columnInset, zoom))
    , m_margin(scaledLength(gridMargin, zoom))
{
}

QSize GridMetrics::gridSize(int buttonCount) const
{
    return {m_rowLabelWidth + buttonCount * m_pitchX + m_margin,
            m_headerHeight + shiftLevels * m_pitchY + m_margin};
}

QRect GridMetrics::cellRect(int shift, int button) const
{
    return {m_rowLabelWidth + m_inset + (button - 1) * m_pitchX,
            m_headerHeight + (shift - 1) * m_pitchY, m_cellWidth, m_cellHeight};
}

QRect GridMetrics::headerRect(int button) const
{
    return {cellRect(firstShift, button).x(), 0, m_cellWidth, m_headerHeight};
}

QRect GridMetrics::rowLabelRect(int shift) const
{
    return {0, cellRect(shift, 1).y(), m_rowLabelWidth - 2 * m_inset, m_cellHeight};
}

std::optional<SelectedButtonKey> GridMetrics::cellAt(QPoint point, int buttonCount) const
{
    const int x = point.x() - m_rowLabelWidth - m_inset;
    const int y = point.y() - m_headerHeight;
    if (x < 0 || y < 0 || x % m_pitchX >= m_cellWidth || y % m_pitchY >= m_cellHeight)
        return std::nullopt;
    const SelectedButtonKey key{y / m_pitchY + 1, x / m_pitchX + 1};
    if (!isInGrid(key.shift, key.button, buttonCount))
        return std::nullopt;
    return key;
}

QPointF GridMetrics::grabPoint(QPointF windowPoint) const
{
    const double x = std::fmod(windowPoint.x(), double(m_pitchX));
    const double y = std::fmod(windowPoint.y(), double(m_pitchY));
    return {std::clamp(x, 0.0, double(m_cellWidth)), std::clamp(y, 0.0, double(m_cellHeight))};
}

QPointF GridMetrics::centreOfCell() const
{
    return {m_cellWidth / 2.0, m_cellHeight / 2.0};
}

int scrollToShow(int start, int length, int scroll, int viewport, int frozen)
{
    const int shown = viewport - frozen;
    if (start < scroll + frozen || length > shown)
        return std::max(0, start - frozen);
    if (start + length > scroll + viewport)
        return start + length - viewport;
    return scroll;
}

QString shiftLabel(int shift)
{
    return u"Shift "_s + QString::number(shift);
}

QString cellId(Bus bus, int shift, int button)
{
    return busName(bus) + u"-S"_s + QString::number(shift) + u"-B"_s + QString::number(button);
}

} // namespace quorvane
