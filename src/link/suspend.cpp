#include "suspend.h"

#include "udp_endpoint.h"

#include <QCoroSignal>
#include <QPointer>
#include <QTimer>

namespace quorvane {

namespace {
// One signal that fires for whichever of several events comes first.
class WakeUp : public QObject {
    Q_OBJECT
Q_SIGNALS:
    void ring();
};
} // namespace

QCoro::Task<> waitForDatagram(UdpEndpoint* socket, std::chrono::milliseconds timeout)
{
    return waitForDatagram(QList<UdpEndpoint*>{socket}, timeout);
}

QCoro::Task<> waitForDatagram(QList<UdpEndpoint*> sockets, std::chrono::milliseconds timeout)
{
    WakeUp wakeUp;
    QTimer timer;
    timer.setSingleShot(true);
    timer.setTimerType(Qt::PreciseTimer);
    QObject::connect(&timer, &QTimer::timeout, &wakeUp, &WakeUp::ring);
    bool anySocket = false;
    for (UdpEndpoint* socket : sockets) {
        if (!socket)
            continue;
        anySocket = true;
        if (socket->hasDatagram())
            co_return;
        QObject::connect(socket, &UdpEndpoint::datagramArrived, &wakeUp, &WakeUp::ring);
        QObject::connect(socket, &QObject::destroyed, &wakeUp, &WakeUp::ring);
    }
    if (!anySocket)
        co_return;
    timer.start(timeout);
    co_await qCoro(&wakeUp, &WakeUp::ring);
}

QCoro::Task<> pause(const QObject* owner, std::chrono::microseconds duration)
{
    if (!owner)
        co_return;
    WakeUp wakeUp;
    QTimer timer;
    timer.setSingleShot(true);
    timer.setTimerType(Qt::PreciseTimer);
    QObject::connect(&timer, &QTimer::timeout, &wakeUp, &WakeUp::ring);
    QObject::connect(owner, &QObject::destroyed, &wakeUp, &WakeUp::ring);
    timer.start(std::chrono::duration_cast<std::chrono::milliseconds>(duration));
    co_await qCoro(&wakeUp, &WakeUp::ring);
}

} // namespace quorvane

#include "suspend.moc"
