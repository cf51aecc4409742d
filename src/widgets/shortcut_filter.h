#pragma once

#include <QObject>
#include <QPointer>

class QWidget;

namespace quorvane {

class EditingModel;

// The main window's shortcuts (copy, paste, clear, undo, the debug log), seen before the
// focused control: installed on the application while the main view is shown, it hands every
// key press in that window to the editing model and swallows what the model takes.
class ShortcutFilter : public QObject {
    Q_OBJECT

public:
    ShortcutFilter(EditingModel& model, QWidget& window);

    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    EditingModel& m_model;
    QPointer<QWidget> m_window;
};

} // namespace quorvane
