#include "cli.h"

#include "commands.h"
#include "diagnostics/debug_logger.h"
#include "log_relay.h"
#include "platform/termination_signals.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

using namespace Qt::StringLiterals;

namespace quorvane::cli {

namespace {
struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using LogFile = std::unique_ptr<std::FILE, CloseFile>;
} // namespace

QCoro::Task<int> runCli(QStringList arguments, CliContext context)
{
    Console console(context.out, context.err, context.errIsTerminal);
    const std::variant<CliOptions, CliStop> parsed = parseCliOptions(arguments);
    if (const CliStop* stop = std::get_if<CliStop>(&parsed)) {
        if (stop->toOutput)
            console.result(stop->text);
        else
            console.error(stop->text);
        co_return exitStatus(stop->code);
    }
    const CliOptions& options = std::get<CliOptions>(parsed);
    const std::chrono::seconds shortest = shortestTimeout(context.timing, options.retries);
    if (needsFrame(options) && options.timeout < shortest) {
        console.error(u"--timeout "_s +
                      QString::number(static_cast<double>(options.timeout.count()) / 1000.0) +
                      u" is shorter than connecting and loading a bus take at the frame's pace: "
                      u"use at least "_s +
                      QString::number(shortest.count()));
        co_return exitStatus(ExitCode::usage);
    }

    // The log goes where it was asked to, every line as it is written; by default nowhere.
    LogFile logFile;
    if (!options.logFile.isEmpty()) {
        logFile.reset(std::fopen(options.logFile.toLocal8Bit().constData(), "w"));
        if (!logFile) {
            console.error(u"cannot write the log to "_s + options.logFile + u": "_s +
                          QString::fromLocal8Bit(std::strerror(errno)) +
                          u"; choose another --log file"_s);
            co_return exitStatus(ExitCode::usage);
        }
    }
    context.logger.setEcho(logFile.get());
    std::unique_ptr<LogRelay> relay;
    if (options.verbose)
        relay = std::make_unique<LogRelay>(context.logger, console);
    console.setQuiet(options.quiet);

    CommandContext command{console, context.logger, context.timing, context.termination};
    ExitCode code = ExitCode::ok;
    switch (options.command) {
    case Command::dump:
        code = co_await runDump(options, command);
        break;
    case Command::diff:
        if (options.secondFile.isEmpty())
            code = co_await runDiff(options, command);
        else
            code = runFileDiff(options, command);
        break;
    case Command::apply:
        code = co_await runApply(options, command);
        break;
    case Command::sheet:
        code = runSheet(options, command);
        break;
    }
    relay.reset();
    context.logger.setEcho(nullptr);
    if (context.termination && context.termination->isRequested())
        co_return context.termination->exitStatus();
    co_return exitStatus(code);
}

bool paintsPages(const QStringList& arguments)
{
    const std::variant<CliOptions, CliStop> parsed = parseCliOptions(arguments);
    const CliOptions* options = std::get_if<CliOptions>(&parsed);
    return options != nullptr && options->command == Command::sheet;
}

} // namespace quorvane::cli
