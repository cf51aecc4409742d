#pragma once

#include <QTimer>
#include <QWidget>

class QPlainTextEdit;
class QPushButton;

namespace quorvane {

class DebugLogger;

// The debug log: the logger's lines, oldest first, coloured by level, and a button that copies
// them all as plain text.
class DebugLogPanel : public QWidget {
    Q_OBJECT

public:
    explicit DebugLogPanel(DebugLogger& logger, QWidget* parent = nullptr);

    // Puts every line, joined by line feeds, on the system clipboard.
    void copyToClipboard();
    // Shows the lines as they are now (the panel otherwise catches up a moment later).
    void refresh();

    QPlainTextEdit* view() const { return m_view; }
    QPushButton* copyButton() const { return m_copy; }

protected:
    void showEvent(QShowEvent* event) override;

private:
    DebugLogger& m_logger;
    QPlainTextEdit* m_view;
    QPushButton* m_copy;
    // A connect logs hundreds of lines a second; the view is redrawn at most ten times a second.
    QTimer m_refresh;
};

} // namespace quorvane
