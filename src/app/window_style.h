#pragma once

#include <QColor>

namespace quorvane {

// Every window of the program shares this dark background.
inline QColor windowBackground()
{
    return QColor::fromRgbF(0.12f, 0.12f, 0.14f, 1.0f);
}

} // namespace quorvane
