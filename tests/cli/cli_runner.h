#pragma once

// Runs the tool's command line in-process, on the test's event loop, with its output caught.

#include "cli.h"
#include "diagnostics/debug_logger.h"
#include "fast_timing.h"
#include "test_support.h"

#include <QBuffer>
#include <QTest>
#include <chrono>
#include <optional>

namespace quorvane::test {

// A connect and a bus load in well under a second, and a silent frame given up on quickly.
inline LinkTiming quickTiming()
{
    LinkTiming timing = fastTiming();
    timing.handshakeLimit = 1'500ms;
    timing.syncRetry = 200ms;
    timing.buttonsListen = 250ms;
    return timing;
}

struct ToolRun {
    int status = -1; // the exit status
    QString out;
    QString err;

    QStringList outLines() const { return out.split(u'\n', Qt::SkipEmptyParts); }
    QStringList errLines() const { return err.split(u'\n', Qt::SkipEmptyParts); }
};

// `termination`, when given, stands for the signals the program would be sent.
inline ToolRun runTool(const QStringList& arguments, const LinkTiming& timing = quickTiming(),
                       int limitMs = 60'000, bool errIsTerminal = false,
                       TerminationRequest* termination = nullptr)
{
    DebugLogger logger;
    QBuffer out;
    QBuffer err;
    out.open(QIODevice::WriteOnly);
    err.open(QIODevice::WriteOnly);
    std::optional<int> status;
    QCoro::Task<int> run =
        cli::runCli(arguments, {out, err, logger, timing, errIsTerminal, termination});
    QCoro::Task<> noted = run.then([&status](int code) { status = code; });
    // A run left behind would write into the buffers of this frame later on: better stop here.
    if (!waitUntil([&status] { return status.has_value(); }, limitMs))
        qFatal("quorvane-cli did not finish within %d ms", limitMs);
    return ToolRun{*status, QString::fromUtf8(out.data()), QString::fromUtf8(err.data())};
}

} // namespace quorvane::test
