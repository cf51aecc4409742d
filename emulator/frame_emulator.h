#pragma once

#include "client_messages.h"
#include "demo_show.h"
#include "fault_injector.h"
#include "frame_encoders.h"

#include <QByteArray>
#include <QHash>
#include <QHostAddress>
#include <QList>
#include <QObject>
#include <QSet>
#include <QString>
#include <QTimer>
#include <array>
#include <optional>

class QNetworkDatagram;
class QUdpSocket;

namespace quorvane::emulator {

class Outbox;
struct Outgoing;

// How the client learns the dynamic port.
enum class PortDelivery {
    clientIdAck,  // in bytes 18-19 of a 20-byte ACK of the first ClientID
    announcement, // in a datagram from port 5001 to the client's listener port
};

// Where the frame sends its data (answers to subscriptions, live changes). ACKs always go back
// to the port the acknowledged datagram came from.
enum class DataTarget { clientMainPort, clientListenerPort };

struct FrameEmulatorOptions {
    QHostAddress bindAddress = QHostAddress(QHostAddress::LocalHost);
    quint16 dynamicPort = 5123; // 5002 to 5999
    PortDelivery portDelivery = PortDelivery::clientIdAck;
    DataTarget dataTarget = DataTarget::clientMainPort;
    // In announcement mode, how long after the ClientID's ACK the announcement leaves. A client
    // that polls its listener right after sending the ClientID takes an announcement that
    // arrives with the ACK while it still waits for the ACK, and then never sees another; 0
    // sends both at once to provoke exactly that.
    int announceDelayMs = 250;
    FrameIdentity identity;
    FaultOptions faults;
};

// The frame's three ports.
enum class FramePort { initial, announce, dynamic };
// The client's two ports: main (which every client message comes from) and listener.
enum class ClientPort { main, listener };

// The client the frame talks to: the sender of the last datagram that was not an ACK.
struct ClientEndpoint {
    QHostAddress address;
    quint16 mainPort = 0;
    // The client's listener port is the one after its (even) main port.
    quint16 listenerPort() const { return mainPort | 1; }
};

struct ReceivedDatagram {
    quint16 localPort = 0; // the frame port it arrived on
    QHostAddress sender;
    quint16 senderPort = 0;
    QByteArray bytes;
    ClientMessage message;
    bool dropped = false; // lost on purpose: recorded, not answered
};

struct SentDatagram {
    quint16 localPort = 0;
    QHostAddress receiver;
    quint16 receiverPort = 0;
    QByteArray bytes;
};

// The frame's side of the protocol on real UDP sockets, for tests and for trying the
// application without a switcher. Port 5000 answers the handshake, port 5001 announces the
// dynamic port, and the dynamic port acknowledges everything and answers subscriptions and
// writes from a show. Every datagram in and out is recorded. Single-threaded: everything runs
// on the event loop of the thread that owns the emulator.
class FrameEmulator : public QObject {
    Q_OBJECT

public:
    explicit FrameEmulator(FrameEmulatorOptions options = {}, Show show = demoShow(),
                           QObject* parent = nullptr);
    ~FrameEmulator() override;

    // Binds the three ports. On failure nothing stays bound and errorString() says why.
    bool start();
    void stop();
    bool isRunning() const { return m_running; }
    const QString& errorString() const { return m_errorString; }

    const FrameEmulatorOptions& options() const { return m_options; }
    quint16 port(FramePort port) const;
    const std::optional<ClientEndpoint>& client() const { return m_client; }

    // The show as it stands, with every write and live change applied.
    const Show& show() const { return m_show; }
    quint32 mapping(Bus bus, int buttonCount, int shift, int button) const;
    // Changes the table without telling the client.
    void setMapping(Bus bus, int buttonCount, int shift, int button, quint32 source);

    // Changes made on the frame's side, reported to the client as the frame does on its own.
    // They need a known client: false (or no sequence) before one has sent anything.
    bool pushMappingChange(Bus bus, int buttonCount, int shift, int button, quint32 source);
    // Sends a live name record with `names` (within the limits of fitsNameRecord); the show
    // keeps every name that is not empty, as the client does.
    bool pushLiveRename(int source, const SourceName& names);
    // A SYNC or PING from one of the frame's ports; returns the sequence it carried.
    std::optional<quint16> sendSync(FramePort from, ClientPort to);
    std::optional<quint16> sendPing(FramePort from, ClientPort to);
    bool sendRaw(FramePort from, ClientPort to, const QByteArray& bytes);
    // Sends the port announcement (again). In announcement mode the frame sends it after each
    // first-form ClientID and repeats it every second until the client speaks on the dynamic
    // port, at most 10 times.
    bool announceDynamicPort();
    int announcementsSent() const { return m_announcementsSent; }

    // `count` button datagrams to the client at once, as fast as the socket takes them: one
    // record each, walking through the buttons of PGM at 35 with sources 1, 2, 3… Returns how
    // many left.
    int sendBurst(int count);

    // A network that turns slow: everything sent from now on leaves this much later.
    void setAnswerDelay(int milliseconds);
    // A network that turns to reordering: each datagram sent from now on up to this much later
    // again, at random.
    void setReorderWindow(int milliseconds) { m_faults.setReorderWindow(milliseconds); }
    // A network that turns lossy: fractions of what is received and sent from now on.
    void setLoss(double received, double sent) { m_faults.setDropFractions(received, sent); }

    bool isAnsweringPings() const { return m_answeringPings; }
    void setAnsweringPings(bool answering);
    bool isAnnouncementAcknowledged() const { return m_announcementAcknowledged; }

    // What the client sent and what the frame sent, oldest first.
    const QList<ReceivedDatagram>& received() const { return m_received; }
    QList<ReceivedDatagram> receivedOn(quint16 localPort) const;
    QList<ReceivedDatagram> receivedOfKind(ClientMessageKind kind) const;
    // The write requests that arrived for one button, lost ones included, oldest first.
    QList<ReceivedDatagram> writesFor(Bus bus, int buttonCount, int shift, int button) const;
    const QList<SentDatagram>& sent() const { return m_sent; }
    QList<SentDatagram> sentFrom(quint16 localPort) const;
    // The writes that were applied, in order (dropped, refused and ignored ones are not).
    const QList<WriteRequest>& writeRequests() const { return m_writes; }
    // Datagrams posted and not yet gone out, held back by a delay or a reorder window.
    qsizetype datagramsWaiting() const;
    // Datagrams the frame meant to send and lost on purpose.
    int sentDropped() const { return m_sentDropped; }
    void clearRecords();

Q_SIGNALS:
    void datagramReceived(const quorvane::emulator::ReceivedDatagram& datagram);
    void datagramSent(const quorvane::emulator::SentDatagram& datagram);
    void writeApplied(const quorvane::emulator::WriteRequest& write);
    void announcementAcknowledged();
    void pingAnswersStopped();
    // The frame went away (stop) or came back (start) on a fault switch. It comes back with the
    // show it was made with: writes since are lost, as a frame that is switched off loses them.
    void stoppedByFault();
    void restartedByFault();
    // A line for a human about what the frame just did.
    void activity(const QString& line);

private:
    QUdpSocket* socket(FramePort port) const { return m_sockets[std::size_t(port)]; }
    void readPending(FramePort port);
    void handle(FramePort port, const QNetworkDatagram& datagram);
    void answerInitial(const ReceivedDatagram& datagram);
    void answerAnnounce(const ReceivedDatagram& datagram);
    void answerDynamic(const ReceivedDatagram& datagram);
    void answerSubscription(const ReceivedDatagram& datagram);
    void applyWrite(const WriteRequest& write);
    bool leavesUnanswered(const ButtonSubscription& subscription);
    void countButtonSubscription();
    // Counts the write and answers whether the frame went away at it.
    bool goesAwayAtWrite();
    void goAway(const QString& at, bool comesBack);

    void acknowledge(FramePort from, const ReceivedDatagram& datagram);
    bool sendToClient(FramePort from, ClientPort to, const QByteArray& bytes);
    bool sendData(const QByteArray& bytes); // to the data target, from the dynamic port
    void post(Outgoing datagram);
    void write(const Outgoing& datagram);
    void sendGarbage();
    void announceUntilHeard();
    void stopAnsweringPings();

    FrameEmulatorOptions m_options;
    Show m_show;
    Show m_storedShow; // what the frame comes back with after a restart
    FaultInjector m_faults;
    std::array<QUdpSocket*, 3> m_sockets{};
    Outbox* m_outbox = nullptr;
    QTimer m_announceTimer;
    QTimer m_garbageTimer;
    QTimer m_pingStop;
    SequenceCounter m_sequence;
    std::optional<ClientEndpoint> m_client;
    bool m_running = false;
    bool m_answeringPings = true;
    bool m_announcementAcknowledged = false;
    bool m_heardOnDynamicPort = false;
    quint16 m_announcementSequence = 0;
    int m_announcementsSent = 0;
    bool m_garbageToListener = false;
    QString m_errorString;
    QHash<int, int> m_arrivals; // by ClientMessageKind: how many came, for the lost arrivals
    QHash<quint32, int> m_silentAsksLeft; // by frame button key; negative: always silent
    QSet<quint32> m_refusedWrites;
    int m_buttonSubscriptions = 0;
    int m_writeArrivals = 0;
    int m_sentDropped = 0;

    QList<ReceivedDatagram> m_received;
    QList<SentDatagram> m_sent;
    QList<WriteRequest> m_writes;
};

} // namespace quorvane::emulator

Q_DECLARE_METATYPE(quorvane::emulator::ReceivedDatagram)
Q_DECLARE_METATYPE(quorvane::emulator::SentDatagram)
Q_DECLARE_METATYPE(quorvane::emulator::WriteRequest)
