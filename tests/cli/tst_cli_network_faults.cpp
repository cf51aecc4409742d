// The fault matrix over the network: dumps through a lossy network, datagrams sent twice or out
// of order, and a network that turns slow in the middle of a load.
#include "fault_matrix.h"

using namespace quorvane;
using namespace quorvane::test;
using emulator::FrameEmulator;
using emulator::FrameEmulatorOptions;

class TestCliNetworkFaults : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theFaultMatrix_data()
    {
        QTest::addColumn<FrameEmulatorOptions>("options");
        QTest::addColumn<FaultTrigger>("trigger");
        QTest::addColumn<QList<int>>("accepted"); // exit statuses
        const auto lossy = [](double fraction, quint32 seed) {
            FrameEmulatorOptions options;
            options.faults.dropFraction = fraction;
            options.faults.dropSentFraction = fraction;
            options.faults.seed = seed;
            return options;
        };
        FrameEmulatorOptions duplicates;
        duplicates.faults.duplicateSends = true;
        FrameEmulatorOptions reordered;
        reordered.faults.reorderWindowMs = 30;
        const FaultTrigger none;
        const FaultTrigger slowsDown = [](FrameEmulator& frame) { frame.setAnswerDelay(2000); };
        // Complete, incomplete (exit 4) or without the frame (exit 3): what loss or a slow
        // network may cost depends on which datagrams they hit.
        const QList<int> anyOutcome{0, 3, 4};
        const QList<int> complete{0};

        QTest::newRow("no fault") << FrameEmulatorOptions{} << none << complete;
        QTest::newRow("2 % loss") << lossy(0.02, 11) << none << anyOutcome;
        QTest::newRow("5 % loss") << lossy(0.05, 12) << none << anyOutcome;
        QTest::newRow("10 % loss") << lossy(0.10, 13) << none << anyOutcome;
        QTest::newRow("20 % loss") << lossy(0.20, 14) << none << anyOutcome;
        QTest::newRow("duplicates") << duplicates << none << complete;
        QTest::newRow("reordering") << reordered << none << complete;
        QTest::newRow("2 s delay") << FrameEmulatorOptions{} << slowsDown << anyOutcome;
    }

    void theFaultMatrix()
    {
        QFETCH(FrameEmulatorOptions, options);
        QFETCH(FaultTrigger, trigger);
        QFETCH(QList<int>, accepted);
        dumpThroughFault(options, trigger, accepted);
    }
};

QTEST_GUILESS_MAIN(TestCliNetworkFaults)
#include "tst_cli_network_faults.moc"
