#include "source_definition_decoder.h"

#include "byte_reader.h"
#include "diagnostics/debug_logger.h"

using namespace Qt::StringLiterals;

namespace quorvane {

// A 0x0210 datagram carries the message type at bytes 16-17; records lie from offset 40 on:
//
//   +0     ..     not checked
//   +1     01
//   +2     00
//   +3     LL     length L, 39…80; the record occupies L + 4 bytes
//   +4     SS SS  source number, 1…999
//   +6     …      not examined
//   +L-8   12 bytes: engineering name, the record's last 12 bytes
//
// Definition records are never shorter than 39, unlike name records (18): both ranges are
// the frame's own.
namespace {
constexpr qsizetype minimumDatagram = 50;
constexpr qsizetype firstRecordSearchStart = 40;
constexpr int firstRecordSearchPositions = 80;
constexpr qsizetype scanStopsBeforeEnd = 48;
constexpr int minimumLength = 39;
constexpr int maximumLength = 80;
constexpr int lastSource = lastNamedSource;
constexpr qsizetype nameFieldWidth = 12;
constexpr qsizetype headerBytesLogged = 40;
constexpr int matchesLogged = 5;
constexpr int namesLogged = 15;
constexpr qsizetype shortestKeptName = 2;

bool isRecordAt(const ByteReader& bytes, qsizetype p)
{
    const int length = bytes.u8(p + 3);
    return bytes.u8(p + 1) == 0x01 && bytes.u8(p + 2) == 0x00 && length >= minimumLength &&
           length <= maximumLength;
}

// Leading padding (NUL included) is skipped; after the first printable byte a NUL ends the
// name and other non-printable bytes are dropped.
QString readEngineeringName(const ByteReader& bytes, qsizetype position)
{
    if (!bytes.contains(position, nameFieldWidth))
        return {};
    QString name;
    bool started = false;
    for (qsizetype k = 0; k < nameFieldWidth; ++k) {
        const quint8 byte = bytes.u8(position + k);
        if (!started && !isPrintableAscii(byte))
            continue;
        started = true;
        if (byte == 0x00)
            break;
        if (isPrintableAscii(byte))
            name.append(asciiChar(byte));
    }
    return name.trimmed();
}
} // namespace

std::vector<EngineeringName> parseSourceDefinitionData(QByteArrayView datagram, DebugLogger& logger)
{
    const ByteReader bytes(datagram);
    const qsizetype length = bytes.size();
    logger.info(u"parseSourceDefinitionData: parsing "_s + QString::number(length) + u" bytes"_s);
    if (length < minimumDatagram || bytes.u8(16) != 0x02 || bytes.u8(17) != 0x10) {
        logger.warn(u"parseSourceDefinitionData: invalid packet format"_s);
        return {};
    }
    logger.info(u"0210 packet header: ["_s + hexBytes(bytes.slice(0, headerBytesLogged)) + u']');

    qsizetype p = firstRecordSearchStart;
    for (int tried = 0; p < length - 4 && tried < firstRecordSearchPositions; ++p, ++tried) {
        if (isRecordAt(bytes, p)) {
            logger.info(u"Found first record at offset "_s + QString::number(p));
            return parseSourceRecords0210(datagram, p, logger);
        }
    }
    logger.warn(u"parseSourceDefinitionData: no records found in packet"_s);
    return {};
}

std::vector<EngineeringName> parseSourceRecords0210(QByteArrayView datagram, qsizetype offset,
                                                    DebugLogger& logger)
{
    const ByteReader bytes(datagram);
    const qsizetype length = bytes.size();
    logger.info(u"parseSourceRecords0210: parsing from offset "_s + QString::number(offset) +
                u", data length "_s + QString::number(length));

    std::vector<EngineeringName> kept;
    int matches = 0;
    for (qsizetype p = offset; p < length - scanStopsBeforeEnd;) {
        if (!isRecordAt(bytes, p)) {
            p += 1;
            continue;
        }
        ++matches;
        const int recordLength = bytes.u8(p + 3);
        const qsizetype recordSize = recordLength + 4;
        const int source = bytes.u16(p + 4);
        if (matches <= matchesLogged) {
            logger.info(u"parseSourceRecords0210 match "_s + QString::number(matches) +
                        u": pos="_s + QString::number(p) + u" len="_s +
                        QString::number(recordLength) + u" src="_s + QString::number(source) +
                        u" bytes=["_s + hexBytes(bytes.slice(p, recordSize)) + u']');
        }
        // A record that runs past the datagram may hide a real one inside it: look again one
        // byte on. One that fits is passed over whole.
        if (p + recordSize > length) {
            p += 1;
            continue;
        }
        if (source == 0 || source > lastSource) {
            p += recordSize;
            continue;
        }
        const QString name = readEngineeringName(bytes, p + recordLength - 8);
        p += recordSize;
        if (name.size() < shortestKeptName)
            continue;
        kept.push_back({source, name});
        if (kept.size() <= namesLogged) {
            logger.info(u"parseSourceRecords0210 source "_s + QString::number(source) +
                        u": eng='"_s + name + u'\'');
        }
    }

    logger.info(u"parseSourceRecords0210: checked "_s + QString::number(matches) +
                u" matches, found "_s + QString::number(kept.size()) + u" sources"_s);
    return kept;
}

void mergeEngineeringNames(SourceNameTable& names, const std::vector<EngineeringName>& decoded,
                           DebugLogger& logger)
{
    for (const EngineeringName& entry : decoded)
        names[entry.source].eng = entry.name;
    logger.info(u"0210 Source names updated on main thread ("_s + QString::number(decoded.size()) +
                u" records, total: "_s + QString::number(names.size()) + u')');
}

} // namespace quorvane
