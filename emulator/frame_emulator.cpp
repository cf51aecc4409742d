#include "frame_emulator.h"

#include "diagnostics/debug_logger.h"
#include "model/button_address.h"
#include "outbox.h"

#include <QNetworkDatagram>
#include <QUdpSocket>
#include <algorithm>
#include <chrono>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace quorvane::emulator {

namespace {
// A client that misses the announcement waits for it: it is repeated until the client turns
// up on the dynamic port. An ACK alone is not enough: a client may acknowledge an
// announcement that came too early for it to act on.
constexpr auto announceRetryInterval = 1s;
constexpr int announceAttempts = 10;

QString portText(quint16 port)
{
    return QString::number(port);
}
} // namespace

FrameEmulator::FrameEmulator(FrameEmulatorOptions options, Show show, QObject* parent)
    : QObject(parent)
    , m_options(std::move(options))
    , m_show(std::move(show))
    , m_storedShow(m_show)
    , m_faults(m_options.faults)
    , m_outbox(new Outbox([this](const Outgoing& datagram) { write(datagram); }, this))
{
    m_outbox->setDelay(m_options.faults.answerDelayMs);
    m_outbox->setDuplicate(m_options.faults.duplicateSends);

    m_announceTimer.setSingleShot(true);
    connect(&m_announceTimer, &QTimer::timeout, this, &FrameEmulator::announceUntilHeard);
    m_garbageTimer.setInterval(m_options.faults.garbageIntervalMs);
    connect(&m_garbageTimer, &QTimer::timeout, this, &FrameEmulator::sendGarbage);
    m_pingStop.setSingleShot(true);
    connect(&m_pingStop, &QTimer::timeout, this, &FrameEmulator::stopAnsweringPings);
    for (const PanelButton& button : m_options.faults.silentButtons)
        m_silentAsksLeft.insert(frameButtonKey(button), m_options.faults.silentAsks);
    for (const PanelButton& button : m_options.faults.refusedWrites)
        m_refusedWrites.insert(frameButtonKey(button));
}

FrameEmulator::~FrameEmulator()
{
    stop();
}

bool FrameEmulator::start()
{
    if (m_running)
        return true;
    const quint16 dynamicPort = m_options.dynamicPort;
    if (dynamicPort <= announcePort || dynamicPort > lastDynamicPort) {
        m_errorString = u"dynamic port "_s + portText(dynamicPort) + u" outside "_s +
                        portText(announcePort + 1) + u'-' + portText(lastDynamicPort);
        return false;
    }

    const std::array<quint16, 3> ports{initialPort, announcePort, dynamicPort};
    for (std::size_t k = 0; k < ports.size(); ++k) {
        auto* udp = new QUdpSocket(this);
        // Exclusive: a second frame on the same ports must fail here, not share the traffic.
        if (!udp->bind(m_options.bindAddress, ports[k], QAbstractSocket::DontShareAddress)) {
            m_errorString = u"cannot bind "_s + m_options.bindAddress.toString() + u':' +
                            portText(ports[k]) + u": "_s + udp->errorString();
            delete udp;
            stop();
            return false;
        }
        const auto framePort = FramePort(k);
        connect(udp, &QUdpSocket::readyRead, this, [this, framePort] { readPending(framePort); });
        m_sockets[k] = udp;
    }

    m_running = true;
    m_errorString.clear();
    m_answeringPings = true;
    if (m_options.faults.stopPingAnswersAfterSeconds)
        m_pingStop.start(std::chrono::seconds(*m_options.faults.stopPingAnswersAfterSeconds));
    if (m_options.faults.garbageIntervalMs > 0)
        m_garbageTimer.start();
    Q_EMIT activity(u"Frame listening on "_s + m_options.bindAddress.toString() + u" ports "_s +
                    portText(initialPort) + u", "_s + portText(announcePort) + u", dynamic "_s +
                    portText(dynamicPort));
    return true;
}

void FrameEmulator::stop()
{
    m_announceTimer.stop();
    m_garbageTimer.stop();
    m_pingStop.stop();
    if (m_outbox)
        m_outbox->clear();
    for (QUdpSocket*& udp : m_sockets) {
        if (udp) {
            udp->close();
            udp->deleteLater();
            udp = nullptr;
        }
    }
    m_running = false;
}

quint16 FrameEmulator::port(FramePort port) const
{
    switch (port) {
    case FramePort::initial:
        return initialPort;
    case FramePort::announce:
        return announcePort;
    case FramePort::dynamic:
        return m_options.dynamicPort;
    }
    Q_UNREACHABLE();
    return 0;
}

quint32 FrameEmulator::mapping(Bus bus, int buttonCount, int shift, int button) const
{
    return m_show.buttons.mapping(bus, buttonCount, shift, button);
}

void FrameEmulator::setMapping(Bus bus, int buttonCount, int shift, int button, quint32 source)
{
    m_show.buttons.setMapping(bus, buttonCount, shift, button, source);
}

bool FrameEmulator::pushMappingChange(Bus bus, int buttonCount, int shift, int button,
                                      quint32 source)
{
    setMapping(bus, buttonCount, shift, button, source);
    const ButtonRecord record{buttonParameter(buttonCount, shift, button), busCode(bus), source};
    Q_EMIT activity(u"Live change: "_s + busName(bus) + u" S"_s + QString::number(shift) + u'B' +
                    QString::number(button) + u" ("_s + QString::number(buttonCount) +
                    u"-btn) > "_s + QString::number(source));
    return sendData(buttonDatagram(m_sequence.next(), 0, {record}));
}

bool FrameEmulator::pushLiveRename(int source, const SourceName& names)
{
    NamedSource* known = m_show.find(source);
    if (!known) {
        m_show.sources.push_back({source, SourceName{}});
        std::sort(m_show.sources.begin(), m_show.sources.end(),
                  [](const NamedSource& a, const NamedSource& b) { return a.number < b.number; });
        known = m_show.find(source);
    }
    auto keep = [](QString& stored, const QString& renamed) {
        if (!renamed.isEmpty())
            stored = renamed;
    };
    keep(known->names.eng, names.eng);
    keep(known->names.panel, names.panel);
    keep(known->names.oled, names.oled);
    keep(known->names.menu, names.menu);
    Q_EMIT activity(u"Live rename of source "_s + QString::number(source));
    bool sent = true;
    const std::vector<NamedSource> renamed{NamedSource{source, names}};
    for (const QByteArray& message :
         sourceNameMessages(renamed, NameRecordKind::live, m_sequence)) {
        sent = sendData(message) && sent;
    }
    return sent;
}

std::optional<quint16> FrameEmulator::sendSync(FramePort from, ClientPort to)
{
    const quint16 sequence = m_sequence.next();
    if (!sendToClient(from, to, controlMessage(MessageType::sync, sequence)))
        return std::nullopt;
    return sequence;
}

std::optional<quint16> FrameEmulator::sendPing(FramePort from, ClientPort to)
{
    const quint16 sequence = m_sequence.next();
    if (!sendToClient(from, to, controlMessage(MessageType::ping, sequence)))
        return std::nullopt;
    return sequence;
}

bool FrameEmulator::sendRaw(FramePort from, ClientPort to, const QByteArray& bytes)
{
    return sendToClient(from, to, bytes);
}

bool FrameEmulator::announceDynamicPort()
{
    m_announcementSequence = m_sequence.next();
    if (!sendToClient(FramePort::announce, ClientPort::listener,
                      portAnnouncement(m_announcementSequence, m_options.dynamicPort))) {
        return false;
    }
    ++m_announcementsSent;
    Q_EMIT activity(u"Announced dynamic port "_s + portText(m_options.dynamicPort) +
                    u" to the client's listener port "_s + portText(m_client->listenerPort()));
    return true;
}

int FrameEmulator::sendBurst(int count)
{
    constexpr int buttonCount = 35;
    int sent = 0;
    for (int k = 0; k < count; ++k) {
        const int index = k % (shiftRowCount * buttonCount);
        const quint16 parameter =
            buttonParameter(buttonCount, index / buttonCount + 1, index % buttonCount + 1);
        const ButtonRecord record{parameter, busCode(Bus::pgm), quint32(k + 1)};
        sent += sendData(buttonDatagram(m_sequence.next(), 0, {record})) ? 1 : 0;
    }
    Q_EMIT activity(u"Burst: "_s + QString::number(sent) + u" button datagrams sent"_s);
    return sent;
}

void FrameEmulator::setAnswerDelay(int milliseconds)
{
    m_outbox->setDelay(milliseconds);
}

void FrameEmulator::setAnsweringPings(bool answering)
{
    m_answeringPings = answering;
}

QList<ReceivedDatagram> FrameEmulator::receivedOn(quint16 localPort) const
{
    QList<ReceivedDatagram> matching;
    for (const ReceivedDatagram& datagram : m_received) {
        if (datagram.localPort == localPort)
            matching.append(datagram);
    }
    return matching;
}

QList<ReceivedDatagram> FrameEmulator::receivedOfKind(ClientMessageKind kind) const
{
    QList<ReceivedDatagram> matching;
    for (const ReceivedDatagram& datagram : m_received) {
        if (datagram.message.kind == kind)
            matching.append(datagram);
    }
    return matching;
}

QList<ReceivedDatagram> FrameEmulator::writesFor(Bus bus, int buttonCount, int shift,
                                                 int button) const
{
    QList<ReceivedDatagram> writes = receivedOfKind(ClientMessageKind::writeRequest);
    writes.removeIf([&](const ReceivedDatagram& datagram) {
        const WriteRequest& write = datagram.message.write;
        return write.busCode != busCode(bus) ||
               write.parameter != buttonParameter(buttonCount, shift, button);
    });
    return writes;
}

qsizetype FrameEmulator::datagramsWaiting() const
{
    return m_outbox ? m_outbox->waiting() : 0;
}

QList<SentDatagram> FrameEmulator::sentFrom(quint16 localPort) const
{
    QList<SentDatagram> matching;
    for (const SentDatagram& datagram : m_sent) {
        if (datagram.localPort == localPort)
            matching.append(datagram);
    }
    return matching;
}

void FrameEmulator::clearRecords()
{
    m_received.clear();
    m_sent.clear();
    m_writes.clear();
}

void FrameEmulator::readPending(FramePort port)
{
    QUdpSocket* udp = socket(port);
    while (udp && udp->hasPendingDatagrams()) {
        const QNetworkDatagram datagram = udp->receiveDatagram();
        if (!datagram.isValid())
            break;
        handle(port, datagram);
        udp = socket(port); // a handler may have stopped the frame
    }
}

void FrameEmulator::handle(FramePort port, const QNetworkDatagram& datagram)
{
    ReceivedDatagram received;
    received.localPort = this->port(port);
    received.sender = datagram.senderAddress();
    received.senderPort = static_cast<quint16>(datagram.senderPort());
    received.bytes = datagram.data();
    received.message = decodeClientMessage(received.bytes);
    const int arrival = ++m_arrivals[int(received.message.kind)];
    const bool lostOnPurpose =
        std::ranges::any_of(m_options.faults.lostArrivals, [&](const LostArrival& lost) {
            return lost.kind == received.message.kind && lost.occurrence == arrival;
        });
    received.dropped = m_faults.dropsNext() || lostOnPurpose;
    m_received.append(received);
    Q_EMIT datagramReceived(received);
    if (received.dropped)
        return;

    // Everything but ACKs leaves the client's main socket; its ACKs may come from the listener.
    const ClientMessageKind kind = received.message.kind;
    if (port != FramePort::announce && kind != ClientMessageKind::ack &&
        kind != ClientMessageKind::tooShort) {
        m_client = ClientEndpoint{received.sender, received.senderPort};
    }

    switch (port) {
    case FramePort::initial:
        answerInitial(received);
        break;
    case FramePort::announce:
        answerAnnounce(received);
        break;
    case FramePort::dynamic:
        answerDynamic(received);
        break;
    }
}

void FrameEmulator::answerInitial(const ReceivedDatagram& datagram)
{
    const ClientMessage& message = datagram.message;
    if (m_options.faults.neverAnswerHandshake) {
        Q_EMIT activity(u"Handshake ignored on purpose: "_s + describe(message));
        return;
    }
    switch (message.kind) {
    case ClientMessageKind::sync:
        Q_EMIT activity(u"Handshake: SYNC on port 5000, ACK"_s);
        acknowledge(FramePort::initial, datagram);
        break;
    case ClientMessageKind::ping:
        if (!m_answeringPings)
            return;
        Q_EMIT activity(u"Handshake: PING on port 5000, ACK"_s);
        acknowledge(FramePort::initial, datagram);
        break;
    case ClientMessageKind::clientIdFirst:
        if (m_options.portDelivery == PortDelivery::clientIdAck) {
            Q_EMIT activity(u"Handshake: ClientID on port 5000, ACK with dynamic port "_s +
                            portText(m_options.dynamicPort));
            post({socket(FramePort::initial), datagram.sender, datagram.senderPort,
                  clientIdAckWithPort(datagram.bytes, m_options.dynamicPort)});
        } else {
            Q_EMIT activity(u"Handshake: ClientID on port 5000, ACK"_s);
            acknowledge(FramePort::initial, datagram);
            m_announcementAcknowledged = false;
            m_heardOnDynamicPort = false;
            m_announcementsSent = 0;
            m_announceTimer.start(std::chrono::milliseconds(m_options.announceDelayMs));
        }
        break;
    case ClientMessageKind::ack:
        break; // the client acknowledging a SYNC or PING from this port
    default:
        Q_EMIT activity(u"Port 5000 does not answer "_s + describe(message));
        break;
    }
}

void FrameEmulator::answerAnnounce(const ReceivedDatagram& datagram)
{
    const ClientMessage& message = datagram.message;
    if (message.kind != ClientMessageKind::ack) {
        Q_EMIT activity(u"Port 5001 does not answer "_s + describe(message));
        return;
    }
    if (message.sequence != m_announcementSequence || m_announcementsSent == 0)
        return; // the ACK of a PING from this port, or of an older announcement
    if (!m_announcementAcknowledged) {
        m_announcementAcknowledged = true;
        Q_EMIT activity(u"Port announcement acknowledged"_s);
        Q_EMIT announcementAcknowledged();
    }
}

void FrameEmulator::answerDynamic(const ReceivedDatagram& datagram)
{
    const ClientMessage& message = datagram.message;
    if (message.kind != ClientMessageKind::ack)
        m_heardOnDynamicPort = true;
    switch (message.kind) {
    case ClientMessageKind::ping:
        if (m_answeringPings)
            acknowledge(FramePort::dynamic, datagram);
        return;
    case ClientMessageKind::sync:
        Q_EMIT activity(u"SYNC on the dynamic port, ACK"_s);
        acknowledge(FramePort::dynamic, datagram);
        return;
    case ClientMessageKind::ack:
    case ClientMessageKind::tooShort:
    case ClientMessageKind::unknownType:
        return;
    default:
        break;
    }

    if (message.kind == ClientMessageKind::buttonSubscription) {
        countButtonSubscription();
        if (!m_running)
            return; // gone before it could answer
    }
    if (message.kind == ClientMessageKind::writeRequest && goesAwayAtWrite())
        return;
    // Every DATA message is acknowledged before it is acted upon.
    acknowledge(FramePort::dynamic, datagram);
    switch (message.kind) {
    case ClientMessageKind::writeRequest:
        applyWrite(message.write);
        break;
    case ClientMessageKind::sourceDefinitionSubscription:
    case ClientMessageKind::sourceNameSubscription:
    case ClientMessageKind::frameInfoSubscription:
    case ClientMessageKind::buttonSubscription:
        answerSubscription(datagram);
        break;
    case ClientMessageKind::otherData:
        Q_EMIT activity(u"Unrecognised DATA on the dynamic port, ACK only: "_s +
                        hexBytes(datagram.bytes));
        break;
    default:
        Q_EMIT activity(describe(message) + u", ACK"_s);
        break;
    }
}

void FrameEmulator::answerSubscription(const ReceivedDatagram& datagram)
{
    const ClientMessage& message = datagram.message;
    switch (message.kind) {
    case ClientMessageKind::sourceDefinitionSubscription: {
        const QList<QByteArray> messages = sourceDefinitionMessages(m_show.sources, m_sequence);
        for (const QByteArray& bytes : messages)
            sendData(bytes);
        Q_EMIT activity(u"Source definitions (0x0210): "_s + QString::number(messages.size()) +
                        u" datagrams for "_s + QString::number(m_show.sources.size()) +
                        u" sources"_s);
        break;
    }
    case ClientMessageKind::sourceNameSubscription: {
        std::vector<NamedSource> named;
        for (const NamedSource& source : m_show.sources) {
            if (hasCustomName(source.names))
                named.push_back(source);
        }
        const QList<QByteArray> messages =
            sourceNameMessages(named, NameRecordKind::bulk, m_sequence);
        for (const QByteArray& bytes : messages)
            sendData(bytes);
        Q_EMIT activity(u"Source names (0x020b): "_s + QString::number(messages.size()) +
                        u" datagrams for "_s + QString::number(named.size()) + u" sources"_s);
        break;
    }
    case ClientMessageKind::frameInfoSubscription:
        sendData(frameInfoReply(m_sequence.next(), m_options.identity));
        Q_EMIT activity(u"Frame info (0x01fd): "_s + m_options.identity.model + u' ' +
                        m_options.identity.version);
        break;
    case ClientMessageKind::buttonSubscription: {
        const ButtonSubscription& subscription = message.subscription;
        if (leavesUnanswered(subscription)) {
            Q_EMIT activity(describe(message) + u" left unanswered on purpose"_s);
            break;
        }
        const quint32 source = m_show.buttons.source(subscription.busCode, subscription.parameter);
        const ButtonRecord record{subscription.parameter, subscription.busCode,
                                  m_faults.answeredSource(source)};
        sendData(buttonDatagram(m_sequence.next(), subscription.subscriptionId, {record}));
        Q_EMIT activity(describe(message) + u" > source "_s + QString::number(source) +
                        (record.source == source
                             ? QString()
                             : u", corrupted to "_s + QString::number(record.source)));
        break;
    }
    default:
        break;
    }
}

bool FrameEmulator::leavesUnanswered(const ButtonSubscription& subscription)
{
    const auto silent =
        m_silentAsksLeft.find(frameButtonKey(subscription.busCode, subscription.parameter));
    if (silent == m_silentAsksLeft.end() || *silent == 0)
        return false;
    if (*silent > 0)
        --*silent;
    return true;
}

void FrameEmulator::countButtonSubscription()
{
    ++m_buttonSubscriptions;
    const FaultOptions& faults = m_options.faults;
    const bool stops = faults.stopAtButtonSubscription == m_buttonSubscriptions;
    const bool restarts = faults.restartAtButtonSubscription == m_buttonSubscriptions;
    if (stops || restarts)
        goAway(u"button subscription "_s + QString::number(m_buttonSubscriptions), restarts);
}

bool FrameEmulator::goesAwayAtWrite()
{
    ++m_writeArrivals;
    if (m_options.faults.restartAtWrite != m_writeArrivals)
        return false;
    goAway(u"write "_s + QString::number(m_writeArrivals), true);
    return true;
}

void FrameEmulator::goAway(const QString& at, bool comesBack)
{
    const FaultOptions& faults = m_options.faults;
    Q_EMIT activity(u"Going away at "_s + at +
                    (comesBack ? u", back in "_s + QString::number(faults.restartDownMs) + u" ms"_s
                               : QString()));
    stop();
    Q_EMIT stoppedByFault();
    if (!comesBack)
        return;
    QTimer::singleShot(faults.restartDownMs, this, [this] {
        m_show = m_storedShow;
        // A frame that starts afresh knows no client until one speaks to it.
        if (!m_options.faults.restartKeepsSession)
            m_client.reset();
        if (start()) {
            Q_EMIT activity(u"Back after a restart"_s);
            Q_EMIT restartedByFault();
        }
    });
}

void FrameEmulator::applyWrite(const WriteRequest& write)
{
    if (m_faults.ignoresNextWrite()) {
        // Acknowledged already; the table keeps its source and the frame says nothing more.
        Q_EMIT activity(QString::asprintf("Write ignored: parameter %u bus 0x%02x > source %u "
                                          "neither applied nor reported",
                                          unsigned{write.parameter}, unsigned{write.busCode},
                                          unsigned{write.source}));
        return;
    }
    if (m_refusedWrites.contains(frameButtonKey(write.busCode, write.parameter))) {
        // The button keeps its source, and the frame says so.
        const quint32 kept = m_show.buttons.source(write.busCode, write.parameter);
        Q_EMIT activity(QString::asprintf("Write refused: parameter %u bus 0x%02x keeps source %u",
                                          unsigned{write.parameter}, unsigned{write.busCode},
                                          unsigned{kept}));
        sendData(buttonDatagram(m_sequence.next(), 0, {{write.parameter, write.busCode, kept}}));
        return;
    }
    m_show.buttons.setSource(write.busCode, write.parameter, write.source);
    m_writes.append(write);
    Q_EMIT activity(QString::asprintf("Write: parameter %u bus 0x%02x > source %u",
                                      unsigned{write.parameter}, unsigned{write.busCode},
                                      unsigned{write.source}));
    Q_EMIT writeApplied(write);
    sendData(
        buttonDatagram(m_sequence.next(), 0, {{write.parameter, write.busCode, write.source}}));
}

void FrameEmulator::acknowledge(FramePort from, const ReceivedDatagram& datagram)
{
    post({socket(from), datagram.sender, datagram.senderPort, ackFor(datagram.bytes)});
}

bool FrameEmulator::sendToClient(FramePort from, ClientPort to, const QByteArray& bytes)
{
    if (!m_running || !m_client) {
        Q_EMIT activity(u"Nothing sent: no client has spoken to the frame yet"_s);
        return false;
    }
    const quint16 port = to == ClientPort::main ? m_client->mainPort : m_client->listenerPort();
    post({socket(from), m_client->address, port, bytes});
    return true;
}

bool FrameEmulator::sendData(const QByteArray& bytes)
{
    const ClientPort to = m_options.dataTarget == DataTarget::clientMainPort ? ClientPort::main
                                                                             : ClientPort::listener;
    return sendToClient(FramePort::dynamic, to, bytes);
}

void FrameEmulator::post(Outgoing datagram)
{
    m_outbox->post(std::move(datagram), m_faults.reorderDelayMs());
}

void FrameEmulator::write(const Outgoing& datagram)
{
    if (!datagram.socket || !m_running)
        return;
    if (m_faults.dropsNextSent()) {
        ++m_sentDropped;
        return;
    }
    if (datagram.socket->writeDatagram(datagram.bytes, datagram.receiver, datagram.receiverPort) <
        0) {
        Q_EMIT activity(u"Send failed to port "_s + portText(datagram.receiverPort) + u": "_s +
                        datagram.socket->errorString());
        return;
    }
    const SentDatagram sent{datagram.socket->localPort(), datagram.receiver, datagram.receiverPort,
                            datagram.bytes};
    m_sent.append(sent);
    Q_EMIT datagramSent(sent);
}

void FrameEmulator::sendGarbage()
{
    if (!m_client)
        return;
    // Alternate between the client's two sockets, so both receive paths see garbage.
    const ClientPort to = m_garbageToListener ? ClientPort::listener : ClientPort::main;
    m_garbageToListener = !m_garbageToListener;
    sendToClient(FramePort::dynamic, to, m_faults.garbage());
}

void FrameEmulator::announceUntilHeard()
{
    if (m_heardOnDynamicPort || m_announcementsSent >= announceAttempts)
        return;
    announceDynamicPort();
    m_announceTimer.start(announceRetryInterval);
}

void FrameEmulator::stopAnsweringPings()
{
    setAnsweringPings(false);
    Q_EMIT activity(u"PINGs are no longer answered"_s);
    Q_EMIT pingAnswersStopped();
}

} // namespace quorvane::emulator
