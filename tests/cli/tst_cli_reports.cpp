// The tool's pieces that need no frame: what it prints, what it compares, how it reads and
// writes show files, and how the log reaches standard error.
#include "comparison.h"
#include "console.h"
#include "diagnostics/debug_logger.h"
#include "log_relay.h"
#include "report_lines.h"
#include "show_io.h"

#include <QBuffer>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace quorvane;
using namespace quorvane::cli;

namespace {

bool save(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

ShowButton button(Bus bus, int shift, int number, qint64 source, const QString& name = {})
{
    return ShowButton{bus, shift, number, source, name};
}

QString namer(qint64 source)
{
    if (source == 7)
        return u"CAM 7"_s;
    if (source == 1042)
        return u"VT 1"_s;
    return QString();
}

CliOptions optionsFor(const QString& file)
{
    CliOptions options;
    options.command = Command::diff;
    options.host = u"10.0.0.7"_s;
    options.file = file;
    return options;
}

ShowFile showOf(QList<ShowButton> buttons, int buttonCount = 35, int suite = 1)
{
    ShowFile file;
    file.buttonCount = buttonCount;
    file.suite = suite;
    file.buttons = std::move(buttons);
    return file;
}

} // namespace

class TestCliReports : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void differenceLines()
    {
        const ShowDifference changed{button(Bus::pgm, 2, 3, 1042, u"Replay 1"_s),
                                     button(Bus::pgm, 2, 3, 7)};
        // The file names 1042 otherwise than the frame: said, though it decides nothing.
        QCOMPARE(differenceLine(changed, namer),
                 u"PGM shift 2 button 3: frame 7 (CAM 7), file 1042 (Replay 1); the file names "
                 u"1042 \"Replay 1\", the frame \"VT 1\""_s);
        const ShowDifference sameName{button(Bus::pgm, 2, 4, 1042, u"VT 1"_s),
                                      button(Bus::pgm, 2, 4, 7)};
        QCOMPARE(differenceLine(sameName, namer),
                 u"PGM shift 2 button 4: frame 7 (CAM 7), file 1042 (VT 1)"_s);
        // Without a name in the file, the frame's name for the file's source.
        const ShowDifference assigned{button(Bus::me1, 1, 35, 1042), std::nullopt};
        QCOMPARE(differenceLine(assigned, namer),
                 u"ME1 shift 1 button 35: frame 0 (unassigned), file 1042 (VT 1)"_s);
        const ShowDifference cleared{button(Bus::aux, 4, 1, 0), button(Bus::aux, 4, 1, 55)};
        QCOMPARE(differenceLine(cleared, namer),
                 u"AUX shift 4 button 1: frame 55, file 0 (unassigned)"_s);
    }

    void namesThatDifferAreMentionedOnly()
    {
        QCOMPARE(sameSourceNameLine(button(Bus::me2, 1, 4, 7, u"CAM 7"_s), namer), std::nullopt);
        QCOMPARE(sameSourceNameLine(button(Bus::me2, 1, 4, 7), namer), std::nullopt);
        QCOMPARE(sameSourceNameLine(button(Bus::me2, 1, 4, 7, u"Cam seven"_s), namer),
                 u"ME2 shift 1 button 4: same source; the file names 7 \"Cam seven\", the frame "
                 u"\"CAM 7\""_s);
        QCOMPARE(nameNote(button(Bus::me2, 1, 4, 4321, u"Guest"_s), namer),
                 u"the file names 4321 \"Guest\", the frame has no name for it"_s);
    }

    void writeLines()
    {
        const TrackedWrite confirmed{.wanted = button(Bus::me3, 1, 2, 7),
                                     .frameSource = 7,
                                     .outcome = WriteOutcome::confirmed};
        QCOMPARE(writeLine(confirmed, namer), u"confirmed ME3 shift 1 button 2: 7 (CAM 7)"_s);
        const TrackedWrite silent{.wanted = button(Bus::me3, 1, 3, 0),
                                  .frameSource = std::nullopt,
                                  .outcome = WriteOutcome::notConfirmed};
        QCOMPARE(writeLine(silent, namer),
                 u"unconfirmed ME3 shift 1 button 3: 0 (unassigned), the frame did not answer"_s);
        const TrackedWrite refused{.wanted = button(Bus::me4, 2, 1, 1042, u"Replay"_s),
                                   .frameSource = 7,
                                   .outcome = WriteOutcome::refused};
        QCOMPARE(writeLine(refused, namer),
                 u"unconfirmed ME4 shift 2 button 1: 1042 (Replay), the frame reports 7 (CAM 7)"_s);
        QCOMPARE(writeLine(silent, namer, u"no answer before the interruption"_s),
                 u"unconfirmed ME3 shift 1 button 3: 0 (unassigned), no answer before the "
                 u"interruption"_s);
        QCOMPARE(neverSentLine(button(Bus::aux, 4, 35, 1042), namer),
                 u"never sent AUX shift 4 button 35: 1042 (VT 1)"_s);
    }

    void readBackLines()
    {
        const ShowButton wanted = button(Bus::pgm, 2, 3, 1042);
        const ShowDifference kept{wanted, button(Bus::pgm, 2, 3, 7)};
        const TrackedWrite confirmed{
            .wanted = wanted, .frameSource = 1042, .outcome = WriteOutcome::confirmed};
        QCOMPARE(readBackLine(confirmed, std::nullopt, namer),
                 u"holds PGM shift 2 button 3: 1042 (VT 1)"_s);
        QCOMPARE(readBackLine(confirmed, kept, namer),
                 u"differs PGM shift 2 button 3: frame 7 (CAM 7), file 1042 (VT 1); the write was "
                 u"confirmed"_s);
        const TrackedWrite refused{
            .wanted = wanted, .frameSource = 7, .outcome = WriteOutcome::refused};
        QCOMPARE(readBackLine(refused, kept, namer),
                 u"differs PGM shift 2 button 3: frame 7 (CAM 7), file 1042 (VT 1); the frame "
                 u"reported 7 (CAM 7) for the write"_s);
        const TrackedWrite silent{
            .wanted = wanted, .frameSource = std::nullopt, .outcome = WriteOutcome::notConfirmed};
        QCOMPARE(readBackLine(silent, kept, namer),
                 u"differs PGM shift 2 button 3: frame 7 (CAM 7), file 1042 (VT 1); the frame did "
                 u"not answer the write"_s);
        // Taken after all, though its answer was lost: what the frame holds decides.
        QCOMPARE(readBackLine(silent, std::nullopt, namer),
                 u"holds PGM shift 2 button 3: 1042 (VT 1)"_s);
    }

    void comparedBusesAreTheListedOnesUnlessNamed()
    {
        const ShowFile file = showOf(
            {button(Bus::pgm, 1, 1, 5), button(Bus::me2, 1, 1, 6), button(Bus::pgm, 1, 2, 8)});
        auto planned = planComparison(optionsFor(u"f.json"_s), file, ShowFormat::json);
        QVERIFY(std::holds_alternative<ComparisonPlan>(planned));
        ComparisonPlan plan = std::get<ComparisonPlan>(planned);
        QCOMPARE(plan.buses, QList<Bus>({Bus::me2, Bus::pgm}));
        QCOMPARE(plan.file.buttons.size(), 3);
        QCOMPARE(plan.ignoredButtons, 0);

        CliOptions options = optionsFor(u"f.json"_s);
        options.buses = {Bus::pgm, Bus::aux};
        planned = planComparison(options, file, ShowFormat::json);
        plan = std::get<ComparisonPlan>(planned);
        QCOMPARE(plan.buses, QList<Bus>({Bus::pgm, Bus::aux}));
        QCOMPARE(plan.file.buttons,
                 QList<ShowButton>({button(Bus::pgm, 1, 1, 5), button(Bus::pgm, 1, 2, 8)}));
        QCOMPARE(plan.ignoredButtons, 1);
    }

    void suiteAndCountComeFromAJsonFile()
    {
        const ShowFile file = showOf({button(Bus::pgm, 1, 1, 5)}, 20, 3);
        auto plan = std::get<ComparisonPlan>(
            planComparison(optionsFor(u"f.json"_s), file, ShowFormat::json));
        QCOMPARE(plan.target.buttonCount, 20);
        QCOMPARE(plan.target.suite, 3);
        QCOMPARE(plan.target.host, u"10.0.0.7"_s);

        CliOptions options = optionsFor(u"f.json"_s);
        options.suite = 1; // another suite of the same width is fine: a copy between panels
        plan = std::get<ComparisonPlan>(planComparison(options, file, ShowFormat::json));
        QCOMPARE(plan.target.suite, 1);

        options.buttonCount = 35;
        const auto refused = planComparison(options, file, ShowFormat::json);
        QCOMPARE(
            std::get<QString>(refused),
            u"f.json was read from a 20-button panel; it cannot be compared at --buttons 35"_s);
    }

    void aCsvFileTakesTheCommandLine()
    {
        const ShowFile file = showOf({button(Bus::pgm, 1, 1, 5)}, 15, 1);
        CliOptions options = optionsFor(u"f.csv"_s);
        options.buttonCount = 15;
        options.suite = 4;
        const auto plan = std::get<ComparisonPlan>(planComparison(options, file, ShowFormat::csv));
        QCOMPARE(plan.target.buttonCount, 15);
        QCOMPARE(plan.target.suite, 4);
    }

    void anEmptyFileNeedsNamedBuses()
    {
        const auto refused =
            planComparison(optionsFor(u"empty.json"_s), showOf({}), ShowFormat::json);
        QCOMPARE(std::get<QString>(refused),
                 u"empty.json lists no buttons: name the buses to compare it with, with --bus "
                 u"(on them every assigned button then differs)"_s);
        CliOptions options = optionsFor(u"empty.json"_s);
        options.buses = {Bus::aux};
        const auto plan =
            std::get<ComparisonPlan>(planComparison(options, showOf({}), ShowFormat::json));
        const QList<ShowDifference> found =
            compareWithFrame({button(Bus::aux, 1, 1, 9), button(Bus::pgm, 1, 1, 9)}, plan);
        QCOMPARE(found,
                 QList<ShowDifference>({{button(Bus::aux, 1, 1, 0), button(Bus::aux, 1, 1, 9)}}));
    }

    void unlistedButtonsAreUnassignedUnlessListedOnly()
    {
        const ShowFile file = showOf({button(Bus::pgm, 1, 1, 5), button(Bus::pgm, 1, 3, 9)});
        const QList<ShowButton> frame{button(Bus::pgm, 1, 1, 5), button(Bus::pgm, 1, 2, 6),
                                      button(Bus::me1, 1, 1, 4)};
        CliOptions options = optionsFor(u"f.json"_s);
        auto plan = std::get<ComparisonPlan>(planComparison(options, file, ShowFormat::json));
        QCOMPARE(compareWithFrame(frame, plan),
                 QList<ShowDifference>({{button(Bus::pgm, 1, 2, 0), button(Bus::pgm, 1, 2, 6)},
                                        {button(Bus::pgm, 1, 3, 9), std::nullopt}}));

        options.listedOnly = true;
        plan = std::get<ComparisonPlan>(planComparison(options, file, ShowFormat::json));
        QCOMPARE(compareWithFrame(frame, plan),
                 QList<ShowDifference>({{button(Bus::pgm, 1, 3, 9), std::nullopt}}));
    }

    void formatFromNameOrChoice()
    {
        QCOMPARE(showFormatFor(u"show.csv"_s, std::nullopt), ShowFormat::csv);
        QCOMPARE(showFormatFor(u"SHOW.CSV"_s, std::nullopt), ShowFormat::csv);
        QCOMPARE(showFormatFor(u"show.json"_s, std::nullopt), ShowFormat::json);
        QCOMPARE(showFormatFor(QString(), std::nullopt), ShowFormat::json);
        QCOMPARE(showFormatFor(u"show.txt"_s, ShowFormat::csv), ShowFormat::csv);
        QCOMPARE(showFormatFor(u"show.csv"_s, ShowFormat::json), ShowFormat::json);
    }

    void showFilesRoundTrip()
    {
        QTemporaryDir dir;
        QVERIFY(dir.isValid());
        ShowFile show = showOf({button(Bus::me1, 1, 1, 7, u"CAM 7"_s),
                                button(Bus::aux, 4, 20, 1042, u"VT, \"one\""_s)},
                               20, 2);
        show.frameName = u"K-Frame XP"_s;
        const QString json = dir.filePath(u"show.json"_s);
        QVERIFY(save(json, encodeShowFile(show, ShowFormat::json)));
        ShowFileRead read = readShowFile(json, ShowFormat::json, 35);
        QVERIFY(read.problem.isEmpty());
        QCOMPARE(read.file, show);

        const QString csv = dir.filePath(u"show.csv"_s);
        QVERIFY(save(csv, encodeShowFile(show, ShowFormat::csv)));
        read = readShowFile(csv, ShowFormat::csv, 20);
        QVERIFY(read.file);
        QCOMPARE(read.file->buttons, show.buttons);
        QCOMPARE(read.file->buttonCount, 20);
    }

    void problemsInOneLine()
    {
        QTemporaryDir dir;
        const QString path = dir.filePath(u"bad.json"_s);
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(R"({
  "format": "quorvane-show",
  "version": 1,
  "frame": { "name": "", "version": "", "address": "" },
  "suite": 1,
  "buttonCount": 35,
  "buttons": [
    { "bus": "ME1", "shift": 5, "button": 1, "source": 7, "name": "" },
    { "bus": "ME9", "shift": 1, "button": 1, "source": 7, "name": "" }
  ]
}
)");
        file.close();
        const ShowFileRead read = readShowFile(path, ShowFormat::json, 35);
        QVERIFY(!read.file);
        QCOMPARE(read.problem, path + u" is not a valid JSON show file: line 8 (buttons[0]): "
                                      u"shift 5 is outside 1-4 (and 1 more problem)"_s);
        QCOMPARE(read.problems.size(), 2);

        const ShowFileRead missing =
            readShowFile(dir.filePath(u"none.json"_s), ShowFormat::json, 35);
        QVERIFY(!missing.file);
        QVERIFY(
            missing.problem.startsWith(u"cannot read "_s + dir.filePath(u"none.json"_s) + u": "_s));
    }

    void theVerboseLogGoesToTheErrorStreamWhole()
    {
        DebugLogger logger;
        logger.setEcho(nullptr);
        QBuffer out;
        QBuffer err;
        out.open(QIODevice::WriteOnly);
        err.open(QIODevice::WriteOnly);
        Console console(out, err, false);
        {
            LogRelay relay(logger, console);
            logger.info(u"one"_s);
            logger.hexDump(u"Write"_s, QByteArray("\x00\x04", 2));
            logger.warn(u"two"_s);
            // Printing lets the log catch up first: the order of events is kept.
            console.error(u"three"_s);
        }
        QStringList lines = QString::fromUtf8(err.data()).split(u'\n', Qt::SkipEmptyParts);
        QCOMPARE(lines.size(), 4);
        for (qsizetype i = 0; i < 3; ++i)
            lines[i].remove(0, 15); // "[HH:mm:ss.zzz] "
        QCOMPARE(lines, QStringList({u"[INFO] one"_s, u"[HEX] Write: [2 bytes] 00 04"_s,
                                     u"[WARN] two"_s, u"quorvane-cli: three"_s}));
        QCOMPARE(out.data(), QByteArray());
    }

    void progressOnATerminalIsOneLineRewritten()
    {
        QBuffer out;
        QBuffer err;
        out.open(QIODevice::WriteOnly);
        err.open(QIODevice::WriteOnly);
        Console console(out, err, true);
        console.progress(u"Loading ME1 … 10/140 buttons"_s);
        console.progress(u"Loading ME1 … 10/140 buttons"_s); // unchanged: not written again
        console.progress(u"Loading ME1 … 140/140 buttons"_s);
        console.note(u"Loaded ME1: 140/140 buttons"_s);
        console.progress(u"Loading ME2 … 20/140 buttons"_s);
        console.error(u"ME2 shift 3: buttons 17-20 did not answer"_s);
        console.result(u"result"_s);
        QCOMPARE(QString::fromUtf8(err.data()),
                 u"\r\x1b[KLoading ME1 … 10/140 buttons"
                 u"\r\x1b[KLoading ME1 … 140/140 buttons"
                 u"\r\x1b[KLoaded ME1: 140/140 buttons\n"
                 u"\r\x1b[KLoading ME2 … 20/140 buttons"
                 u"\r\x1b[Kquorvane-cli: ME2 shift 3: buttons 17-20 did not answer\n"_s);
        QCOMPARE(out.data(), QByteArray("result\n"));
    }

    void progressElsewhereIsMilestonesOnly()
    {
        QBuffer out;
        QBuffer err;
        out.open(QIODevice::WriteOnly);
        err.open(QIODevice::WriteOnly);
        Console console(out, err, false);
        console.progress(u"Loading ME1 … 10/140 buttons"_s);
        console.note(u"Loaded ME1: 140/140 buttons"_s);
        console.error(u"failed"_s);
        QCOMPARE(err.data(), QByteArray("Loaded ME1: 140/140 buttons\nquorvane-cli: failed\n"));
    }

    void quietLeavesOnlyErrors()
    {
        QBuffer out;
        QBuffer err;
        out.open(QIODevice::WriteOnly);
        err.open(QIODevice::WriteOnly);
        Console console(out, err, true);
        console.setQuiet(true);
        console.progress(u"Loading ME1 … 10/140 buttons"_s);
        console.note(u"Loaded ME1: 140/140 buttons"_s);
        console.error(u"failed"_s);
        QCOMPARE(err.data(), QByteArray("quorvane-cli: failed\n"));
    }
};

QTEST_GUILESS_MAIN(TestCliReports)
#include "tst_cli_reports.moc"
