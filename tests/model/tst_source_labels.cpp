#include "diagnostics/debug_logger.h"
#include "model/source_labels.h"
#include "test_support.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace quorvane;
using quorvane::test::loggedMessages;

namespace {
const QString notFound = u"[INFO] source_labels.csv not found, internal source labels not loaded"_s;

bool writeFile(const QString& path, const QByteArray& content)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return false;
    return file.write(content) == content.size();
}
} // namespace

class TestSourceLabels : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void parse_data()
    {
        QTest::addColumn<QString>("csv");
        QTest::addColumn<InternalSourceLabels>("labels");

        QTest::newRow("header only") << u"number,label"_s << InternalSourceLabels{};
        QTest::newRow("header and newline") << u"number,label\n"_s << InternalSourceLabels{};
        QTest::newRow("empty") << QString() << InternalSourceLabels{};
        QTest::newRow("fields trimmed, third ignored")
            << u"number,label\n1000, Black , extra\n"_s << InternalSourceLabels{{1000, u"Black"_s}};
        QTest::newRow("inner blanks kept") << u"h\n 702 ,\tColour Bars 100% \n"_s
                                           << InternalSourceLabels{{702, u"Colour Bars 100%"_s}};
        QTest::newRow("not a number")
            << u"h\nabc,Label\n701,Bars\n"_s << InternalSourceLabels{{701, u"Bars"_s}};
        QTest::newRow("no comma") << u"h\n12\n701,Bars"_s << InternalSourceLabels{{701, u"Bars"_s}};
        QTest::newRow("first line is data")
            << u"700,Black\n701,Bars\n"_s << InternalSourceLabels{{701, u"Bars"_s}};
        QTest::newRow("LF") << u"h\n700,Black\n701,Bars\n"_s
                            << InternalSourceLabels{{700, u"Black"_s}, {701, u"Bars"_s}};
        QTest::newRow("CRLF") << u"h\r\n700,Black\r\n701,Bars\r\n"_s
                              << InternalSourceLabels{{700, u"Black"_s}, {701, u"Bars"_s}};
        QTest::newRow("CR") << u"h\r700,Black\r701,Bars\r"_s
                            << InternalSourceLabels{{700, u"Black"_s}, {701, u"Bars"_s}};
        QTest::newRow("blank lines") << u"h\n\n700,Black\n\n\n701,Bars"_s
                                     << InternalSourceLabels{{700, u"Black"_s}, {701, u"Bars"_s}};
        QTest::newRow("later duplicate wins")
            << u"h\n700,Black\n701,Bars\n700,Schwarz\n"_s
            << InternalSourceLabels{{700, u"Schwarz"_s}, {701, u"Bars"_s}};
        // An empty label is skipped rather than stored: it would only hide the engineering
        // name behind a blank cell.
        QTest::newRow("empty label")
            << u"h\n700,\n701,  \n702,Bars\n"_s << InternalSourceLabels{{702, u"Bars"_s}};
        QTest::newRow("empty label keeps earlier")
            << u"h\n700,Black\n700,\n"_s << InternalSourceLabels{{700, u"Black"_s}};
        QTest::newRow("plus sign") << u"h\n+12,Plus\n"_s << InternalSourceLabels{{12, u"Plus"_s}};
        QTest::newRow("minus sign")
            << u"h\n-3,Minus\n701,Bars\n"_s << InternalSourceLabels{{701, u"Bars"_s}};
        QTest::newRow("minus zero") << u"h\n-0,Zero\n"_s << InternalSourceLabels{};
        QTest::newRow("leading zeros")
            << u"h\n0700,Black\n"_s << InternalSourceLabels{{700, u"Black"_s}};
        QTest::newRow("trailing letter") << u"h\n12x,Bad\n"_s << InternalSourceLabels{};
        QTest::newRow("inner blank") << u"h\n1 2,Bad\n"_s << InternalSourceLabels{};
        QTest::newRow("hexadecimal") << u"h\n0x10,Bad\n"_s << InternalSourceLabels{};
        QTest::newRow("decimal point") << u"h\n12.0,Bad\n"_s << InternalSourceLabels{};
        QTest::newRow("sign alone") << u"h\n+,Bad\n"_s << InternalSourceLabels{};
        QTest::newRow("empty number") << u"h\n,Bad\n"_s << InternalSourceLabels{};
        QTest::newRow("too large") << u"h\n99999999999,Bad\n"_s << InternalSourceLabels{};
        // Only source numbers carry labels: 0 is an unassigned button, and the frame's source
        // numbers are 16-bit.
        QTest::newRow("source numbers")
            << u"h\n0,Zero\n1,First\n65535,Last\n65536,Past\n"_s
            << InternalSourceLabels{{1, u"First"_s}, {65535, u"Last"_s}};
        QTest::newRow("largest int") << u"h\n2147483647,Max\n"_s << InternalSourceLabels{};
        // Read as 32 bits, these would wrap to 700 and -700.
        QTest::newRow("wraps around 32 bits")
            << u"h\n4294967996,Wraps\n4294966596,Wraps\n18446744073709551616,Wraps\n"_s
            << InternalSourceLabels{};
        QTest::newRow("quotes are text")
            << u"h\n700,\"Black\"\n"_s << InternalSourceLabels{{700, u"\"Black\""_s}};
        QTest::newRow("non-ASCII label")
            << u"h\n700,Schwarz \u00dc\n"_s << InternalSourceLabels{{700, u"Schwarz \u00dc"_s}};
    }

    void parse()
    {
        QFETCH(QString, csv);
        QFETCH(InternalSourceLabels, labels);
        QCOMPARE(parseSourceLabels(csv), labels);
    }

    void headerOnlyFileLoadsNothing()
    {
        QTemporaryDir dir;
        QVERIFY(dir.isValid());
        const QString path = dir.filePath(u"source_labels.csv"_s);
        QVERIFY(writeFile(path, "number,label\n"));
        DebugLogger logger;
        logger.setEcho(nullptr);

        QCOMPARE(loadInternalSourceLabels({path}, logger), InternalSourceLabels{});
        QCOMPARE(loggedMessages(logger),
                 QStringList(u"[INFO] Loaded 0 internal source labels from CSV"_s));
    }

    void lineEndingsLoadAlike_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::newRow("LF") << QByteArray("number,label\n1000, Black , extra\n1001,Bars\n");
        QTest::newRow("CRLF") << QByteArray("number,label\r\n1000, Black , extra\r\n1001,Bars\r\n");
        QTest::newRow("no final newline") << QByteArray("number,label\n1000,Black\n1001,Bars");
    }

    void lineEndingsLoadAlike()
    {
        QFETCH(QByteArray, content);
        QTemporaryDir dir;
        QVERIFY(dir.isValid());
        const QString path = dir.filePath(u"source_labels.csv"_s);
        QVERIFY(writeFile(path, content));
        DebugLogger logger;
        logger.setEcho(nullptr);

        QCOMPARE(loadInternalSourceLabels({path}, logger),
                 InternalSourceLabels({{1000, u"Black"_s}, {1001, u"Bars"_s}}));
        QCOMPARE(loggedMessages(logger),
                 QStringList(u"[INFO] Loaded 2 internal source labels from CSV"_s));
    }

    void fileIsReadAsUtf8()
    {
        QTemporaryDir dir;
        QVERIFY(dir.isValid());
        const QString path = dir.filePath(u"source_labels.csv"_s);
        QVERIFY(writeFile(path, "number,label\n700,Schwarz \xc3\x9c\n"));
        DebugLogger logger;
        logger.setEcho(nullptr);

        QCOMPARE(loadInternalSourceLabels({path}, logger),
                 InternalSourceLabels({{700, u"Schwarz \u00dc"_s}}));
    }

    void firstExistingLocationWins()
    {
        QTemporaryDir dir;
        QVERIFY(dir.isValid());
        const QString first = dir.filePath(u"first.csv"_s);
        const QString second = dir.filePath(u"second.csv"_s);
        QVERIFY(writeFile(first, "h\n700,First\n"));
        QVERIFY(writeFile(second, "h\n700,Second\n701,Only second\n"));
        DebugLogger logger;
        logger.setEcho(nullptr);

        QCOMPARE(loadInternalSourceLabels({first, second}, logger),
                 InternalSourceLabels({{700, u"First"_s}}));
        QCOMPARE(loggedMessages(logger),
                 QStringList(u"[INFO] Loaded 1 internal source labels from CSV"_s));
    }

    void missingFirstLocationFallsToTheSecond()
    {
        QTemporaryDir dir;
        QVERIFY(dir.isValid());
        const QString second = dir.filePath(u"second.csv"_s);
        QVERIFY(writeFile(second, "h\n700,Second\n701,Only second\n"));
        DebugLogger logger;
        logger.setEcho(nullptr);

        QCOMPARE(loadInternalSourceLabels({dir.filePath(u"missing.csv"_s), second}, logger),
                 InternalSourceLabels({{700, u"Second"_s}, {701, u"Only second"_s}}));
        QCOMPARE(loggedMessages(logger),
                 QStringList(u"[INFO] Loaded 2 internal source labels from CSV"_s));
    }

    void noLocationExists()
    {
        QTemporaryDir dir;
        QVERIFY(dir.isValid());
        DebugLogger logger;
        logger.setEcho(nullptr);

        QCOMPARE(loadInternalSourceLabels(
                     {dir.filePath(u"a.csv"_s), dir.filePath(u"docs/source_labels.csv"_s)}, logger),
                 InternalSourceLabels{});
        QCOMPARE(loggedMessages(logger), QStringList(notFound));
    }

    void noLocationsAtAll()
    {
        DebugLogger logger;
        logger.setEcho(nullptr);
        QCOMPARE(loadInternalSourceLabels({}, logger), InternalSourceLabels{});
        QCOMPARE(loggedMessages(logger), QStringList(notFound));
    }

    void unreadableLocationIsReported()
    {
        // A directory exists but cannot be read as a file. The error stops the search: the
        // second location is not tried.
        QTemporaryDir dir;
        QVERIFY(dir.isValid());
        const QString directory = dir.filePath(u"source_labels.csv"_s);
        QVERIFY(QDir(dir.path()).mkdir(u"source_labels.csv"_s));
        const QString second = dir.filePath(u"second.csv"_s);
        QVERIFY(writeFile(second, "h\n700,Second\n"));
        DebugLogger logger;
        logger.setEcho(nullptr);

        QCOMPARE(loadInternalSourceLabels({directory, second}, logger), InternalSourceLabels{});
        // The description is the platform's own ("file to open is a directory" here).
        QFile asFile(directory);
        QVERIFY(!asFile.open(QIODevice::ReadOnly));
        const QString description = asFile.errorString();
        QVERIFY(!description.isEmpty());
        QCOMPARE(loggedMessages(logger),
                 QStringList(u"[ERROR] Failed to load source_labels.csv: "_s + description));
    }

    void defaultLocations()
    {
        QCOMPARE(defaultSourceLabelsLocations(),
                 QStringList({u":/source_labels.csv"_s,
                              QDir::currentPath() + u"/docs/source_labels.csv"_s}));
    }

    void shippedLabelsLoad()
    {
        DebugLogger logger;
        logger.setEcho(nullptr);
        const InternalSourceLabels labels =
            loadInternalSourceLabels({u":/source_labels.csv"_s}, logger);
        QVERIFY2(labels.size() >= 20, qPrintable(QString::number(labels.size())));
        for (auto it = labels.cbegin(); it != labels.cend(); ++it) {
            QVERIFY2(it.key() >= 700, qPrintable(QString::number(it.key())));
            QVERIFY2(!it.value().isEmpty(), qPrintable(QString::number(it.key())));
        }
        QCOMPARE(loggedMessages(logger),
                 QStringList(u"[INFO] Loaded "_s + QString::number(labels.size()) +
                             u" internal source labels from CSV"_s));
    }

    void shippedLabelsComeFirst()
    {
        // The built-in copy is found even when the working directory has its own file.
        QTemporaryDir dir;
        QVERIFY(dir.isValid());
        QVERIFY(QDir(dir.path()).mkdir(u"docs"_s));
        QVERIFY(writeFile(dir.filePath(u"docs/source_labels.csv"_s), "h\n700,Local\n"));
        const QString previous = QDir::currentPath();
        QVERIFY(QDir::setCurrent(dir.path()));
        DebugLogger logger;
        logger.setEcho(nullptr);
        const InternalSourceLabels labels =
            loadInternalSourceLabels(defaultSourceLabelsLocations(), logger);
        QVERIFY(QDir::setCurrent(previous));

        QVERIFY(labels.size() >= 20);
        QCOMPARE_NE(labels.value(700), u"Local"_s);
    }
};

QTEST_GUILESS_MAIN(TestSourceLabels)
#include "tst_source_labels.moc"
