// diff FIRST SECOND: two show files compared with each other — yesterday's backup with today's,
// studio A with studio B — without a frame, with the report and exit codes of a diff against one.
#include "commands.h"
#include "comparison.h"
#include "report_lines.h"
#include "show_io.h"

#include <QFileInfo>

using namespace Qt::StringLiterals;

namespace quorvane::cli {

namespace {
constexpr int defaultButtonCount = 35;

// The names a file gives its sources: its table of the frame's names, else the name it gives a
// button holding the source.
SourceNamer namesIn(const ShowFile& file)
{
    return [&file](qint64 source) -> QString {
        if (source >= firstSourceNumber && source <= lastNamedSource) {
            if (const std::optional<QString> name =
                    displayName(static_cast<int>(source), file.sources, {})) {
                return *name;
            }
        }
        for (const ShowButton& button : file.buttons) {
            if (button.source == source && !button.name.isEmpty())
                return button.name;
        }
        return QString();
    };
}

QList<Bus> busesOf(const ShowFile& first, const ShowFile& second)
{
    QList<Bus> buses;
    for (Bus bus : allBuses) {
        const auto onBus = [bus](const ShowButton& button) { return button.bus == bus; };
        if (std::ranges::any_of(first.buttons, onBus) || std::ranges::any_of(second.buttons, onBus))
            buses.append(bus);
    }
    return buses;
}
} // namespace

ExitCode runFileDiff(const CliOptions& options, CommandContext& context)
{
    const QStringList paths{options.file, options.secondFile};
    // A CSV file has no button count of its own: it takes --buttons, else a JSON file's.
    std::optional<int> count = options.buttonCount;
    for (const QString& path : paths) {
        if (!count && showFormatFor(path, options.format) == ShowFormat::json) {
            const ShowFileRead json = readShowFile(path, ShowFormat::json, defaultButtonCount);
            if (json.file)
                count = json.file->buttonCount;
        }
    }
    QList<ShowFile> files;
    for (const QString& path : paths) {
        ShowFileRead read = readShowFile(path, showFormatFor(path, options.format),
                                         count.value_or(defaultButtonCount));
        if (!read.file) {
            context.console.error(read.problem);
            return ExitCode::usage;
        }
        if (count && read.file->buttonCount != *count) {
            context.console.error(path + u" is for a "_s + QString::number(read.file->buttonCount) +
                                  u"-button panel, not "_s + QString::number(*count) +
                                  u": the same button number names another button"_s);
            return ExitCode::usage;
        }
        files.append(std::move(*read.file));
    }
    const ShowFile& first = files[0];
    const ShowFile& second = files[1];

    const QList<Bus> buses = options.buses.isEmpty() ? busesOf(first, second) : options.buses;
    if (buses.isEmpty()) {
        context.console.error(
            u"neither file lists a button: name the buses to compare with --bus"_s);
        return ExitCode::usage;
    }
    ComparisonPlan plan;
    plan.buses = buses;
    plan.listedOnly = options.listedOnly;
    plan.file = second;
    plan.file.buttons = onBuses(second.buttons, buses);
    const QList<ShowDifference> differences = compareWithFrame(first.buttons, plan);

    // Each file by its name; by its path where two names are alike.
    const bool alike = QFileInfo(paths[0]).fileName() == QFileInfo(paths[1]).fileName();
    const auto label = [alike](const QString& path) {
        return alike ? path : QFileInfo(path).fileName();
    };
    const ComparedSide firstSide{label(paths[0]), namesIn(first)};
    const ComparedSide secondSide{label(paths[1]), namesIn(second)};
    for (const ShowDifference& difference : differences)
        context.console.result(comparisonLine(difference, firstSide, secondSide));
    const qsizetype differing = differences.size();
    if (differing == 0) {
        context.console.result(u"no differences on "_s + busList(buses));
        return ExitCode::ok;
    }
    context.console.result(QString::number(differing) +
                           (differing == 1 ? u" button differs on "_s : u" buttons differ on "_s) +
                           busList(buses));
    return ExitCode::differ;
}

} // namespace quorvane::cli
