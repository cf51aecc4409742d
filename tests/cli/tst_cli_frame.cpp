// The tool end to end against the emulated frame on loopback: dumps that match the frame's
// table, diffs, applies confirmed by the frame's own data, and the ways a run refuses or fails.
#include "cli_frame_support.h"
#include "cli_runner.h"
#include "frame_emulator.h"
#include "model/show_file.h"
#include "model/show_file_io.h"
#include "model/source_labels.h"

#include <QRegularExpression>
#include <QTemporaryDir>

using namespace Qt::StringLiterals;
using namespace quorvane;
using namespace quorvane::test;
using emulator::ButtonTable;
using emulator::ClientMessageKind;
using emulator::FrameEmulator;
using emulator::WriteRequest;

namespace {

const QString host = u"127.0.0.1"_s;
const QString everyBus = u"ME1, ME2, ME3, ME4, PGM, AUX"_s;

struct Place {
    Bus bus;
    int shift;
    int button;
};

// The first button of `bus` whose assignment on the frame is (or is not) empty.
Place firstButton(const FrameEmulator& frame, Bus bus, bool assigned, int fromShift = 1)
{
    for (int shift = fromShift; shift <= 4; ++shift) {
        for (int button = 1; button <= 35; ++button) {
            if ((frame.mapping(bus, 35, shift, button) != 0) == assigned)
                return Place{bus, shift, button};
        }
    }
    qFatal("the demo show has no such button");
}

ShowButton* find(ShowFile& file, const Place& place)
{
    for (ShowButton& button : file.buttons) {
        if (button.bus == place.bus && button.shift == place.shift && button.button == place.button)
            return &button;
    }
    return nullptr;
}

} // namespace

class TestCliFrame : public QObject {
    Q_OBJECT

private:
    // The names the desktop would show, from the show's names and the shipped labels.
    QString nameOf(const FrameEmulator& frame, qint64 source)
    {
        DebugLogger silent;
        silent.setEcho(nullptr);
        static const InternalSourceLabels labels =
            loadInternalSourceLabels(defaultSourceLabelsLocations(), silent);
        return displayName(static_cast<int>(source), frame.show().names(), labels)
            .value_or(QString());
    }

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
            QCOMPARE(button.name, nameOf(frame, button.source));
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
        QCOMPARE(lines.size(), 3);
        QCOMPARE(lines[0], u"Connected to 127.0.0.1:5123 (K-Frame XP V12.3.1)"_s);
        QCOMPARE(lines[1], u"Loaded PGM: 140/140 buttons"_s);
        QVERIFY2(
            QRegularExpression(u"^Dumped \\d+ assigned of 140 buttons on PGM in \\d+\\.\\d s$"_s)
                .match(lines[2])
                .hasMatch(),
            qPrintable(lines[2]));
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
                                    u"Loaded PGM: 140/140 buttons\nDumped "_s));
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

    void diffPrintsEveryDifferingButton()
    {
        FrameEmulator frame;
        QVERIFY(startFrame(frame));
        QTemporaryDir dir;
        const QString path = dir.filePath(u"pgm.json"_s);
        QCOMPARE(
            runTool({u"dump"_s, u"--host"_s, host, u"--bus"_s, u"PGM"_s, u"-o"_s, path}).status, 0);
        ShowFile file = readJson(contents(path));

        // Changed on the frame behind the file's back: one replaced, one cleared, one assigned.
        const Place replaced = firstButton(frame, Bus::pgm, true);
        const Place cleared = firstButton(frame, Bus::pgm, true, 2);
        const Place assigned = firstButton(frame, Bus::pgm, false);
        const ShowButton wasReplaced = *find(file, replaced);
        const ShowButton wasCleared = *find(file, cleared);
        frame.setMapping(Bus::pgm, 35, replaced.shift, replaced.button, 999);
        frame.setMapping(Bus::pgm, 35, cleared.shift, cleared.button, 0);
        frame.setMapping(Bus::pgm, 35, assigned.shift, assigned.button, 12);

        auto line = [](const Place& place, const QString& frameSide,
                       const QString& fileSide) -> QString {
            return u"PGM shift "_s + QString::number(place.shift) + u" button "_s +
                   QString::number(place.button) + u": frame "_s + frameSide + u", file "_s +
                   fileSide;
        };
        auto text = [](const ShowButton& button) -> QString {
            return QString::number(button.source) +
                   (button.name.isEmpty() ? QString() : u" ("_s + button.name + u')');
        };
        QStringList expected{
            line(replaced, u"999"_s, text(wasReplaced)),
            line(cleared, u"0 (unassigned)"_s, text(wasCleared)),
            line(assigned, u"12 ("_s + nameOf(frame, 12) + u')', u"0 (unassigned)"_s)};
        // In grid order: shift, then button.
        std::sort(expected.begin(), expected.end(), [](const QString& a, const QString& b) {
            const auto key = [](const QString& l) {
                const QStringList words = l.split(u' ');
                return std::pair(words[2].toInt(), words[4].chopped(1).toInt());
            };
            return key(a) < key(b);
        });

        const ToolRun run = runTool({u"diff"_s, path, u"--host"_s, host});
        QCOMPARE(run.status, 1);
        QCOMPARE(run.outLines(), expected + QStringList{u"3 buttons differ on PGM"_s});

        // Listed buttons only: the newly assigned button is not in the file, so left alone.
        const ToolRun listed = runTool({u"diff"_s, path, u"--host"_s, host, u"--listed-only"_s});
        QCOMPARE(listed.status, 1);
        expected.removeIf([](const QString& l) { return l.endsWith(u"file 0 (unassigned)"_s); });
        QCOMPARE(listed.outLines(), expected + QStringList{u"2 buttons differ on PGM"_s});
        QVERIFY(frame.writeRequests().isEmpty());
    }

    void applyWritesExactlyTheDifferences()
    {
        FrameEmulator frame;
        QVERIFY(startFrame(frame));
        QTemporaryDir dir;
        const QString path = dir.filePath(u"show.json"_s);
        // The three buses the edit touches; the rest of the frame must stay as it is.
        QCOMPARE(runTool({u"dump"_s, u"--host"_s, host, u"--bus"_s, u"ME2"_s, u"--bus"_s, u"ME4"_s,
                          u"--bus"_s, u"AUX"_s, u"-o"_s, path})
                     .status,
                 0);

        // The file edited: one button to another source, one taken out (so cleared on the
        // frame), one unassigned button given a source.
        ShowFile file = readJson(contents(path));
        const Place changed = firstButton(frame, Bus::me2, true);
        const Place removed = firstButton(frame, Bus::me4, true, 3);
        const Place added = firstButton(frame, Bus::aux, false);
        ShowButton* change = find(file, changed);
        change->source = 4242;
        change->name = u"Guest feed"_s;
        file.buttons.removeIf([&](const ShowButton& b) {
            return b.bus == removed.bus && b.shift == removed.shift && b.button == removed.button;
        });
        file.buttons.append(ShowButton{Bus::aux, added.shift, added.button, 12, {}});
        save(path, writeShowJson(file));

        ButtonTable expected = frame.show().buttons;
        expected.setMapping(Bus::me2, 35, changed.shift, changed.button, 4242);
        expected.setMapping(Bus::me4, 35, removed.shift, removed.button, 0);
        expected.setMapping(Bus::aux, 35, added.shift, added.button, 12);

        const ToolRun run = runTool({u"apply"_s, path, u"--host"_s, host});
        QCOMPARE(run.status, 0);
        const auto place = [](const Place& p) -> QString {
            return busName(p.bus) + u" shift "_s + QString::number(p.shift) + u" button "_s +
                   QString::number(p.button);
        };
        QCOMPARE(
            run.outLines(),
            QStringList({u"confirmed "_s + place(changed) + u": 4242 (Guest feed)"_s,
                         u"confirmed "_s + place(removed) + u": 0 (unassigned)"_s,
                         u"confirmed "_s + place(added) + u": 12 ("_s + nameOf(frame, 12) + u')',
                         u"applied 3, confirmed 3, unconfirmed 0"_s}));

        using emulator::buttonParameter;
        QCOMPARE(
            frame.writeRequests(),
            QList<WriteRequest>({{buttonParameter(35, changed.shift, changed.button), 0x10, 4242},
                                 {buttonParameter(35, removed.shift, removed.button), 0x40, 0},
                                 {buttonParameter(35, added.shift, added.button), 0x50, 12}}));
        QVERIFY(frame.show().buttons == expected);

        // Applied once, the file and the frame agree, and a second apply writes nothing.
        const ToolRun again = runTool({u"apply"_s, path, u"--host"_s, host});
        QCOMPARE(again.status, 0);
        QCOMPARE(again.out, u"applied 0, confirmed 0, unconfirmed 0\n"_s);
        QCOMPARE(frame.writeRequests().size(), 3);
    }

    void handWrittenFilesNeedNoNames()
    {
        FrameEmulator frame;
        QVERIFY(startFrame(frame));
        QTemporaryDir dir;
        const Place first = firstButton(frame, Bus::me2, true);
        const Place second = firstButton(frame, Bus::me2, true, 2);
        const QString json = dir.filePath(u"by-hand.json"_s);
        save(json,
             QString(u"{ \"format\": \"quorvane-show\", \"version\": 2,\n"
                     u"  \"frame\": { \"name\": \"\", \"version\": \"\", \"address\": \"\" },\n"
                     u"  \"suite\": 1, \"buttonCount\": 35,\n"
                     u"  \"buttons\": [ { \"bus\": \"ME2\", \"shift\": "_s +
                     QString::number(first.shift) + u", \"button\": "_s +
                     QString::number(first.button) + u", \"source\": 4101 } ] }\n"_s)
                 .toUtf8());
        const ToolRun fromJson =
            runTool(quietly({u"apply"_s, json, u"--host"_s, host, u"--listed-only"_s}));
        QCOMPARE(fromJson.status, 0);
        QCOMPARE(fromJson.outLines().last(), u"applied 1, confirmed 1, unconfirmed 0"_s);
        QCOMPARE(frame.mapping(Bus::me2, 35, first.shift, first.button), 4101u);

        const QString csv = dir.filePath(u"by-hand.csv"_s);
        save(csv, QString(u"bus,shift,button,source\nME2,"_s + QString::number(second.shift) +
                          u',' + QString::number(second.button) + u",4102\n"_s)
                      .toUtf8());
        const ToolRun fromCsv =
            runTool(quietly({u"apply"_s, csv, u"--host"_s, host, u"--listed-only"_s}));
        QCOMPARE(fromCsv.status, 0);
        QCOMPARE(frame.mapping(Bus::me2, 35, second.shift, second.button), 4102u);

        // A name the frame does not use is mentioned by diff, and changes nothing else.
        const QString named = dir.filePath(u"named.csv"_s);
        save(named,
             QString(u"bus,shift,button,source,name\nME2,"_s + QString::number(second.shift) +
                     u',' + QString::number(second.button) + u",4102,Old name\n"_s)
                 .toUtf8());
        const ToolRun diff =
            runTool(quietly({u"diff"_s, named, u"--host"_s, host, u"--listed-only"_s}));
        QCOMPARE(diff.status, 0);
        QCOMPARE(diff.outLines(),
                 QStringList({u"ME2 shift "_s + QString::number(second.shift) + u" button "_s +
                                  QString::number(second.button) +
                                  u": same source; the file names 4102 \"Old name\", the frame "
                                  u"has no name for it"_s,
                              u"no differences on ME2"_s}));
    }

    void dryRunWritesNothing()
    {
        FrameEmulator frame;
        QVERIFY(startFrame(frame));
        QTemporaryDir dir;
        const QString path = dir.filePath(u"show.json"_s);
        QCOMPARE(
            runTool({u"dump"_s, u"--host"_s, host, u"--bus"_s, u"me1"_s, u"-o"_s, path}).status, 0);
        ShowFile file = readJson(contents(path));
        const Place changed = firstButton(frame, Bus::me1, true);
        const ShowButton before = *find(file, changed);
        find(file, changed)->source = 4242;
        find(file, changed)->name = u"Guest feed"_s;
        save(path, writeShowJson(file));

        const ToolRun run = runTool({u"apply"_s, path, u"--host"_s, host, u"--dry-run"_s});
        QCOMPARE(run.status, 1);
        QCOMPARE(
            run.outLines(),
            QStringList({u"would write ME1 shift "_s + QString::number(changed.shift) +
                             u" button "_s + QString::number(changed.button) + u": frame "_s +
                             QString::number(before.source) +
                             (before.name.isEmpty() ? QString() : u" ("_s + before.name + u')') +
                             u", file 4242 (Guest feed); the file names 4242 \"Guest feed\", the "
                             u"frame has no name "
                             u"for it"_s,
                         u"would write 1 button on ME1"_s}));
        QVERIFY(frame.receivedOfKind(ClientMessageKind::writeRequest).isEmpty());
        QVERIFY(frame.writeRequests().isEmpty());
        QCOMPARE(frame.mapping(Bus::me1, 35, changed.shift, changed.button),
                 quint32(before.source));
    }

    void writesTheFrameNeverConfirmsAreReported()
    {
        FrameEmulator frame;
        QVERIFY(startFrame(frame));
        QTemporaryDir dir;
        const QString path = dir.filePath(u"show.json"_s);
        QCOMPARE(
            runTool({u"dump"_s, u"--host"_s, host, u"--bus"_s, u"pgm"_s, u"-o"_s, path}).status, 0);
        ShowFile file = readJson(contents(path));
        for (qsizetype i = 0; i < 3; ++i) {
            file.buttons[i].source = 4000 + i; // sources the frame has no name for
            file.buttons[i].name.clear();
        }
        save(path, writeShowJson(file));

        // The frame goes silent as the first write reaches it: no write is answered.
        connect(&frame, &FrameEmulator::datagramReceived, &frame,
                [&frame](const emulator::ReceivedDatagram& datagram) {
                    if (datagram.message.kind == ClientMessageKind::writeRequest)
                        frame.stop();
                });
        LinkTiming timing = quickTiming();
        timing.heartbeatTimeout = 20s; // the link itself stays up meanwhile
        // Long enough for the connect, and then for the confirmations that never come.
        const ToolRun run =
            runTool(quietly({u"apply"_s, path, u"--host"_s, host, u"--timeout"_s, u"4"_s}), timing);
        QCOMPARE(run.status, 1);
        const QStringList lines = run.outLines();
        QCOMPARE(lines.size(), 4);
        for (qsizetype i = 0; i < 3; ++i) {
            const ShowButton& wanted = file.buttons[i];
            QCOMPARE(lines[i], u"unconfirmed PGM shift "_s + QString::number(wanted.shift) +
                                   u" button "_s + QString::number(wanted.button) + u": "_s +
                                   QString::number(wanted.source) +
                                   u", the frame did not answer"_s);
        }
        QCOMPARE(lines[3], u"applied 3, confirmed 0, unconfirmed 3"_s);
        QCOMPARE(run.err, u"quorvane-cli: 3 of 3 writes not confirmed by the frame, each written "
                          u"up to 4 times within 4 s; run apply again, or look at these buttons on "
                          u"the frame\n"_s);
        QVERIFY(!frame.receivedOfKind(ClientMessageKind::writeRequest).isEmpty());
    }

    void aLinkLostWhileWaitingForConfirmations()
    {
        FrameEmulator frame;
        QVERIFY(startFrame(frame));
        QTemporaryDir dir;
        const QString path = dir.filePath(u"show.json"_s);
        QCOMPARE(
            runTool({u"dump"_s, u"--host"_s, host, u"--bus"_s, u"aux"_s, u"-o"_s, path}).status, 0);
        ShowFile file = readJson(contents(path));
        for (qsizetype i = 0; i < 2; ++i) {
            file.buttons[i].source = 4100 + i;
            file.buttons[i].name.clear();
        }
        save(path, writeShowJson(file));

        connect(&frame, &FrameEmulator::datagramReceived, &frame,
                [&frame](const emulator::ReceivedDatagram& datagram) {
                    if (datagram.message.kind == ClientMessageKind::writeRequest)
                        frame.stop();
                });
        LinkTiming timing = quickTiming();
        timing.keepAliveInterval = 100ms;
        timing.heartbeatTimeout = 400ms; // the silent frame is dropped long before --timeout
        const ToolRun run = runTool(
            quietly({u"apply"_s, path, u"--host"_s, host, u"--timeout"_s, u"30"_s}), timing);
        QCOMPARE(run.status, 3);
        QCOMPARE(run.outLines().size(), 3);
        QVERIFY(run.outLines()[0].startsWith(u"unconfirmed AUX shift "_s));
        QVERIFY(run.outLines()[1].startsWith(u"unconfirmed AUX shift "_s));
        QCOMPARE(run.outLines()[2], u"applied 2, confirmed 0, unconfirmed 2"_s);
        QCOMPARE(run.err, u"quorvane-cli: the frame at 127.0.0.1 stopped answering while waiting "
                          u"for the writes to be confirmed; check the frame and the network, then "
                          u"run the command again\n"_s);
    }

    void anInvalidFileIsRefusedBeforeConnecting_data()
    {
        QTest::addColumn<QStringList>("command");
        QTest::newRow("diff") << QStringList{u"diff"_s};
        QTest::newRow("apply") << QStringList{u"apply"_s};
        QTest::newRow("apply --dry-run") << QStringList{u"apply"_s, u"--dry-run"_s};
    }

    void anInvalidFileIsRefusedBeforeConnecting()
    {
        QFETCH(QStringList, command);
        FrameEmulator frame;
        QVERIFY(startFrame(frame));
        QTemporaryDir dir;
        const QString path = dir.filePath(u"bad.json"_s);
        save(path, R"({
  "format": "quorvane-show",
  "version": 1,
  "frame": { "name": "K-Frame XP", "version": "V12.3.1", "address": "127.0.0.1" },
  "suite": 1,
  "buttonCount": 35,
  "buttons": [
    { "bus": "PGM", "shift": 1, "button": 1, "source": 7, "name": "CAM 7" },
    { "bus": "PGM", "shift": 5, "button": 2, "source": 8, "name": "CAM 8" }
  ]
}
)");
        const ToolRun run = runTool(quietly(command + QStringList{path, u"--host"_s, host}));
        QCOMPARE(run.status, 2);
        QCOMPARE(run.out, QString());
        QCOMPARE(run.err, u"quorvane-cli: "_s + path +
                              u" is not a valid JSON show file: line 9 (buttons[1]): shift 5 is "
                              u"outside 1-4\n"_s);
        QVERIFY(frame.received().isEmpty());

        // A file that is not there is refused the same way.
        const QString missing = dir.filePath(u"missing.csv"_s);
        const ToolRun absent = runTool(quietly(command + QStringList{missing, u"--host"_s, host}));
        QCOMPARE(absent.status, 2);
        QVERIFY(absent.err.startsWith(u"quorvane-cli: cannot read "_s + missing + u": "_s));
        QCOMPARE(absent.errLines().size(), 1);
        QVERIFY(frame.received().isEmpty());
    }

    // Show files are user input: each of these gives exit 2 and one line, and the frame hears
    // nothing, neither from diff nor from apply.
    void aHostileFileIsRefusedBeforeConnecting_data()
    {
        QTest::addColumn<QString>("name"); // in a temporary folder, or an absolute path to read
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<qint64>("sparseSize"); // instead of the content, when not 0
        QTest::addColumn<QString>("problem");   // after "quorvane-cli: <path> "

        const QString json = u"is not a valid JSON show file: "_s;
        const QString csv = u"is not a valid CSV show file: "_s;
        const QByteArray mark = "\xEF\xBB\xBF"_ba;
        const QByteArray head = "bus,shift,button,source,name\n"_ba;
        const QByteArray showHead = R"({ "format": "quorvane-show", "version": 1,
  "frame": { "name": "", "version": "", "address": "" }, "suite": 1, "buttonCount": 35,
  "buttons": [ )"_ba;

        QTest::newRow("two byte order marks")
            << u"marks.json"_s << mark + mark + "{}" << qint64{0}
            << json + u"line 1: the file starts with 2 byte order marks; one at most may stand "
                      u"before the text"_s;
        QTest::newRow("empty JSON")
            << u"empty.json"_s << QByteArray() << qint64{0} << json + u"the file is empty"_s;
        QTest::newRow("white space CSV")
            << u"blank.csv"_s << " \r\n\t"_ba << qint64{0} << csv + u"the file is empty"_s;
        QTest::newRow("lone surrogate")
            << u"surrogate.json"_s
            << showHead +
                   R"({ "bus": "PGM", "shift": 1, "button": 1, "source": 7, "name": "\ud800" } ] })"
            << qint64{0}
            << json + u"line 3 (buttons[0]): \"name\" holds a lone surrogate, which is no "
                      u"character: \"\\ud800\""_s;
        QTest::newRow("deep nesting")
            << u"deep.json"_s << QByteArray(5000, '[') + QByteArray(5000, ']') << qint64{0}
            << json + u"line 1: not valid JSON: too deeply nested "
                      u"document"_s;
        QTest::newRow("huge number")
            << u"huge.json"_s
            << showHead +
                   R"({ "bus": "PGM", "shift": 1, "button": 1, "source": 1e999, "name": "" } ] })"
            << qint64{0} << json + u"line 3: not valid JSON: illegal number"_s;
        QTest::newRow("not UTF-8") << u"latin1.csv"_s
                                   << head + "PGM,1,1,7,S\xfc"
                                             "d\n"
                                   << qint64{0} << csv + u"line 2: the text is not valid UTF-8"_s;
        QTest::newRow("line break in a bus")
            << u"bus.csv"_s << head + "\"PGM\nME1\",1,1,7,x\n"
            << qint64{0}
            << csv + u"line 2: unknown bus \"PGM\\nME1\" (the buses are ME1, ME2, ME3, ME4, PGM, "
                     u"AUX)"_s;
        QTest::newRow("duplicate button")
            << u"twice.csv"_s << head + "PGM,1,1,7,x\nPGM,1,1,8,y\n"
            << qint64{0}
            << csv + u"line 3: PGM shift 1 button 1 is listed twice (first at line 2)"_s;
        QTest::newRow("unknown key")
            << u"colour.json"_s
            << showHead +
                   R"({ "bus": "PGM", "shift": 1, "button": 1, "source": 7, "name": "", "colour": "red" } ] })"
            << qint64{0} << json + u"line 3 (buttons[0]): unknown key \"colour\""_s;
        QTest::newRow("larger than the bound")
            << u"huge.csv"_s << QByteArray() << maxShowFileSize + 1
            << u"the file is larger than 16 MiB, far more than any show file"_s;
        QTest::newRow("a device")
            << u"/dev/zero"_s << QByteArray() << qint64{0}
            << u"it is a device, not a regular file"_s;
    }

    void aHostileFileIsRefusedBeforeConnecting()
    {
        QFETCH(QString, name);
        QFETCH(QByteArray, content);
        QFETCH(qint64, sparseSize);
        QFETCH(QString, problem);
        FrameEmulator frame;
        QVERIFY(startFrame(frame));
        QTemporaryDir dir;
        const QString path = name.startsWith(u'/') ? name : dir.filePath(name);
        if (!name.startsWith(u'/'))
            save(path, content);
        if (sparseSize > 0)
            QVERIFY(QFile::resize(path, sparseSize));
        // A file that cannot be read at all says so; one that is read names what is wrong.
        const QString line =
            sparseSize > 0 || name.startsWith(u'/')
                ? QString(u"quorvane-cli: cannot read "_s + path + u": "_s + problem)
                : QString(u"quorvane-cli: "_s + path + u' ' + problem);

        for (const QString& command : {u"diff"_s, u"apply"_s}) {
            const ToolRun run = runTool(quietly({command, path, u"--host"_s, host}));
            QCOMPARE(run.status, 2);
            QCOMPARE(run.out, QString());
            QCOMPARE(run.err, line + u'\n');
        }
        QVERIFY(frame.received().isEmpty());
    }

    void aFileOfAnotherWidthIsRefused()
    {
        FrameEmulator frame;
        QVERIFY(startFrame(frame));
        QTemporaryDir dir;
        const QString path = dir.filePath(u"narrow.json"_s);
        ShowFile file;
        file.buttonCount = 20;
        file.buttons = {ShowButton{Bus::pgm, 1, 1, 7, {}}};
        save(path, writeShowJson(file));
        const ToolRun run =
            runTool(quietly({u"apply"_s, path, u"--host"_s, host, u"--buttons"_s, u"35"_s}));
        QCOMPARE(run.status, 2);
        QCOMPARE(run.err, u"quorvane-cli: "_s + path +
                              u" was read from a 20-button panel; it cannot be compared at "
                              u"--buttons 35\n"_s);
        QVERIFY(frame.received().isEmpty());
    }

    void aHostThatIsNoIPv4AddressIsRefused_data()
    {
        QTest::addColumn<QString>("address");
        QTest::newRow("name") << u"frame.local"_s;
        QTest::newRow("too large") << u"127.0.0.300"_s;
        QTest::newRow("short") << u"127.1"_s;
    }

    void aHostThatIsNoIPv4AddressIsRefused()
    {
        QFETCH(QString, address);
        FrameEmulator frame;
        QVERIFY(startFrame(frame));
        const ToolRun run = runTool({u"dump"_s, u"--host"_s, address});
        QCOMPARE(run.status, 2);
        QCOMPARE(run.out, QString());
        QCOMPARE(run.err, u"quorvane-cli: --host \""_s + address +
                              u"\" is not an IPv4 address: write four numbers 0-255 joined by "
                              u"dots, like 192.168.1.20\n"_s);
        QVERIFY(frame.received().isEmpty());
    }

    void aFrameThatIgnoresTheHandshake()
    {
        emulator::FrameEmulatorOptions options;
        options.faults.neverAnswerHandshake = true;
        FrameEmulator frame(options);
        QVERIFY(startFrame(frame));
        const ToolRun run = runTool(quietly({u"dump"_s, u"--host"_s, host}));
        QCOMPARE(run.status, 3);
        QCOMPARE(run.out, QString());
        QCOMPARE(run.err, u"quorvane-cli: the frame at 127.0.0.1 did not answer the handshake "
                          u"(tried 2 times); check the address (on the frame: Eng Setup > Node "
                          u"Settings) and that this machine can reach it\n"_s);
        QVERIFY(!frame.received().isEmpty());
    }

    void aFrameThatStopsAnsweringPings()
    {
        FrameEmulator frame;
        QVERIFY(startFrame(frame));
        // Past the handshake and registration, the frame answers no PING.
        connect(&frame, &FrameEmulator::datagramReceived, &frame,
                [&frame](const emulator::ReceivedDatagram& datagram) {
                    if (datagram.message.kind == ClientMessageKind::secondSuiteRegistration)
                        frame.setAnsweringPings(false);
                });
        const ToolRun once =
            runTool(quietly({u"dump"_s, u"--host"_s, host, u"--connect-attempts"_s, u"1"_s}));
        QCOMPARE(once.status, 3);
        QCOMPARE(once.out, QString());
        QCOMPARE(once.err, u"quorvane-cli: heartbeat verification failed: the frame at 127.0.0.1 "
                           u"answered too few of the first PINGs; check the network, or raise "
                           u"--connect-attempts\n"_s);
        QVERIFY(frame.receivedOfKind(ClientMessageKind::buttonSubscription).isEmpty());

        // Tried again, the frame, which then answers no PING at all, fails the handshake.
        frame.setAnsweringPings(true);
        const ToolRun twice = runTool(quietly({u"dump"_s, u"--host"_s, host}));
        QCOMPARE(twice.status, 3);
        // The frame is there (it answered the SYNC), so the message names what it left
        // unanswered rather than sending the user to check the address.
        QCOMPARE(twice.err, u"quorvane-cli: heartbeat verification failed: the frame at 127.0.0.1 "
                            u"answered too few of the first PINGs; then the frame at 127.0.0.1 "
                            u"stopped answering during the handshake: no answer to the PING after "
                            u"4 tries at 127.0.0.1:5000 (tried 2 times); check the network "
                            u"between this machine and the frame\n"_s);
    }

    void aSecondConnectAttemptAfterAFailedHeartbeatCheck()
    {
        FrameEmulator frame;
        QVERIFY(startFrame(frame));
        // The first attempt's PINGs go unanswered after its registration; the second attempt,
        // starting with a SYNC to port 5000, finds the frame answering again.
        bool failedOnce = false;
        connect(&frame, &FrameEmulator::datagramReceived, &frame,
                [&](const emulator::ReceivedDatagram& datagram) {
                    if (datagram.message.kind == ClientMessageKind::secondSuiteRegistration &&
                        !failedOnce) {
                        failedOnce = true;
                        frame.setAnsweringPings(false);
                    } else if (datagram.message.kind == ClientMessageKind::sync &&
                               datagram.localPort == 5000 && failedOnce) {
                        frame.setAnsweringPings(true);
                    }
                });
        const ToolRun run = runTool({u"dump"_s, u"--host"_s, host, u"--bus"_s, u"me1"_s});
        QCOMPARE(run.status, 0);
        QVERIFY(failedOnce);
        // Said on standard error without the log, and logged.
        QVERIFY(run.err.startsWith(u"Connect attempt 1 of 2 failed: heartbeat verification "
                                   u"failed: the frame at 127.0.0.1 answered too few of the first "
                                   u"PINGs; trying again\n"_s));
        QCOMPARE(withoutNames(readJson(run.out.toUtf8()).buttons),
                 assignedOnFrame(frame, {Bus::me1}, 35));
    }

    void aStepThatTakesTooLong()
    {
        emulator::FrameEmulatorOptions options;
        options.faults.neverAnswerHandshake = true;
        FrameEmulator frame(options);
        QVERIFY(startFrame(frame));
        LinkTiming timing = quickTiming();
        timing.handshakeLimit = 30s; // the tool's own limit comes first
        const ToolRun run =
            runTool(quietly({u"dump"_s, u"--host"_s, host, u"--timeout"_s, u"1"_s}), timing);
        QCOMPARE(run.status, 3);
        QCOMPARE(run.err, u"quorvane-cli: no complete answer from the frame at 127.0.0.1 within "
                          u"1 s (it got as far as: Establishing handshake...); raise --timeout, or "
                          u"check the network\n"_s);
    }

    void backupAndRestore()
    {
        FrameEmulator frame;
        QVERIFY(startFrame(frame));
        QTemporaryDir dir;
        const QString backup = dir.filePath(u"studio-a.json"_s);
        QCOMPARE(
            runTool({u"dump"_s, u"--host"_s, host, u"--suite"_s, u"2"_s, u"-o"_s, backup}).status,
            0);
        const ButtonTable original = frame.show().buttons;

        // A day of changes on the panel: replaced, cleared and newly assigned buttons.
        const Place replaced = firstButton(frame, Bus::me1, true);
        const Place cleared = firstButton(frame, Bus::pgm, true, 4);
        const Place assigned = firstButton(frame, Bus::aux, false, 2);
        frame.pushMappingChange(Bus::me1, 35, replaced.shift, replaced.button, 31);
        frame.pushMappingChange(Bus::pgm, 35, cleared.shift, cleared.button, 0);
        frame.pushMappingChange(Bus::aux, 35, assigned.shift, assigned.button, 32);
        QVERIFY(!(frame.show().buttons == original));

        const ToolRun before = runTool({u"diff"_s, backup, u"--host"_s, host});
        QCOMPARE(before.status, 1);
        QCOMPARE(before.outLines().last(), u"3 buttons differ on "_s + everyBus);

        const ToolRun restore = runTool({u"apply"_s, backup, u"--host"_s, host});
        QCOMPARE(restore.status, 0);
        QCOMPARE(restore.outLines().last(), u"applied 3, confirmed 3, unconfirmed 0"_s);
        QCOMPARE(frame.client()->mainPort, quint16{6134}); // the suite recorded in the file
        QVERIFY(frame.show().buttons == original);

        const ToolRun after = runTool({u"diff"_s, backup, u"--host"_s, host});
        QCOMPARE(after.status, 0);
    }
};

QTEST_GUILESS_MAIN(TestCliFrame)
#include "tst_cli_frame.moc"
