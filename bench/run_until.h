#pragma once

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTimer>
#include <functional>

namespace quorvane::bench {

// Runs the event loop as the program's own does, asleep between events, until `done` or `ms`
// have passed. (QTest's waiting sleeps 10 ms between turns of the loop, which a stall probe
// would count.)
inline bool runUntil(const std::function<bool()>& done, int ms)
{
    QElapsedTimer waited;
    waited.start();
    QTimer wake; // so that the time limit is looked at while nothing else happens
    wake.start(50);
    while (!done()) {
        if (waited.elapsed() >= ms)
            return false;
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    return true;
}

} // namespace quorvane::bench
