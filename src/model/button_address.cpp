#include "button_address.h"

#include "diagnostics/programming_error.h"

#include <QtNumeric>
#include <algorithm>

namespace quorvane {

namespace {
constexpr int numbersPerButton = 16;
} // namespace

bool isSupportedButtonCount(qint64 count)
{
    return std::find(supportedButtonCounts.begin(), supportedButtonCounts.end(), count) !=
           supportedButtonCounts.end();
}

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
    // Only a broken caller passes a count this large, and a wrapped row width would quietly
    // place the field on a wrong button.
    int numbersPerRow = 0;
    const bool overflows = qMulOverflow(buttonCount, numbersPerButton, &numbersPerRow);
    QUORVANE_REQUIRE(!overflows, "button count too large for a row of button numbers");
    const int row = offset / numbersPerRow;
    if (row >= shiftRowCount)
        return std::nullopt;
    const int button = (offset - row * numbersPerRow) / numbersPerButton;
    if (button >= buttonCount)
        return std::nullopt;
    return ButtonPosition{row + 1, button + 1};
}

bool isButtonNumber(quint16 field, int buttonCount)
{
    const int offset = int{field} - parameterBase(buttonCount);
    return offset >= 0 && offset % numbersPerButton == 0 && locateButton(field, buttonCount);
}

} // namespace quorvane

namespace quorvane {

quint16 buttonAddress(int shift, int button, int buttonCount)
{
    QUORVANE_REQUIRE(shift >= 1 && button >= 1, "shift and button count from 1");
    QUORVANE_REQUIRE(button - 1 <= 4095, "button index beyond the address space");
    const qint64 address = qint64{parameterBase(buttonCount)} + qint64{button - 1} * 16 +
                           qint64{buttonCount} * 16 * (shift - 1);
    QUORVANE_REQUIRE(address <= 0xFFFF, "button address beyond 16 bits");
    return static_cast<quint16>(address);
}

} // namespace quorvane
