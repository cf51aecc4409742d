// apply: writes the buttons of a show file that differ from the frame, and waits for the frame
// to report each one back.
#include "connection_wait.h"
#include "diagnostics/debug_logger.h"
#include "frame_comparison.h"
#include "write_confirmations.h"

using namespace Qt::StringLiterals;

namespace quorvane::cli {

namespace {
// Writes leave in small groups with a pause between, as the button subscriptions of a load
// do: a whole panel at once could overrun the frame's receive queue.
constexpr int writesPerGroup = 10;

ExitCode dryRun(const FrameComparison& comparison, Console& console)
{
    const SourceNamer names = comparison.frameNames();
    for (const ShowDifference& difference : comparison.differences)
        console.result(u"would write "_s + differenceLine(difference, names));
    const qsizetype count = comparison.differences.size();
    const QString buses = busList(comparison.plan.buses);
    if (count == 0) {
        console.result(u"nothing to write on "_s + buses);
        return ExitCode::ok;
    }
    console.result(u"would write "_s + QString::number(count) +
                   (count == 1 ? u" button on "_s : u" buttons on "_s) + buses);
    return ExitCode::differ;
}
} // namespace

QCoro::Task<ExitCode> runApply(CliOptions options, CommandContext context)
{
    std::variant<FrameComparison, ExitCode> compared =
        co_await compareFileWithFrame(options, context);
    if (const ExitCode* failed = std::get_if<ExitCode>(&compared))
        co_return *failed;
    FrameComparison& comparison = std::get<FrameComparison>(compared);
    if (options.dryRun)
        co_return dryRun(comparison, context.console);

    FrameSession& session = *comparison.session;
    GVConnection& link = session.connection();
    WriteConfirmations confirmations(comparison.plan.target.buttonCount);
    qsizetype notWritten = 0;
    for (qsizetype i = 0; i < comparison.differences.size(); ++i) {
        if (!link.isConnected()) {
            notWritten = comparison.differences.size() - i;
            break;
        }
        const ShowButton& wanted = comparison.differences[i].wanted;
        link.writeMapping(wanted.bus, wanted.shift, wanted.button, static_cast<int>(wanted.source));
        confirmations.written(wanted, link.mappings());
        if ((i + 1) % writesPerGroup == 0)
            co_await pauseFor(context.timing.batchListen);
    }

    if (!confirmations.writes().isEmpty()) {
        context.logger.info(u"Waiting for the frame to confirm "_s +
                            QString::number(confirmations.writes().size()) + u" writes"_s);
        const auto answered = [&link, &confirmations] {
            // A lost link empties the cache; what was confirmed before stays confirmed.
            if (!link.isConnected())
                return true;
            confirmations.review(link.mappings());
            return confirmations.allConfirmed();
        };
        co_await waitUntil(link, answered, QDeadlineTimer(options.timeout));
    }

    const SourceNamer names = comparison.frameNames();
    for (const TrackedWrite& write : confirmations.writes())
        context.console.result(writeLine(write, names));
    context.console.result(u"applied "_s + QString::number(confirmations.writes().size()) +
                           u", confirmed "_s + QString::number(confirmations.confirmedCount()) +
                           u", unconfirmed "_s + QString::number(confirmations.unconfirmedCount()));
    const std::optional<QString> lost = session.linkProblem();
    session.close();

    if (lost) {
        QString message = *lost;
        if (notWritten > 0)
            message += u"; "_s + QString::number(notWritten) + u" buttons were not written"_s;
        context.console.error(message);
        co_return ExitCode::connectionFailed;
    }
    if (!confirmations.allConfirmed()) {
        context.console.error(
            QString::number(confirmations.unconfirmedCount()) + u" of "_s +
            QString::number(confirmations.writes().size()) +
            u" writes not confirmed by the frame within "_s +
            QString::number(static_cast<double>(options.timeout.count()) / 1000.0) + u" s"_s);
        co_return ExitCode::differ;
    }
    co_return ExitCode::ok;
}

} // namespace quorvane::cli
