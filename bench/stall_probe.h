#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>

namespace quorvane::bench {

// Measures how long the event loop is kept from running: a 1 ms timer notes the longest gap
// between two of its ticks.
class StallProbe : public QObject {
public:
    StallProbe()
    {
        m_timer.setTimerType(Qt::PreciseTimer);
        QObject::connect(&m_timer, &QTimer::timeout, this, [this] {
            m_longest = qMax(m_longest, m_sinceTick.nsecsElapsed());
            m_sinceTick.restart();
        });
        m_sinceTick.start();
        m_timer.start(1);
    }

    // The longest gap beyond the timer's own millisecond.
    double longestStallMs() const { return double(m_longest) / 1e6 - 1.0; }

private:
    QTimer m_timer;
    QElapsedTimer m_sinceTick;
    qint64 m_longest = 0;
};

} // namespace quorvane::bench
