#include "button_cell_state.h"

#include "editing_model.h"
#include "grid_geometry.h"
#include "link/gv_connection.h"

#include <limits>

using namespace Qt::StringLiterals;

namespace quorvane {

ButtonCellState EditingModel::cellState(int shift, int button) const
{
    ButtonCellState cell;
    cell.cellId = cellId(m_selectedBus, shift, button);
    cell.shift = shift;
    cell.button = button;
    cell.selectedBus = m_selectedBus;

    const int count = m_connection.buttonCount();
    if (const std::optional<ButtonMapping> mapping =
            m_connection.mappingFor(m_selectedBus, shift, button, count)) {
        cell.source = mapping->source;
        if (mapping->source >= 1 && mapping->source <= std::numeric_limits<int>::max())
            cell.displayName = m_connection.displayName(static_cast<int>(mapping->source));
    }
    // A bus is loaded at a button count once its mode is in the connection's cache index.
    cell.isFullyLoaded = m_connection.subscribedModes().contains(busName(m_selectedBus) + u'-' +
                                                                 QString::number(count));

    const SelectedButtonKey key{shift, button};
    cell.isSelected = m_selection.contains(key);
    cell.isMultiSelected = cell.isSelected && m_selection.size() > 1;
    cell.anchorButton = m_selection.anchorButton();
    cell.anchorShift = m_selection.anchorShift();
    cell.hideSelectionDuringDrag = m_currentDragInfo.has_value();
    cell.isInDropPreview = m_dropPreviewRange && m_dropPreviewRange->contains(key);
    return cell;
}

} // namespace quorvane
