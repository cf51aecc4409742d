#pragma once

#include "cli_options.h"

#include <QObject>

class QIODevice;

namespace quorvane {
class DebugLogger;
}

namespace quorvane::cli {

// Carries the connection's log to standard error while a command runs, so that standard
// output keeps only the result. The logger echoes every line, hex dumps included, so its echo
// is switched off and the lines it keeps are relayed instead, filtered by level.
class LogRelay : public QObject {
    Q_OBJECT

public:
    LogRelay(DebugLogger& logger, QIODevice& destination, LogDetail detail);
    ~LogRelay() override;

    // Relays the lines logged so far. The logger keeps its lines through the event loop, so
    // this runs before anything else is printed, to keep the order in which things happened.
    void flush();

private:
    void relayNewest();

    DebugLogger& m_logger;
    QIODevice& m_destination;
    LogDetail m_detail;
};

} // namespace quorvane::cli
