#include "show_file_json_strings.h"

#include "show_file_rules.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace quorvane::showfile {

namespace {
constexpr qsizetype unicodeDigits = 4;

bool isHexDigit(char c)
{
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

// The length of a valid escape whose backslash stands at `at`, or 0.
qsizetype escapeLength(QByteArrayView json, qsizetype at)
{
    if (at + 1 >= json.size())
        return 0;
    switch (json[at + 1]) {
    case '"':
    case '\\':
    case '/':
    case 'b':
    case 'f':
    case 'n':
    case 'r':
    case 't':
        return 2;
    case 'u':
        for (qsizetype i = at + 2; i < at + 2 + unicodeDigits; ++i) {
            if (i >= json.size() || !isHexDigit(json[i]))
                return 0;
        }
        return 2 + unicodeDigits;
    default:
        return 0;
    }
}

// The invalid escape at `at` as the file has it: the backslash and the character after it, and
// for \u what stands in the place of its digits.
QString escapeText(QByteArrayView json, qsizetype at)
{
    constexpr qsizetype longestCharacter = 4; // bytes of UTF-8
    const QString after = QString::fromUtf8(
        json.sliced(at + 1, std::min(json.size() - at - 1, longestCharacter * (1 + unicodeDigits))));
    if (!after.startsWith(u'u'))
        return printable(QString(u'\\' + after.first(std::min<qsizetype>(after.size(), 1))));
    qsizetype end = 1;
    while (end < after.size() && end < 1 + unicodeDigits && after[end] != u'"' &&
           after[end] != u'\\' && !after[end].isSpace())
        ++end;
    return printable(QString(u'\\' + after.first(end)));
}

ShowFileProblem notValid(int line, const QString& reason)
{
    return {line, {}, u"not valid JSON: "_s + reason};
}
} // namespace

std::optional<ShowFileProblem> invalidString(QByteArrayView json)
{
    int line = 1;
    bool inString = false;
    qsizetype i = 0;
    while (i < json.size()) {
        const char c = json[i];
        if (!inString) {
            line += c == '\n';
            inString = c == '"';
            ++i;
        } else if (c == '"') {
            inString = false;
            ++i;
        } else if (static_cast<uchar>(c) < 0x20) {
            return notValid(line, u"a string holds a raw control character ("_s +
                                      printable(QString(QChar(char16_t(c)))) +
                                      u"), which JSON writes as an escape"_s);
        } else if (c == '\\') {
            const qsizetype length = escapeLength(json, i);
            if (length == 0) {
                return notValid(line, u"a string holds the escape "_s + escapeText(json, i) +
                                          u", which JSON does not know (a backslash is "
                                          u"written \\\\)"_s);
            }
            i += length;
        } else {
            ++i;
        }
    }
    return std::nullopt;
}

} // namespace quorvane::showfile
