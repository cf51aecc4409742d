// Proving the link after the handshake (three answered PINGs out of five) and keeping it alive
// with a PING every second; a connected frame silent for more than three seconds is dropped.
#include "gv_connection.h"
#include "heartbeat_timeout.h"
#include "model/byte_reader.h"
#include "suspend.h"
#include "wire_messages.h"

#include <QTimer>

using namespace Qt::StringLiterals;

namespace quorvane {

namespace {
constexpr int requiredAnswers = 3;
constexpr int mostExchanges = 5;

bool isAck(const QByteArray& datagram)
{
    // Any sequence counts; only the type is looked at.
    return datagram.size() >= 2 &&
           ByteReader(datagram).u16(0) == static_cast<quint16>(wire::MessageType::ack);
}
} // namespace

std::optional<QString> heartbeatTimeoutMessage(std::chrono::milliseconds sinceLastAck,
                                               std::chrono::milliseconds limit)
{
    if (sinceLastAck <= limit)
        return std::nullopt;
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(sinceLastAck);
    return u"Heartbeat timeout: no ACK for "_s + QString::number(seconds.count()) +
           u"s, disconnecting"_s;
}

QCoro::Task<bool> GVConnection::verifyHeartbeat(Token token)
{
    QPointer<GVConnection> self(this);
    const QPointer<UdpEndpoint> mainSocket = m_mainSocket;
    m_logger.info(u"Verifying heartbeat (3 exchanges)..."_s);
    int answers = 0;
    for (int exchange = 1;; ++exchange) {
        if (token->cancelled) {
            m_logger.info(u"Heartbeat verification cancelled"_s);
            co_return false;
        }
        sendTo(mainSocket, wire::ping(), m_dynamicPort);
        QElapsedTimer answerPeriod;
        answerPeriod.start();
        for (;;) {
            // Nothing else reads the main socket yet: what is not an ACK is dropped here.
            const std::optional<Datagram> reply =
                co_await receive(mainSocket, m_timing.heartbeatPoll);
            if (!self)
                co_return false;
            if (reply && isAck(reply->bytes)) {
                ++answers;
                m_logger.info(u"Heartbeat "_s + QString::number(exchange) + u" verified ("_s +
                              QString::number(answers) + u"/3)"_s);
                break;
            }
            if (answerPeriod.elapsed() >= m_timing.heartbeatAnswerPeriod.count() ||
                token->cancelled) {
                break;
            }
        }
        if (answers >= requiredAnswers) {
            m_logger.info(u"Heartbeat verification complete!"_s);
            co_return true;
        }
        co_await pause(this, m_timing.heartbeatPause);
        if (!self)
            co_return false;
        if (exchange == mostExchanges) {
            m_logger.error(u"Heartbeat verification failed: only "_s + QString::number(answers) +
                           u"/3 successful"_s);
            co_return false;
        }
        if (token->cancelled) {
            m_logger.info(u"Heartbeat verification cancelled"_s);
            co_return false;
        }
    }
}

void GVConnection::startHeartbeatTimer()
{
    m_logger.info(u"Starting heartbeat timer"_s);
    m_lastHeartbeatAck.restart();
    delete m_heartbeatTimer;
    m_heartbeatTimer = new QTimer(this);
    // A coarse timer lets the PINGs drift by up to 5 %: keep them a second apart.
    m_heartbeatTimer->setTimerType(Qt::PreciseTimer);
    QObject::connect(m_heartbeatTimer, &QTimer::timeout, this, &GVConnection::heartbeatTick);
    m_heartbeatTimer->start(m_timing.keepAliveInterval);
}

void GVConnection::heartbeatTick()
{
    if (!m_mainSocket)
        return;
    if (m_connectionState == ConnectionState::connected) {
        const std::optional<QString> timedOut = heartbeatTimeoutMessage(
            std::chrono::milliseconds(m_lastHeartbeatAck.elapsed()), m_timing.heartbeatTimeout);
        if (timedOut) {
            m_logger.error(*timedOut);
            // Not from inside the timer's own tick: disconnect deletes the timer.
            QMetaObject::invokeMethod(
                this,
                [this, session = m_session] {
                    // A link ended by the user in the meantime was not lost.
                    const bool lost = !session->cancelled;
                    setStatusMessage(u"Connection lost (heartbeat timeout)"_s);
                    disconnect();
                    if (lost)
                        Q_EMIT heartbeatTimedOut();
                },
                Qt::QueuedConnection);
            return;
        }
    }
    // While loading, a silent frame is not judged yet, but it is still pinged.
    if (m_dynamicPort != 0)
        sendTo(m_mainSocket, wire::ping(), m_dynamicPort);
}

void GVConnection::recordHeartbeatAck(const QByteArray& datagram)
{
    // Whoever reads the main socket takes the keep-alive's answers too; a busy load must not
    // look like a silent frame.
    if (isAck(datagram))
        m_lastHeartbeatAck.restart();
}

void GVConnection::pulseHeartbeat()
{
    QMetaObject::invokeMethod(
        this,
        [this] {
            publish(m_heartbeatPulse, true, &GVConnection::heartbeatPulseChanged);
            // Each ACK lights the indicator for its own while; overlapping pulses are not merged.
            QTimer::singleShot(m_timing.pulseDuration, this, [this] {
                publish(m_heartbeatPulse, false, &GVConnection::heartbeatPulseChanged);
            });
        },
        Qt::QueuedConnection);
}

} // namespace quorvane
