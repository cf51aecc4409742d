// Every encoder of the emulated frame against the client's own decoder: what the frame sends
// must decode to exactly what it meant.

#include "demo_show.h"
#include "diagnostics/debug_logger.h"
#include "frame_encoders.h"
#include "model/button_address.h"
#include "model/button_data_decoder.h"
#include "model/frame_info_decoder.h"
#include "model/source_definition_decoder.h"
#include "model/source_name_decoder.h"
#include "test_support.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace quorvane;
using namespace quorvane::emulator;

Q_DECLARE_METATYPE(quorvane::SourceName)

namespace {
constexpr std::array<int, 4> buttonCounts{15, 20, 25, 35};

SourceName names(const QString& eng, const QString& panel, const QString& oled, const QString& menu)
{
    SourceName name;
    name.eng = eng;
    name.panel = panel;
    name.oled = oled;
    name.menu = menu;
    return name;
}

DecodedSourceName decoded(int source, const SourceName& name, bool live)
{
    return {source, name.eng, name.panel, name.oled, name.menu, live};
}

std::vector<NamedSource> withCustomNames(const Show& show)
{
    std::vector<NamedSource> named;
    for (const NamedSource& source : show.sources) {
        if (hasCustomName(source.names))
            named.push_back(source);
    }
    return named;
}

// The client's receive loop looks for the name marker only in the first 40 bytes.
qsizetype nameMarkerWithin40(const QByteArray& datagram)
{
    const qsizetype at = datagram.indexOf(QByteArrayView("\x02\x0b", 2));
    return at >= 0 && at < 40 ? at : -1;
}
} // namespace

class TestFrameEncoders : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_logger.setEcho(nullptr);
        m_logger.clear();
    }

    // --- Framing ---------------------------------------------------------------------------

    void controlMessages()
    {
        QCOMPARE(ack(0x1234), test::bytes("00 02 12 34"));
        QCOMPARE(ackFor(test::bytes("00 06 12 34")), test::bytes("00 02 12 34"));
        QCOMPARE(ackFor(test::bytes("00 04 04 91 00 02 00 1f")), test::bytes("00 02 04 91"));
        QCOMPARE(controlMessage(MessageType::sync, 0x0102), test::bytes("00 06 01 02"));
        QCOMPARE(controlMessage(MessageType::ping, 0), test::bytes("00 01 00 00"));
    }

    void sequenceCounterSkipsTheNameMarker()
    {
        SequenceCounter counter(0x0209);
        QCOMPARE(counter.next(), quint16{0x020a});
        QCOMPARE(counter.next(), quint16{0x020c});
    }

    // --- Handshake -------------------------------------------------------------------------

    void clientIdAckCarriesThePort()
    {
        const QByteArray clientId =
            test::bytes("00 04 00 01 00 02 00 1f 00 00 00 0b 00 00 00 2c 00 01 00 00");
        // clang-format off
        QCOMPARE(clientIdAckWithPort(clientId, 5123),
                 test::bytes("00 02 00 01"                           // ACK of sequence 00 01
                             "00 02 00 1f 00 00 00 0b 00 00 00 2c 00 01" // ClientID 4-17
                             "14 03"));                              // port 5123
        // clang-format on
    }

    void portAnnouncement_()
    {
        const QByteArray announcement = portAnnouncement(0x0101, 5999);
        QVERIFY(announcement.size() >= 20);
        QCOMPARE(announcement.first(4), test::bytes("00 04 01 01"));
        QCOMPARE(announcement.sliced(18, 2), test::bytes("17 6f"));
    }

    // --- Button data -----------------------------------------------------------------------

    void buttonRecordLayout()
    {
        // clang-format off
        QCOMPARE(buttonRecord({16, 0x30, 5}),
                 test::bytes("13 85 00 00 89"   // signature, marker
                             "00 10"            // parameter 16
                             "30"               // PGM
                             "00 00"
                             "00 00 00 05"));   // source 5
        QCOMPARE(buttonDatagram(0x0102, 0x3232, {{371, 0x40, 0x01020304}}),
                 test::bytes("00 04 01 02"
                             "00 02 00 08 00 00 00 00 00 00 00 00"
                             "00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00"
                             "32 32"                          // subscription id
                             "00 01 00 03 00 03 00 00 00 00"
                             "13 85 00 00 89 01 73 40 00 00 01 02 03 04"
                             "00 00"));                       // trailer
        // clang-format on
    }

    // Every button of the show, on every bus, count and shift, one datagram each: assigned
    // buttons store their source, unassigned ones remove what the client had.
    void everyButtonRoundTrips()
    {
        const Show show = demoShow();
        int checked = 0;
        for (Bus bus : allBuses) {
            for (int count : buttonCounts) {
                for (int shift = 1; shift <= 4; ++shift) {
                    for (int button = 1; button <= count; ++button) {
                        const quint32 source = show.buttons.mapping(bus, count, shift, button);
                        const QString key = mappingKey(bus, count, shift, button);
                        MappingTable mappings;
                        mappings.insert(
                            key, ButtonMapping{QUuid::createUuid(), bus, shift, button, 9999});
                        const QByteArray datagram = buttonDatagram(
                            1, 0, {{buttonParameter(count, shift, button), busCode(bus), source}});
                        QVERIFY(
                            parseButtonData(datagram, count, mappings, m_logger).mappingsChanged);
                        if (source == 0) {
                            QVERIFY2(mappings.isEmpty(), qPrintable(key));
                        } else {
                            QCOMPARE(mappings.size(), 1);
                            const ButtonMapping mapping = mappings.value(key);
                            QCOMPARE(mapping.source, qint64{source});
                            QCOMPARE(mapping.bus, bus);
                            QCOMPARE(mapping.shift, shift);
                            QCOMPARE(mapping.button, button);
                        }
                        QCOMPARE(nameMarkerWithin40(datagram), -1);
                        ++checked;
                    }
                }
            }
        }
        QCOMPARE(checked, 6 * 4 * (15 + 20 + 25 + 35));
    }

    // A whole bus in one datagram: the records sit back to back and all are found.
    void manyRecordsInOneDatagram()
    {
        const Show show = demoShow();
        for (int count : buttonCounts) {
            QList<ButtonRecord> records;
            MappingTable expected;
            for (int shift = 1; shift <= 4; ++shift) {
                for (int button = 1; button <= count; ++button) {
                    const quint32 source = show.buttons.mapping(Bus::me2, count, shift, button);
                    records.append({buttonParameter(count, shift, button), 0x10, source});
                    if (source != 0)
                        expected.insert(mappingKey(Bus::me2, count, shift, button), {});
                }
            }
            MappingTable mappings;
            parseButtonData(buttonDatagram(7, 0, records), count, mappings, m_logger);
            QCOMPARE(mappings.size(), expected.size());
            for (auto it = mappings.cbegin(); it != mappings.cend(); ++it) {
                QCOMPARE(it.value().source,
                         qint64{show.buttons.mapping(Bus::me2, count, it.value().shift,
                                                     it.value().button)});
            }
        }
    }

    // --- Source names (0x020b) -------------------------------------------------------------

    void nameRecord_data()
    {
        QTest::addColumn<SourceName>("name");
        QTest::addColumn<bool>("live");
        QTest::newRow("all four") << names(u"CAM 1"_s, u"CAM 1 WIDE"_s, u"C1"_s, u"Cam 1"_s)
                                  << false;
        QTest::newRow("no OLED") << names(u"EVS1 A"_s, u"EVS 1A"_s, {}, u"Replay 1A"_s) << false;
        QTest::newRow("panel only") << names({}, u"PANEL"_s, {}, {}) << false;
        QTest::newRow("menu only") << names({}, {}, {}, u"MENU NAME"_s) << true;
        QTest::newRow("OLED only") << names({}, {}, u"OL"_s, {}) << true;
        QTest::newRow("every field 16 long") << names(u"ENGINEERING 16ch"_s, u"PANEL NAME 16 ch"_s,
                                                      u"OLED NAME 16 ch!"_s, u"MENU NAME 16 ch."_s)
                                             << false;
        QTest::newRow("15 then 16") << names(u"ENG NAME 15 ch."_s, u"PANEL NAME 16 ch"_s,
                                             u"OLED NAME 15 ch"_s, u"MENU NAME 16 ch."_s)
                                    << true;
        QTest::newRow("inner blanks") << names(u"A  B"_s, u"x y"_s, u"1 2"_s, u"m  n"_s) << false;
        QTest::newRow("one character each") << names(u"E"_s, u"P"_s, u"O"_s, u"M"_s) << true;
    }

    void nameRecord()
    {
        QFETCH(SourceName, name);
        QFETCH(bool, live);
        const NameRecordKind kind = live ? NameRecordKind::live : NameRecordKind::bulk;
        for (int source : {1, 523, 999}) {
            const QByteArray record = sourceNameRecord(source, name, kind);
            QVERIFY(record.size() >= 20 && record.size() <= 82);
            QCOMPARE(record.size(), qsizetype{quint8(record[3])} + 2);

            SequenceCounter sequence;
            const QList<QByteArray> messages = sourceNameMessages({{source, name}}, kind, sequence);
            QCOMPARE(messages.size(), 1);
            const std::vector<DecodedSourceName> records =
                parseSourceNameData020b(messages.constFirst(), m_logger);
            QCOMPARE(records.size(), std::size_t{1});
            QCOMPARE(records.front(), decoded(source, name, live));
        }
    }

    void nameMessageLayout()
    {
        SequenceCounter sequence(0x0200);
        const QList<QByteArray> messages = sourceNameMessages(
            {{5, names(u"CAM 5"_s, u"JIB"_s, {}, {})}}, NameRecordKind::bulk, sequence);
        QCOMPARE(messages.size(), 1);
        const QByteArray& message = messages.constFirst();
        QCOMPARE(message.first(8), test::bytes("00 04 02 01 00 02 00 10"));
        QCOMPARE(message.sliced(16, 2), test::bytes("02 0b"));
        QCOMPARE(nameMarkerWithin40(message), 16);
        // clang-format off
        QCOMPARE(message.sliced(28),
                 QByteArray(test::bytes("00 01 00 18 00 05"       // bulk, L = 24, source 5
                             "00 00 00 00 00 00"
                             "00"                      // no OLED flag
                             "00"                      // no OLED name: names from +14
                             "00"                      // unused field
                             "43 41 4d 20 35 00"       // "CAM 5"
                             "4a 49 42 00"             // "JIB"
                             "00"                      // no menu name
                             "00 00 00 00")            // unread
                            + QByteArray(30, '\0'))); // padding
        // clang-format on
    }

    // The whole show's custom names, in as many datagrams as it takes, decode to exactly the
    // show's names.
    void showNamesRoundTrip()
    {
        const Show show = demoShow();
        const std::vector<NamedSource> named = withCustomNames(show);
        SequenceCounter sequence;
        const QList<QByteArray> messages =
            sourceNameMessages(named, NameRecordKind::bulk, sequence);

        std::vector<DecodedSourceName> all;
        for (const QByteArray& message : messages) {
            QVERIFY(message.size() <= maxDatagramSize);
            QCOMPARE(message.sliced(4, 4), test::bytes("00 02 00 10"));
            QCOMPARE(nameMarkerWithin40(message), 16);
            const std::vector<DecodedSourceName> records =
                parseSourceNameData020b(message, m_logger);
            all.insert(all.end(), records.begin(), records.end());
        }
        QCOMPARE(all.size(), named.size());
        for (std::size_t k = 0; k < named.size(); ++k)
            QCOMPARE(all[k], decoded(named[k].number, named[k].names, false));
    }

    // The largest show a frame can hold, every name at its longest: split into datagrams of
    // at most 4096 bytes, each decoding to its share of the sources, in order.
    void largestShowSplitsIntoDatagrams()
    {
        std::vector<NamedSource> sources;
        for (int number = firstSource; number <= lastSource; ++number) {
            const QString digits = QString::number(number).rightJustified(3, u'0');
            sources.push_back(
                {number,
                 names(u"ENG NAME "_s + digits, u"PANEL NAME #"_s + digits + u'!',
                       u"OLED NAME ##"_s + digits + u'!', u"MENU NAME ##"_s + digits + u'.')});
        }
        SequenceCounter sequence;
        const QList<QByteArray> nameMessages =
            sourceNameMessages(sources, NameRecordKind::bulk, sequence);
        QVERIFY(nameMessages.size() > 10);
        std::vector<DecodedSourceName> decodedNames;
        for (const QByteArray& message : nameMessages) {
            QVERIFY(message.size() <= maxDatagramSize);
            const std::vector<DecodedSourceName> records =
                parseSourceNameData020b(message, m_logger);
            decodedNames.insert(decodedNames.end(), records.begin(), records.end());
        }
        QCOMPARE(decodedNames.size(), sources.size());
        for (std::size_t k = 0; k < sources.size(); ++k)
            QCOMPARE(decodedNames[k], decoded(sources[k].number, sources[k].names, false));

        const QList<QByteArray> definitionMessages = sourceDefinitionMessages(sources, sequence);
        QVERIFY(definitionMessages.size() > 10);
        std::vector<EngineeringName> engineering;
        for (const QByteArray& message : definitionMessages) {
            QVERIFY(message.size() <= maxDatagramSize);
            const std::vector<EngineeringName> records =
                parseSourceDefinitionData(message, m_logger);
            engineering.insert(engineering.end(), records.begin(), records.end());
        }
        QCOMPARE(engineering.size(), sources.size());
        for (std::size_t k = 0; k < sources.size(); ++k)
            QCOMPARE(engineering[k], (EngineeringName{sources[k].number, sources[k].names.eng}));
    }

    // --- Source definitions (0x0210) -------------------------------------------------------

    void definitionRecordLayout()
    {
        const QByteArray record = sourceDefinitionRecord(700, u"BLACK"_s);
        QCOMPARE(record.size(), 48);
        QCOMPARE(record.first(6), test::bytes("00 01 00 2c 02 bc"));
        QCOMPARE(record.sliced(6, 30), QByteArray(30, '\0'));
        QCOMPARE(record.sliced(36), test::bytes("42 4c 41 43 4b 00 00 00 00 00 00 00"));
    }

    void definitionNames_data()
    {
        QTest::addColumn<QString>("eng");
        QTest::newRow("two characters") << u"MV"_s;
        QTest::newRow("twelve characters") << u"ABCDEFGHIJKL"_s;
        QTest::newRow("inner blanks") << u"CAM  1"_s;
        QTest::newRow("punctuation") << u"EVS-1/A (B)"_s;
    }

    void definitionNames()
    {
        QFETCH(QString, eng);
        SequenceCounter sequence;
        const QList<QByteArray> messages =
            sourceDefinitionMessages({{42, names(eng, {}, {}, {})}}, sequence);
        QCOMPARE(messages.size(), 1);
        const std::vector<EngineeringName> decodedNames =
            parseSourceDefinitionData(messages.constFirst(), m_logger);
        QCOMPARE(decodedNames, (std::vector<EngineeringName>{{42, eng}}));
    }

    void showDefinitionsRoundTrip()
    {
        const Show show = demoShow();
        SequenceCounter sequence;
        const QList<QByteArray> messages = sourceDefinitionMessages(show.sources, sequence);
        QVERIFY2(messages.size() >= 2, "the demo show needs more than one datagram");

        std::vector<EngineeringName> all;
        for (const QByteArray& message : messages) {
            QVERIFY(message.size() <= maxDatagramSize);
            QCOMPARE(message.sliced(4, 4), test::bytes("00 02 00 10"));
            QCOMPARE(message.sliced(16, 2), test::bytes("02 10"));
            QCOMPARE(nameMarkerWithin40(message), -1);
            const std::vector<EngineeringName> decodedNames =
                parseSourceDefinitionData(message, m_logger);
            all.insert(all.end(), decodedNames.begin(), decodedNames.end());
        }
        QCOMPARE(all.size(), show.sources.size());
        for (std::size_t k = 0; k < all.size(); ++k) {
            QCOMPARE(all[k].source, show.sources[k].number);
            QCOMPARE(all[k].name, show.sources[k].names.eng);
        }
    }

    // Definitions and names merged the way the client merges them give back the show.
    void showMergesToItsNames()
    {
        const Show show = demoShow();
        SequenceCounter sequence;
        SourceNameTable table;
        for (const QByteArray& message : sourceDefinitionMessages(show.sources, sequence))
            mergeEngineeringNames(table, parseSourceDefinitionData(message, m_logger), m_logger);
        for (const QByteArray& message :
             sourceNameMessages(withCustomNames(show), NameRecordKind::bulk, sequence)) {
            mergeSourceNames(table, parseSourceNameData020b(message, m_logger), m_logger);
        }
        QCOMPARE(table, show.names());
    }

    // Name and definition datagrams hold no button records, and button datagrams no names.
    void repliesDoNotLookLikeEachOther()
    {
        const Show show = demoShow();
        SequenceCounter sequence;
        QList<QByteArray> replies = sourceDefinitionMessages(show.sources, sequence);
        replies += sourceNameMessages(withCustomNames(show), NameRecordKind::bulk, sequence);
        replies.append(frameInfoReply(sequence.next(), {}));
        for (const QByteArray& reply : replies) {
            MappingTable mappings;
            QVERIFY(parseButtonData(reply, 35, mappings, m_logger).answers.isEmpty());
        }
        const QByteArray button = buttonDatagram(1, 0x3232, {{16, 0x30, 12}});
        QVERIFY(parseSourceDefinitionData(button, m_logger).empty());
        QVERIFY(!scanFrameInfo(button, m_logger).name);
    }

    // --- Frame information (0x01fd) --------------------------------------------------------

    void frameInfo_data()
    {
        QTest::addColumn<QString>("model");
        QTest::addColumn<QString>("version");
        QTest::addColumn<QString>("name");
        QTest::newRow("Kayenne K-Frame XP")
            << u"Kayenne K-Frame XP"_s << u"V12.3.1"_s << u"K-Frame XP"_s;
        QTest::newRow("Karrera, two-part version") << u"Karrera"_s << u"V9.2"_s << u"Karrera"_s;
        QTest::newRow("K-Frame X") << u"K-Frame X"_s << u"V14.0.12"_s << u"K-Frame X"_s;
    }

    void frameInfo()
    {
        QFETCH(QString, model);
        QFETCH(QString, version);
        QFETCH(QString, name);
        FrameIdentity identity;
        identity.model = model;
        identity.version = version;
        const QByteArray reply = frameInfoReply(0x0105, identity);
        QVERIFY(reply.sliced(4, 4) != test::bytes("00 02 00 10"));
        QCOMPARE(reply.sliced(16, 2), test::bytes("01 fd"));
        QCOMPARE(nameMarkerWithin40(reply), -1);
        const FrameInfo info = scanFrameInfo(reply, m_logger);
        QCOMPARE(info.name, std::optional<QString>(name));
        QCOMPARE(info.version, std::optional<QString>(version));
    }

private:
    DebugLogger m_logger;
};

QTEST_GUILESS_MAIN(TestFrameEncoders)
#include "tst_frame_encoders.moc"
