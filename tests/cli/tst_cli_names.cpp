// The names a dump writes are complete: names lost in the connect's names phase are loaded once
// more, and sources that have none on the frame are named in one line, not taken for an error.
#include "cli_frame_support.h"
#include "cli_runner.h"
#include "model/show_file_io.h"
#include "report_lines.h"

using namespace Qt::StringLiterals;
using namespace quorvane;
using namespace quorvane::test;
using emulator::ClientMessageKind;
using emulator::FrameEmulator;

namespace {

// The sources the dumped buses use that the frame keeps no names for.
QString unnamedOnFrame(const FrameEmulator& frame, const QList<Bus>& buses)
{
    QList<qint64> used;
    for (const ShowButton& button : assignedOnFrame(frame, buses, 35))
        used.append(button.source);
    return cli::unnamedSourcesLine(sourcesWithoutNames(used, frame.show().names()));
}

} // namespace

class TestCliNames : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void namesLostTheFirstTimeAreLoadedAgain()
    {
        emulator::FrameEmulatorOptions options;
        options.faults.lostArrivals = {{ClientMessageKind::sourceNameSubscription, 1}};
        FrameEmulator frame(options);
        QVERIFY(startFrame(frame));
        const ToolRun run = runTool({u"dump"_s, u"--host"_s, u"127.0.0.1"_s, u"--bus"_s,
                                     u"pgm"_s, u"--verbose"_s});
        QCOMPARE(run.status, 0);
        const ShowFile file = readJson(run.out.toUtf8());
        // Every name of the frame is in the file, after a second, identical subscription.
        QCOMPARE(file.sources, frame.show().names());
        const auto asked = frame.receivedOfKind(ClientMessageKind::sourceNameSubscription);
        QCOMPARE(asked.size(), 2);
        QCOMPARE(asked[1].bytes.mid(4), asked[0].bytes.mid(4));
        QVERIFY(run.err.contains(u"[INFO] Loading the source names again"_s));
        for (const ShowButton& button : file.buttons)
            QCOMPARE(button.name, nameOnFrame(frame, button.source));
        // What has no names even then is said in one line, and the dump still succeeds.
        QVERIFY(run.err.contains(unnamedOnFrame(frame, {Bus::pgm})));
    }

    void aFrameThatNamesEverySourceIsAskedOnce()
    {
        FrameEmulator frame;
        QVERIFY(startFrame(frame));
        // Names for every source the bus uses: nothing to ask for again.
        for (const ShowButton& button : assignedOnFrame(frame, {Bus::me1}, 35))
            frame.pushLiveRename(static_cast<int>(button.source), // no client yet: the show only
                                 SourceName{u"ENG"_s, u"PANEL"_s, u"OLED"_s, u"MENU"_s});
        const ToolRun run = runTool({u"dump"_s, u"--host"_s, u"127.0.0.1"_s, u"--bus"_s,
                                     u"me1"_s, u"--verbose"_s});
        QCOMPARE(run.status, 0);
        QCOMPARE(frame.receivedOfKind(ClientMessageKind::sourceNameSubscription).size(), 1);
        QVERIFY(!run.err.contains(u"Sources without names on the frame"_s));
    }
};

QTEST_GUILESS_MAIN(TestCliNames)
#include "tst_cli_names.moc"
