// diff: the buttons whose source differs between the frame and a show file.
#include "frame_comparison.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace quorvane::cli {

namespace {
bool sameButton(const ShowButton& a, const ShowButton& b)
{
    return a.bus == b.bus && a.shift == b.shift && a.button == b.button;
}
} // namespace

QCoro::Task<ExitCode> runDiff(CliOptions options, CommandContext context)
{
    std::variant<FrameComparison, ExitCode> compared =
        co_await compareFileWithFrame(options, context, u"no comparison made"_s);
    if (const ExitCode* failed = std::get_if<ExitCode>(&compared))
        co_return *failed;
    FrameComparison& comparison = std::get<FrameComparison>(compared);

    const SourceNamer names = comparison.frameNames();
    for (const ShowDifference& difference : comparison.differences)
        context.console.result(differenceLine(difference, names));
    // Names are for people and never make a difference; still, one the frame no longer uses
    // is worth a word.
    for (const ShowButton& wanted : comparison.plan.file.buttons) {
        const bool differs =
            std::ranges::any_of(comparison.differences, [&](const ShowDifference& difference) {
                return sameButton(difference.wanted, wanted);
            });
        if (differs)
            continue;
        if (const std::optional<QString> line = sameSourceNameLine(wanted, names))
            context.console.result(*line);
    }
    comparison.session->close();

    const qsizetype count = comparison.differences.size();
    const QString buses = busList(comparison.plan.buses);
    if (count == 0) {
        context.console.result(u"no differences on "_s + buses);
        co_return ExitCode::ok;
    }
    context.console.result(QString::number(count) +
                           (count == 1 ? u" button differs on "_s : u" buttons differ on "_s) +
                           buses);
    co_return ExitCode::differ;
}

} // namespace quorvane::cli
