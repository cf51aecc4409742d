#pragma once

// The main window with a frame that leaves the connect's first handshake unanswered, and a
// record of everything its connection panel showed and its log said, line by line.

#include "desk.h"
#include "session/connect_retry.h"

#include <QLabel>

namespace quorvane::test {

// A frame that loses the first ClientID and every one of its resends: the first attempt's
// handshake ends at stage 3, the next ClientID gets through.
inline emulator::FrameEmulatorOptions losingTheFirstClientIds()
{
    emulator::FrameEmulatorOptions options;
    for (int occurrence = 1; occurrence <= LinkTiming{}.handshakeTries; ++occurrence) {
        options.faults.lostArrivals.append(
            {emulator::ClientMessageKind::clientIdFirst, occurrence});
    }
    return options;
}

struct RetryDesk : Desk {
    explicit RetryDesk(emulator::FrameEmulatorOptions options = {})
        : Desk(std::move(options))
    {
        // After the panel's own handlers: the label already shows the change.
        const auto record = [this] {
            const QString line = panel().stateLabel()->text() + QStringLiteral(" | ") +
                                 panel().statusLabel()->text();
            if (shown.isEmpty() || shown.last() != line)
                shown.append(line);
            bannerSeen = bannerSeen || !view.linkBanner()->isHidden();
        };
        QObject::connect(&view.connectRetry(), &ConnectRetry::progressChanged, &view, record);
        QObject::connect(&connection, &GVConnection::statusMessageChanged, &view, record);
        QObject::connect(&connection, &GVConnection::connectionStateChanged, &view, record);
        QObject::connect(&logger, &DebugLogger::logsChanged, &view, [this] {
            const qint64 fresh = logger.appendedCount() - m_logged;
            m_logged = logger.appendedCount();
            const QStringList& logs = logger.logs();
            constexpr qsizetype stampLength = 15; // "[HH:mm:ss.zzz] "
            for (qsizetype k = std::max<qsizetype>(0, logs.size() - fresh); k < logs.size(); ++k)
                m_messages.append(logs[k].mid(stampLength));
        });
    }

    ConnectionPanel& panel() { return *view.connectionPanel(); }
    QString status() { return panel().statusLabel()->text(); }
    // Every log line so far as "[LEVEL] text", also those the log's 500 no longer hold.
    QStringList messages()
    {
        runQueuedCalls();
        return m_messages;
    }
    qsizetype connectsRequested()
    {
        return messages().filter(QStringLiteral("[INFO] Connect requested to 127.0.0.1")).size();
    }
    // The lines the panel showed with `text` on its status line, as "state | status".
    QStringList shownWith(const QString& text) const
    {
        QStringList lines;
        for (const QString& line : shown) {
            if (line.endsWith(QStringLiteral(" | ") + text))
                lines.append(line);
        }
        return lines;
    }

    QStringList shown;       // "state | status line", at every change
    bool bannerSeen = false; // the banner over the grid was shown at any change

private:
    QStringList m_messages;
    qint64 m_logged = 0;
};

} // namespace quorvane::test
