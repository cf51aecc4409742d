#pragma once

#include <QByteArray>
#include <QHostAddress>
#include <QObject>
#include <QUdpSocket>
#include <deque>
#include <optional>

namespace quorvane {

// A datagram as it came off the wire, with where it came from.
struct ReceivedDatagram {
    QByteArray bytes;
    QHostAddress sender;
    quint16 senderPort = 0;
};

// One bound UDP socket whose datagrams are read the moment they arrive and queued until taken.
// Qt keeps announcing new datagrams only to a socket that is read from inside its readyRead;
// the connection's coroutines read later, when they resume, so the reading is done here.
class UdpEndpoint : public QObject {
    Q_OBJECT

public:
    // Datagrams longer than this are cut to it.
    static constexpr qint64 largestDatagram = 4096;

    // Binds to every IPv4 address of this machine at `port`, for this program alone: a second
    // program that binds the same port would take this one's datagrams. Returns none when the
    // port cannot be had, with the platform's reason in `error`.
    static UdpEndpoint* bind(quint16 port, QObject* parent, QString& error);

    // The platform's socket descriptor, as the log shows it.
    int descriptor() const { return static_cast<int>(m_socket.socketDescriptor()); }

    // Sends one datagram; on failure returns the platform's error code.
    std::optional<int> send(const QByteArray& datagram, const QHostAddress& to, quint16 port);

    bool hasDatagram() const { return !m_queue.empty(); }
    std::optional<ReceivedDatagram> take();

Q_SIGNALS:
    void datagramArrived();

private:
    explicit UdpEndpoint(QObject* parent);
    void readAll();
    // Reads what the kernel holds into the queue; whether anything came.
    bool readPending();

    QUdpSocket m_socket;
    std::deque<ReceivedDatagram> m_queue;
    int m_takesSinceRead = 0;
};

} // namespace quorvane
