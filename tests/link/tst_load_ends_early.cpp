// A bus load ends as soon as every button has answered; buttons that stay silent are asked for
// again once the answers stop, and a slow or lossy frame still gives a complete bus.

#include "link_fixture.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace quorvane::test {

namespace {

// A window far longer than any answer takes on loopback: a load that sits it out is seen.
constexpr auto longWindow = 6s;
constexpr int wellWithinWindowMs = 3'000;

LinkTiming longWindowTiming()
{
    LinkTiming timing = fastTiming();
    timing.buttonsListen = longWindow;
    timing.answersQuietGap = 100ms;
    return timing;
}

bool busIsAsOnFrame(const LinkFixture& link, Bus bus, int count)
{
    for (int shift = 1; shift <= shiftRowCount; ++shift) {
        for (int button = 1; button <= count; ++button) {
            const auto answer = link.connection->lastAnswer(bus, shift, button, count);
            if (!answer || answer->source != link.frame.mapping(bus, count, shift, button))
                return false;
        }
    }
    return true;
}

qsizetype buttonRequests(const LinkFixture& link)
{
    return link.frame.receivedOfKind(emulator::ClientMessageKind::buttonSubscription).size();
}

} // namespace

class LoadEndsEarly : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aLoadEndsOnceEveryButtonHasAnswered()
    {
        LinkFixture link({}, longWindowTiming());
        QVERIFY(link.startFrame());
        QVERIFY(link.connectAndWait());
        link.connection->changeBus(Bus::me3);
        QVERIFY(link.connection->isLoading());
        QTRY_VERIFY_WITH_TIMEOUT(!link.connection->isLoading(), wellWithinWindowMs);
        QVERIFY(link.connection->subscribedModes().contains(u"ME3-35"_s));
        QVERIFY(busIsAsOnFrame(link, Bus::me3, 35));
        QCOMPARE(buttonRequests(link), 2 * 140);
        QVERIFY(!link.messages().filter(u"[INFO] Every button of ME3-35 answered after "_s).isEmpty());
        QVERIFY(link.messages().filter(u"Asking again"_s).isEmpty());
    }

    void silentButtonsAreAskedForAgainOnceTheAnswersStop()
    {
        LinkTiming timing = longWindowTiming();
        LinkFixture link(silentFrame({{Bus::me2, 35, 2, 7}}, 1), timing);
        QVERIFY(link.startFrame());
        QVERIFY(link.connectAndWait());
        link.connection->changeBus(Bus::me2);
        QTRY_VERIFY_WITH_TIMEOUT(!link.connection->isLoading(), wellWithinWindowMs);
        QCOMPARE(buttonRequests(link), 140 + 140 + 1);
        QVERIFY(link.logged(u"[INFO] No answer for 100 ms with 1 buttons of ME2-35 unanswered"_s));
        QVERIFY(link.logged(u"[INFO] Asked again for ME2-35: 1 of 1 answered"_s));
        QVERIFY(busIsAsOnFrame(link, Bus::me2, 35));
    }

    void aButtonThatNeverAnswersKeepsTheLoadToItsWindow()
    {
        LinkTiming timing = fastTiming();
        timing.buttonsListen = 800ms;
        timing.answersQuietGap = 50ms;
        LinkFixture link(silentFrame({{Bus::me2, 35, 4, 35}}, -1), timing);
        QVERIFY(link.startFrame());
        QVERIFY(link.connectAndWait());
        QElapsedTimer loading;
        loading.start();
        link.connection->changeBus(Bus::me2);
        QTRY_VERIFY_WITH_TIMEOUT(!link.connection->isLoading(), connectTimeoutMs);
        // Given up only once the window has passed: a late answer would still have counted.
        QVERIFY(loading.elapsed() >= timing.buttonsListen.count());
        QVERIFY(link.logged(u"[WARN] ME2-35: no answer for 1 buttons: ME2 shift 4: button 35"_s));
        QCOMPARE(link.connection->unansweredButtons(Bus::me2, 35),
                 QList<ButtonPosition>({ButtonPosition{4, 35}}));
    }

    void aSlowFrameStillGivesACompleteBus_data()
    {
        QTest::addColumn<int>("delayMs");
        QTest::addColumn<int>("reorderMs");
        QTest::addColumn<double>("loss");
        QTest::newRow("400 ms late") << 400 << 0 << 0.0;
        QTest::newRow("400 ms late, reordered by 200 ms") << 400 << 200 << 0.0;
        QTest::newRow("5 % lost each way") << 0 << 0 << 0.05;
    }

    void aSlowFrameStillGivesACompleteBus()
    {
        QFETCH(int, delayMs);
        QFETCH(int, reorderMs);
        QFETCH(double, loss);
        // The protocol's own listening times: they are what a slow frame has to fit into.
        LinkTiming timing = fastTiming();
        const LinkTiming defaults;
        timing.buttonsListen = defaults.buttonsListen;
        timing.buttonsListenSlice = defaults.buttonsListenSlice;
        timing.retryListen = defaults.retryListen;
        timing.answersQuietGap = defaults.answersQuietGap;
        timing.heartbeatTimeout = 10s;
        LinkFixture link({}, timing);
        link.connection->setAnswerRetries(3);
        QVERIFY(link.startFrame());
        QVERIFY(link.connectAndWait());
        link.frame.setAnswerDelay(delayMs);
        link.frame.setReorderWindow(reorderMs);
        link.frame.setLoss(loss, loss);
        link.connection->changeBus(Bus::aux);
        QTRY_VERIFY_WITH_TIMEOUT(!link.connection->isLoading(), connectTimeoutMs);
        QCOMPARE(link.connection->unansweredButtons(Bus::aux, 35), QList<ButtonPosition>());
        QVERIFY(busIsAsOnFrame(link, Bus::aux, 35));
    }
};

} // namespace quorvane::test

QTEST_GUILESS_MAIN(quorvane::test::LoadEndsEarly)
#include "tst_load_ends_early.moc"
