// Every file dump writes is read back by diff, apply and sheet unchanged: a backup that its own
// readers refuse cannot be restored. The frame damages some button records on the way (sources
// beyond 16 bits), which the tool must ask for again rather than write into the file.
#include "cli_frame_support.h"
#include "cli_runner.h"

#include <QFileInfo>
#include <QTemporaryDir>

using namespace Qt::StringLiterals;
using namespace quorvane;
using namespace quorvane::test;
using emulator::FrameEmulator;
using emulator::FrameEmulatorOptions;

namespace {

const QString host = u"127.0.0.1"_s;
const QString everyBus = u"ME1, ME2, ME3, ME4, PGM, AUX"_s;
// Enough rounds of asking again that a button damaged every time stays improbable.
const QString retries = u"6"_s;

} // namespace

class TestCliReadBack : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void everyDumpIsReadBackUnchanged_data()
    {
        QTest::addColumn<QString>("fileName");
        QTest::addColumn<quint32>("seed");
        QTest::newRow("json, seed 1") << u"show.json"_s << 1u;
        QTest::newRow("csv, seed 2") << u"show.csv"_s << 2u;
        QTest::newRow("json, seed 3") << u"show.json"_s << 3u;
    }

    void everyDumpIsReadBackUnchanged()
    {
        QFETCH(QString, fileName);
        QFETCH(quint32, seed);
        FrameEmulatorOptions options;
        options.faults.corruptSourceFraction = 0.05;
        options.faults.seed = seed;
        FrameEmulator frame(options);
        int corrupted = 0;
        connect(&frame, &FrameEmulator::activity, this, [&corrupted](const QString& line) {
            corrupted += line.contains(u", corrupted to "_s);
        });
        QVERIFY(startFrame(frame));
        QTemporaryDir dir;
        const QString path = dir.filePath(fileName);

        const ToolRun dump = runTool(quietly(
            {u"dump"_s, u"--host"_s, host, u"--bus"_s, u"all"_s, u"--retries"_s, retries, u"-o"_s,
             path}));
        QCOMPARE(dump.status, 0);
        QVERIFY2(corrupted > 0, "the frame damaged no record: the test proves nothing");
        const ShowFileResult written = fileName.endsWith(u".csv"_s)
                                           ? readShowCsv(contents(path), 35)
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
};

QTEST_MAIN(TestCliReadBack)
#include "tst_cli_read_back.moc"
