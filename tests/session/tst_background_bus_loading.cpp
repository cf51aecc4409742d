// Every bus loaded ahead of its first visit, one at a time; a bus opened meanwhile comes first.

#include "link_fixture.h"
#include "session/background_bus_loading.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace quorvane::test {

namespace {

// The bus of every button subscription the frame received, in order, with repeats of the
// same bus in a row folded into one.
QList<quint8> busRuns(const LinkFixture& link)
{
    QList<quint8> runs;
    for (const auto& datagram :
         link.frame.receivedOfKind(emulator::ClientMessageKind::buttonSubscription)) {
        const quint8 code = datagram.message.subscription.busCode;
        if (runs.isEmpty() || runs.last() != code)
            runs.append(code);
    }
    return runs;
}

QList<quint8> codesOf(std::initializer_list<Bus> buses)
{
    QList<quint8> codes;
    for (Bus bus : buses)
        codes.append(busCode(bus));
    return codes;
}

// A frame on which one button of ME1 stays silent: a load of ME1 runs for its whole window.
emulator::FrameEmulatorOptions slowMe1()
{
    emulator::FrameEmulatorOptions options;
    options.faults.silentButtons = {{Bus::me1, 35, 4, 35}};
    return options;
}

LinkTiming longWindow()
{
    LinkTiming timing = fastTiming();
    timing.buttonsListen = 1500ms;
    return timing;
}

} // namespace

class TestBackgroundBusLoading : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void everyBusIsLoadedAheadOneAtATime()
    {
        LinkFixture link;
        BackgroundBusLoading ahead(*link.connection);
        QVERIFY(link.startFrame());
        QVERIFY(link.connectAndWait());
        QCOMPARE(link.connection->hasLoadedAllBuses(), false);
        QTRY_VERIFY_WITH_TIMEOUT(link.connection->hasLoadedAllBuses(), connectTimeoutMs);
        QCOMPARE(link.connection->isLoading(), false);
        // The shown bus first, then the others in tab order, never two at once.
        QCOMPARE(busRuns(link),
                 codesOf({Bus::pgm, Bus::me1, Bus::me2, Bus::me3, Bus::me4, Bus::aux}));
        QCOMPARE(link.sentBy(emulator::ClientMessageKind::buttonSubscription).size(), 6 * 140);
        QVERIFY(link.logged(u"[INFO] Loaded in the background: ME1-35 (2 of 6 buses at 35 "
                            u"buttons)"_s));
        QVERIFY(link.logged(u"[INFO] Loaded in the background: AUX-35 (6 of 6 buses at 35 "
                            u"buttons)"_s));
        QCOMPARE(link.connection->statusMessage(),
                 u"All buses loaded (6 of 6 buses at 35 buttons)"_s);

        // A first visit is now a switch from the cache, with the frame's buttons.
        link.connection->changeBus(Bus::me3);
        QCOMPARE(link.connection->isLoading(), false);
        QVERIFY(link.logged(u"[INFO] changeBus: ME3-35 already cached - instant switch"_s));
        for (int button = 1; button <= 35; ++button) {
            const auto answer = link.connection->lastAnswer(Bus::me3, 2, button, 35);
            QVERIFY(answer);
            QCOMPARE(answer->source, link.frame.mapping(Bus::me3, 35, 2, button));
        }
    }

    void aBusOpenedMeanwhileComesFirst()
    {
        LinkFixture link(slowMe1(), longWindow());
        BackgroundBusLoading ahead(*link.connection);
        QVERIFY(link.startFrame());
        QVERIFY(link.connectAndWait());
        // ME1's subscriptions are on their way when ME4 is opened.
        QTRY_COMPARE(busRuns(link), codesOf({Bus::pgm, Bus::me1}));
        link.connection->changeBus(Bus::me4);
        QCOMPARE(link.connection->isLoading(), true);
        QVERIFY(link.logged(
            u"[INFO] Read abandoned: ME1-35 gave way to ME4-35; it loads again on its next visit"_s));
        QTRY_VERIFY_WITH_TIMEOUT(!link.connection->isLoading(), connectTimeoutMs);
        QCOMPARE(link.connection->statusMessage().startsWith(u"ME4 (35-btn): "_s), true);
        // Loading ahead resumes after it, with ME1 again from its start.
        QTRY_VERIFY_WITH_TIMEOUT(link.connection->hasLoadedAllBuses(), 3 * connectTimeoutMs);
        QCOMPARE(busRuns(link), codesOf({Bus::pgm, Bus::me1, Bus::me4, Bus::me1, Bus::me2,
                                         Bus::me3, Bus::aux}));
        QCOMPARE(link.connection->unansweredButtons(Bus::me4, 35), QList<ButtonPosition>());
    }

    void openingTheBusBeingLoadedAheadShowsThatLoad()
    {
        LinkFixture link(slowMe1(), longWindow());
        BackgroundBusLoading ahead(*link.connection);
        QVERIFY(link.startFrame());
        QVERIFY(link.connectAndWait());
        QTRY_COMPARE(busRuns(link), codesOf({Bus::pgm, Bus::me1}));
        link.connection->changeBus(Bus::me1);
        QCOMPARE(link.connection->isLoading(), true);
        QCOMPARE(link.connection->statusMessage(), u"Loading ME1..."_s);
        QTRY_VERIFY_WITH_TIMEOUT(!link.connection->isLoading(), connectTimeoutMs);
        QVERIFY(link.messages().filter(u"Read abandoned"_s).isEmpty());
        // One load of ME1, not a second one started over it.
        QCOMPARE(busRuns(link).mid(0, 2), codesOf({Bus::pgm, Bus::me1}));
        QVERIFY(link.connection->subscribedModes().contains(u"ME1-35"_s));
        QVERIFY(link.connection->statusMessage().startsWith(u"ME1 (35-btn): "_s));
    }

    void anotherButtonCountIsLoadedAheadToo()
    {
        LinkFixture link;
        BackgroundBusLoading ahead(*link.connection);
        QVERIFY(link.startFrame());
        QVERIFY(link.connectAndWait());
        QTRY_VERIFY_WITH_TIMEOUT(link.connection->hasLoadedAllBuses(), connectTimeoutMs);
        link.connection->changeButtonCount(20);
        QCOMPARE(link.connection->hasLoadedAllBuses(), false);
        QTRY_VERIFY_WITH_TIMEOUT(link.connection->hasLoadedAllBuses(), connectTimeoutMs);
        for (Bus bus : allBuses)
            QVERIFY(link.connection->subscribedModes().contains(modeKey(bus, 20)));
    }

    void turnedOffNothingIsLoadedAhead()
    {
        LinkFixture link;
        BackgroundBusLoading ahead(*link.connection);
        ahead.setEnabled(false);
        QVERIFY(link.startFrame());
        QVERIFY(link.connectAndWait());
        // The frame has answered a PING sent after the connect: the loop has had its turns.
        const qsizetype pings = link.sentBy(emulator::ClientMessageKind::ping).size();
        QTRY_VERIFY(link.sentBy(emulator::ClientMessageKind::ping).size() > pings);
        QCOMPARE(link.connection->subscribedModes(), QSet<QString>({u"PGM-35"_s}));
        ahead.setEnabled(true);
        QTRY_VERIFY_WITH_TIMEOUT(link.connection->hasLoadedAllBuses(), connectTimeoutMs);
    }
};

} // namespace quorvane::test

QTEST_GUILESS_MAIN(quorvane::test::TestBackgroundBusLoading)
#include "tst_background_bus_loading.moc"
