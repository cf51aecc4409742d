#pragma once

#include <QWidget>

class QPlainTextEdit;
class QPushButton;

namespace quorvane {

class DebugLogger;

// The debug log: the logger's lines, oldest first, coloured by level, and a button that copies
// them all as plain text. The view only ever grows at the bottom and loses lines at the top, as
// the logger does, so a reader scrolled up keeps the place and the selection; at the bottom it
// follows the newest line.
class DebugLogPanel : public QWidget {
    Q_OBJECT

public:
    explicit DebugLogPanel(DebugLogger& logger, QWidget* parent = nullptr);

    // Puts every line, joined by line feeds, on the system clipboard.
    void copyToClipboard();
    // Brings the view up to the logger: appends the lines it has not shown and drops those the
    // logger dropped, without touching the others.
    void catchUp();
    // Scrolls to the newest line.
    void showNewest();

    QPlainTextEdit* view() const { return m_view; }
    QPushButton* copyButton() const { return m_copy; }

protected:
    void showEvent(QShowEvent* event) override;

private:
    void appendLine(const QString& line);

    DebugLogger& m_logger;
    QPlainTextEdit* m_view;
    QPushButton* m_copy;
    qint64 m_shownEnd = 0;   // the logger's appendedCount() when the view last caught up
    qint64 m_shownCount = 0; // lines in the view
};

} // namespace quorvane
