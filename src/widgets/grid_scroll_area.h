#pragma once

#include <QScrollArea>

namespace quorvane {

class ButtonGridWidget;
class EditingModel;

// The grid's scroll area. The header of button numbers and the column of "Shift n" labels stay
// in place at the top and the left of the viewport, above the grid, while its cells scroll
// under them: the header follows the horizontal scroll, the labels the vertical one.
class GridScrollArea : public QScrollArea {
    Q_OBJECT

public:
    GridScrollArea(EditingModel& model, ButtonGridWidget* grid, QWidget* parent = nullptr);

    QWidget* buttonNumbers() const { return m_buttonNumbers; }
    QWidget* shiftLabels() const { return m_shiftLabels; }

    // Scrolls just far enough that `cell`, in grid coordinates, is clear of the header and the
    // labels.
    void showCell(const QRect& cell);

protected:
    void scrollContentsBy(int dx, int dy) override;
    bool viewportEvent(QEvent* event) override;

private:
    void placeHeaders();

    EditingModel& m_model;
    QWidget* m_buttonNumbers;
    QWidget* m_shiftLabels;
};

} // namespace quorvane
