#include "cli.h"

#include "commands.h"
#include "log_relay.h"

using namespace Qt::StringLiterals;

namespace quorvane::cli {

QCoro::Task<int> runCli(QStringList arguments, CliContext context)
{
    Console console(context.out, context.err);
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
    if (options.timeout < shortest) {
        console.error(u"--timeout "_s +
                      QString::number(static_cast<double>(options.timeout.count()) / 1000.0) +
                      u" is shorter than connecting and loading a bus take at the frame's pace: "
                      u"use at least "_s +
                      QString::number(shortest.count()));
        co_return exitStatus(ExitCode::usage);
    }

    LogRelay relay(context.logger, context.err, options.logDetail);
    console.setRelay(&relay);
    const CommandContext command{console, context.logger, context.timing};
    ExitCode code = ExitCode::ok;
    switch (options.command) {
    case Command::dump:
        code = co_await runDump(options, command);
        break;
    case Command::diff:
        code = co_await runDiff(options, command);
        break;
    case Command::apply:
        code = co_await runApply(options, command);
        break;
    }
    relay.flush();
    co_return exitStatus(code);
}

} // namespace quorvane::cli
