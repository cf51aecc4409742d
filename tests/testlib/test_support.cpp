#include "test_support.h"

#include "diagnostics/debug_logger.h"

#include <QCoreApplication>

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

QByteArray bytes(const char* hex)
{
    return QByteArray::fromHex(QByteArray(hex).replace(' ', QByteArray()));
}

} // namespace quorvane::test
