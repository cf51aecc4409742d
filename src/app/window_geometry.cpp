#include "window_geometry.h"

#include <algorithm>

namespace quorvane {

QRectF mainWindowFrame(const QRectF& available)
{
    constexpr double margin = 0.1;
    constexpr double share = 0.8;
    return {available.x() + margin * available.width(), available.y() + margin * available.height(),
            share * available.width(), share * available.height()};
}

bool isOnAScreen(const QRect& saved, const QList<QRect>& screens)
{
    if (!saved.isValid())
        return false;
    // A strip along the top, where the title bar is, wide enough to grab.
    const QSize enough(std::min(saved.width(), 100), std::min(saved.height(), 30));
    for (const QRect& screen : screens) {
        const QRect seen = screen & QRect(saved.topLeft(), QSize(saved.width(), enough.height()));
        if (seen.width() >= enough.width() && seen.height() >= enough.height())
            return true;
    }
    return false;
}

} // namespace quorvane
