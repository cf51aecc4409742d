#include "connection_panel.h"
#include "content_view.h"
#include "demo_frame.h"
#include "diagnostics/debug_logger.h"
#include "editing_model.h"
#include "link/gv_connection.h"
#include "main_window.h"
#include "start_options.h"
#include "window_style.h"

#include <QApplication>
#include <QMessageBox>
#include <QSettings>
#include <QTimer>
#include <cstdio>
#include <memory>

using namespace Qt::StringLiterals;
using namespace quorvane;

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    QApplication::setApplicationName(u"Quorvane"_s);
    QApplication::setOrganizationName(u"Quorvane"_s);
    const ParsedStart start = parseStartOptions(QApplication::arguments());
    if (!start.error.isEmpty()) {
        std::fprintf(stderr, "quorvane: %s\n", qPrintable(start.error));
        return 2;
    }
    useDarkLook(app);

    QSettings preferences;
    MainWindow window(preferences, DebugLogger::shared());
    ContentView& view = window.contentView();
    EditingModel& model = view.model();

    std::unique_ptr<emulator::FrameEmulator> demoFrame;
    if (start.options.demo) {
        QString error;
        demoFrame = startDemoFrame(view, error);
        if (!demoFrame) {
            QMessageBox::warning(&window, u"Quorvane"_s,
                                 u"The built-in demo frame could not start: "_s + error);
        }
    }
    if (start.options.host)
        model.setIpAddress(*start.options.host);
    if (start.options.suite)
        model.setSelectedSuite(*start.options.suite);
    if (start.options.buttons)
        model.setSelectedButtonCount(*start.options.buttons);

    window.show();
    QTimer::singleShot(100, &window, [&window] { window.setUpWindow(); });
    if (start.options.connect)
        view.connectionPanel()->pressConnectButton();
    const int result = QApplication::exec();
    view.connection().disconnect();
    return result;
}
