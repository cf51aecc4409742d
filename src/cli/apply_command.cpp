// apply: writes the buttons of a show file that differ from the frame, waits for the frame to
// report each one back, writing again what it has not taken, and then reads the written buses
// back to prove the result.
#include "apply_report.h"
#include "connection_wait.h"
#include "diagnostics/debug_logger.h"
#include "frame_comparison.h"
#include "link/write_confirmations.h"
#include "platform/termination_signals.h"

#include <algorithm>

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

QString countText(qsizetype count, const QString& one, const QString& many)
{
    return QString::number(count) + u' ' + (count == 1 ? one : many);
}

// The buses of `buttons`, in the order of `buses`.
QList<Bus> busesOf(const QList<ShowButton>& buttons, const QList<Bus>& buses)
{
    QList<Bus> used;
    for (Bus bus : buses) {
        if (std::ranges::any_of(buttons,
                                [bus](const ShowButton& button) { return button.bus == bus; }))
            used.append(bus);
    }
    return used;
}

// The plan narrowed to `buses`: what a read-back of them is compared with.
ComparisonPlan planFor(const ComparisonPlan& plan, const QList<Bus>& buses)
{
    ComparisonPlan narrowed = plan;
    narrowed.buses = buses;
    narrowed.file.buttons = onBuses(plan.file.buttons, buses);
    return narrowed;
}

// Writes `buttons` in groups; stops early when the link is lost. The link follows each write
// from here on, sending it again until the frame confirms it or it is given up on.
QCoro::Task<> writeAll(GVConnection& link, const QList<ShowButton>& buttons,
                       std::chrono::milliseconds groupPause, Console& console)
{
    for (qsizetype i = 0; i < buttons.size() && link.isConnected(); ++i) {
        const ShowButton& wanted = buttons[i];
        link.writeMapping(wanted.bus, wanted.shift, wanted.button, static_cast<int>(wanted.source));
        if ((i + 1) % writesPerGroup == 0) {
            console.progress(u"Writing … "_s + QString::number(i + 1) + u'/' +
                             QString::number(buttons.size()) + u" buttons"_s);
            co_await pauseFor(groupPause);
        }
    }
}
} // namespace

QCoro::Task<ExitCode> runApply(CliOptions options, CommandContext context)
{
    std::variant<FrameComparison, ExitCode> compared =
        co_await compareFileWithFrame(options, context, u"nothing written"_s);
    if (const ExitCode* failed = std::get_if<ExitCode>(&compared))
        co_return *failed;
    FrameComparison& comparison = std::get<FrameComparison>(compared);
    if (options.dryRun)
        co_return dryRun(comparison, context.console);

    FrameSession& session = *comparison.session;
    GVConnection& link = session.connection();
    QList<ShowButton> toWrite;
    for (const ShowDifference& difference : comparison.differences)
        toWrite.append(difference.wanted);
    const SourceNamer names = comparison.frameNames();
    // The link keeps what the frame said about each write after the link is lost, until the
    // next connect: the report below is made from it.
    const WriteConfirmations& confirmations = link.writes().confirmations();
    const ApplyRecord record{toWrite, confirmations};

    // A write the frame answers with another source, or not at all, is written again, up to
    // --retries more times.
    link.writes().setTries(options.retries + 1);
    session.setActivity(u"writing"_s);
    co_await writeAll(link, toWrite, context.timing.batchListen, context.console);
    session.setActivity(u"waiting for the writes to be confirmed"_s);
    const auto settled = [&link, &confirmations, &context] {
        if (!link.isConnected())
            return true;
        context.console.progress(u"Confirmed … "_s +
                                 QString::number(confirmations.confirmedCount()) + u'/' +
                                 QString::number(confirmations.writes().size()) + u" writes"_s);
        return link.writes().isSettled();
    };
    co_await waitUntil(link, settled, QDeadlineTimer(options.timeout));

    const qsizetype neverSent = toWrite.size() - confirmations.writes().size();
    const std::optional<QString> lost = session.linkProblem(
        neverSent > 0 ? countText(neverSent, u"button was"_s, u"buttons were"_s) + u" never sent"_s
                      : QString());
    if (lost) {
        const bool interrupted = context.termination && context.termination->isRequested();
        reportConfirmations(context.console, record, names,
                            interrupted ? u"no answer before the interruption"_s
                                        : u"the frame did not answer"_s);
        context.console.result(applyTotals(record));
        context.console.error(*lost);
        co_return ExitCode::connectionFailed;
    }
    if (toWrite.isEmpty()) {
        // The comparison just made was a fresh load: it proved the frame agrees already.
        context.console.result(applyTotals(record));
        co_return ExitCode::ok;
    }

    // Confirmations prove that a write arrived, not that the frame still holds it: a frame that
    // restarted in between may have lost writes it confirmed. A fresh load of the written buses
    // on a connection of its own shows what the frame holds now.
    session.close();
    const QList<Bus> written = busesOf(toWrite, comparison.plan.buses);
    std::variant<FrameComparison, ExitCode> readBack = co_await comparePlanWithFrame(
        planFor(comparison.plan, written), options, context, u"the writes were not read back"_s,
        u"reading the writes back: "_s);
    if (const ExitCode* failed = std::get_if<ExitCode>(&readBack)) {
        reportConfirmations(context.console, record, names, u"the frame did not answer"_s);
        context.console.result(applyTotals(record));
        co_return *failed;
    }
    FrameComparison& held = std::get<FrameComparison>(readBack);
    held.session->close();
    reportReadBack(context.console, record, held.differences, names);
    context.console.result(applyTotals(record));
    const qsizetype differing = held.differences.size();
    context.console.result(u"read back "_s + busList(written) + u": "_s +
                           (differing == 0
                                ? u"as in the file"_s
                                : countText(differing, u"button differs"_s, u"buttons differ"_s) +
                                      u" from the file"_s));
    if (differing > 0) {
        context.console.error(countText(differing, u"button differs"_s, u"buttons differ"_s) +
                              u" from the file when read back from the frame after "_s +
                              countText(confirmations.writes().size(), u"write"_s, u"writes"_s) +
                              u"; run apply again, or look at these buttons on the frame"_s);
        co_return ExitCode::differ;
    }
    co_return ExitCode::ok;
}

} // namespace quorvane::cli
