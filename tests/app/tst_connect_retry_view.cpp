// A connect that fails as the operator meets it in the main window: the status line while a
// further attempt is made, the Cancel that ends the attempts, and the last failure reported
// as any failure is. The protocol's waits are shortened.
#include "retry_desk.h"
#include "session/link_failure.h"

#include <QPushButton>

using namespace Qt::StringLiterals;
using namespace quorvane;
using namespace quorvane::test;

namespace {
const QString handshakeRetry = u"Handshake timeout; trying again, attempt 2 of 2"_s;

LinkTiming quickTiming()
{
    LinkTiming timing = fastTiming();
    // A silent frame is given up soon, a lost handshake message soon resent.
    timing.syncRetry = 100ms;
    timing.handshakeLimit = 600ms;
    timing.handshakeResend = 100ms;
    return timing;
}

// A frame that never answers the handshake: every attempt fails.
emulator::FrameEmulatorOptions silentHandshake()
{
    emulator::FrameEmulatorOptions options;
    options.faults.neverAnswerHandshake = true;
    return options;
}
} // namespace

class TestConnectRetryView : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theStatusLineSaysASecondAttemptIsMade()
    {
        RetryDesk desk(losingTheFirstClientIds());
        desk.connection.setTiming(quickTiming());
        QVERIFY(desk.start());
        QVERIFY(desk.connectAndWait());

        // Shown from the failure until the link is verified, beside each state of the attempt.
        QCOMPARE(desk.shownWith(handshakeRetry),
                 QStringList({u"Disconnected | "_s + handshakeRetry,
                              u"Connecting... | "_s + handshakeRetry,
                              u"Establishing handshake... | "_s + handshakeRetry,
                              u"Verifying heartbeat... | "_s + handshakeRetry}));
        // The first failure never stood on its own, and the link was never given up.
        QCOMPARE(desk.shown.filter(u"Handshake timeout"_s), desk.shownWith(handshakeRetry));
        QVERIFY(!desk.bannerSeen);
        QVERIFY(!desk.status().contains(u"trying again"_s));
        QCOMPARE(desk.panel().connectButton()->text(), u"Disconnect"_s);
        QVERIFY(desk.messages().contains(
            u"[WARN] Connect attempt 1 of 2 failed: Handshake timeout: no answer to the ClientID "
            u"after 4 tries at 127.0.0.1:5000; trying again"_s));
        QVERIFY(desk.messages().contains(u"[INFO] Connected at attempt 2 of 2"_s));
        QCOMPARE(desk.connectsRequested(), 2);
    }

    void cancelEndsTheAttempts()
    {
        RetryDesk desk(silentHandshake());
        desk.connection.setTiming(quickTiming());
        QVERIFY(desk.start());
        QPushButton* button = desk.panel().connectButton();
        QTest::mouseClick(button, Qt::LeftButton);
        QVERIFY(QTest::qWaitFor(
            [&desk] {
                return desk.view.connectRetry().attempt() == 2 &&
                       desk.connection.connectionState() == ConnectionState::handshake;
            },
            connectTimeoutMs));
        QCOMPARE(desk.status(), handshakeRetry);
        QCOMPARE(button->text(), u"Cancel"_s);

        QTest::mouseClick(button, Qt::LeftButton);
        QVERIFY(!desk.view.connectRetry().isActive());
        QCOMPARE(button->text(), u"Connect"_s);
        QCOMPARE(desk.panel().stateLabel()->text(), u"Disconnected"_s);
        // A cancel is no failure: nothing to report, no banner.
        QCOMPARE(desk.status(), QString());
        QVERIFY(desk.view.linkBanner()->isHidden());
        QVERIFY(desk.messages().contains(u"[INFO] Connection cancelled by user"_s));
        QCOMPARE(desk.connectsRequested(), 2);
        QCOMPARE(desk.messages().filter(u"[ERROR] Handshake TIMEOUT"_s).size(), 1);
    }

    void theLastFailureIsReportedAsAnyFailureIs()
    {
        RetryDesk desk(silentHandshake());
        desk.connection.setTiming(quickTiming());
        QVERIFY(desk.start());
        QTest::mouseClick(desk.panel().connectButton(), Qt::LeftButton);
        QVERIFY(QTest::qWaitFor(
            [&desk] {
                return !desk.view.connectRetry().isActive() &&
                       desk.connection.connectionState() == ConnectionState::idle;
            },
            connectTimeoutMs));
        QCOMPARE(desk.connection.statusMessage(), u"Handshake timeout"_s);
        QVERIFY(desk.view.linkFailure().text().startsWith(u"Handshake timeout at "_s));
        QCOMPARE(desk.status(), desk.view.linkFailure().text());
        QVERIFY(!desk.view.linkBanner()->isHidden());
        QCOMPARE(desk.panel().connectButton()->text(), u"Connect"_s);
        // Until the second attempt had failed as well.
        QCOMPARE(desk.shownWith(handshakeRetry),
                 QStringList({u"Disconnected | "_s + handshakeRetry,
                              u"Connecting... | "_s + handshakeRetry,
                              u"Establishing handshake... | "_s + handshakeRetry,
                              u"Disconnected | "_s + handshakeRetry}));
        QCOMPARE(desk.connectsRequested(), 2);
        QCOMPARE(desk.messages().filter(u"[ERROR] Handshake TIMEOUT at stage 1"_s).size(), 2);
    }
};

QTEST_MAIN(TestConnectRetryView)
#include "tst_connect_retry_view.moc"
