// What the debug log panel shows of the log: the level filters, control characters made visible,
// search matches and stepping through them, and the count of lines held back by a pause.
#include "editing/log_view_filter.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace quorvane;

namespace {
// A line as the logger writes it.
QString line(const QString& level, const QString& message)
{
    return u"[14:03:07.512] ["_s + level + u"] "_s + message;
}
} // namespace

class TestLogViewFilter : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theFiltersAreNamedForTheReader()
    {
        QStringList names;
        for (LogFilter filter : logFilters)
            names.append(logFilterText(filter));
        QCOMPARE(names, QStringList({u"All"_s, u"Info and above"_s, u"Warnings and errors"_s}));
    }

    void aLinesLevelIsItsMarkerAfterTheTimeStamp()
    {
        QCOMPARE(logLineLevel(line(u"INFO"_s, u"Connected"_s)), LogLevel::info);
        QCOMPARE(logLineLevel(line(u"WARN"_s, u"Unknown bus field: 0x60"_s)), LogLevel::warn);
        QCOMPARE(logLineLevel(line(u"ERROR"_s, u"sendTo FAILED"_s)), LogLevel::error);
        QCOMPARE(logLineLevel(line(u"HEX"_s, u"Write command: [2 bytes] 00 04"_s)), LogLevel::hex);
        // A message that quotes another marker keeps its own level.
        QCOMPARE(logLineLevel(line(u"INFO"_s, u"peer said [ERROR] twice"_s)), LogLevel::info);
        QCOMPARE(logLineLevel(line(u"DEBUG"_s, u"x"_s)), std::nullopt);
        QCOMPARE(logLineLevel(u"[WARN] no time stamp"_s), std::nullopt);
        QCOMPARE(logLineLevel(QString()), std::nullopt);
    }

    void theFiltersAdmitTheirLevels_data()
    {
        QTest::addColumn<QString>("level");
        QTest::addColumn<bool>("all");
        QTest::addColumn<bool>("infoAndAbove");
        QTest::addColumn<bool>("warningsAndErrors");
        QTest::newRow("INFO") << u"INFO"_s << true << true << false;
        QTest::newRow("HEX") << u"HEX"_s << true << false << false;
        QTest::newRow("WARN") << u"WARN"_s << true << true << true;
        QTest::newRow("ERROR") << u"ERROR"_s << true << true << true;
    }
    void theFiltersAdmitTheirLevels()
    {
        QFETCH(QString, level);
        const QString logged = line(level, u"message"_s);
        QTEST(logFilterAdmits(LogFilter::all, logged), "all");
        QTEST(logFilterAdmits(LogFilter::infoAndAbove, logged), "infoAndAbove");
        QTEST(logFilterAdmits(LogFilter::warningsAndErrors, logged), "warningsAndErrors");
    }

    void aLineOutsideTheFormatCountsAsInformation()
    {
        QVERIFY(logFilterAdmits(LogFilter::all, u"plain text"_s));
        QVERIFY(logFilterAdmits(LogFilter::infoAndAbove, u"plain text"_s));
        QVERIFY(!logFilterAdmits(LogFilter::warningsAndErrors, u"plain text"_s));
        QVERIFY(
            !logFilterAdmits(LogFilter::warningsAndErrors, line(u"HEX"_s, u"quoting [ERROR]"_s)));
    }

    void controlCharactersBecomeVisibleEscapes_data()
    {
        QTest::addColumn<QString>("logged");
        QTest::addColumn<QString>("shown");
        QTest::newRow("plain") << u"Source 12: CAM 1"_s << u"Source 12: CAM 1"_s;
        QTest::newRow("line feed") << u"a\nb"_s << u"a\\nb"_s;
        QTest::newRow("carriage return") << u"a\r\nb"_s << u"a\\r\\nb"_s;
        QTest::newRow("tab") << u"a\tb"_s << u"a\\tb"_s;
        QTest::newRow("bell and nul") << QString(u"x\x07y\0z"_s) << u"x\\x07y\\x00z"_s;
        QTest::newRow("escape and DEL") << u"\x1b[0m\x7f"_s << u"\\x1b[0m\\x7f"_s;
        QTest::newRow("C1 control") << QString(QChar(0x85)) << u"\\x85"_s;
        QTest::newRow("line separator") << QString(QChar(0x2028)) << u"\\u2028"_s;
        QTest::newRow("paragraph separator") << QString(QChar(0x2029)) << u"\\u2029"_s;
        QTest::newRow("printable neighbours") << u"~ \u00a0\u00e9"_s << u"~ \u00a0\u00e9"_s;
        QTest::newRow("backslash stays") << u"C:\\x07"_s << u"C:\\x07"_s;
    }
    void controlCharactersBecomeVisibleEscapes()
    {
        QFETCH(QString, logged);
        QFETCH(QString, shown);
        QCOMPARE(visibleLogText(logged), shown);
    }

    void searchIgnoresCaseAndFindsEveryOccurrence()
    {
        QCOMPARE(searchMatches(u"Heartbeat ACK; heartbeat ok"_s, u"HEART"_s),
                 QList<qsizetype>({0, 15}));
        QCOMPARE(searchMatches(u"aaaa"_s, u"aa"_s), QList<qsizetype>({0, 2}));
        QCOMPARE(searchMatches(u"Connected"_s, u"frame"_s), QList<qsizetype>());
        QCOMPARE(searchMatches(u"Connected"_s, QString()), QList<qsizetype>());
        // The shown text is searched: an escape can be found as it is written.
        QCOMPARE(searchMatches(visibleLogText(u"name\x07"_s), u"\\x07"_s), QList<qsizetype>({4}));
    }

    void steppingWrapsAround()
    {
        QCOMPARE(nextMatch(0, 3), 1);
        QCOMPARE(nextMatch(2, 3), 0);
        QCOMPARE(nextMatch(-1, 3), 0);
        QCOMPARE(previousMatch(1, 3), 0);
        QCOMPARE(previousMatch(0, 3), 2);
        QCOMPARE(previousMatch(-1, 3), 2);
        QCOMPARE(nextMatch(0, 0), -1);
        QCOMPARE(previousMatch(0, 0), -1);
        // A current match past a shrunken list starts again from an end.
        QCOMPARE(nextMatch(7, 3), 0);
        QCOMPARE(previousMatch(7, 3), 2);
    }

    void theMatchCountNamesTheCurrentMatch()
    {
        QCOMPARE(matchCountText(u"cam"_s, 2, 12), u"3 of 12"_s);
        QCOMPARE(matchCountText(u"cam"_s, -1, 0), u"No matches"_s);
        QCOMPARE(matchCountText(QString(), -1, 0), QString());
    }

    void aPauseCountsTheLinesThatArrive()
    {
        LogPause pause;
        QVERIFY(!pause.isPaused());
        pause.linesArrived(4);
        QCOMPARE(pause.newLines(), 0);
        QCOMPARE(pause.newLinesText(), QString());

        pause.pause();
        QVERIFY(pause.isPaused());
        QCOMPARE(pause.newLinesText(), QString());
        pause.linesArrived(1);
        QCOMPARE(pause.newLinesText(), u"1 new line"_s);
        pause.linesArrived(4);
        QCOMPARE(pause.newLines(), 5);
        QCOMPARE(pause.newLinesText(), u"5 new lines"_s);
        pause.setNewLines(2);
        QCOMPARE(pause.newLinesText(), u"2 new lines"_s);

        pause.resume();
        QVERIFY(!pause.isPaused());
        QCOMPARE(pause.newLinesText(), QString());
        pause.pause();
        QCOMPARE(pause.newLines(), 0);
    }
};

QTEST_GUILESS_MAIN(TestLogViewFilter)
#include "tst_log_view_filter.moc"
