// Dumps of the emulated frame on loopback: the frame's table exactly, in every format, bus and
// width, the log as asked for, and a dump that its own diff finds in agreement.
#include "cli_frame_support.h"
#include "cli_runner.h"
#include "model/show_file_io.h"
#include <QRegularExpression>
#include <QTemporaryDir>

using namespace Qt::StringLiterals;
using namespace quorvane;
using namespace quorvane::test;
using emulator::ClientMessageKind;
using emulator::FrameEmulator;

namespace {

const QString host = u"127.0.0.1"_s;
const QString everyBus = u"ME1, ME2, ME3, ME4, PGM, AUX"_s;

} // namespace

class TestCliDump : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void dumpOfOneBusIsTheFramesTable()
    {
        FrameEmulator frame;
        QVERIFY(startFrame(frame));
        const ToolRun run =
            runTool({u"dump"_s, u"--host"_s, host, u"--bus"_s, u"me3"_s, u"--verbose"_s});
        QCOMPARE(run.status, 0);

        // Standard output is the show file and nothing else: the reader refuses any extra.
        const ShowFile file = readJson(run.out.toUtf8());
        QCOMPARE(file.frameName, u"K-Frame XP"_s);
        QCOMPARE(file.frameVersion, u"V12.3.1"_s);
        QCOMPARE(file.frameAddress, host);
        QCOMPARE(file.suite, 1);
        QCOMPARE(file.buttonCount, 35);
        const QList<ShowButton> expected = assignedOnFrame(frame, {Bus::me3}, 35);
        QVERIFY(expected.size() > 120 && expected.size() < 140); // a few are left unassigned
        QCOMPARE(withoutNames(file.buttons), expected);
        int named = 0;
        for (const ShowButton& button : file.buttons) {
            QCOMPARE(button.name, nameOnFrame(frame, button.source));
            named += button.name.isEmpty() ? 0 : 1;
        }
        QVERIFY(named > 0);
        // The frame's names travel with the show.
        QCOMPARE(file.sources, frame.show().names());

        // Only ME3 was asked for, once, button by button.
        const auto subscriptions = frame.receivedOfKind(ClientMessageKind::buttonSubscription);
        QCOMPARE(subscriptions.size(), 4 * 35);
        for (const auto& subscription : subscriptions)
            QCOMPARE(subscription.message.subscription.busCode, quint8{0x20});
        QVERIFY(frame.writeRequests().isEmpty());

        // The log went to standard error, without the hex dumps.
        QVERIFY(run.err.contains(u"[INFO] Connect requested to 127.0.0.1 on Suite 1 (ports "
                                 u"6132/6133), 35-button mode"_s));
        QVERIFY(run.err.contains(u"[INFO] Read complete: ME3-35 cached with "_s));
        QVERIFY(run.err.contains(u"] [HEX] "_s));
    }

    void dumpOfEveryBusAsCsv()
    {
        FrameEmulator frame;
        QVERIFY(startFrame(frame));
        QTemporaryDir dir;
        const QString path = dir.filePath(u"all.csv"_s);
        const ToolRun run = runTool({u"dump"_s, u"--host"_s, host, u"-o"_s, path});
        QCOMPARE(run.status, 0);
        QCOMPARE(run.out, QString());

        const ShowFileResult read = readShowCsv(contents(path), 35);
        QVERIFY(read.file);
        const QList<Bus> buses(allBuses.begin(), allBuses.end());
        QCOMPARE(withoutNames(read.file->buttons), assignedOnFrame(frame, buses, 35));
        // Each bus loaded once: the first with the connect, the others by switching bus.
        QCOMPARE(frame.receivedOfKind(ClientMessageKind::buttonSubscription).size(), 6 * 4 * 35);
        QCOMPARE(frame.receivedOfKind(ClientMessageKind::busPreamble).size(), 6);
    }

    void dumpOfAnotherSuiteAndWidth()
    {
        FrameEmulator frame;
        QVERIFY(startFrame(frame));
        const ToolRun run =
            runTool({u"dump"_s, u"--host"_s, host, u"--suite"_s, u"2"_s, u"--buttons"_s, u"20"_s,
                     u"--bus"_s, u"PGM"_s, u"--bus"_s, u"aux"_s, u"--format"_s, u"csv"_s});
        QCOMPARE(run.status, 0);
        const ShowFileResult read = readShowCsv(run.out.toUtf8(), 20);
        QVERIFY(read.file);
        QCOMPARE(withoutNames(read.file->buttons),
                 assignedOnFrame(frame, {Bus::pgm, Bus::aux}, 20));
        QVERIFY(frame.client());
        QCOMPARE(frame.client()->mainPort, quint16{6134});
    }

    void theLogFollowsQuietAndVerbose()
    {
        FrameEmulator frame;
        QVERIFY(startFrame(frame));
        const ToolRun verbose =
            runTool({u"dump"_s, u"--host"_s, host, u"--bus"_s, u"pgm"_s, u"--verbose"_s});
        QCOMPARE(verbose.status, 0);
        QVERIFY(verbose.err.contains(u"] [HEX] Write command"_s) ||
                verbose.err.contains(u"] [HEX] Source name subscription (0x020b): [52 bytes]"_s));
        const ToolRun quiet =
            runTool({u"dump"_s, u"--host"_s, host, u"--bus"_s, u"pgm"_s, u"--quiet"_s});
        QCOMPARE(quiet.status, 0);
        QCOMPARE(quiet.err, QString());
        QCOMPARE(quiet.out, verbose.out);

        // By default: no log, the milestones and the summary, plain lines.
        QTemporaryDir dir;
        const QString logFile = dir.filePath(u"run.log"_s);
        const ToolRun plain =
            runTool({u"dump"_s, u"--host"_s, host, u"--bus"_s, u"pgm"_s, u"--log"_s, logFile});
        QCOMPARE(plain.status, 0);
        QCOMPARE(plain.out, verbose.out);
        const QStringList lines = plain.errLines();
        QCOMPARE(lines.size(), 4);
        QCOMPARE(lines[0], u"Connected to 127.0.0.1:5123 (K-Frame XP V12.3.1)"_s);
        QCOMPARE(lines[1], u"Loaded PGM: 140/140 buttons"_s);
        QVERIFY2(
            QRegularExpression(u"^Dumped \\d+ assigned of 140 buttons on PGM in \\d+\\.\\d s$"_s)
                .match(lines[2])
                .hasMatch(),
            qPrintable(lines[2]));
        // The demo frame keeps no names for some of the sources PGM uses.
        QVERIFY(lines[3].startsWith(u"Sources without names on the frame: "_s));
        QVERIFY(!plain.err.contains(u'\r') && !plain.err.contains(u'\x1b'));
        // The whole log went to the file instead, each line as it came.
        const QString log = QString::fromUtf8(contents(logFile));
        QVERIFY(log.contains(u"] [INFO] Read complete: PGM-35 cached with "_s));
        QVERIFY(log.contains(u"] [HEX] "_s));

        // On a terminal, the progress is rewritten in place.
        const ToolRun onTerminal = runTool({u"dump"_s, u"--host"_s, host, u"--bus"_s, u"pgm"_s},
                                           quickTiming(), 60'000, true);
        QCOMPARE(onTerminal.status, 0);
        QVERIFY(
            onTerminal.err.startsWith(u"\r\x1b[KConnecting to 127.0.0.1 (Suite 1, 35-btn)..."_s));
        QVERIFY(
            onTerminal.err.contains(u"\r\x1b[KLoading PGM … 140/140 buttons"
                                    u"\r\x1b[KConnected to 127.0.0.1:5123 (K-Frame XP V12.3.1)\n"
                                    u"Loaded PGM: 140/140 buttons\n"_s));
        // The names loaded again for the sources without any show as progress, then the summary.
        QVERIFY(onTerminal.err.contains(u"\r\x1b[KDumped "_s));
    }

    void diffOfItsOwnDumpAgrees()
    {
        FrameEmulator frame;
        QVERIFY(startFrame(frame));
        QTemporaryDir dir;
        const QString path = dir.filePath(u"show.json"_s);
        QCOMPARE(runTool({u"dump"_s, u"--host"_s, host, u"-o"_s, path}).status, 0);

        const ToolRun run = runTool({u"diff"_s, path, u"--host"_s, host});
        QCOMPARE(run.status, 0);
        QCOMPARE(run.out, u"no differences on "_s + everyBus + u'\n');
        QVERIFY(frame.writeRequests().isEmpty());
    }
};

QTEST_GUILESS_MAIN(TestCliDump)
#include "tst_cli_dump.moc"
