#include "window_geometry.h"

namespace quorvane {

QRectF mainWindowFrame(const QRectF& available)
{
    constexpr double margin = 0.1;
    constexpr double share = 0.8;
    return {available.x() + margin * available.width(), available.y() + margin * available.height(),
            share * available.width(), share * available.height()};
}

} // namespace quorvane
