#include "write_confirmations.h"

#include <algorithm>

namespace quorvane::cli {

namespace {
bool sameButton(const ShowButton& a, const ShowButton& b)
{
    return a.bus == b.bus && a.shift == b.shift && a.button == b.button;
}
} // namespace

void WriteConfirmations::written(const ShowButton& wanted, quint64 answerSerial)
{
    auto known = std::ranges::find_if(
        m_writes, [&](const TrackedWrite& write) { return sameButton(write.wanted, wanted); });
    if (known == m_writes.end()) {
        m_writes.append(TrackedWrite{wanted, answerSerial, std::nullopt, false, 1});
        return;
    }
    // Written again: what the frame said about the earlier write no longer counts.
    known->wanted = wanted;
    known->sentAfter = answerSerial;
    known->frameSource.reset();
    known->confirmed = false;
    ++known->sends;
}

void WriteConfirmations::review(const AnswerLookup& lastAnswer)
{
    for (TrackedWrite& write : m_writes) {
        const std::optional<GVConnection::ButtonAnswerStamp> answer = lastAnswer(write.wanted);
        if (answer && answer->serial > write.sentAfter)
            write.frameSource = qint64{answer->source};
        write.confirmed = write.frameSource == write.wanted.source;
    }
}

int WriteConfirmations::confirmedCount() const
{
    return static_cast<int>(
        std::ranges::count_if(m_writes, [](const TrackedWrite& write) { return write.confirmed; }));
}

bool WriteConfirmations::allAnswered() const
{
    return std::ranges::all_of(
        m_writes, [](const TrackedWrite& write) { return write.frameSource.has_value(); });
}

QList<ShowButton> WriteConfirmations::unconfirmed() const
{
    QList<ShowButton> buttons;
    for (const TrackedWrite& write : m_writes) {
        if (!write.confirmed)
            buttons.append(write.wanted);
    }
    return buttons;
}

} // namespace quorvane::cli
