#pragma once

// Every file dump writes is read back by diff, apply and sheet unchanged: a backup that its own
// readers refuse cannot be restored. The frame damages some button records on the way (sources
// beyond 16 bits), which the tool must ask for again rather than write into the file. Each file
// format runs in an executable of its own, so that they run side by side.

#include "cli_frame_support.h"
#include "cli_runner.h"

#include <QFileInfo>
#include <QTemporaryDir>

namespace quorvane::test {

// The seeds of the frame's damage, one test row each.
inline void readBackRows(std::initializer_list<quint32> seeds)
{
    QTest::addColumn<quint32>("seed");
    for (const quint32 seed : seeds)
        QTest::addRow("seed %u", seed) << seed;
}

// Dumps every bus of a frame whose damage follows `seed` into `fileName`, whose ending chooses
// the format, then has diff, apply and sheet read the file back.
inline void dumpIsReadBackUnchanged(const QString& fileName, quint32 seed)
{
    using namespace Qt::StringLiterals;
    const QString host = u"127.0.0.1"_s;
    const QString everyBus = u"ME1, ME2, ME3, ME4, PGM, AUX"_s;
    // Enough rounds of asking again that a button damaged every time stays improbable.
    const QString retries = u"6"_s;

    emulator::FrameEmulatorOptions options;
    options.faults.corruptSourceFraction = 0.05;
    options.faults.seed = seed;
    emulator::FrameEmulator frame(options);
    int corrupted = 0;
    QObject::connect(&frame, &emulator::FrameEmulator::activity, &frame,
                     [&corrupted](const QString& line) {
                         corrupted += line.contains(u", corrupted to "_s);
                     });
    QVERIFY(startFrame(frame));
    QTemporaryDir dir;
    const QString path = dir.filePath(fileName);

    const ToolRun dump = runTool(quietly({u"dump"_s, u"--host"_s, host, u"--bus"_s, u"all"_s,
                                          u"--retries"_s, retries, u"-o"_s, path}));
    QCOMPARE(dump.status, 0);
    QVERIFY2(corrupted > 0, "the frame damaged no record: the test proves nothing");
    const ShowFileResult written = fileName.endsWith(u".csv"_s) ? readShowCsv(contents(path), 35)
                                                                 : readShowJson(contents(path));
    QVERIFY(written.file);
    const QList<Bus> buses(allBuses.begin(), allBuses.end());
    QCOMPARE(withoutNames(written.file->buttons), assignedOnFrame(frame, buses, 35));

    const ToolRun diff =
        runTool(quietly({u"diff"_s, path, u"--host"_s, host, u"--retries"_s, retries}));
    QCOMPARE(diff.err, QString());
    QCOMPARE(diff.status, 0);
    QCOMPARE(diff.out, u"no differences on "_s + everyBus + u'\n');

    const ToolRun apply =
        runTool(quietly({u"apply"_s, path, u"--host"_s, host, u"--retries"_s, retries}));
    QCOMPARE(apply.err, QString());
    QCOMPARE(apply.status, 0);
    QCOMPARE(apply.out, u"sent 0, confirmed 0, unconfirmed 0\n"_s);
    QVERIFY(frame.writeRequests().isEmpty());

    const QString sheetPath = dir.filePath(u"sheet.pdf"_s);
    const ToolRun sheet = runTool(quietly({u"sheet"_s, path, u"-o"_s, sheetPath}));
    QCOMPARE(sheet.err, QString());
    QCOMPARE(sheet.status, 0);
    QVERIFY(QFileInfo(sheetPath).size() > 0);
}

} // namespace quorvane::test
