#pragma once

#include "editing/selected_button_key.h"

#include <optional>

namespace quorvane {

// The grid's selection: always one straight run of cells, along one row or down one column,
// and the anchor that a Shift-click measures a range from.
class SelectionModel {
public:
    const ButtonKeySet& selectedButtons() const { return m_selected; }
    // The one row the selection lies in; none for a column or an empty selection.
    std::optional<int> selectionShift() const { return m_selectionShift; }
    std::optional<int> anchorButton() const { return m_anchorButton; }
    std::optional<int> anchorShift() const { return m_anchorShift; }
    // The anchor as a cell, when both of its halves are set.
    std::optional<SelectedButtonKey> anchor() const;
    bool isVerticalSelection() const { return m_isVertical; }

    bool isEmpty() const { return m_selected.isEmpty(); }
    qsizetype size() const { return m_selected.size(); }
    bool contains(SelectedButtonKey key) const { return m_selected.contains(key); }
    // The smallest selected key, by shift and then button.
    std::optional<SelectedButtonKey> first() const;
    // The selected keys in the order a copy reads them: down the column for a column
    // selection, along the row otherwise.
    QList<SelectedButtonKey> copyOrder() const;

    // A plain click on a cell of a row of `buttonCount` buttons. A cell that is already
    // selected keeps the selection, so that a drag can start from any of its cells.
    void tap(SelectedButtonKey key, int buttonCount);
    // A Shift-click: the range from the anchor, along its row or down its column.
    void shiftTap(SelectedButtonKey key);
    // Nothing selected, no anchor.
    void deselectAll();

    // An arrow key: the selection becomes the one cell next to the anchor in that direction,
    // which becomes the anchor. With no anchor the first cell is taken. A step off the grid
    // changes nothing.
    void moveBy(int shifts, int buttons, int buttonCount);
    // Shift with an arrow key: the end of the run away from the anchor moves one cell, and
    // the selection is what a Shift-click on that cell makes of it.
    void extendBy(int shifts, int buttons, int buttonCount);

    void setAnchor(SelectedButtonKey key);
    // The selection becomes `buttons` of one row, or `shifts` of one column; used when a paste
    // or a drag replaces it.
    void selectRow(int shift, const QList<int>& buttons);
    void selectColumn(int button, const QList<int>& shifts);

    friend bool operator==(const SelectionModel&, const SelectionModel&) = default;

private:
    void selectOnly(SelectedButtonKey key);
    // The cell the arrow keys move from: the anchor for a move, the far end of the run from
    // the anchor for an extension.
    std::optional<SelectedButtonKey> movingEnd() const;

    ButtonKeySet m_selected;
    std::optional<int> m_selectionShift;
    std::optional<int> m_anchorButton;
    std::optional<int> m_anchorShift;
    bool m_isVertical = false;
};

} // namespace quorvane
