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
    markWrite(cell, count);

    const SelectedButtonKey key{shift, button};
    cell.isSelected = m_selection.contains(key);
    cell.isMultiSelected = cell.isSelected && m_selection.size() > 1;
    cell.anchorButton = m_selection.anchorButton();
    cell.anchorShift = m_selection.anchorShift();
    cell.hideSelectionDuringDrag = m_currentDragInfo.has_value();
    cell.isInDropPreview = m_dropPreviewRange && m_dropPreviewRange->contains(key);
    return cell;
}

void EditingModel::markWrite(ButtonCellState& cell, int count) const
{
    const WriteTracker& writes = m_connection.writes();
    const TrackedWrite* write = writes.find(m_selectedBus, cell.shift, cell.button, count);
    if (!write)
        return;
    switch (write->outcome) {
    case WriteOutcome::confirmed:
        return;
    case WriteOutcome::pending:
        if (!writes.showsPending(*write))
            return;
        cell.writeMark = CellWriteMark::pending;
        break;
    case WriteOutcome::notConfirmed:
        cell.writeMark = CellWriteMark::notConfirmed;
        if (const auto answer =
                m_connection.lastAnswer(m_selectedBus, cell.shift, cell.button, count))
            cell.frameReported = answer->source;
        break;
    case WriteOutcome::refused:
        cell.writeMark = CellWriteMark::refused;
        cell.frameReported = write->frameSource;
        break;
    }
    cell.askedSource = write->wanted.source;
}

namespace {
QString writeMarkText(const ButtonCellState& cell)
{
    const QString asked = u"asked "_s + QString::number(cell.askedSource.value_or(0));
    switch (cell.writeMark) {
    case CellWriteMark::none:
        return QString();
    case CellWriteMark::pending:
        return u"Pending: written, not yet reported back by the frame"_s;
    case CellWriteMark::notConfirmed:
        return u"Not confirmed by the frame: "_s + asked +
               (cell.frameReported
                    ? u", frame last reported "_s + QString::number(*cell.frameReported)
                    : u", no report from the frame"_s);
    case CellWriteMark::refused:
        return u"Refused by the frame: "_s + asked + u", frame kept "_s +
               QString::number(cell.frameReported.value_or(0));
    }
    return QString();
}
} // namespace

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
    if (cell.writeMark != CellWriteMark::none)
        lines.append(writeMarkText(cell));
    return lines.join(u'\n');
}

} // namespace quorvane
