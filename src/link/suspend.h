#pragma once

#include <QCoroTask>

#include <chrono>

class QUdpSocket;

namespace quorvane {

// Suspends the calling coroutine until `socket` has something to read, the socket is
// destroyed, or `timeout` passes, whichever comes first. Unlike a plain signal await it always
// resumes, even when the socket goes away while it waits.
QCoro::Task<> waitForDatagram(QUdpSocket* socket, std::chrono::milliseconds timeout);

// Suspends for `duration` on a precise timer; a zero duration yields to the event loop once.
QCoro::Task<> pause(std::chrono::microseconds duration);

} // namespace quorvane
