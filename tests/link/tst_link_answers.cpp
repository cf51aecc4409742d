// Which buttons the frame has answered for, the second asks for those it has not, and what
// keeps a load honest: a busy load is not a silent frame, a disconnect ends any load, and the
// suite's ports belong to one program at a time.
#include "link_fixture.h"
#include "model/button_address.h"

#include <QSignalSpy>

using namespace Qt::StringLiterals;
using namespace quorvane;
using namespace quorvane::test;
using emulator::ClientMessageKind;
using emulator::PanelButton;

namespace {

// The button subscriptions the client sent, as (id, parameter, bus byte).
struct Asked {
    quint16 id;
    quint16 parameter;
    quint8 bus;
    friend bool operator==(const Asked&, const Asked&) = default;
};

QList<Asked> buttonRequests(const LinkFixture& link)
{
    QList<Asked> asked;
    for (const auto& datagram : link.sentBy(ClientMessageKind::buttonSubscription)) {
        const ByteReader bytes(datagram.bytes);
        asked.append({bytes.u16(32), bytes.u16(49), bytes.u8(51)});
    }
    return asked;
}

Asked loadRequest(int shift, int button, int count, quint8 bus)
{
    const int index = (shift - 1) * count + (button - 1);
    return {quint16(12850 + 90 * index), buttonAddress(shift, button, count), bus};
}

} // namespace

namespace QTest {
template <> char* toString(const Asked& asked)
{
    return qstrdup(QByteArray("id " + QByteArray::number(asked.id) + " parameter " +
                              QByteArray::number(asked.parameter) + " bus " +
                              QByteArray::number(asked.bus, 16))
                       .constData());
}
} // namespace QTest

class TestLinkAnswers : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void everyButtonOfTheLoadedBusHasAnswered()
    {
        LinkFixture link;
        QVERIFY(link.startFrame());
        QSignalSpy answered(link.connection.get(), &GVConnection::buttonsAnswered);
        QVERIFY(link.connectAndWait());
        QVERIFY(answered.count() > 0);

        GVConnection& connection = *link.connection;
        QCOMPARE(connection.unansweredButtons(Bus::pgm, 35), QList<ButtonPosition>());
        int unassigned = 0;
        for (int shift = 1; shift <= 4; ++shift) {
            for (int button = 1; button <= 35; ++button) {
                const auto answer = connection.lastAnswer(Bus::pgm, shift, button, 35);
                QVERIFY(answer);
                QCOMPARE(answer->source, link.frame.mapping(Bus::pgm, 35, shift, button));
                if (answer->source == 0) {
                    // Answered as unassigned: known, though nothing is cached for it.
                    QVERIFY(!connection.mappingFor(Bus::pgm, shift, button, 35));
                    ++unassigned;
                }
            }
        }
        QVERIFY(unassigned > 0);
        // Nothing asked again when everything answered.
        QVERIFY(link.messages().filter(u"Asking again"_s).isEmpty());
        QCOMPARE(link.sentBy(ClientMessageKind::buttonSubscription).size(), 140);

        // Buses and counts not loaded are unknown, not unassigned.
        QCOMPARE(connection.unansweredButtons(Bus::me1, 35).size(), 140);
        QVERIFY(!connection.hasAnswered(Bus::pgm, 1, 1, 20));

        connection.disconnect();
        QCOMPARE(connection.unansweredButtons(Bus::pgm, 35).size(), 140);
    }

    void answersAreNumberedAsTheyCome()
    {
        LinkFixture link;
        QVERIFY(link.startFrame());
        QVERIFY(link.connectAndWait());
        GVConnection& connection = *link.connection;
        const quint64 before = connection.answerSerial();
        QCOMPARE(connection.lastAnswer(Bus::pgm, 2, 2, 35)->serial <= before, true);

        QVERIFY(link.frame.pushMappingChange(Bus::pgm, 35, 2, 2, 0));
        QTRY_VERIFY(connection.answerSerial() > before);
        const auto answer = connection.lastAnswer(Bus::pgm, 2, 2, 35);
        QCOMPARE(answer->serial, connection.answerSerial());
        QCOMPARE(answer->source, 0u);
    }

    void silentButtonsAreAskedForAgain()
    {
        LinkFixture link(
            silentFrame({{Bus::pgm, 35, 1, 1}, {Bus::pgm, 35, 1, 2}, {Bus::pgm, 35, 3, 35}}, 1));
        QVERIFY(link.startFrame());
        QVERIFY(link.connectAndWait());

        QCOMPARE(link.connection->unansweredButtons(Bus::pgm, 35), QList<ButtonPosition>());
        const QStringList messages = link.messages();
        const qsizetype asking = messages.indexOf(
            u"[INFO] Asking again for 3 unanswered buttons of PGM-35 (round 1 of 1)"_s);
        const qsizetype result =
            messages.indexOf(u"[INFO] Asked again for PGM-35: 3 of 3 answered"_s);
        const qsizetype complete = messages.indexOf(
            QRegularExpression(u"^\\[INFO\\] Read complete: PGM-35 cached with \\d+ mappings$"_s));
        QVERIFY(asking > 0);
        QVERIFY(result > asking);
        QVERIFY(complete > result);
        QVERIFY(messages.filter(u"no answer for"_s).isEmpty());

        // Each asked for again in the load's own format, with the id it had in the load.
        const QList<Asked> asked = buttonRequests(link);
        QCOMPARE(asked.size(), 143);
        QCOMPARE(asked.mid(140),
                 (QList<Asked>{loadRequest(1, 1, 35, 0x30), loadRequest(1, 2, 35, 0x30),
                               loadRequest(3, 35, 35, 0x30)}));
        QCOMPARE(asked[104], loadRequest(3, 35, 35, 0x30));
        QCOMPARE(link.connection->mappingFor(Bus::pgm, 1, 1, 35)->source,
                 qint64{link.frame.mapping(Bus::pgm, 35, 1, 1)});
    }

    void buttonsSilentForGoodStayUnknown()
    {
        LinkFixture link(silentFrame({{Bus::pgm, 35, 1, 1}, {Bus::pgm, 35, 1, 2}}, -1));
        link.connection->setAnswerRetries(3);
        QVERIFY(link.startFrame());
        QVERIFY(link.connectAndWait());

        QCOMPARE(link.connection->unansweredButtons(Bus::pgm, 35),
                 (QList<ButtonPosition>{{1, 1}, {1, 2}}));
        QVERIFY(!link.connection->mappingFor(Bus::pgm, 1, 1, 35));
        const QStringList messages = link.messages();
        for (int round = 1; round <= 3; ++round) {
            QVERIFY(messages.contains(u"[INFO] Asking again for 2 unanswered buttons of PGM-35 "
                                      u"(round "_s +
                                      QString::number(round) + u" of 3)"_s));
        }
        QCOMPARE(messages.count(u"[INFO] Asked again for PGM-35: 0 of 2 answered"_s), 3);
        QVERIFY(messages.contains(
            u"[WARN] PGM-35: no answer for 2 buttons: PGM shift 1: buttons 1-2"_s));
        QCOMPARE(buttonRequests(link).size(), 140 + 3 * 2);
        // The load still ends as it always does, counting what arrived.
        QCOMPARE(link.connection->statusMessage(),
                 u"Connected to 127.0.0.1:5123 (K-Frame XP V12.3.1)"_s);
        QVERIFY(link.connection->subscribedModes().contains(u"PGM-35"_s));
        QCOMPARE(link.connection->isLoading(), false);
    }

    void aBusyLoadIsNotASilentFrame()
    {
        // A load reads the main socket for longer than the keep-alive's patience: the ACKs of
        // the PINGs it reads there keep the link alive.
        LinkTiming timing = fastTiming();
        timing.keepAliveInterval = 100ms;
        timing.heartbeatTimeout = 350ms;
        timing.buttonsListen = 1500ms;
        LinkFixture link({}, timing);
        QVERIFY(link.startFrame());
        QVERIFY(link.connectAndWait());
        QSignalSpy connectedChanges(link.connection.get(), &GVConnection::isConnectedChanged);

        for (Bus bus : {Bus::me1, Bus::me2}) {
            link.connection->changeBus(bus);
            QCOMPARE(link.connection->isLoading(), true);
            QTRY_COMPARE_WITH_TIMEOUT(link.connection->isLoading(), false, connectTimeoutMs);
        }
        QCOMPARE(connectedChanges.count(), 0);
        QVERIFY(link.connection->isConnected());
        QVERIFY(link.messages().filter(u"Heartbeat timeout"_s).isEmpty());
        QCOMPARE(link.connection->unansweredButtons(Bus::me2, 35), QList<ButtonPosition>());
    }

    void disconnectEndsEveryLoad_data()
    {
        QTest::addColumn<QString>("load");
        QTest::newRow("loading names") << u"names"_s;
        QTest::newRow("loading buttons") << u"buttons"_s;
        QTest::newRow("bus switch") << u"bus"_s;
        QTest::newRow("button count switch") << u"count"_s;
    }

    void disconnectEndsEveryLoad()
    {
        QFETCH(QString, load);
        LinkTiming timing = fastTiming();
        timing.namesListen = 1000ms;
        timing.buttonsListen = 1000ms;
        LinkFixture link({}, timing);
        QVERIFY(link.startFrame());
        GVConnection& connection = *link.connection;
        connection.connect(u"127.0.0.1"_s, 1, 35);
        if (load == u"names" || load == u"buttons") {
            const ConnectionState stage =
                load == u"names" ? ConnectionState::loadingNames : ConnectionState::loadingButtons;
            QTRY_COMPARE_WITH_TIMEOUT(connection.connectionState(), stage, connectTimeoutMs);
        } else {
            QTRY_COMPARE_WITH_TIMEOUT(connection.connectionState(), ConnectionState::connected,
                                      connectTimeoutMs);
            if (load == u"bus")
                connection.changeBus(Bus::me3);
            else
                connection.changeButtonCount(20);
        }
        QCOMPARE(connection.isLoading(), true);

        connection.disconnect();
        QCOMPARE(connection.isLoading(), false);
        QCOMPARE(connection.connectionState(), ConnectionState::idle);

        // The panel is usable: the next connect and the next switch load as they should, with
        // no need any longer for loads slow enough to be caught in the middle.
        connection.setTiming(fastTiming());
        QVERIFY(link.connectAndWait(1, connection.buttonCount()));
        QCOMPARE(connection.isLoading(), false);
        link.frame.clearRecords();
        connection.changeBus(Bus::aux);
        QCOMPARE(connection.isLoading(), true);
        QTRY_COMPARE_WITH_TIMEOUT(connection.isLoading(), false, connectTimeoutMs);
        QVERIFY(connection.subscribedModes().contains(u"AUX-"_s +
                                                      QString::number(connection.buttonCount())));
        QCOMPARE(link.sentBy(ClientMessageKind::buttonSubscription).size(),
                 4 * connection.buttonCount());
    }

    void answersOfAnotherButtonCountLandNowhere()
    {
        LinkFixture link;
        QVERIFY(link.startFrame());
        QVERIFY(link.connectAndWait(1, 20));
        const auto before = link.connection->mappingFor(Bus::pgm, 1, 1, 20);
        const quint64 answers = link.connection->answerSerial();
        // A record of the 35-button numbering: S1B2 there is number 32, one of S1B1's at 20.
        QVERIFY(link.frame.pushMappingChange(Bus::pgm, 35, 1, 2, 999));
        // A change at this count, sent after it, shows that the first has been read by now.
        QVERIFY(link.frame.pushMappingChange(Bus::pgm, 20, 2, 2, 998));
        QTRY_COMPARE(link.connection->mappingFor(Bus::pgm, 2, 2, 20)->source, 998);
        QCOMPARE(link.connection->mappingFor(Bus::pgm, 1, 1, 20), before);
        QCOMPARE(link.connection->answerSerial(), answers + 1);
    }

    void quickCountSwitchesFileEveryAnswerUnderItsOwnCount()
    {
        LinkFixture link;
        QVERIFY(link.startFrame());
        QVERIFY(link.connectAndWait());
        GVConnection& connection = *link.connection;
        // 20 starts loading, and while its subscriptions are going out 15 does too.
        QObject::connect(&link.frame, &emulator::FrameEmulator::datagramReceived, &link.frame,
                         [&](const emulator::ReceivedDatagram&) {
                             if (connection.buttonCount() == 20 &&
                                 link.sentBy(ClientMessageKind::buttonSubscription).size() ==
                                     140 + 21) {
                                 connection.changeButtonCount(15);
                             }
                         });
        connection.changeButtonCount(20);
        QTRY_VERIFY_WITH_TIMEOUT(connection.subscribedModes().contains(u"PGM-15"_s) &&
                                     link.logged(u"[INFO] Read abandoned: PGM-20 gave way to "
                                                 u"PGM-15; it loads again on its next visit"_s),
                                 connectTimeoutMs);
        QTRY_COMPARE(connection.isLoading(), false);
        QVERIFY(!connection.subscribedModes().contains(u"PGM-20"_s));
        for (int count : {35, 15}) {
            for (int shift = 1; shift <= 4; ++shift) {
                for (int button = 1; button <= count; ++button) {
                    const quint32 onFrame = link.frame.mapping(Bus::pgm, count, shift, button);
                    const auto cached = connection.mappingFor(Bus::pgm, shift, button, count);
                    QCOMPARE(cached ? cached->source : 0, qint64{onFrame});
                }
            }
        }
        // Back at 20, it loads again and is whole.
        connection.changeButtonCount(20);
        QVERIFY(link.logged(u"[INFO] changeButtonCount: first visit to PGM-20 - subscribing"_s));
        QTRY_COMPARE_WITH_TIMEOUT(connection.isLoading(), false, connectTimeoutMs);
        QCOMPARE(connection.unansweredButtons(Bus::pgm, 20), QList<ButtonPosition>());
        for (int shift = 1; shift <= 4; ++shift) {
            for (int button = 1; button <= 20; ++button) {
                const quint32 onFrame = link.frame.mapping(Bus::pgm, 20, shift, button);
                const auto cached = connection.mappingFor(Bus::pgm, shift, button, 20);
                QCOMPARE(cached ? cached->source : 0, qint64{onFrame});
            }
        }
    }

    void theSuitesPortsBelongToOneConnection()
    {
        LinkFixture link;
        QVERIFY(link.startFrame());
        QVERIFY(link.connectAndWait(2));

        QSettings otherPreferences(link.settingsDir.filePath(u"other.ini"_s), QSettings::IniFormat);
        DebugLogger otherLog;
        otherLog.setEcho(nullptr);
        GVConnection second(otherPreferences, otherLog);
        second.setTiming(fastTiming());
        second.connect(u"127.0.0.1"_s, 2, 35);
        QTRY_COMPARE(second.statusMessage(), u"Failed to create sockets"_s);
        QCOMPARE(second.connectionState(), ConnectionState::idle);
        QCOMPARE(second.isLoading(), false);
        const QStringList lines = loggedMessages(otherLog);
        for (const int port : {6134, 6135}) {
            const QString line =
                lines.filter(u"[ERROR] Cannot bind UDP port "_s + QString::number(port) + u" ("_s)
                    .value(0);
            QVERIFY2(line.endsWith(u"): another program, perhaps another Quorvane on suite 2, "
                                   u"holds it"_s),
                     qPrintable(lines.join(u'\n')));
        }
        QVERIFY(lines.contains(u"[ERROR] Failed to create sockets"_s));

        // The first connection keeps its link: its next write reaches the frame.
        QVERIFY(link.connection->isConnected());
        link.connection->writeMapping(Bus::pgm, 1, 5, 4242);
        QTRY_COMPARE(link.frame.mapping(Bus::pgm, 35, 1, 5), 4242u);
        QCOMPARE(link.frame.client()->mainPort, quint16{6134});
    }
};

QTEST_GUILESS_MAIN(TestLinkAnswers)
#include "tst_link_answers.moc"
