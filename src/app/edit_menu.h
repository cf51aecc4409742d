#pragma once

#include <QKeyCombination>
#include <QList>
#include <QObject>

class QAction;
class QMenu;
class QMenuBar;

namespace quorvane {

class EditingModel;

// The "Edit" menu: the grid's own Undo, Redo, Copy, Paste, Clear and Clear and Close Up (there
// is no Cut and no Select All: the grid has neither). Each command is enabled exactly when its
// key would act, shows that key and runs the key's operation.
//
// The keys themselves stay with the main window's shortcut filter, which sees them whatever has
// the focus. So that a key press never runs twice, or becomes ambiguous, the commands show their
// keys without claiming them: the shortcuts are bound to the menu alone (Qt::WidgetShortcut), and
// a menu never holds the keyboard focus while the main window has it.
class EditMenu : public QObject {
    Q_OBJECT

public:
    // Adds the menu after "File" and keeps its commands enabled as the model and the link
    // change. The menu bar owns it; `model` must outlive the bar.
    EditMenu(QMenuBar& bar, EditingModel& model);

    QMenu* menu() const { return m_menu; }
    QAction* undo() const { return m_undo; }
    QAction* redo() const { return m_redo; }
    QAction* copy() const { return m_copy; }
    QAction* paste() const { return m_paste; }
    QAction* clear() const { return m_clear; }
    QAction* clearAndCloseUp() const { return m_clearAndCloseUp; }

private:
    QAction* add(const QString& text, const QList<QKeyCombination>& keys);
    void updateEnabled();

    EditingModel& m_model;
    QMenu* m_menu;
    QAction* m_undo;
    QAction* m_redo;
    QAction* m_copy;
    QAction* m_paste;
    QAction* m_clear;
    QAction* m_clearAndCloseUp;
};

} // namespace quorvane
