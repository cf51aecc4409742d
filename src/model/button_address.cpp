#include "button_address.h"

#include "diagnostics/programming_error.h"

namespace quorvane {

namespace {
constexpr int numbersPerButton = 16;
constexpr int shiftRows = 4;
} // namespace

int parameterBase(int buttonCount)
{
    QUORVANE_REQUIRE(buttonCount > 0, "button count must be positive");
    switch (buttonCount) {
    case 15:
        return 18;
    case 20:
        return 19;
    case 25:
        return 17;
    default:
        return 16;
    }
}

std::optional<ButtonPosition> locateButton(quint16 field, int buttonCount)
{
    const int offset = int{field} - parameterBase(buttonCount);
    if (offset < 0)
        return std::nullopt;
    const int numbersPerRow = buttonCount * numbersPerButton;
    const int row = offset / numbersPerRow;
    if (row >= shiftRows)
        return std::nullopt;
    const int button = (offset - row * numbersPerRow) / numbersPerButton;
    if (button >= buttonCount)
        return std::nullopt;
    return ButtonPosition{row + 1, button + 1};
}

} // namespace quorvane
