// The main window against the emulated frame: how long a cached bus switch takes from the bus
// tab click to the grid's repaint (target ≤ 16 ms, one frame). The event loop's stalls during a
// connect with the window shown are link_connect_bench's.
#include "widgets/button_grid_widget.h"
#include "widgets/connection_panel.h"
#include "widgets/content_view.h"
#include "diagnostics/debug_logger.h"
#include "editing/editing_model.h"
#include "emulated_frame.h"
#include "frame_emulator.h"
#include "link/gv_connection.h"
#include "main_window.h"
#include "run_until.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QSettings>
#include <QTabBar>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <algorithm>
#include <cstdio>
#include <vector>

using namespace Qt::StringLiterals;
using namespace quorvane;
using quorvane::bench::runUntil;

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    emulator::FrameEmulator frame;
    if (!quorvane::bench::startFrame(frame))
        return 1;
    QTemporaryDir settingsDir;
    QSettings preferences(settingsDir.filePath(u"prefs.ini"_s), QSettings::IniFormat);
    DebugLogger logger;
    logger.setEcho(nullptr);
    MainWindow window(preferences, logger);
    window.resize(1400, 800);
    window.show();
    if (!QTest::qWaitForWindowExposed(&window))
        return 1;
    ContentView& view = window.contentView();
    GVConnection& connection = view.connection();
    view.model().setIpAddress(u"127.0.0.1"_s);

    view.connectionPanel()->pressConnectButton();
    if (!runUntil([&] { return connection.connectionState() == ConnectionState::connected; },
                  30'000)) {
        std::fprintf(stderr, "did not connect: %s\n", qPrintable(connection.statusMessage()));
        return 1;
    }
    // Load ME2 once, so that both buses are cached.
    QTabBar* tabs = view.busTabs();
    const auto tabCentre = [&](Bus bus) {
        return tabs
            ->tabRect(int(std::find(allBuses.begin(), allBuses.end(), bus) - allBuses.begin()))
            .center();
    };
    QTest::mouseClick(tabs, Qt::LeftButton, Qt::NoModifier, tabCentre(Bus::me2));
    if (!runUntil([&] { return !connection.isLoading(); }, 15'000))
        return 1;

    std::vector<double> switches;
    bool painted = false;
    QObject::connect(view.grid(), &ButtonGridWidget::painted, view.grid(), [&] { painted = true; });
    for (int round = 0; round < 40; ++round) {
        const Bus bus = round % 2 == 0 ? Bus::pgm : Bus::me2;
        painted = false;
        QElapsedTimer clock;
        clock.start();
        QTest::mouseClick(tabs, Qt::LeftButton, Qt::NoModifier, tabCentre(bus));
        while (!painted && clock.elapsed() < 1000)
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 5);
        switches.push_back(double(clock.nsecsElapsed()) / 1e6);
    }
    std::sort(switches.begin(), switches.end());
    std::printf("cached bus switch, tab click to grid repaint, %zu switches, 35 buttons\n",
                switches.size());
    std::printf("median %.2f ms, 95th percentile %.2f ms, worst %.2f ms (target <= 16)\n",
                switches[switches.size() / 2], switches[switches.size() * 95 / 100],
                switches.back());
    connection.disconnect();
    return 0;
}
