#pragma once

#include <QObject>

namespace quorvane {

// A request to end the program, from the operating system (Ctrl+C, SIGTERM) or a test. Code
// that holds something open listens for it and closes it, so that a program ended this way
// closes its link to the frame, writes its last log lines and removes what it has half written,
// like any other way of ending.
class TerminationRequest : public QObject {
    Q_OBJECT

public:
    using QObject::QObject;

    // The signal number asked for, 0 while none has come.
    int signalNumber() const { return m_signal; }
    bool isRequested() const { return m_signal != 0; }
    // The exit status of a program ended by it: 128 + the signal number, as a shell reports it.
    int exitStatus() const { return 128 + m_signal; }
    // "SIGINT", "SIGTERM", or the number.
    QString signalName() const;

    // Only the first request counts.
    void request(int signalNumber);

Q_SIGNALS:
    void requested(int signalNumber);

private:
    int m_signal = 0;
};

// Turns SIGINT and SIGTERM into requests on `request`, delivered through the event loop of the
// calling (main) thread; `request` must live as long as the program. A second signal before the
// program is done ends it at once, in case it is stuck.
void deliverTerminationSignals(TerminationRequest& request);

} // namespace quorvane
