// A connect whose handshake the frame leaves unanswered, at the protocol's own timings: the
// lost ClientID goes again at its own pace until its tries are used up, the status line says
// a second attempt is made, and that attempt connects.
#include "retry_desk.h"

#include <QElapsedTimer>

using namespace Qt::StringLiterals;
using namespace quorvane;
using namespace quorvane::test;

class TestConnectRetryRealtime : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aSecondAttemptConnectsAtRealTimings()
    {
        RetryDesk desk(losingTheFirstClientIds());
        const LinkTiming timing;
        desk.connection.setTiming(timing);
        QVERIFY(desk.start());
        qint64 retryAfterMs = -1;
        QElapsedTimer sinceClick;
        QObject::connect(&desk.view.connectRetry(), &ConnectRetry::progressChanged, &desk.view,
                         [&] {
                             if (retryAfterMs < 0 && desk.view.connectRetry().attempt() == 2)
                                 retryAfterMs = sinceClick.elapsed();
                         });
        sinceClick.start();
        QTest::mouseClick(desk.panel().connectButton(), Qt::LeftButton);
        QTRY_COMPARE_WITH_TIMEOUT(desk.connection.connectionState(), ConnectionState::connected,
                                  20'000);

        // Not before the three resends of the ClientID, each after its own wait.
        QVERIFY2(retryAfterMs >= 3 * timing.handshakeResend.count(),
                 qPrintable(QString::number(retryAfterMs)));
        const QString retry = u"Handshake timeout; trying again, attempt 2 of 2"_s;
        QCOMPARE(desk.shownWith(retry),
                 QStringList({u"Disconnected | "_s + retry, u"Connecting... | "_s + retry,
                              u"Establishing handshake... | "_s + retry,
                              u"Verifying heartbeat... | "_s + retry}));
        QVERIFY(!desk.bannerSeen);
        QVERIFY(desk.messages().contains(u"[ERROR] Handshake failed at stage 3: no answer to the "
                                         u"ClientID after 4 tries at 127.0.0.1:5000"_s));
        QVERIFY(desk.messages().contains(
            u"[WARN] Connect attempt 1 of 2 failed: Handshake timeout: no answer to the ClientID "
            u"after 4 tries at 127.0.0.1:5000; trying again"_s));
        QVERIFY(desk.messages().contains(u"[INFO] Connected at attempt 2 of 2"_s));
        QCOMPARE(desk.connectsRequested(), 2);
        QCOMPARE(desk.connection.statusMessage(),
                 u"Connected to 127.0.0.1:5123 (K-Frame XP V12.3.1)"_s);
        QCOMPARE(desk.status(), desk.connection.statusMessage());
        QVERIFY(!desk.connection.mappings().isEmpty());
    }
};

QTEST_MAIN(TestConnectRetryRealtime)
#include "tst_connect_retry_realtime.moc"
