// Reconnecting automatically at the protocol's own timings and with whole countdown seconds: a
// frame that stops is given up after its heartbeat time-out, counted down from 2 s, and
// connected again when it is back; the user's Disconnect afterwards stays.
#include "session/auto_reconnect.h"
#include "link_fixture.h"

#include <QElapsedTimer>
#include <QRegularExpression>
#include <QSignalSpy>

using namespace Qt::StringLiterals;
using namespace quorvane;
using namespace quorvane::test;
using emulator::ClientMessageKind;

class TestAutoReconnectRealtime : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aRestartedFrameIsConnectedAgainAtRealTimings()
    {
        LinkFixture link({}, LinkTiming{});
        AutoReconnect reconnect(*link.connection, link.preferences);
        reconnect.setEnabled(true);
        QStringList countdowns;
        QObject::connect(&reconnect, &AutoReconnect::progressChanged, &reconnect, [&] {
            if (reconnect.isCountingDown())
                countdowns.append(reconnect.countdownText());
        });
        QVERIFY(link.startFrame());
        link.connection->connect(u"127.0.0.1"_s, 1, 35);
        QTRY_COMPARE_WITH_TIMEOUT(link.connection->connectionState(), ConnectionState::connected,
                                  15'000);

        QElapsedTimer sinceStop;
        sinceStop.start();
        link.frame.stop();
        QTRY_VERIFY_WITH_TIMEOUT(reconnect.isCountingDown(), 10'000);
        // Not before the heartbeat's own 3 s without an ACK.
        QVERIFY2(sinceStop.elapsed() >= 3'000, qPrintable(QString::number(sinceStop.elapsed())));
        static const QRegularExpression timeout(
            u"^\\[ERROR\\] Heartbeat timeout: no ACK for [34]s, disconnecting$"_s);
        QCOMPARE(link.messages().filter(timeout).size(), 1);
        QCOMPARE(countdowns, QStringList{u"Connection lost. Reconnecting to 127.0.0.1 in 2 s…"_s});
        QVERIFY(link.startFrame());
        const qsizetype handshakesBefore = link.sentBy(ClientMessageKind::clientIdFirst).size();

        QElapsedTimer sinceCountdown;
        sinceCountdown.start();
        QTRY_COMPARE_WITH_TIMEOUT(link.connection->connectionState(), ConnectionState::connected,
                                  20'000);
        QVERIFY2(sinceCountdown.elapsed() >= 1'900,
                 qPrintable(QString::number(sinceCountdown.elapsed())));
        QCOMPARE(countdowns,
                 QStringList({u"Connection lost. Reconnecting to 127.0.0.1 in 2 s…"_s,
                              u"Connection lost. Reconnecting to 127.0.0.1 in 1 s…"_s}));
        QCOMPARE(link.sentBy(ClientMessageKind::clientIdFirst).size(), handshakesBefore + 1);
        QCOMPARE(link.connection->statusMessage(),
                 u"Connected to 127.0.0.1:5123 (K-Frame XP V12.3.1)"_s);
        for (int shift = 1; shift <= 4; ++shift) {
            for (int button = 1; button <= 35; ++button) {
                const auto cached = link.connection->mappingFor(Bus::pgm, shift, button, 35);
                QCOMPARE(cached ? cached->source : 0,
                         qint64{link.frame.mapping(Bus::pgm, 35, shift, button)});
            }
        }
        QVERIFY(!reconnect.isActive());

        // The user's Disconnect: no heartbeat time-out follows it, and nothing reconnects.
        QSignalSpy lost(link.connection.get(), &GVConnection::heartbeatTimedOut);
        link.connection->disconnect();
        const qsizetype handshakesAfter = link.sentBy(ClientMessageKind::clientIdFirst).size();
        QTest::qWait(6'000); // past a heartbeat time-out and a first countdown
        QCOMPARE(lost.count(), 0);
        QVERIFY(!reconnect.isActive());
        QCOMPARE(link.sentBy(ClientMessageKind::clientIdFirst).size(), handshakesAfter);
        QCOMPARE(link.connection->connectionState(), ConnectionState::idle);
    }
};

QTEST_GUILESS_MAIN(TestAutoReconnectRealtime)
#include "tst_auto_reconnect_realtime.moc"
