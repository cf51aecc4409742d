#pragma once

#include <QList>
#include <QSet>

namespace quorvane {

// The view's own clipboard: the sources of a run of buttons, in the run's order. It never
// reaches the system pasteboard.
struct InternalClipboard {
    QList<qint64> copiedSources;
    bool copiedVertically = false; // copied down a column rather than along a row

    bool isEmpty() const { return copiedSources.isEmpty(); }

    friend bool operator==(const InternalClipboard&, const InternalClipboard&) = default;
};

// The buttons a row paste of `count` sources starting at `startButton` writes: the sources
// that would run past the row's end are dropped.
QList<int> rowPasteTargets(int startButton, qsizetype count, int buttonCount);
// The shifts a column paste of `count` sources starting at `startShift` writes, down to the
// last shift level.
QList<int> columnPasteTargets(int startShift, qsizetype count);

// The new sources of the stretch of a row from button `start` to its end when the buttons in
// `removed` are taken out and the rest close up: `stretch` holds the current sources of that
// stretch, one per button from `start`; the freed buttons at the end become 0.
QList<qint64> closeUpRow(const QList<qint64>& stretch, int start, const QSet<int>& removed);

} // namespace quorvane
