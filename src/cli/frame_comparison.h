#pragma once

#include "commands.h"
#include "comparison.h"
#include "frame_session.h"
#include "model/source_name.h"
#include "report_lines.h"

#include <memory>
#include <variant>

namespace quorvane::cli {

// A show file compared with the frame, the link still open for writing.
struct FrameComparison {
    ComparisonPlan plan;
    std::unique_ptr<FrameSession> session;
    QList<ShowDifference> differences;

    // The names the frame gives its sources as they stand now, kept beyond the link: a closed
    // link forgets them, and a report after an interruption still needs them.
    SourceNamer frameNames() const
    {
        const GVConnection& link = session->connection();
        return [names = link.sourceNames(), labels = link.internalSourceLabels()](qint64 source) {
            if (source < 0 || source > lastSourceNumber)
                return QString();
            return displayName(static_cast<int>(source), names, labels).value_or(QString());
        };
    }
};

// Reads the show file of `options`, and only when it is valid, connects and compares. On
// failure the reason has been printed and the exit code is returned; when buttons are unknown,
// the message ends in `leftUndone` ("nothing written").
QCoro::Task<std::variant<FrameComparison, ExitCode>>
compareFileWithFrame(const CliOptions& options, CommandContext& context, QString leftUndone);

// Connects on a connection of its own, loads the plan's buses afresh and compares. On failure
// the reason has been printed after `failureContext` ("reading the writes back: ") and the exit
// code is returned; when buttons are unknown, the message ends in `leftUndone`.
QCoro::Task<std::variant<FrameComparison, ExitCode>>
comparePlanWithFrame(ComparisonPlan plan, const CliOptions& options, CommandContext& context,
                     QString leftUndone, QString failureContext = {});

} // namespace quorvane::cli
