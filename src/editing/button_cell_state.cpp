#include "editing/button_cell_state.h"

#include "editing/editing_model.h"
#include "editing/grid_geometry.h"
#include "link/gv_connection.h"
#include "model/button_mapping.h"

#include <QStringList>
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
        if (mapping->source >= 1 && mapping->source <= std::numeric_limits<int>::max()) {
            const int source = static_cast<int>(mapping->source);
            cell.displayName = m_connection.displayName(source);
            const QString eng = m_connection.sourceNames().value(source).eng;
            if (!eng.isEmpty())
                cell.engineeringName = eng;
        }
    }
    cell.mappingKey = mappingKey(m_selectedBus, count, shift, button);
    // A bus is loaded at a button count once its mode is in the connection's cache index.
    cell.isFullyLoaded = m_connection.subscribedModes().contains(modeKey(m_selectedBus, count));
    cell.isUnknown = !m_connection.hasAnswered(m_selectedBus, shift, button, count);

    const SelectedButtonKey key{shift, button};
    cell.isSelected = m_selection.contains(key);
    cell.isMultiSelected = cell.isSelected && m_selection.size() > 1;
    cell.anchorButton = m_selection.anchorButton();
    cell.anchorShift = m_selection.anchorShift();
    cell.hideSelectionDuringDrag = m_currentDragInfo.has_value();
    cell.isInDropPreview = m_dropPreviewRange && m_dropPreviewRange->contains(key);
    return cell;
}

QString cellToolTip(const ButtonCellState& cell)
{
    QStringList lines;
    if (!cell.isFullyLoaded) {
        lines.append(u"Not loaded yet"_s);
    } else if (cell.source != 0) {
        QString line = u"Source "_s + QString::number(cell.source);
        if (cell.displayName)
            line += u": "_s + *cell.displayName;
        lines.append(line);
        if (cell.engineeringName && cell.engineeringName != cell.displayName)
            lines.append(u"Engineering name: "_s + *cell.engineeringName);
    } else if (!cell.isUnknown) {
        lines.append(u"No source (unassigned)"_s);
    }
    lines.append(u"Mapping key: "_s + cell.mappingKey);
    if (cell.isUnknown) {
        lines.append(cell.source != 0 ? u"Unknown: the frame has not answered for this button "
                                        u"(the source shown was written here, unconfirmed)"_s
                                      : u"Unknown: the frame has not answered for this button"_s);
    }
    return lines.join(u'\n');
}

} // namespace quorvane
