// The link's pause: over after its time, or at once when the object it works for goes away, so
// that no coroutine of a destroyed connection stays suspended on a timer.
#include "link/suspend.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTest>
#include <memory>

using namespace quorvane;
using namespace std::chrono_literals;

namespace {

// Pauses for `owner`, then notes that the pause is over.
QCoro::Task<> pauseThenNote(const QObject* owner, std::chrono::microseconds duration,
                            std::shared_ptr<bool> over)
{
    co_await pause(owner, duration);
    *over = true;
}

} // namespace

class TestSuspend : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aPauseLastsItsTime()
    {
        QObject owner;
        auto over = std::make_shared<bool>(false);
        QElapsedTimer clock;
        clock.start();
        QCoro::Task<> task = pauseThenNote(&owner, 50ms, over);
        QVERIFY(!*over); // suspended, not run through
        QTRY_VERIFY(*over);
        QVERIFY(clock.elapsed() >= 50);
    }

    void aZeroPauseYieldsToTheEventLoop()
    {
        QObject owner;
        auto over = std::make_shared<bool>(false);
        QCoro::Task<> task = pauseThenNote(&owner, 0us, over);
        QVERIFY(!*over);
        QTRY_VERIFY(*over);
    }

    void aPauseEndsWhenItsOwnerIsDestroyed()
    {
        auto owner = std::make_unique<QObject>();
        auto over = std::make_shared<bool>(false);
        QCoro::Task<> task = pauseThenNote(owner.get(), 1h, over);
        QCoreApplication::processEvents();
        QVERIFY(!*over);
        // Over within the few seconds a QTRY waits, not after the hour.
        owner.reset();
        QTRY_VERIFY(*over);
    }
};

QTEST_GUILESS_MAIN(TestSuspend)
#include "tst_suspend.moc"
