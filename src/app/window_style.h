#pragma once

#include <QColor>

class QApplication;

namespace quorvane {

// Every window of the program shares this dark background.
inline QColor windowBackground()
{
    return QColor::fromRgbF(0.12f, 0.12f, 0.14f, 1.0f);
}

// The program's look: Fusion with a dark palette on the window background.
void useDarkLook(QApplication& app);

} // namespace quorvane
