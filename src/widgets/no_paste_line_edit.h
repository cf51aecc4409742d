#pragma once

#include <QLineEdit>

namespace quorvane {

// The frame address field: an address can only be typed in. While it is edited, Command-V, -C
// and -X do nothing; there is no context menu, no middle-click paste and no drop. Typing and
// Command-A work as in any field.
class NoPasteLineEdit : public QLineEdit {
    Q_OBJECT

public:
    explicit NoPasteLineEdit(QWidget* parent = nullptr);

protected:
    bool event(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
};

} // namespace quorvane
