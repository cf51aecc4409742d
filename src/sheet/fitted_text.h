#pragma once

#include <QFont>
#include <QSizeF>
#include <QStringList>

class QPaintDevice;

namespace quorvane {

// Text set into a box for printing.
struct FittedText {
    QFont font;
    QStringList lines;
    qreal lineSpacing = 0; // from one baseline to the next
    qreal ascent = 0;      // from the top of the first line to its baseline
    bool complete = true;  // false when the text did not fit and was cut with "…"
};

// Sets `text` in `font` at the largest size from `largest` down to `smallest` at which it fits
// `box` with lines broken between words only. A word too wide even at `smallest` is broken where
// it must be, and what still does not fit is cut at the end of the last line with "…". Only the
// first few thousand characters are ever laid out, so a name of any length takes little time.
//
// Measured on `device`, which must be the device painted on. Sizes are whole points: Qt sets a
// font in whole pixels of its device, and a sheet is painted on devices of 72 pixels an inch.
FittedText fitText(const QString& text, QFont font, QSizeF box, int largest, int smallest,
                   QPaintDevice* device);

} // namespace quorvane
