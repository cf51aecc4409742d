// dump: the buttons of the chosen buses, read from the frame, as a show file. A dump is a
// backup: it is written whole or not at all, and never over a good file with a worse one.
#include "commands.h"
#include "comparison.h"
#include "diagnostics/debug_logger.h"
#include "link/frame_reading.h"
#include "report_lines.h"
#include "show_io.h"
#include "unknown_report.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QSaveFile>

using namespace Qt::StringLiterals;

namespace quorvane::cli {

namespace {
constexpr int defaultButtonCount = 35;
constexpr int defaultSuite = 1;

// Why no dump can be written to `path`. QSaveFile speaks of the new file it makes beside the
// target, so in a folder that takes no new files (/proc) it says "No such file or directory"
// of a file that is there.
QString whyNotWritable(const QString& path, const QString& systemReason)
{
    const QFileInfo target(path);
    const QString folder = QDir::toNativeSeparators(target.absolutePath());
    if (target.isDir())
        return u"it is a folder"_s;
    if (!QFileInfo::exists(folder))
        return u"the folder "_s + folder + u" does not exist"_s;
    if (!QFileInfo(folder).isDir())
        return folder + u" is not a folder"_s;
    if (!QFileInfo(folder).isWritable())
        return u"files cannot be made in "_s + folder + u" ("_s + systemReason + u')';
    return folder + u" takes no new files, and a dump is first written to a new file beside "
                    u"its target"_s;
}
} // namespace

QCoro::Task<ExitCode> runDump(CliOptions options, CommandContext context)
{
    const ShowFormat format = showFormatFor(options.output, options.format);
    const SessionTarget target{options.host, options.suite.value_or(defaultSuite),
                               options.buttonCount.value_or(defaultButtonCount)};
    const QList<Bus> buses =
        options.buses.isEmpty() ? QList<Bus>(allBuses.begin(), allBuses.end()) : options.buses;

    // The new file is written beside the old one and takes its place only when complete. Its
    // folder is tried before the frame is contacted: a backup that cannot be kept is not worth
    // the wait.
    std::unique_ptr<QSaveFile> file;
    if (!options.output.isEmpty()) {
        file = std::make_unique<QSaveFile>(options.output);
        if (!file->open(QIODevice::WriteOnly)) {
            context.console.error(u"cannot write "_s + options.output + u": "_s +
                                  whyNotWritable(options.output, file->errorString()) +
                                  u"; choose another place with -o"_s);
            co_return ExitCode::usage;
        }
    }

    QElapsedTimer took;
    took.start();
    FrameSession session(context.logger, context.timing, patienceOf(options), &context.console,
                         context.termination);
    if (std::optional<QString> failed = co_await session.open(target, buses)) {
        context.console.error(*failed);
        co_return ExitCode::connectionFailed;
    }

    const GVConnection& link = session.connection();
    QList<qint64> used;
    for (const ButtonMapping& mapping : link.mappings())
        used.append(mapping.source);
    const QList<int> unnamed = co_await session.completeSourceNames(used);
    if (std::optional<QString> problem = session.linkProblem(u"no show file written"_s)) {
        context.console.error(*problem);
        co_return ExitCode::connectionFailed;
    }
    const FrameReading reading =
        readFrame(link, buses, target.buttonCount,
                  [&session](qint64 source) { return session.sourceName(source); });
    ShowFile show;
    show.frameName = link.frameName();
    show.frameVersion = link.frameVersion();
    show.frameAddress = target.host;
    show.suite = target.suite;
    show.buttonCount = target.buttonCount;
    show.buttons = reading.assigned; // a dump lists the assigned buttons only
    show.sources = link.sourceNames();
    session.close();

    if (!reading.isComplete()) {
        const QString leftUndone =
            options.output.isEmpty()
                ? u"no show file written"_s
                : u"no show file written, "_s + options.output + u" is as it was"_s;
        co_return reportUnknownButtons(context.console, reading.unknown, options.retries,
                                       leftUndone);
    }

    const QByteArray bytes = encodeShowFile(show, format);
    if (!file) {
        context.console.resultBytes(bytes);
    } else if (file->write(bytes) != bytes.size() || !file->commit()) {
        context.console.error(u"cannot write "_s + options.output + u": "_s + file->errorString() +
                              u"; choose another place with -o"_s);
        co_return ExitCode::usage;
    }
    const QString summary =
        (options.output.isEmpty() ? u"Dumped "_s : u"Wrote "_s + options.output + u": "_s) +
        QString::number(show.buttons.size()) + u" assigned of "_s +
        QString::number(qsizetype(buses.size()) * shiftRowCount * target.buttonCount) +
        u" buttons on "_s + busList(buses) + u" in "_s +
        QString::number(double(took.elapsed()) / 1000.0, 'f', 1) + u" s"_s;
    context.logger.info(u"dump: "_s + summary);
    context.console.note(summary);
    if (!unnamed.isEmpty())
        context.console.note(unnamedSourcesLine(unnamed));
    co_return ExitCode::ok;
}

} // namespace quorvane::cli
