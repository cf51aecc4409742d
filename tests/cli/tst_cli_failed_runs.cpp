// The ways a run of the tool against the emulated frame refuses or fails: input refused before
// connecting, a connect that does not come about, and writes that are never confirmed.
#include "cli_frame_support.h"
#include "cli_runner.h"
#include "model/show_file_io.h"
#include <QTemporaryDir>

using namespace Qt::StringLiterals;
using namespace quorvane;
using namespace quorvane::test;
using emulator::ClientMessageKind;
using emulator::FrameEmulator;

namespace {

const QString host = u"127.0.0.1"_s;

// Saves at `path` the show of `bus` on the frame with its first `changed` buttons set to sources
// from `firstSource` on, which the frame has no names for; returns what it saved.
ShowFile saveWithUnnamedSources(const FrameEmulator& frame, Bus bus, qsizetype changed,
                                qint64 firstSource, const QString& path)
{
    ShowFile file = showOfFrame(frame, {bus});
    for (qsizetype i = 0; i < changed; ++i) {
        file.buttons[i].source = firstSource + i;
        file.buttons[i].name.clear();
    }
    save(path, writeShowJson(file));
    return file;
}

// A run refused for what the user gave it: exit status 2, nothing on standard output, and
// `error` as the one line on standard error.
void checkRefused(const ToolRun& run, const QString& error)
{
    QCOMPARE(run.status, 2);
    QCOMPARE(run.out, QString());
    QCOMPARE(run.err, error + u'\n');
}

// The frame goes away as the first write reaches it: no write is answered.
void stopAtFirstWrite(FrameEmulator& frame)
{
    QObject::connect(&frame, &FrameEmulator::datagramReceived, &frame,
                     [&frame](const emulator::ReceivedDatagram& datagram) {
                         if (datagram.message.kind == ClientMessageKind::writeRequest)
                             frame.stop();
                     });
}

} // namespace

class TestCliFailedRuns : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void writesTheFrameNeverConfirmsAreReported()
    {
        FrameEmulator frame;
        QVERIFY(startFrame(frame));
        QTemporaryDir dir;
        const QString path = dir.filePath(u"show.json"_s);
        const ShowFile file = saveWithUnnamedSources(frame, Bus::pgm, 3, 4000, path);
        // Nor can the writes be read back.
        stopAtFirstWrite(frame);
        LinkTiming timing = quickTiming();
        timing.heartbeatTimeout = 20s; // the link itself stays up meanwhile
        // Long enough for the connect, and then for the confirmations that never come.
        const ToolRun run =
            runTool(quietly({u"apply"_s, path, u"--host"_s, host, u"--timeout"_s, u"4"_s}), timing);
        // The read-back after the writes finds no frame either.
        QCOMPARE(run.status, 3);
        const QStringList lines = run.outLines();
        QCOMPARE(lines.size(), 4);
        for (qsizetype i = 0; i < 3; ++i) {
            const ShowButton& wanted = file.buttons[i];
            QCOMPARE(lines[i], u"unconfirmed PGM shift "_s + QString::number(wanted.shift) +
                                   u" button "_s + QString::number(wanted.button) + u": "_s +
                                   QString::number(wanted.source) +
                                   u", the frame did not answer"_s);
        }
        QCOMPARE(lines[3], u"sent 3, confirmed 0, unconfirmed 3"_s);
        QCOMPARE(run.errLines().size(), 1);
        QVERIFY2(run.err.startsWith(u"quorvane-cli: reading the writes back: the frame at "
                                    u"127.0.0.1 did not answer the handshake"_s),
                 qPrintable(run.err));
        QVERIFY(!frame.receivedOfKind(ClientMessageKind::writeRequest).isEmpty());
    }

    void aLinkLostWhileWaitingForConfirmations()
    {
        FrameEmulator frame;
        QVERIFY(startFrame(frame));
        QTemporaryDir dir;
        const QString path = dir.filePath(u"show.json"_s);
        saveWithUnnamedSources(frame, Bus::aux, 2, 4100, path);
        stopAtFirstWrite(frame);
        LinkTiming timing = quickTiming();
        timing.keepAliveInterval = 100ms;
        timing.heartbeatTimeout = 400ms; // the silent frame is dropped long before --timeout
        const ToolRun run = runTool(
            quietly({u"apply"_s, path, u"--host"_s, host, u"--timeout"_s, u"30"_s}), timing);
        QCOMPARE(run.status, 3);
        QCOMPARE(run.outLines().size(), 3);
        QVERIFY(run.outLines()[0].startsWith(u"unconfirmed AUX shift "_s));
        QVERIFY(run.outLines()[1].startsWith(u"unconfirmed AUX shift "_s));
        QCOMPARE(run.outLines()[2], u"sent 2, confirmed 0, unconfirmed 2"_s);
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
        checkRefused(run, u"quorvane-cli: "_s + path +
                          u" is not a valid JSON show file: line 9 (buttons[1]): shift 5 is "
                          u"outside 1-4"_s);
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
            checkRefused(runTool(quietly({command, path, u"--host"_s, host})), line);
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
        checkRefused(run, u"quorvane-cli: "_s + path +
                          u" was read from a 20-button panel; it cannot be compared at "
                          u"--buttons 35"_s);
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
        checkRefused(run, u"quorvane-cli: --host \""_s + address +
                          u"\" is not an IPv4 address: write four numbers 0-255 joined by "
                          u"dots, like 192.168.1.20"_s);
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
};

QTEST_GUILESS_MAIN(TestCliFailedRuns)
#include "tst_cli_failed_runs.moc"
