#include "session/connect_retry.h"

#include "link/connect_attempts.h"
#include "link/gv_connection.h"

using namespace Qt::StringLiterals;

namespace quorvane {

std::optional<QString> connectRetryCause(const QString& status)
{
    // A handshake message left unanswered after all its tries is named after the colon.
    if (status == u"Handshake timeout"_s || status.startsWith(u"Handshake timeout: "_s))
        return u"Handshake timeout"_s;
    if (status == u"Heartbeat verification failed"_s)
        return u"Heartbeat check failed"_s;
    return std::nullopt;
}

QString connectRetryText(const QString& cause, int attempt, int attempts)
{
    return cause + u"; trying again, attempt "_s + QString::number(attempt) + u" of "_s +
           QString::number(attempts);
}

ConnectRetry::ConnectRetry(GVConnection& connection, QObject* parent)
    : QObject(parent)
    , m_connection(connection)
    , m_attempts(defaultConnectAttempts)
{
    for (QTimer* timer : {&m_nextAttempt, &m_endCheck}) {
        timer->setSingleShot(true);
        timer->setInterval(0);
    }
    QObject::connect(&m_nextAttempt, &QTimer::timeout, this, &ConnectRetry::begin);
    QObject::connect(&m_endCheck, &QTimer::timeout, this, &ConnectRetry::attemptEnded);
    QObject::connect(&m_connection, &GVConnection::statusMessageChanged, this,
                     &ConnectRetry::statusChanged);
    QObject::connect(&m_connection, &GVConnection::connectionStateChanged, this,
                     &ConnectRetry::stateChanged);
    QObject::connect(&m_connection, &GVConnection::isConnectedChanged, this, [this] {
        if (m_phase != Phase::attempting || !m_connection.isConnected())
            return;
        // Verified: nothing later in the connect is worth another attempt.
        if (m_attempt > 1) {
            m_connection.logger().info(u"Connected at attempt "_s + QString::number(m_attempt) +
                                       u" of "_s + QString::number(m_attempts));
        }
        setIdle();
    });
}

void ConnectRetry::connect(const QString& host, int suite, int buttonCount, const QString& savedAs)
{
    m_host = host;
    m_suite = suite;
    m_buttonCount = buttonCount;
    m_savedAs = savedAs;
    m_nextAttempt.stop();
    m_endCheck.stop();
    m_attempt = 1;
    m_cause.clear();
    begin();
}

void ConnectRetry::stop()
{
    setIdle();
}

QString ConnectRetry::statusText() const
{
    if (m_phase == Phase::idle || m_attempt < 2)
        return QString();
    return connectRetryText(m_cause, m_attempt, m_attempts);
}

void ConnectRetry::begin()
{
    m_phase = Phase::attempting;
    m_beginning = true;
    m_connection.connect(m_host, m_suite, m_buttonCount, m_savedAs);
    m_beginning = false;
    Q_EMIT progressChanged();
}

void ConnectRetry::statusChanged()
{
    if (m_phase != Phase::attempting || m_connection.connectionState() != ConnectionState::idle)
        return;
    const std::optional<QString> cause = connectRetryCause(m_connection.statusMessage());
    if (!cause || m_attempt >= m_attempts)
        return; // the end check finds the attempts over
    m_connection.logger().warn(u"Connect attempt "_s + QString::number(m_attempt) + u" of "_s +
                               QString::number(m_attempts) + u" failed: "_s +
                               m_connection.statusMessage() + u"; trying again"_s);
    m_cause = *cause;
    ++m_attempt;
    m_phase = Phase::due;
    m_endCheck.stop();
    m_nextAttempt.start();
    Q_EMIT progressChanged();
}

void ConnectRetry::stateChanged()
{
    if (m_phase == Phase::idle)
        return;
    const ConnectionState state = m_connection.connectionState();
    if (state == ConnectionState::connecting && !m_beginning) {
        setIdle(); // someone else has started a connect: the frame is theirs now
        return;
    }
    // A failing connect reports its reason after it has gone idle; a cancel reports none.
    if (m_phase == Phase::attempting && state == ConnectionState::idle)
        m_endCheck.start();
}

void ConnectRetry::attemptEnded()
{
    if (m_phase == Phase::attempting && m_connection.connectionState() == ConnectionState::idle)
        setIdle();
}

void ConnectRetry::setIdle()
{
    m_nextAttempt.stop();
    m_endCheck.stop();
    if (m_phase == Phase::idle)
        return;
    m_phase = Phase::idle;
    m_attempt = 0;
    m_cause.clear();
    Q_EMIT progressChanged();
}

} // namespace quorvane
