#pragma once

#include "editing/log_view_filter.h"

#include <QList>
#include <QTextCursor>
#include <QWidget>
#include <deque>

class QComboBox;
class QLabel;
class QLineEdit;
class QPlainTextEdit;
class QPushButton;
class QToolButton;

namespace quorvane {

class DebugLogger;

// The debug log: the logger's lines, oldest first, coloured by level, with control characters
// shown as escapes so that a line stays one line. A level filter narrows the lines, a search
// highlights its matches and steps through them, Pause holds the view still while lines keep
// arriving, and Copy puts the shown lines on the clipboard as plain text.
// The view only ever grows at the bottom and loses lines at the top, as the logger does, so a
// reader scrolled up keeps the place and the selection; at the bottom it follows the newest
// line. Only a change of filter rebuilds it.
class DebugLogPanel : public QWidget {
    Q_OBJECT

public:
    explicit DebugLogPanel(DebugLogger& logger, QWidget* parent = nullptr);

    // Puts the lines the view shows, joined by line feeds, on the system clipboard.
    void copyToClipboard();
    // Brings the view up to the logger: appends the new lines the filter admits and drops
    // those the logger dropped, without touching the others. While paused it only counts the
    // new lines.
    void catchUp();
    // Scrolls to the newest line.
    void showNewest();

    LogFilter filter() const { return m_filter; }
    void setFilter(LogFilter filter);
    bool isPaused() const { return m_pause.isPaused(); }
    void setPaused(bool paused);
    // Makes the next or the previous match the current one and scrolls it into view.
    void findNext();
    void findPrevious();

    QPlainTextEdit* view() const { return m_view; }
    QPushButton* copyButton() const { return m_copy; }
    QComboBox* filterChoice() const { return m_filterChoice; }
    QLineEdit* searchField() const { return m_search; }
    QToolButton* previousButton() const { return m_previous; }
    QToolButton* nextButton() const { return m_next; }
    QLabel* matchCountLabel() const { return m_matchCount; }
    QPushButton* pauseButton() const { return m_pauseButton; }
    QLabel* newLinesLabel() const { return m_newLines; }

protected:
    void showEvent(QShowEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    // A search match: where it lies in the document, and on which logged line (the logger's
    // count of lines before it), so that the current match survives lines coming and going.
    struct Match {
        QTextCursor cursor;
        qint64 line = 0;
        qsizetype start = 0;
    };

    void appendLine(qint64 number, const QString& line);
    void dropLinesBefore(qint64 first);
    void rebuild();
    qsizetype countNewLines(qint64 from) const;
    void updatePauseLabels();
    void findMatches();
    void setCurrentMatch(qsizetype index);
    void showMatches();

    DebugLogger& m_logger;
    QComboBox* m_filterChoice;
    QLineEdit* m_search;
    QToolButton* m_previous;
    QToolButton* m_next;
    QLabel* m_matchCount;
    QLabel* m_newLines;
    QPushButton* m_pauseButton;
    QPushButton* m_copy;
    QPlainTextEdit* m_view;

    LogFilter m_filter = LogFilter::all;
    LogPause m_pause;
    qint64 m_shownEnd = 0;           // the logger's appendedCount() when the view last caught up
    qint64 m_countedEnd = 0;         // the same for the count of lines held back by a pause
    std::deque<qint64> m_shownLines; // the logger's number of each line in the view, in order
    QList<Match> m_matches;
    qsizetype m_current = -1;
};

} // namespace quorvane
