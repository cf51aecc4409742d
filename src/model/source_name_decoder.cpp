#include "source_name_decoder.h"

#include "byte_reader.h"
#include "diagnostics/debug_logger.h"

using namespace Qt::StringLiterals;

namespace quorvane {

// A name record at i, searched for from 12 bytes after the 02 0b marker:
//
//   +0  ..     prefix (not checked)
//   +1  KK     kind: 1 bulk (full load), 2 live (a single rename)
//   +2  00
//   +3  LL     length L, 18…80; the record occupies L + 2 bytes
//   +4  SS SS  source number, 1…999
//   +6  ..     not examined (6 bytes)
//   +12 FF     1 when an OLED name starts at +13
//   +13 …      name fields, each NUL-terminated and at most 16 bytes: OLED (optional), one
//              unused field, engineering, panel, menu
//
// Four unread bytes follow every record, so the scan steps L + 6 after one.
namespace {
constexpr quint8 markerHigh = 0x02;
constexpr quint8 markerLow = 0x0B;
constexpr qsizetype recordsAfterMarker = 10;
constexpr qsizetype scanStopsBeforeEnd = 30;
constexpr int minimumLength = 18;
constexpr int maximumLength = 80;
constexpr int lastSource = lastNamedSource;
constexpr qsizetype nameFieldLimit = 16;
constexpr qsizetype contextAfterMarker = 50;
constexpr qsizetype sampleLength = 100;
constexpr quint8 kindBulk = 1;
constexpr quint8 kindLive = 2;

struct NameField {
    QString text;
    qsizetype consumed = 0;
};

// A field ends at its NUL (which it consumes) or after 16 bytes; non-printable bytes are
// dropped and white space trimmed.
NameField readNameField(const ByteReader& bytes, qsizetype position, qsizetype recordEnd)
{
    const qsizetype window = qMin(nameFieldLimit, recordEnd - position);
    if (window <= 0)
        return {};
    NameField field;
    QString text;
    for (qsizetype k = 0; k < window; ++k) {
        const quint8 byte = bytes.u8(position + k);
        field.consumed = k + 1;
        if (byte == 0x00)
            break;
        if (isPrintableAscii(byte))
            text.append(asciiChar(byte));
    }
    field.text = text.trimmed();
    return field;
}

QString quotedNames(const DecodedSourceName& record)
{
    return u"Src "_s + QString::number(record.source) + u": menu='"_s + record.menu +
           u"' oled='"_s + record.oled + u"' panel='"_s + record.panel + u"' eng='"_s + record.eng +
           u'\'';
}
} // namespace

std::vector<DecodedSourceName> parseSourceNameData020b(QByteArrayView datagram, DebugLogger& logger)
{
    const ByteReader bytes(datagram);
    const qsizetype length = bytes.size();
    logger.info(u"parseSourceNameData020b: scanning "_s + QString::number(length) +
                u" bytes for 020b marker"_s);

    qsizetype marker = -1;
    for (qsizetype m = 0; m < length - 2; ++m) {
        if (bytes.u8(m) == markerHigh && bytes.u8(m + 1) == markerLow) {
            marker = m;
            break;
        }
    }
    if (marker < 0) {
        logger.warn(u"parseSourceNameData020b: no 020b marker found in packet"_s);
        return {};
    }
    logger.info(u"Found 020b at offset "_s + QString::number(marker));
    const qsizetype contextStart = qMax(marker, qsizetype{4}) - 4;
    const qsizetype contextEnd = qMin(marker + contextAfterMarker, length);
    logger.info(u"Context around 020b: ["_s +
                hexBytes(bytes.slice(contextStart, contextEnd - contextStart)) + u']');
    return parseSourceRecords020b(datagram, marker + 2, logger);
}

std::vector<DecodedSourceName> parseSourceRecords020b(QByteArrayView datagram, qsizetype offset,
                                                      DebugLogger& logger)
{
    const ByteReader bytes(datagram);
    const qsizetype length = bytes.size();
    logger.info(u"parseSourceRecords020b: parsing from offset "_s + QString::number(offset));
    logger.info(u"020b data sample: ["_s + hexBytes(bytes.slice(offset, sampleLength)) + u']');

    std::vector<DecodedSourceName> records;
    bool bulkLogged = false;
    for (qsizetype i = offset + recordsAfterMarker; i < length - scanStopsBeforeEnd;) {
        const quint8 kind = bytes.u8(i + 1);
        const int recordLength = bytes.u8(i + 3);
        if ((kind != kindBulk && kind != kindLive) || bytes.u8(i + 2) != 0x00 ||
            recordLength < minimumLength || recordLength > maximumLength) {
            i += 1;
            continue;
        }
        const int source = bytes.u16(i + 4);
        if (source == 0 || source > lastSource) {
            i += 1;
            continue;
        }
        const qsizetype recordEnd = i + recordLength + 2;
        if (recordEnd > length) {
            i += 1;
            continue;
        }

        DecodedSourceName record;
        record.source = source;
        record.live = kind == kindLive;
        qsizetype position = i + 14;
        if (bytes.u8(i + 12) == 1 && bytes.u8(i + 13) != 0x00) {
            const NameField oled = readNameField(bytes, i + 13, recordEnd);
            record.oled = oled.text;
            position = i + 13 + qMax(oled.consumed, qsizetype{1});
        }
        auto nextField = [&] {
            const NameField field = readNameField(bytes, position, recordEnd);
            position += qMax(field.consumed, qsizetype{1});
            return field.text;
        };
        nextField(); // a field the frame sends but nobody shows
        record.eng = nextField();
        record.panel = nextField();
        record.menu = nextField();
        records.push_back(record);

        const QString prefix = QString::asprintf("%02x%02x", bytes.u8(i), bytes.u8(i + 1));
        if (record.live) {
            logger.info(u"020b LIVE [prefix="_s + prefix + u"] "_s + quotedNames(record));
        } else if (!bulkLogged) {
            bulkLogged = true;
            logger.info(u"020b BULK [prefix="_s + prefix + u"] "_s + quotedNames(record));
        }
        i += recordLength + 6;
    }

    logger.info(u"parseSourceRecords020b: found "_s + QString::number(records.size()) +
                u" custom name records"_s);
    return records;
}

void mergeSourceNames(SourceNameTable& names, const std::vector<DecodedSourceName>& records,
                      DebugLogger& logger)
{
    auto keepKnown = [](QString& stored, const QString& decoded) {
        if (!decoded.isEmpty())
            stored = decoded;
    };
    for (const DecodedSourceName& record : records) {
        SourceName& name = names[record.source];
        keepKnown(name.eng, record.eng);
        keepKnown(name.panel, record.panel);
        keepKnown(name.oled, record.oled);
        keepKnown(name.menu, record.menu);
    }
    logger.info(u"Source names updated on main thread ("_s + QString::number(records.size()) +
                u" records)"_s);
}

qsizetype logSourceNamesSummary(const SourceNameTable& names, DebugLogger& logger)
{
    int menu = 0;
    int oled = 0;
    int panel = 0;
    int engineeringOnly = 0;
    for (const SourceName& name : names) {
        if (!name.menu.isEmpty())
            ++menu;
        else if (!name.oled.isEmpty())
            ++oled;
        else if (!name.panel.isEmpty())
            ++panel;
        else if (!name.eng.isEmpty())
            ++engineeringOnly;
    }
    logger.info(u"Source names loaded: "_s + QString::number(names.size()) + u" total"_s);
    logger.info(u"  - Engineering only: "_s + QString::number(engineeringOnly));
    if (panel > 0)
        logger.info(u"  - With panel name: "_s + QString::number(panel));
    if (oled >= 1)
        logger.info(u"  - With OLED name: "_s + QString::number(oled));
    if (menu >= 1)
        logger.info(u"  - With menu name: "_s + QString::number(menu));
    if (menu == 0 && oled == 0 && panel == 0)
        logger.info(u"Note: No custom names (panel/oled/menu) received from K-Frame"_s);
    return names.size();
}

} // namespace quorvane
