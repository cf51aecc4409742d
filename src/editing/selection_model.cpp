#include "editing/selection_model.h"

#include "editing/grid_geometry.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

namespace quorvane {

std::optional<SelectedButtonKey> SelectionModel::anchor() const
{
    if (!m_anchorShift || !m_anchorButton)
        return std::nullopt;
    return SelectedButtonKey{*m_anchorShift, *m_anchorButton};
}

std::optional<SelectedButtonKey> SelectionModel::first() const
{
    if (m_selected.isEmpty())
        return std::nullopt;
    return *std::min_element(m_selected.cbegin(), m_selected.cend());
}

QList<SelectedButtonKey> SelectionModel::copyOrder() const
{
    QList<SelectedButtonKey> keys(m_selected.cbegin(), m_selected.cend());
    if (m_selectionShift) {
        std::sort(keys.begin(), keys.end(), [](SelectedButtonKey a, SelectedButtonKey b) {
            return std::pair(a.button, a.shift) < std::pair(b.button, b.shift);
        });
    } else {
        std::sort(keys.begin(), keys.end(),
                  [](SelectedButtonKey a, SelectedButtonKey b) { return a < b; });
    }
    return keys;
}

void SelectionModel::tap(SelectedButtonKey key, int buttonCount)
{
    if (!m_selected.contains(key)) {
        if (key.button <= buttonCount - columnClickButtons) {
            selectOnly(key);
        } else {
            // The last buttons of a row hold sources that belong together down the shifts,
            // so a plain click there takes the whole column.
            m_selected.clear();
            for (int shift = firstShift; shift <= lastShift; ++shift)
                m_selected.insert({shift, key.button});
            m_selectionShift.reset();
            m_isVertical = true;
        }
    }
    setAnchor(key);
}

void SelectionModel::shiftTap(SelectedButtonKey key)
{
    const std::optional<SelectedButtonKey> from = anchor();
    if (!from) {
        selectOnly(key);
        setAnchor(key);
        return;
    }
    if (from->shift == key.shift) {
        m_selected.clear();
        for (int b = std::min(from->button, key.button); b <= std::max(from->button, key.button);
             ++b) {
            m_selected.insert({key.shift, b});
        }
        m_selectionShift = key.shift;
        m_isVertical = false;
    } else if (from->button != key.button) {
        // A diagonal range is not a run: the click starts afresh.
        selectOnly(key);
        setAnchor(key);
    } else {
        m_selected.clear();
        for (int s = std::min(from->shift, key.shift); s <= std::max(from->shift, key.shift); ++s)
            m_selected.insert({s, key.button});
        m_selectionShift.reset();
        m_isVertical = true;
    }
}

void SelectionModel::deselectAll()
{
    m_selected.clear();
    m_selectionShift.reset();
    m_anchorButton.reset();
    m_anchorShift.reset();
    m_isVertical = false;
}

void SelectionModel::moveBy(int shifts, int buttons, int buttonCount)
{
    std::optional<SelectedButtonKey> from = anchor();
    if (!from)
        from = first();
    if (!from) {
        // Nothing to move from: the first arrow key selects the first cell.
        selectOnly({firstShift, 1});
        setAnchor({firstShift, 1});
        return;
    }
    const SelectedButtonKey to{from->shift + shifts, from->button + buttons};
    if (!isInGrid(to.shift, to.button, buttonCount))
        return;
    selectOnly(to);
    setAnchor(to);
}

void SelectionModel::extendBy(int shifts, int buttons, int buttonCount)
{
    const std::optional<SelectedButtonKey> from = movingEnd();
    if (!from) {
        moveBy(shifts, buttons, buttonCount);
        return;
    }
    const SelectedButtonKey to{from->shift + shifts, from->button + buttons};
    if (isInGrid(to.shift, to.button, buttonCount))
        shiftTap(to);
}

std::optional<SelectedButtonKey> SelectionModel::movingEnd() const
{
    const std::optional<SelectedButtonKey> from = anchor();
    if (!from)
        return first();
    std::optional<SelectedButtonKey> end;
    int farthest = -1;
    for (const SelectedButtonKey& key : sortedKeys(m_selected)) {
        const int distance =
            std::abs(key.shift - from->shift) + std::abs(key.button - from->button);
        if (distance > farthest) {
            farthest = distance;
            end = key;
        }
    }
    return farthest > 0 ? end : from;
}

void SelectionModel::setAnchor(SelectedButtonKey key)
{
    m_anchorShift = key.shift;
    m_anchorButton = key.button;
}

void SelectionModel::selectRow(int shift, const QList<int>& buttons)
{
    m_selected.clear();
    for (int button : buttons)
        m_selected.insert({shift, button});
    m_selectionShift = shift;
    m_isVertical = false;
}

void SelectionModel::selectColumn(int button, const QList<int>& shifts)
{
    m_selected.clear();
    for (int shift : shifts)
        m_selected.insert({shift, button});
    m_selectionShift.reset();
    m_isVertical = true;
}

void SelectionModel::selectOnly(SelectedButtonKey key)
{
    m_selected = {key};
    m_selectionShift = key.shift;
    m_isVertical = false;
}

} // namespace quorvane
