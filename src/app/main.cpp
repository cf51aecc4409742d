#include "widgets/connection_panel.h"
#include "widgets/content_view.h"
#include "diagnostics/debug_logger.h"
#include "editing/editing_model.h"
#include "first_paint.h"
#include "link/gv_connection.h"
#include "main_window.h"
#include "platform/termination_signals.h"
#include "project_info.h"
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

namespace {

QStringList commandLine(int argc, char** argv)
{
    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments.append(QString::fromLocal8Bit(argv[i]));
    return arguments;
}

int describeProgram(StartRequest request)
{
    QString text = request == StartRequest::help ? startHelpText() : startVersionText();
    if (!text.endsWith(u'\n'))
        text += u'\n';
    std::fputs(text.toLocal8Bit().constData(), stdout);
    return 0;
}

int refuseArguments(const QString& error)
{
    std::fprintf(stderr, "quorvane: %s\n", qPrintable(error));
    return 2;
}

} // namespace

int main(int argc, char** argv)
{
    // --help, --version and a refused option need no window system, so they work without a
    // display. Qt's own options (-platform …) are only understood once QApplication has taken
    // them out: with an option unknown here on the command line, the answer comes after it.
    if (const ParsedStart early = parseStartOptions(commandLine(argc, argv));
        !early.unknownOption) {
        if (!early.error.isEmpty())
            return refuseArguments(early.error);
        if (early.options.request != StartRequest::run) {
            const QCoreApplication app(argc, argv);
            return describeProgram(early.options.request);
        }
    }

    QApplication app(argc, argv);
    QApplication::setApplicationName(u"Quorvane"_s);
    QApplication::setOrganizationName(u"Quorvane"_s);
    QGuiApplication::setDesktopFileName(desktopId.toString());
    const ParsedStart start = parseStartOptions(QApplication::arguments());
    if (!start.error.isEmpty())
        return refuseArguments(start.error);
    if (start.options.request != StartRequest::run)
        return describeProgram(start.options.request);
    useDarkLook(app);

    // Ctrl+C or SIGTERM end the program the way closing its window does, from here on: a
    // message box below may already be waiting for the user.
    TerminationRequest termination;
    deliverTerminationSignals(termination);
    QObject::connect(&termination, &TerminationRequest::requested, &app, [&termination] {
        DebugLogger::shared().info(u"Quitting on "_s + termination.signalName());
        QCoreApplication::exit(termination.exitStatus());
    });

    QSettings preferences;
    MainWindow window(preferences, DebugLogger::shared());
    ContentView& view = window.contentView();
    EditingModel& model = view.model();

    if (start.options.show) {
        if (const std::optional<QString> failed = window.openShow(*start.options.show)) {
            DebugLogger::shared().warn(u"Show not opened: "_s + *failed);
            QMessageBox::warning(&window, u"Quorvane"_s, *failed);
        }
    } else if (start.options.demo) {
        if (const std::optional<QString> failed = window.startDemoFrame()) {
            QMessageBox::warning(&window, u"Quorvane"_s,
                                 u"The built-in demo frame could not start: "_s + *failed);
        }
    }
    if (start.options.host)
        model.setIpAddress(*start.options.host);
    if (start.options.suite)
        model.setSelectedSuite(*start.options.suite);
    if (start.options.buttons)
        model.setSelectedButtonCount(*start.options.buttons);

    if (start.options.reportFirstPaint) {
        whenFirstPainted(window, [] {
            std::fputs("quorvane: first paint\n", stdout);
            std::fflush(stdout);
        });
    }
    // A request that ended a message box's own event loop above would not end the main one,
    // which forgets an exit asked for before it starts.
    int result = termination.exitStatus();
    if (!termination.isRequested()) {
        window.show();
        QTimer::singleShot(100, &window, [&window] { window.setUpWindow(); });
        if (start.options.connect)
            view.connectionPanel()->pressConnectButton();
        result = QApplication::exec();
    }
    view.connection().disconnect();
    return result;
}
