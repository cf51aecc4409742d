#include "edit_menu.h"

#include "editing/editing_model.h"
#include "editing/key_table.h"
#include "link/gv_connection.h"

#include <QAction>
#include <QKeySequence>
#include <QMenu>
#include <QMenuBar>

using namespace Qt::StringLiterals;

namespace quorvane {

namespace {
constexpr QKeyCombination undoKey(Qt::ControlModifier, Qt::Key_Z);
constexpr QKeyCombination redoKey(Qt::ControlModifier | Qt::ShiftModifier, Qt::Key_Z);
constexpr QKeyCombination copyKey(Qt::ControlModifier, Qt::Key_C);
constexpr QKeyCombination pasteKey(Qt::ControlModifier, Qt::Key_V);
constexpr QKeyCombination clearKey(Qt::Key_Delete);
constexpr QKeyCombination backspaceKey(Qt::Key_Backspace);
constexpr QKeyCombination closeUpKey(Qt::ShiftModifier, Qt::Key_Delete);

QKeyCombination firstKey(const QAction& action)
{
    return action.shortcut()[0];
}

// After "File", as on every desktop; at the end of the bar when there is no File menu.
void placeAfterFile(QMenuBar& bar, QMenu& menu)
{
    const QList<QAction*> menus = bar.actions();
    QAction* before = nullptr;
    for (qsizetype k = 0; k < menus.size(); ++k) {
        if (menus[k]->text() == u"File"_s)
            before = menus.value(k + 1);
    }
    bar.insertMenu(before, &menu);
}
} // namespace

EditMenu::EditMenu(QMenuBar& bar, EditingModel& model)
    : QObject(&bar)
    , m_model(model)
    , m_menu(new QMenu(u"Edit"_s, &bar))
{
    m_undo = add(u"Undo"_s, {undoKey});
    m_redo = add(u"Redo"_s, {redoKey});
    m_menu->addSeparator();
    m_copy = add(u"Copy"_s, {copyKey});
    m_paste = add(u"Paste"_s, {pasteKey});
    m_clear = add(u"Clear"_s, {clearKey, backspaceKey});
    m_clearAndCloseUp = add(u"Clear and Close Up"_s, {closeUpKey});
    placeAfterFile(bar, *m_menu);

    for (auto changed : {&EditingModel::selectionChanged, &EditingModel::clipboardChanged,
                         &EditingModel::sandboxChanged, &EditingModel::undoHistoryChanged})
        connect(&model, changed, this, &EditMenu::updateEnabled);
    connect(&model.connection(), &GVConnection::isConnectedChanged, this, &EditMenu::updateEnabled);
    // Also just before it opens, should some change not have been announced.
    connect(m_menu, &QMenu::aboutToShow, this, &EditMenu::updateEnabled);
    updateEnabled();
}

QAction* EditMenu::add(const QString& text, const QList<QKeyCombination>& keys)
{
    QAction* action = m_menu->addAction(text);
    QList<QKeySequence> shortcuts;
    for (QKeyCombination key : keys)
        shortcuts.append(QKeySequence(key));
    action->setShortcuts(shortcuts);
    // Shown, not claimed: the shortcut filter is the one path of the keys.
    action->setShortcutContext(Qt::WidgetShortcut);
    connect(action, &QAction::triggered, this, [this, action] {
        const QKeyCombination key = firstKey(*action);
        m_model.handleKey(key.key(), key.keyboardModifiers());
    });
    return action;
}

void EditMenu::updateEnabled()
{
    m_undo->setEnabled(m_model.canUndo());
    m_redo->setEnabled(m_model.canRedo());
    // The rest act exactly when their keys would.
    const KeyContext context = m_model.keyContext();
    for (QAction* action : {m_copy, m_paste, m_clear, m_clearAndCloseUp}) {
        const QKeyCombination key = firstKey(*action);
        action->setEnabled(decideKey(key.key(), key.keyboardModifiers(), context).operation !=
                           KeyOperation::none);
    }
}

} // namespace quorvane
