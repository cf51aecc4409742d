#pragma once

#include <QObject>

namespace quorvane {
class DebugLogger;
}

namespace quorvane::cli {

class Console;

// Carries the connection's whole log to standard error while a command runs (--verbose), so
// that standard output keeps only the result. The logger's own echo goes elsewhere (or
// nowhere); the lines it keeps are relayed through the console instead, in their order among
// the other things printed.
class LogRelay : public QObject {
    Q_OBJECT

public:
    LogRelay(DebugLogger& logger, Console& console);
    ~LogRelay() override;

    // Relays the lines logged so far. The logger keeps its lines through the event loop, so
    // this runs before anything else is printed, to keep the order in which things happened.
    void flush();

private:
    void relayNewest();

    DebugLogger& m_logger;
    Console& m_console;
};

} // namespace quorvane::cli
