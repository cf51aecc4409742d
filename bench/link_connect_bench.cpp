// How long a connect and the first bus load take against the emulated frame with the
// protocol's own timings, compared with the waits the protocol itself prescribes, and how long
// the event loop is ever kept from running meanwhile (a 1 ms probe timer measures the gaps):
// first the connection alone, then the real main window shown, connecting from its panel.
//
// Targets: wall time ≤ 1.05 × the fixed waits; longest stall ≤ 10 ms (5 ms the next goal).
// Run it on the offscreen platform: QT_QPA_PLATFORM=offscreen.
#include "widgets/connection_panel.h"
#include "widgets/content_view.h"
#include "diagnostics/debug_logger.h"
#include "editing/editing_model.h"
#include "emulated_frame.h"
#include "frame_emulator.h"
#include "link/gv_connection.h"
#include "main_window.h"
#include "run_until.h"
#include "stall_probe.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>
#include <cstdio>
#include <functional>

using namespace Qt::StringLiterals;
using namespace quorvane;
using quorvane::bench::runUntil;
using quorvane::bench::StallProbe;

namespace {

constexpr int runs = 3;

struct Worst {
    double ratio = 0;
    double stall = 0;
};

// Measures `runs` connects: `connect` starts one and returns the connection that runs it.
bool measure(const char* title, const std::function<GVConnection&()>& connect, Worst& worst)
{
    const double waits = double(connectWaits(LinkTiming{}, 35).count());
    std::printf("%s\n%-5s %12s %12s %8s %16s\n", title, "run", "wall ms", "fixed ms", "ratio",
                "longest stall ms");
    for (int run = 1; run <= runs; ++run) {
        StallProbe probe;
        QElapsedTimer wall;
        wall.start();
        GVConnection& connection = connect();
        if (!runUntil([&] { return connection.connectionState() == ConnectionState::connected; },
                      30'000)) {
            std::fprintf(stderr, "run %d did not connect: %s\n", run,
                         qPrintable(connection.statusMessage()));
            return false;
        }
        const double elapsed = double(wall.elapsed());
        const double ratio = elapsed / waits;
        std::printf("%-5d %12.0f %12.0f %8.3f %16.2f\n", run, elapsed, waits, ratio,
                    probe.longestStallMs());
        worst.ratio = qMax(worst.ratio, ratio);
        worst.stall = qMax(worst.stall, probe.longestStallMs());
        connection.disconnect();
    }
    return true;
}

} // namespace

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    emulator::FrameEmulator frame;
    if (!quorvane::bench::startFrame(frame))
        return 1;
    QTemporaryDir settingsDir;
    QSettings preferences(settingsDir.filePath(u"prefs.ini"_s), QSettings::IniFormat);
    DebugLogger logger;
    logger.setEcho(qEnvironmentVariableIsSet("QUORVANE_BENCH_LOG") ? stderr : nullptr);

    Worst alone;
    GVConnection connection(preferences, logger);
    const bool aloneRan = measure(
        "connect + load of PGM at 35 buttons, default timings, emulated frame",
        [&]() -> GVConnection& {
            connection.connect(u"127.0.0.1"_s, 1, 35);
            return connection;
        },
        alone);
    if (!aloneRan)
        return 1;

    MainWindow window(preferences, logger);
    window.resize(1400, 800);
    window.show();
    if (!QTest::qWaitForWindowExposed(&window))
        return 1;
    ContentView& view = window.contentView();
    view.model().setIpAddress(u"127.0.0.1"_s);
    Worst shown;
    const bool shownRan = measure(
        "\nthe same from the main window's panel, the window shown",
        [&]() -> GVConnection& {
            view.connectionPanel()->pressConnectButton();
            return view.connection();
        },
        shown);
    if (!shownRan)
        return 1;

    std::printf("\nconnection alone: worst ratio %.3f (target <= 1.05), worst stall %.2f ms "
                "(target <= 10)\n",
                alone.ratio, alone.stall);
    std::printf("main window shown: worst ratio %.3f (target <= 1.05), worst stall %.2f ms "
                "(target <= 10)\n",
                shown.ratio, shown.stall);
    return 0;
}
