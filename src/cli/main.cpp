// quorvane-cli: dumps, compares, applies and prints a panel's button map from the command line.
#include "cli.h"
#include "diagnostics/debug_logger.h"
#include "platform/termination_signals.h"

#include <QCoreApplication>
#include <QFile>
#include <QGuiApplication>
#include <cstdio>
#include <memory>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {
// The command line before the application exists, decoded as QCoreApplication::arguments()
// decodes it.
QStringList argumentsOf(int argc, char* argv[])
{
    QStringList arguments;
    for (int index = 1; index < argc; ++index)
        arguments.append(QString::fromLocal8Bit(argv[index]));
    return arguments;
}
} // namespace

int main(int argc, char* argv[])
{
    // A sheet paints text, which takes a QGuiApplication; on the offscreen platform it needs no
    // display. Every other command starts without one.
    std::unique_ptr<QCoreApplication> app;
    if (quorvane::cli::paintsPages(argumentsOf(argc, argv))) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
        app = std::make_unique<QGuiApplication>(argc, argv);
    } else {
        app = std::make_unique<QCoreApplication>(argc, argv);
    }
    QCoreApplication::setApplicationName(u"quorvane-cli"_s);

    QFile out;
    QFile err;
    if (!out.open(stdout, QIODevice::WriteOnly | QIODevice::Unbuffered,
                  QFileDevice::DontCloseHandle) ||
        !err.open(stderr, QIODevice::WriteOnly | QIODevice::Unbuffered,
                  QFileDevice::DontCloseHandle)) {
        std::fputs("quorvane-cli: cannot open the standard streams\n", stderr);
        return 2;
    }

    quorvane::DebugLogger& logger = quorvane::DebugLogger::shared();
    // Standard output is for the result only, from the first line on.
    logger.setEcho(nullptr);

    QStringList arguments = QCoreApplication::arguments();
    arguments.removeFirst();
    const bool errIsTerminal = isatty(fileno(stderr)) == 1;
    quorvane::TerminationRequest termination;
    quorvane::deliverTerminationSignals(termination);
    QCoro::Task<int> run =
        quorvane::cli::runCli(arguments, {out, err, logger, {}, errIsTerminal, &termination});
    QCoro::Task<> finish = run.then([](int status) {
        // Queued: the run may have ended before the event loop started.
        QMetaObject::invokeMethod(
            QCoreApplication::instance(), [status] { QCoreApplication::exit(status); },
            Qt::QueuedConnection);
    });
    return QCoreApplication::exec();
}
