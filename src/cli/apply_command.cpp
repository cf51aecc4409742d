// apply: writes the buttons of a show file that differ from the frame, and waits for the frame
// to report each one back, writing again what it has not taken.
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

QString countText(qsizetype count, const QString& one, const QString& many)
{
    return QString::number(count) + u' ' + (count == 1 ? one : many);
}

// Writes `buttons` in groups; stops early when the link is lost.
QCoro::Task<> writeAll(GVConnection& link, const QList<ShowButton>& buttons,
                       WriteConfirmations& confirmations, std::chrono::milliseconds groupPause,
                       Console& console)
{
    for (qsizetype i = 0; i < buttons.size() && link.isConnected(); ++i) {
        const ShowButton& wanted = buttons[i];
        confirmations.written(wanted, link.answerSerial());
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
    const int count = comparison.plan.target.buttonCount;
    const AnswerLookup lastAnswer = [&link, count](const ShowButton& button) {
        return link.lastAnswer(button.bus, button.shift, button.button, count);
    };
    WriteConfirmations confirmations;
    QList<ShowButton> toWrite;
    for (const ShowDifference& difference : comparison.differences)
        toWrite.append(difference.wanted);

    // A write the frame answers with another source, or not at all within the time a load
    // gives its answers, is written again, up to --retries more times.
    const QDeadlineTimer deadline(options.timeout);
    for (int round = 0; round <= options.retries && !toWrite.isEmpty(); ++round) {
        if (round > 0) {
            context.logger.info(
                u"Writing "_s + countText(toWrite.size(), u"button"_s, u"buttons"_s) +
                u" again that the frame did not confirm (round "_s + QString::number(round) +
                u" of "_s + QString::number(options.retries) + u')');
        }
        session.setActivity(u"writing"_s);
        co_await writeAll(link, toWrite, confirmations, context.timing.batchListen,
                          context.console);
        session.setActivity(u"waiting for the writes to be confirmed"_s);
        const bool lastRound = round == options.retries;
        const QDeadlineTimer roundEnd =
            lastRound ? deadline : std::min(deadline, QDeadlineTimer(context.timing.buttonsListen));
        const auto answered = [&link, &confirmations, &lastAnswer, &context] {
            if (!link.isConnected())
                return true;
            confirmations.review(lastAnswer);
            context.console.progress(u"Confirmed … "_s +
                                     QString::number(confirmations.confirmedCount()) + u'/' +
                                     QString::number(confirmations.writes().size()) + u" writes"_s);
            return confirmations.allAnswered();
        };
        co_await waitUntil(link, answered, roundEnd);
        if (!link.isConnected() || deadline.hasExpired())
            break;
        toWrite = confirmations.unconfirmed();
    }

    const SourceNamer names = comparison.frameNames();
    for (const TrackedWrite& write : confirmations.writes())
        context.console.result(writeLine(write, names));
    const qsizetype written = confirmations.writes().size();
    context.console.result(u"applied "_s + QString::number(written) + u", confirmed "_s +
                           QString::number(confirmations.confirmedCount()) + u", unconfirmed "_s +
                           QString::number(confirmations.unconfirmedCount()));
    const qsizetype notWritten = comparison.differences.size() - written;
    const std::optional<QString> lost = session.linkProblem(
        notWritten > 0
            ? countText(notWritten, u"button was"_s, u"buttons were"_s) + u" not written"_s
            : QString());
    session.close();

    if (lost) {
        context.console.error(*lost);
        co_return ExitCode::connectionFailed;
    }
    if (!confirmations.allConfirmed()) {
        context.console.error(
            QString::number(confirmations.unconfirmedCount()) + u" of "_s +
            countText(written, u"write"_s, u"writes"_s) +
            u" not confirmed by the frame, each written up to "_s +
            QString::number(options.retries + 1) + u" times within "_s +
            QString::number(static_cast<double>(options.timeout.count()) / 1000.0) +
            u" s; run apply again, or look at these buttons on the frame"_s);
        co_return ExitCode::differ;
    }
    co_return ExitCode::ok;
}

} // namespace quorvane::cli
