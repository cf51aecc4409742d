#include "debug_log_panel.h"

#include "connection_panel_rules.h"
#include "diagnostics/debug_logger.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScrollBar>
#include <QTextBlock>
#include <QTextCursor>
#include <QTimer>
#include <QVBoxLayout>
#include <algorithm>

using namespace Qt::StringLiterals;

namespace quorvane {

namespace {
QColor lineColor(LogLineKind kind, const QPalette& palette)
{
    switch (kind) {
    case LogLineKind::error:
        return QColor(0xff, 0x5f, 0x57);
    case LogLineKind::warning:
        return QColor(0xff, 0xa5, 0x00);
    case LogLineKind::hex: {
        QColor secondary = palette.color(QPalette::PlaceholderText);
        secondary.setAlphaF(0.7f);
        return secondary;
    }
    case LogLineKind::normal:
        break;
    }
    return palette.color(QPalette::Text);
}
} // namespace

DebugLogPanel::DebugLogPanel(DebugLogger& logger, QWidget* parent)
    : QWidget(parent)
    , m_logger(logger)
    , m_view(new QPlainTextEdit(this))
    , m_copy(new QPushButton(u"Copy"_s, this))
{
    m_view->setReadOnly(true);
    m_view->setLineWrapMode(QPlainTextEdit::NoWrap);
    m_view->setFont(QFont(u"monospace"_s, 9));
    // Lines are only ever appended and dropped: nothing to undo, and no history to grow.
    m_view->setUndoRedoEnabled(false);
    m_copy->setToolTip(u"Copy the whole log as plain text"_s);

    auto* header = new QHBoxLayout;
    header->addWidget(new QLabel(u"Debug Log"_s, this));
    header->addStretch();
    header->addWidget(m_copy);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addLayout(header);
    layout->addWidget(m_view);

    QObject::connect(&m_logger, &DebugLogger::logsChanged, this, [this] {
        // A hidden panel costs nothing; it catches up when it is shown.
        if (isVisible())
            catchUp();
    });
    QObject::connect(m_copy, &QPushButton::clicked, this, &DebugLogPanel::copyToClipboard);
    catchUp();
}

void DebugLogPanel::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    catchUp();
    // The panel opens at the newest line, once its size is settled too.
    showNewest();
    QTimer::singleShot(0, this, &DebugLogPanel::showNewest);
}

void DebugLogPanel::showNewest()
{
    QScrollBar* scroll = m_view->verticalScrollBar();
    scroll->setValue(scroll->maximum());
}

void DebugLogPanel::catchUp()
{
    const QStringList& lines = m_logger.logs();
    const qint64 end = m_logger.appendedCount();
    const qint64 first = end - lines.size();
    if (first >= m_shownEnd && m_shownCount > 0) {
        // Nothing shown is still in the log (it was cleared, or ran past its cap meanwhile).
        m_view->clear();
        m_shownCount = 0;
    }
    for (qint64 number = std::max(first, m_shownEnd); number < end; ++number)
        appendLine(lines[qsizetype(number - first)]);
    m_shownEnd = end;
}

void DebugLogPanel::appendLine(const QString& line)
{
    QScrollBar* scroll = m_view->verticalScrollBar();
    const bool following = scroll->value() == scroll->maximum();
    QTextCharFormat format;
    format.setForeground(lineColor(logLineKind(line), m_view->palette()));
    QTextCursor end(m_view->document());
    end.movePosition(QTextCursor::End);
    if (m_shownCount > 0)
        end.insertBlock(QTextBlockFormat(), format);
    // One line is one block, so that the view and the logger drop the same lines.
    end.insertText(QString(line).replace(u'\n', QChar::LineSeparator), format);
    if (++m_shownCount > DebugLogger::maxLines) {
        QTextCursor top(m_view->document());
        top.movePosition(QTextCursor::NextBlock, QTextCursor::KeepAnchor);
        top.removeSelectedText();
        --m_shownCount;
        // The lines under the reader moved up by one: so does the view.
        if (!following)
            scroll->setValue(scroll->value() - 1);
    }
    if (following)
        scroll->setValue(scroll->maximum());
}

void DebugLogPanel::copyToClipboard()
{
    QClipboard* clipboard = QGuiApplication::clipboard();
    clipboard->clear();
    clipboard->setText(m_logger.logs().join(u'\n'));
}

} // namespace quorvane
