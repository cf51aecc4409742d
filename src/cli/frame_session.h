#pragma once

#include "link/connect_attempts.h"
#include "link/gv_connection.h"
#include "link/link_timing.h"
#include "model/bus.h"

#include <QCoroTask>
#include <QElapsedTimer>
#include <QSettings>
#include <QTemporaryDir>
#include <chrono>
#include <memory>
#include <optional>

namespace quorvane {
class TerminationRequest;
}

namespace quorvane::cli {

class Console;

// What a session needs to reach the frame.
struct SessionTarget {
    QString host;
    int suite = 1;
    int buttonCount = 35;
};

// How long and how often a session tries before it gives up.
struct SessionPatience {
    std::chrono::milliseconds stepLimit{30'000}; // each step: the connect, each further bus
    // Connects in all, after a handshake time-out or a failed heartbeat check.
    int connectAttempts = defaultConnectAttempts;
    int answerRetries = 3;   // rounds of asking again for buttons that did not answer
};

// One connection to the frame for the length of a command, opened exactly as the desktop opens
// it (handshake, heartbeat verification, loading) and then loading further buses the way the
// desktop's bus selector does.
class FrameSession {
public:
    // `console`, when given, shows where the connect and each load have got to.
    // `termination`, when given, ends the session as soon as the program is asked to end.
    FrameSession(DebugLogger& logger, const LinkTiming& timing, const SessionPatience& patience,
                 Console* console = nullptr, TerminationRequest* termination = nullptr);
    ~FrameSession();

    FrameSession(const FrameSession&) = delete;
    FrameSession& operator=(const FrameSession&) = delete;

    // Connects and loads `buses` (at least one), the first as part of the connect. Returns why
    // the frame could not be reached or was lost, as one line, or nothing once every bus has
    // been loaded. Buttons may still be unknown then (see readFrame): but not because the frame
    // went away, which a bus with unknown buttons is checked for.
    QCoro::Task<std::optional<QString>> open(SessionTarget target, QList<Bus> buses);

    // What the session is doing, for the message should the frame stop answering:
    // "waiting for the writes to be confirmed".
    void setActivity(const QString& activity) { m_activity = activity; }
    // Why the link is no longer usable, with what that left undone, or nothing while it is.
    std::optional<QString> linkProblem(const QString& consequence = {}) const;

    GVConnection& connection() { return *m_connection; }
    const GVConnection& connection() const { return *m_connection; }
    const SessionPatience& patience() const { return m_patience; }

    // Makes sure every source in `used` has its definition and names: when some lack them, the
    // names are loaded once more. Returns the sources that have none even then: none on the frame.
    QCoro::Task<QList<int>> completeSourceNames(QList<qint64> used);

    // The name the frame gives `source`, empty when it has none.
    QString sourceName(qint64 source) const;

    void close();

private:
    struct ConnectFailure {
        QString reason;
        QString nextStep; // what the user can do about it
        bool worthAnotherAttempt = false;
    };

    QCoro::Task<std::optional<ConnectFailure>> connectLoading(Bus firstBus);
    QCoro::Task<std::optional<QString>> load(Bus bus);
    QCoro::Task<std::optional<QString>> checkAliveAfterSilence(Bus bus);
    // What the session is doing now: during a connect, the step the link has reached (the
    // activity is already the load that ends the connect).
    QString currentActivity() const;
    // "interrupted by SIGINT while loading ME3", once the program has been asked to end.
    std::optional<QString> interruption(const QString& consequence = {}) const;
    void showProgress();
    void noteLoaded(Bus bus);

    // The desktop remembers the last frame it reached; a script run must not change that, so
    // the connection keeps its preferences in a place that goes away with the session.
    QTemporaryDir m_preferencesDir;
    QSettings m_preferences;
    std::unique_ptr<GVConnection> m_connection;
    SessionPatience m_patience;
    SessionTarget m_target;
    QString m_activity;
    QString m_interruptedWhile; // the activity when the program was asked to end
    Console* m_console;
    TerminationRequest* m_termination;
    std::optional<Bus> m_loadingBus; // the bus whose buttons are coming in
    QElapsedTimer m_sinceProgress;
};

} // namespace quorvane::cli
