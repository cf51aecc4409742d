#pragma once

#include "editing/selected_button_key.h"

#include <QPoint>
#include <QWidget>
#include <optional>

namespace quorvane {

class EditingModel;
class GridMetrics;
struct ButtonCellState;

// A font of `pointSize` points at actual size, scaled with the grid.
QFont gridFont(const QFont& base, double pointSize, const GridMetrics& metrics, bool bold);

// The cells of one bus, one row per shift level, with room left for the header of button numbers
// and the row labels that its scroll area keeps in view. It paints what the editing model
// reports for each cell and forwards clicks, drags and drops to it.
class ButtonGridWidget : public QWidget {
    Q_OBJECT

public:
    explicit ButtonGridWidget(EditingModel& model, QWidget* parent = nullptr);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

    // The cell under a point of the widget, if any.
    std::optional<SelectedButtonKey> cellAt(QPoint point) const;
    QRect cellRect(int shift, int button) const;

    // Paints one cell as the drag preview and the grid show it, at the grid's zoom.
    static void paintCell(QPainter& painter, const QRect& rect, const ButtonCellState& cell,
                          const GridMetrics& metrics);

Q_SIGNALS:
    // Emitted after each repaint, for the bus-switch benchmark and tests.
    void painted();
    // The keyboard moved the selection to this cell: it should be in view.
    void cellToShow(const QRect& rect);

protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragMoveEvent(QDragMoveEvent* event) override;
    void dragLeaveEvent(QDragLeaveEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    void clickAt(QMouseEvent* event);
    void startDrag(const SelectedButtonKey& cell, QPoint windowPoint);
    void leaveDropTarget();
    // The grid takes its new size at once when its count or zoom changes.
    void followSize();

    EditingModel& m_model;
    std::optional<SelectedButtonKey> m_pressedCell;
    QPoint m_pressPoint;
    std::optional<SelectedButtonKey> m_dropTarget;
};

} // namespace quorvane
