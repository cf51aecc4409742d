// Drag and drop between cells, from and onto the sandbox and onto the clipboard area, and the
// sandbox itself.
#include "editing/editing_model.h"
#include "editing/grid_geometry.h"
#include "link/gv_connection.h"

namespace quorvane {

namespace {
// Sources the frame reserves for itself; a drag from one of them takes the whole column.
bool isSpecialSource(qint64 source)
{
    return source >= 0xFFFC && source <= 0xFFFF;
}
} // namespace

void EditingModel::setDropPreview(std::optional<ButtonKeySet> keys)
{
    if (keys == m_dropPreviewRange)
        return;
    m_dropPreviewRange = std::move(keys);
    Q_EMIT dragStateChanged();
}

void EditingModel::setDragInfo(std::optional<DragInfo> info)
{
    if (info == m_currentDragInfo)
        return;
    m_currentDragInfo = info;
    Q_EMIT dragStateChanged();
}

void EditingModel::clearDragState()
{
    m_dropTargetCell.reset();
    setDropPreview(std::nullopt);
    setDragInfo(std::nullopt);
}

std::optional<MultiButtonDragData> EditingModel::beginDrag(int shift, int button,
                                                           std::optional<QPointF> windowPoint)
{
    if (!isInShownGrid(shift, button))
        return std::nullopt;
    clearDragState();
    const QPointF offset =
        windowPoint ? m_gridMetrics.grabPoint(*windowPoint) : m_gridMetrics.centreOfCell();
    if (offset != m_dragClickOffset) {
        m_dragClickOffset = offset;
        Q_EMIT dragStateChanged();
    }

    const SelectedButtonKey grabbed{shift, button};
    const qint64 grabbedSource = sourceAt(m_selectedBus, shift, button).value_or(0);
    changeSelection([&](SelectionModel& selection) {
        if (isSpecialSource(grabbedSource) && selection.size() < 2)
            selection.selectColumn(button, {1, 2, 3, 4});
        selection.setAnchor(grabbed);
    });

    // A drag from a selected cell carries the whole selection; from any other cell, that cell.
    const QList<SelectedButtonKey> keys =
        m_selection.contains(grabbed) ? m_selection.copyOrder() : QList{grabbed};
    MultiButtonDragData payload;
    for (const SelectedButtonKey& key : keys) {
        payload.buttons.append(ButtonData{
            key.button, sourceAt(m_selectedBus, key.shift, key.button).value_or(0), key.shift});
    }
    payload.fromBus = busName(m_selectedBus);
    payload.fromShift = shift;
    payload.anchorButton = button;
    payload.anchorShift = shift;
    setDragInfo(dragInfoFor(payload));
    return payload;
}

std::optional<MultiButtonDragData> EditingModel::beginSandboxDrag(int index)
{
    std::optional<MultiButtonDragData> payload = m_sandbox.dragData(index);
    if (!payload)
        return std::nullopt;
    clearDragState();
    setDragInfo(dragInfoFor(*payload));
    return payload;
}

void EditingModel::endDrag()
{
    clearDragState();
    setClipboardDropTargeted(false);
}

void EditingModel::dropTargetChanged(bool targeted, int shift, int button)
{
    const SelectedButtonKey cell{shift, button};
    if (!targeted) {
        // Entering the next cell may be reported before leaving the last one: only the cell
        // the preview belongs to takes it away.
        if (m_dropTargetCell == cell) {
            m_dropTargetCell.reset();
            setDropPreview(std::nullopt);
        }
        return;
    }
    m_dropTargetCell = cell;
    if (!m_currentDragInfo) {
        setDropPreview(std::nullopt);
        return;
    }
    setDropPreview(previewKeys(*m_currentDragInfo, cell, m_selectedButtonCount));
}

bool EditingModel::dropOnCell(const QList<MultiButtonDragData>& payloads, int shift, int button)
{
    m_dropTargetCell.reset();
    setDropPreview(std::nullopt);
    bool accepted = false;
    if (!payloads.isEmpty()) {
        const std::optional<QList<PlacedSource>> placed =
            placeDrop(payloads.first(), {shift, button}, m_selectedButtonCount);
        if (placed) {
            QList<ButtonLocation> targets;
            QList<qint64> sources;
            for (const PlacedSource& target : *placed) {
                targets.append({m_selectedBus, target.key.shift, target.key.button});
                sources.append(target.source);
            }
            accepted = writeEdit(targets, sources);
        }
    }
    setDragInfo(std::nullopt);
    return accepted;
}

bool EditingModel::dropOnCell(QByteArrayView json, int shift, int button)
{
    const std::optional<MultiButtonDragData> payload = decodeDragData(json);
    return dropOnCell(payload ? QList{*payload} : QList<MultiButtonDragData>{}, shift, button);
}

void EditingModel::setClipboardDropTargeted(bool targeted)
{
    if (targeted == m_isClipboardDropTargeted)
        return;
    m_isClipboardDropTargeted = targeted;
    Q_EMIT dragStateChanged();
}

bool EditingModel::dropOnClipboard(const QList<MultiButtonDragData>& payloads)
{
    setClipboardDropTargeted(false);
    clearDragState();
    if (payloads.isEmpty() || payloads.first().buttons.isEmpty())
        return false;
    const MultiButtonDragData& payload = payloads.first();
    InternalClipboard dropped;
    dropped.copiedVertically = isColumnPayload(payload);
    for (const ButtonData& button : payload.buttons)
        dropped.copiedSources.append(button.source);
    if (dropped != m_clipboard) {
        m_clipboard = std::move(dropped);
        Q_EMIT clipboardChanged();
    }
    return true;
}

// --- Sandbox -----------------------------------------------------------------------------

int EditingModel::addToSandbox(const QList<MultiButtonDragData>& payloads)
{
    clearDragState();
    int added = 0;
    changeSandbox([&](Sandbox& sandbox) { added = sandbox.add(payloads); });
    return added;
}

void EditingModel::selectSandboxSlot(int index)
{
    changeSandbox([&](Sandbox& sandbox) { sandbox.select(index); });
    // A slot and buttons are never selected together.
    deselectAll();
}

bool EditingModel::removeSelectedSandboxSlot()
{
    bool removed = false;
    changeSandbox([&](Sandbox& sandbox) { removed = sandbox.removeSelected(); });
    return removed;
}

} // namespace quorvane
