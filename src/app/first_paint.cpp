#include "first_paint.h"

#include <QEvent>
#include <QTimer>
#include <QWidget>

namespace quorvane {

namespace {

class FirstPaintWatch : public QObject {
public:
    FirstPaintWatch(QWidget& window, std::function<void()> action)
        : QObject(&window)
        , m_action(std::move(action))
    {
        window.installEventFilter(this);
    }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (event->type() == QEvent::Paint) {
            watched->removeEventFilter(this);
            // The window's own paint event opens the pass that paints its children too: act
            // once the whole pass is done.
            QTimer::singleShot(0, this, [this] {
                m_action();
                deleteLater();
            });
        }
        return false;
    }

private:
    std::function<void()> m_action;
};

} // namespace

void whenFirstPainted(QWidget& window, std::function<void()> action)
{
    new FirstPaintWatch(window, std::move(action));
}

} // namespace quorvane
