#pragma once

#include <QObject>
#include <QString>
#include <QTimer>
#include <chrono>

class QSettings;

namespace quorvane {

class GVConnection;

// The seconds counted down before the n-th attempt (from 1) to reconnect: 2, 4, 8 and 16, then
// 30 before every later one.
int reconnectDelaySeconds(int attempt);

// The status line while counting down to an attempt.
QString reconnectCountdownText(const QString& host, int secondsLeft, int attempt);

// Connects again, on its own, when a frame has fallen silent and the link was dropped for it:
// to the same host, suite and button count, after the delays above, until an attempt
// succeeds; the next loss starts again from the first delay. Each attempt is an ordinary
// connect. Nothing else starts it, so a link the user ended, or a connect of the user's that
// failed, is never taken up again. The user's own connect, cancel or disconnect stops it
// (stop), and so does switching the option off. The option is remembered in the preferences
// and is off until switched on.
class AutoReconnect : public QObject {
    Q_OBJECT

public:
    static constexpr QStringView enabledKey = u"Quorvane.reconnectAutomatically";

    // Both must outlive this object.
    AutoReconnect(GVConnection& connection, QSettings& preferences, QObject* parent = nullptr);

    bool isEnabled() const { return m_enabled; }
    void setEnabled(bool enabled);

    // Counting down to an attempt or waiting for one to end.
    bool isActive() const { return m_phase != Phase::idle; }
    bool isCountingDown() const { return m_phase == Phase::countingDown; }
    int secondsLeft() const { return m_secondsLeft; }
    // The attempt counted down to, or under way; 0 while inactive.
    int attempt() const { return m_attempt; }
    // What the status line says while counting down; empty otherwise.
    QString countdownText() const;

    // The user has taken over: no further attempt. An attempt under way goes on as an
    // ordinary connect, for the caller to cancel or keep.
    void stop();

    // How long one second of the countdown lasts; tests shorten it.
    void setSecondLength(std::chrono::milliseconds length);

Q_SIGNALS:
    void enabledChanged();
    // Started, stopped, one second further, an attempt begun or ended.
    void progressChanged();

private:
    enum class Phase { idle, countingDown, attempting };

    void linkLost();
    void countDown(int attempt);
    void tick();
    void followConnection();
    void setIdle();

    GVConnection& m_connection;
    QSettings& m_preferences;
    bool m_enabled = false;
    Phase m_phase = Phase::idle;
    int m_attempt = 0;
    int m_secondsLeft = 0;
    QTimer m_countdown;
    // The lost link's frame and panel.
    QString m_host;
    int m_suite = 1;
    int m_buttonCount = 35;
};

} // namespace quorvane
