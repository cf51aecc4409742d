#include "diagnostics/debug_logger.h"
#include "model/source_name_decoder.h"
#include "test_support.h"

#include <QDebug>
#include <QTest>
#include <optional>
#include <vector>

using namespace Qt::StringLiterals;
using namespace quorvane;
using quorvane::test::bytes;
using quorvane::test::loggedMessages;

namespace quorvane {

// Readable QCOMPARE failures for records and name tables.
QDebug operator<<(QDebug debug, const DecodedSourceName& record)
{
    QDebugStateSaver saver(debug);
    debug.nospace() << "DecodedSourceName(" << record.source << (record.live ? " live" : " bulk")
                    << " eng=" << record.eng << " panel=" << record.panel << " oled=" << record.oled
                    << " menu=" << record.menu << ')';
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

// A 0x020b message as the frame sends it: DATA header and block, the message type at 16, then
// ten bytes before the first name record at 28.
const QByteArray messageHead = bytes("00 04 04 92 00 02 00 08 00 00 00 24 00 00 00 2e");
const QByteArray marker = bytes("02 0b");
constexpr qsizetype bytesBeforeFirstRecord = 10;
constexpr qsizetype unreadAfterRecord = 4;
// Enough zeros after the last record for the scan, which stops 30 bytes before the end.
constexpr qsizetype defaultTail = 30;

// One name record, written from its byte layout:
//   +0 prefix, +1 kind (1 bulk, 2 live), +2 00, +3 L, +4 source (big-endian), +6 six bytes
//   nobody reads, +12 OLED flag, +13 OLED name (or a single NUL), then the unused field, the
//   engineering, panel and menu names. A name takes at most 16 bytes; a name of exactly 16
//   bytes fills its field, any other ends with a NUL.
struct NameRecord {
    quint8 prefix = 0x00;
    quint8 kind = 1;
    quint16 source = 1;
    QByteArray oled{};
    std::optional<quint8> oledFlag{}; // default: 1 when there is an OLED name, else 0
    QByteArray unused{};
    QByteArray eng{};
    QByteArray panel{};
    QByteArray menu{};
    // The L byte: 0 for just long enough (at least 18); a larger one pads, a smaller one cuts.
    int length = 0;
};

// Expected records and table entries; names in the order engineering, panel, OLED, menu.
DecodedSourceName bulk(int source, const QString& eng = {}, const QString& panel = {},
                       const QString& oled = {}, const QString& menu = {})
{
    DecodedSourceName record;
    record.source = source;
    record.eng = eng;
    record.panel = panel;
    record.oled = oled;
    record.menu = menu;
    return record;
}

DecodedSourceName live(int source, const QString& eng = {}, const QString& panel = {},
                       const QString& oled = {}, const QString& menu = {})
{
    DecodedSourceName record = bulk(source, eng, panel, oled, menu);
    record.live = true;
    return record;
}

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

void put8(QByteArray& out, int value)
{
    out.append(static_cast<char>(value));
}

QByteArray nameField(const QByteArray& name)
{
    QByteArray field = name;
    if (name.size() != 16)
        field.append('\0');
    return field;
}

QByteArray encode(const NameRecord& record)
{
    QByteArray out;
    put8(out, record.prefix);
    put8(out, record.kind);
    put8(out, 0x00);
    put8(out, 0x00); // L, known once the fields are written
    put8(out, record.source >> 8);
    put8(out, record.source & 0xff);
    out.append(6, static_cast<char>(0xee));
    put8(out, record.oledFlag.value_or(record.oled.isEmpty() ? 0 : 1));
    out.append(nameField(record.oled));
    out.append(nameField(record.unused));
    out.append(nameField(record.eng));
    out.append(nameField(record.panel));
    out.append(nameField(record.menu));
    const int length =
        record.length > 0 ? record.length : qMax(18, static_cast<int>(out.size()) - 2);
    if (out.size() < length + 2)
        out.append(length + 2 - out.size(), '\0');
    else
        out.truncate(length + 2);
    out[3] = static_cast<char>(length);
    return out;
}

// Records laid out as the frame sends them: each followed by four unread bytes.
QByteArray recordArea(const std::vector<NameRecord>& records)
{
    QByteArray area;
    for (const NameRecord& record : records) {
        area.append(encode(record));
        area.append(unreadAfterRecord, '\0');
    }
    return area;
}

// `area` starts at the first position where a record is looked for (offset 28).
QByteArray nameDatagram(const QByteArray& area, qsizetype tail = defaultTail)
{
    QByteArray datagram = messageHead;
    datagram.append(marker);
    datagram.append(bytesBeforeFirstRecord, '\0');
    datagram.append(area);
    datagram.append(tail, '\0');
    return datagram;
}

QString hex(QByteArrayView data)
{
    return QString::fromLatin1(data.toByteArray().toHex(' '));
}

// The lines every datagram built by nameDatagram() logs before its records.
QStringList markerLines(const QByteArray& datagram)
{
    return {
        u"[INFO] parseSourceNameData020b: scanning "_s + QString::number(datagram.size()) +
            u" bytes for 020b marker"_s,
        u"[INFO] Found 020b at offset 16"_s,
        u"[INFO] Context around 020b: ["_s + hex(datagram.mid(12, 54)) + u']',
        u"[INFO] parseSourceRecords020b: parsing from offset 18"_s,
        u"[INFO] 020b data sample: ["_s + hex(datagram.mid(18, 100)) + u']',
    };
}

// The prefix text is the record's first two bytes, the prefix byte and the kind.
QString recordLine(quint8 prefix, quint8 kind, const DecodedSourceName& record)
{
    return u"[INFO] 020b "_s + (record.live ? u"LIVE"_s : u"BULK"_s) + u" [prefix="_s +
           u"%1%2"_s.arg(int{prefix}, 2, 16, QChar(u'0')).arg(int{kind}, 2, 16, QChar(u'0')) +
           u"] Src "_s + QString::number(record.source) + u": menu='"_s + record.menu +
           u"' oled='"_s + record.oled + u"' panel='"_s + record.panel + u"' eng='"_s + record.eng +
           u'\'';
}

QString foundLine(int count)
{
    return u"[INFO] parseSourceRecords020b: found "_s + QString::number(count) +
           u" custom name records"_s;
}

// Every live record is logged, of the bulk records only the first of the datagram.
QStringList recordLines(const std::vector<NameRecord>& sent,
                        const std::vector<DecodedSourceName>& expected)
{
    QStringList lines;
    bool bulkSeen = false;
    for (std::size_t k = 0; k < expected.size(); ++k) {
        if (!expected[k].live && bulkSeen)
            continue;
        bulkSeen = bulkSeen || !expected[k].live;
        lines.append(recordLine(sent[k].prefix, sent[k].kind, expected[k]));
    }
    return lines;
}

} // namespace

class TestSourceNameDecoder : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void logsEveryStepOfOneDatagram()
    {
        const QByteArray datagram =
            bytes("00 04 04 92 00 02 00 08 00 00 00 24 00 00 00 2e" // DATA header and block
                  "02 0b"                                           // message type
                  "00 00 00 01 00 00 00 00 00 00"                   // ten bytes before the records
                  // live record, L = 35, source 7, OLED flag set
                  "0a 02 00 23 00 07 00 00 00 00 00 00 01"
                  "43 37 00"                   // OLED "C7"
                  "00"                         // unused field
                  "43 41 4d 20 37 00"          // engineering "CAM 7"
                  "43 61 6d 37 00"             // panel "Cam7"
                  "43 61 6d 65 72 61 20 37 00" // menu "Camera 7"
                  "00 00 00 00"                // unread
                  // bulk record, L = 21, source 8, no OLED name
                  "00 01 00 15 00 08 00 00 00 00 00 00 00 00"
                  "00"                // unused field
                  "56 54 52 20 38 00" // engineering "VTR 8"
                  "00 00"             // no panel or menu name
                  "00 00 00 00"       // unread
                  "00 00 00 00 00 00 00 00 00 00 00 00 00 00 00"
                  "00 00 00 00 00 00 00 00 00 00 00 00 00 00 00");
        QCOMPARE(datagram.size(), 126);

        DebugLogger logger;
        logger.setEcho(nullptr);
        const std::vector<DecodedSourceName> records = parseSourceNameData020b(datagram, logger);

        const std::vector<DecodedSourceName> expected{
            live(7, u"CAM 7"_s, u"Cam7"_s, u"C7"_s, u"Camera 7"_s),
            bulk(8, u"VTR 8"_s),
        };
        QCOMPARE(records, expected);
        QCOMPARE(
            loggedMessages(logger),
            QStringList({
                u"[INFO] parseSourceNameData020b: scanning 126 bytes for 020b marker"_s,
                u"[INFO] Found 020b at offset 16"_s,
                u"[INFO] Context around 020b: [00 00 00 2e 02 0b 00 00 00 01 00 00 00 00 00 00 "
                u"0a 02 00 23 00 07 00 00 00 00 00 00 01 43 37 00 00 43 41 4d 20 37 00 43 61 6d "
                u"37 00 43 61 6d 65 72 61 20 37 00 00]"_s,
                u"[INFO] parseSourceRecords020b: parsing from offset 18"_s,
                u"[INFO] 020b data sample: [00 00 00 01 00 00 00 00 00 00 0a 02 00 23 00 07 00 "
                u"00 00 00 00 00 01 43 37 00 00 43 41 4d 20 37 00 43 61 6d 37 00 43 61 6d 65 72 "
                u"61 20 37 00 00 00 00 00 00 01 00 15 00 08 00 00 00 00 00 00 00 00 00 56 54 52 "
                u"20 38 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 "
                u"00 00 00 00 00]"_s,
                u"[INFO] 020b LIVE [prefix=0a02] Src 7: menu='Camera 7' oled='C7' panel='Cam7' "
                u"eng='CAM 7'"_s,
                u"[INFO] 020b BULK [prefix=0001] Src 8: menu='' oled='' panel='' eng='VTR 8'"_s,
                u"[INFO] parseSourceRecords020b: found 2 custom name records"_s,
            }));
    }

    void decodesRecords_data()
    {
        QTest::addColumn<std::vector<NameRecord>>("sent");
        QTest::addColumn<std::vector<DecodedSourceName>>("expected");

        QTest::newRow("bulk record without OLED name")
            << std::vector<NameRecord>{{.kind = 1,
                                        .source = 1,
                                        .eng = "CAM 1",
                                        .panel = "CAM1",
                                        .menu = "Camera 1"}}
            << std::vector<DecodedSourceName>{bulk(1, u"CAM 1"_s, u"CAM1"_s, {}, u"Camera 1"_s)};
        QTest::newRow("live record with OLED name")
            << std::vector<NameRecord>{{.prefix = 0x3c,
                                        .kind = 2,
                                        .source = 42,
                                        .oled = "C42",
                                        .eng = "ENG 42",
                                        .panel = "P42",
                                        .menu = "Studio Cam 42"}}
            << std::vector<DecodedSourceName>{
                   live(42, u"ENG 42"_s, u"P42"_s, u"C42"_s, u"Studio Cam 42"_s)};
        QTest::newRow("several records, names of one to sixteen characters")
            << std::vector<NameRecord>{{.kind = 1,
                                        .source = 1,
                                        .oled = "A",
                                        .eng = "E",
                                        .panel = "P",
                                        .menu = "M"},
                                       {.prefix = 0x01,
                                        .kind = 1,
                                        .source = 250,
                                        .eng = "ENGINEERING 250",
                                        .panel = "PANEL NAME 250 X",
                                        .menu = "Menu"},
                                       {.prefix = 0x7f,
                                        .kind = 2,
                                        .source = 998,
                                        .oled = "OLED NAME 998 XY",
                                        .panel = "Panel 998"},
                                       {.kind = 1, .source = 999, .menu = "Last Source 999!"}}
            << std::vector<DecodedSourceName>{
                   bulk(1, u"E"_s, u"P"_s, u"A"_s, u"M"_s),
                   bulk(250, u"ENGINEERING 250"_s, u"PANEL NAME 250 X"_s, {}, u"Menu"_s),
                   live(998, {}, u"Panel 998"_s, u"OLED NAME 998 XY"_s),
                   bulk(999, {}, {}, {}, u"Last Source 999!"_s)};
        QTest::newRow("unused field is not taken for a name")
            << std::vector<NameRecord>{{.source = 3,
                                        .unused = "UNUSED",
                                        .eng = "E3",
                                        .panel = "P3",
                                        .menu = "M3"}}
            << std::vector<DecodedSourceName>{bulk(3, u"E3"_s, u"P3"_s, {}, u"M3"_s)};
        QTest::newRow("every name empty")
            << std::vector<NameRecord>{{.source = 5}} << std::vector<DecodedSourceName>{bulk(5)};
        QTest::newRow("shortest record, L = 18")
            << std::vector<NameRecord>{{.source = 6, .eng = "EN", .length = 18}}
            << std::vector<DecodedSourceName>{bulk(6, u"EN"_s)};
        QTest::newRow("longest record, L = 80")
            << std::vector<NameRecord>{{.kind = 2,
                                        .source = 7,
                                        .oled = "OLED",
                                        .eng = "ENG",
                                        .panel = "PANEL",
                                        .menu = "MENU",
                                        .length = 80}}
            << std::vector<DecodedSourceName>{live(7, u"ENG"_s, u"PANEL"_s, u"OLED"_s, u"MENU"_s)};
        QTest::newRow("source number is big-endian")
            << std::vector<NameRecord>{{.source = 0x0102, .panel = "P258"}}
            << std::vector<DecodedSourceName>{bulk(258, {}, u"P258"_s)};
        QTest::newRow("OLED flag set but no OLED name")
            << std::vector<NameRecord>{{.source = 9, .oledFlag = 1, .eng = "E9", .menu = "M9"}}
            << std::vector<DecodedSourceName>{bulk(9, u"E9"_s, {}, {}, u"M9"_s)};
    }

    void decodesRecords()
    {
        QFETCH(std::vector<NameRecord>, sent);
        QFETCH(std::vector<DecodedSourceName>, expected);
        const QByteArray datagram = nameDatagram(recordArea(sent));

        DebugLogger logger;
        logger.setEcho(nullptr);
        QCOMPARE(parseSourceNameData020b(datagram, logger), expected);
        QCOMPARE(loggedMessages(logger),
                 markerLines(datagram) + recordLines(sent, expected) +
                     QStringList(foundLine(static_cast<int>(expected.size()))));
    }

    // Byte 13 holds an OLED name only when byte 12 is 1; otherwise the fields start at 14 and
    // byte 13 is lost, whatever it holds.
    void oledNameNeedsFlagOne_data()
    {
        QTest::addColumn<int>("flag");
        QTest::addColumn<DecodedSourceName>("expected");

        QTest::newRow("flag 1") << 1 << bulk(10, u"E"_s, u"P"_s, u"XYZ"_s);
        // Read from 14: "YZ" is the unused field, then "U", "E" and "P".
        QTest::newRow("flag 0") << 0 << bulk(10, u"U"_s, u"E"_s, {}, u"P"_s);
        QTest::newRow("flag 2") << 2 << bulk(10, u"U"_s, u"E"_s, {}, u"P"_s);
    }

    void oledNameNeedsFlagOne()
    {
        QFETCH(int, flag);
        QFETCH(DecodedSourceName, expected);
        const QByteArray datagram = nameDatagram(recordArea({{.source = 10,
                                                              .oled = "XYZ",
                                                              .oledFlag = static_cast<quint8>(flag),
                                                              .unused = "U",
                                                              .eng = "E",
                                                              .panel = "P"}}));
        DebugLogger logger;
        logger.setEcho(nullptr);
        QCOMPARE(parseSourceNameData020b(datagram, logger),
                 std::vector<DecodedSourceName>{expected});
    }

    // A field ends at its NUL, which belongs to it, or after 16 bytes; the next field starts
    // right after.
    void nameFieldReading_data()
    {
        QTest::addColumn<QByteArray>("eng");
        QTest::addColumn<DecodedSourceName>("expected");

        QTest::newRow("16 printable bytes without terminator read whole")
            << "ABCDEFGHIJKLMNOP"_ba << bulk(20, u"ABCDEFGHIJKLMNOP"_s, u"NEXT"_s, {}, u"MENU"_s);
        QTest::newRow("byte 07 is dropped") << bytes("43 41 4d 07 32") // "CAM", 07, "2"
                                            << bulk(20, u"CAM2"_s, u"NEXT"_s, {}, u"MENU"_s);
        // The field ends after 16 bytes; the 17th byte starts the next one.
        QTest::newRow("17 bytes split after 16")
            << "ABCDEFGHIJKLMNOPQ"_ba << bulk(20, u"ABCDEFGHIJKLMNOP"_s, u"Q"_s, {}, u"NEXT"_s);
        QTest::newRow("surrounding blanks trimmed")
            << "  CAM 2  "_ba << bulk(20, u"CAM 2"_s, u"NEXT"_s, {}, u"MENU"_s);
        QTest::newRow("inner blanks kept")
            << "CAM  2"_ba << bulk(20, u"CAM  2"_s, u"NEXT"_s, {}, u"MENU"_s);
        QTest::newRow("control and high bytes dropped")
            << bytes("01 43 7f 41 80 4d ff") // "C", "A", "M" among 01, 7f, 80 and ff
            << bulk(20, u"CAM"_s, u"NEXT"_s, {}, u"MENU"_s);
        QTest::newRow("blank and tilde are printable")
            << " ~A~ "_ba << bulk(20, u"~A~"_s, u"NEXT"_s, {}, u"MENU"_s);
        QTest::newRow("tab dropped before trimming")
            << "\tCAM 2\t"_ba << bulk(20, u"CAM 2"_s, u"NEXT"_s, {}, u"MENU"_s);
        QTest::newRow("only non-printable bytes")
            << "\x1f\x7f"_ba << bulk(20, {}, u"NEXT"_s, {}, u"MENU"_s);
    }

    void nameFieldReading()
    {
        QFETCH(QByteArray, eng);
        QFETCH(DecodedSourceName, expected);
        const QByteArray datagram =
            nameDatagram(recordArea({{.source = 20, .eng = eng, .panel = "NEXT", .menu = "MENU"}}));
        DebugLogger logger;
        logger.setEcho(nullptr);
        QCOMPARE(parseSourceNameData020b(datagram, logger),
                 std::vector<DecodedSourceName>{expected});
    }

    // No field reads past the record's end into the four bytes after it.
    void fieldsStopAtRecordEnd_data()
    {
        QTest::addColumn<QByteArray>("record");
        QTest::addColumn<DecodedSourceName>("expected");

        QTest::newRow("OLED name runs up to the record end")
            << bytes("aa 01 00 12 00 0b ee ee ee ee ee ee 01" // L = 18, source 11, OLED flag
                     "41 42 43 44 45 46 47")                  // "ABCDEFG", no terminator
            << bulk(11, {}, {}, u"ABCDEFG"_s);
        // Cut after "MEN" of "MENUNAME".
        QTest::newRow("menu name cut at the record end")
            << encode(
                   {.source = 12, .eng = "ENG", .panel = "PANEL", .menu = "MENUNAME", .length = 26})
            << bulk(12, u"ENG"_s, u"PANEL"_s, {}, u"MEN"_s);
    }

    void fieldsStopAtRecordEnd()
    {
        QFETCH(QByteArray, record);
        QFETCH(DecodedSourceName, expected);
        const QByteArray datagram = nameDatagram(record + "XXXX"_ba);
        DebugLogger logger;
        logger.setEcho(nullptr);
        QCOMPARE(parseSourceNameData020b(datagram, logger),
                 std::vector<DecodedSourceName>{expected});
    }

    void noMarker_data()
    {
        QTest::addColumn<QByteArray>("datagram");

        QTest::newRow("no 02 0b anywhere") << bytes("00 04 04 92 00 02 00 08 0b 02 00 00");
        QTest::newRow("empty datagram") << QByteArray();
        QTest::newRow("marker at the second-to-last byte") << bytes("00 04 04 92 02 0b");
        QTest::newRow("02 as the last byte") << bytes("00 04 04 92 00 02");
    }

    void noMarker()
    {
        QFETCH(QByteArray, datagram);
        DebugLogger logger;
        logger.setEcho(nullptr);
        QCOMPARE(parseSourceNameData020b(datagram, logger), std::vector<DecodedSourceName>{});
        QCOMPARE(
            loggedMessages(logger),
            QStringList({u"[INFO] parseSourceNameData020b: scanning "_s +
                             QString::number(datagram.size()) + u" bytes for 020b marker"_s,
                         u"[WARN] parseSourceNameData020b: no 020b marker found in packet"_s}));
    }

    void markerAtThirdToLastByteIsFound()
    {
        DebugLogger logger;
        logger.setEcho(nullptr);
        QCOMPARE(parseSourceNameData020b(bytes("00 04 04 02 0b 00"), logger),
                 std::vector<DecodedSourceName>{});
        QCOMPARE(loggedMessages(logger),
                 QStringList({u"[INFO] parseSourceNameData020b: scanning 6 bytes for 020b marker"_s,
                              u"[INFO] Found 020b at offset 3"_s,
                              u"[INFO] Context around 020b: [00 04 04 02 0b 00]"_s,
                              u"[INFO] parseSourceRecords020b: parsing from offset 5"_s,
                              u"[INFO] 020b data sample: [00]"_s, foundLine(0)}));
    }

    // The context starts four bytes before the first marker; a later marker is only data.
    void firstMarkerIsUsed()
    {
        DebugLogger logger;
        logger.setEcho(nullptr);
        QCOMPARE(parseSourceNameData020b(bytes("11 22 33 44 55 66 02 0b 77 02 0b 88"), logger),
                 std::vector<DecodedSourceName>{});
        QCOMPARE(
            loggedMessages(logger),
            QStringList({u"[INFO] parseSourceNameData020b: scanning 12 bytes for 020b marker"_s,
                         u"[INFO] Found 020b at offset 6"_s,
                         u"[INFO] Context around 020b: [33 44 55 66 02 0b 77 02 0b 88]"_s,
                         u"[INFO] parseSourceRecords020b: parsing from offset 8"_s,
                         u"[INFO] 020b data sample: [77 02 0b 88]"_s, foundLine(0)}));
    }

    // The context ends 50 bytes after the marker's first byte.
    void contextEndsFiftyBytesAfterMarker()
    {
        QByteArray datagram = bytes("02 0b");
        for (int k = 2; k < 80; ++k)
            put8(datagram, k);
        DebugLogger logger;
        logger.setEcho(nullptr);
        parseSourceNameData020b(datagram, logger);
        const QStringList messages = loggedMessages(logger);
        QCOMPARE(messages.size(), 6);
        QCOMPARE(messages.value(2),
                 u"[INFO] Context around 020b: ["_s + hex(datagram.first(50)) + u']');
        QCOMPARE(messages.value(4), u"[INFO] 020b data sample: ["_s + hex(datagram.mid(2)) + u']');
    }

    // A candidate that fails one check is dropped and the scan goes on with the next byte, so
    // a record starting inside the rejected one is still found. `area` holds the rejected
    // candidate's first bytes followed by a good record that shares its remaining ones.
    void rejectedCandidates_data()
    {
        QTest::addColumn<QByteArray>("area");
        QTest::addColumn<qsizetype>("tail");
        QTest::addColumn<int>("goodPrefix");

        // Each rejected candidate reads its source from the good record's kind and 00 bytes
        // (256), its length from the good record's prefix.
        QTest::newRow("length byte 17")
            << QByteArray(bytes("aa 01 00") + good(0x11)) << qsizetype{100} << 0x11;
        // The datagram holds the 83 bytes such a record would take, so only its length
        // rejects it.
        QTest::newRow("length byte 81")
            << QByteArray(bytes("aa 01 00") + good(0x51)) << qsizetype{100} << 0x51;
        QTest::newRow("kind byte 0")
            << QByteArray(bytes("aa 00 00") + good(0x14)) << defaultTail << 0x14;
        QTest::newRow("kind byte 3")
            << QByteArray(bytes("aa 03 00") + good(0x14)) << defaultTail << 0x14;
        QTest::newRow("byte 2 not 0")
            << QByteArray(bytes("aa 01 01") + good(0x14)) << defaultTail << 0x14;
        // Source bytes 00 00 and 03 e8: the good record starts at the second one.
        QTest::newRow("source 0") << QByteArray(bytes("aa 01 00 14 00") + good(0x00)) << defaultTail
                                  << 0x00;
        QTest::newRow("source 1000")
            << QByteArray(bytes("aa 01 00 14 03") + good(0xe8)) << defaultTail << 0xe8;
        // L = 80 would take 82 bytes; only 64 are left.
        QTest::newRow("record runs past the datagram")
            << QByteArray(bytes("aa 01 00") + good(0x50)) << defaultTail << 0x50;
    }

    void rejectedCandidates()
    {
        QFETCH(QByteArray, area);
        QFETCH(qsizetype, tail);
        QFETCH(int, goodPrefix);
        const QByteArray datagram = nameDatagram(area, tail);

        DebugLogger logger;
        logger.setEcho(nullptr);
        const DecodedSourceName expected = bulk(77, u"GOOD"_s, u"FOUND"_s);
        QCOMPARE(parseSourceNameData020b(datagram, logger),
                 std::vector<DecodedSourceName>{expected});
        QCOMPARE(loggedMessages(logger),
                 markerLines(datagram) +
                     QStringList(
                         {recordLine(static_cast<quint8>(goodPrefix), 1, expected), foundLine(1)}));
    }

    // A record is decoded only when all its L + 2 bytes are in the datagram, even where the
    // scan (which stops 30 bytes before the end) reaches it.
    void recordMustFitDatagram_data()
    {
        QTest::addColumn<qsizetype>("missing");
        QTest::addColumn<std::vector<DecodedSourceName>>("expected");

        QTest::newRow("record ends at the datagram end")
            << qsizetype{0} << std::vector<DecodedSourceName>{bulk(50, u"ENG"_s)};
        QTest::newRow("record one byte longer than the datagram")
            << qsizetype{1} << std::vector<DecodedSourceName>{};
    }

    void recordMustFitDatagram()
    {
        QFETCH(qsizetype, missing);
        QFETCH(std::vector<DecodedSourceName>, expected);
        const QByteArray record = encode({.source = 50, .eng = "ENG", .length = 40});
        const QByteArray datagram = nameDatagram(record, 0).chopped(missing);

        DebugLogger logger;
        logger.setEcho(nullptr);
        QCOMPARE(parseSourceNameData020b(datagram, logger), expected);
    }

    void scanStartsTwelveBytesAfterMarker_data()
    {
        QTest::addColumn<qsizetype>("gap");
        QTest::addColumn<std::vector<DecodedSourceName>>("expected");

        QTest::newRow("record 11 bytes after the marker")
            << qsizetype{9} << std::vector<DecodedSourceName>{};
        QTest::newRow("record 12 bytes after the marker")
            << qsizetype{10} << std::vector<DecodedSourceName>{bulk(31, u"E31"_s)};
    }

    void scanStartsTwelveBytesAfterMarker()
    {
        QFETCH(qsizetype, gap);
        QFETCH(std::vector<DecodedSourceName>, expected);
        QByteArray datagram = messageHead + marker;
        datagram.append(gap, '\0');
        datagram.append(recordArea({{.source = 31, .eng = "E31"}}));
        datagram.append(defaultTail, '\0');
        DebugLogger logger;
        logger.setEcho(nullptr);
        QCOMPARE(parseSourceNameData020b(datagram, logger), expected);
    }

    // The scan looks for records while i < length - 30.
    void scanStopsThirtyBytesBeforeEnd_data()
    {
        QTest::addColumn<qsizetype>("tail");
        QTest::addColumn<std::vector<DecodedSourceName>>("expected");

        QTest::newRow("record starts 31 bytes before the end")
            << qsizetype{11} << std::vector<DecodedSourceName>{bulk(30, u"EN"_s)};
        QTest::newRow("record starts 30 bytes before the end")
            << qsizetype{10} << std::vector<DecodedSourceName>{};
    }

    void scanStopsThirtyBytesBeforeEnd()
    {
        QFETCH(qsizetype, tail);
        QFETCH(std::vector<DecodedSourceName>, expected);
        const QByteArray record = encode({.source = 30, .eng = "EN"});
        QCOMPARE(record.size(), 20);
        DebugLogger logger;
        logger.setEcho(nullptr);
        QCOMPARE(parseSourceNameData020b(nameDatagram(record, tail), logger), expected);
    }

    // After a record the scan goes on L + 6 bytes later: a record in the four bytes after it
    // is never seen.
    void stepsOverFourBytesAfterRecord_data()
    {
        QTest::addColumn<qsizetype>("gap");
        QTest::addColumn<std::vector<DecodedSourceName>>("expected");

        const DecodedSourceName first = bulk(40, u"FIRST"_s);
        const DecodedSourceName second = bulk(41, u"SECOND"_s);
        QTest::newRow("second record right after the first")
            << qsizetype{0} << std::vector<DecodedSourceName>{first};
        QTest::newRow("one byte after") << qsizetype{1} << std::vector<DecodedSourceName>{first};
        QTest::newRow("two bytes after") << qsizetype{2} << std::vector<DecodedSourceName>{first};
        QTest::newRow("three bytes after") << qsizetype{3} << std::vector<DecodedSourceName>{first};
        QTest::newRow("four bytes after")
            << qsizetype{4} << std::vector<DecodedSourceName>{first, second};
    }

    void stepsOverFourBytesAfterRecord()
    {
        QFETCH(qsizetype, gap);
        QFETCH(std::vector<DecodedSourceName>, expected);
        QByteArray area = encode({.source = 40, .eng = "FIRST"});
        area.append(gap, '\0');
        area.append(recordArea({{.source = 41, .eng = "SECOND"}}));
        DebugLogger logger;
        logger.setEcho(nullptr);
        QCOMPARE(parseSourceNameData020b(nameDatagram(area), logger), expected);
    }

    void logsEveryLiveRecordButOnlyFirstBulk()
    {
        const QByteArray datagram =
            nameDatagram(recordArea({{.prefix = 0x0a, .kind = 1, .source = 1, .panel = "B1"},
                                     {.prefix = 0x00, .kind = 2, .source = 2, .menu = "L2"},
                                     {.prefix = 0x0b, .kind = 1, .source = 3, .panel = "B3"},
                                     {.prefix = 0xff, .kind = 2, .source = 4, .oled = "L4"},
                                     {.prefix = 0x0c, .kind = 1, .source = 5, .panel = "B5"}}));
        DebugLogger logger;
        logger.setEcho(nullptr);
        QCOMPARE(parseSourceNameData020b(datagram, logger).size(), std::size_t{5});
        QCOMPARE(loggedMessages(logger).mid(5),
                 QStringList({u"[INFO] 020b BULK [prefix=0a01] Src 1: menu='' oled='' "
                              u"panel='B1' eng=''"_s,
                              u"[INFO] 020b LIVE [prefix=0002] Src 2: menu='L2' oled='' "
                              u"panel='' eng=''"_s,
                              u"[INFO] 020b LIVE [prefix=ff02] Src 4: menu='' oled='L4' "
                              u"panel='' eng=''"_s,
                              foundLine(5)}));
    }

    void logsFirstBulkRecordOfEachDatagram()
    {
        DebugLogger logger;
        logger.setEcho(nullptr);
        parseSourceNameData020b(
            nameDatagram(recordArea({{.source = 1, .eng = "E1"}, {.source = 2, .eng = "E2"}})),
            logger);
        parseSourceNameData020b(
            nameDatagram(recordArea({{.source = 3, .eng = "E3"}, {.source = 4, .eng = "E4"}})),
            logger);
        QStringList recordMessages;
        for (const QString& message : loggedMessages(logger)) {
            if (message.startsWith(u"[INFO] 020b BULK"_s) ||
                message.startsWith(u"[INFO] 020b LIVE"_s))
                recordMessages.append(message);
        }
        QCOMPARE(recordMessages,
                 QStringList({u"[INFO] 020b BULK [prefix=0001] Src 1: menu='' oled='' panel='' "
                              u"eng='E1'"_s,
                              u"[INFO] 020b BULK [prefix=0001] Src 3: menu='' oled='' panel='' "
                              u"eng='E3'"_s}));
    }

    // The sample shows at most 100 bytes from the offset it was given.
    void dataSampleFromOffset_data()
    {
        QTest::addColumn<qsizetype>("offset");
        QTest::addColumn<QString>("sample");

        QByteArray counting;
        for (int k = 0; k < 150; ++k)
            put8(counting, k);
        QTest::newRow("100 bytes") << qsizetype{20} << hex(counting.mid(20, 100));
        QTest::newRow("up to the end") << qsizetype{100} << hex(counting.mid(100));
        QTest::newRow("offset past the end") << qsizetype{160} << QString();
    }

    void dataSampleFromOffset()
    {
        QFETCH(qsizetype, offset);
        QFETCH(QString, sample);
        QByteArray counting;
        for (int k = 0; k < 150; ++k)
            put8(counting, k);
        DebugLogger logger;
        logger.setEcho(nullptr);
        QCOMPARE(parseSourceRecords020b(counting, offset, logger),
                 std::vector<DecodedSourceName>{});
        QCOMPARE(loggedMessages(logger),
                 QStringList({u"[INFO] parseSourceRecords020b: parsing from offset "_s +
                                  QString::number(offset),
                              u"[INFO] 020b data sample: ["_s + sample + u']', foundLine(0)}));
    }

    // A rename carries only some names; the ones it leaves empty keep their known text.
    void liveUpdateKeepsKnownNames_data()
    {
        QTest::addColumn<NameRecord>("update");
        QTest::addColumn<SourceName>("expected");

        QTest::newRow("empty panel name")
            << NameRecord{.kind = 2,
                          .source = 12,
                          .oled = "N12",
                          .eng = "NEW ENG",
                          .menu = "New Menu"}
            << sourceName(u"NEW ENG"_s, u"CAM12"_s, u"N12"_s, u"New Menu"_s);
        QTest::newRow("only a menu name")
            << NameRecord{.kind = 2, .source = 12, .menu = "Studio B"}
            << sourceName(u"CAM 12 ENG"_s, u"CAM12"_s, u"C12"_s, u"Studio B"_s);
        QTest::newRow("only a panel name")
            << NameRecord{.kind = 2, .source = 12, .panel = "PNL"}
            << sourceName(u"CAM 12 ENG"_s, u"PNL"_s, u"C12"_s, u"Camera 12"_s);
        QTest::newRow("no names") << NameRecord{.kind = 2, .source = 12}
                                  << sourceName(u"CAM 12 ENG"_s, u"CAM12"_s, u"C12"_s,
                                                u"Camera 12"_s);
        QTest::newRow("every name") << NameRecord{.kind = 2,
                                                  .source = 12,
                                                  .oled = "O",
                                                  .eng = "E",
                                                  .panel = "P",
                                                  .menu = "M"}
                                    << sourceName(u"E"_s, u"P"_s, u"O"_s, u"M"_s);
    }

    void liveUpdateKeepsKnownNames()
    {
        QFETCH(NameRecord, update);
        QFETCH(SourceName, expected);
        const SourceName other = sourceName(u"CAM 13"_s, {}, {}, u"Camera 13"_s);
        SourceNameTable names{
            {12, sourceName(u"CAM 12 ENG"_s, u"CAM12"_s, u"C12"_s, u"Camera 12"_s)}, {13, other}};

        DebugLogger logger;
        logger.setEcho(nullptr);
        const std::vector<DecodedSourceName> records =
            parseSourceNameData020b(nameDatagram(recordArea({update})), logger);
        QCOMPARE(records.size(), std::size_t{1});
        QVERIFY(records[0].live);
        mergeSourceNames(names, records, logger);

        QCOMPARE(names, (SourceNameTable{{12, expected}, {13, other}}));
        QCOMPARE(loggedMessages(logger).last(),
                 u"[INFO] Source names updated on main thread (1 records)"_s);
    }

    void mergeCreatesEntries()
    {
        SourceNameTable names{{1, sourceName(u"ONE"_s)}};
        DebugLogger logger;
        logger.setEcho(nullptr);
        mergeSourceNames(
            names, {bulk(2, {}, u"P2"_s), bulk(3), live(4, u"E4"_s, u"P4"_s, u"O4"_s, u"M4"_s)},
            logger);
        QCOMPARE(names, (SourceNameTable{{1, sourceName(u"ONE"_s)},
                                         {2, sourceName({}, u"P2"_s)},
                                         {3, {}},
                                         {4, sourceName(u"E4"_s, u"P4"_s, u"O4"_s, u"M4"_s)}}));
        QCOMPARE(loggedMessages(logger),
                 QStringList(u"[INFO] Source names updated on main thread (3 records)"_s));
    }

    void mergeAppliesRecordsInOrder()
    {
        SourceNameTable names;
        DebugLogger logger;
        logger.setEcho(nullptr);
        mergeSourceNames(names, {bulk(5, {}, u"FIRST"_s, {}, u"MENU"_s), bulk(5, {}, u"SECOND"_s)},
                         logger);
        QCOMPARE(names, (SourceNameTable{{5, sourceName({}, u"SECOND"_s, {}, u"MENU"_s)}}));
        QCOMPARE(loggedMessages(logger),
                 QStringList(u"[INFO] Source names updated on main thread (2 records)"_s));
    }

    void summary_data()
    {
        QTest::addColumn<SourceNameTable>("names");
        QTest::addColumn<QStringList>("expected");

        const QString note =
            u"[INFO] Note: No custom names (panel/oled/menu) received from K-Frame"_s;
        QTest::newRow("no sources") << SourceNameTable{}
                                    << QStringList({u"[INFO] Source names loaded: 0 total"_s,
                                                    u"[INFO]   - Engineering only: 0"_s, note});
        QTest::newRow("engineering names only, one entry without names")
            << SourceNameTable{{1, sourceName(u"A"_s)}, {2, sourceName(u"B"_s)}, {3, {}}}
            << QStringList({u"[INFO] Source names loaded: 3 total"_s,
                            u"[INFO]   - Engineering only: 2"_s, note});
        QTest::newRow("panel and menu name counted under menu")
            << SourceNameTable{{1, sourceName({}, u"P"_s, {}, u"M"_s)}}
            << QStringList({u"[INFO] Source names loaded: 1 total"_s,
                            u"[INFO]   - Engineering only: 0"_s,
                            u"[INFO]   - With menu name: 1"_s});
        QTest::newRow("panel and OLED name counted under OLED")
            << SourceNameTable{{1, sourceName(u"E"_s, u"P"_s, u"O"_s)}}
            << QStringList({u"[INFO] Source names loaded: 1 total"_s,
                            u"[INFO]   - Engineering only: 0"_s,
                            u"[INFO]   - With OLED name: 1"_s});
        QTest::newRow("panel names")
            << SourceNameTable{{1, sourceName({}, u"P1"_s)}, {2, sourceName(u"E"_s, u"P2"_s)}}
            << QStringList({u"[INFO] Source names loaded: 2 total"_s,
                            u"[INFO]   - Engineering only: 0"_s,
                            u"[INFO]   - With panel name: 2"_s});
        QTest::newRow("one of each class")
            << SourceNameTable{{1, sourceName(u"E"_s)},
                               {2, sourceName(u"E"_s, u"P"_s)},
                               {3, sourceName({}, u"P"_s, u"O"_s)},
                               {4, sourceName({}, {}, u"O"_s, u"M"_s)},
                               {5, {}}}
            << QStringList({u"[INFO] Source names loaded: 5 total"_s,
                            u"[INFO]   - Engineering only: 1"_s, u"[INFO]   - With panel name: 1"_s,
                            u"[INFO]   - With OLED name: 1"_s, u"[INFO]   - With menu name: 1"_s});
    }

    void summary()
    {
        QFETCH(SourceNameTable, names);
        QFETCH(QStringList, expected);
        DebugLogger logger;
        logger.setEcho(nullptr);
        QCOMPARE(logSourceNamesSummary(names, logger), names.size());
        QCOMPARE(loggedMessages(logger), expected);
    }

private:
    // A bulk record for source 77 whose prefix byte is `prefix`.
    static QByteArray good(int prefix)
    {
        return encode({.prefix = static_cast<quint8>(prefix),
                       .kind = 1,
                       .source = 77,
                       .eng = "GOOD",
                       .panel = "FOUND"});
    }
};

QTEST_GUILESS_MAIN(TestSourceNameDecoder)
#include "tst_source_name_decoder.moc"
