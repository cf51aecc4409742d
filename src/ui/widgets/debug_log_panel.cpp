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
#include <QVBoxLayout>

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
    m_copy->setToolTip(u"Copy the whole log as plain text"_s);

    auto* header = new QHBoxLayout;
    header->addWidget(new QLabel(u"Debug Log"_s, this));
    header->addStretch();
    header->addWidget(m_copy);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addLayout(header);
    layout->addWidget(m_view);

    m_refresh.setSingleShot(true);
    m_refresh.setInterval(100);
    QObject::connect(&m_refresh, &QTimer::timeout, this, &DebugLogPanel::refresh);
    QObject::connect(&m_logger, &DebugLogger::logsChanged, this, [this] {
        // A hidden panel costs nothing; it catches up when it is shown.
        if (isVisible() && !m_refresh.isActive())
            m_refresh.start();
    });
    QObject::connect(m_copy, &QPushButton::clicked, this, &DebugLogPanel::copyToClipboard);
    refresh();
}

void DebugLogPanel::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    refresh();
}

void DebugLogPanel::refresh()
{
    QScrollBar* scroll = m_view->verticalScrollBar();
    const bool following = scroll->value() == scroll->maximum();
    m_view->clear();
    QTextCursor cursor(m_view->document());
    QTextCharFormat format;
    bool first = true;
    for (const QString& line : m_logger.logs()) {
        if (!first)
            cursor.insertBlock();
        first = false;
        format.setForeground(lineColor(logLineKind(line), m_view->palette()));
        cursor.insertText(line, format);
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
