#include "editing/log_view_filter.h"

using namespace Qt::StringLiterals;

namespace quorvane {

QString logFilterText(LogFilter filter)
{
    switch (filter) {
    case LogFilter::all:
        return u"All"_s;
    case LogFilter::infoAndAbove:
        return u"Info and above"_s;
    case LogFilter::warningsAndErrors:
        return u"Warnings and errors"_s;
    }
    Q_UNREACHABLE();
    return {};
}

std::optional<LogLevel> logLineLevel(const QString& line)
{
    // "[" + "HH:mm:ss.SSS" + "] [" + level + "] " + message
    constexpr qsizetype levelStart = 16;
    if (line.size() <= levelStart || line[0] != u'[' || QStringView(line).sliced(13, 3) != u"] [")
        return std::nullopt;
    const qsizetype levelEnd = line.indexOf(u']', levelStart);
    if (levelEnd < 0)
        return std::nullopt;
    const QStringView marker = QStringView(line).sliced(levelStart, levelEnd - levelStart);
    for (LogLevel level : {LogLevel::info, LogLevel::warn, LogLevel::error, LogLevel::hex}) {
        if (marker == logLevelText(level))
            return level;
    }
    return std::nullopt;
}

bool logFilterAdmits(LogFilter filter, const QString& line)
{
    if (filter == LogFilter::all)
        return true;
    const LogLevel level = logLineLevel(line).value_or(LogLevel::info);
    switch (filter) {
    case LogFilter::all:
        break;
    case LogFilter::infoAndAbove:
        return level != LogLevel::hex;
    case LogFilter::warningsAndErrors:
        return level == LogLevel::warn || level == LogLevel::error;
    }
    Q_UNREACHABLE();
    return false;
}

namespace {
bool needsEscape(char16_t c)
{
    return c < 0x20 || (c >= 0x7f && c <= 0x9f) || c == 0x2028 || c == 0x2029;
}

void appendEscape(QString& out, char16_t c)
{
    switch (c) {
    case u'\n':
        out += u"\\n"_s;
        return;
    case u'\r':
        out += u"\\r"_s;
        return;
    case u'\t':
        out += u"\\t"_s;
        return;
    default:
        break;
    }
    const bool wide = c > 0xff;
    out += wide ? u"\\u"_s : u"\\x"_s;
    out += QString::number(c, 16).rightJustified(wide ? 4 : 2, u'0');
}
} // namespace

QString visibleLogText(const QString& line)
{
    // Almost every line has nothing to escape: it is returned as it is, without a copy.
    qsizetype first = 0;
    while (first < line.size() && !needsEscape(line[first].unicode()))
        ++first;
    if (first == line.size())
        return line;
    QString out = line.first(first);
    for (qsizetype i = first; i < line.size(); ++i) {
        const char16_t c = line[i].unicode();
        if (needsEscape(c))
            appendEscape(out, c);
        else
            out += line[i];
    }
    return out;
}

QList<qsizetype> searchMatches(const QString& line, const QString& searchText)
{
    QList<qsizetype> starts;
    if (searchText.isEmpty())
        return starts;
    for (qsizetype at = line.indexOf(searchText, 0, Qt::CaseInsensitive); at >= 0;
         at = line.indexOf(searchText, at + searchText.size(), Qt::CaseInsensitive))
        starts.append(at);
    return starts;
}

qsizetype nextMatch(qsizetype current, qsizetype count)
{
    if (count <= 0)
        return -1;
    return current < 0 || current + 1 >= count ? 0 : current + 1;
}

qsizetype previousMatch(qsizetype current, qsizetype count)
{
    if (count <= 0)
        return -1;
    return current <= 0 || current >= count ? count - 1 : current - 1;
}

QString matchCountText(const QString& searchText, qsizetype current, qsizetype count)
{
    if (searchText.isEmpty())
        return {};
    if (count == 0)
        return u"No matches"_s;
    return QString::number(current + 1) + u" of "_s + QString::number(count);
}

void LogPause::pause()
{
    m_paused = true;
    m_newLines = 0;
}

void LogPause::resume()
{
    m_paused = false;
    m_newLines = 0;
}

void LogPause::linesArrived(qsizetype count)
{
    if (m_paused)
        m_newLines += count;
}

void LogPause::setNewLines(qsizetype count)
{
    if (m_paused)
        m_newLines = count;
}

QString LogPause::newLinesText() const
{
    if (!m_paused || m_newLines == 0)
        return {};
    return QString::number(m_newLines) + (m_newLines == 1 ? u" new line"_s : u" new lines"_s);
}

} // namespace quorvane
