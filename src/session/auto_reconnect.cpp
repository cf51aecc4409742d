#include "session/auto_reconnect.h"

#include "link/gv_connection.h"

#include <QSettings>
#include <array>

using namespace Qt::StringLiterals;

namespace quorvane {

namespace {
// A frame being restarted is back within seconds; one that stays away is not asked more than
// twice a minute.
constexpr std::array firstDelays{2, 4, 8, 16};
constexpr int laterDelay = 30;
} // namespace

int reconnectDelaySeconds(int attempt)
{
    if (attempt >= 1 && attempt <= int(firstDelays.size()))
        return firstDelays[std::size_t(attempt - 1)];
    return laterDelay;
}

QString reconnectCountdownText(const QString& host, int secondsLeft, int attempt)
{
    const QString countdown =
        u"Reconnecting to "_s + host + u" in "_s + QString::number(secondsLeft) + u" s…"_s;
    if (attempt <= 1)
        return u"Connection lost. "_s + countdown;
    return countdown + u" (attempt "_s + QString::number(attempt) + u')';
}

AutoReconnect::AutoReconnect(GVConnection& connection, QSettings& preferences, QObject* parent)
    : QObject(parent)
    , m_connection(connection)
    , m_preferences(preferences)
    , m_enabled(preferences.value(enabledKey, false).toBool())
{
    m_countdown.setInterval(std::chrono::seconds(1));
    QObject::connect(&m_countdown, &QTimer::timeout, this, &AutoReconnect::tick);
    QObject::connect(&m_connection, &GVConnection::heartbeatTimedOut, this,
                     &AutoReconnect::linkLost);
    QObject::connect(&m_connection, &GVConnection::connectionStateChanged, this,
                     &AutoReconnect::followConnection);
}

void AutoReconnect::setEnabled(bool enabled)
{
    if (enabled == m_enabled)
        return;
    m_enabled = enabled;
    m_preferences.setValue(enabledKey.toString(), enabled);
    if (!enabled)
        stop();
    Q_EMIT enabledChanged();
}

QString AutoReconnect::countdownText() const
{
    if (m_phase != Phase::countingDown)
        return QString();
    return reconnectCountdownText(m_host, m_secondsLeft, m_attempt);
}

void AutoReconnect::stop()
{
    if (m_phase == Phase::idle)
        return;
    m_connection.logger().info(u"Automatic reconnect to "_s + m_host + u" stopped"_s);
    setIdle();
}

void AutoReconnect::setSecondLength(std::chrono::milliseconds length)
{
    m_countdown.setInterval(length);
}

void AutoReconnect::linkLost()
{
    if (!m_enabled)
        return;
    // What the connection keeps of its last connect is the lost link's frame and panel.
    m_host = m_connection.targetHost();
    m_suite = m_connection.selectedSuite();
    m_buttonCount = m_connection.buttonCount();
    countDown(1);
}

void AutoReconnect::countDown(int attempt)
{
    m_phase = Phase::countingDown;
    m_attempt = attempt;
    m_secondsLeft = reconnectDelaySeconds(attempt);
    m_connection.logger().info(u"Reconnecting to "_s + m_host + u" in "_s +
                               QString::number(m_secondsLeft) + u"s (attempt "_s +
                               QString::number(attempt) + u')');
    m_countdown.start();
    Q_EMIT progressChanged();
}

void AutoReconnect::tick()
{
    if (--m_secondsLeft > 0) {
        Q_EMIT progressChanged();
        return;
    }
    m_countdown.stop();
    m_phase = Phase::attempting;
    Q_EMIT progressChanged();
    m_connection.connect(m_host, m_suite, m_buttonCount);
}

void AutoReconnect::followConnection()
{
    const ConnectionState state = m_connection.connectionState();
    switch (m_phase) {
    case Phase::idle:
        return;
    case Phase::countingDown:
        // Someone else has started a connect: the frame is theirs now.
        if (state != ConnectionState::idle)
            stop();
        return;
    case Phase::attempting:
        if (state == ConnectionState::connected) {
            m_connection.logger().info(u"Reconnected to "_s + m_host + u" at attempt "_s +
                                       QString::number(m_attempt));
            setIdle();
        } else if (state == ConnectionState::idle) {
            countDown(m_attempt + 1);
        }
        return;
    }
}

void AutoReconnect::setIdle()
{
    m_countdown.stop();
    m_phase = Phase::idle;
    m_attempt = 0;
    m_secondsLeft = 0;
    Q_EMIT progressChanged();
}

} // namespace quorvane
