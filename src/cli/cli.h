#pragma once

#include "link/link_timing.h"

#include <QCoroTask>
#include <QStringList>

class QIODevice;

namespace quorvane {
class DebugLogger;
class TerminationRequest;
} // namespace quorvane

namespace quorvane::cli {

// Where one run of the tool reads and writes, and how fast it talks to the frame. The program
// passes the process's streams, the shared logger and the protocol's own timings; tests pass
// buffers, a private logger and shorter timings.
struct CliContext {
    QIODevice& out;
    QIODevice& err;
    DebugLogger& logger;
    LinkTiming timing;
    bool errIsTerminal = false; // progress is shown in place on a terminal only
    // Ctrl+C and SIGTERM: the command closes what it holds and ends with 128 + the signal.
    TerminationRequest* termination = nullptr;
};

// Runs one command line (without the program name) on the running event loop and returns the
// exit status. The logger's echo is taken over for the run: to the --log file, or nowhere.
QCoro::Task<int> runCli(QStringList arguments, CliContext context);

// Whether `arguments` (as for runCli) ask for a command that paints: sheet. Painting text takes
// fonts, so such a run needs a QGuiApplication; any other needs only a QCoreApplication.
bool paintsPages(const QStringList& arguments);

} // namespace quorvane::cli
