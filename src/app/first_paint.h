#pragma once

#include <functional>

class QWidget;

namespace quorvane {

// Calls `action` once, as soon as `window` and everything in it have painted for the first
// time. The start-up benchmark learns this way when the main window is on screen.
void whenFirstPainted(QWidget& window, std::function<void()> action);

} // namespace quorvane
