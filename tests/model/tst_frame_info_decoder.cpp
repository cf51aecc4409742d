#include "diagnostics/debug_logger.h"
#include "model/frame_info_decoder.h"
#include "test_support.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace quorvane;
using quorvane::test::bytes;
using quorvane::test::loggedMessages;

char* toString(const std::optional<QString>& text)
{
    return text ? QTest::toString(*text) : qstrdup("nothing");
}

namespace {
const std::optional<QString> nothing;

std::optional<QString> text(const QString& s)
{
    return s;
}
} // namespace

class TestFrameInfoDecoder : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void modelAndVersion()
    {
        DebugLogger logger;
        logger.setEcho(nullptr);
        const FrameInfo info = scanFrameInfo(QByteArrayView("K-Frame XP V12.3.1"), logger);
        QCOMPARE(info.name, text(u"K-Frame XP"_s));
        QCOMPARE(info.version, text(u"V12.3.1"_s));
        QCOMPARE(loggedMessages(logger),
                 QStringList({u"[INFO] parseFrameInfo scanning: K-Frame XP V12.3.1"_s,
                              u"[INFO] Found version in packet: V12.3.1"_s,
                              u"[INFO] Found frame type in packet: K-Frame XP"_s}));
    }

    void modelWithoutVersion()
    {
        DebugLogger logger;
        logger.setEcho(nullptr);
        const FrameInfo info = scanFrameInfo(QByteArrayView("Kayenne"), logger);
        QCOMPARE(info.name, text(u"Kayenne"_s));
        QCOMPARE(info.version, nothing);
        QCOMPARE(loggedMessages(logger),
                 QStringList({u"[INFO] parseFrameInfo scanning: Kayenne"_s,
                              u"[INFO] Found frame type in packet: Kayenne"_s}));
    }

    void versionWithoutModel()
    {
        // The scan reports only what it saw; naming the frame generically is the
        // connection's decision.
        DebugLogger logger;
        logger.setEcho(nullptr);
        const FrameInfo info = scanFrameInfo(QByteArrayView("Switcher V9.2 ready"), logger);
        QCOMPARE(info.name, nothing);
        QCOMPARE(info.version, text(u"V9.2"_s));
        QCOMPARE(loggedMessages(logger),
                 QStringList({u"[INFO] parseFrameInfo scanning: Switcher V9.2 ready"_s,
                              u"[INFO] Found version in packet: V9.2"_s}));
    }

    void textAmongBinaryFields()
    {
        const QByteArray reply = bytes("00 01 fd 00 00 00 00 2c 01 0a") + "K-Frame XP" +
                                 bytes("00 00") + "V12.3.1" + bytes("ff 0d 0a 7f 80 00");
        DebugLogger logger;
        logger.setEcho(nullptr);
        const FrameInfo info = scanFrameInfo(reply, logger);
        QCOMPARE(info.name, text(u"K-Frame XP"_s));
        QCOMPARE(info.version, text(u"V12.3.1"_s));
        // Each non-printable byte becomes one blank and those at the ends are trimmed away;
        // 0x2c among the leading bytes is a printable comma, followed by the blanks of 01 0a.
        QCOMPARE(loggedMessages(logger),
                 QStringList({u"[INFO] parseFrameInfo scanning: ,  K-Frame XP  V12.3.1"_s,
                              u"[INFO] Found version in packet: V12.3.1"_s,
                              u"[INFO] Found frame type in packet: K-Frame XP"_s}));
    }

    void scan_data()
    {
        QTest::addColumn<QByteArray>("reply");
        QTest::addColumn<std::optional<QString>>("name");
        QTest::addColumn<std::optional<QString>>("version");

        // Non-printable bytes become blanks, so a byte inside a word splits it.
        QTest::newRow("K-Fr 00 ame")
            << QByteArray("K-Fr" + bytes("00") + "ame V1.0") << nothing << text(u"V1.0"_s);
        QTest::newRow("K 00 -Frame")
            << QByteArray("K" + bytes("00") + "-Frame") << nothing << nothing;
        QTest::newRow("K- 00 Frame")
            << QByteArray("K-" + bytes("00") + "Frame") << nothing << nothing;
        QTest::newRow("split K-Frame, whole Kayenne")
            << QByteArray("K-Fr" + bytes("00") + "ame Kayenne") << text(u"Kayenne"_s) << nothing;
        // A byte in place of the hyphen reads as the blank of "K Frame".
        QTest::newRow("K 00 Frame")
            << QByteArray("K" + bytes("00") + "Frame") << text(u"K Frame"_s) << nothing;
        QTest::newRow("K-Frame 7f XP")
            << QByteArray("K-Frame" + bytes("7f") + "XP") << text(u"K-Frame XP"_s) << nothing;
        QTest::newRow("V12 00 .3") << QByteArray("V12" + bytes("00") + ".3") << nothing << nothing;

        // The table is tried in order and the first entry found wins, wherever it stands.
        QTest::newRow("GV K-Frame before Kayenne")
            << QByteArray("Kayenne GV K-Frame") << text(u"GV K-Frame"_s) << nothing;
        QTest::newRow("GV K-Frame XP")
            << QByteArray("GV K-Frame XP") << text(u"K-Frame XP"_s) << nothing;
        QTest::newRow("K-Frame XP") << QByteArray("K-Frame XP") << text(u"K-Frame XP"_s) << nothing;
        QTest::newRow("K-Frame X") << QByteArray("K-Frame X") << text(u"K-Frame X"_s) << nothing;
        QTest::newRow("K-Frame XYZ")
            << QByteArray("K-Frame XYZ") << text(u"K-Frame X"_s) << nothing;
        QTest::newRow("K Frame XP") << QByteArray("K Frame XP") << text(u"K Frame XP"_s) << nothing;
        QTest::newRow("XP-Frame") << QByteArray("XP-Frame") << text(u"XP-Frame"_s) << nothing;
        QTest::newRow("X Frame") << QByteArray("X Frame") << text(u"X Frame"_s) << nothing;
        QTest::newRow("K-Frame") << QByteArray("K-Frame") << text(u"K-Frame"_s) << nothing;
        QTest::newRow("Karrera") << QByteArray("Karrera") << text(u"Karrera"_s) << nothing;
        QTest::newRow("Korona and Karrera")
            << QByteArray("Korona Karrera") << text(u"Karrera"_s) << nothing;
        QTest::newRow("lower case model") << QByteArray("k-frame xp") << nothing << nothing;
        QTest::newRow("model inside a word")
            << QByteArray("MyKayenneBox") << text(u"Kayenne"_s) << nothing;

        // The version: a capital V and two or three numbers; the first match wins.
        QTest::newRow("V9.2") << QByteArray("V9.2") << nothing << text(u"V9.2"_s);
        QTest::newRow("four numbers") << QByteArray("V12.3.1.4") << nothing << text(u"V12.3.1"_s);
        QTest::newRow("first of two") << QByteArray("V9.2 V10.1.1") << nothing << text(u"V9.2"_s);
        QTest::newRow("one number") << QByteArray("V12 build 7") << nothing << nothing;
        QTest::newRow("trailing dot") << QByteArray("V12.") << nothing << nothing;
        QTest::newRow("lower case v") << QByteArray("v12.3.1") << nothing << nothing;
        QTest::newRow("version inside a word")
            << QByteArray("SWV3.10b") << nothing << text(u"V3.10"_s);
        QTest::newRow("version before name")
            << QByteArray("V2.0.11 Korona") << text(u"Korona"_s) << text(u"V2.0.11"_s);
        QTest::newRow("nothing known") << QByteArray("Frame") << nothing << nothing;
    }

    void scan()
    {
        QFETCH(QByteArray, reply);
        QFETCH(std::optional<QString>, name);
        QFETCH(std::optional<QString>, version);
        DebugLogger logger;
        logger.setEcho(nullptr);
        const FrameInfo info = scanFrameInfo(reply, logger);
        QCOMPARE(info.name, name);
        QCOMPARE(info.version, version);

        QStringList expected;
        expected.append(u"[INFO] parseFrameInfo scanning: "_s);
        for (char byte : reply) {
            const auto c = static_cast<unsigned char>(byte);
            expected.first().append(c >= 0x20 && c <= 0x7e ? QChar(char16_t{c}) : u' ');
        }
        expected.first() = expected.first().trimmed();
        if (version)
            expected.append(u"[INFO] Found version in packet: "_s + *version);
        if (name)
            expected.append(u"[INFO] Found frame type in packet: "_s + *name);
        QCOMPARE(loggedMessages(logger), expected);
    }

    void splitNameLogsTheBlank()
    {
        DebugLogger logger;
        logger.setEcho(nullptr);
        const FrameInfo info = scanFrameInfo(QByteArray("K-Fr" + bytes("00") + "ame"), logger);
        QCOMPARE(info.name, nothing);
        QCOMPARE(info.version, nothing);
        QCOMPARE(loggedMessages(logger),
                 QStringList(u"[INFO] parseFrameInfo scanning: K-Fr ame"_s));
    }

    void scanningLineShowsAtMost200Characters()
    {
        // 210 letters, then the model and version: found, though beyond what is logged.
        const QByteArray reply = QByteArray(210, 'a') + " Kayenne V1.2";
        DebugLogger logger;
        logger.setEcho(nullptr);
        const FrameInfo info = scanFrameInfo(reply, logger);
        QCOMPARE(info.name, text(u"Kayenne"_s));
        QCOMPARE(info.version, text(u"V1.2"_s));
        QCOMPARE(loggedMessages(logger),
                 QStringList({u"[INFO] parseFrameInfo scanning: "_s + QString(200, u'a'),
                              u"[INFO] Found version in packet: V1.2"_s,
                              u"[INFO] Found frame type in packet: Kayenne"_s}));
    }

    void scanningLineCountsAfterTrimming()
    {
        // Leading binary bytes are trimmed before the 200 characters are taken.
        const QByteArray reply = QByteArray(50, '\0') + QByteArray(199, 'b') + "cd";
        DebugLogger logger;
        logger.setEcho(nullptr);
        scanFrameInfo(reply, logger);
        QCOMPARE(loggedMessages(logger),
                 QStringList(u"[INFO] parseFrameInfo scanning: "_s + QString(199, u'b') + u'c'));
    }

    void emptyReply()
    {
        DebugLogger logger;
        logger.setEcho(nullptr);
        const FrameInfo info = scanFrameInfo(QByteArrayView(), logger);
        QCOMPARE(info.name, nothing);
        QCOMPARE(info.version, nothing);
        QCOMPARE(loggedMessages(logger), QStringList(u"[INFO] parseFrameInfo scanning: "_s));
    }

    void onlyBinaryBytes()
    {
        DebugLogger logger;
        logger.setEcho(nullptr);
        const FrameInfo info = scanFrameInfo(bytes("00 01 fd 00 ff 80 1f"), logger);
        QCOMPARE(info.name, nothing);
        QCOMPARE(info.version, nothing);
        QCOMPARE(loggedMessages(logger), QStringList(u"[INFO] parseFrameInfo scanning: "_s));
    }
};

QTEST_GUILESS_MAIN(TestFrameInfoDecoder)
#include "tst_frame_info_decoder.moc"
