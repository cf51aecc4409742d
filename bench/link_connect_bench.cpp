// How long a connect and the first bus load take against the emulated frame with the
// protocol's own timings, compared with the waits the protocol itself prescribes, and how long
// the event loop is ever kept from running meanwhile (a 1 ms probe timer measures the gaps).
//
// Targets: wall time ≤ 1.05 × the fixed waits; longest stall ≤ 10 ms.
#include "diagnostics/debug_logger.h"
#include "frame_emulator.h"
#include "link/gv_connection.h"
#include "stall_probe.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QSettings>
#include <QTemporaryDir>
#include <QTimer>
#include <cstdio>

using namespace Qt::StringLiterals;
using namespace quorvane;
using quorvane::bench::StallProbe;

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    constexpr int runs = 3;
    const LinkTiming timing; // the application's own
    const double waits = double(connectWaits(timing, 35).count());

    emulator::FrameEmulator frame;
    if (!frame.start()) {
        std::fprintf(stderr, "cannot start the emulated frame: %s\n",
                     qPrintable(frame.errorString()));
        return 1;
    }
    QTemporaryDir settingsDir;
    QSettings preferences(settingsDir.filePath(u"prefs.ini"_s), QSettings::IniFormat);
    DebugLogger logger;
    logger.setEcho(qEnvironmentVariableIsSet("QUORVANE_BENCH_LOG") ? stderr : nullptr);

    std::printf("connect + load of PGM at 35 buttons, default timings, emulated frame\n");
    std::printf("%-5s %12s %12s %8s %16s\n", "run", "wall ms", "fixed ms", "ratio",
                "longest stall ms");
    double worstRatio = 0;
    double worstStall = 0;
    for (int run = 1; run <= runs; ++run) {
        GVConnection connection(preferences, logger);
        StallProbe probe;
        QElapsedTimer wall;
        wall.start();
        connection.connect(u"127.0.0.1"_s, 1, 35);
        while (connection.connectionState() != ConnectionState::connected &&
               wall.elapsed() < 30'000) {
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        }
        const double elapsed = double(wall.elapsed());
        if (connection.connectionState() != ConnectionState::connected) {
            std::fprintf(stderr, "run %d did not connect: %s\n", run,
                         qPrintable(connection.statusMessage()));
            return 1;
        }
        const double ratio = elapsed / waits;
        std::printf("%-5d %12.0f %12.0f %8.3f %16.2f\n", run, elapsed, waits, ratio,
                    probe.longestStallMs());
        worstRatio = qMax(worstRatio, ratio);
        worstStall = qMax(worstStall, probe.longestStallMs());
        connection.disconnect();
    }
    std::printf("worst ratio %.3f (target <= 1.05), worst stall %.2f ms (target <= 10)\n",
                worstRatio, worstStall);
    return 0;
}
