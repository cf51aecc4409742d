// dump: the buttons of the chosen buses, read from the frame, as a show file.
#include "commands.h"
#include "comparison.h"
#include "diagnostics/debug_logger.h"
#include "frame_session.h"
#include "report_lines.h"
#include "show_io.h"

using namespace Qt::StringLiterals;

namespace quorvane::cli {

namespace {
constexpr int defaultButtonCount = 35;
constexpr int defaultSuite = 1;
} // namespace

QCoro::Task<ExitCode> runDump(CliOptions options, CommandContext context)
{
    const ShowFormat format = showFormatFor(options.output, options.format);
    const SessionTarget target{options.host, options.suite.value_or(defaultSuite),
                               options.buttonCount.value_or(defaultButtonCount)};
    const QList<Bus> buses =
        options.buses.isEmpty() ? QList<Bus>(allBuses.begin(), allBuses.end()) : options.buses;

    FrameSession session(context.logger, context.timing);
    if (std::optional<QString> failed = co_await session.open(target, buses, options.timeout)) {
        context.console.error(*failed);
        co_return ExitCode::connectionFailed;
    }

    const GVConnection& link = session.connection();
    ShowFile show;
    show.frameName = link.frameName();
    show.frameVersion = link.frameVersion();
    show.frameAddress = target.host;
    show.suite = target.suite;
    show.buttonCount = target.buttonCount;
    // Unassigned buttons are not in the cache, so the file lists the assigned ones only.
    show.buttons =
        onBuses(showButtons(link.mappings(), target.buttonCount,
                            [&session](int source) { return session.sourceName(source); }),
                buses);
    session.close();

    const QByteArray bytes = encodeShowFile(show, format);
    if (options.output.isEmpty()) {
        context.console.resultBytes(bytes);
    } else if (std::optional<QString> failed = writeWholeFile(options.output, bytes)) {
        context.console.error(*failed);
        co_return ExitCode::usage;
    }
    context.logger.info(u"dump: "_s + QString::number(show.buttons.size()) +
                        u" assigned buttons on "_s + busList(buses) + u" written to "_s +
                        (options.output.isEmpty() ? u"standard output"_s : options.output));
    co_return ExitCode::ok;
}

} // namespace quorvane::cli
