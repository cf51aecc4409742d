#include "log_relay.h"

#include "diagnostics/debug_logger.h"

#include <QCoreApplication>
#include <QIODevice>

using namespace Qt::StringLiterals;

namespace quorvane::cli {

LogRelay::LogRelay(DebugLogger& logger, QIODevice& destination, LogDetail detail)
    : m_logger(logger)
    , m_destination(destination)
    , m_detail(detail)
{
    m_logger.setEcho(nullptr);
    if (m_detail != LogDetail::none)
        connect(&m_logger, &DebugLogger::logsChanged, this, &LogRelay::relayNewest);
}

LogRelay::~LogRelay()
{
    flush();
}

void LogRelay::flush()
{
    QCoreApplication::sendPostedEvents(&m_logger, QEvent::MetaCall);
}

void LogRelay::relayNewest()
{
    // Every line kept is announced on its own, so the newest is the one just added; a clear
    // leaves nothing to relay.
    if (m_logger.logs().isEmpty())
        return;
    const QString& line = m_logger.logs().last();
    // "[HH:mm:ss.zzz] [LEVEL] message": the level is the second bracket.
    const qsizetype level = line.indexOf(u"] ["_s);
    const bool isHex =
        level >= 0 && line.sliced(level + 3).startsWith(logLevelText(LogLevel::hex) + u']');
    if (isHex && m_detail != LogDetail::hex)
        return;
    m_destination.write(line.toUtf8() + '\n');
}

} // namespace quorvane::cli
