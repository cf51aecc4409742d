// The connection's sockets: creating them, sending one datagram, receiving one datagram.
#include "diagnostics/programming_error.h"
#include "gv_connection.h"
#include "host_address.h"
#include "suspend.h"

#include <QHostAddress>
#include <QVariant>
#include <cerrno>

using namespace Qt::StringLiterals;

namespace quorvane {

std::optional<QHostAddress> GVConnection::dottedIPv4(const QString& host)
{
    // Only the frame's dotted IPv4 address is usable: "10.1" or a name is refused, as the
    // frame's own tools would. Names are looked up before they get here.
    if (!isDottedIPv4(host))
        return std::nullopt;
    return QHostAddress(host);
}

UdpEndpoint* GVConnection::createUDPSocket(quint16 port)
{
    QString error;
    UdpEndpoint* socket = UdpEndpoint::bind(port, this, error);
    if (!socket) {
        m_logger.error(u"Cannot bind UDP port "_s + QString::number(port) + u" ("_s + error +
                       u"): another program, perhaps another Quorvane on suite "_s +
                       QString::number(m_selectedSuite) + u", holds it"_s);
    }
    return socket;
}

void GVConnection::closeSockets()
{
    delete m_mainSocket;
    delete m_listenerSocket;
}

void GVConnection::sendTo(UdpEndpoint* socket, const QByteArray& datagram, quint16 port)
{
    const std::optional<QHostAddress>& address = m_targetAddress;
    std::optional<int> error = EBADF;
    if (socket && address)
        error = socket->send(datagram, *address, port);
    else if (socket)
        error = EINVAL;
    if (error) {
        const int descriptor = socket ? socket->descriptor() : -1;
        m_logger.error(u"sendTo FAILED: sock "_s + QString::number(descriptor) + u" -> "_s +
                       m_targetHost + u':' + QString::number(port) + u", errno="_s +
                       QString::number(*error));
    }
}

bool GVConnection::isFromFrame(const QHostAddress& sender)
{
    const std::optional<QHostAddress>& frame = m_targetAddress;
    if (frame && sender.isEqual(*frame, QHostAddress::ConvertV4MappedToIPv4))
        return true;
    // Someone else on the studio network must neither feed the grid nor keep the link alive.
    const QString senderText = sender.toString();
    if (!m_ignoredSenders.contains(senderText)) {
        m_ignoredSenders.insert(senderText);
        m_logger.warn(u"Ignoring datagrams from "_s + senderText + u", which is not the frame "_s +
                      m_targetHost);
    }
    return false;
}

std::optional<GVConnection::Datagram> GVConnection::readPendingDatagram(UdpEndpoint* socket)
{
    while (socket) {
        std::optional<Datagram> datagram = socket->take();
        if (!datagram || isFromFrame(datagram->sender))
            return datagram;
    }
    return std::nullopt;
}

QCoro::Task<std::optional<GVConnection::Datagram>>
GVConnection::receive(UdpEndpoint* socket, std::chrono::milliseconds timeout)
{
    QPointer<UdpEndpoint> guard(socket);
    QElapsedTimer waited;
    waited.start();
    while (guard) {
        // A datagram is read only from a live socket, whose owner is then alive too.
        if (std::optional<Datagram> datagram = readPendingDatagram(guard))
            co_return datagram;
        const auto remaining = timeout - std::chrono::milliseconds(waited.elapsed());
        if (remaining <= std::chrono::milliseconds::zero())
            break;
        co_await waitForDatagram(guard, remaining);
    }
    co_return std::nullopt;
}

quint16 GVConnection::nextSequence()
{
    QUORVANE_REQUIRE(m_msgCounter < 0xFFFF, "the DATA sequence counter must not wrap");
    return ++m_msgCounter;
}

} // namespace quorvane
