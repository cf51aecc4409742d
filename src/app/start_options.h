#pragma once

#include <QString>
#include <QStringList>
#include <optional>

namespace quorvane {

// How the program was asked to start.
struct StartOptions {
    bool demo = false;           // run the emulated frame inside the program
    std::optional<QString> host; // pre-fill the frame address
    std::optional<int> suite;    // 1-4
    std::optional<int> buttons;  // 15, 20, 25 or 35
    bool connect = false;        // press Connect at start
};

struct ParsedStart {
    StartOptions options;
    QString error; // a line for the user when the arguments make no sense
};

ParsedStart parseStartOptions(const QStringList& arguments);

} // namespace quorvane
