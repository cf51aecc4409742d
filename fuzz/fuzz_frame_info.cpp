// Frame information (0x01fd): a version found is a whole "V<n>.<n>[.<n>]" taken from the
// datagram's printable text, and a frame name found is a known model named in that text.
#include "diagnostics/debug_logger.h"
#include "fuzz_support.h"
#include "model/frame_info_decoder.h"

#include <QRegularExpression>

using namespace quorvane;

namespace {
// The datagram as the frame's texts appear in it: printable ASCII, every other byte a blank.
QString printableText(QByteArrayView datagram)
{
    QString text;
    for (char byte : datagram)
        text += byte >= 0x20 && byte <= 0x7E ? QChar::fromLatin1(byte) : u' ';
    return text;
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const QRegularExpression version(
        QRegularExpression::anchoredPattern(QStringLiteral(u"V[0-9]+\\.[0-9]+(\\.[0-9]+)?")));

    const QByteArrayView datagram = fuzz::bytesOf(data, size);
    DebugLogger logger;
    logger.setEcho(nullptr);
    const FrameInfo info = scanFrameInfo(datagram, logger);

    const QString text = printableText(datagram);
    if (info.version) {
        FUZZ_CHECK(version.match(*info.version).hasMatch());
        FUZZ_CHECK(text.contains(*info.version));
    }
    if (info.name) {
        FUZZ_CHECK(!info.name->isEmpty() && info.name->size() <= 10);
        FUZZ_CHECK(text.contains(*info.name));
    }
    return 0;
}
