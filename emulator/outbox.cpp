#include "outbox.h"

#include <algorithm>

namespace quorvane::emulator {

Outbox::Outbox(Writer writer, QObject* parent)
    : QObject(parent)
    , m_writer(std::move(writer))
{
    m_timer.setSingleShot(true);
    m_timer.setTimerType(Qt::PreciseTimer);
    connect(&m_timer, &QTimer::timeout, this, &Outbox::flushDue);
    m_clock.start();
}

void Outbox::post(Outgoing datagram, int extraDelayMs)
{
    const int delay = m_delayMs + extraDelayMs;
    if (delay <= 0 && m_queue.empty()) {
        write(datagram);
        return;
    }
    const qint64 due = m_clock.elapsed() + delay;
    const auto later =
        std::upper_bound(m_queue.begin(), m_queue.end(), due,
                         [](qint64 time, const Pending& p) { return time < p.dueMs; });
    m_queue.insert(later, {due, std::move(datagram)});
    scheduleNext();
}

void Outbox::clear()
{
    m_queue.clear();
    m_timer.stop();
}

void Outbox::write(const Outgoing& datagram)
{
    m_writer(datagram);
    if (m_duplicate)
        m_writer(datagram);
}

void Outbox::flushDue()
{
    while (!m_queue.empty() && m_queue.front().dueMs <= m_clock.elapsed()) {
        const Outgoing datagram = std::move(m_queue.front().datagram);
        m_queue.pop_front();
        write(datagram);
    }
    scheduleNext();
}

void Outbox::scheduleNext()
{
    if (m_queue.empty())
        return;
    const qint64 wait = qMax(qint64{0}, m_queue.front().dueMs - m_clock.elapsed());
    m_timer.start(std::chrono::milliseconds(wait));
}

} // namespace quorvane::emulator
