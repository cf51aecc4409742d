#pragma once

#include <QCoroTask>
#include <QDeadlineTimer>
#include <chrono>
#include <functional>

namespace quorvane {
class GVConnection;
}

namespace quorvane::cli {

// Suspends until `done()` holds or `deadline` passes, and returns whether `done()` held.
// `done()` is looked at now and again whenever the connection publishes a change of its state,
// loading, link, mappings or button answers, a write's fate is decided, or the heartbeat
// indicator blinks; the event loop
// runs meanwhile. A connection that goes away ends
// the wait with false.
QCoro::Task<bool> waitUntil(GVConnection& connection, std::function<bool()> done,
                            QDeadlineTimer deadline);

// Suspends for `duration` while the event loop runs.
QCoro::Task<> pauseFor(std::chrono::milliseconds duration);

} // namespace quorvane::cli
