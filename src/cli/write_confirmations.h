#pragma once

#include "link/gv_connection.h"
#include "model/show_file.h"

#include <QList>
#include <functional>
#include <optional>

namespace quorvane::cli {

// One button written to the frame, and what the frame has said about it since.
struct TrackedWrite {
    ShowButton wanted;
    quint64 sentAfter = 0;             // the number of the frame's last answer before the write
    std::optional<qint64> frameSource; // the frame's word since the write; none while silent
    bool confirmed = false;
    int sends = 0; // how often it was written

    friend bool operator==(const TrackedWrite&, const TrackedWrite&) = default;
};

// The frame's last answer for a button, numbered as the connection numbers them.
using AnswerLookup =
    std::function<std::optional<GVConnection::ButtonAnswerStamp>(const ShowButton& button)>;

// Tells a write the frame has taken from one it has only been sent. A write updates the
// connection's cache at once, so the cache proves nothing; only a record of the button that
// the frame sends after the write does, and it must carry the written source (0 for a clear).
class WriteConfirmations {
public:
    // Call right when `wanted` is written, or written again, with the number of the frame's
    // latest answer at that moment: only answers after it count.
    void written(const ShowButton& wanted, quint64 answerSerial);

    // Looks at the frame's answers again; its latest word counts.
    void review(const AnswerLookup& lastAnswer);

    const QList<TrackedWrite>& writes() const { return m_writes; }
    int confirmedCount() const;
    int unconfirmedCount() const { return static_cast<int>(m_writes.size()) - confirmedCount(); }
    bool allConfirmed() const { return unconfirmedCount() == 0; }
    // Every write has an answer from the frame since it was sent, agreeing or not.
    bool allAnswered() const;
    QList<ShowButton> unconfirmed() const;

private:
    QList<TrackedWrite> m_writes;
};

} // namespace quorvane::cli
