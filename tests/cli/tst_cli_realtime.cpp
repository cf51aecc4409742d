// The tool's jobs at the protocol's own timings, as a user runs them: a backup of every bus,
// then a comparison and a restore. Shortened timings prove the logic elsewhere; here the waits
// are the real ones, and the link must hold through all of them.
#include "cli_frame_support.h"
#include "cli_runner.h"

#include <QTemporaryDir>

using namespace Qt::StringLiterals;
using namespace quorvane;
using namespace quorvane::test;
using emulator::FrameEmulator;

namespace {
const QString host = u"127.0.0.1"_s;
constexpr int limitMs = 120'000;
} // namespace

class TestCliRealtime : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        QVERIFY(startFrame(m_frame));
        QVERIFY(m_dir.isValid());
    }

    void cleanup() { m_frame.stop(); }

    void dumpOfEveryBus()
    {
        const QString path = m_dir.filePath(u"studio-a.json"_s);
        const ToolRun run = runTool({u"dump"_s, u"--host"_s, host, u"-o"_s, path, u"--verbose"_s},
                                    LinkTiming{}, limitMs);
        QCOMPARE(run.status, 0);
        const QList<Bus> buses(allBuses.begin(), allBuses.end());
        QCOMPARE(withoutNames(readJson(contents(path)).buttons),
                 assignedOnFrame(m_frame, buses, 35));
        // The link held through six loads back to back, and nothing had to be asked again.
        QVERIFY(!run.err.contains(u"Heartbeat timeout"_s));
        QVERIFY(!run.err.contains(u"Asking again"_s));
        QCOMPARE(run.err.count(u"[INFO] Read complete: "_s), 6);
    }

    void diffAndApply()
    {
        const QString path = m_dir.filePath(u"me2.json"_s);
        const ShowFile backup = showOfFrame(m_frame, {Bus::me2});
        save(path, writeShowJson(backup));
        const ShowButton first = backup.buttons.first();
        const ShowButton last = backup.buttons.last();
        m_frame.setMapping(Bus::me2, 35, first.shift, first.button, 4001);
        m_frame.setMapping(Bus::me2, 35, last.shift, last.button, 0);

        const ToolRun diff =
            runTool(quietly({u"diff"_s, path, u"--host"_s, host}), LinkTiming{}, limitMs);
        QCOMPARE(diff.status, 1);
        QCOMPARE(diff.outLines().size(), 3);
        QCOMPARE(diff.outLines().last(), u"2 buttons differ on ME2"_s);

        const ToolRun apply =
            runTool(quietly({u"apply"_s, path, u"--host"_s, host}), LinkTiming{}, limitMs);
        QCOMPARE(apply.status, 0);
        QCOMPARE(apply.outLines().mid(2), QStringList({u"sent 2, confirmed 2, unconfirmed 0"_s,
                                                       u"read back ME2: as in the file"_s}));
        QCOMPARE(m_frame.mapping(Bus::me2, 35, first.shift, first.button), quint32(first.source));
        QCOMPARE(m_frame.mapping(Bus::me2, 35, last.shift, last.button), quint32(last.source));

        const ToolRun again =
            runTool(quietly({u"diff"_s, path, u"--host"_s, host}), LinkTiming{}, limitMs);
        QCOMPARE(again.status, 0);
        QCOMPARE(again.out, u"no differences on ME2\n"_s);
    }

private:
    FrameEmulator m_frame;
    QTemporaryDir m_dir;
};

QTEST_GUILESS_MAIN(TestCliRealtime)
#include "tst_cli_realtime.moc"
