#pragma once

#include <QCoroTask>
#include <QList>
#include <QObject>
#include <chrono>

namespace quorvane {

class UdpEndpoint;

// Suspends the calling coroutine until `socket` has something to read, the socket is
// destroyed, or `timeout` passes, whichever comes first. Unlike a plain signal await it always
// resumes, even when the socket goes away while it waits.
QCoro::Task<> waitForDatagram(UdpEndpoint* socket, std::chrono::milliseconds timeout);

// The same for several sockets: resumes when the first of them has something to read.
QCoro::Task<> waitForDatagram(QList<UdpEndpoint*> sockets, std::chrono::milliseconds timeout);

// Suspends for `duration` on a precise timer, or until `owner` is destroyed, whichever comes
// first; a zero duration yields to the event loop once. A coroutine whose owner goes away so
// resumes on the next turn, sees it gone and ends, instead of outliving it on the timer.
QCoro::Task<> pause(const QObject* owner, std::chrono::microseconds duration);

} // namespace quorvane
