#pragma once

#include <QString>
#include <QStringList>
#include <optional>

namespace quorvane {

// What the command line asks of the program: to run, or only to describe itself.
enum class StartRequest { run, help, version };

// How the program was asked to start.
struct StartOptions {
    StartRequest request = StartRequest::run;
    bool demo = false;             // run the emulated frame inside the program
    std::optional<QString> show;   // open this show file offline, served by the emulated frame
    std::optional<QString> host;   // pre-fill the frame address
    std::optional<int> suite;      // 1-4
    std::optional<int> buttons;    // 15, 20, 25 or 35
    bool connect = false;          // press Connect at start
    bool reportFirstPaint = false; // print a line once the main window has painted
};

struct ParsedStart {
    StartOptions options;
    QString error; // a line for the user when the arguments make no sense
    // The error is an option this program does not know. It may be one of the toolkit's own
    // (-platform …), which only the application object takes out of the arguments.
    bool unknownOption = false;
};

// Needs no application object, so the program can look at its arguments before it decides
// whether to open the window system.
ParsedStart parseStartOptions(const QStringList& arguments);

// The text of --help and of --version. The help's usage line names the program, so it needs
// the application object.
QString startHelpText();
QString startVersionText();

} // namespace quorvane
