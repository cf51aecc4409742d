#include "diagnostics/debug_logger.h"
#include "model/source_definition_decoder.h"
#include "test_support.h"

#include <QDebug>
#include <QTest>
#include <vector>

using namespace Qt::StringLiterals;
using namespace quorvane;
using quorvane::test::bytes;
using quorvane::test::loggedMessages;

namespace quorvane {

// Readable QCOMPARE failures for decoded names and name tables.
QDebug operator<<(QDebug debug, const EngineeringName& entry)
{
    QDebugStateSaver saver(debug);
    debug.nospace() << "EngineeringName(" << entry.source << ' ' << entry.name << ')';
    return debug;
}

QDebug operator<<(QDebug debug, const SourceName& name)
{
    QDebugStateSaver saver(debug);
    debug.nospace() << "SourceName(eng=" << name.eng << " panel=" << name.panel
                    << " oled=" << name.oled << " menu=" << name.menu << ')';
    return debug;
}

} // namespace quorvane

namespace {

// A 0x0210 message as the frame sends it: DATA header and block, the message type at 16-17,
// then header bytes up to offset 40, where records may start.
const QByteArray messageHead = bytes("00 04 04 93 00 02 00 08 00 00 00 24 00 00 00 2e" // DATA
                                     "02 10"                                           // type
                                     "00 00 00 05 00 00 00 00 00 00 00 00 00 00 00 00 00 00"
                                     "00 00 00 00");
// Enough zeros after the last record for the scan, which stops 48 bytes before the end.
constexpr qsizetype defaultTail = 48;

// One definition record, written from its byte layout: +0 any byte, +1 01, +2 00, +3 L,
// +4 source (big-endian), then L - 14 bytes nobody reads and the 12-byte engineering name
// field; L + 4 bytes in all. A name shorter than 12 bytes is followed by NULs.
struct DefinitionRecord {
    quint8 prefix = 0x00;
    quint16 source = 1;
    QByteArray name{};
    int length = 39;
};

void put8(QByteArray& out, int value)
{
    out.append(static_cast<char>(value));
}

QByteArray encode(const DefinitionRecord& record)
{
    QByteArray out;
    put8(out, record.prefix);
    put8(out, 0x01);
    put8(out, 0x00);
    put8(out, record.length);
    put8(out, record.source >> 8);
    put8(out, record.source & 0xff);
    out.append(record.length - 14, static_cast<char>(0x77));
    QByteArray field = record.name.left(12);
    field.append(12 - field.size(), '\0');
    out.append(field);
    return out;
}

QByteArray recordArea(const std::vector<DefinitionRecord>& records)
{
    QByteArray area;
    for (const DefinitionRecord& record : records)
        area.append(encode(record));
    return area;
}

// `area` starts at offset 40.
QByteArray definitionDatagram(const QByteArray& area, qsizetype tail = defaultTail)
{
    QByteArray datagram = messageHead;
    datagram.append(area);
    datagram.append(tail, '\0');
    return datagram;
}

QString hex(QByteArrayView data)
{
    return QString::fromLatin1(data.toByteArray().toHex(' '));
}

QString parsingLine(const QByteArray& datagram)
{
    return u"[INFO] parseSourceDefinitionData: parsing "_s + QString::number(datagram.size()) +
           u" bytes"_s;
}

QString headerLine(const QByteArray& datagram)
{
    return u"[INFO] 0210 packet header: ["_s + hex(datagram.first(40)) + u']';
}

QString foundFirstLine(qsizetype offset)
{
    return u"[INFO] Found first record at offset "_s + QString::number(offset);
}

QString recordsFromLine(qsizetype offset, const QByteArray& datagram)
{
    return u"[INFO] parseSourceRecords0210: parsing from offset "_s + QString::number(offset) +
           u", data length "_s + QString::number(datagram.size());
}

// The record's bytes as far as the datagram holds them.
QString matchLine(int match, qsizetype position, const QByteArray& datagram)
{
    const int length = static_cast<quint8>(datagram[position + 3]);
    const int source = (static_cast<quint8>(datagram[position + 4]) << 8) |
                       static_cast<quint8>(datagram[position + 5]);
    return u"[INFO] parseSourceRecords0210 match "_s + QString::number(match) + u": pos="_s +
           QString::number(position) + u" len="_s + QString::number(length) + u" src="_s +
           QString::number(source) + u" bytes=["_s + hex(datagram.mid(position, length + 4)) + u']';
}

QString nameLine(int source, const QString& name)
{
    return u"[INFO] parseSourceRecords0210 source "_s + QString::number(source) + u": eng='"_s +
           name + u'\'';
}

QString checkedLine(int matches, int kept)
{
    return u"[INFO] parseSourceRecords0210: checked "_s + QString::number(matches) +
           u" matches, found "_s + QString::number(kept) + u" sources"_s;
}

const QString noRecordsLine = u"[WARN] parseSourceDefinitionData: no records found in packet"_s;

SourceName sourceName(const QString& eng = {}, const QString& panel = {}, const QString& oled = {},
                      const QString& menu = {})
{
    SourceName name;
    name.eng = eng;
    name.panel = panel;
    name.oled = oled;
    name.menu = menu;
    return name;
}

} // namespace

class TestSourceDefinitionDecoder : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void logsEveryStepOfOneDatagram()
    {
        const QByteArray datagram =
            bytes("00 04 04 93 00 02 00 08 00 00 00 24 00 00 00 2e" // DATA header and block
                  "02 10"                                           // message type
                  "00 00 00 05 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00"
                  // record at 40: L = 39, source 12
                  "00 01 00 27 00 0c"
                  "10 11 12 13 14 15 16 17 18 19 1a 1b 1c 1d 1e 1f 20 21 22 23 24 25 26 27 28"
                  "43 41 4d 20 31 32 00 00 00 00 00 00" // engineering name "CAM 12"
                  "00 00 00 00 00 00");
        QCOMPARE(datagram.size(), 89);

        DebugLogger logger;
        logger.setEcho(nullptr);
        QCOMPARE(parseSourceDefinitionData(datagram, logger),
                 std::vector<EngineeringName>({{12, u"CAM 12"_s}}));
        QCOMPARE(loggedMessages(logger),
                 QStringList({
                     u"[INFO] parseSourceDefinitionData: parsing 89 bytes"_s,
                     u"[INFO] 0210 packet header: [00 04 04 93 00 02 00 08 00 00 00 24 00 00 00 "
                     u"2e 02 10 00 00 00 05 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 "
                     u"00]"_s,
                     u"[INFO] Found first record at offset 40"_s,
                     u"[INFO] parseSourceRecords0210: parsing from offset 40, data length 89"_s,
                     u"[INFO] parseSourceRecords0210 match 1: pos=40 len=39 src=12 bytes=[00 01 "
                     u"00 27 00 0c 10 11 12 13 14 15 16 17 18 19 1a 1b 1c 1d 1e 1f 20 21 22 23 "
                     u"24 25 26 27 28 43 41 4d 20 31 32 00 00 00 00 00 00]"_s,
                     u"[INFO] parseSourceRecords0210 source 12: eng='CAM 12'"_s,
                     u"[INFO] parseSourceRecords0210: checked 1 matches, found 1 sources"_s,
                 }));
    }

    void decodesRecords_data()
    {
        QTest::addColumn<QByteArray>("area");
        QTest::addColumn<QList<qsizetype>>("positions");
        QTest::addColumn<std::vector<EngineeringName>>("expected");

        QTest::newRow("one record")
            << recordArea({{.source = 1, .name = "CAM 1"}}) << QList<qsizetype>{40}
            << std::vector<EngineeringName>{{1, u"CAM 1"_s}};
        QTest::newRow("records of different lengths")
            << recordArea({{.source = 5, .name = "VTR 5", .length = 39},
                           {.prefix = 0xff, .source = 250, .name = "GRAPHICS 250", .length = 50},
                           {.prefix = 0x01, .source = 999, .name = "AB", .length = 80}})
            << QList<qsizetype>{40, 83, 137}
            << std::vector<EngineeringName>{
                   {5, u"VTR 5"_s}, {250, u"GRAPHICS 250"_s}, {999, u"AB"_s}};
        QTest::newRow("padding between records")
            << QByteArray(encode({.source = 2, .name = "FIRST"}) + QByteArray(7, '\0') +
                          encode({.source = 3, .name = "SECOND"}) + QByteArray(1, '\0') +
                          encode({.source = 4, .name = "THIRD"}))
            << QList<qsizetype>{40, 90, 134}
            << std::vector<EngineeringName>{{2, u"FIRST"_s}, {3, u"SECOND"_s}, {4, u"THIRD"_s}};
        QTest::newRow("first record after padding")
            << QByteArray(QByteArray(17, '\0') + encode({.source = 6, .name = "LATE"}))
            << QList<qsizetype>{57} << std::vector<EngineeringName>{{6, u"LATE"_s}};
        QTest::newRow("source number is big-endian")
            << recordArea({{.source = 0x0203, .name = "SRC 515"}}) << QList<qsizetype>{40}
            << std::vector<EngineeringName>{{515, u"SRC 515"_s}};
        QTest::newRow("name fills the field")
            << recordArea({{.source = 7, .name = "ENGINEERING7"}}) << QList<qsizetype>{40}
            << std::vector<EngineeringName>{{7, u"ENGINEERING7"_s}};
    }

    void decodesRecords()
    {
        QFETCH(QByteArray, area);
        QFETCH(QList<qsizetype>, positions);
        QFETCH(std::vector<EngineeringName>, expected);
        const QByteArray datagram = definitionDatagram(area);

        DebugLogger logger;
        logger.setEcho(nullptr);
        QCOMPARE(parseSourceDefinitionData(datagram, logger), expected);

        QStringList lines{parsingLine(datagram), headerLine(datagram),
                          foundFirstLine(positions.first()),
                          recordsFromLine(positions.first(), datagram)};
        for (qsizetype k = 0; k < positions.size(); ++k) {
            const EngineeringName& entry = expected[static_cast<std::size_t>(k)];
            lines.append(matchLine(static_cast<int>(k) + 1, positions[k], datagram));
            lines.append(nameLine(entry.source, entry.name));
        }
        const int count = static_cast<int>(expected.size());
        lines.append(checkedLine(count, count));
        QCOMPARE(loggedMessages(logger), lines);
    }

    void rejectsInvalidFormat_data()
    {
        QTest::addColumn<QByteArray>("datagram");

        const QByteArray valid = definitionDatagram(recordArea({{.source = 1, .name = "CAM 1"}}));
        QByteArray nameMessage = valid;
        nameMessage[17] = 0x0b;
        QByteArray swapped = valid;
        swapped[16] = 0x10;
        swapped[17] = 0x02;
        QByteArray otherType = valid;
        otherType[17] = 0x11;
        QByteArray wrongHigh = valid;
        wrongHigh[16] = 0x03;

        QTest::newRow("49 bytes") << valid.first(49);
        QTest::newRow("bytes 16-17 are 02 0b") << nameMessage;
        QTest::newRow("bytes 16-17 are 10 02") << swapped;
        QTest::newRow("bytes 16-17 are 02 11") << otherType;
        QTest::newRow("bytes 16-17 are 03 10") << wrongHigh;
        QTest::newRow("empty datagram") << QByteArray();
    }

    void rejectsInvalidFormat()
    {
        QFETCH(QByteArray, datagram);
        DebugLogger logger;
        logger.setEcho(nullptr);
        QCOMPARE(parseSourceDefinitionData(datagram, logger), std::vector<EngineeringName>{});
        QCOMPARE(loggedMessages(logger),
                 QStringList({parsingLine(datagram),
                              u"[WARN] parseSourceDefinitionData: invalid packet format"_s}));
    }

    // The first record is looked for at 40 to 119 (80 positions), and only where its four
    // header bytes fit before the end.
    void findsFirstRecord_data()
    {
        QTest::addColumn<QByteArray>("datagram");
        QTest::addColumn<qsizetype>("firstRecord"); // -1: none found
        QTest::addColumn<std::vector<EngineeringName>>("expected");

        const QByteArray record = encode({.source = 9, .name = "FOUND"});
        QTest::newRow("record at 40") << definitionDatagram(record) << qsizetype{40}
                                      << std::vector<EngineeringName>{{9, u"FOUND"_s}};
        QTest::newRow("record at 119")
            << definitionDatagram(QByteArray(79, '\0') + record) << qsizetype{119}
            << std::vector<EngineeringName>{{9, u"FOUND"_s}};
        QTest::newRow("record at 120") << definitionDatagram(QByteArray(80, '\0') + record)
                                       << qsizetype{-1} << std::vector<EngineeringName>{};
        QTest::newRow("50 bytes without a record")
            << definitionDatagram({}, 10) << qsizetype{-1} << std::vector<EngineeringName>{};
        // Found, but the record scan stops 48 bytes before the end, long before it.
        QTest::newRow("header 5 bytes before the end")
            << definitionDatagram(QByteArray(15, '\0') + bytes("00 01 00 27"), 1) << qsizetype{55}
            << std::vector<EngineeringName>{};
        QTest::newRow("header 4 bytes before the end")
            << definitionDatagram(QByteArray(16, '\0') + bytes("00 01 00 27"), 0) << qsizetype{-1}
            << std::vector<EngineeringName>{};
    }

    void findsFirstRecord()
    {
        QFETCH(QByteArray, datagram);
        QFETCH(qsizetype, firstRecord);
        QFETCH(std::vector<EngineeringName>, expected);

        DebugLogger logger;
        logger.setEcho(nullptr);
        QCOMPARE(parseSourceDefinitionData(datagram, logger), expected);
        const QStringList messages = loggedMessages(logger);
        QVERIFY(messages.size() >= 3);
        QCOMPARE(messages.first(2), QStringList({parsingLine(datagram), headerLine(datagram)}));
        if (firstRecord < 0) {
            QCOMPARE(messages.mid(2), QStringList(noRecordsLine));
        } else {
            QCOMPARE(messages.value(2), foundFirstLine(firstRecord));
            QCOMPARE(messages.value(3), recordsFromLine(firstRecord, datagram));
            QCOMPARE(messages.last(), checkedLine(static_cast<int>(expected.size()),
                                                  static_cast<int>(expected.size())));
        }
    }

    // Definition records are 39 to 80 long, both when looking for the first record and when
    // scanning for the others.
    void recordLengthBounds_data()
    {
        QTest::addColumn<int>("length");
        QTest::addColumn<bool>("accepted");

        QTest::newRow("L = 38") << 38 << false;
        QTest::newRow("L = 39") << 39 << true;
        QTest::newRow("L = 80") << 80 << true;
        QTest::newRow("L = 81") << 81 << false;
    }

    void recordLengthBounds()
    {
        QFETCH(int, length);
        QFETCH(bool, accepted);
        const DefinitionRecord candidate{.source = 3, .name = "LEN TEST", .length = length};

        DebugLogger logger;
        logger.setEcho(nullptr);
        const QByteArray alone = definitionDatagram(encode(candidate));
        QCOMPARE(parseSourceDefinitionData(alone, logger),
                 (accepted ? std::vector<EngineeringName>{{3, u"LEN TEST"_s}}
                           : std::vector<EngineeringName>{}));
        QCOMPARE(loggedMessages(logger).value(2), accepted ? foundFirstLine(40) : noRecordsLine);

        DebugLogger afterLogger;
        afterLogger.setEcho(nullptr);
        const QByteArray after =
            definitionDatagram(encode({.source = 1, .name = "FIRST"}) + encode(candidate));
        QCOMPARE(parseSourceDefinitionData(after, afterLogger),
                 (accepted ? std::vector<EngineeringName>{{1, u"FIRST"_s}, {3, u"LEN TEST"_s}}
                           : std::vector<EngineeringName>{{1, u"FIRST"_s}}));
        QCOMPARE(loggedMessages(afterLogger).last(),
                 accepted ? checkedLine(2, 2) : checkedLine(1, 1));
    }

    // Leading padding is skipped, a NUL after the first printable byte ends the name, other
    // non-printable bytes are dropped; names shorter than two characters are not kept.
    void readsEngineeringName_data()
    {
        QTest::addColumn<QByteArray>("field");
        QTest::addColumn<QString>("expected"); // empty: not kept

        QTest::newRow("name followed by NULs")
            << bytes("43 41 4d 20 32 31 00 00 00 00 00 00") << u"CAM 21"_s;
        QTest::newRow("twelve printable bytes")
            << bytes("45 4e 47 49 4e 45 45 52 49 4e 47 31") << u"ENGINEERING1"_s;
        QTest::newRow("leading NULs skipped")
            << bytes("00 00 00 56 54 52 00 00 00 00 00 00") << u"VTR"_s;
        QTest::newRow("leading non-printable bytes skipped")
            << bytes("01 ff 07 1f 56 54 52 00 00 00 00 00") << u"VTR"_s;
        QTest::newRow("NUL after the name ends it")
            << bytes("56 54 52 00 58 58 58 00 00 00 00 00") << u"VTR"_s;
        QTest::newRow("non-printable bytes inside dropped")
            << bytes("43 07 41 ff 4d 7f 00 00 00 00 00 00") << u"CAM"_s;
        QTest::newRow("blanks trimmed") << bytes("00 20 20 43 20 31 20 20 00 00 00 00") << u"C 1"_s;
        QTest::newRow("two characters kept")
            << bytes("41 42 00 00 00 00 00 00 00 00 00 00") << u"AB"_s;
        QTest::newRow("two characters around a control byte")
            << bytes("41 07 42 00 00 00 00 00 00 00 00 00") << u"AB"_s;
        QTest::newRow("one character dropped")
            << bytes("41 00 00 00 00 00 00 00 00 00 00 00") << QString();
        QTest::newRow("one character between blanks dropped")
            << bytes("20 41 20 00 00 00 00 00 00 00 00 00") << QString();
        QTest::newRow("only NULs") << bytes("00 00 00 00 00 00 00 00 00 00 00 00") << QString();
    }

    void readsEngineeringName()
    {
        QFETCH(QByteArray, field);
        QFETCH(QString, expected);
        QCOMPARE(field.size(), 12);
        const QByteArray datagram = definitionDatagram(encode({.source = 21, .name = field}));

        DebugLogger logger;
        logger.setEcho(nullptr);
        QCOMPARE(parseSourceDefinitionData(datagram, logger),
                 (expected.isEmpty() ? std::vector<EngineeringName>{}
                                     : std::vector<EngineeringName>{{21, expected}}));
        QStringList tail{matchLine(1, 40, datagram)};
        if (!expected.isEmpty())
            tail.append(nameLine(21, expected));
        tail.append(checkedLine(1, expected.isEmpty() ? 0 : 1));
        QCOMPARE(loggedMessages(logger).mid(4), tail);
    }

    void oneCharacterNameKeepsKnownNames()
    {
        const QByteArray datagram = definitionDatagram(
            recordArea({{.source = 7, .name = "X"}, {.source = 8, .name = "AB"}}));
        SourceNameTable names{{7, sourceName(u"OLD ENG"_s, u"P7"_s, u"O7"_s, u"M7"_s)}};

        DebugLogger logger;
        logger.setEcho(nullptr);
        const std::vector<EngineeringName> decoded = parseSourceDefinitionData(datagram, logger);
        QCOMPARE(decoded, std::vector<EngineeringName>({{8, u"AB"_s}}));
        mergeEngineeringNames(names, decoded, logger);

        QCOMPARE(names, (SourceNameTable{{7, sourceName(u"OLD ENG"_s, u"P7"_s, u"O7"_s, u"M7"_s)},
                                         {8, sourceName(u"AB"_s)}}));
        QCOMPARE(loggedMessages(logger).mid(4),
                 QStringList(
                     {matchLine(1, 40, datagram), matchLine(2, 83, datagram), nameLine(8, u"AB"_s),
                      checkedLine(2, 1),
                      u"[INFO] 0210 Source names updated on main thread (1 records, total: 2)"_s}));
    }

    // A record that runs past the datagram is counted as a match, and the scan goes on with
    // the next byte, so a record starting inside it is still found.
    void recordOverrunningDatagram_data()
    {
        QTest::addColumn<QByteArray>("datagram");
        QTest::addColumn<QList<qsizetype>>("matches");
        QTest::addColumn<std::vector<EngineeringName>>("expected");

        // L = 80 at 40 needs 124 bytes.
        QTest::newRow("record ends at the datagram end")
            << definitionDatagram(encode({.source = 4, .name = "FITS", .length = 80}), 0)
            << QList<qsizetype>{40} << std::vector<EngineeringName>{{4, u"FITS"_s}};
        QTest::newRow("record one byte longer than the datagram")
            << definitionDatagram(encode({.source = 4, .name = "FITS", .length = 80}), 0).first(123)
            << QList<qsizetype>{40} << std::vector<EngineeringName>{};
        QTest::newRow("alone") << definitionDatagram(
                                      encode({.source = 4, .name = "OVERRUN", .length = 80}), 0)
                                      .first(100)
                               << QList<qsizetype>{40} << std::vector<EngineeringName>{};
        // The hidden record's prefix is the overrunning one's L byte (0x50, 80); its 01 00 are
        // the overrunning one's source (256). With 123 bytes the outer record lacks one byte.
        QTest::newRow("hiding a record three bytes on")
            << definitionDatagram(
                   bytes("aa 01 00") + encode({.prefix = 0x50, .source = 9, .name = "HIDDEN"}), 37)
            << QList<qsizetype>{40, 43} << std::vector<EngineeringName>{{9, u"HIDDEN"_s}};
        QTest::newRow("hiding a record, datagram of 100 bytes")
            << definitionDatagram(
                   bytes("aa 01 00") + encode({.prefix = 0x50, .source = 9, .name = "HIDDEN"}), 14)
            << QList<qsizetype>{40, 43} << std::vector<EngineeringName>{{9, u"HIDDEN"_s}};
    }

    void recordOverrunningDatagram()
    {
        QFETCH(QByteArray, datagram);
        QFETCH(QList<qsizetype>, matches);
        QFETCH(std::vector<EngineeringName>, expected);
        DebugLogger logger;
        logger.setEcho(nullptr);
        QCOMPARE(parseSourceDefinitionData(datagram, logger), expected);
        QStringList tail;
        for (qsizetype k = 0; k < matches.size(); ++k)
            tail.append(matchLine(static_cast<int>(k) + 1, matches[k], datagram));
        for (const EngineeringName& entry : expected)
            tail.append(nameLine(entry.source, entry.name));
        tail.append(
            checkedLine(static_cast<int>(matches.size()), static_cast<int>(expected.size())));
        QCOMPARE(loggedMessages(logger).mid(4), tail);
    }

    // A candidate whose bytes 1 and 2 are not 01 00 is no record, whatever its length.
    void recordNeedsOneZero_data()
    {
        QTest::addColumn<int>("offset");
        QTest::addColumn<int>("value");

        QTest::newRow("byte 1 is 02") << 1 << 0x02;
        QTest::newRow("byte 1 is 00") << 1 << 0x00;
        QTest::newRow("byte 2 is 01") << 2 << 0x01;
    }

    void recordNeedsOneZero()
    {
        QFETCH(int, offset);
        QFETCH(int, value);
        QByteArray candidate = encode({.source = 5, .name = "NOT A RECORD"});
        candidate[offset] = static_cast<char>(value);
        const QByteArray datagram =
            definitionDatagram(candidate + encode({.source = 6, .name = "RECORD"}));

        DebugLogger logger;
        logger.setEcho(nullptr);
        QCOMPARE(parseSourceDefinitionData(datagram, logger),
                 std::vector<EngineeringName>({{6, u"RECORD"_s}}));
        QCOMPARE(
            loggedMessages(logger).mid(2),
            QStringList({foundFirstLine(83), recordsFromLine(83, datagram),
                         matchLine(1, 83, datagram), nameLine(6, u"RECORD"_s), checkedLine(1, 1)}));

        // The same candidate after a record, where the record scan meets it.
        DebugLogger scanLogger;
        scanLogger.setEcho(nullptr);
        const QByteArray afterRecord =
            definitionDatagram(encode({.source = 6, .name = "RECORD"}) + candidate);
        QCOMPARE(parseSourceDefinitionData(afterRecord, scanLogger),
                 std::vector<EngineeringName>({{6, u"RECORD"_s}}));
        QCOMPARE(loggedMessages(scanLogger).last(), checkedLine(1, 1));
    }

    // A record that fits but names source 0 or 1000 is passed over whole: a record header
    // inside it is not looked at.
    void outOfRangeSourcePassedOver_data()
    {
        QTest::addColumn<int>("source");

        QTest::newRow("source 0") << 0;
        QTest::newRow("source 1000") << 1000;
    }

    void outOfRangeSourcePassedOver()
    {
        QFETCH(int, source);
        QByteArray outOfRange =
            encode({.source = static_cast<quint16>(source), .name = "BAD", .length = 39});
        outOfRange.replace(10, 6, bytes("00 01 00 27 00 2a")); // looks like source 42's record
        const QByteArray datagram =
            definitionDatagram(outOfRange + encode({.source = 10, .name = "REAL"}));

        DebugLogger logger;
        logger.setEcho(nullptr);
        QCOMPARE(parseSourceDefinitionData(datagram, logger),
                 std::vector<EngineeringName>({{10, u"REAL"_s}}));
        QCOMPARE(loggedMessages(logger).mid(4),
                 QStringList({matchLine(1, 40, datagram), matchLine(2, 83, datagram),
                              nameLine(10, u"REAL"_s), checkedLine(2, 1)}));
    }

    // The record scan runs while p < length - 48.
    void scanStopsFortyEightBytesBeforeEnd_data()
    {
        QTest::addColumn<qsizetype>("tail");
        QTest::addColumn<std::vector<EngineeringName>>("expected");

        QTest::newRow("record 49 bytes before the end")
            << qsizetype{6} << std::vector<EngineeringName>{{11, u"EDGE"_s}};
        QTest::newRow("record 48 bytes before the end")
            << qsizetype{5} << std::vector<EngineeringName>{};
    }

    void scanStopsFortyEightBytesBeforeEnd()
    {
        QFETCH(qsizetype, tail);
        QFETCH(std::vector<EngineeringName>, expected);
        const QByteArray datagram =
            definitionDatagram(encode({.source = 11, .name = "EDGE"}), tail);

        DebugLogger logger;
        logger.setEcho(nullptr);
        QCOMPARE(parseSourceDefinitionData(datagram, logger), expected);
        const int found = static_cast<int>(expected.size());
        QCOMPARE(loggedMessages(logger).last(), checkedLine(found, found));
    }

    void scanStartsAtGivenOffset()
    {
        const QByteArray datagram = definitionDatagram(
            recordArea({{.source = 1, .name = "SKIPPED"}, {.source = 2, .name = "SEEN"}}));
        DebugLogger logger;
        logger.setEcho(nullptr);
        QCOMPARE(parseSourceRecords0210(datagram, 41, logger),
                 std::vector<EngineeringName>({{2, u"SEEN"_s}}));
        QCOMPARE(loggedMessages(logger),
                 QStringList({recordsFromLine(41, datagram), matchLine(1, 83, datagram),
                              nameLine(2, u"SEEN"_s), checkedLine(1, 1)}));
    }

    // Only the first five matches and the first fifteen kept names are logged one by one.
    void logsFirstMatchesAndNames()
    {
        std::vector<DefinitionRecord> records;
        std::vector<EngineeringName> expected;
        for (int source = 101; source <= 117; ++source) {
            records.push_back({.source = static_cast<quint16>(source),
                               .name = "SRC " + QByteArray::number(source)});
            expected.push_back({source, u"SRC "_s + QString::number(source)});
        }
        const QByteArray datagram = definitionDatagram(recordArea(records));

        DebugLogger logger;
        logger.setEcho(nullptr);
        QCOMPARE(parseSourceDefinitionData(datagram, logger), expected);

        QStringList lines{recordsFromLine(40, datagram)};
        for (int k = 0; k < 17; ++k) {
            if (k < 5)
                lines.append(matchLine(k + 1, 40 + 43 * k, datagram));
            if (k < 15)
                lines.append(nameLine(101 + k, u"SRC "_s + QString::number(101 + k)));
        }
        lines.append(checkedLine(17, 17));
        QCOMPARE(loggedMessages(logger).mid(3), lines);
    }

    void mergeSetsOnlyEngineeringNames()
    {
        SourceNameTable names{{3, sourceName(u"OLD"_s, u"P3"_s, u"O3"_s, u"M3"_s)},
                              {4, sourceName({}, u"P4"_s)}};
        DebugLogger logger;
        logger.setEcho(nullptr);
        mergeEngineeringNames(names, {{3, u"CAM 3"_s}, {9, u"VTR 9"_s}}, logger);

        QCOMPARE(names, (SourceNameTable{{3, sourceName(u"CAM 3"_s, u"P3"_s, u"O3"_s, u"M3"_s)},
                                         {4, sourceName({}, u"P4"_s)},
                                         {9, sourceName(u"VTR 9"_s)}}));
        QCOMPARE(loggedMessages(logger),
                 QStringList(
                     u"[INFO] 0210 Source names updated on main thread (2 records, total: 3)"_s));
    }

    void mergeTakesLastNameOfASource()
    {
        SourceNameTable names;
        DebugLogger logger;
        logger.setEcho(nullptr);
        mergeEngineeringNames(names, {{5, u"FIRST"_s}, {5, u"SECOND"_s}}, logger);

        QCOMPARE(names, (SourceNameTable{{5, sourceName(u"SECOND"_s)}}));
        QCOMPARE(loggedMessages(logger),
                 QStringList(
                     u"[INFO] 0210 Source names updated on main thread (2 records, total: 1)"_s));
    }
};

QTEST_GUILESS_MAIN(TestSourceDefinitionDecoder)
#include "tst_source_definition_decoder.moc"
