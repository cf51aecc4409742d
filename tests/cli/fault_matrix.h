#pragma once

// One row of the fault matrix: a dump of three buses from a frame with one fault. Whatever the
// fault, the run either finishes complete and correct, or fails with its own exit code and
// leaves an earlier backup exactly as it was. Each row stands on its own, so any one of them can
// be run alone.

#include "cli_frame_support.h"
#include "cli_runner.h"

#include <QDir>
#include <QTemporaryDir>
#include <functional>

namespace quorvane::test {

// A fault switch that sets in once the client has started loading buttons.
using FaultTrigger = std::function<void(emulator::FrameEmulator&)>;

// Dumps ME1, ME4 and AUX from a frame with `options` (and `trigger`, if any) into a backup file
// and checks the outcome: an exit status among `accepted`, and for each the promise above. Use
// it as the last statement of a test function: a failed check returns from it.
inline void dumpThroughFault(const emulator::FrameEmulatorOptions& options,
                             const FaultTrigger& trigger, const QList<int>& accepted)
{
    using emulator::FrameEmulator;
    FrameEmulator frame(options);
    if (trigger) {
        QObject::connect(&frame, &FrameEmulator::datagramReceived, &frame,
                         [&frame, trigger, set = false](
                             const emulator::ReceivedDatagram& datagram) mutable {
                             if (!set && datagram.message.kind ==
                                             emulator::ClientMessageKind::buttonSubscription) {
                                 set = true;
                                 trigger(frame);
                             }
                         });
    }
    QVERIFY(startFrame(frame));
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("backup.json"));
    save(path, earlierBackup);

    const ToolRun run = runTool(quietly(
        {QStringLiteral("dump"), QStringLiteral("--host"), QStringLiteral("127.0.0.1"),
         QStringLiteral("--bus"), QStringLiteral("me1"), QStringLiteral("--bus"),
         QStringLiteral("me4"), QStringLiteral("--bus"), QStringLiteral("aux"),
         QStringLiteral("-o"), path}));
    qInfo("exit %d: %s", run.status, qPrintable(run.errLines().value(0)));
    QVERIFY2(accepted.contains(run.status), qPrintable(run.err));
    if (run.status == 0) {
        // Complete: exactly the frame's table, nothing missing, nothing extra. Anything else
        // would be a backup silently incomplete, the one outcome never allowed.
        const ShowFileResult written = readShowJson(contents(path));
        QVERIFY2(written.file, "exit 0, and the file written is no show file");
        QVERIFY2(withoutNames(written.file->buttons) ==
                     assignedOnFrame(frame, {Bus::me1, Bus::me4, Bus::aux}, 35),
                 "exit 0, and the show file written is not the frame's table: silently "
                 "incomplete");
    } else {
        // Incomplete or no frame: said so, and the earlier backup untouched.
        QVERIFY(!run.errLines().isEmpty());
        QCOMPARE(contents(path), earlierBackup);
    }
    QCOMPARE(QDir(dir.path()).entryList(QDir::Files), QStringList(QStringLiteral("backup.json")));
}

} // namespace quorvane::test

Q_DECLARE_METATYPE(quorvane::emulator::FrameEmulatorOptions)
Q_DECLARE_METATYPE(quorvane::test::FaultTrigger)
