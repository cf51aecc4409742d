// How a connect ends when the frame does not play along, and the panel's cancel at every stage:
// always back in `idle`, never hanging, with the status text the operator needs.
#include "link_fixture.h"

#include <QRegularExpression>

using namespace Qt::StringLiterals;
using namespace quorvane;
using namespace quorvane::test;
using emulator::ClientMessageKind;

namespace {

// Calls `onPing` for every PING on the dynamic port, before the frame answers it, with its
// number: 0 is the handshake's, 1 to 5 the verification exchanges'.
void onDynamicPing(LinkFixture& link, std::function<void(int exchange)> onPing)
{
    auto pings = std::make_shared<int>(0);
    QObject::connect(&link.frame, &emulator::FrameEmulator::datagramReceived, &link.frame,
                     [pings, onPing](const emulator::ReceivedDatagram& datagram) {
                         if (datagram.localPort == 5123 &&
                             datagram.message.kind == ClientMessageKind::ping) {
                             onPing((*pings)++);
                         }
                     });
}

// Answers the verification PINGs of the listed exchanges only; the handshake's is answered.
void answerExchanges(LinkFixture& link, QList<int> answered)
{
    onDynamicPing(link, [&link, answered](int exchange) {
        link.frame.setAnsweringPings(exchange == 0 || answered.contains(exchange));
    });
}

QStringList heartbeatLines(const QStringList& messages)
{
    return messages.filter(
        QRegularExpression(u"heartbeat"_s, QRegularExpression::CaseInsensitiveOption));
}

} // namespace

class TestLinkFailures : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void verificationToleratesTwoLostAnswers()
    {
        LinkFixture link;
        answerExchanges(link, {1, 3, 5});
        QVERIFY(link.startFrame());
        link.connection->connect(u"127.0.0.1"_s, 1, 35);
        QTRY_COMPARE_WITH_TIMEOUT(link.connection->connectionState(), ConnectionState::connected,
                                  connectTimeoutMs);
        const QStringList lines = heartbeatLines(link.messages());
        QCOMPARE(lines.mid(0, 5), QStringList({u"[INFO] Verifying heartbeat (3 exchanges)..."_s,
                                               u"[INFO] Heartbeat 1 verified (1/3)"_s,
                                               u"[INFO] Heartbeat 3 verified (2/3)"_s,
                                               u"[INFO] Heartbeat 5 verified (3/3)"_s,
                                               u"[INFO] Heartbeat verification complete!"_s}));
    }

    void verificationFailsWithTwoAnswersOfFive()
    {
        LinkFixture link;
        answerExchanges(link, {1, 3});
        QVERIFY(link.startFrame());
        QElapsedTimer clock;
        clock.start();
        link.connection->connect(u"127.0.0.1"_s, 1, 35);
        QTRY_COMPARE_WITH_TIMEOUT(link.connection->statusMessage(),
                                  u"Heartbeat verification failed"_s, connectTimeoutMs);
        QCOMPARE(link.connection->connectionState(), ConnectionState::idle);
        QCOMPARE(link.connection->isLoading(), false);
        QCOMPARE(link.connection->isConnected(), false);
        QCOMPARE(link.connection->mainSock(), -1);
        const QStringList messages = link.messages();
        const qsizetype failed =
            messages.indexOf(u"[ERROR] Heartbeat verification failed: only 2/3 successful"_s);
        QVERIFY(failed >= 0);
        QCOMPARE(messages.value(failed + 1), u"[ERROR] Heartbeat verification failed"_s);
        QCOMPARE(messages.value(failed + 2), u"[INFO] Disconnect requested"_s);
        // The handshake's PING, then five verification exchanges and not one more.
        int pings = 0;
        for (const auto& datagram : link.frame.receivedOn(5123))
            pings += datagram.message.kind == ClientMessageKind::ping ? 1 : 0;
        QCOMPARE(pings, 1 + 5);
        // Each unanswered exchange waits out its whole answer period, and a pause follows
        // every exchange, the fifth too.
        QVERIFY2(clock.elapsed() >= 3 * 300 + 5 * 20, qPrintable(QString::number(clock.elapsed())));
        QCOMPARE(link.connection->savedHost(), QString());
        QVERIFY(link.preferences.value(u"Quorvane.lastHost"_s).isNull());
    }

    void twoAnswersToOnePingCountOnce()
    {
        emulator::FrameEmulatorOptions options;
        options.faults.duplicateSends = true;
        LinkFixture link(options);
        QVERIFY(link.startFrame());
        link.connection->connect(u"127.0.0.1"_s, 1, 35);
        QTRY_COMPARE_WITH_TIMEOUT(link.connection->connectionState(), ConnectionState::connected,
                                  connectTimeoutMs);
        const QStringList lines = heartbeatLines(link.messages());
        QCOMPARE(lines.mid(1, 4), QStringList({u"[INFO] Heartbeat 1 verified (1/3)"_s,
                                               u"[INFO] Heartbeat 2 verified (2/3)"_s,
                                               u"[INFO] Heartbeat 3 verified (3/3)"_s,
                                               u"[INFO] Heartbeat verification complete!"_s}));
    }

    void onlyAnAckCountsWhateverItsSequence()
    {
        // The frame answers the verification PINGs itself, differently each time.
        emulator::FrameEmulatorOptions options;
        LinkFixture link(options);
        onDynamicPing(link, [&link](int exchange) {
            link.frame.setAnsweringPings(exchange == 0 || exchange > 2);
            using emulator::ClientPort;
            using emulator::FramePort;
            if (exchange == 1) {
                link.frame.sendRaw(FramePort::dynamic, ClientPort::main, bytes("00 02 ab cd"));
            } else if (exchange == 2) {
                link.frame.sendRaw(FramePort::dynamic, ClientPort::main, bytes("02"));
                link.frame.sendRaw(FramePort::dynamic, ClientPort::main, bytes("00 01 00 00"));
            }
        });
        QVERIFY(link.startFrame());
        link.connection->connect(u"127.0.0.1"_s, 1, 35);
        QTRY_COMPARE_WITH_TIMEOUT(link.connection->connectionState(), ConnectionState::connected,
                                  connectTimeoutMs);
        const QStringList lines = heartbeatLines(link.messages());
        QCOMPARE(lines.mid(1, 4), QStringList({u"[INFO] Heartbeat 1 verified (1/3)"_s,
                                               u"[INFO] Heartbeat 3 verified (2/3)"_s,
                                               u"[INFO] Heartbeat 4 verified (3/3)"_s,
                                               u"[INFO] Heartbeat verification complete!"_s}));
    }

    void cancelAtEveryStage_data()
    {
        QTest::addColumn<ConnectionState>("stage");
        QTest::addColumn<QString>("stageLine");
        QTest::newRow("handshake")
            << ConnectionState::handshake << u"[INFO] Handshake cancelled by user"_s;
        QTest::newRow("heartbeat")
            << ConnectionState::heartbeat << u"[INFO] Heartbeat verification cancelled"_s;
        QTest::newRow("loading names") << ConnectionState::loadingNames << QString();
        QTest::newRow("loading buttons") << ConnectionState::loadingButtons << QString();
    }

    void cancelAtEveryStage()
    {
        QFETCH(ConnectionState, stage);
        QFETCH(QString, stageLine);
        emulator::FrameEmulatorOptions options;
        options.faults.neverAnswerHandshake = stage == ConnectionState::handshake;
        LinkTiming timing = fastTiming();
        timing.namesListen = std::chrono::milliseconds(2000);
        timing.buttonsListen = std::chrono::milliseconds(2000);
        LinkFixture link(options, timing);
        if (stage == ConnectionState::heartbeat)
            answerExchanges(link, {});
        QVERIFY(link.startFrame());
        link.connection->connect(u"127.0.0.1"_s, 1, 35);
        QTRY_COMPARE_WITH_TIMEOUT(link.connection->connectionState(), stage, connectTimeoutMs);
        if (stage == ConnectionState::heartbeat)
            QTRY_VERIFY(link.logged(u"[INFO] Verifying heartbeat (3 exchanges)..."_s));

        const qsizetype before = link.messages().size();
        link.connection->cancelConnect();
        QCOMPARE(link.connection->connectionState(), ConnectionState::idle);
        QCOMPARE(link.connection->isLoading(), false);
        QCOMPARE(link.connection->statusMessage(), u"Disconnected"_s);
        QCOMPARE(link.connection->mainSock(), -1);
        QCOMPARE(link.messages().mid(before, 2),
                 QStringList(
                     {u"[INFO] Connection cancelled by user"_s, u"[INFO] Disconnect requested"_s}));
        if (!stageLine.isEmpty())
            QTRY_VERIFY(link.logged(stageLine));

        // Whatever the task was doing, it leaves the state alone from now on, to its end.
        const qsizetype settled = link.messages().size();
        QTRY_VERIFY_WITH_TIMEOUT(!link.connection->isConnectionTaskRunning(), connectTimeoutMs);
        QCOMPARE(link.connection->connectionState(), ConnectionState::idle);
        QCOMPARE(link.connection->isLoading(), false);
        QCOMPARE(link.connection->statusMessage(), u"Disconnected"_s);
        QVERIFY(link.connection->mappings().isEmpty());
        QCOMPARE(link.connection->savedHost(), QString());
        const QStringList later = link.messages().mid(settled);
        QVERIFY2(later.filter(u"Connected"_s).isEmpty() &&
                     later.filter(u"Read complete"_s).isEmpty(),
                 qPrintable(later.join(u'\n')));
    }

    void aFrameThatFallsSilentIsDropped()
    {
        LinkFixture link;
        QVERIFY(link.startFrame());
        link.connection->connect(u"127.0.0.1"_s, 1, 35);
        QTRY_COMPARE_WITH_TIMEOUT(link.connection->connectionState(), ConnectionState::connected,
                                  connectTimeoutMs);
        QStringList statuses;
        QObject::connect(link.connection.get(), &GVConnection::statusMessageChanged,
                         link.connection.get(),
                         [&] { statuses.append(link.connection->statusMessage()); });
        QList<ConnectionState> statesWhenLost;
        QObject::connect(link.connection.get(), &GVConnection::heartbeatTimedOut,
                         link.connection.get(),
                         [&] { statesWhenLost.append(link.connection->connectionState()); });
        QElapsedTimer clock;
        clock.start();
        link.frame.setAnsweringPings(false);

        QTRY_COMPARE_WITH_TIMEOUT(link.connection->connectionState(), ConnectionState::idle, 6000);
        QVERIFY2(clock.elapsed() < 4500, qPrintable(QString::number(clock.elapsed())));
        static const QRegularExpression timeout(
            u"^\\[ERROR\\] Heartbeat timeout: no ACK for [34]s, disconnecting$"_s);
        QCOMPARE(link.messages().filter(timeout).size(), 1);
        // The time-out text is shown, then disconnect puts its own.
        QCOMPARE(statuses,
                 QStringList({u"Connection lost (heartbeat timeout)"_s, u"Disconnected"_s}));
        QCOMPARE(link.connection->isConnected(), false);
        QVERIFY(link.connection->mappings().isEmpty());
        QCOMPARE(link.connection->mainSock(), -1);
        // Told once, when the link is already down.
        QCOMPARE(statesWhenLost, QList<ConnectionState>({ConnectionState::idle}));
    }

    void aSilentFrameIsNotJudgedWhileLoading()
    {
        LinkTiming timing = fastTiming();
        timing.buttonsListen = std::chrono::milliseconds(4500);
        // A button that never answers keeps the load listening for its whole window.
        emulator::FrameEmulatorOptions options;
        options.faults.silentButtons = {{Bus::pgm, 35, 4, 35}};
        LinkFixture link(options, timing);
        QVERIFY(link.startFrame());
        QObject::connect(link.connection.get(), &GVConnection::connectionStateChanged,
                         link.connection.get(), [&] {
                             if (link.connection->connectionState() ==
                                 ConnectionState::loadingButtons) {
                                 link.frame.setAnsweringPings(false);
                             }
                         });
        link.connection->connect(u"127.0.0.1"_s, 1, 35);
        QTRY_COMPARE_WITH_TIMEOUT(link.connection->connectionState(),
                                  ConnectionState::loadingButtons, connectTimeoutMs);
        const qsizetype pingsBefore = link.frame.receivedOfKind(ClientMessageKind::ping).size();
        QTRY_COMPARE_WITH_TIMEOUT(link.connection->connectionState(), ConnectionState::connected,
                                  10'000);
        // PINGs went on every second, unanswered, and nobody called it a time-out.
        QVERIFY(link.frame.receivedOfKind(ClientMessageKind::ping).size() - pingsBefore >= 4);
        QVERIFY(link.messages().filter(u"Heartbeat timeout"_s).isEmpty());
        // Judged from a fresh start once connected.
        QTRY_COMPARE_WITH_TIMEOUT(link.connection->connectionState(), ConnectionState::idle, 6000);
    }
};

QTEST_GUILESS_MAIN(TestLinkFailures)
#include "tst_link_failures.moc"
