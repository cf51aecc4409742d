#include "write_tracker.h"

#include "diagnostics/debug_logger.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace quorvane {

namespace {
// Writes sent again leave at most this many at a time, as first writes do, so that a whole
// panel gone unanswered does not overrun the frame's receive queue.
constexpr int resendsPerPass = 10;

bool disagrees(const TrackedWrite& write)
{
    return write.frameSource && write.frameSource != write.wanted.source;
}
} // namespace

WriteTracker::WriteTracker(Link link, const LinkTiming& timing, DebugLogger& logger,
                           QObject* parent)
    : QObject(parent)
    , m_link(std::move(link))
    , m_timing(timing)
    , m_logger(logger)
    , m_tries(timing.writeTries)
{
    m_clock.start();
    m_follow.setTimerType(Qt::PreciseTimer);
    QObject::connect(&m_follow, &QTimer::timeout, this, &WriteTracker::follow);
}

void WriteTracker::written(const ShowButton& wanted, int buttonCount,
                           std::optional<ReplacedSource> replaced)
{
    m_writes.written(wanted, buttonCount, m_link.answerSerial(), replaced, now());
    Q_EMIT changed();
    if (!m_follow.isActive())
        m_follow.start(m_timing.receiveInterval);
}

void WriteTracker::answersArrived()
{
    if (m_writes.review(m_link.lastAnswer, now(), m_timing.writeConfirmWait.count()))
        Q_EMIT changed();
}

bool WriteTracker::isSettling(const TrackedWrite& write) const
{
    return write.isConfirmed() && now() - write.confirmedAt < m_timing.writeConfirmWait.count();
}

bool WriteTracker::holdsButton(const TrackedWrite& write) const
{
    return write.isPending() || isSettling(write);
}

void WriteTracker::clear()
{
    m_follow.stop();
    m_writes.clear();
    m_tries = m_timing.writeTries;
    Q_EMIT changed();
}

void WriteTracker::forgetGivenUp()
{
    m_writes.forgetGivenUp();
    Q_EMIT changed();
}

bool WriteTracker::showsPending(const TrackedWrite& write) const
{
    return write.isPending() && now() - write.firstSentAt >= quietConfirmation.count();
}

void WriteTracker::follow()
{
    if (!m_link.isConnected()) {
        // What the frame said stays readable; nothing more will come of this session.
        m_follow.stop();
        return;
    }
    bool marksChanged =
        m_writes.review(m_link.lastAnswer, now(), m_timing.writeConfirmWait.count());
    const qint64 wait = m_timing.writeConfirmWait.count();
    int resends = 0;
    for (qsizetype i = 0; i < m_writes.writes().size(); ++i) {
        const TrackedWrite& write = m_writes.writes()[i];
        if (write.doubted && !isSettling(write)) {
            // Reports of earlier writes have had their time: what the frame answers now is
            // its word.
            m_writes.recheck(i, m_link.answerSerial(), now());
            m_link.askAgain(write);
            continue;
        }
        if (!write.isPending())
            continue;
        const bool disputed = disagrees(write);
        const bool due = now() - write.lastSentAt >= wait;
        if (write.checking) {
            if (disputed) {
                m_writes.acceptFrameWord(i);
                m_link.showFrameSource(write);
                marksChanged = true;
            } else if (due && write.sends < m_tries) {
                m_writes.resent(i, m_link.answerSerial(), now());
                m_link.askAgain(write);
            } else if (due) {
                giveUp(i);
                marksChanged = true;
            }
            continue;
        }
        // Another source in the answer to a first send may be the report of an earlier write
        // overtaken on the way: a second send at once settles it. Another source in the
        // answer to a later send is the frame's own, once the wait is over.
        const bool sendNow =
            disputed ? write.sends == 1 && m_tries > 1 : due && write.sends < m_tries;
        if (sendNow) {
            if (resends++ < resendsPerPass)
                sendAgain(i);
        } else if (due) {
            giveUp(i);
            marksChanged = true;
        }
    }
    const bool settling = std::ranges::any_of(m_writes.writes(), [this](const TrackedWrite& write) {
        return write.doubted || isSettling(write);
    });
    if (isSettled() && !settling)
        m_follow.stop();
    const auto shown = std::ranges::count_if(
        m_writes.writes(), [this](const TrackedWrite& write) { return showsPending(write); });
    if (marksChanged || shown != m_shownPending) {
        m_shownPending = shown;
        Q_EMIT changed();
    }
}

void WriteTracker::sendAgain(qsizetype index)
{
    const quint64 serial = m_link.answerSerial();
    m_link.send(m_writes.writes()[index]);
    m_writes.resent(index, serial, now());
}

void WriteTracker::giveUp(qsizetype index)
{
    const TrackedWrite& write = m_writes.writes()[index];
    if (disagrees(write)) {
        m_writes.settle(index, WriteOutcome::refused);
        const TrackedWrite& refused = m_writes.writes()[index];
        const QString text = u"Refused by the frame: "_s + refusedWriteText(refused);
        m_logger.warn(text);
        m_link.showFrameSource(refused);
        Q_EMIT writeRefused(refused, text);
        return;
    }
    m_writes.settle(index, WriteOutcome::notConfirmed);
    const TrackedWrite& unconfirmed = m_writes.writes()[index];
    const std::optional<ButtonAnswerStamp> last = m_link.lastAnswer(unconfirmed);
    const QString text =
        u"Not confirmed by the frame: "_s +
        unconfirmedWriteText(unconfirmed,
                             last ? std::optional<qint64>(last->source) : std::nullopt);
    m_logger.warn(text);
    Q_EMIT writeNotConfirmed(unconfirmed, text);
}

} // namespace quorvane
