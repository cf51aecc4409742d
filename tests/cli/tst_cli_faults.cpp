// The tool against a frame that does not play along: buttons that never answer, writes that do
// not take, a frame that stops in the middle, and a second program on the same suite. Every run
// either finishes complete and correct, or fails with its own exit code and leaves an earlier
// backup exactly as it was. The fault matrix runs in tst_cli_network_faults and
// tst_cli_frame_faults.
#include "cli_frame_support.h"
#include "cli_runner.h"
#include "link/gv_connection.h"
#include "model/button_address.h"

#include <QDir>
#include <QProcess>
#include <QSettings>
#include <QTemporaryDir>

using namespace Qt::StringLiterals;
using namespace quorvane;
using namespace quorvane::test;
using emulator::ClientMessageKind;
using emulator::FrameEmulator;
using emulator::FrameEmulatorOptions;
using emulator::PanelButton;

namespace {

const QString host = u"127.0.0.1"_s;
int subscriptionsFor(const FrameEmulator& frame, const PanelButton& button)
{
    int asked = 0;
    for (const auto& datagram : frame.receivedOfKind(ClientMessageKind::buttonSubscription)) {
        const auto& subscription = datagram.message.subscription;
        asked += subscription.busCode == busCode(button.bus) &&
                 subscription.parameter ==
                     buttonAddress(button.shift, button.button, button.buttonCount);
    }
    return asked;
}

qsizetype writesTo(const FrameEmulator& frame, Bus bus, int shift, int button)
{
    return frame.writesFor(bus, 35, shift, button).size();
}

} // namespace

class TestCliFaults : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void buttonsThatNeverAnswerMeanNoDump()
    {
        FrameEmulatorOptions options;
        options.faults.silentButtons = buttonRow(Bus::me2, 3, 17, 20);
        FrameEmulator frame(options);
        QVERIFY(startFrame(frame));
        QTemporaryDir dir;
        const QString path = dir.filePath(u"studio-a.json"_s);
        save(path, earlierBackup);

        const ToolRun run = runTool(quietly({u"dump"_s, u"--host"_s, host, u"--bus"_s, u"me2"_s,
                                             u"--bus"_s, u"pgm"_s, u"-o"_s, path}));
        QCOMPARE(run.status, 4);
        QCOMPARE(run.out, QString());
        QCOMPARE(run.errLines(),
                 QStringList({u"quorvane-cli: ME2 shift 3: buttons 17-20 did not answer"_s,
                              u"quorvane-cli: 4 buttons did not answer, even when asked 3 more "
                              u"times: no show file written, "_s +
                                  path + u" is as it was (try again, or raise --retries)"_s}));
        QCOMPARE(contents(path), earlierBackup);
        QCOMPARE(QDir(dir.path()).entryList(QDir::Files), QStringList(u"studio-a.json"_s));
        // Each asked for in the load and three times again.
        for (const PanelButton& button : options.faults.silentButtons)
            QCOMPARE(subscriptionsFor(frame, button), 4);

        // To standard output: nothing at all.
        const ToolRun toOutput = runTool(
            quietly({u"dump"_s, u"--host"_s, host, u"--bus"_s, u"me2"_s, u"--retries"_s, u"1"_s}));
        QCOMPARE(toOutput.status, 4);
        QCOMPARE(toOutput.out, QString());
        QCOMPARE(toOutput.errLines().last(),
                 u"quorvane-cli: 4 buttons did not answer, even when asked once more: no show "
                 u"file written (try again, or raise --retries)"_s);
    }

    void buttonsThatAnswerWhenAskedAgain()
    {
        FrameEmulatorOptions options;
        options.faults.silentButtons =
            buttonRow(Bus::pgm, 1, 1, 6) + buttonRow(Bus::aux, 4, 30, 35);
        options.faults.silentAsks = 2;
        FrameEmulator frame(options);
        QVERIFY(startFrame(frame));
        const ToolRun run = runTool({u"dump"_s, u"--host"_s, host, u"--bus"_s, u"pgm"_s, u"--bus"_s,
                                     u"aux"_s, u"--verbose"_s});
        QCOMPARE(run.status, 0);
        QCOMPARE(withoutNames(readJson(run.out.toUtf8()).buttons),
                 assignedOnFrame(frame, {Bus::pgm, Bus::aux}, 35));
        QVERIFY(run.err.contains(
            u"[INFO] Asking again for 6 unanswered buttons of PGM-35 (round 2 of 3)"_s));
        QVERIFY(run.err.contains(u"[INFO] Asked again for AUX-35: 6 of 6 answered"_s));
    }

    void diffAndApplyCompareNothingUnknown()
    {
        QTemporaryDir dir;
        const QString path = dir.filePath(u"show.json"_s);
        PanelButton unassigned{Bus::me1, 35, 0, 0}; // one the file does not list
        ShowFile file;
        {
            const FrameEmulator clean;
            file = showOfFrame(clean, {Bus::me1});
            for (int shift = 4; shift >= 1 && unassigned.shift == 0; --shift) {
                for (int button = 35; button >= 1 && unassigned.shift == 0; --button) {
                    if (clean.mapping(Bus::me1, 35, shift, button) == 0)
                        unassigned = {Bus::me1, 35, shift, button};
                }
            }
            QVERIFY(unassigned.shift != 0);
        }
        const ShowButton changed = file.buttons.first();
        file.buttons.first().source = 4001; // apply would write this one
        save(path, writeShowJson(file));

        FrameEmulatorOptions options;
        options.faults.silentButtons = {unassigned};
        FrameEmulator frame(options);
        QVERIFY(startFrame(frame));
        for (const QString& command : {u"diff"_s, u"apply"_s}) {
            const ToolRun run = runTool(quietly({command, path, u"--host"_s, host}));
            QCOMPARE(run.status, 4);
            QCOMPARE(run.out, QString());
            QCOMPARE(run.errLines().first(),
                     u"quorvane-cli: ME1 shift "_s + QString::number(unassigned.shift) +
                         u": button "_s + QString::number(unassigned.button) +
                         u" did not answer"_s);
            QVERIFY(run.errLines().last().startsWith(
                u"quorvane-cli: 1 button did not answer, even when asked 3 more times: "_s +
                (command == u"diff" ? u"no comparison made"_s : u"nothing written"_s)));
        }
        QVERIFY(frame.receivedOfKind(ClientMessageKind::writeRequest).isEmpty());

        // Comparing the listed buttons only, the silent one does not matter: it is not listed.
        const ToolRun listed =
            runTool(quietly({u"apply"_s, path, u"--host"_s, host, u"--listed-only"_s}));
        QCOMPARE(listed.status, 0);
        QCOMPARE(listed.outLines().mid(1), QStringList({u"sent 1, confirmed 1, unconfirmed 0"_s,
                                                        u"read back ME1: as in the file"_s}));
        QCOMPARE(frame.mapping(Bus::me1, 35, changed.shift, changed.button), 4001u);
    }

    void writesTheFrameDoesNotTakeAreReportedByButton()
    {
        QTemporaryDir dir;
        const QString path = dir.filePath(u"show.json"_s);
        ShowFile file = showOfFrame(FrameEmulator(), {Bus::me3});
        const ShowButton refused = file.buttons[0];
        const ShowButton taken = file.buttons[1];
        file.buttons[0].source = 4002;
        file.buttons[0].name.clear();
        file.buttons[1].source = 4003;
        file.buttons[1].name.clear();
        save(path, writeShowJson(file));

        FrameEmulatorOptions options;
        options.faults.refusedWrites = {{Bus::me3, 35, refused.shift, refused.button}};
        FrameEmulator refusing(options);
        QVERIFY(startFrame(refusing));
        const ToolRun run = runTool(quietly({u"apply"_s, path, u"--host"_s, host}));
        QCOMPARE(run.status, 1);
        const QString place = u"ME3 shift "_s + QString::number(refused.shift) + u" button "_s;
        const QString held = QString::number(refused.source) + u" ("_s + refused.name + u')';
        // The frame's own answer and the read-back afterwards both name what it kept.
        QCOMPARE(run.outLines(),
                 QStringList({u"differs "_s + place + QString::number(refused.button) +
                                  u": frame "_s + held + u", file 4002; the frame reported "_s +
                                  held + u" for the write"_s,
                              u"holds ME3 shift "_s + QString::number(taken.shift) + u" button "_s +
                                  QString::number(taken.button) + u": 4003"_s,
                              u"sent 2, confirmed 1, unconfirmed 1"_s,
                              u"read back ME3: 1 button differs from the file"_s}));
        QCOMPARE(run.err, u"quorvane-cli: 1 button differs from the file when read back from the "
                          u"frame after 2 writes; run apply again, or look at these buttons on the "
                          u"frame\n"_s);
        // Another source in answer to a write and to its one resend is the frame's own word:
        // the write is refused then, not sent on.
        QCOMPARE(writesTo(refusing, Bus::me3, refused.shift, refused.button), 2);
        QCOMPARE(writesTo(refusing, Bus::me3, taken.shift, taken.button), 1);
        QCOMPARE(refusing.mapping(Bus::me3, 35, refused.shift, refused.button),
                 quint32(refused.source));
    }

    void aPlaceWhereNoFileCanBeWrittenIsRefusedFirst_data()
    {
        // Paths below %1 are in a temporary folder.
        QTest::addColumn<QString>("target");
        QTest::addColumn<QString>("reason");
        QTest::newRow("missing folder")
            << u"%1/missing/show.json"_s << u"the folder %1/missing does not exist"_s;
        QTest::newRow("below a file")
            << u"%1/plain.txt/show.json"_s << u"%1/plain.txt is not a folder"_s;
        QTest::newRow("a folder") << u"%1"_s << u"it is a folder"_s;
        // The file is there, but its folder takes no new file to write the dump in first.
        QTest::newRow("in /proc") << u"/proc/version"_s
                                  << u"/proc takes no new files, and a dump is first written to "
                                     u"a new file beside its target"_s;
    }

    void aPlaceWhereNoFileCanBeWrittenIsRefusedFirst()
    {
        QFETCH(QString, target);
        QFETCH(QString, reason);
        FrameEmulator frame;
        QVERIFY(startFrame(frame));
        QTemporaryDir dir;
        save(dir.filePath(u"plain.txt"_s), "not a folder\n");
        const QString path = QString(target).replace(u"%1"_s, dir.path());
        const ToolRun run = runTool(quietly({u"dump"_s, u"--host"_s, host, u"-o"_s, path}));
        QCOMPARE(run.status, 2);
        QCOMPARE(run.err, u"quorvane-cli: cannot write "_s + path + u": "_s +
                              QString(reason).replace(u"%1"_s, dir.path()) +
                              u"; choose another place with -o\n"_s);
        QVERIFY(frame.received().isEmpty());
    }

    void aTimeoutShorterThanAConnectIsRefused()
    {
        FrameEmulator frame;
        QVERIFY(startFrame(frame));
        // At the protocol's own pace a connect with its first bus needs about six seconds.
        const ToolRun run = runTool(
            quietly({u"dump"_s, u"--host"_s, host, u"--timeout"_s, u"5.5"_s}), LinkTiming{});
        QCOMPARE(run.status, 2);
        QCOMPARE(run.err, u"quorvane-cli: --timeout 5.5 is shorter than connecting and loading a "
                          u"bus take at the frame's pace: use at least 6\n"_s);
        // Asking again costs time too.
        const ToolRun more = runTool(quietly({u"dump"_s, u"--host"_s, host, u"--timeout"_s, u"6"_s,
                                              u"--retries"_s, u"10"_s}),
                                     LinkTiming{});
        QCOMPARE(more.status, 2);
        QVERIFY(more.err.endsWith(u"use at least 8\n"_s));
        QVERIFY(frame.received().isEmpty());
    }

    void aFrameThatStopsInTheMiddleOfALoad_data()
    {
        QTest::addColumn<int>("stopAt");
        QTest::addColumn<QString>("loading");
        QTest::newRow("first bus, while connecting") << 70 << u"ME1"_s;
        QTest::newRow("second bus") << 140 + 70 << u"ME2"_s;
    }

    void aFrameThatStopsInTheMiddleOfALoad()
    {
        QFETCH(int, stopAt);
        QFETCH(QString, loading);
        FrameEmulatorOptions options;
        options.faults.stopAtButtonSubscription = stopAt;
        FrameEmulator frame(options);
        QVERIFY(startFrame(frame));
        QTemporaryDir dir;
        const QString path = dir.filePath(u"show.csv"_s);
        save(path, earlierBackup);
        const ToolRun run =
            runTool(quietly({u"dump"_s, u"--host"_s, host, u"--bus"_s, u"me1"_s, u"--bus"_s,
                             u"me2"_s, u"--bus"_s, u"me3"_s, u"-o"_s, path}));
        QCOMPARE(run.status, 3);
        QCOMPARE(run.out, QString());
        QCOMPARE(run.err,
                 u"quorvane-cli: the frame at 127.0.0.1 stopped answering while loading "_s +
                     loading +
                     u"; check the frame and the network, then run the command again\n"_s);
        QCOMPARE(contents(path), earlierBackup);
        QCOMPARE(QDir(dir.path()).entryList(QDir::Files), QStringList(u"show.csv"_s));
    }

    void aSecondProgramOnTheSameSuite()
    {
        FrameEmulator frame;
        QVERIFY(startFrame(frame));
        QTemporaryDir dir;
        QSettings preferences(dir.filePath(u"prefs.ini"_s), QSettings::IniFormat);
        DebugLogger log;
        log.setEcho(nullptr);
        GVConnection first(preferences, log);
        first.setTiming(fastTiming());
        first.connect(host, 3, 35);
        QTRY_COMPARE_WITH_TIMEOUT(first.connectionState(), ConnectionState::connected, 10'000);

        // Another process, as a user would start it.
        QProcess second;
        second.start(QStringLiteral(QUORVANE_CLI_PATH),
                     {u"dump"_s, u"--host"_s, host, u"--suite"_s, u"3"_s, u"--quiet"_s});
        QVERIFY(second.waitForFinished(30'000));
        QCOMPARE(second.exitStatus(), QProcess::NormalExit);
        QCOMPARE(second.exitCode(), 3);
        QCOMPARE(QString::fromUtf8(second.readAllStandardOutput()), QString());
        QCOMPARE(QString::fromUtf8(second.readAllStandardError()),
                 u"quorvane-cli: cannot open the local UDP ports 6136/6137 of suite 3: another "
                 u"program, perhaps another Quorvane on the same suite, holds them; close it, "
                 u"then try again\n"_s);

        // The first program keeps its link and its traffic.
        QVERIFY(first.isConnected());
        first.writeMapping(Bus::me4, 2, 2, 4321);
        QTRY_COMPARE(frame.mapping(Bus::me4, 35, 2, 2), 4321u);
        QCOMPARE(frame.client()->mainPort, quint16{6136});
        first.disconnect();
    }
};

QTEST_GUILESS_MAIN(TestCliFaults)
#include "tst_cli_faults.moc"
