#pragma once

#include <QByteArray>
#include <QString>

class QIODevice;

namespace quorvane::cli {

class LogRelay;

// Where a command prints. Standard output carries the result alone; standard error carries
// errors, progress and the closing summary for the person at the terminal.
//
// On a terminal, progress is one line rewritten in place ("Loading ME2 … 84/140 buttons");
// elsewhere only its milestones appear, as plain lines without control characters. Each print
// first lets the log catch up and clears the progress line, so that what the user reads keeps
// the order of events.
class Console {
public:
    Console(QIODevice& out, QIODevice& err, bool errIsTerminal)
        : m_out(out)
        , m_err(err)
        , m_errIsTerminal(errIsTerminal)
    {
    }

    void setRelay(LogRelay* relay) { m_relay = relay; }
    // No progress and no summary: only the result and the errors.
    void setQuiet(bool quiet) { m_quiet = quiet; }

    // One line of the result.
    void result(const QString& line);
    // A whole result as it is, such as a show file.
    void resultBytes(const QByteArray& bytes);
    // "quorvane-cli: <message>" on standard error.
    void error(const QString& message);
    // Where a long step has got to: shown in place on a terminal, left out elsewhere.
    void progress(const QString& text);
    // A milestone or the summary: a line of its own on standard error.
    void note(const QString& text);
    // A line of the log, as the relay passes it on.
    void logLine(const QString& line);

private:
    void flushLog();
    void clearProgress();
    void writeError(const QString& line);

    QIODevice& m_out;
    QIODevice& m_err;
    bool m_errIsTerminal;
    LogRelay* m_relay = nullptr;
    bool m_quiet = false;
    QString m_shownProgress; // the line shown in place, empty when none
};

} // namespace quorvane::cli
