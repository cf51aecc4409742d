#include "diagnostics/debug_logger.h"
#include "model/button_address.h"
#include "model/button_data_decoder.h"
#include "test_support.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace quorvane;
using quorvane::test::bytes;
using quorvane::test::loggedMessages;

namespace quorvane {
// Readable failure messages for QCOMPARE.
char* toString(const ButtonPosition& position)
{
    return qstrdup(QByteArray("S" + QByteArray::number(position.shift) + "B" +
                              QByteArray::number(position.button))
                       .constData());
}

char* toString(const std::optional<ButtonPosition>& position)
{
    return position ? toString(*position) : qstrdup("no button");
}
} // namespace quorvane

namespace {

// The frame's own numbering, written out independently of the code under test: the first
// field of a suite depends on the buttons per row, then 16 numbers per button, row by row.
int firstField(int buttonCount)
{
    switch (buttonCount) {
    case 15:
        return 18;
    case 20:
        return 19;
    case 25:
        return 17;
    default:
        return 16;
    }
}

quint16 fieldOf(int buttonCount, int shift, int button)
{
    return static_cast<quint16>(firstField(buttonCount) +
                                16 * (buttonCount * (shift - 1) + (button - 1)));
}

constexpr quint8 me1Code = 0x00;
constexpr quint8 me2Code = 0x10;
constexpr quint8 pgmCode = 0x30;

// One 14-byte button record. The bytes the decoder does not examine are filled with 0xee so
// that a test notices if they are read.
QByteArray record(quint16 field, quint8 busCode, quint32 source)
{
    QByteArray r;
    r.append(bytes("13 85"));                       // marker
    r.append(bytes("ee ee"));                       // not examined
    r.append(bytes("89"));                          // marker
    r.append(char(field >> 8)).append(char(field)); // button field
    r.append(char(busCode));                        // bus code
    r.append(bytes("ee ee"));                       // not examined
    for (int shift = 24; shift >= 0; shift -= 8)    // source
        r.append(char(source >> shift));
    return r;
}

QByteArray record(int buttonCount, quint8 busCode, int shift, int button, quint32 source)
{
    return record(fieldOf(buttonCount, shift, button), busCode, source);
}

// Records wrapped as the frame sends them: a header in front and a few bytes behind, since
// the scan never starts a record in the last 14 bytes.
QByteArray datagram(const QList<QByteArray>& records)
{
    QByteArray d = bytes("00 04 00 2a 00 00 00 00 00 0c 03 05");
    for (const QByteArray& r : records)
        d.append(r);
    d.append(bytes("00 00"));
    return d;
}

ButtonMapping mapping(Bus bus, int shift, int button, qint64 source)
{
    return ButtonMapping{QUuid::createUuid(), bus, shift, button, source};
}

} // namespace

class TestButtonDataDecoder : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void parameterBase_data()
    {
        QTest::addColumn<int>("buttonCount");
        QTest::addColumn<int>("base");
        QTest::newRow("15") << 15 << 18;
        QTest::newRow("20") << 20 << 19;
        QTest::newRow("25") << 25 << 17;
        QTest::newRow("35") << 35 << 16;
        QTest::newRow("30") << 30 << 16;
        QTest::newRow("1") << 1 << 16;
    }

    void parameterBase()
    {
        QFETCH(int, buttonCount);
        QFETCH(int, base);
        QCOMPARE(quorvane::parameterBase(buttonCount), base);
    }

    void locateButton_data()
    {
        QTest::addColumn<int>("buttonCount");
        QTest::addColumn<int>("field");
        QTest::addColumn<std::optional<ButtonPosition>>("expected");
        const std::optional<ButtonPosition> none;
        auto at = [](int shift, int button) {
            return std::optional(ButtonPosition{shift, button});
        };

        QTest::newRow("20: base") << 20 << 19 << at(1, 1);
        QTest::newRow("20: low bits ignored") << 20 << 19 + 15 << at(1, 1);
        QTest::newRow("20: next button") << 20 << 19 + 16 << at(1, 2);
        QTest::newRow("20: last of row 1") << 20 << 19 + 16 * 19 << at(1, 20);
        QTest::newRow("20: end of row 1") << 20 << 19 + 16 * 20 - 1 << at(1, 20);
        QTest::newRow("20: start of row 2") << 20 << 19 + 320 << at(2, 1);
        QTest::newRow("20: below base") << 20 << 18 << none;
        QTest::newRow("20: zero") << 20 << 0 << none;
        QTest::newRow("20: last of row 4") << 20 << 19 + 4 * 320 - 1 << at(4, 20);
        QTest::newRow("20: fifth row") << 20 << 19 + 4 * 320 << none;
        QTest::newRow("20: largest field") << 20 << 0xFFFF << none;

        QTest::newRow("30: base 16") << 30 << 16 << at(1, 1);
        QTest::newRow("30: 31 same button") << 30 << 31 << at(1, 1);
        QTest::newRow("30: 32 next button") << 30 << 32 << at(1, 2);
        QTest::newRow("30: below base") << 30 << 15 << none;
        QTest::newRow("30: row 2") << 30 << 16 + 480 << at(2, 1);
        QTest::newRow("30: fifth row") << 30 << 16 + 4 * 480 << none;

        QTest::newRow("15: base 18") << 15 << 18 << at(1, 1);
        QTest::newRow("15: below base") << 15 << 17 << none;
        QTest::newRow("15: last") << 15 << 18 + 4 * 240 - 1 << at(4, 15);
        QTest::newRow("15: fifth row") << 15 << 18 + 4 * 240 << none;

        QTest::newRow("25: base 17") << 25 << 17 << at(1, 1);
        QTest::newRow("25: below base") << 25 << 16 << none;
        QTest::newRow("25: last") << 25 << 17 + 4 * 400 - 1 << at(4, 25);
        QTest::newRow("25: fifth row") << 25 << 17 + 4 * 400 << none;

        QTest::newRow("35: base 16") << 35 << 16 << at(1, 1);
        QTest::newRow("35: row 3 button 35") << 35 << 16 + 2 * 560 + 34 * 16 << at(3, 35);
        QTest::newRow("35: last") << 35 << 16 + 4 * 560 - 1 << at(4, 35);
        QTest::newRow("35: fifth row") << 35 << 16 + 4 * 560 << none;
    }

    void locateButton()
    {
        QFETCH(int, buttonCount);
        QFETCH(int, field);
        QFETCH(std::optional<ButtonPosition>, expected);
        QCOMPARE(quorvane::locateButton(static_cast<quint16>(field), buttonCount), expected);
    }

    void tooShortDatagramIsDropped_data()
    {
        QTest::addColumn<QByteArray>("data");
        QTest::addColumn<QString>("warning");
        // A complete record followed by five bytes: it would decode in a longer datagram.
        QTest::newRow("19 bytes") << QByteArray(record(20, me1Code, 1, 1, 1042) +
                                                bytes("00 00 00 00 00"))
                                  << u"[WARN] parseButtonData: data too short (19 bytes)"_s;
        QTest::newRow("empty") << QByteArray()
                               << u"[WARN] parseButtonData: data too short (0 bytes)"_s;
    }

    void tooShortDatagramIsDropped()
    {
        QFETCH(QByteArray, data);
        QFETCH(QString, warning);
        DebugLogger logger;
        logger.setEcho(nullptr);
        const MappingTable before{{u"ME1-20-1-1"_s, mapping(Bus::me1, 1, 1, 7)}};
        MappingTable mappings = before;

        QCOMPARE(parseButtonData(data, 20, mappings, logger).mappingsChanged, false);
        QCOMPARE(mappings, before);
        QCOMPARE(loggedMessages(logger), QStringList(warning));
    }

    void twentyBytesAreEnough()
    {
        DebugLogger logger;
        logger.setEcho(nullptr);
        MappingTable mappings;
        const QByteArray data = record(20, me1Code, 1, 1, 1042) + bytes("00 00 00 00 00 00");
        QCOMPARE(data.size(), 20);

        QCOMPARE(parseButtonData(data, 20, mappings, logger).mappingsChanged, true);
        QCOMPARE(mappings.keys(), QStringList(u"ME1-20-1-1"_s));
        QCOMPARE(loggedMessages(logger),
                 QStringList({u"[INFO] Parsed: ME1 S1B1 = 1042"_s,
                              u"[INFO] parseButtonData: found 1 button mappings in packet"_s}));
    }

    void fieldSelectsTheButton_data()
    {
        QTest::addColumn<int>("buttonCount");
        QTest::addColumn<int>("field");
        QTest::addColumn<QString>("key"); // empty: no button
        QTest::addColumn<QString>("parsed");

        QTest::newRow("20: 19") << 20 << 19 << u"ME1-20-1-1"_s << u"ME1 S1B1"_s;
        QTest::newRow("20: 323") << 20 << 323 << u"ME1-20-1-20"_s << u"ME1 S1B20"_s;
        QTest::newRow("20: 339") << 20 << 339 << u"ME1-20-2-1"_s << u"ME1 S2B1"_s;
        QTest::newRow("20: 18") << 20 << 18 << QString() << QString();
        QTest::newRow("20: fifth row") << 20 << 19 + 1280 << QString() << QString();
        QTest::newRow("30: 16") << 30 << 16 << u"ME1-30-1-1"_s << u"ME1 S1B1"_s;
        QTest::newRow("30: 31") << 30 << 31 << u"ME1-30-1-1"_s << u"ME1 S1B1"_s;
        QTest::newRow("15: 18") << 15 << 18 << u"ME1-15-1-1"_s << u"ME1 S1B1"_s;
        QTest::newRow("25: 17") << 25 << 17 << u"ME1-25-1-1"_s << u"ME1 S1B1"_s;
    }

    void fieldSelectsTheButton()
    {
        QFETCH(int, buttonCount);
        QFETCH(int, field);
        QFETCH(QString, key);
        QFETCH(QString, parsed);
        DebugLogger logger;
        logger.setEcho(nullptr);
        MappingTable mappings;

        const bool changed =
            parseButtonData(datagram({record(static_cast<quint16>(field), me1Code, 1042)}),
                            buttonCount, mappings, logger)
                .mappingsChanged;

        if (key.isEmpty()) {
            QCOMPARE(changed, false);
            QVERIFY(mappings.isEmpty());
            QCOMPARE(loggedMessages(logger), QStringList());
            return;
        }
        QCOMPARE(changed, true);
        QCOMPARE(mappings.keys(), QStringList(key));
        QCOMPARE(loggedMessages(logger),
                 QStringList({u"[INFO] Parsed: "_s + parsed + u" = 1042"_s,
                              u"[INFO] parseButtonData: found 1 button mappings in packet"_s}));
    }

    void busCodeSelectsTheBus_data()
    {
        QTest::addColumn<int>("code");
        QTest::addColumn<int>("bus");
        QTest::addColumn<QString>("key");
        QTest::newRow("0x00") << 0x00 << int(Bus::me1) << u"ME1-20-3-4"_s;
        QTest::newRow("0x10") << 0x10 << int(Bus::me2) << u"ME2-20-3-4"_s;
        QTest::newRow("0x20") << 0x20 << int(Bus::me3) << u"ME3-20-3-4"_s;
        QTest::newRow("0x40") << 0x40 << int(Bus::me4) << u"ME4-20-3-4"_s;
        QTest::newRow("0x30") << 0x30 << int(Bus::pgm) << u"PGM-20-3-4"_s;
        QTest::newRow("0x50") << 0x50 << int(Bus::aux) << u"AUX-20-3-4"_s;
    }

    void busCodeSelectsTheBus()
    {
        QFETCH(int, code);
        QFETCH(int, bus);
        QFETCH(QString, key);
        DebugLogger logger;
        logger.setEcho(nullptr);
        MappingTable mappings;

        QCOMPARE(parseButtonData(datagram({record(20, static_cast<quint8>(code), 3, 4, 1042)}), 20,
                                 mappings, logger)
                     .mappingsChanged,
                 true);
        QCOMPARE(mappings.keys(), QStringList(key));
        const ButtonMapping stored = mappings.value(key);
        QCOMPARE(int(stored.bus), bus);
        QCOMPARE(stored.shift, 3);
        QCOMPARE(stored.button, 4);
        QCOMPARE(stored.source, 1042);
        QVERIFY(!stored.id.isNull());
        QCOMPARE(loggedMessages(logger).first(),
                 u"[INFO] Parsed: "_s + key.first(3) + u" S3B4 = 1042"_s);
    }

    void unknownBusIsSkippedAlone_data()
    {
        QTest::addColumn<int>("code");
        QTest::addColumn<QString>("warning");
        QTest::newRow("0x60") << 0x60 << u"[WARN] Unknown bus field: 0x60"_s;
        QTest::newRow("0x0a") << 0x0a << u"[WARN] Unknown bus field: 0x0a"_s;
        QTest::newRow("0x01") << 0x01 << u"[WARN] Unknown bus field: 0x01"_s;
        QTest::newRow("0xff") << 0xFF << u"[WARN] Unknown bus field: 0xff"_s;
    }

    void unknownBusIsSkippedAlone()
    {
        QFETCH(int, code);
        QFETCH(QString, warning);
        DebugLogger logger;
        logger.setEcho(nullptr);
        MappingTable mappings;

        const QByteArray data = datagram(
            {record(20, static_cast<quint8>(code), 1, 1, 500), record(20, me1Code, 1, 2, 1042)});
        QCOMPARE(parseButtonData(data, 20, mappings, logger).mappingsChanged, true);
        QCOMPARE(mappings.keys(), QStringList(u"ME1-20-1-2"_s));
        QCOMPARE(loggedMessages(logger),
                 QStringList({warning, u"[INFO] Parsed: ME1 S1B2 = 1042"_s,
                              u"[INFO] parseButtonData: found 1 button mappings in packet"_s}));
    }

    void buttonIsCheckedBeforeBus()
    {
        // A record outside the suite's buttons is dropped before its bus is looked at, so an
        // unknown bus there goes unreported.
        DebugLogger logger;
        logger.setEcho(nullptr);
        MappingTable mappings;
        QCOMPARE(parseButtonData(datagram({record(18, 0x60, 500)}), 20, mappings, logger)
                     .mappingsChanged,
                 false);
        QVERIFY(mappings.isEmpty());
        QCOMPARE(loggedMessages(logger), QStringList());
    }

    void busIsCheckedBeforeSource()
    {
        DebugLogger logger;
        logger.setEcho(nullptr);
        MappingTable mappings;
        QCOMPARE(
            parseButtonData(datagram({record(20, 0x60, 1, 1, 0xFFFFFFFF)}), 20, mappings, logger)
                .mappingsChanged,
            false);
        QVERIFY(mappings.isEmpty());
        QCOMPARE(loggedMessages(logger), QStringList(u"[WARN] Unknown bus field: 0x60"_s));
    }

    void sourceZeroRemovesAMapping()
    {
        DebugLogger logger;
        logger.setEcho(nullptr);
        const ButtonMapping other = mapping(Bus::me1, 1, 3, 88);
        MappingTable mappings{{u"ME1-20-1-2"_s, mapping(Bus::me1, 1, 2, 77)},
                              {u"ME1-20-1-3"_s, other}};

        QCOMPARE(parseButtonData(datagram({record(20, me1Code, 1, 2, 0)}), 20, mappings, logger)
                     .mappingsChanged,
                 true);
        QCOMPARE(mappings, MappingTable({{u"ME1-20-1-3"_s, other}}));
        QCOMPARE(loggedMessages(logger),
                 QStringList({u"[INFO] Removed: ME1 S1B2 (source=0)"_s,
                              u"[INFO] parseButtonData: found 1 button mappings in packet"_s}));
    }

    void sourceZeroForAnUnmappedButtonDoesNothing()
    {
        DebugLogger logger;
        logger.setEcho(nullptr);
        // The same button, but read at another button count: a different key.
        const MappingTable before{{u"ME1-15-1-2"_s, mapping(Bus::me1, 1, 2, 77)},
                                  {u"ME2-20-1-2"_s, mapping(Bus::me2, 1, 2, 78)}};
        MappingTable mappings = before;

        QCOMPARE(parseButtonData(datagram({record(20, me1Code, 1, 2, 0)}), 20, mappings, logger)
                     .mappingsChanged,
                 false);
        QCOMPARE(mappings, before);
        QCOMPARE(loggedMessages(logger), QStringList());
    }

    void sourceZeroForAnUnmappedButtonIsNotCounted()
    {
        DebugLogger logger;
        logger.setEcho(nullptr);
        MappingTable mappings;
        const QByteArray data =
            datagram({record(20, me1Code, 1, 1, 0), record(20, me1Code, 1, 2, 1042)});

        QCOMPARE(parseButtonData(data, 20, mappings, logger).mappingsChanged, true);
        QCOMPARE(mappings.keys(), QStringList(u"ME1-20-1-2"_s));
        QCOMPARE(loggedMessages(logger),
                 QStringList({u"[INFO] Parsed: ME1 S1B2 = 1042"_s,
                              u"[INFO] parseButtonData: found 1 button mappings in packet"_s}));
    }

    void onlyFiveParsedLinesPerDatagram()
    {
        DebugLogger logger;
        logger.setEcho(nullptr);
        MappingTable mappings;
        QList<QByteArray> records;
        for (int button = 1; button <= 8; ++button)
            records.append(record(20, me2Code, 1, button, quint32(1000 + button)));

        QCOMPARE(parseButtonData(datagram(records), 20, mappings, logger).mappingsChanged, true);
        QCOMPARE(mappings.size(), 8);
        for (int button = 1; button <= 8; ++button) {
            const QString key = u"ME2-20-1-"_s + QString::number(button);
            QCOMPARE(mappings.value(key).source, 1000 + button);
        }
        QCOMPARE(
            loggedMessages(logger),
            QStringList({u"[INFO] Parsed: ME2 S1B1 = 1001"_s, u"[INFO] Parsed: ME2 S1B2 = 1002"_s,
                         u"[INFO] Parsed: ME2 S1B3 = 1003"_s, u"[INFO] Parsed: ME2 S1B4 = 1004"_s,
                         u"[INFO] Parsed: ME2 S1B5 = 1005"_s,
                         u"[INFO] parseButtonData: found 8 button mappings in packet"_s}));
    }

    void removalsAlwaysLoggedButCountTowardsTheParsedLimit()
    {
        DebugLogger logger;
        logger.setEcho(nullptr);
        MappingTable mappings{{u"ME1-20-2-1"_s, mapping(Bus::me1, 2, 1, 77)},
                              {u"ME1-20-2-2"_s, mapping(Bus::me1, 2, 2, 78)},
                              {u"ME1-20-2-3"_s, mapping(Bus::me1, 2, 3, 79)},
                              {u"ME1-20-2-4"_s, mapping(Bus::me1, 2, 4, 80)}};
        const QByteArray data = datagram({
            record(20, me1Code, 2, 1, 0),   // removal, count 1
            record(20, me1Code, 2, 2, 0),   // removal, count 2
            record(20, me1Code, 1, 1, 101), // count 3
            record(20, me1Code, 1, 2, 102), // count 4
            record(20, me1Code, 1, 3, 103), // count 5, the last "Parsed" line
            record(20, me1Code, 1, 4, 104), // count 6, not logged
            record(20, me1Code, 2, 3, 0),   // removal, count 7, still logged
            record(20, me1Code, 1, 5, 105), // count 8, not logged
            record(20, me1Code, 2, 4, 0),   // removal, count 9, still logged
        });

        QCOMPARE(parseButtonData(data, 20, mappings, logger).mappingsChanged, true);
        QCOMPARE(mappings.size(), 5);
        QCOMPARE(
            loggedMessages(logger),
            QStringList(
                {u"[INFO] Removed: ME1 S2B1 (source=0)"_s, u"[INFO] Removed: ME1 S2B2 (source=0)"_s,
                 u"[INFO] Parsed: ME1 S1B1 = 101"_s, u"[INFO] Parsed: ME1 S1B2 = 102"_s,
                 u"[INFO] Parsed: ME1 S1B3 = 103"_s, u"[INFO] Removed: ME1 S2B3 (source=0)"_s,
                 u"[INFO] Removed: ME1 S2B4 (source=0)"_s,
                 u"[INFO] parseButtonData: found 9 button mappings in packet"_s}));
    }

    void laterRecordForTheSameButtonWins()
    {
        DebugLogger logger;
        logger.setEcho(nullptr);
        MappingTable mappings;
        const QByteArray data =
            datagram({record(20, pgmCode, 4, 20, 100), record(20, pgmCode, 4, 20, 200)});

        QCOMPARE(parseButtonData(data, 20, mappings, logger).mappingsChanged, true);
        QCOMPARE(mappings.keys(), QStringList(u"PGM-20-4-20"_s));
        QCOMPARE(mappings.value(u"PGM-20-4-20"_s).source, 200);
        QCOMPARE(
            loggedMessages(logger),
            QStringList({u"[INFO] Parsed: PGM S4B20 = 100"_s, u"[INFO] Parsed: PGM S4B20 = 200"_s,
                         u"[INFO] parseButtonData: found 2 button mappings in packet"_s}));
    }

    void storingReplacesTheMappingWithAFreshOne()
    {
        DebugLogger logger;
        logger.setEcho(nullptr);
        const ButtonMapping old = mapping(Bus::me1, 1, 1, 1042);
        MappingTable mappings{{u"ME1-20-1-1"_s, old}};

        // The same source again still replaces the record, so it counts as a change.
        QCOMPARE(parseButtonData(datagram({record(20, me1Code, 1, 1, 1042)}), 20, mappings, logger)
                     .mappingsChanged,
                 true);
        const ButtonMapping stored = mappings.value(u"ME1-20-1-1"_s);
        QCOMPARE(stored.source, 1042);
        QCOMPARE_NE(stored.id, old.id);
        QCOMPARE(mappings.size(), 1);
    }

    void reservedSourcesAreIgnored_data()
    {
        QTest::addColumn<quint32>("source");
        QTest::newRow("ffffffff") << quint32{0xFFFFFFFF};
        QTest::newRow("fffffffe") << quint32{0xFFFFFFFE};
    }

    void reservedSourcesAreIgnored()
    {
        QFETCH(quint32, source);
        DebugLogger logger;
        logger.setEcho(nullptr);
        const MappingTable before{{u"ME1-20-1-1"_s, mapping(Bus::me1, 1, 1, 77)}};
        MappingTable mappings = before;

        QCOMPARE(parseButtonData(datagram({record(20, me1Code, 1, 1, source),
                                           record(20, me1Code, 1, 2, source)}),
                                 20, mappings, logger)
                     .mappingsChanged,
                 false);
        QCOMPARE(mappings, before);
        QCOMPARE(loggedMessages(logger), QStringList());
    }

    void sourcesUpToSixteenBitsAreStored_data()
    {
        QTest::addColumn<quint32>("source");
        QTest::newRow("1") << quint32{1};
        QTest::newRow("ffff") << quint32{0xFFFF};
    }

    void sourcesUpToSixteenBitsAreStored()
    {
        QFETCH(quint32, source);
        DebugLogger logger;
        logger.setEcho(nullptr);
        MappingTable mappings;

        const ButtonDataResult result =
            parseButtonData(datagram({record(20, me1Code, 1, 1, source)}), 20, mappings, logger);
        QCOMPARE(result.mappingsChanged, true);
        QCOMPARE(result.answers, QList<ButtonAnswer>({{Bus::me1, 1, 1, source}}));
        QCOMPARE(mappings.value(u"ME1-20-1-1"_s).source, qint64{source});
        QCOMPARE(loggedMessages(logger).first(),
                 u"[INFO] Parsed: ME1 S1B1 = "_s + QString::number(source));
    }

    void aSourceBeyondSixteenBitsIsACorruptRecord_data()
    {
        QTest::addColumn<quint32>("source");
        QTest::newRow("10000") << quint32{0x10000};
        QTest::newRow("402e5") << quint32{262885};
        QTest::newRow("80000000") << quint32{0x80000000};
        QTest::newRow("fffffffd") << quint32{0xFFFFFFFD};
    }

    void aSourceBeyondSixteenBitsIsACorruptRecord()
    {
        // Neither stored nor an answer, so a load asks for the button again; the mapping held
        // before stays, and the next record of the datagram is still read.
        QFETCH(quint32, source);
        DebugLogger logger;
        logger.setEcho(nullptr);
        const MappingTable before{{u"ME1-20-1-1"_s, mapping(Bus::me1, 1, 1, 77)}};
        MappingTable mappings = before;

        const ButtonDataResult result = parseButtonData(
            datagram({record(20, me1Code, 1, 1, source), record(20, me1Code, 1, 2, 1042)}), 20,
            mappings, logger);
        QCOMPARE(result.answers, QList<ButtonAnswer>({{Bus::me1, 1, 2, 1042}}));
        QCOMPARE(mappings.value(u"ME1-20-1-1"_s), before.value(u"ME1-20-1-1"_s));
        QCOMPARE(mappings.value(u"ME1-20-1-2"_s).source, 1042);
        QCOMPARE(loggedMessages(logger),
                 QStringList({u"[WARN] parseButtonData: ME1 S1B1 source "_s +
                                  QString::number(source) +
                                  u" is outside 0-65535, record ignored as corrupt"_s,
                              u"[INFO] Parsed: ME1 S1B2 = 1042"_s,
                              u"[INFO] parseButtonData: found 1 button mappings in packet"_s}));
    }

    void datagramWithoutRecordsLogsNothing_data()
    {
        QTest::addColumn<QByteArray>("data");
        QTest::newRow("no markers") << bytes("00 04 00 2a 00 00 00 00 00 0c 03 05 01 02 03 04"
                                             "05 06 07 08 09 0a 0b 0c 0d 0e 0f 10 11 12 14 15");
        // 13 85 at 0 but no 0x89 at +4; lone 13 at 16 and 85 at 20 are not a pair.
        QTest::newRow("markers without 89") << bytes("13 85 ee ee 88 00 13 00 ee ee 00 00 04 12"
                                                     "00 00 13 00 00 00 85 00 00 00 00 00 00");
        QTest::newRow("85 before 13") << bytes("85 13 ee ee 89 00 13 00 ee ee 00 00 04 12"
                                               "00 00 00 00 00 00");
    }

    void datagramWithoutRecordsLogsNothing()
    {
        QFETCH(QByteArray, data);
        DebugLogger logger;
        logger.setEcho(nullptr);
        MappingTable mappings;
        QCOMPARE(parseButtonData(data, 20, mappings, logger).mappingsChanged, false);
        QVERIFY(mappings.isEmpty());
        QCOMPARE(loggedMessages(logger), QStringList());
    }

    void recordInTheLastFourteenBytesIsNotScanned_data()
    {
        QTest::addColumn<int>("before");
        QTest::addColumn<int>("after");
        QTest::addColumn<bool>("found");
        QTest::newRow("ends the datagram") << 6 << 0 << false;
        QTest::newRow("ends the longer datagram") << 30 << 0 << false;
        QTest::newRow("one byte behind") << 6 << 1 << true;
    }

    void recordInTheLastFourteenBytesIsNotScanned()
    {
        QFETCH(int, before);
        QFETCH(int, after);
        QFETCH(bool, found);
        DebugLogger logger;
        logger.setEcho(nullptr);
        MappingTable mappings;
        const QByteArray data =
            QByteArray(before, '\0') + record(20, me1Code, 1, 1, 1042) + QByteArray(after, '\0');

        QCOMPARE(parseButtonData(data, 20, mappings, logger).mappingsChanged, found);
        QCOMPARE(mappings.contains(u"ME1-20-1-1"_s), found);
        QCOMPARE(loggedMessages(logger).size(), found ? 2 : 0);
    }

    void recordTwoBytesIntoAnotherIsFound()
    {
        // The scan resumes two bytes after a record's start, so a second record may begin
        // inside the first one's unexamined bytes and share its data.
        const QByteArray data =
            bytes("13 85"       // first record: marker
                  "13 85"       //   not examined; second record: marker
                  "89"          //   marker
                  "00 89"       //   field 137 = S1B8 at 35 buttons; second: marker 89
                  "00"          //   bus ME1; second: field high byte
                  "10"          //   not examined; second: field low byte, 16 = S1B1
                  "10"          //   not examined; second: bus ME2
                  "00 00 04 12" //   source 1042; second: two bytes not examined, source bytes 1-2
                  "00 07"       // second: source bytes 3-4, 0x04120007 = 68288519
                  "00 00 00 00");
        DebugLogger logger;
        logger.setEcho(nullptr);
        MappingTable mappings;

        QCOMPARE(parseButtonData(data, 35, mappings, logger).mappingsChanged, true);
        QCOMPARE(mappings.size(), 1);
        QCOMPARE(mappings.value(u"ME1-35-1-8"_s).source, 1042);
        QCOMPARE(loggedMessages(logger),
                 QStringList({u"[INFO] Parsed: ME1 S1B8 = 1042"_s,
                              u"[WARN] parseButtonData: ME2 S1B1 source 68288519 is outside "
                              u"0-65535, record ignored as corrupt"_s,
                              u"[INFO] parseButtonData: found 1 button mappings in packet"_s}));
    }

    void recordAtAnOddOffsetIntoAnotherIsFound()
    {
        // No record can begin one byte after another's start (that byte is the 0x85 marker),
        // so the two-byte step never jumps over one. From there the scan goes byte by byte
        // again and finds a record that begins at an odd offset inside the first.
        const QByteArray data =
            bytes("13 85"       // first record: marker
                  "ee ee"       //   not examined
                  "89"          //   marker
                  "00 13"       //   field 19 = S1B1 at 20 buttons
                  "00"          //   bus ME1
                  "ee 13"       //   not examined; second record at offset 9: marker 13
                  "85 00 00 89" //   source 0x85000089; second: marker 85, not examined, marker 89
                  "00 23"       // second: field 35 = S1B2
                  "10"          // second: bus ME2
                  "ee ee"       // second: not examined
                  "00 00 04 12" // second: source 1042
                  "00");
        DebugLogger logger;
        logger.setEcho(nullptr);
        MappingTable mappings;

        QCOMPARE(parseButtonData(data, 20, mappings, logger).mappingsChanged, true);
        QCOMPARE(mappings.size(), 1);
        QCOMPARE(mappings.value(u"ME2-20-1-2"_s).source, 1042);
        QCOMPARE(loggedMessages(logger),
                 QStringList({u"[WARN] parseButtonData: ME1 S1B1 source 2231369865 is outside "
                              u"0-65535, record ignored as corrupt"_s,
                              u"[INFO] Parsed: ME2 S1B2 = 1042"_s,
                              u"[INFO] parseButtonData: found 1 button mappings in packet"_s}));
    }

    void recordAfterAStrayMarkerIsFound_data()
    {
        QTest::addColumn<QByteArray>("prefix");
        // A lone 13 is passed one byte at a time.
        QTest::newRow("lone 13") << bytes("13");
        // 13 85 without 89 at +4 is passed two bytes at a time; the record begins right there.
        QTest::newRow("13 85 without 89") << bytes("13 85");
        QTest::newRow("13 13") << bytes("13 13");
    }

    void recordAfterAStrayMarkerIsFound()
    {
        QFETCH(QByteArray, prefix);
        DebugLogger logger;
        logger.setEcho(nullptr);
        MappingTable mappings;
        const QByteArray data =
            prefix + record(20, me1Code, 1, 1, 1042) + bytes("00 00 00 00 00 00");

        QCOMPARE(parseButtonData(data, 20, mappings, logger).mappingsChanged, true);
        QCOMPARE(mappings.keys(), QStringList(u"ME1-20-1-1"_s));
        QCOMPARE(loggedMessages(logger),
                 QStringList({u"[INFO] Parsed: ME1 S1B1 = 1042"_s,
                              u"[INFO] parseButtonData: found 1 button mappings in packet"_s}));
    }

    void everyButtonRoundTrips_data()
    {
        QTest::addColumn<int>("buttonCount");
        QTest::newRow("15") << 15;
        QTest::newRow("20") << 20;
        QTest::newRow("25") << 25;
        QTest::newRow("35") << 35;
    }

    void everyButtonRoundTrips()
    {
        QFETCH(int, buttonCount);
        QList<QByteArray> records;
        auto sourceOf = [](int busIndex, int shift, int button) {
            return quint32(10000 * (busIndex + 1) + 1000 * shift + button);
        };
        for (qsizetype busIndex = 0; busIndex < qsizetype(allBuses.size()); ++busIndex) {
            const Bus bus = allBuses[busIndex];
            for (int shift = 1; shift <= 4; ++shift) {
                for (int button = 1; button <= buttonCount; ++button) {
                    const quint16 field = fieldOf(buttonCount, shift, button);
                    const std::optional<ButtonPosition> at(ButtonPosition{shift, button});
                    QCOMPARE(quorvane::locateButton(field, buttonCount), at);
                    QCOMPARE(quorvane::locateButton(quint16(field + 15), buttonCount), at);
                    records.append(
                        record(field, busCode(bus), sourceOf(int(busIndex), shift, button)));
                }
            }
        }
        DebugLogger logger;
        logger.setEcho(nullptr);
        MappingTable mappings;

        QCOMPARE(parseButtonData(datagram(records), buttonCount, mappings, logger).mappingsChanged,
                 true);

        const int total = 6 * 4 * buttonCount;
        QCOMPARE(mappings.size(), total);
        for (qsizetype busIndex = 0; busIndex < qsizetype(allBuses.size()); ++busIndex) {
            const Bus bus = allBuses[busIndex];
            for (int shift = 1; shift <= 4; ++shift) {
                for (int button = 1; button <= buttonCount; ++button) {
                    const QString key = busName(bus) + u'-' + QString::number(buttonCount) + u'-' +
                                        QString::number(shift) + u'-' + QString::number(button);
                    QVERIFY2(mappings.contains(key), qPrintable(key));
                    const ButtonMapping stored = mappings.value(key);
                    QCOMPARE(stored.bus, bus);
                    QCOMPARE(stored.shift, shift);
                    QCOMPARE(stored.button, button);
                    QCOMPARE(stored.source, qint64{sourceOf(int(busIndex), shift, button)});
                }
            }
        }
        const QStringList messages = loggedMessages(logger);
        QCOMPARE(messages.size(), 6);
        QCOMPARE(messages.first(), u"[INFO] Parsed: ME1 S1B1 = 11001"_s);
        QCOMPARE(messages.last(), u"[INFO] parseButtonData: found "_s + QString::number(total) +
                                      u" button mappings in packet"_s);
    }

    void everyRecordOfAButtonIsAnAnswer()
    {
        // Unassigned and "no assignment" records tell that the frame answered for the button,
        // though they store nothing; records outside the suite, with an unknown bus or with a
        // corrupt source do not.
        DebugLogger logger;
        logger.setEcho(nullptr);
        MappingTable mappings;
        const QByteArray data = datagram({
            record(20, me1Code, 1, 1, 1042),        // assigned
            record(20, me2Code, 2, 3, 0),           // unassigned, nothing cached to remove
            record(20, pgmCode, 4, 20, 0xFFFFFFFF), // no assignment
            record(20, pgmCode, 4, 19, 0xFFFFFFFE), // no assignment either
            record(18, me1Code, 7),                 // before the suite's first button
            record(20, 0x60, 1, 2, 7),              // unknown bus
            record(20, me1Code, 1, 3, 0x10000),     // corrupt source
        });

        const ButtonDataResult result = parseButtonData(data, 20, mappings, logger);

        QCOMPARE(result.answers, (QList<ButtonAnswer>{{Bus::me1, 1, 1, 1042},
                                                      {Bus::me2, 2, 3, 0},
                                                      {Bus::pgm, 4, 20, 0xFFFFFFFF},
                                                      {Bus::pgm, 4, 19, 0xFFFFFFFE}}));
        QCOMPARE(mappings.keys(), QStringList(u"ME1-20-1-1"_s));
    }

    void onlyExactNumbersWhenAsked_data()
    {
        QTest::addColumn<int>("field");
        QTest::addColumn<bool>("anyNumber");
        QTest::addColumn<bool>("exactNumber");
        // At 20 buttons a button's numbers are 19 + 16k to 34 + 16k.
        QTest::newRow("first number of S1B1") << 19 << true << true;
        QTest::newRow("another number of S1B1") << 20 << true << false;
        QTest::newRow("last number of S1B1") << 34 << true << false;
        QTest::newRow("first number of S4B20") << 19 + 16 * 79 << true << true;
        // S1B2 at 35 buttons (32) lies among the numbers of S1B1 at 20.
        QTest::newRow("a 35-button number") << 32 << true << false;
        QTest::newRow("before the first button") << 18 << false << false;
    }

    void onlyExactNumbersWhenAsked()
    {
        QFETCH(int, field);
        QFETCH(bool, anyNumber);
        QFETCH(bool, exactNumber);
        DebugLogger logger;
        logger.setEcho(nullptr);
        const QByteArray data = datagram({record(static_cast<quint16>(field), me1Code, 7)});
        MappingTable any;
        MappingTable exact;
        QCOMPARE(parseButtonData(data, 20, any, logger).answers.size(), anyNumber ? 1 : 0);
        QCOMPARE(
            parseButtonData(data, 20, exact, logger, ButtonFields::exactNumbers).answers.size(),
            exactNumber ? 1 : 0);
        QCOMPARE(exact.size(), exactNumber ? 1 : 0);
        QCOMPARE(isButtonNumber(static_cast<quint16>(field), 20), exactNumber);
    }

    void aTooShortDatagramAnswersNothing()
    {
        DebugLogger logger;
        logger.setEcho(nullptr);
        MappingTable mappings;
        QVERIFY(
            parseButtonData(record(20, me1Code, 1, 1, 5), 20, mappings, logger).answers.isEmpty());
    }
};

QTEST_GUILESS_MAIN(TestButtonDataDecoder)
#include "tst_button_data_decoder.moc"
