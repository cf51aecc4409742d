// The emulated frame recognises exactly the bytes a client sends, and nothing near them.

#include "client_messages.h"
#include "test_support.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace quorvane;
using namespace quorvane::emulator;

Q_DECLARE_METATYPE(quorvane::emulator::ClientMessageKind)

namespace quorvane::emulator {
char* toString(ClientMessageKind kind)
{
    return QTest::toString(kindName(kind));
}
} // namespace quorvane::emulator

namespace {
// The lead of every subscription: DATA, sequence 04 95, the block and 16 zero bytes.
QByteArray subscription(const char* tail)
{
    return test::bytes("00 04 04 95 00 02 00 08 00 00 00 24 00 00 00 2e"
                       "00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00") +
           test::bytes(tail);
}
} // namespace

class TestClientMessages : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void kinds_data()
    {
        QTest::addColumn<QByteArray>("datagram");
        QTest::addColumn<ClientMessageKind>("kind");
        QTest::addColumn<quint16>("sequence");
        using K = ClientMessageKind;

        QTest::newRow("empty") << QByteArray() << K::tooShort << quint16{0};
        QTest::newRow("3 bytes") << test::bytes("00 06 00") << K::tooShort << quint16{0};
        QTest::newRow("SYNC") << test::bytes("00 06 00 00") << K::sync << quint16{0};
        QTest::newRow("SYNC 12.52") << test::bytes("00 06 0c 34") << K::sync << quint16{0x0c34};
        QTest::newRow("PING") << test::bytes("00 01 00 00") << K::ping << quint16{0};
        QTest::newRow("ACK") << test::bytes("00 02 12 34") << K::ack << quint16{0x1234};
        QTest::newRow("type 0x0009") << test::bytes("00 09 00 00") << K::unknownType << quint16{0};
        QTest::newRow("bare DATA header")
            << test::bytes("00 04 04 91") << K::otherData << quint16{0x0491};

        QTest::newRow("ClientID, first form")
            << test::bytes("00 04 00 01 00 02 00 1f 00 00 00 0b 00 00 00 2c 00 01 00 00")
            << K::clientIdFirst << quint16{1};
        QTest::newRow("first form with a counted sequence")
            << test::bytes("00 04 04 91 00 02 00 1f 00 00 00 0b 00 00 00 2c 00 01 00 00")
            << K::otherData << quint16{0x0491};
        QTest::newRow("ClientID, second form")
            << test::bytes("00 04 04 91 00 02 00 1f 00 00 00 0b 00 00 00 2c 00 03 00 00")
            << K::clientIdSecond << quint16{0x0491};
        QTest::newRow("ClientID one byte short")
            << test::bytes("00 04 04 91 00 02 00 1f 00 00 00 0b 00 00 00 2c 00 03 00")
            << K::otherData << quint16{0x0491};

        QTest::newRow("registration")
            << test::bytes("00 04 04 92 00 02 00 08 00 00 00 24 00 00 00 2e"
                           "00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00")
            << K::registration << quint16{0x0492};
        QTest::newRow("second suite registration")
            << test::bytes("00 04 04 94 00 02 00 05 00 00 00 09 00 00 00 10"
                           "04 b6 00 00 01 00 00 07 00")
            << K::secondSuiteRegistration << quint16{0x0494};

        QTest::newRow("source definition subscription")
            << subscription("02 10 00 01 00 04 00 02 00 00 00 00 00 10 00 01 62 00 00 00")
            << K::sourceDefinitionSubscription << quint16{0x0495};
        QTest::newRow("source name subscription")
            << subscription("02 0b 00 01 00 04 00 03 00 00 00 00 00 0c 00 01 64 1b 00 00")
            << K::sourceNameSubscription << quint16{0x0495};
        QTest::newRow("frame info subscription")
            << subscription("01 fd 00 01 00 04 00 02 00 00 00 00 00 08 00 01 01 00 00 01")
            << K::frameInfoSubscription << quint16{0x0495};
        QTest::newRow("bus preamble")
            << subscription("00 03 00 01 00 03 00 03 00 00 00 00 13 8d 00 00 01 00 00 07")
            << K::busPreamble << quint16{0x0495};
        QTest::newRow("name subscription with one byte changed")
            << subscription("02 0b 00 01 00 04 00 03 00 00 00 00 00 0c 00 01 64 1c 00 00")
            << K::otherData << quint16{0x0495};
        QTest::newRow("subscription without its zero lead")
            << test::bytes("00 04 04 95 00 02 00 08 00 00 00 24 00 00 00 2e"
                           "00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 01"
                           "02 0b 00 01 00 04 00 03 00 00 00 00 00 0c 00 01 64 1b 00 00")
            << K::otherData << quint16{0x0495};
        QTest::newRow("write request one byte short")
            << test::bytes("00 04 04 96 00 02 00 06 00 00 00 0a 00 00 00 12 13 85 01 00 89 00 10 "
                           "00 00")
            << K::otherData << quint16{0x0496};
    }

    void kinds()
    {
        QFETCH(QByteArray, datagram);
        QFETCH(ClientMessageKind, kind);
        QFETCH(quint16, sequence);
        const ClientMessage message = decodeClientMessage(datagram);
        QCOMPARE(message.kind, kind);
        QCOMPARE(message.sequence, sequence);
    }

    void suiteRegistration_data()
    {
        QTest::addColumn<QByteArray>("lastByte");
        QTest::addColumn<int>("suite");
        QTest::newRow("suite 1") << test::bytes("0a") << 1;
        QTest::newRow("suite 2") << test::bytes("0c") << 2;
        QTest::newRow("suite 3") << test::bytes("0e") << 3;
        QTest::newRow("suite 4") << test::bytes("10") << 4;
        QTest::newRow("suite 5 does not exist") << test::bytes("12") << 0;
        QTest::newRow("odd code") << test::bytes("0b") << 0;
        QTest::newRow("suite 0 does not exist") << test::bytes("08") << 0;
    }

    void suiteRegistration()
    {
        QFETCH(QByteArray, lastByte);
        QFETCH(int, suite);
        const QByteArray datagram = test::bytes("00 04 04 93 00 02 00 06 00 00 00 0c 00 00 00 14"
                                                "17 96 02 00 01 00 00 07 00 00 00") +
                                    lastByte;
        const ClientMessage message = decodeClientMessage(datagram);
        QCOMPARE(message.kind,
                 suite == 0 ? ClientMessageKind::otherData : ClientMessageKind::suiteRegistration);
        QCOMPARE(message.suite, suite);
    }

    void buttonSubscription_data()
    {
        QTest::addColumn<QByteArray>("datagram");
        QTest::addColumn<quint16>("id");
        QTest::addColumn<quint16>("parameter");
        QTest::addColumn<int>("bus");
        QTest::newRow("first of a 35-button PGM load")
            << subscription("32 32 00 01 00 03 00 03 00 00 00 00 13 85 00 00 89 00 10 30")
            << quint16{12850} << quint16{16} << 0x30;
        QTest::newRow("141st, ME2 shift 4 button 35")
            << subscription("63 6a 00 01 00 03 00 03 00 00 00 00 13 85 00 00 89 08 c0 10")
            << quint16{25450} << quint16{2240} << 0x10;
        QTest::newRow("15 buttons, ME4")
            << subscription("32 8c 00 01 00 03 00 03 00 00 00 00 13 85 00 00 89 00 12 40")
            << quint16{12940} << quint16{18} << 0x40;
    }

    void buttonSubscription()
    {
        QFETCH(QByteArray, datagram);
        QFETCH(quint16, id);
        QFETCH(quint16, parameter);
        QFETCH(int, bus);
        const ClientMessage message = decodeClientMessage(datagram);
        QCOMPARE(message.kind, ClientMessageKind::buttonSubscription);
        QCOMPARE(message.subscription, (ButtonSubscription{id, parameter, quint8(bus)}));
    }

    void writeRequest_data()
    {
        QTest::addColumn<QByteArray>("datagram");
        QTest::addColumn<quint16>("parameter");
        QTest::addColumn<int>("bus");
        QTest::addColumn<quint16>("source");
        QTest::newRow("35 buttons, ME1 S1B1 > 5")
            << test::bytes("00 04 04 96 00 02 00 06 00 00 00 0a 00 00 00 12"
                           "13 85 01 00 89 00 10 00 00 05")
            << quint16{16} << 0x00 << quint16{5};
        QTest::newRow("20 buttons, PGM S2B3 > 1042")
            << test::bytes("00 04 04 97 00 02 00 06 00 00 00 0a 00 00 00 12"
                           "13 85 01 00 89 01 73 30 04 12")
            << quint16{371} << 0x30 << quint16{1042};
        QTest::newRow("clear, ME4") << test::bytes("00 04 04 98 00 02 00 06 00 00 00 0a 00 00 00 12"
                                                   "13 85 01 00 89 00 22 40 00 00")
                                    << quint16{34} << 0x40 << quint16{0};
        QTest::newRow("source 65535")
            << test::bytes("00 04 ff fe 00 02 00 06 00 00 00 0a 00 00 00 12"
                           "13 85 01 00 89 ff ff 50 ff ff")
            << quint16{65535} << 0x50 << quint16{65535};
    }

    void writeRequest()
    {
        QFETCH(QByteArray, datagram);
        QFETCH(quint16, parameter);
        QFETCH(int, bus);
        QFETCH(quint16, source);
        const ClientMessage message = decodeClientMessage(datagram);
        QCOMPARE(message.kind, ClientMessageKind::writeRequest);
        QCOMPARE(message.write, (WriteRequest{parameter, quint8(bus), source}));
    }

    void descriptions()
    {
        QCOMPARE(describe(decodeClientMessage(test::bytes("00 06 04 90"))), u"SYNC seq 4.144"_s);
        QCOMPARE(describe(decodeClientMessage(test::bytes("00 0a 00 01"))),
                 u"unknown type 0x000a seq 0.1"_s);
        QCOMPARE(describe(decodeClientMessage(test::bytes(
                     "00 04 04 97 00 02 00 06 00 00 00 0a 00 00 00 12 13 85 01 00 89 01 73 30 "
                     "04 12"))),
                 u"write request seq 4.151 parameter 371 bus 0x30 source 1042"_s);
        QCOMPARE(describe(decodeClientMessage(
                     subscription("32 32 00 01 00 03 00 03 00 00 00 00 13 85 00 00 89 00 10 30"))),
                 u"button subscription seq 4.149 id 12850 parameter 16 bus 0x30"_s);
        QCOMPARE(describe(decodeClientMessage(QByteArray("\x00\x06", 2))), u"too short"_s);
    }
};

QTEST_GUILESS_MAIN(TestClientMessages)
#include "tst_client_messages.moc"
