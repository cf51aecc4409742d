#include "suspend.h"

#include <QCoroSignal>
#include <QCoroTimer>
#include <QPointer>
#include <QTimer>
#include <QUdpSocket>

namespace quorvane {

namespace {
// One signal that fires for whichever of several events comes first.
class WakeUp : public QObject {
    Q_OBJECT
Q_SIGNALS:
    void ring();
};
} // namespace

QCoro::Task<> waitForDatagram(QUdpSocket* socket, std::chrono::milliseconds timeout)
{
    if (!socket)
        co_return;
    WakeUp wakeUp;
    QTimer timer;
    timer.setSingleShot(true);
    timer.setTimerType(Qt::PreciseTimer);
    QObject::connect(&timer, &QTimer::timeout, &wakeUp, &WakeUp::ring);
    QObject::connect(socket, &QUdpSocket::readyRead, &wakeUp, &WakeUp::ring);
    QObject::connect(socket, &QObject::destroyed, &wakeUp, &WakeUp::ring);
    timer.start(timeout);
    co_await qCoro(&wakeUp, &WakeUp::ring);
}

QCoro::Task<> pause(std::chrono::microseconds duration)
{
    QTimer timer;
    timer.setSingleShot(true);
    timer.setTimerType(Qt::PreciseTimer);
    timer.start(std::chrono::duration_cast<std::chrono::milliseconds>(duration));
    co_await timer;
}

} // namespace quorvane

#include "suspend.moc"
