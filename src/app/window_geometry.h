#pragma once

#include <QRectF>

namespace quorvane {

// The main window's frame on a screen whose usable area is `available`: 80 % of it, centred.
QRectF mainWindowFrame(const QRectF& available);

} // namespace quorvane
