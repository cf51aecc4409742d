#pragma once

#include <QByteArray>
#include <QString>

class QIODevice;

namespace quorvane::cli {

class LogRelay;

// Where a command prints: the result to standard output, errors to standard error. Each print
// first lets the log catch up, so that what the user reads keeps the order of events.
class Console {
public:
    Console(QIODevice& out, QIODevice& err, LogRelay* relay = nullptr)
        : m_out(out)
        , m_err(err)
        , m_relay(relay)
    {
    }

    void setRelay(LogRelay* relay) { m_relay = relay; }

    // One line of the result.
    void result(const QString& line);
    // A whole result as it is, such as a show file.
    void resultBytes(const QByteArray& bytes);
    // "quorvane-cli: <message>" on standard error.
    void error(const QString& message);

private:
    void flushLog();

    QIODevice& m_out;
    QIODevice& m_err;
    LogRelay* m_relay;
};

} // namespace quorvane::cli
