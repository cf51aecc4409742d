#pragma once

#include <QByteArray>
#include <QStringList>

namespace quorvane {
class DebugLogger;
}

namespace quorvane::test {

// Runs the deferred work already queued on this thread (log appends, name merges).
void runQueuedCalls();

// The messages of `logger` as "[LEVEL] text", without their time stamps, after the queued
// appends have run.
QStringList loggedMessages(quorvane::DebugLogger& logger);

// Bytes from hex text in which blanks are ignored: "00 04 04 91".
QByteArray bytes(const char* hex);

} // namespace quorvane::test
