#include "widgets/no_paste_line_edit.h"

#include "editing/key_table.h"

#include <QContextMenuEvent>
#include <QKeyEvent>
#include <QMouseEvent>

namespace quorvane {

namespace {
// The platform's other clipboard keys (Shift-Insert and friends) are refused as well.
bool isClipboardKey(QKeyEvent* event)
{
    return isRefusedInAddressField(Qt::Key(event->key()), event->modifiers()) ||
           event->matches(QKeySequence::Paste) || event->matches(QKeySequence::Copy) ||
           event->matches(QKeySequence::Cut);
}
} // namespace

NoPasteLineEdit::NoPasteLineEdit(QWidget* parent)
    : QLineEdit(parent)
{
    setContextMenuPolicy(Qt::NoContextMenu);
    setAcceptDrops(false);
    setDragEnabled(false);
}

bool NoPasteLineEdit::event(QEvent* event)
{
    // Shortcut overrides would otherwise let a window-wide Paste action take the key.
    if (event->type() == QEvent::ShortcutOverride &&
        isClipboardKey(static_cast<QKeyEvent*>(event))) {
        event->accept();
        return true;
    }
    return QLineEdit::event(event);
}

void NoPasteLineEdit::keyPressEvent(QKeyEvent* event)
{
    if (isClipboardKey(event)) {
        event->accept();
        return;
    }
    QLineEdit::keyPressEvent(event);
}

void NoPasteLineEdit::contextMenuEvent(QContextMenuEvent* event)
{
    event->accept();
}

void NoPasteLineEdit::mousePressEvent(QMouseEvent* event)
{
    if (event->button() == Qt::MiddleButton) {
        event->accept();
        return;
    }
    QLineEdit::mousePressEvent(event);
}

void NoPasteLineEdit::mouseReleaseEvent(QMouseEvent* event)
{
    // On X11 a middle click pastes the primary selection.
    if (event->button() == Qt::MiddleButton) {
        event->accept();
        return;
    }
    QLineEdit::mouseReleaseEvent(event);
}

} // namespace quorvane
