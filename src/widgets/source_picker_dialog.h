#pragma once

#include <QDialog>

class QLineEdit;
class QListWidget;

namespace quorvane {

class EditingModel;

// The source picker: every source with a search field. A double click, or Return on the
// highlighted row, writes the source to the button the picker was opened for and closes the
// picker; Up and Down move the highlight while the search field has the focus; Escape cancels.
class SourcePickerDialog : public QDialog {
    Q_OBJECT

public:
    SourcePickerDialog(EditingModel& model, QWidget* parent);

    QLineEdit* searchField() const { return m_search; }
    QListWidget* list() const { return m_list; }

protected:
    void keyPressEvent(QKeyEvent* event) override;

private:
    void followModel();
    void fillList();
    void showHighlight();

    EditingModel& m_model;
    QLineEdit* m_search;
    QListWidget* m_list;
    QString m_listedFor; // the search text the rows were made for
};

} // namespace quorvane
