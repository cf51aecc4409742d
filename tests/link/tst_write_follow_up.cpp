// Every write is followed until the frame reports the button back: sent again when it does not,
// held against stale reports while pending, and named when the frame never takes it.
#include "link_fixture.h"

#include <QSet>
#include <QSignalSpy>

using namespace Qt::StringLiterals;
using namespace quorvane;
using namespace quorvane::test;
using emulator::ClientMessageKind;
using emulator::FrameEmulatorOptions;
using namespace std::chrono_literals;

namespace {

LinkTiming followUpTiming()
{
    LinkTiming timing = fastTiming();
    timing.writeConfirmWait = 150ms;
    return timing;
}

// Long enough for every send of a write and the waits between them, also under the sanitizers.
constexpr int settleTimeoutMs = 5'000;

FrameEmulatorOptions losingWrites(QList<int> occurrences)
{
    FrameEmulatorOptions options;
    for (int occurrence : occurrences)
        options.faults.lostArrivals.append({ClientMessageKind::writeRequest, occurrence});
    return options;
}

qint64 shown(const LinkFixture& link, Bus bus, int shift, int button)
{
    const auto mapping = link.connection->mappingFor(bus, shift, button, 35);
    return mapping ? mapping->source : 0;
}

const TrackedWrite* followed(const LinkFixture& link, Bus bus, int shift, int button)
{
    return link.connection->writes().find(bus, shift, button, 35);
}

WriteOutcome outcome(const LinkFixture& link, Bus bus, int shift, int button)
{
    const TrackedWrite* write = followed(link, bus, shift, button);
    return write ? write->outcome : WriteOutcome::pending;
}

QList<quint16> sequencesOf(const QList<emulator::ReceivedDatagram>& datagrams)
{
    QList<quint16> sequences;
    for (const emulator::ReceivedDatagram& datagram : datagrams)
        sequences.append(datagram.message.sequence);
    return sequences;
}

} // namespace

class TestWriteFollowUp : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aWriteTheFrameReportsBackIsSentOnce()
    {
        LinkFixture link({}, followUpTiming());
        QVERIFY(link.startFrame());
        QVERIFY(link.connectAndWait());
        link.connection->writeMapping(Bus::pgm, 1, 5, 4242, ReplacedSource{7});
        QTRY_VERIFY_WITH_TIMEOUT(link.connection->writes().isSettled(), settleTimeoutMs);

        QCOMPARE(outcome(link, Bus::pgm, 1, 5), WriteOutcome::confirmed);
        // Settled, the write is no longer followed: nothing more can go out for it.
        QCOMPARE(link.frame.writesFor(Bus::pgm, 35, 1, 5).size(), 1);
        QCOMPARE(link.messages().count(u"[INFO] Wrote PGM S1B5 > 4242 (was 7)"_s), 1);
        QCOMPARE(link.connection->statusMessage(), u"Wrote PGM S1B5 > 4242 (was 7)"_s);
        QCOMPARE(shown(link, Bus::pgm, 1, 5), 4242);
    }

    void aLostWriteIsSentAgainUntilTheFrameTakesIt()
    {
        LinkFixture link(losingWrites({1, 2}), followUpTiming());
        QVERIFY(link.startFrame());
        QVERIFY(link.connectAndWait());
        link.connection->writeMapping(Bus::me2, 3, 12, 115, ReplacedSource{56});
        QTRY_COMPARE_WITH_TIMEOUT(outcome(link, Bus::me2, 3, 12), WriteOutcome::confirmed,
                                  settleTimeoutMs);

        const QList<emulator::ReceivedDatagram> writes = link.frame.writesFor(Bus::me2, 35, 3, 12);
        QCOMPARE(writes.size(), 3);
        // The same mapping each time, under a sequence number of its own.
        for (const emulator::ReceivedDatagram& write : writes)
            QCOMPARE(write.message.write, writes.first().message.write);
        const QList<quint16> sequences = sequencesOf(writes);
        QCOMPARE(QSet<quint16>(sequences.begin(), sequences.end()).size(), 3);
        QCOMPARE(link.frame.writeRequests().size(), 1);
        QCOMPARE(link.frame.mapping(Bus::me2, 35, 3, 12), 115u);
        // Every send is logged as the first was; the status line told of the edit once.
        QCOMPARE(link.messages().count(u"[INFO] Wrote ME2 S3B12 > 115 (was 56)"_s), 3);
        QCOMPARE(link.connection->statusMessage(), u"Wrote ME2 S3B12 > 115 (was 56)"_s);
        QCOMPARE(followed(link, Bus::me2, 3, 12)->sends, 3);
    }

    void aWriteNeverReportedBackIsNamedAndClearsOnceTheFrameReportsIt()
    {
        LinkFixture link(losingWrites({1, 2, 3, 4}), followUpTiming());
        QVERIFY(link.startFrame());
        QVERIFY(link.connectAndWait());
        const quint32 before = link.frame.mapping(Bus::pgm, 35, 2, 10);
        QSignalSpy given(&link.connection->writes(), &WriteTracker::writeNotConfirmed);
        link.connection->writeMapping(Bus::pgm, 2, 10, 115);
        QTRY_COMPARE_WITH_TIMEOUT(given.size(), 1, settleTimeoutMs);

        const QString warning = u"Not confirmed by the frame: PGM S2B10 (asked 115, frame last "
                                u"reported "_s +
                                QString::number(before) + u')';
        QCOMPARE(given.first().at(1).toString(), warning);
        QVERIFY(link.logged(u"[WARN] "_s + warning));
        QCOMPARE(link.frame.writesFor(Bus::pgm, 35, 2, 10).size(), 4);
        QCOMPARE(outcome(link, Bus::pgm, 2, 10), WriteOutcome::notConfirmed);
        QCOMPARE(link.connection->writes().confirmations().count(WriteOutcome::notConfirmed), 1);
        // What was asked stays shown, marked; the frame still holds what it held.
        QCOMPARE(shown(link, Bus::pgm, 2, 10), 115);
        QCOMPARE(link.frame.mapping(Bus::pgm, 35, 2, 10), before);

        // Someone sets it on the frame after all: its report settles the write.
        QVERIFY(link.frame.pushMappingChange(Bus::pgm, 35, 2, 10, 115));
        QTRY_COMPARE(outcome(link, Bus::pgm, 2, 10), WriteOutcome::confirmed);
        QCOMPARE(link.connection->writes().confirmations().count(WriteOutcome::notConfirmed), 0);
    }

    void aRefusedWriteShowsWhatTheFrameKept()
    {
        FrameEmulatorOptions options;
        options.faults.refusedWrites = {{Bus::pgm, 35, 3, 15}};
        LinkFixture link(options, followUpTiming());
        QVERIFY(link.startFrame());
        QVERIFY(link.connectAndWait());
        const quint32 kept = link.frame.mapping(Bus::pgm, 35, 3, 15);
        QVERIFY(kept != 47);
        QSignalSpy refused(&link.connection->writes(), &WriteTracker::writeRefused);
        link.connection->writeMapping(Bus::pgm, 3, 15, 47);
        QTRY_COMPARE_WITH_TIMEOUT(refused.size(), 1, settleTimeoutMs);

        const QString warning = u"Refused by the frame: PGM S3B15 (asked 47, frame kept "_s +
                                QString::number(kept) + u')';
        QVERIFY(link.logged(u"[WARN] "_s + warning));
        QCOMPARE(link.connection->statusMessage(), warning);
        QCOMPARE(shown(link, Bus::pgm, 3, 15), qint64{kept});
        QCOMPARE(outcome(link, Bus::pgm, 3, 15), WriteOutcome::refused);
        // Once more to tell an overtaken report from the frame's own word, not more.
        QCOMPARE(link.frame.writesFor(Bus::pgm, 35, 3, 15).size(), 2);
    }

    void aReportThatDoesNotConfirmAPendingWriteLeavesItShown()
    {
        LinkFixture link(losingWrites({2}), followUpTiming());
        QVERIFY(link.startFrame());
        QVERIFY(link.connectAndWait());
        link.connection->writeMapping(Bus::aux, 1, 1, 20);
        QTRY_COMPARE(outcome(link, Bus::aux, 1, 1), WriteOutcome::confirmed);
        // The second write is lost on its way; the frame then reports the first one's source,
        // as a report of it overtaken on the way would.
        link.connection->writeMapping(Bus::aux, 1, 1, 30);
        QSignalSpy answered(link.connection.get(), &GVConnection::buttonsAnswered);
        QVERIFY(link.frame.pushMappingChange(Bus::aux, 35, 1, 1, 20));
        QVERIFY(answered.wait());
        QCOMPARE(shown(link, Bus::aux, 1, 1), 30);
        QCOMPARE(outcome(link, Bus::aux, 1, 1), WriteOutcome::pending);

        QTRY_COMPARE_WITH_TIMEOUT(outcome(link, Bus::aux, 1, 1), WriteOutcome::confirmed,
                                  settleTimeoutMs);
        QCOMPARE(shown(link, Bus::aux, 1, 1), 30);
        QCOMPARE(link.frame.mapping(Bus::aux, 35, 1, 1), 30u);
    }

    void aNewConnectForgetsTheWritesOfTheLastOne()
    {
        LinkFixture link(losingWrites({1, 2, 3, 4}), followUpTiming());
        QVERIFY(link.startFrame());
        QVERIFY(link.connectAndWait());
        link.connection->writeMapping(Bus::me1, 1, 1, 9);
        QTRY_COMPARE_WITH_TIMEOUT(outcome(link, Bus::me1, 1, 1), WriteOutcome::notConfirmed,
                                  settleTimeoutMs);
        link.connection->disconnect();
        // What the frame said stays readable after the link is gone…
        QCOMPARE(outcome(link, Bus::me1, 1, 1), WriteOutcome::notConfirmed);
        // …until the next connect.
        QVERIFY(link.connectAndWait());
        QCOMPARE(link.connection->writes().confirmations().writes().size(), 0);
    }
};

QTEST_GUILESS_MAIN(TestWriteFollowUp)
#include "tst_write_follow_up.moc"
