// One whole session with the protocol's own timings, as the application runs it.
#include "link_fixture.h"

#include <QElapsedTimer>
#include <QSignalSpy>

using namespace Qt::StringLiterals;
using namespace quorvane;
using namespace quorvane::test;
using emulator::ClientMessageKind;

class TestLinkEndToEnd : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aWholeSessionWithDefaultTimings()
    {
        LinkFixture link({}, LinkTiming{});
        QVERIFY(link.startFrame());

        link.connection->connect(u"127.0.0.1"_s, 1, 35);
        QTRY_COMPARE_WITH_TIMEOUT(link.connection->connectionState(), ConnectionState::connected,
                                  15'000);
        QCOMPARE(link.connection->statusMessage(),
                 u"Connected to 127.0.0.1:5123 (K-Frame XP V12.3.1)"_s);
        QCOMPARE(link.connection->isLoading(), false);
        QCOMPARE(link.connection->sourceNames(), link.frame.show().names());
        for (int shift = 1; shift <= 4; ++shift) {
            for (int button = 1; button <= 35; ++button) {
                const quint32 onFrame = link.frame.mapping(Bus::pgm, 35, shift, button);
                const auto cached = link.connection->mappingFor(Bus::pgm, shift, button, 35);
                QCOMPARE(cached ? cached->source : 0, qint64{onFrame});
            }
        }
        QCOMPARE(link.connection->savedHost(), u"127.0.0.1"_s);
        QCOMPARE(link.preferences.value(u"Quorvane.lastHost"_s).toString(), u"127.0.0.1"_s);

        // A new bus is loaded once: preamble, frame information and 140 buttons.
        link.frame.clearRecords();
        link.connection->changeBus(Bus::me2);
        QTRY_COMPARE_WITH_TIMEOUT(link.connection->isLoading(), false, 10'000);
        int requests = 0;
        for (const auto& datagram : link.frame.receivedOn(5123)) {
            const ClientMessageKind kind = datagram.message.kind;
            requests += kind != ClientMessageKind::ping && kind != ClientMessageKind::ack;
        }
        QCOMPARE(requests, 142);
        QVERIFY(link.connection->subscribedModes().contains(u"ME2-35"_s));

        // Going back is instant.
        link.connection->changeBus(Bus::pgm);
        QCOMPARE(link.connection->isLoading(), false);
        QCOMPARE(link.connection->statusMessage(), u"PGM (35-btn)"_s);

        link.connection->writeMapping(Bus::pgm, 3, 12, 4321);
        QTRY_COMPARE(link.frame.mapping(Bus::pgm, 35, 3, 12), quint32{4321});

        link.connection->disconnect();
        QVERIFY(link.connection->mappings().isEmpty());
        QVERIFY(link.connection->sourceNames().isEmpty());
        QVERIFY(link.connection->subscribedModes().isEmpty());
        QCOMPARE(link.connection->connectionState(), ConnectionState::idle);
        QCOMPARE(link.connection->frameName(), QString());
        QCOMPARE(link.connection->statusMessage(), u"Disconnected"_s);
        QCOMPARE(link.connection->currentBus(), Bus::pgm);
    }

    void firstVisitsToEveryBusKeepTheLink()
    {
        LinkFixture link({}, LinkTiming{});
        QVERIFY(link.startFrame());
        link.connection->connect(u"127.0.0.1"_s, 1, 35);
        QTRY_COMPARE_WITH_TIMEOUT(link.connection->connectionState(), ConnectionState::connected,
                                  15'000);
        QSignalSpy linkChanges(link.connection.get(), &GVConnection::isConnectedChanged);

        // An operator visiting every bus for the first time, one after the other: six loads
        // that read the main socket for most of ten seconds.
        for (Bus bus : {Bus::me1, Bus::me2, Bus::me3, Bus::me4, Bus::aux}) {
            link.connection->changeBus(bus);
            QCOMPARE(link.connection->isLoading(), true);
            QTRY_COMPARE_WITH_TIMEOUT(link.connection->isLoading(), false, 10'000);
            QVERIFY(link.connection->isConnected());
            QCOMPARE(link.connection->unansweredButtons(bus, 35), QList<ButtonPosition>());
        }
        QCOMPARE(linkChanges.count(), 0);
        QVERIFY(link.messages().filter(u"Heartbeat timeout"_s).isEmpty());
        QCOMPARE(link.connection->subscribedModes().size(), 6);
        QCOMPARE(link.connection->connectionState(), ConnectionState::connected);
    }

    void keepAlivePingsLeaveASecondApart()
    {
        LinkFixture link({}, LinkTiming{});
        QElapsedTimer clock;
        clock.start();
        QList<qint64> pingTimes;
        QObject::connect(&link.frame, &emulator::FrameEmulator::datagramReceived, &link.frame,
                         [&](const emulator::ReceivedDatagram& datagram) {
                             if (datagram.localPort == 5123 &&
                                 datagram.message.kind == ClientMessageKind::ping) {
                                 pingTimes.append(clock.elapsed());
                             }
                         });
        QVERIFY(link.startFrame());
        link.connection->connect(u"127.0.0.1"_s, 1, 35);
        QTRY_COMPARE_WITH_TIMEOUT(link.connection->connectionState(), ConnectionState::connected,
                                  15'000);
        // Once the keep-alive runs, its PINGs are the only ones: watch five intervals.
        const qsizetype first = pingTimes.size();
        QTRY_VERIFY_WITH_TIMEOUT(pingTimes.size() >= first + 6, 10'000);
        for (qsizetype i = first + 1; i < first + 6; ++i) {
            const qint64 interval = pingTimes[i] - pingTimes[i - 1];
            QVERIFY2(interval >= 980 && interval <= 1020, qPrintable(QString::number(interval)));
        }
    }
};

QTEST_GUILESS_MAIN(TestLinkEndToEnd)
#include "tst_link_end_to_end.moc"
