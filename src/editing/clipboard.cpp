#include "editing/clipboard.h"

#include "editing/grid_geometry.h"

namespace quorvane {

QList<int> rowPasteTargets(int startButton, qsizetype count, int buttonCount)
{
    QList<int> targets;
    for (qsizetype i = 0; i < count && startButton + i <= buttonCount; ++i)
        targets.append(startButton + static_cast<int>(i));
    return targets;
}

QList<int> columnPasteTargets(int startShift, qsizetype count)
{
    QList<int> targets;
    for (qsizetype i = 0; i < count && startShift + i <= lastShift; ++i)
        targets.append(startShift + static_cast<int>(i));
    return targets;
}

QList<qint64> closeUpRow(const QList<qint64>& stretch, int start, const QSet<int>& removed)
{
    QList<qint64> closed;
    for (qsizetype i = 0; i < stretch.size(); ++i) {
        if (!removed.contains(start + static_cast<int>(i)))
            closed.append(stretch[i]);
    }
    closed.resize(stretch.size(), 0);
    return closed;
}

} // namespace quorvane
