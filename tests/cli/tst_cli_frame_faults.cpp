// The fault matrix on the frame's side: buttons that never answer, and a frame that stops or
// restarts in the middle of a load.
#include "fault_matrix.h"

using namespace quorvane;
using namespace quorvane::test;
using emulator::FrameEmulatorOptions;

class TestCliFrameFaults : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theFaultMatrix_data()
    {
        QTest::addColumn<FrameEmulatorOptions>("options");
        QTest::addColumn<QList<int>>("accepted"); // exit statuses
        FrameEmulatorOptions silent;
        silent.faults.silentButtons = buttonRow(Bus::me4, 2, 1, 3);
        FrameEmulatorOptions stops;
        stops.faults.stopAtButtonSubscription = 200;
        FrameEmulatorOptions restarts;
        restarts.faults.restartAtButtonSubscription = 200;
        restarts.faults.restartDownMs = 300;

        QTest::newRow("buttons silent for good") << silent << QList<int>{4};
        QTest::newRow("frame stops") << stops << QList<int>{3};
        // After the restart the load may be taken up again, or given up on and said so.
        QTest::newRow("frame restarts") << restarts << QList<int>{0, 3, 4};
    }

    void theFaultMatrix()
    {
        QFETCH(FrameEmulatorOptions, options);
        QFETCH(QList<int>, accepted);
        dumpThroughFault(options, {}, accepted);
    }
};

QTEST_GUILESS_MAIN(TestCliFrameFaults)
#include "tst_cli_frame_faults.moc"
