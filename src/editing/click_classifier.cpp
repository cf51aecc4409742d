#include "editing/click_classifier.h"

#include <utility>

namespace quorvane {

ClickClassifier::Clock ClickClassifier::steadyClock()
{
    return [] {
        return std::chrono::duration_cast<std::chrono::milliseconds>(
            std::chrono::steady_clock::now().time_since_epoch());
    };
}

ClickClassifier::ClickClassifier(Clock clock)
    : m_clock(std::move(clock))
{
}

ClickOutcome ClickClassifier::click(Qt::KeyboardModifiers modifiers)
{
    ClickOutcome outcome;
    outcome.shiftTap = modifiers.testFlag(Qt::ShiftModifier);
    const std::chrono::milliseconds now = m_clock();
    if (m_lastTapTime && now - *m_lastTapTime < doubleClickInterval) {
        outcome.kind = ClickKind::doubleTap;
        m_lastTapTime.reset();
    } else {
        outcome.kind = ClickKind::tap;
        m_lastTapTime = now;
    }
    return outcome;
}

} // namespace quorvane
