#include "connection_wait.h"

#include "link/gv_connection.h"

#include <QCoroSignal>
#include <QCoroTimer>
#include <QPointer>
#include <QTimer>

namespace quorvane::cli {

namespace {
// One signal for whichever comes first: a change on the connection or the deadline.
class WakeUp : public QObject {
    Q_OBJECT
Q_SIGNALS:
    void ring();
};
} // namespace

QCoro::Task<bool> waitUntil(GVConnection& connection, std::function<bool()> done,
                            QDeadlineTimer deadline)
{
    QPointer<GVConnection> alive(&connection);
    for (;;) {
        if (!alive)
            co_return false;
        if (done())
            co_return true;
        if (deadline.hasExpired())
            co_return false;

        WakeUp wakeUp;
        for (auto changed :
             {&GVConnection::connectionStateChanged, &GVConnection::isLoadingChanged,
              &GVConnection::isConnectedChanged, &GVConnection::mappingsChanged,
              &GVConnection::buttonsAnswered, &GVConnection::heartbeatPulseChanged}) {
            QObject::connect(alive.data(), changed, &wakeUp, &WakeUp::ring);
        }
        QObject::connect(alive.data(), &QObject::destroyed, &wakeUp, &WakeUp::ring);
        QObject::connect(&alive->writes(), &WriteTracker::changed, &wakeUp, &WakeUp::ring);
        QTimer timer;
        timer.setSingleShot(true);
        QObject::connect(&timer, &QTimer::timeout, &wakeUp, &WakeUp::ring);
        timer.start(
            std::chrono::ceil<std::chrono::milliseconds>(deadline.remainingTimeAsDuration()));
        // The resumption comes through the event loop, never from inside the connection's own
        // call that announced the change.
        co_await qCoro(&wakeUp, &WakeUp::ring);
    }
}

QCoro::Task<> pauseFor(std::chrono::milliseconds duration)
{
    QTimer timer;
    timer.setSingleShot(true);
    timer.start(duration);
    co_await timer;
}

} // namespace quorvane::cli

#include "connection_wait.moc"
