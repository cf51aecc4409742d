#include "write_confirmations.h"

#include "model/button_address.h"

#include <algorithm>
#include <limits>

using namespace Qt::StringLiterals;

namespace quorvane {

void WriteConfirmations::written(const ShowButton& wanted, int buttonCount, quint64 answerSerial,
                                 std::optional<ReplacedSource> replaced, qint64 now)
{
    TrackedWrite write{wanted,   answerSerial, std::nullopt, WriteOutcome::pending, 1, buttonCount,
                       replaced, now,          now};
    auto known = std::ranges::find_if(m_writes, [&](const TrackedWrite& tracked) {
        return tracked.isOn(wanted.bus, wanted.shift, wanted.button, buttonCount);
    });
    if (known == m_writes.end())
        m_writes.append(std::move(write));
    else
        *known = std::move(write);
}

void WriteConfirmations::resent(qsizetype index, quint64 answerSerial, qint64 now)
{
    TrackedWrite& write = m_writes[index];
    write.sentAfter = answerSerial;
    write.frameSource.reset();
    write.outcome = WriteOutcome::pending;
    write.lastSentAt = now;
    ++write.sends;
}

bool WriteConfirmations::review(const AnswerLookup& lastAnswer, qint64 now, qint64 doubtWindow)
{
    bool changed = false;
    for (TrackedWrite& write : m_writes) {
        const std::optional<ButtonAnswerStamp> answer = lastAnswer(write);
        if (write.isConfirmed()) {
            if (answer && answer->serial > write.confirmedBy &&
                now - write.confirmedAt < doubtWindow &&
                qint64{answer->source} != write.wanted.source) {
                write.doubted = true;
            }
            continue;
        }
        if (!answer || answer->serial <= write.sentAfter || write.frameSource == answer->source)
            continue;
        write.frameSource = qint64{answer->source};
        if (write.frameSource == write.wanted.source) {
            write.outcome = WriteOutcome::confirmed;
            write.checking = false;
            write.confirmedBy = answer->serial;
            write.confirmedAt = now;
        }
        changed = true;
    }
    return changed;
}

void WriteConfirmations::recheck(qsizetype index, quint64 answerSerial, qint64 now)
{
    resent(index, answerSerial, now);
    TrackedWrite& write = m_writes[index];
    write.doubted = false;
    write.checking = true;
    write.sends = 1;
}

void WriteConfirmations::acceptFrameWord(qsizetype index)
{
    TrackedWrite& write = m_writes[index];
    write.outcome = WriteOutcome::confirmed;
    write.checking = false;
    write.confirmedBy = std::numeric_limits<quint64>::max();
}

void WriteConfirmations::settle(qsizetype index, WriteOutcome outcome)
{
    m_writes[index].outcome = outcome;
}

void WriteConfirmations::forgetGivenUp()
{
    m_writes.removeIf([](const TrackedWrite& write) {
        return write.outcome == WriteOutcome::notConfirmed ||
               write.outcome == WriteOutcome::refused;
    });
}

const TrackedWrite* WriteConfirmations::find(Bus bus, int shift, int button, int count) const
{
    const auto found = std::ranges::find_if(
        m_writes, [&](const TrackedWrite& write) { return write.isOn(bus, shift, button, count); });
    return found == m_writes.end() ? nullptr : &*found;
}

int WriteConfirmations::count(WriteOutcome outcome) const
{
    return static_cast<int>(std::ranges::count_if(
        m_writes, [outcome](const TrackedWrite& write) { return write.outcome == outcome; }));
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
        if (!write.isConfirmed())
            buttons.append(write.wanted);
    }
    return buttons;
}

namespace {
QString askedText(const TrackedWrite& write)
{
    return buttonName(write.wanted.bus, write.wanted.shift, write.wanted.button) + u" (asked "_s +
           QString::number(write.wanted.source);
}
} // namespace

QString refusedWriteText(const TrackedWrite& write)
{
    return askedText(write) + u", frame kept "_s + QString::number(write.frameSource.value_or(0)) +
           u')';
}

QString unconfirmedWriteText(const TrackedWrite& write, std::optional<qint64> lastReported)
{
    return askedText(write) +
           (lastReported ? u", frame last reported "_s + QString::number(*lastReported)
                         : u", no report from the frame"_s) +
           u')';
}

} // namespace quorvane
