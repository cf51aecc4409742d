#pragma once

// The commands, each from checked options to an exit code. Not for use outside the tool.

#include "cli_options.h"
#include "console.h"
#include "frame_session.h"
#include "link/link_timing.h"

#include <QCoroTask>

namespace quorvane {
class DebugLogger;
class TerminationRequest;
} // namespace quorvane

namespace quorvane::cli {

struct CommandContext {
    Console& console;
    DebugLogger& logger;
    LinkTiming timing;
    TerminationRequest* termination = nullptr;
};

inline SessionPatience patienceOf(const CliOptions& options)
{
    return SessionPatience{options.timeout, options.connectAttempts, options.retries};
}

QCoro::Task<ExitCode> runDump(CliOptions options, CommandContext context);
QCoro::Task<ExitCode> runDiff(CliOptions options, CommandContext context);
ExitCode runFileDiff(const CliOptions& options, CommandContext& context);
QCoro::Task<ExitCode> runApply(CliOptions options, CommandContext context);
// Contacts no frame, so it needs no event loop.
ExitCode runSheet(const CliOptions& options, CommandContext context);

} // namespace quorvane::cli
