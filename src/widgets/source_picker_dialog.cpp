#include "widgets/source_picker_dialog.h"

#include "editing/editing_model.h"
#include "link/gv_connection.h"

#include <QDialogButtonBox>
#include <QFontDatabase>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QVBoxLayout>
#include <algorithm>

using namespace Qt::StringLiterals;

namespace quorvane {

SourcePickerDialog::SourcePickerDialog(EditingModel& model, QWidget* parent)
    : QDialog(parent)
    , m_model(model)
    , m_search(new QLineEdit(this))
    , m_list(new QListWidget(this))
{
    setWindowTitle(u"Choose a Source"_s);
    setWindowModality(Qt::WindowModal);
    resize(420, 520);
    m_search->setPlaceholderText(u"Search by name or ID..."_s);
    m_search->setClearButtonEnabled(true);
    m_list->setUniformItemSizes(true);
    m_list->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Cancel, this);
    // Return picks the highlighted row; it never presses Cancel.
    for (QAbstractButton* button : buttons->buttons()) {
        if (auto* push = qobject_cast<QPushButton*>(button))
            push->setAutoDefault(false);
    }
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(m_search);
    layout->addWidget(m_list, 1);
    layout->addWidget(new QLabel(u"Double-click a source to select it quickly"_s, this));
    layout->addWidget(buttons);

    QObject::connect(m_search, &QLineEdit::textEdited, &m_model,
                     &EditingModel::setPickerSearchText);
    QObject::connect(m_list, &QListWidget::itemClicked, this, [this](QListWidgetItem* item) {
        m_model.highlightPickerSource(item->data(Qt::UserRole).toInt());
    });
    // The list's own keys (when it has the focus) move the highlight too.
    QObject::connect(m_list, &QListWidget::currentItemChanged, this, [this](QListWidgetItem* item) {
        if (item)
            m_model.highlightPickerSource(item->data(Qt::UserRole).toInt());
    });
    QObject::connect(m_list, &QListWidget::itemDoubleClicked, this, [this](QListWidgetItem* item) {
        m_model.choosePickerSource(item->data(Qt::UserRole).toInt());
    });
    QObject::connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    QObject::connect(this, &QDialog::rejected, &m_model, &EditingModel::dismissSourcePicker);
    QObject::connect(&m_model, &EditingModel::sourcePickerChanged, this,
                     &SourcePickerDialog::followModel);
    QObject::connect(&m_model, &EditingModel::gridDataChanged, this, [this] {
        if (isVisible())
            fillList();
    });
}

void SourcePickerDialog::followModel()
{
    if (!m_model.showSourcePicker()) {
        if (isVisible())
            hide();
        return;
    }
    if (m_search->text() != m_model.sourcePicker().searchText)
        m_search->setText(m_model.sourcePicker().searchText);
    // Rebuilding the rows under the pointer would break a double click: only a new search
    // rebuilds them; a highlight just moves the current row.
    if (!isVisible() || m_listedFor != m_model.sourcePicker().searchText)
        fillList();
    else
        showHighlight();
    if (!isVisible()) {
        show();
        // The operator types at once: the search field has the focus when the picker opens.
        m_search->setFocus();
        m_model.setPickerSearchFocused(true);
    }
}

void SourcePickerDialog::keyPressEvent(QKeyEvent* event)
{
    // The search field leaves these keys to the dialog.
    switch (event->key()) {
    case Qt::Key_Up:
        m_model.movePickerHighlight(-1);
        return;
    case Qt::Key_Down:
        m_model.movePickerHighlight(1);
        return;
    case Qt::Key_PageUp:
    case Qt::Key_PageDown: {
        const int page =
            std::max(1, m_list->viewport()->height() / std::max(1, m_list->sizeHintForRow(0)));
        m_model.movePickerHighlight(event->key() == Qt::Key_PageUp ? -page : page);
        return;
    }
    case Qt::Key_Return:
    case Qt::Key_Enter:
        m_model.chooseHighlightedPickerSource();
        return;
    default:
        QDialog::keyPressEvent(event); // Escape cancels
    }
}

void SourcePickerDialog::showHighlight()
{
    const std::optional<int> highlighted = m_model.sourcePicker().selectedSource;
    for (int row = 0; row < m_list->count(); ++row) {
        if (m_list->item(row)->data(Qt::UserRole).toInt() == highlighted) {
            m_list->setCurrentRow(row);
            return;
        }
    }
}

void SourcePickerDialog::fillList()
{
    const QList<int> sources = m_model.pickerSources();
    const std::optional<int> highlighted = m_model.sourcePicker().selectedSource;
    m_listedFor = m_model.sourcePicker().searchText;
    m_list->clear();
    for (int source : sources) {
        const QString name = m_model.connection().displayName(source).value_or(QString());
        auto* item =
            new QListWidgetItem(QString::number(source).rightJustified(4) + u"   "_s + name);
        item->setData(Qt::UserRole, source);
        m_list->addItem(item);
        if (highlighted == source)
            m_list->setCurrentItem(item);
    }
}

} // namespace quorvane
