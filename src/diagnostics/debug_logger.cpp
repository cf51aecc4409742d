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

namespace {
// "HH:mm:ss.zzz", written out by hand: QTime::toString reads its pattern on every call, and a
// burst of datagrams logs thousands of lines.
QString timeText(const QTime& time)
{
    const int parts[] = {time.hour(), time.minute(), time.second(), time.msec()};
    QString text(12, u'0');
    QChar* out = text.data();
    const auto put = [&out](int value, int digits) {
        for (int d = digits - 1; d >= 0; --d, value /= 10)
            out[d] = QChar(u'0' + value % 10);
        out += digits;
    };
    put(parts[0], 2);
    *out++ = u':';
    put(parts[1], 2);
    *out++ = u':';
    put(parts[2], 2);
    *out++ = u'.';
    put(parts[3], 3);
    return text;
}
} // namespace

void DebugLogger::log(const QString& message, LogLevel level)
{
    const QString line =
        u'[' + timeText(QTime::currentTime()) + u"] ["_s + logLevelText(level) + u"] "_s + message;
    post(line);
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
    post(std::nullopt);
}

void DebugLogger::post(std::optional<QString> line)
{
    // One event carries every line logged before the loop gets to it, in order; a clear among
    // them stays in its place.
    const bool first = m_pending.empty();
    m_pending.push_back(std::move(line));
    if (first)
        QMetaObject::invokeMethod(this, &DebugLogger::appendPending, Qt::QueuedConnection);
}

void DebugLogger::appendPending()
{
    // Taken first: an observer may log while it hears of a line.
    std::vector<std::optional<QString>> pending;
    pending.swap(m_pending);
    for (std::optional<QString>& line : pending) {
        if (line) {
            append(*line);
        } else {
            m_logs.clear();
            Q_EMIT logsChanged();
        }
    }
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
