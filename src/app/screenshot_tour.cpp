// Takes the README's screenshots of the real window: connected to the built-in demo frame with
// all 35 buttons of a row fitted to the window, with a selection and the debug log open at its
// newest lines, and with the source picker open. Run it under a display (the repository's
// scripts/screenshots.sh starts a virtual one).
#include "connection_panel.h"
#include "content_view.h"
#include "demo_frame.h"
#include "diagnostics/debug_logger.h"
#include "editing_model.h"
#include "link/gv_connection.h"
#include "main_window.h"
#include "source_picker_dialog.h"
#include "window_style.h"

#include <QApplication>
#include <QDir>
#include <QLineEdit>
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
    QString error;
    const std::unique_ptr<emulator::FrameEmulator> frame = startDemoFrame(view, error);
    if (!frame) {
        std::fprintf(stderr, "demo frame: %s\n", qPrintable(error));
        return 1;
    }
    view.connectionPanel()->pressConnectButton();
    if (!QTest::qWaitFor(
            [&] { return view.connection().connectionState() == ConnectionState::connected; },
            20'000)) {
        std::fprintf(stderr, "the demo frame did not connect\n");
        return 1;
    }
    QTest::qWait(300);
    if (!save(folder + u"/connected.png"_s))
        return 1;

    EditingModel& model = view.model();
    model.tap(2, 3);
    model.shiftTap(2, 9);
    model.copySelection();
    model.setShowDebugLog(true);
    QTest::qWait(300);
    if (!save(folder + u"/selection.png"_s))
        return 1;

    model.setShowDebugLog(false);
    model.doubleTap(1, 5);
    view.picker()->searchField()->setText(u"cam"_s);
    model.setPickerSearchText(u"cam"_s);
    QTest::qWait(300);
    if (!save(folder + u"/picker.png"_s))
        return 1;
    view.connection().disconnect();
    return 0;
}
