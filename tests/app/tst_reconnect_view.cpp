// Reconnect automatically, as the operator meets it in the main window: the option, the
// countdown in the status line with its Cancel, a frame restarted and connected again without
// a click, and the user's own Disconnect or Cancel, which it never undoes.
#include "session/auto_reconnect.h"
#include "desk.h"

#include <QCheckBox>
#include <QLabel>
#include <QTabBar>

using namespace Qt::StringLiterals;
using namespace quorvane;
using namespace quorvane::test;
using emulator::ClientMessageKind;

namespace {
// A countdown second here: long enough for the status line to be seen at each step.
constexpr std::chrono::milliseconds second{300};

struct ReconnectDesk : Desk {
    ReconnectDesk()
    {
        LinkTiming timing = fastTiming();
        timing.keepAliveInterval = 100ms;
        timing.heartbeatTimeout = 300ms;
        connection.setTiming(timing);
        view.autoReconnect().setSecondLength(second);
    }

    ConnectionPanel& panel() { return *view.connectionPanel(); }
    bool startFrame() { return frame.start(); }
    QString status() { return panel().statusLabel()->text(); }
    // Where the bus tabs stand in the window.
    int tabsTop() { return view.busTabs()->mapTo(view.window(), QPoint(0, 0)).y(); }
    qsizetype handshakes() { return frame.receivedOfKind(ClientMessageKind::clientIdFirst).size(); }

    // Whether a connect begins before the given attempt would have begun: its countdown, and
    // one second more as a margin. Only a wait can show that nothing begins; this one is bounded
    // by the countdown's own timing, and over at once if something does.
    bool connectsBeforeAttempt(int attempt)
    {
        return QTest::qWaitFor(
            [this] { return connection.connectionState() != ConnectionState::idle; },
            (reconnectDelaySeconds(attempt) + 1) * int(second.count()));
    }

    // The option on, connected, and the frame gone: the countdown runs.
    bool loseTheFrame()
    {
        if (!start())
            return false;
        QTest::mouseClick(panel().reconnectToggle(), Qt::LeftButton);
        if (!view.autoReconnect().isEnabled() || !connectAndWait())
            return false;
        frame.stop();
        return QTest::qWaitFor([this] { return panel().stopReconnectButton()->isVisible(); },
                               connectTimeoutMs);
    }
};
} // namespace

class TestReconnectView : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theOptionIsOffAtFirstAndRemembered()
    {
        ReconnectDesk desk;
        QVERIFY(desk.start());
        QCheckBox* option = desk.panel().reconnectToggle();
        QCOMPARE(option->text(), u"Reconnect automatically"_s);
        QVERIFY(!option->isChecked());
        QVERIFY(!desk.panel().stopReconnectButton()->isVisible());
        QTest::mouseClick(option, Qt::LeftButton);
        QVERIFY(desk.view.autoReconnect().isEnabled());

        // The next start of the program finds it on.
        MainWindow again(desk.preferences, desk.logger);
        QVERIFY(again.contentView().connectionPanel()->reconnectToggle()->isChecked());
    }

    void aRestartedFrameIsConnectedAgainWithoutAClick()
    {
        ReconnectDesk desk;
        QVERIFY(desk.loseTheFrame());
        QCOMPARE(desk.status(), u"Connection lost. Reconnecting to 127.0.0.1 in 2 s…"_s);
        QCOMPARE(desk.panel().connectButton()->text(), u"Connect"_s);
        QTRY_COMPARE(desk.status(), u"Connection lost. Reconnecting to 127.0.0.1 in 1 s…"_s);
        QVERIFY(desk.startFrame());

        QTRY_COMPARE_WITH_TIMEOUT(desk.panel().connectButton()->text(), u"Disconnect"_s,
                                  connectTimeoutMs);
        QVERIFY(!desk.panel().stopReconnectButton()->isVisible());
        QVERIFY(!desk.status().contains(u"Reconnecting"_s));
        QVERIFY(desk.model.cellState(1, 1).isFullyLoaded);

        // The user's Disconnect afterwards stays.
        const qsizetype before = desk.handshakes();
        QTest::mouseClick(desk.panel().connectButton(), Qt::LeftButton);
        QCOMPARE(desk.connection.connectionState(), ConnectionState::idle);
        QVERIFY(!desk.connectsBeforeAttempt(1));
        QCOMPARE(desk.handshakes(), before);
        QCOMPARE(desk.connection.connectionState(), ConnectionState::idle);
        QCOMPARE(desk.panel().connectButton()->text(), u"Connect"_s);
    }

    void cancelDuringTheCountdownStopsIt()
    {
        ReconnectDesk desk;
        QVERIFY(desk.loseTheFrame());
        const int tabsWithCancel = desk.tabsTop();
        QTest::mouseClick(desk.panel().stopReconnectButton(), Qt::LeftButton);
        QVERIFY(!desk.panel().stopReconnectButton()->isVisible());
        // The Cancel going does not move what is below the status line, once laid out anew.
        QCoreApplication::processEvents();
        QCOMPARE(desk.tabsTop(), tabsWithCancel);
        QVERIFY(!desk.status().contains(u"Reconnecting"_s));
        QVERIFY(desk.startFrame());
        const qsizetype before = desk.handshakes();
        QVERIFY(!desk.connectsBeforeAttempt(1));
        QCOMPARE(desk.handshakes(), before);
        QCOMPARE(desk.connection.connectionState(), ConnectionState::idle);
        // The option itself stays on for the next loss.
        QVERIFY(desk.panel().reconnectToggle()->isChecked());
    }

    void theUsersCancelOfAnAttemptStopsIt()
    {
        ReconnectDesk desk;
        QVERIFY(desk.loseTheFrame());
        // The attempt runs against a frame that is still away.
        QTRY_COMPARE_WITH_TIMEOUT(desk.connection.connectionState(), ConnectionState::handshake,
                                  connectTimeoutMs);
        QCOMPARE(desk.panel().connectButton()->text(), u"Cancel"_s);
        QTest::mouseClick(desk.panel().connectButton(), Qt::LeftButton);
        QCOMPARE(desk.connection.connectionState(), ConnectionState::idle);
        QVERIFY(!desk.view.autoReconnect().isActive());
        QVERIFY(desk.startFrame());
        const qsizetype before = desk.handshakes();
        // The attempt cancelled was the first: the next would be the second.
        QVERIFY(!desk.connectsBeforeAttempt(2));
        QCOMPARE(desk.handshakes(), before);
        QCOMPARE(desk.connection.connectionState(), ConnectionState::idle);
    }
};

QTEST_MAIN(TestReconnectView)
#include "tst_reconnect_view.moc"
