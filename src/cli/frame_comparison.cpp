#include "frame_comparison.h"

#include "diagnostics/debug_logger.h"
#include "link/frame_reading.h"
#include "show_io.h"
#include "unknown_report.h"

using namespace Qt::StringLiterals;

namespace quorvane::cli {

namespace {
constexpr int defaultButtonCount = 35;
} // namespace

QCoro::Task<std::variant<FrameComparison, ExitCode>>
compareFileWithFrame(const CliOptions& options, CommandContext& context, QString leftUndone)
{
    // All of the file is checked before the frame hears a word: a file refused half-way must
    // not have been half applied.
    const ShowFormat format = showFormatFor(options.file, options.format);
    ShowFileRead read =
        readShowFile(options.file, format, options.buttonCount.value_or(defaultButtonCount));
    if (!read.file) {
        for (const ShowFileProblem& problem : read.problems)
            context.logger.error(options.file + u": "_s + problem.text());
        context.console.error(read.problem);
        co_return ExitCode::usage;
    }
    std::variant<ComparisonPlan, QString> planned =
        planComparison(options, std::move(*read.file), format);
    if (const QString* problem = std::get_if<QString>(&planned)) {
        context.console.error(*problem);
        co_return ExitCode::usage;
    }

    const ComparisonPlan& plan = std::get<ComparisonPlan>(planned);
    context.logger.info(u"Comparing "_s + options.file + u" with the frame on "_s +
                        busList(plan.buses) + u" ("_s + QString::number(plan.target.buttonCount) +
                        u"-button panel, suite "_s + QString::number(plan.target.suite) +
                        (plan.listedOnly ? u", listed buttons only)"_s : u")"_s));
    if (plan.ignoredButtons > 0) {
        context.logger.info(u"Leaving out "_s + QString::number(plan.ignoredButtons) +
                            u" buttons of "_s + options.file + u" on buses not compared"_s);
    }
    co_return co_await comparePlanWithFrame(std::move(std::get<ComparisonPlan>(planned)), options,
                                            context, leftUndone);
}

QCoro::Task<std::variant<FrameComparison, ExitCode>>
comparePlanWithFrame(ComparisonPlan plan, const CliOptions& options, CommandContext& context,
                     QString leftUndone, QString failureContext)
{
    FrameComparison comparison;
    comparison.plan = std::move(plan);
    const ComparisonPlan& compared = comparison.plan;
    comparison.session = std::make_unique<FrameSession>(
        context.logger, context.timing, patienceOf(options), &context.console, context.termination);
    FrameSession& session = *comparison.session;
    if (std::optional<QString> failed = co_await session.open(compared.target, compared.buses)) {
        context.console.error(failureContext + *failed);
        co_return ExitCode::connectionFailed;
    }
    // A button the frame did not answer for is unknown: comparing it as unassigned would
    // report or write what nobody knows.
    const FrameReading reading =
        readFrame(session.connection(), compared.buses, compared.target.buttonCount);
    const QList<ShowButton> unknown = comparedOnly(reading.unknown, compared);
    if (!unknown.isEmpty()) {
        session.close();
        co_return reportUnknownButtons(context.console, unknown, options.retries, leftUndone);
    }
    comparison.differences = compareWithFrame(reading.assigned, compared);
    co_return comparison;
}

} // namespace quorvane::cli
