// Opening a session with the emulated frame over loopback: the exact datagrams, log lines,
// states and status texts of the handshake, and how it ends when the frame misbehaves.
#include "link_fixture.h"

#include <QSignalSpy>
#include <QUdpSocket>

using namespace Qt::StringLiterals;
using namespace quorvane;
using namespace quorvane::test;
using emulator::ClientMessageKind;
using emulator::ClientPort;
using emulator::FramePort;

namespace {

QList<QByteArray> bytesOf(const QList<emulator::ReceivedDatagram>& datagrams)
{
    QList<QByteArray> result;
    for (const auto& datagram : datagrams)
        result.append(datagram.bytes);
    return result;
}

// A frame that leaves the handshake to the test: it records, but port 5000 stays silent.
emulator::FrameEmulatorOptions silentHandshake()
{
    emulator::FrameEmulatorOptions options;
    options.faults.neverAnswerHandshake = true;
    return options;
}

} // namespace

class TestLinkHandshake : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void connectsWithThePortInTheClientIdAck()
    {
        LinkFixture link;
        QVERIFY(link.startFrame());
        link.connection->connect(u"127.0.0.1"_s, 1, 35);
        QCOMPARE(link.connection->connectionState(), ConnectionState::connecting);
        QTRY_COMPARE_WITH_TIMEOUT(link.connection->connectionState(), ConnectionState::connected,
                                  connectTimeoutMs);

        const QList<StateStep> walk{
            {ConnectionState::connecting, 0.1},      {ConnectionState::handshake, 0.25},
            {ConnectionState::heartbeat, 0.4},       {ConnectionState::loadingNames, 0.55},
            {ConnectionState::loadingButtons, 0.75}, {ConnectionState::connected, 1.0}};
        QCOMPARE(link.steps, walk);
        QCOMPARE(link.connection->isConnected(), true);
        QCOMPARE(link.connection->isLoading(), false);
        QCOMPARE(link.connection->dynamicPort(), quint16{5123});
        QCOMPARE(link.connection->statusMessage(),
                 u"Connected to 127.0.0.1:5123 (K-Frame XP V12.3.1)"_s);

        // The handshake, byte for byte, on both frame ports.
        const QList<QByteArray> toInitialPort = bytesOf(link.frame.receivedOn(5000));
        QCOMPARE(toInitialPort,
                 QList<QByteArray>({bytes("00 06 00 00"), bytes("00 01 00 00"),
                                    bytes("00 04 00 01 00 02 00 1f 00 00 00 0b 00 00 00 2c "
                                          "00 01 00 00")}));
        const QList<QByteArray> toDynamicPort = bytesOf(link.frame.receivedOn(5123));
        QVERIFY(toDynamicPort.size() > 8);
        QCOMPARE(toDynamicPort[0], bytes("00 06 00 00"));
        QCOMPARE(toDynamicPort[1], bytes("00 01 00 00"));
        QCOMPARE(toDynamicPort[2],
                 bytes("00 04 04 91 00 02 00 1f 00 00 00 0b 00 00 00 2c 00 03 00 00"));
        QCOMPARE(toDynamicPort[3],
                 bytes("00 04 04 92 00 02 00 08 00 00 00 24 00 00 00 2e") + QByteArray(16, '\0'));
        QCOMPARE(toDynamicPort[4], bytes("00 04 04 93 00 02 00 06 00 00 00 0c 00 00 00 14 "
                                         "17 96 02 00 01 00 00 07 00 00 00 0a"));
        QCOMPARE(toDynamicPort[5], bytes("00 04 04 94 00 02 00 05 00 00 00 09 00 00 00 10 "
                                         "04 b6 00 00 01 00 00 07 00"));
        // Three verification PINGs, all answered.
        QCOMPARE(toDynamicPort[6], bytes("00 01 00 00"));
        QCOMPARE(toDynamicPort[7], bytes("00 01 00 00"));
        QCOMPARE(toDynamicPort[8], bytes("00 01 00 00"));

        const QStringList messages = link.messages();
        for (const QString& line :
             {u"[INFO] performHandshake started"_s,
              u"[INFO] Handshake Stage 1: Sending SYNC to port 5000"_s,
              u"[INFO] Handshake Stage 2: Sending PING"_s,
              u"[INFO] Handshake Stage 3: Sending ClientID"_s,
              u"[INFO] Port assignment in ACK: dynamic port = 5123"_s,
              u"[INFO] Handshake Stage 5: Sending SYNC to dynamic port 5123"_s,
              u"[INFO] Handshake Stage 6: Sending PING to dynamic port 5123"_s,
              u"[INFO] Handshake Stage 7: Sending ClientID to dynamic port"_s,
              u"[INFO] Handshake complete!"_s,
              u"[INFO] Sending registration commands..."_s,
              u"[INFO] Sending suite 1 registration commands..."_s,
              u"[INFO] Verifying heartbeat (3 exchanges)..."_s,
              u"[INFO] Heartbeat 1 verified (1/3)"_s,
              u"[INFO] Heartbeat 2 verified (2/3)"_s,
              u"[INFO] Heartbeat 3 verified (3/3)"_s,
              u"[INFO] Heartbeat verification complete!"_s,
              u"[INFO] Connected successfully to 127.0.0.1:5123"_s,
              u"[INFO] Starting heartbeat timer"_s,
              u"[INFO] Starting receive timer (50Hz)"_s,
              u"[INFO] Saved host: 127.0.0.1"_s}) {
            QVERIFY2(messages.contains(line), qPrintable(line));
        }
        QVERIFY(!messages.join(u'\n').contains(u"Stage 4"_s));
        QVERIFY(messages.indexOf(u"[INFO] Handshake Stage 1: Sending SYNC to port 5000"_s) <
                messages.indexOf(u"[INFO] Handshake complete!"_s));
        const QString sockets = messages.filter(u"Sockets created: main="_s).value(0);
        QCOMPARE(sockets, u"[INFO] Sockets created: main="_s +
                              QString::number(link.connection->mainSock()) + u", listener="_s +
                              QString::number(link.connection->listenerSock()));
        QVERIFY(link.connection->mainSock() >= 0);
        QVERIFY(link.connection->listenerSock() >= 0);
        QCOMPARE(link.connection->savedHost(), u"127.0.0.1"_s);
        QCOMPARE(link.preferences.value(u"Quorvane.lastHost"_s).toString(), u"127.0.0.1"_s);
    }

    void everyDataMessageCountsOnFromStageOne()
    {
        LinkFixture link;
        QVERIFY(link.startFrame());
        link.connection->connect(u"127.0.0.1"_s, 1, 35);
        QTRY_COMPARE_WITH_TIMEOUT(link.connection->connectionState(), ConnectionState::connected,
                                  connectTimeoutMs);
        // The n-th DATA message after stage 1 carries 1168 + n; the first ClientID has its
        // own fixed sequence and does not count.
        quint16 expected = 1168;
        int dataMessages = 0;
        for (const auto& datagram : link.frame.received()) {
            if (datagram.message.kind == ClientMessageKind::clientIdFirst ||
                !wire::isType(datagram.bytes, wire::MessageType::data)) {
                continue;
            }
            ++expected;
            ++dataMessages;
            QCOMPARE(ByteReader(datagram.bytes).u16(2), expected);
        }
        // ClientID, 3 registrations, 3 source subscriptions, preamble, frame info, 140 buttons.
        QCOMPARE(dataMessages, 1 + 3 + 3 + 2 + 140);
        QCOMPARE(link.connection->msgCounter(), expected);
    }

    void announcementFromPort5001()
    {
        emulator::FrameEmulatorOptions options;
        options.portDelivery = emulator::PortDelivery::announcement;
        options.dynamicPort = 5207;
        LinkFixture link(options);
        QVERIFY(link.startFrame());
        link.connection->connect(u"127.0.0.1"_s, 1, 35);
        QTRY_COMPARE_WITH_TIMEOUT(link.connection->connectionState(), ConnectionState::connected,
                                  connectTimeoutMs);
        QCOMPARE(link.connection->dynamicPort(), quint16{5207});
        const QStringList messages = link.messages();
        QVERIFY(messages.contains(u"[INFO] Handshake Stage 4: Waiting for port announcement"_s));
        QVERIFY(messages.contains(u"[INFO] Received port announcement: dynamic port = 5207"_s));
        QVERIFY(
            messages.contains(u"[INFO] Handshake Stage 5: Sending SYNC to dynamic port 5207"_s));
        QVERIFY(!messages.filter(u"Listener RX from port 5001 (stage 4): [20 bytes] "_s).isEmpty());
        QVERIFY(link.frame.isAnnouncementAcknowledged());
        // The announcement's ACK leaves the listener for port 5001.
        const auto acks = link.frame.receivedOn(5001);
        QVERIFY(!acks.isEmpty());
        QCOMPARE(acks.first().senderPort, quint16{6133});
    }

    void announcementOvertakingTheAck()
    {
        // The announcement arrives before the ClientID's ACK, while the handshake is still in
        // stage 3: the port is known by the time the handshake would wait for it.
        LinkFixture link(silentHandshake());
        QVERIFY(link.startFrame());
        link.connection->connect(u"127.0.0.1"_s, 1, 35);
        for (int answered = 1; answered <= 2; ++answered) {
            QTRY_COMPARE(link.frame.receivedOn(5000).size(), answered);
            QVERIFY(link.frame.sendRaw(FramePort::initial, ClientPort::main, bytes("00 02 00 00")));
        }
        QTRY_COMPARE(link.frame.receivedOn(5000).size(), 3);
        QVERIFY(link.frame.sendRaw(FramePort::announce, ClientPort::listener,
                                   bytes("00 04 00 0a 00 02 00 10 00 00 00 00 00 00 00 00 00 00 "
                                         "14 03")));
        QTRY_VERIFY(link.logged(u"[INFO] Received port announcement: dynamic port = 5123"_s));
        QVERIFY(!link.messages()
                     .filter(u"[HEX] Listener RX from port 5001 (stage 3): [20 bytes]"_s)
                     .isEmpty());
        QVERIFY(link.frame.receivedOn(5123).isEmpty()); // not yet: stage 3 waits for its ACK

        QVERIFY(link.frame.sendRaw(FramePort::initial, ClientPort::main, bytes("00 02 00 01")));
        QTRY_VERIFY(!link.frame.receivedOn(5123).isEmpty());
        QCOMPARE(link.frame.receivedOn(5123).first().bytes, bytes("00 06 00 00"));
        const QStringList messages = link.messages();
        const qsizetype waiting =
            messages.indexOf(u"[INFO] Handshake Stage 4: Waiting for port announcement"_s);
        QVERIFY(waiting >= 0);
        QCOMPARE(messages.value(waiting + 1),
                 u"[INFO] Handshake Stage 5: Sending SYNC to dynamic port 5123"_s);
        QCOMPARE(messages.filter(u"Received port announcement"_s).size(), 1);
    }

    void ackWithAPortOutsideTheRangeWaitsForAnnouncement()
    {
        LinkFixture link(silentHandshake());
        QVERIFY(link.startFrame());
        link.connection->connect(u"127.0.0.1"_s, 1, 35);
        // SYNC → ACK, PING → ACK, ClientID → a long ACK carrying 6000.
        QTRY_COMPARE(link.frame.receivedOn(5000).size(), 1);
        QVERIFY(link.frame.sendRaw(FramePort::initial, ClientPort::main, bytes("00 02 00 00")));
        QTRY_COMPARE(link.frame.receivedOn(5000).size(), 2);
        QCOMPARE(link.frame.receivedOn(5000)[1].bytes, bytes("00 01 00 00"));
        QVERIFY(link.frame.sendRaw(FramePort::initial, ClientPort::main, bytes("00 02 00 00")));
        QTRY_COMPARE(link.frame.receivedOn(5000).size(), 3);
        QCOMPARE(link.frame.receivedOn(5000)[2].message.kind, ClientMessageKind::clientIdFirst);
        QVERIFY(link.frame.sendRaw(FramePort::initial, ClientPort::main,
                                   bytes("00 02 00 01") + QByteArray(14, '\0') + bytes("17 70")));
        QTRY_VERIFY(link.logged(u"[INFO] Handshake Stage 4: Waiting for port announcement"_s));
        QCOMPARE(link.connection->dynamicPort(), quint16{0});

        // A short announcement is not one; a full one moves the handshake on.
        QVERIFY(link.frame.sendRaw(FramePort::announce, ClientPort::listener,
                                   bytes("00 04 00 09 00 02 00 10 00 00 00 00 00 00 00 00 00 00")));
        QTRY_VERIFY(!link.messages()
                         .filter(u"Listener RX from port 5001 (stage 4): [18 bytes]"_s)
                         .isEmpty());
        QCOMPARE(link.connection->dynamicPort(), quint16{0});
        QVERIFY(link.frame.sendRaw(FramePort::announce, ClientPort::listener,
                                   bytes("00 04 00 0a 00 02 00 10 00 00 00 00 00 00 00 00 00 00 "
                                         "14 03")));
        QTRY_VERIFY(link.logged(u"[INFO] Handshake Stage 5: Sending SYNC to dynamic port 5123"_s));
        QVERIFY(link.logged(u"[INFO] Received port announcement: dynamic port = 5123"_s));
        QTRY_VERIFY(!link.frame.receivedOn(5123).isEmpty());
        QCOMPARE(link.frame.receivedOn(5123).first().bytes, bytes("00 06 00 00"));
        QCOMPARE(link.frame.receivedOn(5001).last().bytes, bytes("00 02 00 0a"));
    }

    void longAckSkipsStageFour()
    {
        LinkFixture link(silentHandshake());
        QVERIFY(link.startFrame());
        link.connection->connect(u"127.0.0.1"_s, 1, 35);
        for (int answered = 1; answered <= 2; ++answered) {
            QTRY_COMPARE(link.frame.receivedOn(5000).size(), answered);
            QVERIFY(link.frame.sendRaw(FramePort::initial, ClientPort::main, bytes("00 02 00 00")));
        }
        QTRY_COMPARE(link.frame.receivedOn(5000).size(), 3);
        // 5123 = 0x1403 in bytes 18-19.
        QVERIFY(link.frame.sendRaw(FramePort::initial, ClientPort::main,
                                   bytes("00 02 00 01") + QByteArray(14, '\0') + bytes("14 03")));
        QTRY_VERIFY(!link.frame.receivedOn(5123).isEmpty());
        QCOMPARE(link.frame.receivedOn(5123).first().bytes, bytes("00 06 00 00"));
        QVERIFY(link.logged(u"[INFO] Port assignment in ACK: dynamic port = 5123"_s));
        QVERIFY(!link.messages().join(u'\n').contains(u"Stage 4"_s));
    }

    void syncDuringStageTwoIsAcknowledged()
    {
        LinkFixture link(silentHandshake());
        QVERIFY(link.startFrame());
        link.connection->connect(u"127.0.0.1"_s, 1, 35);
        QTRY_COMPARE(link.frame.receivedOn(5000).size(), 1);
        QVERIFY(link.frame.sendRaw(FramePort::initial, ClientPort::main, bytes("00 02 00 00")));
        QTRY_COMPARE(link.frame.receivedOn(5000).size(), 2); // the stage-2 PING
        QVERIFY(link.frame.sendRaw(FramePort::initial, ClientPort::main, bytes("00 06 12 34")));
        QTRY_COMPARE(link.frame.receivedOn(5000).size(), 3);
        QCOMPARE(link.frame.receivedOn(5000)[2].bytes, bytes("00 02 12 34"));
        QCOMPARE(link.frame.receivedOn(5000)[2].senderPort, quint16{6132});
        QVERIFY(link.logged(u"[INFO] Received SYNC from frame, sending ACK with seq 18.52"_s));
        // Still in stage 2: the next ACK brings the ClientID, not anything later.
        QVERIFY(link.frame.sendRaw(FramePort::initial, ClientPort::main, bytes("00 02 00 00")));
        QTRY_COMPARE(link.frame.receivedOn(5000).size(), 4);
        QCOMPARE(link.frame.receivedOn(5000)[3].message.kind, ClientMessageKind::clientIdFirst);
    }

    void pingsAndSyncsOnTheListenerAreAcknowledged()
    {
        LinkFixture link(silentHandshake());
        QVERIFY(link.startFrame());
        link.connection->connect(u"127.0.0.1"_s, 2, 35);
        QTRY_COMPARE(link.frame.receivedOn(5000).size(), 1);
        QVERIFY(link.frame.sendRaw(FramePort::initial, ClientPort::listener, bytes("00 01 00 07")));
        QVERIFY(link.frame.sendRaw(FramePort::initial, ClientPort::listener, bytes("00 06 00 08")));
        QVERIFY(
            link.frame.sendRaw(FramePort::announce, ClientPort::listener, bytes("00 01 01 02")));
        QTRY_VERIFY(
            link.logged(u"[INFO] Received PING from announce port, sending ACK with seq 1.2"_s));
        QTRY_VERIFY(link.logged(
            u"[INFO] Received PING from port 5000 on listener, sending ACK with seq 0.7"_s));
        QTRY_VERIFY(link.logged(
            u"[INFO] Received SYNC from port 5000 on listener, sending ACK with seq 0.8"_s));
        QVERIFY(
            link.logged(u"[HEX] Listener RX from port 5001 (stage 1): [4 bytes] 00 01 01 02"_s));
        QTRY_COMPARE(link.frame.receivedOn(5001).size(), 1);
        QCOMPARE(link.frame.receivedOn(5001)[0].bytes, bytes("00 02 01 02"));
        QCOMPARE(link.frame.receivedOn(5001)[0].senderPort, quint16{6135});
        QTRY_VERIFY(link.frame.receivedOn(5000).size() >= 3);
        const auto fromListener = [&] {
            QList<QByteArray> acks;
            for (const auto& datagram : link.frame.receivedOn(5000)) {
                if (datagram.senderPort == 6135)
                    acks.append(datagram.bytes);
            }
            return acks;
        };
        QTRY_COMPARE(fromListener(),
                     QList<QByteArray>({bytes("00 02 00 07"), bytes("00 02 00 08")}));
    }

    void suitesUseTheirOwnPorts_data()
    {
        QTest::addColumn<int>("suite");
        QTest::addColumn<int>("mainPort");
        for (int suite = 1; suite <= 4; ++suite)
            QTest::addRow("suite %d", suite) << suite << 6130 + 2 * suite;
    }

    void suitesUseTheirOwnPorts()
    {
        QFETCH(int, suite);
        QFETCH(int, mainPort);
        LinkFixture link;
        QVERIFY(link.startFrame());
        link.connection->connect(u"127.0.0.1"_s, suite, 20);
        QTRY_COMPARE_WITH_TIMEOUT(link.connection->connectionState(), ConnectionState::connected,
                                  connectTimeoutMs);
        QCOMPARE(link.frame.client()->mainPort, quint16(mainPort));
        const auto registration = link.sentBy(ClientMessageKind::suiteRegistration);
        QCOMPARE(registration.size(), 1);
        QCOMPARE(quint8(registration[0].bytes.at(27)), quint8(2 * suite + 8));
        QVERIFY(link.logged(u"[INFO] Sending suite "_s + QString::number(suite) +
                            u" registration commands..."_s));
    }

    void aSecondConnectReplacesTheFirst()
    {
        LinkFixture link(silentHandshake());
        QVERIFY(link.startFrame());
        link.connection->connect(u"127.0.0.1"_s, 1, 35);
        QTRY_COMPARE(link.connection->connectionState(), ConnectionState::handshake);
        QTRY_COMPARE(link.frame.receivedOn(5000).size(), 1);
        QCOMPARE(link.frame.receivedOn(5000)[0].senderPort, quint16{6132});

        link.connection->connect(u"127.0.0.1"_s, 2, 35);
        QTRY_VERIFY(link.logged(u"[INFO] Handshake cancelled by user"_s));
        QTRY_COMPARE(link.frame.receivedOn(5000).size(), 2);
        QCOMPARE(link.frame.receivedOn(5000)[1].senderPort, quint16{6134});
        QCOMPARE(link.connection->mainPort(), quint16{6134});
        QCOMPARE(link.connection->connectionState(), ConnectionState::handshake);
        // Only the new attempt goes on, from 6134 alone. Its SYNC goes again after the retry
        // interval; the first attempt's would have been due before that, had it gone on.
        QTRY_VERIFY_WITH_TIMEOUT(link.frame.receivedOn(5000).size() >= 3, connectTimeoutMs);
        for (const auto& datagram : link.frame.receivedOn(5000).mid(1))
            QCOMPARE(datagram.senderPort, quint16{6134});
        QCOMPARE(link.messages().count(u"[INFO] Handshake cancelled by user"_s), 1);
    }

    void socketsThatCannotBeBoundFailTheConnect()
    {
        // Another program holds the listener port exclusively.
        QUdpSocket squatter;
        QVERIFY(squatter.bind(QHostAddress::AnyIPv4, 6139, QAbstractSocket::DontShareAddress));
        LinkFixture link;
        QVERIFY(link.startFrame());
        link.connection->connect(u"127.0.0.1"_s, 4, 35);
        QTRY_COMPARE(link.connection->statusMessage(), u"Failed to create sockets"_s);
        QCOMPARE(link.connection->connectionState(), ConnectionState::idle);
        QCOMPARE(link.connection->isLoading(), false);
        QVERIFY(link.logged(u"[ERROR] Failed to create sockets"_s));
        QVERIFY(link.messages()
                    .filter(u"Sockets created: main="_s)
                    .value(0)
                    .endsWith(u", listener=-1"_s));
        QVERIFY(link.frame.received().isEmpty());
        QCOMPARE(link.connection->savedHost(), QString());
    }

    void aHostThatIsNotAnAddressFailsEverySend()
    {
        LinkFixture link;
        link.connection->connect(u"frame.local"_s, 1, 35);
        QTRY_VERIFY(link.logged(u"[ERROR] sendTo FAILED: sock "_s +
                                QString::number(link.connection->mainSock()) +
                                u" -> frame.local:5000, errno=22"_s));
        link.connection->cancelConnect();
    }

    void strangersAreIgnored()
    {
        LinkFixture link(silentHandshake());
        QVERIFY(link.startFrame());
        link.connection->connect(u"127.0.0.1"_s, 1, 35);
        QTRY_COMPARE(link.frame.receivedOn(5000).size(), 1);
        // Another machine on the network answers from the frame's port.
        QUdpSocket stranger;
        QVERIFY(stranger.bind(QHostAddress(u"127.0.0.2"_s), 5000));
        for (int i = 0; i < 3; ++i)
            stranger.writeDatagram(bytes("00 02 00 00"), QHostAddress::LocalHost, 6132);
        // A second stranger's datagram, sent last, is read after the first one's three.
        QUdpSocket another;
        QVERIFY(another.bind(QHostAddress(u"127.0.0.3"_s), 5000));
        another.writeDatagram(bytes("00 02 00 00"), QHostAddress::LocalHost, 6132);
        QTRY_VERIFY(link.logged(
            u"[WARN] Ignoring datagrams from 127.0.0.3, which is not the frame 127.0.0.1"_s));
        QVERIFY(link.logged(
            u"[WARN] Ignoring datagrams from 127.0.0.2, which is not the frame 127.0.0.1"_s));
        QCOMPARE(link.messages().filter(u"Ignoring datagrams from 127.0.0.2"_s).size(), 1);
        // Its ACKs did not move the handshake on.
        QVERIFY(!link.logged(u"[INFO] Handshake Stage 2: Sending PING"_s));
        QCOMPARE(link.frame.receivedOn(5000).size(), 1);
    }

    void aSilentFrameTimesOutWithDefaultTimings()
    {
        LinkFixture link(silentHandshake(), LinkTiming{});
        QVERIFY(link.startFrame());
        QElapsedTimer clock;
        clock.start();
        link.connection->connect(u"127.0.0.1"_s, 1, 35);
        QTRY_COMPARE_WITH_TIMEOUT(link.connection->statusMessage(), u"Handshake timeout"_s, 15'000);
        const qint64 elapsed = clock.elapsed();
        QVERIFY2(elapsed >= 10'000 && elapsed < 11'500, qPrintable(QString::number(elapsed)));
        QCOMPARE(link.connection->connectionState(), ConnectionState::idle);
        QCOMPARE(link.connection->isLoading(), false);
        QCOMPARE(link.connection->mainSock(), -1);
        // SYNC at once, then again about every second.
        const int syncs = int(link.frame.receivedOn(5000).size());
        QVERIFY2(syncs >= 9 && syncs <= 11, qPrintable(QString::number(syncs)));
        for (const auto& datagram : link.frame.receivedOn(5000))
            QCOMPARE(datagram.bytes, bytes("00 06 00 00"));
        const QStringList messages = link.messages();
        QCOMPARE(messages.count(u"[INFO] Handshake Stage 1: No ACK received, retrying SYNC"_s),
                 syncs - 1);
        const qsizetype timeout = messages.indexOf(u"[ERROR] Handshake TIMEOUT at stage 1"_s);
        QVERIFY(timeout >= 0);
        QCOMPARE(messages.mid(timeout + 1, 4),
                 QStringList({u"[INFO] Disconnect requested"_s, u"[INFO] Main socket closed"_s,
                              u"[INFO] Listener socket closed"_s,
                              u"[INFO] Disconnected - mappings, source names, and subscribed "
                              u"modes cleared"_s}));
        QCOMPARE(link.connection->savedHost(), QString());
    }
};

QTEST_GUILESS_MAIN(TestLinkHandshake)
#include "tst_link_handshake.moc"
