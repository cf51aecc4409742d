#pragma once

#include <QObject>
#include <QString>
#include <QTime>
#include <functional>

namespace quorvane {

class GVConnection;

// Why there is no link, kept where the operator looks. A failure of the connection (the frame
// fell silent, the handshake or the heartbeat check failed, no sockets) is followed by a
// disconnect whose own status says only "Disconnected"; the failure stays, with the time it
// happened, until the next connect starts.
class LinkFailure : public QObject {
    Q_OBJECT

public:
    using Clock = std::function<QTime()>;

    // `connection` must outlive this.
    explicit LinkFailure(GVConnection& connection, QObject* parent = nullptr);

    // "Connection lost (heartbeat timeout) at 20:14:03", or empty while there is none.
    QString text() const;
    bool hasFailure() const { return !m_reason.isEmpty(); }

    // A failure found before the connection could start, e.g. an address it cannot use.
    void record(const QString& reason);
    // The user starts again: what ended the last attempt is no longer news.
    void forget();
    // The statuses of the connection that end a link or a connect.
    static bool isFailureStatus(const QString& status);
    // The clock the failures are timed with; tests give their own.
    void setClock(Clock clock) { m_clock = std::move(clock); }

Q_SIGNALS:
    void changed();

private:
    GVConnection& m_connection;
    Clock m_clock = [] { return QTime::currentTime(); };
    QString m_reason;
    QTime m_at;
};

} // namespace quorvane
