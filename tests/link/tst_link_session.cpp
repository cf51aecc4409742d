// A verified link at work, against the emulated frame over loopback: loading names and buttons,
// bus and button-count switches, writes, the receive loop and the keep-alive.
#include "link_fixture.h"
#include "model/button_address.h"

#include <QRegularExpression>
#include <QSignalSpy>

using namespace Qt::StringLiterals;
using namespace quorvane;
using namespace quorvane::test;
using emulator::ClientMessageKind;
using emulator::ClientPort;
using emulator::FramePort;

namespace {

// What the client asked of the frame's dynamic port since the records were last cleared,
// keep-alive traffic left out.
QList<emulator::ReceivedDatagram> requests(const LinkFixture& link)
{
    QList<emulator::ReceivedDatagram> result;
    for (const auto& datagram : link.frame.receivedOn(5123)) {
        const ClientMessageKind kind = datagram.message.kind;
        if (kind != ClientMessageKind::ping && kind != ClientMessageKind::ack)
            result.append(datagram);
    }
    return result;
}

// Every button of one bus and count holds on the client what the frame holds.
void verifyBusMatchesFrame(const LinkFixture& link, Bus bus, int buttonCount)
{
    int assigned = 0;
    for (int shift = 1; shift <= 4; ++shift) {
        for (int button = 1; button <= buttonCount; ++button) {
            const quint32 onFrame = link.frame.mapping(bus, buttonCount, shift, button);
            const auto cached = link.connection->mappingFor(bus, shift, button, buttonCount);
            if (onFrame == 0) {
                QVERIFY(!cached);
                continue;
            }
            ++assigned;
            QVERIFY2(cached, qPrintable(mappingKey(bus, buttonCount, shift, button)));
            QCOMPARE(cached->source, qint64{onFrame});
        }
    }
    QVERIFY(assigned > 0);
}

} // namespace

class TestLinkSession : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void loadsNamesAndTheCurrentBus_data()
    {
        QTest::addColumn<bool>("toListener");
        QTest::newRow("data to the main port") << false;
        QTest::newRow("data to the listener port") << true;
    }

    void loadsNamesAndTheCurrentBus()
    {
        QFETCH(bool, toListener);
        emulator::FrameEmulatorOptions options;
        options.dataTarget = toListener ? emulator::DataTarget::clientListenerPort
                                        : emulator::DataTarget::clientMainPort;
        LinkFixture link(options);
        QVERIFY(link.startFrame());
        QVERIFY(link.connectAndWait());

        verifyBusMatchesFrame(link, Bus::pgm, 35);
        // Only the current bus is loaded.
        for (const ButtonMapping& mapping : link.connection->mappings())
            QCOMPARE(mapping.bus, Bus::pgm);
        // Every name of the show arrived, engineering names included.
        QCOMPARE(link.connection->sourceNames(), link.frame.show().names());
        QCOMPARE(link.connection->frameName(), u"K-Frame XP"_s);
        QCOMPARE(link.connection->frameVersion(), u"V12.3.1"_s);
        QCOMPARE(link.connection->subscribedModes(), QSet<QString>{u"PGM-35"_s});
        // One of the six buses: not all of them, until the others are loaded too.
        QCOMPARE(link.connection->hasLoadedAllBuses(), false);

        const QString count = QString::number(link.connection->mappings().size());
        const QStringList messages = link.messages();
        for (const QString& line :
             QStringList{u"[INFO] Auto-loading all data..."_s,
                         u"[INFO] Subscribing to source names (0x0210 + 0x020b)..."_s,
                         u"[INFO] Starting listener, then sending subscriptions..."_s,
                         u"[INFO] Subscriptions sent, now listening for responses..."_s,
                         QString(u"[INFO] Source names loaded: "_s +
                                 QString::number(link.frame.show().names().size()) + u" total"_s),
                         u"[INFO] sendAllBusSubscriptions starting for PGM with 35-button mode"_s,
                         u"[INFO] Sent early 0x01fd frame info subscription"_s,
                         u"[INFO] Sent 140 button subscriptions for PGM (35-button mode)"_s,
                         u"[INFO] Starting active listen phase (1.5s) for PGM"_s,
                         QString(u"[INFO] Read complete: PGM-35 cached with "_s + count +
                                 u" mappings"_s)}) {
            QVERIFY2(messages.contains(line), qPrintable(line));
        }
        QVERIFY(!messages.filter(u"[HEX] Source definition subscription (0x0210): [52 bytes] "_s)
                     .isEmpty());
    }

    void buttonSubscriptionsCountThroughTheBus()
    {
        LinkFixture link;
        QVERIFY(link.startFrame());
        QVERIFY(link.connectAndWait());
        const auto subscriptions = link.sentBy(ClientMessageKind::buttonSubscription);
        QCOMPARE(subscriptions.size(), 140);
        for (qsizetype i = 0; i < subscriptions.size(); ++i) {
            const ByteReader bytes(subscriptions[i].bytes);
            const int shift = int(i / 35) + 1;
            const int button = int(i % 35) + 1;
            // The id advances by 90 per request, across the shift rows, from 12850.
            QCOMPARE(bytes.u16(32), quint16(12850 + 90 * i));
            QCOMPARE(bytes.u16(49), buttonAddress(shift, button, 35));
            QCOMPARE(bytes.u8(51), quint8{0x30});
        }
        QCOMPARE(ByteReader(subscriptions.first().bytes).u16(49), quint16{16});
        QCOMPARE(ByteReader(subscriptions.last().bytes).u16(49), quint16{2240});
        QCOMPARE(ByteReader(subscriptions.last().bytes).u16(32), quint16{25360});
        // Preamble and frame information come first.
        const auto all = requests(link);
        const auto preamble = std::find_if(all.cbegin(), all.cend(), [](const auto& datagram) {
            return datagram.message.kind == ClientMessageKind::busPreamble;
        });
        QVERIFY(preamble != all.cend());
        QCOMPARE((preamble + 1)->message.kind, ClientMessageKind::frameInfoSubscription);
        QCOMPARE((preamble + 2)->message.kind, ClientMessageKind::buttonSubscription);
    }

    void switchingBusLoadsOnceThenFromCache()
    {
        LinkFixture link;
        QVERIFY(link.startFrame());
        QVERIFY(link.connectAndWait());
        link.frame.clearRecords();

        link.connection->changeBus(Bus::me2);
        QCOMPARE(link.connection->isLoading(), true);
        QCOMPARE(link.connection->statusMessage(), u"Loading ME2..."_s);
        QVERIFY(link.logged(u"[INFO] changeBus: first visit to ME2-35 - subscribing"_s));
        QTRY_COMPARE_WITH_TIMEOUT(link.connection->isLoading(), false, connectTimeoutMs);
        QCOMPARE(requests(link).size(), 142);
        QCOMPARE(link.sentBy(ClientMessageKind::busPreamble).size(), 1);
        QCOMPARE(link.sentBy(ClientMessageKind::buttonSubscription).size(), 140);
        QCOMPARE(ByteReader(link.sentBy(ClientMessageKind::buttonSubscription)[0].bytes).u8(51),
                 quint8{0x10});
        QVERIFY(link.connection->subscribedModes().contains(u"ME2-35"_s));
        verifyBusMatchesFrame(link, Bus::me2, 35);
        verifyBusMatchesFrame(link, Bus::pgm, 35); // the first load stays cached
        QCOMPARE(link.connection->statusMessage(),
                 u"ME2 (35-btn): "_s + QString::number(link.connection->mappings().size()) +
                     u" mappings"_s);

        link.frame.clearRecords();
        link.connection->changeBus(Bus::pgm);
        QVERIFY(link.logged(u"[INFO] changeBus: PGM-35 already cached - instant switch"_s));
        QCOMPARE(link.connection->statusMessage(), u"PGM (35-btn)"_s);
        QCOMPARE(link.connection->isLoading(), false);
        link.connection->changeBus(Bus::me2);
        QVERIFY(link.logged(u"[INFO] changeBus: ME2-35 already cached - instant switch"_s));
        QCOMPARE(link.connection->currentBus(), Bus::me2);

        // Choosing the bus already shown does nothing at all.
        const qsizetype lines = link.messages().size();
        link.connection->changeBus(Bus::me2);
        QCOMPARE(link.messages().size(), lines);
        QVERIFY(!link.connection->isBusLoadRunning());
        QVERIFY(frameHasReadAllSentBy(*link.connection, link.frame));
        QVERIFY(requests(link).isEmpty());
    }

    void changingTheButtonCount()
    {
        LinkFixture link;
        QVERIFY(link.startFrame());
        QVERIFY(link.connectAndWait());
        link.frame.clearRecords();
        const qsizetype lines = link.messages().size();

        link.connection->changeButtonCount(30);
        QCOMPARE(link.messages().mid(lines),
                 QStringList(u"[WARN] changeButtonCount: invalid count 30"_s));
        QCOMPARE(link.connection->buttonCount(), 35);
        link.connection->changeButtonCount(35);
        QCOMPARE(link.messages().size(), lines + 1);

        link.connection->changeButtonCount(15);
        QCOMPARE(link.connection->buttonCount(), 15);
        QCOMPARE(link.connection->statusMessage(), u"Switching to 15-button mode..."_s);
        QVERIFY(link.logged(u"[INFO] changeButtonCount: first visit to PGM-15 - subscribing"_s));
        QTRY_COMPARE_WITH_TIMEOUT(link.connection->isLoading(), false, connectTimeoutMs);
        const auto subscriptions = link.sentBy(ClientMessageKind::buttonSubscription);
        QCOMPARE(subscriptions.size(), 60);
        QCOMPARE(ByteReader(subscriptions.first().bytes).u16(49), quint16{18});
        verifyBusMatchesFrame(link, Bus::pgm, 15);

        link.connection->changeButtonCount(35);
        QVERIFY(link.logged(u"[INFO] changeButtonCount: PGM-35 already cached - instant switch"_s));
        QCOMPARE(link.connection->statusMessage(), u"PGM (35-btn)"_s);
    }

    void writesReachTheFrame()
    {
        LinkFixture link;
        QVERIFY(link.startFrame());
        QVERIFY(link.connectAndWait());
        const ButtonMapping before = *link.connection->mappingFor(Bus::pgm, 1, 1, 35);
        QSignalSpy applied(&link.frame, &emulator::FrameEmulator::writeApplied);

        link.connection->writeMapping(Bus::pgm, 1, 1, 1042);
        // The cache follows at once and keeps the record's id.
        const auto cached = link.connection->mappingFor(Bus::pgm, 1, 1, 35);
        QCOMPARE(cached->source, 1042);
        QCOMPARE(cached->id, before.id);
        QCOMPARE(link.connection->statusMessage(), u"Wrote PGM S1B1 > 1042"_s);
        const QStringList tail = link.messages().mid(link.messages().size() - 4);
        QCOMPARE(tail[0], u"[INFO] writeMapping: PGM S1B1 > 1042 (buttonCount=35)"_s);
        QVERIFY2(tail[1].startsWith(u"[HEX] Write command: [26 bytes] 00 04 "_s),
                 qPrintable(tail[1]));
        QVERIFY(tail[1].endsWith(u" 00 02 00 06 00 00 00 0a 00 00 00 12 13 85 01 00 89 00 10 30 "
                                 u"04 12"_s));
        QCOMPARE(tail[2], u"[INFO] Wrote PGM S1B1 > 1042"_s);
        QCOMPARE(tail[3], u"[INFO] Write complete, local cache updated"_s);

        QTRY_COMPARE(applied.count(), 1);
        QCOMPARE(link.frame.mapping(Bus::pgm, 35, 1, 1), quint32{1042});

        // ME4 carries 0x40; two writes in a row carry consecutive sequence numbers.
        link.connection->writeMapping(Bus::me4, 2, 3, 7);
        link.connection->writeMapping(Bus::me4, 2, 4, 0);
        QCOMPARE(link.connection->mappingFor(Bus::me4, 2, 4, 35)->source, 0);
        QTRY_COMPARE(applied.count(), 3);
        const auto writes = link.sentBy(ClientMessageKind::writeRequest);
        QCOMPARE(writes.size(), 3);
        QCOMPARE(ByteReader(writes[2].bytes).u16(2), ByteReader(writes[1].bytes).u16(2) + 1);
        QCOMPARE(link.frame.writeRequests()[1],
                 (emulator::WriteRequest{buttonAddress(2, 3, 35), 0x40, 7}));
        QCOMPARE(link.frame.mapping(Bus::me4, 35, 2, 3), quint32{7});
        QCOMPARE(link.frame.mapping(Bus::me4, 35, 2, 4), quint32{0});
    }

    void writingAt20Buttons()
    {
        LinkFixture link;
        QVERIFY(link.startFrame());
        QVERIFY(link.connectAndWait(1, 20));
        link.connection->writeMapping(Bus::pgm, 2, 3, 55);
        QTRY_COMPARE(link.frame.writeRequests().size(), 1);
        QCOMPARE(link.frame.writeRequests()[0], (emulator::WriteRequest{371, 0x30, 55}));
        QCOMPARE(link.frame.mapping(Bus::pgm, 20, 2, 3), quint32{55});
    }

    void writingWhileDisconnectedDoesNothing()
    {
        LinkFixture link;
        const quint16 counter = link.connection->msgCounter();
        link.connection->writeMapping(Bus::pgm, 1, 1, 5);
        QCOMPARE(link.messages().last(), u"[WARN] writeMapping called but not connected"_s);
        QVERIFY(link.connection->mappings().isEmpty());
        QCOMPARE(link.connection->msgCounter(), counter);
    }

    void theFramesOwnChangesArrive()
    {
        LinkFixture link;
        QVERIFY(link.startFrame());
        QVERIFY(link.connectAndWait());
        QVERIFY(link.frame.pushMappingChange(Bus::pgm, 35, 4, 35, 901));
        QTRY_COMPARE(link.connection->mappingFor(Bus::pgm, 4, 35, 35)->source, 901);

        SourceName renamed;
        renamed.panel = u"STUDIO B"_s;
        const SourceName known = link.connection->sourceNames().value(12);
        QVERIFY(link.frame.pushLiveRename(12, renamed));
        QTRY_COMPARE(link.connection->sourceNames().value(12).panel, u"STUDIO B"_s);
        // A rename that names only the panel keeps the other names.
        QCOMPARE(link.connection->sourceNames().value(12).eng, known.eng);
        QCOMPARE(link.connection->sourceNames().value(12).menu, known.menu);
        QVERIFY(!link.messages().filter(u"[INFO] 020b LIVE [prefix="_s).isEmpty());
        QVERIFY(!link.messages()
                     .filter(u"[INFO] Source name update (0x020b) found at pos 16"_s)
                     .isEmpty());
    }

    void theReceiveLoopAnswers()
    {
        LinkFixture link;
        QVERIFY(link.startFrame());
        QVERIFY(link.connectAndWait());
        link.frame.clearRecords();
        const qsizetype lines = link.messages().size();

        // Sent within one turn of the event loop, so one tick finds them all queued.
        QVERIFY(link.frame.sendRaw(FramePort::initial, ClientPort::listener, bytes("00 06 00 21")));
        QVERIFY(link.frame.sendRaw(FramePort::dynamic, ClientPort::main, bytes("00 06 12 34")));
        QVERIFY(link.frame.sendRaw(FramePort::dynamic, ClientPort::main, bytes("00 01 00 07")));
        QVERIFY(link.frame.sendRaw(FramePort::dynamic, ClientPort::main, bytes("00 04 00")));
        QVERIFY(link.frame.sendRaw(FramePort::dynamic, ClientPort::main,
                                   bytes("00 04 00 09") + QByteArray(16, '\0')));
        QByteArray at39 = bytes("00 99 00 0a") + QByteArray(60, '\0');
        at39[39] = 0x02;
        at39[40] = 0x0b;
        QByteArray at40 = bytes("00 99 00 0b") + QByteArray(60, '\0');
        at40[40] = 0x02;
        at40[41] = 0x0b;
        QVERIFY(link.frame.sendRaw(FramePort::dynamic, ClientPort::main, at39));
        QVERIFY(link.frame.sendRaw(FramePort::dynamic, ClientPort::main, at40));

        // Only the ACKs of what was sent here: the last answers of the load may still be
        // acknowledged after the connect has ended.
        const QList<quint16> sentHere{0x0021, 0x1234, 0x0007, 0x0009, 0x000a, 0x000b};
        auto acksFrom = [&](quint16 framePort) {
            QList<QByteArray> acks;
            for (const auto& datagram : link.frame.receivedOn(framePort)) {
                if (datagram.message.kind == ClientMessageKind::ack &&
                    sentHere.contains(datagram.message.sequence)) {
                    acks.append(datagram.bytes);
                }
            }
            return acks;
        };
        // PING, SYNC and DATA are acknowledged to the sender's port from the socket they came
        // in on; the 3-byte datagram and the unknown types are not.
        QTRY_COMPARE(acksFrom(5123), QList<QByteArray>({bytes("00 02 12 34"), bytes("00 02 00 07"),
                                                        bytes("00 02 00 09")}));
        QTRY_COMPARE(acksFrom(5000), QList<QByteArray>({bytes("00 02 00 21")}));
        QCOMPARE(link.frame.receivedOn(5000).last().senderPort, quint16{6133});

        const QStringList messages = link.messages().mid(lines);
        QVERIFY(messages.filter(u"pktType=0x0006"_s).isEmpty()); // short: not logged
        QVERIFY(messages.filter(u"DATA packet from main port 5123: 20 bytes"_s).isEmpty());
        QVERIFY(messages.contains(
            u"[INFO] Source name update (0x020b) found at pos 39, pktType=0x0099, 64 bytes"_s));
        QVERIFY(messages.filter(u"found at pos 40"_s).isEmpty());
        QVERIFY(messages.contains(
            u"[INFO] RX from main port 5123: pktType=0x0099 64b hdr=[00 99 00 0a 00 00 00 00 00 "
            u"00 00 00 00 00 00 00 00 00 00 00]"_s));
        // The main socket is emptied before the listener is read: the listener's SYNC (whose
        // sequence byte 0x21 reads as "!") is scanned after the last main-socket datagram.
        const qsizetype lastMain = messages.indexOf(
            u"[INFO] RX from main port 5123: pktType=0x0099 64b hdr=[00 99 00 0b 00 00 00 00 00 "
            u"00 00 00 00 00 00 00 00 00 00 00]"_s);
        const qsizetype listenerSync = messages.indexOf(u"[INFO] parseFrameInfo scanning: !"_s);
        QVERIFY(lastMain >= 0);
        QVERIFY2(listenerSync > lastMain, qPrintable(messages.join(u'\n')));
    }

    void longDatagramsAreCutAt4096Bytes()
    {
        LinkFixture link;
        QVERIFY(link.startFrame());
        QVERIFY(link.connectAndWait());
        const qsizetype lines = link.messages().size();
        QVERIFY(link.frame.sendRaw(FramePort::dynamic, ClientPort::main,
                                   bytes("00 99 00 01") + QByteArray(4092, 'a')));
        QVERIFY(link.frame.sendRaw(FramePort::dynamic, ClientPort::main,
                                   bytes("00 99 00 02") + QByteArray(5000, 'b')));
        QTRY_COMPARE(link.messages().mid(lines).filter(u"pktType=0x0099 4096b"_s).size(), 2);
        const QStringList scans = link.messages().mid(lines).filter(u"parseFrameInfo scanning: "_s);
        // What is left of the longer one after the cut: 4092 of its 5000 letters.
        QVERIFY(scans.contains(u"[INFO] parseFrameInfo scanning: "_s + QString(200, u'b')));
    }

    void acksWhileLoadingDoNotBlink()
    {
        LinkTiming timing = fastTiming();
        timing.namesListen = std::chrono::milliseconds(2500);
        LinkFixture link({}, timing);
        QVERIFY(link.startFrame());
        int pulsesBeforeConnected = 0;
        int pulsesAfter = 0;
        QObject::connect(link.connection.get(), &GVConnection::heartbeatPulseChanged,
                         link.connection.get(), [&] {
                             const bool connected =
                                 link.connection->connectionState() == ConnectionState::connected;
                             ++(connected ? pulsesAfter : pulsesBeforeConnected);
                         });
        link.connection->connect(u"127.0.0.1"_s, 1, 35);
        QTRY_COMPARE_WITH_TIMEOUT(link.connection->connectionState(), ConnectionState::connected,
                                  connectTimeoutMs);
        // The keep-alive was answered twice while the names loaded, without a blink.
        int answeredWhileLoading = 0;
        for (const auto& datagram : link.frame.sentFrom(5123))
            answeredWhileLoading += datagram.bytes == bytes("00 02 00 00");
        QVERIFY(answeredWhileLoading >= 2 + 3 + 1); // handshake, verification, keep-alive
        QCOMPARE(pulsesBeforeConnected, 0);
        QTRY_VERIFY_WITH_TIMEOUT(pulsesAfter >= 2, 3000);
    }

    void theHeartbeatBlinksWhileConnected()
    {
        LinkFixture link;
        QVERIFY(link.startFrame());
        QVERIFY(link.connectAndWait());
        QList<bool> pulses;
        QObject::connect(link.connection.get(), &GVConnection::heartbeatPulseChanged,
                         link.connection.get(),
                         [&] { pulses.append(link.connection->heartbeatPulse()); });
        QTRY_VERIFY_WITH_TIMEOUT(pulses.size() >= 2, 3000);
        QCOMPARE(pulses.mid(0, 2), QList<bool>({true, false}));
    }

    void disconnectStopsEverything()
    {
        // Keep-alives often, so that one still going after the disconnect is soon seen.
        LinkTiming timing = fastTiming();
        timing.keepAliveInterval = 50ms;
        LinkFixture link({}, timing);
        QVERIFY(link.startFrame());
        QVERIFY(link.connectAndWait());
        // What was sent before the disconnect is in, and forgotten.
        QVERIFY(frameHasReadAllSentBy(*link.connection, link.frame));
        link.frame.clearRecords();
        link.connection->disconnect();
        QVERIFY(link.connection->mappings().isEmpty());
        QVERIFY(link.connection->sourceNames().isEmpty());
        QVERIFY(link.connection->subscribedModes().isEmpty());
        QCOMPARE(link.connection->mainSock(), -1);
        QCOMPARE(link.connection->listenerSock(), -1);
        const QStringList tail = link.messages().mid(link.messages().size() - 4);
        QCOMPARE(tail,
                 QStringList({u"[INFO] Disconnect requested"_s, u"[INFO] Main socket closed"_s,
                              u"[INFO] Listener socket closed"_s,
                              u"[INFO] Disconnected - mappings, source names, and "
                              u"subscribed modes cleared"_s}));
        // No keep-alive any more: a keep-alive timer left running would send within its
        // interval, so two of them without a datagram prove it stopped.
        QVERIFY(!QTest::qWaitFor([&] { return !link.frame.received().isEmpty(); },
                                 int(2 * timing.keepAliveInterval.count())));
    }

    void reconnectingLoadsEverythingAgain()
    {
        LinkFixture link;
        QVERIFY(link.startFrame());
        QVERIFY(link.connectAndWait());
        link.connection->changeBus(Bus::aux);
        QTRY_COMPARE_WITH_TIMEOUT(link.connection->isLoading(), false, connectTimeoutMs);
        link.connection->disconnect();
        link.frame.clearRecords();

        QVERIFY(link.connectAndWait());
        QVERIFY(link.logged(u"[INFO] sendAllBusSubscriptions starting for AUX with 35-button "
                            u"mode"_s));
        QCOMPARE(link.sentBy(ClientMessageKind::buttonSubscription).size(), 140);
        link.connection->changeBus(Bus::pgm);
        QVERIFY(link.logged(u"[INFO] changeBus: first visit to PGM-35 - subscribing"_s));
        QTRY_COMPARE_WITH_TIMEOUT(link.connection->isLoading(), false, connectTimeoutMs);
    }
};

QTEST_GUILESS_MAIN(TestLinkSession)
#include "tst_link_session.moc"
