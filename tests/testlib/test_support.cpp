#include "test_support.h"

#include "diagnostics/debug_logger.h"

#include <QAbstractEventDispatcher>
#include <QCoreApplication>
#include <QEventLoop>
#include <QTimer>

namespace quorvane::test {

void runQueuedCalls()
{
    QCoreApplication::sendPostedEvents();
}

QStringList loggedMessages(DebugLogger& logger)
{
    runQueuedCalls();
    // "[HH:mm:ss.zzz] " is 15 characters.
    constexpr qsizetype stampLength = 15;
    QStringList messages;
    for (const QString& line : logger.logs())
        messages.append(line.mid(stampLength));
    return messages;
}

bool waitUntil(const std::function<bool()>& done, int timeoutMs)
{
    if (done())
        return true;
    QEventLoop loop;
    const auto look = [&] {
        if (done())
            loop.quit();
    };
    // Looked at each time the loop runs out of work, and now and then while it never does.
    QObject::connect(QAbstractEventDispatcher::instance(), &QAbstractEventDispatcher::aboutToBlock,
                     &loop, look);
    QTimer often;
    QObject::connect(&often, &QTimer::timeout, &loop, look);
    often.start(10);
    QTimer limit;
    limit.setSingleShot(true);
    QObject::connect(&limit, &QTimer::timeout, &loop, &QEventLoop::quit);
    limit.start(timeoutMs);
    loop.exec();
    return done();
}

QByteArray bytes(const char* hex)
{
    return QByteArray::fromHex(QByteArray(hex).replace(' ', QByteArray()));
}

} // namespace quorvane::test
