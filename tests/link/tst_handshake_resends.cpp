// A handshake message lost on the way is sent again, identical, a bounded number of times; when
// its tries are used up the connect fails naming the message that went unanswered.

#include "link_fixture.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace quorvane::test {

using emulator::ClientMessageKind;
using emulator::LostArrival;

namespace {

emulator::FrameEmulatorOptions losing(QList<LostArrival> lost)
{
    emulator::FrameEmulatorOptions options;
    options.faults.lostArrivals = std::move(lost);
    return options;
}

LinkTiming quickResends()
{
    LinkTiming timing = fastTiming();
    timing.handshakeResend = 100ms;
    return timing;
}

// Every datagram of one kind that reached the frame, lost ones included.
QList<QByteArray> arrived(const LinkFixture& link, ClientMessageKind kind)
{
    QList<QByteArray> datagrams;
    for (const auto& datagram : link.frame.receivedOfKind(kind))
        datagrams.append(datagram.bytes);
    return datagrams;
}

} // namespace

class HandshakeResends : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aLostMessageIsSentAgainAsItWas_data()
    {
        QTest::addColumn<ClientMessageKind>("kind");
        QTest::addColumn<int>("occurrence");
        QTest::addColumn<QString>("name");
        QTest::newRow("PING to port 5000") << ClientMessageKind::ping << 1 << u"PING"_s;
        QTest::newRow("ClientID to port 5000")
            << ClientMessageKind::clientIdFirst << 1 << u"ClientID"_s;
        QTest::newRow("SYNC to the dynamic port") << ClientMessageKind::sync << 2 << u"SYNC"_s;
        QTest::newRow("PING to the dynamic port") << ClientMessageKind::ping << 2 << u"PING"_s;
        QTest::newRow("ClientID to the dynamic port")
            << ClientMessageKind::clientIdSecond << 1 << u"ClientID"_s;
    }

    void aLostMessageIsSentAgainAsItWas()
    {
        QFETCH(ClientMessageKind, kind);
        QFETCH(int, occurrence);
        QFETCH(QString, name);
        LinkFixture link(losing({{kind, occurrence}, {kind, occurrence + 1}}), quickResends());
        QVERIFY(link.startFrame());
        QVERIFY(link.connectAndWait());
        QVERIFY(link.logged(u"[INFO] Handshake: no answer to the "_s + name +
                            u", sending it again (try 2 of 4)"_s));
        QVERIFY(link.logged(u"[INFO] Handshake: no answer to the "_s + name +
                            u", sending it again (try 3 of 4)"_s));
        const QList<QByteArray> sent = arrived(link, kind);
        QVERIFY(sent.size() >= occurrence + 2);
        // The same datagram each time, sequence number and all.
        QCOMPARE(sent[occurrence], sent[occurrence - 1]);
        QCOMPARE(sent[occurrence + 1], sent[occurrence - 1]);
    }

    void aMessageNeverAnsweredFailsTheConnectByName()
    {
        LinkFixture link(losing({{ClientMessageKind::clientIdSecond, 1},
                                 {ClientMessageKind::clientIdSecond, 2},
                                 {ClientMessageKind::clientIdSecond, 3},
                                 {ClientMessageKind::clientIdSecond, 4}}),
                         quickResends());
        QVERIFY(link.startFrame());
        link.connection->connect(u"127.0.0.1"_s, 1, 35);
        QTRY_COMPARE_WITH_TIMEOUT(link.connection->statusMessage(),
                                  u"Handshake timeout: no answer to the ClientID after 4 tries at "
                                  u"127.0.0.1:5123"_s,
                                  connectTimeoutMs);
        QCOMPARE(link.connection->connectionState(), ConnectionState::idle);
        QVERIFY(!link.connection->isConnected());
        const QList<QByteArray> sent = arrived(link, ClientMessageKind::clientIdSecond);
        QCOMPARE(sent.size(), 4);
        for (const QByteArray& datagram : sent)
            QCOMPARE(datagram, sent.first());
    }

    void aRegistrationWithoutReplyIsSentAgainButNeverFailsTheConnect()
    {
        LinkTiming timing = quickResends();
        timing.registrationReplyWait = 500ms;
        LinkFixture link(losing({{ClientMessageKind::registration, 1}}), timing);
        QVERIFY(link.startFrame());
        QVERIFY(link.connectAndWait());
        const QList<QByteArray> sent = arrived(link, ClientMessageKind::registration);
        QCOMPARE(sent.size(), 2);
        QCOMPARE(sent[1], sent[0]);
        QVERIFY(link.logged(u"[INFO] No reply to the registration command yet, sending it again"_s));
    }

    void aLossyNetworkStillConnects_data()
    {
        QTest::addColumn<quint32>("seed");
        for (quint32 seed = 1; seed <= 4; ++seed)
            QTest::addRow("5 %% lost each way, seed %u", seed) << seed;
    }

    void aLossyNetworkStillConnects()
    {
        QFETCH(quint32, seed);
        emulator::FrameEmulatorOptions options;
        options.faults.dropFraction = 0.05;
        options.faults.dropSentFraction = 0.05;
        options.faults.seed = seed;
        LinkTiming timing = quickResends();
        // The verification's PINGs keep their own patience: three of five must be answered.
        timing.heartbeatAnswerPeriod = LinkTiming{}.heartbeatAnswerPeriod;
        LinkFixture link(options, timing);
        QVERIFY(link.startFrame());
        QVERIFY(link.connectAndWait());
    }
};

} // namespace quorvane::test

QTEST_GUILESS_MAIN(quorvane::test::HandshakeResends)
#include "tst_handshake_resends.moc"
