// Once the link is verified, a 50 Hz timer empties both sockets: PING, SYNC and DATA are
// acknowledged, ACKs feed the heartbeat, and every datagram is offered to the decoders.
#include "gv_connection.h"
#include "model/byte_reader.h"
#include "wire_messages.h"

#include <QElapsedTimer>
#include <QTimer>

using namespace Qt::StringLiterals;

namespace quorvane {

namespace {
constexpr qsizetype loggedFrom = 21; // shorter datagrams are not worth a log line
constexpr qsizetype headerBytesLogged = 20;
constexpr qsizetype nameMarkerSearch = 40; // live renames carry the marker near the start

QString typeText(quint16 type)
{
    return QString::asprintf("%04x", type);
}

std::optional<qsizetype> nameMarkerPosition(const ByteReader& bytes)
{
    const qsizetype end = qMin(bytes.size() - 1, nameMarkerSearch);
    for (qsizetype p = 0; p < end; ++p) {
        if (bytes.u8(p) == 0x02 && bytes.u8(p + 1) == 0x0b)
            return p;
    }
    return std::nullopt;
}
} // namespace

void GVConnection::startReceiveTimer()
{
    m_logger.info(u"Starting receive timer (50Hz)"_s);
    delete m_receiveTimer;
    m_receiveTimer = new QTimer(this);
    m_receiveTimer->setTimerType(Qt::PreciseTimer);
    QObject::connect(m_receiveTimer, &QTimer::timeout, this, &GVConnection::receiveTick);
    m_receiveTimer->start(m_timing.receiveInterval);
}

void GVConnection::receiveTick()
{
    // The main socket first, then the listener; each emptied completely. A burst of thousands
    // of datagrams is decoded in slices, the next one straight after the event loop has had a
    // turn, so that the window keeps painting meanwhile.
    constexpr qint64 sliceNs = 5'000'000;
    QElapsedTimer busy;
    busy.start();
    const std::pair<QPointer<UdpEndpoint>, QStringView> sockets[] = {
        {m_mainSocket, u"main"}, {m_listenerSocket, u"listener"}};
    for (const auto& [socket, label] : sockets) {
        while (socket) {
            if (busy.nsecsElapsed() >= sliceNs) {
                if (!m_receiveContinues) {
                    m_receiveContinues = true;
                    QTimer::singleShot(0, this, [this] {
                        m_receiveContinues = false;
                        if (m_receiveTimer)
                            receiveTick();
                    });
                }
                return;
            }
            const std::optional<Datagram> datagram = readPendingDatagram(socket);
            if (!datagram)
                break;
            handleIncomingPacket(datagram->bytes, label, datagram->senderPort, socket);
        }
    }
}

void GVConnection::handleIncomingPacket(const QByteArray& datagram, QStringView source,
                                        quint16 senderPort, UdpEndpoint* socket)
{
    const std::optional<quint16> type = wire::messageType(datagram);
    if (!type)
        return;
    const ByteReader bytes(datagram);
    const qsizetype length = bytes.size();
    if (length >= loggedFrom) {
        m_logger.info(u"RX from "_s + source + u" port "_s + QString::number(senderPort) +
                      u": pktType=0x"_s + typeText(*type) + u' ' + QString::number(length) +
                      u"b hdr=["_s + hexBytes(bytes.slice(0, headerBytesLogged)) + u']');
    }
    const bool isData = *type == static_cast<quint16>(wire::MessageType::data);
    if (*type == static_cast<quint16>(wire::MessageType::ping) || isData ||
        *type == static_cast<quint16>(wire::MessageType::sync)) {
        sendTo(socket, wire::ackFor(datagram), senderPort);
    }
    if (*type == static_cast<quint16>(wire::MessageType::ack)) {
        recordHeartbeatAck(datagram);
        if (m_connectionState == ConnectionState::connected)
            pulseHeartbeat();
    }
    if (isData && length >= loggedFrom) {
        m_logger.info(u"DATA packet from "_s + source + u" port "_s + QString::number(senderPort) +
                      u": "_s + QString::number(length) + u" bytes"_s);
        parseButtonData(datagram);
    }
    // Definitions come in bursts while names load, and this loop may read part of a burst
    // before the loading step does: decode them here too, or engineering names go missing.
    if (isData && wire::sourceResponseCode(datagram) == wire::sourceDefinitionsCode)
        parseSourceDefinitionData(datagram);
    if (length >= loggedFrom) {
        if (const std::optional<qsizetype> marker = nameMarkerPosition(bytes)) {
            m_logger.info(u"Source name update (0x020b) found at pos "_s +
                          QString::number(*marker) + u", pktType=0x"_s + typeText(*type) + u", "_s +
                          QString::number(length) + u" bytes"_s);
            parseSourceNameData020b(datagram);
        }
    }
    parseFrameInfo(datagram);
}

} // namespace quorvane
