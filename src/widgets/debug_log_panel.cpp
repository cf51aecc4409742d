#include "widgets/debug_log_panel.h"

#include "session/connection_panel_rules.h"
#include "diagnostics/debug_logger.h"

#include <QClipboard>
#include <QComboBox>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScrollBar>
#include <QSignalBlocker>
#include <QTextBlock>
#include <QTimer>
#include <QToolButton>
#include <QVBoxLayout>
#include <algorithm>
#include <tuple>

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

QToolButton* stepButton(Qt::ArrowType arrow, const QString& toolTip, QWidget* parent)
{
    auto* button = new QToolButton(parent);
    button->setArrowType(arrow);
    button->setToolTip(toolTip);
    button->setEnabled(false);
    return button;
}
} // namespace

DebugLogPanel::DebugLogPanel(DebugLogger& logger, QWidget* parent)
    : QWidget(parent)
    , m_logger(logger)
    , m_filterChoice(new QComboBox(this))
    , m_search(new QLineEdit(this))
    , m_previous(stepButton(Qt::UpArrow, u"Previous match (Shift+Return)"_s, this))
    , m_next(stepButton(Qt::DownArrow, u"Next match (Return)"_s, this))
    , m_matchCount(new QLabel(this))
    , m_newLines(new QLabel(this))
    , m_pauseButton(new QPushButton(u"Pause"_s, this))
    , m_copy(new QPushButton(u"Copy"_s, this))
    , m_view(new QPlainTextEdit(this))
{
    m_view->setReadOnly(true);
    m_view->setLineWrapMode(QPlainTextEdit::NoWrap);
    m_view->setFont(QFont(u"monospace"_s, 9));
    // Lines are only ever appended and dropped: nothing to undo, and no history to grow.
    m_view->setUndoRedoEnabled(false);
    for (LogFilter filter : logFilters)
        m_filterChoice->addItem(logFilterText(filter));
    m_filterChoice->setToolTip(u"Which lines the log shows"_s);
    m_search->setPlaceholderText(u"Search"_s);
    m_search->setClearButtonEnabled(true);
    m_search->setMaximumWidth(240);
    m_search->installEventFilter(this);
    m_pauseButton->setCheckable(true);
    m_pauseButton->setToolTip(u"Hold the view still while lines keep arriving"_s);
    m_copy->setToolTip(u"Copy the lines shown as plain text"_s);

    auto* header = new QHBoxLayout;
    header->addWidget(new QLabel(u"Debug Log"_s, this));
    header->addWidget(m_filterChoice);
    header->addWidget(m_search);
    header->addWidget(m_previous);
    header->addWidget(m_next);
    header->addWidget(m_matchCount);
    header->addStretch();
    header->addWidget(m_newLines);
    header->addWidget(m_pauseButton);
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
    QObject::connect(m_filterChoice, &QComboBox::currentIndexChanged, this,
                     [this](int index) { setFilter(logFilters[index]); });
    QObject::connect(m_search, &QLineEdit::textChanged, this, [this] {
        // A new search starts at its newest match.
        m_current = -1;
        findMatches();
        if (m_current >= 0)
            setCurrentMatch(m_current);
    });
    QObject::connect(m_previous, &QToolButton::clicked, this, &DebugLogPanel::findPrevious);
    QObject::connect(m_next, &QToolButton::clicked, this, &DebugLogPanel::findNext);
    QObject::connect(m_pauseButton, &QPushButton::clicked, this, &DebugLogPanel::setPaused);
    QObject::connect(m_copy, &QPushButton::clicked, this, &DebugLogPanel::copyToClipboard);
    catchUp();
}

void DebugLogPanel::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    catchUp();
    if (isPaused())
        return;
    // The panel opens at the newest line, once its size is settled too.
    showNewest();
    QTimer::singleShot(0, this, &DebugLogPanel::showNewest);
}

bool DebugLogPanel::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == m_search && event->type() == QEvent::KeyPress) {
        const auto* key = static_cast<QKeyEvent*>(event);
        if (key->key() == Qt::Key_Return || key->key() == Qt::Key_Enter) {
            if (key->modifiers().testFlag(Qt::ShiftModifier))
                findPrevious();
            else
                findNext();
            return true;
        }
    }
    return QWidget::eventFilter(watched, event);
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
    if (isPaused()) {
        m_pause.linesArrived(countNewLines(std::max(first, m_countedEnd)));
        m_countedEnd = end;
        updatePauseLabels();
        return;
    }
    const bool changed =
        m_shownEnd < end || (!m_shownLines.empty() && m_shownLines.front() < first);
    if (!changed)
        return;
    QScrollBar* scroll = m_view->verticalScrollBar();
    const bool following = scroll->value() == scroll->maximum();
    const int before = scroll->value();
    for (qint64 number = std::max(first, m_shownEnd); number < end; ++number)
        appendLine(number, lines[qsizetype(number - first)]);
    m_shownEnd = m_countedEnd = end;
    const qsizetype shownBefore = qsizetype(m_shownLines.size());
    dropLinesBefore(first);
    const int dropped = int(shownBefore - qsizetype(m_shownLines.size()));
    // The lines under the reader moved up by those dropped: so does the view.
    scroll->setValue(following ? scroll->maximum() : std::max(0, before - dropped));
    if (!m_search->text().isEmpty())
        findMatches();
}

void DebugLogPanel::dropLinesBefore(qint64 first)
{
    const auto kept = std::lower_bound(m_shownLines.begin(), m_shownLines.end(), first);
    const auto count = std::distance(m_shownLines.begin(), kept);
    if (count == 0)
        return;
    if (kept == m_shownLines.end()) {
        // Nothing shown is still in the log (it was cleared, or ran past its cap meanwhile).
        m_view->clear();
    } else {
        QTextCursor top(m_view->document());
        top.movePosition(QTextCursor::NextBlock, QTextCursor::KeepAnchor, int(count));
        top.removeSelectedText();
    }
    m_shownLines.erase(m_shownLines.begin(), kept);
}

void DebugLogPanel::appendLine(qint64 number, const QString& line)
{
    if (!logFilterAdmits(m_filter, line))
        return;
    QTextCharFormat format;
    format.setForeground(lineColor(logLineKind(line), m_view->palette()));
    QTextCursor end(m_view->document());
    end.movePosition(QTextCursor::End);
    if (!m_shownLines.empty())
        end.insertBlock(QTextBlockFormat(), format);
    // One logged line is one block, so that the view and the logger drop the same lines.
    end.insertText(visibleLogText(line), format);
    m_shownLines.push_back(number);
}

void DebugLogPanel::setFilter(LogFilter filter)
{
    if (filter == m_filter)
        return;
    m_filter = filter;
    const QSignalBlocker quiet(m_filterChoice);
    m_filterChoice->setCurrentIndex(int(
        std::find(std::begin(logFilters), std::end(logFilters), filter) - std::begin(logFilters)));
    rebuild();
}

void DebugLogPanel::rebuild()
{
    const QStringList& lines = m_logger.logs();
    const qint64 end = m_logger.appendedCount();
    const qint64 first = end - lines.size();
    m_view->clear();
    m_shownLines.clear();
    // A held view keeps to the lines it held, as far as the log still has them.
    const qint64 shownEnd = isPaused() ? std::max(first, m_shownEnd) : end;
    for (qint64 number = first; number < shownEnd; ++number)
        appendLine(number, lines[qsizetype(number - first)]);
    m_shownEnd = shownEnd;
    m_countedEnd = end;
    m_pause.setNewLines(countNewLines(shownEnd));
    updatePauseLabels();
    showNewest();
    findMatches();
}

qsizetype DebugLogPanel::countNewLines(qint64 from) const
{
    const QStringList& lines = m_logger.logs();
    const qint64 first = m_logger.appendedCount() - lines.size();
    return std::count_if(lines.begin() + qsizetype(std::max(from, first) - first), lines.end(),
                         [this](const QString& line) { return logFilterAdmits(m_filter, line); });
}

void DebugLogPanel::setPaused(bool paused)
{
    if (paused != isPaused()) {
        if (paused) {
            catchUp();
            m_pause.pause();
        } else {
            m_pause.resume();
            catchUp();
            showNewest();
        }
    }
    updatePauseLabels();
}

void DebugLogPanel::updatePauseLabels()
{
    const QSignalBlocker quiet(m_pauseButton);
    m_pauseButton->setChecked(isPaused());
    m_pauseButton->setText(isPaused() ? u"Resume"_s : u"Pause"_s);
    m_newLines->setText(m_pause.newLinesText());
}

void DebugLogPanel::findMatches()
{
    // The current match is kept across new and dropped lines; if its line went, the match
    // after it takes its place. A new search has none and starts at the newest.
    const bool hadCurrent = m_current >= 0 && m_current < m_matches.size();
    const auto previous = hadCurrent
                              ? std::tuple(m_matches[m_current].line, m_matches[m_current].start)
                              : std::tuple(qint64(0), qsizetype(0));
    m_matches.clear();
    const QString searchText = m_search->text();
    if (!searchText.isEmpty()) {
        qsizetype index = 0;
        for (QTextBlock block = m_view->document()->begin(); block.isValid();
             block = block.next(), ++index) {
            if (index >= qsizetype(m_shownLines.size()))
                break;
            for (qsizetype start : searchMatches(block.text(), searchText)) {
                QTextCursor cursor(block);
                cursor.setPosition(block.position() + int(start));
                cursor.setPosition(block.position() + int(start + searchText.size()),
                                   QTextCursor::KeepAnchor);
                m_matches.append({cursor, m_shownLines[size_t(index)], start});
            }
        }
    }
    m_current = m_matches.size() - 1;
    if (hadCurrent) {
        const auto kept = std::find_if(m_matches.begin(), m_matches.end(), [&](const Match& m) {
            return std::tuple(m.line, m.start) >= previous;
        });
        if (kept != m_matches.end())
            m_current = kept - m_matches.begin();
    }
    showMatches();
}

void DebugLogPanel::findNext()
{
    if (!m_matches.isEmpty())
        setCurrentMatch(nextMatch(m_current, m_matches.size()));
}

void DebugLogPanel::findPrevious()
{
    if (!m_matches.isEmpty())
        setCurrentMatch(previousMatch(m_current, m_matches.size()));
}

void DebugLogPanel::setCurrentMatch(qsizetype index)
{
    m_current = index;
    showMatches();
    // The cursor at the match's end brings the whole match into view, long lines included.
    QTextCursor at = m_matches[index].cursor;
    at.clearSelection();
    m_view->setTextCursor(at);
    m_view->ensureCursorVisible();
}

void DebugLogPanel::showMatches()
{
    QList<QTextEdit::ExtraSelection> highlights;
    highlights.reserve(m_matches.size());
    for (qsizetype i = 0; i < m_matches.size(); ++i) {
        QTextEdit::ExtraSelection highlight;
        highlight.cursor = m_matches[i].cursor;
        if (i == m_current) {
            highlight.format.setBackground(QColor(0xff, 0x8c, 0x00));
            highlight.format.setForeground(Qt::black);
        } else {
            highlight.format.setBackground(QColor(0xff, 0xd7, 0x00, 0x70));
        }
        highlights.append(highlight);
    }
    m_view->setExtraSelections(highlights);
    m_matchCount->setText(matchCountText(m_search->text(), m_current, m_matches.size()));
    m_previous->setEnabled(!m_matches.isEmpty());
    m_next->setEnabled(!m_matches.isEmpty());
}

void DebugLogPanel::copyToClipboard()
{
    catchUp();
    QStringList shown;
    shown.reserve(qsizetype(m_shownLines.size()));
    for (QTextBlock block = m_view->document()->begin();
         block.isValid() && shown.size() < qsizetype(m_shownLines.size()); block = block.next())
        shown.append(block.text());
    QClipboard* clipboard = QGuiApplication::clipboard();
    clipboard->clear();
    clipboard->setText(shown.join(u'\n'));
}

} // namespace quorvane
