#include "host_address.h"

#include <QStringTokenizer>
#include <algorithm>

namespace quorvane {

namespace {
constexpr int octets = 4;
constexpr int largestOctet = 255;
constexpr qsizetype longestOctet = 3;
constexpr qsizetype longestLabel = 63;
constexpr qsizetype longestName = 253;

bool isDigit(QChar c)
{
    return c >= u'0' && c <= u'9';
}

bool isLetter(QChar c)
{
    return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z');
}

bool isOctet(QStringView text)
{
    if (text.isEmpty() || text.size() > longestOctet)
        return false;
    // A leading zero would read as octal to some resolvers: "010" is not the same everywhere.
    if (text.size() > 1 && text.front() == u'0')
        return false;
    int value = 0;
    for (QChar c : text) {
        if (!isDigit(c))
            return false;
        value = value * 10 + (c.unicode() - u'0');
    }
    return value <= largestOctet;
}

bool isLabel(QStringView text)
{
    if (text.isEmpty() || text.size() > longestLabel)
        return false;
    if (text.front() == u'-' || text.back() == u'-')
        return false;
    return std::all_of(text.begin(), text.end(),
                       [](QChar c) { return isLetter(c) || isDigit(c) || c == u'-'; });
}
} // namespace

bool isDottedIPv4(QStringView host)
{
    int count = 0;
    for (QStringView part : host.tokenize(u'.')) {
        if (++count > octets || !isOctet(part))
            return false;
    }
    return count == octets;
}

bool isHostName(QStringView host)
{
    if (host.isEmpty() || host.size() > longestName)
        return false;
    QStringView last;
    for (QStringView label : host.tokenize(u'.')) {
        if (!isLabel(label))
            return false;
        last = label;
    }
    return !std::all_of(last.begin(), last.end(), isDigit);
}

} // namespace quorvane
