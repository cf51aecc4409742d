#pragma once

// A barrier between a connection and the emulated frame: proof that the frame has read all the
// connection sent so far, reached as soon as it is true instead of by waiting out a time.

#include "frame_emulator.h"
#include "link/gv_connection.h"
#include "test_support.h"

#include <algorithm>
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

namespace quorvane::test {

// Sends a PING from the connection's own main socket to where the connection sends, and waits
// until the frame has read it. Loopback keeps datagrams in the order they were sent and the frame
// reads them in that order, so by then it has read everything the connection sent before: what
// it has not received by then was never sent. The connection never uses this PING's sequence.
// False when the link is down or the frame does not read it in time.
inline bool frameHasReadAllSentBy(const GVConnection& connection,
                                  const emulator::FrameEmulator& frame, int timeoutMs = 5'000)
{
    const int descriptor = connection.mainSock();
    if (descriptor < 0 || connection.dynamicPort() == 0)
        return false;
    const QByteArray ping = bytes("00 01 BA 55");
    sockaddr_in to{};
    to.sin_family = AF_INET;
    to.sin_port = htons(connection.dynamicPort());
    to.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const qsizetype before = frame.received().size();
    if (::sendto(descriptor, ping.constData(), size_t(ping.size()), 0,
                 reinterpret_cast<const sockaddr*>(&to), sizeof to) != ping.size()) {
        return false;
    }
    return waitUntil(
        [&] {
            const QList<emulator::ReceivedDatagram>& received = frame.received();
            return std::any_of(
                received.begin() + std::min(before, received.size()), received.end(),
                [&](const emulator::ReceivedDatagram& datagram) { return datagram.bytes == ping; });
        },
        timeoutMs);
}

} // namespace quorvane::test
