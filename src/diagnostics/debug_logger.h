#pragma once

#include <QByteArrayView>
#include <QObject>
#include <QString>
#include <QStringList>
#include <cstdio>
#include <optional>
#include <vector>

namespace quorvane {

enum class LogLevel { info, warn, error, hex };

QString logLevelText(LogLevel level);

// Bytes as two lower-case hex digits each, separated by single blanks ("00 04 12 a0").
QString hexBytes(QByteArrayView bytes);

// The in-application log: every line is echoed at once and kept (the newest 500) for the
// log panel. Lines are appended through the event loop so that the panel only ever sees
// `logs` change on the main thread, whoever logs.
class DebugLogger : public QObject {
    Q_OBJECT
    Q_PROPERTY(QStringList logs READ logs NOTIFY logsChanged)

public:
    static constexpr qsizetype maxLines = 500;

    explicit DebugLogger(QObject* parent = nullptr);

    // The one logger the whole application writes to.
    static DebugLogger& shared();

    const QStringList& logs() const { return m_logs; }
    // How many lines have ever been appended. `logs` holds the last of them, so a viewer that
    // has shown lines up to a count can append just the newer ones.
    qint64 appendedCount() const { return m_appended; }

    void log(const QString& message, LogLevel level = LogLevel::info);
    void info(const QString& message) { log(message, LogLevel::info); }
    void warn(const QString& message) { log(message, LogLevel::warn); }
    void error(const QString& message) { log(message, LogLevel::error); }
    void hexDump(const QString& label, QByteArrayView bytes);
    void clear();

    // Where each line is echoed as it is logged; standard output unless changed, nullptr for
    // silence.
    void setEcho(std::FILE* stream) { m_echo = stream; }

Q_SIGNALS:
    void logsChanged();

private:
    // Appends through the event loop; none stands for a clear.
    void post(std::optional<QString> line);
    void appendPending();
    void append(const QString& line);

    std::vector<std::optional<QString>> m_pending;

    QStringList m_logs;
    qint64 m_appended = 0;
    std::FILE* m_echo = stdout;
};

} // namespace quorvane
