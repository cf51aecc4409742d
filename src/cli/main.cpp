// quorvane-cli: dumps, compares and applies a panel's button map from the command line.
#include "cli.h"
#include "diagnostics/debug_logger.h"
#include "platform/termination_signals.h"

#include <QCoreApplication>
#include <QFile>
#include <cstdio>
#include <unistd.h>

using namespace Qt::StringLiterals;

int main(int argc, char* argv[])
{
    QCoreApplication app(argc, argv);
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
