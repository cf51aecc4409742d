// What a connect and two first visits put on the wire, compared byte for byte with a recording
// kept beside this test. How long a load waits may change; what it sends, in which order and
// with which sequence numbers may not. Set QUORVANE_RECORD_WIRE_BASELINE=1 to record anew
// (only on purpose: the recording is the reference).

#include "link_fixture.h"

#include <QFile>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace quorvane::test {

namespace {

const QString baselinePath = QStringLiteral(QUORVANE_WIRE_BASELINE);

// Everything the client chose to send. ACKs answer what the frame sent and PINGs follow the
// clock; both are left out, the rest depends on nothing but the protocol.
QStringList clientRequests(const emulator::FrameEmulator& frame)
{
    QStringList lines;
    for (const emulator::ReceivedDatagram& datagram : frame.received()) {
        const auto kind = datagram.message.kind;
        if (kind == emulator::ClientMessageKind::ack || kind == emulator::ClientMessageKind::ping)
            continue;
        lines << emulator::kindName(kind) + u' ' + QString::fromLatin1(datagram.bytes.toHex(' '));
    }
    return lines;
}

} // namespace

class LoadWireBaseline : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void connectAndFirstVisitsSendTheRecordedBytes()
    {
        LinkTiming timing = fastTiming();
        // No keep-alive PING may take a sequence number in the middle of a load.
        timing.keepAliveInterval = 60s;
        timing.heartbeatTimeout = 120s;
        LinkFixture link({}, timing);
        QVERIFY(link.startFrame());
        QVERIFY(link.connectAndWait(1, 35));
        link.connection->changeBus(Bus::me2);
        QTRY_COMPARE_WITH_TIMEOUT(link.connection->isLoading(), false, connectTimeoutMs);
        link.connection->changeButtonCount(20);
        QTRY_COMPARE_WITH_TIMEOUT(link.connection->isLoading(), false, connectTimeoutMs);
        QCOMPARE(link.connection->unansweredButtons(Bus::me2, 20), QList<ButtonPosition>());

        const QStringList recorded = clientRequests(link.frame);
        QFile file(baselinePath);
        if (qEnvironmentVariableIntValue("QUORVANE_RECORD_WIRE_BASELINE") == 1) {
            QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate | QIODevice::Text));
            file.write(recorded.join(u'\n').toLatin1() + '\n');
            return;
        }
        QVERIFY2(file.open(QIODevice::ReadOnly | QIODevice::Text), qPrintable(baselinePath));
        const QStringList expected =
            QString::fromLatin1(file.readAll()).split(u'\n', Qt::SkipEmptyParts);
        QCOMPARE(recorded.size(), expected.size());
        for (qsizetype i = 0; i < expected.size(); ++i) {
            if (recorded[i] != expected[i]) {
                QFAIL(qPrintable(u"datagram "_s + QString::number(i + 1) + u" differs:\n  sent  "_s +
                                 recorded[i] + u"\n  expected "_s + expected[i]));
            }
        }
    }
};

} // namespace quorvane::test

QTEST_GUILESS_MAIN(quorvane::test::LoadWireBaseline)
#include "tst_load_wire_baseline.moc"
