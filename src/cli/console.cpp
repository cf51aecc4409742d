#include "console.h"

#include "log_relay.h"

#include <QIODevice>

using namespace Qt::StringLiterals;

namespace quorvane::cli {

namespace {
// Back to the start of the line, and erase to its end.
constexpr char clearLine[] = "\r\x1b[K";
} // namespace

void Console::flushLog()
{
    if (m_relay)
        m_relay->flush();
}

void Console::clearProgress()
{
    if (m_shownProgress.isEmpty())
        return;
    m_err.write(clearLine);
    m_shownProgress.clear();
}

void Console::writeError(const QString& line)
{
    clearProgress();
    m_err.write(line.toUtf8() + '\n');
}

void Console::result(const QString& line)
{
    resultBytes(line.toUtf8() + '\n');
}

void Console::resultBytes(const QByteArray& bytes)
{
    flushLog();
    clearProgress();
    m_out.write(bytes);
}

void Console::error(const QString& message)
{
    flushLog();
    writeError(u"quorvane-cli: "_s + message);
}

void Console::progress(const QString& text)
{
    if (m_quiet || !m_errIsTerminal || text == m_shownProgress)
        return;
    flushLog();
    m_err.write(clearLine + text.toUtf8());
    m_shownProgress = text;
}

void Console::note(const QString& text)
{
    if (m_quiet)
        return;
    flushLog();
    writeError(text);
}

void Console::logLine(const QString& line)
{
    writeError(line);
}

} // namespace quorvane::cli
