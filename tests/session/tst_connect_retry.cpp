// Further attempts of a connect that failed, against the emulated frame: a handshake left
// unanswered, a frame that was not there yet, a failed heartbeat check, both attempts failing,
// and everything that must not be tried again (a cancel, ports held elsewhere, someone else's
// connect, the automatic reconnect's attempts). The protocol's waits are shortened.
#include "link/connect_attempts.h"
#include "link_fixture.h"
#include "session/auto_reconnect.h"
#include "session/connect_retry.h"

#include <QUdpSocket>

using namespace Qt::StringLiterals;
using namespace quorvane;
using namespace quorvane::test;
using emulator::ClientMessageKind;
using emulator::LostArrival;

namespace {
constexpr int waitMs = 10'000;

LinkTiming quickTiming()
{
    LinkTiming timing = fastTiming();
    // A frame that is not there is given up soon, a lost handshake message soon resent.
    timing.syncRetry = 100ms;
    timing.handshakeLimit = 600ms;
    timing.handshakeResend = 100ms;
    timing.keepAliveInterval = 100ms;
    timing.heartbeatTimeout = 300ms;
    return timing;
}

// A frame that loses the first ClientID and every one of its resends: the first attempt's
// handshake ends at stage 3, the next ClientID gets through.
emulator::FrameEmulatorOptions losingTheFirstClientIds()
{
    emulator::FrameEmulatorOptions options;
    for (int occurrence = 1; occurrence <= LinkTiming{}.handshakeTries; ++occurrence)
        options.faults.lostArrivals.append({ClientMessageKind::clientIdFirst, occurrence});
    return options;
}

const QString lostClientId =
    u"Handshake timeout: no answer to the ClientID after 4 tries at 127.0.0.1:5000"_s;

struct Retrying {
    explicit Retrying(emulator::FrameEmulatorOptions options = {})
        : link(std::move(options), quickTiming())
        , retry(*link.connection)
    {
        QObject::connect(&retry, &ConnectRetry::progressChanged, &retry, [this] {
            const QString text = retry.statusText();
            if (!text.isEmpty() && (texts.isEmpty() || texts.last() != text))
                texts.append(text);
        });
    }

    void connect() { retry.connect(u"127.0.0.1"_s, 1, 35); }
    bool connected()
    {
        return QTest::qWaitFor(
            [this] { return link.connection->connectionState() == ConnectionState::connected; },
            waitMs);
    }
    // Once the attempts are over and the connection has settled in `state`.
    bool settled(ConnectionState state)
    {
        return QTest::qWaitFor(
            [&] { return !retry.isActive() && link.connection->connectionState() == state; },
            waitMs);
    }
    bool secondAttemptInHandshake()
    {
        return QTest::qWaitFor(
            [this] {
                return retry.attempt() == 2 &&
                       link.connection->connectionState() == ConnectionState::handshake;
            },
            waitMs);
    }
    qsizetype connectsRequested()
    {
        return link.messages().filter(u"[INFO] Connect requested to 127.0.0.1"_s).size();
    }
    QStringList retryWarnings() { return link.messages().filter(u"[WARN] Connect attempt"_s); }

    LinkFixture link;
    ConnectRetry retry;
    QStringList texts; // every status text of a further attempt, in order
};
} // namespace

class TestConnectRetry : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theCausesWorthAnotherAttempt()
    {
        QCOMPARE(connectRetryCause(u"Handshake timeout"_s), u"Handshake timeout"_s);
        QCOMPARE(connectRetryCause(lostClientId), u"Handshake timeout"_s);
        QCOMPARE(connectRetryCause(u"Heartbeat verification failed"_s),
                 u"Heartbeat check failed"_s);
        for (const QString& status :
             {u"Disconnected"_s, u"Failed to create sockets"_s,
              u"Connection lost (heartbeat timeout)"_s, u"Handshake timeouts"_s, QString()}) {
            QCOMPARE(connectRetryCause(status), std::nullopt);
        }
        QCOMPARE(connectRetryText(u"Handshake timeout"_s, 2, 2),
                 u"Handshake timeout; trying again, attempt 2 of 2"_s);
        QCOMPARE(connectRetryText(u"Heartbeat check failed"_s, 2, 2),
                 u"Heartbeat check failed; trying again, attempt 2 of 2"_s);
    }

    void asManyAttemptsAsTheCommandLineMakes()
    {
        Retrying test;
        QCOMPARE(test.retry.attempts(), defaultConnectAttempts);
        QCOMPARE(defaultConnectAttempts, 2);
        QVERIFY(!test.retry.isActive());
        QCOMPARE(test.retry.statusText(), QString());
    }

    void aHandshakeLeftUnansweredIsTriedOnceMore()
    {
        Retrying test(losingTheFirstClientIds());
        QVERIFY(test.link.startFrame());
        test.connect();
        QVERIFY(test.retry.isActive());
        QCOMPARE(test.retry.attempt(), 1);
        QCOMPARE(test.retry.statusText(), QString());
        QVERIFY(test.connected());

        QCOMPARE(test.texts, QStringList{u"Handshake timeout; trying again, attempt 2 of 2"_s});
        QVERIFY(!test.retry.isActive());
        QCOMPARE(test.retry.statusText(), QString());
        const QStringList messages = test.link.messages();
        QVERIFY(messages.contains(u"[ERROR] Handshake failed at stage 3: no answer to the "
                                  u"ClientID after 4 tries at 127.0.0.1:5000"_s));
        QCOMPARE(test.retryWarnings(), QStringList{u"[WARN] Connect attempt 1 of 2 failed: "_s +
                                                   lostClientId + u"; trying again"_s});
        QVERIFY(messages.contains(u"[INFO] Connected at attempt 2 of 2"_s));
        QCOMPARE(test.connectsRequested(), 2);
        // Four ClientIDs lost, the next answered.
        const QList<emulator::ReceivedDatagram> clientIds =
            test.link.sentBy(ClientMessageKind::clientIdFirst);
        QVERIFY(clientIds.size() >= 5);
        for (qsizetype k = 0; k < clientIds.size(); ++k)
            QCOMPARE(clientIds[k].dropped, k < 4);
        QVERIFY(!test.link.connection->mappings().isEmpty());
        QCOMPARE(test.link.connection->savedHost(), u"127.0.0.1"_s);
    }

    void aFrameThatWasNotThereYetIsReachedByTheSecondAttempt()
    {
        Retrying test;
        // The frame turns up as the second attempt begins.
        QObject::connect(&test.retry, &ConnectRetry::progressChanged, &test.retry, [&test] {
            if (test.retry.attempt() == 2 && !test.link.frame.isRunning())
                test.link.startFrame();
        });
        test.connect();
        QVERIFY(test.connected());
        QCOMPARE(test.texts, QStringList{u"Handshake timeout; trying again, attempt 2 of 2"_s});
        QCOMPARE(test.retryWarnings(),
                 QStringList{
                     u"[WARN] Connect attempt 1 of 2 failed: Handshake timeout; trying again"_s});
        QCOMPARE(test.link.messages().filter(u"[ERROR] Handshake TIMEOUT at stage 1"_s).size(), 1);
        QVERIFY(test.link.logged(u"[INFO] Connected at attempt 2 of 2"_s));
        QVERIFY(!test.retry.isActive());
    }

    void aFailedHeartbeatCheckIsTriedOnceMore()
    {
        Retrying test;
        QVERIFY(test.link.startFrame());
        // The frame leaves the first attempt's PINGs unanswered and answers the second's.
        QObject::connect(test.link.connection.get(), &GVConnection::connectionStateChanged,
                         &test.retry, [&test] {
                             switch (test.link.connection->connectionState()) {
                             case ConnectionState::connecting: // the handshake has a PING too
                                 test.link.frame.setAnsweringPings(true);
                                 break;
                             case ConnectionState::heartbeat:
                                 test.link.frame.setAnsweringPings(test.retry.attempt() > 1);
                                 break;
                             default:
                                 break;
                             }
                         });
        test.connect();
        QVERIFY(test.connected());
        QCOMPARE(test.texts,
                 QStringList{u"Heartbeat check failed; trying again, attempt 2 of 2"_s});
        QVERIFY(test.link.logged(u"[ERROR] Heartbeat verification failed: only 0/3 successful"_s));
        QCOMPARE(test.retryWarnings(),
                 QStringList{u"[WARN] Connect attempt 1 of 2 failed: Heartbeat verification "
                             u"failed; trying again"_s});
        QVERIFY(test.link.logged(u"[INFO] Connected at attempt 2 of 2"_s));
        QCOMPARE(test.link.sentBy(ClientMessageKind::clientIdFirst).size(), 2);
    }

    void whenBothAttemptsFailTheLastFailureStands()
    {
        Retrying test; // no frame at all
        test.connect();
        QVERIFY(test.settled(ConnectionState::idle));
        QCOMPARE(test.link.connection->statusMessage(), u"Handshake timeout"_s);
        QCOMPARE(test.texts, QStringList{u"Handshake timeout; trying again, attempt 2 of 2"_s});
        QCOMPARE(test.retry.statusText(), QString());
        QCOMPARE(test.retry.attempt(), 0);
        QCOMPARE(test.connectsRequested(), 2);
        QCOMPARE(test.link.messages().filter(u"[ERROR] Handshake TIMEOUT at stage 1"_s).size(), 2);
        QCOMPARE(test.retryWarnings().size(), 1);
        QVERIFY(test.link.connection->savedHost().isEmpty());
    }

    void aCancelledConnectIsNotTriedAgain()
    {
        Retrying test(losingTheFirstClientIds());
        QVERIFY(test.link.startFrame());
        test.connect();
        QTRY_COMPARE_WITH_TIMEOUT(test.link.connection->connectionState(),
                                  ConnectionState::handshake, waitMs);
        // The panel's Cancel alone, without a word to the attempts: the cancel says no more.
        test.link.connection->cancelConnect();
        QVERIFY(test.settled(ConnectionState::idle));
        QCOMPARE(test.link.connection->statusMessage(), u"Disconnected"_s);
        QVERIFY(test.texts.isEmpty());
        QVERIFY(test.retryWarnings().isEmpty());
        QCOMPARE(test.connectsRequested(), 1);
    }

    void stoppedDuringTheSecondAttemptItTriesNoMore()
    {
        Retrying test; // no frame: both attempts would fail
        test.connect();
        QVERIFY(test.secondAttemptInHandshake());
        QCOMPARE(test.retry.statusText(), u"Handshake timeout; trying again, attempt 2 of 2"_s);
        // As the panel's Cancel does it: no further attempt, then the set-up cancelled.
        test.retry.stop();
        QVERIFY(!test.retry.isActive());
        QCOMPARE(test.retry.statusText(), QString());
        test.link.connection->cancelConnect();
        QVERIFY(test.settled(ConnectionState::idle));
        QCOMPARE(test.link.connection->statusMessage(), u"Disconnected"_s);
        QCOMPARE(test.connectsRequested(), 2);
        QCOMPARE(test.link.messages().filter(u"[ERROR] Handshake TIMEOUT"_s).size(), 1);
    }

    void portsHeldByAnotherProgramAreNotTriedAgain()
    {
        Retrying test;
        QVERIFY(test.link.startFrame());
        QUdpSocket holder;
        QVERIFY(holder.bind(QHostAddress::AnyIPv4, 6132, QAbstractSocket::DontShareAddress));
        test.connect();
        QVERIFY(test.settled(ConnectionState::idle));
        QCOMPARE(test.link.connection->statusMessage(), u"Failed to create sockets"_s);
        QVERIFY(test.texts.isEmpty());
        QVERIFY(test.retryWarnings().isEmpty());
        QCOMPARE(test.connectsRequested(), 1);
    }

    void aConnectStartedElsewhereEndsTheAttempts()
    {
        Retrying test; // no frame
        test.connect();
        QVERIFY(test.secondAttemptInHandshake());
        // Another connect takes the link over; its failure is its own.
        test.link.connection->connect(u"127.0.0.1"_s, 2, 20);
        QVERIFY(!test.retry.isActive());
        QVERIFY(test.settled(ConnectionState::idle));
        QCOMPARE(test.link.connection->statusMessage(), u"Handshake timeout"_s);
        QCOMPARE(test.connectsRequested(), 3);
        QCOMPARE(test.retryWarnings().size(), 1);
        QCOMPARE(test.link.connection->selectedSuite(), 2);
    }

    // The automatic reconnect follows a lost link and backs off between its own attempts; a
    // failure of one of them is not tried again at once.
    void theAutomaticReconnectsAttemptsAreItsOwn()
    {
        Retrying test;
        AutoReconnect reconnect(*test.link.connection, test.link.preferences);
        reconnect.setSecondLength(100ms);
        reconnect.setEnabled(true);
        QVERIFY(test.link.startFrame());
        test.connect();
        QVERIFY(test.connected());
        QVERIFY(!test.retry.isActive());

        test.link.frame.stop();
        QTRY_VERIFY_WITH_TIMEOUT(reconnect.isCountingDown(), waitMs);
        QVERIFY(!test.retry.isActive());
        // Its first attempt finds no frame and fails; it counts down to its second.
        QTRY_VERIFY_WITH_TIMEOUT(reconnect.isCountingDown() && reconnect.attempt() == 2, waitMs);
        QVERIFY(!test.retry.isActive());
        QVERIFY(test.texts.isEmpty());
        QVERIFY(test.retryWarnings().isEmpty());
        QCOMPARE(test.link.messages().filter(u"[ERROR] Handshake TIMEOUT"_s).size(), 1);
        QVERIFY(test.link.startFrame());
        QVERIFY(test.connected());
        QVERIFY(test.link.logged(u"[INFO] Reconnected to 127.0.0.1 at attempt 2"_s));
        QVERIFY(!test.retry.isActive());
    }
};

QTEST_GUILESS_MAIN(TestConnectRetry)
#include "tst_connect_retry.moc"
