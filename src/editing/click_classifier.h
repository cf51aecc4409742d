#pragma once

#include <QtCore/qnamespace.h>
#include <chrono>
#include <functional>
#include <optional>

namespace quorvane {

enum class ClickKind { tap, doubleTap };

// What one click on a cell means. A click with Shift held is also a Shift-click; the plain
// or double tap is reported for every click, whatever the modifiers.
struct ClickOutcome {
    bool shiftTap = false;
    ClickKind kind = ClickKind::tap;

    friend bool operator==(const ClickOutcome&, const ClickOutcome&) = default;
};

// Tells a cell's single clicks from its double clicks by the time between them. After a
// double click the next click starts a new pair, so three quick clicks are a double click and
// then a plain one.
class ClickClassifier {
public:
    // A monotonic clock; tests give their own.
    using Clock = std::function<std::chrono::milliseconds()>;
    static constexpr std::chrono::milliseconds doubleClickInterval{300};

    static Clock steadyClock();

    explicit ClickClassifier(Clock clock = steadyClock());

    ClickOutcome click(Qt::KeyboardModifiers modifiers);

private:
    Clock m_clock;
    std::optional<std::chrono::milliseconds> m_lastTapTime; // none: the distant past
};

} // namespace quorvane
