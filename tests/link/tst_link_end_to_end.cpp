// One whole session with the protocol's own timings, as the application runs it.
#include "link_fixture.h"

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
};

QTEST_GUILESS_MAIN(TestLinkEndToEnd)
#include "tst_link_end_to_end.moc"
