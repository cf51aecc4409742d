#include "grid_geometry.h"

#include "selected_button_key.h"

#include <algorithm>
#include <cmath>

using namespace Qt::StringLiterals;

namespace quorvane {

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

QPointF grabPoint(QPointF windowPoint)
{
    const double x = std::fmod(windowPoint.x(), double{cellPitchX});
    const double y = std::fmod(windowPoint.y(), double{cellPitchY});
    return {std::clamp(x, 0.0, double{cellWidth}), std::clamp(y, 0.0, double{cellHeight})};
}

QPointF centreOfCell()
{
    return {cellWidth / 2.0, cellHeight / 2.0};
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
