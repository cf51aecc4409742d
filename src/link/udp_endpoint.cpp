#include "udp_endpoint.h"

#include <QVariant>
#include <cerrno>

namespace quorvane {

namespace {
// Bursts of subscription data must not be dropped between two polls of the receive loop.
constexpr int receiveBufferBytes = 1024 * 1024;
// About what the 1 MiB receive buffer holds: beyond it, like the kernel, drop what comes.
constexpr std::size_t mostQueued = 4096;
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
    if (m_queue.empty())
        return std::nullopt;
    ReceivedDatagram datagram = std::move(m_queue.front());
    m_queue.pop_front();
    return datagram;
}

void UdpEndpoint::readAll()
{
    bool arrived = false;
    while (m_socket.hasPendingDatagrams()) {
        ReceivedDatagram datagram;
        datagram.bytes.resize(largestDatagram);
        const qint64 size = m_socket.readDatagram(datagram.bytes.data(), largestDatagram,
                                                  &datagram.sender, &datagram.senderPort);
        // An empty or failed read is the same as silence.
        if (size <= 0 || m_queue.size() >= mostQueued)
            continue;
        datagram.bytes.truncate(size);
        m_queue.push_back(std::move(datagram));
        arrived = true;
    }
    if (arrived)
        Q_EMIT datagramArrived();
}

} // namespace quorvane
