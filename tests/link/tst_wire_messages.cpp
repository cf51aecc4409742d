// The exact bytes of every message the client builds.
#include "link/heartbeat_timeout.h"
#include "link/wire_messages.h"
#include "model/button_address.h"
#include "test_support.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace quorvane;
using quorvane::test::bytes;

class TestWireMessages : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void fixedMessages_data()
    {
        QTest::addColumn<QByteArray>("built");
        QTest::addColumn<QByteArray>("expected");
        // clang-format off
        QTest::newRow("PING") << wire::ping() << bytes("00 01 00 00");
        QTest::newRow("SYNC") << wire::sync() << bytes("00 06 00 00");
        QTest::newRow("ACK echoes the sequence bytes")
            << wire::ackFor(bytes("00 06 12 34")) << bytes("00 02 12 34");
        QTest::newRow("ClientID to port 5000, fixed sequence 1") << wire::clientIdFirst()
            << bytes("00 04 00 01  00 02 00 1f 00 00 00 0b 00 00 00 2c  00 01 00 00");
        QTest::newRow("ClientID to the dynamic port") << wire::clientIdSecond(0x0495)
            << bytes("00 04 04 95  00 02 00 1f 00 00 00 0b 00 00 00 2c  00 03 00 00");
        QTest::newRow("first registration") << wire::firstRegistration(0x0491)
            << bytes("00 04 04 91  00 02 00 08 00 00 00 24 00 00 00 2e") + QByteArray(16, '\0');
        QTest::newRow("suite 1 registration") << wire::suiteRegistration(0x0492, 1)
            << bytes("00 04 04 92  00 02 00 06 00 00 00 0c 00 00 00 14"
                     "17 96 02 00 01 00 00 07 00 00 00  0a");
        QTest::newRow("suite 4 registration") << wire::suiteRegistration(0x0492, 4)
            << bytes("00 04 04 92  00 02 00 06 00 00 00 0c 00 00 00 14"
                     "17 96 02 00 01 00 00 07 00 00 00  10");
        QTest::newRow("second suite registration") << wire::secondSuiteRegistration(0x0493)
            << bytes("00 04 04 93  00 02 00 05 00 00 00 09 00 00 00 10"
                     "04 b6 00 00 01 00 00 07 00");
        QTest::newRow("write: 35 buttons, ME1 S1B1 = 5")
            << wire::writeRequest(0x0497, buttonAddress(1, 1, 35), 0x00, 5)
            << bytes("00 04 04 97  00 02 00 06 00 00 00 0a 00 00 00 12"
                     "13 85  01 00 89  00 10  00  00 05");
        QTest::newRow("write: 20 buttons, PGM S2B3 = 1042")
            << wire::writeRequest(0x0498, buttonAddress(2, 3, 20), 0x30, 1042)
            << bytes("00 04 04 98  00 02 00 06 00 00 00 0a 00 00 00 12"
                     "13 85  01 00 89  01 73  30  04 12");
        QTest::newRow("source definitions subscription") << wire::sourceDefinitionsSubscription(0x0491)
            << bytes("00 04 04 91  00 02 00 08 00 00 00 24 00 00 00 2e") + QByteArray(16, '\0') +
                   bytes("02 10  00 01 00 04 00 02  00 00 00 00  00 10 00 01 62 00 00 00");
        QTest::newRow("source names subscription") << wire::sourceNamesSubscription(0x0492)
            << bytes("00 04 04 92  00 02 00 08 00 00 00 24 00 00 00 2e") + QByteArray(16, '\0') +
                   bytes("02 0b  00 01 00 04 00 03  00 00 00 00  00 0c  00 01 64 1b  00 00");
        QTest::newRow("frame info subscription") << wire::frameInfoSubscription(0x0493)
            << bytes("00 04 04 93  00 02 00 08 00 00 00 24 00 00 00 2e") + QByteArray(16, '\0') +
                   bytes("01 fd  00 01 00 04 00 02  00 00 00 00  00 08  00 01 01 00 00 01");
        QTest::newRow("bus preamble") << wire::busPreamble(0x0494)
            << bytes("00 04 04 94  00 02 00 08 00 00 00 24 00 00 00 2e") + QByteArray(16, '\0') +
                   bytes("00 03  00 01 00 03 00 03 00 00 00 00  13 8d  00 00 01 00 00 07");
        QTest::newRow("button subscription: the 141st of a load, ME4 S4B35")
            << wire::buttonSubscription(0x0520, 25450, buttonAddress(4, 35, 35), 0x40)
            << bytes("00 04 05 20  00 02 00 08 00 00 00 24 00 00 00 2e") + QByteArray(16, '\0') +
                   bytes("63 6a  00 01  00 03  00 03  00 00 00 00  13 85  00 00  89  08 c0  40");
        // clang-format on
    }

    void fixedMessages()
    {
        QFETCH(QByteArray, built);
        QFETCH(QByteArray, expected);
        QCOMPARE(built.toHex(' '), expected.toHex(' '));
    }

    void messageLengths()
    {
        QCOMPARE(wire::clientIdFirst().size(), 20);
        QCOMPARE(wire::firstRegistration(1).size(), 32);
        QCOMPARE(wire::suiteRegistration(1, 2).size(), 28);
        QCOMPARE(wire::secondSuiteRegistration(1).size(), 25);
        QCOMPARE(wire::writeRequest(1, 16, 0, 0).size(), 26);
        QCOMPARE(wire::buttonSubscription(1, 2, 3, 4).size(), 52);
    }

    void typesAndSequences()
    {
        QCOMPARE(wire::messageType(bytes("00 04 04 90")), quint16{4});
        QCOMPARE(wire::messageType(bytes("00 04 04")), std::nullopt);
        QVERIFY(wire::isType(bytes("00 02 00 00"), wire::MessageType::ack));
        QVERIFY(!wire::isType(bytes("00 02 00"), wire::MessageType::ack));
        QCOMPARE(wire::sequenceText(bytes("00 04 04 90")), u"4.144"_s);
    }

    void buttonAddresses()
    {
        QCOMPARE(buttonAddress(1, 1, 35), quint16{16});
        QCOMPARE(buttonAddress(4, 35, 35), quint16{2240});
        QCOMPARE(buttonAddress(1, 1, 15), quint16{18});
        QCOMPARE(buttonAddress(2, 3, 20), quint16{371});
        QCOMPARE(buttonAddress(1, 1, 25), quint16{17});
        // Every address leads back to its button.
        for (int count : {15, 20, 25, 35}) {
            for (int shift = 1; shift <= 4; ++shift) {
                for (int button = 1; button <= count; ++button) {
                    const auto found = locateButton(buttonAddress(shift, button, count), count);
                    QCOMPARE(found, (ButtonPosition{shift, button}));
                }
            }
        }
    }

    void heartbeatTimeout_data()
    {
        QTest::addColumn<int>("silentMs");
        QTest::addColumn<QString>("message");
        QTest::newRow("just answered") << 0 << QString();
        QTest::newRow("3.0 s exactly is still alive") << 3000 << QString();
        QTest::newRow("3.01 s is a time-out")
            << 3010 << u"Heartbeat timeout: no ACK for 3s, disconnecting"_s;
        QTest::newRow("7.9 s reads as 7")
            << 7900 << u"Heartbeat timeout: no ACK for 7s, disconnecting"_s;
    }

    void heartbeatTimeout()
    {
        QFETCH(int, silentMs);
        QFETCH(QString, message);
        const std::optional<QString> verdict = heartbeatTimeoutMessage(
            std::chrono::milliseconds(silentMs), std::chrono::milliseconds(3000));
        QCOMPARE(verdict.value_or(QString()), message);
    }
};

QTEST_GUILESS_MAIN(TestWireMessages)
#include "tst_wire_messages.moc"
