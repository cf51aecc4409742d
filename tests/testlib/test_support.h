#pragma once

#include <QByteArray>
#include <QStringList>
#include <functional>

namespace quorvane {
class DebugLogger;
}

namespace quorvane::test {

// Runs the deferred work already queued on this thread (log appends, name merges).
void runQueuedCalls();

// The messages of `logger` as "[LEVEL] text", without their time stamps, after the queued
// appends have run.
QStringList loggedMessages(quorvane::DebugLogger& logger);

// Runs the event loop until `done` holds, at most `timeoutMs`; whether it holds. Unlike
// QTest::qWaitFor, which sleeps 10 ms between its looks at the events, this wakes for each event
// as the program's own loop does, so that the link's timers and coroutines keep their pace.
bool waitUntil(const std::function<bool()>& done, int timeoutMs);

// Bytes from hex text in which blanks are ignored: "00 04 04 91".
QByteArray bytes(const char* hex);

} // namespace quorvane::test
