// Whatever the network sends, the decoders must neither crash nor read outside the datagram
// (the sanitizer build checks the latter) nor invent buttons that do not exist.
#include "diagnostics/debug_logger.h"
#include "model/button_data_decoder.h"
#include "model/frame_info_decoder.h"
#include "model/source_definition_decoder.h"
#include "model/source_name_decoder.h"
#include "test_support.h"

#include <QRandomGenerator>
#include <QRegularExpression>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace quorvane;
using quorvane::test::bytes;
using quorvane::test::loggedMessages;

namespace {

constexpr qsizetype largestDatagram = 4096;

QByteArray repeated(const QByteArray& pattern, qsizetype size)
{
    QByteArray data;
    while (data.size() < size)
        data += pattern;
    return data.left(size);
}

// Every mapping names a real button of the four shift rows under its own key.
void verifyPlausible(const MappingTable& mappings, int buttonCount)
{
    static const QRegularExpression keyFormat(u"^(ME1|ME2|ME3|ME4|PGM|AUX)-\\d+-[1-4]-\\d+$"_s);
    for (auto it = mappings.cbegin(); it != mappings.cend(); ++it) {
        QVERIFY2(keyFormat.match(it.key()).hasMatch(), qPrintable(it.key()));
        QCOMPARE(it.key(), mappingKey(it->bus, buttonCount, it->shift, it->button));
        QVERIFY(it->shift >= 1 && it->shift <= 4);
        QVERIFY(it->button >= 1 && it->button <= buttonCount);
        QVERIFY(it->source > 0 && it->source <= lastSourceNumber);
    }
}

// Runs one datagram through every decoder, as the receive path may.
void decodeEverywhere(const QByteArray& datagram, DebugLogger& logger)
{
    for (int count : {15, 20, 25, 35}) {
        MappingTable mappings;
        parseButtonData(datagram, count, mappings, logger);
        verifyPlausible(mappings, count);
    }
    SourceNameTable names;
    mergeSourceNames(names, parseSourceNameData020b(datagram, logger), logger);
    mergeEngineeringNames(names, parseSourceDefinitionData(datagram, logger), logger);
    for (auto it = names.cbegin(); it != names.cend(); ++it)
        QVERIFY(it.key() >= 1 && it.key() <= 999);
    scanFrameInfo(datagram, logger);
}

} // namespace

class TestMalformedDatagrams : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void adversarial_data()
    {
        QTest::addColumn<QByteArray>("datagram");
        QTest::newRow("empty") << QByteArray();
        QTest::newRow("one byte") << bytes("13");
        QTest::newRow("header only") << bytes("00 04 04 91");
        QTest::newRow("largest, all zero") << QByteArray(largestDatagram, '\0');
        QTest::newRow("largest, all ff") << QByteArray(largestDatagram, '\xff');
        QTest::newRow("button markers everywhere") << repeated(bytes("13 85"), largestDatagram);
        QTest::newRow("button records with the last one cut")
            << repeated(bytes("13 85 00 00 89 00 10 30 00 00 00 00 04 12"), 4090);
        QTest::newRow("button marker in the last bytes")
            << QByteArray(30, '\0') + bytes("13 85 00 00 89 00 10 30 00 00 00 00 04");
        QTest::newRow("name markers everywhere") << repeated(bytes("02 0b"), largestDatagram);
        QTest::newRow("name marker at the very end") << QByteArray(60, '\0') + bytes("02 0b");
        QTest::newRow("name records claiming 80 bytes")
            << bytes("02 0b") + repeated(bytes("01 01 00 50 00 01"), 200);
        QTest::newRow("name records of every length")
            << bytes("02 0b") + repeated(bytes("01 02 00 12 03 e7 01 01 41 42"), largestDatagram);
        QTest::newRow("definition records overrunning the end")
            << QByteArray(16, '\0') + bytes("02 10") + QByteArray(22, '\0') +
                   repeated(bytes("00 01 00 50 00 07"), 100);
        QTest::newRow("definition records of every length")
            << QByteArray(16, '\0') + bytes("02 10") + QByteArray(22, '\0') +
                   repeated(bytes("00 01 00 27 00 07 ff 00 41"), largestDatagram - 40);
        QTest::newRow("frame texts everywhere")
            << repeated("K-Frame XP V12.3.1 Kayenne V9.2 "_ba, largestDatagram);
    }

    void adversarial()
    {
        QFETCH(QByteArray, datagram);
        DebugLogger logger;
        logger.setEcho(nullptr);
        decodeEverywhere(datagram, logger);
    }

    void shortDatagramsAreReportedNotDecoded()
    {
        DebugLogger logger;
        logger.setEcho(nullptr);
        MappingTable mappings;
        for (qsizetype length = 0; length < 20; ++length) {
            const QByteArray datagram = repeated(bytes("13 85 00 00 89 00 10 30"), length);
            QCOMPARE(parseButtonData(datagram, 35, mappings, logger).mappingsChanged, false);
        }
        QVERIFY(mappings.isEmpty());
        const QStringList messages = loggedMessages(logger);
        QCOMPARE(messages.size(), 20);
        QCOMPARE(messages.first(), u"[WARN] parseButtonData: data too short (0 bytes)"_s);
        QCOMPARE(messages.last(), u"[WARN] parseButtonData: data too short (19 bytes)"_s);

        DebugLogger definitions;
        definitions.setEcho(nullptr);
        QVERIFY(parseSourceDefinitionData(QByteArray(49, '\x02'), definitions).empty());
        QCOMPARE(loggedMessages(definitions).last(),
                 u"[WARN] parseSourceDefinitionData: invalid packet format"_s);
    }

    void randomDatagrams()
    {
        // A fixed seed keeps a failure reproducible.
        QRandomGenerator random(20261122);
        DebugLogger logger;
        logger.setEcho(nullptr);
        for (int round = 0; round < 400; ++round) {
            const qsizetype length = random.bounded(largestDatagram + 1);
            QByteArray datagram(length, Qt::Uninitialized);
            // Bias towards the marker bytes so that many records are half-valid.
            static constexpr char alphabet[] = {'\x00', '\x01', '\x02', '\x0b', '\x10',
                                                '\x13', '\x27', '\x30', '\x50', '\x85',
                                                '\x89', '\xff', 'K',    'V'};
            for (qsizetype i = 0; i < length; ++i) {
                datagram[i] = random.bounded(2) == 0
                                  ? alphabet[random.bounded(int(sizeof alphabet))]
                                  : char(random.bounded(256));
            }
            decodeEverywhere(datagram, logger);
            if (QTest::currentTestFailed())
                QFAIL(qPrintable(u"round "_s + QString::number(round) + u": "_s +
                                 QString::fromLatin1(datagram.toHex())));
            quorvane::test::runQueuedCalls(); // keep the log's backlog small
        }
    }
};

QTEST_GUILESS_MAIN(TestMalformedDatagrams)
#include "tst_malformed_datagrams.moc"
