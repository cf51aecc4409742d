#pragma once

#include "commands.h"
#include "comparison.h"
#include "frame_session.h"
#include "report_lines.h"

#include <memory>
#include <variant>

namespace quorvane::cli {

// A show file compared with the frame, the link still open for writing.
struct FrameComparison {
    ComparisonPlan plan;
    std::unique_ptr<FrameSession> session;
    QList<ShowDifference> differences;

    SourceNamer frameNames() const
    {
        const FrameSession* frame = session.get();
        return [frame](qint64 source) { return frame->sourceName(source); };
    }
};

// Reads the show file of `options`, and only when it is valid, connects and compares. On
// failure the reason has been printed and the exit code is returned; when buttons are unknown,
// the message ends in `leftUndone` ("nothing written").
QCoro::Task<std::variant<FrameComparison, ExitCode>>
compareFileWithFrame(const CliOptions& options, CommandContext& context, QString leftUndone);

} // namespace quorvane::cli
