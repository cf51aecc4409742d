#include "udp_endpoint.h"

#include <QVariant>
#include <cerrno>

namespace quorvane {

namespace {
// Bursts of subscription data must not be dropped between two polls of the receive loop.
constexpr int receiveBufferBytes = 1024 * 1024;
// A burst of some ten thousand datagrams may wait here while it is decoded; beyond this many,
// like the kernel, drop what comes.
constexpr std::size_t mostQueued = 65536;
// While a burst is decoded, the kernel's buffer is read on after every so many datagrams taken.
constexpr int takesBetweenReads = 16;
} // namespace

UdpEndpoint::UdpEndpoint(QObject* parent)
    : QObject(parent)
{
    QObject::connect(&m_socket, &QUdpSocket::readyRead, this, &UdpEndpoint::readAll);
}

UdpEndpoint* UdpEndpoint::bind(quint16 port, QObject* parent, QString& error)
{
    auto* endpoint = new UdpEndpoint(parent);
    // No address sharing: on Linux a shared UDP port lets a second program bind it and take
    // the datagrams meant for the first.
    if (!endpoint->m_socket.bind(QHostAddress::AnyIPv4, port, QAbstractSocket::DontShareAddress)) {
        error = endpoint->m_socket.errorString();
        delete endpoint;
        return nullptr;
    }
    endpoint->m_socket.setSocketOption(QAbstractSocket::ReceiveBufferSizeSocketOption,
                                       QVariant(receiveBufferBytes));
    return endpoint;
}

std::optional<int> UdpEndpoint::send(const QByteArray& datagram, const QHostAddress& to,
                                     quint16 port)
{
    errno = 0;
    if (m_socket.writeDatagram(datagram, to, port) >= 0)
        return std::nullopt;
    return errno != 0 ? errno : EIO;
}

std::optional<ReceivedDatagram> UdpEndpoint::take()
{
    // A long decode keeps the event loop from this socket, and the kernel's buffer would fill
    // and drop what the frame sends meanwhile: read on while taking.
    if (++m_takesSinceRead >= takesBetweenReads || m_queue.empty()) {
        m_takesSinceRead = 0;
        readPending();
    }
    if (m_queue.empty())
        return std::nullopt;
    ReceivedDatagram datagram = std::move(m_queue.front());
    m_queue.pop_front();
    return datagram;
}

void UdpEndpoint::readAll()
{
    if (readPending())
        Q_EMIT datagramArrived();
}

bool UdpEndpoint::readPending()
{
    bool arrived = false;
    char buffer[largestDatagram];
    while (m_socket.hasPendingDatagrams()) {
        ReceivedDatagram datagram;
        const qint64 size =
            m_socket.readDatagram(buffer, largestDatagram, &datagram.sender, &datagram.senderPort);
        // An empty or failed read is the same as silence.
        if (size <= 0 || m_queue.size() >= mostQueued)
            continue;
        datagram.bytes = QByteArray(buffer, size);
        m_queue.push_back(std::move(datagram));
        arrived = true;
    }
    return arrived;
}

} // namespace quorvane
