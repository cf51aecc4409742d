#pragma once

#include <QObject>
#include <QString>
#include <QTimer>
#include <optional>

namespace quorvane {

class GVConnection;

// The short cause of a failed connect worth another attempt, from the connection's status:
// "Handshake timeout" for a handshake that ran out of time or of tries, "Heartbeat check
// failed" for too few answered PINGs. None for anything else: a cancel, a disconnect, ports
// another program holds (trying again would not free them).
std::optional<QString> connectRetryCause(const QString& status);

// The status line while a further attempt is made: "Handshake timeout; trying again, attempt 2
// of 2".
QString connectRetryText(const QString& cause, int attempt, int attempts);

// Makes the operator's connect again when the frame left the handshake or the heartbeat check
// unanswered, up to the command line's number of attempts: a datagram lost at the wrong moment
// should not cost the operator another click. Only connects started here are followed; the
// automatic reconnect makes its own connects after a lost link and backs off between them, so
// a failure of one of those is its to handle. The operator's connect, cancel or disconnect
// stops the attempts (stop), and so does a connect started anywhere else.
class ConnectRetry : public QObject {
    Q_OBJECT

public:
    // `connection` must outlive this object.
    explicit ConnectRetry(GVConnection& connection, QObject* parent = nullptr);

    // The first attempt of a connect, with GVConnection::connect's arguments.
    void connect(const QString& host, int suite, int buttonCount,
                 const QString& savedAs = QString());
    // No further attempt. One under way goes on as an ordinary connect, for the caller to
    // cancel or keep.
    void stop();

    // An attempt runs or the next is about to begin.
    bool isActive() const { return m_phase != Phase::idle; }
    // The attempt under way or about to begin, from 1; 0 while inactive.
    int attempt() const { return m_attempt; }
    int attempts() const { return m_attempts; }
    // What the status line says while a further attempt is made; empty otherwise.
    QString statusText() const;

Q_SIGNALS:
    // An attempt begun or ended, or the attempts stopped.
    void progressChanged();

private:
    enum class Phase { idle, attempting, due };

    void begin();
    void statusChanged();
    void stateChanged();
    void attemptEnded();
    void setIdle();

    GVConnection& m_connection;
    const int m_attempts;
    Phase m_phase = Phase::idle;
    int m_attempt = 0;
    bool m_beginning = false; // our own connect is entering `connecting`
    QString m_cause;          // of the last failed attempt
    // Starts the next attempt, and tells a failure from a cancel, on the next turn of the event
    // loop: the failing connect is still unwinding when its status changes.
    QTimer m_nextAttempt;
    QTimer m_endCheck;
    // The connect's arguments.
    QString m_host;
    int m_suite = 1;
    int m_buttonCount = 35;
    QString m_savedAs;
};

} // namespace quorvane
