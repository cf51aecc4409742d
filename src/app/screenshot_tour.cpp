// Takes the README's screenshots of the real window: connected to the built-in demo frame with
// all 35 buttons of a row fitted to the window, with a selection and the debug log open at its
// newest lines, with the Edit menu open, with the log searched without its hex dumps and
// filtered to its warnings, with the source picker open, and with a show file opened offline.
// Run it under a display (the repository's scripts/screenshots.sh starts a virtual one).
#include "widgets/connection_panel.h"
#include "widgets/content_view.h"
#include "widgets/debug_log_panel.h"
#include "diagnostics/debug_logger.h"
#include "edit_menu.h"
#include "editing/editing_model.h"
#include "link/gv_connection.h"
#include "main_window.h"
#include "served_show.h"
#include "widgets/source_picker_dialog.h"
#include "window_style.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QScreen>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>
#include <cstdio>

using namespace Qt::StringLiterals;
using namespace quorvane;

namespace {

bool save(const QString& path)
{
    // The whole screen as the window system shows it, not a re-rendering of the widgets.
    const QPixmap shot = QGuiApplication::primaryScreen()->grabWindow(0);
    if (!shot.save(path)) {
        std::fprintf(stderr, "could not save %s\n", qPrintable(path));
        return false;
    }
    std::printf("%s\n", qPrintable(path));
    return true;
}

} // namespace

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    const QString folder = argc > 1 ? QString::fromLocal8Bit(argv[1]) : u"docs/screenshots"_s;
    QDir().mkpath(folder);
    useDarkLook(app);

    QTemporaryDir settingsDir;
    QSettings preferences(settingsDir.filePath(u"prefs.ini"_s), QSettings::IniFormat);
    DebugLogger logger;
    logger.setEcho(nullptr);
    MainWindow window(preferences, logger);
    window.show();
    window.setUpWindow();
    ContentView& view = window.contentView();
    view.model().setZoom(GridZoom::fitToWindow());
    if (const std::optional<QString> failed = window.startDemoFrame()) {
        std::fprintf(stderr, "demo frame: %s\n", qPrintable(*failed));
        return 1;
    }
    const auto connected = [&] {
        return QTest::qWaitFor(
            [&] { return view.connection().connectionState() == ConnectionState::connected; },
            20'000);
    };
    EditingModel& model = view.model();
    const QString demoAddress = model.ipAddress();
    view.connectionPanel()->pressConnectButton();
    if (!connected()) {
        std::fprintf(stderr, "the demo frame did not connect\n");
        return 1;
    }
    QTest::qWait(300);
    if (!save(folder + u"/connected.png"_s))
        return 1;

    model.tap(2, 3);
    model.shiftTap(2, 9);
    model.copySelection();
    model.setShowDebugLog(true);
    QTest::qWait(300);
    if (!save(folder + u"/selection.png"_s))
        return 1;

    // The Edit menu opened over the row just copied.
    QMenu& edit = *window.editMenu().menu();
    window.menuBar()->setActiveAction(edit.menuAction());
    QTest::qWait(300);
    if (!save(folder + u"/edit-menu.png"_s))
        return 1;
    edit.close();

    // The log without its hex dumps, searched; then only its warnings and errors.
    DebugLogPanel& log = *view.debugLog();
    log.setFilter(LogFilter::infoAndAbove);
    log.searchField()->setText(u"PGM"_s);
    QTest::qWait(300);
    if (!save(folder + u"/log-search.png"_s))
        return 1;
    log.searchField()->clear();

    // Disconnected, and a mistyped address refused at once: the banner over the empty grid and
    // the log filtered to its warnings.
    view.connectionPanel()->pressConnectButton();
    model.setIpAddress(u"10.0.0"_s);
    view.connectionPanel()->pressConnectButton();
    log.setFilter(LogFilter::warningsAndErrors);
    QTest::qWait(300);
    if (!save(folder + u"/log-warnings.png"_s))
        return 1;
    log.setFilter(LogFilter::all);
    model.setIpAddress(demoAddress);
    view.connectionPanel()->pressConnectButton();
    if (!connected())
        return 1;

    model.setShowDebugLog(false);
    model.doubleTap(1, 5);
    view.picker()->searchField()->setText(u"cam"_s);
    model.setPickerSearchText(u"cam"_s);
    QTest::qWait(300);
    if (!save(folder + u"/picker.png"_s))
        return 1;
    view.picker()->reject();

    // The demo's show as a file, opened offline, with a button changed and not yet saved.
    ShowFile show;
    show.frameName = u"K-Frame XP"_s;
    show.frameVersion = u"V12.3.1"_s;
    show.buttonCount = 35;
    show.buttons = emulator::assignedButtons(emulator::demoShow(), 35);
    show.sources = emulator::demoShow().names();
    const QString file = settingsDir.filePath(u"studio-a.json"_s);
    QFile out(file);
    if (!out.open(QIODevice::WriteOnly) || out.write(writeShowJson(show)) < 0)
        return 1;
    out.close();
    if (const std::optional<QString> failed = window.openShow(file)) {
        std::fprintf(stderr, "offline show: %s\n", qPrintable(*failed));
        return 1;
    }
    if (!connected())
        return 1;
    model.tap(3, 4);
    QTest::qWait(300);
    if (!save(folder + u"/offline.png"_s))
        return 1;
    view.connection().disconnect();
    return 0;
}
