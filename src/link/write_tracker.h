#pragma once

#include "link_timing.h"
#include "write_confirmations.h"

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>
#include <chrono>
#include <functional>

namespace quorvane {

class DebugLogger;

// Follows every write of a session until the frame has reported it back. A write without its
// confirmation after `writeConfirmWait` is sent again, `writeTries` times in all; a write the
// frame answers with another source is sent again at once, once, since the answer may be the
// report of an earlier write overtaken on the way. Then it is given up on, by name: refused
// when the frame kept another source, not confirmed when it never answered.
class WriteTracker : public QObject {
    Q_OBJECT

public:
    // What the tracker needs of the connection it follows.
    struct Link {
        std::function<bool()> isConnected;
        std::function<quint64()> answerSerial;
        AnswerLookup lastAnswer;
        // Sends the write once more, as it was (a new sequence number).
        std::function<void(const TrackedWrite&)> send;
        // A refused write: the button shows the frame's word again.
        std::function<void(const TrackedWrite&)> showFrameSource;
        // Asks the frame what the button of the write holds now.
        std::function<void(const TrackedWrite&)> askAgain;
    };

    // A write confirmed within this is never shown as pending: on a sound network the mark
    // would only flicker.
    static constexpr std::chrono::milliseconds quietConfirmation{100};

    // `timing` is the connection's own and must outlive the tracker.
    WriteTracker(Link link, const LinkTiming& timing, DebugLogger& logger,
                 QObject* parent = nullptr);

    // `wanted` has just been sent for the first time.
    void written(const ShowButton& wanted, int buttonCount, std::optional<ReplacedSource> replaced);
    // The frame has answered for some buttons.
    void answersArrived();
    // A new session: the writes of the last one are no longer followed.
    void clear();
    // The buttons read again from the frame: the marks of writes given up on go.
    void forgetGivenUp();
    // How many times a write goes out at most (the command line's --retries, plus one).
    void setTries(int tries) { m_tries = tries; }

    const WriteConfirmations& confirmations() const { return m_writes; }
    const TrackedWrite* find(Bus bus, int shift, int button, int count) const
    {
        return m_writes.find(bus, shift, button, count);
    }
    // Pending for longer than `quietConfirmation`: shown as such.
    bool showsPending(const TrackedWrite& write) const;
    // No write is waiting for its confirmation.
    bool isSettled() const { return m_writes.count(WriteOutcome::pending) == 0; }
    // The button shows what was asked whatever the frame reports: the write is pending, or was
    // confirmed so lately that reports of earlier writes may still be on their way.
    bool holdsButton(const TrackedWrite& write) const;

Q_SIGNALS:
    // A write was confirmed, given up on, or has been pending long enough to be shown so.
    void changed();
    // A write the frame did not make; `text` names it as the warning does.
    void writeRefused(const quorvane::TrackedWrite& write, const QString& text);
    void writeNotConfirmed(const quorvane::TrackedWrite& write, const QString& text);

private:
    void follow();
    void sendAgain(qsizetype index);
    void giveUp(qsizetype index);
    bool isSettling(const TrackedWrite& write) const;
    qint64 now() const { return m_clock.elapsed(); }

    Link m_link;
    const LinkTiming& m_timing;
    DebugLogger& m_logger;
    WriteConfirmations m_writes;
    int m_tries;
    QElapsedTimer m_clock;
    QTimer m_follow;
    qsizetype m_shownPending = 0; // writes shown as pending at the last pass
};

} // namespace quorvane
