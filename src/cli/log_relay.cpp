#include "log_relay.h"

#include "console.h"
#include "diagnostics/debug_logger.h"

#include <QCoreApplication>

namespace quorvane::cli {

LogRelay::LogRelay(DebugLogger& logger, Console& console)
    : m_logger(logger)
    , m_console(console)
{
    connect(&m_logger, &DebugLogger::logsChanged, this, &LogRelay::relayNewest);
    m_console.setRelay(this);
}

LogRelay::~LogRelay()
{
    flush();
    m_console.setRelay(nullptr);
}

void LogRelay::flush()
{
    QCoreApplication::sendPostedEvents(&m_logger, QEvent::MetaCall);
}

void LogRelay::relayNewest()
{
    // Every line kept is announced on its own, so the newest is the one just added; a clear
    // leaves nothing to relay.
    if (!m_logger.logs().isEmpty())
        m_console.logLine(m_logger.logs().last());
}

} // namespace quorvane::cli
