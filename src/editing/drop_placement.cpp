#include "editing/drop_placement.h"

#include "editing/grid_geometry.h"

#include <algorithm>

namespace quorvane {

bool isColumnPayload(const MultiButtonDragData& payload)
{
    if (payload.isFromSandbox() || payload.buttons.size() < 2)
        return false;
    const ButtonData& first = payload.buttons.first();
    bool sameButton = true;
    bool severalShifts = false;
    for (const ButtonData& button : payload.buttons) {
        sameButton = sameButton && button.button == first.button;
        severalShifts = severalShifts || button.shift != first.shift;
    }
    return sameButton && severalShifts;
}

DragInfo dragInfoFor(const MultiButtonDragData& payload)
{
    DragInfo info;
    if (payload.isFromSandbox() || payload.buttons.isEmpty())
        return info;
    const auto [lowButton, highButton] = std::minmax_element(
        payload.buttons.cbegin(), payload.buttons.cend(),
        [](const ButtonData& a, const ButtonData& b) { return a.button < b.button; });
    const auto [lowShift, highShift] = std::minmax_element(
        payload.buttons.cbegin(), payload.buttons.cend(),
        [](const ButtonData& a, const ButtonData& b) { return a.shift < b.shift; });
    if (isColumnPayload(payload)) {
        info.isVertical = true;
        info.shiftCount = highShift->shift - lowShift->shift + 1;
        info.anchorShiftOffset = payload.anchorShift - lowShift->shift;
    } else {
        info.buttonCount = highButton->button - lowButton->button + 1;
        info.anchorButtonOffset = payload.anchorButton - lowButton->button;
    }
    return info;
}

std::optional<QList<PlacedSource>> placeDrop(const MultiButtonDragData& payload,
                                             SelectedButtonKey dropCell, int buttonCount)
{
    if (payload.buttons.isEmpty() || !isInGrid(dropCell.shift, dropCell.button, buttonCount))
        return std::nullopt;
    if (payload.isFromSandbox())
        return QList<PlacedSource>{{dropCell, payload.buttons.first().source}};

    QList<PlacedSource> placed;
    if (isColumnPayload(payload)) {
        const int offset = dropCell.shift - payload.anchorShift;
        for (const ButtonData& button : payload.buttons)
            placed.append({{button.shift + offset, dropCell.button}, button.source});
    } else {
        const int offset = dropCell.button - payload.anchorButton;
        for (const ButtonData& button : payload.buttons)
            placed.append({{dropCell.shift, button.button + offset}, button.source});
    }
    const bool fits = std::all_of(placed.cbegin(), placed.cend(), [&](const PlacedSource& p) {
        return isInGrid(p.key.shift, p.key.button, buttonCount);
    });
    if (!fits)
        return std::nullopt;
    return placed;
}

std::optional<ButtonKeySet> previewKeys(const DragInfo& info, SelectedButtonKey dropCell,
                                        int buttonCount)
{
    if (!isInGrid(dropCell.shift, dropCell.button, buttonCount))
        return std::nullopt;
    ButtonKeySet keys;
    if (info.isVertical) {
        const int top = dropCell.shift - info.anchorShiftOffset;
        for (int i = 0; i < info.shiftCount; ++i)
            keys.insert({top + i, dropCell.button});
    } else {
        const int left = dropCell.button - info.anchorButtonOffset;
        for (int i = 0; i < info.buttonCount; ++i)
            keys.insert({dropCell.shift, left + i});
    }
    const bool fits = std::all_of(keys.cbegin(), keys.cend(), [&](SelectedButtonKey key) {
        return isInGrid(key.shift, key.button, buttonCount);
    });
    if (!fits)
        return std::nullopt;
    return keys;
}

} // namespace quorvane
