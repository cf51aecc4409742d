#include "console.h"

#include "log_relay.h"

#include <QIODevice>

using namespace Qt::StringLiterals;

namespace quorvane::cli {

void Console::flushLog()
{
    if (m_relay)
        m_relay->flush();
}

void Console::result(const QString& line)
{
    resultBytes(line.toUtf8() + '\n');
}

void Console::resultBytes(const QByteArray& bytes)
{
    flushLog();
    m_out.write(bytes);
}

void Console::error(const QString& message)
{
    flushLog();
    m_err.write(QString(u"quorvane-cli: "_s + message).toUtf8() + '\n');
}

} // namespace quorvane::cli
