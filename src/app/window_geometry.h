#pragma once

#include <QList>
#include <QRect>
#include <QRectF>

namespace quorvane {

// The main window's frame on a screen whose usable area is `available`: 80 % of it, centred.
QRectF mainWindowFrame(const QRectF& available);

// Whether a window remembered at `saved` can be put back there: enough of it lies on one of the
// screens' usable areas (`screens`) to be seen and taken hold of. A window that would open off
// every screen, say on a monitor that has since gone, is placed afresh instead.
bool isOnAScreen(const QRect& saved, const QList<QRect>& screens);

} // namespace quorvane
