// Reconnecting automatically to the emulated frame after it has fallen silent: when it starts,
// what it connects to, how it backs off, and everything that stops it. The protocol's waits and
// the countdown's seconds are shortened.
#include "session/auto_reconnect.h"
#include "link_fixture.h"

#include <QSignalSpy>
#include <functional>

using namespace Qt::StringLiterals;
using namespace quorvane;
using namespace quorvane::test;
using emulator::ClientMessageKind;

namespace {
constexpr int waitMs = 10'000;
// A countdown second in these tests.
constexpr std::chrono::milliseconds second{50};

LinkTiming quickTiming()
{
    LinkTiming timing = fastTiming();
    timing.keepAliveInterval = 100ms;
    timing.heartbeatTimeout = 300ms;
    // An attempt on a frame that is away fails soon.
    timing.syncRetry = 100ms;
    timing.handshakeLimit = 600ms;
    return timing;
}

struct Reconnecting {
    Reconnecting()
        : link({}, quickTiming())
        , reconnect(*link.connection, link.preferences)
    {
        reconnect.setSecondLength(second);
        QObject::connect(&reconnect, &AutoReconnect::progressChanged, &reconnect, [this] {
            if (reconnect.isCountingDown())
                countdowns.append(reconnect.countdownText());
        });
    }

    bool connect(int suite = 1, int buttonCount = 35)
    {
        link.connection->connect(u"127.0.0.1"_s, suite, buttonCount);
        return waitUntil(
            [this] { return link.connection->connectionState() == ConnectionState::connected; },
            waitMs);
    }

    // The option on, connected, and then the frame gone.
    bool loseTheFrame()
    {
        reconnect.setEnabled(true);
        if (!link.startFrame() || !connect())
            return false;
        link.frame.stop();
        return true;
    }

    // Whether `happened` comes true before the given attempt would have begun: its countdown,
    // and one second more as a margin (plus `moreMs`). Only a wait can show that nothing
    // happens; this one is bounded by the countdown's own timing, and over at once if it does.
    static bool beforeAttempt(int attempt, const std::function<bool()>& happened, int moreMs = 0)
    {
        const int countdownMs = (reconnectDelaySeconds(attempt) + 1) * int(second.count());
        return QTest::qWaitFor(happened, countdownMs + moreMs);
    }

    // The frame started again, and no connect begun by the time the given attempt would have.
    bool noAttemptOnceTheFrameIsBack(int attempt = 1)
    {
        if (!link.startFrame())
            return false;
        const qsizetype before = handshakes();
        return !beforeAttempt(attempt, [this] { return !idle(); }) && handshakes() == before;
    }

    bool idle() const { return link.connection->connectionState() == ConnectionState::idle; }

    // How often the client has begun a handshake with the frame.
    qsizetype handshakes() const { return link.sentBy(ClientMessageKind::clientIdFirst).size(); }

    LinkFixture link;
    AutoReconnect reconnect;
    QStringList countdowns; // every text shown while counting down, in order
};
} // namespace

class TestAutoReconnect : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theDelaysDoubleFromTwoSecondsThenStayAtThirty()
    {
        QList<int> delays;
        for (int attempt = 1; attempt <= 8; ++attempt)
            delays.append(reconnectDelaySeconds(attempt));
        QCOMPARE(delays, QList<int>({2, 4, 8, 16, 30, 30, 30, 30}));
        QCOMPARE(reconnectDelaySeconds(1000), 30);
    }

    void theCountdownSaysWhereAndWhen()
    {
        QCOMPARE(reconnectCountdownText(u"10.1.2.3"_s, 8, 1),
                 u"Connection lost. Reconnecting to 10.1.2.3 in 8 s…"_s);
        QCOMPARE(reconnectCountdownText(u"10.1.2.3"_s, 16, 4),
                 u"Reconnecting to 10.1.2.3 in 16 s… (attempt 4)"_s);
    }

    void theOptionIsOffUntilSwitchedOnAndIsRemembered()
    {
        QTemporaryDir folder;
        QSettings preferences(folder.filePath(u"prefs.ini"_s), QSettings::IniFormat);
        DebugLogger logger;
        logger.setEcho(nullptr);
        GVConnection connection(preferences, logger);
        {
            AutoReconnect reconnect(connection, preferences);
            QVERIFY(!reconnect.isEnabled());
            QSignalSpy changed(&reconnect, &AutoReconnect::enabledChanged);
            reconnect.setEnabled(true);
            reconnect.setEnabled(true);
            QCOMPARE(changed.count(), 1);
        }
        QCOMPARE(preferences.value(u"Quorvane.reconnectAutomatically"_s).toBool(), true);
        AutoReconnect again(connection, preferences);
        QVERIFY(again.isEnabled());
        again.setEnabled(false);
        QCOMPARE(AutoReconnect(connection, preferences).isEnabled(), false);
    }

    void aFrameThatStopsAndStartsAgainIsConnectedAgain()
    {
        Reconnecting test;
        test.reconnect.setEnabled(true);
        QVERIFY(test.link.startFrame());
        QVERIFY(test.connect(2, 20));
        QVERIFY(!test.reconnect.isActive());
        QSignalSpy lost(test.link.connection.get(), &GVConnection::heartbeatTimedOut);

        test.link.frame.stop();
        QTRY_VERIFY_WITH_TIMEOUT(test.reconnect.isCountingDown(), waitMs);
        QCOMPARE(lost.count(), 1);
        QCOMPARE(test.link.connection->connectionState(), ConnectionState::idle);
        QCOMPARE(test.reconnect.attempt(), 1);
        QVERIFY(test.link.startFrame());
        const qsizetype before = test.handshakes();

        QTRY_COMPARE_WITH_TIMEOUT(test.link.connection->connectionState(),
                                  ConnectionState::connected, waitMs);
        // Counted down second by second, then connected to the same frame, suite and count.
        QCOMPARE(test.countdowns,
                 QStringList({u"Connection lost. Reconnecting to 127.0.0.1 in 2 s…"_s,
                              u"Connection lost. Reconnecting to 127.0.0.1 in 1 s…"_s}));
        QCOMPARE(test.handshakes(), before + 1);
        QCOMPARE(test.link.connection->targetHost(), u"127.0.0.1"_s);
        QCOMPARE(test.link.connection->selectedSuite(), 2);
        QCOMPARE(test.link.connection->mainPort(), quint16(6134));
        QCOMPARE(test.link.connection->buttonCount(), 20);
        QVERIFY(!test.link.connection->mappings().isEmpty());
        QVERIFY(!test.reconnect.isActive());
        QCOMPARE(test.reconnect.countdownText(), QString());
        QVERIFY(test.link.logged(u"[INFO] Reconnecting to 127.0.0.1 in 2s (attempt 1)"_s));
        QVERIFY(test.link.logged(u"[INFO] Reconnected to 127.0.0.1 at attempt 1"_s));
    }

    void failedAttemptsWaitLongerEachTimeUntilOneSucceeds()
    {
        Reconnecting test;
        test.reconnect.setEnabled(true);
        QVERIFY(test.link.startFrame());
        QVERIFY(test.connect());
        // The frame comes back while the third attempt is counted down.
        QObject::connect(&test.reconnect, &AutoReconnect::progressChanged, &test.reconnect, [&] {
            if (test.reconnect.attempt() == 3 && !test.link.frame.isRunning())
                test.link.startFrame();
        });

        test.link.frame.stop();
        QTRY_VERIFY_WITH_TIMEOUT(test.reconnect.isActive(), waitMs);
        QTRY_COMPARE_WITH_TIMEOUT(test.link.connection->connectionState(),
                                  ConnectionState::connected, waitMs);
        QCOMPARE(test.countdowns.first(), u"Connection lost. Reconnecting to 127.0.0.1 in 2 s…"_s);
        QVERIFY(test.countdowns.contains(u"Reconnecting to 127.0.0.1 in 4 s… (attempt 2)"_s));
        QVERIFY(test.countdowns.contains(u"Reconnecting to 127.0.0.1 in 8 s… (attempt 3)"_s));
        // Every second of the three countdowns was shown.
        QCOMPARE(test.countdowns.size(), 2 + 4 + 8);
        QCOMPARE(test.link.messages().filter(u"Handshake TIMEOUT"_s).size(), 2);
        QVERIFY(test.link.logged(u"[INFO] Reconnected to 127.0.0.1 at attempt 3"_s));

        // Success started the schedule afresh: the next loss waits 2 s again.
        test.countdowns.clear();
        test.link.frame.stop();
        QTRY_VERIFY_WITH_TIMEOUT(test.reconnect.isCountingDown(), waitMs);
        QCOMPARE(test.reconnect.attempt(), 1);
        QCOMPARE(test.countdowns.first(), u"Connection lost. Reconnecting to 127.0.0.1 in 2 s…"_s);
    }

    void stoppedDuringTheCountdownItNeverConnects()
    {
        Reconnecting test;
        QVERIFY(test.loseTheFrame());
        QTRY_VERIFY_WITH_TIMEOUT(test.reconnect.isCountingDown(), waitMs);
        test.reconnect.stop();
        QVERIFY(!test.reconnect.isActive());
        QCOMPARE(test.reconnect.countdownText(), QString());
        QVERIFY(test.link.logged(u"[INFO] Automatic reconnect to 127.0.0.1 stopped"_s));
        QVERIFY(test.noAttemptOnceTheFrameIsBack());
        QCOMPARE(test.link.connection->connectionState(), ConnectionState::idle);
    }

    void switchedOffDuringTheCountdownItNeverConnects()
    {
        Reconnecting test;
        QVERIFY(test.loseTheFrame());
        QTRY_VERIFY_WITH_TIMEOUT(test.reconnect.isCountingDown(), waitMs);
        test.reconnect.setEnabled(false);
        QVERIFY(!test.reconnect.isActive());
        QVERIFY(test.noAttemptOnceTheFrameIsBack());
    }

    void stoppedDuringAnAttemptItTriesNoMore()
    {
        Reconnecting test;
        QVERIFY(test.loseTheFrame());
        QTRY_COMPARE_WITH_TIMEOUT(test.link.connection->connectionState(),
                                  ConnectionState::handshake, waitMs);
        QVERIFY(test.reconnect.isActive());
        QVERIFY(!test.reconnect.isCountingDown());
        // As the panel's Cancel does it: the user takes over, then the set-up is cancelled.
        test.reconnect.stop();
        test.link.connection->cancelConnect();
        QVERIFY(!test.reconnect.isActive());
        QVERIFY(test.noAttemptOnceTheFrameIsBack(2));
        QCOMPARE(test.link.connection->connectionState(), ConnectionState::idle);
    }

    void aConnectStartedElsewhereEndsTheCountdown()
    {
        Reconnecting test;
        QVERIFY(test.loseTheFrame());
        QTRY_VERIFY_WITH_TIMEOUT(test.reconnect.isCountingDown(), waitMs);
        QVERIFY(test.link.startFrame());
        QVERIFY(test.connect(3, 25));
        QVERIFY(!test.reconnect.isActive());
        // Nobody connected over it: still the link that was asked for.
        QVERIFY(!Reconnecting::beforeAttempt(1, [&] {
            return test.link.connection->selectedSuite() != 3 ||
                   test.link.connection->connectionState() != ConnectionState::connected;
        }));
        QCOMPARE(test.link.connection->connectionState(), ConnectionState::connected);
        QCOMPARE(test.link.connection->selectedSuite(), 3);
        QCOMPARE(test.link.connection->buttonCount(), 25);
    }

    void switchedOffItLetsTheLinkGo()
    {
        Reconnecting test;
        QVERIFY(test.link.startFrame());
        QVERIFY(test.connect());
        test.link.frame.stop();
        QTRY_VERIFY_WITH_TIMEOUT(test.link.logged(u"[INFO] Disconnect requested"_s), waitMs);
        QVERIFY(test.link.startFrame());
        const qsizetype before = test.handshakes();
        QVERIFY(!Reconnecting::beforeAttempt(1, [&] { return !test.idle(); }));
        QVERIFY(!test.reconnect.isActive());
        QVERIFY(test.countdowns.isEmpty());
        QCOMPARE(test.handshakes(), before);
    }

    void theUsersDisconnectAndFailedConnectAreLeftAlone()
    {
        Reconnecting test;
        test.reconnect.setEnabled(true);
        QSignalSpy lost(test.link.connection.get(), &GVConnection::heartbeatTimedOut);
        // A connect to a frame that is not there fails, and stays failed.
        test.link.connection->connect(u"127.0.0.1"_s, 1, 35);
        QTRY_COMPARE_WITH_TIMEOUT(test.link.connection->statusMessage(), u"Handshake timeout"_s,
                                  waitMs);
        QVERIFY(!test.reconnect.isActive());

        // A link the user ends is not lost: well past the time-out, nothing follows.
        QVERIFY(test.link.startFrame());
        QVERIFY(test.connect());
        test.link.connection->disconnect();
        const qsizetype before = test.handshakes();
        QVERIFY(!Reconnecting::beforeAttempt(
            1, [&] { return !lost.isEmpty() || !test.idle(); },
            int(quickTiming().heartbeatTimeout.count())));
        QCOMPARE(lost.count(), 0);
        QVERIFY(!test.reconnect.isActive());
        QVERIFY(test.countdowns.isEmpty());
        QCOMPARE(test.handshakes(), before);
    }
};

QTEST_GUILESS_MAIN(TestAutoReconnect)
#include "tst_auto_reconnect.moc"
