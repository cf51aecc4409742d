#include "host_address.h"

#include <QStringTokenizer>

namespace quorvane::cli {

namespace {
constexpr int octets = 4;
constexpr int largestOctet = 255;
constexpr qsizetype longestOctet = 3;

bool isOctet(QStringView text)
{
    if (text.isEmpty() || text.size() > longestOctet)
        return false;
    // A leading zero would read as octal to some resolvers: "010" is not the same everywhere.
    if (text.size() > 1 && text.front() == u'0')
        return false;
    int value = 0;
    for (QChar c : text) {
        if (c < u'0' || c > u'9')
            return false;
        value = value * 10 + (c.unicode() - u'0');
    }
    return value <= largestOctet;
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

} // namespace quorvane::cli
