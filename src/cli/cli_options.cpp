#include "cli_options.h"

#include "link/host_address.h"
#include "project_info.h"

#include <QCommandLineParser>
#include <algorithm>
#include <cmath>

using namespace Qt::StringLiterals;

namespace quorvane::cli {

namespace {

constexpr double longestTimeoutSeconds = 24 * 60 * 60;
constexpr int mostRetries = 20;
constexpr int mostConnectAttempts = 10;

CliStop usageError(const QString& message)
{
    return CliStop{ExitCode::usage, message, false};
}

std::optional<Command> commandFromText(const QString& text)
{
    if (text == u"dump")
        return Command::dump;
    if (text == u"diff")
        return Command::diff;
    if (text == u"apply")
        return Command::apply;
    if (text == u"sheet")
        return Command::sheet;
    return std::nullopt;
}

// Digits only: QString::toInt would also take " 35" or "+35", and a number the shell quoted
// with a space in it is more likely a mistake than meant.
std::optional<int> wholeNumber(const QString& text)
{
    constexpr qsizetype mostDigits = 9; // fits an int
    const bool digitsOnly =
        !text.isEmpty() && text.size() <= mostDigits &&
        std::all_of(text.cbegin(), text.cend(), [](QChar c) { return c >= u'0' && c <= u'9'; });
    return digitsOnly ? std::optional<int>(text.toInt()) : std::nullopt;
}

// Each reader returns the reason to refuse the value, or nothing and fills `options`.
std::optional<QString> readSuite(const QString& text, CliOptions& options)
{
    const std::optional<int> suite = wholeNumber(text);
    if (!suite || *suite < 1 || *suite > 4)
        return u"--suite \""_s + text + u"\" is not a suite: use 1, 2, 3 or 4"_s;
    options.suite = suite;
    return std::nullopt;
}

std::optional<QString> readButtons(const QString& text, CliOptions& options)
{
    const std::optional<int> count = wholeNumber(text);
    if (!count || (*count != 15 && *count != 20 && *count != 25 && *count != 35))
        return u"--buttons \""_s + text + u"\" is not a panel width: use 15, 20, 25 or 35"_s;
    options.buttonCount = count;
    return std::nullopt;
}

std::optional<QString> readBuses(const QStringList& texts, CliOptions& options)
{
    for (const QString& text : texts) {
        if (text.compare(u"all"_s, Qt::CaseInsensitive) == 0) {
            options.buses = QList<Bus>(allBuses.begin(), allBuses.end());
            continue;
        }
        const std::optional<Bus> bus = busFromName(text.toUpper());
        if (!bus) {
            return u"--bus \""_s + text +
                   u"\" is not a bus: use ME1, ME2, ME3, ME4, PGM, AUX or all"_s;
        }
        if (!options.buses.contains(*bus))
            options.buses.append(*bus);
    }
    std::sort(options.buses.begin(), options.buses.end());
    return std::nullopt;
}

std::optional<QString> readTimeout(const QString& text, CliOptions& options)
{
    bool ok = false;
    const double seconds = text.toDouble(&ok);
    if (!ok || text != text.trimmed() || !std::isfinite(seconds) || seconds <= 0 || seconds > longestTimeoutSeconds) {
        return u"--timeout \""_s + text + u"\" is not a number of seconds above 0 (at most "_s +
               QString::number(longestTimeoutSeconds) + u')';
    }
    options.timeout = std::max(std::chrono::milliseconds(1),
                               std::chrono::milliseconds(std::llround(seconds * 1000)));
    return std::nullopt;
}

// Whole numbers from `lowest` to `highest`, for counts the user sets.
std::optional<QString> readCount(const QString& option, const QString& text, int lowest,
                                 int highest, int& value)
{
    const std::optional<int> count = wholeNumber(text);
    if (!count || *count < lowest || *count > highest) {
        return u"--"_s + option + u" \""_s + text + u"\" is not a whole number from "_s +
               QString::number(lowest) + u" to "_s + QString::number(highest);
    }
    value = *count;
    return std::nullopt;
}

std::optional<QString> readSheetFormat(const QString& text, CliOptions& options)
{
    if (text.compare(u"pdf"_s, Qt::CaseInsensitive) == 0)
        options.sheetFormat = SheetFormat::pdf;
    else if (text.compare(u"png"_s, Qt::CaseInsensitive) == 0)
        options.sheetFormat = SheetFormat::png;
    else
        return u"--format \""_s + text + u"\" is not a sheet format: use pdf or png"_s;
    return std::nullopt;
}

std::optional<QString> readFormat(const QString& text, CliOptions& options)
{
    // sheet writes a sheet, not a show file: its format is the sheet's.
    if (options.command == Command::sheet)
        return readSheetFormat(text, options);
    if (text.compare(u"json"_s, Qt::CaseInsensitive) == 0)
        options.format = ShowFormat::json;
    else if (text.compare(u"csv"_s, Qt::CaseInsensitive) == 0)
        options.format = ShowFormat::csv;
    else
        return u"--format \""_s + text + u"\" is not a show file format: use json or csv"_s;
    return std::nullopt;
}

std::optional<QString> readPage(const QString& text, CliOptions& options)
{
    if (options.command != Command::sheet)
        return u"--page belongs to sheet"_s;
    if (text.compare(u"a4"_s, Qt::CaseInsensitive) == 0)
        options.paper = SheetPaper::a4;
    else if (text.compare(u"letter"_s, Qt::CaseInsensitive) == 0)
        options.paper = SheetPaper::letter;
    else
        return u"--page \""_s + text + u"\" is not a paper size: use a4 or letter"_s;
    return std::nullopt;
}

std::optional<QString> readHost(const QString& text, CliOptions& options)
{
    if (text.isEmpty())
        return u"--host is required: the frame's IPv4 address, like 192.168.1.20"_s;
    if (!isDottedIPv4(text)) {
        return u"--host \""_s + text +
               u"\" is not an IPv4 address: write four numbers 0-255 joined by dots, like "
               u"192.168.1.20"_s;
    }
    options.host = text;
    return std::nullopt;
}

// The positional arguments and the options that belong to one command only.
std::optional<QString> readCommandArguments(const QStringList& positional, bool dryRun,
                                            bool listedOnly, bool hasOutput, CliOptions& options)
{
    if (positional.isEmpty())
        return u"no command given: use dump, diff, apply or sheet (see --help)"_s;
    const std::optional<Command> command = commandFromText(positional.first());
    if (!command) {
        return u"unknown command \""_s + positional.first() +
               u"\": use dump, diff, apply or sheet (see --help)"_s;
    }
    options.command = *command;
    const QString name = positional.first();
    if (*command == Command::dump) {
        if (positional.size() > 1)
            return u"dump takes no file; write the show file with -o FILE"_s;
        if (dryRun || listedOnly)
            return (dryRun ? u"--dry-run"_s : u"--listed-only"_s) + u" does not apply to dump"_s;
        return std::nullopt;
    }
    if (positional.size() < 2) {
        return name + u" needs a show file: quorvane-cli "_s + name +
               (*command == Command::sheet ? u" FILE"_s : u" FILE --host ADDRESS"_s);
    }
    // diff compares a file with the frame, or two files with each other.
    const qsizetype mostFiles = *command == Command::diff ? 2 : 1;
    if (positional.size() > 1 + mostFiles) {
        return name +
               (mostFiles == 1 ? u" takes one show file, got "_s
                               : u" takes one or two show files, got "_s) +
               QString::number(positional.size() - 1);
    }
    if (*command == Command::sheet) {
        if (dryRun || listedOnly)
            return (dryRun ? u"--dry-run"_s : u"--listed-only"_s) + u" does not apply to sheet"_s;
        options.file = positional[1];
        return std::nullopt;
    }
    if (hasOutput)
        return u"-o/--output belongs to dump and sheet; "_s + name +
               u" writes its result to standard output"_s;
    if (dryRun && *command != Command::apply)
        return u"--dry-run belongs to apply; diff never writes"_s;
    options.file = positional[1];
    options.secondFile = positional.value(2);
    options.dryRun = dryRun;
    options.listedOnly = listedOnly;
    return std::nullopt;
}

// Every option with a value is given once; --bus alone adds up. Taking the last of two values
// would quietly act on a suite the user may not have meant.
std::optional<QString> repeatedOption(const QCommandLineParser& parser,
                                      const QList<QCommandLineOption>& options)
{
    for (const QCommandLineOption& option : options) {
        const QStringList values = parser.values(option);
        if (values.size() < 2)
            continue;
        QStringList names;
        for (const QString& name : option.names())
            names.append((name.size() == 1 ? u"-"_s : u"--"_s) + name);
        return names.join(u'/') + u" is given more than once (\""_s +
               values.join(u"\", \""_s) + u"\"): give it once"_s;
    }
    return std::nullopt;
}

} // namespace

bool needsFrame(const CliOptions& options)
{
    return options.command != Command::sheet && options.secondFile.isEmpty();
}

std::variant<CliOptions, CliStop> parseCliOptions(const QStringList& arguments)
{
    QCommandLineParser parser;
    // The help text is written by hand (helpText()); the parser only reads the words.
    const QCommandLineOption help({u"h"_s, u"help"_s}, QString());
    const QCommandLineOption version(u"version"_s, QString());
    const QCommandLineOption host(u"host"_s, QString(), u"ADDRESS"_s);
    const QCommandLineOption suite(u"suite"_s, QString(), u"N"_s);
    const QCommandLineOption buttons(u"buttons"_s, QString(), u"N"_s);
    const QCommandLineOption bus(u"bus"_s, QString(), u"NAME"_s);
    const QCommandLineOption timeout(u"timeout"_s, QString(), u"SECONDS"_s);
    const QCommandLineOption retries(u"retries"_s, QString(), u"N"_s);
    const QCommandLineOption connectAttempts(u"connect-attempts"_s, QString(), u"N"_s);
    const QCommandLineOption format(u"format"_s, QString(), u"FORMAT"_s);
    const QCommandLineOption output({u"o"_s, u"output"_s}, QString(), u"FILE"_s);
    const QCommandLineOption dryRun(u"dry-run"_s, QString());
    const QCommandLineOption listedOnly(u"listed-only"_s, QString());
    const QCommandLineOption quiet({u"q"_s, u"quiet"_s}, QString());
    const QCommandLineOption verbose({u"v"_s, u"verbose"_s}, QString());
    const QCommandLineOption logFile(u"log"_s, QString(), u"FILE"_s);
    const QCommandLineOption page(u"page"_s, QString(), u"SIZE"_s);
    parser.addOptions({help, version, host, suite, buttons, bus, timeout, retries, connectAttempts,
                       format, output, dryRun, listedOnly, quiet, verbose, logFile, page});

    if (!parser.parse(QStringList{u"quorvane-cli"_s} + arguments))
        return usageError(parser.errorText() + u" (see --help)"_s);
    if (parser.isSet(help))
        return CliStop{ExitCode::ok, helpText(), true};
    if (parser.isSet(version))
        return CliStop{ExitCode::ok, u"quorvane-cli "_s + projectVersion, true};

    CliOptions options;
    std::optional<QString> problem =
        readCommandArguments(parser.positionalArguments(), parser.isSet(dryRun),
                             parser.isSet(listedOnly), parser.isSet(output), options);
    // sheet prints a file and a diff of two files compares them: neither contacts a frame.
    if (!problem && options.command == Command::sheet && parser.isSet(host))
        problem = u"--host does not apply to sheet: it prints FILE and contacts no frame"_s;
    if (!problem && !options.secondFile.isEmpty() && parser.isSet(host)) {
        problem = u"--host does not apply to a diff of two files: they are compared with each "
                  u"other, not with a frame"_s;
    }
    if (!problem) {
        problem = repeatedOption(parser, {host, suite, buttons, timeout, retries, connectAttempts,
                                          format, output, logFile, page});
    }
    if (!problem && needsFrame(options))
        problem = readHost(parser.value(host), options);
    if (!problem && parser.isSet(suite))
        problem = readSuite(parser.value(suite), options);
    if (!problem && parser.isSet(buttons))
        problem = readButtons(parser.value(buttons), options);
    if (!problem && parser.isSet(bus))
        problem = readBuses(parser.values(bus), options);
    if (!problem && parser.isSet(timeout))
        problem = readTimeout(parser.value(timeout), options);
    if (!problem && parser.isSet(retries))
        problem = readCount(u"retries"_s, parser.value(retries), 0, mostRetries, options.retries);
    if (!problem && parser.isSet(connectAttempts)) {
        problem = readCount(u"connect-attempts"_s, parser.value(connectAttempts), 1,
                            mostConnectAttempts, options.connectAttempts);
    }
    if (!problem && parser.isSet(format))
        problem = readFormat(parser.value(format), options);
    if (!problem && parser.isSet(page))
        problem = readPage(parser.value(page), options);
    if (problem)
        return usageError(*problem);

    options.output = parser.value(output);
    if (options.output.isEmpty() && parser.isSet(output))
        return usageError(u"-o/--output needs a file name"_s);
    options.quiet = parser.isSet(quiet);
    options.verbose = parser.isSet(verbose);
    if (parser.isSet(logFile)) {
        options.logFile = parser.value(logFile);
        if (options.logFile.isEmpty())
            return usageError(u"--log needs a file name"_s);
    }
    return options;
}

std::chrono::seconds shortestTimeout(const LinkTiming& timing, int retries)
{
    // The widest panel loads longest, and a frame that leaves buttons silent makes a load wait
    // for answers as long as it ever does.
    const auto needed = connectWaits(timing, supportedButtonCounts.back()) - timing.namesQuietGap +
                        timing.namesListen + timing.buttonsListen + retries * timing.retryListen;
    return std::chrono::ceil<std::chrono::seconds>(needed);
}

} // namespace quorvane::cli
