#include "debug_logger.h"

#include <QTime>

using namespace Qt::StringLiterals;

namespace quorvane {

QString logLevelText(LogLevel level)
{
    switch (level) {
    case LogLevel::info:
        return u"INFO"_s;
    case LogLevel::warn:
        return u"WARN"_s;
    case LogLevel::error:
        return u"ERROR"_s;
    case LogLevel::hex:
        return u"HEX"_s;
    }
    Q_UNREACHABLE();
    return {};
}

QString hexBytes(QByteArrayView bytes)
{
    return QString::fromLatin1(bytes.toByteArray().toHex(' '));
}

DebugLogger::DebugLogger(QObject* parent)
    : QObject(parent)
{
}

DebugLogger& DebugLogger::shared()
{
    static DebugLogger instance;
    return instance;
}

void DebugLogger::log(const QString& message, LogLevel level)
{
    const QString line = u'[' + QTime::currentTime().toString(u"HH:mm:ss.zzz"_s) + u"] ["_s +
                         logLevelText(level) + u"] "_s + message;
    QMetaObject::invokeMethod(
        this, [this, line] { append(line); }, Qt::QueuedConnection);
    if (m_echo) {
        const QByteArray utf8 = line.toUtf8();
        std::fwrite(utf8.constData(), 1, static_cast<size_t>(utf8.size()), m_echo);
        std::fputc('\n', m_echo);
        // Each line at once: a program ended by a signal or piped to a file loses nothing.
        std::fflush(m_echo);
    }
}

void DebugLogger::hexDump(const QString& label, QByteArrayView bytes)
{
    log(label + u": ["_s + QString::number(bytes.size()) + u" bytes] "_s + hexBytes(bytes),
        LogLevel::hex);
}

void DebugLogger::clear()
{
    QMetaObject::invokeMethod(
        this,
        [this] {
            m_logs.clear();
            Q_EMIT logsChanged();
        },
        Qt::QueuedConnection);
}

void DebugLogger::append(const QString& line)
{
    m_logs.append(line);
    ++m_appended;
    if (m_logs.size() > maxLines)
        m_logs.remove(0, m_logs.size() - maxLines);
    Q_EMIT logsChanged();
}

} // namespace quorvane
