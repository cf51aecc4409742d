// sheet: a show file printed as a panel sheet, one PDF page or PNG image per bus. No frame is
// contacted: the names printed are those the file was written with.
#include "commands.h"
#include "diagnostics/debug_logger.h"
#include "diagnostics/programming_error.h"
#include "panel_sheet.h"
#include "report_lines.h"
#include "sheet_content.h"
#include "show_io.h"

#include <QDate>
#include <QFileInfo>
#include <QGuiApplication>

using namespace Qt::StringLiterals;

namespace quorvane::cli {

namespace {
constexpr int defaultButtonCount = 35;

// --format, else what the name given with -o says, else PDF.
SheetFormat sheetFormatFor(const CliOptions& options)
{
    if (options.sheetFormat)
        return *options.sheetFormat;
    return options.output.endsWith(u".png"_s, Qt::CaseInsensitive) ? SheetFormat::png
                                                                   : SheetFormat::pdf;
}

bool sameFile(const QString& one, const QString& other)
{
    return QFileInfo(one).absoluteFilePath() == QFileInfo(other).absoluteFilePath();
}
} // namespace

ExitCode runSheet(const CliOptions& options, CommandContext context)
{
    QUORVANE_REQUIRE(qobject_cast<QGuiApplication*>(QCoreApplication::instance()) != nullptr,
                     "a sheet is painted in a QGuiApplication (see paintsPages)");
    const ShowFormat format = showFormatFor(options.file, std::nullopt);
    ShowFileRead read =
        readShowFile(options.file, format, options.buttonCount.value_or(defaultButtonCount));
    if (!read.file) {
        for (const ShowFileProblem& problem : read.problems)
            context.logger.error(options.file + u": "_s + problem.text());
        context.console.error(read.problem);
        return ExitCode::usage;
    }
    ShowFile& file = *read.file;
    // The same button number is another button on a panel of another width.
    if (format == ShowFormat::json && options.buttonCount &&
        *options.buttonCount != file.buttonCount) {
        context.console.error(options.file + u" was read from a "_s +
                              QString::number(file.buttonCount) +
                              u"-button panel; it cannot be printed at --buttons "_s +
                              QString::number(*options.buttonCount));
        return ExitCode::usage;
    }
    if (options.suite)
        file.suite = *options.suite;

    SheetOptions sheet;
    sheet.format = sheetFormatFor(options);
    sheet.paper = options.paper;
    sheet.buses = sheetBuses(file, options.buses);
    sheet.fileName = QFileInfo(options.file).fileName();
    sheet.date = QDate::currentDate();
    if (sheet.buses.isEmpty()) {
        context.console.error(options.file +
                              u" lists no buttons: name the buses to print with --bus (every "
                              u"button on them then prints as unassigned)"_s);
        return ExitCode::usage;
    }

    const QString output = !options.output.isEmpty()
                               ? options.output
                               : withoutSuffix(options.file) +
                                     (sheet.format == SheetFormat::png ? u".png"_s : u".pdf"_s);
    for (const QString& target : sheetFiles(output, sheet.format, sheet.buses)) {
        if (sameFile(target, options.file)) {
            context.console.error(u"the sheet would replace "_s + options.file +
                                  u" itself; choose another name with -o"_s);
            return ExitCode::usage;
        }
    }

    const SheetExport written = exportPanelSheet(file, output, sheet);
    if (!written.problem.isEmpty()) {
        context.console.error(written.problem + u"; choose another place with -o"_s);
        return ExitCode::usage;
    }
    const qsizetype pages = sheet.buses.size();
    const QString summary =
        u"Wrote "_s + written.written.join(u", "_s) + u": "_s + QString::number(pages) +
        (pages == 1 ? u" page"_s : u" pages"_s) + u" ("_s + busList(sheet.buses) + u"), "_s +
        (sheet.paper == SheetPaper::letter ? u"Letter"_s : u"A4"_s) + u" landscape"_s;
    context.logger.info(u"sheet: "_s + summary);
    context.console.note(summary);
    return ExitCode::ok;
}

} // namespace quorvane::cli
