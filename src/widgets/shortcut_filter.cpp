#include "widgets/shortcut_filter.h"

#include "editing/editing_model.h"

#include <QKeyEvent>
#include <QWidget>

namespace quorvane {

ShortcutFilter::ShortcutFilter(EditingModel& model, QWidget& window)
    : QObject(&window)
    , m_model(model)
    , m_window(&window)
{
}

bool ShortcutFilter::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() != QEvent::KeyPress || !m_window)
        return false;
    // Only the main window's keys: the picker and the Help window keep theirs.
    auto* widget = qobject_cast<QWidget*>(watched);
    if (!widget || widget->window() != m_window->window())
        return false;
    const auto* key = static_cast<QKeyEvent*>(event);
    return m_model.handleKey(Qt::Key(key->key()), key->modifiers());
}

} // namespace quorvane
