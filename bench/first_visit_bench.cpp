// How long a first visit to a bus takes in the main window against the emulated frame with the
// protocol's own timings: from the click on its tab to a complete grid (every cell drawn from
// the frame's answers), beside the waits a load cannot avoid (target ≤ 0.4 s on a healthy
// frame). Then the same with 5 % of the datagrams lost each way, which costs a round of asking
// again. Last, with the desktop's loading ahead on, the time from the connect click to all six
// buses loaded, beside the waits a connect and six loads cannot avoid (target <= 1.05 x).
// Run it on the offscreen platform: QT_QPA_PLATFORM=offscreen.
#include "diagnostics/debug_logger.h"
#include "editing/editing_model.h"
#include "emulated_frame.h"
#include "frame_emulator.h"
#include "link/gv_connection.h"
#include "main_window.h"
#include "session/background_bus_loading.h"
#include "run_until.h"
#include "widgets/connection_panel.h"
#include "widgets/content_view.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QSettings>
#include <QTabBar>
#include <QTemporaryDir>
#include <QTest>
#include <algorithm>
#include <optional>
#include <cstdio>
#include <vector>

using namespace Qt::StringLiterals;
using namespace quorvane;
using quorvane::bench::runUntil;

namespace {

struct Desk {
    QTemporaryDir settingsDir;
    QSettings preferences{settingsDir.filePath(u"prefs.ini"_s), QSettings::IniFormat};
    DebugLogger logger;
    MainWindow window{preferences, logger};
    ContentView& view = window.contentView();
    GVConnection& connection = view.connection();
};

// Click to complete grid for each bus not yet loaded, in milliseconds; empty on failure.
std::vector<double> firstVisits(double loss, quint32 seed)
{
    emulator::FrameEmulatorOptions options;
    options.faults.seed = seed;
    emulator::FrameEmulator frame(options);
    if (!quorvane::bench::startFrame(frame))
        return {};
    Desk desk;
    desk.logger.setEcho(nullptr);
    // Measured before loading ahead could reach the bus.
    desk.view.backgroundLoading().setEnabled(false);
    desk.window.show();
    if (!QTest::qWaitForWindowExposed(&desk.window))
        return {};
    ContentView& view = desk.view;
    GVConnection& connection = desk.connection;
    EditingModel& model = view.model();
    model.setIpAddress(u"127.0.0.1"_s);
    view.connectionPanel()->pressConnectButton();
    if (!runUntil([&] { return connection.connectionState() == ConnectionState::connected; },
                  30'000)) {
        std::fprintf(stderr, "did not connect: %s\n", qPrintable(connection.statusMessage()));
        return {};
    }
    frame.setLoss(loss, loss);

    QTabBar* tabs = view.busTabs();
    std::vector<double> visits;
    for (int index = 0; index < tabs->count(); ++index) {
        if (index == tabs->currentIndex())
            continue;
        QElapsedTimer clock;
        clock.start();
        QTest::mouseClick(tabs, Qt::LeftButton, Qt::NoModifier, tabs->tabRect(index).center());
        if (!runUntil([&] { return model.cellState(1, 1).isFullyLoaded; }, 10'000))
            return {};
        visits.push_back(double(clock.nsecsElapsed()) / 1e6);
    }
    connection.disconnect();
    return visits;
}

// Connect click to every bus loaded ahead, in milliseconds; none on failure.
std::optional<double> connectAndLoadAhead()
{
    emulator::FrameEmulator frame;
    if (!quorvane::bench::startFrame(frame))
        return std::nullopt;
    Desk desk;
    desk.logger.setEcho(nullptr);
    desk.window.show();
    if (!QTest::qWaitForWindowExposed(&desk.window))
        return std::nullopt;
    desk.view.model().setIpAddress(u"127.0.0.1"_s);
    QElapsedTimer clock;
    clock.start();
    desk.view.connectionPanel()->pressConnectButton();
    if (!runUntil([&] { return desk.connection.hasLoadedAllBuses(); }, 30'000))
        return std::nullopt;
    const double elapsed = double(clock.nsecsElapsed()) / 1e6;
    desk.connection.disconnect();
    return elapsed;
}

} // namespace

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    const double fixed = double(busLoadWaits(LinkTiming{}, 35).count());
    std::printf("first visit to a bus at 35 buttons, tab click to a complete grid, default "
                "timings\nfixed waits of a load: %.0f ms\n\n",
                fixed);
    std::printf("%-10s %10s %10s %10s\n", "loss", "median ms", "worst ms", "ratio");
    for (const double loss : {0.0, 0.05}) {
        std::vector<double> visits;
        for (quint32 seed = 1; seed <= 3; ++seed) {
            const std::vector<double> run = firstVisits(loss, seed);
            if (run.empty())
                return 1;
            visits.insert(visits.end(), run.begin(), run.end());
        }
        std::sort(visits.begin(), visits.end());
        const double median = visits[visits.size() / 2];
        std::printf("%-10s %10.0f %10.0f %10.3f\n", loss > 0 ? "5 %" : "none", median,
                    visits.back(), median / fixed);
    }
    std::printf("\ntarget: median <= 400 ms without loss\n\n");

    const double fixedAll = double((connectWaits(LinkTiming{}, 35) +
                                    5 * busLoadWaits(LinkTiming{}, 35)).count());
    std::printf("connect to all six buses loaded in the background (fixed waits %.0f ms)\n",
                fixedAll);
    for (int run = 1; run <= 3; ++run) {
        const std::optional<double> all = connectAndLoadAhead();
        if (!all)
            return 1;
        std::printf("run %d: %.0f ms, %.3f x the fixed waits\n", run, *all, *all / fixedAll);
    }
    return 0;
}
