// Telling plain clicks, Shift-clicks and double clicks apart by the time between clicks.
#include "editing/click_classifier.h"

#include <QTest>

using namespace quorvane;
using namespace std::chrono_literals;

namespace {
// A clock that moves only when the test says so.
struct ManualClock {
    std::chrono::milliseconds now{1'000'000};
    ClickClassifier::Clock clock()
    {
        return [this] { return now; };
    }
};

const ClickOutcome plain{false, ClickKind::tap};
const ClickOutcome doubled{false, ClickKind::doubleTap};
} // namespace

class TestClickClassifier : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void firstClickIsPlain()
    {
        ManualClock time;
        ClickClassifier cell(time.clock());
        QCOMPARE(cell.click(Qt::NoModifier), plain);
    }

    void secondClickWithinTheIntervalIsADoubleClick()
    {
        ManualClock time;
        ClickClassifier cell(time.clock());
        QCOMPARE(cell.click(Qt::NoModifier), plain);
        time.now += 299ms;
        QCOMPARE(cell.click(Qt::NoModifier), doubled);
    }

    void secondClickAtTheIntervalIsPlainAgain()
    {
        ManualClock time;
        ClickClassifier cell(time.clock());
        QCOMPARE(cell.click(Qt::NoModifier), plain);
        time.now += ClickClassifier::doubleClickInterval;
        QCOMPARE(cell.click(Qt::NoModifier), plain);
        // The slow second click starts its own pair.
        time.now += 100ms;
        QCOMPARE(cell.click(Qt::NoModifier), doubled);
    }

    void threeQuickClicksAreADoubleClickThenAPlainClick()
    {
        ManualClock time;
        ClickClassifier cell(time.clock());
        QList<ClickOutcome> outcomes;
        for (int i = 0; i < 3; ++i) {
            outcomes.append(cell.click(Qt::NoModifier));
            time.now += 50ms;
        }
        QCOMPARE(outcomes, QList<ClickOutcome>({plain, doubled, plain}));
        // The third click opened a new pair.
        QCOMPARE(cell.click(Qt::NoModifier), doubled);
    }

    void shiftClickIsAlsoAShiftTapAndStillPairsUp()
    {
        ManualClock time;
        ClickClassifier cell(time.clock());
        QCOMPARE(cell.click(Qt::ShiftModifier), ClickOutcome({true, ClickKind::tap}));
        time.now += 100ms;
        QCOMPARE(cell.click(Qt::ShiftModifier), ClickOutcome({true, ClickKind::doubleTap}));
        time.now += 100ms;
        // Command is not recognised: such a click is a plain one.
        QCOMPARE(cell.click(Qt::ControlModifier), plain);
        time.now += 100ms;
        QCOMPARE(cell.click(Qt::ShiftModifier | Qt::ControlModifier),
                 ClickOutcome({true, ClickKind::doubleTap}));
    }

    void theDefaultClockRunsForward()
    {
        const ClickClassifier::Clock clock = ClickClassifier::steadyClock();
        const std::chrono::milliseconds before = clock();
        QTRY_VERIFY(clock() > before);
    }
};

QTEST_GUILESS_MAIN(TestClickClassifier)
#include "tst_click_classifier.moc"
