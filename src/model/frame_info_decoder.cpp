#include "frame_info_decoder.h"

#include "byte_reader.h"
#include "diagnostics/debug_logger.h"

#include <QRegularExpression>
#include <array>

using namespace Qt::StringLiterals;

namespace quorvane {

namespace {
// Longer and more specific names first, so that "K-Frame XP" is not taken for "K-Frame".
constexpr std::array<QStringView, 14> frameTypes{
    u"K-Frame XP", u"K Frame XP", u"K-Frame X", u"K Frame X", u"XP-Frame", u"XP Frame", u"X-Frame",
    u"X Frame",    u"GV K-Frame", u"K-Frame",   u"K Frame",   u"Kayenne",  u"Karrera",  u"Korona"};

constexpr qsizetype loggedCharacters = 200;

// Printable ASCII stays, every other byte becomes a blank, so binary fields split words.
QString printableText(QByteArrayView datagram)
{
    QString text(datagram.size(), u' ');
    for (qsizetype i = 0; i < datagram.size(); ++i) {
        const auto byte = static_cast<quint8>(datagram[i]);
        if (isPrintableAscii(byte))
            text[i] = asciiChar(byte);
    }
    return text.trimmed();
}
} // namespace

FrameInfo scanFrameInfo(QByteArrayView datagram, DebugLogger& logger)
{
    static const QRegularExpression versionPattern(u"V\\d+\\.\\d+(\\.\\d+)?"_s);

    const QString text = printableText(datagram);
    logger.info(u"parseFrameInfo scanning: "_s + text.left(loggedCharacters));

    FrameInfo info;
    const QRegularExpressionMatch version = versionPattern.match(text);
    if (version.hasMatch()) {
        info.version = version.captured();
        logger.info(u"Found version in packet: "_s + *info.version);
    }
    for (QStringView type : frameTypes) {
        if (text.contains(type)) {
            info.name = type.toString();
            logger.info(u"Found frame type in packet: "_s + *info.name);
            break;
        }
    }
    return info;
}

} // namespace quorvane
