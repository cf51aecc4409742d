// Opening a session with the frame: SYNC, PING and ClientID with port 5000, the dynamic port
// (from the ClientID's ACK or an announcement from port 5001), the same three exchanges with
// the dynamic port, then three registration commands. Heartbeat verification and loading
// follow in the same task.
#include "gv_connection.h"
#include "model/byte_reader.h"
#include "suspend.h"
#include "wire_messages.h"

using namespace Qt::StringLiterals;

namespace quorvane {

namespace {
constexpr quint16 lowestDynamicPort = 5001;
constexpr quint16 highestDynamicPort = 5999;
constexpr qsizetype portCarryingLength = 20;

std::chrono::milliseconds elapsed(const QElapsedTimer& timer)
{
    return std::chrono::milliseconds(timer.elapsed());
}
} // namespace

QCoro::Task<> GVConnection::performHandshake(Token token)
{
    QPointer<GVConnection> self(this);
    enterState(ConnectionState::handshake, 0.25);
    setStatusMessage(u"Establishing handshake..."_s);
    m_logger.info(u"performHandshake started"_s);

    // A connect that replaces another starts from fresh sockets on its own ports.
    closeSockets();
    m_mainSocket = createUDPSocket(m_mainPort);
    m_listenerSocket = createUDPSocket(m_listenerPort);
    m_logger.info(u"Sockets created: main="_s + QString::number(mainSock()) + u", listener="_s +
                  QString::number(listenerSock()));
    if (!m_mainSocket || !m_listenerSocket) {
        m_logger.error(u"Failed to create sockets"_s);
        failConnect(u"Failed to create sockets"_s);
        co_return;
    }
    const QPointer<UdpEndpoint> mainSocket = m_mainSocket;
    const QPointer<UdpEndpoint> listenerSocket = m_listenerSocket;

    m_msgCounter = firstMessageSequence;
    m_dynamicPort = 0;
    int stage = 1;
    m_logger.info(u"Handshake Stage 1: Sending SYNC to port "_s + QString::number(initialPort));
    sendTo(mainSocket, wire::sync(), initialPort);
    QElapsedTimer sinceStart;
    sinceStart.start();
    QElapsedTimer sinceSync;
    sinceSync.start();

    auto cancelled = [&] {
        if (!self)
            return true;
        if (token->cancelled)
            m_logger.info(u"Handshake cancelled by user"_s);
        return token->cancelled;
    };

    bool complete = false;
    while (!complete) {
        // One wait serves both sockets' polls of a pass: an answer on either ends it, so the
        // handshake moves as fast as the frame answers.
        const QList<UdpEndpoint*> sockets{mainSocket.get(), listenerSocket.get()};
        co_await waitForDatagram(sockets, m_timing.handshakePoll);
        if (cancelled())
            co_return;
        std::optional<Datagram> reply = readPendingDatagram(mainSocket);
        if (reply && reply->bytes.size() >= 4)
            handleHandshakeMain(reply->bytes, stage, complete);
        if (complete)
            break;
        // The announcement may overtake the ClientID's ACK; the port is known then, so the
        // handshake goes on rather than wait for an announcement that already came.
        if (stage == 4 && m_dynamicPort != 0) {
            m_logger.info(u"Handshake Stage 5: Sending SYNC to dynamic port "_s +
                          QString::number(m_dynamicPort));
            sendHandshakeMessage(u"SYNC"_s, wire::sync(), m_dynamicPort);
            stage = 5;
        }

        std::optional<Datagram> heard = readPendingDatagram(listenerSocket);
        if (heard)
            handleHandshakeListener(*heard, stage);

        if (elapsed(sinceStart) >= m_timing.handshakeLimit) {
            m_logger.error(u"Handshake TIMEOUT at stage "_s + QString::number(stage));
            disconnect();
            failConnect(u"Handshake timeout"_s);
            co_return;
        }
        // Once the frame has answered the first SYNC it is there: a message it leaves
        // unanswered now was lost, and goes again. The announcement (stage 4) is the frame's to
        // repeat.
        if (stage != 1 && stage != 4 && !resendHandshakeMessage()) {
            const HandshakeMessage& lost = m_handshakeMessage;
            const QString reason = u"no answer to the "_s + lost.name + u" after "_s +
                                   QString::number(lost.tries) + u" tries at "_s + m_targetHost +
                                   u':' + QString::number(lost.port);
            m_logger.error(u"Handshake failed at stage "_s + QString::number(stage) + u": "_s +
                           reason);
            disconnect();
            failConnect(u"Handshake timeout: "_s + reason);
            co_return;
        }
        if (stage == 1 && elapsed(sinceSync) >= m_timing.syncRetry) {
            m_logger.info(u"Handshake Stage 1: No ACK received, retrying SYNC"_s);
            sendTo(mainSocket, wire::sync(), initialPort);
            sinceSync.restart();
        }
    }

    m_logger.info(u"Handshake complete!"_s);
    m_logger.info(u"Sending registration commands..."_s);
    if (!co_await sendRegistration(wire::firstRegistration(nextSequence()), u"Reg1 ACK"_s, token)) {
        cancelled();
        co_return;
    }
    m_logger.info(u"Sending suite "_s + QString::number(m_selectedSuite) +
                  u" registration commands..."_s);
    if (!co_await sendRegistration(wire::suiteRegistration(nextSequence(), m_selectedSuite),
                                   u"Suite 1796 ACK"_s, token)) {
        cancelled();
        co_return;
    }
    if (!co_await sendRegistration(wire::secondSuiteRegistration(nextSequence()),
                                   u"Suite 04b6 ACK"_s, token)) {
        cancelled();
        co_return;
    }

    enterState(ConnectionState::heartbeat, 0.4);
    setStatusMessage(u"Verifying heartbeat..."_s);
    const bool verified = co_await verifyHeartbeat(token);
    if (!self || token->cancelled)
        co_return;
    if (!verified) {
        m_logger.error(u"Heartbeat verification failed"_s);
        disconnect();
        failConnect(u"Heartbeat verification failed"_s);
        co_return;
    }

    m_logger.info(u"Connected successfully to "_s + m_targetHost + u':' +
                  QString::number(m_dynamicPort));
    publish(m_isConnected, true, &GVConnection::isConnectedChanged);
    if (!m_frameVersion.isEmpty())
        Q_EMIT frameVersionChanged();
    startHeartbeatTimer();
    startReceiveTimer();
    co_await autoLoadAllData(token);
}

void GVConnection::handleHandshakeMain(const QByteArray& datagram, int& stage, bool& complete)
{
    const ByteReader bytes(datagram);
    if (wire::isType(datagram, wire::MessageType::sync)) {
        m_logger.info(u"Received SYNC from frame, sending ACK with seq "_s +
                      wire::sequenceText(datagram));
        sendTo(m_mainSocket, wire::ackFor(datagram), initialPort);
        return;
    }
    if (!wire::isType(datagram, wire::MessageType::ack))
        return;

    switch (stage) {
    case 1:
        m_logger.info(u"Handshake Stage 2: Sending PING"_s);
        sendHandshakeMessage(u"PING"_s, wire::ping(), initialPort);
        stage = 2;
        break;
    case 2:
        m_logger.info(u"Handshake Stage 3: Sending ClientID"_s);
        sendHandshakeMessage(u"ClientID"_s, wire::clientIdFirst(), initialPort);
        stage = 3;
        break;
    case 3: {
        if (bytes.u8(3) != 1)
            break; // not the answer to the ClientID
        const quint16 port = bytes.u16(18);
        if (bytes.size() >= portCarryingLength && port >= lowestDynamicPort &&
            port <= highestDynamicPort) {
            m_dynamicPort = port;
            m_logger.info(u"Port assignment in ACK: dynamic port = "_s + QString::number(port));
            m_logger.info(u"Handshake Stage 5: Sending SYNC to dynamic port "_s +
                          QString::number(port));
            sendHandshakeMessage(u"SYNC"_s, wire::sync(), m_dynamicPort);
            stage = 5;
        } else {
            m_logger.info(u"Handshake Stage 4: Waiting for port announcement"_s);
            stage = 4;
        }
        break;
    }
    case 5:
        m_logger.info(u"Handshake Stage 6: Sending PING to dynamic port "_s +
                      QString::number(m_dynamicPort));
        sendHandshakeMessage(u"PING"_s, wire::ping(), m_dynamicPort);
        stage = 6;
        break;
    case 6:
        m_logger.info(u"Handshake Stage 7: Sending ClientID to dynamic port"_s);
        sendHandshakeMessage(u"ClientID"_s, wire::clientIdSecond(nextSequence()), m_dynamicPort);
        stage = 7;
        break;
    case 7:
        // Only the ClientID's own ACK: a late second ACK of the SYNC or PING sent again must
        // not pass for it.
        complete = bytes.u16(2) == ByteReader(m_handshakeMessage.datagram).u16(2);
        break;
    default:
        break; // stage 4 waits for the announcement, not for an ACK
    }
}

void GVConnection::handleHandshakeListener(const Datagram& datagram, int& stage)
{
    const QByteArray& data = datagram.bytes;
    m_logger.hexDump(u"Listener RX from port "_s + QString::number(datagram.senderPort) +
                         u" (stage "_s + QString::number(stage) + u')',
                     data);
    if (data.size() < 4)
        return;
    if (datagram.senderPort == announcePort) {
        if (wire::isType(data, wire::MessageType::ping)) {
            m_logger.info(u"Received PING from announce port, sending ACK with seq "_s +
                          wire::sequenceText(data));
            sendTo(m_listenerSocket, wire::ackFor(data), announcePort);
        } else if (data.size() >= portCarryingLength) {
            m_dynamicPort = ByteReader(data).u16(18);
            m_logger.info(u"Received port announcement: dynamic port = "_s +
                          QString::number(m_dynamicPort));
            sendTo(m_listenerSocket, wire::ackFor(data), announcePort);
            if (stage == 4) {
                m_logger.info(u"Handshake Stage 5: Sending SYNC to dynamic port "_s +
                              QString::number(m_dynamicPort));
                sendHandshakeMessage(u"SYNC"_s, wire::sync(), m_dynamicPort);
                stage = 5;
            }
        }
    } else if (datagram.senderPort == initialPort) {
        const bool ping = wire::isType(data, wire::MessageType::ping);
        if (ping || wire::isType(data, wire::MessageType::sync)) {
            m_logger.info(u"Received "_s + (ping ? u"PING"_s : u"SYNC"_s) +
                          u" from port 5000 on listener, sending ACK with seq "_s +
                          wire::sequenceText(data));
            sendTo(m_listenerSocket, wire::ackFor(data), initialPort);
        }
    }
}

void GVConnection::sendHandshakeMessage(const QString& name, const QByteArray& datagram,
                                        quint16 port)
{
    m_handshakeMessage = {name, datagram, port, 1, {}};
    m_handshakeMessage.sinceSent.start();
    sendTo(m_mainSocket, datagram, port);
}

bool GVConnection::resendHandshakeMessage()
{
    HandshakeMessage& message = m_handshakeMessage;
    if (elapsed(message.sinceSent) < m_timing.handshakeResend)
        return true;
    if (message.tries >= m_timing.handshakeTries)
        return false;
    ++message.tries;
    m_logger.info(u"Handshake: no answer to the "_s + message.name + u", sending it again (try "_s +
                  QString::number(message.tries) + u" of "_s +
                  QString::number(m_timing.handshakeTries) + u')');
    message.sinceSent.restart();
    sendTo(m_mainSocket, message.datagram, message.port);
    return true;
}

QCoro::Task<bool> GVConnection::sendRegistration(const QByteArray& command,
                                                 const QString& replyTitle, Token token)
{
    QPointer<GVConnection> self(this);
    const QPointer<UdpEndpoint> mainSocket = m_mainSocket;
    sendTo(mainSocket, command, m_dynamicPort);
    co_await pause(this, m_timing.registrationPause);
    if (!self || token->cancelled)
        co_return false;
    // The reply's content is not checked; a missing one is no error either, but the command
    // goes again while there is time, in case it was the command that was lost.
    QElapsedTimer waiting;
    waiting.start();
    for (int tries = 1;; ++tries) {
        const auto remaining = m_timing.registrationReplyWait - elapsed(waiting);
        if (remaining <= std::chrono::milliseconds::zero())
            break;
        const std::optional<Datagram> reply =
            co_await receive(mainSocket, std::min(remaining, m_timing.handshakeResend));
        if (!self || token->cancelled)
            co_return false;
        if (reply) {
            m_logger.hexDump(replyTitle, reply->bytes);
            break;
        }
        if (tries >= m_timing.handshakeTries || elapsed(waiting) >= m_timing.registrationReplyWait)
            break;
        m_logger.info(u"No reply to the registration command yet, sending it again"_s);
        sendTo(mainSocket, command, m_dynamicPort);
    }
    co_return true;
}

} // namespace quorvane
