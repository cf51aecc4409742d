#pragma once

#include "exit_code.h"
#include "link/connect_attempts.h"
#include "link/link_timing.h"
#include "model/bus.h"
#include "sheet_options.h"

#include <QList>
#include <QString>
#include <QStringList>
#include <chrono>
#include <optional>
#include <variant>

namespace quorvane::cli {

enum class Command { dump, diff, apply, sheet };

enum class ShowFormat { json, csv };

// The command line once it has been checked. Values the user left out are empty: their defaults
// depend on the show file, which is only read later.
struct CliOptions {
    Command command = Command::dump;
    QString host;
    std::optional<int> suite;
    std::optional<int> buttonCount;
    QList<Bus> buses; // as named with --bus, in display order; empty when not given
    std::chrono::milliseconds timeout{30'000};
    int retries = 3;         // rounds of asking again for buttons, and of writing again
    // Connects in all, after a handshake time-out or a failed heartbeat check.
    int connectAttempts = defaultConnectAttempts;
    std::optional<ShowFormat> format;
    QString file;       // diff, apply and sheet: the show file to compare with or print
    QString secondFile; // diff of two files: compared with `file`, no frame contacted
    QString output;     // dump: where to write; empty for standard output. sheet: empty for FILE's
                        // name with the sheet's extension
    bool dryRun = false;
    bool listedOnly = false;
    bool quiet = false;   // no progress, no summary
    bool verbose = false; // the whole log on standard error
    QString logFile;      // the whole log to this file
    // sheet: --format and --page
    std::optional<SheetFormat> sheetFormat;
    SheetPaper paper = SheetPaper::a4;
};

// Whether the command talks to a frame: all but sheet and a diff of two files.
bool needsFrame(const CliOptions& options);

// The command line could not be used, or asked for help: what to print, where, and how to end.
struct CliStop {
    ExitCode code = ExitCode::usage;
    QString text;          // without a final line break
    bool toOutput = false; // help goes to standard output, errors to standard error
};

// `arguments` without the program name.
std::variant<CliOptions, CliStop> parseCliOptions(const QStringList& arguments);

// The full --help text.
QString helpText();

// The shortest --timeout that lets a step finish at the frame's pace: a connect with its first
// bus and every round of asking again, at `timing`, in whole seconds. A shorter one is refused
// as a usage error rather than blamed on the frame.
std::chrono::seconds shortestTimeout(const LinkTiming& timing, int retries);

} // namespace quorvane::cli
