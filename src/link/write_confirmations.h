#pragma once

#include "model/show_file.h"

#include <QList>
#include <functional>
#include <optional>

namespace quorvane {

// The frame's last answer for a button, numbered in arrival order, so that a write can tell
// the answers that came after it.
struct ButtonAnswerStamp {
    quint64 serial = 0;
    quint32 source = 0;
};

// What a button held before a write, as far as the writer knows it (none: unknown). Every
// send of the write names it in its log line, so that an overwritten mapping can still be
// read back.
struct ReplacedSource {
    std::optional<qint64> source;

    friend bool operator==(const ReplacedSource&, const ReplacedSource&) = default;
};

// What became of a write. Only the frame's own record of the button, sent after the write and
// carrying the written source, confirms it; a write given up on is either unanswered or
// answered with another source.
enum class WriteOutcome { pending, confirmed, notConfirmed, refused };

// One button written to the frame, and what the frame has said about it since.
struct TrackedWrite {
    ShowButton wanted = {};
    quint64 sentAfter = 0; // the number of the frame's last answer before the send
    std::optional<qint64> frameSource =
        std::nullopt; // the frame's word since the latest send; none while silent
    WriteOutcome outcome = WriteOutcome::pending;
    int sends = 0;       // how often it was sent
    int buttonCount = 0; // the panel width it was written at, which numbers its buttons
    std::optional<ReplacedSource> replaced = std::nullopt;
    qint64 firstSentAt = 0; // on the clock of whoever keeps the writes, in milliseconds
    qint64 lastSentAt = 0;
    // Once confirmed: the answer that did it, when it came, and whether another source was
    // reported since (an earlier write's report overtaken on the way, or the frame's news).
    quint64 confirmedBy = 0;
    qint64 confirmedAt = 0;
    bool doubted = false;
    // Pending again, not to be sent but to hear what the frame holds now: asked about a doubt.
    bool checking = false;

    bool isConfirmed() const { return outcome == WriteOutcome::confirmed; }
    bool isPending() const { return outcome == WriteOutcome::pending; }
    bool isOn(Bus bus, int shift, int button, int count) const
    {
        return wanted.bus == bus && wanted.shift == shift && wanted.button == button &&
               buttonCount == count;
    }

    friend bool operator==(const TrackedWrite&, const TrackedWrite&) = default;
};

// The frame's last answer for the button of a write.
using AnswerLookup = std::function<std::optional<ButtonAnswerStamp>(const TrackedWrite& write)>;

// The writes of one session, one per button (a new write to a button replaces the old one),
// and whether the frame has taken them.
class WriteConfirmations {
public:
    // Call right when `wanted` is first sent, with the number of the frame's latest answer at
    // that moment: only answers after it count. A new write to a button replaces its old one.
    void written(const ShowButton& wanted, int buttonCount, quint64 answerSerial,
                 std::optional<ReplacedSource> replaced, qint64 now);
    // The same write sent again: what the frame said about the earlier send no longer counts.
    void resent(qsizetype index, quint64 answerSerial, qint64 now);

    // Looks at the frame's answers again, at `now`. A write the frame has confirmed stays
    // confirmed: a later record of the button with another source is the frame's news, or an
    // earlier report overtaken on the way, never a refusal; within `doubtWindow` of the
    // confirmation it leaves the write doubted. Whether any write changed.
    bool review(const AnswerLookup& lastAnswer, qint64 now = 0, qint64 doubtWindow = 0);
    // A doubted write goes back to pending while the frame is asked what the button holds
    // (`resent` counts each further ask); whatever it answers then is its word.
    void recheck(qsizetype index, quint64 answerSerial, qint64 now);
    // The frame's answer to a recheck differs: it is the frame's news, and final.
    void acceptFrameWord(qsizetype index);

    // The verdict on a write that has been given up on.
    void settle(qsizetype index, WriteOutcome outcome);
    // The marks of writes given up on go; their buttons show the frame's word again.
    void forgetGivenUp();
    void clear() { m_writes.clear(); }

    const QList<TrackedWrite>& writes() const { return m_writes; }
    const TrackedWrite* find(Bus bus, int shift, int button, int count) const;
    int confirmedCount() const { return count(WriteOutcome::confirmed); }
    int unconfirmedCount() const { return static_cast<int>(m_writes.size()) - confirmedCount(); }
    int count(WriteOutcome outcome) const;
    bool allConfirmed() const { return unconfirmedCount() == 0; }
    // Every write has an answer from the frame since it was sent, agreeing or not.
    bool allAnswered() const;
    QList<ShowButton> unconfirmed() const;

private:
    QList<TrackedWrite> m_writes;
};

// "PGM S3B15 (asked 47, frame kept 79)": the button of a write given up on, what was asked
// and what the frame said.
QString refusedWriteText(const TrackedWrite& write);
// "PGM S2B10 (asked 115, frame last reported 56)", `lastReported` being the frame's last word
// on the button at any time, or none when it never answered.
QString unconfirmedWriteText(const TrackedWrite& write, std::optional<qint64> lastReported);

} // namespace quorvane
