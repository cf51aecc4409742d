#pragma once

#include "link/gv_connection.h"
#include "link/link_timing.h"
#include "model/bus.h"

#include <QCoroTask>
#include <QSettings>
#include <QTemporaryDir>
#include <chrono>
#include <memory>
#include <optional>

namespace quorvane::cli {

// What a session needs to reach the frame.
struct SessionTarget {
    QString host;
    int suite = 1;
    int buttonCount = 35;
};

// One connection to the frame for the length of a command, opened exactly as the desktop opens
// it (handshake, heartbeat verification, loading) and then loading further buses the way the
// desktop's bus selector does.
class FrameSession {
public:
    FrameSession(DebugLogger& logger, const LinkTiming& timing);
    ~FrameSession();

    FrameSession(const FrameSession&) = delete;
    FrameSession& operator=(const FrameSession&) = delete;

    // Connects and loads `buses` (at least one), the first as part of the connect. Returns why
    // it failed, as one line, or nothing once every bus is loaded. Each step may take up to
    // `stepLimit`.
    QCoro::Task<std::optional<QString>> open(SessionTarget target, QList<Bus> buses,
                                             std::chrono::milliseconds stepLimit);

    // Why the link is no longer usable, or nothing while it is.
    std::optional<QString> linkProblem() const;

    GVConnection& connection() { return *m_connection; }
    const GVConnection& connection() const { return *m_connection; }

    // The name the frame gives `source`, empty when it has none.
    QString sourceName(qint64 source) const;

    void close();

private:
    QCoro::Task<std::optional<QString>> connectLoading(Bus firstBus,
                                                       std::chrono::milliseconds stepLimit);
    QCoro::Task<std::optional<QString>> load(Bus bus, std::chrono::milliseconds stepLimit);

    // The desktop remembers the last frame it reached; a script run must not change that, so
    // the connection keeps its preferences in a place that goes away with the session.
    QTemporaryDir m_preferencesDir;
    QSettings m_preferences;
    std::unique_ptr<GVConnection> m_connection;
    SessionTarget m_target;
};

} // namespace quorvane::cli
