#pragma once

#include <QByteArray>
#include <QElapsedTimer>
#include <QHostAddress>
#include <QObject>
#include <QTimer>
#include <deque>
#include <functional>

class QUdpSocket;

namespace quorvane::emulator {

// One datagram on its way out of a frame port.
struct Outgoing {
    QUdpSocket* socket = nullptr;
    QHostAddress receiver;
    quint16 receiverPort = 0;
    QByteArray bytes;
};

// Everything the frame sends passes through here, so that a delay or duplication applies to
// every answer alike. Datagrams leave in the order of their due times; with equal delays that
// is the order they were posted in.
class Outbox : public QObject {
    Q_OBJECT

public:
    using Writer = std::function<void(const Outgoing&)>;

    Outbox(Writer writer, QObject* parent = nullptr);

    void setDelay(int milliseconds) { m_delayMs = milliseconds; }
    void setDuplicate(bool duplicate) { m_duplicate = duplicate; }

    // `extraDelayMs` on top of the outbox's delay, for this datagram alone.
    void post(Outgoing datagram, int extraDelayMs = 0);
    // Forgets what is still waiting.
    void clear();
    qsizetype waiting() const { return qsizetype(m_queue.size()); }

private:
    struct Pending {
        qint64 dueMs;
        Outgoing datagram;
    };

    void write(const Outgoing& datagram);
    void flushDue();
    void scheduleNext();

    Writer m_writer;
    int m_delayMs = 0;
    bool m_duplicate = false;
    std::deque<Pending> m_queue;
    QTimer m_timer;
    QElapsedTimer m_clock;
};

} // namespace quorvane::emulator
