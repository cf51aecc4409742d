// The emulated frame over real UDP on 127.0.0.1, with two plain sockets on 6132/6133 playing
// the client: the handshake in both port-delivery modes, subscriptions, writes, live changes,
// the records, and every fault switch.

#include "diagnostics/debug_logger.h"
#include "frame_emulator.h"
#include "model/button_data_decoder.h"
#include "model/frame_info_decoder.h"
#include "model/source_definition_decoder.h"
#include "model/source_name_decoder.h"
#include "test_support.h"

#include <QElapsedTimer>
#include <QNetworkDatagram>
#include <QSignalSpy>
#include <QTest>
#include <QUdpSocket>
#include <algorithm>
#include <memory>

using namespace Qt::StringLiterals;
using namespace quorvane;
using namespace quorvane::emulator;

namespace {
constexpr quint16 clientMainPort = 6132;
constexpr quint16 clientListenerPort = 6133;
constexpr quint16 dynamicPort = 5123;
constexpr int timeoutMs = 5000;

const QByteArray syncMessage = test::bytes("00 06 00 00");
const QByteArray pingMessage = test::bytes("00 01 00 00");
const QByteArray clientIdFirst =
    test::bytes("00 04 00 01 00 02 00 1f 00 00 00 0b 00 00 00 2c 00 01 00 00");

QByteArray u16(quint16 value)
{
    QByteArray bytes(2, '\0');
    bytes[0] = char(value >> 8);
    bytes[1] = char(value & 0xFF);
    return bytes;
}

QByteArray subscription(quint16 sequence, const QByteArray& tail)
{
    return QByteArray(test::bytes("00 04") + u16(sequence) +
                      test::bytes("00 02 00 08 00 00 00 24 00 00 00 2e") + QByteArray(16, '\0') +
                      tail);
}

QByteArray definitionSubscription(quint16 sequence)
{
    return subscription(sequence,
                        test::bytes("02 10 00 01 00 04 00 02 00 00 00 00 00 10 00 01 62 00 00 00"));
}

QByteArray nameSubscription(quint16 sequence)
{
    return subscription(sequence,
                        test::bytes("02 0b 00 01 00 04 00 03 00 00 00 00 00 0c 00 01 64 1b 00 00"));
}

QByteArray frameInfoSubscription(quint16 sequence)
{
    return subscription(sequence,
                        test::bytes("01 fd 00 01 00 04 00 02 00 00 00 00 00 08 00 01 01 00 00 01"));
}

QByteArray buttonSubscription(quint16 sequence, quint16 id, quint16 parameter, quint8 bus)
{
    return subscription(sequence, QByteArray(u16(id) +
                                             test::bytes("00 01 00 03 00 03 00 00 00 00"
                                                         "13 85 00 00 89") +
                                             u16(parameter) + QByteArray(1, char(bus))));
}

QByteArray writeRequest(quint16 sequence, quint16 parameter, quint8 bus, quint16 source)
{
    return QByteArray(test::bytes("00 04") + u16(sequence) +
                      test::bytes("00 02 00 06 00 00 00 0a 00 00 00 12 13 85 01 00 89") +
                      u16(parameter) + QByteArray(1, char(bus)) + u16(source));
}

struct Arrival {
    quint16 senderPort = 0;
    QByteArray bytes;

    friend bool operator==(const Arrival&, const Arrival&) = default;
};
} // namespace

class TestFrameEmulator : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_logger.setEcho(nullptr);
        m_main = std::make_unique<QUdpSocket>();
        m_listener = std::make_unique<QUdpSocket>();
        QVERIFY2(m_main->bind(QHostAddress::LocalHost, clientMainPort,
                              QAbstractSocket::DontShareAddress),
                 qPrintable(m_main->errorString()));
        QVERIFY2(m_listener->bind(QHostAddress::LocalHost, clientListenerPort,
                                  QAbstractSocket::DontShareAddress),
                 qPrintable(m_listener->errorString()));
    }

    void cleanup()
    {
        m_frame.reset();
        m_main.reset();
        m_listener.reset();
    }

    // --- Start and stop --------------------------------------------------------------------

    void startFailsWhenAPortIsTaken()
    {
        QUdpSocket squatter;
        QVERIFY(squatter.bind(QHostAddress::LocalHost, 5001, QAbstractSocket::DontShareAddress));
        m_frame = std::make_unique<FrameEmulator>();
        QVERIFY(!m_frame->start());
        QVERIFY(!m_frame->isRunning());
        QVERIFY2(m_frame->errorString().contains(u"5001"_s), qPrintable(m_frame->errorString()));

        // Nothing stays bound: port 5000 is free again, and the frame starts once 5001 is.
        QUdpSocket probe;
        QVERIFY(probe.bind(QHostAddress::LocalHost, 5000, QAbstractSocket::DontShareAddress));
        probe.close();
        squatter.close();
        QVERIFY2(m_frame->start(), qPrintable(m_frame->errorString()));
    }

    void dynamicPortOutsideItsRange_data()
    {
        QTest::addColumn<int>("port");
        QTest::newRow("5000") << 5000;
        QTest::newRow("5001, the announce port") << 5001;
        QTest::newRow("6000") << 6000;
    }

    void dynamicPortOutsideItsRange()
    {
        QFETCH(int, port);
        FrameEmulatorOptions options;
        options.dynamicPort = quint16(port);
        m_frame = std::make_unique<FrameEmulator>(options);
        QVERIFY(!m_frame->start());
        QVERIFY2(m_frame->errorString().contains(u"dynamic port"_s),
                 qPrintable(m_frame->errorString()));
    }

    void anotherDynamicPort()
    {
        FrameEmulatorOptions options;
        options.dynamicPort = 5999;
        QVERIFY(startFrame(options));
        send(5999, pingMessage);
        QCOMPARE(arrivals(*m_main, 1), (QList<Arrival>{{5999, test::bytes("00 02 00 00")}}));
    }

    // --- Handshake -------------------------------------------------------------------------

    // The handshake of a client that learns the port from the ClientID's ACK, byte for byte.
    void handshakeWithThePortInTheAck()
    {
        QVERIFY(startFrame());
        // clang-format off
        const QList<std::pair<quint16, QByteArray>> exchange{
            {5000, syncMessage},
            {5000, pingMessage},
            {5000, clientIdFirst},
            {dynamicPort, syncMessage},
            {dynamicPort, pingMessage},
            {dynamicPort, test::bytes("00 04 04 91 00 02 00 1f 00 00 00 0b 00 00 00 2c"
                                      "00 03 00 00")},
            {dynamicPort, test::bytes("00 04 04 92 00 02 00 08 00 00 00 24 00 00 00 2e"
                                      "00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00")},
            {dynamicPort, test::bytes("00 04 04 93 00 02 00 06 00 00 00 0c 00 00 00 14"
                                      "17 96 02 00 01 00 00 07 00 00 00 0a")},
            {dynamicPort, test::bytes("00 04 04 94 00 02 00 05 00 00 00 09 00 00 00 10"
                                      "04 b6 00 00 01 00 00 07 00")},
        };
        const QList<Arrival> answers{
            {5000, test::bytes("00 02 00 00")},
            {5000, test::bytes("00 02 00 00")},
            {5000, test::bytes("00 02 00 01 00 02 00 1f 00 00 00 0b 00 00 00 2c 00 01 14 03")},
            {dynamicPort, test::bytes("00 02 00 00")},
            {dynamicPort, test::bytes("00 02 00 00")},
            {dynamicPort, test::bytes("00 02 04 91")},
            {dynamicPort, test::bytes("00 02 04 92")},
            {dynamicPort, test::bytes("00 02 04 93")},
            {dynamicPort, test::bytes("00 02 04 94")},
        };
        // clang-format on
        for (qsizetype k = 0; k < exchange.size(); ++k) {
            send(exchange[k].first, exchange[k].second);
            QCOMPARE(arrivals(*m_main, 1), QList<Arrival>{answers[k]});
        }
        const QList<ClientMessageKind> kinds{ClientMessageKind::sync,
                                             ClientMessageKind::ping,
                                             ClientMessageKind::clientIdFirst,
                                             ClientMessageKind::sync,
                                             ClientMessageKind::ping,
                                             ClientMessageKind::clientIdSecond,
                                             ClientMessageKind::registration,
                                             ClientMessageKind::suiteRegistration,
                                             ClientMessageKind::secondSuiteRegistration};
        QCOMPARE(receivedKinds(), kinds);
        QCOMPARE(m_frame->receivedOfKind(ClientMessageKind::suiteRegistration)
                     .constFirst()
                     .message.suite,
                 1);
        QVERIFY(!m_listener->hasPendingDatagrams());
        QCOMPARE(m_frame->client()->mainPort, clientMainPort);
    }

    // In announcement mode the ClientID gets a plain ACK, and the port comes from 5001 to the
    // listener; the client's ACK of it ends the announcing.
    void handshakeWithAnnouncement()
    {
        FrameEmulatorOptions options;
        options.portDelivery = PortDelivery::announcement;
        QVERIFY(startFrame(options));
        QSignalSpy acknowledged(m_frame.get(), &FrameEmulator::announcementAcknowledged);

        send(5000, clientIdFirst);
        QCOMPARE(arrivals(*m_main, 1), (QList<Arrival>{{5000, test::bytes("00 02 00 01")}}));
        const QList<Arrival> announcement = arrivals(*m_listener, 1);
        QCOMPARE(announcement.size(), 1);
        const Arrival& arrived = announcement.constFirst();
        QCOMPARE(arrived.senderPort, quint16{5001});
        QVERIFY(arrived.bytes.size() >= 20);
        QVERIFY(arrived.bytes.first(2) != test::bytes("00 01"));
        QCOMPARE(arrived.bytes.sliced(18, 2), test::bytes("14 03"));

        m_listener->writeDatagram(ackFor(arrived.bytes), QHostAddress::LocalHost, 5001);
        QTRY_COMPARE_WITH_TIMEOUT(acknowledged.count(), 1, timeoutMs);
        QVERIFY(m_frame->isAnnouncementAcknowledged());
        QCOMPARE(m_frame->receivedOn(5001).constFirst().senderPort, clientListenerPort);
    }

    // The announcement leaves well after the ACK, so that a client has acted on the ACK
    // before it polls for the announcement.
    void announcementFollowsTheAck()
    {
        constexpr int delayMs = 300;
        FrameEmulatorOptions options;
        options.portDelivery = PortDelivery::announcement;
        options.announceDelayMs = delayMs;
        QVERIFY(startFrame(options));
        send(5000, clientIdFirst);
        QCOMPARE(arrivals(*m_main, 1).size(), 1);
        QElapsedTimer clock;
        clock.start();
        QCOMPARE(arrivals(*m_listener, 1).size(), 1);
        QVERIFY2(clock.elapsed() >= delayMs - 20, qPrintable(QString::number(clock.elapsed())));
    }

    // Even an acknowledged announcement is repeated while the client stays away from the
    // dynamic port: it may have taken the first one too early to act on it.
    void announcementRepeatedUntilTheClientTurnsUp()
    {
        FrameEmulatorOptions options;
        options.portDelivery = PortDelivery::announcement;
        options.announceDelayMs = 0;
        QVERIFY(startFrame(options));
        send(5000, clientIdFirst);
        const QList<Arrival> first = arrivals(*m_listener, 1);
        QCOMPARE(first.size(), 1);
        m_listener->writeDatagram(ackFor(first[0].bytes), QHostAddress::LocalHost, 5001);

        const QList<Arrival> second = arrivals(*m_listener, 1);
        QCOMPARE(second.size(), 1);
        QCOMPARE(second[0].bytes.sliced(18, 2), test::bytes("14 03"));
        QVERIFY(first[0].bytes.sliced(2, 2) != second[0].bytes.sliced(2, 2));
        QCOMPARE(m_frame->announcementsSent(), 2);
    }

    void ackEchoesTheSequence_data()
    {
        QTest::addColumn<int>("port");
        QTest::addColumn<QByteArray>("message");
        QTest::addColumn<QByteArray>("answer");
        QTest::newRow("SYNC on 5000")
            << 5000 << test::bytes("00 06 12 34") << test::bytes("00 02 12 34");
        QTest::newRow("PING on 5000")
            << 5000 << test::bytes("00 01 ab cd") << test::bytes("00 02 ab cd");
        QTest::newRow("SYNC on the dynamic port")
            << int{dynamicPort} << test::bytes("00 06 00 07") << test::bytes("00 02 00 07");
        QTest::newRow("DATA on the dynamic port")
            << int{dynamicPort} << test::bytes("00 04 99 01 de ad be ef")
            << test::bytes("00 02 99 01");
    }

    void ackEchoesTheSequence()
    {
        QFETCH(int, port);
        QFETCH(QByteArray, message);
        QFETCH(QByteArray, answer);
        QVERIFY(startFrame());
        send(quint16(port), message);
        QCOMPARE(arrivals(*m_main, 1), (QList<Arrival>{{quint16(port), answer}}));
    }

    // Port 5000 only speaks the handshake; ACKs and other messages get no answer anywhere.
    void unansweredMessages()
    {
        QVERIFY(startFrame());
        send(5000, test::bytes("00 04 04 91 00 02 00 1f 00 00 00 0b 00 00 00 2c 00 03 00 00"));
        send(5000, test::bytes("00 02 00 05"));
        send(5000, test::bytes("00 06 00"));
        send(dynamicPort, test::bytes("00 02 00 05"));
        send(dynamicPort, test::bytes("00 09 00 00"));
        send(5001, pingMessage);
        QTRY_COMPARE_WITH_TIMEOUT(m_frame->received().size(), 6, timeoutMs);
        QVERIFY(m_frame->sent().isEmpty());
        QVERIFY(!m_main->hasPendingDatagrams());
    }

    // --- Subscriptions ---------------------------------------------------------------------

    void sourceDefinitionsAreAnswered()
    {
        QVERIFY(startFrame());
        const QList<Arrival> replies = subscribe(definitionSubscription(0x0491));
        QVERIFY(replies.size() >= 3);
        QCOMPARE(replies.constFirst().bytes, test::bytes("00 02 04 91"));
        std::vector<EngineeringName> names;
        for (const Arrival& reply : replies.sliced(1)) {
            QCOMPARE(reply.senderPort, dynamicPort);
            QCOMPARE(reply.bytes.sliced(4, 4), test::bytes("00 02 00 10"));
            const std::vector<EngineeringName> decoded =
                parseSourceDefinitionData(reply.bytes, m_logger);
            names.insert(names.end(), decoded.begin(), decoded.end());
        }
        const Show& show = m_frame->show();
        QCOMPARE(names.size(), show.sources.size());
        for (std::size_t k = 0; k < names.size(); ++k)
            QCOMPARE(names[k],
                     (EngineeringName{show.sources[k].number, show.sources[k].names.eng}));
    }

    void sourceNamesAreAnswered()
    {
        QVERIFY(startFrame());
        const QList<Arrival> replies = subscribe(nameSubscription(0x0492));
        QVERIFY(replies.size() >= 2);
        QCOMPARE(replies.constFirst().bytes, test::bytes("00 02 04 92"));
        SourceNameTable names;
        for (const Arrival& reply : replies.sliced(1)) {
            QCOMPARE(reply.bytes.sliced(16, 2), test::bytes("02 0b"));
            mergeSourceNames(names, parseSourceNameData020b(reply.bytes, m_logger), m_logger);
        }
        SourceNameTable expected;
        for (const NamedSource& source : m_frame->show().sources) {
            if (hasCustomName(source.names))
                expected.insert(source.number, source.names);
        }
        QCOMPARE(names, expected);
    }

    void frameInfoIsAnswered()
    {
        FrameEmulatorOptions options;
        options.identity.model = u"Karrera K-Frame"_s;
        options.identity.version = u"V15.0.2"_s;
        QVERIFY(startFrame(options));
        const QList<Arrival> replies = subscribe(frameInfoSubscription(0x0493));
        QCOMPARE(replies.size(), 2);
        const FrameInfo info = scanFrameInfo(replies[1].bytes, m_logger);
        QCOMPARE(info.name, std::optional<QString>(u"K-Frame"_s));
        QCOMPARE(info.version, std::optional<QString>(u"V15.0.2"_s));
    }

    // A 35-button PGM load as a client sends it: every button's record comes back with the
    // subscription id, and together they decode to the frame's table.
    void buttonSubscriptionsOfAWholeBus()
    {
        QVERIFY(startFrame());
        constexpr int count = 35;
        constexpr quint8 pgm = 0x30;
        quint16 sequence = 0x0491;
        quint16 id = 12850;
        MappingTable mappings;
        for (int shift = 1; shift <= 4; ++shift) {
            for (int button = 1; button <= count; ++button, id = quint16(id + 90)) {
                const quint16 parameter = quint16(16 + 16 * ((shift - 1) * count + button - 1));
                send(dynamicPort, buttonSubscription(++sequence, id, parameter, pgm));
                const QList<Arrival> replies = arrivals(*m_main, 2);
                QCOMPARE(replies.size(), 2);
                QCOMPARE(replies[0].bytes, QByteArray(test::bytes("00 02") + u16(sequence)));
                QCOMPARE(replies[1].bytes.sliced(32, 2), u16(id));
                parseButtonData(replies[1].bytes, count, mappings, m_logger);
            }
        }
        int assigned = 0;
        for (int shift = 1; shift <= 4; ++shift) {
            for (int button = 1; button <= count; ++button) {
                const quint32 source = m_frame->mapping(Bus::pgm, count, shift, button);
                const QString key = mappingKey(Bus::pgm, count, shift, button);
                QCOMPARE(mappings.value(key).source, qint64{source});
                assigned += source != 0 ? 1 : 0;
            }
        }
        QCOMPARE(mappings.size(), assigned);
        QCOMPARE(m_frame->receivedOfKind(ClientMessageKind::buttonSubscription).size(), 140);
    }

    void dataGoesToTheListenerWhenAsked()
    {
        FrameEmulatorOptions options;
        options.dataTarget = DataTarget::clientListenerPort;
        QVERIFY(startFrame(options));
        send(dynamicPort, buttonSubscription(0x0495, 12850, 16, 0x30));
        QCOMPARE(arrivals(*m_main, 1), (QList<Arrival>{{dynamicPort, test::bytes("00 02 04 95")}}));
        const QList<Arrival> data = arrivals(*m_listener, 1);
        QCOMPARE(data.size(), 1);
        QCOMPARE(data[0].senderPort, dynamicPort);
        MappingTable mappings;
        QVERIFY(parseButtonData(data[0].bytes, 35, mappings, m_logger).mappingsChanged);
    }

    // --- Writes and live changes -----------------------------------------------------------

    void writeRequestChangesTheTable()
    {
        QVERIFY(startFrame());
        QSignalSpy applied(m_frame.get(), &FrameEmulator::writeApplied);
        const QByteArray request = writeRequest(0x0496, 371, 0x30, 1042); // 20-btn PGM S2B3
        send(dynamicPort, request);
        const QList<Arrival> replies = arrivals(*m_main, 2);
        QCOMPARE(replies.size(), 2);
        QCOMPARE(replies[0].bytes, test::bytes("00 02 04 96"));

        QCOMPARE(m_frame->mapping(Bus::pgm, 20, 2, 3), 1042u);
        QCOMPARE(m_frame->writeRequests(), (QList<WriteRequest>{{371, 0x30, 1042}}));
        QCOMPARE(applied.count(), 1);

        // The change comes back as the frame's own button data.
        MappingTable mappings;
        QVERIFY(parseButtonData(replies[1].bytes, 20, mappings, m_logger).mappingsChanged);
        QCOMPARE(mappings.value(u"PGM-20-2-3"_s).source, qint64{1042});

        // The frame kept exactly what the client sent, and where it came from.
        const ReceivedDatagram& received = m_frame->received().constLast();
        QCOMPARE(received.bytes, request);
        QCOMPARE(received.localPort, dynamicPort);
        QCOMPARE(received.senderPort, clientMainPort);
        QCOMPARE(received.sender, QHostAddress(QHostAddress::LocalHost));
        QCOMPARE(received.message.kind, ClientMessageKind::writeRequest);
    }

    void writingSourceZeroClears()
    {
        QVERIFY(startFrame());
        QVERIFY(m_frame->mapping(Bus::me1, 35, 1, 2) != 0);
        send(dynamicPort, writeRequest(0x0497, 32, 0x00, 0));
        const QList<Arrival> replies = arrivals(*m_main, 2);
        QCOMPARE(replies.size(), 2);
        QCOMPARE(m_frame->mapping(Bus::me1, 35, 1, 2), 0u);
        MappingTable mappings;
        mappings.insert(u"ME1-35-1-2"_s, ButtonMapping{QUuid::createUuid(), Bus::me1, 1, 2, 7});
        QVERIFY(parseButtonData(replies[1].bytes, 35, mappings, m_logger).mappingsChanged);
        QVERIFY(mappings.isEmpty());
    }

    void liveMappingChange()
    {
        QVERIFY(startFrame());
        QVERIFY(!m_frame->pushMappingChange(Bus::aux, 15, 4, 15, 700)); // no client yet
        send(dynamicPort, pingMessage);
        QCOMPARE(arrivals(*m_main, 1).size(), 1);

        QVERIFY(m_frame->pushMappingChange(Bus::aux, 15, 4, 15, 701));
        QCOMPARE(m_frame->mapping(Bus::aux, 15, 4, 15), 701u);
        const QList<Arrival> live = arrivals(*m_main, 1);
        QCOMPARE(live.size(), 1);
        MappingTable mappings;
        QVERIFY(parseButtonData(live[0].bytes, 15, mappings, m_logger).mappingsChanged);
        QCOMPARE(mappings.value(u"AUX-15-4-15"_s).source, qint64{701});
    }

    void liveRename()
    {
        QVERIFY(startFrame());
        send(dynamicPort, pingMessage);
        QCOMPARE(arrivals(*m_main, 1).size(), 1);
        const SourceName before = m_frame->show().find(2)->names;

        SourceName renamed;
        renamed.panel = u"CAM 2 PRESENTER"_s;
        QVERIFY(m_frame->pushLiveRename(2, renamed));
        const QList<Arrival> live = arrivals(*m_main, 1);
        QCOMPARE(live.size(), 1);
        const std::vector<DecodedSourceName> records =
            parseSourceNameData020b(live[0].bytes, m_logger);
        QCOMPARE(records.size(), std::size_t{1});
        QCOMPARE(records[0], (DecodedSourceName{2, {}, u"CAM 2 PRESENTER"_s, {}, {}, true}));

        const SourceName after = m_frame->show().find(2)->names;
        QCOMPARE(after.panel, u"CAM 2 PRESENTER"_s);
        QCOMPARE(after.menu, before.menu);
        QCOMPARE(after.eng, before.eng);
    }

    void syncAndPingOnDemand()
    {
        QVERIFY(startFrame());
        QVERIFY(!m_frame->sendSync(FramePort::initial, ClientPort::listener)); // no client yet
        send(dynamicPort, pingMessage);
        QCOMPARE(arrivals(*m_main, 1).size(), 1);

        const std::optional<quint16> syncSequence =
            m_frame->sendSync(FramePort::initial, ClientPort::listener);
        const std::optional<quint16> pingSequence =
            m_frame->sendPing(FramePort::initial, ClientPort::listener);
        const std::optional<quint16> announcePing =
            m_frame->sendPing(FramePort::announce, ClientPort::listener);
        QVERIFY(syncSequence && pingSequence && announcePing);
        QCOMPARE(arrivals(*m_listener, 3),
                 (QList<Arrival>{{5000, QByteArray(test::bytes("00 06") + u16(*syncSequence))},
                                 {5000, QByteArray(test::bytes("00 01") + u16(*pingSequence))},
                                 {5001, QByteArray(test::bytes("00 01") + u16(*announcePing))}}));

        const std::optional<quint16> toMain =
            m_frame->sendSync(FramePort::initial, ClientPort::main);
        QCOMPARE(arrivals(*m_main, 1),
                 (QList<Arrival>{{5000, QByteArray(test::bytes("00 06") + u16(*toMain))}}));

        // The client's ACKs, from its listener, are recorded and not answered.
        m_listener->writeDatagram(ack(*syncSequence), QHostAddress::LocalHost, 5000);
        m_listener->writeDatagram(ack(*announcePing), QHostAddress::LocalHost, 5001);
        QTRY_COMPARE_WITH_TIMEOUT(m_frame->received().size(), 3, timeoutMs);
        QCOMPARE(m_frame->received()[1].message.kind, ClientMessageKind::ack);
        QCOMPARE(m_frame->received()[1].senderPort, clientListenerPort);
        QCOMPARE(m_frame->client()->mainPort, clientMainPort);
        QCOMPARE(m_frame->sent().size(), 5);
    }

    // --- Faults ----------------------------------------------------------------------------

    void droppingEverythingAnswersNothing()
    {
        FrameEmulatorOptions options;
        options.faults.dropFraction = 1.0;
        QVERIFY(startFrame(options));
        send(5000, syncMessage);
        send(5000, clientIdFirst);
        send(dynamicPort, pingMessage);
        send(dynamicPort, nameSubscription(0x0491));
        send(dynamicPort, writeRequest(0x0492, 16, 0x30, 5));
        QTRY_COMPARE_WITH_TIMEOUT(m_frame->received().size(), 5, timeoutMs);
        for (const ReceivedDatagram& datagram : m_frame->received())
            QVERIFY(datagram.dropped);
        QVERIFY(m_frame->sent().isEmpty());
        QVERIFY(m_frame->writeRequests().isEmpty());
        QVERIFY(!m_main->hasPendingDatagrams());
        QVERIFY(!m_listener->hasPendingDatagrams());
    }

    // Half the datagrams are lost, and the same seed loses the same ones.
    void droppingSomeIsSeeded()
    {
        QList<bool> firstRun;
        for (int run = 0; run < 2; ++run) {
            FrameEmulatorOptions options;
            options.faults.dropFraction = 0.5;
            options.faults.seed = 3;
            QVERIFY(startFrame(options));
            constexpr int pings = 40;
            for (int k = 0; k < pings; ++k)
                send(dynamicPort, QByteArray(test::bytes("00 01") + u16(quint16(k))));
            QTRY_COMPARE_WITH_TIMEOUT(m_frame->received().size(), pings, timeoutMs);
            QList<bool> dropped;
            for (const ReceivedDatagram& datagram : m_frame->received())
                dropped.append(datagram.dropped);
            const auto lost = dropped.count(true);
            QVERIFY(lost > 5 && lost < 35);
            QCOMPARE(arrivals(*m_main, pings - lost).size(), pings - lost);
            QCOMPARE(m_frame->sent().size(), pings - lost);
            if (run == 0)
                firstRun = dropped;
            else
                QCOMPARE(dropped, firstRun);
            m_frame.reset();
        }
    }

    void neverAnsweringTheHandshake()
    {
        FrameEmulatorOptions options;
        options.faults.neverAnswerHandshake = true;
        options.portDelivery = PortDelivery::announcement;
        QVERIFY(startFrame(options));
        send(5000, syncMessage);
        send(5000, pingMessage);
        send(5000, clientIdFirst);
        QTRY_COMPARE_WITH_TIMEOUT(m_frame->received().size(), 3, timeoutMs);
        QVERIFY(m_frame->sent().isEmpty());
        QVERIFY(!m_listener->hasPendingDatagrams());

        // The dynamic port is not part of the silence.
        send(dynamicPort, pingMessage);
        QCOMPARE(arrivals(*m_main, 1), (QList<Arrival>{{dynamicPort, test::bytes("00 02 00 00")}}));
    }

    void pingsStopAfterSomeSeconds()
    {
        FrameEmulatorOptions options;
        options.faults.stopPingAnswersAfterSeconds = 1;
        QVERIFY(startFrame(options));
        QSignalSpy stopped(m_frame.get(), &FrameEmulator::pingAnswersStopped);
        send(dynamicPort, pingMessage);
        QCOMPARE(arrivals(*m_main, 1).size(), 1);
        QVERIFY(m_frame->isAnsweringPings());

        QTRY_COMPARE_WITH_TIMEOUT(stopped.count(), 1, timeoutMs);
        QVERIFY(!m_frame->isAnsweringPings());
        send(dynamicPort, pingMessage);
        send(5000, pingMessage);
        QTRY_COMPARE_WITH_TIMEOUT(m_frame->received().size(), 3, timeoutMs);
        QCOMPARE(m_frame->sent().size(), 1);

        // Everything else is still answered.
        send(dynamicPort, syncMessage);
        QCOMPARE(arrivals(*m_main, 1), (QList<Arrival>{{dynamicPort, test::bytes("00 02 00 00")}}));
        m_frame->setAnsweringPings(true);
        send(dynamicPort, pingMessage);
        QCOMPARE(arrivals(*m_main, 1).size(), 1);
    }

    void everyDatagramTwice()
    {
        FrameEmulatorOptions options;
        options.faults.duplicateSends = true;
        QVERIFY(startFrame(options));
        send(5000, test::bytes("00 06 00 2a"));
        QCOMPARE(arrivals(*m_main, 2), (QList<Arrival>{{5000, test::bytes("00 02 00 2a")},
                                                       {5000, test::bytes("00 02 00 2a")}}));
    }

    void answersLeaveLate()
    {
        constexpr int delayMs = 300;
        FrameEmulatorOptions options;
        options.faults.answerDelayMs = delayMs;
        QVERIFY(startFrame(options));
        QElapsedTimer clock;
        clock.start();
        send(5000, syncMessage);
        send(5000, pingMessage);
        QTRY_COMPARE_WITH_TIMEOUT(m_frame->received().size(), 2, timeoutMs);
        QVERIFY(m_frame->sent().isEmpty()); // held back

        QCOMPARE(arrivals(*m_main, 2), (QList<Arrival>{{5000, test::bytes("00 02 00 00")},
                                                       {5000, test::bytes("00 02 00 00")}}));
        QVERIFY2(clock.elapsed() >= delayMs - 10, qPrintable(QString::number(clock.elapsed())));
    }

    void garbageReachesBothClientPorts()
    {
        FrameEmulatorOptions options;
        options.faults.garbageIntervalMs = 20;
        options.faults.seed = 7;
        QVERIFY(startFrame(options));
        QVERIFY(!m_main->hasPendingDatagrams()); // no client known: nothing sent yet
        send(dynamicPort, syncMessage);
        const QList<Arrival> onMain = arrivals(*m_main, 4);
        const QList<Arrival> onListener = arrivals(*m_listener, 3);
        QCOMPARE(onMain.size(), 4);
        QCOMPARE(onListener.size(), 3);
        // The ACK of the SYNC is among the first on the main port; the rest is garbage.
        QList<QByteArray> garbage;
        for (const SentDatagram& datagram : m_frame->sent()) {
            if (datagram.bytes != test::bytes("00 02 00 00"))
                garbage.append(datagram.bytes);
        }
        QVERIFY(garbage.size() >= 6);
        for (const Arrival& arrival : onListener) {
            QCOMPARE(arrival.senderPort, dynamicPort);
            QVERIFY(arrival.bytes.size() >= 1 && arrival.bytes.size() <= 96);
            QVERIFY(garbage.contains(arrival.bytes));
        }
    }

    // Half the datagrams the frame sends are lost; what it received is all acted upon.
    void droppingSentDatagramsIsSeeded()
    {
        FrameEmulatorOptions options;
        options.faults.dropSentFraction = 0.5;
        options.faults.seed = 5;
        QVERIFY(startFrame(options));
        constexpr int pings = 40;
        for (int k = 0; k < pings; ++k)
            send(dynamicPort, QByteArray(test::bytes("00 01") + u16(quint16(k))));
        QTRY_COMPARE_WITH_TIMEOUT(m_frame->received().size(), pings, timeoutMs);
        for (const ReceivedDatagram& datagram : m_frame->received())
            QVERIFY(!datagram.dropped);
        const int lost = m_frame->sentDropped();
        QVERIFY(lost > 5 && lost < 35);
        QCOMPARE(arrivals(*m_main, pings - lost).size(), pings - lost);
        QCOMPARE(m_frame->sent().size(), pings - lost);
    }

    void reorderingShufflesWhatLeaves()
    {
        FrameEmulatorOptions options;
        options.faults.reorderWindowMs = 60;
        QVERIFY(startFrame(options));
        constexpr int pings = 30;
        QList<QByteArray> expected;
        for (int k = 0; k < pings; ++k) {
            send(dynamicPort, QByteArray(test::bytes("00 01") + u16(quint16(k))));
            expected.append(QByteArray(test::bytes("00 02") + u16(quint16(k))));
        }
        QList<QByteArray> arrived;
        for (const Arrival& arrival : arrivals(*m_main, pings))
            arrived.append(arrival.bytes);
        QCOMPARE(arrived.size(), pings);
        QVERIFY(arrived != expected); // every answer came, not in order
        std::sort(arrived.begin(), arrived.end());
        QCOMPARE(arrived, expected);
    }

    void silentButtonsAreAcknowledgedButNotAnswered()
    {
        FrameEmulatorOptions options;
        options.faults.silentButtons = {{Bus::pgm, 35, 1, 1}, {Bus::pgm, 35, 1, 2}};
        options.faults.silentAsks = 1;
        QVERIFY(startFrame(options));
        // PGM 35-button shift 1: button 1 has parameter 16, button 2 parameter 32.
        send(dynamicPort, buttonSubscription(0x0491, 12850, 16, 0x30));
        QCOMPARE(arrivalsUntilBarrier(0x0007),
                 (QList<Arrival>{{dynamicPort, test::bytes("00 02 04 91")},
                                 {dynamicPort, test::bytes("00 02 00 07")}}));
        // Asked again, it answers: only the first ask goes unanswered.
        send(dynamicPort, buttonSubscription(0x0492, 12850, 16, 0x30));
        const QList<Arrival> replies = arrivals(*m_main, 2);
        QCOMPARE(replies.size(), 2);
        MappingTable mappings;
        QCOMPARE(parseButtonData(replies[1].bytes, 35, mappings, m_logger).answers.size(), 1);
        // A button that is not silent answers at once.
        send(dynamicPort, buttonSubscription(0x0493, 12940, 48, 0x30));
        QCOMPARE(arrivals(*m_main, 2).size(), 2);
    }

    void buttonsSilentForGood()
    {
        FrameEmulatorOptions options;
        options.faults.silentButtons = {{Bus::me2, 20, 4, 20}};
        QVERIFY(startFrame(options));
        const quint16 parameter = quint16(19 + 16 * (3 * 20 + 19));
        for (quint16 sequence = 0x0491; sequence < 0x0496; ++sequence) {
            send(dynamicPort, buttonSubscription(sequence, 12850, parameter, 0x10));
            QCOMPARE(
                arrivals(*m_main, 1),
                (QList<Arrival>{{dynamicPort, QByteArray(test::bytes("00 02") + u16(sequence))}}));
        }
        QCOMPARE(arrivalsUntilBarrier(0x0007),
                 (QList<Arrival>{{dynamicPort, test::bytes("00 02 00 07")}}));
    }

    void refusedWritesKeepTheSourceAndSaySo()
    {
        FrameEmulatorOptions options;
        options.faults.refusedWrites = {{Bus::pgm, 20, 2, 3}};
        QVERIFY(startFrame(options));
        const quint32 before = m_frame->mapping(Bus::pgm, 20, 2, 3);
        send(dynamicPort, writeRequest(0x0496, 371, 0x30, 1042)); // 20-btn PGM S2B3
        const QList<Arrival> replies = arrivals(*m_main, 2);
        QCOMPARE(replies.size(), 2);
        QCOMPARE(replies[0].bytes, test::bytes("00 02 04 96"));
        QCOMPARE(m_frame->mapping(Bus::pgm, 20, 2, 3), before);
        QVERIFY(m_frame->writeRequests().isEmpty());
        MappingTable mappings;
        const ButtonDataResult reported = parseButtonData(replies[1].bytes, 20, mappings, m_logger);
        QCOMPARE(reported.answers, (QList<ButtonAnswer>{{Bus::pgm, 2, 3, before}}));
    }

    // The write arrives and is acknowledged, as any message is; then nothing: the table keeps
    // its source and no button record follows.
    void ignoredWritesAreAcknowledgedButNeitherAppliedNorReported()
    {
        FrameEmulatorOptions options;
        options.faults.ignoredWriteFraction = 1.0;
        QVERIFY(startFrame(options));
        const quint32 before = m_frame->mapping(Bus::pgm, 20, 2, 3);
        QVERIFY(before != 1042);
        send(dynamicPort, writeRequest(0x0496, 371, 0x30, 1042)); // 20-btn PGM S2B3
        QCOMPARE(arrivalsUntilBarrier(0x0007),
                 (QList<Arrival>{{dynamicPort, test::bytes("00 02 04 96")},
                                 {dynamicPort, test::bytes("00 02 00 07")}}));
        QCOMPARE(m_frame->mapping(Bus::pgm, 20, 2, 3), before);
        QVERIFY(m_frame->writeRequests().isEmpty());
        QCOMPARE(m_frame->sent().size(), 2);
        // Received as it was sent: not lost on the way.
        const QList<ReceivedDatagram> writes =
            m_frame->receivedOfKind(ClientMessageKind::writeRequest);
        QCOMPARE(writes.size(), 1);
        QVERIFY(!writes[0].dropped);
        QCOMPARE(writes[0].message.write, (WriteRequest{371, 0x30, 1042}));
    }

    // Some writes ignored, the same ones for the same seed; the others applied and reported.
    void ignoringSomeWritesIsSeeded()
    {
        constexpr int writes = 20; // to PGM S1B1 to S1B20 at 35 buttons
        const auto parameter = [](int button) { return buttonParameter(35, 1, button); };
        const auto source = [](int button) { return quint16(60000 + button); };
        QList<int> firstRun;
        for (int run = 0; run < 2; ++run) {
            FrameEmulatorOptions options;
            options.faults.ignoredWriteFraction = 0.5;
            options.faults.seed = 7;
            QVERIFY(startFrame(options));
            QList<WriteRequest> sent;
            QList<Arrival> expectedAcks;
            for (int button = 1; button <= writes; ++button) {
                const auto sequence = quint16(0x0490 + button);
                send(dynamicPort, writeRequest(sequence, parameter(button), 0x30, source(button)));
                sent.append({parameter(button), 0x30, source(button)});
                expectedAcks.append({dynamicPort, test::bytes("00 02") + u16(sequence)});
            }
            expectedAcks.append({dynamicPort, test::bytes("00 02 00 07")});
            QList<Arrival> acks;
            QList<ButtonAnswer> reported;
            for (const Arrival& arrival : arrivalsUntilBarrier(0x0007)) {
                MappingTable mappings;
                if (arrival.bytes.size() == 4)
                    acks.append(arrival);
                else
                    reported += parseButtonData(arrival.bytes, 35, mappings, m_logger).answers;
            }
            // Every write acknowledged and received whole.
            QCOMPARE(acks, expectedAcks);
            const QList<ReceivedDatagram> received =
                m_frame->receivedOfKind(ClientMessageKind::writeRequest);
            QCOMPARE(received.size(), writes);
            QVERIFY(std::ranges::none_of(received, &ReceivedDatagram::dropped));

            QList<int> applied;
            QList<ButtonAnswer> expectedReports;
            for (const WriteRequest& write : m_frame->writeRequests()) {
                const auto button = int(sent.indexOf(write)) + 1;
                QVERIFY(button > 0);
                applied.append(button);
                expectedReports.append({Bus::pgm, 1, button, source(button)});
            }
            QVERIFY2(applied.size() > 3 && applied.size() < writes - 3,
                     qPrintable(QString::number(applied.size())));
            // The applied ones are in the table and were reported back; the others not.
            QCOMPARE(reported, expectedReports);
            for (int button = 1; button <= writes; ++button) {
                QCOMPARE(m_frame->mapping(Bus::pgm, 35, 1, button) == source(button),
                         applied.contains(button));
            }
            if (run == 0)
                firstRun = applied;
            else
                QCOMPARE(applied, firstRun);
            m_frame.reset();
        }
    }

    void stoppingInTheMiddleOfALoad()
    {
        FrameEmulatorOptions options;
        options.faults.stopAtButtonSubscription = 3;
        QVERIFY(startFrame(options));
        QSignalSpy stopped(m_frame.get(), &FrameEmulator::stoppedByFault);
        send(dynamicPort, buttonSubscription(0x0491, 12850, 16, 0x30));
        send(dynamicPort, buttonSubscription(0x0492, 12940, 32, 0x30));
        send(dynamicPort, buttonSubscription(0x0493, 13030, 48, 0x30));
        QTRY_COMPARE_WITH_TIMEOUT(stopped.count(), 1, timeoutMs);
        QVERIFY(!m_frame->isRunning());
        // Two subscriptions answered (ACK and data each), the third not even acknowledged: the
        // frame records what leaves it, and a stopped frame has nothing waiting to leave.
        QCOMPARE(m_frame->sent().size(), 4);
        QCOMPARE(arrivals(*m_main, 4).size(), 4);
        // Stopped for good: its ports are closed, so nothing can answer on them.
        QUdpSocket probe;
        QVERIFY(probe.bind(QHostAddress::LocalHost, dynamicPort, QAbstractSocket::DontShareAddress));
    }

    void restartingInTheMiddleOfALoad()
    {
        FrameEmulatorOptions options;
        options.faults.restartAtButtonSubscription = 1;
        options.faults.restartDownMs = 200;
        QVERIFY(startFrame(options));
        QSignalSpy stopped(m_frame.get(), &FrameEmulator::stoppedByFault);
        QSignalSpy restarted(m_frame.get(), &FrameEmulator::restartedByFault);
        send(dynamicPort, buttonSubscription(0x0491, 12850, 16, 0x30));
        QTRY_COMPARE_WITH_TIMEOUT(stopped.count(), 1, timeoutMs);
        QTRY_COMPARE_WITH_TIMEOUT(restarted.count(), 1, timeoutMs);
        QVERIFY(m_frame->isRunning());
        QVERIFY(!m_frame->client());
        // Back for good: the same subscription is answered now.
        send(dynamicPort, buttonSubscription(0x0492, 12850, 16, 0x30));
        QCOMPARE(arrivals(*m_main, 2).size(), 2);
        QCOMPARE(stopped.count(), 1);
    }

    void restartingAtAWriteLosesTheWritesButKeepsTheSession()
    {
        FrameEmulatorOptions options;
        options.faults.restartAtWrite = 2;
        options.faults.restartDownMs = 200;
        options.faults.restartKeepsSession = true;
        QVERIFY(startFrame(options));
        QSignalSpy restarted(m_frame.get(), &FrameEmulator::restartedByFault);
        const quint32 before = m_frame->mapping(Bus::pgm, 20, 2, 3);
        send(dynamicPort, writeRequest(0x0496, 371, 0x30, 1042)); // 20-btn PGM S2B3
        QCOMPARE(arrivals(*m_main, 2).size(), 2);
        QCOMPARE(m_frame->mapping(Bus::pgm, 20, 2, 3), 1042u);

        send(dynamicPort, writeRequest(0x0497, 372, 0x30, 1043)); // gone at this one
        QTRY_COMPARE_WITH_TIMEOUT(restarted.count(), 1, timeoutMs);
        // Back with the show it started with, and still knowing its client.
        QCOMPARE(m_frame->mapping(Bus::pgm, 20, 2, 3), before);
        QVERIFY(m_frame->client());
        QVERIFY(m_frame->pushMappingChange(Bus::pgm, 20, 2, 4, 7));
        QCOMPARE(arrivals(*m_main, 1).size(), 1);
    }

private:
    bool startFrame(const FrameEmulatorOptions& options = {})
    {
        m_frame = std::make_unique<FrameEmulator>(options);
        if (!m_frame->start()) {
            qWarning("%s", qPrintable(m_frame->errorString()));
            return false;
        }
        return true;
    }

    void send(quint16 port, const QByteArray& datagram)
    {
        m_main->writeDatagram(datagram, QHostAddress::LocalHost, port);
    }

    // The next `count` datagrams on a client socket, fewer if they do not come in time.
    QList<Arrival> arrivals(QUdpSocket& socket, qsizetype count)
    {
        QList<Arrival> arrived;
        while (arrived.size() < count) {
            if (!QTest::qWaitFor([&] { return socket.hasPendingDatagrams(); }, timeoutMs))
                break;
            const QNetworkDatagram datagram = socket.receiveDatagram();
            arrived.append({quint16(datagram.senderPort()), datagram.data()});
        }
        return arrived;
    }

    // What the frame sends on the main socket up to and with its ACK of a PING with `sequence`
    // sent now. Answers leave in the order their datagrams came, so by then the frame has said
    // all it had to say about the datagrams before: a barrier that shows nothing more is coming
    // without waiting out a time-out.
    QList<Arrival> arrivalsUntilBarrier(quint16 sequence)
    {
        const QByteArray barrierAck = test::bytes("00 02") + u16(sequence);
        send(dynamicPort, test::bytes("00 01") + u16(sequence));
        QList<Arrival> arrived;
        while (arrived.isEmpty() || arrived.last().bytes != barrierAck) {
            const QList<Arrival> next = arrivals(*m_main, 1);
            if (next.isEmpty())
                break;
            arrived += next;
        }
        return arrived;
    }

    // Sends a source subscription and returns everything the frame answered: the ACK first.
    QList<Arrival> subscribe(const QByteArray& request)
    {
        const qsizetype before = m_frame->received().size();
        send(dynamicPort, request);
        if (!QTest::qWaitFor([&] { return m_frame->received().size() > before; }, timeoutMs))
            return {};
        return arrivals(*m_main, m_frame->sent().size());
    }

    QList<ClientMessageKind> receivedKinds() const
    {
        QList<ClientMessageKind> kinds;
        for (const ReceivedDatagram& datagram : m_frame->received())
            kinds.append(datagram.message.kind);
        return kinds;
    }

    DebugLogger m_logger;
    std::unique_ptr<QUdpSocket> m_main;
    std::unique_ptr<QUdpSocket> m_listener;
    std::unique_ptr<FrameEmulator> m_frame;
};

QTEST_GUILESS_MAIN(TestFrameEmulator)
#include "tst_frame_emulator.moc"
